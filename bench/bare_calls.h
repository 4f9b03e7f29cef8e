// SPDX-License-Identifier: Apache-2.0
//
// The OpenCV calls that Calibration can't do without, with nothing around them, each timed: one
// decode, resize, two grey images, detection and refinement per image, one lens solve, and one
// decode and encode per image that Calibration annotates.
#ifndef RIGSYNC_BENCH_BARE_CALLS_H
#define RIGSYNC_BENCH_BARE_CALLS_H

#include <opencv2/core.hpp>

#include <filesystem>
#include <string>
#include <vector>

// The reprojection image of a path: a backslash alone ends the folder, as in the library, so that
// images/0001.png becomes Reproject_images/0001.png.
std::filesystem::path Reprojection_Path(const std::filesystem::path& Output,
                                        const std::string& Path);

// Field 1 of every line behind the header.
std::vector<std::string> Image_Paths(const std::filesystem::path& Csv);

// Those of Paths whose reprojection image lies in Output.
std::vector<std::string> Annotated_Paths(const std::filesystem::path& Output,
                                         const std::vector<std::string>& Paths);

struct Bare_Job {
  std::vector<std::string> Paths;      // of all images
  std::vector<std::string> Annotated;  // of those that Calibration wrote again
  cv::Size Board;                      // inner corners
  double Square_Size = 0;              // metres
  std::filesystem::path Output;        // for what is encoded
  bool Draws = false;                  // the discs as well, which are Calibration's own work
};

// Seconds in each call, summed over the images.
struct Bare_Times {
  double Decode = 0, Reduce = 0, Search = 0, Refine = 0, Lens = 0;
  double Decode_Again = 0, Draw = 0, Encode = 0;
};

// Throws std::runtime_error when an image can't be read.
Bare_Times Call_Bare(const Bare_Job& Job);

#endif  // RIGSYNC_BENCH_BARE_CALLS_H
