#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""draw_performance.py MEASURED TARGET: draws how the time of each stage grows with the number of
images, as measure_performance.py measured it, into the SVG file TARGET.
"""
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (the backend has to be chosen first)

sys.dont_write_bytecode = True
from performance_tables import Measured, Refused  # noqa: E402

# Label, stages of the run log, colour, marker: distinct in print and for colour-blind readers.
STAGES = [
    ("lens solve", ["lens"], "#d55e00", "o"),
    ("reprojection images", ["writing"], "#0072b2", "s"),
    ("boards: decode, search, refine", ["search"], "#009e73", "^"),
    ("all other stages", ["begin", "csv", "corner_lines", "mount", "verdict"], "#cc79a7", "x"),
]


def draw(measured, target):
    counts = [int(images) for images in measured.counts("growth")]
    times = [[measured(*(f"growth/{images}/{stage}_s" for stage in stages)) for images in counts]
             for _, stages, _, _ in STAGES]
    figure, (stacked, lines) = plt.subplots(1, 2, figsize=(9, 3.6), layout="constrained")
    # The first is on top, as in the legend.
    stacked.stackplot(counts, *reversed(times), colors=[stage[2] for stage in reversed(STAGES)],
                      labels=[stage[0] for stage in reversed(STAGES)], alpha=0.75, linewidth=0)
    stacked.plot(counts, [sum(parts) for parts in zip(*times)], color="#000000", marker="o",
                 linewidth=1.0, markersize=4, label="all")
    stacked.set_ylabel("time, s (stacked)")
    stacked.set_xlim(counts[0], counts[-1])
    stacked.set_ylim(0)
    handles, labels = stacked.get_legend_handles_labels()
    stacked.legend(handles[::-1], labels[::-1], fontsize=8, loc="upper left")
    for (label, _, colour, mark), own in zip(STAGES, times):
        lines.plot(counts, own, color=colour, marker=mark, linewidth=1.6, markersize=4, label=label)
    lines.set_xscale("log")
    lines.set_yscale("log")
    lines.set_xticks(counts, [str(count) for count in counts])
    lines.minorticks_off()
    lines.set_ylabel("time, s (each)")
    for axis in (stacked, lines):
        axis.grid(True, which="major", alpha=0.3)
    figure.supxlabel("images", fontsize=10)
    figure.savefig(target, metadata={"Date": None})
    plt.close(figure)


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: draw_performance.py MEASURED TARGET")
    matplotlib.rcParams["svg.hashsalt"] = "performance"  # the same input gives the same file
    try:
        draw(Measured(sys.argv[1]), sys.argv[2])
    except Refused as why:
        sys.exit(f"performance: nothing was drawn: {why}")


main()
