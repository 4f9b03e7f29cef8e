// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/verdict_text.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/result_judgement.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/report/heading.h"
#include "rigsync/solve/talent_error.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <cmath>

namespace rigsync {
namespace {

const Joint_Solution& Joint_Of(const Calibration_Result& Result) {
  static const Joint_Solution Nothing;
  return Result.Solved ? Result.Solved->Joint : Nothing;
}

std::string Limits_Text(const Calibration_Result& Result) {
  return fmt::format("the limits are {:g} mm and {:g} degrees", Result.Inputs.Limits.Mm,
                     Result.Inputs.Limits.Deg);
}

std::string Apart_Text(const Calibration_Result& Result) {
  return fmt::format("{:.2f} mm and {:.3f} degrees apart", Result.Opinion->Difference_Mm,
                     Result.Opinion->Difference_Deg);
}

std::string Not_Solved_Text(const Joint_Solution& Joint) {
  switch (Joint.Status) {
    case Solve_Status::Too_Few_Rows:
      return fmt::format(
          "Fewer than {} rows have a board and sound samples, too few to confirm a mount.",
          Least_Rows);
    case Solve_Status::No_Majority:
      return "No more than half of the rows agree with each other.";
    case Solve_Status::Not_Converged:
    case Solve_Status::Solved:
      break;
  }
  return "The rows do not determine the mount.";
}

std::string Slip_Text(const Calibration_Result& Result, const char* Sureness) {
  const auto& Slip = Result.Solved->Likeliest_Slip;
  return fmt::format("The {} tracker {} on its mount during the capture.",
                     Slip && Slip->Tracker == Slipped_Tracker::Board ? "board's" : "camera's",
                     Sureness);
}

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

// A code 99 and an agreement make a result that is usable, but not good.
std::string Headline(const Calibration_Result& Result) {
  switch (Result.Opinion->Judgement) {
    case Verdict::Agree:
      return fmt::format("Usable. The library and the joint solve agree: {}.", Apart_Text(Result));
    case Verdict::Look:
      return "Look before you use it. " + Reason_Text(Result.Opinion->Reasons.front(), Result);
    case Verdict::Dont_Use:
      break;
  }
  return "Don't use it. " + Reason_Text(Result.Opinion->Reasons.front(), Result);
}

std::string Other_Reasons_Text(const Calibration_Result& Result) {
  std::string Text;
  const auto& Reasons = Result.Opinion->Reasons;
  for (std::size_t i = 1; i < Reasons.size(); ++i) {
    Text += Folded(Reason_Text(Reasons[i], Result), 2);
  }
  return Text;
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
  return Text + Half_Widths_Text(Joint_Of(Result).Camera_Mount) + Talent_Text(Result);
}

// Where the inspection blames nothing.
std::string Unnamed_Cause_Text(const Calibration_Result& Result) {
  switch (Result.Opinion->Reasons.front()) {
    case Verdict_Reason::Lens_Does_Not_Fit:
      return "The lens has distortion that the lens model does not have.";
    case Verdict_Reason::Width_Beyond_Limit:
    case Verdict_Reason::Difference_And_Width:
      return "Nothing is wrong with single lines; the capture as a whole is too weak for these "
             "limits.";
    default:
      return "No single cause stands out.";
  }
}

std::string Cause_Text(const Calibration_Result& Result, bool Colour) {
  if (Result.Opinion->Judgement == Verdict::Agree) return {};
  const std::string Title = Heading("Cause", Colour);
  if (!Result.Cause) return Title + Folded(Unnamed_Cause_Text(Result), 2);
  const std::string Lines = Lines_Text(Result.Cause->Lines);
  std::string Text = Result.Cause->What;
  if (!Result.Cause->Example.empty()) Text += " " + Result.Cause->Example;
  if (!Lines.empty()) Text += " (" + Lines + ")";
  return Title + Folded(Text, 2);
}

// Whether the doubt is about the library's mount alone.
bool Is_About_Library(Verdict_Reason Reason) {
  return Reason == Verdict_Reason::No_Library_Transform || Reason == Verdict_Reason::Library_Code ||
         Reason == Verdict_Reason::Difference_Beyond_Limit ||
         Reason == Verdict_Reason::Difference_Unlikely;
}

// How to take the joint mount instead.
std::string Joint_Offer(const std::filesystem::path& Result_File) {
  return Folded(
             "The joint mount leaves out rows that contradict the others and corrects the size of "
             "the square, so it is nearer to the truth in most such captures. To use it, export it "
             "from this result:",
             2) +
         fmt::format("    rigsync export {} --solution joint --to ENGINE\n",
                     Shell_Word(Plain_Path(Result_File).string())) +
         Folded("With solution = \"joint\" in the stage file it is the result of every run.", 2);
}

// For a result that is usable as it is.
std::string Joint_Hint(const Calibration_Result& Result) {
  if (Result.Inputs.Solution == Solution_Choice::Joint) return {};
  return Folded(
      "The joint mount is a little nearer to the truth in most captures; --solution joint makes it "
      "the result.",
      2);
}

std::string Advice_Text(const Calibration_Result& Result) {
  if (Result.Cause) return Folded(Result.Cause->Advice, 2);
  if (!Is_Usable_Code(*Result.Code)) return Folded(Advice_For(*Result.Code).Next_Step, 2);
  const std::string How = " with more images, boards tilted further, and the camera rolled.";
  const bool Is_Look = Result.Opinion->Judgement == Verdict::Look;
  return Folded((Is_Look ? "Check the overlay on the set. If a doubt remains, capture again"
                         : "Capture again") +
                    How,
                2);
}

std::string Next_Step(const Calibration_Result& Result, const std::filesystem::path& Result_File) {
  if (Result.Opinion->Judgement == Verdict::Agree) {
    return Folded(Advice_For(*Result.Code).Next_Step, 2) + Joint_Hint(Result);
  }
  const bool Is_Offered =
      Is_About_Library(Result.Opinion->Reasons.front()) && Is_Joint_Offered(Result);
  if (!Is_Offered) return Advice_Text(Result);
  const std::string Offer = Joint_Offer(Result_File);
  return Result.Cause ? Advice_Text(Result) + Offer : Offer;
}

}  // namespace

std::string Reason_Text(Verdict_Reason Reason, const Calibration_Result& Result) {
  const Second_Opinion& Opinion = *Result.Opinion;
  switch (Reason) {
    case Verdict_Reason::No_Library_Transform:
      return Result.Transform_Cam_Tc.empty()
                 ? "The library gave no transform."
                 : "The library's transform holds NaN or infinite numbers.";
    case Verdict_Reason::Library_Code:
      return fmt::format("The library refuses its result with code {}.", *Result.Code);
    case Verdict_Reason::Not_Solved:
      return Not_Solved_Text(Joint_Of(Result));
    case Verdict_Reason::Difference_Beyond_Limit:
      return fmt::format("The mounts of the library and of the joint solve are {}; {}.",
                         Apart_Text(Result), Limits_Text(Result));
    case Verdict_Reason::Width_Beyond_Limit:
      return fmt::format(
          "The capture tells the mount only to +- {:.1f} mm and +- {:.2f} degrees; {}.",
          Opinion.Half_Width_Mm, Opinion.Half_Width_Deg, Limits_Text(Result));
    case Verdict_Reason::Slip_Found:
      return Slip_Text(Result, "slipped");
    case Verdict_Reason::Difference_Unlikely:
      return fmt::format(
          "The mounts of the library and of the joint solve are {}, more than the noise of the "
          "capture explains.",
          Apart_Text(Result));
    case Verdict_Reason::Difference_And_Width:
      return fmt::format(
          "The mounts are {}, and the capture tells the mount to +- {:.1f} mm and +- {:.2f} "
          "degrees: together this is beyond the limits.",
          Apart_Text(Result), Opinion.Half_Width_Mm, Opinion.Half_Width_Deg);
    case Verdict_Reason::Slip_Suspected:
      return Slip_Text(Result, "may have slipped");
    case Verdict_Reason::Last_Rows_Left_Out:
      return "The last image contradicts the others. If a tracker has moved on its mount, this is "
             "the mount before.";
    case Verdict_Reason::Lens_Does_Not_Fit:
      return fmt::format(
          "The lens model does not fit: tangential distortion, or a third radial coefficient, "
          "would move the mount by {:.1f} mm and {:.2f} degrees.",
          1000.0 * Result.Solved->Lens_Check->Mount_Motion.tail<3>().norm(),
          Degrees_Per_Radian * Result.Solved->Lens_Check->Mount_Motion.head<3>().norm());
    case Verdict_Reason::Capture_Faulty:
      return "The capture has an error that spoils both solves alike.";
    case Verdict_Reason::Place_Contradicted:
      return fmt::format(
          "The stated place of the board is {:.1f} degrees and {:.0f} mm from the one that the "
          "capture shows, and was not used.",
          Result.Solved->Place->Difference_Deg, Result.Solved->Place->Difference_Mm);
  }
  return {};
}

std::string Verdict_Text(const Calibration_Result& Result, const std::filesystem::path& Result_File,
                         bool Colour) {
  return Painted_Lines(Verdict_Style(Result.Opinion->Judgement), Folded(Headline(Result), 0),
                       Colour) +
         Other_Reasons_Text(Result) + Mounts_Text(Result, Colour) + Cause_Text(Result, Colour) +
         Heading("Next step", Colour) + Next_Step(Result, Result_File);
}

}  // namespace rigsync
