// SPDX-License-Identifier: Apache-2.0
//
// What a calibration's run log says about the run: how far it got, which images were dropped and
// why, and how well the result fits. The library's call returns a code and numbers for engines; the
// rest is in the log alone (docs/run-log.md).
#ifndef RIGSYNC_CALIBRATE_RUN_REPORT_H
#define RIGSYNC_CALIBRATE_RUN_REPORT_H

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

// The steps of a run, in their order.
enum class Run_Step {
  Begun,
  Finding_Boards,
  Logging_Corners,  // all boards were searched; the corners are being written to the log
  Solving_Lens,
  Solving_Mount,
  Removing_Outliers,
  Solving_Mount_Again,
  Writing_Images,  // the reprojection images, one by one
  Ended,
};

// What became of an image that the run has begun to search. Unknown: too few images remained after
// the outlier filter, and the log does not say whether this was one of them.
enum class Image_Fate { Kept, Unreadable, No_Board, Outlier, Unknown };

struct Image_Report {
  std::string Name;  // the image path as written in the CSV
  Image_Fate Fate = Image_Fate::Kept;
  // Angle between this image's rotation axis and the mean axis, degrees; from the outlier filter.
  std::optional<double> Axis_Difference_Deg;
  // Mean distance between found and predicted corners, pixels, in the last pass that measured it.
  std::optional<double> Reprojection_Px;
  // The same in the first pass, before outliers were removed.
  std::optional<double> First_Reprojection_Px;
};

// Whether the run found the board in the image.
bool Shows_A_Board(const Image_Report& Image);

// Whether the angle of the image's rotation axis is beyond the outlier filter's limit. An outlier
// for which it is not was dropped for its position.
bool Is_Axis_Beyond_Limit(const Image_Report& Image);

// Numbers have the six decimals of the log. What the run did not reach is empty.
struct Run_Report {
  std::string Version;  // of the library
  Run_Step Step = Run_Step::Begun;
  std::vector<Image_Report> Images;  // those that the run has begun to search, in the CSV's order
  std::optional<double> Lens_Rms_Px;
  // Standard deviation of the mounts' positions in the outlier filter, metres, x y z of Cam.
  std::optional<std::array<double, 3>> Filter_Spread_M;
  // How many images would have remained after the outlier filter; set only when they were too few.
  // The log then names no outlier, so that only those beyond the axis limit are known, unless the
  // count decides about the rest.
  std::optional<std::size_t> Too_Few_Remaining;
  // Average reprojection error before and after the outliers were removed, pixels.
  std::optional<double> First_Reprojection_Px, Reprojection_Px;
  std::optional<double> Norm_Reprojection;  // the latter as a fraction of the image height
  // Standard deviation of the kept images' mount positions, metres, x y z of Cam, and the largest
  // of the three, which is what the library judges.
  std::optional<std::array<double, 3>> Spread_M;
  std::optional<double> Max_Spread_M;
};

// The number of images with this fate so far. Until the outlier filter has run, every image with a
// board counts as kept.
std::size_t Count_Images(const Run_Report& Report, Image_Fate Fate);

// The number of images that remain without the outliers, whether or not the log names these.
std::size_t Count_Remaining(const Run_Report& Report);

// Reads a run log line by line. Lines without information for the report, and lines that were cut
// short, are skipped.
class Run_Log_Reader {
 public:
  // A line without its newline: time, tab, message.
  void Take_Line(std::string_view Line);

  // What the lines so far say.
  const Run_Report& Report() const { return Partial; }

  // Where the last line stood: in the corner dump, whose lines are no messages, and how many images
  // the dump has named with it.
  bool Is_In_Dump() const { return Is_In_Corner_Dump; }
  std::size_t Dumped_Count() const { return Dumped_Images; }

 private:
  // Whether Message is the mark that ends the corner dump.
  bool Ends_Corners(std::string_view Message);

  Run_Report Partial;
  // The dump has lines that consist of an image path alone, which is not a message even when it
  // reads like one.
  bool Is_In_Corner_Dump = false;
  std::size_t Dumped_Images = 0;
};

// The report of a whole log; an empty one when the file can't be opened.
Run_Report Read_Run_Report(const std::filesystem::path& Run_Log);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_REPORT_H
