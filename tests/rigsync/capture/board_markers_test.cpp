// SPDX-License-Identifier: Apache-2.0
//
// Markers and the corners beside them, in rendered photographs whose corners are known.
#include "rigsync/capture/board_markers.h"

#include "simulate/render.h"
#include "simulate/simulate.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <stdexcept>
#include <vector>

namespace {

using rigsync::Board_Size;
using rigsync::Find_Corners_By_Markers;
using rigsync::Marked_Board;
using rigsync::Seen_Corner;
using rigsync::Square_Place;

// Sub-pixel refinement finds the corners of a rendered view to 0.1 pixels at worst.
constexpr double Corner_Tolerance_Px = 0.15;

// Without OpenCV's module there is nothing to test but that.
class Board_Markers : public testing::Test {
 protected:
  void SetUp() override {
    if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
  }
};

simulate::Options Marked_Capture(int First = 60) {
  simulate::Options Settings;
  Settings.Image_Count = 6;
  Settings.Width = 1280;
  Settings.Height = 720;
  Settings.First_Marker = First;
  return Settings;
}

constexpr Marked_Board Known_Board = {{11, 8}, 60};

cv::Mat Photograph_Of(const simulate::Plan& Capture, std::size_t Index) {
  return simulate::Render_Photograph(
      Capture, Index,
      simulate::Make_Pixel_Rays(Capture.True_Lens, Capture.Settings.Width,
                                Capture.Settings.Height));
}

// Where the corners are that a picture shows with all of their four squares. The corners of the
// squares are those of a board with two more columns and rows.
std::map<std::size_t, Eigen::Vector2d> Whole_Corners(const simulate::Plan& Capture,
                                                     std::size_t Index) {
  const int Cols = Capture.Settings.Board_Cols, Rows = Capture.Settings.Board_Rows;
  simulate::Plan Larger = Capture;
  Larger.Settings.Board_Cols += 2;
  Larger.Settings.Board_Rows += 2;
  simulate::Image_Truth Image = Capture.Images[Index];
  const double Square = Capture.Settings.Square_Size;
  Image.Transform_Cam_Chart.col(3) -=
      Square * (Image.Transform_Cam_Chart.col(0) + Image.Transform_Cam_Chart.col(1));
  const std::vector<Eigen::Vector2d> All = Project_Board(Larger, Image);
  const auto At = [&](int Col, int Row) {
    return All[static_cast<std::size_t>((Row + 1) * (Cols + 2) + Col + 1)];
  };
  const auto Is_Inside = [&](const Eigen::Vector2d& Pixel) {
    return Pixel.x() >= 0 && Pixel.y() >= 0 && Pixel.x() <= Capture.Settings.Width - 1 &&
           Pixel.y() <= Capture.Settings.Height - 1;
  };
  std::map<std::size_t, Eigen::Vector2d> Whole;
  for (int Row = 0; Row < Rows; ++Row) {
    for (int Col = 0; Col < Cols; ++Col) {
      if (Is_Inside(At(Col - 1, Row - 1)) && Is_Inside(At(Col + 1, Row - 1)) &&
          Is_Inside(At(Col - 1, Row + 1)) && Is_Inside(At(Col + 1, Row + 1))) {
        Whole[static_cast<std::size_t>(Row * Cols + Col)] = At(Col, Row);
      }
    }
  }
  return Whole;
}

double Error_Of(const Seen_Corner& Corner, const Eigen::Vector2d& Truth) {
  return std::hypot(double(Corner.Pixel[0]) - Truth.x(), double(Corner.Pixel[1]) - Truth.y());
}

// By hand, for 4 by 3 squares, 5 by 3, and 4 by 4:
//   #  0  #  1     #  0  #  1  #     #  0  #  1
//   2  #  3  #     2  #  3  #  4     2  #  3  #
//   #  4  #  5     #  5  #  6  #     #  4  #  5
//                                    6  #  7  #
TEST(MarkedBoard, CountsTheWhiteSquaresRowByRow) {
  const auto Place_Of = [](const Board_Size& Board, int Id) {
    const auto Square = rigsync::Square_Of_Marker({Board, 10}, Id);
    return Square ? std::pair(Square->Col, Square->Row) : std::pair(-1, -1);
  };
  const std::pair<int, int> Four[] = {{1, 0}, {3, 0}, {0, 1}, {2, 1},
                                      {1, 2}, {3, 2}, {0, 3}, {2, 3}};
  const std::pair<int, int> Five[] = {{1, 0}, {3, 0}, {0, 1}, {2, 1}, {4, 1}, {1, 2}, {3, 2}};
  for (int k = 0; k < 6; ++k) EXPECT_EQ(Place_Of({3, 2}, 10 + k), Four[k]) << k;
  for (int k = 0; k < 8; ++k) EXPECT_EQ(Place_Of({3, 3}, 10 + k), Four[k]) << k;
  for (int k = 0; k < 7; ++k) EXPECT_EQ(Place_Of({4, 2}, 10 + k), Five[k]) << k;
  const std::pair<int, int> None(-1, -1);
  EXPECT_EQ(Place_Of({3, 2}, 9), None);
  EXPECT_EQ(Place_Of({3, 2}, 16), None);
  EXPECT_EQ(Place_Of({3, 3}, 18), None);
  EXPECT_EQ(Place_Of({4, 2}, 17), None);
}

// The tests of markers are skipped where the command says that it was built without them.
TEST(BoardMarkers, AreFoundWhereverTheBuildHasOpencvsModule) {
  EXPECT_EQ(rigsync::Can_Find_Markers(), RIGSYNC_HAS_ARUCO == 1);
}

TEST_F(Board_Markers, AMarkerHasABlackBorderAndACodeThatNoOtherHas) {
  std::set<std::array<std::array<bool, rigsync::Marker_Cells>, rigsync::Marker_Cells>> Codes;
  for (int Id = 0; Id < rigsync::Marker_Count; ++Id) {
    const auto Cells = rigsync::Cells_Of_Marker(Id);
    Codes.insert(Cells);
    for (std::size_t k = 0; k < rigsync::Marker_Cells; ++k) {
      EXPECT_FALSE(Cells[0][k] || Cells[5][k] || Cells[k][0] || Cells[k][5]) << Id;
    }
  }
  EXPECT_EQ(Codes.size(), 1000U);
}

TEST_F(Board_Markers, AMarkersCornersBeginAtTheTopLeftAndGoClockwise) {
  simulate::Options Settings = Marked_Capture();
  Settings.Board_Cols = 3;
  Settings.Board_Rows = 2;
  const simulate::Plan Capture = Make_Plan(Settings);
  const auto Corners = Project_Board(Capture, Capture.Images[0]);
  const Eigen::Vector2d Along_Row = (Corners[1] - Corners[0]).normalized();
  const Eigen::Vector2d Along_Column = (Corners[3] - Corners[0]).normalized();
  const auto Markers = rigsync::Find_Markers(Photograph_Of(Capture, 0));
  ASSERT_EQ(Markers.size(), 6u);
  for (const rigsync::Seen_Marker& Marker : Markers) {
    const auto Edge = [&](std::size_t From, std::size_t To) {
      const auto &A = Marker.Corners[From], &B = Marker.Corners[To];
      return Eigen::Vector2d(double(B[0]) - A[0], double(B[1]) - A[1]).normalized();
    };
    // Within about 20 degrees: the view turns and foreshortens from one end of the board to the
    // other.
    EXPECT_GT(Edge(0, 1).dot(Along_Row), 0.94) << Marker.Id;
    EXPECT_GT(Edge(3, 2).dot(Along_Row), 0.94) << Marker.Id;
    EXPECT_GT(Edge(0, 3).dot(Along_Column), 0.94) << Marker.Id;
  }
}

TEST_F(Board_Markers, CornersOfBoardsThatAreCutOffAreWhereTheyAreDrawn) {
  simulate::Options Settings = Marked_Capture();
  Settings.Image_Count = Settings.Cut_Count = 8;
  const simulate::Plan Capture = Make_Plan(Settings);
  std::size_t Shown = 0, Found = 0;
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(Capture.Images[i].Name);
    const auto Truth = Whole_Corners(Capture, i);
    EXPECT_LT(Truth.size(), 80u);
    Shown += Truth.size();
    for (const Seen_Corner& Corner :
         Find_Corners_By_Markers(Photograph_Of(Capture, i), Known_Board)) {
      // Prediction and truth may differ about a square at the very edge.
      if (Truth.count(Corner.Index) == 0) continue;
      EXPECT_LE(Error_Of(Corner, Truth.at(Corner.Index)), Corner_Tolerance_Px) << Corner.Index;
      ++Found;
    }
  }
  // Markers of the farthest boards have edges of 10 pixels, and not all of them are read.
  EXPECT_GE(static_cast<double>(Found), 0.8 * static_cast<double>(Shown));
}

// A hand of one grey level, in front of the lower right of the board.
struct Covered_View {
  cv::Mat Photograph;
  Eigen::Vector2d Middle;
  double Radius = 0;
};

Covered_View Cover(const cv::Mat& Photograph, const std::vector<Eigen::Vector2d>& Corners,
                   int Level) {
  Covered_View View;
  View.Middle = Corners[60];
  View.Radius = std::floor((Corners[60] - Corners[57]).norm());
  cv::Mat Hand(Photograph.size(), CV_8UC1, cv::Scalar(0));
  cv::circle(Hand, {static_cast<int>(View.Middle.x()), static_cast<int>(View.Middle.y())},
             static_cast<int>(View.Radius), cv::Scalar(255), cv::FILLED, cv::LINE_8);
  View.Photograph = Photograph.clone();
  View.Photograph.setTo(cv::Scalar::all(Level), Hand);
  cv::GaussianBlur(View.Photograph, View.Photograph, cv::Size(), 0.7);
  return View;
}

TEST_F(Board_Markers, NoCornerIsFoundWhereTheBoardIsCovered) {
  const simulate::Plan Capture = Make_Plan(Marked_Capture());
  std::size_t Free = 0, Found = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const cv::Mat Photograph = Photograph_Of(Capture, i);
    const auto Corners = Project_Board(Capture, Capture.Images[i]);
    for (const int Level : {15, 60, 120, 240}) {
      SCOPED_TRACE(testing::Message() << "image " << i << ", grey level " << Level);
      const Covered_View View = Cover(Photograph, Corners, Level);
      const double Beside = View.Radius + (Corners[60] - Corners[59]).norm();
      Free += static_cast<std::size_t>(std::count_if(
          Corners.begin(), Corners.end(),
          [&](const Eigen::Vector2d& Corner) { return (Corner - View.Middle).norm() > Beside; }));
      for (const Seen_Corner& Corner : Find_Corners_By_Markers(View.Photograph, Known_Board)) {
        const Eigen::Vector2d& Truth = Corners[Corner.Index];
        // The circle was drawn around whole pixels.
        EXPECT_GT((Truth - View.Middle).norm(), View.Radius - 1) << Corner.Index;
        EXPECT_LE(Error_Of(Corner, Truth), Corner_Tolerance_Px) << Corner.Index;
        ++Found;
      }
    }
  }
  EXPECT_GE(static_cast<double>(Found), 0.8 * static_cast<double>(Free));
}

TEST_F(Board_Markers, NothingIsFoundOnABoardWithoutMarkersOrWithOthers) {
  const simulate::Plan Plain = Make_Plan(Marked_Capture(-1));
  EXPECT_THAT(Find_Corners_By_Markers(Photograph_Of(Plain, 0), Known_Board), testing::IsEmpty());
  const simulate::Plan Other = Make_Plan(Marked_Capture(200));
  EXPECT_THAT(Find_Corners_By_Markers(Photograph_Of(Other, 0), Known_Board), testing::IsEmpty());
}

}  // namespace
