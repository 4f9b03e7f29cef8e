// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/result_text.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/capture/library_limits.h"
#include "rigsync/report/dropped_images_text.h"
#include "rigsync/report/heading.h"
#include "rigsync/report/transform_text.h"
#include "rigsync/report/verdict_text.h"
#include "rigsync/report/verdict_words.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace rigsync {
namespace {

namespace limits = library_limits;

std::string Inspect_Hint(const Calibration_Inputs& Inputs) {
  const std::filesystem::path Csv = Plain_Path(Inputs.Csv);
  const std::filesystem::path Image_Root = Plain_Path(Inputs.Image_Root);
  std::string Text = Folded("To check the capture line by line, run", 2);
  Text += fmt::format("    rigsync inspect {} --board {}x{} --square {}", Shell_Word(Csv.string()),
                      Inputs.Board.Cols, Inputs.Board.Rows, Inputs.Square_Size);
  if (Inputs.Stated_Board) {
    Text += Line_Continuation(6) + fmt::format("--board-euler {} --board-offset {}",
                                               fmt::join(Inputs.Stated_Board->Euler_Deg, ","),
                                               fmt::join(Inputs.Stated_Board->Offset, ","));
  }
  if (Image_Root != Csv.parent_path()) {
    Text += Line_Continuation(6) + "--image-root " + Shell_Word(Image_Root.string());
  }
  return Text + "\n";
}

// For a result whose code is good only because NaN is above no limit.
std::string Not_Finite_Text(const Calibration_Result& Result, bool Colour) {
  const std::string Sentence = Folded(Not_Finite_Sentence(*Result.Code), 0);
  return Painted_Lines(Style::Bad, Sentence, Colour) + Heading("Next step", Colour) +
         Folded(Not_Finite_Advice, 2) + Inspect_Hint(Result.Inputs);
}

std::string Causes_Text(const Code_Advice& Advice, bool Colour) {
  std::string Text = Heading("Likely causes, most likely first", Colour);
  for (const std::string& Cause : Advice.Causes) Text += "  - " + Folded(Cause, 4).substr(4);
  return Text;
}

// The meaning of the code and the next step; for any code but 0 also its meaning on the stage and
// its likely causes.
std::string Code_Verdict_Text(const Calibration_Result& Result, bool Colour) {
  const int Code = *Result.Code;
  if (Has_Misleading_Code(Result)) return Not_Finite_Text(Result, Colour);
  const Code_Advice Advice = Advice_For(Code);
  std::string Text =
      Painted_Lines(Verdict_Style(Tone_Of_Code(Code)), Folded(Code_Sentence(Code), 0), Colour);
  if (Code == 0) return Text + Folded(Advice.Next_Step, 2);
  Text += Folded(Advice.On_Stage, 2) + Causes_Text(Advice, Colour);
  Text += Heading("Next step", Colour) + Folded(Advice.Next_Step, 2);
  return May_Blame_Capture(Code) ? Text + Inspect_Hint(Result.Inputs) : Text;
}

// Below the verdict of both solves: what the library says about its own. The causes of a code are
// general; the capture's own cause, where it is known, replaces them.
std::string Library_Text(const Calibration_Result& Result, bool Colour) {
  const Code_Advice Advice = Advice_For(*Result.Code);
  std::string Text = Heading("The library's own verdict", Colour);
  Text += Folded(Code_Sentence(*Result.Code), 2);
  if (*Result.Code == 0) return Text;
  Text += Folded(Advice.On_Stage, 2);
  if (!Result.Cause) Text += Causes_Text(Advice, Colour);
  return May_Blame_Capture(*Result.Code) ? Text + Inspect_Hint(Result.Inputs) : Text;
}

std::string Limits_Text(double Good, double Usable) {
  return fmt::format("good up to {:g}, usable up to {:g}", Good, Usable);
}

std::string Fit_Text(const Run_Report& Report, bool Colour) {
  std::string Text;
  if (Report.Reprojection_Px && Report.Norm_Reprojection) {
    Text += fmt::format("  reprojection error          {:>8.3f} px\n", *Report.Reprojection_Px);
    Text +=
        fmt::format("    in an image of {:g} lines{:>9.3f} px   {}\n", limits::Reference_Height_Px,
                    *Report.Norm_Reprojection * limits::Reference_Height_Px,
                    Limits_Text(limits::Good_Reprojection_Px, limits::Usable_Reprojection_Px));
  }
  if (Report.Spread_M && Report.Max_Spread_M) {
    const auto& Spread = *Report.Spread_M;
    Text += fmt::format("  mount standard deviation    {:>8.2f} mm   {}\n",
                        *Report.Max_Spread_M * 1000.0,
                        Limits_Text(limits::Good_Spread_Mm, limits::Usable_Spread_Mm));
    Text += fmt::format("    on x, y and z             {:>8.2f} {:>7.2f} {:>7.2f} mm\n",
                        Spread[0] * 1000.0, Spread[1] * 1000.0, Spread[2] * 1000.0);
  }
  if (Report.Lens_Rms_Px) {
    Text += fmt::format("  lens RMS error              {:>8.3f} px   usable up to {:g}\n",
                        *Report.Lens_Rms_Px, limits::Lens_Rms_Px);
  }
  return Text.empty() ? Text : Heading("Fit", Colour) + Text;
}

// Whether a usable result has outliers by position, as nearly every one does.
bool Has_Usual_Outliers(const Calibration_Result& Result) {
  const auto& Images = Result.Report.Images;
  return Is_Usable(Result) && std::any_of(Images.begin(), Images.end(), [](const auto& Image) {
           return Image.Fate == Image_Fate::Outlier && !Is_Axis_Beyond_Limit(Image);
         });
}

std::string Images_Text(const Calibration_Result& Result, bool Colour) {
  const Run_Report& Report = Result.Report;
  if (Report.Images.empty()) return {};
  const std::size_t Kept = Count_Images(Report, Image_Fate::Kept);
  const std::size_t Outliers = Count_Images(Report, Image_Fate::Outlier);
  const std::size_t Unknown = Count_Images(Report, Image_Fate::Unknown);
  std::string Text =
      Heading(fmt::format("Images: {} searched, {} show the board, {} kept", Report.Images.size(),
                          Kept + Outliers + Unknown, Count_Remaining(Report)),
              Colour);
  Text += Dropped_Images_Text(Result);
  if (Has_Usual_Outliers(Result)) {
    Text +=
        Folded(fmt::format(
                   "The position limit is {:g} standard deviations of this capture, so even a good "
                   "capture has outliers: about half of its images if only noise is left.",
                   limits::Position_Deviations),
               2);
  }
  if (Unknown > 0) {
    const std::size_t Unnamed_Outliers = Unknown - std::min(Count_Remaining(Report), Unknown);
    Text += Folded(
        fmt::format("Of the other {}, {} by position; the run log does not say which.", Unknown,
                    Unnamed_Outliers == 1 ? "1 is an outlier"
                                          : fmt::format("{} are outliers", Unnamed_Outliers)),
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

std::string Mount_Text(const Calibration_Result& Result, bool Colour) {
  const std::vector<double>& Transform = Chosen_Transform_Cam_Tc(Result);
  if (Transform.empty()) return {};
  std::string Text = Heading("Transform_Cam_Tc (tracker to camera; last column in metres)", Colour);
  for (int r = 0; r < 4; ++r) Text += "  " + Transform_Row_Text(Transform, r) + "\n";
  if (Result.Library_Axes.Is_Turned) {
    Text += Folded(
        fmt::format("The library's outlier filter needs a mount that is turned by some tens of "
                    "degrees, and this one is by {:.1f}. So the library got the camera's samples "
                    "with other axes, and the transform is that of the tracker's own.",
                    Result.Library_Axes.Mount_Angle_Deg),
        2);
  }
  const std::string Place = Seen_From_Camera(Transform);
  return Place.empty() ? Text : Text + Folded(Place, 2);
}

std::string Files_Text(const Calibration_Result& Result, const Written_Files& Files, bool Colour) {
  std::string Text = Heading("Files", Colour);
  Text += fmt::format("  result           {}\n", Files.Result.string());
  if (!Files.Page.empty()) Text += fmt::format("  page             {}\n", Files.Page.string());
  if (!Result.Run_Log.empty()) {
    Text += fmt::format("  run log          {}\n", Result.Run_Log.string());
  }
  const auto& Reprojections = Files.Reprojections;
  if (Reprojections.empty()) return Text;
  Text += fmt::format("  reprojection     {}\n",
                      Reprojections.size() == 1
                          ? "1 image,"
                          : fmt::format("{} images, the first is", Reprojections.size()));
  Text += fmt::format("                   {}\n", Reprojections.front().string());
  return Text + "                   (red: found corner, blue on top: predicted corner)\n";
}

}  // namespace

std::string Result_Text(const Calibration_Result& Result, const Written_Files& Files, bool Colour) {
  const std::string First =
      Result.Opinion ? Verdict_Text(Result, Files.Result, Colour) + Library_Text(Result, Colour)
                     : Code_Verdict_Text(Result, Colour);
  return First + Fit_Text(Result.Report, Colour) + Images_Text(Result, Colour) +
         Lens_Text(Result, Colour) + Mount_Text(Result, Colour) + Files_Text(Result, Files, Colour);
}

}  // namespace rigsync
