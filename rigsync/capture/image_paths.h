// SPDX-License-Identifier: Apache-2.0
//
// Where the image paths of a capture lead in the file system. Of an image no more than its header
// is read.
#ifndef RIGSYNC_CAPTURE_IMAGE_PATHS_H
#define RIGSYNC_CAPTURE_IMAGE_PATHS_H

#include "rigsync/capture/capture_file.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

enum class Path_State {
  Not_An_Image,  // the row's Is_Image is false; its path is not examined
  Empty,         // blanks only
  Missing,
  Not_A_File,       // a folder, for example
  Pipe_Or_Device,   // reading it may never end
  Too_Many_Pixels,  // by its header
  Unknown_Ending,   // an image that no reprojection image can be named after
  File
};

// The state of an image path that is not empty.
Path_State Find_State(const std::filesystem::path& Image_Root, const std::string& Name);

// A change to a path that leads nowhere, after which it leads to a file.
enum class Path_Correction {
  None,
  Without_Blanks,  // around the path
  Without_Quotes,
  With_Forward_Slashes,
  Other_Folder  // the same file name in Correction_Folder
};

struct Image_Path {
  Path_State State = Path_State::Not_An_Image;
  std::size_t Earlier_Line = 0;  // the first line that names the same file; 0 when there is none
  bool Climbs_Out = false;       // as the function of that name says
  Path_Correction Correction = Path_Correction::None;  // of a path that is Missing
  std::filesystem::path Correction_Folder;             // Image_Root or its folder "images"
};

// One entry for each row. A relative path starts at Image_Root.
std::vector<Image_Path> Find_Image_Paths(const std::vector<Capture_Row>& Rows,
                                         const std::filesystem::path& Image_Root);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_IMAGE_PATHS_H
