// SPDX-License-Identifier: Apache-2.0
//
// From Transform_Cam_Tc, in OpenCV's axes and metres, to Transform_Tc_Cam in an engine's axes.
// Every conversion inverts the transform: the engines need the pose of the camera in the frame of
// its tracker. Everything is in double precision except Scale_To_Cm.
//
// The four conversions look similar but differ: each multiplies different matrices in a different
// order. The general inverse also reads the last row, so the order affects the last digits. Do not
// unify them.
#ifndef RIGSYNC_CORE_EXPORT_AXIS_CONVERSION_H
#define RIGSYNC_CORE_EXPORT_AXIS_CONVERSION_H

#include <Eigen/Core>

#include <string>

// The axis matrices, by rows. A product with one of them moves and negates elements and keeps their
// magnitudes. Hand_Flip mirrors z and has determinant -1; the others are proper rotations.
inline constexpr double Hand_Flip[4][4] = {
    {1, 0, 0, 0},
    {0, 1, 0, 0},
    {0, 0, -1, 0},
    {0, 0, 0, 1},
};
inline constexpr double UE4_Inner[4][4] = {
    {0, 0, -1, 0},
    {1, 0, 0, 0},
    {0, -1, 0, 0},
    {0, 0, 0, 1},
};
inline constexpr double UE4_Outer[4][4] = {
    {0, -1, 0, 0},
    {1, 0, 0, 0},
    {0, 0, 1, 0},
    {0, 0, 0, 1},
};
inline constexpr double UE5_Inner[4][4] = {
    {1, 0, 0, 0},
    {0, 0, -1, 0},
    {0, 1, 0, 0},
    {0, 0, 0, 1},
};
inline constexpr double ExportxN_Inner[4][4] = {
    {0, -1, 0, 0},
    {0, 0, 1, 0},
    {-1, 0, 0, 0},
    {0, 0, 0, 1},
};
inline constexpr double ExportxN_Outer[4][4] = {
    {0, 0, -1, 0},
    {0, -1, 0, 0},
    {-1, 0, 0, 0},
    {0, 0, 0, 1},
};
inline constexpr double AX_Inner[4][4] = {
    {1, 0, 0, 0},
    {0, -1, 0, 0},
    {0, 0, -1, 0},
    {0, 0, 0, 1},
};
inline constexpr double AX_Outer[4][4] = {
    {1, 0, 0, 0},
    {0, 0, 1, 0},
    {0, -1, 0, 0},
    {0, 0, 0, 1},
};

// Changes the handedness of a pose by reversing the z axis of both its frames:
//
//   Flipped = Hand_Flip * Pose * Hand_Flip
//
// Elements (0,2), (1,2), (2,0), (2,1), (2,3) and (3,2) change sign; (2,2) changes sign twice.
// Returns    always 0.
int Change_Hand(std::string Log_Path, Eigen::Matrix4d Pose, Eigen::Matrix4d& Flipped);

// For Unreal Engine 4, left-handed:
//
//   Transform_Tc_Cam_UE4 = UE4_Outer * inverse(UE4_Inner * Change_Hand(Transform_Cam_Tc))
//
// The camera's x is along the view, y right, z up. The tracker's x is -y of Tc, y is x, z is -z.
// A singular pose is not detected: the inverse divides by 0 and the values are not finite.
//
// Returns    always 0.
// Logs       "I Change Hand." after the hand change and "I Transform_Tc_UE4Cam." after the inverse.
int Cam_Tc_To_UE4(std::string Log_Path, Eigen::Matrix4d Transform_Cam_Tc,
                  Eigen::Matrix4d& Transform_Tc_Cam_UE4);

// For Unreal Engine 5, right-handed:
//
//   Transform_Tc_Cam_UE5 = inverse(Transform_Cam_Tc * UE5_Inner)
//
// The camera keeps OpenCV's axes: x right, y down, z along the view. The tracker's x is x of Tc,
// y is z, z is -y. Only this conversion multiplies on the right, and only here the inverse is the
// last step.
//
// Returns    always 0, even for a singular pose.
int Cam_Tc_To_UE5(std::string Log_Path, Eigen::Matrix4d Transform_Cam_Tc,
                  Eigen::Matrix4d& Transform_Tc_Cam_UE5);

// For Unreal Engine 5 with the other axes, right-handed:
//
//   Transform_Tc_Cam_UE5 = ExportxN_Outer * inverse(ExportxN_Inner * Transform_Cam_Tc)
//
// The camera's x is up, y along the view, z left. The tracker's x is -z of Tc, y is -y, z is -x.
//
// Returns    always 0, even for a singular pose.
int Cam_Tc_To_UE5_ExportxN(std::string Log_Path, Eigen::Matrix4d Transform_Cam_Tc,
                           Eigen::Matrix4d& Transform_Tc_Cam_UE5);

// For Aximmetry, left-handed:
//
//   Transform_Tc_Cam_AX = AX_Outer * inverse(AX_Inner * Change_Hand(Transform_Cam_Tc))
//
// The camera's x is right, y up, z along the view. The tracker's x is x of Tc, y is -z, z is -y.
//
// Returns    what Change_Hand returns; 0 even for a singular pose.
int Cam_Tc_To_AX(std::string Log_Path, Eigen::Matrix4d Transform_Cam_Tc,
                 Eigen::Matrix4d& Transform_Tc_Cam_AX);

// Metres to centimetres: each element times 100.0f in single precision. 0.3 m, narrowed, gives
// 30.000001907348633 cm.
Eigen::Vector3f Scale_To_Cm(Eigen::Vector3f Translation);

#endif  // RIGSYNC_CORE_EXPORT_AXIS_CONVERSION_H
