// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/codes.h"

#include "rigsync/capture/library_limits.h"

#include <fmt/format.h>

#include <algorithm>

namespace rigsync {
namespace {

namespace limits = library_limits;

constexpr const char* Report_It =
    "No capture can cause this. Keep the capture and the run log, and report a bug.";
constexpr const char* Never_Returned = "It is never returned. If you see it, report a bug.";
constexpr const char* Library_Fault = "A fault in the library, not in the capture.";
constexpr const char* No_Transform =
    "The lens was solved, the mount was not: there is no transform to use.";
constexpr const char* Other_Moment =
    "Tracker samples were taken at a different moment than their images.";
constexpr const char* Loose_Tracker =
    "A tracker is loose, or moved on its mount during the capture.";
constexpr const char* Quaternion_Order =
    "The quaternions in the CSV are in an order other than w, x, y, z.";
constexpr const char* Mixed_Versions = "The command and the library are of different versions.";

// A code that guards the lists of a stage of the library.
Code_Advice Guard(int Code, const char* Meaning) {
  return {Code, Meaning, Report_It, No_Transform, {Library_Fault}};
}

std::vector<Code_Advice> Capture_Codes() {
  return {
      {0,
       "Calibrated: the result is within every limit.",
       "Export it to the engine with 'rigsync export'.",
       "The mount is consistent from image to image, and the corners that it predicts lie where "
       "they were found. Lens and transform can be used.",
       {"Enough sharp board images, and tracker samples taken at the moment of their images."}},
      {1,
       "The CSV file can't be opened.",
       "Check the path, and that you have permission to read the file.",
       "Nothing was read, so there is nothing to use.",
       {"The path is mistyped, or is relative to a folder other than the one the command runs in.",
        "The capture was not copied completely, or its drive is not mounted.",
        "Only another user may read the file."}},
      {4,
       fmt::format("The board was found in fewer than {} images.", limits::Least_Boards),
       "Check that the CSV has one line for each image, with commas between the fields, that its "
       "image paths lead to the images, and that --board counts inner corners, columns first. Then "
       "take more images: sharp, evenly lit, with the whole board and its white margin inside the "
       "frame.",
       "There are too few board images to solve a lens, so there is nothing to use.",
       {"The image paths in the CSV do not lead to the images.",
        "--board does not count the inner corners: 11x8 is a board of 12 by 9 squares.",
        "The CSV is empty, or has semicolons where it needs commas.",
        "The board is blurred, shows glare, is too small, or extends beyond the frame.",
        fmt::format("Fewer than {} images were taken.", limits::Least_Boards)}},
      {5,
       fmt::format(
           "The lens solve does not fit the images: its RMS reprojection error is above {:g} "
           "pixels.",
           limits::Lens_Rms_Px),
       "Lock zoom and focus during the capture, check that all images have the same size and that "
       "--board is right, use a flat and stiff board, and remove blurred images.",
       "No single lens puts the corners where they were found. The mount was not solved, and "
       "nothing can be used.",
       {"Zoom or focus changed during the capture.", "The board is bent, or bends when it is held.",
        "Images have motion blur.", "The images do not all have the same size.",
        "--board counts fewer corners than the board has, and only a part of the board was "
        "found."}},
      {6,
       fmt::format("Failed: the standard deviation of the mount's position is above {:g} mm.",
                   limits::Usable_Spread_Mm),
       "Check that tracker samples belong to the moment of their image (hold still for each), that "
       "neither tracker is loose, that the CSV holds quaternions as w, x, y, z and positions in "
       "metres, and that --square is measured and not guessed. Then capture again.",
       "Each image gives its own position of the tracker on the camera, and these positions vary "
       "more than a mount can move. The transform is delivered for inspection, not for use.",
       {Other_Moment, Loose_Tracker,
        "The quaternions in the CSV are in an order other than w, x, y, z, or its positions are "
        "not in metres.",
        "--square is not the size of a square on the printed board."}},
      {13,
       fmt::format("Fewer than {} images remain after the outliers have been removed.",
                   limits::Least_Kept),
       "The images do not agree on one mount. Check that the trackers were held still for each "
       "image and are firmly attached. If the rotation axis of one image is much further off than "
       "those of the others, remove its line from the CSV; 'rigsync inspect' names such lines. In "
       "a host, or with --library-only, check too that the board's angles are right to a few "
       "tenths of a degree.",
       "Nearly every image contradicts the mean of all images. The lens was solved, the mount was "
       "not: there is no transform to use.",
       {"The camera, the board or a tracker moved while images were taken.", Quaternion_Order,
        "One sample is so far off that it shifts the mean that all images are compared with.",
        "In a host, or with --library-only: the board's angles are off by more than a few tenths "
        "of a degree, or --board gives rows first: 8x11 instead of 11x8.",
        "In a host, or with --body-axes as-given: the tracker's axes are nearly those of the "
        "camera. Such a mount has no definite rotation axis, and the outlier filter compares "
        "rotation axes. Mount the tracker rotated by some tens of degrees."}},
      {14,
       fmt::format("Failed: the reprojection error is above {:g} pixels in an image of {:g} lines.",
                   limits::Usable_Reprojection_Px, limits::Reference_Height_Px),
       "Look at the reprojection images: red corners were found, blue corners are predicted. If "
       "blue is far off everywhere, --square or a unit is wrong or a tracker is loose; if it is "
       "off in some images, these have bad tracker samples. Then capture again.",
       "The mount is consistent from image to image, but it does not put the board where the "
       "camera saw it. The transform is delivered for inspection, not for use.",
       {"--square is not the size of a square on the printed board, or positions in the CSV are "
        "not in metres.",
        Loose_Tracker, Other_Moment}},
      {99,
       "Calibrated, but recalibration is recommended: a value is near its limit.",
       "The result can be used. For a better one, hold still for each image, spread the board over "
       "the whole frame, and check in the run log which images deviate most.",
       fmt::format("The standard deviation of the mount's position is above {:g} mm on an axis, or "
                   "the average reprojection error is above {:g} pixels in an image of {:g} lines. "
                   "The deviation is judged first, so check the error too.",
                   limits::Good_Spread_Mm, limits::Good_Reprojection_Px,
                   limits::Reference_Height_Px),
       {Other_Moment,
        "The board poses are too similar: one position in the frame, one tilt, one distance.",
        "--square is slightly off; in a host, or with --library-only, perhaps the board's "
        "angles."}},
  };
}

std::vector<Code_Advice> Export_Codes() {
  return {{3,
           "Gimbal lock: this mount has no unique roll, pitch and yaw in Unreal Engine 4.",
           "Export to ue5, which takes a quaternion, or with other --tracker-axes, or rotate the "
           "tracker on the camera by about ten degrees and calibrate again.",
           "The calibration itself is valid. Its rotation has a pitch of almost exactly 90 or -90 "
           "degrees, where roll and yaw turn about the same axis.",
           {"The tracker is mounted at a right angle to the camera."}}};
}

std::vector<Code_Advice> Internal_Codes() {
  return {
      {2,
       "The number of tracker rows differs from the number of images.",
       Report_It,
       "Nothing was solved, so there is nothing to use.",
       {Library_Fault}},
      Guard(7, "Two lists of the reprojection stage differ in length."),
      Guard(8, "Two lists of the mount solve differ in length."),
      Guard(9, "A rotation vector of the outlier filter has the wrong size."),
      Guard(10, "A vector in the outlier filter's dot product has the wrong size."),
      Guard(11, "The lists differ in length after the outlier filter."),
      Guard(12, "Two lists of the board solve differ in length."),
      {15,
       "A line of the CSV file does not have the 16 fields that it needs.",
       "Compare the file with docs/conventions.md, and record the capture again.",
       "Lines of any length are read, so this code is never returned.",
       {Mixed_Versions}},
      {16,
       "This code is reserved.",
       Never_Returned,
       "It has no meaning on a stage.",
       {Mixed_Versions}},
      {100,
       "This code is reserved for depth of field.",
       Never_Returned,
       "It has no meaning on a stage.",
       {Mixed_Versions}},
  };
}

std::vector<Code_Advice> Sorted_Codes() {
  std::vector<Code_Advice> Codes = Capture_Codes();
  for (const auto& Group : {Export_Codes(), Internal_Codes()}) {
    Codes.insert(Codes.end(), Group.begin(), Group.end());
  }
  std::sort(Codes.begin(), Codes.end(),
            [](const Code_Advice& A, const Code_Advice& B) { return A.Code < B.Code; });
  return Codes;
}

}  // namespace

const std::vector<Code_Advice>& All_Codes() {
  static const std::vector<Code_Advice> Codes = Sorted_Codes();
  return Codes;
}

Code_Advice Advice_For(int Code) {
  for (const Code_Advice& Advice : All_Codes()) {
    if (Advice.Code == Code) return Advice;
  }
  return {Code,
          "This code is unknown to this version of the command.",
          "Check that the command and the library are of the same version.",
          "Nothing can be said about the capture.",
          {Mixed_Versions}};
}

bool Is_Usable_Code(int Code) {
  return Code == 0 || Code == 99;
}

bool May_Blame_Capture(int Code) {
  return Code == 4 || Code == 5 || Code == 6 || Code == 13 || Code == 14 || Code == 99;
}

}  // namespace rigsync
