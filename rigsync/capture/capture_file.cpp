// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/capture_file.h"

#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t Field_Count = 16;
constexpr std::size_t Image_Field = 1;
constexpr std::size_t First_Sample_Field = 2;

// No tracker reports numbers beyond this, and squares of far larger ones have no double.
constexpr double Largest_Number = 1e9;

constexpr const char* Field_Names[Field_Count] = {
    "own number",          "image path",          "camera position x",   "camera position y",
    "camera position z",   "camera quaternion w", "camera quaternion x", "camera quaternion y",
    "camera quaternion z", "board position x",    "board position y",    "board position z",
    "board quaternion w",  "board quaternion x",  "board quaternion y",  "board quaternion z"};

constexpr std::string_view Utf8_Mark = "\xef\xbb\xbf";

// A line's fields as the library cuts them: at every comma, nothing quoted.
std::vector<std::string> Split_Fields(const std::string& Line) {
  std::vector<std::string> Fields;
  for (std::size_t At = 0;;) {
    const std::size_t End = Line.find(',', At);
    Fields.push_back(Line.substr(At, End - At));
    if (End == std::string::npos) return Fields;
    At = End + 1;
  }
}

bool Is_Blank(std::string_view Text) {
  return Text.find_first_not_of(" \t\r\v\f") == std::string_view::npos;
}

// A field as the library's conversion sees it: the number at its front, 0 without one.
struct Number {
  double Value = 0;
  bool Is_Whole = false;  // nothing but the number and blanks around it
};

Number Read_Number(const std::string& Field) {
  char* End = nullptr;
  Number Read;
  Read.Value = std::strtod(Field.c_str(), &End);
  const auto Taken = static_cast<std::size_t>(End - Field.c_str());
  Read.Is_Whole = Taken > 0 && Is_Blank(std::string_view(Field).substr(Taken));
  return Read;
}

bool Begins_With_A_Quote(const std::string& Field) {
  const std::size_t First = Field.find_first_not_of(" \t");
  return First != std::string::npos && (Field[First] == '"' || Field[First] == '\'');
}

std::string Field_Example(std::size_t Line, std::size_t Index, const std::string& Field) {
  return fmt::format("In line {}, field {} ({}) is {}.", Line, Index, Field_Names[Index],
                     Quoted(Field));
}

// A line without a number in its first field and those of the samples, but with letters.
bool Looks_Like_A_Header(const std::vector<std::string>& Fields) {
  if (Fields.size() <= First_Sample_Field || Read_Number(Fields[0]).Is_Whole) return false;
  for (std::size_t i = First_Sample_Field; i < Fields.size(); ++i) {
    if (Is_Blank(Fields[i])) continue;
    const auto Letter = static_cast<unsigned char>(Fields[i][Fields[i].find_first_not_of(" \t")]);
    if (Read_Number(Fields[i]).Is_Whole || std::isalpha(Letter) == 0) return false;
  }
  return true;
}

// A line that is skipped for its T although it reads like an image's.
bool Looks_Like_Data(const std::vector<std::string>& Fields) {
  if (Fields.size() < Field_Count) return false;
  return std::all_of(Fields.begin() + First_Sample_Field, Fields.begin() + Field_Count,
                     [](const std::string& Field) { return Read_Number(Field).Is_Whole; });
}

void Check_Header(std::size_t Line, const std::vector<std::string>& Fields, Findings& Told) {
  if (Looks_Like_Data(Fields)) {
    Told.Add({"data_line_skipped",
              Level::Warning,
              "A line that begins with a capital T is skipped as a header, but this one reads like "
              "an image's.",
              fmt::format("Line {} begins with {}.", Line, Quoted(Fields[0])),
              "Let field 0 begin with something else.",
              {Line}});
  } else if (Line > 1) {
    Told.Add(
        {"header_in_the_middle",
         Level::Note,
         "A header line stands behind the first line. It is skipped.",
         "",
         "If two captures were joined here: one rig, one lens setting and one tracking session "
         "have to hold for both.",
         {Line}});
  }
}

void Check_Carriage_Returns(std::size_t Line, std::string_view Text, Findings& Told) {
  const std::size_t At = Text.find('\r');
  if (At == std::string_view::npos) return;
  if (At + 1 == Text.size()) {
    Told.Add({"carriage_return",
              Level::Note,
              "The line ends with a carriage return, as Windows writes it. It does no harm behind "
              "the last field.",
              "",
              "Nothing.",
              {Line}});
    return;
  }
  Told.Add({"carriage_return_inside",
            Level::Warning,
            "A carriage return stands inside the line, where it ends no line and becomes part of a "
            "field.",
            "",
            "Let every line end with a newline.",
            {Line}});
}

// Field 0 may be whole; the other 14 numbers would each be cut in two.
bool Has_Decimal_Commas(std::size_t Count) {
  return Count >= Field_Count + 14;
}

// What stands between the fields where commas belong, or nothing. A path that holds so many
// semicolons leaves a line that reads like an image's.
const char* Other_Separator(const std::string& Text, const std::vector<std::string>& Fields) {
  constexpr auto Separators = static_cast<std::ptrdiff_t>(Field_Count - 1);
  if (Looks_Like_Data(Fields)) return nullptr;
  if (std::count(Text.begin(), Text.end(), ';') >= Separators) return "semicolons";
  if (std::count(Text.begin(), Text.end(), '\t') >= Separators) return "tabs";
  return nullptr;
}

void Check_Field_Count(std::size_t Line, const std::vector<std::string>& Fields, Findings& Told) {
  const std::size_t Count = Fields.size();
  const std::string Example =
      fmt::format("Line {} has {} field{}.", Line, Count, Count == 1 ? "" : "s") +
      (Has_Decimal_Commas(Count) ? " It may have decimal commas; expected decimal points." : "");
  if (Count < Field_Count) {
    Told.Add(
        {"too_few_fields",
         Level::Warning,
         "A line has fewer than 16 fields: the last one is repeated for those that are missing, "
         "so the samples are wrong.",
         Example,
         "Complete the line or take it out.",
         {Line}});
  } else if (Count > Field_Count) {
    const bool All_Blank = std::all_of(Fields.begin() + Field_Count, Fields.end(),
                                       [](const std::string& Field) { return Is_Blank(Field); });
    if (All_Blank) {
      Told.Add({"trailing_comma",
                Level::Note,
                "Commas follow the 16th field with nothing behind them. They are ignored.",
                "",
                "Nothing.",
                {Line}});
    } else {
      Told.Add(
          {"too_many_fields",
           Level::Warning,
           "A line has more than 16 fields: those from the 17th on are ignored, and if one too "
           "many stands further in front, the samples are wrong.",
           Example,
           "A comma in the image path or in a number counts as a separator; correct the line.",
           {Line}});
    }
  }
}

// Fills the row's samples and tells of fields that are no finite numbers, or hugely large. False
// when there is one.
bool Check_Numbers(const std::vector<std::string>& Fields, Capture_Row& Row, Findings& Told) {
  if (!Read_Number(Fields[0]).Is_Whole) {
    Told.Add({"own_number_not_a_number",
              Level::Note,
              "Field 0 is not a number. It is logged as 0 or as the number at its front, and used "
              "for nothing.",
              Field_Example(Row.Line, 0, Fields[0]),
              "Nothing.",
              {Row.Line}});
  }
  std::array<double, Field_Count> Values{};
  bool All_Usable = true;
  for (std::size_t i = First_Sample_Field; i < Field_Count; ++i) {
    // What is missing repeats the last field, and has been told as missing.
    const std::string& Field = Fields[std::min(i, Fields.size() - 1)];
    const Number Read = Read_Number(Field);
    Values[i] = Read.Value;
    if (i >= Fields.size()) continue;
    if (!Read.Is_Whole) {
      Told.Add({"not_a_number",
                Level::Warning,
                "A field is not a number: it counts as 0, or as the number at its front.",
                Field_Example(Row.Line, i, Field),
                Begins_With_A_Quote(Field) ? "Write fields without quotes."
                                           : "Correct the line or take it out.",
                {Row.Line}});
    } else if (!std::isfinite(Read.Value)) {
      Told.Add({"not_finite",
                Level::Error,
                "A number is not finite. One such line makes the whole result nan, whatever the "
                "code.",
                Field_Example(Row.Line, i, Field),
                "Take the line out: the tracker had no sample to give.",
                {Row.Line}});
    } else if (std::abs(Read.Value) > Largest_Number) {
      Told.Add({"number_too_large",
                Level::Warning,
                "A number is beyond a billion, which no tracker reports.",
                Field_Example(Row.Line, i, Field),
                "Correct the line or take it out.",
                {Row.Line}});
    }
    // Written as "within", so that nan is outside.
    All_Usable = All_Usable && Read.Is_Whole && std::abs(Read.Value) <= Largest_Number;
  }
  for (std::size_t k = 0; k < 3; ++k) {
    Row.Camera.Position[k] = Values[2 + k];
    Row.Board.Position[k] = Values[9 + k];
  }
  for (std::size_t k = 0; k < 4; ++k) {
    Row.Camera.Quaternion[k] = Values[5 + k];
    Row.Board.Quaternion[k] = Values[12 + k];
  }
  return All_Usable;
}

// A line that the library takes for an image.
Capture_Row Read_Row(std::size_t Line, const std::string& Text, Findings& Told) {
  Capture_Row Row;
  Row.Line = Line;
  const std::vector<std::string> Fields = Split_Fields(Text);
  Row.Image = Fields[std::min(Image_Field, Fields.size() - 1)];
  if (Is_Blank(Text)) {
    Told.Add({"blank_line",
              Level::Warning,
              "A blank line counts as an image with an empty path, which is dropped later.",
              "",
              "Take it out, and see that nothing is missing there.",
              {Line}});
    Row.Is_Image = false;
    return Row;
  }
  if (Looks_Like_A_Header(Fields)) {
    Told.Add({"header_not_recognised",
              Level::Warning,
              "A line looks like a header but doesn't begin with a capital T, so it counts as an "
              "image, which is dropped later for want of a file.",
              fmt::format("Line {} begins with {}.", Line, Quoted(Fields[0])),
              "Let it begin with a capital T, or take it out.",
              {Line}});
    Row.Is_Image = false;
    return Row;
  }
  if (const char* const Separator = Other_Separator(Text, Fields); Separator != nullptr) {
    const bool Has_Commas = Text.find(',') != std::string::npos;
    Told.Add({"other_separator",
              Level::Warning,
              "The fields of a line aren't divided by commas. Only commas divide them, so the line "
              "counts as an image that doesn't exist.",
              fmt::format("Line {} has {}{}.", Line, Separator,
                          Has_Commas ? ", and commas that may be decimal ones" : ""),
              "Write the file with commas between fields and with decimal points.",
              {Line}});
    Row.Is_Image = false;
    return Row;
  }
  Check_Field_Count(Line, Fields, Told);
  const bool Has_Numbers = Check_Numbers(Fields, Row, Told);
  Row.Is_Sound = Has_Numbers && Fields.size() >= Field_Count && !Has_Decimal_Commas(Fields.size());
  return Row;
}

bool Is_Utf16(std::string_view First_Line) {
  return First_Line.substr(0, 2) == "\xff\xfe" || First_Line.substr(0, 2) == "\xfe\xff";
}

// A byte-order mark, and what it does to the line behind it.
void Check_Mark(const std::string& First_Line, Findings& Told) {
  const std::string_view Text = First_Line;
  if (Is_Utf16(Text)) {
    Told.Add({"not_utf8",
              Level::Error,
              "The file is written in UTF-16: no line of it can be read.",
              "",
              "Save it as plain text or UTF-8 without a byte-order mark.",
              {1}});
  } else if (Text.substr(0, Utf8_Mark.size()) == Utf8_Mark) {
    const bool Spoils_A_Header = Text.size() > Utf8_Mark.size() && Text[Utf8_Mark.size()] == 'T';
    Told.Add({"byte_order_mark",
              Level::Warning,
              Spoils_A_Header
                  ? "The file begins with a byte-order mark, so its header line is none: it counts "
                    "as an image, which is dropped later for want of a file."
                  : "The file begins with a byte-order mark, which becomes part of field 0.",
              "",
              "Save it as UTF-8 without a byte-order mark.",
              {1}});
  }
}

// The line that begins with a byte-order mark: the mark has been told, and what it does to field 0
// needs no second word.
Capture_Row Read_Marked_Row(const std::string& Text, Findings& Told) {
  const std::string Behind = Text.substr(Utf8_Mark.size());
  if (!Behind.empty() && Behind.front() == 'T') {
    Capture_Row Header;
    Header.Line = 1;
    Header.Is_Image = false;
    return Header;
  }
  return Read_Row(1, Behind, Told);
}

void Refuse_File(const fs::path& Csv, const std::string& Why) {
  throw Usage_Error(fmt::format("{}: {}", Csv.string(), Why));
}

}  // namespace

Capture_File Read_Capture_File(const fs::path& Csv, Findings& Told) {
  std::error_code Error;
  const fs::file_status Status = fs::status(Csv, Error);
  if (!fs::exists(Status)) Refuse_File(Csv, "doesn't exist; expected the capture's CSV file");
  if (fs::is_directory(Status)) Refuse_File(Csv, "is a folder; expected the capture's CSV file");
  if (!fs::is_regular_file(Status)) {
    Refuse_File(Csv, "is no regular file; expected the capture's CSV file, not a pipe or device");
  }
  std::ifstream File(Csv, std::ios::binary);
  if (!File) {
    Refuse_File(Csv, fmt::format("can't be opened ({}); expected a file that this user may read",
                                 std::generic_category().message(errno)));
  }
  Capture_File Read;
  for (std::string Text; std::getline(File, Text);) {
    const std::size_t Line = ++Read.Line_Count;
    const bool Is_Marked = Line == 1 && Text.compare(0, Utf8_Mark.size(), Utf8_Mark) == 0;
    if (Line == 1) {
      Check_Mark(Text, Told);
      if (Is_Utf16(Text)) break;
    }
    Check_Carriage_Returns(Line, Text, Told);
    if (Is_Marked) {
      Read.Rows.push_back(Read_Marked_Row(Text, Told));
    } else if (!Text.empty() && Text.front() == 'T') {
      ++Read.Header_Count;
      Check_Header(Line, Split_Fields(Text), Told);
    } else {
      Read.Rows.push_back(Read_Row(Line, Text, Told));
    }
  }
  return Read;
}

std::vector<Capture_Image> Read_Image_Names(const std::filesystem::path& Csv) {
  std::vector<Capture_Image> Images;
  std::error_code Error;
  if (!std::filesystem::is_regular_file(Csv, Error)) return Images;
  std::ifstream File(Csv);
  std::string Text;
  for (std::size_t Line = 1; std::getline(File, Text); ++Line) {
    if (!Text.empty() && Text.front() == 'T') continue;
    std::istringstream Fields(Text);
    std::string Field;
    std::getline(Fields, Field, ',');
    std::getline(Fields, Field, ',');
    Images.push_back({Line, Field});
  }
  return Images;
}

}  // namespace rigsync
