// SPDX-License-Identifier: Apache-2.0
//
// What the tests compare poses with.
#include "tests/support/largest.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr double Not_A_Number = std::numeric_limits<double>::quiet_NaN();

TEST(Largest, ElementIsTheLargestWithoutItsSign) {
  Eigen::Matrix4d Matrix = Eigen::Matrix4d::Constant(0.5);
  Matrix(2, 1) = -3.25;
  EXPECT_EQ(Largest_Element(Matrix), 3.25);
}

TEST(Largest, ElementIsNaNWhereverOneIs) {
  for (int i = 0; i < 16; ++i) {
    Eigen::Matrix4d Matrix = Eigen::Matrix4d::Identity();
    Matrix(i) = Not_A_Number;
    EXPECT_TRUE(std::isnan(Largest_Element(Matrix))) << i;
    const Eigen::Matrix4f Narrow = Matrix.cast<float>();
    EXPECT_TRUE(std::isnan(Largest_Element(Narrow))) << i;
  }
}

TEST(Largest, LargerOfTwoIsNaNIfEitherIs) {
  EXPECT_EQ(Larger(1.0, 2.0), 2.0);
  EXPECT_EQ(Larger(2.0, 1.0), 2.0);
  EXPECT_TRUE(std::isnan(Larger(Not_A_Number, 1.0)));
  EXPECT_TRUE(std::isnan(Larger(1.0, Not_A_Number)));
}

}  // namespace
