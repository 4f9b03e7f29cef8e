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

// A unit quaternion written with two decimals is off by 0.01 at most; what is further off is no
// rounded quaternion. (The library divides by the length, so the length as such does no harm.)
constexpr double Length_Tolerance = 0.01;

// A board that is photographed stands within this distance of the camera, metres. Its squares
// would have few pixels beyond it; millimetres or centimetres go far beyond it.
constexpr double Farthest_Board = 20.0;

// A position is an outlier when it is this many times farther from the middle of the capture than
// half of the positions are (of evenly spread ones, the farthest is two to three times as far) ...
constexpr double Outlier_Factor = 6.0;
// ... and at least this far, metres, so that a tracker on a stand that is once moved isn't one.
constexpr double Outlier_Floor = 1.0;

// Pairs of rows are compared, so a long capture is thinned to this many rows.
constexpr std::size_t Most_Compared = 300;

// Axes of turns below this angle are mostly noise, degrees.
constexpr double Least_Turn = 5.0;

// Below these the solve of the board's place on its tracker, which needs turns about different
// axes, rests on noise, degrees: between the two most different rows, and between the turns' axes
// and their main direction. Boards that are rolled and tilted to 45 degrees reach 30; boards that
// are only rolled, or tilted about one axis, stay below 5.
constexpr double Least_Relative_Turn = 30.0;
constexpr double Least_Axes_Apart = 15.0;

double Squared_Length(const std::array<double, 4>& Quaternion) {
  double Sum = 0;
  for (const double Part : Quaternion) Sum += Part * Part;
  return Sum;
}

Eigen::Vector3d Place(const Tracker_Sample& Sample) {
  return Eigen::Vector3d(Sample.Position.data());
}

double Angle_Deg(const Eigen::Quaterniond& Left, const Eigen::Quaterniond& Right) {
  return Left.angularDistance(Right) * Degrees_Per_Radian;
}

// One of the two trackers, and what it is called.
struct Tracker {
  const char* Name;
  Tracker_Sample Capture_Row::*Sample;
};
constexpr Tracker Trackers[] = {{"camera", &Capture_Row::Camera}, {"board", &Capture_Row::Board}};

void Check_Quaternion(const Tracker& Of, const Capture_Row& Row, Findings& Told) {
  const std::array<double, 4>& Q = (Row.*Of.Sample).Quaternion;
  const double Squared = Squared_Length(Q);
  const std::string Example = fmt::format("In line {} it is {:.6g}, {:.6g}, {:.6g}, {:.6g}.",
                                          Row.Line, Q[0], Q[1], Q[2], Q[3]);
  if (!(Squared > 0.0)) {
    Told.Add(
        {fmt::format("{}_quaternion_zero", Of.Name),
         Level::Warning,
         fmt::format("The {} tracker's quaternion is 0: it counts as no rotation at all.", Of.Name),
         Example,
         "Take the line out: trackers write this when they have lost their target.",
         {Row.Line}});
  } else if (!(std::abs(std::sqrt(Squared) - 1.0) <= Length_Tolerance)) {
    Told.Add({fmt::format("{}_quaternion_length", Of.Name),
              Level::Warning,
              fmt::format("The {} tracker's quaternion has not the length 1. Its length does no "
                          "harm, but four such numbers may be no quaternion.",
                          Of.Name),
              Example + fmt::format(" Its length is {:.4g}.", std::sqrt(Squared)),
              "Check the columns: expected w, x, y, z, not angles and not another order of fields.",
              {Row.Line}});
  }
}

void Check_Quaternions(const std::vector<Capture_Row>& Rows, Findings& Told) {
  for (const Capture_Row& Row : Rows) {
    if (!Row.Is_Sound) continue;
    for (const Tracker& Of : Trackers) Check_Quaternion(Of, Row, Told);
  }
}

// Lines whose sample is that of the row before, to the last digit.
std::vector<std::size_t> Repeating_Lines(const std::vector<Capture_Row>& Rows, const Tracker& Of,
                                         std::size_t& Pairs) {
  std::vector<std::size_t> Lines;
  Pairs = 0;
  for (std::size_t i = 1; i < Rows.size(); ++i) {
    if (!Rows[i].Is_Sound || !Rows[i - 1].Is_Sound) continue;
    ++Pairs;
    if (Rows[i].*Of.Sample == Rows[i - 1].*Of.Sample) Lines.push_back(Rows[i].Line);
  }
  return Lines;
}

void Check_Repetition(const std::vector<Capture_Row>& Rows, Findings& Told) {
  std::size_t Fixed = 0;
  for (const Tracker& Of : Trackers) {
    std::size_t Pairs = 0;
    const std::vector<std::size_t> Lines = Repeating_Lines(Rows, Of, Pairs);
    if (Lines.empty()) continue;
    if (Lines.size() == Pairs && Pairs > 1) {
      ++Fixed;
      Told.Add({fmt::format("{}_fixed", Of.Name),
                Level::Note,
                fmt::format("The {} tracker's sample is the same in every line.", Of.Name),
                "",
                fmt::format("That is right only if the {} stood still all the time.", Of.Name),
                {}});
      continue;
    }
    Told.Add({fmt::format("{}_stale", Of.Name), Level::Warning,
              fmt::format("The {} tracker's sample repeats that of the line before: it was not "
                          "renewed for this image.",
                          Of.Name),
              "",
              fmt::format("Take the line out, unless the {} stood still between the two.", Of.Name),
              Lines});
  }
  if (Fixed == 2) {
    Told.Add({"trackers_fixed",
              Level::Error,
              "Neither tracker moves in the whole capture: there is nothing to solve from.",
              "",
              "Check that the tracking system was running and that its samples reach the file.",
              {}});
  }
}

// A tracker that has lost its target often reports the origin.
void Check_Origin(const std::vector<Capture_Row>& Rows, Findings& Told) {
  for (const Tracker& Of : Trackers) {
    std::vector<std::size_t> Lines;
    std::size_t Sound = 0;
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      ++Sound;
      if ((Row.*Of.Sample).Position == std::array<double, 3>{}) Lines.push_back(Row.Line);
    }
    // A tracker that defines the origin is there in every line.
    if (Lines.empty() || Lines.size() == Sound) continue;
    Told.Add({fmt::format("{}_at_origin", Of.Name), Level::Warning,
              fmt::format("The {} tracker's position is exactly 0, 0, 0.", Of.Name), "",
              "Take the line out: trackers write this when they have lost their target.", Lines});
  }
}

// The rest looks alike whichever unit the numbers are in; the distance from tracker to tracker
// tells, wherever the tracking system's origin is. False when the unit is wrong.
bool Check_Unit(const std::vector<Capture_Row>& Rows, Findings& Told) {
  std::vector<double> Distances;
  for (const Capture_Row& Row : Rows) {
    if (Row.Is_Sound) Distances.push_back((Place(Row.Camera) - Place(Row.Board)).norm());
  }
  if (Distances.empty()) return true;
  const double Typical = Median(Distances);
  if (Typical <= Farthest_Board) return true;
  Told.Add({"wrong_unit",
            Level::Error,
            fmt::format("Camera and board trackers are about {:.0f} metres apart, too far to see a "
                        "board: the positions are probably in {}.",
                        Typical, Typical > 400.0 ? "millimetres" : "centimetres or millimetres"),
            "",
            "Write positions in metres.",
            {}});
  return false;
}

void Check_Jumps(const std::vector<Capture_Row>& Rows, Findings& Told) {
  for (const Tracker& Of : Trackers) {
    std::vector<double> X, Y, Z;
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      X.push_back((Row.*Of.Sample).Position[0]);
      Y.push_back((Row.*Of.Sample).Position[1]);
      Z.push_back((Row.*Of.Sample).Position[2]);
    }
    if (X.empty()) return;
    const Eigen::Vector3d Middle(Median(X), Median(Y), Median(Z));
    std::vector<double> Distances;
    for (const Capture_Row& Row : Rows) {
      if (Row.Is_Sound) Distances.push_back((Place(Row.*Of.Sample) - Middle).norm());
    }
    const double Limit = std::max(Outlier_Factor * Median(Distances), Outlier_Floor);
    for (const Capture_Row& Row : Rows) {
      if (!Row.Is_Sound) continue;
      const double Distance = (Place(Row.*Of.Sample) - Middle).norm();
      if (Distance <= Limit) continue;
      Told.Add({fmt::format("{}_jump", Of.Name),
                Level::Warning,
                fmt::format("The {} tracker's position is far away from those of the other lines.",
                            Of.Name),
                fmt::format("In line {} it is {:.1f} m from the middle of the capture; half of the "
                            "lines are within {:.2f} m.",
                            Row.Line, Distance, Median(Distances)),
                fmt::format("Take the line out, unless the {} really stood there.", Of.Name),
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

void Check_Samples(const std::vector<Capture_Row>& Rows, Findings& Told) {
  Check_Quaternions(Rows, Told);
  Check_Repetition(Rows, Told);
  Check_Origin(Rows, Told);
  if (Check_Unit(Rows, Told)) Check_Jumps(Rows, Told);
}

bool Has_Rotations(const Capture_Row& Row) {
  return Row.Is_Sound && Squared_Length(Row.Camera.Quaternion) > 0.0 &&
         Squared_Length(Row.Board.Quaternion) > 0.0;
}

Turns Measure_Turns(const std::vector<Capture_Row>& Rows) {
  const std::vector<const Capture_Row*> Compared = Compared_Rows(Rows);
  std::vector<Eigen::Quaterniond> Camera, Board, Relative;
  for (const Capture_Row* Row : Compared) {
    Camera.push_back(Sample_Rotation_Body_Base(Row->Camera));
    Board.push_back(Sample_Rotation_Body_Base(Row->Board));
    Relative.push_back(Camera.back() * Board.back().conjugate());
  }
  Turns Measured;
  Measured.Rows = Compared.size();
  Eigen::Matrix3d Axes = Eigen::Matrix3d::Zero();
  double Count = 0;
  for (std::size_t i = 0; i < Compared.size(); ++i) {
    for (std::size_t j = i + 1; j < Compared.size(); ++j) {
      Measured.Camera_Deg = std::max(Measured.Camera_Deg, Angle_Deg(Camera[i], Camera[j]));
      Measured.Board_Deg = std::max(Measured.Board_Deg, Angle_Deg(Board[i], Board[j]));
      const double Angle = Angle_Deg(Relative[i], Relative[j]);
      Measured.Relative_Deg = std::max(Measured.Relative_Deg, Angle);
      if (Angle < Least_Turn) continue;
      const Eigen::Vector3d Axis = (Relative[i] * Relative[j].conjugate()).vec().normalized();
      Axes += Axis * Axis.transpose();
      Count += 1.0;
    }
  }
  if (Count > 0) {
    // The largest eigenvalue is the share of the axes that is along the main direction.
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Solver(Axes / Count);
    const double Elsewhere = std::clamp(1.0 - Solver.eigenvalues()[2], 0.0, 1.0);
    Measured.Axes_Apart_Deg = std::asin(std::sqrt(Elsewhere)) * Degrees_Per_Radian;
  }
  return Measured;
}

void Judge_Turns(const Turns& Measured, Findings& Told) {
  if (Measured.Rows < 2) return;
  if (Measured.Relative_Deg < Least_Relative_Turn) {
    Told.Add(
        {"turns_too_small",
         Level::Warning,
         fmt::format("Camera and board turn against each other by {:.0f} degrees at most; less "
                     "than {:.0f} leave the mounts undetermined.",
                     Measured.Relative_Deg, Least_Relative_Turn),
         "",
         "Roll and tilt the board, or the camera, further between the images.",
         {}});
  } else if (Measured.Axes_Apart_Deg && *Measured.Axes_Apart_Deg < Least_Axes_Apart) {
    Told.Add(
        {"turns_about_one_axis",
         Level::Warning,
         "Camera and board turn against each other about nearly one axis only, which leaves the "
         "mounts undetermined along it.",
         "",
         "Tilt the board up and down as well as left and right, and roll it.",
         {}});
  }
}

}  // namespace rigsync
