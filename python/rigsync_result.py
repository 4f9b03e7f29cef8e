# SPDX-License-Identifier: Apache-2.0
"""The result.json of 'rigsync calibrate' for a Python that has nothing else: one file, the standard
library alone, Python 3.7 or newer. Copy it beside the script of an engine.

>>> import rigsync_result                                                   # doctest: +SKIP
>>> result = rigsync_result.read("result/result.json")                      # doctest: +SKIP
>>> rigsync_result.export(result, "ue5").location_cm                        # doctest: +SKIP
LocationCm(x=-26.0, y=-26.4, z=-5.2)
>>> rigsync_result.camera_pose(result, position_m, quaternion_wxyz)         # doctest: +SKIP

As a program, it prints what 'rigsync export RESULT --to ENGINE --json' prints, without the code and
the run log:

    python3 rigsync_result.py RESULT ENGINE [TRACKER_AXES]

Frames, axes and units are those of docs/conventions.md, fields those of docs/engines.md. Transforms
are four rows of four numbers, lengths in them metres: transform_a_b takes coordinates in frame b to
those in frame a.

Precision. The numbers are those of the library, step by step. Python computes in double precision,
so a step that the library takes in single precision is rounded after it; for sums, differences,
products and quotients that is the same number. asinf and atan2f round in a way of their own, so
they are those of the C library, through ctypes. All fields are then the library's to the last bit,
on machines whose floating-point is that of 64-bit Intel and AMD processors.

A Python without ctypes, or whose C library does not show the two functions, rounds math.asin and
math.atan2 instead. EXACT_ANGLES is False then, and of these fields the angle in radians is at most
one single-precision step from the library's, so that the degrees are at most two steps away:

    ue4         pitch, yaw
    aximmetry   rotation_deg: x, y, z

All other fields stay exact: ue5 and ue5-xn altogether, ue4's location_cm and roll, aximmetry's
position_cm, field_of_view_deg and centre_shift. So does the decision on a gimbal lock, which needs
products and sums alone.
"""
import json
import math
import os
import struct
import sys
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Sequence, Tuple, Union

__all__ = ["AximmetryFields", "ENGINES", "EXACT_ANGLES", "Fields", "GimbalLock", "Pose", "Result",
           "ResultError", "UE4Fields", "UE5Fields", "UnusableResult", "camera_pose", "doubts",
           "export", "export_transform", "read", "relabelled", "require_finite", "require_usable"]

Row = Tuple[float, float, float, float]
Matrix = Tuple[Row, Row, Row, Row]


class ResultError(ValueError):
    """A file that is no result.json, or not a whole one. The text names the file and the key."""


class UnusableResult(ValueError):
    """A result that must not go to an engine, or not without a look. The text says why."""


class GimbalLock(UnusableResult):
    """The mount has no unique roll, pitch and yaw in Unreal Engine 4: the library's code 3."""

    code = 3


# -- the fields of the engines -------------------------------------------------------------------

LocationCm = NamedTuple("LocationCm", [("x", float), ("y", float), ("z", float)])
PositionCm = NamedTuple("PositionCm", [("x", float), ("y", float), ("z", float)])
RollPitchYawDeg = NamedTuple("RollPitchYawDeg",
                             [("roll", float), ("pitch", float), ("yaw", float)])
RotationDeg = NamedTuple("RotationDeg", [("x", float), ("y", float), ("z", float)])
Quaternion = NamedTuple("Quaternion",
                        [("x", float), ("y", float), ("z", float), ("w", float)])
FieldOfViewDeg = NamedTuple("FieldOfViewDeg", [("horizontal", float)])
CentreShift = NamedTuple("CentreShift", [("x", float), ("y", float)])


class UE4Fields(NamedTuple):
    """Unreal Engine 4: centimetres, and degrees about x, y and z."""

    location_cm: LocationCm
    rotation_deg: RollPitchYawDeg


class UE5Fields(NamedTuple):
    """Unreal Engine 5, both exports: centimetres, and a quaternion whose w may be negative."""

    location_cm: LocationCm
    quaternion: Quaternion


class AximmetryFields(NamedTuple):
    """Aximmetry: centimetres, degrees, and the centre shift in parts of the image's sides. The
    position runs along x, -y and -z of the tracker's axes.
    """

    position_cm: PositionCm
    rotation_deg: RotationDeg
    field_of_view_deg: FieldOfViewDeg
    centre_shift: CentreShift


Fields = Union[UE4Fields, UE5Fields, AximmetryFields]


class Pose(NamedTuple):
    """A camera in the tracking system: Transform_Base_Cam. Its columns are the camera's x (right in
    the image), y (down) and z (along the view) in Base, and its position, metres."""

    transform_base_cam: Matrix

    @property
    def position_m(self) -> Tuple[float, float, float]:
        matrix = self.transform_base_cam
        return matrix[0][3], matrix[1][3], matrix[2][3]

    @property
    def view_direction(self) -> Tuple[float, float, float]:
        matrix = self.transform_base_cam
        return matrix[0][2], matrix[1][2], matrix[2][2]


class Result(NamedTuple):
    """What a result.json says about the camera. A value that is null in the file is None."""

    path: str
    code: Optional[int]  # the library's; None when an exception ended the run
    usable: bool         # code 0 or 99, all numbers finite, and a verdict of "agree" or None
    verdict: Optional[str]   # "agree", "look" or "dont_use"
    message: str
    solution: str            # "library" or "joint": whose mount transform_cam_tc is
    transform_cam_tc: Optional[Matrix]
    image_size: Optional[Tuple[float, float]]  # pixels
    norm_fxy: Optional[Tuple[float, float]]    # fx / width, fy / height
    norm_cxy: Optional[Tuple[float, float]]    # cx / width, cy / height
    distortion: Optional[Tuple[float, ...]]    # k1, k2, p1, p2, k3
    document: Dict[str, Any]  # the whole file
    is_chosen: bool = False   # whether read was told the solution


# -- reading -------------------------------------------------------------------------------------

FORMAT, FORMAT_VERSION = "rigsync-result", 1
USABLE_CODES = (0, 99)


def _refuse(path: str, reason: str) -> ResultError:
    return ResultError("%s: %s; expected a result.json that 'rigsync calibrate' wrote"
                       % (path, reason))


def _not_finite(path: str, key: str, kind: Callable[[str], ValueError]) -> ValueError:
    return kind("%s: '%s' has NaN or infinite values, so the result cannot be used. The probable "
                "cause is a NaN tracker value in the CSV: 'rigsync inspect' names its line. Remove "
                "that line and calibrate again" % (path, key))


def _is_number(value: Any) -> bool:
    return isinstance(value, (int, float)) and not isinstance(value, bool)


def _one_line(text: str) -> str:
    """With one space for every run of blanks and control characters, and none at the ends."""
    plain = "".join(" " if ord(letter) < 32 or ord(letter) == 127 else letter for letter in text)
    return " ".join(word for word in plain.split(" ") if word)


class _Object:
    """The fields of one object of the file, checked as they are read."""

    def __init__(self, path: str, fields: Dict[str, Any]) -> None:
        self.path, self.fields = path, fields

    def object(self, key: str) -> "_Object":
        value = self.fields.get(key)
        if value is not None and not isinstance(value, dict):
            raise _refuse(self.path, "'%s' is not an object" % key)
        return _Object(self.path, value or {})

    def text(self, key: str) -> str:
        value = self.fields.get(key)
        if value is not None and not isinstance(value, str):
            raise _refuse(self.path, "'%s' is not a text" % key)
        return value or ""

    def texts(self, key: str) -> List[str]:
        value = self.fields.get(key)
        if value is not None and not isinstance(value, list):
            raise _refuse(self.path, "'%s' is not a list" % key)
        for element in value or ():
            if not isinstance(element, str):
                raise _refuse(self.path, "'%s' has an element that is not a text" % key)
        return value or []

    def number(self, key: str, otherwise: float = math.nan) -> float:
        value = self.fields.get(key)
        if value is None:
            return otherwise
        if not _is_number(value):
            raise _refuse(self.path, "'%s' is not a number" % key)
        return float(value)

    def numbers(self, key: str, size: int) -> Optional[Tuple[float, ...]]:
        """The numbers of a list, NaN for null ones; None where there is no list."""
        value = self.fields.get(key)
        if value is None:
            return None
        if not isinstance(value, list) or len(value) != size:
            raise _refuse(self.path, "'%s' is not a list of %d numbers" % (key, size))
        for element in value:
            if element is not None and not _is_number(element):
                raise _refuse(self.path, "'%s' has an element that is not a number" % key)
        return tuple(math.nan if element is None else float(element) for element in value)

    def numbers_at(self, key: str, size: int) -> Optional[Tuple[float, ...]]:
        if key not in self.fields:
            raise _refuse(self.path, "'%s' is missing" % key)
        return self.numbers(key, size)

    def finite_at(self, key: str, size: int) -> Optional[Tuple[float, ...]]:
        values = self.numbers_at(key, size)
        if values is not None and not all(math.isfinite(value) for value in values):
            raise _not_finite(self.path, key, ResultError)
        return values


def _refused_constant(name: str) -> float:
    raise ValueError(name)  # NaN and Infinity are no JSON


def _load(path: str) -> Dict[str, Any]:
    if os.path.isdir(path):
        raise _refuse(path, "is a folder")
    try:
        with open(path, encoding="utf-8") as file:
            document = json.load(file, parse_constant=_refused_constant)
    except OSError as error:
        raise _refuse(path, "can't be opened (%s)" % error.strerror) from None
    except (ValueError, RecursionError):
        raise _refuse(path, "is not a result file") from None
    if not isinstance(document, dict) or document.get("format") != FORMAT:
        raise _refuse(path, "is not a result file")
    if document.get("format_version") != FORMAT_VERSION:
        raise _refuse(path, "was written by another version of the command")
    return document


def _code_of(path: str, document: Dict[str, Any]) -> Optional[int]:
    code = document.get("code")
    if not isinstance(code, int) or isinstance(code, bool):
        return None
    if not -2**31 <= code < 2**31:
        raise _refuse(path, "'code' is %d" % code)
    return code


def _matrix(numbers: Optional[Sequence[float]]) -> Optional[Matrix]:
    if numbers is None:
        return None
    a, b, c, d = (tuple(numbers[4 * r:4 * r + 4]) for r in range(4))
    return a, b, c, d  # type: ignore[return-value]


def _transforms(root: _Object) -> Tuple[str, Dict[str, Optional[Tuple[float, ...]]]]:
    """Whose mount is the result, and both of them. An older file has the library's alone."""
    at_top = root.numbers_at("transform_cam_tc", 16)
    if root.fields.get("solution") is None:
        return "library", {"library": at_top, "joint": None}
    solution = root.text("solution")
    if solution not in ("library", "joint"):
        raise _refuse(root.path, "'solution' is not library or joint")
    both = {name: root.object(name).numbers("transform_cam_tc", 16)
            for name in ("library", "joint")}
    both[solution] = at_top
    return solution, both


def read(path: Union[str, "os.PathLike[str]"], solution: Optional[str] = None) -> Result:
    """Reads and checks a result.json; a folder stands for the one in it.

    solution ("library" or "joint") takes that mount instead of the one that is the result, as
    'rigsync export --solution' does.

    Raises ResultError for a file that can't be read, is no result or lacks something.
    """
    name = os.fspath(path)
    if os.path.isdir(name):
        name = os.path.join(name, "result.json")
    if solution not in (None, "library", "joint"):
        raise ValueError("solution: '%s' is wrong; expected library or joint" % solution)
    document = _load(name)
    root = _Object(name, document)
    if document.get("lens") is None:
        raise _refuse(name, "'lens' is missing")
    lens = root.object("lens")
    code = _code_of(name, document)
    sizes = {"image_size": 2, "norm_fxy": 2, "norm_cxy": 2, "distortion": 5}
    values = {key: lens.finite_at(key, size) for key, size in sizes.items()}
    of_file, both = _transforms(root)
    chosen = solution or of_file
    verdict = root.text("verdict") or None
    if verdict not in (None, "agree", "look", "dont_use"):
        raise _refuse(name, "'verdict' is not agree, look, dont_use or null")
    # The library's numbers, also where the joint mount is the result.
    numbers = [*values.values(), both["library"], lens.numbers("fov_deg", 2),
               (lens.number("focal_length_mm", 0.0),)]
    usable = (verdict in (None, "agree") and code in USABLE_CODES
              and all(math.isfinite(number) for group in numbers for number in group or ()))
    result = Result(name, code, usable, verdict, _one_line(root.text("message")), chosen,
                    _matrix(both[chosen]), document=document, is_chosen=solution is not None,
                    **values)  # type: ignore[arg-type]
    # What is read later is checked now.
    doubts(result)
    root.object("inputs").text("camera_tracker_axes")
    return result


# -- whether it may be used ----------------------------------------------------------------------

def _mount(result: Result, name: str) -> Optional[Tuple[float, ...]]:
    return _transforms(_Object(result.path, result.document))[1][name]


def _opinion(result: Result) -> _Object:
    return _Object(result.path, result.document).object("second_opinion")


def _limits_text(result: Result) -> str:
    limits = _opinion(result).object("limits")
    return "the limits are {:g} mm and {:g} degrees".format(limits.number("mm", 3.0),
                                                            limits.number("deg", 0.3))


def _apart_text(result: Result) -> str:
    opinion = _opinion(result)
    return "{:.2f} mm and {:.3f} degrees apart".format(opinion.number("difference_mm"),
                                                       opinion.number("difference_deg"))


def _width_text(result: Result) -> str:
    joint = _Object(result.path, result.document).object("joint")
    return "+- {:.1f} mm and +- {:.2f} degrees".format(
        joint.object("widest_mm").number("half_width", math.inf),
        joint.object("widest_deg").number("half_width", math.inf))


def _not_solved_text(result: Result) -> str:
    status = _Object(result.path, result.document).object("joint").text("status")
    if status in ("too_few_rows", ""):
        return "fewer than 5 rows have a board and sound samples, too few to confirm a mount"
    if status == "no_majority":
        return "no more than half of the rows agree with each other"
    return "the rows do not determine the mount"


def _slip_text(result: Result, sureness: str) -> str:
    slip = _Object(result.path, result.document).object("joint").object("slip")
    if not slip.fields:
        return "a tracker %s on its mount during the capture" % sureness
    whose = "camera" if slip.text("tracker") == "camera" else "board"
    return "the %s's tracker %s on its mount during the capture" % (whose, sureness)


def _length(values: Optional[Sequence[float]]) -> float:
    return math.sqrt(sum(value * value for value in values)) if values else math.nan


def _lens_text(result: Result) -> str:
    joint = _Object(result.path, result.document).object("joint")
    if joint.fields.get("lens_check") is None:
        return "the lens model does not fit the camera, which moves the mount"
    check = joint.object("lens_check")
    return ("the lens model does not fit: tangential distortion, or a third radial coefficient, "
            "would move the mount by {:.1f} mm and {:.2f} degrees".format(
                _length(check.numbers("shift_mm", 3)), _length(check.numbers("turn_deg", 3))))


def _place_text(result: Result) -> str:
    place = _Object(result.path, result.document).object("joint").object("board_place")
    if place.fields.get("stated") is None:
        return "the stated place of the board is not the one that the capture shows"
    stated = place.object("stated")
    return ("the stated place of the board is {:.1f} degrees and {:.0f} mm from the one that the "
            "capture shows, and was not used".format(stated.number("difference_deg"),
                                                     stated.number("difference_mm")))


def _library_text(result: Result) -> str:
    if _mount(result, "library") is None:
        return "the library gave no transform"
    return "the library's transform holds NaN or infinite numbers"


# Each reason of a verdict as a phrase: docs/result-file.md lists them.
_REASONS = {
    "no_library_transform": _library_text,
    "library_code": lambda r: "the library refuses its result with code %s" % r.code,
    "not_solved": _not_solved_text,
    "difference_beyond_limit": lambda r: (
        "the mounts of the library and of the joint solve are %s; %s"
        % (_apart_text(r), _limits_text(r))),
    "width_beyond_limit": lambda r: (
        "the capture tells the mount only to %s; %s" % (_width_text(r), _limits_text(r))),
    "slip_found": lambda r: _slip_text(r, "slipped"),
    "difference_unlikely": lambda r: (
        "the mounts of the library and of the joint solve are %s, more than the noise of the "
        "capture explains" % _apart_text(r)),
    "difference_and_width": lambda r: (
        "the mounts are %s, and the capture tells the mount to %s: together this is beyond the "
        "limits" % (_apart_text(r), _width_text(r))),
    "slip_suspected": lambda r: _slip_text(r, "may have slipped"),
    "last_rows_left_out": lambda r: (
        "the last image contradicts the others. If a tracker has moved on its mount, this is the "
        "mount before"),
    "lens_does_not_fit": _lens_text,
    "capture_faulty": lambda r: "the capture has an error that spoils both solves alike",
    "place_contradicted": _place_text,
}  # type: Dict[str, Callable[[Result], str]]


def _reasons(result: Result) -> List[str]:
    """Those that this file knows; one of a later version may have others."""
    return [reason for reason in _opinion(result).texts("reasons") if reason in _REASONS]


def _is_ruled_out(result: Result) -> bool:
    reasons = _reasons(result)
    if not reasons:
        return result.verdict == "dont_use"
    grave = {"width_beyond_limit", "slip_found", "not_solved"}
    if result.solution == "library":
        grave |= {"no_library_transform", "library_code", "difference_beyond_limit"}
    return bool(grave.intersection(reasons))


def doubts(result: Result) -> str:
    """Why the result must not be used, or has to be checked first: the warning of 'rigsync export'.
    Empty for a good one."""
    if result.verdict in (None, "agree"):
        return "" if result.usable else "this result must not be used: " + result.message
    text = ("this result must not be used" if _is_ruled_out(result)
            else "check this result on the set before it is used")
    phrases = [_REASONS[reason](result) for reason in _reasons(result)]
    if phrases:
        text += ": " + "; ".join(phrases)
    cause = _Object(result.path, result.document).object("cause")
    return text + "." + (" Cause: " + _one_line(cause.text("text")) if cause.fields else "")


def _needs_choice(result: Result) -> bool:
    joint = _mount(result, "joint")
    contradictions = {"difference_beyond_limit", "no_library_transform"}
    return (not result.is_chosen and result.verdict == "dont_use"
            and result.solution == "library" and joint is not None
            and result.norm_fxy is not None and result.norm_cxy is not None
            and bool(contradictions.intersection(_reasons(result))))


def _choice_text(result: Result) -> str:
    reasons = _reasons(result)
    is_doubtful = {"width_beyond_limit", "slip_found"}.intersection(reasons)
    if "no_library_transform" in reasons:
        advice = ("the joint one is doubtful as well. Take the capture again, or export it all the "
                  "same with" if is_doubtful else "choose the joint one with")
        return "%s: %s; %s solution=\"joint\"" % (result.path, _library_text(result), advice)
    return ("%s: %s; choose one with solution=\"joint\"%s or solution=\"library\""
            % (result.path, _REASONS["difference_beyond_limit"](result),
               "" if is_doubtful else " (in most captures the nearer one)"))


def _is_rigid(transform: Matrix) -> bool:
    """The mean of a run is narrowed to float, so its rotation is one to about 1e-6."""
    tolerance = 1e-3
    a, b, c = (row[:3] for row in transform[:3])
    products = [(a, a, 1), (b, b, 1), (c, c, 1), (a, b, 0), (a, c, 0), (b, c, 0)]
    off = [sum(first[k] * second[k] for k in range(3)) - one for first, second, one in products]
    off += [transform[3][0], transform[3][1], transform[3][2], transform[3][3] - 1]
    # The product of the three rows, which is -1 in a mirror.
    determinant = sum(a[k] * (b[k - 2] * c[k - 1] - b[k - 1] * c[k - 2]) for k in range(3))
    return all(abs(each) <= tolerance for each in off) and determinant > 0


def _require_mount(result: Result) -> Matrix:
    """The mount of a result that can be exported at all."""
    if _needs_choice(result):
        raise UnusableResult(_choice_text(result))
    if result.transform_cam_tc is None and result.solution == "joint":
        raise UnusableResult(result.path + " has no joint solution to export")
    if result.transform_cam_tc is None or result.norm_fxy is None or result.norm_cxy is None:
        raise UnusableResult("%s has no result to export: %s"
                             % (result.path, result.message or "its values are null"))
    if not all(math.isfinite(number) for row in result.transform_cam_tc for number in row):
        raise _not_finite(result.path, "transform_cam_tc", UnusableResult)
    if not _is_rigid(result.transform_cam_tc):
        raise UnusableResult(str(_refuse(
            result.path,
            "'transform_cam_tc' is no rotation with a position, so the file was changed")))
    return result.transform_cam_tc


def require_usable(result: Result, even_if_doubtful: bool = False) -> Matrix:
    """The mount that export takes. Raises UnusableResult where export does."""
    mount = _require_mount(result)
    doubt = doubts(result)
    if doubt and not even_if_doubtful:
        raise UnusableResult("%s: %s" % (result.path, doubt))
    return mount


# -- the axes of the tracker's object ------------------------------------------------------------

# Which axes of the body the object's x, y and z are in what the library's calls return.
LIBRARY_AXES = {"ue4": "z,-x,y", "ue5": "-x,-y,z", "ue5-xn": "y,z,x", "aximmetry": "-x,y,z"}
# The named ones by the engine's space: right-handed with z up, left-handed with z or y up.
_NAMED_AXES = {"as-tracked": ("x,y,z", "y,x,z", "x,z,y"), "z-up": ("x,y,z", "x,-y,z", "x,z,y"),
               "y-up": ("x,-z,y", "x,z,y", "x,y,-z")}
_SPACE = {"ue4": 1, "ue5": 0, "ue5-xn": 0, "aximmetry": 2}


def _wrong_axes(text: str, expected: str) -> ValueError:
    return ValueError("tracker_axes: '%s' is wrong; expected %s" % (text, expected))


def _axes(text: str) -> List[Tuple[int, int]]:
    """Of the object's x, y and z: which axis of the body each is, and its sign."""
    axes = [("xyz".find(word[-1:]) if len(word.lstrip("-")) == 1 and len(word) < 3 else -1,
             -1 if word.startswith("-") else 1) for word in text.split(",", 2)]
    if sorted(axis for axis, _ in axes) != [0, 1, 2]:
        raise _wrong_axes(text, "each of x, y and z once, with or without a '-', such as x,-z,y")
    return axes


def _is_left_handed(axes: List[Tuple[int, int]]) -> bool:
    order = [axis for axis, _ in axes]
    turned = order in ([0, 1, 2], [1, 2, 0], [2, 0, 1])
    return (axes[0][1] * axes[1][1] * axes[2][1] > 0) != turned


def _asked_axes(result: Result, engine: str, text: str) -> List[Tuple[int, int]]:
    space = _SPACE[engine]
    if text in _NAMED_AXES:
        labels = _Object(result.path, result.document).object("inputs").text("camera_tracker_axes")
        if text == "as-tracked" and space and labels != "right_forward_up":
            raise ValueError("tracker_axes: a left-handed engine can't have the body's own axes, "
                             "and this result does not say which way they point. Say z-up or y-up, "
                             "or write the axes out, as in x,-y,z")
        return _axes(_NAMED_AXES[text][space])
    if "," not in text:
        raise _wrong_axes(text, "as-tracked, z-up, y-up, or three axes such as z,-x,y")
    axes = _axes(text)
    if _is_left_handed(axes) != bool(space):
        raise ValueError("tracker_axes %s: these axes are %s-handed, and the engine's are %s. "
                         "Reverse one of them" % (text, "right" if space else "left",
                                                  "left-handed" if space else "right-handed"))
    return axes


def relabelled(result: Result, engine: str, tracker_axes: Optional[str]) -> Result:
    """The result with the mount for which the library's call gives the numbers of a tracker object
    with these axes: columns of transform_cam_tc change places and signs, and nothing else does.
    tracker_axes is as for 'rigsync export --tracker-axes': "as-tracked", "z-up", "y-up", or axes of
    the body such as "z,-x,y". None leaves the axes that the library's call is for.

    Raises ValueError for axes that there are not, or of the other handedness than the engine's.
    """
    if tracker_axes is None or result.transform_cam_tc is None:
        return result
    asked, call = _asked_axes(result, engine, tracker_axes), _axes(LIBRARY_AXES[engine])
    # Body to Tc is (a, b, c) to (-a, -c, -b): x keeps its place, y and z change theirs.
    place, turn = (0, 2, 1), {}
    for (asked_axis, asked_sign), (call_axis, call_sign) in zip(asked, call):
        turn[place[call_axis]] = (place[asked_axis], asked_sign * call_sign)
    rows = [tuple(row[turn[c][0]] * turn[c][1] for c in range(3)) + (row[3],)
            for row in result.transform_cam_tc[:3]]
    return result._replace(
        transform_cam_tc=(*rows, result.transform_cam_tc[3]))  # type: ignore[arg-type]


# -- the library's arithmetic --------------------------------------------------------------------

# Angles are converted with these and no better ones, as in the library.
_SHORT_PI = 3.1415926535
_DEGREE_FACTOR = 57.295780181884766  # a single-precision number
_UE4_GIMBAL_LIMIT = 0.4999994933605194091796875  # likewise
_AXIMMETRY_GIMBAL_LIMIT = 0.9999987

_FLIP_Z = ((1, 0, 0, 0), (0, 1, 0, 0), (0, 0, -1, 0), (0, 0, 0, 1))
_UE4_CAMERA = ((0, 0, -1, 0), (1, 0, 0, 0), (0, -1, 0, 0), (0, 0, 0, 1))
_UE4_TRACKER = ((0, -1, 0, 0), (1, 0, 0, 0), (0, 0, 1, 0), (0, 0, 0, 1))
_UE5_TRACKER = ((1, 0, 0, 0), (0, 0, -1, 0), (0, 1, 0, 0), (0, 0, 0, 1))
_XN_CAMERA = ((0, -1, 0, 0), (0, 0, 1, 0), (-1, 0, 0, 0), (0, 0, 0, 1))
_XN_TRACKER = ((0, 0, -1, 0), (0, -1, 0, 0), (-1, 0, 0, 0), (0, 0, 0, 1))
_AX_CAMERA = ((1, 0, 0, 0), (0, -1, 0, 0), (0, 0, -1, 0), (0, 0, 0, 1))
_AX_TRACKER = ((1, 0, 0, 0), (0, 0, 1, 0), (0, -1, 0, 0), (0, 0, 0, 1))


def _single(value: float) -> float:
    """Rounded to single precision."""
    try:
        return float(struct.unpack("f", struct.pack("f", value))[0])
    except OverflowError:
        return math.copysign(math.inf, value)


def _c_function(name: str, arguments: int) -> Optional[Callable[..., float]]:
    """A function of floats of the C library; None where it can't be had."""
    try:
        import ctypes
        library = {"linux": "libm.so.6", "win32": "ucrtbase"}.get(sys.platform)
        function = ctypes.CDLL(library)[name]
        function.restype, function.argtypes = ctypes.c_float, [ctypes.c_float] * arguments
        return function
    except (ImportError, OSError, AttributeError, TypeError):
        return None


_ASINF, _ATAN2F = _c_function("asinf", 1), _c_function("atan2f", 2)
EXACT_ANGLES = _ASINF is not None and _ATAN2F is not None


def _single_asin(value: float) -> float:
    return _ASINF(value) if _ASINF else _single(math.asin(value))


def _single_atan2(y: float, x: float) -> float:
    return _ATAN2F(y, x) if _ATAN2F else _single(math.atan2(y, x))


def _product(left: Any, right: Any) -> Matrix:
    # In full, since a product with 0 decides the sign of a zero.
    return _matrix([((left[r][0] * right[0][c] + left[r][1] * right[1][c])
                     + left[r][2] * right[2][c]) + left[r][3] * right[3][c]
                    for r in range(4) for c in range(4)])  # type: ignore[return-value]


def _determinant(block: Any) -> float:
    return float(block[0][0] * block[1][1] - block[0][1] * block[1][0])


def _adjugate_times(left: Any, right: Any) -> Any:
    """The adjugate of a 2 by 2 block times another block."""
    return [[right[0][c] * left[1][1] - right[1][c] * left[0][1] for c in (0, 1)],
            [right[1][c] * left[0][0] - right[0][c] * left[1][0] for c in (0, 1)]]


def _times(left: Any, right: Any) -> Any:
    return [[right[0][c] * left[r][0] + right[1][c] * left[r][1] for c in (0, 1)] for r in (0, 1)]


def _times_adjugate(left: Any, right: Any) -> Any:
    """A 2 by 2 block times the adjugate of another."""
    return [[left[r][0] * right[1][1] - left[r][1] * right[1][0],
             left[r][1] * right[0][0] - left[r][0] * right[0][1]] for r in (0, 1)]


def _scaled_minus(block: Any, factor: float, other: Any) -> Any:
    return [[block[r][c] * factor - other[r][c] for c in (0, 1)] for r in (0, 1)]


def _inverse(matrix: Any) -> Matrix:
    """The inverse by blocks, of the transpose, in the order of the library's linear algebra:
    with T = [[a, b], [c, d]] and x# the adjugate of x, the blocks of the inverse are the adjugates
    of a|d| - b(d#c), c|b| - d(a#b)#, b|c| - a(d#c)# and d|a| - c(a#b), divided by
    |T| = |a||d| + |b||c| - trace((a#b)(d#c)).
    """
    turned = [[matrix[c][r] for c in range(4)] for r in range(4)]
    a, b, c, d = ([row[k:k + 2] for row in turned[r:r + 2]] for r in (0, 2) for k in (0, 2))
    a_b, d_c = _adjugate_times(a, b), _adjugate_times(d, c)
    trace = ((a_b[0][0] * d_c[0][0] + a_b[1][0] * d_c[0][1])
             + (a_b[0][1] * d_c[1][0] + a_b[1][1] * d_c[1][1]))
    determinant = (_determinant(a) * _determinant(d) + _determinant(b) * _determinant(c)) - trace
    if determinant == 0.0 or math.isnan(determinant):
        raise UnusableResult("the export holds NaN or infinite numbers and must not be used.")
    factor = 1.0 / determinant
    blocks = ((_scaled_minus(a, _determinant(d), _times(b, d_c)),
               _scaled_minus(c, _determinant(b), _times_adjugate(d, a_b))),
              (_scaled_minus(b, _determinant(c), _times_adjugate(a, d_c)),
               _scaled_minus(d, _determinant(a), _times(c, a_b))))
    inverse = [[0.0] * 4 for _ in range(4)]
    for r in (0, 1):
        for k in (0, 1):
            block = blocks[r][k]
            inverse[2 * r][2 * k] = block[1][1] * factor
            inverse[2 * r][2 * k + 1] = block[0][1] * -factor
            inverse[2 * r + 1][2 * k] = block[1][0] * -factor
            inverse[2 * r + 1][2 * k + 1] = block[0][0] * factor
    return _matrix([inverse[c][r] for r in range(4)
                    for c in range(4)])  # type: ignore[return-value]


def _quaternion(m: Matrix) -> Tuple[float, float, float, float]:
    """x, y, z, w of the rotation, by the formula whose root is of the largest of four numbers. Not
    normalised, and w may be negative."""
    trace = m[0][0] + (m[1][1] + m[2][2])
    if trace > 0.0:
        root = _root(trace + 1.0)
        factor = 0.5 / root
        return ((m[2][1] - m[1][2]) * factor, (m[0][2] - m[2][0]) * factor,
                (m[1][0] - m[0][1]) * factor, 0.5 * root)
    i = 1 if m[1][1] > m[0][0] else 0
    i = 2 if m[2][2] > m[i][i] else i
    j, k = (i + 1) % 3, (i + 2) % 3
    root = _root(((m[i][i] - m[j][j]) - m[k][k]) + 1.0)
    factor = 0.5 / root
    vector = [0.0, 0.0, 0.0]
    vector[i] = 0.5 * root
    vector[j] = (m[j][i] + m[i][j]) * factor
    vector[k] = (m[k][i] + m[i][k]) * factor
    return vector[0], vector[1], vector[2], (m[k][j] - m[j][k]) * factor


def _root(value: float) -> float:
    if not value > 0.0:
        raise UnusableResult("the export holds NaN or infinite numbers and must not be used.")
    return math.sqrt(value)


def require_finite(fields: Fields) -> Fields:
    """The fields. Raises UnusableResult if one of them is NaN or infinite."""
    if not all(math.isfinite(number) for group in fields for number in group):
        raise UnusableResult("the export holds NaN or infinite numbers and must not be used.")
    return fields


def _single_cm(metres: float) -> float:
    return _single(_single(metres) * 100.0)


def _half_turn(y_half: float, x_squares: float) -> float:
    """The angle of twice y_half over 1 - 2 x_squares in single precision, radians."""
    return _single_atan2(_single(y_half + y_half),
                         _single(1.0 - _single(x_squares + x_squares)))


def _ue4_angles(quaternion: Sequence[float]) -> RollPitchYawDeg:
    x, y, z, w = (_single(value) for value in quaternion)
    half_sine = _single(_single(z * x) - _single(w * y))
    if abs(half_sine) > _UE4_GIMBAL_LIMIT:
        raise GimbalLock("code 3. Gimbal lock: this mount has no unique roll, pitch and yaw in "
                         "Unreal Engine 4. Export to ue5, which takes a quaternion, or with other "
                         "tracker_axes, or rotate the tracker on the camera by about ten degrees "
                         "and calibrate again.")
    yaw_half = _single(_single(w * z) + _single(y * x))
    squares = z * z + y * y
    yaw = _single_atan2(_single(yaw_half + yaw_half), _single(1.0 - (squares + squares)))
    pitch = _single_asin(_single(half_sine + half_sine))
    # Roll alone is computed in double precision, and narrowed at the end.
    product = _single(_single(_single(z * y) + _single(w * x)) * -2.0)
    squares = x * x + y * y
    roll = math.atan2(product, 1.0 - (squares + squares)) * _DEGREE_FACTOR
    return RollPitchYawDeg(_single(roll), _single(pitch * _DEGREE_FACTOR),
                           _single(yaw * _DEGREE_FACTOR))


def _aximmetry_angles(quaternion: Sequence[float]) -> RotationDeg:
    x, y, z, w = (_single(value) for value in quaternion)
    half_sine = _single(_single(w * x) - _single(z * y))
    sine = _single(half_sine + half_sine)
    wy, yy, zx, zz = (_single(product) for product in (y * w, y * y, z * x, z * z))
    if abs(sine) > _AXIMMETRY_GIMBAL_LIMIT:
        # The angle about z has both turns then.
        turn = _half_turn(_single(zx - wy), _single(yy + zz))
        sign = 1.0 if sine > 0.0 else -1.0
        return RotationDeg(sign * 90.0, 0.0, _single(sign * turn * _DEGREE_FACTOR))
    xx = _single(x * x)
    about_y = _half_turn(_single(wy + zx), _single(xx + yy))
    about_z = _half_turn(_single(_single(w * z) + _single(y * x)), _single(xx + zz))
    about_x = _single(_single_asin(sine) / _SHORT_PI * 180.0)
    return RotationDeg(about_x, _single(about_y * _DEGREE_FACTOR),
                       _single(about_z * _DEGREE_FACTOR))


def _to_ue4(transform_cam_tc: Matrix, _lens: Any) -> UE4Fields:
    flipped = _product(_product(_FLIP_Z, transform_cam_tc), _FLIP_Z)
    pose = _product(_UE4_TRACKER, _inverse(_product(_UE4_CAMERA, flipped)))
    angles = _ue4_angles(_quaternion(pose))
    return UE4Fields(LocationCm(*(_single_cm(pose[r][3]) for r in range(3))), angles)


def _ue5_fields(pose: Matrix) -> UE5Fields:
    return UE5Fields(LocationCm(*(pose[r][3] * 100.0 for r in range(3))),
                     Quaternion(*_quaternion(pose)))


def _to_ue5(transform_cam_tc: Matrix, _lens: Any) -> UE5Fields:
    return _ue5_fields(_inverse(_product(transform_cam_tc, _UE5_TRACKER)))


def _to_ue5_xn(transform_cam_tc: Matrix, _lens: Any) -> UE5Fields:
    return _ue5_fields(_product(_XN_TRACKER, _inverse(_product(_XN_CAMERA, transform_cam_tc))))


def _to_aximmetry(transform_cam_tc: Matrix, lens: Any) -> AximmetryFields:
    norm_fxy, norm_cxy = lens
    width = norm_fxy[0] + norm_fxy[0]
    # Infinite without a focal length, which is half a turn of view.
    half_view = math.atan(1.0 / width) if width else math.copysign(math.pi / 2, width)
    flipped = _product(_product(_FLIP_Z, transform_cam_tc), _FLIP_Z)
    pose = _product(_AX_TRACKER, _inverse(_product(_AX_CAMERA, flipped)))
    # y and z run the other way in the engine's fields.
    position = PositionCm(_single_cm(pose[0][3]), _single_cm(-pose[1][3]), _single_cm(-pose[2][3]))
    return AximmetryFields(position, _aximmetry_angles(_quaternion(pose)),
                           FieldOfViewDeg((half_view + half_view) / _SHORT_PI * 180.0),
                           CentreShift(norm_cxy[0] - 0.5, -(norm_cxy[1] - 0.5)))


_EXPORTS = {"ue4": _to_ue4, "ue5": _to_ue5, "ue5-xn": _to_ue5_xn,
            "aximmetry": _to_aximmetry}  # type: Dict[str, Callable[[Matrix, Any], Any]]
ENGINES = tuple(_EXPORTS)


def _known(engine: str) -> Callable[[Matrix, Any], Any]:
    if engine not in _EXPORTS:
        raise ValueError("engine: '%s' is wrong; expected %s" % (engine, ", ".join(ENGINES)))
    return _EXPORTS[engine]


def export_transform(engine: str, transform_cam_tc: Sequence[Sequence[float]],
                     norm_fxy: Sequence[float] = (1.0, 1.0),
                     norm_cxy: Sequence[float] = (0.5, 0.5)) -> Fields:
    """The fields of an engine from a transform, four rows of four numbers, metres. The lens matters
    to "aximmetry" alone.

    Raises GimbalLock ("ue4" alone), UnusableResult where the fields are not finite.

    >>> transform = ((0.8, -0.36, -0.48, 0.1), (0, 0.8, -0.6, -0.2), (0.6, 0.48, 0.64, 0.3),
    ...              (0, 0, 0, 1))
    >>> fields = export_transform("ue4", transform)
    >>> ["%.4f" % angle for angle in fields.rotation_deg]
    ['-141.3402', '-39.7918', '128.6598']
    >>> ["%.4f" % number for number in fields.location_cm]
    ['-5.2000', '-26.0000', '26.4000']
    >>> export_transform("ue4", ((1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0), (0, 0, 0, 1)))
    Traceback (most recent call last):
    rigsync_result.GimbalLock: code 3. Gimbal lock: this mount has no unique roll, pitch and yaw ...
    """
    convert = _known(engine)
    matrix = _matrix([float(number) for row in transform_cam_tc for number in row])
    return require_finite(convert(matrix, (norm_fxy, norm_cxy)))  # type: ignore[arg-type]


def export(result: Result, engine: str, even_if_doubtful: bool = False,
           tracker_axes: Optional[str] = None) -> Fields:
    """The camera as seen from its tracker in the fields of an engine: "ue4", "ue5", "ue5-xn" or
    "aximmetry". Names and order are those of 'rigsync export --json', and tracker_axes is as for
    relabelled.

    Raises UnusableResult, with the sentence of the command, for a result without a lens or a finite
    mount, for two mounts that contradict each other, unless read was told the solution, and for a
    result that is not usable, unless even_if_doubtful. Raises GimbalLock, "ue4" alone.
    """
    _known(engine)
    require_usable(result, even_if_doubtful)
    mount = relabelled(result, engine, tracker_axes).transform_cam_tc or ()
    return export_transform(engine, mount, result.norm_fxy or (), result.norm_cxy or ())


# -- the camera in the tracking system -----------------------------------------------------------

# Coordinates along the tracked body's own axes to those in Tc: (a, b, c) becomes (-a, -c, -b).
_TC_BODY = ((-1, 0, 0, 0), (0, 0, -1, 0), (0, -1, 0, 0), (0, 0, 0, 1))


def _transform_base_body(position_m: Sequence[float], quaternion_wxyz: Sequence[float]) -> Matrix:
    if len(position_m) != 3 or len(quaternion_wxyz) != 4:
        raise ValueError("a sample is a position of 3 numbers and a quaternion of 4: w, x, y, z")
    if not all(math.isfinite(value) for value in (*position_m, *quaternion_wxyz)):
        raise ValueError("the sample has NaN or infinite numbers")
    length = math.sqrt(sum(value * value for value in quaternion_wxyz))
    # The library takes a quaternion of zeros for no rotation.
    w, x, y, z = (value / length for value in quaternion_wxyz) if length else (1.0, 0.0, 0.0, 0.0)
    # The sample's quaternion leads from Base to the body, so this is its conjugate's matrix.
    return ((1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y), position_m[0]),
            (2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x), position_m[1]),
            (2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y), position_m[2]),
            (0.0, 0.0, 0.0, 1.0))


def camera_pose(result: Result, position_m: Sequence[float], quaternion_wxyz: Sequence[float],
                even_if_doubtful: bool = False) -> Pose:
    """Where the camera is in the tracking system when its tracker gives this sample.

    The sample is as in the CSV: position x, y, z in metres, and the quaternion w, x, y, z that
    rotates directions from Base into the body's own axes. Its length does not matter.

        Transform_Base_Cam = Transform_Base_Body * Transform_Body_Tc * inverse(Transform_Cam_Tc)

    Raises UnusableResult as export does, ValueError for a sample that is not finite.
    """
    mount = require_usable(result, even_if_doubtful)
    transform_body_cam = _product(_TC_BODY, _inverse(mount))  # _TC_BODY is its own inverse
    return Pose(_product(_transform_base_body(position_m, quaternion_wxyz), transform_body_cam))


# -- as a program --------------------------------------------------------------------------------

# Which axes of the tracker's object the fields of the position run along.
_POSITION_AXES = {"ue4": "x, y, z", "ue5": "x, y, z", "ue5-xn": "x, y, z",
                  "aximmetry": "x, -y, -z"}


def _axes_text(result: Result, engine: str, tracker_axes: Optional[str]) -> str:
    axes = (_axes(LIBRARY_AXES[engine]) if tracker_axes is None
            else _asked_axes(result, engine, tracker_axes))
    return ", ".join(("-" if sign < 0 else "") + "xyz"[axis] for axis, sign in axes)


def _json_of(engine: str, result: Result, fields: Any, tracker_axes: Optional[str]) -> str:
    document = {"engine": engine, "usable": result.usable, "solution": result.solution,
                "tracker_axes": _axes_text(result, engine, tracker_axes),
                "position_axes": _POSITION_AXES[engine]}  # type: Dict[str, Any]
    for name, group in zip(fields._fields, fields):
        document[name] = dict(zip(group._fields, group))
    return json.dumps(document, indent=2)


def main(arguments: Sequence[str]) -> int:
    if len(arguments) not in (2, 3) or arguments[1] not in ENGINES:
        print("usage: rigsync_result.py RESULT %s [TRACKER_AXES]" % "|".join(ENGINES),
              file=sys.stderr)
        return 2
    axes = arguments[2] if len(arguments) > 2 else None
    try:
        result = read(arguments[0])
        fields = export(result, arguments[1], even_if_doubtful=True, tracker_axes=axes)
    except GimbalLock as error:
        print("rigsync_result: %s" % error, file=sys.stderr)
        return error.code
    except ValueError as error:
        print("rigsync_result: %s" % error, file=sys.stderr)
        return 2
    if doubts(result):
        print("rigsync_result: warning: %s" % doubts(result), file=sys.stderr)
    print(_json_of(arguments[1], result, fields, axes))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
