# SPDX-License-Identifier: Apache-2.0
"""Camera-to-tracker calibration: the library's calls, inspection, joint solve and results.

The six calls have the library's names and order of arguments (docs/integrate.md); output vectors
are returned, with the code first. Everything else has the names of the command's flags and files.
Arrays are numpy's, in double precision. transform_a_b is a (4, 4) array that takes coordinates in
frame b to those in frame a (docs/conventions.md); lengths in it are metres.

Nothing is printed unless a call is told verbose=True. Python's lock is released while the library
works. docs/python.md has examples.
"""
from rigsync_result import (AximmetryFields, Fields, GimbalLock, ResultError, UE4Fields, UE5Fields,
                            UnusableResult)

from ._calls import (AximmetryOutputs, Calibration, CalibrationOutputs, CamAxisToAximmetry,
                     CamAxisToUE4, CamAxisToUE5, CamAxisToUE5_ExportxN, UE4Outputs, UE5Outputs)
from ._capture import Finding, Inspection, Row, UnsolvedCapture, inspect, solve
from ._codes import Code
from ._core import UsageError, version as __version__
from ._results import (Lens, Noise, Result, Slip, Solution, SolvedRow, Uncertainty, export,
                       export_file, read_result)

UsageError.__module__ = "rigsync"
UsageError.__doc__ = """A file that can't be read or is not what it should be; the text names it."""

__all__ = ["AximmetryFields", "AximmetryOutputs", "Calibration", "CalibrationOutputs",
           "CamAxisToAximmetry", "CamAxisToUE4", "CamAxisToUE5", "CamAxisToUE5_ExportxN", "Code",
           "Fields", "Finding", "GimbalLock", "Inspection", "Lens", "Noise", "Result",
           "ResultError", "Row", "Slip", "Solution", "SolvedRow", "UE4Fields", "UE4Outputs",
           "UE5Fields", "UE5Outputs", "Uncertainty", "UnsolvedCapture", "UnusableResult",
           "UsageError", "__version__", "export", "export_file",
           "inspect", "read_result", "solve"]
