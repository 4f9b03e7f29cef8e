// SPDX-License-Identifier: Apache-2.0
//
// Rigs of every kind for the proofs: mounts in any attitude, square to the camera, and near the
// gimbal lock of either engine with angles; lenses with and without distortion. Seeded and scaled
// by hand, so every machine sees the same.
#ifndef RIGSYNC_TESTS_RIGSYNC_VERIFY_RANDOM_RIG_H
#define RIGSYNC_TESTS_RIGSYNC_VERIFY_RANDOM_RIG_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/engine/solved_camera.h"
#include "rigsync/formats/engine_fields.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/take/base_axes.h"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

class Dice {
 public:
  explicit Dice(std::uint64_t Seed) : Source(Seed) {}

  double Between(double Low, double High) {
    return Low + (High - Low) * (static_cast<double>(Source()) / 18446744073709551616.0);
  }
  std::size_t Below(std::size_t Count) { return static_cast<std::size_t>(Source() % Count); }
  double Sign() { return Source() % 2 == 0 ? 1.0 : -1.0; }
  // Small numbers as often as large ones.
  double Log_Between(double Low, double High) {
    return std::exp(Between(std::log(Low), std::log(High)));
  }
  Eigen::Quaterniond Rotation() {
    Eigen::Vector4d Q;
    do {
      for (int k = 0; k < 4; ++k) Q[k] = Between(-1.0, 1.0);
    } while (Q.norm() > 1.0 || Q.norm() < 0.1);
    Q.normalize();
    return Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]);
  }
  Eigen::Vector3d Point(double Size) {
    const double X = Between(-Size, Size), Y = Between(-Size, Size), Z = Between(-Size, Size);
    return {X, Y, Z};
  }

 private:
  std::mt19937_64 Source;
};

inline Eigen::Matrix3d Turn_Deg(const Eigen::Vector3d& Axis, double Angle_Deg) {
  return Eigen::AngleAxisd(Angle_Deg / rigsync::Degrees_Per_Radian, Axis).toRotationMatrix();
}

// The camera's axes in Unreal Engine 4 and Aximmetry, one to a row, in those of Cam.
inline Eigen::Matrix3d Rows_Of_Axes(const char* Text) {
  return rigsync::Parse_Axes("", Text);
}

enum class Rig_Kind { Any, Square, Near_UE4_Lock, Near_Aximmetry_Lock };

struct Random_Rig {
  Rig_Kind Kind = Rig_Kind::Any;
  rigsync::Calibration_Result Result;
  std::vector<rigsync::Tracker_Sample> Samples;
};

// The rotation of Cam into Tc whose pose in Axes and Camera_Axes is Rotation.
inline Eigen::Matrix3d Tc_Cam_Of(const Eigen::Matrix3d& Rotation, const char* Axes,
                                 const char* Camera_Axes) {
  return rigsync::Rotation_Tc_Body() * Rows_Of_Axes(Axes).transpose() * Rotation *
         Rows_Of_Axes(Camera_Axes);
}

inline Eigen::Matrix3d Random_Rotation_Tc_Cam(Rig_Kind Kind, Dice& Dice) {
  const Eigen::Vector3d X = Eigen::Vector3d::UnitX(), Y = Eigen::Vector3d::UnitY(),
                        Z = Eigen::Vector3d::UnitZ();
  const double A = Dice.Between(-180, 180), B = Dice.Between(-180, 180);
  if (Kind == Rig_Kind::Near_UE4_Lock) {
    const double Pitch = Dice.Sign() * (90.0 - Dice.Log_Between(0.05, 5.0));
    return Tc_Cam_Of(Turn_Deg(Z, A) * Turn_Deg(Y, -Pitch) * Turn_Deg(X, B), "z,-x,y", "z,x,-y");
  }
  if (Kind == Rig_Kind::Near_Aximmetry_Lock) {
    const double About_X = Dice.Sign() * (90.0 - Dice.Log_Between(0.001, 2.0));
    return Tc_Cam_Of(Turn_Deg(Y, A) * Turn_Deg(X, About_X) * Turn_Deg(Z, B), "-x,y,z", "x,-y,z");
  }
  if (Kind == Rig_Kind::Square) {
    return Turn_Deg(X, 90.0 * static_cast<double>(Dice.Below(4))) *
           Turn_Deg(Y, 90.0 * static_cast<double>(Dice.Below(4))) *
           Turn_Deg(Z, 90.0 * static_cast<double>(Dice.Below(4)) + Dice.Between(-0.5, 0.5));
  }
  return Dice.Rotation().toRotationMatrix();
}

// As the library leaves a rotation: from a quaternion in single precision, which has not exactly
// the length 1.
inline Eigen::Matrix3d Left_In_Single(const Eigen::Matrix3d& Rotation) {
  const Eigen::Quaternionf Q(Eigen::Quaterniond(Rotation).cast<float>());
  return Q.cast<double>().toRotationMatrix();
}

inline void Set_Random_Lens(rigsync::Calibration_Result& Result, Dice& Dice) {
  const std::array<std::array<double, 2>, 3> Sizes = {{{640, 480}, {1920, 1080}, {4096, 2160}}};
  const std::array<double, 2>& Size = Sizes[Dice.Below(3)];
  const double Focal = Dice.Between(0.5, 3.0), Ratio = Dice.Between(0.97, 1.03);
  Result.Image_Size = {Size[0], Size[1]};
  Result.Norm_Fxy = {Focal, Focal * Ratio * Size[0] / Size[1]};
  Result.Norm_Cxy = {Dice.Between(0.45, 0.55), Dice.Between(0.45, 0.55)};
  Result.Distortion = {Dice.Between(-0.2, 0.2), Dice.Between(-0.05, 0.1), 0, 0, 0};
}

inline Random_Rig Make_Random_Rig(Rig_Kind Kind, Dice& Dice) {
  Random_Rig Rig;
  Rig.Kind = Kind;
  Set_Random_Lens(Rig.Result, Dice);
  Eigen::Matrix3d Rotation_Cam_Tc = Random_Rotation_Tc_Cam(Kind, Dice).transpose();
  if (Dice.Below(2) == 0) Rotation_Cam_Tc = Left_In_Single(Rotation_Cam_Tc);
  Eigen::Matrix4d Transform = Eigen::Matrix4d::Identity();
  Transform.topLeftCorner<3, 3>() = Rotation_Cam_Tc;
  Transform.topRightCorner<3, 1>() = Dice.Point(0.6);
  Rig.Result.Transform_Cam_Tc = rigsync::List_From_Matrix(Transform);
  for (int k = 0; k < 2; ++k) {
    const Eigen::Vector3d At = Dice.Point(5.0);
    const Eigen::Quaterniond Q = Dice.Rotation();
    const double Length = Dice.Between(0.5, 2.0);
    Rig.Samples.push_back({{At.x(), At.y(), At.z()},
                           {Length * Q.w(), Length * Q.x(), Length * Q.y(), Length * Q.z()}});
  }
  return Rig;
}

// Half of them in any attitude, a third near a lock.
inline Rig_Kind Kind_Of(int Number) {
  switch (Number % 6) {
    case 0:
      return Rig_Kind::Near_UE4_Lock;
    case 1:
      return Rig_Kind::Near_Aximmetry_Lock;
    case 2:
      return Rig_Kind::Square;
    default:
      return Rig_Kind::Any;
  }
}

// One of the 24 labellings of an engine's handedness.
inline rigsync::Tracker_Axes Random_Axes(rigsync::Engine_Space Space, Dice& Dice) {
  const std::array<const char*, 6> Orders = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
  const std::string Order = Orders[Dice.Below(6)];
  std::array<std::string, 3> Words;
  for (std::size_t k = 0; k < 3; ++k) {
    Words[k] = (Dice.Sign() > 0 ? "" : "-") + std::string(1, Order[k]);
  }
  rigsync::Tracker_Axes Axes = rigsync::Parse_Axes("", Words);
  if ((Axes.determinant() < 0.0) != rigsync::Is_Left_Handed(Space)) Axes.row(2) *= -1.0;
  return Axes;
}

#endif  // RIGSYNC_TESTS_RIGSYNC_VERIFY_RANDOM_RIG_H
