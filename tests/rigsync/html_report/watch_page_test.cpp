// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/watch_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

namespace {

using rigsync::Watched_Capture;
using testing::HasSubstr;
using testing::Not;

Watched_Capture Begun() {
  Watched_Capture Capture;
  Capture.Inputs.Csv = "<script>alert(1)&\".csv";
  Capture.Inputs.Board.Board = {11, 8};
  Capture.Inputs.Board.Square_Size = 0.03;
  Capture.Why_Not = "doesn't exist";
  Capture.Advice.Short_Of = {rigsync::Shortage::Boards};
  rigsync::Next_Pose Pose;
  Pose.Transform_Cam_Chart.translation() = Eigen::Vector3d(-0.15, -0.105, 1);
  Capture.Advice.Pose = Pose;
  return Capture;
}

TEST(WatchPage, LoadsItselfAgainAndSaysTheAdvice) {
  const std::string Page = rigsync::Watch_Page(Begun());
  EXPECT_THAT(Page, HasSubstr("http-equiv=\"refresh\" content=\"2\""));
  EXPECT_THAT(Page, HasSubstr("Next: hold the board upright, at a middle distance, centre"));
  EXPECT_THAT(Page, HasSubstr("At least 12 lines with a board are needed."));
}

TEST(WatchPage, ANameIsTextAndNoMarkup) {
  const std::string Page = rigsync::Watch_Page(Begun());
  EXPECT_THAT(Page, Not(HasSubstr("<script")));
  EXPECT_THAT(Page, HasSubstr("&lt;script&gt;"));
}

// With a square around it the board has 12 by 9 squares, between 13 and 10 lines. In
// the middle of a frame 640 units wide: a board of 12 by 9 squares of 30 mm, a metre away, seen by
// a lens as long as the frame is wide, reaches from 320 - 640 * 0.18 to 320 + 640 * 0.18.
TEST(WatchPage, TheNextBoardIsDrawnWhereItShouldBe) {
  pugi::xml_document Tree;
  const std::string Page = rigsync::Watch_Page(Begun());
  ASSERT_TRUE(Tree.load_string(Page.c_str()));
  double Left = 1e9, Right = -1e9;
  int Count = 0;
  for (const pugi::xpath_node& Node : Tree.select_nodes("//line[@class='board']")) {
    ++Count;
    Left = std::min(Left, Node.node().attribute("x1").as_double());
    Right = std::max(Right, Node.node().attribute("x2").as_double());
  }
  EXPECT_EQ(Count, 13 + 10);
  EXPECT_NEAR(Left, 320 - 640 * 0.18, 0.02);
  EXPECT_NEAR(Right, 320 + 640 * 0.18, 0.02);
}

}  // namespace
