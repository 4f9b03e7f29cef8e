// SPDX-License-Identifier: Apache-2.0
//
// Whether captures without images are like those with images: the noise of their corners, and the
// poses that they are made of.
#include "bench/corner_capture.h"

#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// Root mean square on one axis, pixels.
double Deviation(const rigsync::Corner_List& Found, const std::vector<Eigen::Vector2d>& True) {
  double Squares = 0;
  for (std::size_t k = 0; k < True.size(); ++k) {
    Squares += std::pow(static_cast<double>(Found[k][0]) - True[k].x(), 2) +
               std::pow(static_cast<double>(Found[k][1]) - True[k].y(), 2);
  }
  return std::sqrt(Squares / (2.0 * static_cast<double>(True.size())));
}

TEST(CornerCapture, HasNoLessNoiseThanTheDetectorLeavesInDrawnImages) {
  simulate::Options Options;
  Options.Image_Count = 6;
  Options.Width = 960;
  Options.Height = 540;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const Scratch_Folder Folder;
  simulate::Write_Capture(Plan, Folder.Path());
  const auto File = rigsync::Read_Capture_File(Folder.Path() / "capture.csv");
  const rigsync::Board_Search Search =
      rigsync::Search_Boards(File.Rows, std::vector<bool>(File.Rows.size(), true), Folder.Path(),
                             {Options.Board_Cols, Options.Board_Rows}, {});
  double Squares = 0;
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    ASSERT_EQ(Search.Images[i].State, rigsync::Image_State::Board_Found);
    Squares += std::pow(
        Deviation(Search.Images[i].Corners, simulate::Project_Board(Plan, Plan.Images[i])), 2);
  }
  const double Found = std::sqrt(Squares / static_cast<double>(Plan.Images.size()));
  EXPECT_LT(Found, bench::Corner_Noise_Px);
  EXPECT_GT(Found, 0.2 * bench::Corner_Noise_Px);  // else the captures would be far too bad
}

TEST(CornerCapture, HasTheCornersOfThePlanWithThatNoise) {
  simulate::Options Options;
  Options.Width = 960;
  Options.Height = 540;
  Options.Seed = 3;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const bench::Views Seen = bench::Make_Views({}, 3);
  ASSERT_EQ(Seen.Corners.size(), Plan.Images.size());
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    const double Found = Deviation(Seen.Corners[i], simulate::Project_Board(Plan, Plan.Images[i]));
    EXPECT_NEAR(Found, bench::Corner_Noise_Px, 0.25 * bench::Corner_Noise_Px);  // of 176 numbers
  }
}

// Without noise the true mounts close the chain of every image, with a tracker at rest and after a
// slip too.
void Expect_Closed_Chains(const bench::Tracker_Setting& Setting, std::size_t First,
                          std::size_t Last) {
  const bench::Views Seen = bench::Make_Views({}, 4);
  const bench::Corner_Capture Capture = bench::Make_Capture(Seen, Setting, 4);
  for (std::size_t i = First; i < Last; ++i) {
    const auto Base_Tc = rigsync::Transform_Base_Tracker(Capture.Rows[i].Camera);
    const auto Base_Tr = rigsync::Transform_Base_Tracker(Capture.Rows[i].Board);
    const Eigen::Isometry3d Chain =
        Capture.Transform_Cam_Tc * Base_Tc->inverse() * *Base_Tr * Capture.Transform_Tr_Chart;
    EXPECT_TRUE(Chain.isApprox(Seen.Transform_Cam_Chart[i], 1e-9)) << i;
  }
}

bench::Tracker_Setting Without_Noise() {
  bench::Tracker_Setting Setting;
  Setting.Position_Mm = Setting.Rotation_Deg = 0.0;
  return Setting;
}

TEST(CornerCapture, ClosesTheChainOfEveryImage) {
  for (const bench::Standing Still :
       {bench::Standing::Neither, bench::Standing::Camera, bench::Standing::Board}) {
    bench::Tracker_Setting Setting = Without_Noise();
    Setting.Still = Still;
    Expect_Closed_Chains(Setting, 0, 24);
  }
}

TEST(CornerCapture, HasTheMountsOfTheLastImagesAfterASlip) {
  bench::Tracker_Setting Setting = Without_Noise();
  Setting.Slip = {3.0, 0.3};
  const bench::Corner_Capture Capture = bench::Make_Capture(bench::Make_Views({}, 4), Setting, 4);
  ASSERT_TRUE(Capture.Slip);
  Expect_Closed_Chains(Setting, Capture.Slip->First_Row, 24);
}

}  // namespace
