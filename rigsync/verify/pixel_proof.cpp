// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/pixel_proof.h"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace rigsync {
namespace {

// The library relabels with a pi of eleven digits: half a turn and a quarter, 0.9e-10 and 0.45e-10
// short.
constexpr double Short_Pi = 3.1415926535;
constexpr double Relabelling_Rad = 1.4e-10;

// What the double-precision chains of both sides may add, in roundings of a direction.
constexpr double Chain_Roundings = 200.0;

// Bounds are sums of first orders.
constexpr double Higher_Orders = 1.01;

Eigen::Isometry3d Pose(const Tracker_Sample& Sample) {
  Eigen::Isometry3d Transform_Base_Body = Eigen::Isometry3d::Identity();
  Transform_Base_Body.linear() = Sample_Rotation_Body_Base(Sample).conjugate().toRotationMatrix();
  Transform_Base_Body.translation() =
      Eigen::Vector3d(Sample.Position[0], Sample.Position[1], Sample.Position[2]);
  return Transform_Base_Body;
}

// The body's own axes to those of Tc as the library has them.
Eigen::Matrix3d Library_Relabelling() {
  return (Eigen::AngleAxisd(Short_Pi / 2.0, Eigen::Vector3d::UnitX()) *
          Eigen::AngleAxisd(Short_Pi, Eigen::Vector3d::UnitZ()))
      .toRotationMatrix();
}

// A point of the stage for the solved camera, and in the target's scene.
struct Seen_Point {
  Eigen::Vector3d Cam, Scene;
};

class Stage {
 public:
  Stage(const Reference_Camera& Reference, const Tracker_Axes& Axes, const Tracker_Sample& Sample)
      : Rotation_Scene_Base(Axes) {
    const Eigen::Isometry3d Transform_Base_Body = Pose(Sample);
    Distance = Transform_Base_Body.translation().norm();
    const Eigen::Isometry3d Transform_Body_Tc(Library_Relabelling().transpose());
    const Eigen::Matrix4d Transform_Base_Tc = (Transform_Base_Body * Transform_Body_Tc).matrix();
    Transform_Cam_Base = Reference.Transform_Cam_Tc * Transform_Base_Tc.inverse();
    Transform_Base_Cam = Transform_Cam_Base.inverse();
    // What brings samples into the scene relabels the stage and the body alike.
    Scene_Object.linear() = Axes * Transform_Base_Body.linear() * Axes.transpose();
    Scene_Object.translation() = Axes * Transform_Base_Body.translation();
  }

  const Eigen::Affine3d& Transform_Scene_Object() const { return Scene_Object; }

  Seen_Point Seen(const Eigen::Vector3d& Point_Cam) const {
    const Eigen::Vector3d Point_Base = (Transform_Base_Cam * Point_Cam.homogeneous()).hnormalized();
    return {(Transform_Cam_Base * Point_Base.homogeneous()).hnormalized(),
            Rotation_Scene_Base * Point_Base};
  }

  // The rounding of a point's direction on the way through Base, radians.
  double Rounding_Rad(const Eigen::Vector3d& Point_Cam) const {
    const double Length = Point_Cam.norm();
    return Chain_Roundings * std::numeric_limits<double>::epsilon() * (1.0 + Distance / Length);
  }

 private:
  double Distance = 0;  // of the body from Base
  Eigen::Matrix4d Transform_Cam_Base, Transform_Base_Cam;
  Eigen::Matrix3d Rotation_Scene_Base;
  Eigen::Affine3d Scene_Object = Eigen::Affine3d::Identity();
};

// A camera of the target that stands in its scene.
struct Standing_Camera {
  Eigen::Affine3d Transform_Cam_Scene;
  std::optional<Lens> Own_Lens;
};

// The cameras that a target makes of its fields as they are, and with each moved up and down.
struct Moved_Camera {
  Composed_Camera Up, Down;
  double Part;  // of the step that the field's rounding is
};

struct Target_Cameras {
  Composed_Camera Exported;
  std::vector<Moved_Camera> Moved;  // one for each field
};

Target_Cameras Cameras_Of(const Exported_Camera& Target) {
  std::vector<double> Values;
  for (const Exported_Field& Field : Target.Fields) Values.push_back(Field.Value);
  Target_Cameras Cameras{Target.Compose(Values), {}};
  for (std::size_t i = 0; i < Values.size(); ++i) {
    // Steps that are far above the arithmetic's own rounding.
    const double Rounding = Target.Fields[i].Rounding;
    const double Step = std::max(Rounding, 1e-6 * std::max(1.0, std::abs(Values[i])));
    std::vector<double> Higher = Values, Lower = Values;
    Higher[i] += Step;
    Lower[i] -= Step;
    Cameras.Moved.push_back({Target.Compose(Higher), Target.Compose(Lower), Rounding / Step});
  }
  return Cameras;
}

// The same at one pose of the tracker.
struct Standing_Cameras {
  struct Moved {
    Standing_Camera Up, Down;
    double Part;
  };
  Standing_Camera Exported;
  std::vector<Moved> Fields;
};

// At the pose of a sample, or at the one that the target has itself.
Standing_Cameras Standing(const Target_Cameras& Cameras,
                          const std::optional<Eigen::Affine3d>& Transform_Scene_Object) {
  const auto Stand = [&](const Composed_Camera& Camera) {
    const Eigen::Affine3d& At =
        Transform_Scene_Object ? *Transform_Scene_Object : *Camera.Transform_Scene_Object;
    return Standing_Camera{(At * Camera.Transform_Object_Cam).inverse(), Camera.Own_Lens};
  };
  Standing_Cameras All{Stand(Cameras.Exported), {}};
  for (const Moved_Camera& Moved : Cameras.Moved) {
    All.Fields.push_back({Stand(Moved.Up), Stand(Moved.Down), Moved.Part});
  }
  return All;
}

// One column of the comparison: through the solved lens, or through the target's.
class Comparison {
 public:
  // Without a lens, each camera's own is taken.
  Comparison(const Exported_Camera& Of, std::optional<Lens> Through, const Lens& Reference,
             double Arm_M)
      : Target(Of), Fixed_Lens(Through), Reference_Lens(Reference), Arm(Arm_M) {}

  Compared_Pixel At(const Standing_Cameras& Cameras, const Seen_Point& Point,
                    double Rounding_Rad) const {
    Compared_Pixel Compared;
    Compared.Pixel = Projected(Reference_Lens, Point.Cam);
    const Eigen::Vector2d Shown = Pixel(Cameras.Exported, Point.Scene);
    Compared.Px = (Shown - Compared.Pixel).norm();
    double Bound = 0.0;
    for (const Standing_Cameras::Moved& Moved : Cameras.Fields) {
      Bound += Moved.Part * std::max((Pixel(Moved.Up, Point.Scene) - Shown).norm(),
                                     (Pixel(Moved.Down, Point.Scene) - Shown).norm());
    }
    Bound += Moved_By_Turn(Point.Cam, Target.Turn_Rad + Relabelling_Rad + Rounding_Rad);
    // A relabelling turns the camera about the tracker, and so moves it.
    Bound += Moved_By_Shift(Point.Cam, Target.Shift_M + Relabelling_Rad * Arm);
    Compared.Allowed_Px = Higher_Orders * Bound;
    return Compared;
  }

 private:
  Eigen::Vector2d Pixel(const Standing_Camera& Camera, const Eigen::Vector3d& Point_Scene) const {
    return Projected(Fixed_Lens ? *Fixed_Lens : *Camera.Own_Lens,
                     Camera.Transform_Cam_Scene * Point_Scene);
  }

  // How far the pixel of a point moves at most when the point moves by Part of Step along any
  // direction of the columns of Steps, which are those of a step along or about each axis.
  double Moved(const Eigen::Vector3d& Point_Cam, const Eigen::Matrix3d& Steps, double Part) const {
    const Eigen::Vector2d At = Projected(Reference_Lens, Point_Cam);
    double Squares = 0.0;
    for (int k = 0; k < 3; ++k) {
      const double Ahead = (Projected(Reference_Lens, Point_Cam + Steps.col(k)) - At).norm();
      const double Back = (Projected(Reference_Lens, Point_Cam - Steps.col(k)) - At).norm();
      Squares += std::max(Ahead, Back) * std::max(Ahead, Back);
    }
    return Part * std::sqrt(Squares);
  }

  double Moved_By_Turn(const Eigen::Vector3d& Point_Cam, double Turn_Rad) const {
    const double Step = std::max(Turn_Rad, 1e-6);
    Eigen::Matrix3d Steps;
    for (int k = 0; k < 3; ++k) {
      Steps.col(k) = Step * Eigen::Vector3d::Unit(k).cross(Point_Cam);
    }
    return Moved(Point_Cam, Steps, Turn_Rad / Step);
  }

  double Moved_By_Shift(const Eigen::Vector3d& Point_Cam, double Shift_M) const {
    const double Step = std::max(Shift_M, 1e-6);
    return Moved(Point_Cam, Step * Eigen::Matrix3d::Identity(), Shift_M / Step);
  }

  const Exported_Camera& Target;
  std::optional<Lens> Fixed_Lens;
  Lens Reference_Lens;
  double Arm;  // of the camera from the tracker, metres
};

// How much of its bound a difference takes; infinite for NaN.
double Share(const Compared_Pixel& Compared) {
  const double Part = Compared.Px / Compared.Allowed_Px;
  return std::isnan(Part) ? std::numeric_limits<double>::infinity() : Part;
}

void Add(Compared_Pixel Compared, std::size_t Sample, Compared_Pixels& To) {
  Compared.Sample = Sample;
  if (!(Compared.Px <= To.Worst.Px) && !std::isnan(To.Worst.Px)) To.Worst = Compared;
  if (Compared.Is_Within()) return;
  if (!To.Beyond || Share(Compared) > Share(*To.Beyond)) To.Beyond = Compared;
}

}  // namespace

bool Pixel_Proof::Holds() const {
  return !Mount.Beyond && !(Own_Lens && Own_Lens->Beyond);
}

double Rotation_Defect(const Eigen::Matrix4d& Transform) {
  const Eigen::Matrix3d Rotation = Transform.topLeftCorner<3, 3>();
  return (Rotation.transpose() * Rotation - Eigen::Matrix3d::Identity()).norm();
}

Pixel_Proof Prove_Pixels(const Reference_Camera& Reference, const Exported_Camera& Target,
                         const std::vector<Tracker_Sample>& Samples,
                         const std::vector<Eigen::Vector3d>& Points_Cam) {
  const Target_Cameras Cameras = Cameras_Of(Target);
  const double Arm = Reference.Transform_Cam_Tc.topRightCorner<3, 1>().norm();
  const Comparison Mount(Target, Reference.Lens_Px, Reference.Lens_Px, Arm);
  std::optional<Comparison> Own_Lens;
  if (Target.Lens_Of_Target) Own_Lens.emplace(Target, std::nullopt, *Target.Lens_Of_Target, Arm);
  Pixel_Proof Proof;
  if (Own_Lens) Proof.Own_Lens.emplace();
  const auto Prove_At = [&](const Stage& At, const Standing_Cameras& Standing_There,
                            std::size_t Sample) {
    for (const Eigen::Vector3d& Point_Cam : Points_Cam) {
      const Seen_Point Point = At.Seen(Point_Cam);
      const double Rounding_Rad = At.Rounding_Rad(Point_Cam);
      Add(Mount.At(Standing_There, Point, Rounding_Rad), Sample, Proof.Mount);
      if (Own_Lens) {
        Add(Own_Lens->At(Standing_There, Point, Rounding_Rad), Sample, *Proof.Own_Lens);
      }
    }
  };
  for (std::size_t i = 0; i < Samples.size(); ++i) {
    const Stage At(Reference, Target.Axes, Samples[i]);
    Prove_At(At, Standing(Cameras, At.Transform_Scene_Object()), i);
  }
  if (Target.Own_Sample) {
    Prove_At(Stage(Reference, Target.Axes, *Target.Own_Sample), Standing(Cameras, std::nullopt),
             Samples.size());
  }
  return Proof;
}

}  // namespace rigsync
