// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/table_file.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t Block_Size = std::size_t{1} << 16;
// A line of a hundred bodies with twenty columns each is not half as long. A file without line ends
// would otherwise be read into memory as a whole.
constexpr std::size_t Longest_Line = std::size_t{1} << 20;
constexpr std::string_view Blanks = " \t\r";

std::string_view Trimmed(std::string_view Text) {
  const std::size_t First = Text.find_first_not_of(Blanks);
  if (First == std::string_view::npos) return {};
  return Text.substr(First, Text.find_last_not_of(Blanks) - First + 1);
}

void Split_At_Blanks(std::string_view Line, Cells& Into) {
  std::size_t First = Line.find_first_not_of(Blanks);
  while (First != std::string_view::npos) {
    const std::size_t End = std::min(Line.find_first_of(Blanks, First), Line.size());
    Into.push_back(Line.substr(First, End - First));
    First = Line.find_first_not_of(Blanks, End);
  }
}

// Where the cell that begins at First ends: at the next separator that is not between quotes.
std::size_t End_Of_Cell(std::string_view Line, std::size_t First, char Separator) {
  std::size_t Start = First;
  while (Start < Line.size() && Line[Start] == ' ') ++Start;
  if (Start < Line.size() && Line[Start] == '"') {
    const std::size_t Quote = Line.find('"', Start + 1);
    if (Quote != std::string_view::npos) First = Quote;
  }
  return std::min(Line.find(Separator, First), Line.size());
}

std::string_view Unquoted(std::string_view Cell) {
  const bool Is_Quoted = Cell.size() >= 2 && Cell.front() == '"' && Cell.back() == '"';
  return Is_Quoted ? Trimmed(Cell.substr(1, Cell.size() - 2)) : Cell;
}

// Of what from_chars found out of the range of a double: a number next to 0 counts as 0.
bool Is_Next_To_Zero(std::string_view Cell) {
  const std::size_t Exponent = Cell.find_first_of("eE");
  return Exponent != std::string_view::npos && Cell.substr(Exponent + 1, 1) == "-";
}

// The number of bytes of the character that begins with this byte; 0 for none.
std::size_t Character_Length(unsigned char First) {
  if (First < 0x80) return 1;
  if (First >= 0xc2 && First < 0xe0) return 2;
  if (First >= 0xe0 && First < 0xf0) return 3;
  return First >= 0xf0 && First < 0xf5 ? 4 : 0;
}

bool Is_Continuation(char Byte) {
  return (static_cast<unsigned char>(Byte) & 0xc0) == 0x80;
}

// The second byte of a character excludes long forms of others, surrogates, and what is above
// U+10FFFF.
bool Is_Second_Byte(unsigned char First, unsigned char Second) {
  if (First == 0xe0) return Second >= 0xa0;
  if (First == 0xed) return Second < 0xa0;
  if (First == 0xf0) return Second >= 0x90;
  if (First == 0xf4) return Second < 0x90;
  return true;
}

// Names of a file end up in JSON, which has to be UTF-8.
bool Is_Utf8(std::string_view Text) {
  for (std::size_t i = 0; i < Text.size();) {
    const auto First = static_cast<unsigned char>(Text[i]);
    const std::size_t Length = Character_Length(First);
    if (Length == 0 || Length > Text.size() - i) return false;
    for (std::size_t k = 1; k < Length; ++k) {
      if (!Is_Continuation(Text[i + k])) return false;
    }
    if (Length > 1 && !Is_Second_Byte(First, static_cast<unsigned char>(Text[i + 1]))) return false;
    i += Length;
  }
  return true;
}

// Each byte is the character of its number.
std::string From_Latin_1(std::string_view Text) {
  std::string Result;
  for (const char Letter : Text) {
    const auto Code = static_cast<unsigned char>(Letter);
    if (Code < 0x80) {
      Result += Letter;
    } else {
      Result += static_cast<char>(0xc0 | (Code >> 6));
      Result += static_cast<char>(0x80 | (Code & 0x3f));
    }
  }
  return Result;
}

// Text up to Longest bytes, with whole characters.
std::string_view Start_Of(std::string_view Text, std::size_t Longest) {
  if (Text.size() <= Longest) return Text;
  while (Longest > 0 && Is_Continuation(Text[Longest])) --Longest;
  return Text.substr(0, Longest);
}

}  // namespace

Table_File::Table_File(fs::path Path, std::string Name)
    : File(std::move(Path)), Argument(std::move(Name)) {
  std::error_code Error;
  const fs::file_status Status = fs::status(File, Error);
  if (!fs::exists(Status)) Refuse("doesn't exist; expected the file of a take");
  if (fs::is_directory(Status)) Refuse("is a folder; expected the file of a take");
  if (!fs::is_regular_file(Status)) Refuse("is not a regular file; expected the file of a take");
  Stream.open(File, std::ios::binary);
  if (!Stream) {
    Refuse(fmt::format("can't be opened ({}); expected a file that this user may read",
                       std::generic_category().message(errno)));
  }
  Rewind();
}

void Table_File::Rewind() {
  Stream.clear();
  Stream.seekg(0);
  Buffer.clear();
  Position = Line_Number = 0;
  Stays = false;
  Fill();
  const std::string_view Start = Buffer;
  if (Start.substr(0, 2) == "\xff\xfe" || Start.substr(0, 2) == "\xfe\xff") {
    Refuse("is in UTF-16; expected UTF-8: save it so, or export it again");
  }
  if (Start.substr(0, 3) == "\xef\xbb\xbf") Position = 3;
}

// Drops what has been read and appends another block. False at the end of the file.
bool Table_File::Fill() {
  Buffer.erase(0, Position);
  Position = 0;
  const std::size_t Held = Buffer.size();
  Buffer.resize(Held + Block_Size);
  Stream.read(Buffer.data() + Held, static_cast<std::streamsize>(Block_Size));
  if (Stream.bad()) Refuse("can't be read");
  Buffer.resize(Held + static_cast<std::size_t>(Stream.gcount()));
  return Buffer.size() > Held;
}

bool Table_File::Next() {
  if (std::exchange(Stays, false)) return true;
  std::size_t End = Buffer.find('\n', Position);
  while (End == std::string::npos) {
    const std::size_t Searched = Buffer.size() - Position;
    if (Searched > Longest_Line) {
      Refuse(fmt::format("line {} is longer than a megabyte; expected a table in text",
                         Line_Number + 1));
    }
    if (!Fill()) break;
    End = Buffer.find('\n', Searched);
  }
  if (Position == Buffer.size()) return false;
  const bool Is_Last = End == std::string::npos;
  if (Is_Last) End = Buffer.size();
  const std::size_t Length = End - Position;
  Line_Text.assign(Buffer, Position, Length);
  if (!Line_Text.empty() && Line_Text.back() == '\r') Line_Text.pop_back();
  Position = Is_Last ? End : End + 1;
  ++Line_Number;
  if (!Is_Utf8(Line_Text)) Line_Text = From_Latin_1(Line_Text);
  return true;
}

bool Table_File::Next_With_Text() {
  while (Next()) {
    if (!Trimmed(Line_Text).empty()) return true;
  }
  return false;
}

void Table_File::Refuse(const std::string& Why) const {
  throw Usage_Error(Argument, fmt::format("{}: {}: {}", Argument, File.string(), Why));
}

void Table_File::Refuse_Line(const std::string& Why) const {
  Refuse(fmt::format("line {}: {}", Line_Number, Why));
}

void Split_Cells(std::string_view Line, char Separator, Cells& Into) {
  Into.clear();
  if (Separator == ' ') return Split_At_Blanks(Line, Into);
  std::size_t First = 0;
  while (true) {
    const std::size_t End = End_Of_Cell(Line, First, Separator);
    Into.push_back(Unquoted(Trimmed(Line.substr(First, End - First))));
    if (End == Line.size()) return;
    First = End + 1;
  }
}

Cell_Value Read_Time_Cell(std::string_view Cell) {
  using Kind = Cell_Value::Kind;
  if (Cell.empty()) return {Kind::Blank};
  if (Cell.size() > 1 && Cell[0] == '+' && Cell[1] != '-') Cell.remove_prefix(1);
  double Value = 0.0;
  const char* const Last = Cell.data() + Cell.size();
  const auto [End, Failure] = std::from_chars(Cell.data(), Last, Value);
  if (End != Last || Failure == std::errc::invalid_argument) return {Kind::Text};
  if (Failure == std::errc::result_out_of_range) {
    return {Is_Next_To_Zero(Cell) ? Kind::Number : Kind::Unusable};
  }
  return std::isfinite(Value) ? Cell_Value{Kind::Number, Value} : Cell_Value{Kind::Unusable};
}

Cell_Value Read_Cell(std::string_view Cell) {
  const Cell_Value Read = Read_Time_Cell(Cell);
  // No stage is so large, and the square of a far larger number overflows.
  if (std::abs(Read.Value) > Largest_Number) return {Cell_Value::Kind::Unusable};
  return Read;
}

std::string Shown(std::string_view Text) {
  constexpr std::size_t Longest = 40;
  std::string Line = One_Line(Start_Of(Text, 4 * Longest));
  if (Line.size() > Longest) Line = std::string(Start_Of(Line, Longest - 3)) + "...";
  return "'" + Line + "'";
}

}  // namespace rigsync
