// SPDX-License-Identifier: Apache-2.0
//
// Readers of the files that 'rigsync export' writes. They have the text alone, and what
// docs/files.md says of it: nothing here shares code with what writes the files.
#ifndef RIGSYNC_VERIFY_FILE_READER_H
#define RIGSYNC_VERIFY_FILE_READER_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/verify/exported_camera.h"

#include <array>
#include <string>
#include <vector>

namespace rigsync {

// What the file was asked to be.
struct Read_Request {
  const Calibration_Result& Result;
  Tracker_Axes Axes = Tracker_Axes::Identity();  // of the tracker's object
  std::array<double, 2> Sensor_Mm{};             // width, height
};

struct File_Reader {
  const char* Name;  // of the target
  // The axes of the tracker's object where nobody asks for others.
  Tracker_Axes (*Own_Axes)(const Calibration_Result& Result);
  // Throws std::runtime_error for a text that isn't such a file or says that it is another one.
  Exported_Camera (*Read)(const std::string& Text, const Read_Request& Request);
};

// For each target that has the camera's pose. Corners have none.
const std::vector<File_Reader>& File_Readers();

// Pinhole and distortion of the solved camera with one focal length, that of x, on this sensor.
Lens One_Focal_Length(const Lens& Solved, double Width_Px, double Height_Px,
                      const std::array<double, 2>& Sensor_Mm);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_FILE_READER_H
