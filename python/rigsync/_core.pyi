# SPDX-License-Identifier: Apache-2.0
from typing import Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

_Array = NDArray[np.float64]
_Three = Tuple[float, float, float]

version: str

class UsageError(ValueError): ...

class CaptureRequest:
    def __init__(self, csv: str, image_root: str, board: Tuple[int, int], square_m: float,
                 board_euler_deg: Optional[_Three], board_offset_m: Optional[_Three],
                 board_accuracy: Tuple[float, float], limits: Tuple[float, float],
                 first_marker: Optional[int], talent_distance_m: float, /) -> None: ...

def calibrate(Csv_Path: str, Sensor_Size_Mm: Optional[Tuple[float, float]], Board_Cols: int,
              Board_Rows: int, Square_Size: float, Chart_Euler_Deg: ArrayLike,
              Chart_Translation: ArrayLike, Output_Dir: str, verbose: bool, /
              ) -> Tuple[int, _Array, _Array, _Array, _Array, _Array, _Array, _Array]: ...
def export(engine: str, Transform_Cam_Tc: ArrayLike, Output_Dir: str, verbose: bool, /
           ) -> Tuple[int, _Array, _Array]: ...
def export_aximmetry(Norm_Fxy: ArrayLike, Norm_Cxy: ArrayLike, Transform_Cam_Tc: ArrayLike,
                     Output_Dir: str, verbose: bool, /
                     ) -> Tuple[int, _Array, _Array, _Array, _Array]: ...
def inspect(request: CaptureRequest, /) -> str: ...
def solve(request: CaptureRequest, /) -> Tuple[str, str, bool]: ...
def export_file(path: str, solution: str, target: str, doubts: str, tracker_axes: Optional[str],
                sensor_mm: Optional[Tuple[float, float]], focus: Optional[float],
                zoom: Optional[float], capture: Optional[str], image_root: Optional[str], /
                ) -> Tuple[str, list[str]]: ...
def check_result(path: str, /) -> None: ...
def codes() -> list[Tuple[int, str, str, list[str], str]]: ...
