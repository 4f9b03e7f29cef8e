// SPDX-License-Identifier: Apache-2.0
//
// The OpenCV calls that Calibration cannot do without, each timed and with nothing else around
// them: one decode, resize, two grey images, detection and refinement per image, one lens solve,
// and one decode and encode per image that Calibration annotates.
#ifndef RIGSYNC_BENCH_BARE_CALLS_H
#define RIGSYNC_BENCH_BARE_CALLS_H

#include <opencv2/core.hpp>

#include <filesystem>
#include <string>
#include <vector>

// The reprojection image of a path. Only a backslash separates folders here, as in the library, so
// images/0001.png becomes Reproject_images/0001.png.
std::filesystem::path Reprojection_Path(const std::filesystem::path& Output,
                                        const std::string& Path);

// Field 1 of every line after the header.
std::vector<std::string> Image_Paths(const std::filesystem::path& Csv);

// Those of Paths whose reprojection image is in Output.
std::vector<std::string> Annotated_Paths(const std::filesystem::path& Output,
                                         const std::vector<std::string>& Paths);

struct Bare_Job {
  std::vector<std::string> Paths;      // of all images
  std::vector<std::string> Annotated;  // of the images that Calibration annotated
  cv::Size Board;                      // inner corners
  double Square_Size = 0;              // metres
  std::filesystem::path Output;        // for encoded images
  bool Draws = false;                  // the discs too, which are drawn by Calibration itself
};

// Seconds in each call, summed over the images.
struct Bare_Times {
  double Decode = 0, Reduce = 0, Search = 0, Refine = 0, Lens = 0;
  double Decode_Again = 0, Draw = 0, Encode = 0;
};

// Throws std::runtime_error when an image cannot be read.
Bare_Times Call_Bare(const Bare_Job& Job);

#endif  // RIGSYNC_BENCH_BARE_CALLS_H
