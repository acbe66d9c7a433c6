DESCRIPTIONS: dict[str, tuple[str, dict[str, str]]]
