// SPDX-License-Identifier: Apache-2.0
//
// What Calibration does after the boards are found, on corners that come from elsewhere: the
// library's own stages in the library's order, with its limits. So thousands of captures can be
// calibrated without drawing and searching an image. A test compares it with Calibration itself.
#ifndef RIGSYNC_BENCH_LIBRARY_SEQUENCE_H
#define RIGSYNC_BENCH_LIBRARY_SEQUENCE_H

#include "rigsync/capture/board_size.h"
#include "rigsync/solve/board_place.h"
#include "rigsync/solve/observation.h"

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <optional>
#include <vector>

namespace bench {

// A board and its images, pixels and metres.
struct Photographed_Board {
  rigsync::Board_Size Size;
  double Square_Size = 0;  // as it was stated
  cv::Size Image_Size;
};

// The inner corners, row by row, in the board's plane, as the library rounds them.
std::vector<cv::Point3f> Board_Points(const Photographed_Board& Board);

// The lens and the board's poses as the library solves them: a row of three doubles for each image.
struct Library_Lens {
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
  double Rms = 0;  // pixels
};

// None when OpenCV finds no lens. Every list of corners is one image in which the board was found.
std::optional<Library_Lens> Solve_Library_Lens(const std::vector<rigsync::Corner_List>& Corners,
                                               const Photographed_Board& Board);

struct Library_Result {
  int Code = 0;
  std::optional<Eigen::Matrix4d> Transform_Cam_Tc;  // when Calibration would fill it
  std::size_t Kept = 0;                             // images that passed the outlier filter
};

// Rows without corners are left out, as Calibration does. Lens is the one of the other rows. The
// library's log lines go to standard output, and to no file. Throws what the stages throw.
Library_Result Run_Library_Sequence(const std::vector<rigsync::Row_Facts>& Rows,
                                    const Photographed_Board& Board, const Library_Lens& Lens,
                                    const rigsync::Board_Place& Estimate);

}  // namespace bench

#endif  // RIGSYNC_BENCH_LIBRARY_SEQUENCE_H
