#!/usr/bin/env python3
"""Checks that the arrows of the library go down only.

The rooms of src/sbrkit are floors. A source may include headers of its own room and of rooms below it; and inside the
library nothing calls an exported operation: those are doors for hosts. Prints every arrow that goes up and every call of
a door, and ends with 1 when there is one."""

import pathlib
import re
import sys

FLOORS = ["base", "record", "body", "modes", "mass", "dynamics", "frame", "surface", "blocks", "read", "write",
          "database", "api"]
# A host may bring these operations itself, so that the library asks for them by their public names.
COMPANIONS = {"SBR_ConvertUnitsLabel", "SBR_TimeMonitor", "SBR_TimeMonitorStamp"}
# The function table hands out the doors; it calls none.
TABLE = "api/function_table.cpp"

ROOT = pathlib.Path(__file__).resolve().parent.parent / "src" / "sbrkit"


def without_comments_and_texts(source):
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)
    return pattern.sub(lambda found: "\n" * found.group().count("\n"), source)


def arrows_up(path, room, source):
    for number, line in enumerate(source.splitlines(), 1):
        found = re.match(r'\s*#\s*include\s+"([^"/]+)/[^"]+"', line)
        if not found or found.group(1) == "sbrkit":
            continue
        target = found.group(1)
        if target not in FLOORS:
            yield number, f"includes a header of an unknown room: {target}"
        elif FLOORS.index(target) > FLOORS.index(room):
            yield number, f"an arrow up: {room} includes {target}"


def door_calls(path, source, doors):
    names = "|".join(sorted(doors, key=len, reverse=True))
    # A definition begins in the first column with its type; everything else that names a door is a use of it.
    definition = re.compile(r'^(?:extern\s+|\[\[gnu::weak\]\] )*(?:const )?\w[\w:]* \**(?:' + names + r')\(')
    use = re.compile(r'(?<![\w"])(?:' + names + r')\b')
    for number, line in enumerate(source.splitlines(), 1):
        found = definition.match(line)
        rest = line[found.end():] if found else line
        for call in use.finditer(rest):
            yield number, f"uses the door {call.group()}"


def main():
    doors = set((ROOT / "api" / "exported_names.txt").read_text().split()) - COMPANIONS
    findings = []
    for path in sorted(ROOT.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        room = path.relative_to(ROOT).parts[0]
        name = path.relative_to(ROOT).as_posix()
        text = path.read_text()
        if room not in FLOORS:
            findings.append(f"{name}: stands in no room")
            continue
        found = list(arrows_up(path, room, text))
        if name != TABLE:
            found += door_calls(path, without_comments_and_texts(text), doors)
        findings += [f"src/sbrkit/{name}:{number}: {what}" for number, what in found]
    print("\n".join(findings) if findings else "The floors hold: no arrow goes up and no door is used from inside.")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
