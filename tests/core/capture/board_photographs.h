// SPDX-License-Identifier: Apache-2.0
//
// Photographs of a chessboard by a camera without lens distortion, and the positions of their inner
// corners. Every pixel is computed from the board plane, with edges two pixels wide, so the corners
// are known far more precisely than the refinement can find them.
#ifndef RIGSYNC_TESTS_CORE_CAPTURE_BOARD_PHOTOGRAPHS_H
#define RIGSYNC_TESTS_CORE_CAPTURE_BOARD_PHOTOGRAPHS_H

#include "tests/support/scratch_folder.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

// The board of all these photographs: 7 by 6 inner corners, 3 cm squares. One count is odd and one
// even, so that a board turned by 180 degrees looks different and corner order has one answer.
inline const cv::Size Photograph_Board(7, 6);
constexpr double Photograph_Square = 0.03;  // metres

struct Pinhole {
  cv::Size Size;
  double Fx, Fy, Cx, Cy;  // pixels
};

// A camera with four clearly different numbers, at any image width.
inline Pinhole Make_Pinhole(cv::Size Size) {
  const double Unit = Size.width / 640.0;
  return {Size, 600.0 * Unit, 575.0 * Unit, 0.516 * Size.width, 0.486 * Size.height};
}

struct Board_Pose {
  cv::Vec3d Rotation;     // Rodrigues form, board in camera
  cv::Vec3d Translation;  // metres
};

// Varied poses: tilts of up to 30 degrees about both axes, some roll, the centre of the board
// within 2 cm of the optical axis.
inline Board_Pose Make_Pose(int Index, double Distance = 0.40) {
  const double Tilt_X = 0.52 * std::sin(2.4 * Index + 0.3);
  const double Tilt_Y = 0.52 * std::cos(1.7 * Index);
  const double Roll = 0.2 * std::sin(1.1 * Index);
  Board_Pose Pose{{Tilt_X, Tilt_Y, Roll}, {}};
  cv::Matx33d Rotation;
  cv::Rodrigues(Pose.Rotation, Rotation);
  const cv::Vec3d Centre(3.0 * Photograph_Square, 2.5 * Photograph_Square, 0.0);
  const cv::Vec3d Place(0.02 * std::sin(0.7 * Index), 0.02 * std::cos(0.9 * Index), Distance);
  Pose.Translation = Place - Rotation * Centre;
  return Pose;
}

// Board coordinates in squares to pixels.
inline cv::Matx33d Board_To_Pixels(const Pinhole& Camera, const Board_Pose& Pose) {
  cv::Matx33d R;
  cv::Rodrigues(Pose.Rotation, R);
  const double S = Photograph_Square;
  const cv::Matx33d Plane(R(0, 0) * S, R(0, 1) * S, Pose.Translation[0],  //
                          R(1, 0) * S, R(1, 1) * S, Pose.Translation[1],  //
                          R(2, 0) * S, R(2, 1) * S, Pose.Translation[2]);
  return cv::Matx33d(Camera.Fx, 0, Camera.Cx, 0, Camera.Fy, Camera.Cy, 0, 0, 1) * Plane;
}

// The true inner corners, row by row, pixels.
inline std::vector<cv::Point2d> True_Corners(const Pinhole& Camera, const Board_Pose& Pose) {
  const cv::Matx33d To_Pixels = Board_To_Pixels(Camera, Pose);
  std::vector<cv::Point2d> Corners;
  for (int r = 0; r < Photograph_Board.height; ++r) {
    for (int c = 0; c < Photograph_Board.width; ++c) {
      const cv::Vec3d P = To_Pixels * cv::Vec3d(c, r, 1.0);
      Corners.emplace_back(P[0] / P[2], P[1] / P[2]);
    }
  }
  return Corners;
}

// Grey levels: black squares at Black, white squares and a margin of one square at White, the
// background halfway between the two.
inline cv::Mat Draw_Board(const Pinhole& Camera, const Board_Pose& Pose, double Black = 30.0,
                          double White = 225.0) {
  // -1 to 1 across the lines at whole coordinates, with a ramp of two pixels; Slope is the
  // coordinate's change per pixel.
  const auto Wave = [](double Coordinate, double Slope) {
    const double To_Line = std::abs(Coordinate - std::round(Coordinate));
    const double Level = std::min(1.0, To_Line / Slope);
    return static_cast<long>(std::floor(Coordinate)) % 2 == 0 ? Level : -Level;
  };
  const double Mid_Grey = 0.5 * (Black + White), Reach = 0.5 * (White - Black);
  const double Cols = Photograph_Board.width, Rows = Photograph_Board.height;
  const cv::Matx33d To_Board = Board_To_Pixels(Camera, Pose).inv();
  cv::Mat Image(Camera.Size, CV_8UC1);
  for (int y = 0; y < Image.rows; ++y) {
    for (int x = 0; x < Image.cols; ++x) {
      const cv::Vec3d P = To_Board * cv::Vec3d(x, y, 1.0);
      const double U = P[0] / P[2], V = P[1] / P[2];
      double Grey = Mid_Grey;
      if (U > -1.0 && U < Cols && V > -1.0 && V < Rows) {
        const double Slope_U =
            std::hypot(To_Board(0, 0) - U * To_Board(2, 0), To_Board(0, 1) - U * To_Board(2, 1)) /
            std::abs(P[2]);
        const double Slope_V =
            std::hypot(To_Board(1, 0) - V * To_Board(2, 0), To_Board(1, 1) - V * To_Board(2, 1)) /
            std::abs(P[2]);
        Grey = Mid_Grey - Reach * Wave(U, Slope_U) * Wave(V, Slope_V);
      } else if (U > -2.0 && U < Cols + 1.0 && V > -2.0 && V < Rows + 1.0) {
        Grey = White;
      }
      Image.at<uchar>(y, x) = static_cast<uchar>(std::lround(Grey));
    }
  }
  return Image;
}

// Writes an image to the folder and returns its path. The file name's extension selects the format;
// BMP is fastest.
inline std::string Write_Image(const Scratch_Folder& Folder, const std::string& Name,
                               const cv::Mat& Image) {
  const std::string Path = (Folder.Path() / Name).string();
  if (!cv::imwrite(Path, Image)) throw std::runtime_error("could not write " + Path);
  return Path;
}

// A BMP file whose header claims 100,000 by 100,000 pixels: cv::imread throws for it, but returns
// an empty image for other unreadable files.
inline std::string Oversized_Bmp() {
  std::string Bytes = "BM";
  const auto Append = [&Bytes](unsigned Value, int Count) {
    for (int i = 0; i < Count; ++i) Bytes += static_cast<char>(Value >> (8 * i) & 0xFFu);
  };
  Append(100, 4);  // file size
  Append(0, 4);
  Append(54, 4);  // where pixels begin
  Append(40, 4);  // size of the header that follows
  Append(100000, 4);
  Append(100000, 4);
  Append(1, 2);
  Append(24, 2);  // bits per pixel
  for (int i = 0; i < 6; ++i) Append(0, 4);
  return Bytes;
}

#endif  // RIGSYNC_TESTS_CORE_CAPTURE_BOARD_PHOTOGRAPHS_H
