// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/codes.h"

#include <algorithm>

namespace rigsync {
namespace {

// What to say of codes that guard states which no capture leads to.
constexpr const char* Report_It =
    "No capture leads here. Keep the capture and the run log, and report them as a bug.";
constexpr const char* Nothing_Returns_It = "Nothing returns it. If you see it, report it as a bug.";
constexpr const char* Fault = "A fault of the library, not of the capture.";
constexpr const char* No_Transform =
    "The lens was solved, the mount was not: there is no transform to use.";
constexpr const char* Mixed_Versions = "Command and library are of different versions.";

// A list that a stage of the library guards.
Code_Advice Guard(int Code, const char* Meaning) {
  return {Code, Meaning, Report_It, No_Transform, {Fault}};
}

std::vector<Code_Advice> Codes_Of_A_Capture() {
  return {
      {0,
       "Calibrated: the result is within every limit.",
       "Export it to the engine with 'rigsync export'.",
       "The mount came out alike from image to image, and the corners that it predicts lie where "
       "they were found. Lens and transform can be used.",
       {"Enough sharp boards, and tracker samples of the moment of their images."}},
      {1,
       "The CSV file can't be opened.",
       "Check the path, and that this user may read the file.",
       "Nothing was read, so there is nothing to use.",
       {"The path is mistyped, or starts in another folder than the command does.",
        "The capture was not copied whole, or its drive is not mounted.",
        "The file may be read by another user only."}},
      {4,
       "The board was found in fewer than 12 images.",
       "Check that the CSV has a line for each image, with commas between its fields, that the "
       "image paths in it lead to the images, and that --board counts inner corners, columns "
       "first. Then take more images: sharp, evenly lit, the whole board with its white margin "
       "inside the frame.",
       "There are too few boards to solve a lens from, so there is nothing to use.",
       {"The image paths in the CSV don't lead to the images.",
        "--board doesn't count the inner corners: 11x8 is a board of 12 by 9 squares.",
        "The CSV is empty, or has semicolons where it needs commas.",
        "Boards are blurred, glare, are too small, or reach out of the frame.",
        "Fewer than 12 images were taken."}},
      {5,
       "The lens solve doesn't fit the images: its error is above 1.5 pixels.",
       "Lock zoom and focus during the capture, check that all images have one size and that "
       "--board is right, use a flat and stiff board, and drop blurred images.",
       "No single lens puts the corners where they were found. The mount was not solved, and "
       "nothing can be used.",
       {"Zoom or focus changed during the capture.", "The board is bent, or bends when it is held.",
        "Images are blurred by movement.", "The images are not all of one size.",
        "--board counts fewer corners than the board has, and a part of it was found."}},
      {6,
       "Failed: the mount comes out more than 1.5 cm different from image to image.",
       "Check that tracker samples belong to the moment of their image (hold still for each), that "
       "neither tracker is loose, that the CSV holds quaternions as w, x, y, z and metres, and "
       "that --square is measured and not guessed. Then capture again.",
       "Each image gives its own place for the tracker on the camera, and these places scatter "
       "further than a mount can move. The transform is there to look at, not to use.",
       {"Tracker samples are of another moment than their images.",
        "A tracker is loose, or was moved on its mount during the capture.",
        "The CSV's quaternions are in another order than w, x, y, z, or its positions are not "
        "metres.",
        "--square is not what a square measures on the printed board."}},
      {13,
       "Fewer than 5 images are left after the outliers have been removed.",
       "The images don't agree on one mount. Check that the trackers held still for each image and "
       "sit tight, and that --board-euler is right to some tenths of a degree. If the tracker's "
       "axes are nearly those of the camera (turned by about 0 or 180 degrees), mount it turned by "
       "some tens of degrees. If the axis of one image is much further off than those of the "
       "others, "
       "leave its line out of the CSV; 'rigsync inspect' names such lines.",
       "Nearly every image contradicts the mean of all images. The lens was solved, the mount was "
       "not: there is no transform to use.",
       {"The camera, the board or a tracker moved while images were taken.",
        "--board-euler is off by more than some tenths of a degree.",
        "--board names rows first: 8x11 where 11x8 is meant.",
        "The CSV's quaternions are in another order than w, x, y, z.",
        "One sample is so far off that it moves the mean that all are measured against.",
        ("The tracker's axes are nearly those of the camera, where the filter, which compares "
         "rotation axes, has none to hold on to.")}},
      {14,
       "Failed: predicted and found corners are more than 18 pixels (at 1080 lines) apart.",
       "Look at the reprojection images: red is found, blue is predicted. Blue far off everywhere "
       "means a wrong --square, wrong units or a loose tracker; blue off in some images means bad "
       "tracker samples there. Then capture again.",
       "The mount is steady from image to image, but it doesn't put the board where the camera "
       "saw it. The transform is there to look at, not to use.",
       {"--square is not what a square measures on the printed board, or positions in the CSV are "
        "not metres.",
        "A tracker is loose, or was moved on its mount during the capture.",
        "Some images have tracker samples of another moment."}},
      {99,
       "Calibrated, but calibrating again is recommended: a value is near its limit.",
       "The result can be used. For a better one, hold still for each image, spread the board over "
       "the whole frame, and see in the run log which images differ most.",
       "The mount scatters by more than 1 cm on an axis, or the average reprojection error is "
       "above 12 pixels at 1080 lines. The scatter is judged first, so look at the error too.",
       {"Some tracker samples are of another moment than their images.",
        "The boards stand too much alike: one place in the frame, one tilt, one distance.",
        "--square or --board-euler is a little off."}},
  };
}

std::vector<Code_Advice> Codes_Of_An_Export() {
  return {{3,
           "Gimbal lock: this mount has no unique roll, pitch and yaw in Unreal Engine 4.",
           "Export to ue5, which takes a quaternion, or turn the tracker on the camera by some ten "
           "degrees and calibrate again.",
           "The calibration itself is not in doubt. Its rotation has a pitch of almost exactly 90 "
           "or -90 degrees, where roll and yaw turn about one axis.",
           {"The tracker sits on the camera turned by a right angle."}}};
}

std::vector<Code_Advice> Codes_That_No_Capture_Leads_To() {
  return {
      {2,
       "The capture has not as many tracker rows as images.",
       Report_It,
       "Nothing was solved, so there is nothing to use.",
       {Fault}},
      Guard(7, "Two lists of the reprojection stage differ in length."),
      Guard(8, "Two lists of the mount solve differ in length."),
      Guard(9, "A rotation vector of the outlier filter has a wrong size."),
      Guard(10, "A vector in the outlier filter's dot product has a wrong size."),
      Guard(11, "The lists differ in length after the outlier filter."),
      Guard(12, "Two lists of the board solve differ in length."),
      {15,
       "A line of the CSV file hasn't the 16 fields that it needs.",
       "Compare the file with docs/conventions.md, and record the capture again.",
       "Lines of any length are read, so nothing returns it.",
       {Mixed_Versions}},
      {16,
       "This code is reserved.",
       Nothing_Returns_It,
       "It has no meaning on a stage.",
       {Mixed_Versions}},
      {100,
       "This code is reserved for depth of field.",
       Nothing_Returns_It,
       "It has no meaning on a stage.",
       {Mixed_Versions}},
  };
}

std::vector<Code_Advice> Sorted_Codes() {
  std::vector<Code_Advice> Codes = Codes_Of_A_Capture();
  for (const auto& More : {Codes_Of_An_Export(), Codes_That_No_Capture_Leads_To()}) {
    Codes.insert(Codes.end(), More.begin(), More.end());
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
          "Check that command and library are of one version.",
          "Nothing can be said of the capture.",
          {Mixed_Versions}};
}

bool Is_Usable(int Code) {
  return Code == 0 || Code == 99;
}

bool May_Lie_In_The_Capture(int Code) {
  return Code == 4 || Code == 5 || Code == 6 || Code == 13 || Code == 14 || Code == 99;
}

}  // namespace rigsync
