// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/watch_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <string>
#include <vector>

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

TEST(WatchPage, BeginsWithOneHeadingOfTheFirstLevel) {
  pugi::xml_document Tree;
  ASSERT_TRUE(Tree.load_string(rigsync::Watch_Page(Begun()).c_str()));
  ASSERT_EQ(Tree.select_nodes("//h1").size(), 1U);
  const pugi::xml_node First = Tree.select_node("//main/*[1]").node();
  EXPECT_STREQ(First.name(), "h1");
  EXPECT_STREQ(First.text().get(), "Capture of <script>alert(1)&\".csv");
}

TEST(WatchPage, TellsWhatIsMissingOnceAndWithTheSign) {
  Watched_Capture Capture = Begun();
  Capture.Advice.Short_Of = {rigsync::Shortage::Certainty};
  Capture.Advice.Widths_Now = rigsync::Mount_Widths{2.2, 0.051};
  const std::string Page = rigsync::Watch_Page(Capture);
  EXPECT_THAT(Page, HasSubstr("\u00b1 2.2 mm, limit 3"));
  EXPECT_THAT(Page, Not(HasSubstr("+- ")));
  const std::string Wanted = "The mount has to be known to \u00b1 ";
  ASSERT_THAT(Page, HasSubstr(Wanted));
  EXPECT_EQ(Page.find(Wanted), Page.rfind(Wanted));
  EXPECT_THAT(Page, Not(HasSubstr("Missing:")));
}

// The horizontal places of all points of the paths "M1 2L3 4".
std::vector<double> Places_Across(const pugi::xml_document& Tree) {
  std::vector<double> Places;
  for (const pugi::xpath_node& Node : Tree.select_nodes("//path[@class='board']")) {
    const std::string Path = Node.node().attribute("d").value();
    for (std::size_t i = 0; i < Path.size(); ++i) {
      if (Path[i] == 'M' || Path[i] == 'L') Places.push_back(std::stod(Path.substr(i + 1)));
    }
  }
  return Places;
}

// With a square around it the board has 12 by 9 squares, between 13 and 10 lines. In the middle of
// a frame 400 units wide that begins at 2, a metre away, seen by a lens as long as the frame is
// wide, it reaches 400 * 0.18 to both sides. Its first corner is 5 squares left of the middle and
// 3.5 above.
TEST(WatchPage, TheNextBoardIsDrawnWhereItShouldBe) {
  pugi::xml_document Tree;
  ASSERT_TRUE(Tree.load_string(rigsync::Watch_Page(Begun()).c_str()));
  EXPECT_EQ(Tree.select_nodes("//path[@class='board']").size(), 13U + 10U);
  EXPECT_TRUE(Tree.select_nodes("//path[@stroke-width='5']").empty());
  const std::vector<double> Across = Places_Across(Tree);
  ASSERT_FALSE(Across.empty());
  EXPECT_NEAR(*std::min_element(Across.begin(), Across.end()), 202 - 400 * 0.18, 0.02);
  EXPECT_NEAR(*std::max_element(Across.begin(), Across.end()), 202 + 400 * 0.18, 0.02);
  const pugi::xml_node Ring = Tree.select_node("//circle[@class='found']").node();
  EXPECT_NEAR(Ring.attribute("cx").as_double(), 202 - 400 * 0.15, 0.02);
  EXPECT_NEAR(Ring.attribute("cy").as_double(), 2 + 112.5 - 400 * 0.105, 0.02);
}

// Turned about the vertical axis so that z grows with x: the left edge comes nearer.
TEST(WatchPage, TheNearestEdgeOfATiltedBoardIsHeavy) {
  Watched_Capture Capture = Begun();
  Capture.Advice.Pose->Transform_Cam_Chart.rotate(
      Eigen::AngleAxisd(-0.5, Eigen::Vector3d::UnitY()));
  pugi::xml_document Tree;
  ASSERT_TRUE(Tree.load_string(rigsync::Watch_Page(Capture).c_str()));
  const pugi::xpath_node_set Heavy = Tree.select_nodes("//path[@stroke-width='5']");
  ASSERT_EQ(Heavy.size(), 1U);
  const std::string Path = Heavy.first().node().attribute("d").value();
  const std::vector<double> Across = Places_Across(Tree);
  EXPECT_NEAR(std::stod(Path.substr(1)), *std::min_element(Across.begin(), Across.end()), 0.02);
}

}  // namespace
