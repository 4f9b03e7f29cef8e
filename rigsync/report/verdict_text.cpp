// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/verdict_text.h"

#include "rigsync/report/heading.h"
#include "rigsync/report/lag_text.h"
#include "rigsync/report/verdict_words.h"
#include "rigsync/solve/talent_error.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

namespace rigsync {
namespace {

const Joint_Solution& Joint_Of(const Calibration_Result& Result) {
  static const Joint_Solution Nothing;
  return Result.Solved ? Result.Solved->Joint : Nothing;
}

std::string Mount_Line(const char* Name, const std::vector<double>& Transform) {
  if (Transform.size() != 16) return {};
  return fmt::format("  {:<9}{:>9.2f} {:>9.2f} {:>9.2f}\n", Name, 1000.0 * Transform[3],
                     1000.0 * Transform[7], 1000.0 * Transform[11]);
}

std::string Half_Widths_Text(const Mount_Uncertainty& Mount) {
  return fmt::format("  {:<9}{:>9.2f} {:>9.2f} {:>9.2f}   and {:.3f} {:.3f} {:.3f} degrees\n",
                     "+- 95 %", Mount.Half_Width_Mm[0], Mount.Half_Width_Mm[1],
                     Mount.Half_Width_Mm[2], Mount.Half_Width_Deg[0], Mount.Half_Width_Deg[1],
                     Mount.Half_Width_Deg[2]);
}

std::string Talent_Text(const Calibration_Result& Result) {
  const Joint_Solution& Joint = Joint_Of(Result);
  const Talent_Error Error = Error_At_Talent(Joint.Camera_Mount, Joint.At.Transform_Cam_Tc,
                                             Result.Solved->Lens_Px, Result.Inputs.Talent_Distance);
  return Folded(
      fmt::format("At {:g} m from the camera this is +- {:.2f} mm, or {:.1f} pixels.",
                  Result.Inputs.Talent_Distance, Error.Half_Width_Mm, Error.Half_Width_Px),
      2);
}

// Images that the library did not use and the joint solve did.
std::string Cut_Off_Text(const Joint_Solution& Joint) {
  const std::size_t Count = Count_Cut_Off(Joint);
  if (Count == 0) return {};
  return Folded(
      fmt::format("The joint mount also uses {} image{} that the library leaves out, because the "
                  "board is cut off or partly covered.",
                  Count, Count == 1 ? "" : "s"),
      2);
}

// The mounts of both solves, the chosen one first.
std::string Mounts_Text(const Calibration_Result& Result, bool Colour) {
  if (Result.Transform_Cam_Tc.empty() && Result.Joint_Transform_Cam_Tc.empty()) return {};
  std::string Text =
      Heading("Where the tracker is, mm", Colour) + "                right      down     ahead\n";
  const bool Is_Joint = Result.Inputs.Solution == Solution_Choice::Joint;
  const std::string Library = Mount_Line("library", Result.Transform_Cam_Tc);
  const std::string Joint = Mount_Line("joint", Result.Joint_Transform_Cam_Tc);
  Text += Is_Joint ? Joint + Library : Library + Joint;
  if (Result.Joint_Transform_Cam_Tc.empty()) return Text;
  const Joint_Solution& Solved = Joint_Of(Result);
  return Text + Half_Widths_Text(Solved.Camera_Mount) + Talent_Text(Result) + Cut_Off_Text(Solved);
}

std::string Lag_Text(const Calibration_Result& Result, bool Colour) {
  const std::optional<Lag_Estimate>& Lag = Joint_Of(Result).Lag;
  if (!Lag) return {};
  return Heading("Lag between pictures and samples", Colour) + Folded(Lag_Sentences(*Lag), 2);
}

std::string Cause_Text(const Verdict_Words& Words, bool Colour) {
  return Words.Cause.empty() ? "" : Heading(Words.Cause_Title, Colour) + Folded(Words.Cause, 2);
}

std::string Next_Step_Text(const Verdict_Words& Words, bool Colour) {
  std::string Text = Heading("Next step", Colour);
  for (const Next_Step& Step : Words.Next_Steps) {
    Text += Step.Is_Command ? "    " + Step.Text + "\n" : Folded(Step.Text, 2);
  }
  return Text;
}

}  // namespace

Style Verdict_Style(Verdict Judgement) {
  switch (Judgement) {
    case Verdict::Agree:
      return Style::Good;
    case Verdict::Look:
      return Style::Warning;
    case Verdict::Dont_Use:
      break;
  }
  return Style::Bad;
}

std::string Verdict_Text(const Calibration_Result& Result, const std::filesystem::path& Result_File,
                         bool Colour) {
  const Verdict_Words Words = Words_Of(Result, Result_File);
  const std::string Headline = Folded(Words.Short + " " + Words.First_Reason, 0);
  std::string Text = Painted_Lines(Verdict_Style(Words.Tone), Headline, Colour);
  for (const std::string& Reason : Words.Other_Reasons) Text += Folded(Reason, 2);
  return Text + Mounts_Text(Result, Colour) + Lag_Text(Result, Colour) + Cause_Text(Words, Colour) +
         Next_Step_Text(Words, Colour);
}

}  // namespace rigsync
