// SPDX-License-Identifier: Apache-2.0
#include "rigsync/geometry/statistics.h"
#include "rigsync/geometry/angle.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using rigsync::Evenly_Chosen;
using rigsync::Median;

using Values = std::vector<int>;

TEST(Statistics, TheMedianOfAnEvenNumberIsTheUpperOfTheTwoInTheMiddle) {
  EXPECT_EQ(Median({7.0}), 7.0);
  EXPECT_EQ(Median({9.0, 1.0, 4.0}), 4.0);
  EXPECT_EQ(Median({9.0, 1.0, 4.0, 3.0}), 4.0);
}

TEST(Statistics, AsManyAsMayBeAreChosenEvenlyAndInTheirOrder) {
  EXPECT_EQ(Evenly_Chosen(Values{5, 3, 8, 1}, 4), (Values{5, 3, 8, 1}));
  EXPECT_EQ(Evenly_Chosen(Values{5, 3, 8}, 4), (Values{5, 3, 8}));
  // Of six, four stand at 0, 1.5, 3 and 4.5, rounded down; of seven, three at 0, 2.33 and 4.67.
  EXPECT_EQ(Evenly_Chosen(Values{0, 1, 2, 3, 4, 5}, 4), (Values{0, 1, 3, 4}));
  EXPECT_EQ(Evenly_Chosen(Values{0, 1, 2, 3, 4, 5, 6}, 3), (Values{0, 2, 4}));
}

// Half a turn, to the last bit, with pi from C's library.
TEST(Angle, ARadianIsAHalfTurnInDegreesDividedByPi) {
  EXPECT_EQ(rigsync::Degrees_Per_Radian, 180.0 / std::acos(-1.0));
}

}  // namespace
