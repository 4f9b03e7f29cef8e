# SPDX-License-Identifier: Apache-2.0
"""A capture inspected, and both its mounts solved."""
import dataclasses
import json
import operator
import os
from typing import Any, Dict, List, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike

from . import _core
from ._calls import Path
from ._results import Solution, solution_of


class UnsolvedCapture(ValueError):
    """A capture whose mounts can't be solved. The text says why, findings says it in full."""

    def __init__(self, text: str, findings: "List[Finding]") -> None:
        super().__init__(text)
        self.findings = findings


@dataclasses.dataclass(frozen=True)
class Finding:
    """A problem of a capture: docs/inspect.md lists all ids."""

    id: str           # stays the same from version to version
    level: str        # "note", "warning" or "error"
    lines: List[int]  # of the CSV, counted from 1; empty for the whole capture
    what: str         # the problem and its effect
    example: str      # the content of the first line; may be empty
    advice: str       # what to do

    def __str__(self) -> str:
        return f"{self.level}: {self.what}"


@dataclasses.dataclass(frozen=True)
class Row:
    """A row of the CSV."""

    line: int
    image: str
    state: Optional[str]  # "board_found", "no_board", "missing" ...; None if no image was opened


@dataclasses.dataclass(frozen=True)
class Inspection:
    """What 'rigsync inspect' says about a capture."""

    status: str  # "clean" (notes only), "warnings" or "unusable"
    findings: List[Finding]
    rows: List[Row]
    boards_found: Optional[int]  # None if no image was opened
    document: Dict[str, Any] = dataclasses.field(repr=False)  # of 'rigsync inspect --json'

    @property
    def is_clean(self) -> bool:
        return self.status == "clean"


def _board(board: Optional[Tuple[int, int]]) -> Tuple[int, int]:
    if board is None:
        return 0, 0
    columns, rows = (operator.index(count) for count in board)
    if not (3 <= columns <= 100 and 3 <= rows <= 100):
        raise ValueError(f"board: ({columns}, {rows}) is wrong; expected the inner corners along a "
                         "row and along a column, 3 to 100 each")
    return columns, rows


def _square(square_m: Optional[float]) -> float:
    if square_m is None or not 0.0 < square_m <= 1.0:
        raise ValueError(f"square_m: {square_m} is wrong; expected the edge length of one square "
                         "in metres, above 0 and up to 1")
    return float(square_m)


def _three(name: str, value: Optional[ArrayLike]) -> Optional[Tuple[float, float, float]]:
    if value is None:
        return None
    numbers = np.asarray(value, dtype=np.float64)
    if numbers.shape != (3,) or not np.isfinite(numbers).all():
        raise ValueError(f"{name}: {value!r} is wrong; expected three finite numbers")
    return float(numbers[0]), float(numbers[1]), float(numbers[2])


def _pair(name: str, value: Tuple[float, float]) -> Tuple[float, float]:
    first, second = value
    if not (0.0 < first < float("inf") and 0.0 < second < float("inf")):
        raise ValueError(f"{name}: {value} is wrong; expected two numbers above 0")
    return float(first), float(second)


def _request(csv: Path, board: Optional[Tuple[int, int]], square_m: Optional[float],
             image_root: Optional[Path], board_euler_deg: Optional[ArrayLike],
             board_offset_m: Optional[ArrayLike], board_accuracy: Tuple[float, float],
             limits: Tuple[float, float], first_marker: Optional[int],
             talent_distance_m: float) -> _core.CaptureRequest:
    return _core.CaptureRequest(
        os.fspath(csv), "" if image_root is None else os.fspath(image_root), _board(board),
        0.0 if board is None else _square(square_m), _three("board_euler_deg", board_euler_deg),
        _three("board_offset_m", board_offset_m), _pair("board_accuracy", board_accuracy),
        _pair("limits", limits), first_marker, talent_distance_m)


def _inspection(text: str) -> Inspection:
    document = json.loads(text)
    findings = [Finding(**finding) for finding in document["findings"]]
    rows = [Row(**row) for row in document["rows"]]
    boards = document["boards"]
    return Inspection(document["status"], findings, rows,
                      None if boards is None else boards["found"], document)


def inspect(csv: Path, board: Optional[Tuple[int, int]] = None, square_m: Optional[float] = None,
            *, image_root: Optional[Path] = None, board_euler_deg: Optional[ArrayLike] = None,
            board_offset_m: Optional[ArrayLike] = None,
            board_accuracy: Tuple[float, float] = (0.005, 1.0),
            limits: Tuple[float, float] = (3.0, 0.3),
            first_marker: Optional[int] = None) -> Inspection:
    """Checks a capture as 'rigsync inspect' does, and writes nothing.

    board is (columns, rows), the inner corners; square_m the edge of a square, metres. Without
    board, the CSV is checked and no image opened. Relative image paths start at image_root, by
    default the CSV's folder. The stated place of the board, angles (3,) in degrees and offset (3,)
    in metres, is compared with the solved one; board_accuracy is how well it was measured, metres
    and degrees. limits are how far off the mount may be, millimetres and degrees.

    Raises UsageError for a CSV that can't be read, ValueError for an argument out of range.

    >>> inspect("no such file.csv")
    Traceback (most recent call last):
    rigsync.UsageError: no such file.csv: ...
    >>> inspect("capture.csv", board=(2, 8), square_m=0.03)
    Traceback (most recent call last):
    ValueError: board: (2, 8) is wrong; expected the inner corners along a row and along a column...
    """
    return _inspection(_core.inspect(_request(
        csv, board, square_m, image_root, board_euler_deg, board_offset_m, board_accuracy, limits,
        first_marker, 3.0)))


def solve(csv: Path, board: Tuple[int, int], square_m: float, *,
          image_root: Optional[Path] = None, board_euler_deg: Optional[ArrayLike] = None,
          board_offset_m: Optional[ArrayLike] = None,
          board_accuracy: Tuple[float, float] = (0.005, 1.0),
          limits: Tuple[float, float] = (3.0, 0.3), first_marker: Optional[int] = None,
          talent_distance_m: float = 3.0) -> Solution:
    """Solves both mounts of a capture together, with their uncertainty: transform_cam_tc and
    transform_tr_chart. This is the solve that 'rigsync calibrate' compares the library with
    (docs/verdict.md); the library is not called. The arguments are those of inspect. With board
    angles and offset, the stated place helps the solve as far as the capture doesn't contradict it.

    Raises UnsolvedCapture where the images give no lens, or where the samples are not read as they
    were meant. A capture that the solve can't tell has a status other than "solved".
    """
    inspected, joint, is_readable = _core.solve(_request(
        csv, board, square_m, image_root, board_euler_deg, board_offset_m, board_accuracy, limits,
        first_marker, talent_distance_m))
    solution = solution_of(json.loads(joint))
    findings = _inspection(inspected).findings
    if solution is None or not is_readable:
        grave = [finding for finding in findings if finding.level == "error"] or findings
        why = grave[0].what if grave else "too few images show the board"
        raise UnsolvedCapture(f"{csv!s}: the mounts can't be solved: {why}", findings)
    return solution
