// SPDX-License-Identifier: Apache-2.0
//
// Parsers for the values on a command line or in a stage file: 11x8, 30mm, 12,-20,8. A value that
// is refused throws a Usage_Error that names the flag, the value and what was expected.
//
// Lengths are in metres unless they have a unit (mm, cm, m); angles are in degrees. The x between
// two sides may also be X or a multiplication sign (U+00D7), with spaces around it.
#ifndef RIGSYNC_COMMAND_LINE_ARGUMENTS_H
#define RIGSYNC_COMMAND_LINE_ARGUMENTS_H

#include "rigsync/capture/board_size.h"
#include "rigsync/system/usage_error.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// 11x8: inner corners, 3 to 100 along each side. Smaller boards can't be told apart in an image,
// and photographs don't resolve larger ones.
Board_Size Parse_Board(const std::string& Flag, const std::string& Text);

// The edge length of a square: above 0 and at most 1 metre, so that millimetres without a unit are
// refused.
double Parse_Square(const std::string& Flag, const std::string& Text);

// A finite length, metres.
double Parse_Length(const std::string& Flag, const std::string& Text);

// A finite number without a unit, or with the unit "deg" for an angle.
double Parse_Number(const std::string& Flag, const std::string& Text);
double Parse_Angle(const std::string& Flag, const std::string& Text);

// A whole number within [Least, Most].
long Parse_Whole(const std::string& Flag, const std::string& Text, long Least, long Most);

// The id of a marker.
int Parse_Marker(const std::string& Flag, const std::string& Text);

// a,b,c. A component of an offset is at most 10 metres, so that millimetres without a unit are
// refused.
std::array<double, 3> Parse_Angles(const std::string& Flag, const std::string& Text);
std::array<double, 3> Parse_Offset(const std::string& Flag, const std::string& Text);

// 3mm,0.3deg: a length and an angle in degrees, both above 0.
struct Length_And_Angle {
  double Length = 0, Angle_Deg = 0;  // metres, degrees
};
Length_And_Angle Parse_Length_And_Angle(const std::string& Flag, const std::string& Text);

// A length above 0, metres.
double Parse_Distance(const std::string& Flag, const std::string& Text);

// A finite time with the unit s or ms, or without one; seconds.
double Parse_Seconds(const std::string& Flag, const std::string& Text);

// A time with its unit, ms or s, of either sign and at most a second: 40ms, -0.02s. Seconds.
double Parse_Short_Time(const std::string& Flag, const std::string& Text);

// Two numbers separated by a comma.
std::array<double, 2> Parse_Pair(const std::string& Flag, const std::string& Text);

// 1920x1080, pixels, both above 0.
std::array<int, 2> Parse_Pixels(const std::string& Flag, const std::string& Text);

// 23.76x13.365, millimetres (the usual unit of sensor sizes), both from 1 to 100.
std::array<double, 2> Parse_Sensor(const std::string& Flag, const std::string& Text);

// Two lengths in millimetres separated by x, both above 0; nothing for any other text.
std::optional<std::array<double, 2>> Read_Sides_Mm(const std::string& Text);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_ARGUMENTS_H
