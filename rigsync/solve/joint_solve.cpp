// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/joint_solve.h"

#include "rigsync/solve/apparent_motion.h"
#include "rigsync/solve/exact_square.h"
#include "rigsync/solve/robust_start.h"
#include "rigsync/solve/row_test.h"

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// Rows are tested and the fit made again until none changes sides. Some captures have a row that
// changes sides for ever.
constexpr int Most_Rounds = 20;

bool Is_Finite(const Observation& Seen) {
  return Seen.Board.Transform_Cam_Chart.matrix().allFinite() &&
         Seen.Board.Unit_Covariance.allFinite() && Seen.Board.Lens_Sensitivity.allFinite() &&
         Seen.Transform_Tc_Base.matrix().allFinite() && Seen.Transform_Base_Tr.matrix().allFinite();
}

std::vector<Observation> Usable_Rows(const Observations& Seen) {
  std::vector<Observation> Usable;
  std::copy_if(Seen.Rows.begin(), Seen.Rows.end(), std::back_inserter(Usable), Is_Finite);
  return Usable;
}

std::vector<Observation> Kept_Rows(const std::vector<Observation>& Rows,
                                   const std::vector<bool>& Is_Kept) {
  std::vector<Observation> Kept;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (Is_Kept[i]) Kept.push_back(Rows[i]);
  }
  return Kept;
}

std::size_t Count(const std::vector<bool>& Is_Kept) {
  return static_cast<std::size_t>(std::count(Is_Kept.begin(), Is_Kept.end(), true));
}

// A fit, the rows that it is of, and how all rows stand to it.
struct Selection {
  std::vector<bool> Is_Kept;
  Joint_Fit Fit;
  std::vector<Row_Distance> Distances;
};

Selection Begin(const std::vector<Observation>& Rows, const Robust_Start& Start,
                const Fit_Settings& Settings) {
  Selection Begun;
  Begun.Is_Kept.assign(Rows.size(), false);
  for (const std::size_t i : Start.Nearest_Half) Begun.Is_Kept[i] = true;
  const std::vector<Observation> Kept = Kept_Rows(Rows, Begun.Is_Kept);
  Begun.Fit =
      Fit_Rows(Kept, Start.At, First_Variances(Linearise_Rows(Kept, Start.At, Settings)), Settings);
  return Begun;
}

// From the half that agrees best to all that agree.
Selection Select_Rows(const std::vector<Observation>& Rows, const Robust_Start& Start,
                      const Fit_Settings& Settings) {
  Selection Selected = Begin(Rows, Start, Settings);
  for (int Round = 0; Round < Most_Rounds && Selected.Fit.Has_Converged; ++Round) {
    Selected.Distances = Test_Rows(Rows, Selected.Is_Kept, Selected.Fit, Settings);
    std::vector<bool> Is_Kept;
    for (const Row_Distance& Distance : Selected.Distances) Is_Kept.push_back(!Distance.Is_Outlier);
    if (Is_Kept == Selected.Is_Kept || Count(Is_Kept) < Least_Rows) break;
    Selected.Is_Kept = Is_Kept;
    Selected.Fit =
        Fit_Rows(Kept_Rows(Rows, Is_Kept), Selected.Fit.At, Selected.Fit.Variance, Settings);
  }
  return Selected;
}

// The unknowns follow the poses, and these the lens that they were all solved with.
Unknown_Matrix Lens_Part(const std::vector<Observation>& Kept, const Joint_Fit& Fit,
                         const Matrix6d& Lens_Covariance) {
  Eigen::Matrix<double, Unknowns, Lens_Parameters> By_Lens;
  By_Lens.setZero();
  for (std::size_t i = 0; i < Kept.size(); ++i) {
    By_Lens += Fit.Rows[i].Model.Derivative.transpose() * Fit.Terms.Weights[i] *
               Kept[i].Board.Lens_Sensitivity;
  }
  By_Lens = (Fit.Terms.Covariance * By_Lens).eval();
  return By_Lens * Lens_Covariance * By_Lens.transpose();
}

// A mean that is off moves the mount that is on that tracker, and nothing else.
Unknown_Matrix Rest_Part(const Capture_Rest& Rest, const Mounts& At) {
  Unknown_Matrix Sum = Unknown_Matrix::Zero();
  if (!Rest.Moving.Camera) {
    Sum.diagonal().segment<3>(Camera_Mount).setConstant(Rest.Camera.Rotation_Variance);
    Sum.diagonal().segment<3>(Camera_Mount + 3).setConstant(Rest.Camera.Position_Variance);
  }
  if (!Rest.Moving.Board) {
    Eigen::Matrix<double, 6, 3> By_Turn;
    By_Turn << Eigen::Matrix3d::Identity(), -Cross_Matrix(At.Transform_Tr_Chart.translation());
    Sum.block<6, 6>(Board_Mount, Board_Mount) =
        Rest.Board.Rotation_Variance * By_Turn * By_Turn.transpose();
    Sum.diagonal().segment<3>(Board_Mount + 3).array() += Rest.Board.Position_Variance;
  }
  return Sum;
}

Unknown_Uncertainty Uncertainty_Of(const Joint_Fit& Fit, const std::vector<Observation>& Kept,
                                   const Observations& Seen, const Capture_Rest& Rest,
                                   const Fit_Settings& Settings) {
  return Describe_Unknowns(Fit.Rows, Fit.Terms, Fit.Variance,
                           Lens_Part(Kept, Fit, Seen.Lens_Covariance) + Rest_Part(Rest, Fit.At) +
                               Open_Part(Kept, Fit, Settings));
}

void Describe_Uncertainty(const Unknown_Uncertainty& Unknown, Joint_Solution& Solution) {
  Solution.Camera_Mount = Describe_Mount(Unknown, Camera_Mount);
  Solution.Board_Mount = Describe_Mount(Unknown, Board_Mount);
  Solution.Scale_Deviation =
      Solution.At.Square_Scale * std::sqrt(Unknown.Covariance(Scale_Unknown, Scale_Unknown));
}

void Describe_Fit(const Observations& Seen, const Capture_Rest& Rest, const Selection& Selected,
                  double Prior_Probability, Joint_Solution& Solution) {
  const Joint_Fit& Free = Selected.Fit;
  const std::vector<Observation> Kept = Kept_Rows(Solution.Settled, Selected.Is_Kept);
  const Exact_Square Square = Fit_Exact_Square(Kept, Free, Solution.Settings, Prior_Probability);
  Solution.Exact_Square_Probability = Square.Probability;
  Solution.At = Moved(Free.At, Square.Probability * Square.Motion);
  Unknown_Uncertainty Unknown = Uncertainty_Of(Free, Kept, Seen, Rest, Solution.Settings);
  if (Square.Probability > 0.0) {
    Fit_Settings Exact_Settings = Solution.Settings;
    Exact_Settings.Scale_Deviation = Exact_Scale_Deviation;
    Unknown =
        Average(Unknown, Uncertainty_Of(Square.Fit, Kept, Seen, Rest, Exact_Settings), Square);
  }
  Describe_Uncertainty(Unknown, Solution);
  Solution.Variance = Free.Variance;
  Solution.Noise = {std::sqrt(Free.Variance[Corner_Noise]),
                    std::sqrt(Free.Variance[Rotation_Noise]),
                    std::sqrt(Free.Variance[Position_Noise])};
  Solution.Motion = Measure_Motion(Kept);
}

void Describe_Rows(const Selection& Selected, Joint_Solution& Solution) {
  for (std::size_t i = 0; i < Solution.Settled.size(); ++i) {
    const Observation& Seen = Solution.Settled[i];
    Solution.Rows.push_back({Seen.Row, Selected.Is_Kept[i], Selected.Distances[i].F,
                             Linearise(Seen, Solution.At).Residual});
  }
}

bool Is_Finite(const Joint_Solution& Solution) {
  return Solution.At.Transform_Cam_Tc.matrix().allFinite() &&
         Solution.At.Transform_Tr_Chart.matrix().allFinite() &&
         Solution.Camera_Mount.Covariance.allFinite() &&
         Solution.Board_Mount.Covariance.allFinite() &&
         Solution.Camera_Mount.Half_Width_Mm.allFinite() &&
         Solution.Camera_Mount.Half_Width_Deg.allFinite();
}

// The same capture without an answer.
Joint_Solution Not_Converged(const Joint_Solution& Of) {
  Joint_Solution Nothing;
  Nothing.Status = Solve_Status::Not_Converged;
  Nothing.Settings = Of.Settings;
  Nothing.Settled = Of.Settled;
  return Nothing;
}

}  // namespace

Joint_Solution Solve_Mounts(const Observations& Seen, const Joint_Options& Options) {
  Joint_Solution Solution;
  Solution.Settled = Usable_Rows(Seen);
  if (Solution.Settled.size() < Least_Rows) return Solution;
  const Capture_Rest Rest = Settle_Still_Trackers(Solution.Settled);
  Solution.Settings = {Seen.Corner_Variance, Rest.Moving, Options.Scale_Deviation, Options.Prior};
  Solution.Status = Solve_Status::Not_Converged;
  const auto Start = Find_Start(Solution.Settled);
  if (!Start) return Solution;
  const Selection Selected = Select_Rows(Solution.Settled, *Start, Solution.Settings);
  if (!Selected.Fit.Has_Converged || Selected.Distances.empty()) return Solution;
  Describe_Fit(Seen, Rest, Selected, Options.Exact_Square_Probability, Solution);
  Describe_Rows(Selected, Solution);
  if (!Is_Finite(Solution)) return Not_Converged(Solution);
  const bool Is_Majority = 2 * Count(Selected.Is_Kept) > Solution.Settled.size();
  Solution.Status = Is_Majority ? Solve_Status::Solved : Solve_Status::No_Majority;
  return Solution;
}

}  // namespace rigsync
