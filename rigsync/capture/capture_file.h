// SPDX-License-Identifier: Apache-2.0
//
// A capture's CSV file, line by line, read the way the library reads it, with everything told that
// the library takes in silence. docs/conventions.md describes the columns, docs/inspect.md what is
// told of them.
#ifndef RIGSYNC_CAPTURE_CAPTURE_FILE_H
#define RIGSYNC_CAPTURE_CAPTURE_FILE_H

#include "rigsync/capture/finding.h"
#include "rigsync/capture/tracker_sample.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// A data line with the values that the library gives it: a missing field repeats the last one, and
// a text without a number at its front is 0.
struct Capture_Row {
  std::size_t Line = 0;  // counted from 1
  std::string Image;     // the path as it stands there
  Tracker_Sample Camera, Board;
  bool Is_Sound = false;  // all fields are there, and those of the samples are usable numbers
  bool Is_Image = true;   // false for what was told to be a blank line, a header in disguise, or a
                          // line that no comma divides
};

struct Capture_File {
  std::size_t Line_Count = 0, Header_Count = 0;
  std::vector<Capture_Row> Rows;  // every line that the library takes for an image
};

// Reads the file and tells of fields, numbers, headers, blank lines, carriage returns and
// byte-order marks. Throws Usage_Error when the file can't be opened or is no regular file.
Capture_File Read_Capture_File(const std::filesystem::path& Csv, Findings& Told);

struct Capture_Image {
  std::size_t Line = 0;  // of the CSV file, counted from 1
  std::string Name;      // the image path as it stands there
};

// One entry for each data line, by the library's own reading of the file: a line that begins with
// a capital T is a header, and a line that ends before the path repeats its only field. A file that
// can't be opened gives no entry; the library's code tells that. Nor does a pipe: reading it would
// take the lines from the library.
std::vector<Capture_Image> Read_Image_Names(const std::filesystem::path& Csv);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_CAPTURE_FILE_H
