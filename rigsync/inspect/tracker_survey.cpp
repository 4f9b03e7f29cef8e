// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/tracker_survey.h"

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"

#include <fmt/format.h>
#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>
#include <string>

namespace rigsync {
namespace {

// The length of a unit quaternion that is written with two decimals is off by at most 0.01. A
// larger difference is not a matter of rounding. (The library normalises quaternions, so the length
// itself does no harm.)
constexpr double Length_Tolerance = 0.01;

// The largest plausible distance between camera and board, metres. Beyond it a square would have
// only a few pixels. Positions in millimetres or centimetres are far beyond it.
constexpr double Farthest_Board = 20.0;

// From this distance on, positions are in millimetres. Below it they may be in centimetres.
constexpr double Farthest_In_Centimetres = 400.0;

// A position is an outlier when its distance from the median position is this many times the median
// distance (in evenly spread positions the largest is two to three times the median) ...
constexpr double Outlier_Factor = 6.0;
// ... and at least this, metres, so that a tracker on a stand that is moved once is not one.
constexpr double Outlier_Floor = 1.0;

// All pairs of rows are compared, so at most this many rows of a long capture are used.
constexpr std::size_t Most_Compared = 300;

// The axes of rotations below this angle are mostly noise, degrees.
constexpr double Least_Rotation = 5.0;

// The board's pose on its tracker is determined by rotations about different axes. Below these
// limits, degrees, it is determined by noise: the largest relative rotation, and the spread of the
// axes. Boards that are rolled and tilted up to 45 degrees reach a spread of 30; boards that are
// only rolled, or tilted about one axis, stay below 5.
constexpr double Least_Relative_Rotation = 30.0;
constexpr double Least_Axis_Spread = 15.0;

double Squared_Length(const std::array<double, 4>& Quaternion) {
  double Sum = 0;
  for (const double Part : Quaternion) Sum += Part * Part;
  return Sum;
}

Eigen::Vector3d Position(const Tracker_Sample& Sample) {
  return Eigen::Vector3d(Sample.Position.data());
}

double Angle_Deg(const Eigen::Quaterniond& Left, const Eigen::Quaterniond& Right) {
  return Left.angularDistance(Right) * Degrees_Per_Radian;
}

// One of the two trackers, and its name in the findings.
struct Tracker {
  const char* Name;
  Tracker_Sample Capture_Row::*Sample;
};
constexpr Tracker Trackers[] = {{"camera", &Capture_Row::Camera}, {"board", &Capture_Row::Board}};

void Judge_Quaternion(const Tracker& Device, const Capture_Row& Row, Findings& List) {
  const std::array<double, 4>& Q = (Row.*Device.Sample).Quaternion;
  const double Squared = Squared_Length(Q);
  const std::string Example = fmt::format("In line {} it is {:.6g}, {:.6g}, {:.6g}, {:.6g}.",
                                          Row.Line, Q[0], Q[1], Q[2], Q[3]);
  if (!(Squared > 0.0)) {
    List.Add(
        {fmt::format("{}_quaternion_zero", Device.Name),
         Level::Warning,
         fmt::format("The {} tracker's quaternion is 0, which counts as no rotation.", Device.Name),
         Example,
         "Remove the line: trackers report this when they have lost their target.",
         {Row.Line}});
  } else if (!(std::abs(std::sqrt(Squared) - 1.0) <= Length_Tolerance)) {
    List.Add({fmt::format("{}_quaternion_length", Device.Name),
              Level::Warning,
              fmt::format("The {} tracker's quaternion does not have length 1. The library "
                          "normalises it, but these four numbers may not be a quaternion.",
                          Device.Name),
              Example + fmt::format(" Its length is {:.4g}.", std::sqrt(Squared)),
              "Check the columns. They must be w, x, y, z: no angles, and no other order.",
              {Row.Line}});
  }
}

void Judge_Quaternions(const std::vector<Capture_Row>& Rows, Findings& List) {
  for (const Capture_Row& Row : Rows) {
    if (!Row.Is_Sound) continue;
    for (const Tracker& Device : Trackers) Judge_Quaternion(Device, Row, List);
  }
}

// Lines whose sample equals that of the previous row in all digits.
std::vector<std::size_t> Repeating_Lines(const std::vector<Capture_Row>& Rows,
                                         const Tracker& Device, std::size_t& Pair_Count) {
  std::vector<std::size_t> Lines;
  Pair_Count = 0;
  for (std::size_t i = 1; i < Rows.size(); ++i) {
    if (!Rows[i].Is_Sound || !Rows[i - 1].Is_Sound) continue;
    ++Pair_Count;
    if (Rows[i].*Device.Sample == Rows[i - 1].*Device.Sample) Lines.push_back(Rows[i].Line);
  }
  return Lines;
}

void Judge_Repetition(const std::vector<Capture_Row>& Rows, Findings& List) {
  std::size_t Fixed_Count = 0;
  for (const Tracker& Device : Trackers) {
    std::size_t Pair_Count = 0;
    const std::vector<std::size_t> Lines = Repeating_Lines(Rows, Device, Pair_Count);
    if (Lines.empty()) continue;
    if (Lines.size() == Pair_Count && Pair_Count > 1) {
      ++Fixed_Count;
      List.Add({fmt::format("{}_fixed", Device.Name),
                Level::Note,
                fmt::format("The {} tracker's sample is the same in every line.", Device.Name),
                "",
                fmt::format("This is correct only if the {} did not move during the capture.",
                            Device.Name),
                {}});
      continue;
    }
    List.Add(
        {fmt::format("{}_stale", Device.Name), Level::Warning,
         fmt::format("The {} tracker's sample repeats that of the previous line, so it was not "
                     "updated for this image.",
                     Device.Name),
         "",
         fmt::format("Remove the line, unless the {} did not move between the two images.",
                     Device.Name),
         Lines});
  }
  if (Fixed_Count == 2) {
    List.Add({"trackers_fixed",
              Level::Error,
              "Neither tracker moves during the capture, so nothing can be calibrated.",
              "",
              "Check that the tracking system was running and that its samples reach the file.",
              {}});
  }
}

// A tracker that has lost its target often reports the origin.
void Judge_Origin(const std::vector<Capture_Row>& Rows, Findings& List) {
  for (const Tracker& Device : Trackers) {
    std::vector<std::size_t> Lines;
    std::size_t Sound_Count = 0;
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      ++Sound_Count;
      if ((Row.*Device.Sample).Position == std::array<double, 3>{}) Lines.push_back(Row.Line);
    }
    // A tracker that defines the origin reports it in every line.
    if (Lines.empty() || Lines.size() == Sound_Count) continue;
    List.Add({fmt::format("{}_at_origin", Device.Name), Level::Warning,
              fmt::format("The {} tracker's position is exactly 0, 0, 0.", Device.Name), "",
              "Remove the line: trackers report this when they have lost their target.", Lines});
  }
}

// The distance between the trackers shows the unit, wherever the tracking system's origin is.
// Nothing else in the samples does. False when the unit is wrong.
bool Judge_Unit(const std::vector<Capture_Row>& Rows, Findings& List) {
  std::vector<double> Distances;
  for (const Capture_Row& Row : Rows) {
    if (Row.Is_Sound) Distances.push_back((Position(Row.Camera) - Position(Row.Board)).norm());
  }
  if (Distances.empty()) return true;
  const double Usual = Median(Distances);
  if (Usual <= Farthest_Board) return true;
  List.Add(
      {"wrong_unit",
       Level::Error,
       fmt::format("The camera and board trackers are about {:.0f} metres apart, too far for the "
                   "camera to see the board. The positions are probably in {}.",
                   Usual,
                   Usual > Farthest_In_Centimetres ? "millimetres" : "centimetres or millimetres"),
       "",
       "Write positions in metres.",
       {}});
  return false;
}

void Judge_Jumps(const std::vector<Capture_Row>& Rows, Findings& List) {
  for (const Tracker& Device : Trackers) {
    std::vector<double> X, Y, Z;
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      X.push_back((Row.*Device.Sample).Position[0]);
      Y.push_back((Row.*Device.Sample).Position[1]);
      Z.push_back((Row.*Device.Sample).Position[2]);
    }
    if (X.empty()) return;
    const Eigen::Vector3d Median_Position(Median(X), Median(Y), Median(Z));
    std::vector<double> Distances;
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      Distances.push_back((Position(Row.*Device.Sample) - Median_Position).norm());
    }
    const double Median_Distance = Median(Distances);
    const double Limit = std::max(Outlier_Factor * Median_Distance, Outlier_Floor);
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      const double Distance = (Position(Row.*Device.Sample) - Median_Position).norm();
      if (Distance <= Limit) continue;
      List.Add({fmt::format("{}_jump", Device.Name),
                Level::Warning,
                fmt::format("The {} tracker's position is far from its positions in the other "
                            "lines.",
                            Device.Name),
                fmt::format("In line {} it is {:.1f} m from the median position; half of the lines "
                            "are within {:.2f} m of it.",
                            Row.Line, Distance, Median_Distance),
                fmt::format("Remove the line, unless the {} really was there.", Device.Name),
                {Row.Line}});
    }
  }
}

std::vector<const Capture_Row*> Compared_Rows(const std::vector<Capture_Row>& Rows) {
  std::vector<const Capture_Row*> Usable;
  for (const Capture_Row& Row : Rows) {
    if (Has_Rotations(Row)) Usable.push_back(&Row);
  }
  return Evenly_Chosen(Usable, Most_Compared);
}

}  // namespace

void Judge_Samples(const std::vector<Capture_Row>& Rows, Findings& List) {
  Judge_Quaternions(Rows, List);
  Judge_Repetition(Rows, List);
  Judge_Origin(Rows, List);
  if (Judge_Unit(Rows, List)) Judge_Jumps(Rows, List);
}

bool Has_Rotations(const Capture_Row& Row) {
  return Row.Is_Sound && Squared_Length(Row.Camera.Quaternion) > 0.0 &&
         Squared_Length(Row.Board.Quaternion) > 0.0;
}

Rotation_Range Measure_Rotations(const std::vector<Capture_Row>& Rows) {
  const std::vector<const Capture_Row*> Compared = Compared_Rows(Rows);
  std::vector<Eigen::Quaterniond> Camera, Board, Relative;
  for (const Capture_Row* Row : Compared) {
    Camera.push_back(Sample_Rotation_Body_Base(Row->Camera));
    Board.push_back(Sample_Rotation_Body_Base(Row->Board));
    Relative.push_back(Camera.back() * Board.back().conjugate());
  }
  Rotation_Range Range;
  Range.Rows = Compared.size();
  Eigen::Matrix3d Axes = Eigen::Matrix3d::Zero();
  double Axis_Count = 0;
  for (std::size_t i = 0; i < Compared.size(); ++i) {
    for (std::size_t j = i + 1; j < Compared.size(); ++j) {
      Range.Camera_Deg = std::max(Range.Camera_Deg, Angle_Deg(Camera[i], Camera[j]));
      Range.Board_Deg = std::max(Range.Board_Deg, Angle_Deg(Board[i], Board[j]));
      const double Angle = Angle_Deg(Relative[i], Relative[j]);
      Range.Relative_Deg = std::max(Range.Relative_Deg, Angle);
      if (Angle < Least_Rotation) continue;
      const Eigen::Vector3d Axis = (Relative[i] * Relative[j].conjugate()).vec().normalized();
      Axes += Axis * Axis.transpose();
      Axis_Count += 1.0;
    }
  }
  if (Axis_Count > 0) {
    // The largest eigenvalue is the mean squared cosine between the axes and their main direction.
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Solver(Axes / Axis_Count);
    const double Squared_Sine = std::clamp(1.0 - Solver.eigenvalues()[2], 0.0, 1.0);
    Range.Axis_Spread_Deg = std::asin(std::sqrt(Squared_Sine)) * Degrees_Per_Radian;
  }
  return Range;
}

bool Are_Turns_Small(const Rotation_Range& Range) {
  return Range.Rows >= 2 && Range.Relative_Deg < Least_Relative_Rotation;
}

bool Are_Turns_About_One_Axis(const Rotation_Range& Range) {
  return Range.Rows >= 2 && !Are_Turns_Small(Range) && Range.Axis_Spread_Deg &&
         *Range.Axis_Spread_Deg < Least_Axis_Spread;
}

void Judge_Rotations(const Rotation_Range& Range, Findings& List) {
  if (Are_Turns_Small(Range)) {
    List.Add({"turns_too_small",
              Level::Warning,
              fmt::format("Camera and board rotate relative to each other by at most {:.0f} "
                          "degrees. Below {:.0f} degrees the mounts are not determined.",
                          Range.Relative_Deg, Least_Relative_Rotation),
              "",
              "Roll and tilt the board, or the camera, further between the images.",
              {}});
  } else if (Are_Turns_About_One_Axis(Range)) {
    List.Add({"turns_about_one_axis",
              Level::Warning,
              "Camera and board rotate relative to each other about nearly the same axis "
              "throughout, so the mounts are not determined along that axis.",
              "",
              "Tilt the board up and down as well as left and right, and roll it.",
              {}});
  }
}

}  // namespace rigsync
