#!/usr/bin/env python3
"""Shows the rows of a benchmark on a page, with a drawing (SVG) per measure.

In a drawing, each row is a dot at its ratio, library to peer, on a logarithmic axis, with a line over the rounds'
spread and an upright mark at its aim.
"""

import argparse
import itertools
import json
import pathlib
import re

import matplotlib

matplotlib.use("svg")
# Fixed, so that equal rows give equal files.
matplotlib.rcParams["svg.hashsalt"] = "kiv_bench"
matplotlib.rcParams["svg.fonttype"] = "none"
matplotlib.rcParams["font.size"] = 9

import matplotlib.pyplot as plt
from matplotlib.ticker import LogLocator, NullLocator

INTRODUCTION = """\
# Measured

The library and its peers, side by side on a machine with two processors: the ratio of the medians,
library to peer, and the lowest and the highest of a single round.
[`bench/README.md`](../../bench/README.md) describes the measures. `./dev bench` measures, `./dev draw`
makes this page of its rows.
"""

MET, NOT_MET, NO_AIM = "tab:green", "tab:red", "tab:gray"


def colour(row):
    if row["met"] is None:
        return NO_AIM
    return MET if row["met"] else NOT_MET


def plain_number(value, _position=None):
    return f"{value:g}"


def draw(measure, rows, path):
    figure, axes = plt.subplots(figsize=(8, 0.9 + 0.24 * len(rows)), layout="constrained")
    for position, row in enumerate(rows):
        axes.plot([row["min"], row["max"]], [position] * 2, color=colour(row), linewidth=1)
        axes.plot(row["ratio"], position, "o", color=colour(row), markersize=5)
        if row["aim"] is not None:
            aim = float(row["aim"].split()[-1])
            axes.plot(aim, position, "|", color="black", markersize=10)
    axes.axvline(1, color="lightgray", linewidth=1, zorder=0)
    axes.set_xscale("log")
    axes.xaxis.set_major_locator(LogLocator(subs=(1, 2, 5)))
    axes.xaxis.set_major_formatter(plain_number)
    axes.xaxis.set_minor_locator(NullLocator())
    axes.set_yticks(range(len(rows)), [f"{row['setting']}  |  {row['peer']}" for row in rows])
    axes.invert_yaxis()
    axes.set_xlabel("library / peer (upright mark: aim)")
    axes.set_title(measure)
    figure.savefig(path, metadata={"Date": None})
    plt.close(figure)


def table(rows):
    lines = ["| setting | peer | ratio | rounds | aim | |", "| --- | --- | --- | --- | --- | --- |"]
    for row in rows:
        met = {None: "", True: "met", False: "**not met**"}[row["met"]]
        lines.append(f"| {row['setting']} | {row['peer']} | {row['ratio']:.3g} | "
                     f"{row['min']:.3g} to {row['max']:.3g} | {row['aim'] or ''} | {met} |")
    return lines


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("rows", type=pathlib.Path, help="what the benchmark wrote with --json")
    parser.add_argument("directory", type=pathlib.Path, help="where the drawings go")
    arguments = parser.parse_args()

    rows = json.loads(arguments.rows.read_text(encoding="utf-8"))
    arguments.directory.mkdir(parents=True, exist_ok=True)
    page = [INTRODUCTION]
    for measure, group in itertools.groupby(rows, key=lambda row: row["measure"]):
        of_measure = list(group)
        name = re.sub(r"[^a-z0-9]+", "_", measure.lower()).strip("_")
        draw(measure, of_measure, arguments.directory / f"{name}.svg")
        page += [f"## {measure}", "", f"![{measure}]({name}.svg)", "", *table(of_measure), ""]
    (arguments.directory / "README.md").write_text("\n".join(page), encoding="utf-8")


if __name__ == "__main__":
    main()
