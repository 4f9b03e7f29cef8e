// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace rigsync {
namespace {

using testing::ElementsAre;

TEST(Plot, AxesEndAtRoundNumbersAndHoldEveryValue) {
  const Axis Errors = Round_Axis(0.0, 1.83, "pixels");
  EXPECT_THAT(Errors.Ticks, ElementsAre(0.0, 0.5, 1.0, 1.5, 2.0));
  EXPECT_EQ(Errors.High, 2.0);
  const Axis Turns = Round_Axis(-12.0, 37.0, "degrees");
  EXPECT_THAT(Turns.Ticks, ElementsAre(-20.0, -10.0, 0.0, 10.0, 20.0, 30.0, 40.0));
}

TEST(Plot, AnAxisWithoutARangeIsOneUnitLong) {
  EXPECT_THAT(Round_Axis(3.0, 3.0, "").Ticks, testing::SizeIs(testing::Ge(2u)));
  EXPECT_EQ(Round_Axis(0.0, std::numeric_limits<double>::quiet_NaN(), "").High, 1.0);
}

TEST(Plot, ValuesGrowToTheRightAndUpwards) {
  const Page Whole = Make_Page("Page");
  const Plot Drawn = Add_Plot(Whole.Main, Round_Axis(0, 10, "x"), Round_Axis(0, 4, "y"), "", "");
  EXPECT_DOUBLE_EQ(Drawn.X_At(0.0), Drawn.Left);
  EXPECT_DOUBLE_EQ(Drawn.X_At(10.0), Drawn.Left + Drawn.Width);
  EXPECT_DOUBLE_EQ(Drawn.Y_At(4.0), Drawn.Top);
  EXPECT_DOUBLE_EQ(Drawn.Y_At(0.0), Drawn.Top + Drawn.Height);
}

}  // namespace
}  // namespace rigsync
