// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/held_pose.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/solve/rigid_motion.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace rigsync {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;

// Tilts that are worth the trouble, and still found.
constexpr std::array<double, 2> Tilts_Deg = {25.0, 40.0};

// Between a line of sight and the board's normal: beyond it squares are less than half as high as
// they are wide.
constexpr double Flattest_Deg = 60.0;

// The smallest square that the detector finds safely, pixels of the image that it searches.
constexpr double Smallest_Square_Px = 8.0;

// This much of the frame stays free on each side, as a part of its shorter side.
constexpr double Free_Border = 0.015;

// A roll beyond it and a board that looks the same upside down may be found from its other end.
constexpr double Upright_Roll_Deg = 60.0;

// Distance and place are found to this part of the frame.
constexpr double Settled_Part = 2e-3;
constexpr int Most_Steps = 40;

double Roll_Change_Deg(Board_Roll Roll) {
  switch (Roll) {
    case Board_Roll::As_Before:
      return 0.0;
    case Board_Roll::Eighth_Right:
      return 45.0;
    case Board_Roll::Quarter_Right:
      return 90.0;
    case Board_Roll::Half:
      return 180.0;
    case Board_Roll::Quarter_Left:
      return -90.0;
    case Board_Roll::Eighth_Left:
      return -45.0;
  }
  return 0.0;
}

// The direction from the board's centre to its nearest part in the picture, x right and y down.
Vector2d Direction_Of(Near_Part Nearest) {
  constexpr double Slant = 0.70710678118654752;
  switch (Nearest) {
    case Near_Part::None:
      return {0, 0};
    case Near_Part::Left:
      return {-1, 0};
    case Near_Part::Upper_Left:
      return {-Slant, -Slant};
    case Near_Part::Top:
      return {0, -1};
    case Near_Part::Upper_Right:
      return {Slant, -Slant};
    case Near_Part::Right:
      return {1, 0};
    case Near_Part::Lower_Right:
      return {Slant, Slant};
    case Near_Part::Bottom:
      return {0, 1};
    case Near_Part::Lower_Left:
      return {-Slant, Slant};
  }
  return {0, 0};
}

Eigen::Matrix3d Rotation_Of(const Pose_Parts& Parts, double Last_Roll_Deg) {
  const double Roll = (Last_Roll_Deg + Roll_Change_Deg(Parts.Roll)) / Degrees_Per_Radian;
  const Vector2d Nearest = Direction_Of(Parts.Nearest);
  // A turn about (y, -x, 0) takes the point (x, y, 0) away from the camera, along z.
  const Vector3d Turn =
      -Parts.Tilt_Deg / Degrees_Per_Radian * Vector3d(Nearest.y(), -Nearest.x(), 0);
  return Rotation_From_Turn(Turn) * Rotation_From_Turn(Roll * Vector3d::UnitZ());
}

// Inner corners, and the outer edge of a white margin of one square around the board.
struct Board_Points {
  Vector3d Centre_Chart;
  std::array<Vector3d, 8> Outline_Chart;
};

Board_Points Points_Of(const Board_View& View) {
  const double Left = -2.0 * View.Square_Size, Right = (View.Board.Cols + 1) * View.Square_Size;
  const double Top = Left, Bottom = (View.Board.Rows + 1) * View.Square_Size;
  const double X = 0.5 * (Left + Right), Y = 0.5 * (Top + Bottom);
  return {{X, Y, 0},
          {Vector3d(Left, Top, 0), Vector3d(X, Top, 0), Vector3d(Right, Top, 0),
           Vector3d(Right, Y, 0), Vector3d(Right, Bottom, 0), Vector3d(X, Bottom, 0),
           Vector3d(Left, Bottom, 0), Vector3d(Left, Y, 0)}};
}

// None behind the camera, and where the lens model has no picture: its radius no longer grows.
std::optional<Vector2d> Project(const Lens& Lens_Px, const Vector3d& Point_Cam) {
  if (!(Point_Cam.z() > 0.0)) return std::nullopt;
  const double X = Point_Cam.x() / Point_Cam.z(), Y = Point_Cam.y() / Point_Cam.z();
  const double Square = X * X + Y * Y;
  const double Gain = 1.0 + Square * (Lens_Px.K1 + Square * Lens_Px.K2);
  const double Growth = 1.0 + Square * (3.0 * Lens_Px.K1 + 5.0 * Square * Lens_Px.K2);
  if (!(Growth > 0.1 && Gain > 0.1)) return std::nullopt;
  return Vector2d(Lens_Px.Fx * X * Gain + Lens_Px.Cx, Lens_Px.Fy * Y * Gain + Lens_Px.Cy);
}

struct Box {
  Vector2d Low = Vector2d::Constant(1e300), High = Vector2d::Constant(-1e300);
};

std::optional<Box> Outline_Box(const Board_View& View, const Board_Points& Points,
                               const Eigen::Isometry3d& Transform_Cam_Chart) {
  Box Of;
  for (const Vector3d& Point_Chart : Points.Outline_Chart) {
    const auto Seen = Project(View.Lens_Px, Transform_Cam_Chart * Point_Chart);
    if (!Seen) return std::nullopt;
    Of.Low = Of.Low.cwiseMin(*Seen);
    Of.High = Of.High.cwiseMax(*Seen);
  }
  return Of;
}

double Border_Px(const Board_View& View) {
  return Free_Border * std::min(View.Width, View.Height);
}

// Moves the board until the box around it has its size and place. The projection is nearly linear
// in both, so a few corrections are enough.
std::optional<Eigen::Isometry3d> Placed(const Board_View& View, const Eigen::Matrix3d& Rotation,
                                        double Fill, const Vector2d& Place) {
  const Board_Points Points = Points_Of(View);
  const Vector2d Focal(View.Lens_Px.Fx, View.Lens_Px.Fy);
  const double Border = Border_Px(View);
  const Vector2d Room = Vector2d(View.Width - 1, View.Height - 1) - Vector2d::Constant(2 * Border);
  Vector3d Centre_Cam(0, 0, View.Square_Size * View.Board.Cols * Focal.x() / (Fill * Room.x()));
  Eigen::Isometry3d Pose = Eigen::Isometry3d::Identity();
  Pose.linear() = Rotation;
  for (int Step = 0; Step < Most_Steps; ++Step) {
    Pose.translation() = Centre_Cam - Rotation * Points.Centre_Chart;
    const auto Seen = Outline_Box(View, Points, Pose);
    if (!Seen) {
      Centre_Cam.z() *= 1.3;  // too near to be seen at all
      continue;
    }
    const Vector2d Span = Seen->High - Seen->Low;
    const Vector2d Free = 0.5 * (Room - Span);
    const Vector2d Goal = Vector2d::Constant(Border) + 0.5 * Room + Free.cwiseProduct(Place);
    const Vector2d Off = Goal - 0.5 * (Seen->Low + Seen->High);
    const double Stretch = Span.cwiseQuotient(Room).maxCoeff() / Fill;
    if (std::abs(Stretch - 1.0) < Settled_Part && Off.norm() < Settled_Part * Room.norm()) {
      return Pose;
    }
    Centre_Cam.head<2>() += Off.cwiseQuotient(Focal) * Centre_Cam.z();
    Centre_Cam *= std::clamp(Stretch, 0.6, 1.6);
  }
  return std::nullopt;
}

// Whether all squares are large enough where the image is searched.
bool Are_Squares_Large(const Board_View& View, const Eigen::Isometry3d& Pose) {
  const double Reduction = View.Width >= library_limits::Reduced_From_Width
                               ? static_cast<double>(library_limits::Reduced_Width) / View.Width
                               : 1.0;
  const Vector2d Last((View.Board.Cols - 1), (View.Board.Rows - 1));
  for (const auto& [Col, Row] :
       {std::pair(0.0, 0.0), std::pair(Last.x() - 1, 0.0), std::pair(0.0, Last.y() - 1),
        std::pair(Last.x() - 1, Last.y() - 1)}) {
    const auto At = [&](double C, double R) {
      return Project(View.Lens_Px, Pose * (View.Square_Size * Vector3d(C, R, 0)));
    };
    const auto First = At(Col, Row), Beside = At(Col + 1, Row), Below = At(Col, Row + 1);
    if (!First || !Beside || !Below) return false;
    const double Least = std::min((*Beside - *First).norm(), (*Below - *First).norm());
    if (!(Reduction * Least >= Smallest_Square_Px)) return false;
  }
  return true;
}

bool Is_Upright(double Roll_Deg) {
  return std::abs(std::remainder(Roll_Deg, 360.0)) <= Upright_Roll_Deg;
}

// A quarter of a turn at a time, or an eighth while the upper side stays up.
std::vector<Board_Roll> Possible_Rolls(const Board_Size& Board, double Last_Roll_Deg) {
  if (!Looks_Same_Half_Turned(Board)) {
    return {Board_Roll::As_Before, Board_Roll::Quarter_Right, Board_Roll::Half,
            Board_Roll::Quarter_Left};
  }
  std::vector<Board_Roll> Rolls = {Board_Roll::As_Before};
  for (const Board_Roll Roll : {Board_Roll::Eighth_Right, Board_Roll::Eighth_Left}) {
    if (Is_Upright(Last_Roll_Deg + Roll_Change_Deg(Roll))) Rolls.push_back(Roll);
  }
  return Rolls;
}

std::vector<Pose_Parts> Possible_Tilts() {
  std::vector<Pose_Parts> All(1);
  for (const Near_Part Nearest :
       {Near_Part::Left, Near_Part::Upper_Left, Near_Part::Top, Near_Part::Upper_Right,
        Near_Part::Right, Near_Part::Lower_Right, Near_Part::Bottom, Near_Part::Lower_Left}) {
    for (const double Tilt_Deg : Tilts_Deg) {
      Pose_Parts Parts;
      Parts.Nearest = Nearest;
      Parts.Tilt_Deg = Tilt_Deg;
      All.push_back(Parts);
    }
  }
  return All;
}

}  // namespace

double Fill_Of(Board_Distance Distance) {
  switch (Distance) {
    case Board_Distance::Near:
      return 0.85;
    case Board_Distance::Middle:
      return 0.6;
    case Board_Distance::Far:
      return 0.4;
  }
  return 0.0;
}

double Roll_Deg_Of(const Eigen::Matrix3d& Rotation_Cam_Chart) {
  const Vector3d Normal_Cam = Rotation_Cam_Chart.col(2);
  const Eigen::Matrix3d Tilt =
      Eigen::Quaterniond::FromTwoVectors(Vector3d::UnitZ(), Normal_Cam).toRotationMatrix();
  const Vector3d Right = Tilt.transpose() * Rotation_Cam_Chart.col(0);
  return Degrees_Per_Radian * std::atan2(Right.y(), Right.x());
}

bool Is_Seen_Well(const Board_View& View, const Eigen::Isometry3d& Transform_Cam_Chart) {
  const Board_Points Points = Points_Of(View);
  const auto Seen = Outline_Box(View, Points, Transform_Cam_Chart);
  if (!Seen) return false;
  const double Border = 0.5 * Border_Px(View);
  if (!(Seen->Low.minCoeff() >= Border && Seen->High.x() <= View.Width - 1 - Border &&
        Seen->High.y() <= View.Height - 1 - Border)) {
    return false;
  }
  const double Least_Cosine = std::cos(Flattest_Deg / Degrees_Per_Radian);
  const Vector3d Normal_Cam = Transform_Cam_Chart.linear().col(2);
  for (const Vector3d& Point_Chart : Points.Outline_Chart) {
    const Vector3d Sight = (Transform_Cam_Chart * Point_Chart).normalized();
    if (!(Normal_Cam.dot(Sight) > Least_Cosine)) return false;
  }
  return Are_Squares_Large(View, Transform_Cam_Chart);
}

std::optional<Held_Pose> Pose_With(const Board_View& View, const Pose_Parts& Parts,
                                   double Last_Roll_Deg) {
  const auto Pose = Placed(View, Rotation_Of(Parts, Last_Roll_Deg), Fill_Of(Parts.Distance),
                           Vector2d(Parts.Place.Right, Parts.Place.Down));
  if (!Pose || !Is_Seen_Well(View, *Pose)) return std::nullopt;
  return Held_Pose{Parts, *Pose};
}

std::vector<Held_Pose> Possible_Poses(const Board_View& View, double Last_Roll_Deg) {
  std::vector<Held_Pose> All;
  for (Pose_Parts Parts : Possible_Tilts()) {
    for (const Board_Roll Roll : Possible_Rolls(View.Board, Last_Roll_Deg)) {
      for (const Board_Distance Distance :
           {Board_Distance::Near, Board_Distance::Middle, Board_Distance::Far}) {
        for (int Ninth = 0; Ninth < 9; ++Ninth) {
          Parts.Roll = Roll;
          Parts.Distance = Distance;
          Parts.Place = {Ninth % 3 - 1, Ninth / 3 - 1};
          if (const auto Pose = Pose_With(View, Parts, Last_Roll_Deg)) All.push_back(*Pose);
        }
      }
    }
  }
  return All;
}

}  // namespace rigsync
