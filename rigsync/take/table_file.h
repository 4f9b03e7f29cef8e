// SPDX-License-Identifier: Apache-2.0
//
// A text file with a table of numbers, read line by line, and the refusals that name file, line and
// cell. Numbers have a decimal point, whatever the locale.
#ifndef RIGSYNC_TAKE_TABLE_FILE_H
#define RIGSYNC_TAKE_TABLE_FILE_H

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

class Table_File {
 public:
  // Argument begins the refusals: "TAKE". Throws Usage_Error if the file can't be opened, is no
  // regular file, or is in UTF-16.
  Table_File(std::filesystem::path File, std::string Argument);

  // Goes to the next line. False at the end of the file. Throws Usage_Error for a line of a length
  // that no table has.
  bool Next();
  // Goes to the next line that is not blank.
  bool Next_With_Text();
  // Makes Next stay on this line once.
  void Stay() { Stays = true; }
  // Goes back to before the first line.
  void Rewind();

  // The line in UTF-8, without its end and without a byte-order mark. One that is not UTF-8 in the
  // file is taken for Latin-1, in which older programs write names with accents.
  std::string_view Text() const { return Line_Text; }
  std::size_t Line() const { return Line_Number; }  // counted from 1
  const std::filesystem::path& Path() const { return File; }

  // Throw Usage_Error: "TAKE: FILE: WHY", "TAKE: FILE: line 12: WHY".
  [[noreturn]] void Refuse(const std::string& Why) const;
  [[noreturn]] void Refuse_Line(const std::string& Why) const;

 private:
  bool Fill();

  std::filesystem::path File;
  std::string Argument;
  std::ifstream Stream;
  std::string Buffer, Line_Text;
  std::size_t Position = 0, Line_Number = 0;
  bool Stays = false;
};

using Cells = std::vector<std::string_view>;

// The cells of a line, without blanks around them and without the quotes of a quoted cell, in which
// a separator is text. Runs of blanks are one separator if Separator is ' '.
void Split_Cells(std::string_view Line, char Separator, Cells& Into);

struct Cell_Value {
  enum class Kind {
    Number,
    Blank,
    Unusable,  // NaN, infinite or beyond Largest_Number
    Text       // no number
  };
  Kind Is = Kind::Blank;
  double Value = 0;  // 0 but for a Number
};

// Number of a sample.
Cell_Value Read_Cell(std::string_view Cell);

// The same without a limit: a time in nanoseconds is a large number.
Cell_Value Read_Time_Cell(std::string_view Cell);

// A text of the file as a message shows it: on one line, in quotes, not longer than 40 bytes.
std::string Shown(std::string_view Text);

}  // namespace rigsync

#endif  // RIGSYNC_TAKE_TABLE_FILE_H
