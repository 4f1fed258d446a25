#!/usr/bin/env python3
"""Holds every #include of the project against the table in docs/rooms.md: includes.py FILE...

FILE...: the project's sources and headers. A mistake is named with file, line and rule.
"""
import pathlib
import re
import sys

PROJECT = pathlib.Path(__file__).resolve().parent.parent
TABLE = PROJECT / "docs" / "rooms.md"
EVERYTHING = "everything"
GROUND = "the ground"


def read_table(text):
    """The ground's headers, and what each room or file may include: prefixes of paths, and the table's own words."""
    rows = [[cell.strip() for cell in line.strip("|\n").split("|")] for line in text.splitlines() if line.startswith("| `")]
    names = lambda cell: re.findall(r"`([^`]+)`", cell)
    split = next(i for i, row in enumerate(rows) if row[0] == "`plugin/trace.h`")
    ground = {name for row in rows[split:] for name in names(row[0])}
    allowed = {}
    for subjects, may in rows[:split]:
        prefixes = names(may) + (sorted(ground) if GROUND in may else []) + ([""] if EVERYTHING in may else [])
        allowed.update({subject: (prefixes, may.replace("`", "") or "nothing") for subject in names(subjects)})
    return ground, allowed


def includes_of(path):
    """Line number and project path of each include of a file of the project."""
    for number, line in enumerate(path.read_text().splitlines(), 1):
        found = re.match(r'#include ["<]([\w/.]+)[">]', line)
        if not found:
            continue
        for target in (found[1], "include/" + found[1]):
            if (PROJECT / target).exists() or (PROJECT / (target + ".in")).exists():
                yield number, target


def why_not(source, target, ground, allowed):
    """The rule against an include; nothing where there is none."""
    room = source.split("/")[0] + "/"
    if room not in allowed:
        return f"docs/rooms.md does not name {room}"
    if source in ground:
        return None if target in ground else "the ground includes nothing but ground"
    prefixes, words = allowed[room]
    own_row, _ = allowed.get(source, ([], ""))
    if target.startswith((room, *prefixes, *own_row)):
        return None
    return f"{room} may include {words}"


def find_circle(graph):
    """A way from a file back to itself; nothing where there is none."""
    done, way = set(), []

    def visit(file):
        if file in way:
            return way[way.index(file):] + [file]
        if file in done:
            return None
        way.append(file)
        circle = next(filter(None, map(visit, graph.get(file, {}))), None)
        way.pop()
        done.add(file)
        return circle

    return next(filter(None, map(visit, graph)), None)


def main(files):
    ground, allowed = read_table(TABLE.read_text())
    graph, mistakes = {}, [f"docs/rooms.md: {name} does not exist" for name in sorted(ground | set(allowed))
                           if not (PROJECT / name).exists()]
    for source in files:
        for number, target in includes_of(PROJECT / source):
            graph.setdefault(source, {})[target] = number
            reason = why_not(source, target, ground, allowed)
            if reason:
                mistakes.append(f"{source}:{number}: includes {target}: {reason}")
    circle = find_circle(graph)
    if circle:
        steps = [f"{file}:{graph[file][target]} includes {target}" for file, target in zip(circle, circle[1:])]
        mistakes.append("a circle: " + ", ".join(steps))
    if not graph:
        mistakes.append("no includes found")
    print("\n".join(mistakes), end="\n" if mistakes else "")
    return 1 if mistakes else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
