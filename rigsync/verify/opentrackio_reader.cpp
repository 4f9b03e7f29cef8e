// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/opentrackio_reader.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/verify/first_row.h"
#include "rigsync/verify/float_rounding.h"
#include "rigsync/verify/numbers_read.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace rigsync {
namespace {

using Json = nlohmann::json;
using Values_List = std::vector<double>;

// The camera of the format: x right, y along the view, z up.
Eigen::Matrix3d Camera_Axes() {
  Eigen::Matrix3d Axes;
  Axes << 1, 0, 0, 0, 0, 1, 0, -1, 0;
  return Axes;
}

Eigen::Matrix3d Rotation(double Pan_Deg, double Tilt_Deg, double Roll_Deg) {
  const auto Turn = [](double Angle_Deg, const Eigen::Vector3d& Axis) {
    return Eigen::AngleAxisd(Angle_Deg / Degrees_Per_Radian, Axis);
  };
  return (Turn(Pan_Deg, Eigen::Vector3d::UnitZ()) * Turn(Tilt_Deg, Eigen::Vector3d::UnitX()) *
          Turn(Roll_Deg, Eigen::Vector3d::UnitY()))
      .toRotationMatrix();
}

// Translation x, y, z in metres; pan, tilt, roll in degrees.
Eigen::Affine3d Transform(const Values_List& V, std::size_t First) {
  return Pose_Of({V.at(First), V.at(First + 1), V.at(First + 2)},
                 Rotation(V.at(First + 3), V.at(First + 4), V.at(First + 5)),
                 Eigen::Matrix3d::Identity());
}

// Values: the six of each transform, tracker and camera; focal length and offset x, y in mm; the
// numerators of r^2 and r^4, in mm^-2 and mm^-4.
struct Sensor {
  double Width_Px, Height_Px, Width_Mm, Height_Mm;
};

Composed_Camera Composed(const Values_List& V, const Sensor& Of, bool Has_Sample) {
  const double F = V.at(12), Px_X = Of.Width_Px / Of.Width_Mm, Px_Y = Of.Height_Px / Of.Height_Mm;
  // From the image's centre, with pixels counted by their centres.
  const Lens Own = {F * Px_X,
                    F * Px_Y,
                    0.5 * (Of.Width_Px - 1.0) + V.at(13) * Px_X,
                    0.5 * (Of.Height_Px - 1.0) + V.at(14) * Px_Y,
                    V.at(15) * F * F,
                    V.at(16) * F * F * F * F};
  Composed_Camera Camera;
  Camera.Transform_Object_Cam = Transform(V, 6);
  Camera.Transform_Object_Cam.linear() *= Camera_Axes();
  if (Has_Sample) Camera.Transform_Scene_Object = Transform(V, 0);
  Camera.Own_Lens = Own;
  return Camera;
}

// Adds the six numbers of a transform. True is the rotation that its angles should make.
void Add_Transform(Exported_Camera& To, const Json& Of, const Eigen::Matrix3d& True,
                   double Position_Size, double Element_Error) {
  for (const char* Key : {"x", "y", "z"}) {
    Add_Field(To, Key, Of.at("translation").at(Key), Position_Size);
  }
  const Angle_Rounding Rounding = Rounding_Of_Pan_Tilt_Roll(True, Element_Error);
  std::size_t k = 0;
  for (const char* Key : {"pan", "tilt", "roll"}) {
    To.Fields.push_back({Key, Of.at("rotation").at(Key), Rounding.Deg.at(k++)});
  }
  To.Turn_Rad += Rounding.Turn_Rad;
}

// Whether every number of a transform is 0.
bool Is_Empty(const Json& Of) {
  for (const char* Group : {"translation", "rotation"}) {
    for (const auto& Number : Of.at(Group)) {
      if (Number.get<double>() != 0.0) return false;
    }
  }
  return true;
}

void Add_Lens(Exported_Camera& To, const Json& Root, const Lens& Expected, const Sensor& Of) {
  const Json& Described = Root.at("lens");
  const Json& Distortion = Described.at("distortion").at(0);
  const Values_List Radial = Distortion.at("radial").get<Values_List>();
  const bool Has_Denominator = Radial.at(1) != 0.0 || Radial.size() > 3;
  if (Distortion.at("model") != "Brown-Conrady U-D" || Has_Denominator) {
    throw std::runtime_error("a sample has another distortion than the solved lens can have");
  }
  for (const char* Axis : {"x", "y"}) {
    if (Described.at("distortionOffset").at(Axis) != 0.0) {
      throw std::runtime_error("a sample has its distortion off the principal point");
    }
  }
  if (Described.at("entrancePupilOffset") != 0.0) {
    throw std::runtime_error("a sample moves the camera along its view");
  }
  const double F = Expected.Fx * Of.Width_Mm / Of.Width_Px;
  Add_Field(To, "pinholeFocalLength", Described.at("pinholeFocalLength"), F);
  Add_Field(To, "projectionOffset.x", Described.at("projectionOffset").at("x"), Of.Width_Mm);
  Add_Field(To, "projectionOffset.y", Described.at("projectionOffset").at("y"), Of.Height_Mm);
  Add_Field(To, "radial.0", Radial.at(0), std::abs(Expected.K1) / (F * F));
  Add_Field(To, "radial.2", Radial.at(2), std::abs(Expected.K2) / (F * F * F * F));
}

}  // namespace

Lens One_Focal_Length(const Lens& Solved, double Width_Px, double Height_Px,
                      const std::array<double, 2>& Sensor_Mm) {
  Lens One = Solved;
  One.Fy = Solved.Fx * (Sensor_Mm[0] / Width_Px) * (Height_Px / Sensor_Mm[1]);
  return One;
}

Exported_Camera Read_Opentrackio_Sample(const std::string& Text, const Read_Request& Request) {
  const Json Root = Json::parse(Text);
  const True_Pose True = True_Pose_Of(Request.Result, Request.Axes);
  const Json& Described = Root.at("static").at("camera");
  const Json& Mm = Described.at("activeSensorPhysicalDimensions");
  const Json& Px = Described.at("activeSensorResolution");
  const Sensor Of = {Px.at("width"), Px.at("height"), Mm.at("width"), Mm.at("height")};
  const Json& Transforms = Root.at("transforms");
  if (Transforms.size() != 2) throw std::runtime_error("a sample has not two transforms");
  Exported_Camera Camera = Empty_Camera(True, Request.Axes);

  const First_Row Row = First_Kept_Row(Request.Result);
  const bool Has_Sample = Row.Camera.has_value();
  Eigen::Matrix3d Rotation_Scene_Object = Eigen::Matrix3d::Identity();
  double Distance = 0.0;
  if (Has_Sample) {
    Camera.Own_Sample = Row.Camera;
    Rotation_Scene_Object = Request.Axes * Sample_Rotation_Body_Base(*Row.Camera).conjugate() *
                            Request.Axes.transpose();
    Distance = Eigen::Vector3d(Row.Camera->Position.data()).norm();
  } else if (!Is_Empty(Transforms.at(0))) {
    throw std::runtime_error("a sample has a tracker of no row: " + Row.Missing);
  } else {
    Camera.Notes.push_back("the tracker's sample is the identity and is not proven: " +
                           Row.Missing);
  }
  constexpr double Few_Roundings = 16.0 * std::numeric_limits<double>::epsilon();
  Add_Transform(Camera, Transforms.at(0), Rotation_Scene_Object, Distance, Few_Roundings);
  Add_Transform(Camera, Transforms.at(1), True.Rotation_Object_Cam * Camera_Axes().transpose(),
                True.Position_Object.norm(), Few_Roundings + True.Defect);
  Camera.Lens_Of_Target = One_Focal_Length(True.Solved.Lens_Px, True.Solved.Width,
                                           True.Solved.Height, Request.Sensor_Mm);
  Add_Lens(Camera, Root, True.Solved.Lens_Px, Of);
  Camera.Compose = [Of, Has_Sample](const Values_List& V) { return Composed(V, Of, Has_Sample); };
  return Camera;
}

}  // namespace rigsync
