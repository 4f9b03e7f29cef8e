// SPDX-License-Identifier: Apache-2.0
//
// result.json: the result of one calibration, for scripts and for 'rigsync export' and 'rigsync
// compare'. docs/result-file.md describes the format.
#ifndef RIGSYNC_FORMATS_RESULT_FILE_H
#define RIGSYNC_FORMATS_RESULT_FILE_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/solve/mount_uncertainty.h"

#include <Eigen/Geometry>

#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

// Writes Folder/result.json completely or not at all. A number that is not finite becomes null.
// Throws std::runtime_error when the file can't be written.
void Write_Result(const std::filesystem::path& Folder, const Calibration_Result& Result);

// Reads code, message, lens, both mounts, the choice between them, and the second opinion with its
// limits and cause back, digit for digit; the rest of the result is left empty. A file from before
// there were two solutions has the library's alone and no opinion. A vector that is null in the
// file is empty; a null element of a mount is NaN. Throws Usage_Error, which names the file, for
// any other file, and for a null element of the lens, since that is a number that is not finite.
Calibration_Result Read_Result(const std::filesystem::path& File);

// The joint mount with its uncertainty: covariance, and degrees of freedom of all six numbers.
struct Joint_Mount {
  Eigen::Isometry3d Transform_Cam_Tc = Eigen::Isometry3d::Identity();
  Mount_Uncertainty Uncertainty;
};

// None for a file that has none. Throws Usage_Error as Read_Result does.
std::optional<Joint_Mount> Read_Joint_Mount(const std::filesystem::path& File);

// Throws Usage_Error, which names the file and the probable cause, for a mount that holds NaN.
void Require_Finite_Mount(const std::filesystem::path& File,
                          const std::vector<double>& Transform_Cam_Tc);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_RESULT_FILE_H
