// SPDX-License-Identifier: Apache-2.0
//
// joint_solve [CAPTURES [FIRST_SEED [NAME]]] (NAME lag: only what a lag does): both mounts solved
// together, beside the closed forms of Shah and of Park and Martin, on captures whose truth is
// known. No image is drawn: the simulator plans the poses, and board poses are off by what noise of
// the corners and the lens solved from them do to first order. Prints a table: median errors of
// Transform_Cam_Tc, the part of captures in which the truth is inside the stated 95 % (of the six
// axes together, and of the axes with the least and the most), and what became of bad rows; how
// often a slip is found; what a lag between pictures and samples does, solved and unsolved; and the
// time that it takes.
#include "rigsync/solve/joint_solve.h"
#include "rigsync/solve/closed_form.h"
#include "rigsync/solve/slip.h"
#include "simulate/random.h"
#include "simulate/simulate.h"

#include <Eigen/Cholesky>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/eigen.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

namespace {

using Eigen::Isometry3d;
using Eigen::Matrix3d;
using Eigen::Vector3d;
using rigsync::Observation;
using rigsync::Observations;
using rigsync::Vector6d;

constexpr double Radian_In_Degrees = 3.14159265358979323846 / 180.0;
constexpr rigsync::Board_Size Board{11, 8};
constexpr double Square_Size = 0.03;
constexpr double Corner_Deviation_Px = 0.03;

enum class Fixed { None, Camera_Stands, Board_Stands };

struct Setting {
  std::string Name;
  double Position_Mm = 0.3, Rotation_Deg = 0.03;  // noise on each axis of each tracker
  int Images = 24;
  int Stale = 0;
  double Stale_Mm = 30, Stale_Deg = 2;
  double Turn_Part = 1.0;      // the turns of the capture are scaled by this
  double Board_Factor = 1.0;   // noise of the board's tracker
  double Depth_Factor = 1.0;   // noise of positions along z of the tracking system
  bool Heavy_Tails = false;    // t with 3 degrees of freedom
  double Field_Mm = 0.0;       // an error of positions that depends on the place
  double Square_Factor = 1.0;  // the true square in units of the stated one
  Fixed Standing = Fixed::None;
  double Slip_Mm = 0.0;   // from a drawn row on, and a tenth of it in degrees
  double Nudge_Mm = 0.0;  // by which the camera that stands is pushed once, with its tracker
  // Each body moves at this speed in a direction of its own, as a recording shows it with noise.
  double Speed_Mm = 0.0, Speed_Deg = 0.0;
  double Speed_Noise_Mm = 0.3, Speed_Noise_Deg = 0.03;
  double Lag_Seconds = 0.0;
};

std::vector<Setting> Settings() {
  std::vector<Setting> All;
  const auto Add = [&All](const std::string& Name, const std::function<void(Setting&)>& Set) {
    Setting New;
    New.Name = Name;
    Set(New);
    All.push_back(New);
  };
  const auto Noise = [](double Mm, double Deg) {
    return [Mm, Deg](Setting& Of) {
      Of.Position_Mm = Mm;
      Of.Rotation_Deg = Deg;
    };
  };
  Add("noise 0.1 mm 0.01 deg", Noise(0.1, 0.01));
  Add("noise 0.3 mm 0.03 deg", Noise(0.3, 0.03));
  Add("noise 1 mm 0.1 deg", Noise(1, 0.1));
  Add("noise 2 mm 0.2 deg", Noise(2, 0.2));
  Add("noise 0.3 mm 0.1 deg", Noise(0.3, 0.1));
  Add("heavy tails", [](Setting& Of) { Of.Heavy_Tails = true; });
  Add("z noise x3", [](Setting& Of) { Of.Depth_Factor = 3; });
  Add("board's tracker x3", [](Setting& Of) { Of.Board_Factor = 3; });
  Add("field error 1 mm", [](Setting& Of) { Of.Field_Mm = 1; });
  Add("field error 3 mm", [](Setting& Of) { Of.Field_Mm = 3; });
  for (const double Part : {0.1, 0.3, 0.5}) {
    char Name[40];
    std::snprintf(Name, sizeof Name, "square %.1f %% off", Part);
    Add(Name, [Part](Setting& Of) { Of.Square_Factor = 1.0 + Part / 100; });
  }
  for (const int Stale : {2, 6, 10, 11, 12}) {
    Add(std::to_string(Stale) + " of 24 stale", [Stale](Setting& Of) { Of.Stale = Stale; });
  }
  Add("6 stale by 10 mm, noise 1 mm", [](Setting& Of) {
    Of.Stale = 6, Of.Stale_Mm = 10, Of.Stale_Deg = 0.7, Of.Position_Mm = 1, Of.Rotation_Deg = 0.1;
  });
  for (const int Images : {12, 16, 36, 60}) {
    Add(std::to_string(Images) + " images", [Images](Setting& Of) { Of.Images = Images; });
  }
  for (const double Part : {0.5, 0.2, 0.1, 0.03}) {
    char Name[40];
    std::snprintf(Name, sizeof Name, "turns x%.2f", Part);
    Add(Name, [Part](Setting& Of) { Of.Turn_Part = Part; });
  }
  Add("camera fixed", [](Setting& Of) { Of.Standing = Fixed::Camera_Stands; });
  Add("board fixed", [](Setting& Of) { Of.Standing = Fixed::Board_Stands; });
  for (const double Mm : {1.0, 3.0, 8.0}) {
    char Name[40];
    std::snprintf(Name, sizeof Name, "camera nudged by %.0f mm", Mm);
    Add(Name, [Mm](Setting& Of) {
      Of.Standing = Fixed::Camera_Stands;
      Of.Nudge_Mm = Mm;
    });
  }
  return All;
}

struct Capture {
  Isometry3d Transform_Cam_Tc, Transform_Tr_Chart;
  Observations Seen;
  std::vector<bool> Is_Stale;
  std::size_t Slipped_From = 0;  // the number of rows for no slip
  bool Camera_Slipped = false;
};

Matrix3d By_Turn(const Vector3d& Turn) {
  return Turn.norm() > 0 ? Eigen::AngleAxisd(Turn.norm(), Turn.normalized()).toRotationMatrix()
                         : Matrix3d::Identity().eval();
}

// The board's poses in the camera, with turns that are scaled about their mean.
std::vector<Isometry3d> Board_Poses(const simulate::Plan& Plan, double Turn_Part) {
  std::vector<Isometry3d> Poses;
  Matrix3d Sum = Matrix3d::Zero();
  for (const simulate::Image_Truth& Image : Plan.Images) {
    Poses.emplace_back(Image.Transform_Cam_Chart);
    Sum += Poses.back().linear();
  }
  const Matrix3d Mean = Eigen::Quaterniond(rigsync::Nearest_Rotation(Sum)).toRotationMatrix();
  for (Isometry3d& Pose : Poses) {
    const Eigen::AngleAxisd Turn(Matrix3d(Pose.linear() * Mean.transpose()));
    Pose.linear() = By_Turn(Turn_Part * Turn.angle() * Turn.axis()) * Mean;
  }
  return Poses;
}

rigsync::Corner_List Corners_At(const simulate::Plan& Plan, const Isometry3d& Pose) {
  simulate::Image_Truth Image;
  Image.Transform_Cam_Chart = Pose.matrix();
  rigsync::Corner_List Corners;
  for (const Eigen::Vector2d& Point : simulate::Project_Board(Plan, Image)) {
    Corners.push_back({static_cast<float>(Point.x()), static_cast<float>(Point.y())});
  }
  return Corners;
}

// A pose of a tracker as it reports it.
Isometry3d Reported(const Isometry3d& True_Pose, const Setting& Of, double Factor,
                    simulate::Random& Random) {
  double Tail = 1.0;
  if (Of.Heavy_Tails) {  // t with 3 degrees of freedom, scaled to the same variance
    Tail = 1.0 / Random.Gaussian_Vector().norm();
  }
  Isometry3d Pose = True_Pose;
  const Vector3d Turn =
      Factor * Tail * Of.Rotation_Deg * Radian_In_Degrees * Random.Gaussian_Vector();
  Pose.linear() = By_Turn(Turn) * Pose.linear();
  Vector3d Shift = Factor * Tail * 1e-3 * Of.Position_Mm * Random.Gaussian_Vector();
  Shift.z() *= Of.Depth_Factor;
  // Bends over a metre or so, as a tracking system's field does.
  const Vector3d& At = True_Pose.translation();
  const Vector3d Field(std::sin(4 * At.y() + 1), std::sin(4 * At.z() + 2), std::sin(4 * At.x()));
  Pose.translation() += Shift + 1e-3 * Of.Field_Mm * Field;
  return Pose;
}

rigsync::Body_Velocity Drawn_Velocity(const Setting& Of, simulate::Random& Random) {
  rigsync::Body_Velocity Velocity;
  Velocity.Linear = 1e-3 * Of.Speed_Mm * Random.Direction();
  Velocity.Angular = Of.Speed_Deg * Radian_In_Degrees * Random.Direction();
  return Velocity;
}

// Where the body was, by the velocity that it had.
Isometry3d Earlier(const Isometry3d& Pose, const rigsync::Body_Velocity& Velocity, double Seconds) {
  Isometry3d Before = Pose;
  Before.linear() = By_Turn(-Seconds * Velocity.Angular) * Pose.linear();
  Before.translation() -= Seconds * Velocity.Linear;
  return Before;
}

void Blur(const Setting& Of, simulate::Random& Random, rigsync::Body_Velocity& Velocity) {
  Velocity.Linear += 1e-3 * Of.Speed_Noise_Mm * Random.Gaussian_Vector();
  Velocity.Angular += Of.Speed_Noise_Deg * Radian_In_Degrees * Random.Gaussian_Vector();
}

// Samples that are late, and the velocities.
void Add_Lag(const Setting& Of, simulate::Random& Random, Observation& Row) {
  rigsync::Row_Motion Motion{Drawn_Velocity(Of, Random), Drawn_Velocity(Of, Random)};
  if (Of.Standing == Fixed::Camera_Stands) Motion.Camera = {};
  if (Of.Standing == Fixed::Board_Stands) Motion.Board = {};
  Row.Transform_Tc_Base =
      Earlier(Row.Transform_Tc_Base.inverse(), Motion.Camera, Of.Lag_Seconds).inverse();
  Row.Transform_Base_Tr = Earlier(Row.Transform_Base_Tr, Motion.Board, Of.Lag_Seconds);
  Blur(Of, Random, Motion.Camera);
  Blur(Of, Random, Motion.Board);
  Row.Motion = Motion;
}

Isometry3d Stale(const Isometry3d& Pose, const Setting& Of, simulate::Random& Random) {
  Isometry3d Old = Pose;
  Old.linear() = By_Turn(Of.Stale_Deg * Radian_In_Degrees * Random.Direction()) * Old.linear();
  Old.translation() += 1e-3 * Of.Stale_Mm * Random.Direction();
  return Old;
}

void Place_Trackers(const simulate::Plan& Plan, const Setting& Of,
                    const std::vector<Isometry3d>& Boards, std::size_t Image, Isometry3d& Camera,
                    Isometry3d& On_Board, const Capture& Truth) {
  Camera = Isometry3d(Plan.Images[Image].Transform_Base_Tc);
  if (Of.Standing == Fixed::Camera_Stands) Camera = Isometry3d(Plan.Images[0].Transform_Base_Tc);
  // At a row of the seed's own, along a direction of the room.
  const std::size_t Nudged_From = 3 + Plan.Settings.Seed % (Boards.size() - 5);
  if (Image >= Nudged_From) {
    Camera.translation() += 1e-3 * Of.Nudge_Mm * Vector3d(0.48, 0.64, 0.6);
  }
  const Isometry3d Tc_Tr =
      Truth.Transform_Cam_Tc.inverse() * Boards[Image] * Truth.Transform_Tr_Chart.inverse();
  On_Board = Camera * Tc_Tr;
  if (Of.Standing != Fixed::Board_Stands) return;
  On_Board = Isometry3d(Plan.Images[0].Transform_Base_Tr);
  Camera = On_Board * Tc_Tr.inverse();
}

Vector6d Drawn(const rigsync::Matrix6d& Covariance, simulate::Random& Random) {
  Vector6d Normal;
  Normal << Random.Gaussian_Vector(), Random.Gaussian_Vector();
  const Vector6d Scale = Covariance.diagonal().cwiseSqrt();
  const rigsync::Matrix6d Root =
      (Scale.cwiseInverse().asDiagonal() * Covariance * Scale.cwiseInverse().asDiagonal())
          .llt()
          .matrixL();
  return Scale.asDiagonal() * (Root * Normal);
}

// Board poses are off by the lens, which is one for all, and by each board's own corners.
void Add_Corner_Errors(Capture& Made, simulate::Random& Random) {
  const Vector6d Lens_Error = Drawn(Made.Seen.Lens_Covariance, Random);
  for (Observation& Row : Made.Seen.Rows) {
    const Vector6d Own = Drawn(Made.Seen.Corner_Variance * Row.Board.Unit_Covariance, Random);
    Row.Board.Transform_Cam_Chart = rigsync::Moved(Row.Board.Transform_Cam_Chart,
                                                   Own + Row.Board.Lens_Sensitivity * Lens_Error);
  }
}

// At least three rows are on each side of a slip.
Isometry3d Drawn_Slip(const Setting& Of, std::size_t Rows, simulate::Random& Random,
                      Capture& Made) {
  Isometry3d Slip = Isometry3d::Identity();
  Made.Slipped_From = Rows;
  if (Of.Slip_Mm == 0.0) return Slip;
  Made.Slipped_From = 3 + static_cast<std::size_t>(Random.Index(static_cast<int>(Rows) - 5));
  Made.Camera_Slipped = Random.Index(2) == 0;
  Slip.linear() = By_Turn(0.1 * Of.Slip_Mm * Radian_In_Degrees * Random.Direction());
  Slip.translation() = 1e-3 * Of.Slip_Mm * Random.Direction();
  return Slip;
}

Capture Make_Capture(const Setting& Of, unsigned Seed) {
  simulate::Options Options;
  Options.Seed = Seed;
  Options.Image_Count = Of.Images;
  Options.Width = 960;
  Options.Height = 540;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  simulate::Random Random(Seed, 77);
  Capture Made;
  Made.Transform_Cam_Tc = Isometry3d(Plan.Transform_Cam_Tc);
  Made.Transform_Tr_Chart = Isometry3d(Plan.Transform_Chart_Tr).inverse();
  const std::vector<Isometry3d> Boards = Board_Poses(Plan, Of.Turn_Part);
  const rigsync::Lens Lens{Plan.True_Lens.Fx, Plan.True_Lens.Fy, Plan.True_Lens.Cx,
                           Plan.True_Lens.Cy, Plan.True_Lens.K1, Plan.True_Lens.K2};
  rigsync::Matrix6d Lens_Information = rigsync::Matrix6d::Zero();
  const Isometry3d Slip = Drawn_Slip(Of, Boards.size(), Random, Made);
  for (std::size_t i = 0; i < Boards.size(); ++i) {
    Observation Row;
    Row.Row = i;
    Row.Board = *rigsync::Solve_Board_Pose(Corners_At(Plan, Boards[i]), Board, Square_Size, Lens);
    Lens_Information += Row.Board.Lens_Information;
    Isometry3d Camera, On_Board;
    Place_Trackers(Plan, Of, Boards, i, Camera, On_Board, Made);
    if (i >= Made.Slipped_From) {
      Isometry3d& Slipped = Made.Camera_Slipped ? Camera : On_Board;
      Slipped = Slipped * Slip;
    }
    Made.Is_Stale.push_back(static_cast<int>(i * 7 % Boards.size()) < Of.Stale);
    if (Made.Is_Stale.back()) Camera = Stale(Camera, Of, Random);
    Row.Transform_Tc_Base = Reported(Camera, Of, 1.0, Random).inverse();
    Row.Transform_Base_Tr = Reported(On_Board, Of, Of.Board_Factor, Random);
    if (Of.Speed_Mm > 0.0 || Of.Speed_Deg > 0.0) Add_Lag(Of, Random, Row);
    Made.Seen.Rows.push_back(Row);
  }
  Made.Seen.Corner_Variance = Corner_Deviation_Px * Corner_Deviation_Px;
  const Vector6d Scale = Lens_Information.diagonal().cwiseSqrt().cwiseInverse();
  Made.Seen.Lens_Covariance =
      Made.Seen.Corner_Variance * (Scale.asDiagonal() *
                                   (Scale.asDiagonal() * Lens_Information * Scale.asDiagonal())
                                       .ldlt()
                                       .solve(rigsync::Matrix6d::Identity()) *
                                   Scale.asDiagonal());
  Add_Corner_Errors(Made, Random);
  // A board that is larger than stated is seen nearer than it is.
  for (Observation& Row : Made.Seen.Rows) {
    Row.Board.Transform_Cam_Chart.translation() /= Of.Square_Factor;
  }
  return Made;
}

// Park and Martin 1994, by OpenCV, on all rows.
Isometry3d Park(const std::vector<Observation>& Rows) {
  std::vector<cv::Mat> Hand_Turns, Hand_Shifts, Board_Turns, Board_Shifts;
  const auto Push = [](const Isometry3d& Pose, std::vector<cv::Mat>& Turns,
                       std::vector<cv::Mat>& Shifts) {
    cv::Mat Turn, Shift;
    cv::eigen2cv(Matrix3d(Pose.linear()), Turn);
    cv::eigen2cv(Vector3d(Pose.translation()), Shift);
    Turns.push_back(Turn);
    Shifts.push_back(Shift);
  };
  for (const Observation& Row : Rows) {
    Push((Row.Transform_Tc_Base * Row.Transform_Base_Tr).inverse(), Hand_Turns, Hand_Shifts);
    Push(Row.Board.Transform_Cam_Chart, Board_Turns, Board_Shifts);
  }
  cv::Mat Turn, Shift;
  cv::calibrateHandEye(Hand_Turns, Hand_Shifts, Board_Turns, Board_Shifts, Turn, Shift,
                       cv::CALIB_HAND_EYE_PARK);
  Matrix3d Rotation;
  Vector3d Translation;
  cv::cv2eigen(Turn, Rotation);
  cv::cv2eigen(Shift, Translation);
  Isometry3d Transform_Tc_Cam = Isometry3d::Identity();
  Transform_Tc_Cam.linear() = Rotation;
  Transform_Tc_Cam.translation() = Translation;
  return Transform_Tc_Cam.inverse();
}

double Median(std::vector<double> Values) {
  if (Values.empty()) return NAN;
  std::sort(Values.begin(), Values.end());
  return Values[Values.size() / 2];
}

struct Errors {
  std::vector<double> Mm, Deg;

  void Add(const Isometry3d& Truth, const Isometry3d& Solved) {
    Mm.push_back(1e3 * (Solved.translation() - Truth.translation()).norm());
    const Eigen::AngleAxisd Turn(Matrix3d(Solved.linear() * Truth.linear().transpose()));
    Deg.push_back(Turn.angle() / Radian_In_Degrees);
  }
};

struct Tally {
  Errors Joint, Free_Scale, Shah, Park;
  std::vector<double> Widths_Mm;
  int Solved = 0, All_Inside = 0, Board_Inside = 0, Widened = 0;
  std::array<int, 6> Axes_Inside{};
  int Bad_Kept = 0, Bad = 0, Good_Dropped = 0, Good = 0;
  int Silent = 0;  // truly beyond 3 mm or 0.3 degrees, and stated to be within
};

void Count_Coverage(const Capture& Made, const rigsync::Joint_Solution& Solution, Tally& Sum) {
  const Vector6d Error =
      rigsync::Motion_Between(Solution.At.Transform_Cam_Tc, Made.Transform_Cam_Tc);
  const auto& Stated = Solution.Camera_Mount;
  for (int k = 0; k < 3; ++k) {
    const auto Axis = static_cast<std::size_t>(k);
    Sum.Axes_Inside[Axis] +=
        std::abs(Error[k]) / Radian_In_Degrees <= Stated.Half_Width_Deg[k] ? 1 : 0;
    Sum.Axes_Inside[3 + Axis] += 1e3 * std::abs(Error[3 + k]) <= Stated.Half_Width_Mm[k] ? 1 : 0;
  }
  Sum.Widened += Solution.Widening > 1.0 ? 1 : 0;
  Sum.All_Inside += Stated.Probability_Nearer(Error) <= 0.95 ? 1 : 0;
  const Vector6d Board_Error =
      rigsync::Motion_Between(Solution.At.Transform_Tr_Chart, Made.Transform_Tr_Chart);
  Sum.Board_Inside += Solution.Board_Mount.Probability_Nearer(Board_Error) <= 0.95 ? 1 : 0;
  Sum.Widths_Mm.push_back(Stated.Widest_Mm.Half_Width);
  const bool Is_Off =
      1e3 * Error.tail<3>().norm() > 3.0 || Error.head<3>().norm() > 0.3 * Radian_In_Degrees;
  const bool Says_Good = Solution.Status == rigsync::Solve_Status::Solved &&
                         Stated.Widest_Mm.Half_Width <= 3.0 && Stated.Widest_Deg.Half_Width <= 0.3;
  Sum.Silent += Is_Off && Says_Good ? 1 : 0;
}

void Count_Rows(const Capture& Made, const rigsync::Joint_Solution& Solution, Tally& Sum) {
  for (const rigsync::Solved_Row& Row : Solution.Rows) {
    const bool Is_Bad = Made.Is_Stale[Row.Row];
    (Is_Bad ? Sum.Bad : Sum.Good)++;
    if (Is_Bad && Row.Is_Kept) ++Sum.Bad_Kept;
    if (!Is_Bad && !Row.Is_Kept) ++Sum.Good_Dropped;
  }
}

void Run(const Setting& Of, unsigned First_Seed, int Captures) {
  Tally Sum;
  for (int k = 0; k < Captures; ++k) {
    const Capture Made = Make_Capture(Of, First_Seed + static_cast<unsigned>(k));
    if (const auto Closed = rigsync::Closed_Form_Mounts(Made.Seen.Rows)) {
      Sum.Shah.Add(Made.Transform_Cam_Tc, Closed->Transform_Cam_Tc);
    }
    Sum.Park.Add(Made.Transform_Cam_Tc, Park(Made.Seen.Rows));
    const rigsync::Joint_Solution Solution = rigsync::Solve_Mounts(Made.Seen);
    const rigsync::Joint_Solution With_Free_Scale = rigsync::Solve_Mounts(
        Made.Seen, {/*Scale_Deviation=*/0.003, {}, /*Exact_Square_Probability=*/0.0});
    if (!With_Free_Scale.Rows.empty()) {
      Sum.Free_Scale.Add(Made.Transform_Cam_Tc, With_Free_Scale.At.Transform_Cam_Tc);
    }
    Sum.Solved += Solution.Status == rigsync::Solve_Status::Solved ? 1 : 0;
    if (Solution.Rows.empty()) continue;
    Sum.Joint.Add(Made.Transform_Cam_Tc, Solution.At.Transform_Cam_Tc);
    Count_Coverage(Made, Solution, Sum);
    Count_Rows(Made, Solution, Sum);
  }
  const double Count = std::max<double>(1.0, static_cast<double>(Sum.Joint.Mm.size()));
  std::printf(
      "| %-28s | %.3f %.4f | %.3f %.4f | %.3f %.4f | %.3f %.4f | %5.2f | %5.1f | %.1f to %.1f | "
      "%5.1f | "
      "%5.1f | %d | %d "
      "| %d/%d | %d/%d | %d |\n",
      Of.Name.c_str(), Median(Sum.Joint.Mm), Median(Sum.Joint.Deg), Median(Sum.Free_Scale.Mm),
      Median(Sum.Free_Scale.Deg), Median(Sum.Shah.Mm), Median(Sum.Shah.Deg), Median(Sum.Park.Mm),
      Median(Sum.Park.Deg), Median(Sum.Widths_Mm),
      100 * std::accumulate(Sum.Axes_Inside.begin(), Sum.Axes_Inside.end(), 0) / (6 * Count),
      100 * *std::min_element(Sum.Axes_Inside.begin(), Sum.Axes_Inside.end()) / Count,
      100 * *std::max_element(Sum.Axes_Inside.begin(), Sum.Axes_Inside.end()) / Count,
      100 * Sum.All_Inside / Count, 100 * Sum.Board_Inside / Count, Sum.Widened, Sum.Solved,
      Sum.Bad_Kept, Sum.Bad, Sum.Good_Dropped, Sum.Good, Sum.Silent);
  std::fflush(stdout);
}

void Run_Slips(const Setting& Of, unsigned First_Seed, int Captures) {
  int Found = 0, Looked = 0, Right_Tracker = 0, Right_Row = 0;
  std::vector<double> Gains;
  for (int k = 0; k < Captures; ++k) {
    const Capture Made = Make_Capture(Of, First_Seed + static_cast<unsigned>(k));
    const auto Slip = rigsync::Find_Slip(rigsync::Solve_Mounts(Made.Seen));
    if (!Slip) continue;
    Gains.push_back(Slip->Gain);
    Found += Slip->Gain > rigsync::Found_Gain ? 1 : 0;
    Looked += Slip->Gain > rigsync::Look_Gain ? 1 : 0;
    Right_Tracker +=
        Made.Camera_Slipped == (Slip->Tracker == rigsync::Slipped_Tracker::Camera) ? 1 : 0;
    Right_Row += Made.Slipped_From == Slip->First_Row ? 1 : 0;
  }
  std::sort(Gains.begin(), Gains.end());
  std::printf("| %-28s | %d | %d | %d | %d | %d | %.1f | %.1f | %.1f |\n", Of.Name.c_str(),
              Captures, Found, Looked, Right_Tracker, Right_Row, Gains.front(), Median(Gains),
              Gains.back());
  std::fflush(stdout);
}

void Print_Slips(unsigned First_Seed, int Captures) {
  std::printf(
      "\n| slip | captures | named | worth a look | right tracker | right row | least gain "
      "| median | most |\n| --- | --- | --- | --- | --- | --- | --- | --- | --- |\n");
  for (const double Noise : {0.1, 0.3, 1.0}) {
    for (const double Slip_Mm : {0.0, 1.0, 3.0}) {
      Setting Of;
      char Name[60];
      std::snprintf(Name, sizeof Name, "%.0f mm, noise %.1f mm", Slip_Mm, Noise);
      Of.Name = Name;
      Of.Position_Mm = Noise;
      Of.Rotation_Deg = 0.1 * Noise;
      Of.Slip_Mm = Slip_Mm;
      Run_Slips(Of, First_Seed, Captures);
    }
  }
  Setting Stale;
  Stale.Name = "none, 6 stale";
  Stale.Stale = 6;
  Run_Slips(Stale, First_Seed, Captures);
}

struct Lag_Tally {
  Errors Unsolved, Solved, Known;
  std::vector<double> Lag_Errors_Ms, Half_Widths_Ms;
  int Lag_Inside = 0, Mount_Inside = 0, Unsolved_Inside = 0, Found = 0, Not_Seen = 0, Open = 0;
  int Good_Dropped_Unsolved = 0, Good_Dropped = 0, Failed = 0;
};

int Dropped_Good_Rows(const Capture& Made, const rigsync::Joint_Solution& Solution) {
  return static_cast<int>(std::count_if(
      Solution.Rows.begin(), Solution.Rows.end(),
      [&Made](const rigsync::Solved_Row& Row) { return !Row.Is_Kept && !Made.Is_Stale[Row.Row]; }));
}

int Is_Mount_Inside(const Capture& Made, const rigsync::Joint_Solution& Solution) {
  const Vector6d Error =
      rigsync::Motion_Between(Solution.At.Transform_Cam_Tc, Made.Transform_Cam_Tc);
  return Solution.Camera_Mount.Probability_Nearer(Error) <= 0.95 ? 1 : 0;
}

void Count_Lag(const Setting& Of, const Capture& Made, Lag_Tally& Sum) {
  rigsync::Joint_Options Solving, Knowing;
  Solving.Lag.Is_Solved = true;
  Knowing.Lag.Seconds = Of.Lag_Seconds;
  const rigsync::Joint_Solution Without = rigsync::Solve_Mounts(Made.Seen);
  const rigsync::Joint_Solution With = rigsync::Solve_Mounts(Made.Seen, Solving);
  const rigsync::Joint_Solution Known = rigsync::Solve_Mounts(Made.Seen, Knowing);
  if (With.Status != rigsync::Solve_Status::Solved || Without.Rows.empty() || Known.Rows.empty()) {
    ++Sum.Failed;
    return;
  }
  Sum.Unsolved.Add(Made.Transform_Cam_Tc, Without.At.Transform_Cam_Tc);
  Sum.Solved.Add(Made.Transform_Cam_Tc, With.At.Transform_Cam_Tc);
  Sum.Known.Add(Made.Transform_Cam_Tc, Known.At.Transform_Cam_Tc);
  const double Error = std::abs(With.Lag->Seconds - Of.Lag_Seconds);
  Sum.Lag_Errors_Ms.push_back(1e3 * Error);
  Sum.Half_Widths_Ms.push_back(1e3 * With.Lag->Half_Width_Seconds);
  Sum.Lag_Inside += Error <= With.Lag->Half_Width_Seconds ? 1 : 0;
  Sum.Mount_Inside += Is_Mount_Inside(Made, With);
  Sum.Unsolved_Inside += Is_Mount_Inside(Made, Without);
  const rigsync::Lag_Evidence Evidence = rigsync::Evidence_Of(*With.Lag);
  Sum.Found += Evidence == rigsync::Lag_Evidence::Found ? 1 : 0;
  Sum.Not_Seen += Evidence == rigsync::Lag_Evidence::Not_Seen ? 1 : 0;
  Sum.Open += Evidence == rigsync::Lag_Evidence::Open ? 1 : 0;
  Sum.Good_Dropped_Unsolved += Dropped_Good_Rows(Made, Without);
  Sum.Good_Dropped += Dropped_Good_Rows(Made, With);
}

void Run_Lags(const Setting& Of, unsigned First_Seed, int Captures) {
  Lag_Tally Sum;
  for (int k = 0; k < Captures; ++k) {
    Count_Lag(Of, Make_Capture(Of, First_Seed + static_cast<unsigned>(k)), Sum);
  }
  const double Count = std::max<double>(1.0, static_cast<double>(Sum.Solved.Mm.size()));
  std::printf(
      "| %-30s | %.2f %.3f | %.2f %.3f | %.2f %.3f | %.1f | %.1f | %.1f | %.1f | %.1f | %d %d %d "
      "| %d %d | %d |\n",
      Of.Name.c_str(), Median(Sum.Unsolved.Mm), Median(Sum.Unsolved.Deg), Median(Sum.Solved.Mm),
      Median(Sum.Solved.Deg), Median(Sum.Known.Mm), Median(Sum.Known.Deg),
      Median(Sum.Lag_Errors_Ms), Median(Sum.Half_Widths_Ms), 100 * Sum.Lag_Inside / Count,
      100 * Sum.Mount_Inside / Count, 100 * Sum.Unsolved_Inside / Count, Sum.Found, Sum.Not_Seen,
      Sum.Open, Sum.Good_Dropped_Unsolved, Sum.Good_Dropped, Sum.Failed);
  std::fflush(stdout);
}

struct Lag_Row {
  double Lag_Ms, Speed_Mm, Speed_Deg, Position_Mm;
  int Images = 24, Stale = 0;
  Fixed Standing = Fixed::None;
};

void Print_Lags(unsigned First_Seed, int Captures) {
  std::printf(
      "\n| lag and speed | unsolved | solved | known | lag off, ms | +- ms | lag inside %% | mount "
      "inside %% | unsolved %% | found, not seen, open | good dropped unsolved, solved | failed |\n"
      "| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |\n");
  const Lag_Row Rows[] = {{100, 10, 0.5, 0.3},
                          {0, 10, 0.5, 0.3},
                          {30, 10, 0.5, 0.3},
                          {-60, 10, 0.5, 0.3},
                          {100, 10, 0.5, 0.1},
                          {100, 10, 0.5, 1.0},
                          {100, 3, 0.15, 0.3},
                          {0, 3, 0.15, 0.3},
                          {100, 0, 0.5, 0.3},
                          {100, 10, 0, 0.3},
                          {0, 0.01, 0, 0.3},
                          {250, 30, 2, 0.3},
                          {100, 30, 2, 0.1},
                          {100, 10, 0.5, 0.3, 12},
                          {100, 10, 0.5, 0.3, 24, 6},
                          {100, 10, 0.5, 0.3, 24, 0, Fixed::Camera_Stands},
                          {100, 10, 0.5, 0.3, 24, 0, Fixed::Board_Stands}};
  for (const Lag_Row& Row : Rows) {
    Setting Of;
    char Name[100];
    std::snprintf(Name, sizeof Name, "%.0f ms, %g mm/s %g deg/s, noise %.1f mm, %d, %d stale%s",
                  Row.Lag_Ms, Row.Speed_Mm, Row.Speed_Deg, Row.Position_Mm, Row.Images, Row.Stale,
                  Row.Standing == Fixed::None ? "" : ", one stands");
    Of.Name = Name;
    Of.Lag_Seconds = 1e-3 * Row.Lag_Ms;
    Of.Speed_Mm = Row.Speed_Mm;
    Of.Speed_Deg = Row.Speed_Deg;
    Of.Position_Mm = Row.Position_Mm;
    Of.Rotation_Deg = 0.1 * Row.Position_Mm;
    Of.Images = Row.Images;
    Of.Stale = Row.Stale;
    Of.Standing = Row.Standing;
    Run_Lags(Of, First_Seed, Captures);
  }
}

void Print_Times(unsigned First_Seed) {
  for (const int Images : {24, 60, 200}) {
    Setting Of;
    Of.Images = Images;
    std::vector<double> Seconds, Slip_Seconds;
    for (unsigned k = 0; k < 11; ++k) {
      const Capture Made = Make_Capture(Of, First_Seed + k);
      const auto Start = std::chrono::steady_clock::now();
      const rigsync::Joint_Solution Solution = rigsync::Solve_Mounts(Made.Seen);
      const std::chrono::duration<double> Taken = std::chrono::steady_clock::now() - Start;
      if (Solution.Status != rigsync::Solve_Status::Solved) continue;
      Seconds.push_back(Taken.count());
      if (!rigsync::Find_Slip(Solution)) continue;
      const std::chrono::duration<double> With_Slip = std::chrono::steady_clock::now() - Start;
      Slip_Seconds.push_back(With_Slip.count() - Taken.count());
    }
    std::printf("%d images: solve %.4f s, search for a slip %.4f s (medians of %zu runs)\n", Images,
                Median(Seconds), Median(Slip_Seconds), Seconds.size());
  }
}

}  // namespace

int main(int Count, char** Arguments) {
  const int Captures = Count > 1 ? std::atoi(Arguments[1]) : 200;
  const auto First_Seed = static_cast<unsigned>(Count > 2 ? std::atoi(Arguments[2]) : 1);
  const std::string Only = Count > 3 ? Arguments[3] : "";
  std::printf(
      "%d captures a row from seed %u; errors in mm and degrees, medians\n\n"
      "| capture | joint | scale free | Shah | Park | widest mm | axes %% | least to most %% | "
      "mount %% | board %% "
      "| widened | solved "
      "| bad kept | good dropped | silent |\n"
      "| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- "
      "|\n",
      Captures, First_Seed);
  for (const Setting& Of : Settings()) {
    if (Of.Name.find(Only) != std::string::npos) Run(Of, First_Seed, Captures);
  }
  if (Only != "lag") Print_Slips(First_Seed, Captures);
  if (Only.empty() || Only == "lag") Print_Lags(First_Seed, Captures);
  std::printf("\n");
  Print_Times(First_Seed);
  return 0;
}
