#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# draw_accuracy.py CSV DOCS: draws the results of the program 'accuracy', one SVG with millimetres
# and degrees for each sweep, and writes the medians into the tables of DOCS/accuracy.md.
import collections
import csv
import os
import re
import statistics
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (the backend has to be chosen first)
import matplotlib.ticker  # noqa: E402

LIBRARY = "rigsync_core"
PEERS = ["Park", "Horaud", "Daniilidis", "Shah", "Li"]
SOLVERS = [LIBRARY, *PEERS]
# Each has its own colour and marker, distinct in print and for colour-blind readers.
STYLES = {
    LIBRARY: ("#000000", "o", 2.2),
    "Park": ("#0072b2", "s", 1.0),
    "Horaud": ("#56b4e9", "v", 1.0),
    "Daniilidis": ("#d55e00", "^", 1.0),
    "Shah": ("#009e73", "D", 1.0),
    "Li": ("#cc79a7", "x", 1.0),
}
# The quantity of each sweep: its axis in the plot, and the first column of its table.
SWEEPS = {
    "noise": ("tracker noise, mm on each axis (and a tenth of it in degrees)", "Noise, mm"),
    "images": ("images", "Images"),
    "stale": ("stale rows of 24", "Stale rows"),
    "estimate-offset": ("error of the board's estimated offset, mm on each axis", "Error, mm"),
    "estimate-angle": ("error of the board's estimated angles, degrees on each axis",
                       "Error, degrees"),
}

# The peers take no estimate, so their figures are the same in every row and are written once.
ESTIMATE_SWEEPS = ("estimate-offset", "estimate-angle")


def read(path):
    """sweep -> value -> solver -> list of (millimetres, degrees, code)."""
    data = collections.defaultdict(
        lambda: collections.defaultdict(lambda: collections.defaultdict(list)))
    with open(path, encoding="utf-8") as source:
        for row in csv.DictReader(source):
            error = None
            if row["millimetres"]:
                error = (float(row["millimetres"]), float(row["degrees"]))
            data[row["sweep"]][float(row["value"])][row["solver"]].append((error, int(row["code"])))
    return data


def errors(runs, index):
    return [error[index] for error, _ in runs if error is not None]


def median(runs, index):
    found = errors(runs, index)
    return statistics.median(found) if found else float("nan")


def draw(sweep, points, target):
    figure, axes = plt.subplots(1, 2, figsize=(9, 3.6), layout="constrained")
    values = sorted(points)
    for index, (axis, unit) in enumerate(zip(axes, ("mm", "degrees"))):
        for solver in SOLVERS:
            colour, mark, width = STYLES[solver]
            axis.plot(values, [median(points[value][solver], index) for value in values],
                      color=colour, marker=mark, linewidth=width, markersize=4, label=solver)
        ours = [errors(points[value][LIBRARY], index) for value in values]
        axis.fill_between(values, [min(found, default=float("nan")) for found in ours],
                          [max(found, default=float("nan")) for found in ours],
                          color="#000000", alpha=0.12, linewidth=0)
        axis.set_yscale("log")
        # Numbers as in the tables, and enough ticks to read a value on an axis of small range.
        for ticks in (axis.yaxis.set_major_formatter, axis.yaxis.set_minor_formatter):
            ticks(matplotlib.ticker.FuncFormatter(lambda value, _: f"{value:g}"))
        axis.yaxis.set_minor_locator(matplotlib.ticker.LogLocator(subs=(2, 5)))
        axis.set_ylabel("error, " + unit)
        axis.grid(True, which="both", axis="y", alpha=0.3)
        axis.grid(True, axis="x", alpha=0.3)
    axes[0].legend(fontsize=8)
    figure.supxlabel(SWEEPS[sweep][0], fontsize=10)
    figure.savefig(target, metadata={"Date": None})
    plt.close(figure)


def cell(runs):
    if not errors(runs, 0):
        return "no result"
    return f"{median(runs, 0):.2f} mm, {median(runs, 1):.3f}°"


def table(header, rows):
    lines = [header, ["---"] * len(header), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def sweep_table(sweep, points):
    solvers = [LIBRARY] if sweep in ESTIMATE_SWEEPS else SOLVERS
    rows = []
    for value in sorted(points):
        cells = [cell(points[value][solver]) for solver in solvers]
        refused = sum(code not in (0, 99) for _, code in points[value][LIBRARY])
        if refused:
            cells[0] += f" (refused {refused} of {len(points[value][LIBRARY])})"
        rows.append([f"{value:g}", *cells])
    return table([SWEEPS[sweep][1], *solvers], rows)


def peers_table(data):
    """The figures of the peers, which do not depend on the estimate."""
    rows = {tuple(cell(runs[solver]) for solver in PEERS)
            for sweep in ESTIMATE_SWEEPS for runs in data[sweep].values()}
    if len(rows) != 1:
        sys.exit(f"the peers' figures depend on the estimate, which they don't take: {rows}")
    return table(PEERS, rows)


def fill(page, path, where, text):
    marks = f"<!-- {where} -->\n", f"<!-- end of {where} -->"
    form = re.compile(re.escape(marks[0]) + ".*?" + re.escape(marks[1]), re.S)
    if not form.search(page):
        sys.exit(f"{path} has no place for the table '{where}'")
    return form.sub(lambda _: marks[0] + text + "\n" + marks[1], page)


def main():
    data = read(sys.argv[1])
    docs = sys.argv[2]
    matplotlib.rcParams["svg.hashsalt"] = "accuracy"  # the same input gives the same file
    page_path = os.path.join(docs, "accuracy.md")
    with open(page_path, encoding="utf-8") as source:
        page = source.read()
    for sweep in SWEEPS:
        draw(sweep, data[sweep], os.path.join(docs, f"accuracy-{sweep}.svg"))
        page = fill(page, page_path, sweep, sweep_table(sweep, data[sweep]))
    page = fill(page, page_path, "estimate-peers", peers_table(data))
    with open(page_path, "w", encoding="utf-8") as target:
        target.write(page)


main()
