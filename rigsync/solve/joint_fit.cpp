// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/joint_fit.h"

#include "rigsync/geometry/statistics.h"
#include "rigsync/solve/lag_solve.h"

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// A flat likelihood of the variances takes some 150 steps, the usual one 15.
constexpr int Most_Fit_Steps = 400;
constexpr int Most_Halvings = 12;

// A fit has settled when the step gains this little, in units of the log likelihood.
constexpr double Settled_Fit_Gain = 1e-6;
constexpr double Settled_Variance_Gain = 1e-4;

// Along a direction that the rows leave open, steps are as large as what bends them, and a fit
// creeps. After this many steps one that gains a hundredth is at rest: a seventh of what it states
// to be uncertain.
constexpr int Steps_Before_Creeping = 60;
constexpr double Creeping_Gain = 1e-2;

// Lever arms follow the mounts in this many steps, of which the usual fit takes fewer. Mounts that
// are open would move them, and they the weights, for ever.
constexpr int Steps_With_New_Levers = 30;

// Below this nothing begins: a tenth of a thousandth of a degree, a micrometre.
constexpr double Least_First_Variance = 1e-12;

// The rows at a point, and how well they fit with given weights.
struct Point {
  Mounts At;
  std::vector<Linear_Row> Rows;
  Linear_Prior Prior;
};

Point Linearise_Point(const std::vector<Observation>& Rows, const Mounts& At,
                      const Fit_Settings& Settings) {
  return {At, Linearise_Rows(Rows, At, Settings), Linearise_Prior(At, Settings)};
}

// The later point with the noise of the earlier one.
Point With_Shapes_Of(const Point& Earlier, Point Later) {
  for (std::size_t i = 0; i < Later.Rows.size(); ++i) Later.Rows[i].Shapes = Earlier.Rows[i].Shapes;
  return Later;
}

bool Is_Settled(const Likelihood_Terms& Terms, const Variances& Change, int Steps) {
  const bool Creeps = Steps >= Steps_Before_Creeping;
  return Terms.Squares_Gained < (Creeps ? Creeping_Gain : Settled_Fit_Gain) &&
         std::abs(Terms.Score.dot(Change)) < (Creeps ? Creeping_Gain : Settled_Variance_Gain);
}

// The point after the step, which is halved as long as it makes the fit worse.
Point After_Step(const std::vector<Observation>& Rows, const Point& From,
                 const Likelihood_Terms& Terms, const Fit_Settings& Settings) {
  const double Squares = Weighted_Squares(From.Rows, Terms.Weights, From.Prior);
  Unknown_Vector Step = Terms.Step;
  double Lag_Step = Terms.Lag ? Terms.Lag->Step : 0.0;
  Point Next = From;
  for (int k = 0; k < Most_Halvings; ++k) {
    Mounts At = Moved(From.At, Step);
    At.Lag_Seconds += Lag_Step;
    Next = Linearise_Point(Rows, At, Settings);
    // Rounding alone makes a settled fit worse by some 1e-9 of itself.
    if (Weighted_Squares(Next.Rows, Terms.Weights, Next.Prior) <= Squares * (1.0 + 1e-9)) break;
    Step *= 0.5;
    Lag_Step *= 0.5;
  }
  return Next;
}

// Expected information is an average: where the rows' own is larger, scoring oversteps the top and
// goes to and fro. A step that the score then opposes is followed by shorter ones.
struct Damped_Scoring {
  static constexpr double Least_Factor = 1.0 / 64;
  double Factor = 1.0;
  Variances Last_Change = Variances::Zero();

  Variances Damped(const Variances& Score, const Variances& Change) {
    Factor = Score.dot(Last_Change) < 0.0 ? std::max(0.5 * Factor, Least_Factor)
                                          : std::min(1.2 * Factor, 1.0);
    Last_Change = Factor * Change;
    return Last_Change;
  }
};

}  // namespace

std::vector<Linear_Row> Linearise_Rows(const std::vector<Observation>& Rows, const Mounts& At,
                                       const Fit_Settings& Settings) {
  std::vector<Linear_Row> All;
  All.reserve(Rows.size());
  for (const Observation& Seen : Rows) {
    All.push_back(
        {Linearise(Seen, At), Shape_Noise(Seen, At, Settings.Corner_Variance, Settings.Moving)});
  }
  return All;
}

Linear_Prior Linearise_Prior(const Mounts& At, const Fit_Settings& Settings) {
  Linear_Prior Prior;
  // A turn has no usual place: its prior is where the mounts are.
  Unknown_Vector Deviations = Unknown_Vector::Constant(Open_Deviation);
  Prior.Distance.segment<3>(Camera_Mount + 3) = -At.Transform_Cam_Tc.translation();
  Prior.Distance.segment<3>(Board_Mount + 3) = -At.Transform_Tr_Chart.translation();
  Deviations[Scale_Unknown] = Settings.Scale_Deviation;
  Prior.Distance[Scale_Unknown] = -std::log(At.Square_Scale);
  if (Settings.Prior) {
    Deviations.segment<3>(Board_Mount).setConstant(Settings.Prior->Rotation_Deviation_Rad);
    Deviations.segment<3>(Board_Mount + 3).setConstant(Settings.Prior->Offset_Deviation);
    Prior.Distance.segment<6>(Board_Mount) =
        Motion_Between(At.Transform_Tr_Chart, Settings.Prior->Transform_Tr_Chart);
  }
  Prior.Information = Deviations.cwiseAbs2().cwiseInverse().asDiagonal();
  if (Settings.Solves_Lag) Prior.Lag = {1.0 / (Lag_Deviation * Lag_Deviation), -At.Lag_Seconds};
  return Prior;
}

Variances First_Variances(const std::vector<Linear_Row>& Rows) {
  std::vector<double> Turns, Shifts;
  for (const Linear_Row& Row : Rows) {
    Turns.push_back(Row.Model.Residual.head<3>().squaredNorm());
    Shifts.push_back(Row.Model.Residual.tail<3>().squaredNorm());
  }
  // The rotations of two trackers share what they do to a turn.
  return {1.0, std::max(Median(Turns) / Median_Of_Three_Squares / 2, Least_First_Variance),
          std::max(Median(Shifts) / Median_Of_Three_Squares, Least_First_Variance)};
}

Joint_Fit Fit_Rows(const std::vector<Observation>& Rows, const Mounts& Start,
                   const Variances& Start_Variances, const Fit_Settings& Settings) {
  Joint_Fit Fit;
  Fit.Variance = Start_Variances;
  Point At = Linearise_Point(Rows, Start, Settings);
  Damped_Scoring Scoring;
  for (int k = 0; k < Most_Fit_Steps; ++k) {
    Fit.Terms = Evaluate_Likelihood(At.Rows, At.Prior, Fit.Variance);
    if (!Fit.Terms.Step.allFinite() || !Fit.Terms.Score.allFinite()) break;
    const Variances Change = Next_Variances(Fit.Terms, Fit.Variance) - Fit.Variance;
    Fit.Has_Converged = Is_Settled(Fit.Terms, Change, k);
    if (Fit.Has_Converged) break;
    const Point Next = After_Step(Rows, At, Fit.Terms, Settings);
    At = k < Steps_With_New_Levers ? Next : With_Shapes_Of(At, Next);
    Fit.Variance += Scoring.Damped(Fit.Terms.Score, Change);
  }
  Fit.At = At.At;
  Fit.Rows = std::move(At.Rows);
  return Fit;
}

}  // namespace rigsync
