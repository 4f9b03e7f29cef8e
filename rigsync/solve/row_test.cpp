// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/row_test.h"

#include "rigsync/solve/lag_solve.h"
#include "rigsync/solve/mount_uncertainty.h"

#include <Eigen/Cholesky>

#include <algorithm>
#include <limits>

namespace rigsync {
namespace {

// The squared distance of a row to what the others predict. A row that was fitted drew the
// prediction towards itself, and is further from what the others say than its residual shows.
double Squared_Distance(const Linear_Row& Row, const Joint_Fit& Fit, bool Was_Fitted) {
  const Matrix6d Own = Row_Covariance(Row, Fit.Variance);
  Matrix6d By_Unknowns =
      Row.Model.Derivative * Fit.Terms.Covariance * Row.Model.Derivative.transpose();
  if (Fit.Terms.Lag) {
    const Vector6d Followed = Following(Row, *Fit.Terms.Lag);
    By_Unknowns += Fit.Terms.Lag->Variance * Followed * Followed.transpose();
  }
  const Matrix6d Sum = Was_Fitted ? Matrix6d(Own - By_Unknowns) : Matrix6d(Own + By_Unknowns);
  // A residual's covariance after a fit is Own - By_Unknowns, and that of the row against the
  // others gives the same squared distance.
  const double Squared = Row.Model.Residual.dot(Sum.ldlt().solve(Row.Model.Residual));
  return std::max(Squared, 0.0);
}

// The fit's own measure, 1 for a row whose noise is as it was estimated, without one row's part.
double Others_Mean_Square(double All_Squares, double All_Freedom, double Own_Square,
                          bool Was_Fitted) {
  const double Freedom = All_Freedom - (Was_Fitted ? 6.0 : 0.0);
  const double Squares = All_Squares - (Was_Fitted ? Own_Square : 0.0);
  return std::max(Squares, 0.0) / Freedom;
}

}  // namespace

std::vector<Row_Distance> Test_Rows(const std::vector<Observation>& Rows,
                                    const std::vector<bool>& Is_Kept, const Joint_Fit& Fit,
                                    const Fit_Settings& Settings) {
  const std::vector<Linear_Row> All = Linearise_Rows(Rows, Fit.At, Settings);
  const Linear_Prior Prior = Linearise_Prior(Fit.At, Settings);
  const double Squares = Weighted_Squares(Fit.Rows, Fit.Terms.Weights, Prior);
  const double Freedom =
      6.0 * static_cast<double>(Fit.Rows.size()) - Unknowns - (Fit.Terms.Lag ? 1 : 0);
  std::vector<Row_Distance> Distances;
  for (std::size_t i = 0; i < All.size(); ++i) {
    const double Squared = Squared_Distance(All[i], Fit, Is_Kept[i]);
    const double Others = Others_Mean_Square(Squares, Freedom, Squared, Is_Kept[i]);
    const double Others_Freedom = Freedom - (Is_Kept[i] ? 6.0 : 0.0);
    Row_Distance Distance;
    Distance.F = Others > 0.0 ? Squared / 6.0 / Others : std::numeric_limits<double>::infinity();
    Distance.Is_Outlier = !(Distance.F <= F_Limit(6.0, Others_Freedom, Good_Row_Dropped));
    Distances.push_back(Distance);
  }
  return Distances;
}

}  // namespace rigsync
