# SPDX-License-Identifier: Apache-2.0
"""result.json with arrays, and its exports through the library."""
import dataclasses
import os
import tempfile
import warnings
from typing import Any, Dict, List, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike

import rigsync_result
from rigsync_result import Fields, GimbalLock

from . import _calls, _core
from ._calls import Array, Path
from ._codes import Code


def _array(value: Any, shape: Tuple[int, ...], null: float = np.nan) -> Array:
    """An array of this shape from a list of the file, with null in the place of a null element, and
    throughout where there is no list."""
    if value is None:
        return np.full(shape, null)
    numbers = np.array(value, dtype=object).ravel()
    return np.array([null if number is None else number for number in numbers],
                    dtype=np.float64).reshape(shape)


def _number(value: Optional[float], null: float = np.nan) -> float:
    return null if value is None else float(value)


@dataclasses.dataclass(frozen=True, eq=False)
class Lens:
    """The lens of a result, under the names of the library's outputs."""

    image_size: Array  # (2,) width, height, pixels
    norm_fxy: Array    # (2,) fx / width, fy / height
    norm_cxy: Array    # (2,) cx / width, cy / height
    distortion: Array  # (5,) k1, k2, p1, p2, k3 of OpenCV's model
    fov_deg: Optional[Array]          # (2,) horizontal, vertical; None without a sensor
    focal_length_mm: Optional[float]  # None without a sensor

    @property
    def camera_matrix(self) -> Array:
        """(3, 3), pixels, with pixel centres at whole numbers as OpenCV has them."""
        focal, centre = self.norm_fxy * self.image_size, self.norm_cxy * self.image_size
        return np.array([[focal[0], 0.0, centre[0]], [0.0, focal[1], centre[1]], [0.0, 0.0, 1.0]])


@dataclasses.dataclass(frozen=True, eq=False)
class Uncertainty:
    """How far off a mount may be: half-widths of 95 % intervals, infinite where nothing is known.

    Turns and shifts are about and along the axes of the mount's left frame: Cam for
    transform_cam_tc, Tr for transform_tr_chart."""

    half_width_mm: Array       # (3,)
    half_width_deg: Array      # (3,)
    widest_mm: float           # in the direction in which it is largest
    widest_deg: float
    covariance: Array          # (6, 6) turn, radians, then shift, metres
    degrees_of_freedom: Array  # (6,) of each variance


@dataclasses.dataclass(frozen=True)
class Noise:
    """The noise that a capture shows, one standard deviation on each axis."""

    corner_px: float
    rotation_deg: float  # of each tracker
    position_mm: float   # of both trackers together


@dataclasses.dataclass(frozen=True, eq=False)
class SolvedRow:
    """What became of a row of the CSV in the joint solve."""

    line: Optional[int]
    image: Optional[str]
    is_kept: bool
    f: float             # distance from what the other rows predict, about 1 for a good row
    residual_deg: Array  # (3,) of the board's pose in Cam
    residual_mm: Array   # (3,)


@dataclasses.dataclass(frozen=True, eq=False)
class Slip:
    """A tracker that slipped on its mount during the capture."""

    evidence: str          # "found" or "look"
    tracker: str           # "camera" or "board"
    line: Optional[int]    # the first row of its new place
    image: Optional[str]
    turn_deg: Array        # (3,)
    shift_mm: Array        # (3,)


@dataclasses.dataclass(frozen=True, eq=False)
class Solution:
    """Both mounts solved together, with their uncertainty: "joint" in docs/result-file.md."""

    status: str  # "solved", "too_few_rows", "no_majority" or "not_converged"
    transform_cam_tc: Optional[Array]    # (4, 4) metres; None unless solved, like the next five
    transform_tr_chart: Optional[Array]  # (4, 4) metres: the board as seen from its tracker
    camera_mount: Optional[Uncertainty]  # of transform_cam_tc
    board_mount: Optional[Uncertainty]   # of transform_tr_chart
    square_scale: Optional[float]        # the true square in units of the stated one
    noise: Optional[Noise]
    rows: List[SolvedRow]
    slip: Optional[Slip]
    document: Dict[str, Any] = dataclasses.field(repr=False)  # all keys, as in the file

    @property
    def is_solved(self) -> bool:
        return self.status == "solved"


def _uncertainty(mount: Dict[str, Any]) -> Uncertainty:
    covariance = _array(mount.get("covariance"), (6, 6))
    diagonal = np.einsum("ii->i", covariance)
    diagonal[np.isnan(diagonal)] = np.inf
    widest_mm, widest_deg = (_number((mount.get(key) or {}).get("half_width"), np.inf)
                             for key in ("widest_mm", "widest_deg"))
    return Uncertainty(_array(mount.get("half_width_mm"), (3,), np.inf),
                       _array(mount.get("half_width_deg"), (3,), np.inf), widest_mm, widest_deg,
                       covariance, _array(mount.get("degrees_of_freedom"), (6,), 0.0))


def _solved_row(row: Dict[str, Any]) -> SolvedRow:
    return SolvedRow(row.get("line"), row.get("image"), bool(row.get("kept")),
                     _number(row.get("f")), _array(row.get("residual_deg"), (3,)),
                     _array(row.get("residual_mm"), (3,)))


def _slip(slip: Optional[Dict[str, Any]]) -> Optional[Slip]:
    if slip is None:
        return None
    return Slip(slip.get("evidence") or "", slip.get("tracker") or "", slip.get("line"),
                slip.get("image"), _array(slip.get("turn_deg"), (3,)),
                _array(slip.get("shift_mm"), (3,)))


def solution_of(document: Optional[Dict[str, Any]]) -> Optional[Solution]:
    """The value of "joint"; None for null."""
    if document is None or document.get("status") is None:
        return None
    rows = [_solved_row(row) for row in document.get("rows") or ()]
    slip = _slip(document.get("slip"))
    if document["status"] != "solved":
        return Solution(document["status"], None, None, None, None, None, None, rows, slip,
                        document)
    board, noise, square = (document.get(key) or {} for key in ("board_place", "noise", "square"))
    return Solution("solved", _array(document.get("transform_cam_tc"), (4, 4)),
                    _array(board.get("transform_tr_chart"), (4, 4)),
                    _uncertainty(document), _uncertainty(board), _number(square.get("scale")),
                    Noise(*(_number(noise.get(key))
                            for key in ("corner_px", "rotation_deg", "position_mm"))),
                    rows, slip, document)


@dataclasses.dataclass(frozen=True, eq=False)
class Result:
    """A result.json. What is null in the file is None."""

    path: str
    code: Optional[Code]  # of the library; None when an exception ended the run
    usable: bool          # code 0 or 99, all numbers finite, and a verdict of "agree" or None
    verdict: Optional[str]  # "agree", "look" or "dont_use"; None without a second opinion
    reasons: List[str]      # of the verdict, gravest first: docs/result-file.md
    doubts: str             # why it must not be used, or has to be checked; empty for a good one
    message: str
    solution: str           # "library" or "joint": whose mount transform_cam_tc is
    transform_cam_tc: Optional[Array]  # (4, 4) metres
    lens: Optional[Lens]
    joint: Optional[Solution]
    document: Dict[str, Any] = dataclasses.field(repr=False)  # all keys, as in the file
    plain: rigsync_result.Result = dataclasses.field(repr=False)  # for rigsync_result

    @property
    def transform_tc_cam(self) -> Optional[Array]:
        """(4, 4) metres: the camera as seen from its tracker."""
        return None if self.transform_cam_tc is None else np.linalg.inv(self.transform_cam_tc)

    def transform_base_cam(self, position_m: ArrayLike, quaternion_wxyz: ArrayLike, *,
                           even_if_doubtful: bool = False) -> Array:
        """(4, 4): where the camera is when its tracker gives this sample, a position (3,) and a
        quaternion (4,) as the CSV has them.

        Raises UnusableResult as export does, ValueError for a sample that is not finite."""
        pose = rigsync_result.camera_pose(
            self.plain, np.asarray(position_m, dtype=np.float64).tolist(),
            np.asarray(quaternion_wxyz, dtype=np.float64).tolist(), even_if_doubtful)
        return np.array(pose.transform_base_cam)


def _lens_of(lens: Dict[str, Any]) -> Optional[Lens]:
    sizes = {"image_size": 2, "norm_fxy": 2, "norm_cxy": 2, "distortion": 5}
    if any(lens.get(key) is None for key in sizes):
        return None
    arrays = {key: _array(lens[key], (size,)) for key, size in sizes.items()}
    fov_deg = lens.get("fov_deg")
    return Lens(fov_deg=None if fov_deg is None else _array(fov_deg, (2,)),
                focal_length_mm=lens.get("focal_length_mm"), **arrays)


def read_result(path: Path, solution: Optional[str] = None) -> Result:
    """Reads a result.json and checks every number in it; a folder stands for the file in it.

    solution ("library" or "joint") takes that mount instead of the one that is the result.

    Raises UsageError for a file that can't be read or is not whole; the text names file and key.

    >>> read_result("no such file.json")
    Traceback (most recent call last):
    rigsync.UsageError: no such file.json: can't be opened (No such file or directory); expected ...
    """
    _core.check_result(os.fspath(path))
    plain = rigsync_result.read(path, solution)
    document = plain.document
    mount = plain.transform_cam_tc
    if plain.code is not None and plain.code not in set(Code):
        raise _core.UsageError(f"{plain.path}: 'code' is {plain.code}; expected one that the "
                               "library has")
    return Result(plain.path, None if plain.code is None else Code(plain.code), plain.usable,
                  plain.verdict, list((document.get("second_opinion") or {}).get("reasons") or ()),
                  rigsync_result.doubts(plain), plain.message, plain.solution,
                  None if mount is None else np.array(mount), _lens_of(document["lens"]),
                  solution_of(document.get("joint")), document, plain)


def _library_fields(engine: str, plain: rigsync_result.Result, folder: str) -> Fields:
    r = rigsync_result
    mount = np.array(plain.transform_cam_tc)
    norm_fxy, norm_cxy = np.array(plain.norm_fxy), np.array(plain.norm_cxy)
    if engine == "ue4":
        ue4 = _calls.CamAxisToUE4(mount, folder)
        if ue4.code:
            text = f"code {ue4.code:d}. {ue4.code.meaning} {ue4.code.next_step}"
            raise GimbalLock(text.replace("--tracker-axes", "tracker_axes"))
        return r.UE4Fields(r.LocationCm(*ue4.Trans_Tc_Cam_UE4_cm.tolist()),
                           r.RollPitchYawDeg(*ue4.Rot_Tc_Cam_UE4_Euler.tolist()))
    if engine == "aximmetry":
        ax = _calls.CamAxisToAximmetry(norm_fxy, norm_cxy, mount, folder)
        return r.AximmetryFields(r.PositionCm(*ax.Trans_Tc_Cam_AX_cm.tolist()),
                                 r.RotationDeg(*ax.Rot_Tc_Cam_AX_Euler.tolist()),
                                 r.FieldOfViewDeg(*ax.FoVX.tolist()),
                                 r.CentreShift(*ax.AximmetryCxy.tolist()))
    call = _calls.CamAxisToUE5 if engine == "ue5" else _calls.CamAxisToUE5_ExportxN
    ue5 = call(mount, folder)
    return r.UE5Fields(r.LocationCm(*ue5.Trans_Tc_Cam_cm.tolist()),
                       r.Quaternion(*ue5.Quat_Tc_Cam.tolist()))


def export(result: Result, engine: str, *, even_if_doubtful: bool = False,
           tracker_axes: Optional[str] = None,
           log_folder: Optional[Path] = None) -> Fields:
    """The camera as seen from its tracker in the fields of an engine: "ue4", "ue5", "ue5-xn" or
    "aximmetry". Names and order are those of 'rigsync export --json'; docs/engines.md says which
    number belongs where. log_folder, which has to exist, gets the library's run log. tracker_axes
    are those of the engine's tracker object, as for 'rigsync export --tracker-axes': "as-tracked",
    "z-up", "y-up", or axes of the body such as "z,-x,y".

    Raises UnusableResult, with the sentence of the command, for a result without a lens or a finite
    mount, for two mounts that contradict each other unless read_result was told the solution, and
    for a result that is not usable unless even_if_doubtful. Raises GimbalLock, "ue4" alone.
    """
    if engine not in rigsync_result.ENGINES:
        raise ValueError(f"engine: '{engine}' is wrong; expected "
                         + ", ".join(rigsync_result.ENGINES))
    rigsync_result.require_usable(result.plain, even_if_doubtful)
    plain = rigsync_result.relabelled(result.plain, engine, tracker_axes)
    if log_folder is not None:
        return rigsync_result.require_finite(
            _library_fields(engine, plain, os.fspath(log_folder)))
    with tempfile.TemporaryDirectory(prefix="rigsync-") as folder:
        return rigsync_result.require_finite(_library_fields(engine, plain, folder))


def export_file(result: Result, target: str, *, even_if_doubtful: bool = False,
                tracker_axes: Optional[str] = None,
                sensor_mm: Optional[Tuple[float, float]] = None, focus: Optional[float] = None,
                zoom: Optional[float] = None, capture: Optional[Path] = None,
                image_root: Optional[Path] = None) -> str:
    """The text of a file that another program loads: "blender", "unreal-lens", "opentrackio",
    "opencv", "kalibr" or "corners" (docs/files.md). The other arguments are the flags of 'rigsync
    export', and what it warns of is a UserWarning here.

    Raises UnusableResult as export does, UsageError for what the target lacks.
    """
    rigsync_result.require_usable(result.plain, even_if_doubtful)
    text, cautions = _core.export_file(
        result.path, result.solution, target, result.doubts, tracker_axes, sensor_mm, focus, zoom,
        None if capture is None else os.fspath(capture),
        None if image_root is None else os.fspath(image_root))
    for caution in cautions:
        warnings.warn(caution, stacklevel=2)
    return text
