#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# draw_accuracy.py ROWS FAULTS POSES DOCS: writes what 'accuracy rows', 'accuracy faults' and
# 'accuracy poses' have measured into the blocks of DOCS/accuracy.md, and draws DOCS/accuracy-*.svg.
# Nothing is written unless every figure is there. "-" for ROWS and FAULTS leaves theirs as it is.
import collections
import csv
import math
import pathlib
import re
import statistics
import sys

# How far off a mount may be, millimetres and degrees: the limits of the command.
LIMITS = (3.0, 0.3)
USABLE_CODES = (0, 99)
# The parts of captures in which the truth may lie inside what was stated at 95 %, percent.
AXES_RANGE, REGION_RANGE = (93.0, 97.0), (90.0, 97.0)

# Column of the measurement -> its name in the tables.
LIBRARY, GUIDED, JOINT = "library_true", "library_solved", "joint"
SOLVERS = {LIBRARY: "library, true place", GUIDED: "library, solved place", JOINT: "joint",
           "park": "Park", "shah": "Shah"}
# In the table of images and that of mounts the library that the command runs stands first.
GUIDED_FIRST = {GUIDED: SOLVERS[GUIDED], LIBRARY: SOLVERS[LIBRARY], JOINT: "joint",
                "park": "Park", "shah": "Shah"}
HEADS = {"noise": "Noise", "kinds": "What is unusual", "images": "Images", "stale": "Stale rows",
         "motion": "Part of the turns", "still": "Stands still"}
# Each has its own colour and marker, distinct in print and for colour-blind readers.
STYLES = {LIBRARY: ("#777777", "s", 1.0), GUIDED: ("#000000", "o", 1.6),
          JOINT: ("#d55e00", "D", 2.2), "park": ("#56b4e9", "v", 1.0),
          "shah": ("#009e73", "^", 1.0)}
# Rows with the captures of the usual noise, which the table of noise has.
SAME_AS_USUAL = (("images", "24"), ("stale", "0"))
PLOTS = {"noise": "tracker noise, mm on each axis (and a tenth of it in degrees)",
         "images": "images", "stale": "stale rows of 24"}

KINDS = {"clean": "no fault", "estimate": "the estimate of the board is off",
         "slip": "a tracker slips", "stale": "stale rows", "square": "the square is off",
         "unit": "the square's unit is wrong", "lens": "the lens doesn't fit the model",
         "one-axis": "turns about one axis only", "small-turns": "small turns",
         "few-images": "5 to 12 images"}


# Ways to take a capture, and the accuracies that it is taken for: column -> name in the table.
WAYS = {"simulated": "simulated", "advised": "advised, followed roughly",
        "advised, followed exactly": "advised, followed exactly"}
TARGETS = {"to_3mm_0.3deg": "3 mm, 0.3°", "to_1mm_0.1deg": "1 mm, 0.1°",
           "to_0.7mm_0.07deg": "0.7 mm, 0.07°", "to_0.5mm_0.05deg": "0.5 mm, 0.05°",
           "enough": "the command says that there is enough"}


class Refused(Exception):
    pass


# ---- What was measured ------------------------------------------------------------------------


def read(path):
    """The lines of a CSV, with numbers as numbers."""
    def value(text):
        try:
            return float(text)
        except ValueError:
            return text
    with open(path, encoding="utf-8") as source:
        lines = list(csv.DictReader(source))
    if not lines:
        raise Refused(f"{path} has no captures")
    if any(None in line or None in line.values() for line in lines):
        raise Refused(f"{path} isn't complete")
    return [{name: value(text) for name, text in line.items()} for line in lines]


def groups(lines):
    """group -> row -> its captures."""
    found = collections.defaultdict(lambda: collections.defaultdict(list))
    for line in lines:
        found[line["group"]][text_of(line["row"])].append(line)
    return found


def text_of(row):
    return row if isinstance(row, str) else f"{row:g}"


def median(captures, column):
    """Of the captures that have a mount; NaN when none has."""
    values = [line[column] for line in captures if math.isfinite(line[column])]
    return statistics.median(values) if values else math.nan


def percent(part, whole):
    return f"{100 * part / whole:.0f} %" if whole else "-"


def count(captures, holds):
    return sum(1 for line in captures if holds(line))


# ---- Cells ------------------------------------------------------------------------------------


def error(captures, solver):
    """The median error, and how often there was none that could be used."""
    length, angle = median(captures, solver + "_mm"), median(captures, solver + "_deg")
    cell = "no result" if math.isnan(length) else f"{length:.2f} mm, {angle:.3f}°"
    if solver + "_code" in captures[0]:
        refused = count(captures, lambda line: line[solver + "_code"] not in USABLE_CODES)
    else:
        refused = count(captures, lambda line: math.isnan(line[solver + "_mm"]))
    return cell + (f" (refused {refused} of {len(captures)})" if refused else "")


def nearer(captures, than):
    """In how many of the captures that both solve the joint solve is nearer to the truth."""
    both = [line for line in captures
            if math.isfinite(line[than + "_mm"]) and math.isfinite(line["joint_mm"])]
    return percent(count(both, lambda line: line["joint_mm"] < line[than + "_mm"]), len(both))


def axes_inside(captures):
    return 100 * statistics.mean(line["axes_inside"] for line in captures) / 6


def region_inside(captures):
    return 100 * statistics.mean(line["all_inside"] for line in captures)


# ---- Blocks of the page -----------------------------------------------------------------------


def table(header, rows):
    lines = [header, ["---"] * len(header), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def sweep_table(name, rows, solvers):
    header = [HEADS[name], *solvers.values(), "joint is nearer than the library"]
    return table(header, [[row, *(error(captures, solver) for solver in solvers),
                           nearer(captures, GUIDED)] for row, captures in rows.items()])


def mount_table(rows):
    header = ["Mount, Euler angles", "library, body axes as given", "kept",
              "library, body axes relabelled", "kept", "joint"]
    return table(header, [[row, error(captures, "library_own_axes"),
                           f"{median(captures, 'library_own_axes_kept'):.0f}",
                           error(captures, GUIDED), f"{median(captures, GUIDED + '_kept'):.0f}",
                           error(captures, JOINT)] for row, captures in rows.items()])


def estimate_table(rows):
    header = ["Estimate off by", "library from the estimate", "library, solved place", "joint"]
    solvers = (LIBRARY, GUIDED, JOINT)
    return table(header, [[row, *(error(captures, solver) for solver in solvers)]
                          for row, captures in rows.items()])


def coverage_table(data):
    header = ["Captures", "inside per axis", "inside all six", "median half-width"]
    rows = []
    for group, found in data.items():
        if group in ("slip", "estimate", "mount"):
            continue
        for row, captures in found.items():
            if (group, row) in SAME_AS_USUAL:
                continue
            rows.append([row_name(group, row), f"{axes_inside(captures):.1f} %",
                         f"{region_inside(captures):.1f} %",
                         f"{median(captures, 'half_mm'):.2f} mm, "
                         f"{median(captures, 'half_deg'):.3f}°"])
    return table(header, rows)


def is_in(value, bounds):
    return bounds[0] <= value <= bounds[1]


def row_name(group, row):
    return row if group in ("noise", "kinds") else f"{HEADS[group].lower()}: {row}"


def better_than_joint(captures, solvers):
    """Where one of the solvers has a smaller median than the joint solve: both medians."""
    found = []
    for column, unit in (("mm", "mm"), ("deg", "°")):
        best = min(solvers, key=lambda solver: median(captures, f"{solver}_{column}"))
        theirs, mine = (median(captures, f"{solver}_{column}") for solver in (best, JOINT))
        if theirs < mine:
            found.append(f"{SOLVERS[best]}, {theirs:.3g} {unit} against {mine:.3g}")
    return "; ".join(found)


def broken_claims(captures):
    """What doesn't hold in one row: against solvers that know as much, against the library with the
    true place, and of the stated uncertainty."""
    axes, region = axes_inside(captures), region_inside(captures)
    coverage = ""
    if not is_in(axes, AXES_RANGE) or not is_in(region, REGION_RANGE):
        coverage = f"{axes:.1f} % per axis, {region:.1f} % of all six"
    return [better_than_joint(captures, (GUIDED, "park", "shah")),
            better_than_joint(captures, (LIBRARY,)), coverage]


def claims(data):
    """Where the joint solve isn't the best, and where its uncertainty isn't what it says."""
    header = ["Captures", "better than joint, knowing as much", "better, knowing the place",
              "the truth is inside"]
    rows = []
    for group, found in data.items():
        if group in ("slip", "estimate", "mount"):
            continue
        for row, captures in found.items():
            broken = broken_claims(captures)
            if any(broken) and (group, row) not in SAME_AS_USUAL:
                rows.append([row_name(group, row), *(text or "-" for text in broken)])
    return table(header, rows) if rows else "They hold in every row."


def slip_table(data):
    header = ["Captures", "a slip is named", "the right tracker", "the right image",
              "worth a look, not named"]
    rows = []
    for row, captures in data["slip"].items():
        named = [line for line in captures if line["slip_evidence"] == 2]
        rows.append(["slip of " + row, f"{len(named)} of {len(captures)}",
                     *(f"{count(named, lambda line: line[right] == 1)} of {len(named)}"
                       for right in ("slip_tracker_right", "slip_image_right")),
                     f"{count(captures, lambda line: line['slip_evidence'] == 1)}"])
    for group in ("noise", "kinds", "stale"):
        for row, captures in data[group].items():
            if group == "stale" and row == "0":
                continue
            name = row if group == "kinds" else f"{HEADS[group].lower()}: {row}"
            named = count(captures, lambda line: line["slip_evidence"] == 2)
            rows.append([f"no slip, {name}", f"{named} of {len(captures)}", "-", "-",
                         f"{count(captures, lambda line: line['slip_evidence'] == 1)}"])
    return table(header, rows)


def is_off(line, run):
    return not (line[run + "_mm"] <= LIMITS[0] and line[run + "_deg"] <= LIMITS[1])


def has_usable_code(line, run):
    """The joint mount has no code."""
    return line.get(run + "_code", 0) in USABLE_CODES and math.isfinite(line[run + "_mm"])


def is_called_usable(line, run):
    verdict = run + "_verdict"
    return has_usable_code(line, run) and (verdict not in line or line[verdict] == "agree")


def fault_table(faults):
    """For each kind of fault, alone or with others: what is called usable, and how much is off."""
    header = ["Captures", "number", "library alone: called usable", "of which off",
              "with the second opinion: called usable", "of which off", "good, but not called so",
              "joint mount chosen: called usable", "of which off", "good, but not called so"]
    rows = []
    for kind, name in [*KINDS.items(), (None, "**all**")]:
        captures = [line for line in faults if kind is None or kind in line["kinds"].split("+")]
        cells = []
        for run in ("before", "after", "after_joint"):
            usable = [line for line in captures if is_called_usable(line, run)]
            cells += [str(len(usable)), str(count(usable, lambda line: is_off(line, run)))]
            if run != "before":
                cells.append(str(count(captures, lambda line: has_usable_code(line, run)
                                       and not is_off(line, run)
                                       and line[run + "_verdict"] != "agree")))
        rows.append([name, str(len(captures)), *cells])
    return table(header, rows)


RUNS = {"after": "the library's", "given": "the library's, estimate as a prior",
        "after_joint": "the joint", "given_joint": "the joint, estimate as a prior"}


def silent_table(faults):
    """Every wrong mount that is called usable, with its faults."""
    rows = []
    for line in faults:
        for run, name in RUNS.items():
            if is_called_usable(line, run) and is_off(line, run):
                rows.append([f"{line['seed']:.0f}",
                             " and ".join(KINDS[kind] for kind in line["kinds"].split("+")), name,
                             f"{line[run + '_mm']:.1f} mm, {line[run + '_deg']:.2f}°",
                             f"{line[run + '_picture_px']:.1f} px"])
    return table(["Seed", "Faults", "mount", "off by", "in the picture"],
                 rows) if rows else "None."


def verdict_table(faults):
    header = ["With the second opinion", "agree", "look", "don't use"]
    rows = []
    usable = [line for line in faults if has_usable_code(line, "after")]
    for name, wrong in (("the library is within the limits", False), ("it is off", True)):
        chosen = [line for line in usable if is_off(line, "after") == wrong]
        rows.append([name, *(str(count(chosen, lambda line: line["after_verdict"] == verdict))
                             for verdict in ("agree", "look", "dont-use"))])
    clean = [line for line in usable
             if line["kinds"] == "clean" and not is_off(line, "after")]
    rows.append(["of the first, without a fault",
                 *(str(count(clean, lambda line: line["after_verdict"] == verdict))
                   for verdict in ("agree", "look", "dont-use"))])
    return table(header, rows)


# ---- Poses that were advised ------------------------------------------------------------------


def quartiles(values):
    """Median and, in brackets, both quartiles; a value that wasn't reached counts as the most."""
    values = sorted(math.inf if math.isnan(value) else value for value in values)
    shown = [values[min(len(values) - 1, int(part * len(values)))] for part in (0.5, 0.25, 0.75)]
    texts = [f"{value:.0f}" if math.isfinite(value) else "more than 48" for value in shown]
    return f"{texts[0]} ({texts[1]} to {texts[2]})"


def pose_table(poses):
    header = ["Half-widths at 95 %"] + list(WAYS.values()) + ["the truth is inside"]
    rows = []
    for target, name in TARGETS.items():
        cells, inside = [], []
        for way in WAYS:
            lines = [line for line in poses if line["way"] == way]
            cells.append(quartiles([line[f"{target}_images"] for line in lines]))
            reached = [line[f"{target}_inside"] for line in lines
                       if not math.isnan(line[f"{target}_inside"])]
            inside.append(f"{100 * statistics.mean(reached):.0f}")
        rows.append([name] + cells + [", ".join(inside) + " %"])
    return table(header, rows)


def pose_block(poses):
    seeds = sorted({line["seed"] for line in poses})
    agree = {way: [line["enough_verdict"] for line in poses if line["way"] == way] for way in WAYS}
    advised = agree["advised"]
    return (f"{len(seeds)} captures in each column, seeds {seeds[0]:.0f} to {seeds[-1]:.0f}.\n\n"
            + pose_table(poses) + "\n\n"
            f"When there was enough of a capture that was advised and followed roughly, "
            f"`rigsync calibrate` called {advised.count(0)} of {len(advised)} usable; of the "
            f"simulated ones, {agree['simulated'].count(0)}.")


def measured_block(data, faults):
    first = next(iter(data["noise"].values()))
    seeds = sorted(line["seed"] for line in first)
    fault_seeds = sorted(line["seed"] for line in faults)
    return (f"{len(seeds)} captures a row, seeds {seeds[0]:.0f} to {seeds[-1]:.0f}; "
            f"{len(faults)} captures with random faults, seeds {fault_seeds[0]:.0f} to "
            f"{fault_seeds[-1]:.0f}.")


def blocks(data, faults):
    found = {name: sweep_table(name, data[name],
                               GUIDED_FIRST if name == "images" else SOLVERS) for name in HEADS}
    found.update({
        "measured": measured_block(data, faults), "claims": claims(data),
        "mount": mount_table(data["mount"]), "estimate": estimate_table(data["estimate"]),
        "coverage": coverage_table(data), "slip": slip_table(data),
        "faults": fault_table(faults), "verdicts": verdict_table(faults),
        "silent": silent_table(faults)})
    return found


def fill(page, where, text):
    begin, end = f"<!-- {where} -->\n", f"<!-- end of {where} -->"
    form = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.S)
    if len(form.findall(page)) != 1:
        raise Refused(f"accuracy.md has no place for '{where}', or more than one")
    return form.sub(lambda _: f"{begin}{text}\n{end}", page)


# ---- Plots ------------------------------------------------------------------------------------


def number_of(row):
    """The first number of a row's name; None for noise whose parts have another ratio."""
    numbers = [float(text) for text in re.findall(r"[\d.]+", row)]
    if len(numbers) == 2 and not math.isclose(numbers[1], numbers[0] / 10):
        return None
    return numbers[0]


def draw(name, rows, target):
    import matplotlib
    matplotlib.use("svg")
    import matplotlib.pyplot as plt
    import matplotlib.ticker
    matplotlib.rcParams["svg.hashsalt"] = "accuracy"  # the same input gives the same file
    points = sorted((number_of(row), captures) for row, captures in rows.items()
                    if number_of(row) is not None)
    values = [value for value, _ in points]
    figure, axes = plt.subplots(1, 2, figsize=(9, 3.6), layout="constrained")
    for axis, (unit, shown) in zip(axes, (("mm", "mm"), ("deg", "degrees"))):
        for solver, label in SOLVERS.items():
            colour, mark, width = STYLES[solver]
            axis.plot(values, [median(captures, f"{solver}_{unit}") for _, captures in points],
                      color=colour, marker=mark, linewidth=width, markersize=4, label=label)
        axis.set_yscale("log")
        # Numbers as in the tables, and enough ticks to read a value on an axis of small range.
        for ticks in (axis.yaxis.set_major_formatter, axis.yaxis.set_minor_formatter):
            ticks(matplotlib.ticker.FuncFormatter(lambda value, _: f"{value:g}"))
        axis.yaxis.set_minor_locator(matplotlib.ticker.LogLocator(subs=(2, 5)))
        axis.set_ylabel("median error, " + shown)
        axis.grid(True, which="both", axis="y", alpha=0.3)
        axis.grid(True, axis="x", alpha=0.3)
    axes[0].legend(fontsize=8)
    figure.supxlabel(PLOTS[name], fontsize=10)
    figure.savefig(target, metadata={"Date": None})
    plt.close(figure)


def main():
    rows, faults, poses, docs = sys.argv[1:5]
    docs = pathlib.Path(docs)
    data = {}
    try:
        found = {"poses": pose_block(read(poses))}
        if rows != "-":
            data = groups(read(rows))
            found.update(blocks(data, read(faults)))
        page = (docs / "accuracy.md").read_text(encoding="utf-8")
        for where, text in found.items():
            page = fill(page, where, text)
    except (Refused, KeyError, OSError) as problem:
        sys.exit(f"draw_accuracy.py: {problem}")
    for name in PLOTS if data else ():
        draw(name, data[name], docs / f"accuracy-{name}.svg")
    (docs / "accuracy.md").write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()
