#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""performance_test.py BUILD SOURCE SCRATCH: runs the measuring programs of BUILD on tiny captures,
and compares the tables that SOURCE's scripts write with invented figures.
"""
import importlib.util
import json
import pathlib
import re
import shutil
import stat
import subprocess
import sys
import unittest

BUILD, SOURCE, SCRATCH = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
PAGES = ("performance.md", "capture-guide.md", "accuracy.md")

# A log line takes 10 microseconds here: a thousand corners in a hundredth of a second. What is left
# of a stage without its lines is round: 3 ms, 1 s, 0.5 s, 20 ms, 2 s and 1 ms.
STAGES = {
    "begin_s": 0.001, "begin_lines": 100, "csv_s": 0.00302, "csv_lines": 2,
    "search_s": 1.0002, "search_lines": 20, "corner_lines_s": 0.01, "corner_lines_lines": 1000,
    "lens_s": 0.50001, "lens_lines": 1, "mount_s": 0.0205, "mount_lines": 50,
    "writing_s": 2.0001, "writing_lines": 10, "verdict_s": 0.00104, "verdict_lines": 4,
    "bare_decode_s": 0.4, "bare_reduce_s": 0.2, "bare_search_s": 1.2, "bare_refine_s": 0.2,
    "bare_decode_again_s": 1.0, "bare_draw_s": 0.1, "bare_encode_s": 2.9,
    "total_s": 3.53587, "annotated": 12,
}
# The lens solve takes N cubed, all else N: at 80 images 0.8 times as long, at 120 1.8 times.
GROWTH = {"20": (2.1, 0.1, 50), "40": (4.8, 0.8, 51), "80": (14.4, 6.4, 54),
          "120": (33.6, 21.6, 61), "160": (67.2, 51.2, 70)}
# The lens solve alone: seconds and expected seconds, MiB and expected MiB.
LENS_SOLVE = {"30": (0.5, 0.4, 5.0, 2.0), "60": (1.6, 2.0, 9.0, 8.0)}
# Stages of the command. With 20 images they add up to 3.5 seconds, and the whole takes 3.7.
COMMAND_STAGES = {"reading_s": 0.002, "search_s": 0.6, "lens_s": 0.11, "joint_s": 0.04,
                  "preparing_s": 0.001, "library_s": 2.738, "judging_s": 0.001,
                  "writing_s": 0.008}
CALLS = {"log line": (7000, 1), "CamAxisToUE4": (119000, 17), "CamAxisToUE5": (105000, 15),
         "CamAxisToUE5_ExportxN": (105450, 15), "CamAxisToAximmetry": (126000, 18)}


def made_up():
    figures = {
        "ratio/100x50/bare_s": 2.0, "ratio/100x50/calibration_s": 2.02, "ratio/100x50/ratio": 1.01,
        "ratio/100x50/annotated": 12, "ratio/200x100/bare_s": 4.0,
        "ratio/200x100/calibration_s": 4.16, "ratio/200x100/ratio": 1.04,
        "ratio/200x100/annotated": 13, "command/20/seconds": 3.7, "inspect/seconds": 1.0,
        "simulate/seconds": 20.0, "simulate/images": 160, "memory/100x50/peak_mib": 50.0,
        # Two images of three bytes for each of 15000 pixels more.
        "memory/200x100/peak_mib": 50.0 + 6 * 15000 / 1048576,
        "memory/100x50/command_mib": 61.0, "memory/200x100/command_mib": 72.4,
        "command/60/seconds": 10.0,
    }
    for images, values in LENS_SOLVE.items():
        names = ("seconds", "expected_s", "grown_mib", "expected_mib")
        figures.update({f"lens_solve/{images}/{name}": value
                        for name, value in zip(names, values)})
    for images, factor in (("20", 1), ("60", 2)):
        figures.update({f"command_stages/{images}/{name}": factor * value
                        for name, value in COMMAND_STAGES.items()})
    # The plot alone needs the time until the CSV is read.
    figures.update({f"stages/20/{name}": value for name, value in STAGES.items()
                    if name != "begin_s"})
    for images, (total, lens, peak) in GROWTH.items():
        figures.update({f"growth/{images}/total_s": total, f"growth/{images}/lens_s": lens,
                        f"growth/{images}/peak_mib": peak})
    for name, (nanoseconds, lines) in CALLS.items():
        figures.update({f"call/{name}/ns": nanoseconds, f"call/{name}/lines": lines})
    return {
        "plan": {"ratio": {"images": 24, "repetitions": 5, "sizes": ["100x50", "200x100"]},
                 "stages": {"20": 3}, "growth": {"20": 3, "40": 3, "80": 2, "120": 1, "160": 1},
                 "command": {"20": 3}, "beside": "20",
                 "command_stages": {"20": 3, "60": 2},
                 "lens_solve": {"board": "11x8", "images": ["30", "60"]},
                 "memory": {"images": 14, "sizes": ["100x50", "200x100"]},
                 "exports": {"repetitions": 5, "seconds": 0.3}},
        "machine": {"processor": "Abacus", "cores": 2, "others_share": 0.012, "opencv": "4.6.0",
                    "threads": "2", "compiler": "gcc 12.2.0"},
        "date": "2026-03-09",
        "figures": figures,
    }


ACCURACY = """<!-- images -->
| | rigsync_core | Park |
| --- | --- | --- |
| 20 | 0.26 mm, 0.011° (refused 2 of 10) | 0.32 mm, 0.018° |
<!-- end of images -->
"""


def run(*command):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True,
                          stdin=subprocess.DEVNULL)


def script(name, *arguments):
    return run(sys.executable, SOURCE / "bench" / name, *arguments)


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = SCRATCH / self.id().rsplit(".", maxsplit=1)[-1]
        shutil.rmtree(self.folder, ignore_errors=True)
        self.docs = self.folder / "docs"
        self.docs.mkdir(parents=True)
        for page in PAGES:
            shutil.copy(SOURCE / "docs" / page, self.docs)
        self.measured = self.folder / "measured.json"

    def read(self, page):
        return (self.docs / page).read_text(encoding="utf-8")

    def texts(self):
        return {page: self.read(page) for page in PAGES}


class Tables(Case):
    def setUp(self):
        super().setUp()
        (self.docs / "accuracy.md").write_text(ACCURACY, encoding="utf-8")
        self.data = made_up()

    def write(self, *options):
        self.measured.write_text(json.dumps(self.data))
        return script("performance_tables.py", *options, self.measured, self.docs)

    def test_say_what_was_measured(self):
        done = self.write()
        self.assertEqual(done.returncode, 0, done.stderr)
        page = " ".join(self.read("performance.md").split())
        for expected in (
                "Measured on 9 March 2026: 2 cores of a processor that calls itself Abacus, OpenCV "
                "4.6.0 with 2 threads, a Release build by gcc 12.2.0. Other programs took 1.2 % of",
                "| 100 x 50 | 2.00 s | 2.02 s | 1.010 | 12 |",
                "| 200 x 100 | 4.00 s | 4.16 s | 1.040 | 13 |",
                "The largest ratio, 1.040, is within the limit of 1.05.",
                "| Reading the CSV | 3 ms, 0.1 % |",
                "| Decoding the images | 0.20 s, 5.7 % |",
                "| Shrinking them, grey copies | 0.10 s, 2.8 % |",
                "| Board search, `findChessboardCorners` | 0.60 s, 17.0 % |",
                "| Refinement, `cornerSubPix` | 0.10 s, 2.8 % |",
                "| Lens solve, `calibrateCamera` | 0.50 s, 14.1 % |",
                "| Poses, means, outliers, first measurement, verdict | 21 ms, 0.6 % |",
                "| Reprojection images: decoding again | 0.50 s, 14.1 % |",
                "| Reprojection images: drawing | 50 ms, 1.4 % |",
                "| Reprojection images: encoding, writing | 1.45 s, 41.0 % |",
                "| Log lines | 12 ms, 0.3 % |",
                "| **All** | **3.54 s** |",
                "the filter keeps: 12 of 20. Log lines: 1187 at 20 images.",
                "| 80 | 14.4 s | 6.40 s | 44.4 % | 0.10 s | 54 MiB | 1.8 MiB |",
                "| 160 | 67.2 s | 51.2 s | 76.2 % | 0.10 s | 70 MiB | 7.1 MiB |",
                "Runs: 3 of 20 images, 3 of 40, 2 of 80, 1 of 120 and 1 of 160; the fastest of",
                "From 80 to 160 images the lens solve takes 8.0 times as long, which is "
                "the power 3.0 of their number. At about 90 images it takes as long as all else.",
                "| 200 x 100 | 0.1 MiB | 50 MiB | 72 MiB |",
                "the peak of `Calibration` grows by 6.0 bytes a pixel; a decoded image has 3 and a "
                "grey copy 1. `rigsync calibrate` searched 2 images at a time.",
                "| 60 | 1.60 s | 2.00 s | 9 MiB | 8 MiB |",
                "Boards of 11x8 corners, each number of images once. The solve took 0.80 to 1.25 "
                "times the expected time.",
                "| One line of the run log | 1 | 7,000 ns | 7,000 ns |",
                "| `CamAxisToUE5_ExportxN` | 15 | 105,450 ns | 7,030 ns |",
                "| `rigsync calibrate`, the same 20 images | 3.70 s | + 0.16 s, +4.6 % |",
                "| `rigsync inspect`, the same 20 images | 1.00 s | 50 ms an image |",
                "| `rigsync simulate`, 160 images | 20.0 s | 8.0 images a second |",
                "With 20 images `rigsync calibrate` takes 1.05 times as long as `Calibration`, "
                "within the limit of 1.7.",
                "| Board search, on all cores | 0.60 s, 16.2 % | 1.20 s, 12.0 % |",
                "| Both mounts, with uncertainty | 40 ms, 1.1 % | 80 ms, 0.8 % |",
                "| The library's call, reading its log | 2.74 s, 74.0 % | 5.48 s, 54.8 % |",
                "| Folders, verdict, `result.json` | 10 ms, 0.3 % | 20 ms, 0.2 % |",
                "| All else | 0.20 s, 5.4 % | 3.00 s, 30.0 % |",
                "| **All** | **3.70 s** | **10.0 s** |",
                "Both mounts and their uncertainty take 80 ms with 60 images, within the limit of "
                "0.10 s for 60.",
                "![Time against the number of images](performance-images.svg)"):
            self.assertIn(expected, page)
        self.assertIn("| 20 | 0.26 mm, 0.011 degrees | 2 of 10 | 3.70 s |",
                      self.read("capture-guide.md"))
        self.assertIn("1.040, is within the limit", done.stdout)

    def test_of_the_same_figures_are_the_same_when_written_again(self):
        self.assertEqual(self.write().returncode, 0)
        first = self.texts()
        self.assertEqual(self.write().returncode, 0)
        self.assertEqual(self.texts(), first)

    def test_say_when_a_ratio_is_above_the_limit(self):
        self.data["figures"]["ratio/100x50/ratio"] = 1.0501
        self.assertEqual(self.write().returncode, 0)
        self.assertIn("1.050, is ABOVE the limit of 1.05", self.read("performance.md"))

    def test_say_when_the_command_is_above_its_limit(self):
        # 3.53587 s of the library's call, and 1.7 times that.
        for whole, told in ((6.010, "takes 1.70 times as long as `Calibration`, within"),
                            (6.012, "takes 1.70 times as long as `Calibration`, ABOVE")):
            self.data["figures"]["command/20/seconds"] = whole
            self.assertEqual(self.write().returncode, 0)
            page = " ".join(self.read("performance.md").split())
            self.assertIn(f"{told} the limit of 1.7.", page)

    def test_say_when_the_solve_of_both_mounts_is_above_its_limit(self):
        for took, told in ((0.1, "within"), (0.101, "ABOVE")):
            self.data["figures"]["command_stages/60/joint_s"] = took
            done = self.write()
            self.assertEqual(done.returncode, 0)
            page = " ".join(self.read("performance.md").split())
            self.assertIn(f"0.10 s with 60 images, {told} the limit of 0.10 s for 60.", page)
            self.assertIn(f"{told} the limit of 0.10 s for 60.", done.stdout)

    def test_hold_the_limit_of_both_mounts_against_no_more_than_sixty_images(self):
        self.data["plan"]["command_stages"]["80"] = 1
        self.data["figures"]["command/80/seconds"] = 20.0
        self.data["figures"].update({f"command_stages/80/{name}": 9 * value
                                     for name, value in COMMAND_STAGES.items()})
        self.assertEqual(self.write().returncode, 0)
        self.assertIn("take 80 ms with 60 images, within", self.read("performance.md"))

    def assert_refused(self, named):
        before = self.texts()
        done = self.write()
        self.assertNotEqual(done.returncode, 0, named)
        self.assertIn(named, done.stderr)
        self.assertNotIn("Traceback", done.stderr)
        self.assertEqual(self.texts(), before)

    def test_are_refused_when_a_machine_was_busy(self):
        self.data["machine"]["others_share"] = 0.11
        self.assert_refused("other programs took 11%")
        self.assertEqual(self.write("--busy").returncode, 0)

    def test_are_refused_without_a_place_on_a_page(self):
        for page, place in (("performance.md", "<!-- end of calls -->"),
                            ("capture-guide.md", "<!-- images and time -->")):
            whole = self.read(page)
            (self.docs / page).write_text(whole.replace(place, ""), encoding="utf-8")
            self.assert_refused(f"{page} has no place")
            (self.docs / page).write_text(whole, encoding="utf-8")

    def test_are_refused_without_the_error_that_stands_beside_a_time(self):
        self.data["plan"]["command"] = {"21": 3}
        self.data["figures"]["command/21/seconds"] = 1.0
        self.assert_refused("accuracy.md has no error for 21 images")

    def test_are_refused_without_any_one_of_the_figures(self):
        # In one process: a hundred of them would take longer than all other tests.
        sys.dont_write_bytecode = True
        place = importlib.util.spec_from_file_location("performance_tables",
                                                       SOURCE / "bench" / "performance_tables.py")
        tables = importlib.util.module_from_spec(place)
        place.loader.exec_module(tables)
        names = list(self.data["figures"])
        self.assertGreater(len(names), 50)
        for name in names:
            kept = self.data["figures"].pop(name)
            for replaced in ({}, {name: float("nan")}, {name: 0}, {name: "1.0"}, {name: None}):
                data = dict(self.data, figures={**self.data["figures"], **replaced})
                self.measured.write_text(json.dumps(data))
                with self.assertRaisesRegex(tables.Refused, re.escape(f"'{name}'"), msg=name):
                    tables.pages(tables.Measured(self.measured), self.docs)
            self.data["figures"][name] = kept

    def test_are_refused_by_name_and_leave_every_page(self):
        del self.data["figures"]["growth/80/lens_s"]
        self.assert_refused("growth/80/lens_s")
        del self.data["plan"]
        self.assert_refused("isn't a complete measurement")

    @unittest.skipUnless(importlib.util.find_spec("matplotlib"), "matplotlib isn't installed")
    def test_go_with_a_plot_of_the_same_figures(self):
        for images in GROWTH:
            stages = {name: STAGES[name] for name in STAGES if not name.startswith("bare")}
            for name, value in stages.items():
                self.data["figures"].setdefault(f"growth/{images}/{name}", value)
        self.measured.write_text(json.dumps(self.data))
        target = self.folder / "plot.svg"
        done = script("draw_performance.py", self.measured, target)
        self.assertEqual(done.returncode, 0, done.stderr)
        drawn = target.read_text(encoding="utf-8")
        for label in ("lens solve", "reprojection images", "images"):
            self.assertIn(f"<!-- {label} -->", drawn)
        target.unlink()
        del self.data["figures"]["growth/40/search_s"]
        self.measured.write_text(json.dumps(self.data))
        done = script("draw_performance.py", self.measured, target)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("growth/40/search_s", done.stderr)
        self.assertFalse(target.exists())


class Measuring(Case):
    def test_a_tiny_capture_gives_every_figure_of_the_tables(self):
        done = script("measure_performance.py", "--tiny", "--busy", BUILD, self.measured)
        self.assertEqual(done.returncode, 0, done.stderr)
        done = script("performance_tables.py", "--busy", self.measured, self.docs)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("| 640 x 360 |", self.read("performance.md"))
        self.assertRegex(self.read("capture-guide.md"),
                         r"\| 12 \| [\d.]+ mm, [\d.]+ degrees \| [^|]+ \| [\d.]+ s \|")

        figures = json.loads(self.measured.read_text())["figures"]
        names = ("begin", "csv", "search", "corner_lines", "lens", "mount", "writing", "verdict")
        self.assertAlmostEqual(sum(figures[f"growth/16/{name}_s"] for name in names),
                               figures["growth/16/total_s"], delta=1e-5)
        # 88 corners of each image, its path and its row, and a line before and behind them.
        self.assertEqual(figures["growth/16/corner_lines_lines"], 16 * 90 + 2)
        # An image is 0.7 MiB there. A program with its libraries takes some tens, and no thousands.
        self.assertGreater(figures["growth/16/peak_mib"], 10)
        self.assertLess(figures["growth/16/peak_mib"], 300)
        # The command has what the library has, and more.
        self.assertGreater(figures["memory/640x360/command_mib"], 10)
        self.assertLess(figures["memory/640x360/command_mib"], 300)
        self.assertLess(figures["command_stages/16/search_s"], figures["command_stages/16/total_s"])
        # Thirty boards take about twice as long as 24, and less than three times.
        self.assertGreater(figures["lens_solve/30/expected_s"],
                           1.2 * figures["lens_solve/24/expected_s"])

    def test_ends_and_writes_nothing_when_a_program_fails(self):
        for name in ("bench", "rigsync"):
            (self.folder / name).mkdir()
        for program in ("bench/calibration_bench", "bench/export_times", "rigsync/rigsync"):
            (self.folder / program).symlink_to(BUILD / program)
        failing = self.folder / "bench" / "calibration_bench"
        failing.unlink()
        failing.write_text("#!/bin/sh\necho 'no memory' >&2\nexit 3\n")
        failing.chmod(failing.stat().st_mode | stat.S_IXUSR)
        done = script("measure_performance.py", "--tiny", "--busy", self.folder, self.measured)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("ended with 3", done.stderr)
        self.assertIn("no memory", done.stderr)
        self.assertFalse(self.measured.exists())
        self.assertEqual(list(self.folder.glob("measuring-*")), [])

    def test_refuses_a_calibration_that_gives_no_result(self):
        capture = self.folder / "capture"
        done = run(BUILD / "rigsync" / "rigsync", "simulate", capture, "--images", 2, "--size",
                   "320x240", "--board", "5x4", "--paths", "relative")
        self.assertEqual(done.returncode, 0, done.stderr)
        done = run(BUILD / "bench" / "stage_times", capture / "capture.csv", capture / "truth.json",
                   self.folder)
        self.assertEqual(done.returncode, 1)
        self.assertIn("the calibration returned 4", done.stderr)
        self.assertEqual(done.stdout, "")


def main():
    """0 if all pass, 1 if one fails, and 77, which ctest shows as skipped, if one is left out."""
    done = unittest.main(argv=sys.argv[:1], verbosity=2, exit=False).result
    for test, reason in done.skipped:
        print(f"SKIPPED: {test}: {reason}")
    return 1 if not done.wasSuccessful() else 77 if done.skipped else 0


if __name__ == "__main__":
    sys.exit(main())
