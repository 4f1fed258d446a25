#!/usr/bin/env python3
"""Gathers sources into groups that clang-tidy reads at once, which takes an eighth of the time.

lint_groups.py BUILD_DIR OUTPUT_DIR ROOM...

Reads BUILD_DIR/compile_commands.json; writes the groups, each a file that includes a core's share of the sources of one
room and command line, with their commands and their room's .clang-tidy into OUTPUT_DIR. Prints the groups' paths, each
behind "group ", and those of the sources in them behind "alone ": a group loses what shows in the main file alone, the
paths of the analyzer and whether a source stands by itself. A source that would be alone in its group is in none.
"""

import collections
import json
import os
import pathlib
import shutil
import sys

SMALLEST = 12  # sources of a group, when there are as many


def target_of(command):
    return command["command"].split(" -o ")[1].split(".dir/")[0]


def flags_of(command):
    return command["command"].split(" -o ")[0]


def commands_of_rooms(build, rooms):
    """The command of each source, in the target that its room has for it when there are several."""
    commands = {}
    for command in json.loads((build / "compile_commands.json").read_text()):
        source = pathlib.Path(command["file"])
        room = next((room for room in rooms if source.is_relative_to(pathlib.Path.cwd() / room)), None)
        if room and (source not in commands or target_of(command).startswith(f"{room}/")):
            commands[source] = (room, command)
    return commands


def main(build, output, *rooms):
    build, output = pathlib.Path(build), pathlib.Path(output).resolve()
    shutil.rmtree(output, ignore_errors=True)
    sources = collections.defaultdict(list)
    for source, (room, command) in commands_of_rooms(build, rooms).items():
        sources[room, flags_of(command)].append((source, command))
    group_commands = []
    sources = {key: members for key, members in sources.items() if len(members) > 1}
    for (room, _), members in sorted(sources.items()):
        folder = output / room
        folder.mkdir(parents=True, exist_ok=True)
        shutil.copy(f"{room}/.clang-tidy", folder)
        size = max(SMALLEST, -(-len(members) // os.cpu_count()))
        for begin in range(0, len(members), size):
            group = folder / f"group_{len(group_commands)}.cpp"
            group.write_text("".join(f'#include "{source}"\n' for source, _ in members[begin : begin + size]))
            source, command = members[begin]
            command_line = command["command"].replace(str(source), str(group))
            group_commands.append(command | {"file": str(group), "command": command_line})
            print("group", group.relative_to(pathlib.Path.cwd()))
    for members in sources.values():
        for source, _ in members:
            print("alone", source.relative_to(pathlib.Path.cwd()))
    (output / "compile_commands.json").write_text(json.dumps(group_commands))


main(*sys.argv[1:])
