// SPDX-License-Identifier: Apache-2.0
//
// The benches' lens solve compared with OpenCV's, with the library's settings.
#include "bench/quick_lens.h"

#include "bench/corner_capture.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>

namespace {

// Both stop near the least squared error, OpenCV after 30 steps at most. What is left is far below
// what the corners' noise does: some tenths of a pixel of the lens, 0.1 mm of a pose.
constexpr double Pixel_Tolerance = 1e-4, Coefficient_Tolerance = 1e-7, Pose_Tolerance = 1e-7;

double Largest_Difference(const cv::Mat& A, const cv::Mat& B) {
  return cv::norm(A.reshape(1), B.reshape(1), cv::NORM_INF);
}

void Expect_Same_Lens(const bench::View_Setting& Setting, unsigned Seed) {
  const bench::Views Seen = bench::Make_Views(Setting, Seed);
  const auto Library = bench::Solve_Library_Lens(Seen.Corners, Seen.Board);
  ASSERT_TRUE(Seen.Lens && Library);
  EXPECT_NEAR(Seen.Lens->Rms, Library->Rms, 1e-9);
  EXPECT_LT(Largest_Difference(Seen.Lens->Camera_Matrix, Library->Camera_Matrix), Pixel_Tolerance);
  EXPECT_LT(Largest_Difference(Seen.Lens->Distortion, Library->Distortion), Coefficient_Tolerance);
  EXPECT_LT(Largest_Difference(Seen.Lens->Rvecs, Library->Rvecs), Pose_Tolerance);
  EXPECT_LT(Largest_Difference(Seen.Lens->Tvecs, Library->Tvecs), Pose_Tolerance);
}

TEST(QuickLens, IsTheLensThatTheLibrarySolves) {
  for (const unsigned Seed : {1U, 2U, 3U}) Expect_Same_Lens({}, Seed);
}

TEST(QuickLens, IsTheLibrarysLensForAnotherSquareAndALensThatDoesNotFit) {
  bench::View_Setting Setting;
  Setting.Images = 14;
  Setting.Square_Factor = 2.54;
  Setting.Lens.P1 = 0.005;
  Setting.Lens.K3 = -1.0;
  Expect_Same_Lens(Setting, 4);
}

TEST(QuickLens, IsTheLibrarysLensForATenthOfTheTurns) {
  bench::View_Setting Setting;
  Setting.Turn_Part = 0.1;
  Expect_Same_Lens(Setting, 6);
}

TEST(QuickLens, FindsTheFiveCoefficientsOfALens) {
  bench::View_Setting Setting;
  Setting.Lens.P1 = 0.005;
  Setting.Lens.P2 = -0.003;
  const bench::Views Seen = bench::Make_Views(Setting, 5);
  ASSERT_TRUE(Seen.Lens);
  const auto Five =
      bench::Refine_Lens(Seen.Corners, Seen.Board, *Seen.Lens, bench::Distortion_Model::Five);
  ASSERT_TRUE(Five);
  // What corners with a noise of 0.03 pixels on 24 images leave open.
  constexpr double Tangential_Tolerance = 2e-4;
  EXPECT_NEAR(Five->Distortion.at<double>(2), 0.005, Tangential_Tolerance);
  EXPECT_NEAR(Five->Distortion.at<double>(3), -0.003, Tangential_Tolerance);
  EXPECT_LT(Five->Rms, 0.9 * Seen.Lens->Rms);
}

}  // namespace
