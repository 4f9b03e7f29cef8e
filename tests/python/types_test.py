# SPDX-License-Identifier: Apache-2.0
"""What the package promises to tools: types that mypy accepts, and examples in docstrings that
run."""
import doctest
import importlib
import inspect
import os
import pathlib
import subprocess
import tempfile
import unittest

import rigsync
import support

MODULES = ("rigsync", "rigsync._calls", "rigsync._capture", "rigsync._codes", "rigsync._results",
           "rigsync_result")
# What a program that uses the package may write, and what it may not.
RIGHT = """
from typing import Optional
import numpy as np
from numpy.typing import NDArray
import rigsync
import rigsync_result

def mount(path: str) -> Optional[NDArray[np.float64]]:
    result = rigsync.read_result(path)
    fields = rigsync.export(result, "ue4", tracker_axes="z-up")
    script: str = rigsync.export_file(result, "blender", sensor_mm=(36.0, 24.0))
    print(script)
    if isinstance(fields, rigsync.UE4Fields):
        print(fields.location_cm.x + fields.rotation_deg.yaw)
    joint: Optional[rigsync.Solution] = result.joint
    code: rigsync.Code = rigsync.Calibration("c.csv", 11, 8, 0.03, [0, 0, 0], [0, 0, 0], ".").code
    rigsync.Calibration("c.csv", 36.0, 24.0, 11, 8, 0.03, [0, 0, 0], [0, 0, 0], ".", verbose=True)
    print(code.text, joint)
    pose = rigsync_result.camera_pose(result.plain, (0, 0, 0), (1, 0, 0, 0))
    print(pose.position_m[0])
    return result.transform_cam_tc
"""
WRONG = {
    'rigsync.inspect("c.csv", board="11x8", square_m=0.03)': "arg-type",
    'rigsync.CamAxisToUE5([1.0]).Quat_Tc_Cam': "call-arg",
    'rigsync.Calibration("c.csv", 11, 8)': "call-overload",
    'rigsync.read_result("r").transform_cam_tc.shape': "union-attr",
    'rigsync.read_result("r").transform_cam_tr': "attr-defined",
}


def mypy(*words, folder):
    return subprocess.run(["mypy", "--strict", "--no-error-summary", "--cache-dir",
                           os.path.join(folder, "cache"), *map(str, words)],
                          capture_output=True, text=True, check=False,
                          env={**os.environ, "MYPYPATH": str(PACKAGE)})


PACKAGE = pathlib.Path(rigsync.__file__).parents[1]


class Types(unittest.TestCase):
    def test_mypy_accepts_the_package_and_a_program_that_uses_it(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder, "right.py")
            program.write_text(RIGHT, encoding="utf-8")
            done = mypy(PACKAGE / "rigsync", PACKAGE / "rigsync_result.py", program,
                        folder=folder)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)

    def test_mypy_finds_what_is_wrong(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder, "wrong.py")
            program.write_text("import rigsync\n" + "\n".join(WRONG) + "\n", encoding="utf-8")
            done = mypy(program, folder=folder)
        lines = [line for line in done.stdout.splitlines() if ": error: " in line]
        for number, kind in enumerate(WRONG.values(), 2):
            self.assertTrue(any(line.startswith(f"{program}:{number}: ") and f"[{kind}]" in line
                                for line in lines), (number, done.stdout))

    def test_the_stub_names_what_the_module_has(self):
        names = {name for name in dir(rigsync._core) if not name.startswith("__")}
        stub = (PACKAGE / "rigsync" / "_core.pyi").read_text(encoding="utf-8")
        for name in names:
            self.assertRegex(stub, rf"(?m)^(def |class )?{name}[(:]")
        self.assertTrue((PACKAGE / "rigsync" / "py.typed").exists())

    def test_everything_public_is_documented_and_there(self):
        for name in rigsync.__all__:
            value = getattr(rigsync, name)
            if inspect.isclass(value) or inspect.isfunction(value):
                self.assertTrue(value.__doc__, name)

    def test_the_examples_of_docstrings_run(self):
        examples = 0
        for name in MODULES:
            failed, tried = doctest.testmod(importlib.import_module(name),
                                            optionflags=doctest.ELLIPSIS)
            self.assertEqual(failed, 0, name)
            examples += tried
        self.assertGreaterEqual(examples, 15)


class Signatures(unittest.TestCase):
    def test_names_and_order_are_those_of_the_header(self):
        """Inputs in the header's order; output vectors are returned in that order."""
        header = (support.SOURCE / "include/rigsync_core.h").read_text(encoding="utf-8")
        import re
        declared = re.findall(r"RIGSYNC_CORE_API int (\w+)\((.*?)\);", header, re.DOTALL)
        self.assertEqual(len(declared), 6)
        calls = {("Calibration", 12): (rigsync._calls._calibration, rigsync.CalibrationOutputs),
                 ("Calibration", 16): (rigsync._calls._calibration_with_sensor,
                                       rigsync.CalibrationOutputs),
                 ("CamAxisToUE4", 4): (rigsync.CamAxisToUE4, rigsync.UE4Outputs),
                 ("CamAxisToUE5", 4): (rigsync.CamAxisToUE5, rigsync.UE5Outputs),
                 ("CamAxisToUE5_ExportxN", 4): (rigsync.CamAxisToUE5_ExportxN,
                                                rigsync.UE5Outputs),
                 ("CamAxisToAximmetry", 8): (rigsync.CamAxisToAximmetry,
                                             rigsync.AximmetryOutputs)}
        for name, arguments in declared:
            words = [argument.split()[-1] for argument in arguments.split(",")]
            outputs = [argument.split()[-1] for argument in arguments.split(",")
                       if "&" in argument]
            call, fields = calls[name, len(words)]
            parameters = [parameter.name for parameter in
                          inspect.signature(call).parameters.values()
                          if parameter.kind == parameter.POSITIONAL_OR_KEYWORD]
            self.assertEqual(parameters, [word for word in words if word not in outputs], name)
            self.assertEqual(list(fields._fields[1:1 + len(outputs)]), outputs, name)


if __name__ == "__main__":
    unittest.main()
