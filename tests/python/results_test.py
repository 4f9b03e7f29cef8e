# SPDX-License-Identifier: Apache-2.0
"""result.json through rigsync.read_result and rigsync_result.read: its numbers, the files that are
refused, and the exports, compared with the command's."""
import contextlib
import json
import math
import pathlib
import re
import tempfile
import unittest
import warnings
from random import Random

import numpy as np

import rigsync
import rigsync_result
import support

ENGINES = ("ue4", "ue5", "ue5-xn", "aximmetry")
REASONS = ("no_library_transform", "library_code", "not_solved", "difference_beyond_limit",
           "width_beyond_limit", "slip_found", "difference_unlikely", "difference_and_width",
           "slip_suspected", "last_rows_left_out", "lens_does_not_fit", "capture_faulty",
           "place_contradicted")


class Folder(unittest.TestCase):
    def setUp(self):
        held = tempfile.TemporaryDirectory()
        self.addCleanup(held.cleanup)
        self.folder = pathlib.Path(held.name)

    def written(self, document, name="result.json"):
        file = self.folder / name
        file.write_text(document if isinstance(document, str) else json.dumps(document),
                        encoding="utf-8")
        return file


class ReadResult(Folder):
    def test_arrays_have_the_numbers_of_the_file(self):
        document, result = support.document(), rigsync.read_result(support.RESULT)
        self.assertIsInstance(result.code, rigsync.Code)
        self.assertEqual((result.code, result.usable, result.verdict, result.solution),
                         (document["code"], True, "agree", "library"))
        self.assertEqual(result.doubts, "")
        np.testing.assert_array_equal(result.transform_cam_tc.ravel(),
                                      document["transform_cam_tc"])
        self.assertEqual(result.transform_cam_tc.shape, (4, 4))
        np.testing.assert_allclose(result.transform_tc_cam @ result.transform_cam_tc, np.eye(4),
                                   atol=1e-14)
        for name in ("image_size", "norm_fxy", "norm_cxy", "distortion"):
            np.testing.assert_array_equal(getattr(result.lens, name), document["lens"][name])
        self.assertIsNone(result.lens.fov_deg)
        joint, in_file = result.joint, document["joint"]
        np.testing.assert_array_equal(joint.transform_cam_tc.ravel(), in_file["transform_cam_tc"])
        np.testing.assert_array_equal(joint.transform_tr_chart.ravel(),
                                      in_file["board_place"]["transform_tr_chart"])
        np.testing.assert_array_equal(joint.camera_mount.covariance, in_file["covariance"])
        np.testing.assert_array_equal(joint.camera_mount.half_width_mm, in_file["half_width_mm"])
        self.assertEqual(joint.board_mount.widest_deg,
                         in_file["board_place"]["widest_deg"]["half_width"])
        self.assertEqual([row.line for row in joint.rows],
                         [row["line"] for row in in_file["rows"]])

    def test_the_camera_matrix_projects_as_opencv_does(self):
        result, truth = rigsync.read_result(support.RESULT), json.loads(
            (support.CAPTURE / "truth.json").read_text(encoding="utf-8"))["lens_pixels"]
        expected = [[truth["fx"], 0, truth["cx"]], [0, truth["fy"], truth["cy"]], [0, 0, 1]]
        # The lens of 14 images is right to about a pixel.
        np.testing.assert_allclose(result.lens.camera_matrix, expected, atol=3.0)

    def test_a_folder_stands_for_the_result_in_it(self):
        self.assertEqual(rigsync.read_result(support.RESULT.parent).path, str(support.RESULT))

    def test_the_other_mount_is_taken_when_it_is_asked_for(self):
        document = support.document()
        joint = rigsync.read_result(support.RESULT, solution="joint")
        self.assertEqual(joint.solution, "joint")
        np.testing.assert_array_equal(joint.transform_cam_tc.ravel(),
                                      document["joint"]["transform_cam_tc"])
        with self.assertRaisesRegex(ValueError, "solution: 'both' is wrong"):
            rigsync.read_result(support.RESULT, solution="both")

    def test_null_is_none_nan_or_infinite(self):
        document = support.document()
        document["code"] = None
        document["joint"]["half_width_mm"][1] = None
        document["joint"]["covariance"][4][4] = None
        document["joint"]["covariance"][4][3] = None
        document["transform_cam_tc"] = document["library"]["transform_cam_tc"] = None
        result = rigsync.read_result(self.written(document))
        self.assertIsNone(result.code)
        self.assertIsNone(result.transform_cam_tc)
        self.assertIsNone(result.transform_tc_cam)
        self.assertEqual(result.joint.camera_mount.half_width_mm[1], math.inf)
        self.assertEqual(result.joint.camera_mount.covariance[4, 4], math.inf)
        self.assertTrue(math.isnan(result.joint.camera_mount.covariance[4, 3]))

    def broken(self):
        """Name, and a file that is no result.json."""
        whole = support.document()

        def changed(change):
            document = json.loads(json.dumps(whole))
            change(document)
            return document
        yield "empty", ""
        yield "list", []
        yield "nan", json.dumps(whole).replace(json.dumps(whole["seconds"]), "NaN", 1)
        yield "cut", json.dumps(whole)[:-2]
        yield "other format", {"format": "rigsync-inspection"}
        yield "version", changed(lambda d: d.update(format_version=2))
        yield "no lens", changed(lambda d: d.update(lens=None))
        yield "lens of a list", changed(lambda d: d.update(lens=[]))
        yield "no mount", changed(lambda d: d.pop("transform_cam_tc"))
        yield "short mount", changed(lambda d: d["transform_cam_tc"].pop())
        yield "word in mount", changed(lambda d: d["transform_cam_tc"].__setitem__(3, "1"))
        yield "truth in mount", changed(lambda d: d["transform_cam_tc"].__setitem__(3, True))
        yield "null in lens", changed(lambda d: d["lens"]["norm_fxy"].__setitem__(0, None))
        yield "no distortion", changed(lambda d: d["lens"].pop("distortion"))
        yield "solution", changed(lambda d: d.update(solution="both"))
        yield "verdict", changed(lambda d: d.update(verdict="yes"))
        yield "message", changed(lambda d: d.update(message=3))
        yield "large code", changed(lambda d: d.update(code=2**32))

    def test_broken_files_are_refused_with_the_sentence_of_the_command(self):
        for name, document in self.broken():
            with self.subTest(name):
                file = self.written(document)
                status, _, errors = support.command("export", file, "--to", "ue5")
                self.assertEqual(status, 2)
                for kind, read in ((rigsync.UsageError, rigsync.read_result),
                                   (rigsync_result.ResultError, rigsync_result.read)):
                    with self.assertRaises(kind) as raised:
                        read(file)
                    self.assertEqual(f"rigsync: {raised.exception}", self.sentence(errors))

    @staticmethod
    def sentence(errors):
        """Without what the command adds for the terminal."""
        return re.sub(r" (See|Run) 'rigsync export --help'.*$", "", errors)

    def test_damaged_files_are_read_or_refused_and_nothing_else(self):
        """What the command reads, rigsync_result reads too; neither ends in another exception."""
        random, whole = Random(16), support.document()
        places = [place for place in self.places(whole) if place]
        near_top = [place for place in places
                    if len(place) < 3 or place[0] in ("second_opinion", "cause", "lens")]
        read, refused = 0, 0
        for _ in range(1500):
            document = json.loads(json.dumps(whole))
            if random.random() < 0.5:
                document["verdict"] = random.choice(["look", "dont_use"])
                document["second_opinion"]["reasons"] = random.sample(REASONS, 3)
            for _ in range(random.choice([1, 1, 2, 3])):
                self.damage(document, random.choice(random.choice([places, near_top])), random)
            file = self.written(document)
            try:
                result = rigsync.read_result(file)
            except rigsync.UsageError:
                refused += 1
                with contextlib.suppress(rigsync_result.ResultError):
                    rigsync_result.read(file)
                continue
            read += 1
            for engine in ENGINES:
                with contextlib.suppress(rigsync_result.UnusableResult):
                    rigsync_result.export(result.plain, engine, even_if_doubtful=True)
        self.assertGreater(min(read, refused), 200)

    def places(self, document, place=()):
        """The keys that lead to each value, of lists to the first three."""
        yield place
        inner = (document.items() if isinstance(document, dict)
                 else enumerate(document[:3]) if isinstance(document, list) else ())
        for key, value in inner:
            yield from self.places(value, (*place, key))

    @staticmethod
    def damage(document, place, random):
        values = [None, True, 0, -1, 3.5, 1e308, 2**70, "", "x", "joint", "look", [], {}, [1, 2],
                  [None] * 3, [["a"]], {"a": 1}]
        with contextlib.suppress(KeyError, IndexError, TypeError):
            for key in place[:-1]:
                document = document[key]
            if isinstance(document, dict) and random.random() < 0.2:
                del document[place[-1]]
            else:
                document[place[-1]] = random.choice(values)

    def test_what_only_the_whole_reader_checks_is_refused_too(self):
        document = support.document()
        document["joint"]["rows"][0]["kept"] = 1
        with self.assertRaisesRegex(rigsync.UsageError, "'kept' is neither true nor false"):
            rigsync.read_result(self.written(document))


class Export(Folder):
    def as_json(self, file, engine, *more):
        status, text, errors = support.command("export", file, "--to", engine, "--json", "--out",
                                               self.folder, *more)
        self.assertEqual(status, 0, errors)
        return json.loads(text)

    def test_fields_are_those_of_the_command_in_name_order_and_bits(self):
        for solution in ("library", "joint"):
            for engine in ENGINES:
                expected = self.as_json(support.RESULT, engine, "--solution", solution)
                groups = {key: value for key, value in expected.items()
                          if isinstance(value, dict)}
                plain = rigsync_result.read(support.RESULT, solution)
                for fields in (
                        rigsync.export(rigsync.read_result(support.RESULT, solution), engine),
                        rigsync_result.export(plain, engine)):
                    self.assertEqual(fields._fields, tuple(groups))
                    for group, values in zip(fields, groups.values()):
                        self.assertEqual(list(group._asdict().items()), list(values.items()))

    def test_other_axes_of_the_tracker_are_those_of_the_command_in_bits(self):
        left = ("z-up", "y-up", "z,-x,y", "-x,y,z", "y,x,z", "-y,z,x", "-z,-x,-y")
        right = ("as-tracked", "z-up", "y-up", "x,y,z", "-x,-y,z", "y,z,x", "-z,-y,-x", "z,-x,-y")
        for engine in ENGINES:
            for axes in right if engine.startswith("ue5") else left:
                expected = self.as_json(support.RESULT, engine, "--tracker-axes", axes)
                groups = [list(value.items()) for value in expected.values()
                          if isinstance(value, dict)]
                for fields in (rigsync.export(rigsync.read_result(support.RESULT), engine,
                                              tracker_axes=axes),
                               rigsync_result.export(rigsync_result.read(support.RESULT), engine,
                                                     tracker_axes=axes)):
                    self.assertEqual([list(group._asdict().items()) for group in fields], groups)

    def test_as_tracked_goes_by_what_the_result_knows(self):
        document = support.document()
        document["inputs"]["camera_tracker_axes"] = "right_forward_up"
        file = self.written(document)
        expected = self.as_json(file, "ue4", "--tracker-axes", "as-tracked")
        fields = rigsync_result.export(rigsync_result.read(file), "ue4",
                                       tracker_axes="as-tracked")
        self.assertEqual(fields.rotation_deg._asdict(), expected["rotation_deg"])

    def test_axes_that_cannot_be_are_refused_in_the_words_of_the_command(self):
        for engine, axes in (("ue4", "as-tracked"), ("ue4", "x,y,z"), ("ue5", "y,x,z"),
                             ("ue5", "x-up"), ("ue5", "x,x,z"), ("ue5", "x,y"), ("ue5", "x,y,z,x"),
                             ("ue5", "x,y,--z"), ("ue5", ""), ("aximmetry", "x,y,w")):
            words = ("export", support.RESULT, "--to", engine, f"--tracker-axes={axes}")
            status, _, errors = support.command(*words, "--out", self.folder)
            for call in (lambda: rigsync.export(rigsync.read_result(support.RESULT), engine,
                                                tracker_axes=axes),
                         lambda: rigsync_result.export(rigsync_result.read(support.RESULT), engine,
                                                       tracker_axes=axes)):
                with self.assertRaises(ValueError) as raised:
                    call()
                if axes:  # a flag without a value is none
                    self.assertEqual(status, 2)
                    self.assertEqual(f"rigsync: {raised.exception}",
                                     ReadResult.sentence(errors).replace("--tracker-axes",
                                                                         "tracker_axes"))

    def test_the_run_log_goes_where_it_is_told(self):
        result = rigsync.read_result(support.RESULT)
        rigsync.export(result, "ue5")
        self.assertEqual(list(self.folder.iterdir()), [])
        rigsync.export(result, "ue5", log_folder=self.folder)
        self.assertEqual(len(list(self.folder.glob("log_*"))), 1)

    def test_gimbal_lock_is_an_exception_with_the_sentence_of_the_command(self):
        document = support.document()
        square = [1.0, 0, 0, 0, 0, 1.0, 0, 0, 0, 0, 1.0, 0, 0, 0, 0, 1.0]
        document["transform_cam_tc"] = document["library"]["transform_cam_tc"] = square
        file = self.written(document)
        status, _, errors = support.command("export", file, "--to", "ue4")
        self.assertEqual(status, 3)
        for call in (lambda: rigsync.export(rigsync.read_result(file), "ue4"),
                     lambda: rigsync_result.export(rigsync_result.read(file), "ue4")):
            with self.assertRaises(rigsync.GimbalLock) as raised:
                call()
            self.assertEqual(f"rigsync: {raised.exception}",
                             errors.replace("--tracker-axes", "tracker_axes"))
            self.assertEqual(raised.exception.code, rigsync.Code.GIMBAL_LOCK)

    def doubtful(self):
        """Results with every reason of a verdict alone, and all of them together."""
        later = ["of_a_later_version"]
        for reasons in [[reason] for reason in REASONS] + [list(REASONS), later]:
            for verdict in ("look", "dont_use") if reasons == later else ("dont_use",):
                for solution in ("library", "joint"):
                    document = support.document()
                    document["verdict"], document["usable"] = verdict, False
                    document["solution"] = solution
                    document["transform_cam_tc"] = document[solution]["transform_cam_tc"]
                    document["second_opinion"].update(
                        reasons=reasons, difference_mm=4.126, difference_deg=0.4567)
                    yield document
                    document["joint"]["slip"] = {
                        "evidence": "found", "tracker": "board", "line": 4, "image": "a.png",
                        "gain": 60.0, "turn_deg": [0, 0, 1], "shift_mm": [0, 1, 0]}
                    document["joint"]["rows"] = []
                    document["cause"] = {"id": "stale_samples", "text": "Two\n samples are old.",
                                         "example": "", "advice": "Remove them.", "lines": [2]}
                    document["joint"]["lens_check"] = None
                    document["joint"]["board_place"]["stated"] = {
                        "difference_mm": 12.34, "difference_deg": 3.21,
                        "within_uncertainty": False, "prior": False}
                    yield document
                    document["joint"]["slip"].update(tracker="camera", evidence="look")
                    document["joint"]["slip"].update(line=None, image=None)
                    document["joint"]["widest_mm"]["half_width"] = None
                    yield document

    def test_doubts_are_told_in_the_words_of_the_command(self):
        seen = set()
        for document in self.doubtful():
            file = self.written(document)
            status, _, errors = support.command("export", file, "--to", "ue5", "--solution",
                                                document["solution"])
            self.assertEqual(status, 0)
            plain = rigsync_result.read(file, document["solution"])
            self.assertEqual(f"rigsync: warning: {rigsync_result.doubts(plain)}", errors)
            seen.add(errors)
            result = rigsync.read_result(file, document["solution"])
            self.assertEqual(result.doubts, rigsync_result.doubts(plain))
            self.assertFalse(result.usable)
            for call in (lambda: rigsync.export(result, "ue5"),
                         lambda: rigsync_result.export(plain, "ue5"),
                         lambda: rigsync_result.camera_pose(plain, (0, 0, 0), (1, 0, 0, 0))):
                with self.assertRaises(rigsync.UnusableResult) as raised:
                    call()
                self.assertEqual(str(raised.exception), f"{file}: {result.doubts}")
            self.assertEqual(rigsync.export(result, "ue5", even_if_doubtful=True),
                             rigsync_result.export(plain, "ue5", even_if_doubtful=True))
        self.assertGreater(len(seen), 40)

    def not_rigid(self):
        """Mounts in which one thing alone is not as in a rotation with a position."""
        def changed(row, numbers):
            document = support.document()
            document["transform_cam_tc"][4 * row:4 * row + len(numbers)] = numbers
            return document

        rows = np.reshape(support.document()["transform_cam_tc"], (4, 4))[:3, :3]
        for k in range(3):  # stretched, and turned inside out
            yield changed(k, list(1.001 * rows[k]))
            yield changed(k, list(-rows[k]))
        for k, other in ((0, 1), (1, 2), (2, 0)):  # two axes at an angle other than 90 degrees
            yield changed(k, list(np.cos(0.0011) * rows[k] + np.sin(0.0011) * rows[other]))
        for numbers in ([0.0011, 0, 0, 1], [0, 0.0011, 0, 1], [0, 0, 0.0011, 1], [0, 0, 0, 1.0011]):
            yield changed(3, numbers)

    def refused(self):
        """Results that the command does not export."""
        for reasons in (["difference_beyond_limit"],
                        ["difference_beyond_limit", "slip_found"], ["no_library_transform"]):
            document = support.document()
            document["verdict"] = "dont_use"
            document["second_opinion"]["reasons"] = reasons
            if reasons == ["no_library_transform"]:
                document["transform_cam_tc"] = document["library"]["transform_cam_tc"] = None
            yield document
        document = support.document()
        document.update(verdict=None, transform_cam_tc=None, code=4, message="Too few boards.")
        document["library"]["transform_cam_tc"] = None
        yield document
        document = support.document()
        document.update(solution="joint", transform_cam_tc=None, joint=None)
        yield document
        document = support.document()
        document["transform_cam_tc"][5] = None
        yield document
        yield from self.not_rigid()

    def test_a_result_that_the_command_does_not_export_is_refused_in_its_words(self):
        for document in self.refused():
            file = self.written(document)
            status, _, errors = support.command("export", file, "--to", "ue5")
            self.assertEqual(status, 2)
            # A flag of the command is an argument here.
            expected = re.sub(r"--solution (library|joint)", r'solution="\1"',
                              ReadResult.sentence(errors))
            for call in (lambda: rigsync.export(rigsync.read_result(file), "ue5",
                                                even_if_doubtful=True),
                         lambda: rigsync_result.export(rigsync_result.read(file), "ue5",
                                                       even_if_doubtful=True)):
                with self.assertRaises(rigsync.UnusableResult) as raised:
                    call()
                self.assertEqual(f"rigsync: {raised.exception}", expected)

    def test_an_unknown_engine_is_refused(self):
        for call in (lambda: rigsync.export(rigsync.read_result(support.RESULT), "ue6"),
                     lambda: rigsync_result.export(rigsync_result.read(support.RESULT), "ue6")):
            with self.assertRaisesRegex(ValueError, "engine: 'ue6' is wrong; expected ue4, ue5"):
                call()


class ExportFile(Folder):
    def of_command(self, *words, result=support.RESULT):
        file = self.folder / "exported"
        status, _, errors = support.command("export", result, *words, "-o", file)
        self.assertEqual(status, 0, errors)
        return file.read_text(encoding="utf-8"), errors

    def test_files_are_those_of_the_command(self):
        sensor = ("--sensor", "36x27")
        for words, target, named in (
                (sensor, "blender", {"sensor_mm": (36.0, 27.0)}),
                ((*sensor, "--tracker-axes", "y-up"), "blender",
                 {"sensor_mm": (36.0, 27.0), "tracker_axes": "y-up"}),
                ((*sensor, "--focus", "2.5", "--tracker-axes", "z-up"), "unreal-lens",
                 {"sensor_mm": (36.0, 27.0), "focus": 2.5, "tracker_axes": "z-up"}),
                ((), "opencv", {}), ((), "kalibr", {}),
                (("--capture", support.CAPTURE / "capture.csv"), "corners",
                 {"capture": support.CAPTURE / "capture.csv"})):
            with self.subTest(target):
                expected, errors = self.of_command("--to", target, *words)
                with warnings.catch_warnings(record=True) as caught:
                    warnings.simplefilter("always")
                    text = rigsync.export_file(rigsync.read_result(support.RESULT), target, **named)
                self.assertEqual(text, expected)
                told = " ".join(f"rigsync: warning: {caution.message}" for caution in caught)
                self.assertEqual(told, errors)

    def test_the_other_mount_is_written_when_it_is_read(self):
        expected, _ = self.of_command("--to", "blender", "--sensor", "36x27", "--solution", "joint")
        joint = rigsync.read_result(support.RESULT, solution="joint")
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            self.assertEqual(rigsync.export_file(joint, "blender", sensor_mm=(36, 27)), expected)

    def test_what_cannot_be_written_is_refused(self):
        result = rigsync.read_result(support.RESULT)
        with self.assertRaisesRegex(rigsync.UsageError, "target: 'maya' is wrong; expected bl"):
            rigsync.export_file(result, "maya")
        for name, value in (("tracker_axes", "z-up"), ("sensor_mm", (36, 27)), ("focus", 1.0),
                            ("zoom", 1.0), ("image_root", ".")):
            with self.assertRaises(rigsync.UsageError) as raised:
                rigsync.export_file(result, "opencv", **{name: value})
            self.assertEqual(str(raised.exception),
                             f"{name}: the export to YAML of OpenCV has no use for it")
        with self.assertRaisesRegex(rigsync.UsageError, "--capture: .*none.csv"):
            rigsync.export_file(result, "opencv", capture=self.folder / "none.csv")
        document = support.document()
        document["lens"]["distortion"] = None
        with self.assertRaisesRegex(ValueError, "'lens.distortion' is null"):
            rigsync.export_file(rigsync.read_result(self.written(document)), "blender")

    def test_a_file_of_a_doubtful_result_says_so_as_the_command_does(self):
        document = support.document()
        document.update(verdict="look", usable=False)
        doubtful = rigsync.read_result(self.written(document))
        for target in ("opencv", "kalibr"):
            with self.assertRaises(rigsync.UnusableResult):
                rigsync.export_file(doubtful, target)
            text = rigsync.export_file(doubtful, target, even_if_doubtful=True)
            self.assertIn("# Warning: check this result on the set", text)
            expected, _ = self.of_command("--to", target, result=doubtful.path)
            self.assertEqual(text, expected)


class CameraPose(Folder):
    def test_the_board_is_where_the_photographs_show_it(self):
        """The chain of the truth, closed over each image: the board as the camera sees it, once
        through both trackers and once from the simulator."""
        truth = json.loads((support.CAPTURE / "truth.json").read_text(encoding="utf-8"))
        document = support.document()
        document["transform_cam_tc"] = document["library"]["transform_cam_tc"] = list(
            np.ravel(truth["Transform_Cam_Tc"]))
        result = rigsync.read_result(self.written(document))
        lines = (support.CAPTURE / "capture.csv").read_text(encoding="utf-8").splitlines()[1:]
        relabelled = np.array([[-1.0, 0, 0, 0], [0, 0, -1, 0], [0, -1, 0, 0], [0, 0, 0, 1]])
        transform_chart_tr = np.reshape(truth["Transform_Chart_Tr"], (4, 4))
        self.assertEqual(len(lines), len(truth["images"]))
        for line, image in zip(lines, truth["images"]):
            numbers = [float(field) for field in line.split(",")[2:]]
            transform_base_cam = result.transform_base_cam(numbers[0:3], numbers[3:7])
            w, x, y, z = numbers[10:14]
            transform_base_body = np.eye(4)
            # The board's attitude by the cross-product form of a rotation.
            cross = np.array([[0, -z, y], [z, 0, -x], [-y, x, 0]])
            transform_base_body[:3, :3] = (np.eye(3) + 2 * w * cross + 2 * cross @ cross).T
            transform_base_body[:3, 3] = numbers[7:10]
            transform_base_tr = transform_base_body @ relabelled
            found = (np.linalg.inv(transform_base_cam) @ transform_base_tr
                     @ np.linalg.inv(transform_chart_tr))
            expected = np.reshape(image["Transform_Cam_Chart"], (4, 4))
            # The samples have no noise, and all their digits.
            np.testing.assert_allclose(found, expected, atol=1e-12)

    def test_a_pose_by_hand(self):
        """A mount without rotation, in Cam 10 cm to the right of the camera, on a body that is
        turned by 90 degrees about z."""
        document = support.document()
        document["transform_cam_tc"] = document["library"]["transform_cam_tc"] = [
            1, 0, 0, 0.1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
        plain = rigsync_result.read(self.written(document))
        half = math.sqrt(0.5)
        # From Base to body: -90 degrees about z. Length 2, which does not matter.
        pose = rigsync_result.camera_pose(plain, (1.0, 2.0, 3.0), (2 * half, 0, 0, -2 * half))
        # In Tc the camera is at x = -0.1: along the body's x, which is Base's y.
        np.testing.assert_allclose(pose.position_m, (1.0, 2.1, 3.0), atol=1e-15)
        # The view is z of Tc: the body's -y, which is Base's x.
        np.testing.assert_allclose(pose.view_direction, (1.0, 0.0, 0.0), atol=1e-15)

    def test_a_sample_that_is_none_is_refused(self):
        plain = rigsync_result.read(support.RESULT)
        for position, quaternion in (((0, 0), (1, 0, 0, 0)), ((0, 0, 0), (1, 0, 0)),
                                     ((0, math.nan, 0), (1, 0, 0, 0)),
                                     ((0, 0, 0), (math.inf, 0, 0, 0))):
            with self.assertRaisesRegex(ValueError, "sample"):
                rigsync_result.camera_pose(plain, position, quaternion)

    def test_a_quaternion_of_zeros_is_no_rotation_as_in_the_library(self):
        plain = rigsync_result.read(support.RESULT)
        self.assertEqual(rigsync_result.camera_pose(plain, (1, 2, 3), (0, 0, 0, 0)),
                         rigsync_result.camera_pose(plain, (1, 2, 3), (1, 0, 0, 0)))


if __name__ == "__main__":
    unittest.main()
