// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/frame_drawing.h"
#include "rigsync/html_report/keyed_number.h"
#include "rigsync/html_report/number_text.h"
#include "rigsync/html_report/page.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace rigsync {
namespace {

TEST(FrameDrawing, PixelsKeepTheirProportionsInAFrameOfAnyShape) {
  const Page Whole = Make_Page("Page");
  const Frame_Drawing Wide = Add_Frame_Drawing(Whole.Main, 1920, 1080, "Title", "Text");
  EXPECT_DOUBLE_EQ(Wide.X_At(1920) - Wide.X_At(0), 400.0);
  EXPECT_DOUBLE_EQ(Wide.Y_At(1080) - Wide.Y_At(0), 225.0);
  const Frame_Drawing High = Add_Frame_Drawing(Whole.Main, 1080, 1920, "Title", "Text");
  EXPECT_DOUBLE_EQ(High.Y_At(1920) - High.Y_At(0), 400.0);
}

// Two metres ahead, tilted so that its right side is nearer.
Eigen::Isometry3d Tilted_Pose(double Tilt) {
  Eigen::Isometry3d Pose(Eigen::AngleAxisd(Tilt, Eigen::Vector3d::UnitY()));
  Pose.translation() = Eigen::Vector3d(-0.2, -0.15, 2);
  return Pose;
}

TEST(FrameDrawing, ABoardIsDrawnWithItsSquaresItsNearestEdgeAndItsFirstCorner) {
  const Page Whole = Make_Page("Page");
  const Frame_Drawing Frame = Add_Frame_Drawing(Whole.Main, 1000, 800, "Title", "Text");
  const Lens By{1000, 1000, 500, 400, 0, 0};
  Draw_Board_In_Frame(Frame, Tilted_Pose(0.4), {5, 4}, 0.1, By);
  EXPECT_EQ(Frame.Svg.select_nodes(".//path[@class='board']").size(), 5u + 4u + 4u);
  // The edge from the upper right to the lower right: x = 0.5 in Chart.
  const auto Heavy = Frame.Svg.select_nodes(".//path[@stroke-width='5']");
  ASSERT_EQ(Heavy.size(), 1u);
  const double Z = 2 - 0.5 * std::sin(0.4), X = (-0.2 + 0.5 * std::cos(0.4)) / Z;
  EXPECT_EQ(std::string(Heavy[0].node().attribute("d").value()).substr(0, 7),
            "M" + Short_Number(Frame.X_At(500 + 1000 * X)));
  const auto First = Frame.Svg.select_node(".//circle[@class='found']").node();
  EXPECT_NEAR(First.attribute("cx").as_double(), Frame.X_At(500 - 100), 0.01);
  EXPECT_NEAR(First.attribute("cy").as_double(), Frame.Y_At(400 - 75), 0.01);
}

TEST(FrameDrawing, ABoardThatFacesTheCameraHasNoNearestEdgeAndOneBehindItIsNotDrawn) {
  const Page Whole = Make_Page("Page");
  const Frame_Drawing Frame = Add_Frame_Drawing(Whole.Main, 1000, 800, "Title", "Text");
  Draw_Board_In_Frame(Frame, Tilted_Pose(0), {5, 4}, 0.1, {1000, 1000, 500, 400, 0, 0});
  EXPECT_FALSE(Frame.Svg.select_node(".//path[@stroke-width='5']"));
  const auto Drawn = Frame.Svg.select_nodes(".//path").size();
  Eigen::Isometry3d Behind = Tilted_Pose(0);
  Behind.translation().z() = -2;
  Draw_Board_In_Frame(Frame, Behind, {5, 4}, 0.1, {1000, 1000, 500, 400, 0, 0});
  EXPECT_EQ(Frame.Svg.select_nodes(".//path").size(), Drawn);
}

// What a path draws. In all of these, x grows to the right and y down.
std::string Path_Of(Element Mark) {
  return Mark.attribute("d").value();
}

TEST(FrameDrawing, TheBorderIsTheFrameBelowTheLegend) {
  const Page Whole = Make_Page("Page");
  const Frame_Drawing Frame = Add_Frame_Drawing(Whole.Main, 1600, 1200, "Title", "Text", 30);
  const auto Border = Frame.Svg.select_node(".//rect[@class='axis']").node();
  EXPECT_DOUBLE_EQ(Border.attribute("x").as_double(), Frame.X_At(0));
  EXPECT_DOUBLE_EQ(Border.attribute("y").as_double(), Frame.Y_At(0));
  EXPECT_DOUBLE_EQ(Border.attribute("width").as_double(), Frame.X_At(1600) - Frame.X_At(0));
  EXPECT_DOUBLE_EQ(Border.attribute("height").as_double(), Frame.Y_At(1200) - Frame.Y_At(0));
  // As much space on the left and on the right of the frame; above it there is the legend's, too.
  EXPECT_EQ(std::string(Frame.Svg.attribute("viewBox").value()), "0 0 404 334");
  EXPECT_DOUBLE_EQ(Frame.Left, 2.0);
  EXPECT_DOUBLE_EQ(Frame.Top, 32.0);
}

TEST(FrameDrawing, MarksLieAboutTheirPoint) {
  const Page Whole = Make_Page("Page");
  EXPECT_EQ(Path_Of(Add_Cross(Whole.Main, 10, 20, 3, "x")), "M7 17L13 23M7 23L13 17");
  EXPECT_EQ(Path_Of(Add_Plus(Whole.Main, 10, 20, 3, "x")), "M7 20L13 20M10 17L10 23");
  const Element Square = Add_Square(Whole.Main, 10, 20, 3, "x");
  EXPECT_EQ(Square.attribute("x").as_double(), 7);
  EXPECT_EQ(Square.attribute("y").as_double(), 17);
  EXPECT_EQ(Square.attribute("width").as_double(), 6);
  EXPECT_EQ(Square.attribute("height").as_double(), 6);
}

// The head is 5 long and as wide, but no longer than 0.6 of the arrow.
TEST(FrameDrawing, AnArrowsHeadIsAtItsEnd) {
  const Page Whole = Make_Page("Page");
  EXPECT_EQ(Path_Of(Add_Arrow(Whole.Main, 10, 20, 30, 20, "x")),
            "M10 20L30 20M25 22.5L30 20L25 17.5");
  EXPECT_EQ(Path_Of(Add_Arrow(Whole.Main, 10, 20, 10, 0, "x")), "M10 20L10 0M12.5 5L10 0L7.5 5");
  // 3, 4, 5: the head is 3 long and as wide.
  EXPECT_EQ(Path_Of(Add_Arrow(Whole.Main, 0, 0, 3, 4, "x")), "M0 0L3 4M0 2.5L3 4L2.4 0.7");
  const Element Dot = Add_Arrow(Whole.Main, 10, 20, 10.5, 20, "x");
  EXPECT_EQ(std::string(Dot.name()), "circle");
  EXPECT_EQ(Dot.attribute("cx").as_double(), 10);
  EXPECT_EQ(Dot.attribute("cy").as_double(), 20);
}

TEST(NumberText, HasTwoSignificantDigits) {
  EXPECT_EQ(Two_Figures(0.0343), "0.034");
  EXPECT_EQ(Two_Figures(1.849), "1.8");
  EXPECT_EQ(Two_Figures(9.96), "10");
  EXPECT_EQ(Two_Figures(-0.0996), "-0.10");
  EXPECT_EQ(Two_Figures(25.4), "25");
  EXPECT_EQ(Two_Figures(134.9), "130");
  EXPECT_EQ(Two_Figures(0.0), "0");
  EXPECT_EQ(Two_Figures(std::numeric_limits<double>::infinity()), "unknown");
}

TEST(NumberText, ANumberOfTheFileKeepsAllItsDigits) {
  const Page Whole = Make_Page("Page");
  Element Cell = Add_Text(Whole.Main, "p", "0.33");
  Mark_Number(Cell, "a.b", 1.0 / 3.0);
  EXPECT_EQ(std::stod(Cell.attribute("data-value").value()), 1.0 / 3.0);
  EXPECT_STREQ(Cell.attribute("data-key").value(), "a.b");
}

TEST(NumberText, AMagnificationIsTheLargestRoundOneThatFits) {
  EXPECT_DOUBLE_EQ(Round_Magnification(1.0, 20.0), 20.0);
  EXPECT_DOUBLE_EQ(Round_Magnification(0.11, 60.0), 500.0);
  EXPECT_DOUBLE_EQ(Round_Magnification(70.0, 60.0), 0.5);
  EXPECT_DOUBLE_EQ(Round_Magnification(0.0, 60.0), 1.0);
}

}  // namespace
}  // namespace rigsync
