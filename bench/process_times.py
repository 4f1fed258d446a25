#!/usr/bin/env python3
"""Times dmu-host as a person waits for it: as a whole process, from its start to its end.

usage: process_times.py BUILD   (writes BUILD/process-times.json)

The module loader's part of a command is what a recording of it says how often it ran, times the median of one run by a
shell, as popen starts it.
"""
import json
import os
import pathlib
import statistics
import sys
import tempfile
import time

COMMANDS = (("--help",), ("list",), ("temperature", "--all"), ("inventory",), ("metrics",))
LARGEST = pathlib.Path(__file__).resolve().parent.parent / "examples" / "large-topology.json"
ROUNDS = 3
RUNS = 15  # of a round


def milliseconds(words):
    """One run, its output thrown away."""
    nowhere = os.open(os.devnull, os.O_WRONLY)
    actions = [(os.POSIX_SPAWN_DUP2, nowhere, 1), (os.POSIX_SPAWN_DUP2, nowhere, 2)]
    begin = time.perf_counter()
    process = os.posix_spawn(words[0], words, os.environ, file_actions=actions)
    status = os.waitpid(process, 0)[1]
    end = time.perf_counter()
    os.close(nowhere)
    if status != 0:
        sys.exit(f"failed with status {os.waitstatus_to_exitcode(status)}: {' '.join(words)}")
    return 1000 * (end - begin)


def module_loader_runs(words):
    with tempfile.TemporaryDirectory() as folder:
        recording = os.path.join(folder, "recording")
        milliseconds([*words, "--record", recording])
        if not os.path.exists(recording):
            return 0
        with open(recording, encoding="utf-8") as lines:
            return sum(json.loads(line).get("call") == "run" for line in lines)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    os.environ["PATH"] = f"{build}:{os.environ['PATH']}"
    host = str(build / "dmu-host")
    topologies = {"built-in": [], "largest": ["--topology", str(LARGEST)]}
    rows = [
        {"command": " ".join(command), "topology": name, "words": [host, *options, *command]}
        for command in COMMANDS
        for name, options in topologies.items()
        if command != ("--help",) or name == "built-in"
    ]
    module_loader = ["/bin/sh", "-c", "vmkload_mod -s veltrane"]
    loader_times = []
    for row in rows:
        row["module_loader_runs"] = module_loader_runs(row["words"])
        row["times"] = []
    for _ in range(ROUNDS):
        for row in rows:
            row["times"] += [milliseconds(row["words"]) for _ in range(RUNS)]
        loader_times += [milliseconds(module_loader) for _ in range(RUNS)]
    one_run = statistics.median(loader_times)
    for row in rows:
        row["milliseconds"] = statistics.median(row["times"])
        row["module_loader_milliseconds"] = row["module_loader_runs"] * one_run
        del row["words"], row["times"]
    (build / "process-times.json").write_text(json.dumps(rows, indent=1))


main()
