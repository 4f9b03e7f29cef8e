// SPDX-License-Identifier: Apache-2.0
//
// Photographs of a board with markers: OpenCV's ArUco detection reads them where its camera model
// projects the white squares, and nothing but the markers differs from the board without them.
#include "simulate/render.h"
#include "simulate/simulate.h"
#include "tests/simulate/opencv_view.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#ifdef RIGSYNC_ARUCO_IN_OBJDETECT
#include <opencv2/objdetect/aruco_detector.hpp>
#else
#include <opencv2/aruco.hpp>
#endif

#include <map>
#include <vector>

namespace {

using simulate::Image_Truth;
using simulate::Options;
using simulate::Plan;

using Quads = std::vector<std::vector<cv::Point2f>>;

void Detect(const cv::Mat& Grey, Quads& Corners, std::vector<int>& Ids) {
#ifdef RIGSYNC_ARUCO_IN_OBJDETECT
  cv::aruco::ArucoDetector(cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_1000))
      .detectMarkers(Grey, Corners, Ids);
#else
  cv::aruco::detectMarkers(Grey, cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_1000),
                           Corners, Ids);
#endif
}

// The middle of each marker, by its id.
std::map<int, cv::Point2d> Found_Markers(const cv::Mat& Photograph) {
  cv::Mat Grey;
  cv::cvtColor(Photograph, Grey, cv::COLOR_BGR2GRAY);
  Quads Corners;
  std::vector<int> Ids;
  Detect(Grey, Corners, Ids);
  std::map<int, cv::Point2d> Middles;
  for (std::size_t k = 0; k < Ids.size(); ++k) {
    const auto& Quad = Corners[k];
    const cv::Point2f Sum = Quad[0] + Quad[1] + Quad[2] + Quad[3];
    Middles[Ids[k]] = cv::Point2d(Sum) / 4.0;
  }
  return Middles;
}

Options Near_Boards(int Cols, int Rows) {
  Options Settings;
  Settings.Image_Count = 4;
  Settings.Width = 960;
  Settings.Height = 540;
  Settings.Board_Cols = Cols;
  Settings.Board_Rows = Rows;
  Settings.First_Marker = 100;
  return Settings;
}

cv::Mat Photograph_Of(const Plan& Capture, std::size_t Index) {
  const Options& Settings = Capture.Settings;
  return simulate::Render_Photograph(
      Capture, Index,
      simulate::Make_Pixel_Rays(Capture.True_Lens, Settings.Width, Settings.Height));
}

// By hand, for a board of 4 by 3 squares of which the top left one is black:
//   #  0  #  1
//   2  #  3  #
//   #  4  #  5
TEST(RenderMarkers, NumbersTheWhiteSquaresRowByRowFromTheFirstCornersSide) {
  const Plan Capture = Make_Plan(Near_Boards(3, 2));
  const std::map<int, cv::Point2d> Squares = {{100, {0, -1}}, {101, {2, -1}}, {102, {-1, 0}},
                                              {103, {1, 0}},  {104, {0, 1}},  {105, {2, 1}}};
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(i);
    const std::map<int, cv::Point2d> Found = Found_Markers(Photograph_Of(Capture, i));
    for (const auto& [Id, Square] : Squares) {
      ASSERT_EQ(Found.count(Id), 1u) << Id;
      const cv::Point2d Middle = Square + cv::Point2d(0.5, 0.5);
      const cv::Point2d Expected = Opencv_Project(Capture, Capture.Images[i], {Middle}).front();
      // The middle of a projected square is not its projected middle, and detection has whole
      // pixels: within a tenth of these squares, which are above 50 pixels.
      EXPECT_LE(cv::norm(Found.at(Id) - Expected), 5.0) << Id;
    }
  }
}

// Rows of an odd number of squares begin and end with the same colour.
TEST(RenderMarkers, HasAMarkerForEveryWhiteSquareWhateverTheCounts) {
  for (const auto& [Cols, Rows] : {std::pair{4, 3}, {4, 4}, {3, 3}, {5, 4}}) {
    SCOPED_TRACE(Cols * 10 + Rows);
    const Plan Capture = Make_Plan(Near_Boards(Cols, Rows));
    const std::map<int, cv::Point2d> Found = Found_Markers(Photograph_Of(Capture, 0));
    const int White = (Cols + 1) * (Rows + 1) / 2;
    for (int k = 0; k < White; ++k) EXPECT_EQ(Found.count(100 + k), 1u) << k;
    EXPECT_EQ(Found.count(100 + White), 0u);
  }
}

TEST(RenderMarkers, LeavesEveryPixelAwayFromTheMarkersAsItIsWithoutThem) {
  Options Settings = Near_Boards(5, 4);
  Settings.Blur_Pixels = 0.0;
  const Plan With = Make_Plan(Settings);
  Settings.First_Marker = -1;
  const Plan Without = Make_Plan(Settings);
  for (std::size_t i = 0; i < With.Images.size(); ++i) {
    cv::Mat Differs;
    cv::absdiff(Photograph_Of(With, i), Photograph_Of(Without, i), Differs);
    cv::cvtColor(Differs, Differs, cv::COLOR_BGR2GRAY);
    // Beside a marker a pixel is a mean of samples, which may round to the next grey level.
    Differs = Differs > 1;
    EXPECT_GT(cv::countNonZero(Differs), 1000);
    for (int r = -1; r < 4; ++r) {
      for (int c = -1; c < 5; ++c) {
        if (((r + c) & 1) == 0) continue;
        std::vector<cv::Point> Marker;
        for (const cv::Point2d& Edge : Opencv_Project(With, With.Images[i],
                                                      {{c + 0.25, r + 0.25},
                                                       {c + 0.75, r + 0.25},
                                                       {c + 0.75, r + 0.75},
                                                       {c + 0.25, r + 0.75}})) {
          Marker.emplace_back(cvRound(Edge.x), cvRound(Edge.y));
        }
        cv::fillConvexPoly(Differs, Marker, cv::Scalar(0));
        cv::polylines(Differs, Marker, true, cv::Scalar(0), 5);  // rounding on both sides
      }
    }
    EXPECT_EQ(cv::countNonZero(Differs), 0) << i;
  }
}

}  // namespace
