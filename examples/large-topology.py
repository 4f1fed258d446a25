#!/usr/bin/env python3
"""Prints a large topology: 20 volumes of 50 masked drives each and exposed drives on one controller.

    examples/large-topology.py > examples/large-topology.json            # 68 exposed drives: 1,088 devices
    examples/large-topology.py 100 > tests/console/overfull.json         # more than the plugin lists
"""

import json
import sys

VOLUMES, MEMBERS = 20, 50
EXPOSED = int(sys.argv[1]) if len(sys.argv) > 1 else 68
BAYS = 50  # in a box


def drive(index):
    place = {"bus": index // 256 + 1, "target": index % 256}
    box, bay = divmod(index, BAYS)
    if index >= VOLUMES * MEMBERS:
        place |= {"exposed": True, "device": f"naa.5a1b2c00000{index:05d}"}
    return place | {"serial": f"LT{index:06d}", "port": f"{box // 4 + 1}E", "box": box % 4 + 1, "bay": bay + 1,
                    "currentTemperature": 28 + index % 12, "maximumTemperature": 60}


def volume(number):
    first = number * MEMBERS
    members = [f"{i // 256 + 1}:{i % 256}" for i in range(first, first + MEMBERS)]
    return {"number": number, "device": f"naa.6a1b2c00000{number:05d}", "serial": f"LV{number:06d}",
            "label": f"pool{number:02d}", "raidLevel": "RAID 6", "members": members}


def lines(items):
    return ",\n".join("        " + json.dumps(item) for item in items)


print(f"""{{
  "controllers": [
    {{
      "hba": "vmhba2",
      "maxPhysDevicesSupported": 1536,
      "maxPhysDrivesPerLogicalUnit": 128,
      "maxLogicalDrivesSupported": 64,
      "extendedBlinkArray": true,
      "drives": [
{lines(drive(i) for i in range(VOLUMES * MEMBERS + EXPOSED))}
      ],
      "volumes": [
{lines(volume(i) for i in range(VOLUMES))}
      ]
    }}
  ]
}}""")
