// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/plot.h"
#include "rigsync/html_report/page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

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

TEST(Plot, AxesGoUpToOneTwoOrFiveTimesAPowerOfTen) {
  EXPECT_THAT(Round_Axis(0.0, 5.0, "").Ticks, ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(Round_Axis(0.0, 6.0, "").Ticks, ElementsAre(0, 2, 4, 6));
  EXPECT_THAT(Round_Axis(0.0, 11.0, "").Ticks, ElementsAre(0, 5, 10, 15));
  EXPECT_THAT(Round_Axis(0.0, 26.0, "").Ticks, ElementsAre(0, 10, 20, 30));
  EXPECT_THAT(Round_Axis(0.0, 3.0, "", 3).Ticks, ElementsAre(0, 1, 2, 3));
}

// Where a text stands, and how it lies about that place.
std::string Label_Of(Element Svg, const char* Text) {
  const auto Label = Svg.select_node((std::string(".//text[.='") + Text + "']").c_str()).node();
  return std::string(Label.attribute("x").value()) + " " + Label.attribute("y").value() + " " +
         Label.attribute("text-anchor").value();
}

// The area is 48 from the left, 16 from the right, 24 from above, 40 from below.
TEST(Plot, TicksAndLabelsStandBesideTheAxes) {
  const Page Whole = Make_Page("Page");
  const Plot Drawn = Add_Plot(Whole.Main, Round_Axis(0, 10, "across", 1),
                              Round_Axis(20, 21, "up", 2), "", "", {264, 164});
  EXPECT_DOUBLE_EQ(Drawn.Width, 200.0);
  EXPECT_DOUBLE_EQ(Drawn.Height, 100.0);
  EXPECT_EQ(Label_Of(Drawn.Svg, "0"), "48 139 middle");
  EXPECT_EQ(Label_Of(Drawn.Svg, "10"), "248 139 middle");
  EXPECT_EQ(Label_Of(Drawn.Svg, "across"), "148 155 middle");
  EXPECT_EQ(Label_Of(Drawn.Svg, "20"), "42 128 end");
  EXPECT_EQ(Label_Of(Drawn.Svg, "20.5"), "42 78 end");
  EXPECT_EQ(Label_Of(Drawn.Svg, "21"), "42 28 end");
  EXPECT_EQ(Label_Of(Drawn.Svg, "up"), "0 12 ");
  // Two lines across the area for x, three for y, and one for each axis.
  EXPECT_EQ(Drawn.Svg.select_nodes(".//line[@class='grid' and @y1='24' and @y2='124']").size(), 2U);
  EXPECT_EQ(Drawn.Svg.select_nodes(".//line[@class='grid' and @x1='48' and @x2='248']").size(), 3U);
  EXPECT_EQ(Drawn.Svg.select_nodes(".//line[@class='axis']").size(), 2U);
  EXPECT_TRUE(Drawn.Svg.select_node(
      ".//line[@class='axis' and @x1='48' and @y1='24' and @x2='48' and @y2='124']"));
  EXPECT_TRUE(Drawn.Svg.select_node(
      ".//line[@class='axis' and @x1='48' and @y1='124' and @x2='248' and @y2='124']"));
}

}  // namespace
}  // namespace rigsync
