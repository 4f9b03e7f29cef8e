// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/capture_file_findings.h"

#include <fmt/format.h>

#include <string>

namespace rigsync {
namespace {

constexpr const char* Field_Names[Complete_Field_Count] = {
    "own number",          "image path",          "camera position x",   "camera position y",
    "camera position z",   "camera quaternion w", "camera quaternion x", "camera quaternion y",
    "camera quaternion z", "board position x",    "board position y",    "board position z",
    "board quaternion w",  "board quaternion x",  "board quaternion y",  "board quaternion z"};

std::string First_Field_Example(const Capture_Line& Line) {
  return fmt::format("Line {} begins with {}.", Line.Line, Quoted(Line.First_Field));
}

std::string Field_Example(const Capture_Line& Line, const Faulty_Field& Field) {
  return fmt::format("In line {}, field {} ({}) is {}.", Line.Line, Field.Index,
                     Field_Names[Field.Index], Quoted(Field.Text));
}

bool Begins_With_A_Quote(const std::string& Field) {
  const std::size_t First = Field.find_first_not_of(" \t");
  return First != std::string::npos && (Field[First] == '"' || Field[First] == '\'');
}

void Judge_Mark(const Capture_File& File, Findings& List) {
  switch (File.Mark) {
    case Byte_Order_Mark::None:
      return;
    case Byte_Order_Mark::Utf16:
      List.Add({"not_utf8",
                Level::Error,
                "The file is encoded in UTF-16, so no line of it can be read.",
                "",
                "Save it as plain text, or as UTF-8 without a byte-order mark.",
                {1}});
      return;
    case Byte_Order_Mark::Utf8:
      List.Add({"byte_order_mark",
                Level::Warning,
                File.Lines.front().Kind == Line_Kind::Marked_Header
                    ? "The file begins with a byte-order mark, so its header line is not "
                      "recognised. The line counts as an image, which is dropped later because it "
                      "has no file."
                    : "The file begins with a byte-order mark, which becomes part of field 0.",
                "",
                "Save it as UTF-8 without a byte-order mark.",
                {1}});
      return;
  }
}

void Judge_Carriage_Return(const Capture_Line& Line, Findings& List) {
  switch (Line.Return) {
    case Carriage_Return::None:
      return;
    case Carriage_Return::At_End:
      List.Add({"carriage_return",
                Level::Note,
                "The line ends with a carriage return, as text files of Windows do. It has no "
                "effect after the last field.",
                "",
                "Nothing.",
                {Line.Line}});
      return;
    case Carriage_Return::Inside:
      List.Add(
          {"carriage_return_inside",
           Level::Warning,
           "A carriage return inside a line does not end the line. It becomes part of a field.",
           "",
           "End every line with a newline.",
           {Line.Line}});
      return;
  }
}

void Judge_Header(const Capture_Line& Line, Findings& List) {
  if (Line.Has_All_Numbers) {
    List.Add({"data_line_skipped",
              Level::Warning,
              "A line that begins with a capital T is skipped as a header, but this one has the "
              "numbers of an image.",
              First_Field_Example(Line),
              "Begin field 0 with another character.",
              {Line.Line}});
  } else if (Line.Line > 1) {
    List.Add({"header_in_the_middle",
              Level::Note,
              "A header line appears after line 1. It is skipped.",
              "",
              "If two captures were joined here, make sure that rig, lens setting and tracking "
              "session are the same for both.",
              {Line.Line}});
  }
}

void Judge_Separator(const Capture_Line& Line, Findings& List) {
  const bool Has_Commas = Line.Field_Count > 1;
  List.Add(
      {"other_separator",
       Level::Warning,
       "The fields of a line are not separated by commas, so the line counts as an image that "
       "does not exist.",
       fmt::format("Line {} has {}{}.", Line.Line, Line.Separator == ';' ? "semicolons" : "tabs",
                   Has_Commas ? ", and commas that may be decimal commas" : ""),
       "Separate the fields with commas, and write numbers with decimal points.",
       {Line.Line}});
}

void Judge_Field_Count(const Capture_Line& Line, Findings& List) {
  const std::size_t Count = Line.Field_Count;
  const std::string Example =
      fmt::format("Line {} has {} field{}.", Line.Line, Count, Count == 1 ? "" : "s") +
      (May_Have_Decimal_Commas(Line) ? " It may have decimal commas; expected decimal points."
                                     : "");
  if (Count < Complete_Field_Count) {
    List.Add({"too_few_fields",
              Level::Warning,
              "A line has fewer than 16 fields. The last field is repeated for the missing ones, "
              "so the samples are wrong.",
              Example,
              "Complete the line or remove it.",
              {Line.Line}});
  } else if (Count > Complete_Field_Count && Line.Are_Surplus_Fields_Blank) {
    List.Add({"trailing_comma",
              Level::Note,
              "The fields after the 16th are blank. They are ignored.",
              "",
              "Nothing.",
              {Line.Line}});
  } else if (Count > Complete_Field_Count) {
    List.Add({"too_many_fields",
              Level::Warning,
              "A line has more than 16 fields. Those after the 16th are ignored, and if an extra "
              "comma comes earlier in the line, the samples are wrong.",
              Example,
              "A comma in the image path or in a number separates fields too. Correct the line.",
              {Line.Line}});
  }
}

void Judge_Field(const Capture_Line& Line, const Faulty_Field& Field, Findings& List) {
  if (Field.Index < First_Sample_Field) {
    List.Add({"own_number_not_a_number",
              Level::Note,
              "Field 0 is not a number. It is logged as the number at its start, or as 0 without "
              "one, and has no other use.",
              Field_Example(Line, Field),
              "Nothing.",
              {Line.Line}});
    return;
  }
  switch (Field.Fault) {
    case Number_Fault::Not_A_Number:
      List.Add({"not_a_number",
                Level::Warning,
                "A field is not a number. It counts as the number at its start, or as 0 without "
                "one.",
                Field_Example(Line, Field),
                Begins_With_A_Quote(Field.Text) ? "Write fields without quotes."
                                                : "Correct the line or remove it.",
                {Line.Line}});
      return;
    case Number_Fault::Not_Finite:
      List.Add({"not_finite",
                Level::Error,
                "A number is NaN or infinite. One such line turns the whole result into NaN "
                "values, whatever the code.",
                Field_Example(Line, Field),
                "Remove the line: the tracker had no sample at that moment.",
                {Line.Line}});
      return;
    case Number_Fault::Too_Large:
      List.Add({"number_too_large",
                Level::Warning,
                "A number is beyond a billion, which no tracker reports.",
                Field_Example(Line, Field),
                "Correct the line or remove it.",
                {Line.Line}});
      return;
  }
}

void Judge_Kind(const Capture_Line& Line, Findings& List) {
  switch (Line.Kind) {
    case Line_Kind::Header:
      return Judge_Header(Line, List);
    case Line_Kind::Marked_Header:  // Judge_Mark explains it
    case Line_Kind::Utf16:
      return;
    case Line_Kind::Blank:
      List.Add({"blank_line",
                Level::Warning,
                "A blank line counts as an image with an empty path, which is dropped later.",
                "",
                "Remove the line, and check that no data is missing there.",
                {Line.Line}});
      return;
    case Line_Kind::Header_Like:
      List.Add({"header_not_recognised",
                Level::Warning,
                "A line looks like a header but does not begin with a capital T. It counts as an "
                "image, which is dropped later because it has no file.",
                First_Field_Example(Line),
                "Begin the line with a capital T, or remove it.",
                {Line.Line}});
      return;
    case Line_Kind::Other_Separator:
      return Judge_Separator(Line, List);
    case Line_Kind::Image:
      Judge_Field_Count(Line, List);
      for (const Faulty_Field& Field : Line.Faulty_Fields) Judge_Field(Line, Field, List);
      return;
  }
}

}  // namespace

void Judge_Capture_File(const Capture_File& File, Findings& List) {
  Judge_Mark(File, List);
  if (File.Mark == Byte_Order_Mark::Utf16) return;
  for (const Capture_Line& Line : File.Lines) {
    Judge_Carriage_Return(Line, List);
    Judge_Kind(Line, List);
  }
}

}  // namespace rigsync
