// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/tracker_agreement.h"

#include "rigsync/capture/library_limits.h"
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

// The samples agree with the images when the median residuals are within these: angles 1 degree and
// axes 2 (trackers are ten times better, but the lens fit is not), positions 3 cm, twice the spread
// at which a calibration fails.
constexpr double Rotation_Limit_Deg = 1.0;
constexpr double Axis_Limit_Deg = 2.0;
constexpr double Position_Limit = 2.0 * library_limits::Usable_Spread_Mm / 1000.0;

// A row has no part in the fits of steps 2 and 3 when its residual is above half a degree or a
// tenth of a millimetre, and above five times the median.
constexpr double Rotation_Floor_Deg = 0.5;
constexpr double Outlier_Factor = 5.0;

// A scale has a sign when it is this many standard deviations from 0.
constexpr double Sure_Deviations = 5.0;

// One of several mirrors of the positions is named when with every other one the median residual is
// more than twice as large, and above a centimetre. (For a camera that does not move and positions
// in one plane, two mirrors fit equally well.)
constexpr double Clearly_Worse = 2.0;
constexpr double Position_Floor = 0.01;

constexpr std::size_t Least_Compared = 4;
// The fit of positions has seven unknowns; eight rows give 24 equations.
constexpr std::size_t Least_Positions = 8;

// Degrees. The axes of smaller rotations are noise, and near 180 degrees the sign of an axis is.
constexpr double Least_Rotation = 5.0, Largest_Rotation = 170.0;
// The spread of the axes that determines a rotation between two frames, degrees.
constexpr double Least_Axis_Spread = 10.0;

// Poses of one body relative to another, by row: of the board relative to the camera, or of the
// board's tracker relative to the camera's.
struct Relative_Poses {
  std::vector<Eigen::Quaterniond> Rotations;
  std::vector<Eigen::Vector3d> Positions;
};

// ---- Conventions that the samples may follow --------------------------------------------------

// Positions in mirrored axes: element k is element Index[k] times Sign[k]. Quaternions in the same
// mirrored axes change differently, since a mirror also reverses the sense of rotations.
struct Mirror {
  std::array<Eigen::Index, 3> Index;
  std::array<double, 3> Sign;
  const char* Position_Correction;
  const char* Quaternion_Correction;
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

Eigen::Vector3d Mirror_Vector(const Mirror& Axes, const Eigen::Vector3d& Vector) {
  return {Axes.Sign[0] * Vector[Axes.Index[0]], Axes.Sign[1] * Vector[Axes.Index[1]],
          Axes.Sign[2] * Vector[Axes.Index[2]]};
}

struct Sample_Convention {
  bool W_Is_Last;    // quaternions are x, y, z, w
  bool Is_Attitude;  // quaternions take the body's directions to Base
  bool Are_Swapped;  // the board's tracker comes first
};

constexpr Sample_Convention As_Documented = {false, false, false};

Eigen::Quaterniond Rotation_By_Convention(const Tracker_Sample& Sample,
                                          const Sample_Convention& Convention) {
  const std::array<double, 4>& Q = Sample.Quaternion;
  const Eigen::Quaterniond Rotation = Convention.W_Is_Last
                                          ? Eigen::Quaterniond(Q[3], Q[0], Q[1], Q[2]).normalized()
                                          : Sample_Rotation_Body_Base(Sample);
  return Convention.Is_Attitude ? Rotation.conjugate() : Rotation;
}

// The board's tracker relative to the camera's.
Relative_Poses Tracker_Poses(const std::vector<Capture_Row>& Rows,
                             const std::vector<std::size_t>& Compared,
                             const Sample_Convention& Convention,
                             const Mirror& Position_Mirror = No_Mirror) {
  Relative_Poses Poses;
  for (const std::size_t Row : Compared) {
    const Tracker_Sample& Tc = Convention.Are_Swapped ? Rows[Row].Board : Rows[Row].Camera;
    const Tracker_Sample& Tr = Convention.Are_Swapped ? Rows[Row].Camera : Rows[Row].Board;
    const Eigen::Quaterniond Rotation_Tc_Base = Rotation_By_Convention(Tc, Convention);
    Poses.Rotations.push_back(Rotation_Tc_Base *
                              Rotation_By_Convention(Tr, Convention).conjugate());
    const Eigen::Vector3d Difference =
        Eigen::Vector3d(Tr.Position.data()) - Eigen::Vector3d(Tc.Position.data());
    Poses.Positions.push_back(Rotation_Tc_Base * Mirror_Vector(Position_Mirror, Difference));
  }
  return Poses;
}

std::string In_Words(const Sample_Convention& Convention) {
  std::string Words;
  const auto Add = [&](bool Holds, const char* Text) {
    if (Holds) Words += (Words.empty() ? "" : ", and ") + std::string(Text);
  };
  Add(Convention.Are_Swapped, "camera and board trackers exchanged");
  Add(Convention.W_Is_Last, "quaternions in the order x, y, z, w");
  Add(Convention.Is_Attitude, "quaternions as the trackers' attitudes (negate x, y and z)");
  return Words;
}

// ---- Step 1: angles --------------------------------------------------------------------------

// For each row, the median difference between its rotation angles to the other rows, degrees.
std::vector<double> Rotation_Residuals_Deg(const Relative_Poses& Images,
                                           const Relative_Poses& Trackers) {
  const std::size_t Count = Images.Rotations.size();
  std::vector<double> Residuals;
  for (std::size_t i = 0; i < Count; ++i) {
    std::vector<double> Differences;
    for (std::size_t j = 0; j < Count; ++j) {
      if (j == i) continue;
      const double Image_Angle = Images.Rotations[i].angularDistance(Images.Rotations[j]);
      const double Tracker_Angle = Trackers.Rotations[i].angularDistance(Trackers.Rotations[j]);
      Differences.push_back(std::abs(Image_Angle - Tracker_Angle) * Degrees_Per_Radian);
    }
    Residuals.push_back(Median(Differences));
  }
  return Residuals;
}

// ---- Step 2: axes ----------------------------------------------------------------------------

// The rotation from row j to row i as a rotation vector, degrees.
Eigen::Vector3d Rotation_Vector_Deg(const Relative_Poses& Poses, std::size_t i, std::size_t j) {
  const Eigen::AngleAxisd Rotation(Poses.Rotations[i] * Poses.Rotations[j].conjugate());
  return Rotation.axis() * Rotation.angle() * Degrees_Per_Radian;
}

// The same rotation in the axes of Cam and of Tc.
struct Rotation_Pair {
  Eigen::Vector3d Image, Tracker;
};

std::vector<Rotation_Pair> Rotation_Pairs(const Relative_Poses& Images,
                                          const Relative_Poses& Trackers,
                                          const std::vector<std::size_t>& Inliers) {
  std::vector<Rotation_Pair> Pairs;
  for (std::size_t a = 0; a < Inliers.size(); ++a) {
    for (std::size_t b = a + 1; b < Inliers.size(); ++b) {
      const Rotation_Pair Pair = {Rotation_Vector_Deg(Images, Inliers[a], Inliers[b]),
                                  Rotation_Vector_Deg(Trackers, Inliers[a], Inliers[b])};
      const double Angle = Pair.Image.norm();
      if (Angle >= Least_Rotation && Angle <= Largest_Rotation) Pairs.push_back(Pair);
    }
  }
  return Pairs;
}

// Rotation_Cam_Tc of least squares over the pairs' axes. None when the axes are parallel.
std::optional<Eigen::Matrix3d> Fit_Rotation(const std::vector<Rotation_Pair>& Pairs) {
  if (Pairs.empty()) return std::nullopt;
  Eigen::Matrix3d Correlation = Eigen::Matrix3d::Zero(), Axes = Eigen::Matrix3d::Zero();
  for (const Rotation_Pair& Pair : Pairs) {
    Correlation += Pair.Image.normalized() * Pair.Tracker.normalized().transpose();
    Axes += Pair.Image.normalized() * Pair.Image.normalized().transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> Spread(Axes /
                                                              static_cast<double>(Pairs.size()));
  const double Least_Sine = std::sin(Least_Axis_Spread / Degrees_Per_Radian);
  if (!(1.0 - Spread.eigenvalues()[2] >= Least_Sine * Least_Sine)) return std::nullopt;
  const Eigen::JacobiSVD<Eigen::Matrix3d> Svd(Correlation,
                                              Eigen::ComputeFullU | Eigen::ComputeFullV);
  // Keeps the determinant at 1: without it the best fit may be a reflection.
  Eigen::Matrix3d Signs = Eigen::Matrix3d::Identity();
  Signs(2, 2) = (Svd.matrixU() * Svd.matrixV().transpose()).determinant() < 0.0 ? -1.0 : 1.0;
  return Eigen::Matrix3d(Svd.matrixU() * Signs * Svd.matrixV().transpose());
}

double Median_Axis_Residual(const std::vector<Rotation_Pair>& Pairs,
                            const Eigen::Matrix3d& Rotation_Cam_Tc) {
  std::vector<double> Residuals;
  for (const Rotation_Pair& Pair : Pairs) {
    const Eigen::Vector3d Image_Axis = Pair.Image.normalized();
    const Eigen::Vector3d Tracker_Axis = Rotation_Cam_Tc * Pair.Tracker.normalized();
    Residuals.push_back(
        std::atan2(Image_Axis.cross(Tracker_Axis).norm(), Image_Axis.dot(Tracker_Axis)) *
        Degrees_Per_Radian);
  }
  return Median(Residuals);
}

// ---- Step 3: positions -----------------------------------------------------------------------

// The board's centre in Cam, with s the scale and Position_Tc that of the board's tracker:
//
//   Centre_Cam = s * Rotation_Cam_Tc * Position_Tc
//              + Rotation_Cam_Tc * Rotation_Tc_Tr * Centre_Tr + Tracker_Position_Cam
//
// It is linear in s, Centre_Tr and Tracker_Position_Cam, the position of the camera's tracker.
struct Position_Fit {
  std::vector<double> Residuals;  // metres, for all rows that are compared
  double Scale = 1, Scale_Deviation = 0;
  double Held_Scale_Factor = 1;
};

constexpr Eigen::Index Unknown_Count = 7;

struct Equations {
  Eigen::MatrixXd Left;
  Eigen::VectorXd Right;
};

// Three equations for each of Rows, divided by the row's deviation. A deviation of d gives the row
// the weight 1 / d^2.
Equations Position_Equations(const Relative_Poses& Images, const Relative_Poses& Trackers,
                             const Eigen::Matrix3d& Rotation_Cam_Tc,
                             const std::vector<std::size_t>& Rows,
                             const std::vector<double>& Deviations) {
  Equations System;
  System.Left.resize(static_cast<Eigen::Index>(3 * Rows.size()), Unknown_Count);
  System.Right.resize(System.Left.rows());
  for (std::size_t k = 0; k < Rows.size(); ++k) {
    const auto Top = static_cast<Eigen::Index>(3 * k);
    const std::size_t Row = Rows[k];
    const double Deviation = Deviations[Row];
    System.Left.block<3, 1>(Top, 0) = Rotation_Cam_Tc * Trackers.Positions[Row] / Deviation;
    System.Left.block<3, 3>(Top, 1) =
        Rotation_Cam_Tc * Trackers.Rotations[Row].toRotationMatrix() / Deviation;
    System.Left.block<3, 3>(Top, 4) = Eigen::Matrix3d::Identity() / Deviation;
    System.Right.segment<3>(Top) = Images.Positions[Row] / Deviation;
  }
  return System;
}

// The sum of squares that is left when the scale, the first unknown, is held at 1.
double Squares_With_Scale_Held(const Equations& System) {
  const Eigen::MatrixXd Others = System.Left.rightCols(Unknown_Count - 1);
  const Eigen::VectorXd Right = System.Right - System.Left.col(0);
  return (Others * Others.colPivHouseholderQr().solve(Right) - Right).squaredNorm();
}

// The length of each row's residual vector, metres, for equations with deviations of 1.
std::vector<double> Position_Residuals(const Equations& Unweighted,
                                       const Eigen::VectorXd& Solution) {
  const Eigen::VectorXd Difference = Unweighted.Left * Solution - Unweighted.Right;
  std::vector<double> Residuals;
  Residuals.reserve(static_cast<std::size_t>(Difference.size() / 3));
  for (Eigen::Index Top = 0; Top < Difference.size(); Top += 3) {
    Residuals.push_back(Difference.segment<3>(Top).norm());
  }
  return Residuals;
}

// The rows whose trackers are not much further apart than usual. A sample that is metres off would
// pull the unweighted first fit towards itself, so that its residual would not show it.
std::vector<std::size_t> Near_Rows(const Relative_Poses& Trackers,
                                   const std::vector<std::size_t>& Rows) {
  std::vector<double> Distances;
  Distances.reserve(Rows.size());
  for (const std::size_t Row : Rows) Distances.push_back(Trackers.Positions[Row].norm());
  std::vector<std::size_t> Near;
  if (Rows.empty()) return Near;
  const double Limit = 3.0 * Median(Distances);
  for (std::size_t k = 0; k < Rows.size(); ++k) {
    if (Distances[k] <= Limit) Near.push_back(Rows[k]);
  }
  return Near;
}

// Each round weights the rows by the inverse of their residuals in the round before, so that the
// majority prevails. The last round leaves outliers out and weights the other rows equally.
// Residuals are calculated for all rows, but only Inliers are fitted.
std::optional<Position_Fit> Fit_Positions(const Relative_Poses& Images,
                                          const Relative_Poses& Trackers,
                                          const Eigen::Matrix3d& Rotation_Cam_Tc,
                                          const std::vector<std::size_t>& Inliers) {
  std::vector<std::size_t> All_Rows(Images.Positions.size());
  for (std::size_t i = 0; i < All_Rows.size(); ++i) All_Rows[i] = i;
  std::vector<double> Deviations(All_Rows.size(), 1.0);
  const Equations Unweighted =
      Position_Equations(Images, Trackers, Rotation_Cam_Tc, All_Rows, Deviations);
  std::vector<std::size_t> Fitted = Near_Rows(Trackers, Inliers);
  Position_Fit Fit;
  constexpr int Rounds = 10;
  constexpr double Least_Residual = 1e-4;  // metres; keeps every weight finite
  for (int Round = 0; Round <= Rounds; ++Round) {
    if (Fitted.size() < Least_Positions) return std::nullopt;
    const Equations Weighted =
        Position_Equations(Images, Trackers, Rotation_Cam_Tc, Fitted, Deviations);
    const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> Solver(Weighted.Left);
    if (Solver.rank() < Unknown_Count) return std::nullopt;
    const Eigen::VectorXd Solution = Solver.solve(Weighted.Right);
    Fit.Residuals = Position_Residuals(Unweighted, Solution);
    Fit.Scale = Solution[0];
    const auto Freedom = static_cast<double>(Weighted.Left.rows() - Unknown_Count);
    const double Squares = (Weighted.Left * Solution - Weighted.Right).squaredNorm();
    const double Variance = Squares / Freedom;
    Fit.Held_Scale_Factor = std::sqrt(Squares_With_Scale_Held(Weighted) / Squares);
    const Eigen::MatrixXd Normal = Weighted.Left.transpose() * Weighted.Left;
    Fit.Scale_Deviation = std::sqrt(Variance * Normal.inverse()(0, 0));
    const bool Is_Last_But_One = Round + 1 == Rounds;
    const double Limit = std::max(Outlier_Factor * Median(Fit.Residuals), Least_Residual);
    for (const std::size_t Row : All_Rows) {
      Deviations[Row] =
          Is_Last_But_One ? 1.0 : std::sqrt(std::max(Fit.Residuals[Row], Least_Residual));
    }
    if (!Is_Last_But_One) continue;
    const auto Is_Outlier = [&](std::size_t Row) { return Fit.Residuals[Row] > Limit; };
    Fitted.erase(std::remove_if(Fitted.begin(), Fitted.end(), Is_Outlier), Fitted.end());
  }
  return Fit;
}

// ---- The three steps together ----------------------------------------------------------------

Agreement Compare(const Relative_Poses& Images, const Relative_Poses& Trackers) {
  Agreement Measured;
  const std::vector<double> Residuals_Deg = Rotation_Residuals_Deg(Images, Trackers);
  Measured.Median_Rotation_Residual_Deg = Median(Residuals_Deg);
  if (Measured.Median_Rotation_Residual_Deg > Rotation_Limit_Deg) return Measured;
  std::vector<std::size_t> Inliers;
  const double Limit =
      std::max(Outlier_Factor * Measured.Median_Rotation_Residual_Deg, Rotation_Floor_Deg);
  for (std::size_t i = 0; i < Residuals_Deg.size(); ++i) {
    if (Residuals_Deg[i] <= Limit) Inliers.push_back(i);
  }
  const std::vector<Rotation_Pair> Pairs = Rotation_Pairs(Images, Trackers, Inliers);
  const std::optional<Eigen::Matrix3d> Rotation_Cam_Tc = Fit_Rotation(Pairs);
  if (!Rotation_Cam_Tc) return Measured;
  Measured.Median_Axis_Residual_Deg = Median_Axis_Residual(Pairs, *Rotation_Cam_Tc);
  if (*Measured.Median_Axis_Residual_Deg > Axis_Limit_Deg) return Measured;
  const std::optional<Position_Fit> Fit =
      Fit_Positions(Images, Trackers, *Rotation_Cam_Tc, Inliers);
  if (!Fit) return Measured;
  Measured.Median_Position_Residual = Median(Fit->Residuals);
  Measured.Scale = Fit->Scale;
  Measured.Scale_Deviation = Fit->Scale_Deviation;
  Measured.Held_Scale_Factor = Fit->Held_Scale_Factor;
  return Measured;
}

// Whether a fit is good and its scale is below 0. With N and M mirrors of the bodies' axes and of
// Base's, a rotation R is reported as N R M and a position p as M p. Then the position of the
// board's tracker relative to the camera's is N R M M p = N R p: the true one rotated by -N, which
// is a rotation and part of the unknown mount, and reversed. So all such systems look the same: the
// scale is -1 times that of a right-handed one.
bool Is_Reversed(const Agreement& Measured) {
  return Measured.Is_Good() && Measured.Scale &&
         *Measured.Scale < -Sure_Deviations * Measured.Scale_Deviation;
}

bool Is_Upright(const Agreement& Measured) {
  return Measured.Is_Good() && Measured.Scale &&
         *Measured.Scale > Sure_Deviations * Measured.Scale_Deviation;
}

// Finds the mirror of positions that fit badly, or of a scale below 0. A mirror M of the positions
// alone is undone by reading them with M. A mirror of the quaternions alone, where R is reported as
// M R M, is undone by the same, but with a scale below 0.
void Find_Mirror(const std::vector<Capture_Row>& Rows, const Relative_Poses& Images,
                 const std::vector<std::size_t>& Compared, Agreement& Measured) {
  if (!Measured.Median_Position_Residual) return;
  struct Attempt {
    const Mirror* Axes;
    Agreement Fit;
  };
  std::vector<Attempt> Attempts = {{&No_Mirror, Measured}};
  for (const Mirror& Axes : Mirrors) {
    Attempts.push_back(
        {&Axes, Compare(Images, Tracker_Poses(Rows, Compared, As_Documented, Axes))});
    if (!Attempts.back().Fit.Median_Position_Residual) return;  // it cannot be ranked
  }
  std::sort(Attempts.begin(), Attempts.end(), [](const Attempt& Left, const Attempt& Right) {
    return *Left.Fit.Median_Position_Residual < *Right.Fit.Median_Position_Residual;
  });
  const auto& [Axes, Fit] = Attempts[0];
  const double Runner_Up_Limit =
      std::max(Clearly_Worse * *Fit.Median_Position_Residual, Position_Floor);
  const bool Is_Clear =
      Axes != &No_Mirror && *Attempts[1].Fit.Median_Position_Residual > Runner_Up_Limit;
  if (Is_Clear && Is_Upright(Fit)) {
    Measured.Axes = Handedness::Mirrored_Positions;
    Measured.Correction = Axes->Position_Correction;
  } else if (Is_Clear && Is_Reversed(Fit)) {
    Measured.Axes = Handedness::Mirrored_Quaternions;
    Measured.Correction = Axes->Quaternion_Correction;
  } else if (Is_Reversed(Measured)) {
    Measured.Axes = Handedness::Left;
  }
}

// Finds the convention by which samples and images agree, if there is one.
void Find_Convention(const std::vector<Capture_Row>& Rows, const Relative_Poses& Images,
                     const std::vector<std::size_t>& Compared, Agreement& Measured) {
  // Single mistakes come before combined ones.
  constexpr Sample_Convention Conventions[] = {
      {false, true, false}, {true, false, false}, {true, true, false}, {false, false, true},
      {false, true, true},  {true, false, true},  {true, true, true}};
  for (const Sample_Convention& Convention : Conventions) {
    const Agreement Fit = Compare(Images, Tracker_Poses(Rows, Compared, Convention));
    // Without positions two conventions may fit equally well, and neither can be recommended.
    if (!Fit.Is_Good() || !Fit.Median_Position_Residual) continue;
    Measured.Fitting_Convention = In_Words(Convention);
    if (Is_Reversed(Fit)) Measured.Axes = Handedness::Left;
    return;
  }
}

// ---- Findings --------------------------------------------------------------------------------

std::string Disagreement_Text(const Agreement& Measured) {
  if (Measured.Median_Rotation_Residual_Deg > Rotation_Limit_Deg) {
    return fmt::format("rotation angles between two lines differ by {:.1f} degrees",
                       Measured.Median_Rotation_Residual_Deg);
  }
  if (Measured.Median_Axis_Residual_Deg.value_or(0.0) > Axis_Limit_Deg) {
    return fmt::format("rotation axes differ by {:.1f} degrees",
                       *Measured.Median_Axis_Residual_Deg);
  }
  return fmt::format("positions differ by {:.0f} mm", 1000.0 * *Measured.Median_Position_Residual);
}

void Add_Disagreement(const Agreement& Measured, Findings& List) {
  const bool Is_Known = !Measured.Fitting_Convention.empty();
  std::string What =
      fmt::format("The tracker samples disagree with the images: {}.", Disagreement_Text(Measured));
  if (Is_Known) What += fmt::format(" They agree if read with {}.", Measured.Fitting_Convention);
  List.Add(
      {"trackers_disagree",
       Level::Error,
       What,
       "",
       Is_Known
           ? "Write the samples as described in docs/conventions.md: first the camera's tracker, "
             "then the board's, with quaternions w, x, y, z that take directions of the tracking "
             "system to those of the tracked body."
           : "Check that each sample was taken at the same moment as its image and by the right "
             "tracker, that both trackers are firmly mounted, and that quaternions are w, x, y, z. "
             "After 'rigsync import' check its --camera, --board, --rotation, --map and --axes.",
       {}});
}

void Add_Handedness(const Agreement& Measured, Findings& List) {
  if (Measured.Axes == Handedness::Left) {
    List.Add({"left_handed",
              Level::Error,
              "The tracking system's axes are left-handed: the samples agree with the images only "
              "when mirrored.",
              "",
              "Export right-handed axes from the tracking software (x, y and z as thumb, index and "
              "middle finger of the right hand). Or mirror every sample: negate y of the position "
              "and x and z of the quaternion. If the images are mirrored, which looks the same, "
              "switch that off in the camera instead, and leave the samples as they are.",
              {}});
    return;
  }
  const bool Are_Positions = Measured.Axes == Handedness::Mirrored_Positions;
  List.Add({"axis_mirrored",
            Level::Error,
            fmt::format("The positions and quaternions of the trackers are in different axes: the "
                        "{} are mirrored. They agree with the images if you {} in every {}.",
                        Are_Positions ? "positions" : "quaternions", Measured.Correction,
                        Are_Positions ? "position" : "quaternion"),
            "",
            "Export positions and quaternions in the same right-handed axes from the tracking "
            "software, or convert the samples.",
            {}});
}

}  // namespace

bool Agreement::Is_Good() const {
  // With a square that is stated ten times too long, images measure every length ten times too long
  // too, and with it what positions differ by.
  const bool Is_Scaled = Scale && std::abs(*Scale) > Sure_Deviations * Scale_Deviation;
  const double Enlargement = Is_Scaled ? std::max(1.0, std::abs(*Scale)) : 1.0;
  return Median_Rotation_Residual_Deg <= Rotation_Limit_Deg &&
         Median_Axis_Residual_Deg.value_or(0.0) <= Axis_Limit_Deg &&
         Median_Position_Residual.value_or(0.0) <= Enlargement * Position_Limit;
}

std::optional<Agreement> Measure_Agreement(const std::vector<Capture_Row>& Rows,
                                           const std::vector<Board_Pose>& Poses) {
  std::vector<std::size_t> Compared;
  Relative_Poses Images;
  for (const Board_Pose& Pose : Poses) {
    if (!Has_Rotations(Rows[Pose.Row])) continue;
    Compared.push_back(Pose.Row);
    Images.Rotations.push_back(Pose.Rotation_Cam_Chart);
    Images.Positions.push_back(Pose.Centre_Cam);
  }
  if (Compared.size() < Least_Compared) return std::nullopt;
  Agreement Measured = Compare(Images, Tracker_Poses(Rows, Compared, As_Documented));
  Measured.Rows = Compared;
  if (!Measured.Is_Good()) Find_Convention(Rows, Images, Compared, Measured);
  if (Measured.Fitting_Convention.empty() && (!Measured.Is_Good() || Is_Reversed(Measured))) {
    Find_Mirror(Rows, Images, Compared, Measured);
  }
  return Measured;
}

bool Judge_Agreement(const Agreement& Measured, bool Is_Distance_Known, Findings& List) {
  const Handedness Axes = Is_Distance_Known ? Measured.Axes : Handedness::Right;
  const bool Is_Relative_Mirror =
      Axes == Handedness::Mirrored_Positions || Axes == Handedness::Mirrored_Quaternions;
  const bool Is_Disagreement = !Measured.Is_Good() && !Is_Relative_Mirror;
  if (Is_Disagreement) Add_Disagreement(Measured, List);
  // Mirrored images look like mirrored axes. Who corrects both has the fault again.
  const bool Are_Images_Mirrored = List.Has("image_mirrored");
  if (Axes != Handedness::Right && !Are_Images_Mirrored) Add_Handedness(Measured, List);
  return !Is_Disagreement && Axes == Handedness::Right;
}

}  // namespace rigsync
