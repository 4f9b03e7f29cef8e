#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""performance_tables.py [--busy] MEASURED DOCS: writes the figures of measure_performance.py
into the tables of DOCS/performance.md and DOCS/capture-guide.md, and prints a summary.

No page is changed if a figure is missing, not finite or not above 0, which is then named, or if
other programs took more than a tenth of the processors during the measurement, unless --busy is
given.
"""
import argparse
import datetime
import json
import math
import os
import pathlib
import re
import sys
import textwrap

RATIO_LIMIT = 1.05
COMMAND_LIMIT = 1.7  # the command's time in those of the library's call alone
JOINT_LIMIT = 0.1  # seconds of the solve of both mounts, with their uncertainty
JOINT_IMAGES = 60  # the most images for which that limit holds
OTHERS_LIMIT = 0.1  # the share of the processors that other programs may take meanwhile
MIB = 1024.0 * 1024.0


class Refused(Exception):
    """The reason why no table is written."""


class Measured:
    def __init__(self, path):
        try:
            with open(path, encoding="utf-8") as source:
                data = json.load(source)
            self.plan, self.machine = data["plan"], data["machine"]
            self.date = datetime.date.fromisoformat(data["date"])
            self.figures = data["figures"]
        except (OSError, ValueError, KeyError) as error:
            raise Refused(f"{path} isn't a complete measurement: {error!r}") from error

    def __call__(self, *names):
        """The sum of the named figures."""
        return sum(self.figure(name) for name in names)

    def figure(self, name):
        value = self.figures.get(name)
        if not isinstance(value, (int, float)) or not math.isfinite(value) or value <= 0:
            raise Refused(f"the figure '{name}' is missing or impossible: {value}")
        return float(value)

    def of_machine(self, name):
        if name not in self.machine:
            raise Refused(f"the machine's '{name}' is missing")
        return self.machine[name]

    def counts(self, name):
        return sorted(self.plan[name], key=int)


def seconds(value):
    """Rounded to the significant digits."""
    if value < 0.00005:
        return "< 0.1 ms"
    if value < 0.0995:
        return f"{1000 * value:.2g} ms" if value < 0.01 else f"{1000 * value:.0f} ms"
    if value < 9.95:
        return f"{value:.2f} s"
    return f"{value:.1f} s" if value < 99.5 else f"{value:.0f} s"


def percent(part, whole):
    return f"{100 * part / whole:.1f} %"


def paragraph(text):
    return textwrap.fill(text, 100, break_on_hyphens=False, break_long_words=False)


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in lines)


def size_text(size):
    return size.replace("x", " x ")


def kept(value, limit):
    return "within" if value <= limit else "ABOVE"


# ---- The blocks of docs/performance.md --------------------------------------------------------


def machine(measured):
    # Not by strftime, which uses the machine's language.
    months = ("January February March April May June July August September October November "
              "December").split()
    date = f"{measured.date.day} {months[measured.date.month - 1]} {measured.date.year}"
    text = (f"Measured on {date}: {measured.of_machine('cores')} cores of a processor that calls "
            f"itself {measured.of_machine('processor')}, OpenCV {measured.of_machine('opencv')} "
            f"with {measured.of_machine('threads')} threads, a Release build by "
            f"{measured.of_machine('compiler')}. Other programs took "
            f"{percent(measured.of_machine('others_share'), 1)} of the processors' time meanwhile.")
    return paragraph(text)


def ratio(measured):
    plan = measured.plan["ratio"]
    rows = []
    for size in plan["sizes"]:
        at = f"ratio/{size}/"
        rows.append([size_text(size), seconds(measured(at + "bare_s")),
                     seconds(measured(at + "calibration_s")), f"{measured(at + 'ratio'):.3f}",
                     f"{measured(at + 'annotated'):.0f}"])
    return (table(["Size", "Bare calls", "`Calibration`", "Ratio", "Images written"], rows)
            + "\n\n"
            + paragraph(f"{plan['images']} images; the fastest of {plan['repetitions']} rounds of "
                        f"each. {ratio_verdict(measured)}"))


def worst_ratio(measured):
    return max(measured(f"ratio/{size}/ratio") for size in measured.plan["ratio"]["sizes"])


def ratio_verdict(measured):
    worst = worst_ratio(measured)
    return (f"The largest ratio, {worst:.3f}, is {kept(worst, RATIO_LIMIT)} the limit of "
            f"{RATIO_LIMIT}.")


# The rows of the stage table: name, stage of the run log, and the bare calls that the stage is
# divided by (None: the whole stage).
STAGE_ROWS = [
    ("Reading the CSV", "csv", None),
    ("Decoding the images", "search", "decode"),
    ("Shrinking them, grey copies", "search", "reduce"),
    ("Board search, `findChessboardCorners`", "search", "search"),
    ("Refinement, `cornerSubPix`", "search", "refine"),
    ("Lens solve, `calibrateCamera`", "lens", None),
    ("Poses, means, outliers, first measurement, verdict", "mount", None),
    ("Reprojection images: decoding again", "writing", "decode_again"),
    ("Reprojection images: drawing", "writing", "draw"),
    ("Reprojection images: encoding, writing", "writing", "encode"),
]
LOGGED = ["begin", "csv", "search", "corner_lines", "lens", "mount", "writing", "verdict"]
TOGETHER = {"mount": ["mount", "verdict"]}  # stages that a row has as one


def stage_seconds(measured, images):
    """Seconds of each row; the last row is that of the log lines. Every line is assumed to cost as
    much as the line of a found corner, because that stage only writes lines."""
    at = f"stages/{images}/"
    line = measured(at + "corner_lines_s") / measured(at + "corner_lines_lines")
    found = {}
    for name, stage, part in STAGE_ROWS:
        own = max(sum(measured(f"{at}{one}_s") - line * measured(f"{at}{one}_lines")
                      for one in TOGETHER.get(stage, [stage])), 0.0)
        parts = [other for _, other_stage, other in STAGE_ROWS if other_stage == stage]
        if part:
            own *= (measured(f"{at}bare_{part}_s")
                    / measured(*(f"{at}bare_{other}_s" for other in parts)))
        found[name] = own
    lines = measured(*(f"{at}{stage}_lines" for stage in LOGGED))
    found["Log lines"] = line * lines
    return found, lines


def stages(measured):
    counts = measured.counts("stages")
    columns, line_counts = [], []
    for images in counts:
        found, lines = stage_seconds(measured, images)
        columns.append((found, measured(f"stages/{images}/total_s")))
        line_counts.append(f"{lines:.0f} at {images} images")
    rows = [[name, *(f"{seconds(found[name])}, {percent(found[name], total)}"
                     for found, total in columns)] for name in columns[0][0]]
    rows.append(["**All**", *(f"**{seconds(total)}**" for _, total in columns)])
    written = ", ".join(f"{measured(f'stages/{images}/annotated'):.0f} of {images}"
                        for images in counts)
    return (table(["", *(f"{images} images" for images in counts)], rows)
            + "\n\n"
            + paragraph("Reprojection images are written for the images that the filter keeps: "
                        f"{written}. "
                        f"Log lines: {' and '.join(line_counts)}."))


def growth(measured):
    counts = measured.counts("growth")
    rows = []
    for images in counts:
        at = f"growth/{images}/"
        total, lens = measured(at + "total_s"), measured(at + "lens_s")
        rows.append([images, seconds(total), seconds(lens), percent(lens, total),
                     seconds((total - lens) / int(images)), f"{measured(at + 'peak_mib'):.0f} MiB",
                     f"{8 * (6 * int(images) + 6) ** 2 / MIB:.1f} MiB"])
    return ("![Time against the number of images](performance-images.svg)\n\n"
            + table(["Images", "Total", "Lens solve", "Its share", "All else, per image",
                     "Peak memory", "Lens matrix"], rows)
            + "\n\n" + paragraph(f"{repetitions(measured)} {lens_growth(measured)}"))


def repetitions(measured):
    plan = measured.plan["growth"]
    first, *others = measured.counts("growth")
    texts = [f"{plan[first]} of {first} images",
             *(f"{plan[images]} of {images}" for images in others)]
    return f"Runs: {', '.join(texts[:-1])} and {texts[-1]}; the fastest of each is shown."


def lens_growth(measured):
    counts = measured.counts("growth")
    lens = [measured(f"growth/{images}/lens_s") for images in counts]
    rest = [measured(f"growth/{images}/total_s") - one for images, one in zip(counts, lens)]
    half = str(int(counts[-1]) // 2)
    fewer = counts.index(half) if half in counts else -2
    longer, more = lens[-1] / lens[fewer], int(counts[-1]) / int(counts[fewer])
    text = (f"From {counts[fewer]} to {counts[-1]} images the lens solve takes {longer:.1f} times "
            f"as long, which is the power {math.log(longer) / math.log(more):.1f} of their number.")
    for i in range(1, len(counts)):
        before, here = lens[i - 1] / rest[i - 1], lens[i] / rest[i]
        if before <= 1 <= here:
            # Interpolated on logarithmic axes.
            part = math.log(1 / before) / math.log(here / before) if here > before else 0.0
            even = int(counts[i - 1]) * (int(counts[i]) / int(counts[i - 1])) ** part
            return f"{text} At about {round(even, -1):.0f} images it takes as long as all else."
    return f"{text} At none of these numbers does it go from less than all else to more."


def lens_solve(measured):
    plan = measured.plan["lens_solve"]
    rows, factors = [], []
    for images in plan["images"]:
        took, expected, grown, expected_mib = (
            measured(f"lens_solve/{images}/{name}")
            for name in ("seconds", "expected_s", "grown_mib", "expected_mib"))
        factors.append(took / expected)
        rows.append([images, seconds(took), seconds(expected), f"{grown:.0f} MiB",
                     f"{expected_mib:.0f} MiB"])
    return (table(["Images", "Processor time", "Expected", "Memory", "Expected"], rows)
            + "\n\n"
            + paragraph(f"Boards of {plan['board']} corners, each number of images once. The solve "
                        f"took {min(factors):.2f} to {max(factors):.2f} times the expected time."))


def memory(measured):
    plan = measured.plan["memory"]
    rows, pixels, peaks = [], [], []
    for size in plan["sizes"]:
        width, height = map(int, size.split("x"))
        pixels.append(width * height)
        peaks.append(measured(f"memory/{size}/peak_mib"))
        rows.append([size_text(size), f"{3 * pixels[-1] / MIB:.1f} MiB", f"{peaks[-1]:.0f} MiB",
                     f"{measured(f'memory/{size}/command_mib'):.0f} MiB"])
    each = (peaks[-1] - peaks[0]) * MIB / (pixels[-1] - pixels[0])
    text = (f"{plan['images']} images. From {size_text(plan['sizes'][0])} to "
            f"{size_text(plan['sizes'][-1])}, the peak of `Calibration` grows by {each:.1f} bytes "
            "a pixel; a decoded image has 3 and a grey copy 1. `rigsync calibrate` searched "
            f"{measured.of_machine('cores')} images at a time.")
    return (table(["Size", "One decoded image", "`Calibration`", "`rigsync calibrate`"], rows)
            + "\n\n" + paragraph(text))


CALLS = ["log line", "CamAxisToUE4", "CamAxisToUE5", "CamAxisToUE5_ExportxN", "CamAxisToAximmetry"]


def calls(measured):
    rows = []
    for name in CALLS:
        took, lines = measured(f"call/{name}/ns"), measured(f"call/{name}/lines")
        rows.append(["One line of the run log" if name == "log line" else f"`{name}`",
                     f"{lines:.0f}", f"{took:,.0f} ns", f"{took / lines:,.0f} ns"])
    plan = measured.plan["exports"]
    return (table(["Call", "Lines", "Time", "A line of it"], rows)
            + f"\n\nThe fastest of {plan['repetitions']} means over {plan['seconds']} s or more.")


def command(measured):
    beside = measured.plan["beside"]
    bare = measured(f"stages/{beside}/total_s")
    whole = measured(f"command/{beside}/seconds")
    drawn = measured("simulate/images")
    rows = [
        [f"`Calibration`, {beside} images", seconds(bare), ""],
        [f"`rigsync calibrate`, the same {beside} images", seconds(whole),
         f"{'+' if whole >= bare else '-'} {seconds(abs(whole - bare))}, "
         f"{100 * (whole / bare - 1):+.1f} %"],
        [f"`rigsync inspect`, the same {beside} images", seconds(measured("inspect/seconds")),
         f"{seconds(measured('inspect/seconds') / int(beside))} an image"],
        [f"`rigsync simulate`, {drawn:.0f} images", seconds(measured("simulate/seconds")),
         f"{drawn / measured('simulate/seconds'):.1f} images a second"],
    ]
    return (table(["", "Time", ""], rows) + "\n\n" + paragraph(command_verdict(measured)))


def command_verdict(measured):
    """Whether the command keeps its limit beside the library's call."""
    beside = measured.plan["beside"]
    times = measured(f"command/{beside}/seconds") / measured(f"stages/{beside}/total_s")
    return (f"With {beside} images `rigsync calibrate` takes {times:.2f} times as long as "
            f"`Calibration`, {kept(times, COMMAND_LIMIT)} the limit of {COMMAND_LIMIT}.")


# The rows of the command's stages: name, and the figures that it adds up.
COMMAND_ROWS = [
    ("Reading the CSV", ["reading"]),
    ("Board search, on all cores", ["search"]),
    ("Lens of at most 60 boards", ["lens"]),
    ("Both mounts, with uncertainty", ["joint"]),
    ("The library's call, reading its log", ["library"]),
    ("Folders, verdict, `result.json`", ["preparing", "judging", "writing"]),
]


def command_stages(measured):
    counts = measured.counts("command_stages")
    columns = []
    for images in counts:
        whole = measured(f"command/{images}/seconds")
        found = {name: measured(*(f"command_stages/{images}/{part}_s" for part in parts))
                 for name, parts in COMMAND_ROWS}
        # What no stage has: start of the process, checks, findings, the printed report.
        found["All else"] = max(whole - sum(found.values()), 0.0)
        columns.append((found, whole))
    rows = [[name, *(f"{seconds(found[name])}, {percent(found[name], whole)}"
                     for found, whole in columns)] for name in columns[0][0]]
    rows.append(["**All**", *(f"**{seconds(whole)}**" for _, whole in columns)])
    return (table(["", *(f"{images} images" for images in counts)], rows)
            + "\n\n" + paragraph(joint_verdict(measured)))


def joint_verdict(measured):
    """Whether the solve of both mounts keeps its limit."""
    images = max((count for count in measured.counts("command_stages")
                  if int(count) <= JOINT_IMAGES), key=int)
    took = measured(f"command_stages/{images}/joint_s")
    return (f"Both mounts and their uncertainty take {seconds(took)} with {images} images, "
            f"{kept(took, JOINT_LIMIT)} the limit of {seconds(JOINT_LIMIT)} for {JOINT_IMAGES}.")


# ---- The block of docs/capture-guide.md -------------------------------------------------------


def accuracy_rows(page):
    """Images -> error and refusals of the library, from docs/accuracy.md."""
    block = re.search(r"<!-- images -->\n(.*?)<!-- end of images -->", page, re.S)
    if not block:
        raise Refused("accuracy.md has no table of images")
    form = re.compile(r"^\| (\d+) \| ([\d.]+) mm, ([\d.]+)°(?: \(refused (\d+ of \d+)\))? \|", re.M)
    return {count: (f"{length} mm, {angle} degrees", refused or "none")
            for count, length, angle, refused in form.findall(block.group(1))}


def guide(measured, accuracy_page):
    errors = accuracy_rows(accuracy_page)
    rows = []
    for images in measured.counts("command"):
        if images not in errors:
            raise Refused(f"accuracy.md has no error for {images} images")
        rows.append([images, *errors[images], seconds(measured(f"command/{images}/seconds"))])
    return table(["Images", "Error of the library, median", "Refused",
                  "`rigsync calibrate` takes"], rows)


# ---- Pages ------------------------------------------------------------------------------------


def fill(page, name, where, text):
    begin, end = f"<!-- {where} -->\n", f"<!-- end of {where} -->"
    form = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.S)
    if len(form.findall(page)) != 1:
        raise Refused(f"{name} has no place for '{where}', or more than one")
    return form.sub(lambda _: f"{begin}{text}\n{end}", page)


BLOCKS = {"machine": machine, "ratio": ratio, "stages": stages, "growth": growth,
          "lens solve": lens_solve, "memory": memory, "calls": calls, "command": command,
          "command stages": command_stages}


def pages(measured, docs):
    """The new texts by path. All are complete before any is written."""
    texts = {name: (docs / name).read_text(encoding="utf-8")
             for name in ("performance.md", "capture-guide.md", "accuracy.md")}
    page = texts["performance.md"]
    for where, write in BLOCKS.items():
        page = fill(page, "performance.md", where, write(measured))
    guide_page = fill(texts["capture-guide.md"], "capture-guide.md", "images and time",
                      guide(measured, texts["accuracy.md"]))
    return {docs / "performance.md": page, docs / "capture-guide.md": guide_page}


def summary(measured):
    lines = [machine(measured), "", ratio_verdict(measured), command_verdict(measured),
             joint_verdict(measured), ""]
    for images in measured.counts("stages"):
        found, _ = stage_seconds(measured, images)
        total = measured(f"stages/{images}/total_s")
        lines.append(f"{images} images, {seconds(total)}:")
        lines += [f"  {name.replace('`', ''):44} {seconds(own):>9} {percent(own, total):>7}"
                  for name, own in found.items()]
    for images in measured.counts("growth"):
        at = f"growth/{images}/"
        lines.append(f"{images:>4} images {seconds(measured(at + 'total_s')):>9}, lens solve "
                     f"{seconds(measured(at + 'lens_s')):>9}, peak "
                     f"{measured(at + 'peak_mib'):.0f} MiB")
    lines.append(lens_growth(measured))
    return "\n".join(lines)


def main():
    reader = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    reader.add_argument("--busy", action="store_true")
    reader.add_argument("measured", type=pathlib.Path)
    reader.add_argument("docs", type=pathlib.Path)
    given = reader.parse_args()
    try:
        measured = Measured(given.measured)
        if measured.of_machine("others_share") > OTHERS_LIMIT and not given.busy:
            raise Refused(f"other programs took {measured.of_machine('others_share'):.0%} of the "
                          "processors while it was measured")
        changed = pages(measured, given.docs)
        told = summary(measured)
    except Refused as why:
        sys.exit(f"performance: no table was written: {why}")
    for path, text in changed.items():
        written = path.with_suffix(".new")
        written.write_text(text, encoding="utf-8")
        os.replace(written, path)
    print(told)


if __name__ == "__main__":
    main()
