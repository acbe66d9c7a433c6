#!/usr/bin/env python3
"""Fails where an include of ours goes up in the floor table of CONTRIBUTING.md.

    scripts/floors.py

The table is the only definition of the floors. The last column of a row lists files by patterns
without a suffix; a pattern with a suffix is for a class whose header and source stand on two
floors. If several patterns fit a file, the longest one counts. A folder is checked as soon as a
pattern of the table begins with its name.
"""

import pathlib
import re
import sys
from fnmatch import fnmatchcase

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "CONTRIBUTING.md"


def read_table():
    """The floor of each pattern."""
    floors = {}
    for floor, patterns in re.findall(r"^\| (\d+) \|.*\|(.*)\|$", TABLE.read_text(), re.M):
        for pattern in re.findall(r"`([^`]+)`", patterns):
            if pattern in floors:
                sys.exit(f"{TABLE.name} lists {pattern} twice")
            floors[pattern] = int(floor)
    if not floors:
        sys.exit(f"{TABLE.name} has no floor table")
    return floors


def pattern_of(path, floors):
    """The longest pattern that fits the file, None if no pattern does."""
    names = (path, str(pathlib.PurePath(path).with_suffix("")))
    fitting = (p for p in floors if any(fnmatchcase(name, p) for name in names))
    return max(fitting, key=len, default=None)


def main():
    floors = read_table()
    folders = sorted({pattern.split("/")[0] for pattern in floors})
    files = sorted(
        str(path.relative_to(ROOT))
        for folder in folders
        for path in (ROOT / folder).rglob("*")
        if path.suffix in (".h", ".cpp")
    )
    pattern = {path: pattern_of(path, floors) for path in files}
    faults = [f"{TABLE.name}: no file is {unused}" for unused in floors.keys() - pattern.values()]
    faults += [f"{path} has no floor in {TABLE.name}" for path in files if not pattern[path]]
    includes = 0
    for path in files:
        lines = (ROOT / path).read_text().splitlines()
        for number, line in enumerate(lines, start=1):
            include = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
            if not include:
                continue
            includes += 1
            target = include[1]
            if not pattern.get(target):
                faults.append(f"{path}:{number}: {target} has no floor")
            elif pattern[path] and floors[pattern[target]] > floors[pattern[path]]:
                own, other = floors[pattern[path]], floors[pattern[target]]
                faults.append(f"{path}:{number}: floor {own} includes {target}, floor {other}")
    if faults:
        sys.exit("\n".join(faults))
    print(f"floors: {includes} includes of {len(files)} files go down or sideways")


if __name__ == "__main__":
    main()
