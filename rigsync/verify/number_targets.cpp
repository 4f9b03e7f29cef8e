// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/number_targets.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/verify/float_rounding.h"
#include "rigsync/verify/pixel_proof.h"

#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace rigsync {
namespace {

using Values_List = std::vector<double>;

constexpr double Cm_In_Metre = 100.0;

// A double that went through a handful of operations.
constexpr double Double_Rounding = 4.0 * std::numeric_limits<double>::epsilon();

Eigen::Matrix3d Turn(const Eigen::Vector3d& Axis, double Angle_Deg) {
  return Eigen::AngleAxisd(Angle_Deg / Degrees_Per_Radian, Axis).toRotationMatrix();
}

Eigen::Matrix3d Rx(double Angle_Deg) {
  return Turn(Eigen::Vector3d::UnitX(), Angle_Deg);
}

Eigen::Matrix3d Ry(double Angle_Deg) {
  return Turn(Eigen::Vector3d::UnitY(), Angle_Deg);
}

Eigen::Matrix3d Rz(double Angle_Deg) {
  return Turn(Eigen::Vector3d::UnitZ(), Angle_Deg);
}

// Each engine's camera axes, one to a row, in those of Cam: x right, y down, z along the view.

Eigen::Matrix3d UE4_Camera_Axes() {
  Eigen::Matrix3d Axes;
  Axes << 0, 0, 1,  // along its view
      1, 0, 0,      // right
      0, -1, 0;     // up
  return Axes;
}

Eigen::Matrix3d Export_xN_Camera_Axes() {
  Eigen::Matrix3d Axes;
  Axes << 0, -1, 0,  // up
      0, 0, 1,       // along its view
      -1, 0, 0;      // left
  return Axes;
}

Eigen::Matrix3d Aximmetry_Camera_Axes() {
  Eigen::Matrix3d Axes;
  Axes << 1, 0, 0,  // right
      0, -1, 0,     // up
      0, 0, 1;      // along its view
  return Axes;
}

// Position in metres; Rotation from the engine's camera axes into those of the tracker's object.
Eigen::Affine3d Below_Object(const Eigen::Vector3d& Position, const Eigen::Matrix3d& Rotation,
                             const Eigen::Matrix3d& Camera_Axes) {
  Eigen::Affine3d Transform_Object_Cam = Eigen::Affine3d::Identity();
  Transform_Object_Cam.linear() = Rotation * Camera_Axes;
  Transform_Object_Cam.translation() = Position;
  return Transform_Object_Cam;
}

// Values: location X, Y, Z in centimetres; roll, pitch, yaw in degrees.
Composed_Camera Composed_By_UE4(const Values_List& V) {
  const Eigen::Vector3d Position(V.at(0) / Cm_In_Metre, V.at(1) / Cm_In_Metre,
                                 V.at(2) / Cm_In_Metre);
  return {Below_Object(Position, Rz(V.at(5)) * Ry(-V.at(4)) * Rx(-V.at(3)), UE4_Camera_Axes()),
          std::nullopt, std::nullopt};
}

// Values: location X, Y, Z in centimetres; quaternion x, y, z, w.
Composed_Camera Composed_From_Quaternion(const Values_List& V, const Eigen::Matrix3d& Camera_Axes) {
  const Eigen::Vector3d Position(V.at(0) / Cm_In_Metre, V.at(1) / Cm_In_Metre,
                                 V.at(2) / Cm_In_Metre);
  const Eigen::Quaterniond Q(V.at(6), V.at(3), V.at(4), V.at(5));  // w first
  return {Below_Object(Position, Q.normalized().toRotationMatrix(), Camera_Axes), std::nullopt,
          std::nullopt};
}

Composed_Camera Composed_By_UE5(const Values_List& V) {
  return Composed_From_Quaternion(V, Eigen::Matrix3d::Identity());
}

Composed_Camera Composed_By_UE5_ExportxN(const Values_List& V) {
  return Composed_From_Quaternion(V, Export_xN_Camera_Axes());
}

// Values: position X, Y, Z in centimetres; angles about x, y, z in degrees; horizontal field of
// view in degrees; centre shift x, y. The position's Y and Z run against the object's axes. Its
// lens has one focal length and no distortion.
Composed_Camera Composed_By_Aximmetry(const Values_List& V, double Width, double Height) {
  const Eigen::Vector3d Position(V.at(0) / Cm_In_Metre, -V.at(1) / Cm_In_Metre,
                                 -V.at(2) / Cm_In_Metre);
  const double F = 0.5 * Width / std::tan(0.5 * V.at(6) / Degrees_Per_Radian);
  const Lens Own = {F, F, (0.5 + V.at(7)) * Width, (0.5 - V.at(8)) * Height, 0.0, 0.0};
  return {Below_Object(Position, Ry(V.at(4)) * Rx(V.at(3)) * Rz(V.at(5)), Aximmetry_Camera_Axes()),
          std::nullopt, Own};
}

// What the true camera is below the object, from which the roundings follow.
struct True_Camera {
  Eigen::Vector3d Position;     // metres, along the object's axes
  Eigen::Quaterniond Rotation;  // of the engine's camera axes into the object's
  double Defect;                // of the mount's rotation
  double Field_Of_View_Deg;     // horizontal
};

True_Camera True_Camera_Of(const Calibration_Result& Result, const Tracker_Axes& Axes,
                           const Eigen::Matrix3d& Camera_Axes) {
  const Eigen::Matrix4d Transform_Cam_Tc = Matrix_From_List(Chosen_Transform_Cam_Tc(Result));
  const Eigen::Matrix4d Transform_Tc_Cam = Transform_Cam_Tc.inverse();
  const Eigen::Matrix3d Rotation_Object_Tc = Axes * Rotation_Tc_Body().transpose();
  const Eigen::Matrix3d Rotation =
      Rotation_Object_Tc * Transform_Tc_Cam.topLeftCorner<3, 3>() * Camera_Axes.transpose();
  return {Rotation_Object_Tc * Transform_Tc_Cam.topRightCorner<3, 1>(),
          Eigen::Quaterniond(Rotation).normalized(), Rotation_Defect(Transform_Cam_Tc),
          Degrees_Per_Radian * 2.0 * std::atan(0.5 / Result.Norm_Fxy.at(0))};
}

// How one engine takes its numbers.
struct Form {
  std::vector<const char*> Keys;  // of the groups, in the order of the values
  Eigen::Matrix3d Camera_Axes;
  // Fills the roundings of the fields, and the turn that the target may be off by.
  void (*Round)(const True_Camera& True, Exported_Camera& Camera);
};

// From an angle's rounding of this size on, and from a turn that was dropped, a lock is told about.
constexpr double Lock_Rounding_Deg = 1e-3;

void Round_Singles(const Eigen::Vector3d& Position, const Angle_Rounding& Angles,
                   Exported_Camera& Camera) {
  for (std::size_t k = 0; k < 3; ++k) {
    Camera.Fields.at(k).Rounding = Rounding_Of_Single_Cm(Position[static_cast<int>(k)]);
    Camera.Fields.at(3 + k).Rounding = Angles.Deg[k];
  }
  Camera.Turn_Rad += Angles.Turn_Rad;
  const double Widest_Deg = *std::max_element(Angles.Deg.begin(), Angles.Deg.end());
  if (Angles.Turn_Rad > 0.0 || Widest_Deg > Lock_Rounding_Deg) {
    Camera.Notes.emplace_back(
        "this mount is near the gimbal lock of its angles, which makes their rounding larger; "
        "other --tracker-axes lead away from it");
  }
}

void Round_UE4(const True_Camera& True, Exported_Camera& Camera) {
  Round_Singles(True.Position, Rounding_Of_UE4(True.Rotation, True.Defect), Camera);
}

void Round_Doubles(const True_Camera& True, Exported_Camera& Camera) {
  for (std::size_t k = 0; k < 3; ++k) {
    Camera.Fields.at(k).Rounding =
        Double_Rounding * Cm_In_Metre * std::abs(True.Position[static_cast<int>(k)]);
  }
  for (std::size_t k = 3; k < 7; ++k) Camera.Fields.at(k).Rounding = Double_Rounding;
}

void Round_Aximmetry(const True_Camera& True, Exported_Camera& Camera) {
  Round_Singles(True.Position, Rounding_Of_Aximmetry(True.Rotation, True.Defect), Camera);
  // A pi of 3.1415926535 makes the field of view too wide by this part.
  constexpr double Short_Pi_Excess = 2.9e-11;
  Camera.Fields.at(6).Rounding = (Short_Pi_Excess + Double_Rounding) * True.Field_Of_View_Deg;
  Camera.Fields.at(7).Rounding = Camera.Fields.at(8).Rounding = Double_Rounding;
}

Form Form_Of(const std::string& Engine_Name) {
  if (Engine_Name == "ue4") return {{"location_cm", "rotation_deg"}, UE4_Camera_Axes(), Round_UE4};
  if (Engine_Name == "ue5") {
    return {{"location_cm", "quaternion"}, Eigen::Matrix3d::Identity(), Round_Doubles};
  }
  if (Engine_Name == "ue5-xn") {
    return {{"location_cm", "quaternion"}, Export_xN_Camera_Axes(), Round_Doubles};
  }
  if (Engine_Name == "aximmetry") {
    return {{"position_cm", "rotation_deg", "field_of_view_deg", "centre_shift"},
            Aximmetry_Camera_Axes(),
            Round_Aximmetry};
  }
  throw std::logic_error("no composition for the engine " + Engine_Name);
}

std::function<Composed_Camera(const Values_List&)> Composition(const std::string& Engine_Name,
                                                               double Width, double Height) {
  if (Engine_Name == "ue4") return Composed_By_UE4;
  if (Engine_Name == "ue5") return Composed_By_UE5;
  if (Engine_Name == "ue5-xn") return Composed_By_UE5_ExportxN;
  return [Width, Height](const Values_List& Values) {
    return Composed_By_Aximmetry(Values, Width, Height);
  };
}

const Field_Group& Group_Of(const Engine_Export& Export, const std::string& Key) {
  for (const Field_Group& Group : Export.Groups) {
    if (Group.Key == Key) return Group;
  }
  throw std::logic_error("an export has no group " + Key);
}

}  // namespace

Exported_Camera Camera_Of_Numbers(const Engine& Target, const Engine_Export& Export,
                                  const Tracker_Axes& Axes, const Calibration_Result& Result) {
  const Form Of = Form_Of(Target.Name);
  const Solved_Camera Solved = Solved_Camera_Of(Result);
  Exported_Camera Camera;
  for (const char* Key : Of.Keys) {
    const Field_Group& Group = Group_Of(Export, Key);
    for (std::size_t i = 0; i < Group.Values.size(); ++i) {
      Camera.Fields.push_back({Group.Key + "." + Group.Names.at(i), Group.Values[i], 0.0});
    }
  }
  Camera.Axes = Axes;
  Camera.Compose = Composition(Target.Name, Solved.Width, Solved.Height);
  const True_Camera True = True_Camera_Of(Result, Axes, Of.Camera_Axes);
  // A quaternion made from a matrix that is no exact rotation may be turned by as much again.
  Camera.Turn_Rad = 2.0 * True.Defect;
  Of.Round(True, Camera);
  if (Target.Name == "aximmetry") {
    const Lens& L = Solved.Lens_Px;
    Camera.Lens_Of_Target = Lens{L.Fx, L.Fx, L.Cx, L.Cy, 0.0, 0.0};
    Camera.Notes = {
        "its centre shift counts from half the width and height, half a pixel beyond "
        "the middle of pixels that are counted by their centres"};
  }
  return Camera;
}

}  // namespace rigsync
