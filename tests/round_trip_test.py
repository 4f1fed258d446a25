#!/usr/bin/env python3
"""Goes from topologies to recordings and back: the topology of a recorded host loads, is the host that the recording
replays, and stays the same when that host is recorded again. The recording made anonymous is as good, and tells nobody.

  round_trip_test.py BUILD_DIR [SEED...]    every topology of the project, and random hosts that behave badly

Where DMU_FEW_HOSTS is set, since programs run slowly, a few random hosts have to do, and none of hundreds of drives.
"""
import concurrent.futures
import glob
import itertools
import json
import os
import random
import subprocess
import sys
import tempfile

few = "DMU_FEW_HOSTS" in os.environ
build, seeds = os.path.abspath(sys.argv[1]), [int(seed) for seed in sys.argv[2:]] or range(1, 5 if few else 31)
project = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
commands = [["list"], ["info", "--all"], ["location", "--all"], ["temperature", "--all"]]
files = {name: f"{name}.json" for name in ("topology", "back", "again")}


def run(*arguments):
    """What dmu-host says as a document, without what differs between a simulated host and a replay."""
    process = subprocess.run([f"{build}/dmu-host", *arguments, "--json"], capture_output=True, check=False)
    if process.returncode not in (0, 1):
        sys.exit(f"{arguments}: ended with {process.returncode}: {process.stderr.decode()}")
    document = json.loads(process.stdout)
    document.pop("library")
    return document


def read(name):
    with open(files[name], encoding="utf-8") as file:
        return json.load(file)


def topology_of(recording, name):
    """Makes the topology of a recording, and tells its differences."""
    document = run("topology", recording, "--output", files[name])
    assert document["exitStatus"] == 0, document["errors"]
    assert document["topology"] == read(name)
    return document["differences"]


def replays(recording):
    return [run("--replay", recording, *command) for command in commands]


def compare(documents):
    """The topology in its file is the host of these replays, as far as that goes; tells how many lack an answer."""
    lacking = 0
    for command, replayed in zip(commands, documents):
        simulated = run("--topology", files["back"], *command)
        for error in simulated["errors"]:
            assert not error["text"].startswith(files["back"] + ":"), f"the topology does not load: {error['text']}"
        simulated["faultsNeverFired"].clear()  # a replay knows of none
        lacks = any("holds no answer" in error["text"] for error in replayed["errors"])
        assert lacks or replayed == simulated, f"{command} differs: {first_difference(replayed, simulated)}"
        lacking += lacks
    return lacking


def corrupted(seed):
    """Bytes of the recorded answers become any others: the topology loads, and is what is replayed."""
    chance = random.Random(seed)
    with open("host.jsonl", encoding="utf-8") as file:
        lines = [json.loads(line) for line in file]
    # Equal requests keep equal answers: what changes is named, and is as at first. The length of a report, which is asked
    # for beforehand, stays: it decides what is asked next.
    answers = {}
    for line in lines:
        for key in ("data", "instances"):
            if line.get("answer", {}).get(key) and not line["about"].endswith(" 8 bytes"):
                answers.setdefault(json.dumps([line["call"], line["request"], key]), []).append(line["answer"])
    for request in chance.sample(sorted(answers), min(len(answers), 6)):
        key, answer, data = json.loads(request)[2], answers[request][0], bytearray()
        for part in answer[key]:
            data += bytes(part) if isinstance(part, int) else bytes.fromhex(part)
        for _ in range(chance.randint(1, 4)):
            places = [place for place, byte in enumerate(data) if byte] if chance.randrange(2) else range(len(data))
            if places:
                data[chance.choice(places)] = chance.randrange(256)
        for one in answers[request]:
            one[key] = [data.hex()]
    with open("corrupted.jsonl", "w", encoding="utf-8") as file:
        file.writelines(json.dumps(line) + "\n" for line in lines)
    differences = topology_of("corrupted.jsonl", "back")
    lacking = compare(replays("corrupted.jsonl"))
    print(f"corrupted: {len(differences)} differences named, {lacking} commands lack an answer")


def round_trip(what):
    """The topology is in its file. Tells what the recorded host says."""
    run("--topology", files["topology"], "record", "host.jsonl")
    differences = topology_of("host.jsonl", "back")
    replayed = replays("host.jsonl")
    lacking = compare(replayed)
    assert lacking == 0, f"{lacking} commands cannot be replayed"
    unfired = run("--topology", files["back"], "record", "again.jsonl")["faultsNeverFired"]
    topology_of("again.jsonl", "again")
    back, again = read("back"), read("again")
    back["faults"] = [rule for number, rule in enumerate(back.get("faults", []))
                      if f"{files['back']}: /faults/{number}" not in unfired]
    again.setdefault("faults", [])
    assert back == again, f"recorded again it differs: {first_difference(back, again)}"
    original = read("topology")
    if not differences and not original.get("faults"):
        expected, found = without_unseen(filled(original)), without_unseen(filled(back))
        assert expected == found, f"the topology differs: {first_difference(expected, found)}"
    print(f"{what}: {len(differences)} differences named")
    return replayed


def identities(topology):
    """Every text that tells whose host it is, and long enough not to be met by chance."""
    texts = set()
    for controller in topology["controllers"]:
        texts.add(controller["hba"])
        for disk in controller["drives"] + controller.get("volumes", []):
            texts.update(disk.get(key, "") for key in ("device", "serial", "nodeSerial", "label", "wwid", "uniqueId"))
            if "logicalDriveId" in disk:
                texts.add(disk["logicalDriveId"].to_bytes(4, "little").hex())
    for disk in topology.get("foreignDisks", []):
        texts.update(disk[key] for key in ("device", "serial", "hba"))
    texts.update([text.split(".")[1] for text in texts if text.startswith("naa.")])
    return {text for text in texts if len(text) > 4 and set(text) != {"0"}}


def found_in(recording, texts):
    """Those of the texts that stand in the recording, as they are or as bytes."""
    with open(recording, encoding="utf-8") as file:
        content = file.read().lower()
    return {text for text in texts if text.lower() in content or text.encode().hex() in content}


def mapping(source, other, pairs, key=""):
    """Collects what became what in two documents that must be alike but for texts of the same length."""
    if isinstance(source, dict):
        assert list(source) == list(other)
        for name in source:
            mapping(source[name], other[name], pairs, name)
    elif isinstance(source, list):
        assert len(source) == len(other)
        for one, another in zip(source, other):
            mapping(one, another, pairs, key)
    elif isinstance(source, str):
        assert isinstance(other, str) and len(source) == len(other), f"{source} became {other}"
        before = pairs.setdefault((key, source), other)
        assert before == other, f"{source} became {other} and {before}"
    else:
        assert source == other, f"{source} became {other}"


def common_beginning(one, other):
    return len(os.path.commonprefix([one, other]))


def anonymous(what, topology, replayed):
    """The same recording without what tells whose host it is. The replays lose what may differ."""
    assert run("anonymize", "host.jsonl", "--output", "anonymous.jsonl")["exitStatus"] == 0
    texts = identities(topology)
    told = found_in("host.jsonl", texts)
    assert told == texts or "built_in" not in what, f"not even the source holds {texts - told}"
    left = found_in("anonymous.jsonl", texts)
    assert not left, f"there is still {left}"
    topology_of("anonymous.jsonl", "back")
    anonymous_replayed = replays("anonymous.jsonl")
    assert compare(anonymous_replayed) == 0
    pairs = {}
    for source, other in zip(replayed, anonymous_replayed):
        for device in source["devices"]:
            device["pci"] = {key: key == "isPciDevice" and value for key, value in device["pci"].items()}
        for error in source["errors"] + other["errors"]:
            error["text"] = ""  # the file's name is in it
        mapping(source, other, pairs)
        serials = {device["serial"]: after["serial"] for device, after in zip(source["devices"], other["devices"])
                   if device["serial"]}
        for one, another in itertools.combinations(list(serials)[:100], 2):
            assert serials[one] != one and common_beginning(one, another) == common_beginning(
                serials[one], serials[another]), f"{one}, {another} became {serials[one]}, {serials[another]}"
    print(f"anonymous: {len(told)} texts gone, {sum(pair[1] != other for pair, other in pairs.items())} replaced")


def filled(topology):
    """With every key that has a default."""
    filled_in = {"oemDriver": False, "foreignDisks": [], "faults": [], "diskOrder": [], **topology}
    drive = {"exposed": False, "listed": True, "currentTemperature": 0, "maximumTemperature": 0, "wwid": "0" * 16,
             "deviceType": 0}
    volume = {"label": "", "external": False, "externalBoxId": 0, "logicalDriveId": 0, "uniqueId": "0" * 32,
              "cacheOn": True, "members": []}
    pci = {"isPciDevice": True, "segment": 0, "bus": 0, "slot": 0, "function": 0, "vendorId": 0, "subVendorId": 0,
           "deviceId": 0, "subDeviceId": 0, "physicalSlot": 0}
    filled_in["controllers"] = [
        {"extendedBlinkArray": False, "driveCacheOn": False, **controller,
         "pci": {**pci, **controller.get("pci", {})},
         "drives": [{**drive, **one} for one in controller["drives"]],
         "volumes": [{**volume, **one} for one in controller.get("volumes", [])]}
        for controller in topology["controllers"]]
    filled_in["foreignDisks"] = [
        {"channel": 0, "target": 0, "lun": 0, **disk, "pci": {**pci, **disk.get("pci", {"isPciDevice": False})}}
        for disk in filled_in["foreignDisks"]]
    return filled_in


def without_unseen(topology):
    """Without what no reading command shows: a drive that is neither listed nor a member, and write caches."""
    for controller in topology["controllers"]:
        members = {member for volume in controller["volumes"] for member in volume["members"]}
        controller["drives"] = [drive for drive in controller["drives"]
                                if drive["listed"] or f"{drive['bus']}:{drive['target']}" in members]
        for drive in controller["drives"]:
            if not drive["listed"]:
                drive.update(wwid=None, deviceType=None)  # which the report alone tells
        controller["drives"].sort(key=lambda drive: (0, 0) if drive["listed"] else (drive["bus"], drive["target"]))
        controller.pop("driveCacheOn")
        for volume in controller["volumes"]:
            volume.pop("cacheOn")
    return topology


def caches():
    """What a dry run asks of the write caches is in the topology as well."""
    run("--topology", files["topology"], "--record", "caches.jsonl", "cache", "--all", "off", "--dry-run")
    topology_of("caches.jsonl", "again")
    original, again = filled(read("topology")), filled(read("again"))
    for before, after in zip(original["controllers"], again["controllers"]):
        assert before["driveCacheOn"] == after["driveCacheOn"], before["hba"]
        for one, other in zip(before["volumes"], after["volumes"]):
            assert one["cacheOn"] == other["cacheOn"], one["device"]


def first_difference(one, other, path=""):
    if isinstance(one, dict) and isinstance(other, dict):
        pairs = [(key, one.get(key), other.get(key)) for key in [*one, *other]]
    elif isinstance(one, list) and isinstance(other, list) and len(one) == len(other):
        pairs = [(index, *pair) for index, pair in enumerate(zip(one, other))]
    else:
        return f"{path}: {json.dumps(one)[:2000]} and {json.dumps(other)[:2000]}"
    return next(first_difference(a, b, f"{path}/{key}") for key, a, b in pairs if a != b)


class RandomHost:
    """A host as bad as a topology can tell."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.names = 0
        hbas = [f"vmhba{number}" for number in range(1, 1 + self.random.randint(1, 3))]
        self.topology = {"oemDriver": self.one_in(3), "controllers": [self.controller(hba) for hba in hbas],
                         "foreignDisks": [self.foreign(hba) for hba in [*hbas, "vmhba0"] if self.one_in(2)],
                         "faults": []}
        devices = [disk["device"] for controller in self.topology["controllers"]
                   for disk in controller["volumes"] + controller["drives"] if disk.get("device")]
        devices += [disk["device"] for disk in self.topology["foreignDisks"]]
        if self.one_in(2):
            self.topology["diskOrder"] = self.random.sample(devices, len(devices))
        for _ in range(self.random.randint(0, 6)):
            self.topology["faults"].append(self.fault(devices))

    def one_in(self, count):
        return self.random.randrange(count) == 0

    def name(self, prefix):
        self.names += 1
        return f"{prefix}{self.names}"

    def controller(self, hba):
        drives = [self.drive(number) for number in range(self.random.randint(0, 12))]
        indexes = [f"{drive['bus']}:{drive['target']}" for drive in drives]
        volumes = []
        for number in range(self.random.randint(0, 4)):
            members = self.random.sample(indexes, min(len(indexes), self.random.choice([0, 1, 2, 3, 4, 6])))
            fitting = {0: ["RAID 0"], 1: ["RAID 0"], 2: ["RAID 0", "RAID 1"], 3: ["RAID 0", "RAID 4", "RAID 5"]}
            levels = fitting.get(len(members), ["RAID 0", "RAID 10", "RAID 5", "RAID 6"])
            device = self.device()
            volumes.append({"number": number, "device": device, "serial": self.serial() if device else "",
                            "raidLevel": self.random.choice(levels), "members": sorted(members, key=self.index),
                            "label": self.random.choice(["", "Räume", "data"]), "cacheOn": self.one_in(2)})
        if self.one_in(3):
            volumes.append({"number": 65536 * 5 + 100, "device": self.name("disk"), "serial": self.serial(),
                            "raidLevel": "RAID 6", "external": True, "externalBoxId": 3})
        return {"hba": hba, "pci": {"bus": self.random.randrange(256), "isPciDevice": not self.one_in(4)},
                "maxPhysDevicesSupported": self.random.choice([512, 1000]), "maxPhysDrivesPerLogicalUnit": 16,
                "maxLogicalDrivesSupported": self.random.choice([8, 700]), "extendedBlinkArray": self.one_in(2),
                "driveCacheOn": self.one_in(2), "drives": drives, "volumes": volumes}

    @staticmethod
    def index(name):
        bus, target = name.split(":")
        return int(bus) * 256 + int(target)

    def device(self):
        return "" if self.one_in(8) else self.name("disk")

    def serial(self):
        return "" if self.one_in(8) else "TWICE" if self.one_in(8) else self.name("S")

    def drive(self, number):
        drive = {"bus": 1 + number % 2, "target": number // 2, "exposed": self.one_in(3), "listed": not self.one_in(6),
                 "serial": self.serial(), "port": self.random.choice(["", "1I", "LONGER:THAN:EIGHT", "é"]),
                 "box": self.random.randrange(3), "bay": self.random.randrange(3), "wwid": f"{0x5a1b2c0d4e000000 + number:016x}",
                 "currentTemperature": self.random.randrange(256), "maximumTemperature": self.random.randrange(256)}
        if drive["exposed"]:
            drive["listed"] = True
            drive["device"] = self.device()
            if self.one_in(4):
                drive["nodeSerial"] = self.random.choice(["", drive["serial"][:2], self.name("N")])
        elif self.one_in(8):
            drive["deviceType"] = 13
        return drive

    def foreign(self, hba):
        disk = {"device": self.name("foreign"), "serial": self.serial(), "hba": hba, "target": self.random.randrange(200),
                "channel": 7, "driver": self.random.choice(["sata", "veltrane"])}
        return {**disk, "pci": {"slot": 3, "vendorId": 4660}} if self.one_in(2) else disk

    def fault(self, devices):
        controller = self.random.choice(self.topology["controllers"])
        rule = {"controller": controller["hba"]}
        kind = self.random.choice(["status", "status", "bytes", "bytes", "node", "node", "way", "load", "vanish"])
        drives = [f"{drive['bus']}:{drive['target']}" for drive in controller["drives"]]
        if kind == "status":
            rule["call"] = self.random.choice(["identifyController", "identifyLogicalDevice", "senseConfiguration",
                                               "identifyPhysicalDevice", "reportLogicalLuns", "reportPhysicalLuns"])
            if rule["call"] == "identifyPhysicalDevice" and drives:
                rule["drive"] = self.random.choice(drives)
            rule.update(self.random.choice([{"driverStatus": 5}, {"error": -7}, {"error": 19}]))
        elif kind == "bytes":
            rule.update(self.random.choice([
                {"call": "senseConfiguration", "offset": 10, "set": "0700"},  # members
                {"call": "senseConfiguration", "offset": 12, "set": self.random.choice(["0200", "0400", "0900"])},
                {"call": "senseConfiguration", "offset": 260, "set": "1000"},  # a limit that is not the controller's
                {"call": "identifyPhysicalDevice", "offset": 55, "set": "1bff00"},  # in the serial number
                {"call": "identifyPhysicalDevice", "offset": 1951, "set": "c307"},  # in the port
                {"call": "identifyLogicalDevice", "offset": 30, "set": "41ff0a42"},  # in the label
                {"call": "identifyController", "offset": 0, "set": "01"},  # of its volumes, the first alone is its own
                {"call": "reportPhysicalLuns", "offset": 4, "set": "00"},  # no extended report
                {"call": "reportPhysicalLuns", "offset": 11, "set": "80"},  # a kind of drive that nobody knows
                {"call": "reportPhysicalLuns", "offset": 15, "set": self.random.choice(["00", "02", "3f"])},  # a bus
                {"call": "reportLogicalLuns", "offset": 16, "set": "00000040"}]))  # a volume twice
        elif kind == "node" and devices:
            rule = {"device": self.random.choice(devices), "call": self.random.choice(["open", "ioctl"]), "error": 5}
            if rule["call"] == "ioctl" and self.one_in(2):
                rule.pop("error")
                rule.update(self.random.choice([{"length": 6}, {"length": 2}, {"driverStatus": 8},
                                                {"set": "83", "offset": 1}, {"set": "20c328", "offset": 5}]))
        elif kind == "load":
            rule = {"call": "load", **self.random.choice([{"missing": True}, {"error": 3}, {"length": 20}])}
        elif kind == "vanish" and drives:
            rule.update({"call": "reportPhysicalLuns", "drive": self.random.choice(drives), "vanish": True})
        else:
            rule = {"call": self.random.choice(["init", "query"]), "error": self.random.choice([7, -7])}
            rule["count"] = 1
        changes_node = rule["call"] == "ioctl" and "set" in rule
        if self.one_in(3) and "vanish" not in rule and not changes_node:
            rule["from"] = 2
        if self.one_in(3) and not changes_node:
            rule["count"] = 1
        return rule


def passes(name, topology):
    """Works in a folder of its own, in a process of its own."""
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        with open(files["topology"], "w", encoding="utf-8") as file:
            json.dump(topology, file)
        try:
            anonymous(name, topology, round_trip(name))
            if "built_in" in name:
                caches()
            if name.startswith("random"):
                corrupted(name)
        except AssertionError as difference:
            print(f"{name}: {difference}")
            return False
        return True


def drives_in(topology):
    return sum(len(controller["drives"]) for controller in topology["controllers"])


def main():
    kept = sorted(glob.glob(f"{project}/examples/*.json") + glob.glob(f"{project}/tests/console/*.json") +
                  glob.glob(f"{project}/simulator/*.json"))
    topologies = {os.path.relpath(file, project): json.load(open(file, encoding="utf-8")) for file in kept}
    hosts = {name: topology for name, topology in topologies.items() if "controllers" in topology}
    if few:
        hosts = {name: topology for name, topology in hosts.items() if drives_in(topology) < 100}
    hosts.update({f"random host {seed}": RandomHost(seed).topology for seed in seeds})
    with concurrent.futures.ProcessPoolExecutor() as processes:
        results = list(processes.map(passes, hosts.keys(), hosts.values()))
    sys.exit(0 if results and all(results) else 1)


main()
