// SPDX-License-Identifier: Apache-2.0
//
// Numbers and flat transforms (16 numbers, row by row) as text.
#ifndef RIGSYNC_REPORT_TRANSFORM_TEXT_H
#define RIGSYNC_REPORT_TRANSFORM_TEXT_H

#include <string>
#include <vector>

namespace rigsync {

// With so many decimals; a value that rounds to zero has no sign.
std::string Decimals(double Value, int Digits);

// Row r (0 to 3) of a flat transform: rotation and, in the last column, translation in metres.
std::string Transform_Row_Text(const std::vector<double>& Transform, int r);

// "Seen from the camera, the tracker is 60.0 mm to the right, 140.0 mm up and 80.0 mm behind."
// Empty where a number of the position is not finite.
std::string Seen_From_Camera(const std::vector<double>& Transform_Cam_Tc);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_TRANSFORM_TEXT_H
