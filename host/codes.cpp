// SPDX-License-Identifier: Apache-2.0
#include "host/codes.h"

namespace host {
namespace {

// What to say of codes that guard states which no capture leads to.
constexpr const char* Report_It =
    "No capture leads here. Keep the capture and the run log, and report them as a bug.";

}  // namespace

const std::vector<Code_Advice>& All_Codes() {
  static const std::vector<Code_Advice> Codes = {
      {0, "Calibrated: the result is within every limit.",
       "Export it to the engine with 'rigsync export'."},
      {1, "The CSV file can't be opened.", "Check the path, and that this user may read the file."},
      {2, "The capture has not as many tracker rows as images.", Report_It},
      {3, "Gimbal lock: this mount has no unique roll, pitch and yaw in Unreal Engine 4.",
       "Export to ue5, which takes a quaternion, or turn the tracker on the camera by some ten "
       "degrees and calibrate again."},
      {4, "The board was found in fewer than 12 images.",
       "Check that the image paths in the CSV lead to the images, and that --board counts inner "
       "corners, columns first. Then take more images: sharp, evenly lit, the whole board with "
       "its white margin inside the frame."},
      {5, "The lens solve doesn't fit the images: its error is above 1.5 pixels.",
       "Lock zoom and focus during the capture, check that all images have one size and that "
       "--board is right, use a flat and stiff board, and drop blurred images."},
      {6, "Failed: the mount comes out more than 1.5 cm different from image to image.",
       "Check that tracker samples belong to the moment of their image (hold still for each), that "
       "neither tracker is loose, that the CSV holds quaternions as w, x, y, z and metres, and "
       "that --square is measured and not guessed. Then capture again."},
      {7, "Two lists of the reprojection stage differ in length.", Report_It},
      {8, "Two lists of the mount solve differ in length.", Report_It},
      {9, "A rotation vector of the outlier filter has a wrong size.", Report_It},
      {10, "A vector in the outlier filter's dot product has a wrong size.", Report_It},
      {11, "The lists differ in length after the outlier filter.", Report_It},
      {12, "Two lists of the board solve differ in length.", Report_It},
      {13, "Fewer than 5 images are left after the outliers have been removed.",
       "The images don't agree on one mount. Check that the trackers held still for each image and "
       "sit tight, and that --board-euler is right to some tenths of a degree. If the tracker's "
       "axes "
       "are nearly those of the camera (turned by about 0 or 180 degrees), mount it turned by "
       "some tens of degrees."},
      {14, "Failed: predicted and found corners are more than 18 pixels (at 1080 lines) apart.",
       "Look at the reprojection images: red is found, blue is predicted. Blue far off everywhere "
       "means a wrong --square, wrong units or a loose tracker; blue off in some images means bad "
       "tracker samples there. Then capture again."},
      {15, "A line of the CSV file hasn't the 16 fields that it needs.",
       "Compare the file with docs/conventions.md, and record the capture again."},
      {16, "This code is reserved.", "Nothing returns it. If you see it, report it as a bug."},
      {99, "Calibrated, but calibrating again is recommended: a value is near its limit.",
       "The result can be used. For a better one, hold still for each image, spread the board over "
       "the whole frame, and see in the run log which images differ most."},
      {100, "This code is reserved for depth of field.",
       "Nothing returns it. If you see it, report it as a bug."},
  };
  return Codes;
}

Code_Advice Advice_For(int Code) {
  for (const Code_Advice& Advice : All_Codes()) {
    if (Advice.Code == Code) return Advice;
  }
  return {Code, "This code is unknown to this version of the command.",
          "Check that command and library are of one version."};
}

bool Is_Usable(int Code) {
  return Code == 0 || Code == 99;
}

}  // namespace host
