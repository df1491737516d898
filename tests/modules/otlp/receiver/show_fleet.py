#!/usr/bin/env python3
"""Runs the rendering service like three hosts, and shows what arrives at one receiver.

Usage: show_fleet.py RECEIVER BUILD

RECEIVER is the program of a Collector, or the directory in which the receiver from npm is installed.
"""

import collections
import glob
import json
import pathlib
import subprocess
import sys
import tempfile

from receiver import Receiver

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "collector"))
from servers import CollectorReceiver  # noqa: E402

HOSTS = ("lab-1", "lab-2", "lab-3")
SOUNDS = sorted(glob.glob("/usr/share/sounds/alsa/*.wav"))
COLUMNS = "{:10} {:24} {:8} {:>7} {:>9}"
FEW = 3


def start(host, sounds, build, receiver, directory):
    """Each host renders different sounds, and one file that is missing."""
    environment = receiver.environment(
        LD_LIBRARY_PATH=str(build / "lib" / "tamsa" / "otlp"),
        RENDER_SERVICE_SUMMARY=f"{directory}/{host}.json",
        OTEL_SERVICE_NAME="render_service",
        OTEL_RESOURCE_ATTRIBUTES=f"host.name={host},deployment.environment.name=demo")
    command = [build / "examples" / "render_service", "--quiet", "-o", f"{directory}/{host}.wav",
               *sounds, f"{directory}/missing.wav"]
    return subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def reports_made(host, directory):
    return json.loads(pathlib.Path(f"{directory}/{host}.json").read_text())["reports"]


def print_summary(records):
    rows = collections.defaultdict(lambda: [0, 0])
    for resource, record in records:
        attributes = record["attributes"]
        name = attributes["event.name"] or "kiv.audio_latency"
        row = rows[resource["host.name"], name, record["severityText"]]
        row[0] += 1
        row[1] += int(attributes.get("aggregated_count", 0))
    print(COLUMNS.format("host", "event", "severity", "records", "reports"))
    for key, counts in sorted(rows.items()):
        print(COLUMNS.format(*key, *counts))
    print(COLUMNS.format("", "", "", len(records), sum(c[1] for c in rows.values())))


def make_receiver(path):
    if path.is_dir():
        print("The receiver is the test receiver from npm.\n")
        return Receiver(path)
    print(f"The receiver is an OpenTelemetry Collector: {path.name}.\n")
    return CollectorReceiver(path)


def main():
    path, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    with tempfile.TemporaryDirectory() as directory, make_receiver(path) as receiver:
        services = [start(host, SOUNDS[i::len(HOSTS)], build, receiver, directory)
                    for i, host in enumerate(HOSTS)]
        for service in services:
            service.wait()
        made = sum(reports_made(host, directory) for host in HOSTS)
    records = receiver.records()
    print(f"{len(receiver.bodies())} requests arrived:\n")
    print_summary(records)
    arrived = sum(int(record["attributes"].get("aggregated_count", 0)) for _, record in records)
    print(f"\n{made:,} reports were made, and {arrived:,} are accounted for.")
    worst_first = sorted(records, key=lambda r: -r[1]["severityNumber"])
    print("\nA few of the records, the worst first:")
    for resource, record in worst_first[:FEW]:
        print(json.dumps({"host.name": resource["host.name"], **record}, indent=2))
    if arrived != made:
        sys.exit("not everything arrived")


if __name__ == "__main__":
    main()
