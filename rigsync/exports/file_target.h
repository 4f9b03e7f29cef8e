// SPDX-License-Identifier: Apache-2.0
//
// Files that other programs load: the targets of 'rigsync export' that are a file and not numbers
// to type. docs/files.md describes each.
#ifndef RIGSYNC_EXPORTS_FILE_TARGET_H
#define RIGSYNC_EXPORTS_FILE_TARGET_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/lens_position.h"
#include "rigsync/engine/tracker_axes.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// What a file is made from. Request_From has what the result itself says. Axes and a sensor that
// nobody has stated are none.
struct File_Request {
  std::filesystem::path Result_File;  // as typed, to name it in the file and in messages
  const Calibration_Result& Result;   // one that can be exported
  std::optional<Tracker_Axes> Axes;
  std::optional<std::array<double, 2>> Sensor_Mm;  // width, height: stated here, or by the result
  std::optional<Lens_Position> At;
  // The capture whose samples, and images, some targets need: stated here, or that of the result.
  std::filesystem::path Capture, Image_Root;
  bool Is_Capture_Stated = false;  // here: then a capture that can't be used is refused
  // What speaks against the result, in sentences; empty for a good one. Who opens the file has not
  // seen what was said while it was made, so every file that has the mount has this too.
  std::string Doubts;
};

File_Request Request_From(const std::filesystem::path& Result_File,
                          const Calibration_Result& Result);

struct File_Text {
  std::string Text;
  std::vector<std::string> Warnings;  // a sentence each
};

// What can be stated of a file, where it means something for the target.
enum class File_Option {
  Axes,  // the file has a tracker
  Sensor,
  Position,  // focus and zoom
  Capture,
  Image_Root,
};

struct File_Target {
  std::string Name;    // the value of --to
  std::string Title;   // the full name
  Engine_Space Space;  // of --tracker-axes
  std::vector<File_Option> Options;
  // Throws Usage_Error, which begins with a flag or with a file, for what the target lacks.
  File_Text (*Write)(const File_Request& Request);
};

bool Has_Use(const File_Target& Target, File_Option Option);

// All of them, in the order in which they are listed for the user.
const std::vector<File_Target>& File_Targets();

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_FILE_TARGET_H
