# SPDX-License-Identifier: Apache-2.0
"""The six calls of the library, include/rigsync_core.h, with its names and order of arguments."""
import os
from typing import Any, NamedTuple, Optional, Union, overload

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _core
from ._codes import Code

Array = NDArray[np.float64]
Path = Union[str, "os.PathLike[str]"]


class CalibrationOutputs(NamedTuple):
    """The outputs of Calibration. An array that the call did not fill is empty; docs/integrate.md
    says which are filled after which code."""

    code: Code
    Image_Size: Array        # (2,) width, height, pixels
    Norm_Fxy: Array          # (2,) fx / width, fy / height
    Norm_Cxy: Array          # (2,) cx / width, cy / height
    Distortion: Array        # (5,) k1, k2, p1, p2, k3
    Transform_Cam_Tc: Array  # (16,) row by row, translation in metres
    FoV: Array               # (2,) degrees; with a sensor only
    Focal_Length_mm: Array   # (1,) with a sensor only

    @property
    def transform_cam_tc(self) -> Optional[Array]:
        """Transform_Cam_Tc as a (4, 4) array; None where it is empty."""
        return self.Transform_Cam_Tc.reshape(4, 4) if self.Transform_Cam_Tc.size else None


class UE4Outputs(NamedTuple):
    """The outputs of CamAxisToUE4; both arrays are empty after code 3."""

    code: Code
    Rot_Tc_Cam_UE4_Euler: Array  # (3,) roll, pitch, yaw, degrees
    Trans_Tc_Cam_UE4_cm: Array   # (3,) x, y, z


class UE5Outputs(NamedTuple):
    """The outputs of CamAxisToUE5 and of CamAxisToUE5_ExportxN."""

    code: Code
    Quat_Tc_Cam: Array      # (4,) x, y, z, w
    Trans_Tc_Cam_cm: Array  # (3,) x, y, z


class AximmetryOutputs(NamedTuple):
    """The outputs of CamAxisToAximmetry."""

    code: Code
    FoVX: Array                 # (1,) degrees
    AximmetryCxy: Array         # (2,) parts of the image's sides
    Rot_Tc_Cam_AX_Euler: Array  # (3,) about x, y, z, degrees
    Trans_Tc_Cam_AX_cm: Array   # (3,) x, y, z


@overload
def Calibration(Csv_Path: Path, Board_Cols: int, Board_Rows: int, Square_Size: float,
                Chart_Euler_Deg: ArrayLike, Chart_Translation: ArrayLike, Output_Dir: Path, *,
                verbose: bool = False) -> CalibrationOutputs: ...


@overload
def Calibration(Csv_Path: Path, Sensor_Width_mm: float, Sensor_Height_mm: float, Board_Cols: int,
                Board_Rows: int, Square_Size: float, Chart_Euler_Deg: ArrayLike,
                Chart_Translation: ArrayLike, Output_Dir: Path, *,
                verbose: bool = False) -> CalibrationOutputs: ...


def Calibration(*Arguments: Any, **Named: Any) -> CalibrationOutputs:
    """Solves lens and mount from a capture. Two forms, as in the header:

    Calibration(Csv_Path, Board_Cols, Board_Rows, Square_Size, Chart_Euler_Deg, Chart_Translation,
                Output_Dir)
    Calibration(Csv_Path, Sensor_Width_mm, Sensor_Height_mm, Board_Cols, Board_Rows, Square_Size,
                Chart_Euler_Deg, Chart_Translation, Output_Dir)

    Square_Size is in metres, Chart_Euler_Deg (3,) in degrees, Chart_Translation (3,) in metres. The
    folder Output_Dir has to exist; it gets the run log and the reprojection images. Relative image
    paths in the CSV start at the working directory.

    verbose copies the lines of the run log to the process's standard output. Other Python threads
    run meanwhile. A call can't be interrupted.

    Raises ValueError, with the library's text, for Chart_Euler_Deg or Chart_Translation with fewer
    than three elements and for board counts beyond all measure, RuntimeError for an exception of
    OpenCV.

    >>> Calibration("no such file.csv", 11, 8, 0.03, [0, 0, 0], [0, 0, 0], "no such folder").code
    <Code.CSV_NOT_OPENED: 1>
    """
    if len(Arguments) > 7 or "Sensor_Width_mm" in Named or "Sensor_Height_mm" in Named:
        return _calibration_with_sensor(*Arguments, **Named)
    return _calibration(*Arguments, **Named)


def _calibration(Csv_Path: Path, Board_Cols: int, Board_Rows: int, Square_Size: float,
                 Chart_Euler_Deg: ArrayLike, Chart_Translation: ArrayLike, Output_Dir: Path, *,
                 verbose: bool = False) -> CalibrationOutputs:
    code, *arrays = _core.calibrate(os.fspath(Csv_Path), None, Board_Cols, Board_Rows, Square_Size,
                                    Chart_Euler_Deg, Chart_Translation, os.fspath(Output_Dir),
                                    verbose)
    return CalibrationOutputs(Code(code), *arrays)


def _calibration_with_sensor(Csv_Path: Path, Sensor_Width_mm: float, Sensor_Height_mm: float,
                             Board_Cols: int, Board_Rows: int, Square_Size: float,
                             Chart_Euler_Deg: ArrayLike, Chart_Translation: ArrayLike,
                             Output_Dir: Path, *, verbose: bool = False) -> CalibrationOutputs:
    code, *arrays = _core.calibrate(os.fspath(Csv_Path), (Sensor_Width_mm, Sensor_Height_mm),
                                    Board_Cols, Board_Rows, Square_Size, Chart_Euler_Deg,
                                    Chart_Translation, os.fspath(Output_Dir), verbose)
    return CalibrationOutputs(Code(code), *arrays)


def CamAxisToUE4(Transform_Cam_Tc: ArrayLike, Output_Dir: Path, *,
                 verbose: bool = False) -> UE4Outputs:
    """Export for Unreal Engine 4. Transform_Cam_Tc is (16,) row by row or (4, 4), metres; the
    folder Output_Dir has to exist and gets the run log. All numbers have single precision.

    Raises ValueError, with the library's text, for a transform with fewer than 16 elements.

    >>> import tempfile
    >>> Worked = [[0.8, -0.36, -0.48, 0.1], [0, 0.8, -0.6, -0.2], [0.6, 0.48, 0.64, 0.3],
    ...           [0, 0, 0, 1]]
    >>> with tempfile.TemporaryDirectory() as Output_Dir:
    ...     Outputs = CamAxisToUE4(Worked, Output_Dir)
    >>> Outputs.Rot_Tc_Cam_UE4_Euler.round(4)
    array([-141.3402,  -39.7918,  128.6598])
    """
    code, *arrays = _core.export("ue4", Transform_Cam_Tc, os.fspath(Output_Dir), verbose)
    return UE4Outputs(Code(code), *arrays)


def CamAxisToUE5(Transform_Cam_Tc: ArrayLike, Output_Dir: Path, *,
                 verbose: bool = False) -> UE5Outputs:
    """Export for Unreal Engine 5. Arguments and errors are those of CamAxisToUE4; always code 0."""
    code, *arrays = _core.export("ue5", Transform_Cam_Tc, os.fspath(Output_Dir), verbose)
    return UE5Outputs(Code(code), *arrays)


def CamAxisToUE5_ExportxN(Transform_Cam_Tc: ArrayLike, Output_Dir: Path, *,
                          verbose: bool = False) -> UE5Outputs:
    """Export for Unreal Engine 5 with the camera's x up. Otherwise like CamAxisToUE5."""
    code, *arrays = _core.export("ue5-xn", Transform_Cam_Tc, os.fspath(Output_Dir), verbose)
    return UE5Outputs(Code(code), *arrays)


def CamAxisToAximmetry(Norm_Fxy: ArrayLike, Norm_Cxy: ArrayLike, Transform_Cam_Tc: ArrayLike,
                       Output_Dir: Path, *, verbose: bool = False) -> AximmetryOutputs:
    """Export for Aximmetry, with the lens: Norm_Fxy (2,) and Norm_Cxy (2,). Always code 0.

    Raises ValueError, with the library's text, for an array with too few elements.
    """
    code, *arrays = _core.export_aximmetry(Norm_Fxy, Norm_Cxy, Transform_Cam_Tc,
                                           os.fspath(Output_Dir), verbose)
    return AximmetryOutputs(Code(code), *arrays)
