// SPDX-License-Identifier: Apache-2.0
//
// Half-widths and regions against values of printed tables of t and F.
#include "rigsync/solve/mount_uncertainty.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using rigsync::Mount_Uncertainty;
using rigsync::Unknown_Uncertainty;
using rigsync::Vector6d;

// Printed tables have three decimals.
constexpr double Table_Precision = 5e-4;

// Every unknown has variance 4e-6, estimated with as many degrees of freedom as asked: the variance
// of an estimated variance v is 2 v^2 / Freedom.
Unknown_Uncertainty With_Freedom(double Freedom) {
  Unknown_Uncertainty Unknown;
  Unknown.Covariance = 4e-6 * rigsync::Unknown_Matrix::Identity();
  for (auto& Derivative : Unknown.Row_Covariance_By_Variance) Derivative.setZero();
  Unknown.Row_Covariance_By_Variance[rigsync::Position_Noise].setIdentity();
  Unknown.Variance_Covariance(2, 2) = 2 * 4e-6 * 4e-6 / Freedom;
  return Unknown;
}

TEST(MountUncertainty, QuantilesAreThoseOfPrintedTables) {
  EXPECT_NEAR(rigsync::Half_Width_Factor(10), 2.228, Table_Precision);
  EXPECT_NEAR(rigsync::Half_Width_Factor(1), 12.706, Table_Precision);
  EXPECT_NEAR(rigsync::Half_Width_Factor(1e9), 1.960, Table_Precision);
  EXPECT_NEAR(rigsync::F_Limit(6, 10, 0.05), 3.217, Table_Precision);
  EXPECT_NEAR(rigsync::F_Limit(6, 120, 0.01), 2.956, Table_Precision);
}

TEST(MountUncertainty, HalfWidthsAreThoseOfTWithTenDegreesOfFreedom) {
  const Mount_Uncertainty Mount = rigsync::Describe_Mount(With_Freedom(10), rigsync::Board_Mount);
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(Mount.Freedom[k], 10.0, 1e-9);
    EXPECT_NEAR(Mount.Half_Width_Mm[k], 2.228 * 2.0, 0.001);
    EXPECT_NEAR(Mount.Half_Width_Deg[k], 2.228 * 0.002 * 57.29578, 0.0001);
  }
  EXPECT_NEAR(Mount.Widest_Mm.Half_Width, 2.228 * 2.0, 0.001);
}

TEST(MountUncertainty, TheRegionIsThatOfFWithTenDegreesOfFreedom) {
  const Mount_Uncertainty Mount = rigsync::Describe_Mount(With_Freedom(10), rigsync::Camera_Mount);
  EXPECT_NEAR(Mount.Joint_Freedom, 10.0, 1e-9);
  Vector6d Motion = Vector6d::Zero();
  Motion[4] = std::sqrt(6 * 3.217) * 0.002;
  EXPECT_NEAR(Mount.Probability_Nearer(Motion), 0.95, Table_Precision);
  EXPECT_EQ(Mount.Probability_Nearer(Vector6d::Zero()), 0.0);
}

TEST(MountUncertainty, TheWidestDirectionIsBetweenTheAxes) {
  Unknown_Uncertainty Unknown = With_Freedom(1e9);
  Unknown.Covariance(3, 4) = Unknown.Covariance(4, 3) = 3e-6;
  const Mount_Uncertainty Mount = rigsync::Describe_Mount(Unknown, rigsync::Camera_Mount);
  EXPECT_NEAR(Mount.Widest_Mm.Half_Width, 1.960 * std::sqrt(7.0), 0.001);
  EXPECT_NEAR(std::abs(Mount.Widest_Mm.Direction.x() + Mount.Widest_Mm.Direction.y()),
              std::sqrt(2.0), 1e-9);
}

TEST(MountUncertainty, AMotionOfNaNIsNeverNear) {
  const Mount_Uncertainty Mount = rigsync::Describe_Mount(With_Freedom(10), rigsync::Camera_Mount);
  Vector6d Motion = Vector6d::Zero();
  Motion[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(Mount.Probability_Nearer(Motion)));
}

TEST(MountUncertainty, UntilItIsFilledNothingIsKnown) {
  const Mount_Uncertainty Mount;
  EXPECT_EQ(Mount.Half_Width_Mm.minCoeff(), INFINITY);
  EXPECT_EQ(Mount.Half_Width_Deg.minCoeff(), INFINITY);
  EXPECT_EQ(Mount.Widest_Mm.Half_Width, INFINITY);
  EXPECT_TRUE(std::isnan(Mount.Probability_Nearer(Vector6d::Zero())));
}

}  // namespace
