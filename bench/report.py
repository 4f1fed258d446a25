#!/usr/bin/env python3
"""Puts the benchmark's figures into docs/performance.md, below its mark, and draws docs/performance.svg.

usage: report.py BUILD...   (with bench.json, as plugin_bench writes it with --benchmark_out, and process-times.json)

The figures of a build replace those that the page has of it, but figures of 32-bit programs that the processor ran stay
beside those that come from an emulator.
"""
import json
import pathlib
import re
import statistics
import subprocess
import sys

DOCS = pathlib.Path(__file__).resolve().parent.parent / "docs"
MARK = "<!-- Everything below is written by ./dev bench. -->\n"
SNAPSHOTS_LIMIT = 3.2 * 1024 * 1024
BY_PROCESSOR = "run by the processor"  # as ./dev has it
MEASURED = ("operation_us", "floor_us", "ratio")
DRAWN = ("rebuild", "locator LED", "device information")


def medians(rows):
    """Of the rows of each benchmark, one a round, makes one row with the medians of what was measured."""
    rounds = {}
    for row in rows:
        rounds.setdefault(row["name"], []).append(row)
    for name, same in rounds.items():
        measured = {figure: statistics.median(row[figure] for row in same) for figure in MEASURED}
        yield same[0] | measured | {"operation": name.split("/")[0]}


class Run:
    """The figures of one build."""

    def __init__(self, build):
        build = pathlib.Path(build)
        document = json.loads((build / "bench.json").read_text())
        self.processes = json.loads((build / "process-times.json").read_text())
        context = document["context"]
        self.title = f"{context['bits']}-bit, {context['runs']}"
        self.measured = (
            f"Measured on {context['date'][:10]} on a machine with {context['num_cpus']} processors "
            f"({context['machine']}); its load was {context['load_avg'][0]:.1f} when the measuring began."
        )
        rows = document["benchmarks"]
        failed = [row["name"] for row in rows if row.get("error_occurred")]
        if failed:
            sys.exit(f"{build}: failed: {', '.join(failed)}")
        self.memory = next(row for row in rows if row["name"].startswith("memory"))
        self.rows = list(medians(row for row in rows if "ratio" in row))

    def row(self, operation, entries, volumes=0):
        return next(
            row
            for row in self.rows
            if row["operation"] == operation and row["entries"] == entries and row["volumes"] == volumes
        )

    def process(self, command, topology):
        return next(row for row in self.processes if row["command"] == command and row["topology"] == topology)

    def growth(self, operation, figure):
        return self.row(operation, 1088)[figure] / self.row(operation, 136)[figure]


def duration(microseconds):
    return f"{microseconds:,.0f}" if microseconds >= 100 else f"{microseconds:.1f}"


def goals(run):
    """What is asked, what was measured, and whether it suffices."""

    def ratio(operation, limit, volumes=0):
        value = run.row(operation, 1088, volumes)["ratio"]
        return f"{operation}, 1,088 entries: ratio", f"at most {limit:.2f}", f"{value:.3f}", value <= limit

    def most(what, value, limit):
        return f"{what}: allocations", f"at most {limit}" if limit else "none", f"{value:.0f}", value <= limit

    def allocations(operation):
        return max(row["allocations"] for row in run.rows if row["operation"] == operation)

    def growth(operation):
        value = run.growth(operation, "operation_us")
        floor = run.growth(operation, "floor_us")
        measured = f"{value:.2f} times (floor {floor:.2f})"
        return f"{operation}: time at 1,088 entries against 136", "at most 8.8 times", measured, value <= 8.8

    def process(command, topology, limit):
        value = run.process(command, topology)["milliseconds"]
        return f"dmu-host {command}, {topology} topology", f"at most {limit} ms", f"{value:.1f} ms", value <= limit

    kept = run.memory["kept_bytes"]
    yield ratio("rebuild", 1.10)
    yield ratio("locator LED", 1.10)
    yield ratio("device information", 1.25)
    yield ratio("location", 1.04, 64)
    yield ratio("temperature", 1.04, 64)
    yield most("device information", allocations("device information"), 0)
    yield most("location of 16 drives, beside the 16 texts", allocations("location") - 16, 2)
    yield most("temperature of 16 drives", allocations("temperature"), 1)
    yield most("locator LED, 64 volumes", allocations("locator LED"), 200)
    yield growth("rebuild")
    yield growth("locator LED")
    yield process("list", "largest", 150)
    yield process("list", "built-in", 15)
    yield process("--help", "built-in", 4)
    yield "ten full snapshots", "below 3.2 MiB", f"{kept / 2**20:.2f} MiB", kept < SNAPSHOTS_LIMIT


def table(header, rows):
    yield "| " + " | ".join(header) + " |\n"
    yield "|---" + "|--:" * (len(header) - 1) + "|\n"
    for row in rows:
        yield "| " + " | ".join(row) + " |\n"
    yield "\n"


def section(run):
    yield f"## {run.title}\n\n{run.measured}\n\n"
    yield from table(
        ("goal", "asked", "measured", "met"),
        ((name, asked, measured, "yes" if met else "no") for name, asked, measured, met in goals(run)),
    )
    memory = run.memory
    yield (
        f"A host with ten full controllers: their snapshots keep {memory['kept_bytes']:,.0f} bytes; while the LED of "
        f"each is switched at most {memory['most_bytes']:,.0f} bytes are allocated; the whole process takes "
        f"{memory['process_bytes'] / 2**20:.1f} MiB at most.\n\n"
    )
    yield from table(
        ("dmu-host, as a whole process", "topology", "ms", "module loader runs", "their part, ms"),
        (
            (
                f"`{row['command']}`",
                row["topology"],
                f"{row['milliseconds']:.1f}",
                str(row["module_loader_runs"]),
                f"{row['module_loader_milliseconds']:.1f}",
            )
            for row in run.processes
        ),
    )
    columns = ("operation", "entries", "volumes", "ratio", "operation µs", "floor µs", "existence tests", "commands",
               "module loader runs", "allocations", "bytes")
    yield from table(
        columns,
        (
            (
                row["operation"],
                f"{row['entries']:,.0f}",
                f"{row['volumes']:.0f}",
                f"**{row['ratio']:.3f}**",
                duration(row["operation_us"]),
                duration(row["floor_us"]),
                f"{row['existence_tests']:,.0f}",
                f"{row['commands']:,.0f}",
                f"{row['module_loads']:.0f}",
                f"{row['allocations']:,.0f}",
                f"{row['allocated_bytes']:,.0f}",
            )
            for row in sorted(run.rows, key=lambda row: row["operation"])
        ),
    )


def draw(run):
    """Time against entries of controllers without volumes, each operation beside its floor."""
    data = []
    plots = []
    for colour, operation in enumerate(DRAWN, start=1):
        rows = [row for row in run.rows if row["operation"] == operation and row["volumes"] == 0]
        points = "\n".join(f"{row['entries']} {row['operation_us'] / 1000} {row['floor_us'] / 1000}" for row in rows)
        data.append(f"$data{colour} << end\n{points}\nend\n")
        plots.append(f"$data{colour} using 1:2 with linespoints lt {colour} pt 7 title '{operation}'")
        plots.append(f"$data{colour} using 1:3 with lines lt {colour} dt 2 notitle")
    script = f"""
set terminal svg size 720,420 font 'sans-serif,13' background '#ffffff'
set output '{DOCS / "performance.svg"}'
set title '{run.title}: time of an operation (dashed: its floor)'
set logscale xy
set xlabel 'entries of the controller'
set ylabel 'milliseconds'
set xtics (17, 136, 272, 544, 1088)
set grid ytics lc '#dddddd'
set key left top
{''.join(data)}
plot [14:1300] {', '.join(plots)}
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def kept_section(figures, runs):
    """The page's section of 32-bit programs that the processor ran, where none of the runs is one; else nothing."""
    title = f"32-bit, {BY_PROCESSOR}"
    found = re.search(rf"^## {title}\n.*?(?=^## |\Z)", figures, re.MULTILINE | re.DOTALL)
    if found is None or title in (run.title for run in runs):
        return ""
    note = "The machine of the other figures runs such programs in an emulator alone: these are of an earlier day.\n\n"
    heading = f"## {title}\n\n"
    return heading + note + found[0].removeprefix(heading).removeprefix(note).rstrip() + "\n\n"


def main():
    runs = [Run(path) for path in sys.argv[1:]]
    if not runs:
        sys.exit(__doc__)
    page = DOCS / "performance.md"
    text, _, figures = page.read_text().partition(MARK)
    picture = "\n![time against entries](performance.svg)\n\n"
    sections = kept_section(figures, runs) + "".join(part for run in runs for part in section(run))
    page.write_text(text + MARK + picture + sections.rstrip() + "\n")
    draw(runs[-1])
    for run in runs:
        for name, asked, measured, met in goals(run):
            print(f"{run.title}: {name}: {measured} ({asked}: {'met' if met else 'NOT MET'})")


main()
