# SPDX-License-Identifier: Apache-2.0
"""The library's codes: docs/codes.md."""
import enum
from typing import Dict, List, Tuple

from . import _core

# As the library writes them behind "Error code N : " in its run log, with its spelling.
_TEXTS = {
    0: "No error",
    1: "The raw data csv file path is wrong.",
    2: "The amount of Tracker data and images do not match.",
    3: "Encountered Gimbal lock.",
    4: "Amount of valid images < 12.",
    5: "Camera calibration failed, reporjection too large. (> 1.5 pixel)",
    6: "Camera tracker calibration failed, Translation STD too large. (> 1.5cm)",
    7: "Data size is not same in Cal_Reproj_Error.",
    8: "Data size is not same in Calculate_Transform_Cam_Tc.",
    9: "Norm_Vec size is not correct.",
    10: "Dot_Vec size is not correct.",
    11: "RT_Filt_Outlier output size is not same.",
    12: "Data size is not same in Calculate_Transform_Chart_Tr",
    13: "Filtered data not enough (<5)",
    14: "Reprojection error too large (>18 pixel in 1080p)",
    15: "Tracker data format error in csv file. Please re-calibration again!",
    16: "",
    99: "Recalibration is recommended.",
    100: "DoF Near calculation error, Near > ObjectDistance.",
}


class Code(enum.IntEnum):
    """What a call of the library returned. Equal to its number.

    >>> Code(99) == 99, Code(99).name
    (True, 'RECALIBRATION_RECOMMENDED')
    >>> Code.GIMBAL_LOCK.text
    'Encountered Gimbal lock.'
    >>> Code.GIMBAL_LOCK.meaning
    'Gimbal lock: this mount has no unique roll, pitch and yaw in Unreal Engine 4.'
    """

    OK = 0
    CSV_NOT_OPENED = 1
    ROWS_AND_IMAGES_DIFFER = 2
    GIMBAL_LOCK = 3
    TOO_FEW_BOARDS = 4
    LENS_ERROR_TOO_LARGE = 5
    MOUNT_SPREAD_TOO_LARGE = 6
    SIZES_DIFFER_IN_REPROJECTION = 7
    SIZES_DIFFER_IN_CAMERA_MOUNT = 8
    AXIS_SIZE_WRONG = 9
    AXIS_PRODUCT_SIZE_WRONG = 10
    SIZES_DIFFER_AFTER_OUTLIERS = 11
    SIZES_DIFFER_IN_BOARD_MOUNT = 12
    TOO_FEW_AFTER_OUTLIERS = 13
    REPROJECTION_TOO_LARGE = 14
    CSV_FORMAT_WRONG = 15
    UNNAMED = 16
    RECALIBRATION_RECOMMENDED = 99
    NEAR_LIMIT_WRONG = 100

    @property
    def text(self) -> str:
        """The library's own words, as its run log has them."""
        return _TEXTS[self.value]

    @property
    def meaning(self) -> str:
        """What it means on a stage, in a sentence."""
        return _ADVICE[self.value][0]

    @property
    def on_stage(self) -> str:
        """What it says about the capture, and what may be used."""
        return _ADVICE[self.value][1]

    @property
    def causes(self) -> List[str]:
        """The likely causes, the most likely first."""
        return list(_ADVICE[self.value][2])

    @property
    def next_step(self) -> str:
        """What to try."""
        return _ADVICE[self.value][3]

    @property
    def is_usable(self) -> bool:
        """Whether a result with this code may be used, if its numbers are finite: 0 and 99."""
        return self in (Code.OK, Code.RECALIBRATION_RECOMMENDED)


_ADVICE: Dict[int, Tuple[str, str, List[str], str]] = {
    code: (meaning, on_stage, causes, next_step)
    for code, meaning, on_stage, causes, next_step in _core.codes()}
