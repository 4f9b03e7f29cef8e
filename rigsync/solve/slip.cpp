// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/slip.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"

#include <Eigen/Cholesky>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// Degrees of freedom of the rows' density: tails that bound what a stale row can do.
constexpr double Row_Freedom = 5.0;

// Reweighting has settled when the likelihood does, to this much.
constexpr double Settled_Slip_Gain = 1e-4;
constexpr int Most_Reweightings = 50;

// Of more rows than this a slip is first looked for at every second, third ... row.
constexpr std::size_t Most_Tried = 60;

// A slip is known to a metre and a radian beforehand, so that three rows always fix it.
constexpr double Slip_Deviation = 1.0;

// A row agrees when its squared distance is at most this many times the median. For six numbers
// that is 26.7 times their variance, which one good row in 6,000 passes.
constexpr double Usual_Squares = 5.0;

constexpr int Slip_Unknowns = Unknowns + 6;
using Slip_Vector = Eigen::Matrix<double, Slip_Unknowns, 1>;
using Slip_Matrix = Eigen::Matrix<double, Slip_Unknowns, Slip_Unknowns>;

// A row in units of its own noise, and its part of the normal equations.
struct White_Row {
  Vector6d Residual;
  Row_Derivative Derivative;
  Unknown_Matrix Normal;
  Unknown_Vector Right;
};

// No slip, or one of a tracker from the row of an index on.
struct Hypothesis {
  int Mount = Camera_Mount;  // where the unknowns of the mount that moved begin
  std::size_t First = 0;     // index; the number of rows for no slip
};

// One hypothesis as it fits best.
struct Slip_Fit {
  double Deviance = 0;  // -2 log likelihood, without its constant
  Slip_Vector Unknown = Slip_Vector::Zero();
};

std::vector<White_Row> Whiten(const Joint_Solution& Solution) {
  std::vector<White_Row> White;
  for (const Linear_Row& Row : Linearise_Rows(Solution.Settled, Solution.At, Solution.Settings)) {
    const Eigen::LLT<Matrix6d> Root(Row_Covariance(Row, Solution.Variance));
    White_Row New;
    New.Residual = Root.matrixL().solve(Row.Model.Residual);
    New.Derivative = Root.matrixL().solve(Row.Model.Derivative);
    New.Normal = New.Derivative.transpose() * New.Derivative;
    New.Right = New.Derivative.transpose() * New.Residual;
    White.push_back(New);
  }
  return White;
}

struct Normal_Equations {
  Slip_Matrix Normal = Slip_Matrix::Zero();
  Slip_Vector Right = Slip_Vector::Zero();
};

// The rows' weighted sum; the six unknowns of the slip are those of its mount in the rows after it.
Normal_Equations Sum_Rows(const std::vector<White_Row>& Rows, const std::vector<double>& Weights,
                          const Hypothesis& Of) {
  Normal_Equations Sum;
  Unknown_Matrix After = Unknown_Matrix::Zero(), Before = After;
  Unknown_Vector Right_After = Unknown_Vector::Zero(), Right_Before = Right_After;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    (i < Of.First ? Before : After) += Weights[i] * Rows[i].Normal;
    (i < Of.First ? Right_Before : Right_After) += Weights[i] * Rows[i].Right;
  }
  Sum.Normal.topLeftCorner<Unknowns, Unknowns>() = Before + After;
  Sum.Normal.topRightCorner<Unknowns, 6>() = After.middleCols<6>(Of.Mount);
  Sum.Normal.bottomLeftCorner<6, Unknowns>() = After.middleRows<6>(Of.Mount);
  Sum.Normal.bottomRightCorner<6, 6>() = After.block<6, 6>(Of.Mount, Of.Mount);
  Sum.Right << Right_Before + Right_After, Right_After.segment<6>(Of.Mount);
  return Sum;
}

std::vector<double> Squares(const std::vector<White_Row>& Rows, const Hypothesis& Of,
                            const Slip_Vector& Unknown) {
  std::vector<double> All;
  All.reserve(Rows.size());
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Unknown_Vector Here = Unknown.head<Unknowns>();
    if (i >= Of.First) Here.segment<6>(Of.Mount) += Unknown.tail<6>();
    All.push_back((Rows[i].Residual - Rows[i].Derivative * Here).squaredNorm());
  }
  return All;
}

// Weights of the t density, and the factor of all variances that fits the rows best with them.
double Reweigh(const std::vector<double>& All_Squares, double& Factor,
               std::vector<double>& Weights) {
  double Weighted = 0, Deviance = 0;
  for (std::size_t i = 0; i < Weights.size(); ++i) {
    const double Square = All_Squares[i] / Factor;
    Weights[i] = (Row_Freedom + 6.0) / (Row_Freedom + Square);
    Weighted += Weights[i] * All_Squares[i];
    Deviance += (Row_Freedom + 6.0) * std::log1p(Square / Row_Freedom) + 6.0 * std::log(Factor);
  }
  Factor = std::max(Weighted / (6.0 * static_cast<double>(Weights.size())), 1e-12);
  for (double& Weight : Weights) Weight /= Factor;
  return Deviance;
}

Slip_Fit Fit_Hypothesis(const std::vector<White_Row>& Rows, const Linear_Prior& Prior,
                        const Hypothesis& Of) {
  Slip_Fit Fit;
  Slip_Matrix Information = Slip_Matrix::Identity() / (Slip_Deviation * Slip_Deviation);
  Information.topLeftCorner<Unknowns, Unknowns>() = Prior.Information;
  Slip_Vector Pull = Slip_Vector::Zero();
  Pull.head<Unknowns>() = Prior.Information * Prior.Distance;
  std::vector<double> Weights(Rows.size(), 1.0);
  double Factor = 1.0, Last = INFINITY;
  for (int k = 0; k < Most_Reweightings; ++k) {
    const Normal_Equations Sum = Sum_Rows(Rows, Weights, Of);
    Fit.Unknown = (Sum.Normal + Information).ldlt().solve(Sum.Right + Pull);
    Fit.Deviance = Reweigh(Squares(Rows, Of, Fit.Unknown), Factor, Weights);
    if (!(std::abs(Last - Fit.Deviance) > Settled_Slip_Gain)) break;
    Last = Fit.Deviance;
  }
  return Fit;
}

// Whether most rows before the slip and most rows after it agree with its two mounts. A slip has
// six unknowns, enough to take one of a few stale rows for a mount of its own.
bool Do_Both_Sides_Agree(const std::vector<White_Row>& Rows, const Hypothesis& Of,
                         const Slip_Fit& Fit) {
  const std::vector<double> All = Squares(Rows, Of, Fit.Unknown);
  const double Limit = Usual_Squares * Median(All);
  const auto Agrees = [&](double Square) { return Square <= Limit; };
  const auto First_After = All.begin() + static_cast<std::ptrdiff_t>(Of.First);
  return 2 * std::count_if(All.begin(), First_After, Agrees) > First_After - All.begin() &&
         2 * std::count_if(First_After, All.end(), Agrees) > All.end() - First_After;
}

struct Slip_Candidate {
  Hypothesis Of;
  Slip_Fit Fit;
};

// The likeliest of every Stride-th row from First to Last, on both trackers.
Slip_Candidate Likeliest(const std::vector<White_Row>& Rows, const Linear_Prior& Prior,
                         std::size_t First, std::size_t Last, std::size_t Stride) {
  Slip_Candidate Best;
  Best.Fit.Deviance = INFINITY;
  for (std::size_t k = First; k <= Last; k += Stride) {
    for (const int Mount : {Camera_Mount, Board_Mount}) {
      const Hypothesis Of{Mount, k};
      const Slip_Fit Fit = Fit_Hypothesis(Rows, Prior, Of);
      if (Fit.Deviance < Best.Fit.Deviance && Do_Both_Sides_Agree(Rows, Of, Fit)) Best = {Of, Fit};
    }
  }
  return Best;
}

Slip_Evidence Evidence_Of(double Gain) {
  if (Gain > Found_Gain) return Slip_Evidence::Found;
  return Gain > Look_Gain ? Slip_Evidence::Look : Slip_Evidence::None;
}

}  // namespace

bool Is_Noticeable(const Slip& Seen) {
  return 1000.0 * Seen.Motion.tail<3>().norm() >= Least_Slip_Mm ||
         Degrees_Per_Radian * Seen.Motion.head<3>().norm() >= Least_Slip_Deg;
}

std::optional<Slip> Find_Slip(const Joint_Solution& Solution) {
  const std::size_t Count = Solution.Settled.size();
  if (Solution.Rows.size() != Count || Count < 2 * Least_Rows_Beside_Slip) return std::nullopt;
  const std::vector<White_Row> Rows = Whiten(Solution);
  const Linear_Prior Prior = Linearise_Prior(Solution.At, Solution.Settings);
  const std::size_t First = Least_Rows_Beside_Slip, Last = Count - Least_Rows_Beside_Slip;
  const std::size_t Stride = 1 + Count / Most_Tried;
  Slip_Candidate Best = Likeliest(Rows, Prior, First, Last, Stride);
  if (Stride > 1) {
    const std::size_t Near = Best.Of.First;
    Best = Likeliest(Rows, Prior, std::max(First, Near - std::min(Near, Stride)),
                     std::min(Last, Near + Stride), 1);
  }
  const double Without = Fit_Hypothesis(Rows, Prior, {Camera_Mount, Count}).Deviance;
  Slip Found;
  Found.Gain = Without - Best.Fit.Deviance;
  if (!std::isfinite(Found.Gain)) return std::nullopt;
  Found.Evidence = Evidence_Of(Found.Gain);
  Found.Tracker = Best.Of.Mount == Camera_Mount ? Slipped_Tracker::Camera : Slipped_Tracker::Board;
  Found.First_Row = Solution.Settled[Best.Of.First].Row;
  Found.Motion = Best.Fit.Unknown.tail<6>();
  return Found;
}

}  // namespace rigsync
