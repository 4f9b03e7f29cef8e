// SPDX-License-Identifier: Apache-2.0
//
// The boards in a capture's images: found by the same OpenCV calls as the library makes, and a lens
// that is fitted to them, so that an inspection can tell how the capture was taken.
//
// Frames are Cam and Chart, as docs/conventions.md defines them.
#ifndef RIGSYNC_CAPTURE_BOARD_SEARCH_H
#define RIGSYNC_CAPTURE_BOARD_SEARCH_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/finding.h"

#include <Eigen/Geometry>

#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace rigsync {

enum class Image_State {
  Not_An_Image,  // as Is_Image of the row tells
  Missing,       // no file
  Unreadable,    // a file, but no image that OpenCV reads
  No_Board,
  Other_Size,  // a board, in an image of another size than the first
  Board_Found
};

// "not_an_image", "missing" and so on.
const char* State_Name(Image_State State);

struct Board_Search {
  int Width = 0, Height = 0;        // of the first image that opens, pixels; 0 for none
  std::vector<Image_State> States;  // one for each row
  // One list for each row, full-image pixels, row by row of the board; empty but for Board_Found.
  std::vector<std::vector<std::array<float, 2>>> Corners;

  // How many images the library will find usable: it takes boards in images of any size.
  std::size_t Usable() const;
};

// Called after each image.
using Search_Progress = std::function<void(std::size_t Done, std::size_t All)>;

// Reads the images of the rows that are Readable, one at a time, and looks for the board in each.
// Tells, by line, of images that can't be read, that have another size, or that show no board.
Board_Search Search_Boards(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                           const std::filesystem::path& Image_Root, const Board_Size& Board,
                           const Search_Progress& Progress, Findings& Told);

struct Board_Pose {
  std::size_t Row = 0;  // index of the row
  Eigen::Quaterniond Rotation_Cam_Chart;
  Eigen::Vector3d Middle_Cam;  // the board's middle, metres
};

struct Lens_Fit {
  double Rms = 0;                 // pixels
  double Norm_Fx = 0;             // focal length as a fraction of the image's width
  std::vector<Board_Pose> Poses;  // of the boards that were found
};

// Fits a lens and the boards' poses. None when there are fewer than three boards, or when their
// poses leave OpenCV without a solution. Tells, by line, of boards that fit badly.
std::optional<Lens_Fit> Fit_Lens(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                                 const Board_Size& Board, double Square_Size, Findings& Told);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BOARD_SEARCH_H
