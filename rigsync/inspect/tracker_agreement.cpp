// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/tracker_agreement.h"

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/inspect/tracker_survey.h"

#include <fmt/format.h>
#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>

namespace rigsync {
namespace {

// Samples fit when half of the rows are within these: turns to a degree and axes to two (trackers
// are ten times better, but the quick lens fit isn't), positions to 3 cm, twice the spread at which
// a calibration fails.
constexpr double Turn_Limit = 1.0;
constexpr double Axis_Limit = 2.0;
constexpr double Position_Limit = 0.03;

// A row is off when it is off by half a degree or a centimetre, and five times as far as half of
// the rows are.
constexpr double Turn_Floor = 0.5;
constexpr double Position_Floor = 0.01;
constexpr double Off_Factor = 5.0;

// The scale is off when it is off by three percent and five standard deviations. A square that is
// measured with a ruler over the whole board is good to half a percent.
constexpr double Scale_Limit = 0.03;

// A scale below 0 is no chance when it is by this many standard deviations.
constexpr double Sure_Sign = 5.0;

// Of several mirrors that positions may be read with, one is named when any other leaves them more
// than twice as far off, and a centimetre. (From a camera that stands, positions in one plane are
// mirrored alike in two ways.)
constexpr double Clearly_Worse = 2.0;

constexpr std::size_t Fewest_Compared = 4;
// The positions' fit has seven unknowns; eight rows give 24 equations.
constexpr std::size_t Fewest_Positions = 8;

// Axes of turns near 0 are noise, and near 180 degrees their sign is.
constexpr double Least_Turn = 5.0, Largest_Turn = 170.0;
// Axes have to differ by this to tell how the frames are turned, degrees (0 along one line).
constexpr double Least_Axes_Apart = 10.0;

// A body's poses as another one sees it, by row. The board in the camera, or tracker in tracker.
struct Motion {
  std::vector<Eigen::Quaterniond> Turns;
  std::vector<Eigen::Vector3d> Places;
};

// ---- How samples may have been meant ---------------------------------------------------------

// Positions in mirrored axes: element k is element From[k] times Sign[k]. Quaternions in the same
// mirrored axes change differently, since a mirror reverses the sense of turns too.
struct Mirror {
  std::array<Eigen::Index, 3> From;
  std::array<double, 3> Sign;
  const char* Of_Positions;
  const char* Of_Quaternions;
};

constexpr Mirror No_Mirror = {{0, 1, 2}, {1, 1, 1}, "", ""};
constexpr Mirror Mirrors[] = {
    {{0, 1, 2}, {-1, 1, 1}, "negate x", "negate y and z"},
    {{0, 1, 2}, {1, -1, 1}, "negate y", "negate x and z"},
    {{0, 1, 2}, {1, 1, -1}, "negate z", "negate x and y"},
    {{0, 2, 1}, {1, 1, 1}, "exchange y and z", "exchange y and z and negate x, y and z"},
    {{2, 1, 0}, {1, 1, 1}, "exchange x and z", "exchange x and z and negate x, y and z"},
    {{1, 0, 2}, {1, 1, 1}, "exchange x and y", "exchange x and y and negate x, y and z"},
};

Eigen::Vector3d Seen_In(const Mirror& By, const Eigen::Vector3d& Of) {
  return {By.Sign[0] * Of[By.From[0]], By.Sign[1] * Of[By.From[1]], By.Sign[2] * Of[By.From[2]]};
}

struct Reading {
  bool W_Is_Last, Is_Attitude, Are_Swapped;
};

constexpr Reading As_Documented = {false, false, false};

Eigen::Quaterniond Rotation_Of(const Tracker_Sample& Sample, const Reading& Read) {
  const std::array<double, 4>& Q = Sample.Quaternion;
  const Eigen::Quaterniond Written = Read.W_Is_Last
                                         ? Eigen::Quaterniond(Q[3], Q[0], Q[1], Q[2]).normalized()
                                         : Sample_Rotation_Body_Base(Sample);
  return Read.Is_Attitude ? Written.conjugate() : Written;
}

// The board's tracker as the camera's tracker sees it, positions by the mirror.
Motion Tracker_Motion(const std::vector<Capture_Row>& Rows, const std::vector<std::size_t>& Chosen,
                      const Reading& Read, const Mirror& By = No_Mirror) {
  Motion Seen;
  for (const std::size_t Row : Chosen) {
    const Tracker_Sample& Tc = Read.Are_Swapped ? Rows[Row].Board : Rows[Row].Camera;
    const Tracker_Sample& Tr = Read.Are_Swapped ? Rows[Row].Camera : Rows[Row].Board;
    const Eigen::Quaterniond Rotation_Tc_Base = Rotation_Of(Tc, Read);
    Seen.Turns.push_back(Rotation_Tc_Base * Rotation_Of(Tr, Read).conjugate());
    const Eigen::Vector3d Apart =
        Eigen::Vector3d(Tr.Position.data()) - Eigen::Vector3d(Tc.Position.data());
    Seen.Places.push_back(Rotation_Tc_Base * Seen_In(By, Apart));
  }
  return Seen;
}

std::string In_Words(const Reading& Read) {
  std::string Words;
  const auto Add = [&](bool Holds, const char* Text) {
    if (Holds) Words += (Words.empty() ? "" : ", and ") + std::string(Text);
  };
  Add(Read.Are_Swapped, "camera and board trackers exchanged");
  Add(Read.W_Is_Last, "quaternions in the order x, y, z, w");
  Add(Read.Is_Attitude, "quaternions as the trackers' attitudes (negate x, y and z)");
  return Words;
}

// ---- Turns -----------------------------------------------------------------------------------

// For each row, the median of what its angles to the others differ by, degrees.
std::vector<double> Turns_Off(const Motion& Images, const Motion& Trackers) {
  const std::size_t Count = Images.Turns.size();
  std::vector<double> Off;
  for (std::size_t i = 0; i < Count; ++i) {
    std::vector<double> Differences;
    for (std::size_t j = 0; j < Count; ++j) {
      if (j == i) continue;
      const double Seen = Images.Turns[i].angularDistance(Images.Turns[j]);
      const double Reported = Trackers.Turns[i].angularDistance(Trackers.Turns[j]);
      Differences.push_back(std::abs(Seen - Reported) * Degrees_Per_Radian);
    }
    Off.push_back(Median(Differences));
  }
  return Off;
}

// The turn from row j to row i as a rotation vector, degrees.
Eigen::Vector3d Turn_Between(const Motion& Of, std::size_t i, std::size_t j) {
  const Eigen::AngleAxisd Turn(Of.Turns[i] * Of.Turns[j].conjugate());
  return Turn.axis() * Turn.angle() * Degrees_Per_Radian;
}

struct Turn_Pair {
  Eigen::Vector3d Image, Tracker;  // the same turn in the axes of Cam and of Tc
};

std::vector<Turn_Pair> Turn_Pairs(const Motion& Images, const Motion& Trackers,
                                  const std::vector<std::size_t>& Good) {
  std::vector<Turn_Pair> Pairs;
  for (std::size_t a = 0; a < Good.size(); ++a) {
    for (std::size_t b = a + 1; b < Good.size(); ++b) {
      const Turn_Pair Pair = {Turn_Between(Images, Good[a], Good[b]),
                              Turn_Between(Trackers, Good[a], Good[b])};
      const double Angle = Pair.Image.norm();
      if (Angle >= Least_Turn && Angle <= Largest_Turn) Pairs.push_back(Pair);
    }
  }
  return Pairs;
}

// The rotation that takes the trackers' axes of turn to the images', in the least squares. None
// when the axes lie along one line.
std::optional<Eigen::Matrix3d> Rotation_Cam_Tc(const std::vector<Turn_Pair>& Pairs) {
  if (Pairs.empty()) return std::nullopt;
  Eigen::Matrix3d Both = Eigen::Matrix3d::Zero(), Axes = Eigen::Matrix3d::Zero();
  for (const Turn_Pair& Pair : Pairs) {
    Both += Pair.Image.normalized() * Pair.Tracker.normalized().transpose();
    Axes += Pair.Image.normalized() * Pair.Image.normalized().transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Spread(Axes /
                                                              static_cast<double>(Pairs.size()));
  const double Apart = std::sin(Least_Axes_Apart / Degrees_Per_Radian);
  if (!(1.0 - Spread.eigenvalues()[2] >= Apart * Apart)) return std::nullopt;
  const Eigen::JacobiSVD<Eigen::Matrix3d> Svd(Both, Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Matrix3d Proper = Eigen::Matrix3d::Identity();
  Proper(2, 2) = (Svd.matrixU() * Svd.matrixV().transpose()).determinant() < 0.0 ? -1.0 : 1.0;
  return Eigen::Matrix3d(Svd.matrixU() * Proper * Svd.matrixV().transpose());
}

double Median_Axis_Off(const std::vector<Turn_Pair>& Pairs, const Eigen::Matrix3d& Rotation) {
  std::vector<double> Off;
  for (const Turn_Pair& Pair : Pairs) {
    const Eigen::Vector3d Left = Pair.Image.normalized();
    const Eigen::Vector3d Right = Rotation * Pair.Tracker.normalized();
    Off.push_back(std::atan2(Left.cross(Right).norm(), Left.dot(Right)) * Degrees_Per_Radian);
  }
  return Median(Off);
}

// ---- Positions -------------------------------------------------------------------------------

// The board's middle in the camera, with R the rotation Cam from Tc and T the trackers' turn:
//
//   Place_Cam = s * R * Place_Tc + R * T * Middle_Tr + Tracker_Cam
//
// linear in the scale s, the middle in the board tracker's axes and the place of the camera's
// tracker.
struct Position_Fit {
  std::vector<double> Off;  // metres, for each row of the motions
  double Scale = 1, Scale_Deviation = 0;
  Eigen::Vector3d Middle_Tr;  // in the body's own axes
};

constexpr Eigen::Index Unknowns = 7;

// Three equations a row, all divided by the row's doubt.
struct Equations {
  Eigen::MatrixXd Left;
  Eigen::VectorXd Right;
};

Equations Equations_Of(const Motion& Images, const Motion& Trackers,
                       const Eigen::Matrix3d& Rotation, const std::vector<std::size_t>& Rows,
                       const std::vector<double>& Doubts) {
  Equations Made;
  Made.Left.resize(static_cast<Eigen::Index>(3 * Rows.size()), Unknowns);
  Made.Right.resize(Made.Left.rows());
  for (std::size_t k = 0; k < Rows.size(); ++k) {
    const auto Top = static_cast<Eigen::Index>(3 * k);
    const std::size_t Row = Rows[k];
    Made.Left.block<3, 1>(Top, 0) = Rotation * Trackers.Places[Row] / Doubts[Row];
    Made.Left.block<3, 3>(Top, 1) = Rotation * Trackers.Turns[Row].toRotationMatrix() / Doubts[Row];
    Made.Left.block<3, 3>(Top, 4) = Eigen::Matrix3d::Identity() / Doubts[Row];
    Made.Right.segment<3>(Top) = Images.Places[Row] / Doubts[Row];
  }
  return Made;
}

// How far each row is off, metres; Of holds all rows' equations without doubts.
std::vector<double> Distances_Off(const Equations& Of, const Eigen::VectorXd& Solved) {
  const Eigen::VectorXd Rest = Of.Left * Solved - Of.Right;
  std::vector<double> Off;
  Off.reserve(static_cast<std::size_t>(Rest.size() / 3));
  for (Eigen::Index Top = 0; Top < Rest.size(); Top += 3) {
    Off.push_back(Rest.segment<3>(Top).norm());
  }
  return Off;
}

// Rows whose trackers aren't far beyond the usual distance of each other: a sample that is metres
// off would pull the fit to itself before its distance could tell on it.
std::vector<std::size_t> Near_Rows(const Motion& Trackers, const std::vector<std::size_t>& Rows) {
  std::vector<double> Distances;
  Distances.reserve(Rows.size());
  for (const std::size_t Row : Rows) Distances.push_back(Trackers.Places[Row].norm());
  std::vector<std::size_t> Near;
  if (Rows.empty()) return Near;
  const double Limit = 3.0 * Median(Distances);
  for (std::size_t k = 0; k < Rows.size(); ++k) {
    if (Distances[k] <= Limit) Near.push_back(Rows[k]);
  }
  return Near;
}

// Fits the rows of Good. Rows that come out far off are doubted in the next round, which lets the
// majority prevail, and left out of the last.
std::optional<Position_Fit> Fit_Positions(const Motion& Images, const Motion& Trackers,
                                          const Eigen::Matrix3d& Rotation,
                                          const std::vector<std::size_t>& Good) {
  std::vector<std::size_t> All(Images.Places.size());
  for (std::size_t i = 0; i < All.size(); ++i) All[i] = i;
  std::vector<double> Doubts(All.size(), 1.0);
  const Equations Plain = Equations_Of(Images, Trackers, Rotation, All, Doubts);
  std::vector<std::size_t> Used = Near_Rows(Trackers, Good);
  Position_Fit Fit;
  constexpr int Rounds = 10;
  constexpr double Least_Off = 1e-4;  // metres; no row is trusted beyond all others
  for (int Round = 0; Round <= Rounds; ++Round) {
    if (Used.size() < Fewest_Positions) return std::nullopt;
    const Equations Made = Equations_Of(Images, Trackers, Rotation, Used, Doubts);
    const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> Solver(Made.Left);
    if (Solver.rank() < Unknowns) return std::nullopt;
    const Eigen::VectorXd Solved = Solver.solve(Made.Right);
    Fit.Off = Distances_Off(Plain, Solved);
    Fit.Scale = Solved[0];
    Fit.Middle_Tr = Solved.segment<3>(1);
    const auto Free = static_cast<double>(Made.Left.rows() - Unknowns);
    const double Variance = (Made.Left * Solved - Made.Right).squaredNorm() / Free;
    const Eigen::MatrixXd Normal = Made.Left.transpose() * Made.Left;
    Fit.Scale_Deviation = std::sqrt(Variance * Normal.inverse()(0, 0));
    const bool Is_Last_But_One = Round + 1 == Rounds;
    const double Limit = std::max(Off_Factor * Median(Fit.Off), Least_Off);
    for (const std::size_t Row : All) {
      Doubts[Row] = Is_Last_But_One ? 1.0 : std::sqrt(std::max(Fit.Off[Row], Least_Off));
    }
    if (!Is_Last_But_One) continue;
    const auto Too_Far = [&](std::size_t Row) { return Fit.Off[Row] > Limit; };
    Used.erase(std::remove_if(Used.begin(), Used.end(), Too_Far), Used.end());
  }
  return Fit;
}

// ---- The board on its tracker ----------------------------------------------------------------

// Each row tells how the board is turned on its tracker, and all tell the same but for noise:
//
//   Rotation_Tr_Chart = Turn^T * Rotation_Cam_Tc^T * Rotation_Cam_Chart
//
// The mean over the rows of Good, in the body's own axes.
Eigen::Matrix3d Mean_Rotation_Tr_Chart(const Motion& Images, const Motion& Trackers,
                                       const Eigen::Matrix3d& Rotation,
                                       const std::vector<std::size_t>& Good) {
  const Eigen::Quaterniond Rotation_Tc_Cam(Eigen::Matrix3d(Rotation.transpose()));
  Eigen::Vector4d Sum = Eigen::Vector4d::Zero();
  for (const std::size_t Row : Good) {
    const Eigen::Quaterniond One =
        Trackers.Turns[Row].conjugate() * Rotation_Tc_Cam * Images.Turns[Row];
    // A quaternion and its negative are one rotation.
    Sum += Sum.dot(One.coeffs()) < 0.0 ? Eigen::Vector4d(-One.coeffs()) : One.coeffs();
  }
  return Eigen::Quaterniond(Eigen::Vector4d(Sum.normalized())).toRotationMatrix();
}

// ---- All of it -------------------------------------------------------------------------------

Agreement Measure_Reading(const Motion& Images, const Motion& Trackers) {
  Agreement Measured;
  Measured.Turns_Off_Deg = Turns_Off(Images, Trackers);
  Measured.Typical_Turn_Deg = Median(Measured.Turns_Off_Deg);
  if (Measured.Typical_Turn_Deg > Turn_Limit) return Measured;
  std::vector<std::size_t> Good;
  const double Limit = std::max(Off_Factor * Measured.Typical_Turn_Deg, Turn_Floor);
  for (std::size_t i = 0; i < Measured.Turns_Off_Deg.size(); ++i) {
    if (Measured.Turns_Off_Deg[i] <= Limit) Good.push_back(i);
  }
  const std::vector<Turn_Pair> Pairs = Turn_Pairs(Images, Trackers, Good);
  const std::optional<Eigen::Matrix3d> Rotation = Rotation_Cam_Tc(Pairs);
  if (!Rotation) return Measured;
  Measured.Typical_Axis_Deg = Median_Axis_Off(Pairs, *Rotation);
  if (*Measured.Typical_Axis_Deg > Axis_Limit) return Measured;
  Measured.Rotation_Tr_Chart =
      Tracker_Axes_Relabelling() * Mean_Rotation_Tr_Chart(Images, Trackers, *Rotation, Good);
  const std::optional<Position_Fit> Fit = Fit_Positions(Images, Trackers, *Rotation, Good);
  if (!Fit) return Measured;
  Measured.Positions_Off = Fit->Off;
  Measured.Typical_Position = Median(Fit->Off);
  Measured.Scale = Fit->Scale;
  Measured.Scale_Deviation = Fit->Scale_Deviation;
  Measured.Middle_Tr = Tracker_Axes_Relabelling() * Fit->Middle_Tr;
  return Measured;
}

// Whether a fit is good and its scale below 0. With N and M mirrors of the bodies' axes and of
// Base's, a rotation R is reported as N R M and a position p as M p. Then the board's tracker is at
// N R M M p = N R p: turned as -N does it, which is a rotation and part of the unknown mount, and
// reversed. So every such system looks alike, and -1 times a right-handed one.
bool Is_Reversed(const Agreement& Measured) {
  return Measured.Is_Good() && Measured.Scale &&
         *Measured.Scale < -Sure_Sign * Measured.Scale_Deviation;
}

bool Is_Upright(const Agreement& Measured) {
  return Measured.Is_Good() && Measured.Scale &&
         *Measured.Scale > Sure_Sign * Measured.Scale_Deviation;
}

// What positions that fit badly, or with a scale below 0, are mirrored in. A mirror M of positions
// alone is undone by reading them with M; a mirror of quaternions alone, where R is reported as
// M R M, by the same, but for a scale below 0.
void Find_Mirror(const std::vector<Capture_Row>& Rows, const Motion& Images,
                 const std::vector<std::size_t>& Chosen, Agreement& Into) {
  if (!Into.Typical_Position) return;
  struct Try {
    const Mirror* By;
    Agreement Fit;
  };
  std::vector<Try> Tries = {{&No_Mirror, Into}};
  for (const Mirror& By : Mirrors) {
    Tries.push_back(
        {&By, Measure_Reading(Images, Tracker_Motion(Rows, Chosen, As_Documented, By))});
    if (!Tries.back().Fit.Typical_Position) return;  // those that were left out aren't known
  }
  std::sort(Tries.begin(), Tries.end(), [](const Try& Left, const Try& Right) {
    return *Left.Fit.Typical_Position < *Right.Fit.Typical_Position;
  });
  const auto& [By, Fit] = Tries[0];
  const double Least_Of_Others = std::max(Clearly_Worse * *Fit.Typical_Position, Position_Floor);
  const bool Is_Clear = By != &No_Mirror && *Tries[1].Fit.Typical_Position > Least_Of_Others;
  if (Is_Clear && Is_Upright(Fit)) {
    Into.Hand = Mirrored::Positions;
    Into.Unmirrored = By->Of_Positions;
  } else if (Is_Clear && Is_Reversed(Fit)) {
    Into.Hand = Mirrored::Quaternions;
    Into.Unmirrored = By->Of_Quaternions;
  } else if (Is_Reversed(Into)) {
    Into.Hand = Mirrored::Everything;
  }
}

// What would make samples and images fit, if anything.
void Find_Better_Reading(const std::vector<Capture_Row>& Rows, const Motion& Images,
                         const std::vector<std::size_t>& Chosen, Agreement& Into) {
  // Plain mistakes come before combined ones.
  constexpr Reading Readings[] = {{false, true, false}, {true, false, false}, {true, true, false},
                                  {false, false, true}, {false, true, true},  {true, false, true},
                                  {true, true, true}};
  for (const Reading& Read : Readings) {
    const Agreement Measured = Measure_Reading(Images, Tracker_Motion(Rows, Chosen, Read));
    // Without positions two readings may fit alike, and none is to be recommended.
    if (!Measured.Is_Good() || !Measured.Typical_Position) continue;
    Into.Better_Reading = In_Words(Read);
    if (Is_Reversed(Measured)) Into.Hand = Mirrored::Everything;
    return;
  }
}

std::string How_Far(const Agreement& Measured) {
  if (Measured.Typical_Turn_Deg > Turn_Limit) {
    return fmt::format("between two lines, the angles of their turns differ by {:.1f} degrees",
                       Measured.Typical_Turn_Deg);
  }
  if (Measured.Typical_Axis_Deg.value_or(0.0) > Axis_Limit) {
    return fmt::format("the axes of their turns differ by {:.1f} degrees",
                       *Measured.Typical_Axis_Deg);
  }
  return fmt::format("positions differ by {:.0f} mm", 1000.0 * *Measured.Typical_Position);
}

void Tell_All_Off(const Agreement& Measured, Findings& Told) {
  const bool Known = !Measured.Better_Reading.empty();
  std::string What =
      fmt::format("The trackers didn't move as the images show: {}.", How_Far(Measured));
  if (Known) What += fmt::format(" They fit if read with {}.", Measured.Better_Reading);
  Told.Add({"trackers_disagree",
            Level::Error,
            What,
            "",
            Known
                ? "Write the samples as docs/conventions.md has them: first the camera's tracker, "
                  "then the board's, with quaternions w, x, y, z that turn the tracking system's "
                  "directions into the body's."
                : "Check that each sample belongs to the moment of its image and to the right "
                  "tracker, that both trackers sit tight, and that quaternions are w, x, y, z.",
            {}});
}

void Tell_Rows_Off(const std::vector<Capture_Row>& Rows, const Agreement& Measured,
                   Findings& Told) {
  const double Turn_Bound = std::max(Off_Factor * Measured.Typical_Turn_Deg, Turn_Floor);
  const double Position_Bound =
      std::max(Off_Factor * Measured.Typical_Position.value_or(0.0), Position_Floor);
  for (std::size_t k = 0; k < Measured.Rows.size(); ++k) {
    const double Turn = Measured.Turns_Off_Deg[k];
    const double Position = Measured.Typical_Position ? Measured.Positions_Off[k] : 0.0;
    if (Turn <= Turn_Bound && Position <= Position_Bound) continue;
    const std::size_t Line = Rows[Measured.Rows[k]].Line;
    std::string Example = fmt::format("Line {} is about {:.1f} degrees", Line, Turn);
    if (Measured.Typical_Position) Example += fmt::format(" and {:.0f} mm", 1000.0 * Position);
    Told.Add({"sample_disagrees",
              Level::Warning,
              "The trackers didn't move as this line's image shows: a sample is stale, jumped, or "
              "belongs to another image.",
              Example + " off.",
              "Take the line out.",
              {Line}});
  }
}

void Tell_Hand(const Agreement& Measured, Findings& Told) {
  if (Measured.Hand == Mirrored::Everything) {
    Told.Add({"left_handed",
              Level::Error,
              "The tracking system's axes are left-handed: the trackers moved as the images show, "
              "but mirrored.",
              "",
              "Let the tracking software export right-handed axes (x, y and z as thumb, index and "
              "middle finger of the right hand). Or write every sample mirrored: negate y of the "
              "position and x and z of the quaternion.",
              {}});
    return;
  }
  const bool Is_Of_Positions = Measured.Hand == Mirrored::Positions;
  Told.Add(
      {"axis_mirrored",
       Level::Error,
       fmt::format("Positions and quaternions of the trackers don't have the same axes: the {} "
                   "are mirrored. They fit the images if you {} in every {}.",
                   Is_Of_Positions ? "positions" : "quaternions", Measured.Unmirrored,
                   Is_Of_Positions ? "position" : "quaternion"),
       "",
       "Let the tracking software export positions and quaternions in the same right-handed "
       "axes, or write the samples so.",
       {}});
}

// A metre of the trackers in metres of the board. A reversed scale has been told.
double Length_Of_A_Metre(const Agreement& Measured) {
  return Measured.Hand == Mirrored::Everything ? std::abs(*Measured.Scale) : *Measured.Scale;
}

void Tell_Scale(const Agreement& Measured, Findings& Told) {
  if (Measured.Is_To_Scale()) return;
  const double Scale = Length_Of_A_Metre(Measured);
  // Further off it isn't the square that is wrong.
  const bool May_Be_The_Square = Scale > 0.5 && Scale < 2.0;
  Told.Add(
      {"scale",
       Level::Warning,
       fmt::format("Board and trackers differ in scale: a metre of the trackers is about {:.3g} "
                   "m by the board.",
                   Scale),
       May_Be_The_Square
           ? fmt::format("A --square of {:.2f} times the given one would fit.", 1.0 / Scale)
           : std::string(),
       "Measure --square over the whole board, and check that positions are in metres.",
       {}});
}

}  // namespace

bool Agreement::Is_To_Scale() const {
  if (!Scale) return true;
  const double Off = std::abs(Length_Of_A_Metre(*this) - 1.0);
  return !(Off > std::max(Scale_Limit, 5.0 * Scale_Deviation));
}

bool Agreement::Is_Good() const {
  return Typical_Turn_Deg <= Turn_Limit && Typical_Axis_Deg.value_or(0.0) <= Axis_Limit &&
         Typical_Position.value_or(0.0) <= Position_Limit;
}

std::optional<Agreement> Measure_Agreement(const std::vector<Capture_Row>& Rows,
                                           const std::vector<Board_Pose>& Poses) {
  std::vector<std::size_t> Chosen;
  Motion Images;
  for (const Board_Pose& Pose : Poses) {
    if (!Has_Rotations(Rows[Pose.Row])) continue;
    Chosen.push_back(Pose.Row);
    Images.Turns.push_back(Pose.Rotation_Cam_Chart);
    Images.Places.push_back(Pose.Middle_Cam);
  }
  if (Chosen.size() < Fewest_Compared) return std::nullopt;
  Agreement Measured = Measure_Reading(Images, Tracker_Motion(Rows, Chosen, As_Documented));
  Measured.Rows = Chosen;
  if (!Measured.Is_Good()) Find_Better_Reading(Rows, Images, Chosen, Measured);
  if (Measured.Better_Reading.empty() && (!Measured.Is_Good() || Is_Reversed(Measured))) {
    Find_Mirror(Rows, Images, Chosen, Measured);
  }
  return Measured;
}

void Judge_Agreement(const std::vector<Capture_Row>& Rows, const Agreement& Measured,
                     bool Scale_Is_Told, Findings& Told) {
  const Mirrored Hand = Scale_Is_Told ? Measured.Hand : Mirrored::Nothing;
  if (Hand == Mirrored::Positions || Hand == Mirrored::Quaternions) {
    Tell_Hand(Measured, Told);
    return;
  }
  if (!Measured.Is_Good()) Tell_All_Off(Measured, Told);
  if (Hand == Mirrored::Everything) Tell_Hand(Measured, Told);
  if (!Measured.Is_Good()) return;
  Tell_Rows_Off(Rows, Measured, Told);
  if (Measured.Scale && Scale_Is_Told) Tell_Scale(Measured, Told);
}

}  // namespace rigsync
