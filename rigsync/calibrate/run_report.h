// SPDX-License-Identifier: Apache-2.0
//
// What a calibration's run log tells about the run: how far it came, which images were dropped and
// why, and how well the result fits. The library's call gives a code and numbers for engines; all
// the rest that a person wants to know stands in the log (docs/run-log.md).
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

// Where a run is, in the order in which it gets there.
enum class Run_Step {
  Begun,
  Finding_Boards,
  Logging_Corners,  // the boards are found, their corners are written to the log
  Solving_Lens,
  Solving_Mount,
  Removing_Outliers,
  Solving_Mount_Again,
  Writing_Images,  // the reprojection images, one after the other
  Ended,
};

// What became of an image that the run looked at. Unknown: the run ended because too few were left,
// and its log doesn't tell whether this was one of them.
enum class Image_Fate { Kept, Unreadable, No_Board, Outlier, Unknown };

struct Image_Report {
  std::string Name;  // the image path as it stands in the CSV
  Image_Fate Fate = Image_Fate::Kept;
  // Angle between this image's rotation axis and the mean's, degrees; from the outlier filter.
  std::optional<double> Axis_Difference_Deg;
  // Mean distance of found and predicted corners, pixels: of the last pass that measured it.
  std::optional<double> Reprojection_Px;
};

// The library's limit for the angle of an image's rotation axis to the mean's (docs/codes.md): its
// log tells what was measured, not what it was measured against.
constexpr double Axis_Limit_Deg = 0.5;

// Whether an image's axis is beyond the limit. An outlier whose axis isn't is one by its position.
bool Is_Axis_Off(const Image_Report& Image);

// Numbers have the six decimals of the log. What the log didn't get to is empty.
struct Run_Report {
  std::string Version;  // of the library
  Run_Step Step = Run_Step::Begun;
  std::vector<Image_Report> Images;  // in the order of the CSV, those that the run has begun
  std::optional<double> Lens_Rms_Px;
  // Spread of the mounts about their mean when outliers were looked for, metres, x y z of Cam.
  std::optional<std::array<double, 3>> Filter_Spread_M;
  // Set when the outliers would have left too few images: how many. The log then names no outlier.
  // The axis tells some, the number left may tell the rest; else the rest is unknown.
  std::optional<std::size_t> Too_Few_Left;
  // Average reprojection error before the outliers were removed and after, pixels.
  std::optional<double> First_Reprojection_Px, Reprojection_Px;
  std::optional<double> Norm_Reprojection;  // the latter as a fraction of the image height
  // Spread of the mounts of the kept images, metres, and its largest axis: what the verdict judges.
  std::optional<std::array<double, 3>> Spread_M;
  std::optional<double> Max_Spread_M;
};

// How many images met this fate so far. Before the run has looked for outliers, every image with a
// board counts as kept.
std::size_t Count_Of(const Run_Report& Report, Image_Fate Fate);

// How many images are left when the outliers are gone, whether or not the log names them.
std::size_t Count_Left(const Run_Report& Report);

// Takes a run log line by line. A line that says nothing to a report, or that was cut short, is
// passed over.
class Run_Log_Reader {
 public:
  // A line without its newline: time, tab, message.
  void Take_Line(std::string_view Line);

  const Run_Report& Report() const { return So_Far; }

 private:
  Run_Report So_Far;
  // Whether Message is the mark that ends the corner dump.
  bool Ends_Corners(std::string_view Message);

  // Between the marks of the corner dump, where an image path stands alone on a line: whatever it
  // says, it is no message.
  bool Within_Corners = false;
  std::size_t Dumped = 0;  // how many images the dump has begun
};

// The report of a whole log. A file that can't be opened gives an empty one.
Run_Report Read_Run_Report(const std::filesystem::path& Run_Log);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RUN_REPORT_H
