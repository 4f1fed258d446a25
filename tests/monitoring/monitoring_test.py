#!/usr/bin/env python3
"""Tries the metrics of dmu-host on Prometheus' own parts: monitoring_test.py BUILD_DIR TOOLS_DIR

promtool checks the output for every topology of the project and the alerts in examples/; a node exporter serves a
written file over loopback, and what it serves is what the alerts are tried on. TOOLS_DIR has promtool and
prometheus-node-exporter.
"""
import contextlib
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD, TOOLS = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
BAY, PORT = 115, 1951  # places in the reply of identify physical device
SAMPLE = re.compile(r'(?P<series>[a-zA-Z_]\w*(?:\{.*\})?) (?P<value>\S+)')
LABEL = re.compile(r'(\w+)="((?:[^"\\]|\\.)*)"')


def fail(text):
    sys.exit(f"monitoring_test.py: {text}")


def expect(what, found, wanted):
    if found != wanted:
        fail(f"{what}: {found!r}, not {wanted!r}")


def metrics(topology, *options):
    """What dmu-host metrics prints; a fault of the topology may fail it."""
    command = [BUILD / "dmu-host", "--topology", topology, "metrics", *options]
    environment = os.environ | {"PATH": f"{BUILD}:{os.environ['PATH']}"}  # the module loader's command is there
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=environment, check=False).stdout


def promtool(*arguments, text=None):
    done = subprocess.run([TOOLS / "promtool", *arguments], input=text, capture_output=True, check=False)
    if done.returncode != 0 or b"FAILED" in done.stdout:
        fail(f"promtool {' '.join(map(str, arguments))}: {(done.stdout + done.stderr).decode()}")
    return done.stdout + done.stderr


def samples(text):
    """The samples by name and labels: empty labels are none, and their order means nothing."""
    found = {}
    for line in text.split("\n"):
        sample = SAMPLE.fullmatch(line)
        if sample is None or not sample["series"].startswith(("dmu_", "node_textfile_")):
            continue
        name, _, labels = sample["series"].partition("{")
        key = name, tuple(sorted(label for label in LABEL.findall(labels) if label[1]))
        if key in found:
            fail(f"twice: {line}")
        found[key] = float(sample["value"])
    return found


def topologies():
    """Every topology of the project that the simulated host takes."""
    files = [file for folder in ("simulator", "examples", "tests/console") for file in PROJECT.joinpath(folder).glob("*.json")]
    found = [file for file in sorted(files) if "controllers" in json.loads(file.read_text())]
    if len(found) < 8:
        fail(f"only {len(found)} topologies")
    return found


def degraded(**temperatures):
    """The degraded topology, with other temperatures by serial number."""
    topology = json.loads((PROJECT / "examples/degraded-topology.json").read_text())
    for drive in topology["controllers"][0]["drives"]:
        drive["currentTemperature"] = temperatures.get(drive["serial"], drive["currentTemperature"])
    return topology


def many():
    """Ten controllers of an OEM driver with drives in the same bays, one of them warm."""
    topology = degraded(A1=40)
    one = topology["controllers"][0]
    for number in range(1, 10):
        other = json.loads(json.dumps(one).replace('"serial": "', f'"serial": "{number}'))
        other["hba"] = f"vmhba{number + 1}"
        other["volumes"][0]["device"] = f"data{number}"
        topology["controllers"].append(other)
    topology["controllers"][9]["drives"][0]["currentTemperature"] = 56
    return topology | {"oemDriver": True, "faults": []}


def hostile():
    """Names and replies that are hard to write down; two drives that say they sit in one bay."""
    topology = degraded(A1=40)
    controller = topology["controllers"][0]
    controller["hba"] = 'h"b\\a\\n{x="y"} 1'
    controller["volumes"][0]["device"] = 'dät"a\\'
    controller["volumes"][0]["serial"] = "\\\\\""
    ports = {"1:0": b"\"\\", "1:1": b"\xff\xc3(", "1:2": b"a\nb\r", "1:3": b"\xff\xc3("}
    replies = [{"drive": drive, "offset": PORT, "set": port.hex() + "00"} for drive, port in ports.items()]
    replies.append({"drive": "1:3", "offset": BAY, "set": "02"})
    topology["faults"] = [{"call": "identifyPhysicalDevice"} | reply for reply in replies]
    return topology


@contextlib.contextmanager
def exporter(folder):
    """A node exporter that serves the files of a folder. Yields a function that reads what it serves."""
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        address = f"127.0.0.1:{free.getsockname()[1]}"
    process = subprocess.Popen(
        [TOOLS / "prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
         f"--collector.textfile.directory={folder}", f"--web.listen-address={address}"],
        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)

    def serve():
        for _ in range(100):
            try:
                with urllib.request.urlopen(f"http://{address}/metrics", timeout=10) as answer:
                    return answer.read().decode()
            except (urllib.error.URLError, ConnectionError):
                if process.poll() is not None:
                    fail(f"the node exporter ended: {process.stderr.read().decode()}")
                time.sleep(0.1)
        return fail("the node exporter does not answer")

    try:
        yield serve
    finally:
        process.terminate()
        process.wait(10)


def check_queries(served, answers):
    """Whether queries have these answers, values by labels, when nothing but what is served goes on for an hour."""
    series = []
    for (name, labels), value in served.items():
        text = ",".join(f'{label}="{content}"' for label, content in labels + (("instance", "i"),))
        text = text.replace("\ufffd", "\\ufffd")  # as a query has to write it
        series.append({"series": f"{name}{{{text}}}", "values": f"{value:.17g}x60"})
    tests = [{"expr": query, "eval_time": "60m",
              "exp_samples": [{"labels": labels, "value": value} for labels, value in answer.items()]}
             for query, answer in answers.items()]
    rules = {"rule_files": [str(PROJECT / "examples/alerts.yml")], "evaluation_interval": "1m",
             "tests": [{"interval": "1m", "input_series": series, "promql_expr_test": tests}]}
    with tempfile.NamedTemporaryFile("w", suffix=".yml") as file:
        file.write(json.dumps(rules))
        file.flush()
        promtool("test", "rules", file.name)


def check_alerts(what, served, wanted):
    """Whether these alerts fire, each so often, and no other."""
    firing = {f'{{alertname="{name}"}}': count for name, count in wanted.items()}
    check_queries(served, {'count by (alertname) (ALERTS{alertstate="firing"})': firing})
    print(f"alerts, {what}: {wanted or 'none'}")


def check_served(what, topology, folder, serve, wanted):
    """Writes the file for a topology and has it served; the alerts are tried on that."""
    source = folder / "topology.json"
    source.write_text(json.dumps(topology))
    metrics(source, "--output", folder / "dmu.prom")
    written = samples((folder / "dmu.prom").read_bytes().decode())
    served = samples(serve())
    expect(f"{what}: reading error of the node exporter", served.pop(("node_textfile_scrape_error", ())), 0)
    expect(f"{what}: what is served", {key: value for key, value in served.items() if key[0].startswith("dmu_")}, written)
    expect(f"{what}: files", sum(name == "node_textfile_mtime_seconds" for name, _ in served), 1)
    check_alerts(what, served, wanted)
    return served


def main():
    promtool("test", "rules", PROJECT / "tests/monitoring/alerts_test.yml")
    for topology in topologies():
        text = metrics(topology)
        expect(f"{topology}: complaints of promtool", promtool("check", "metrics", text=text), b"")
        count = len(samples(text.decode()))
        if count < 8:
            fail(f"{topology}: {count} samples")
        print(f"promtool check metrics, {topology.relative_to(PROJECT)}: {count} samples")
    with tempfile.TemporaryDirectory() as name, exporter(name) as serve:
        folder = pathlib.Path(name)
        served = check_served("ten controllers", many(), folder, serve, {"DmuDriveCloseToMaximum": 1})
        expect("drives of ten controllers", sum(name == "dmu_drive_info" for name, _ in served), 40)
        (folder / "dmu.prom").unlink()
        served = check_served("degraded", degraded(A1=40), folder, serve, {"DmuMemberMissing": 1})
        shown = [line.strip() for line in (PROJECT / "docs/monitoring.md").read_text().split("\n")
                 if line.startswith("    ") and "dmu_drive" in line]
        expect("queries in docs/monitoring.md", len(shown), 2)
        check_queries(served, {f"count({query})": {"{}": 3} for query in shown})
        check_served("degraded, as the example has it", degraded(), folder, serve,
                     {"DmuMemberMissing": 1, "DmuDriveCloseToMaximum": 1})
        warm = check_served("degraded, a drive warm and one too warm", degraded(A0=61), folder, serve,
                            {"DmuMemberMissing": 1, "DmuDriveCloseToMaximum": 1, "DmuDriveAboveMaximum": 1})
        whole = degraded(A1=40)
        whole["faults"] = []
        check_served("nothing wrong", whole, folder, serve, {})
        silent = degraded()
        silent["faults"] = [{"call": "identifyController", "controller": "vmhba1", "driverStatus": 5}]
        after = check_served("a silent controller", silent, folder, serve, {"DmuHbaSilent": 1})
        success = ("dmu_last_success_timestamp_seconds", (("hba", "vmhba1"),))
        if not 0 <= after[success] - warm[success] < 600:
            fail("the last success is not the one of the run before")
        (folder / "dmu.prom").unlink()
        check_served("hostile names and replies", hostile(), folder, serve, {})
    print("Prometheus and its node exporter take the metrics")


if __name__ == "__main__":
    main()
