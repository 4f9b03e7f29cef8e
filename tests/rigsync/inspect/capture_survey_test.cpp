// SPDX-License-Identifier: Apache-2.0
//
// Coverage, poses and counts of a capture, from corners and poses made by hand.
#include "rigsync/inspect/capture_survey.h"
#include "rigsync/geometry/angle.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using rigsync::Board_Pose;
using rigsync::Board_Search;
using rigsync::Coverage;
using rigsync::Findings;
using rigsync::Level;
using testing::AllOf;
using testing::HasSubstr;

std::string Id_Of(const Findings& List) {
  return List.Sorted().empty() ? "" : List.Sorted()[0].Id;
}

// One image for each list of corners, in a frame of 160 by 90: a cell is 10 by 10 pixels.
Board_Search Corners_At(std::vector<std::vector<std::array<float, 2>>> Corners) {
  Board_Search Search;
  Search.Width = 160;
  Search.Height = 90;
  for (std::vector<std::array<float, 2>>& Image : Corners) {
    Search.Images.push_back({rigsync::Image_State::Board_Found, 160, 90, std::move(Image)});
  }
  return Search;
}

TEST(Coverage, ACellCountsTheImagesAndNotTheCorners) {
  const auto Measured = rigsync::Measure_Coverage(
      Corners_At({{{12, 25}, {14, 27}, {19.9f, 29.9f}}, {{15, 22}, {20, 22}}, {}}));
  ASSERT_TRUE(Measured);
  EXPECT_EQ(Measured->Cols, 16);
  EXPECT_EQ(Measured->Rows, 9);
  EXPECT_EQ(Measured->At(2, 1), 2);
  EXPECT_EQ(Measured->At(2, 2), 1);
  EXPECT_NEAR(Measured->Share(), 2.0 / 144.0, 1e-12);
}

TEST(Coverage, CornersOnTheEdgeOrJustBeyondItStayInTheFrame) {
  const auto Measured = rigsync::Measure_Coverage(Corners_At({{{-0.4f, -0.4f}, {160.2f, 90.0f}}}));
  EXPECT_EQ(Measured->At(0, 0), 1);
  EXPECT_EQ(Measured->At(8, 15), 1);
}

TEST(Coverage, AFrameAsHighAsWideHasTheCellsOfAWideOne) {
  Board_Search Search = Corners_At({{{85, 85}}});
  Search.Height = Search.Width;
  EXPECT_EQ(rigsync::Measure_Coverage(Search)->Cols, 16);
  EXPECT_EQ(rigsync::Measure_Coverage(Search)->Rows, 9);
}

TEST(Coverage, AFrameHigherThanWideHasNineBySixteenCells) {
  Board_Search Search = Corners_At({{{85, 155}}});
  std::swap(Search.Width, Search.Height);
  const auto Measured = rigsync::Measure_Coverage(Search);
  EXPECT_EQ(Measured->Cols, 9);
  EXPECT_EQ(Measured->Rows, 16);
  EXPECT_EQ(Measured->At(15, 8), 1);
}

TEST(Coverage, WithoutACornerThereIsNoMap) {
  EXPECT_FALSE(rigsync::Measure_Coverage(Corners_At({{}, {}})));
}

// All cells are covered except those for which Is_Empty is true.
Coverage Full_But(const std::function<bool(int Row, int Col)>& Is_Empty) {
  Coverage Measured{16, 9, {}};
  for (int r = 0; r < 9; ++r) {
    for (int c = 0; c < 16; ++c) Measured.Images.push_back(Is_Empty(r, c) ? 0 : 1);
  }
  return Measured;
}

TEST(Coverage, AnEmptyPartIsNamed) {
  Findings List;
  rigsync::Judge_Coverage(Full_But([](int r, int c) { return r < 3 && c < 5; }), List);
  ASSERT_EQ(Id_Of(List), "coverage");
  EXPECT_THAT(List.Sorted()[0].What, AllOf(HasSubstr("in: upper left."), HasSubstr("90 percent")));
}

TEST(Coverage, AnEmptyHalfNamesItsParts) {
  Findings List;
  rigsync::Judge_Coverage(Full_But([](int, int c) { return c >= 8; }), List);
  EXPECT_THAT(List.Sorted()[0].What, HasSubstr("in: upper right, right, lower right."));
  EXPECT_EQ(List.Gravest(), Level::Warning);
}

TEST(Coverage, HalfOfTheCellsAreEnoughWhenTheyAreEverywhere) {
  Findings List;
  rigsync::Judge_Coverage(Full_But([](int r, int c) { return (r + c) % 2 != 0; }), List);
  EXPECT_EQ(Id_Of(List), "");
  rigsync::Judge_Coverage(Full_But([](int r, int c) { return (r + c) % 3 != 0; }), List);
  EXPECT_EQ(Id_Of(List), "coverage");
}

Board_Pose Posed(const Eigen::Vector3d& Axis, double Tilt_Deg, double Distance) {
  Board_Pose Pose;
  Pose.Rotation_Cam_Chart =
      Eigen::AngleAxisd(Tilt_Deg / rigsync::Degrees_Per_Radian, Axis.normalized());
  Pose.Centre_Cam = {0, 0, Distance};
  return Pose;
}

const Eigen::Vector3d X = Eigen::Vector3d::UnitX(), Y = Eigen::Vector3d::UnitY(),
                      Z = Eigen::Vector3d::UnitZ();

TEST(BoardPoses, TiltIsAgainstTheImagePlaneAndRollIsNoTilt) {
  const auto Spread = rigsync::Measure_Poses(
      {Posed(X, 20, 1.0), Posed(Y, -40, 2.0), Posed(Z, 90, 1.5), Posed(X, 0, 1.5)});
  ASSERT_TRUE(Spread);
  EXPECT_NEAR(Spread->Least_Tilt, 0.0, 1e-9);
  EXPECT_NEAR(Spread->Largest_Tilt, 40.0, 1e-9);
  EXPECT_NEAR(Spread->Nearest, 1.0, 1e-12);
  EXPECT_NEAR(Spread->Farthest, 2.0, 1e-12);
  // 40 degrees once among four, 20 degrees once among four.
  EXPECT_NEAR(Spread->Main_Tilt, 20.0, 1e-9);
  EXPECT_NEAR(Spread->Cross_Tilt, 10.0, 1e-9);
  EXPECT_FALSE(rigsync::Measure_Poses({}));
}

std::vector<std::string> Judged(const std::vector<Board_Pose>& Poses) {
  Findings List;
  rigsync::Judge_Poses(*rigsync::Measure_Poses(Poses), List);
  std::vector<std::string> Ids;
  for (const rigsync::Finding& One : List.Sorted()) Ids.push_back(One.Id);
  return Ids;
}

TEST(BoardPoses, EachWeaknessIsReportedAloneAtItsLimit) {
  using Ids = std::vector<std::string>;
  // Two boards about x and two about y: the root mean square is the tilt divided by root 2.
  const auto Tilted = [](double About_X, double About_Y, double Far) {
    return std::vector<Board_Pose>{Posed(X, About_X, 1), Posed(X, -About_X, Far),
                                   Posed(Y, About_Y, 1), Posed(Y, -About_Y, Far)};
  };
  EXPECT_EQ(Judged(Tilted(14.3, 14.3, 1.2)), Ids{});
  EXPECT_EQ(Judged(Tilted(14.0, 14.0, 1.2)), Ids{"tilt_too_small"});
  EXPECT_EQ(Judged(Tilted(30.0, 7.2, 1.2)), Ids{});
  EXPECT_EQ(Judged(Tilted(30.0, 6.9, 1.2)), Ids{"tilt_about_one_axis"});
  EXPECT_EQ(Judged(Tilted(30.0, 30.0, 1.16)), Ids{});
  EXPECT_EQ(Judged(Tilted(30.0, 30.0, 1.14)), Ids{"distance"});
}

TEST(BoardCount, ItsLimitsAreTwelveTwentyAndSixty) {
  const auto Judge = [](std::size_t Usable) {
    Findings List;
    rigsync::Judge_Board_Count(Usable, 70, List);
    return Id_Of(List);
  };
  EXPECT_EQ(Judge(0), "too_few_boards");
  EXPECT_EQ(Judge(11), "too_few_boards");
  EXPECT_EQ(Judge(12), "few_boards");
  EXPECT_EQ(Judge(19), "few_boards");
  EXPECT_EQ(Judge(20), "");
  EXPECT_EQ(Judge(60), "");
  EXPECT_EQ(Judge(61), "many_boards");
}

TEST(BoardCount, WithoutASearchTheFilesImagesCount) {
  const auto Judge = [](std::size_t Rows) {
    Findings List;
    rigsync::Judge_Image_Count(Rows, List);
    return Id_Of(List);
  };
  EXPECT_EQ(Judge(0), "no_images");
  EXPECT_EQ(Judge(11), "too_few_images");
  EXPECT_EQ(Judge(12), "");
}

TEST(BoardShape, ABoardThatLooksTheSameUpsideDownIsNoted) {
  const auto Judge = [](int Cols, int Rows) {
    Findings List;
    rigsync::Judge_Board_Shape({Cols, Rows}, List);
    EXPECT_EQ(List.Gravest(), Level::Note);
    return Id_Of(List);
  };
  EXPECT_EQ(Judge(11, 8), "");
  EXPECT_EQ(Judge(8, 11), "");
  EXPECT_EQ(Judge(7, 5), "board_symmetric");
  EXPECT_EQ(Judge(8, 6), "board_symmetric");
}

}  // namespace
