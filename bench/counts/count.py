#!/usr/bin/env python3
"""Counts what the library executes and allocates for one report, and compares with a table.

Instructions are counted by callgrind, or by QEMU for programs of another processor. The exit status
is 1 if a count has risen by more than 5 % over the table's.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TOLERANCE = 1.05
RUNS = 5
HEADER = ("per call", "instructions", "allocations")
LAYOUT = "{:<32}{:>12}{:>13}"


def callgrind_totals(program):
    """The program's output, and the instructions of each of its sections."""
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory) / "callgrind"
        output = subprocess.run(
            ["valgrind", "--quiet", "--tool=callgrind", "--collect-atstart=no",
             f"--callgrind-out-file={out}", program],
            check=True, stdout=subprocess.PIPE, text=True).stdout
        dumps = sorted(pathlib.Path(directory).glob("callgrind.*"),
                       key=lambda path: int(path.suffix[1:]))
        totals = [int(re.search(r"^totals: (\d+)", dump.read_text(), re.MULTILINE).group(1))
                  for dump in dumps]
    return output, totals


def qemu_totals(qemu, plugin, program):
    """The same for a program that an emulator runs."""
    run = subprocess.run([*qemu.split(), "-plugin", plugin, program], check=True,
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    totals = [int(count) for count in re.findall(r"^instructions\t(\d+)$", run.stderr, re.MULTILINE)]
    return run.stdout, totals


def counts_per_call(output, totals):
    sections = [line.split("\t") for line in output.splitlines()]
    if not sections or len(sections) != len(totals):
        raise ValueError(f"{len(sections)} sections, but {len(totals)} counts of instructions")
    return {name: (round(total / int(count)), round(int(allocations) / int(count), 2))
            for (name, count, allocations), total in zip(sections, totals)}


def least(runs):
    """The least that any run took: how two threads meet differs from run to run, and adds to both."""
    return {name: tuple(min(run[name][column] for run in runs) for column in range(2))
            for name in runs[0]}


def as_table(counts):
    lines = [LAYOUT.format(*HEADER)]
    lines += [LAYOUT.format(name, instructions, f"{allocations:.2f}")
              for name, (instructions, allocations) in counts.items()]
    return "\n".join(lines) + "\n"


def from_table(text):
    counts = {}
    for line in text.splitlines()[1:]:
        name, instructions, allocations = line.rsplit(maxsplit=2)
        counts[name] = (int(instructions), float(allocations))
    return counts


def compare(recorded, counts):
    """Prints both, and returns whether all is well."""
    well = True
    print("{:<32}{:>20}{:>20}".format("per call: recorded, now", *HEADER[1:]))
    for name in dict.fromkeys([*recorded, *counts]):
        if name not in recorded or name not in counts:
            print(f"{name:<32}{'only ' + ('now' if name in counts else 'recorded'):>20}")
            well = False
            continue
        pairs = list(zip(recorded[name], counts[name]))
        risen = any(now > before * TOLERANCE for before, now in pairs)
        well = well and not risen
        cells = [f"{before:g}, {now:g}" for before, now in pairs]
        print("{:<32}{:>20}{:>20}{}".format(name, *cells, "  RISEN" if risen else ""))
    return well


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--record", action="store_true", help="write the table")
    parser.add_argument("--qemu", help="the emulator and its options")
    parser.add_argument("--plugin", help="the emulator's plugin that counts")
    parser.add_argument("table", type=pathlib.Path)
    parser.add_argument("program")
    arguments = parser.parse_args()

    # On one processor threads take turns in much the same way each time.
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    runs = []
    for _ in range(RUNS):
        if arguments.qemu:
            run = qemu_totals(arguments.qemu, arguments.plugin, arguments.program)
        else:
            run = callgrind_totals(arguments.program)
        runs.append(counts_per_call(*run))
    counts = least(runs)
    if arguments.record:
        arguments.table.write_text(as_table(counts), encoding="utf-8")
        print(as_table(counts), end="")
        return 0
    return 0 if compare(from_table(arguments.table.read_text(encoding="utf-8")), counts) else 1


if __name__ == "__main__":
    sys.exit(main())
