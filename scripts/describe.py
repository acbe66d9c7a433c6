#!/usr/bin/env python3
"""Copies the descriptions of components from the headers to the schema and the documentation.

    scripts/describe.py PROGRAM            writes schemas/zeibreku.xsd, and the tables of
                                           docs/xml-format.md
    scripts/describe.py PROGRAM --check    fails if they differ from what it would write

PROGRAM is zeibreku_schema of a build folder, which prints the components and their defaults. The
description of a component is the comment of its accessor, or a line "- `name` (type): ..." in the
comment of its class. The description of an element is the first sentence of its class's comment.
The schema has them as annotations, which editors show.
"""

import difflib
import pathlib
import re
import subprocess
import sys
import xml.sax.saxutils

ROOT = pathlib.Path(__file__).resolve().parent.parent
SCHEMA = ROOT / "schemas" / "zeibreku.xsd"
PAGE = ROOT / "docs" / "xml-format.md"

# The names of C++ types in the page.
TYPES = {
    "double": "number",
    "std::string": "string",
    "KrU32": "integer",
    "bool": "boolean",
    "KrXmlRealVector": "vector of numbers",
    "IndependentData": "vector of `tableFunctionVectorSearch`",
    "DependentData": "vector of vectors of numbers",
    "SEARCH_OPTION": "enumeration",
    "BOUNDARY_OPTION": "enumeration",
    "KrScalarMultivariableOptimizerVector": "vector of optimizers",
    "KrScalarMultivariableOptimizerContainer": "one optimizer",
    "KrMultivariableConstraintVector": "vector of constraints",
    "KrSearchVariableVector": "vector of `variable`",
    "KrSearchReason": "enumeration",
}


class Element:
    """The comment and the body of an element's class in its header."""

    def __init__(self, summary, comment, body):
        self.summary = summary
        self.comment = comment
        self.body = body

    def describe(self, name):
        """The type and the description of a component."""
        accessor = re.search(
            r"((?: *///.*\n)+) +(?:virtual )?([\w:]+)(?: const&)? " + name + r"\(\) const",
            self.body,
        )
        if accessor:
            return TYPES[accessor[2]], plain(accessor[1])
        listed = re.search(r"- `" + name + r"` \((.*?)\): (.*?)(?=\n- |\n\n|$)", self.comment, re.S)
        if not listed:
            sys.exit(f"{name} of {self.summary!r} has no description")
        return listed[1], " ".join(listed[2].split())


def plain(comment):
    """The text of the lines of a comment."""
    return " ".join(re.sub(r"^ *///", "", line).strip() for line in comment.splitlines()).strip()


def first_sentence(text):
    return re.split(r"(?<=[.])\s+(?=[A-Z`])", text)[0]


def read_elements():
    """The elements by their tag."""
    tags = {}
    for names in ("function/object/KrFunction.cpp", "search/KrSearchNames.cpp"):
        text = (ROOT / names).read_text()
        tags.update(re.findall(r'KrToken const (\w+) =\s+(?:KrFunction::)?ns \+ "(\w+)"', text))
    elements = {}
    for header in sorted((*ROOT.glob("function/*/*.h"), *ROOT.glob("search/*.h"))):
        text = header.read_text()
        heading = re.search(
            r"((?:///.*\n)+)class KR_EXPORT \w+\s*:[^{]*(?:KrFunction|KrSearchNames)::(Kr\w+Token)>", text
        )
        if heading:
            comment = "\n".join(line[3:].removeprefix(" ") for line in heading[1].splitlines())
            summary = first_sentence(" ".join(comment.split("\n\n")[0].split()))
            summary = re.sub("[:.]?$", ".", summary, count=1)
            elements[tags[heading[2]]] = Element(summary, comment, text[heading.end() :])
    return elements


def with_default(text, default):
    """The text with the default, which has to agree where the text states it."""
    default = default.rpartition("#")[2]
    stated = re.search(r"Default: (\S+?)[.,;]?(\s|$)", text)
    if not stated:
        return f"{text} Default: {default}."
    if stated[1].strip("`") != default:
        sys.exit(f"The default is {default}, not as in: {text}")
    return text


def annotation(indent, text):
    text = xml.sax.saxutils.escape(text.replace("`", ""))
    return (
        f"{indent}<xs:annotation>\n"
        f"{indent}  <xs:documentation>{text}</xs:documentation>\n"
        f"{indent}</xs:annotation>\n"
    )


def annotated(schema, elements, components):
    """The schema with a description in each element's type and in each of its components."""
    result = []
    element = None
    for line in schema.splitlines(keepends=True):
        if start := re.match(r"  <xs:complexType name=\"(\w+)\"", line):
            element = start[1]
            result += [line, annotation("    ", elements[element].summary)]
            continue
        found = re.match(r"( +)<xs:(element|attribute) name=\"(\w+)\".*?(/?)>\n", line)
        default = found and components.get((element, found[3]))
        # A deeper line is an item of a component or of a list.
        if not default or len(found[1]) > 6:
            result.append(line)
            continue
        text = with_default(elements[element].describe(found[3])[1], default[1])
        if found[4]:
            line = line.replace("/>\n", ">\n")
        result += [line, annotation(found[1] + "  ", text)]
        if found[4]:
            result.append(f"{found[1]}</xs:{found[2]}>\n")
    return "".join(result)


def with_tables(page, elements, components):
    """The page with a table of the components below the heading of each element."""
    for name, element in elements.items():
        rows = ["| component | type | default | meaning |\n", "|---|---|---|---|\n"]
        for (owner, component), (kind, default) in components.items():
            if owner == name:
                type_name, text = element.describe(component)
                prefix = "attribute, " if kind == "attribute" else ""
                if type_name == "integer" and not default.isdigit():
                    type_name = "enumeration"
                meaning = first_sentence(text).replace("|", "\\|")
                rows.append(f"| `{component}` | {prefix}{type_name} | {default} | {meaning} |\n")
        if len(rows) > 2:
            table = r"(\n### `" + name + r"`\n(?:(?!\n###)[\s\S])*?\n)(?:\|.*\n)+"
            page, count = re.subn(table, lambda match: match[1] + "".join(rows), page, count=1)
            if count == 0:
                sys.exit(f"{PAGE} has no table of {name}")
    return page


def main():
    program = sys.argv[1]
    check = sys.argv[2:] == ["--check"]

    def ask(*arguments):
        command = [program, *arguments]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout

    components = {}
    for line in ask("--components").splitlines():
        element, component, kind, default = line.split("\t")
        components[element, component] = (kind, default)
    elements = read_elements()
    good = True
    for path, text in (
        (SCHEMA, annotated(ask(), elements, components)),
        (PAGE, with_tables(PAGE.read_text(), elements, components)),
    ):
        if not check:
            path.write_text(text)
        elif path.read_text() != text:
            good = False
            sys.stdout.writelines(
                difflib.unified_diff(
                    path.read_text().splitlines(keepends=True),
                    text.splitlines(keepends=True),
                    str(path),
                    "described",
                )
            )
    if not good:
        sys.exit(f"Please run: scripts/describe.py {program}")


main()
