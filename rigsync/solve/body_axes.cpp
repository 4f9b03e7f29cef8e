// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/body_axes.h"

#include "rigsync/geometry/angle.h"

#include <Eigen/LU>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace rigsync {
namespace {

constexpr double Best_Angle_Deg = 90.0;

// Angles nearer to each other than this are alike, and the first of them is taken.
constexpr double Alike_Deg = 1e-6;

double Angle_Deg(const Eigen::Matrix3d& Rotation) {
  return Degrees_Per_Radian * Eigen::AngleAxisd(Rotation).angle();
}

// The 24 ways to call the axes of a body x, y and z and stay right-handed.
std::vector<Eigen::Matrix3d> All_Axes() {
  std::vector<Eigen::Matrix3d> All;
  std::array<int, 3> Order{0, 1, 2};
  do {
    for (int Signs = 0; Signs < 8; ++Signs) {
      Eigen::Matrix3d Axes = Eigen::Matrix3d::Zero();
      for (int r = 0; r < 3; ++r) {
        Axes(r, Order[static_cast<std::size_t>(r)]) = (Signs >> r & 1) != 0 ? -1.0 : 1.0;
      }
      if (Axes.determinant() > 0.0) All.push_back(Axes);
    }
  } while (std::next_permutation(Order.begin(), Order.end()));
  return All;
}

// The same turn between the relabelled axes, which Tc has.
Eigen::Matrix3d Rotation_Chosen_Tc(const Eigen::Matrix3d& Rotation_Chosen_Body) {
  return Tracker_Axes_Relabelling() * Rotation_Chosen_Body * Tracker_Axes_Relabelling().transpose();
}

Tracker_Sample Turned(const Tracker_Sample& Sample, const Eigen::Quaterniond& Turn) {
  const std::array<double, 4>& Q = Sample.Quaternion;  // w first, as Eigen's constructor has it
  const Eigen::Quaterniond New = Turn * Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]);
  return {Sample.Position, {New.w(), New.x(), New.y(), New.z()}};
}

}  // namespace

Body_Axes Choose_Body_Axes(const Eigen::Matrix3d& Rotation_Cam_Tc) {
  Body_Axes Chosen;
  Chosen.Mount_Angle_Deg = Chosen.Chosen_Mount_Angle_Deg = Angle_Deg(Rotation_Cam_Tc);
  const bool Is_Outside = Chosen.Mount_Angle_Deg < Least_Mount_Angle_Deg ||
                          Chosen.Mount_Angle_Deg > Most_Mount_Angle_Deg;
  if (!Rotation_Cam_Tc.allFinite() || !Is_Outside) return Chosen;
  Chosen.Is_Turned = true;
  double Least_Distance = INFINITY;
  for (const Eigen::Matrix3d& Axes : All_Axes()) {
    const double Angle = Angle_Deg(Rotation_Cam_Tc * Rotation_Chosen_Tc(Axes).transpose());
    const double Distance = std::abs(Angle - Best_Angle_Deg);
    if (Distance > Least_Distance - Alike_Deg) continue;
    Least_Distance = Distance;
    Chosen.Rotation_Chosen_Body = Axes;
    Chosen.Chosen_Mount_Angle_Deg = Angle;
  }
  return Chosen;
}

Tracker_Sample With_Axes(const Tracker_Sample& Sample, const Body_Axes& Axes) {
  if (!Axes.Is_Turned) return Sample;
  return Turned(Sample, Eigen::Quaterniond(Axes.Rotation_Chosen_Body));
}

Tracker_Sample With_Own_Axes(const Tracker_Sample& Chosen_Sample, const Body_Axes& Axes) {
  if (!Axes.Is_Turned) return Chosen_Sample;
  return Turned(Chosen_Sample, Eigen::Quaterniond(Axes.Rotation_Chosen_Body).conjugate());
}

Eigen::Isometry3d With_Own_Axes(const Eigen::Isometry3d& Chosen_Transform_Cam_Tc,
                                const Body_Axes& Axes) {
  Eigen::Isometry3d Own = Chosen_Transform_Cam_Tc;
  Own.linear() = Chosen_Transform_Cam_Tc.linear() * Rotation_Chosen_Tc(Axes.Rotation_Chosen_Body);
  return Own;
}

}  // namespace rigsync
