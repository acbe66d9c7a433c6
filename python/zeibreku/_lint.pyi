import os
from collections.abc import Iterable
from typing import NamedTuple, Optional, SupportsFloat, Union

from zeibreku._core import Element

class LintRule(NamedTuple):
    name: str
    severity: str
    description: str

class Finding(NamedTuple):
    rule: str
    severity: str
    message: str
    file: str
    line: int
    column: int
    path: str

def lint_rules() -> tuple[LintRule, ...]: ...
def lint(
    source: Union[str, bytes, os.PathLike[str], Element],
    *,
    disable: Iterable[str] = ...,
    correlation: Optional[tuple[int, SupportsFloat]] = ...,
) -> tuple[Finding, ...]: ...
