// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/frame_measures.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

namespace rigsync {
namespace {

TEST(FrameMeasures, TheDifferenceIsTheMeanOfGreyLevels) {
  const cv::Mat Dark(10, 20, CV_8UC1, cv::Scalar(40));
  cv::Mat Light = Dark.clone();
  Light.colRange(0, 10).setTo(60);
  Light.colRange(10, 15).setTo(30);
  EXPECT_FLOAT_EQ(Frame_Difference(Dark, Light), 10.0f + 2.5f);
  EXPECT_FLOAT_EQ(Frame_Difference(Light, Dark), 12.5f);
}

TEST(FrameMeasures, TheSharpnessOfARampIsItsSlopeSquared) {
  cv::Mat Ramp(30, 50, CV_8UC1);
  for (int c = 0; c < Ramp.cols; ++c) Ramp.col(c).setTo(5 * c);
  // The first and the last column have no neighbour to rise to.
  EXPECT_FLOAT_EQ(Frame_Sharpness(Ramp), 25.0f * 48.0f / 50.0f);
}

TEST(FrameMeasures, FramesAreReducedOnTheLongerSideAndNeverEnlarged) {
  EXPECT_EQ(Measured_Size({1920, 1080}), cv::Size(480, 270));
  EXPECT_EQ(Measured_Size({1080, 1920}), cv::Size(270, 480));
  EXPECT_EQ(Measured_Size({320, 240}), cv::Size(320, 240));
  EXPECT_EQ(Measured_Size({30000, 10}), cv::Size(480, 1));
}

// A board of squares, moved by Length pixels while it is exposed, with noise, as it is measured.
cv::Mat Seen_Board(double Length, double Noise, cv::RNG& Random) {
  constexpr int Square = 60, Steps = 9;
  cv::Mat Board(720, 1280, CV_8UC1);
  for (int r = 0; r < Board.rows; ++r) {
    for (int c = 0; c < Board.cols; ++c) {
      Board.at<unsigned char>(r, c) = (r / Square + c / Square) % 2 == 0 ? 200 : 30;
    }
  }
  cv::Mat Exposed = cv::Mat::zeros(Board.size(), CV_32FC1);
  for (int Step = 0; Step < Steps; ++Step) {
    const double Shift = Length * (Step / (Steps - 1.0) - 0.5);
    const cv::Mat Motion = (cv::Mat_<double>(2, 3) << 1, 0, Shift, 0, 1, 0.5 * Shift);
    cv::Mat Moved;
    cv::warpAffine(Board, Moved, Motion, Board.size(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    cv::accumulate(Moved, Exposed);
  }
  Exposed /= Steps;
  cv::Mat Grain(Board.size(), CV_32FC1);
  Random.fill(Grain, cv::RNG::NORMAL, 0.0, Noise);
  cv::Mat Seen;
  cv::Mat(Exposed + Grain).convertTo(Seen, CV_8U);
  cv::Mat Reduced;
  cv::resize(Seen, Reduced, Measured_Size(Seen.size()), 0, 0, cv::INTER_AREA);
  return Reduced;
}

TEST(FrameMeasures, TheSharpestFrameOfAHoldIsTheOneThatMovedLeastWhateverTheNoise) {
  cv::RNG Random(7);
  for (const double Noise : {0.0, 5.0, 10.0}) {
    const float Still = Frame_Sharpness(Seen_Board(0.0, Noise, Random));
    for (const double Length : {0.3, 0.6, 1.2, 2.4}) {
      EXPECT_GT(Still, Frame_Sharpness(Seen_Board(Length, Noise, Random)))
          << Length << " pixels, noise of " << Noise;
    }
  }
}

}  // namespace
}  // namespace rigsync
