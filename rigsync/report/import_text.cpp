// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/import_text.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/inspect/amount.h"
#include "rigsync/report/heading.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace rigsync {
namespace {

constexpr std::size_t Name_Width = 12;

std::string Row_Text(const std::string& Name, const std::string& Text) {
  const std::string Right = Folded(Text, 2 + Name_Width);
  return fmt::format("  {:<{}}{}", Name, Name_Width, Right.substr(2 + Name_Width));
}

std::string Counted(std::size_t Count, const std::string& Name) {
  return fmt::format("{} {}{}", Count, Name, Count == 1 ? "" : "s");
}

std::string Speed_Text(const Speed_Limit& Speed) {
  return fmt::format("{} mm/s and {} degrees/s", Amount(1000.0 * Speed.Linear),
                     Amount(Degrees_Per_Radian * Speed.Angular));
}

std::string Body_Text(const std::string& Name, const Body_Facts& Facts) {
  std::string Text = fmt::format("'{}', {:.1f} Hz, noise {} mm and {} degrees, at rest up to {}",
                                 Name, Facts.Rate_Hz, Amount(Facts.Noise.Position_Mm),
                                 Amount(Facts.Noise.Rotation_Deg), Speed_Text(Facts.Rest));
  if (Facts.Lost > 0) {
    Text += fmt::format("; {} of {} samples lost", Facts.Lost, Facts.Samples + Facts.Lost);
  }
  return Text;
}

std::string Takes_Text(const Import_Record& Record) {
  std::string Text;
  for (const auto& Take : Record.Takes) Text += (Text.empty() ? "" : " and ") + Take.string();
  return fmt::format("{} ({})", Text, Record.Format);
}

std::string Clock_Text(const Clock_Match& Clock) {
  const std::string Offset =
      fmt::format("time in the take = time of the picture {} {:.3f} s",
                  Clock.Offset_Seconds < 0.0 ? "-" : "+", std::abs(Clock.Offset_Seconds));
  switch (Clock.Method) {
    case Clock_Method::Stated:
      return Offset + ", as stated";
    case Clock_Method::Timecode:
      return Offset + ", by timecode: to a frame";
    case Clock_Method::Correlation:
      return fmt::format(
          "{}, certain by motion: it fits to {:.2f}, the next best ({:.3f} s) to {:.2f}", Offset,
          Clock.Score, Clock.Second_Offset_Seconds, Clock.Second_Score);
  }
  return Offset;
}

std::string Holds_Text(const Capture_Import& Made) {
  std::string Text = Counted(Made.Record.Hold_Count, "hold");
  if (Made.Short_Stops > 0) {
    Text += fmt::format(", and {} too short for one", Counted(Made.Short_Stops, "stop"));
  }
  return Text;
}

// "IMG_3.jpg, IMG_5.jpg, IMG_9.jpg and 4 more". Of a clip the times, because its frames have no
// names.
std::string Names_Text(const Import_Record& Record, const std::vector<std::size_t>& Rows) {
  std::string Text;
  for (std::size_t k = 0; k < std::min(Rows.size(), Most_Names); ++k) {
    const Imported_Row& Row = Record.Rows[Rows[k]];
    const std::string Name = Row.Picture == Record.Pictures
                                 ? fmt::format("hold at {:.1f} s", Row.Begin_Seconds)
                                 : One_Line(Row.Picture.filename().string());
    Text += (k > 0 ? ", " : "") + Name;
  }
  if (Rows.size() > Most_Names) Text += fmt::format(" and {} more", Rows.size() - Most_Names);
  return Text;
}

std::string Refusals_Text(const Import_Record& Record) {
  const std::vector<Counted_Reason> Reasons = Refusal_Reasons(Record.Rows);
  std::string Text;
  for (std::size_t i = 0; i < std::min(Reasons.size(), Most_Reasons); ++i) {
    Text += Row_Text(i == 0 ? "without" : "",
                     Names_Text(Record, Reasons[i].Rows) + ": " + Reasons[i].Reason);
  }
  if (Reasons.size() > Most_Reasons) {
    Text += Row_Text("", fmt::format("{} in import.json",
                                     Counted(Reasons.size() - Most_Reasons, "more reason")));
  }
  return Text;
}

}  // namespace

std::string Import_Text(const Capture_Import& Made, const std::filesystem::path& Csv, bool Colour) {
  const Import_Record& Record = Made.Record;
  const auto Has_Line = [](const Imported_Row& Row) { return Row.Csv_Line.has_value(); };
  const auto Rows = std::count_if(Record.Rows.begin(), Record.Rows.end(), Has_Line);
  std::string Text = Painted(Style::Strong, Csv.string(), Colour) + "\n";
  Text += Row_Text("take", Takes_Text(Record));
  Text += Row_Text("camera", Body_Text(Record.Camera_Body, Record.Camera));
  Text += Row_Text("board", Record.Board_Body.empty()
                                ? "stands still and isn't tracked: its sample is the same in each "
                                  "row, and 'rigsync calibrate --solution joint' solves its place"
                                : Body_Text(Record.Board_Body, Record.Board));
  Text += Row_Text("pictures",
                   fmt::format("{}, times: {}", Record.Pictures.string(), Record.Picture_Times));
  Text += Row_Text("stillness", Holds_Text(Made));
  Text += Row_Text("clocks", Clock_Text(Record.Clock));
  // Of a clip each hold asks for a row, of photographs each picture.
  const bool Is_Clip = !Made.Frames.empty();
  Text += Row_Text("rows", fmt::format("{} of {}", Rows,
                                       Counted(Record.Rows.size(), Is_Clip ? "hold" : "picture")));
  return Text + Refusals_Text(Record);
}

std::string Next_Command_Text(const Import_Record& Record, const std::filesystem::path& Csv,
                              const std::string& Board_Flags, bool Colour) {
  const bool Is_Still = Record.Board_Body.empty();
  const bool Moves = Record.Pose == Pose_Choice::Picture;
  return Heading("Next", Colour) +
         fmt::format("  rigsync calibrate {} {}{}{}{}--out {}\n", Shell_Word(Csv.string()),
                     Board_Flags, Line_Continuation(6), Is_Still ? "--solution joint " : "",
                     Moves ? "--lag solve " : "",
                     Shell_Word((Csv.parent_path() / "result").string()));
}

}  // namespace rigsync
