// SPDX-License-Identifier: Apache-2.0
//
// What the four export calls have in common: their opening lines, the road from the flat
// transform to a quaternion and a result pose, and the text of a row of numbers.
#ifndef RIGSYNC_CORE_EXPORT_EXPORT_CALL_H
#define RIGSYNC_CORE_EXPORT_EXPORT_CALL_H

#include <Eigen/Geometry>

#include <cstddef>
#include <string>
#include <vector>

// One of the conversions of axis_conversion.h: run log, Transform_Cam_Tc, result.
using Axis_Conversion = int (*)(std::string, Eigen::Matrix4d, Eigen::Matrix4d&);

// The run log path of an export call that begins now.
// Logs       the version, then Export_Name + " start.".
std::string Start_Export(const std::string& Output_Dir, const std::string& Export_Name);

// The pose that a flat transform holds: element 4r + c is row r, column c. Elements from 16 on
// are ignored, and the values are not tested.
// Throws     std::invalid_argument when there are fewer than 16.
Eigen::Matrix4d Decode_Flat_Transform(const std::vector<double>& Transform_Cam_Tc);

// Decodes the flat transform, converts it, and splits the rotation off.
//
// Fills      Transform_Tc_Cam, translation in metres, and Quat_Tc_Cam, as Eigen's constructor
//            makes it from the rotation block: not normalised, and w may be negative.
// Returns    0, or what the conversion returns; then the two are not to be used.
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
