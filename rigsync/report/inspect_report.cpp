// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/inspect_report.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

namespace rigsync {
namespace {

constexpr std::size_t Name_Width = 18;

std::string Row_Text(const char* Name, const std::string& Text) {
  const std::string Right = Folded(Text, 2 + Name_Width);
  return fmt::format("  {:<{}}{}", Name, Name_Width, Right.substr(2 + Name_Width));
}

std::string Counted(std::size_t Count, const char* Name) {
  return fmt::format("{} {}{}", Count, Name, Count == 1 ? "" : "s");
}

std::string File_Text(const Inspection& Made) {
  const Capture_File& File = Made.File;
  std::string Text = Made.Inputs.Csv.string() + "\n";
  Text += Row_Text("lines",
                   fmt::format("{}: {}, {}", File.Line_Count, Counted(File.Header_Count, "header"),
                               Counted(File.Rows.size(), "data line")));
  if (!Made.Search) return Text + Row_Text("boards", "not looked for (--no-images)");
  if (Made.Search->Width > 0) {
    Text += Row_Text("image size",
                     fmt::format("{} x {} pixels", Made.Search->Width, Made.Search->Height));
  }
  Text += Row_Text("boards", fmt::format("found in {} of {}", Made.Search->Usable(),
                                         Counted(File.Rows.size(), "data line")));
  return Text;
}

std::string Map_Text(const Coverage& Covered) {
  std::string Text = fmt::format("\nWhere corners were found: {:.0f} percent of the frame\n",
                                 100.0 * Covered.Share());
  for (const std::string& Line : Map_Lines(Covered)) Text += "  " + Line + "\n";
  return Text + Folded("blank: no corners, . in one image, o in two or three, # in more", 2);
}

std::string Agreement_Text(const Agreement& Agreed) {
  std::string Text = fmt::format("turns differ by {:.2f} degrees", Agreed.Typical_Turn_Deg);
  if (Agreed.Typical_Position) {
    Text += fmt::format(", positions by {:.1f} mm", 1000.0 * *Agreed.Typical_Position);
  }
  return Text;
}

std::string Spread_Text(const Inspection& Made) {
  std::string Text;
  if (Made.Lens) {
    Text += Row_Text("lens", fmt::format("fits the boards to {:.2f} pixels", Made.Lens->Rms));
  }
  if (Made.Posed) {
    Text += Row_Text("board tilt", fmt::format("{:.0f} to {:.0f} degrees", Made.Posed->Least_Tilt,
                                               Made.Posed->Largest_Tilt));
    Text += Row_Text("board distance",
                     fmt::format("{:.2f} to {:.2f} m", Made.Posed->Nearest, Made.Posed->Farthest));
  }
  if (Made.Turned.Rows > 1) {
    Text += Row_Text("camera tracker",
                     fmt::format("turned by up to {:.0f} degrees", Made.Turned.Camera_Deg));
    Text += Row_Text("board tracker",
                     fmt::format("turned by up to {:.0f} degrees", Made.Turned.Board_Deg));
    std::string Relative = fmt::format("turned by up to {:.0f} degrees", Made.Turned.Relative_Deg);
    if (Made.Turned.Axes_Apart_Deg) {
      Relative += fmt::format(", about axes {:.0f} degrees apart", *Made.Turned.Axes_Apart_Deg);
    }
    Text += Row_Text("one to the other", Relative);
  }
  if (Made.Agreed) Text += Row_Text("to the images", Agreement_Text(*Made.Agreed));
  return Text.empty() ? Text : "\nHow the capture is spread, about\n" + Text;
}

Style Style_Of(Level Severity) {
  switch (Severity) {
    case Level::Note:
      return Style::Faint;
    case Level::Warning:
      return Style::Warning;
    case Level::Error:
      return Style::Bad;
  }
  return Style::Strong;
}

std::string Finding_Text(const Finding& One, bool Colour) {
  const std::string Lines = One.Lines.empty() ? "whole capture" : Lines_Text(One.Lines);
  const std::string Name = Level_Name(One.Severity);
  std::string Text = Folded(Name + ", " + Lines, 2);
  Text.replace(2, Name.size(), Painted(Style_Of(One.Severity), Name, Colour));
  Text += Folded(One.What + (One.Example.empty() ? "" : " " + One.Example), 4);
  return Text + Folded("What to do: " + One.Advice, 4);
}

std::string Verdict_Text(const Findings& Told, bool Colour) {
  const std::size_t Errors = Told.Count(Level::Error), Warnings = Told.Count(Level::Warning);
  switch (Told.Gravest()) {
    case Level::Note:
      return "\n" + Painted(Style::Good, "Clean:", Colour) +
             " nothing speaks against calibrating this capture.\n";
    case Level::Warning:
      return "\n" + Painted(Style::Warning, Counted(Warnings, "warning") + ":", Colour) +
             " the capture can be calibrated, but look at the findings first.\n";
    case Level::Error:
      break;
  }
  std::string Counts = Counted(Errors, "error");
  if (Warnings > 0) Counts += fmt::format(" and {}", Counted(Warnings, "warning"));
  return "\n" + Painted(Style::Bad, "Unusable:", Colour) + " " + Counts +
         "; put the errors right before calibrating.\n";
}

}  // namespace

std::string Report_Text(const Inspection& Made, bool Colour) {
  std::string Text = File_Text(Made);
  if (Made.Covered) Text += Map_Text(*Made.Covered);
  Text += Spread_Text(Made);
  const std::vector<Finding> Sorted = Made.Told.Sorted();
  if (!Sorted.empty()) Text += "\nFindings\n";
  for (const Finding& One : Sorted) Text += Finding_Text(One, Colour);
  return Text + Verdict_Text(Made.Told, Colour);
}

}  // namespace rigsync
