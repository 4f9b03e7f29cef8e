// SPDX-License-Identifier: Apache-2.0
//
// Half-widths of a lens against lenses that OpenCV solves from the simulator's corners.
#include "rigsync/solve/lens_uncertainty.h"
#include "simulate/random.h"
#include "simulate/simulate.h"

#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>

#include <cmath>
#include <limits>

namespace {

using rigsync::Matrix6d;
using rigsync::Vector6d;

constexpr int Cols = 11, Rows = 8;
constexpr double Square_Size = 0.03;

using Image_List = std::vector<std::vector<cv::Point2f>>;

Image_List Draw_Corners(const simulate::Plan& Plan, double Deviation_Px, simulate::Random& Random) {
  Image_List Images;
  for (const simulate::Image_Truth& Image : Plan.Images) {
    Images.emplace_back();
    for (const Eigen::Vector2d& Point : simulate::Project_Board(Plan, Image)) {
      Images.back().emplace_back(static_cast<float>(Point.x() + Deviation_Px * Random.Gaussian()),
                                 static_cast<float>(Point.y() + Deviation_Px * Random.Gaussian()));
    }
  }
  return Images;
}

rigsync::Lens Solve_Lens(const Image_List& Images, const simulate::Plan& Plan) {
  std::vector<cv::Point3f> Board;
  for (int r = 0; r < Rows; ++r) {
    for (int c = 0; c < Cols; ++c) {
      Board.emplace_back(static_cast<float>(Square_Size * c), static_cast<float>(Square_Size * r),
                         0.0f);
    }
  }
  cv::Mat Camera, Distortion;
  std::vector<cv::Mat> Turns, Shifts;
  cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(Images.size(), Board), Images,
                      {Plan.Settings.Width, Plan.Settings.Height}, Camera, Distortion, Turns,
                      Shifts, cv::CALIB_ZERO_TANGENT_DIST | cv::CALIB_FIX_K3);
  return {Camera.at<double>(0, 0), Camera.at<double>(1, 1),  Camera.at<double>(0, 2),
          Camera.at<double>(1, 2), Distortion.at<double>(0), Distortion.at<double>(1)};
}

Matrix6d Stated_Covariance(const Image_List& Images, const rigsync::Lens& Lens) {
  std::vector<rigsync::Row_Facts> Facts;
  for (const auto& Corners : Images) {
    rigsync::Row_Facts Row;
    Row.Row = Facts.size();
    Row.Camera.Quaternion = Row.Board.Quaternion = {1, 0, 0, 0};
    for (const cv::Point2f& Corner : Corners) Row.Corners.push_back({Corner.x, Corner.y});
    Facts.push_back(Row);
  }
  return rigsync::Observe(Facts, {Cols, Rows}, Square_Size, Lens).Lens_Covariance;
}

TEST(LensUncertainty, TheTrueLensIsInTheStated95Percent) {
  simulate::Options Options;
  Options.Image_Count = 6;
  Options.Width = 960;
  Options.Height = 540;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const simulate::Lens& True = Plan.True_Lens;
  Vector6d Truth;
  Truth << True.Fx, True.Fy, True.Cx, True.Cy, True.K1, True.K2;
  constexpr int Draws = 30;
  int Inside[rigsync::Lens_Parameters] = {};
  simulate::Random Random(5, 3);
  for (int Draw = 0; Draw < Draws; ++Draw) {
    const Image_List Images = Draw_Corners(Plan, 0.1, Random);
    const rigsync::Lens Lens = Solve_Lens(Images, Plan);
    const Vector6d Half_Widths = rigsync::Lens_Half_Widths(Stated_Covariance(Images, Lens));
    Vector6d Solved;
    Solved << Lens.Fx, Lens.Fy, Lens.Cx, Lens.Cy, Lens.K1, Lens.K2;
    for (int k = 0; k < rigsync::Lens_Parameters; ++k) {
      Inside[k] += std::abs(Solved[k] - Truth[k]) <= Half_Widths[k] ? 1 : 0;
    }
  }
  int All_Inside = 0;
  for (const int Each : Inside) {
    // Of 30 draws with 95 % fewer than 24 are inside once in 1,500 times.
    EXPECT_GE(Each, 24);
    All_Inside += Each;
  }
  // Widths that are half as large again would leave nearly none outside.
  EXPECT_LT(All_Inside, 6 * Draws);
}

TEST(LensUncertainty, ALensThatWasNotSolvedIsNotKnown) {
  Matrix6d Covariance = Matrix6d::Identity();
  Covariance(1, 1) = 0.0;
  Covariance(2, 2) = std::numeric_limits<double>::quiet_NaN();
  Covariance(3, 3) = INFINITY;
  const Vector6d Half_Widths = rigsync::Lens_Half_Widths(Covariance);
  EXPECT_NEAR(Half_Widths[0], 1.959963985, 1e-7);  // from a table of the normal distribution
  for (const int k : {1, 2, 3}) EXPECT_EQ(Half_Widths[k], INFINITY);
}

}  // namespace
