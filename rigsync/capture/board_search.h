// SPDX-License-Identifier: Apache-2.0
//
// The search for the board in a capture's images, and a lens fitted to the boards that are found.
// The detection and the lens model are the library's. Both functions return facts;
// rigsync/inspect/board_findings.h judges them.
//
// The frames Cam and Chart are defined in docs/conventions.md.
#ifndef RIGSYNC_CAPTURE_BOARD_SEARCH_H
#define RIGSYNC_CAPTURE_BOARD_SEARCH_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/lens.h"
#include "rigsync/capture/parallel_rows.h"
#include "rigsync/capture/seen_corner.h"

#include <Eigen/Geometry>

#include <array>
#include <filesystem>
#include <optional>
#include <vector>

namespace rigsync {

enum class Image_State {
  Not_An_Image,  // Is_Image of the row is false
  Missing,       // no image file
  Unreadable,    // a file from which OpenCV reads no image
  Refused,       // a file for which OpenCV's decoder throws an exception
  Not_Searched,  // left out, because the counts are wrong anyway (inspect/count_findings.h)
  No_Board,
  Other_Size,     // a board, in an image of another size than the first
  Board_Cut_Off,  // a part of the board, told by its markers (cut_off_search.h)
  Board_Found
};

struct Searched_Image {
  Image_State State = Image_State::Missing;
  int Width = 0, Height = 0;  // pixels; 0 when the image was not opened
  // Full-image pixels, row by row of the board. Empty unless the state is Board_Found.
  std::vector<std::array<float, 2>> Corners;
  // By rising index. Empty unless the state is Board_Cut_Off.
  std::vector<Seen_Corner> Some_Corners = {};
};

struct Board_Search {
  int Width = 0, Height = 0;           // of the first image that opens, pixels; 0 for none
  std::vector<Searched_Image> Images;  // one for each row

  // The number of images that the library will use. It accepts boards in images of any size.
  std::size_t Usable_Count() const;
};

// Called after each image, on the thread that called the search.
using Search_Progress = Row_Progress;

// Reads the images of the rows that are Readable and searches each for the board, in at most
// Threads threads; each holds one decoded image at a time. The result does not depend on their
// number, nor on the number of OpenCV's own threads, which stays as it is.
//
// While it searches, the decoders' warnings are suppressed with all other output of the process
// (rigsync/system/quiet_output.h), so Progress has to write to a descriptor of its own, as
// Progress_Output does.
Board_Search Search_Boards(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                           const std::filesystem::path& Image_Root, const Board_Size& Board,
                           const Search_Progress& Progress, std::size_t Threads = Core_Count());

// Images whose search is known from before, one entry for each row, or no entry at all.
using Known_Images = std::vector<std::optional<Searched_Image>>;

// The same without opening the known images. They were searched in a capture whose first image had
// the same size.
Board_Search Search_Boards(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                           const Known_Images& Known, const std::filesystem::path& Image_Root,
                           const Board_Size& Board, const Search_Progress& Progress,
                           std::size_t Threads = Core_Count());

struct Board_Pose {
  std::size_t Row = 0;  // index of the row
  Eigen::Quaterniond Rotation_Cam_Chart;
  Eigen::Vector3d Centre_Cam;  // the board's centre, metres
};

struct Board_Error {
  std::size_t Row = 0;  // index of the row
  double Rms = 0;       // reprojection error of the board's corners, pixels
};

struct Lens_Fit {
  double Rms = 0;  // reprojection error over all fitted boards, pixels
  Lens Lens_Px;
  std::vector<Board_Pose> Poses;    // of all boards in state Board_Found
  std::vector<Board_Error> Errors;  // of the boards that the lens was fitted to
};

// Fits the library's lens model to at most 60 boards, evenly chosen, and finds the poses of all.
// None with fewer than three boards, or when OpenCV finds no solution.
std::optional<Lens_Fit> Fit_Lens(const Board_Search& Search, const Board_Size& Board,
                                 double Square_Size);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BOARD_SEARCH_H
