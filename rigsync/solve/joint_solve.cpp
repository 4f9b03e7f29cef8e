// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/joint_solve.h"

#include "rigsync/solve/apparent_motion.h"
#include "rigsync/solve/disagreement.h"
#include "rigsync/solve/exact_square.h"
#include "rigsync/solve/lens_effect.h"
#include "rigsync/solve/model_average.h"
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

// A tracker that stands still has velocities of noise alone.
void Hold_Still_Trackers(const Moving_Trackers& Moving, std::vector<Observation>& Rows) {
  for (Observation& Seen : Rows) {
    if (!Seen.Motion) continue;
    if (!Moving.Camera) Seen.Motion->Camera = {};
    if (!Moving.Board) Seen.Motion->Board = {};
  }
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

Unknown_Matrix Lens_Part(const std::vector<Observation>& Kept, const Joint_Fit& Fit,
                         const Matrix6d& Lens_Covariance) {
  const Unknowns_By_Lens By_Lens = Follow_Lens(Kept, Fit);
  return Lens_Factor(Fit) * (By_Lens * Lens_Covariance * By_Lens.transpose());
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
  Unknown_Uncertainty Unknown =
      Describe_Unknowns(Fit.Rows, Fit.Terms, Fit.Variance,
                        Lens_Part(Kept, Fit, Seen.Lens_Covariance) + Rest_Part(Rest, Fit.At) +
                            Open_Part(Kept, Fit, Settings));
  if (!Fit.Terms.Lag) return Unknown;
  const auto By_Lens = Lag_By_Lens(Kept, Fit);
  Unknown.Lag_Variance += Lens_Factor(Fit) * By_Lens.dot(By_Lens * Seen.Lens_Covariance);
  return Unknown;
}

void Describe_Uncertainty(const Unknown_Uncertainty& Unknown, Joint_Solution& Solution) {
  Solution.Camera_Mount = Describe_Mount(Unknown, Camera_Mount);
  Solution.Board_Mount = Describe_Mount(Unknown, Board_Mount);
  Solution.Scale_Deviation =
      Solution.At.Square_Scale * std::sqrt(Unknown.Covariance(Scale_Unknown, Scale_Unknown));
}

void Describe_Lag(const Unknown_Uncertainty& Unknown, const std::vector<Observation>& Kept,
                  Joint_Solution& Solution) {
  const bool Is_Solved = Solution.Settings.Solves_Lag;
  if (!Is_Solved && Solution.At.Lag_Seconds == 0.0) return;
  Solution.Lag = {Solution.At.Lag_Seconds, Is_Solved ? Lag_Half_Width(Unknown) : 0.0, !Is_Solved,
                  Measure_Speed(Kept, Solution.At.Transform_Tr_Chart)};
}

// How the trackers' noise may be shared out. Either tracker may turn with three times the standard
// deviation of the other, or positions may be three times as noisy along one axis of the room. 24
// rows can't tell much more than that. The first is even.
struct Assumed_Noise {
  double Probability;
  double Rotation_Balance = 0;
  std::optional<int> Noisy_Axis = {};
};
constexpr Assumed_Noise All_Assumed[] = {{0.4},         {0.15, -0.8},  {0.15, 0.8},
                                         {0.1, 0.0, 0}, {0.1, 0.0, 1}, {0.1, 0.0, 2}};

// Before its own weights are fitted it may be this far behind, of which a fit makes good a third.
constexpr double Hopeless_Before_Fit = 30.0;

// The rows with one of these, the square free and exact.
struct Explained_Fit {
  Joint_Fit Free;
  double Exact_Probability = 0;
  Explanation Both;
};

Fit_Settings With_Assumed(Fit_Settings Settings, const Assumed_Noise& Assumed) {
  Settings.Moving.Rotation_Balance = Assumed.Rotation_Balance;
  Settings.Moving.Noisy_Axis = Assumed.Noisy_Axis;
  return Settings;
}

Explained_Fit Explain(const std::vector<Observation>& Kept, const Joint_Fit& First,
                      const Joint_Fit& Free, double Probability, const Observations& Seen,
                      const Capture_Rest& Rest, Fit_Settings Settings, double Prior_Probability) {
  Explained_Fit Fit;
  Fit.Free = Free;
  const Exact_Square Square = Fit_Exact_Square(Kept, Free, Settings, Prior_Probability);
  Fit.Exact_Probability = Square.Probability;
  // The rows' probability with an unknown square is that with a free one, over the part that the
  // free one has in both.
  const double Free_Part = std::max(1.0 - Square.Probability, 1e-12);
  Fit.Both.Log_Evidence = Free.Terms.Log_Likelihood - std::log(Free_Part) + std::log(Probability);
  Fit.Both.Motion = Step_Between(First.At, Free.At) + Square.Probability * Square.Motion;
  Fit.Both.Lag_Change =
      Free.At.Lag_Seconds - First.At.Lag_Seconds + Square.Probability * Square.Lag_Change;
  Fit.Both.Uncertainty = Uncertainty_Of(Free, Kept, Seen, Rest, Settings);
  if (Square.Probability > 0.0) {
    Settings.Scale_Deviation = Exact_Scale_Deviation;
    Fit.Both.Uncertainty = Average(Fit.Both.Uncertainty,
                                   Uncertainty_Of(Square.Fit, Kept, Seen, Rest, Settings), Square);
  }
  return Fit;
}

// Of the log likelihood, with the weights and the mounts of the first explanation.
double Gain_Before_Fit(const std::vector<Observation>& Kept, const Joint_Fit& First,
                       const Fit_Settings& Settings) {
  const Likelihood_Terms Terms =
      Evaluate_Likelihood(Linearise_Rows(Kept, First.At, Settings),
                          Linearise_Prior(First.At, Settings), First.Variance);
  return Terms.Log_Likelihood - First.Terms.Log_Likelihood;
}

// Turns of trackers of which one stands still have no balance.
std::vector<Explained_Fit> Explain_All(const std::vector<Observation>& Kept, const Joint_Fit& First,
                                       const Observations& Seen, const Capture_Rest& Rest,
                                       const Fit_Settings& Settings, double Prior_Probability) {
  std::vector<Explained_Fit> All;
  const bool Is_One_Still = !Rest.Moving.Camera || !Rest.Moving.Board;
  for (const Assumed_Noise& Assumed : All_Assumed) {
    if (Is_One_Still && Assumed.Rotation_Balance != 0.0) continue;
    const Fit_Settings Own = With_Assumed(Settings, Assumed);
    if (!All.empty() && Gain_Before_Fit(Kept, First, Own) < -Hopeless_Before_Fit) continue;
    const Joint_Fit Free = All.empty() ? First : Fit_Rows(Kept, First.At, First.Variance, Own);
    const double Gain = Free.Terms.Log_Likelihood - First.Terms.Log_Likelihood;
    if (!All.empty() && (!Free.Has_Converged || Is_Hopeless(Gain))) continue;
    All.push_back(
        Explain(Kept, First, Free, Assumed.Probability, Seen, Rest, Own, Prior_Probability));
  }
  return All;
}

void Describe_Fit(const Observations& Seen, const Capture_Rest& Rest, const Selection& Selected,
                  double Prior_Probability, Joint_Solution& Solution) {
  const Joint_Fit& First = Selected.Fit;
  const std::vector<Observation> Kept = Kept_Rows(Solution.Settled, Selected.Is_Kept);
  const std::vector<Explained_Fit> Fits =
      Explain_All(Kept, First, Seen, Rest, Solution.Settings, Prior_Probability);
  std::vector<Explanation> Explanations;
  for (const Explained_Fit& Fit : Fits) Explanations.push_back(Fit.Both);
  Average_Explanation Mean = Average(Explanations);
  std::size_t Likeliest = 0;
  Solution.Exact_Square_Probability = 0;
  for (std::size_t k = 0; k < Fits.size(); ++k) {
    Solution.Exact_Square_Probability += Mean.Probabilities[k] * Fits[k].Exact_Probability;
    if (Mean.Probabilities[k] > Mean.Probabilities[Likeliest]) Likeliest = k;
  }
  Solution.At = Moved(First.At, Mean.Motion);
  Solution.At.Lag_Seconds += Mean.Lag_Change;
  Solution.Widening =
      Widening(Measure_Disagreement(Fits[Likeliest].Free, Neighbouring_Rows(Kept)), Kept.size());
  const Unknown_Uncertainty Unknown = Widened(Mean.Uncertainty, Solution.Widening);
  Describe_Uncertainty(Unknown, Solution);
  Describe_Lag(Unknown, Kept, Solution);
  Solution.Variance = First.Variance;
  Solution.Noise = {std::sqrt(First.Variance[Corner_Noise]),
                    std::sqrt(First.Variance[Rotation_Noise]),
                    std::sqrt(First.Variance[Position_Noise])};
  Solution.Motion = Measure_Motion(Kept);
}

void Describe_Rows(const Selection& Selected, Joint_Solution& Solution) {
  for (std::size_t i = 0; i < Solution.Settled.size(); ++i) {
    const Observation& Seen = Solution.Settled[i];
    Solution.Rows.push_back({Seen.Row, Selected.Is_Kept[i], Selected.Distances[i].F,
                             Linearise(Seen, Solution.At).Residual, Seen.Board.Is_Cut_Off});
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

std::size_t Count_Cut_Off(const Joint_Solution& Solution) {
  return static_cast<std::size_t>(
      std::count_if(Solution.Rows.begin(), Solution.Rows.end(),
                    [](const Solved_Row& Row) { return Row.Is_Kept && Row.Is_Cut_Off; }));
}

Joint_Solution Solve_Mounts(const Observations& Seen, const Joint_Options& Options) {
  Joint_Solution Solution;
  Solution.Settled = Usable_Rows(Seen);
  if (Solution.Settled.size() < Least_Rows) return Solution;
  const Capture_Rest Rest = Settle_Still_Trackers(Solution.Settled);
  Hold_Still_Trackers(Rest.Moving, Solution.Settled);
  Solution.Settings = {Seen.Corner_Variance, Rest.Moving, Options.Scale_Deviation, Options.Prior,
                       Options.Lag.Is_Solved};
  Solution.Status = Solve_Status::Not_Converged;
  auto Start = Find_Start(Solution.Settled);
  if (!Start) return Solution;
  if (!Options.Lag.Is_Solved) Start->At.Lag_Seconds = Options.Lag.Seconds;
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
