// SPDX-License-Identifier: Apache-2.0
//
// Finds a chessboard's inner corners in one image, with the library's calls, arguments and
// rounding, so that the corners are the library's to the last bit. Nothing is judged or reported
// here. A caller that times the steps calls them one by one; everyone else calls Detect_Board.
#ifndef RIGSYNC_CAPTURE_BOARD_DETECTION_H
#define RIGSYNC_CAPTURE_BOARD_DETECTION_H

#include "rigsync/capture/board_size.h"

#include <opencv2/core.hpp>

#include <vector>

namespace rigsync {

// How the images of one capture are searched.
struct Detection_Settings {
  bool Is_Reduced = false;   // whether a reduced copy is searched
  cv::Size Reduced_Size;     // of that copy, pixels; unused without one
  float Scale = 1.0f;        // full-image pixels per searched pixel; exactly 1 without a copy
  int Window_Half_Size = 3;  // of the sub-pixel refinement, full-image pixels, at most 15
};

// The settings follow from the size of the capture's first image and hold for all its images, also
// for those of another size. The width alone decides whether images are reduced.
Detection_Settings Settings_For(cv::Size First_Size);

// The grey images that one colour image is searched in. Reusing them saves their allocation.
struct Detection_Images {
  cv::Mat Reduced, Reduced_Grey;  // the full image where it is not reduced
  cv::Mat Grey;
};

// Step 1: fills Images from Image, 8-bit BGR.
void Prepare_Images(const cv::Mat& Image, const Detection_Settings& Settings,
                    Detection_Images& Images);

// Step 2: finds the board. Corners are in full-image pixels, row by row of the board, to the
// precision of the searched image. False, and Corners are undefined, when there is no board.
bool Search_Board(const Detection_Images& Images, const Detection_Settings& Settings,
                  const Board_Size& Board, std::vector<cv::Point2f>& Corners);

// Step 3: refines the corners in the full image. Throws cv::Exception for a corner outside of it,
// which an image of another size than the first can have.
void Refine_Corners(const Detection_Images& Images, const Detection_Settings& Settings,
                    std::vector<cv::Point2f>& Corners);

// The three steps. Returns the refined corners, or none when there is no board.
std::vector<cv::Point2f> Detect_Board(const cv::Mat& Image, cv::Size First_Size,
                                      const Board_Size& Board);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BOARD_DETECTION_H
