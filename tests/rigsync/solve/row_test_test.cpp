// SPDX-License-Identifier: Apache-2.0
//
// The distance of a row to what the others predict, against a fit that never saw it.
#include "rigsync/solve/row_test.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>
#include <Eigen/LU>

namespace {

using rigsync::Fit_Settings;
using rigsync::Joint_Fit;
using rigsync::Likelihood_Terms;
using rigsync::Linear_Row;
using rigsync::Matrix6d;
using rigsync::Observation;
using rigsync::Row_Distance;
using rigsync::Vector6d;

struct Fitted {
  std::vector<Observation> Rows;
  Fit_Settings Settings;
  Joint_Fit Fit;
};

Fitted Fit_Rig() {
  pose_rig::Options Options;
  Options.Images = 12;
  const pose_rig::Rig Rig = Make_Rig(Options);
  Fitted Made;
  Made.Rows = Rig.Seen.Rows;
  Made.Settings.Corner_Variance = 1.0;
  Made.Settings.Scale_Deviation = 0.003;
  Made.Fit =
      rigsync::Fit_Rows(Made.Rows, {Rig.Cam_Tc.As_Transform(), Rig.Tr_Chart.As_Transform(), 1.0},
                        {1.0, 3e-7, 2e-7}, Made.Settings);
  return Made;
}

// F by the definition: the others alone are fitted, with the same variances, and predict the row.
double F_By_The_Others(const Fitted& Of, std::size_t Left_Out) {
  std::vector<Linear_Row> Others = Of.Fit.Rows;
  const Linear_Row Row = Others[Left_Out];
  Others.erase(Others.begin() + static_cast<long>(Left_Out));
  const auto Prior = rigsync::Linearise_Prior(Of.Fit.At, Of.Settings);
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Others, Prior, Of.Fit.Variance);
  Matrix6d Covariance = Row.Model.Derivative * Terms.Covariance * Row.Model.Derivative.transpose();
  for (int k = 0; k < rigsync::Noise_Sources; ++k) {
    Covariance += Of.Fit.Variance[k] * Row.Shapes[static_cast<std::size_t>(k)];
  }
  const Vector6d Error = Row.Model.Residual - Row.Model.Derivative * Terms.Step;
  const double Squared = Error.dot(Covariance.inverse() * Error);
  const double Squares =
      rigsync::Weighted_Squares(Others, Terms.Weights, Prior) - Terms.Squares_Gained;
  const double Freedom = 6.0 * static_cast<double>(Others.size()) - rigsync::Unknowns;
  return (Squared / 6.0) / (Squares / Freedom);
}

TEST(RowTest, TheDistanceOfARowIsThatToWhatTheOthersPredict) {
  const Fitted Made = Fit_Rig();
  ASSERT_TRUE(Made.Fit.Has_Converged);
  const std::vector<Row_Distance> Distances = rigsync::Test_Rows(
      Made.Rows, std::vector<bool>(Made.Rows.size(), true), Made.Fit, Made.Settings);
  for (std::size_t i = 0; i < Made.Rows.size(); ++i) {
    // The fit has settled to a thousandth of its precision.
    EXPECT_NEAR(Distances[i].F / F_By_The_Others(Made, i), 1.0, 0.001) << i;
    EXPECT_FALSE(Distances[i].Is_Outlier);
  }
}

TEST(RowTest, ARowThatWasNotFittedIsTestedAgainstTheFit) {
  Fitted Made = Fit_Rig();
  const double With =
      rigsync::Test_Rows(Made.Rows, std::vector<bool>(12, true), Made.Fit, Made.Settings)[5].F;
  std::vector<Observation> Others = Made.Rows;
  Others.erase(Others.begin() + 5);
  const Joint_Fit Without =
      rigsync::Fit_Rows(Others, Made.Fit.At, Made.Fit.Variance, Made.Settings);
  std::vector<bool> Is_Kept(12, true);
  Is_Kept[5] = false;
  const double Left_Out = rigsync::Test_Rows(Made.Rows, Is_Kept, Without, Made.Settings)[5].F;
  // The variances differ by what the row had to say of them.
  EXPECT_NEAR(Left_Out / With, 1.0, 0.5);
}

TEST(RowTest, AJumpedRowIsAnOutlierFittedOrNot) {
  Fitted Made = Fit_Rig();
  Made.Rows[3].Transform_Tc_Base.translation().x() += 0.05;
  for (const bool Is_Fitted : {true, false}) {
    std::vector<Observation> Fitted_Rows = Made.Rows;
    if (!Is_Fitted) Fitted_Rows.erase(Fitted_Rows.begin() + 3);
    const Joint_Fit Fit =
        rigsync::Fit_Rows(Fitted_Rows, Made.Fit.At, Made.Fit.Variance, Made.Settings);
    std::vector<bool> Is_Kept(12, true);
    Is_Kept[3] = Is_Fitted;
    EXPECT_TRUE(rigsync::Test_Rows(Made.Rows, Is_Kept, Fit, Made.Settings)[3].Is_Outlier);
  }
}

}  // namespace
