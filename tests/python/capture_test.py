# SPDX-License-Identifier: Apache-2.0
"""rigsync.inspect and rigsync.solve, compared with what the command says about the same capture and
with the truth of the simulation."""
import json
import pathlib
import tempfile
import unittest

import numpy as np

import rigsync
import support

CSV = support.CAPTURE / "capture.csv"
BOARD_WORDS = ("--board", "7x5", "--square", "30mm")


def inspected_by_command(csv, *words):
    _, text, errors = support.command("inspect", csv, "--json", *words)
    if not text:
        raise AssertionError(errors)
    return json.loads(text)


class Inspect(unittest.TestCase):
    def test_the_document_is_that_of_the_command(self):
        expected = inspected_by_command(CSV, *BOARD_WORDS)
        found = rigsync.inspect(CSV, support.BOARD, support.SQUARE_M)
        self.assertEqual(found.document, expected)
        self.assertEqual(found.status, expected["status"])
        self.assertEqual([vars(finding) for finding in found.findings], expected["findings"])
        self.assertEqual((found.boards_found, len(found.rows)), (14, 14))
        self.assertEqual({row.state for row in found.rows}, {"board_found"})

    def test_stated_place_and_limits_are_those_of_the_flags(self):
        expected = inspected_by_command(CSV, *BOARD_WORDS, "--board-euler", "30,-20,8",
                                        "--board-offset", "-0.17,0.05,0.14")
        found = rigsync.inspect(CSV, support.BOARD, support.SQUARE_M,
                                board_euler_deg=np.array([30, -20, 8]),
                                board_offset_m=(-0.17, 0.05, 0.14))
        self.assertEqual(found.document, expected)
        self.assertNotEqual(found.findings,
                            rigsync.inspect(CSV, support.BOARD, support.SQUARE_M).findings)

    def test_without_a_board_no_image_is_opened(self):
        found = rigsync.inspect(CSV)
        self.assertEqual(found.document, inspected_by_command(CSV, "--no-images"))
        self.assertIsNone(found.boards_found)
        self.assertEqual({row.state for row in found.rows}, {None})

    def test_a_faulty_line_is_a_finding_with_its_number(self):
        with tempfile.TemporaryDirectory() as folder:
            csv = pathlib.Path(folder) / "capture.csv"
            lines = CSV.read_text(encoding="utf-8").splitlines()
            lines[4] = lines[4].rsplit(",", 1)[0] + ",nan"
            csv.write_text("\n".join(lines) + "\n", encoding="utf-8")
            found = rigsync.inspect(csv)
        self.assertIn([5], [finding.lines for finding in found.findings
                            if finding.level != "note"])
        self.assertFalse(found.is_clean)
        self.assertEqual(str(found.findings[0]),
                         f"{found.findings[0].level}: {found.findings[0].what}")

    def test_a_file_that_is_none_is_refused_as_by_the_command(self):
        status, _, errors = support.command("inspect", "no such file.csv", "--no-images")
        self.assertEqual(status, 2)
        with self.assertRaises(rigsync.UsageError) as raised:
            rigsync.inspect("no such file.csv")
        self.assertEqual(errors.split(" See '")[0], f"rigsync: {raised.exception}")

    def test_arguments_out_of_range_are_refused_by_name(self):
        cases = (({"board": (2, 8), "square_m": 0.03}, "board: "),
                 ({"board": (11, 101), "square_m": 0.03}, "board: "),
                 ({"board": (11, 8)}, "square_m: None"),
                 ({"board": (11, 8), "square_m": 30.0}, "square_m: 30.0"),
                 ({"board": (11, 8), "square_m": float("nan")}, "square_m: nan"),
                 ({"board_euler_deg": (1, 2)}, "board_euler_deg: "),
                 ({"board_offset_m": (1, 2, float("inf"))}, "board_offset_m: "),
                 ({"limits": (0.0, 0.3)}, "limits: "),
                 ({"board_accuracy": (0.005, -1.0)}, "board_accuracy: "))
        for named, text in cases:
            with self.assertRaises(ValueError) as raised:
                rigsync.inspect(CSV, **named)
            self.assertTrue(str(raised.exception).startswith(text), str(raised.exception))
        with self.assertRaises(TypeError):
            rigsync.inspect(CSV, board=(11.5, 8), square_m=0.03)


class Solve(unittest.TestCase):
    def test_the_solution_is_that_of_calibrate(self):
        stage = json.loads((support.CAPTURE / "stage.json").read_text(encoding="utf-8"))
        place = {"board_euler_deg": [float(n) for n in stage["board-euler"].split(",")],
                 "board_offset_m": [float(n) for n in stage["board-offset"].split(",")]}
        solution = rigsync.solve(CSV, support.BOARD, support.SQUARE_M, **place)
        self.assertEqual(solution.document, support.document()["joint"])

    def test_both_mounts_are_those_of_the_simulation(self):
        truth = json.loads((support.CAPTURE / "truth.json").read_text(encoding="utf-8"))
        solution = rigsync.solve(CSV, support.BOARD, support.SQUARE_M)
        self.assertTrue(solution.is_solved)
        for found, of_truth, mount in (
                (solution.transform_cam_tc, np.reshape(truth["Transform_Cam_Tc"], (4, 4)),
                 solution.camera_mount),
                (solution.transform_tr_chart,
                 np.linalg.inv(np.reshape(truth["Transform_Chart_Tr"], (4, 4))),
                 solution.board_mount)):
            difference_mm = 1000 * np.abs(found[:3, 3] - of_truth[:3, 3])
            # Three half-widths of 95 %: about six standard deviations.
            self.assertTrue((difference_mm <= 3 * mount.half_width_mm).all(), difference_mm)
            turn = found[:3, :3].T @ of_truth[:3, :3]
            angle_deg = np.degrees(np.arccos(min(1.0, (np.trace(turn) - 1) / 2)))
            self.assertLessEqual(angle_deg, 3 * mount.widest_deg)
            # The covariance is of the same mount: a half-width is t times the standard deviation,
            # and t is 1.96 to 3 for 3 degrees of freedom or more.
            ratio = mount.half_width_mm / (1000 * np.sqrt(np.diag(mount.covariance)[3:]))
            self.assertTrue((ratio > 1.95).all() and (ratio < 3.2).all(), ratio)

    def test_a_capture_that_cannot_be_solved_says_why(self):
        with tempfile.TemporaryDirectory() as folder:
            csv = pathlib.Path(folder) / "capture.csv"
            lines = CSV.read_text(encoding="utf-8").splitlines()
            csv.write_text("\n".join(lines[:3]) + "\n", encoding="utf-8")
            with self.assertRaises(rigsync.UnsolvedCapture) as raised:
                rigsync.solve(csv, support.BOARD, support.SQUARE_M)
        self.assertTrue(str(raised.exception).startswith(f"{csv}: the mounts can't be solved: "))
        self.assertTrue(raised.exception.findings)

    def test_samples_in_millimetres_are_not_solved(self):
        with tempfile.TemporaryDirectory() as folder:
            csv = pathlib.Path(folder) / "capture.csv"
            lines = []
            for line in CSV.read_text(encoding="utf-8").splitlines():
                fields = line.split(",")
                for i in (2, 3, 4, 9, 10, 11):
                    if not line.startswith("T"):
                        fields[i] = repr(1000 * float(fields[i]))
                lines.append(",".join(fields))
            csv.write_text("\n".join(lines) + "\n", encoding="utf-8")
            with self.assertRaisesRegex(rigsync.UnsolvedCapture, "millimetres"):
                rigsync.solve(csv, support.BOARD, support.SQUARE_M)

    def test_limits_and_distance_change_only_what_they_are_about(self):
        near = rigsync.solve(CSV, support.BOARD, support.SQUARE_M, talent_distance_m=1.0)
        far = rigsync.solve(CSV, support.BOARD, support.SQUARE_M)
        self.assertEqual(near.document["at_talent"]["distance_m"], 1.0)
        self.assertEqual(far.document["at_talent"]["distance_m"], 3.0)
        np.testing.assert_array_equal(near.transform_cam_tc, far.transform_cam_tc)


if __name__ == "__main__":
    unittest.main()
