// SPDX-License-Identifier: Apache-2.0
#include "bench/corner_capture.h"

#include "bench/quick_lens.h"
#include "simulate/geometry.h"
#include "simulate/random.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

namespace bench {
namespace {

using Eigen::Isometry3d;
using Eigen::Matrix3d;
using Eigen::Vector2d;
using Eigen::Vector3d;

// Streams of random numbers, different from the simulator's.
enum Stream : unsigned { Corner_Noise = 301, Tracker_Noise, Stale_Rows, Slips, Estimates };

constexpr double Stated_Square = 0.03;  // metres
constexpr int Width = 960, Height = 540;

constexpr double Metres_Per_Mm = 1e-3;

simulate::Options Options_Of(const View_Setting& Setting, unsigned Seed) {
  simulate::Options Options;
  Options.Seed = Seed;
  Options.Image_Count = Setting.Images;
  Options.Width = Width;
  Options.Height = Height;
  Options.Square_Size = Stated_Square * Setting.Square_Factor;
  if (Setting.Turns_About_One_Axis) Options.Pose_Spread = simulate::Spread::One_Axis;
  return Options;
}

Matrix3d Mean_Rotation(const std::vector<Isometry3d>& Poses) {
  std::vector<Matrix3d> Rotations;
  for (const Isometry3d& Pose : Poses) Rotations.push_back(Pose.linear());
  return rigsync::Mean_Rotation(Rotations);
}

// Each board is turned about its centre, which stays where it is.
void Scale_Turns(const Vector3d& Centre_Chart, double Part, std::vector<Isometry3d>& Boards) {
  const Matrix3d Mean = Mean_Rotation(Boards);
  for (Isometry3d& Board : Boards) {
    const Vector3d Centre_Cam = Board * Centre_Chart;
    const Vector3d Turn = rigsync::Turn_From_Rotation(Board.linear() * Mean.transpose());
    Board.linear() = rigsync::Rotation_From_Turn(Part * Turn) * Mean;
    Board.translation() = Centre_Cam - Board.linear() * Centre_Chart;
  }
}

// Brown's model with all five coefficients, or an equidistant image.
Vector2d Project_With_Fault(const simulate::Lens& Model, const Lens_Fault& Fault,
                            const Vector3d& Point_Cam) {
  const double X = Point_Cam.x() / Point_Cam.z(), Y = Point_Cam.y() / Point_Cam.z();
  const double Square = X * X + Y * Y, Radius = std::sqrt(Square);
  if (Fault.Is_Fisheye) {
    const double Gain = Radius > 0.0 ? std::atan(Radius) / Radius : 1.0;
    return {Model.Fx * X * Gain + Model.Cx, Model.Fy * Y * Gain + Model.Cy};
  }
  const double Gain = 1.0 + Square * (Model.K1 + Square * (Model.K2 + Square * Fault.K3));
  const double Across = 2 * Fault.P1 * X * Y + Fault.P2 * (Square + 2 * X * X);
  const double Along = Fault.P1 * (Square + 2 * Y * Y) + 2 * Fault.P2 * X * Y;
  return {Model.Fx * (X * Gain + Across) + Model.Cx, Model.Fy * (Y * Gain + Along) + Model.Cy};
}

bool Has_Fault(const Lens_Fault& Fault) {
  return Fault.Is_Fisheye || Fault.K3 != 0 || Fault.P1 != 0 || Fault.P2 != 0;
}

// The corners of a board as they are found.
rigsync::Corner_List Find_Corners(const Views& Seen, const simulate::Options& Board,
                                  const Isometry3d& Transform_Cam_Chart, simulate::Random& Random) {
  rigsync::Corner_List Corners;
  for (int k = 0; k < Board.Board_Rows * Board.Board_Cols; ++k) {
    const Vector3d Corner_Chart(k % Board.Board_Cols, k / Board.Board_Cols, 0);
    const Vector2d Point =
        Project_Truly(Seen, Transform_Cam_Chart * (Board.Square_Size * Corner_Chart));
    const float X = static_cast<float>(Point.x() + Corner_Noise_Px * Random.Gaussian());
    const float Y = static_cast<float>(Point.y() + Corner_Noise_Px * Random.Gaussian());
    Corners.push_back({X, Y});
  }
  return Corners;
}

rigsync::Vector6d Drawn(const Misplacement& Of, simulate::Random& Random) {
  rigsync::Vector6d Motion;
  const Vector3d Axis = Random.Direction(), Way = Random.Direction();
  Motion << simulate::Radians(Of.Deg) * Axis, Metres_Per_Mm * Of.Mm * Way;
  return Motion;
}

// The mount of a tracker in the tracker's own frame, changed.
Isometry3d Slipped(const Isometry3d& Transform_Base_Tracker, const rigsync::Vector6d& Motion) {
  return Transform_Base_Tracker * rigsync::Moved(Isometry3d::Identity(), Motion);
}

// The poses of both trackers in one image.
struct Tracker_Poses {
  Isometry3d Camera, Board;
};

Tracker_Poses True_Poses(const Views& Seen, std::size_t Image, Standing Still,
                         const Corner_Capture& Truth) {
  const Isometry3d Transform_Chart_Tr = Truth.Transform_Tr_Chart.inverse();
  const Isometry3d& Cam_Chart = Seen.Transform_Cam_Chart[Image];
  Isometry3d Base_Cam = Seen.Transform_Base_Cam[Still == Standing::Camera ? 0 : Image];
  if (Still == Standing::Board) {
    Base_Cam = Seen.Transform_Base_Cam[0] * Seen.Transform_Cam_Chart[0] * Cam_Chart.inverse();
  }
  return {Base_Cam * Truth.Transform_Cam_Tc, Base_Cam * Cam_Chart * Transform_Chart_Tr};
}

// A pose as a tracker reports it.
Isometry3d Reported(const Isometry3d& True_Pose, const Tracker_Setting& Setting, double Factor,
                    simulate::Random& Random) {
  const Vector3d Turn = Random.Gaussian_Vector(), Noise = Random.Gaussian_Vector();
  const double Tail = 1.0 / Random.Gaussian_Vector().norm();
  const double Part = Factor * (Setting.Has_Heavy_Tails ? Tail : 1.0);
  // Bends over a metre or so, as the field of a tracking system does.
  const Vector3d& At = True_Pose.translation();
  const Vector3d Field(std::sin(4 * At.y() + 1), std::sin(4 * At.z() + 2), std::sin(4 * At.x()));
  rigsync::Vector6d Motion;
  Motion << Part * simulate::Radians(Setting.Rotation_Deg) * Turn,
      Metres_Per_Mm * (Part * Setting.Position_Mm * Noise + Setting.Field_Mm * Field);
  Motion[5] +=
      Metres_Per_Mm * Part * Setting.Position_Mm * (Setting.Depth_Factor - 1.0) * Noise.z();
  return rigsync::Moved(True_Pose, Motion);
}

rigsync::Tracker_Sample Sample_Of(const Isometry3d& Transform_Base_Tracker) {
  const simulate::Sample Made = simulate::Make_Sample(Transform_Base_Tracker.matrix());
  const Eigen::Quaterniond& Q = Made.Rotation;
  return {{Made.Position.x(), Made.Position.y(), Made.Position.z()}, {Q.w(), Q.x(), Q.y(), Q.z()}};
}

std::vector<bool> Drawn_Stale_Rows(std::size_t Rows, int Stale, unsigned Seed) {
  simulate::Random Random(Seed, Stale_Rows);
  std::vector<bool> Is_Stale(Rows, false);
  for (int k = 0; k < Stale && k < static_cast<int>(Rows);) {
    const auto Row = static_cast<std::size_t>(Random.Index(static_cast<int>(Rows)));
    if (!Is_Stale[Row]) ++k;
    Is_Stale[Row] = true;
  }
  return Is_Stale;
}

rigsync::Board_Place Drawn_Estimate(const Isometry3d& Transform_Tr_Chart, const Misplacement& Off,
                                    unsigned Seed) {
  simulate::Random Random(Seed, Estimates);
  return rigsync::Place_From_Transform(rigsync::Moved(Transform_Tr_Chart, Drawn(Off, Random)));
}

// A slip of one of both trackers, and how its mount changes.
struct Drawn_Slip {
  True_Slip Slip;
  rigsync::Vector6d Motion;
};

std::optional<Drawn_Slip> Draw_Slip(const Tracker_Setting& Setting, std::size_t Rows,
                                    unsigned Seed) {
  const int Choices = static_cast<int>(Rows) - 2 * Setting.Least_Beside_Slip + 1;
  if ((Setting.Slip.Mm == 0 && Setting.Slip.Deg == 0) || Choices < 1) return std::nullopt;
  simulate::Random Random(Seed, Slips);
  Drawn_Slip Made;
  Made.Slip.Is_Camera = Random.Index(2) == 0;
  Made.Slip.First_Row = static_cast<std::size_t>(Setting.Least_Beside_Slip + Random.Index(Choices));
  Made.Motion = Drawn(Setting.Slip, Random);
  return Made;
}

void Add_Slip(const Drawn_Slip& Made, Corner_Capture& Capture) {
  Capture.Slip = Made.Slip;
  if (Made.Slip.Is_Camera) {
    Capture.Transform_Cam_Tc = Slipped(Capture.Transform_Cam_Tc, Made.Motion);
  } else {
    Capture.Transform_Tr_Chart =
        Slipped(Capture.Transform_Tr_Chart.inverse(), Made.Motion).inverse();
  }
}

// Captures that leave the lens nearly open may end elsewhere than at the least error, so OpenCV
// solves them as the library does.
std::optional<Library_Lens> Solve_Lens(const Views& Seen, const View_Setting& Setting) {
  constexpr int Least_Images = 12;
  constexpr double Least_Turn_Part = 0.1;
  const bool Is_Weak = Setting.Turn_Part < Least_Turn_Part || Setting.Turns_About_One_Axis ||
                       Setting.Images < Least_Images || Setting.Lens.Is_Fisheye;
  if (!Is_Weak) {
    const std::optional<Library_Lens> Refined =
        Refine_Lens(Seen.Corners, Seen.Board, True_Library_Lens(Seen, Setting.Square_Factor),
                    Distortion_Model::Two);
    if (Refined) return Refined;
  }
  return Solve_Library_Lens(Seen.Corners, Seen.Board);
}

}  // namespace

bool View_Setting::operator==(const View_Setting& Other) const {
  const auto Key = [](const View_Setting& Of) {
    return std::make_tuple(Of.Images, Of.Turn_Part, Of.Turns_About_One_Axis, Of.Square_Factor,
                           Of.Lens.K3, Of.Lens.P1, Of.Lens.P2, Of.Lens.Is_Fisheye);
  };
  return Key(*this) == Key(Other);
}

Matrix3d Tracker_Setting::Usual_Mount_Rotation() {
  const simulate::Options Usual;
  return simulate::Pose_From_Euler(Usual.Camera_Mount_Euler_Deg, Usual.Camera_Mount_Offset)
      .topLeftCorner<3, 3>();
}

Library_Lens True_Library_Lens(const Views& Seen, double Square_Factor) {
  const simulate::Lens& Lens = Seen.True_Lens;
  Library_Lens Made;
  Made.Camera_Matrix =
      (cv::Mat_<double>(3, 3) << Lens.Fx, 0, Lens.Cx, 0, Lens.Fy, Lens.Cy, 0, 0, 1);
  Made.Distortion = (cv::Mat_<double>(1, 5) << Lens.K1, Lens.K2, 0, 0, 0);
  const int Images = static_cast<int>(Seen.Corners.size());
  Made.Rvecs.create(Images, 1, CV_64FC3);
  Made.Tvecs.create(Images, 1, CV_64FC3);
  for (int i = 0; i < Images; ++i) {
    const Isometry3d& Pose = Seen.Transform_Cam_Chart[static_cast<std::size_t>(i)];
    const Vector3d Turn = rigsync::Turn_From_Rotation(Pose.linear());
    const Vector3d Offset = Pose.translation() / Square_Factor;
    Made.Rvecs.at<cv::Vec3d>(i) = {Turn.x(), Turn.y(), Turn.z()};
    Made.Tvecs.at<cv::Vec3d>(i) = {Offset.x(), Offset.y(), Offset.z()};
  }
  return Made;
}

Vector2d Project_Truly(const Views& Seen, const Vector3d& Point_Cam) {
  if (!Has_Fault(Seen.Fault)) return simulate::Project(Seen.True_Lens, Point_Cam);
  return Project_With_Fault(Seen.True_Lens, Seen.Fault, Point_Cam);
}

Views Make_Views(const View_Setting& Setting, unsigned Seed) {
  const simulate::Plan Plan = simulate::Make_Plan(Options_Of(Setting, Seed));
  const simulate::Options& Board = Plan.Settings;
  Views Seen;
  Seen.True_Lens = Plan.True_Lens;
  Seen.Fault = Setting.Lens;
  Seen.Board = {{Board.Board_Cols, Board.Board_Rows}, Stated_Square, {Width, Height}};
  const Eigen::Matrix4d Transform_Tc_Cam = simulate::Rigid_Inverse(Plan.Transform_Cam_Tc);
  for (const simulate::Image_Truth& Image : Plan.Images) {
    Seen.Transform_Cam_Chart.emplace_back(Image.Transform_Cam_Chart);
    Seen.Transform_Base_Cam.emplace_back(Image.Transform_Base_Tc * Transform_Tc_Cam);
  }
  const Vector3d Centre_Chart =
      0.5 * Board.Square_Size * Vector3d(Board.Board_Cols - 1, Board.Board_Rows - 1, 0);
  if (Setting.Turn_Part != 1.0) {
    Scale_Turns(Centre_Chart, Setting.Turn_Part, Seen.Transform_Cam_Chart);
  }
  simulate::Random Random(Seed, Corner_Noise);
  for (const Isometry3d& Transform_Cam_Chart : Seen.Transform_Cam_Chart) {
    Seen.Corners.push_back(Find_Corners(Seen, Board, Transform_Cam_Chart, Random));
  }
  Seen.Lens = Solve_Lens(Seen, Setting);
  return Seen;
}

Corner_Capture Make_Capture(const Views& Seen, const Tracker_Setting& Setting, unsigned Seed) {
  const std::size_t Rows = Seen.Corners.size();
  const simulate::Options Usual;
  Corner_Capture Made;
  Made.Transform_Cam_Tc = Isometry3d::Identity();
  Made.Transform_Cam_Tc.linear() = Setting.Mount_Rotation;
  Made.Transform_Cam_Tc.translation() = Usual.Camera_Mount_Offset;
  Made.Transform_Tr_Chart =
      Isometry3d(simulate::Pose_From_Euler(Usual.Board_Mount_Euler_Deg, Usual.Board_Mount_Offset));
  Made.Estimate = Drawn_Estimate(Made.Transform_Tr_Chart, Setting.Estimate, Seed);
  Made.Is_Stale = Drawn_Stale_Rows(Rows, Setting.Stale_Rows, Seed);
  const std::optional<Drawn_Slip> Slip = Draw_Slip(Setting, Rows, Seed);
  simulate::Random Noise(Seed, Tracker_Noise), Stale(Seed, Stream::Stale_Rows + 100U);
  for (std::size_t i = 0; i < Rows; ++i) {
    if (Slip && i == Slip->Slip.First_Row) Add_Slip(*Slip, Made);
    Tracker_Poses Poses = True_Poses(Seen, i, Setting.Still, Made);
    const rigsync::Vector6d Off = Drawn(Setting.Staleness, Stale);
    if (Made.Is_Stale[i]) Poses.Camera = rigsync::Moved(Poses.Camera, Off);
    rigsync::Row_Facts Facts;
    Facts.Row = i;
    Facts.Camera = Sample_Of(Reported(Poses.Camera, Setting, 1.0, Noise));
    Facts.Board = Sample_Of(Reported(Poses.Board, Setting, Setting.Board_Factor, Noise));
    Facts.Corners = Seen.Corners[i];
    Made.Rows.push_back(Facts);
  }
  return Made;
}

}  // namespace bench
