#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""accuracy_test.py BUILD SOURCE SCRATCH: what docs/accuracy.md says of invented measurements, and
of a real one that is tiny.
"""
import importlib.util
import pathlib
import subprocess
import sys
import unittest

BUILD, SOURCE, SCRATCH = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])


def module():
    sys.dont_write_bytecode = True
    place = importlib.util.spec_from_file_location("draw_accuracy",
                                                   SOURCE / "bench" / "draw_accuracy.py")
    loaded = importlib.util.module_from_spec(place)
    place.loader.exec_module(loaded)
    return loaded


PAGE = module()


def capture(**changes):
    """A capture in which the joint solve is best and everything is as stated."""
    made = {"axes_inside": 6, "all_inside": 1, "half_mm": 0.8, "half_deg": 0.04,
            "slip_evidence": 0, "slip_tracker_right": 0, "slip_image_right": 0}
    for solver, length in (("library_true", 0.5), ("library_solved", 0.4), ("joint", 0.2),
                           ("park", 0.6), ("shah", 0.7)):
        made.update({solver + "_mm": length, solver + "_deg": length / 10})
    made.update({"library_true_code": 0, "library_solved_code": 0})
    return {**made, **changes}


def fault(**changes):
    made = {"seed": 7, "kinds": "clean"}
    for run in ("before", "after", "given", "after_joint", "given_joint"):
        made.update({run + "_mm": 0.5, run + "_deg": 0.02, run + "_picture_px": 0.4})
        if run != "before":
            made[run + "_verdict"] = "agree"
        if not run.endswith("joint"):  # which has no code
            made[run + "_code"] = 0
    return {**made, **changes}


# The interval of an axis holds the truth in 95 % of axes, the region in 19 of 20 captures.
HONEST = [capture(axes_inside=6 if k % 10 < 7 else 5, all_inside=0 if k == 0 else 1)
          for k in range(20)]


class Rows(unittest.TestCase):
    def test_an_error_is_the_median_and_refusals_are_counted(self):
        captures = [capture(library_true_mm=length, library_true_code=code)
                    for length, code in ((1.0, 0), (2.0, 99), (9.0, 6))]
        captures.append(capture(library_true_mm=float("nan"), library_true_code=13))
        self.assertEqual(PAGE.error(captures, "library_true"),
                         "2.00 mm, 0.050° (refused 2 of 4)")

    def test_without_any_mount_there_is_no_result(self):
        captures = [capture(joint_mm=float("nan"), joint_deg=float("nan"))]
        self.assertEqual(PAGE.error(captures, "joint"), "no result (refused 1 of 1)")

    def test_how_often_the_joint_solve_is_nearer(self):
        captures = [capture(joint_mm=length) for length in (0.1, 0.2, 0.3, 0.5)]
        self.assertEqual(PAGE.nearer(captures, "library_solved"), "75 %")

    def test_no_row_is_named_when_everything_holds(self):
        text = PAGE.claims({"noise": {"usual": HONEST}})
        self.assertEqual(text, "They hold in every row.")

    def test_a_row_is_named_in_which_another_solver_is_better(self):
        worse = [{**line, "shah_deg": 0.01} for line in HONEST]
        text = PAGE.claims({"noise": {"usual": HONEST, "strong": worse}})
        self.assertIn("| strong | Shah, 0.01 ° against 0.02 | - | - |", text)
        self.assertNotIn("usual", text)

    def test_the_library_with_the_true_place_is_named_apart(self):
        worse = [{**line, "library_true_mm": 0.1} for line in HONEST]
        text = PAGE.claims({"motion": {"0.2": worse}})
        self.assertIn("| part of the turns: 0.2 | - | library, true place, 0.1 mm against 0.2 | "
                      "- |", text)

    def test_a_row_is_named_whose_intervals_are_too_short_or_too_long(self):
        short = [{**line, "axes_inside": 5} for line in HONEST]
        wide = [{**line, "axes_inside": 6, "all_inside": 1} for line in HONEST]
        text = PAGE.claims({"kinds": {"short": short, "wide": wide}})
        self.assertIn("| short | - | - | 83.3 % per axis, 95.0 % of all six |", text)
        self.assertIn("| wide | - | - | 100.0 % per axis, 100.0 % of all six |", text)


class Faults(unittest.TestCase):
    LINES = [
        fault(),
        fault(kinds="slip", before_mm=4.0, after_mm=4.0, after_verdict="dont-use",
              after_joint_mm=3.5, seed=12),
        fault(kinds="slip+lens", before_deg=0.4, before_code=99, after_deg=0.4, seed=31),
        fault(kinds="lens", before_code=13, before_mm=float("nan"), after_verdict="look",
              after_joint_verdict="look"),
    ]

    def row(self, name):
        for line in PAGE.fault_table(self.LINES).splitlines():
            cells = [cell.strip() for cell in line.strip("|").split("|")]
            if cells[0] == name:
                return cells[1:]
        return None

    def test_usable_and_wrong_ones_are_counted_by_kind(self):
        self.assertEqual(self.row("a tracker slips"),
                         ["2", "2", "2", "1", "1", "0", "2", "1", "0"])
        self.assertEqual(self.row("the lens doesn't fit the model"),
                         ["2", "1", "1", "1", "1", "1", "1", "0", "1"])
        self.assertEqual(self.row("**all**"), ["4", "3", "2", "2", "1", "1", "3", "1", "1"])

    def test_every_wrong_result_without_a_warning_is_listed(self):
        text = PAGE.silent_table(self.LINES)
        self.assertEqual(len(text.splitlines()), 4, text)
        self.assertIn("| 31 | a tracker slips and the lens doesn't fit the model | the library's | "
                      "0.5 mm, 0.40° | 0.4 px |", text)
        self.assertIn("| 12 | a tracker slips | the joint | 3.5 mm, 0.02° | 0.4 px |", text)
        self.assertEqual(PAGE.silent_table(self.LINES[:1]), "None.")


class Measuring(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        SCRATCH.mkdir(parents=True, exist_ok=True)
        cls.files = {}
        for what, captures in (("rows", "1"), ("faults", "3")):
            done = subprocess.run([BUILD / "bench" / "accuracy", what, captures, "5"],
                                  capture_output=True, text=True, check=True)
            cls.files[what] = SCRATCH / (what + ".csv")
            cls.files[what].write_text(done.stdout, encoding="utf-8")

    def test_the_page_has_a_place_for_every_table(self):
        data = PAGE.groups(PAGE.read(self.files["rows"]))
        page = (SOURCE / "docs" / "accuracy.md").read_text(encoding="utf-8")
        for where, text in PAGE.blocks(data, PAGE.read(self.files["faults"])).items():
            page = PAGE.fill(page, where, text)
        self.assertIn("1 captures a row, seeds 5 to 5; 3 captures with random faults, seeds 5 to "
                      "7.", page)

    def test_usual_captures_are_solved_to_a_millimetre(self):
        data = PAGE.groups(PAGE.read(self.files["rows"]))
        for solver in PAGE.SOLVERS:
            self.assertLess(PAGE.median(data["noise"]["0.3 mm, 0.03°"], solver + "_mm"), 1.5)

    def test_a_measurement_that_was_cut_off_is_refused(self):
        text = self.files["rows"].read_text(encoding="utf-8")
        cut = SCRATCH / "cut.csv"
        cut.write_text(text[:-40], encoding="utf-8")
        with self.assertRaises(PAGE.Refused):
            PAGE.read(cut)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
