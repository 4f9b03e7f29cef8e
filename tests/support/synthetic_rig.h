// SPDX-License-Identifier: Apache-2.0
//
// Rigs with known mounts, as poses: no photographs, no library code. Each image's chain
//
//   Transform_Cam_Tc = Transform_Cam_Chart * Transform_Chart_Tr
//                    * Transform_Tr_Base * Transform_Base_Tc
//
// closes to double precision. Random numbers come from std::mt19937 and are scaled here, so that
// the poses are the same on every machine.
#ifndef RIGSYNC_TESTS_SUPPORT_SYNTHETIC_RIG_H
#define RIGSYNC_TESTS_SUPPORT_SYNTHETIC_RIG_H

#include "tests/support/largest.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <random>
#include <string>
#include <vector>

// pi in full double precision: rigs are computed without the library's short constants.
constexpr double Pi = 3.14159265358979323846;

// A rigid pose: rotation by Angle_Deg about Axis (of any length), then the translation.
inline Eigen::Matrix4d Make_Transform(const Eigen::Vector3d& Axis, double Angle_Deg,
                                      const Eigen::Vector3d& Translation) {
  Eigen::Isometry3d Pose = Eigen::Isometry3d::Identity();
  Pose.linear() = Eigen::AngleAxisd(Angle_Deg * Pi / 180.0, Axis.normalized()).toRotationMatrix();
  Pose.translation() = Translation;
  return Pose.matrix();
}

// The inverse of a rigid pose, by transposing its rotation: another method than the library's.
inline Eigen::Matrix4d Rigid_Inverse(const Eigen::Matrix4d& Pose) {
  Eigen::Matrix4d Inverse = Eigen::Matrix4d::Identity();
  Inverse.topLeftCorner<3, 3>() = Pose.topLeftCorner<3, 3>().transpose();
  Inverse.topRightCorner<3, 1>() =
      -(Pose.topLeftCorner<3, 3>().transpose() * Pose.topRightCorner<3, 1>());
  return Inverse;
}

// Numbers in [Low, High), the same on every machine.
class Random_Numbers {
 public:
  explicit Random_Numbers(unsigned Seed) : Engine(Seed) {}
  double Between(double Low, double High) {
    return Low + (High - Low) * (static_cast<double>(Engine()) / 4294967296.0);
  }
  Eigen::Vector3d Vector(double Low, double High) {
    const double X = Between(Low, High), Y = Between(Low, High), Z = Between(Low, High);
    return {X, Y, Z};
  }
  // Any rotation, and a translation of up to Reach on every axis.
  Eigen::Matrix4d Transform(double Reach) {
    Eigen::Vector3d Axis = Vector(-1.0, 1.0);
    while (Axis.norm() < 0.1) Axis = Vector(-1.0, 1.0);
    const double Angle_Deg = Between(-170.0, 170.0);
    return Make_Transform(Axis, Angle_Deg, Vector(-Reach, Reach));
  }

 private:
  std::mt19937 Engine;
};

struct Rig {
  Eigen::Matrix4d Transform_Cam_Tc;
  Eigen::Matrix4d Transform_Chart_Tr;
  std::vector<Eigen::Matrix4d> Transform_Cam_Chart_all;
  std::vector<Eigen::Matrix4d> Transform_Tr_Base_all;
  std::vector<Eigen::Matrix4d> Transform_Base_Tc_all;
};

// A camera that looks at a board from 1 to 2 metres, with board and camera moving in a room of a
// few metres. The camera mount is rotated by 48 degrees, far from 0 and 180, where the rotation
// axis is undefined or ambiguous.
inline Rig Make_Rig(std::size_t Images, unsigned Seed = 1) {
  Random_Numbers Random(Seed);
  Rig Result;
  Result.Transform_Cam_Tc = Make_Transform({0.6, -0.5, 0.4}, 48.0, {0.06, -0.14, -0.08});
  Result.Transform_Chart_Tr = Make_Transform({0.3, 0.8, -0.2}, 25.0, {0.17, 0.05, -0.04});
  for (std::size_t i = 0; i < Images; ++i) {
    // One draw per statement: the evaluation order of a call's arguments is unspecified.
    const Eigen::Vector3d Axis = Random.Vector(-1.0, 1.0) + Eigen::Vector3d(0.0, 0.0, 1.5);
    const double Angle_Deg = Random.Between(-60.0, 60.0);
    const Eigen::Vector3d Place = Random.Vector(-0.3, 0.3) + Eigen::Vector3d(0.0, 0.0, 1.5);
    const Eigen::Matrix4d Transform_Cam_Chart = Make_Transform(Axis, Angle_Deg, Place);
    const Eigen::Matrix4d Transform_Tr_Base = Random.Transform(2.0);
    const Eigen::Matrix4d Transform_Cam_Base =
        Transform_Cam_Chart * Result.Transform_Chart_Tr * Transform_Tr_Base;
    Result.Transform_Cam_Chart_all.push_back(Transform_Cam_Chart);
    Result.Transform_Tr_Base_all.push_back(Transform_Tr_Base);
    Result.Transform_Base_Tc_all.push_back(Rigid_Inverse(Transform_Cam_Base) *
                                           Result.Transform_Cam_Tc);
  }
  return Result;
}

inline double Max_Difference(const Eigen::Matrix4d& Left, const Eigen::Matrix4d& Right) {
  return Largest_Element(Left - Right);
}

// The four rows of a pose as the run log prints them.
inline std::vector<std::string> Matrix_Rows(const Eigen::Matrix4d& Matrix) {
  std::vector<std::string> Rows;
  for (int r = 0; r < 4; ++r) {
    Rows.push_back((r == 0 ? "[[" : " [") + std::to_string(Matrix(r, 0)) + ", " +
                   std::to_string(Matrix(r, 1)) + ", " + std::to_string(Matrix(r, 2)) + ", " +
                   std::to_string(Matrix(r, 3)) + (r == 3 ? "]]" : "],"));
  }
  return Rows;
}

#endif  // RIGSYNC_TESTS_SUPPORT_SYNTHETIC_RIG_H
