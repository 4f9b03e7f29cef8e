// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/capture_file.h"

#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <ios>
#include <optional>
#include <streambuf>
#include <string_view>
#include <system_error>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

using Field_List = std::vector<std::string>;

constexpr std::string_view Utf8_Mark = "\xef\xbb\xbf";

// The library splits a line at every comma, also inside quotes.
Field_List Split_Fields(const std::string& Text) {
  Field_List Fields;
  for (std::size_t Start = 0;;) {
    const std::size_t End = Text.find(',', Start);
    Fields.push_back(Text.substr(Start, End - Start));
    if (End == std::string::npos) return Fields;
    Start = End + 1;
  }
}

// A missing field repeats the last one.
const std::string& Field_Or_Last(const Field_List& Fields, std::size_t Index) {
  return Fields[std::min(Index, Fields.size() - 1)];
}

bool Is_Blank(std::string_view Text) {
  return Text.find_first_not_of(" \t\r\v\f") == std::string_view::npos;
}

// A field as the library's conversion reads it: the number at its start, or 0 without one.
struct Number {
  double Value = 0;
  bool Is_Whole_Field = false;  // the field has nothing else but blanks
};

Number Read_Number(const std::string& Field) {
  char* End = nullptr;
  Number Read;
  Read.Value = std::strtod(Field.c_str(), &End);
  const auto Length = static_cast<std::size_t>(End - Field.c_str());
  Read.Is_Whole_Field = Length > 0 && Is_Blank(std::string_view(Field).substr(Length));
  return Read;
}

std::optional<Number_Fault> Sample_Fault(const Number& Read) {
  if (!Read.Is_Whole_Field) return Number_Fault::Not_A_Number;
  if (!std::isfinite(Read.Value)) return Number_Fault::Not_Finite;
  if (std::abs(Read.Value) > Largest_Number) return Number_Fault::Too_Large;
  return std::nullopt;
}

bool Has_All_Numbers(const Field_List& Fields) {
  if (Fields.size() < Complete_Field_Count) return false;
  return std::all_of(Fields.begin() + First_Sample_Field, Fields.begin() + Complete_Field_Count,
                     [](const std::string& Field) { return Read_Number(Field).Is_Whole_Field; });
}

// Neither field 0 nor any field of the samples is a number, and those that are not blank begin with
// a letter.
bool Looks_Like_A_Header(const Field_List& Fields) {
  if (Fields.size() <= First_Sample_Field || Read_Number(Fields[0]).Is_Whole_Field) return false;
  return std::all_of(
      Fields.begin() + First_Sample_Field, Fields.end(), [](const std::string& Field) {
        if (Is_Blank(Field)) return true;
        const auto First = static_cast<unsigned char>(Field[Field.find_first_not_of(" \t")]);
        return std::isalpha(First) != 0 && !Read_Number(Field).Is_Whole_Field;
      });
}

// The separator that a line has enough of for 16 fields. A path may hold as many of them in a line
// that is otherwise an image's.
char Line_Separator(const std::string& Text, const Field_List& Fields) {
  constexpr auto Needed = static_cast<std::ptrdiff_t>(Complete_Field_Count - 1);
  if (Has_All_Numbers(Fields)) return ',';
  for (const char Separator : {';', '\t'}) {
    if (std::count(Text.begin(), Text.end(), Separator) >= Needed) return Separator;
  }
  return ',';
}

Carriage_Return First_Carriage_Return(std::string_view Text) {
  const std::size_t Position = Text.find('\r');
  if (Position == std::string_view::npos) return Carriage_Return::None;
  return Position + 1 == Text.size() ? Carriage_Return::At_End : Carriage_Return::Inside;
}

std::vector<Faulty_Field> Find_Faulty_Fields(const Field_List& Fields) {
  std::vector<Faulty_Field> Faulty_Fields;
  if (!Read_Number(Fields[0]).Is_Whole_Field) {
    Faulty_Fields.push_back({0, Fields[0], Number_Fault::Not_A_Number});
  }
  const std::size_t End = std::min(Fields.size(), Complete_Field_Count);
  for (std::size_t i = First_Sample_Field; i < End; ++i) {
    const std::optional<Number_Fault> Fault = Sample_Fault(Read_Number(Fields[i]));
    if (Fault) Faulty_Fields.push_back({i, Fields[i], *Fault});
  }
  return Faulty_Fields;
}

Byte_Order_Mark Find_Mark(std::string_view First_Line) {
  if (First_Line.substr(0, Utf8_Mark.size()) == Utf8_Mark) return Byte_Order_Mark::Utf8;
  const std::string_view Start = First_Line.substr(0, 2);
  return Start == "\xff\xfe" || Start == "\xfe\xff" ? Byte_Order_Mark::Utf16
                                                    : Byte_Order_Mark::None;
}

// The kind of a line that the library takes for an image. Text and Fields have no byte-order mark.
Line_Kind Image_Line_Kind(const std::string& Text, const Field_List& Fields) {
  if (Is_Blank(Text)) return Line_Kind::Blank;
  if (Looks_Like_A_Header(Fields)) return Line_Kind::Header_Like;
  if (Line_Separator(Text, Fields) != ',') return Line_Kind::Other_Separator;
  return Line_Kind::Image;
}

Line_Kind Find_Kind(const std::string& Text, const Field_List& Fields, Byte_Order_Mark Mark,
                    bool Is_Marked) {
  if (!Text.empty() && Text.front() == 'T') {
    return Is_Marked ? Line_Kind::Marked_Header : Line_Kind::Header;
  }
  if (Mark == Byte_Order_Mark::Utf16) return Line_Kind::Utf16;
  return Image_Line_Kind(Text, Fields);
}

// Text is the line as it is in the file; only line 1 of a file with a mark has one.
Capture_Line Read_Line(std::size_t Line, std::string Text, Field_List Fields,
                       Byte_Order_Mark Mark) {
  const bool Is_Marked = Line == 1 && Mark == Byte_Order_Mark::Utf8;
  if (Is_Marked) {
    Text.erase(0, Utf8_Mark.size());
    Fields.front().erase(0, Utf8_Mark.size());
  }
  Capture_Line Facts;
  Facts.Line = Line;
  Facts.Kind = Find_Kind(Text, Fields, Mark, Is_Marked);
  Facts.Return = First_Carriage_Return(Text);
  Facts.Field_Count = Fields.size();
  Facts.First_Field = Fields.front();
  Facts.Has_All_Numbers = Has_All_Numbers(Fields);
  if (Facts.Kind == Line_Kind::Other_Separator) Facts.Separator = Line_Separator(Text, Fields);
  if (Facts.Field_Count > Complete_Field_Count) {
    Facts.Are_Surplus_Fields_Blank =
        std::all_of(Fields.begin() + Complete_Field_Count, Fields.end(), Is_Blank);
  }
  if (Facts.Kind == Line_Kind::Image) Facts.Faulty_Fields = Find_Faulty_Fields(Fields);
  return Facts;
}

bool Is_Sound_Image(const Capture_Line& Facts) {
  // Field 0 is not part of a sample.
  const bool Has_Sound_Samples =
      std::all_of(Facts.Faulty_Fields.begin(), Facts.Faulty_Fields.end(),
                  [](const Faulty_Field& Field) { return Field.Index < First_Sample_Field; });
  return Facts.Kind == Line_Kind::Image && Facts.Field_Count >= Complete_Field_Count &&
         Has_Sound_Samples && !May_Have_Decimal_Commas(Facts);
}

// Fields as they are in the file, with a byte-order mark.
Capture_Row Read_Row(const Capture_Line& Facts, const Field_List& Fields) {
  Capture_Row Row;
  Row.Line = Facts.Line;
  Row.Image = Field_Or_Last(Fields, Image_Field);
  std::size_t Index = First_Sample_Field;
  for (Tracker_Sample* const Sample : {&Row.Camera, &Row.Board}) {
    for (double& Value : Sample->Position)
      Value = Read_Number(Field_Or_Last(Fields, Index++)).Value;
    for (double& Value : Sample->Quaternion) {
      Value = Read_Number(Field_Or_Last(Fields, Index++)).Value;
    }
  }
  Row.Is_Sound = Is_Sound_Image(Facts);
  Row.Is_Image = Facts.Kind == Line_Kind::Image;
  return Row;
}

[[noreturn]] void Refuse_File(const fs::path& Csv, const std::string& Why) {
  throw Usage_Error(fmt::format("{}: {}", Csv.string(), Why));
}

// The lines of a file, with a limit for each and for their number: a file that is no CSV may be one
// line as long as the disk, and std::getline would take what it has no memory for as the file's
// end.
class Line_Reader {
 public:
  Line_Reader(const fs::path& Path, std::ifstream& Stream) : Csv(Path), Source(*Stream.rdbuf()) {}

  // False at the end of the file. Throws Usage_Error.
  bool Next(std::string& Text) {
    Text.clear();
    ++Line;
    int Byte = Take_Byte();
    if (Byte == End_Of_File) return false;
    if (Line > Most_Csv_Lines) {
      Refuse_File(Csv, fmt::format("has more than {} lines; expected the capture's CSV file, one "
                                   "line for each image",
                                   Most_Csv_Lines));
    }
    for (; Byte != End_Of_File && Byte != '\n'; Byte = Take_Byte()) {
      if (Text.size() == Longest_Csv_Line) {
        Refuse_File(Csv, fmt::format("line {} is longer than {} bytes; expected the capture's CSV "
                                     "file, with a newline after each line",
                                     Line, Longest_Csv_Line));
      }
      Text += std::ifstream::traits_type::to_char_type(Byte);
    }
    return true;
  }

 private:
  static constexpr int End_Of_File = std::ifstream::traits_type::eof();

  // The stream's buffer reports a disk that can't be read by an exception. The stream itself would
  // take it for the end of the file.
  int Take_Byte() {
    try {
      return Source.sbumpc();
    } catch (const std::ios_base::failure& Error) {
      Refuse_File(Csv, fmt::format("line {} can't be read ({}); copy the file to another disk",
                                   Line, Error.code().message()));
    }
  }

  const fs::path& Csv;
  std::streambuf& Source;
  std::size_t Line = 0;
};

Capture_File Read_Lines(const fs::path& Csv, std::ifstream& Stream) {
  Capture_File File;
  Line_Reader Lines(Csv, Stream);
  for (std::string Text; Lines.Next(Text);) {
    ++File.Line_Count;
    if (File.Line_Count == 1) File.Mark = Find_Mark(Text);
    const Field_List Fields = Split_Fields(Text);
    Capture_Line Facts = Read_Line(File.Line_Count, Text, Fields, File.Mark);
    if (Facts.Kind == Line_Kind::Header) {
      ++File.Header_Count;
    } else {
      File.Rows.push_back(Read_Row(Facts, Fields));
    }
    File.Lines.push_back(std::move(Facts));
  }
  return File;
}

}  // namespace

bool May_Have_Decimal_Commas(const Capture_Line& Line) {
  return Line.Field_Count >= Complete_Field_Count + 14;
}

Capture_File Read_Capture_File(const fs::path& Csv) {
  std::error_code Error;
  const fs::file_status Status = fs::status(Csv, Error);
  if (!fs::exists(Status)) Refuse_File(Csv, "doesn't exist; expected the capture's CSV file");
  if (fs::is_directory(Status)) Refuse_File(Csv, "is a folder; expected the capture's CSV file");
  if (!fs::is_regular_file(Status)) {
    Refuse_File(Csv,
                "is not a regular file; expected the capture's CSV file, not a pipe or device");
  }
  std::ifstream Stream(Csv, std::ios::binary);  // with its carriage returns on every system
  if (!Stream) {
    Refuse_File(Csv, fmt::format("can't be opened ({}); expected a file that this user may read",
                                 std::generic_category().message(errno)));
  }
  return Read_Lines(Csv, Stream);
}

std::vector<Capture_Image> Read_Image_Names(const fs::path& Csv) {
  std::error_code Error;
  if (!fs::is_regular_file(Csv, Error)) return {};
  std::ifstream Stream(Csv);  // as text, which is how the library opens it
  if (!Stream) return {};
  std::vector<Capture_Image> Images;
  for (Capture_Row& Row : Read_Lines(Csv, Stream).Rows) {
    Images.push_back({Row.Line, std::move(Row.Image)});
  }
  return Images;
}

}  // namespace rigsync
