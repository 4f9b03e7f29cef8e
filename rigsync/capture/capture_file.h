// SPDX-License-Identifier: Apache-2.0
//
// The reader of a capture's CSV file. It reads lines, fields and numbers as the library does, and
// records what is unusual about each line without judging it. docs/conventions.md describes the
// columns, rigsync/inspect/capture_file_findings.h has the findings.
#ifndef RIGSYNC_CAPTURE_CAPTURE_FILE_H
#define RIGSYNC_CAPTURE_CAPTURE_FILE_H

#include "rigsync/capture/tracker_sample.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// Fields of a complete line: field 0 is the user's own number, field 1 the image path, the others
// are the two samples.
constexpr std::size_t Complete_Field_Count = 16;
constexpr std::size_t Image_Field = 1;
constexpr std::size_t First_Sample_Field = 2;

// No tracker reports larger numbers, and the square of a far larger one overflows a double.
constexpr double Largest_Number = 1e9;

// The bytes of a line and the lines of a file that are read. A capture is far below both; a file
// beyond them is not a capture's CSV, and would only fill the memory.
constexpr std::size_t Longest_Csv_Line = 1'000'000;
constexpr std::size_t Most_Csv_Lines = 300'000;

enum class Byte_Order_Mark { None, Utf8, Utf16 };

// The library distinguishes headers from images only: it takes every line that is not a Header for
// an image.
enum class Line_Kind {
  Header,           // begins with a capital T
  Marked_Header,    // a capital T after the byte-order mark
  Blank,            // nothing but blanks
  Header_Like,      // words in place of all numbers, but no capital T
  Other_Separator,  // semicolons or tabs in place of commas
  Utf16,            // a line of a file in UTF-16
  Image
};

enum class Carriage_Return { None, At_End, Inside };

enum class Number_Fault {
  Not_A_Number,  // more or less than one number with blanks around it
  Not_Finite,    // NaN or infinite
  Too_Large      // beyond Largest_Number
};

struct Faulty_Field {
  std::size_t Index = 0;  // counted from 0
  std::string Text;
  Number_Fault Fault = Number_Fault::Not_A_Number;
};

struct Capture_Line {
  std::size_t Line = 0;  // counted from 1
  Line_Kind Kind = Line_Kind::Image;
  Carriage_Return Return = Carriage_Return::None;  // the first one of the line
  std::size_t Field_Count = 0;
  std::string First_Field;  // without a byte-order mark
  char Separator = ',';     // ';' or '\t' for Line_Kind::Other_Separator
  // 16 fields or more, and a number in each field of the samples.
  bool Has_All_Numbers = false;
  // Whether all fields after the 16th are blank. False without such fields.
  bool Are_Surplus_Fields_Blank = false;
  // For an Image, by index: field 0 when it is not a number, and faulty fields of the samples.
  // Missing fields are not listed.
  std::vector<Faulty_Field> Faulty_Fields;
};

// Whether the line has as many fields as one whose 14 numbers of the samples are each cut in two by
// a decimal comma. Field 0 may be a whole number.
bool May_Have_Decimal_Commas(const Capture_Line& Line);

// A line that the library takes for an image, with the values that the library reads: a missing
// field repeats the last one, and a field counts as the number at its start, or as 0 without one.
struct Capture_Row {
  std::size_t Line = 0;  // counted from 1
  std::string Image;     // the path, unchanged
  Tracker_Sample Camera, Board;
  bool Is_Sound = false;  // an Image with all fields, and no faulty number in its samples
  bool Is_Image = true;   // false when its Line_Kind is not Image
};

struct Capture_File {
  Byte_Order_Mark Mark = Byte_Order_Mark::None;
  std::size_t Line_Count = 0, Header_Count = 0;
  std::vector<Capture_Line> Lines;
  std::vector<Capture_Row> Rows;  // every line but the headers
};

// Throws Usage_Error when the file can't be opened or read, is not a regular file, or is beyond
// Longest_Csv_Line or Most_Csv_Lines.
Capture_File Read_Capture_File(const std::filesystem::path& Csv);

struct Capture_Image {
  std::size_t Line = 0;  // of the CSV file, counted from 1
  std::string Name;      // the image path, unchanged
};

// One entry for each image that the library will read from the file, in the library's order. A file
// that can't be opened has none, since the library has an error code for it. A pipe has none
// either: reading it here would leave nothing for the library. Throws Usage_Error when the file
// can't be read, or is beyond Longest_Csv_Line or Most_Csv_Lines.
std::vector<Capture_Image> Read_Image_Names(const std::filesystem::path& Csv);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_CAPTURE_FILE_H
