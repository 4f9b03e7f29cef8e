// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/inspect_report.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/inspect/amount.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

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

std::size_t Count_State(const Board_Search& Search, Image_State State) {
  return static_cast<std::size_t>(
      std::count_if(Search.Images.begin(), Search.Images.end(),
                    [State](const Searched_Image& Image) { return Image.State == State; }));
}

std::string Boards_Text(const Inspection& Result) {
  if (Result.Other_Counts) {
    const Board_Size& Stated = Result.Inputs.Board.Board;
    const Board_Size& Seen = Result.Other_Counts->Board;
    return fmt::format("none of {}x{} inner corners; this looks like {}x{}", Stated.Cols,
                       Stated.Rows, Seen.Cols, Seen.Rows);
  }
  if (const std::size_t Left_Out = Count_State(*Result.Search, Image_State::Not_Searched);
      Left_Out > 0) {
    return fmt::format("found in none of {}; {} not searched",
                       Counted(Result.File.Rows.size() - Left_Out, "data line"), Left_Out);
  }
  std::string Text = fmt::format("found in {} of {}", Result.Search->Usable_Count(),
                                 Counted(Result.File.Rows.size(), "data line"));
  const std::size_t Cut_Off = Count_State(*Result.Search, Image_State::Board_Cut_Off);
  return Cut_Off == 0 ? Text : Text + fmt::format(", cut off in {}", Cut_Off);
}

std::string File_Text(const Inspection& Result) {
  const Capture_File& File = Result.File;
  std::string Text = Result.Inputs.Csv.string() + "\n";
  Text += Row_Text("lines",
                   fmt::format("{}: {}, {}", File.Line_Count, Counted(File.Header_Count, "header"),
                               Counted(File.Rows.size(), "data line")));
  if (!Result.Search) return Text + Row_Text("boards", "not searched for: no image was opened");
  if (Result.Search->Width > 0) {
    Text += Row_Text("image size",
                     fmt::format("{} x {} pixels", Result.Search->Width, Result.Search->Height));
  }
  return Text + Row_Text("boards", Boards_Text(Result));
}

std::string Map_Text(const Coverage& Frame_Coverage) {
  std::string Text = fmt::format("\nWhere corners were found: {:.0f} percent of the frame\n",
                                 100.0 * Frame_Coverage.Share());
  for (const std::string& Line : Map_Lines(Frame_Coverage)) Text += "  " + Line + "\n";
  return Text + Folded("blank: no corners, . in one image, o in two or three, # in more", 2);
}

std::string Agreement_Text(const Agreement& Measured) {
  std::string Text =
      fmt::format("rotations differ by {:.2f} degrees", Measured.Median_Rotation_Residual_Deg);
  if (Measured.Median_Position_Residual) {
    Text += fmt::format(", positions by {:.1f} mm", 1000.0 * *Measured.Median_Position_Residual);
  }
  return Text;
}

std::string Spread_Text(const Inspection& Result) {
  std::string Text;
  if (Result.Lens) {
    Text += Row_Text("lens", fmt::format("fits the boards to {:.2f} pixels RMS", Result.Lens->Rms));
  }
  if (Result.Board_Poses) {
    Text += Row_Text("board tilt",
                     fmt::format("{:.0f} to {:.0f} degrees", Result.Board_Poses->Least_Tilt,
                                 Result.Board_Poses->Largest_Tilt));
    Text +=
        Row_Text("board distance", fmt::format("{:.2f} to {:.2f} m", Result.Board_Poses->Nearest,
                                               Result.Board_Poses->Farthest));
  }
  if (Result.Rotations.Rows > 1) {
    Text += Row_Text("camera tracker",
                     fmt::format("rotates by up to {:.0f} degrees", Result.Rotations.Camera_Deg));
    Text += Row_Text("board tracker",
                     fmt::format("rotates by up to {:.0f} degrees", Result.Rotations.Board_Deg));
    std::string Relative =
        fmt::format("rotates by up to {:.0f} degrees", Result.Rotations.Relative_Deg);
    if (Result.Rotations.Axis_Spread_Deg) {
      Relative += fmt::format(", axes spread by {:.0f} degrees", *Result.Rotations.Axis_Spread_Deg);
    }
    Text += Row_Text("camera to board", Relative);
  }
  if (Result.Tracker_Agreement && !Is_Solution_Sound(Result)) {
    Text += Row_Text("against images", Agreement_Text(*Result.Tracker_Agreement));
  }
  return Text.empty() ? Text : "\nApproximate spread of the capture\n" + Text;
}

// Rounded to a tenth or a hundredth, and never -0.0.
double Tenths(double Value) {
  return std::round(10.0 * Value) / 10.0 + 0.0;
}

double Hundredths(double Value) {
  return std::round(100.0 * Value) / 100.0 + 0.0;
}

// Beyond this a half-width, mm or degrees, says no more than that the mount is open.
constexpr double Widest_Told = 1000.0;

std::string Half_Width_Text(double Half_Width) {
  return Half_Width <= Widest_Told ? Amount(Half_Width)
                                   : fmt::format("more than {:g}", Widest_Told);
}

std::string Camera_Mount_Text(const Joint_Solution& Joint) {
  const Mount_Uncertainty& Mount = Joint.Camera_Mount;
  const Eigen::Vector3d Mm = 1000.0 * Joint.At.Transform_Cam_Tc.translation();
  return fmt::format(
      "{:.1f} mm right, {:.1f} mm down, {:.1f} mm ahead of the lens, +- {}, {} and {} mm; rotation "
      "+- {} degrees",
      Tenths(Mm.x()), Tenths(Mm.y()), Tenths(Mm.z()), Half_Width_Text(Mount.Half_Width_Mm.x()),
      Half_Width_Text(Mount.Half_Width_Mm.y()), Half_Width_Text(Mount.Half_Width_Mm.z()),
      Half_Width_Text(Mount.Widest_Deg.Half_Width));
}

std::string Noise_Text(const Capture_Solution& Solution) {
  const Noise_Estimate& Noise = Solution.Joint.Noise;
  return fmt::format("{} (both together), {} (each); corners {} pixels", Amount_Mm(Noise.Position),
                     Amount_Deg(Degrees_Per_Radian * Noise.Rotation_Rad),
                     Amount(Noise.Corner_Factor * std::sqrt(Solution.Seen.Corner_Variance)));
}

std::string Solution_Text(const Inspection& Result) {
  if (!Is_Solution_Sound(Result)) return {};
  const Joint_Solution& Joint = Result.Solution->Joint;
  const Mount_Uncertainty& Board = Joint.Board_Mount;
  const Board_Place Place = Place_From_Transform(Joint.At.Transform_Tr_Chart);
  const auto Kept =
      std::count_if(Joint.Rows.begin(), Joint.Rows.end(), [](auto& Row) { return Row.Is_Kept; });
  std::string Text = "\nSolved from images and samples (+- at 95 percent)\n";
  Text += Row_Text("camera tracker", Camera_Mount_Text(Joint));
  Text +=
      Row_Text("board's angles",
               fmt::format("{:.2f},{:.2f},{:.2f} degrees, +- {}", Hundredths(Place.Euler_Deg[0]),
                           Hundredths(Place.Euler_Deg[1]), Hundredths(Place.Euler_Deg[2]),
                           Half_Width_Text(Board.Widest_Deg.Half_Width)));
  Text += Row_Text("board's offset",
                   fmt::format("{:.1f},{:.1f},{:.1f} mm, +- {}", Tenths(1000.0 * Place.Offset[0]),
                               Tenths(1000.0 * Place.Offset[1]), Tenths(1000.0 * Place.Offset[2]),
                               Half_Width_Text(Board.Widest_Mm.Half_Width)));
  Text += Row_Text("tracker noise", Noise_Text(*Result.Solution));
  return Text + Row_Text("lines that agree", fmt::format("{} of {}", Kept, Joint.Rows.size()));
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

std::string Verdict_Text(const Inspection& Result, bool Colour) {
  const Findings& List = Result.All_Findings;
  const std::size_t Errors = List.Count(Level::Error), Warnings = List.Count(Level::Warning);
  switch (List.Gravest()) {
    case Level::Note:
      return "\n" + Painted(Style::Good, "Clean:", Colour) +
             (Result.Search ? " the capture is ready to be calibrated.\n"
                            : " nothing is wrong with the file. The images were not checked.\n");
    case Level::Warning:
      return "\n" + Painted(Style::Warning, Counted(Warnings, "warning") + ":", Colour) +
             " check the findings before you calibrate.\n";
    case Level::Error:
      break;
  }
  std::string Counts = Counted(Errors, "error");
  if (Warnings > 0) Counts += fmt::format(" and {}", Counted(Warnings, "warning"));
  return "\n" + Painted(Style::Bad, "Unusable:", Colour) + " " + Counts +
         "; correct the errors before calibrating.\n";
}

}  // namespace

std::vector<std::string> Map_Lines(const Coverage& Frame_Coverage) {
  const std::string Border =
      "+" + std::string(static_cast<std::size_t>(2 * Frame_Coverage.Cols), '-') + "+";
  std::vector<std::string> Lines = {Border};
  for (int r = 0; r < Frame_Coverage.Rows; ++r) {
    std::string Line = "|";
    for (int c = 0; c < Frame_Coverage.Cols; ++c) {
      const int Count = Frame_Coverage.At(r, c);
      const char Mark = Count == 0 ? ' ' : Count == 1 ? '.' : Count <= 3 ? 'o' : '#';
      Line += std::string(2, Mark);
    }
    Lines.push_back(Line + "|");
  }
  Lines.push_back(Border);
  return Lines;
}

std::string Inspection_Text(const Inspection& Result, bool Colour) {
  std::string Text = File_Text(Result);
  if (Result.Frame_Coverage) Text += Map_Text(*Result.Frame_Coverage);
  Text += Spread_Text(Result) + Solution_Text(Result);
  const std::vector<Finding> Sorted = Result.All_Findings.Sorted();
  if (!Sorted.empty()) Text += "\nFindings\n";
  for (const Finding& One : Sorted) Text += Finding_Text(One, Colour);
  return Text + Verdict_Text(Result, Colour);
}

}  // namespace rigsync
