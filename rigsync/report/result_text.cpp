// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/result_text.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// More dropped images than this are summed up: result.json has them all.
constexpr std::size_t Most_Dropped_Shown = 12;

std::string Heading(const std::string& Text, bool Colour) {
  return "\n" + Painted(Style::Strong, Text, Colour) + "\n";
}

std::string Inspect_Hint(const Calibration_Inputs& Inputs) {
  const std::filesystem::path Csv = Plain_Path(Inputs.Csv);
  const std::filesystem::path Image_Root = Plain_Path(Inputs.Image_Root);
  std::string Text = Folded("Look for the cause in the capture, line by line, with", 2);
  Text += fmt::format("    rigsync inspect {} --board {}x{} --square {}", Shell_Word(Csv.string()),
                      Inputs.Board.Cols, Inputs.Board.Rows, Inputs.Square_Size);
  Text += Command_Goes_On(6) + fmt::format("--board-euler {} --board-offset {}",
                                           fmt::join(Inputs.Board_Euler, ","),
                                           fmt::join(Inputs.Board_Offset, ","));
  if (Image_Root != Csv.parent_path()) {
    Text += Command_Goes_On(6) + "--image-root " + Shell_Word(Image_Root.string());
  }
  return Text + "\n";
}

// A good code says nothing of numbers that aren't finite: no comparison with a limit holds for
// them.
std::string Not_Finite_Text(const Calibration_Result& Result, bool Colour) {
  const std::string Sentence = fmt::format(
      "Code {}, but don't use the result: it holds numbers that are not finite (nan or inf).",
      *Result.Code);
  return Painted_Lines(Style::Bad, Folded(Sentence, 0), Colour) + Heading("Next step", Colour) +
         Folded("Look in the CSV for tracker values that are no numbers.", 2) +
         Inspect_Hint(Result.Inputs);
}

// What the code means and what to do. A good run needs no more; for others also what they mean on
// the stage and where they come from.
std::string Verdict_Text(const Calibration_Result& Result, bool Colour) {
  const int Code = *Result.Code;
  if (Is_Usable(Code) && !Is_Usable(Result)) return Not_Finite_Text(Result, Colour);
  const Code_Advice Advice = Advice_For(Code);
  const Style Tone = Code == 0 ? Style::Good : Is_Usable(Code) ? Style::Warning : Style::Bad;
  const std::string Sentence = Folded(fmt::format("Code {}. {}", Code, Advice.Meaning), 0);
  std::string Text = Painted_Lines(Tone, Sentence, Colour);
  if (Code == 0) return Text + Folded(Advice.Next_Step, 2);
  Text += Folded(Advice.On_Stage, 2);
  Text += Heading("Likely causes, the most likely first", Colour);
  for (const std::string& Cause : Advice.Causes) Text += "  - " + Folded(Cause, 4).substr(4);
  Text += Heading("Next step", Colour) + Folded(Advice.Next_Step, 2);
  return May_Lie_In_The_Capture(Code) ? Text + Inspect_Hint(Result.Inputs) : Text;
}

std::string Fit_Text(const Run_Report& Report, bool Colour) {
  std::string Text;
  if (Report.Reprojection_Px && Report.Norm_Reprojection) {
    Text += fmt::format("  predicted to found corners  {:>8.3f} px\n", *Report.Reprojection_Px);
    Text += fmt::format("  the same at 1080 lines      {:>8.3f} px   good up to 12, usable to 18\n",
                        *Report.Norm_Reprojection * 1080.0);
  }
  if (Report.Spread_M && Report.Max_Spread_M) {
    const auto& Spread = *Report.Spread_M;
    Text += fmt::format("  spread of the mount         {:>8.2f} mm   good up to 10, usable to 15\n",
                        *Report.Max_Spread_M * 1000.0);
    Text += fmt::format("    on x, y and z             {:>8.2f} {:>7.2f} {:>7.2f} mm\n",
                        Spread[0] * 1000.0, Spread[1] * 1000.0, Spread[2] * 1000.0);
  }
  if (Report.Lens_Rms_Px) {
    Text += fmt::format("  lens alone                  {:>8.3f} px   usable to 1.5\n",
                        *Report.Lens_Rms_Px);
  }
  return Text.empty() ? Text : Heading("Fit", Colour) + Text;
}

// The reason first: paths are of any length.
std::string Dropped_Text(const Calibration_Result& Result, std::size_t i) {
  const Image_Report& Image = Result.Report.Images[i];
  const auto Line = Csv_Line(Result, i);
  const std::string Place = Line ? fmt::format("line {:3}  ", *Line) : std::string();
  const char* const Outlier = Image.Fate == Image_Fate::Outlier ? "outlier, " : "";
  const std::size_t Indent = 2 + Place.size();
  const std::string Reason = Folded(Outlier + Drop_Reason(Result.Report, Image), Indent);
  const std::string Margin(Place.empty() ? 4 : Indent, ' ');
  return fmt::format("  {}{}{}{}\n", Place, Reason.substr(Indent), Margin, One_Line(Image.Name));
}

// An outlier by its position, in a result that can be used.
bool Has_Usual_Outliers(const Calibration_Result& Result) {
  const auto& Images = Result.Report.Images;
  return Is_Usable(Result) && std::any_of(Images.begin(), Images.end(), [](const auto& Image) {
           return Image.Fate == Image_Fate::Outlier && !Is_Axis_Off(Image);
         });
}

std::string Images_Text(const Calibration_Result& Result, bool Colour) {
  const Run_Report& Report = Result.Report;
  if (Report.Images.empty()) return {};
  const std::size_t Kept = Count_Of(Report, Image_Fate::Kept);
  const std::size_t Outliers = Count_Of(Report, Image_Fate::Outlier);
  const std::size_t Unknown = Count_Of(Report, Image_Fate::Unknown);
  const std::size_t Dropped = Report.Images.size() - Kept - Unknown;
  std::string Text =
      Heading(fmt::format("Images: {} looked at, {} show the board, {} kept", Report.Images.size(),
                          Kept + Outliers + Unknown, Count_Left(Report)),
              Colour);
  std::size_t Shown = 0;
  for (std::size_t i = 0; i < Report.Images.size() && Shown < Most_Dropped_Shown; ++i) {
    const Image_Fate Fate = Report.Images[i].Fate;
    if (Fate == Image_Fate::Kept || Fate == Image_Fate::Unknown) continue;
    Text += Dropped_Text(Result, i);
    ++Shown;
  }
  if (Dropped > Shown) {
    Text += fmt::format("  and {} more dropped; result.json lists them all\n", Dropped - Shown);
  }
  if (Has_Usual_Outliers(Result)) {
    Text += Folded(
        "Position limits are 1.3 times the spread of this capture, so a good one has outliers too: "
        "about half of the images where all is noise.",
        2);
  }
  if (Unknown > 0) {
    const std::size_t Outside = Unknown - std::min(Count_Left(Report), Unknown);
    Text += Folded(
        fmt::format("Of the other {}, {} by {} position; the run log doesn't tell which.", Unknown,
                    Outside == 1 ? "1 is an outlier" : fmt::format("{} are outliers", Outside),
                    Outside == 1 ? "its" : "their"),
        2);
  }
  return Text;
}

std::string Lens_Text(const Calibration_Result& Result, bool Colour) {
  if (Result.Norm_Fxy.empty()) return {};
  std::string Text = Heading(
      fmt::format("Lens, at {:.0f} x {:.0f} pixels", Result.Image_Size[0], Result.Image_Size[1]),
      Colour);
  Text += fmt::format("  focal length     {:10.6f} of the width  {:10.6f} of the height\n",
                      Result.Norm_Fxy[0], Result.Norm_Fxy[1]);
  Text += fmt::format("  principal point  {:10.6f} of the width  {:10.6f} of the height\n",
                      Result.Norm_Cxy[0], Result.Norm_Cxy[1]);
  Text += fmt::format("  distortion       {:10.6f} k1            {:10.6f} k2\n",
                      Result.Distortion[0], Result.Distortion[1]);
  if (!Result.FoV.empty()) {
    Text += fmt::format("  field of view    {:10.4f} deg across    {:10.4f} deg down\n",
                        Result.FoV[0], Result.FoV[1]);
    Text += fmt::format("  focal length     {:10.4f} mm\n", Result.Focal_Length_mm[0]);
  }
  return Text;
}

// "60.0 mm right", or "left" for a negative value.
std::string Direction_Text(double Metres, const char* Positive, const char* Negative) {
  return fmt::format("{:.1f} mm {}", std::abs(Metres) * 1000.0, Metres < 0 ? Negative : Positive);
}

std::string Mount_Text(const std::vector<double>& Transform, bool Colour) {
  if (Transform.empty()) return {};
  std::string Text = Heading("Transform_Cam_Tc (tracker to camera; last column in metres)", Colour);
  for (int r = 0; r < 4; ++r) Text += "  " + Row_Text(Transform, r) + "\n";
  return Text + Folded(fmt::format("Seen from the camera, the tracker sits {}, {} and {}.",
                                   Direction_Text(Transform[3], "to the right", "to the left"),
                                   Direction_Text(Transform[7], "down", "up"),
                                   Direction_Text(Transform[11], "ahead", "behind")),
                       2);
}

std::string Files_Text(const Calibration_Result& Result,
                       const std::vector<std::filesystem::path>& Reprojections,
                       const std::filesystem::path& Latest, bool Colour) {
  std::string Text = Heading("Files", Colour);
  Text += fmt::format("  result           {}\n", Latest.string());
  if (!Result.Run_Log.empty())
    Text += fmt::format("  run log          {}\n", Result.Run_Log.string());
  if (Reprojections.empty()) return Text;
  Text += fmt::format("  reprojection     {}\n",
                      Reprojections.size() == 1
                          ? "1 image,"
                          : fmt::format("{} images, the first is", Reprojections.size()));
  Text += fmt::format("                   {}\n", Reprojections.front().string());
  return Text + "                   (red: corner found, blue over it: corner predicted)\n";
}

}  // namespace

std::string Result_Text(const Calibration_Result& Result,
                        const std::vector<std::filesystem::path>& Reprojections,
                        const std::filesystem::path& Latest, bool Colour) {
  return Verdict_Text(Result, Colour) + Fit_Text(Result.Report, Colour) +
         Images_Text(Result, Colour) + Lens_Text(Result, Colour) +
         Mount_Text(Result.Transform_Cam_Tc, Colour) +
         Files_Text(Result, Reprojections, Latest, Colour);
}

}  // namespace rigsync
