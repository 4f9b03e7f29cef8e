// SPDX-License-Identifier: Apache-2.0
//
// What the readers of files share: a list of fields to which numbers are added as they are read,
// and the camera that a result really has.
#ifndef RIGSYNC_VERIFY_NUMBERS_READ_H
#define RIGSYNC_VERIFY_NUMBERS_READ_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/engine/solved_camera.h"
#include "rigsync/verify/exported_camera.h"

#include <Eigen/Geometry>

#include <string>
#include <vector>

namespace rigsync {

// Files have every digit of a double, so a field is as good as the handful of operations that made
// it, relative to Size: the size of the numbers that went into it.
void Add_Field(Exported_Camera& To, const std::string& Name, double Value, double Size);

struct True_Pose {
  Solved_Camera Solved;
  Eigen::Matrix3d Rotation_Object_Cam;  // the axes of Cam as columns, along the object's axes
  Eigen::Vector3d Position_Object;      // metres
  double Defect;                        // of the mount's rotation
};

True_Pose True_Pose_Of(const Calibration_Result& Result, const Tracker_Axes& Axes);

// A camera without fields whose bounds have what the mount itself leaves open: a rotation that is
// not exact may be turned, and its inverse moved, by that much.
Exported_Camera Empty_Camera(const True_Pose& True, const Tracker_Axes& Axes);

// A pose from a position and a rotation that takes the target's camera axes, each a row in those of
// Cam, into the object's.
Eigen::Affine3d Pose_Of(const Eigen::Vector3d& Position, const Eigen::Matrix3d& Rotation,
                        const Eigen::Matrix3d& Camera_Axes);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_NUMBERS_READ_H
