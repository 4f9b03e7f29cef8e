// SPDX-License-Identifier: Apache-2.0
//
// Other axes for what a file reports: a left-handed tracking system made right-handed, or y up made
// z up.
#ifndef RIGSYNC_TAKE_BASE_AXES_H
#define RIGSYNC_TAKE_BASE_AXES_H

#include <Eigen/LU>  // a 3 by 3 matrix with its determinant

#include <array>
#include <string>

namespace rigsync {

// Which of the file's axes each axis of Base is: {"x", "-z", "y"} makes Base's y the reverse of the
// file's z. With M the matrix of that, a position p becomes M p and an attitude R becomes M R M^-1:
// the body's own axes are renamed as Base's are. A mirroring M is right for a left-handed file.
using Base_Axes = Eigen::Matrix3d;

// From the three words. Throws Usage_Error, which begins with Name, for other words and for an axis
// that is named twice.
Base_Axes Parse_Axes(const std::string& Name, const std::array<std::string, 3>& Words);

// From one text, "x,-z,y", as --axes has it.
Base_Axes Parse_Axes(const std::string& Name, const std::string& Text);

// "x, -z, y"
std::string Axes_Text(const Base_Axes& Axes);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_BASE_AXES_H
