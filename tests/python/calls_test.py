# SPDX-License-Identifier: Apache-2.0
"""The library's six calls from Python: the same numbers, texts and codes as from C++, no lines, and
no lock while they work."""
import json
import pathlib
import re
import tempfile
import threading
import time
import unittest

import numpy as np

import library_bits
import poses
import rigsync
import support

COUNT = 2000


def calibrate(folder, **named):
    library = support.document()["library"]
    return rigsync.Calibration(str(support.CAPTURE / "capture.csv"), *support.BOARD,
                               support.SQUARE_M, library["board_euler_deg"],
                               library["board_offset_m"], folder, **named)


class Calls(unittest.TestCase):
    def test_the_exports_give_the_librarys_bits(self):
        transforms = poses.mounts(COUNT, seed=3)
        norm_fxy, norm_cxy = library_bits.lenses(COUNT)
        rows = library_bits.library_bits(transforms, norm_fxy, norm_cxy)
        for transform, fxy, cxy, row in zip(transforms, norm_fxy, norm_cxy, rows):
            ue4 = rigsync.CamAxisToUE4(transform, support.NO_FOLDER)
            self.assertEqual(ue4.code, row.code)
            fields = row.fields["ue4"]
            if row.code == 0:
                self.same(ue4.Trans_Tc_Cam_UE4_cm, fields["location_cm"])
                self.same(ue4.Rot_Tc_Cam_UE4_Euler, fields["rotation_deg"])
            else:
                self.assertEqual((ue4.Trans_Tc_Cam_UE4_cm.size, ue4.Rot_Tc_Cam_UE4_Euler.size),
                                 (0, 0))
            for engine, call in (("ue5", rigsync.CamAxisToUE5),
                                 ("ue5-xn", rigsync.CamAxisToUE5_ExportxN)):
                ue5 = call(transform, support.NO_FOLDER)
                self.assertEqual(ue5.code, 0)
                self.same(ue5.Trans_Tc_Cam_cm, row.fields[engine]["location_cm"])
                self.same(ue5.Quat_Tc_Cam, row.fields[engine]["quaternion"])
            ax = rigsync.CamAxisToAximmetry(fxy, cxy, transform, support.NO_FOLDER)
            fields = row.fields["aximmetry"]
            self.same(ax.Trans_Tc_Cam_AX_cm, fields["position_cm"])
            self.same(ax.Rot_Tc_Cam_AX_Euler, fields["rotation_deg"])
            self.same(ax.FoVX, fields["field_of_view_deg"])
            self.same(ax.AximmetryCxy, fields["centre_shift"])

    def same(self, ours, theirs):
        self.assertEqual(ours.dtype, np.float64)
        self.assertEqual(ours.tobytes(), np.array(theirs).tobytes())

    def test_a_transform_may_be_flat_a_matrix_or_transposed_in_memory(self):
        expected = rigsync.CamAxisToUE5(support.WORKED, support.NO_FOLDER).Quat_Tc_Cam
        matrix = np.array(support.WORKED)
        for given in (matrix, matrix.ravel(), matrix.ravel().tolist(), np.asfortranarray(matrix),
                      matrix.astype(object), np.append(matrix.ravel(), 7.0)):
            found = rigsync.CamAxisToUE5(given, pathlib.Path(support.NO_FOLDER)).Quat_Tc_Cam
            np.testing.assert_array_equal(found, expected)

    def test_a_calibration_is_that_of_the_command_to_the_last_bit(self):
        with tempfile.TemporaryDirectory() as folder:
            outputs = calibrate(folder)
            logs = list(pathlib.Path(folder).glob("log_*"))
        self.assertEqual(len(logs), 1)
        document = support.document()
        self.assertFalse(document["body_axes"]["turned"])
        self.assertEqual(outputs.code, document["library"]["code"])
        lens = document["lens"]
        for found, expected in ((outputs.Image_Size, lens["image_size"]),
                                (outputs.Norm_Fxy, lens["norm_fxy"]),
                                (outputs.Norm_Cxy, lens["norm_cxy"]),
                                (outputs.Distortion, lens["distortion"]),
                                (outputs.Transform_Cam_Tc,
                                 document["library"]["transform_cam_tc"])):
            self.same(found, expected)
        self.assertEqual((outputs.FoV.size, outputs.Focal_Length_mm.size), (0, 0))
        self.assertEqual(outputs.transform_cam_tc[1, 3], outputs.Transform_Cam_Tc[7])

    def test_the_second_overload_adds_field_of_view_and_focal_length(self):
        library = support.document()["library"]
        named = dict(Csv_Path=support.CAPTURE / "capture.csv", Sensor_Width_mm=36.0,
                     Sensor_Height_mm=27.0, Board_Cols=7, Board_Rows=5,
                     Square_Size=support.SQUARE_M, Chart_Euler_Deg=library["board_euler_deg"],
                     Chart_Translation=library["board_offset_m"])
        with tempfile.TemporaryDirectory() as folder:
            outputs = rigsync.Calibration(*named.values(), folder)
            again = rigsync.Calibration(**named, Output_Dir=folder)
        # The library's factor makes angles too large by a fraction of 1.2e-8.
        np.testing.assert_allclose(outputs.FoV,
                                   2 * np.degrees(np.arctan(0.5 / outputs.Norm_Fxy)), rtol=2e-8)
        # Both pitches are 36 / 640 mm: then the focal length is that of y.
        np.testing.assert_allclose(outputs.Focal_Length_mm, 27.0 * outputs.Norm_Fxy[1], rtol=1e-9)
        self.same(again.Transform_Cam_Tc, outputs.Transform_Cam_Tc)

    def test_a_run_without_a_result_leaves_arrays_empty(self):
        outputs = rigsync.Calibration("no such file.csv", 11, 8, 0.03, np.zeros(3), np.zeros(3),
                                      support.NO_FOLDER)
        self.assertEqual(outputs.code, rigsync.Code.CSV_NOT_OPENED)
        self.assertEqual([array.size for array in outputs[1:]], [0] * 7)
        self.assertIsNone(outputs.transform_cam_tc)

    def test_exceptions_have_the_librarys_text(self):
        cases = (
            (lambda: rigsync.CamAxisToUE4([1.0] * 15, support.NO_FOLDER), ValueError,
             "Transform_Cam_Tc needs 16 elements and has 15"),
            (lambda: rigsync.CamAxisToAximmetry([1.0], [0.5, 0.5], support.WORKED,
                                                support.NO_FOLDER), ValueError,
             "Norm_Fxy needs 2 elements and has 1"),
            (lambda: rigsync.CamAxisToAximmetry([1.0, 1.0], [], support.WORKED,
                                                support.NO_FOLDER), ValueError,
             "Norm_Cxy needs 2 elements and has 0"),
            # 46341 * 46341 * 3, negative as a 32-bit number.
            (lambda: rigsync.Calibration("none.csv", -1, 100, 0.03, [0] * 3, [0] * 3,
                                         support.NO_FOLDER), ValueError, "vector too long"),
        )
        for call, kind, text in cases:
            with self.assertRaises(kind) as raised:
                call()
            self.assertEqual(str(raised.exception), text)

    def test_an_exception_of_opencv_arrives_with_its_text(self):
        library = support.document()["library"]
        with tempfile.TemporaryDirectory() as folder, self.assertRaises(RuntimeError) as raised:
            rigsync.Calibration(support.CAPTURE / "capture.csv", 2, 5, 0.03,
                                library["board_euler_deg"], library["board_offset_m"], folder)
        self.assertRegex(str(raised.exception), r"OpenCV\(\d.*findChessboardCorners")

    def test_wrong_arguments_are_refused_by_name(self):
        with self.assertRaisesRegex(TypeError, "Chart_Euler_Deg"):
            rigsync.Calibration("capture.csv", 11, 8, 0.03)
        with self.assertRaises(TypeError):
            rigsync.CamAxisToUE5(support.WORKED)
        with self.assertRaises((TypeError, ValueError)):
            rigsync.CamAxisToUE5("no numbers", support.NO_FOLDER)


class Codes(unittest.TestCase):
    def test_values_and_texts_are_those_of_the_library(self):
        catalog = (support.SOURCE / "core/base/error_catalog.cpp").read_text(encoding="utf-8")
        table = {int(code): text for code, text in re.findall(r'\{(\d+), "(.*)"\}', catalog)}
        self.assertEqual({int(code): code.text for code in rigsync.Code}, table)
        self.assertEqual(len(table), 19)

    def test_advice_is_that_of_the_command(self):
        listed = json.loads(support.command("codes", "--json")[1])
        self.assertEqual(
            [(entry["code"], entry["usable"], entry["meaning"], entry["on_stage"],
              entry["causes"], entry["next_step"]) for entry in listed],
            [(code, code.is_usable, code.meaning, code.on_stage, code.causes, code.next_step)
             for code in sorted(rigsync.Code)])

    def test_a_code_is_an_integer(self):
        self.assertIsInstance(rigsync.Code(99), int)
        self.assertEqual(rigsync.Code.RECALIBRATION_RECOMMENDED, 99)
        with self.assertRaises(ValueError):
            rigsync.Code(17)


SILENT = """
import sys, threading, numpy as np, rigsync
csv, folder, *numbers = sys.argv[1:]
worked = [[0.8, -0.36, -0.48, 0.1], [0, 0.8, -0.6, -0.2], [0.6, 0.48, 0.64, 0.3], [0, 0, 0, 1]]
def calls():
    rigsync.CamAxisToUE4(worked, folder)
    rigsync.CamAxisToUE4(np.eye(4), folder)
    rigsync.CamAxisToUE5(worked, folder)
    rigsync.CamAxisToUE5_ExportxN(worked, folder)
    rigsync.CamAxisToAximmetry([1, 1], [0.5, 0.5], worked, folder)
    rigsync.Calibration("none.csv", 7, 5, 0.03, [0] * 3, [0] * 3, folder)
"""


class Output(unittest.TestCase):
    def test_nothing_is_printed_by_any_call(self):
        script = SILENT + """
calls()
rigsync.Calibration(csv, 7, 5, 0.03, numbers[:3], numbers[3:], folder)
rigsync.inspect(csv, board=(7, 5), square_m=0.03)
rigsync.solve(csv, (7, 5), 0.03)
try:
    rigsync.CamAxisToUE4([1.0], folder)
except ValueError:
    pass
"""
        library = support.document()["library"]
        with tempfile.TemporaryDirectory() as folder:
            out, errors = support.python(script, support.CAPTURE / "capture.csv", folder,
                                         *library["board_euler_deg"], *library["board_offset_m"])
            logged = sum(len(log.read_text().splitlines())
                         for log in pathlib.Path(folder).glob("log_*"))
        self.assertEqual((out, errors), ("", ""))
        self.assertGreater(logged, 500)

    def test_the_lines_of_the_run_log_are_printed_when_asked_for(self):
        script = SILENT + """
rigsync.CamAxisToUE5(worked, folder)
rigsync.CamAxisToUE5(worked, folder, verbose=True)
rigsync.CamAxisToUE5(worked, folder)
"""
        with tempfile.TemporaryDirectory() as folder:
            out, _ = support.python(script, "", folder)
            log = "".join(file.read_text() for file in
                          sorted(pathlib.Path(folder).glob("log_*"))).splitlines()
        plain = [re.sub(r"^[-\d]+ [:\d]+\t", "", line) for line in log]
        printed = [re.sub(r"^[-\d]+ [:\d]+\t", "", line) for line in out.splitlines()]
        self.assertEqual(len(printed), 15)
        self.assertEqual(plain, printed * 3)

    def test_a_quiet_call_silences_its_own_thread_alone(self):
        script = SILENT + """
def loud():
    for _ in range(50):
        rigsync.CamAxisToUE5(worked, folder, verbose=True)
def quiet():
    for _ in range(50):
        calls()
def printing():
    for i in range(500):
        print("mine", i, flush=True)
threads = [threading.Thread(target=work) for work in (loud, quiet, printing, quiet)]
[thread.start() for thread in threads]
[thread.join() for thread in threads]
print("still open")
"""
        out, _ = support.python(script, "", support.NO_FOLDER)
        self.assertEqual(out.count("CamAxisToUE5 start."), 50)
        self.assertEqual(out.count("CamAxisToUE5 successful."), 50)
        self.assertEqual(out.count("UE4"), 0)
        self.assertEqual(out.count("mine"), 500)
        self.assertTrue(out.endswith("still open\n"))

    def test_prints_of_other_threads_are_kept_during_an_inspection(self):
        script = SILENT + """
done = threading.Event()
count = 0
def printing():
    global count
    while not done.wait(0.002):
        print("mine", flush=True)
        count += 1
thread = threading.Thread(target=printing)
thread.start()
others = [threading.Thread(target=rigsync.inspect, args=(csv, (7, 5), 0.03)) for _ in range(2)]
[other.start() for other in others]
[other.join() for other in others]
done.set()
thread.join()
print("count", count)
"""
        out, _ = support.python(script, support.CAPTURE / "capture.csv", "")
        *mine, last = out.splitlines()
        self.assertEqual(last, f"count {len(mine)}")
        self.assertGreater(len(mine), 10)


class Threads(unittest.TestCase):
    """Python's lock is free while the library works."""

    LEAST_TICKS = 10  # of 5 ms; a call that keeps the lock allows at most one or two

    def ticks_during(self, work):
        """How often another thread came to run, and how long the work took."""
        ticks, done = [], threading.Event()

        def tick():
            while not done.wait(0.005):
                ticks.append(time.perf_counter())
        other = threading.Thread(target=tick)
        other.start()
        begun = time.perf_counter()
        work()
        ended = time.perf_counter()
        done.set()
        other.join()
        return sum(begun < at < ended for at in ticks), ended - begun

    def test_another_thread_runs_during_each_long_call(self):
        csv = support.CAPTURE / "capture.csv"
        with tempfile.TemporaryDirectory() as folder:
            for name, work in (
                    ("Calibration", lambda: calibrate(folder)),
                    ("inspect", lambda: rigsync.inspect(csv, support.BOARD, support.SQUARE_M)),
                    ("solve", lambda: rigsync.solve(csv, support.BOARD, support.SQUARE_M))):
                ticks, seconds = self.ticks_during(work)
                print(f"{name}: {ticks} ticks of another thread in {seconds:.2f} s")
                self.assertGreater(ticks, self.LEAST_TICKS, name)

    def test_exports_of_two_threads_do_not_mix(self):
        transforms = poses.mounts(400, seed=8)
        expected = [rigsync.CamAxisToUE5(each, support.NO_FOLDER).Quat_Tc_Cam.tobytes()
                    for each in transforms]
        found = {}

        def export(name, order):
            found[name] = {i: rigsync.CamAxisToUE5(transforms[i],
                                                   support.NO_FOLDER).Quat_Tc_Cam.tobytes()
                           for i in order}
        orders = (range(400), range(399, -1, -1))
        threads = [threading.Thread(target=export, args=(name, order))
                   for name, order in enumerate(orders)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found[0], dict(enumerate(expected)))
        self.assertEqual(found[1], dict(enumerate(expected)))


if __name__ == "__main__":
    unittest.main()
