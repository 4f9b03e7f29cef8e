// SPDX-License-Identifier: Apache-2.0
//
// The files of the field's tools, which have the camera as a matrix: YAML of OpenCV, and a camchain
// of Kalibr. docs/files.md has their keys.
#ifndef RIGSYNC_VERIFY_MATRIX_READERS_H
#define RIGSYNC_VERIFY_MATRIX_READERS_H

#include "rigsync/verify/file_reader.h"

namespace rigsync {

// Transform_Cam_Tc, below the tracker with the axes of Tc, and camera_matrix with its coefficients.
Exported_Camera Read_Opencv_Yaml(const std::string& Text, const Read_Request& Request);

// T_cam_imu, below the body with its own axes, and intrinsics with distortion_coeffs.
Exported_Camera Read_Kalibr_Camchain(const std::string& Text, const Read_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_MATRIX_READERS_H
