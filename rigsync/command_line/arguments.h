// SPDX-License-Identifier: Apache-2.0
//
// Values as people write them on a command line or in a stage file: 11x8, 30mm, 12,-20,8. Every
// refusal names the flag, the value and what was expected.
//
// Lengths are metres unless they carry a unit (mm, cm, m); angles are degrees. The x between two
// sides may be X or the sign of multiplication (U+00D7) too, with blanks around it.
#ifndef RIGSYNC_COMMAND_LINE_ARGUMENTS_H
#define RIGSYNC_COMMAND_LINE_ARGUMENTS_H

#include "rigsync/capture/board_size.h"
#include "rigsync/system/usage_error.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// 11x8: inner corners, 3 to 100 on each side. Fewer have no unique board in an image, and no
// photograph resolves more.
Board_Size Parse_Board(const std::string& Flag, const std::string& Text);

// A square's edge: above 0 and at most 1 metre, so that millimetres without their unit are told.
double Parse_Square(const std::string& Flag, const std::string& Text);

// A finite length, metres.
double Parse_Length(const std::string& Flag, const std::string& Text);

// A finite number without a unit, or with the unit "deg" for an angle.
double Parse_Number(const std::string& Flag, const std::string& Text);
double Parse_Angle(const std::string& Flag, const std::string& Text);

// A whole number within [Least, Most].
long Parse_Whole(const std::string& Flag, const std::string& Text, long Least, long Most);

// a,b,c. A part of an offset is at most 10 metres long, so that millimetres without their unit are
// told.
std::array<double, 3> Parse_Angles(const std::string& Flag, const std::string& Text);
std::array<double, 3> Parse_Offset(const std::string& Flag, const std::string& Text);

// Two numbers with a comma between them.
std::array<double, 2> Parse_Pair(const std::string& Flag, const std::string& Text);

// 1920x1080, pixels, both above 0.
std::array<int, 2> Parse_Pixels(const std::string& Flag, const std::string& Text);

// 23.76x13.365, millimetres (that is what sensor sizes are given in), both from 1 to 100.
std::array<double, 2> Parse_Sensor(const std::string& Flag, const std::string& Text);

// Two lengths in millimetres with an x between them, both above 0; none for anything else.
std::optional<std::array<double, 2>> Read_Sides_Mm(const std::string& Text);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_ARGUMENTS_H
