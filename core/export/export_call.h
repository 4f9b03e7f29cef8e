// SPDX-License-Identifier: Apache-2.0
//
// What the four export calls share: their first log lines, the conversion of the flat transform to
// a pose and a quaternion, and the text of a row of numbers.
#ifndef RIGSYNC_CORE_EXPORT_EXPORT_CALL_H
#define RIGSYNC_CORE_EXPORT_EXPORT_CALL_H

#include <Eigen/Geometry>

#include <cstddef>
#include <string>
#include <vector>

// One of the conversions of axis_conversion.h: run log, Transform_Cam_Tc, result.
using Axis_Conversion = int (*)(std::string, Eigen::Matrix4d, Eigen::Matrix4d&);

// Starts an export call and returns the path of its run log.
// Logs       the version, then Export_Name + " start.".
std::string Start_Export(const std::string& Output_Dir, const std::string& Export_Name);

// The flat transform as a matrix: element 4r + c is row r, column c. Elements from index 16 on are
// ignored, and the values are not checked.
// Throws     std::invalid_argument when there are fewer than 16 elements.
Eigen::Matrix4d Decode_Flat_Transform(const std::vector<double>& Transform_Cam_Tc);

// Decodes and converts the flat transform and extracts the rotation.
//
// Fills      Transform_Tc_Cam, translation in metres, and Quat_Tc_Cam, as Eigen's constructor
//            computes it from the rotation block: not normalised, and w may be negative.
// Returns    what the conversion returns; when that is not 0, the two outputs must not be used.
// Logs       "Transform_Cam_Tc" and its rows, the conversion's lines, Result_Label and the
//            result's rows.
// Throws     std::invalid_argument for a flat transform of fewer than 16 elements, before its
//            first line.
int Convert_Flat_Transform(const std::string& Log_Path,
                           const std::vector<double>& Flat_Transform_Cam_Tc,
                           Axis_Conversion Convert, const std::string& Result_Label,
                           Eigen::Matrix4d& Transform_Tc_Cam, Eigen::Quaterniond& Quat_Tc_Cam);

// The first Count values in "%f" form, joined by ", ".
std::string Number_Row(const std::vector<double>& Values, std::size_t Count);

// The three values, widened, in "%f" form, joined by ", ".
std::string Number_Row(const Eigen::Vector3f& Values);

#endif  // RIGSYNC_CORE_EXPORT_EXPORT_CALL_H
