// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/verdict_words.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/result_judgement.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <cstddef>

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
  if (!Result.Solved || !Result.Solved->Likeliest_Slip) {
    return fmt::format("A tracker {} on its mount during the capture.", Sureness);
  }
  const auto& Slip = Result.Solved->Likeliest_Slip;
  return fmt::format("The {} tracker {} on its mount during the capture.",
                     Slip->Tracker == Slipped_Tracker::Board ? "board's" : "camera's", Sureness);
}

// A code 99 and an agreement make a result that is usable, but not good.
const char* Short_Text(Verdict Tone) {
  switch (Tone) {
    case Verdict::Agree:
      return "Usable.";
    case Verdict::Look:
      return "Look before you use it.";
    case Verdict::Dont_Use:
      break;
  }
  return "Don't use it.";
}

// A file of a later version may have reasons that this one doesn't know.
std::string First_Reason(const Calibration_Result& Result) {
  if (Result.Opinion->Judgement == Verdict::Agree) {
    return fmt::format("The library and the joint solve agree: {}.", Apart_Text(Result));
  }
  if (Result.Opinion->Reasons.empty()) return "The reason is one that this version doesn't know.";
  return Reason_Text(Result.Opinion->Reasons.front(), Result);
}

std::vector<std::string> Other_Reasons(const Calibration_Result& Result) {
  std::vector<std::string> Texts;
  const auto& Reasons = Result.Opinion->Reasons;
  for (std::size_t i = 1; i < Reasons.size(); ++i) {
    Texts.push_back(Reason_Text(Reasons[i], Result));
  }
  return Texts;
}

// Where the inspection blames nothing.
std::string Unnamed_Cause_Text(const Calibration_Result& Result) {
  if (Result.Opinion->Reasons.empty()) return "No single cause stands out.";
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

std::string Cause_Text(const Calibration_Result& Result) {
  if (Result.Opinion->Judgement == Verdict::Agree) return {};
  if (!Result.Cause) return Unnamed_Cause_Text(Result);
  const std::string Lines = Lines_Text(Result.Cause->Lines);
  std::string Text = Result.Cause->What;
  if (!Result.Cause->Example.empty()) Text += " " + Result.Cause->Example;
  if (!Lines.empty()) Text += " (" + Lines + ")";
  return Text;
}

// Whether the doubt is about the library's mount alone.
bool Is_About_Library(Verdict_Reason Reason) {
  return Reason == Verdict_Reason::No_Library_Transform || Reason == Verdict_Reason::Library_Code ||
         Reason == Verdict_Reason::Difference_Beyond_Limit ||
         Reason == Verdict_Reason::Difference_Unlikely;
}

// How to take the joint mount instead.
void Offer_Joint(const std::filesystem::path& Result_File, std::vector<Next_Step>& Steps) {
  Steps.push_back(
      {"The joint mount leaves out rows that contradict the others and corrects the size of the "
       "square, so it is nearer to the truth in most such captures. To use it, export it from this "
       "result:"});
  Steps.push_back({fmt::format("rigsync export {} --solution joint --to ENGINE",
                               Shell_Word(Plain_Path(Result_File).string())),
                   /*Is_Command=*/true});
  Steps.push_back({"With solution = \"joint\" in the stage file it is the result of every run."});
}

std::string Advice_Text(const Calibration_Result& Result) {
  if (Result.Cause) return Result.Cause->Advice;
  if (!Is_Usable_Code(*Result.Code)) return Advice_For(*Result.Code).Next_Step;
  const std::string How = " with more images, boards tilted further, and the camera rolled.";
  const bool Is_Look = Result.Opinion->Judgement == Verdict::Look;
  return (Is_Look ? "Check the overlay on the set. If a doubt remains, capture again"
                  : "Capture again") +
         How;
}

// For a result that is usable as it is.
std::vector<Next_Step> Steps_To_Use(const Calibration_Result& Result) {
  std::vector<Next_Step> Steps = {{Advice_For(*Result.Code).Next_Step}};
  if (Result.Inputs.Solution == Solution_Choice::Joint) return Steps;
  Steps.push_back(
      {"The joint mount is a little nearer to the truth in most captures; --solution joint makes "
       "it "
       "the result."});
  return Steps;
}

std::vector<Next_Step> Opinion_Steps(const Calibration_Result& Result,
                                     const std::filesystem::path& Result_File) {
  if (Result.Opinion->Judgement == Verdict::Agree) return Steps_To_Use(Result);
  const auto& Reasons = Result.Opinion->Reasons;
  const bool Is_Offered =
      !Reasons.empty() && Is_About_Library(Reasons.front()) && Is_Joint_Offered(Result);
  std::vector<Next_Step> Steps;
  if (Result.Cause || !Is_Offered) Steps.push_back({Advice_Text(Result)});
  if (Is_Offered) Offer_Joint(Result_File, Steps);
  return Steps;
}

Verdict_Words Exception_Words(const Calibration_Result& Result) {
  Verdict_Words Words;
  Words.Short = Short_Text(Words.Tone);
  Words.First_Reason = Result.Message;
  Words.Next_Steps = {
      {"Keep the capture and the run log, which shows how far the run got, and "
       "report a bug."}};
  return Words;
}

Verdict_Words Code_Words(const Calibration_Result& Result) {
  const Code_Advice Advice = Advice_For(*Result.Code);
  const bool Is_Misleading = Has_Misleading_Code(Result);
  Verdict_Words Words;
  Words.Tone = Is_Misleading ? Verdict::Dont_Use : Tone_Of_Code(Advice.Code);
  Words.Short = Short_Text(Words.Tone);
  Words.First_Reason =
      Is_Misleading ? Not_Finite_Sentence(Advice.Code) : Code_Sentence(Advice.Code);
  Words.Next_Steps = {{Is_Misleading ? Not_Finite_Advice : Advice.Next_Step}};
  if (Is_Misleading) return Words;
  if (Advice.Code == 0) {
    // As good as the library can tell, which is no reason to trust it like an agreement.
    Words.Tone = Verdict::Look;
    Words.Short = "Usable, but unconfirmed.";
    Words.Other_Reasons = {"There is no second opinion, so nothing confirms the mount."};
    return Words;
  }
  Words.Other_Reasons = {Advice.On_Stage};
  Words.Cause_Title = "Most likely cause";
  Words.Cause = Advice.Causes.front();
  return Words;
}

}  // namespace

Verdict Tone_Of_Code(int Code) {
  if (Code == 0) return Verdict::Agree;
  return Is_Usable_Code(Code) ? Verdict::Look : Verdict::Dont_Use;
}

std::string Code_Sentence(int Code) {
  return fmt::format("Code {}. {}", Code, Advice_For(Code).Meaning);
}

std::string Not_Finite_Sentence(int Code) {
  return fmt::format("Code {}, but the result must not be used: it holds NaN or infinite numbers.",
                     Code);
}

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
      if (!Result.Solved || !Result.Solved->Lens_Check) {
        return "The lens model does not fit the camera, which moves the mount.";
      }
      return fmt::format(
          "The lens model does not fit: tangential distortion, or a third radial coefficient, "
          "would move the mount by {:.1f} mm and {:.2f} degrees.",
          1000.0 * Result.Solved->Lens_Check->Mount_Motion.tail<3>().norm(),
          Degrees_Per_Radian * Result.Solved->Lens_Check->Mount_Motion.head<3>().norm());
    case Verdict_Reason::Capture_Faulty:
      return "The capture has an error that spoils both solves alike.";
    case Verdict_Reason::Place_Contradicted:
      if (!Result.Solved || !Result.Solved->Place) {
        return "The stated place of the board is not the one that the capture shows.";
      }
      return fmt::format(
          "The stated place of the board is {:.1f} degrees and {:.0f} mm from the one that the "
          "capture shows, and was not used.",
          Result.Solved->Place->Difference_Deg, Result.Solved->Place->Difference_Mm);
  }
  return {};
}

std::string Reason_Phrase(Verdict_Reason Reason, const Calibration_Result& Result) {
  std::string Phrase = Reason_Text(Reason, Result);
  if (Phrase.empty()) return Phrase;
  if (Phrase.back() == '.') Phrase.pop_back();
  return Lower_Case(Phrase.substr(0, 1)) + Phrase.substr(1);
}

Verdict_Words Words_Of(const Calibration_Result& Result, const std::filesystem::path& Result_File) {
  if (!Result.Code) return Exception_Words(Result);
  if (!Result.Opinion) return Code_Words(Result);
  Verdict_Words Words;
  Words.Tone = Result.Opinion->Judgement;
  Words.Short = Short_Text(Words.Tone);
  Words.First_Reason = First_Reason(Result);
  Words.Other_Reasons = Other_Reasons(Result);
  Words.Cause = Cause_Text(Result);
  Words.Next_Steps = Opinion_Steps(Result, Result_File);
  return Words;
}

}  // namespace rigsync
