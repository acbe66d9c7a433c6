#!/usr/bin/env python3
"""Writes what the Python module says about components, from the schema and from the module itself.

    PYTHONPATH=build/development/python /usr/bin/python3 scripts/python_stubs.py [--check]

In python/zeibreku, __init__.pyi has the public names, and _descriptions.py the docstrings, which are
the annotations of schemas/zeibreku.xsd. In _core.pyi the lines of each element's components are
written anew: those from the constructor to the line "# other members". Everything else there is
written by hand. `--check` fails if a file differs from what would be written.
"""

import inspect
import pathlib
import re
import sys
import xml.etree.ElementTree

import numpy

import zeibreku
from zeibreku import _core

ROOT = pathlib.Path(__file__).resolve().parent.parent
XS = "{http://www.w3.org/2001/XMLSchema}"
PACKAGE = ROOT / "python" / "zeibreku"
PARTS = {
    "independent_data": "TableAxis",
    "optimizer_sequence": "Optimizer",
    "variables": "Variable",
    "constraints": "Constraint",
    "left": "CompositeFunctionElement",
    "right": "CompositeFunctionElement",
    "optimizer": "Optimizer",
}
# Keywords of constructors that are no components.
KEYWORDS = {"axes": "Optional[Iterable[Any]]", "values": "Optional[ArrayLike]"}


def annotation(node):
    return node.find(f"{XS}annotation/{XS}documentation").text


def descriptions():
    """The first sentence of each element and the texts of its components, by tags."""
    found = {}
    for kind in xml.etree.ElementTree.parse(ROOT / "schemas" / "zeibreku.xsd").getroot():
        if kind.tag == f"{XS}complexType" and kind.find(f"{XS}annotation") is not None:
            parts = [*kind.findall(f"{XS}all/{XS}element"), *kind.findall(f"{XS}attribute")]
            texts = {
                part.get("name"): annotation(part)
                for part in parts
                if part.find(f"{XS}annotation") is not None
            }
            found[kind.get("name")] = (annotation(kind), texts)
    return found


def snake(name):
    return re.sub("[A-Z]", lambda letter: "_" + letter[0].lower(), name)


def elements():
    """The classes with components, in the order of the module."""
    for name, cls in vars(_core).items():
        if isinstance(cls, type) and issubclass(cls, _core.Element) and "_components" in vars(cls):
            yield name, cls


def described():
    """The text of _descriptions.py."""
    tags = descriptions()
    names = {tag for _, texts in tags.values() for tag in texts if tag != snake(tag)}
    words = re.compile(r"\b(" + "|".join(sorted(names)) + r")\b")

    def pythonic(text):
        text = re.sub(r"\bKr(?=[A-Z])", "", text)
        return words.sub(lambda word: snake(word[0]), text)

    lines = ['"""Docstrings, written by scripts/python_stubs.py."""', "", "DESCRIPTIONS = {"]
    for name, cls in elements():
        summary, texts = tags[cls()._tag]
        lines += [f"    {name!r}: (", f"        {pythonic(summary)!r},", "        {"]
        lines += [
            f"            {snake(tag)!r}: {pythonic(text)!r}," for tag, text in texts.items()
        ]
        lines += ["        },", "    ),"]
    return "\n".join([*lines, "}", ""])


def types(name, value):
    """The types of a component when it is read and when it is set."""
    if isinstance(value, numpy.ndarray):
        kind = "float64" if value.dtype.kind == "f" else "uint32"
        return f"NDArray[numpy.{kind}]", "ArrayLike"
    if isinstance(value, tuple):
        if name == "dependent_data":
            return "tuple[NDArray[numpy.float64], ...]", "Iterable[ArrayLike]"
        part = PARTS.get(name, "Any")
        return f"tuple[{part}, ...]", f"Iterable[{part}]"
    if value is None:
        part = PARTS.get(name, "Any")
        return f"Optional[{part}]", f"Optional[{part}]"
    plain = type(value).__name__
    return plain, "SupportsFloat" if plain == "float" else plain


def components(cls):
    """The lines of a class's components."""
    default = cls()
    found = {name: types(name, getattr(default, name)) for name in cls._components}
    lines = ["    def __init__("] + ["        self,"]
    if len(found) > 1:
        lines += ["        *,"]
    for name in inspect.signature(cls).parameters:
        kind = found[name][1] if name in found else KEYWORDS[name]
        lines += [f"        {name}: {kind} = ...,"]
    lines += ["    ) -> None: ..."]
    for name, (got, given) in found.items():
        lines += ["    @property", f"    def {name}(self) -> {got}: ...", f"    @{name}.setter"]
        lines += [f"    def {name}(self, value: {given}) -> None: ..."]
    return lines


def stub():
    """The text of _core.pyi."""
    text = (PACKAGE / "_core.pyi").read_text()
    for name, cls in elements():
        block = "\n".join([*components(cls), "    # other members", ""])
        heading = rf"(class {name}\(\w+\):\n)"
        pattern = heading + r"(?:    def __init__\((?:.*\n)*?    # other members\n)?"
        text, count = re.subn(pattern, lambda m: m[1] + block, text, count=1)
        if count == 0:
            text += f"\nclass {name}({cls.__base__.__name__}):\n{block}"
    return text


def exports():
    """The text of __init__.pyi."""
    lines = []
    for name in zeibreku.__all__:
        own = vars(_core).get(name)
        module = "zeibreku._core" if own is not None else getattr(zeibreku, name).__module__
        lines.append(f"from {module} import {name} as {name}")
    names = [f'    "{name}",' for name in zeibreku.__all__]
    return "\n".join([*sorted(lines), "", "__all__ = [", *names, "]", ""])


def main():
    good = True
    for path, text in (
        (PACKAGE / "_descriptions.py", described()),
        (PACKAGE / "_core.pyi", stub()),
        (PACKAGE / "__init__.pyi", exports()),
    ):
        if "--check" not in sys.argv:
            path.write_text(text)
        elif path.read_text() != text:
            print(f"{path.relative_to(ROOT)} is old; run scripts/python_stubs.py")
            good = False
    sys.exit(not good)


if __name__ == "__main__":
    main()
