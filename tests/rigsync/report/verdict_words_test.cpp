// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/verdict_words.h"

#include "rigsync/calibrate/codes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

using rigsync::Calibration_Result;
using rigsync::Verdict;
using rigsync::Verdict_Reason;
using rigsync::Verdict_Words;
using testing::ElementsAre;
using testing::HasSubstr;

Calibration_Result With_Code(int Code) {
  Calibration_Result Result;
  Result.Code = Code;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {1.04, 1.85};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Distortion = {0, 0, 0, 0, 0};
  Result.Transform_Cam_Tc = {1, 0, 0, 0.06, 0, 1, 0, -0.14, 0, 0, 1, -0.08, 0, 0, 0, 1};
  return Result;
}

Calibration_Result With_Opinion(Verdict Judgement, const std::vector<Verdict_Reason>& Reasons) {
  Calibration_Result Result = With_Code(0);
  Result.Opinion.emplace();
  Result.Opinion->Judgement = Judgement;
  Result.Opinion->Reasons = Reasons;
  Result.Opinion->Difference_Mm = 1.25;
  Result.Opinion->Difference_Deg = 0.125;
  return Result;
}

// The joint mount is known to 0.3 mm and 0.03 degrees, so that it can be offered.
void Solve_Well(Calibration_Result& Result) {
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  rigsync::Joint_Solution& Joint = Result.Solved.emplace().Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Transform_Cam_Tc =
      Eigen::Translation3d(0.06, -0.14, -0.08) * Eigen::Isometry3d::Identity();
  Joint.Rows.resize(24);
  for (rigsync::Solved_Row& Row : Joint.Rows) Row.Is_Kept = true;
  Joint.Camera_Mount.Covariance = 1e-8 * rigsync::Matrix6d::Identity();
  Joint.Camera_Mount.Joint_Freedom = 100;
  Joint.Camera_Mount.Widest_Mm.Half_Width = 0.3;
  Joint.Camera_Mount.Widest_Deg.Half_Width = 0.03;
}

TEST(VerdictWords, OfARunWithoutASecondOpinionAreThoseOfItsCode) {
  const Verdict_Words Good = Words_Of(With_Code(0), {});
  EXPECT_EQ(Good.Tone, Verdict::Look);
  EXPECT_EQ(Good.Short, "Usable, but unconfirmed.");
  EXPECT_THAT(Good.Other_Reasons, ElementsAre(HasSubstr("nothing confirms the mount")));
  EXPECT_EQ(Good.Cause, "");
  const Verdict_Words Wide = Words_Of(With_Code(99), {});
  EXPECT_EQ(Wide.Short, "Look before you use it.");
  const Verdict_Words Few = Words_Of(With_Code(4), {});
  const rigsync::Code_Advice Advice = rigsync::Advice_For(4);
  EXPECT_EQ(Few.Tone, Verdict::Dont_Use);
  EXPECT_EQ(Few.First_Reason, "Code 4. " + Advice.Meaning);
  EXPECT_THAT(Few.Other_Reasons, ElementsAre(Advice.On_Stage));
  EXPECT_EQ(Few.Cause_Title, "Most likely cause");
  EXPECT_EQ(Few.Cause, Advice.Causes.front());
  ASSERT_EQ(Few.Next_Steps.size(), 1u);
  EXPECT_EQ(Few.Next_Steps[0].Text, Advice.Next_Step);
}

TEST(VerdictWords, RefuseNumbersThatAreNotFiniteWhateverTheCode) {
  Calibration_Result Result = With_Code(0);
  Result.Transform_Cam_Tc[3] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Words_Of(Result, {}).Short, "Don't use it.");
  EXPECT_THAT(Words_Of(Result, {}).First_Reason, HasSubstr("NaN or infinite"));
}

TEST(VerdictWords, RefuseARunThatAnExceptionEnded) {
  Calibration_Result Result;
  Result.Message = "An exception ended the run: no memory";
  EXPECT_EQ(Words_Of(Result, {}).Short, "Don't use it.");
  EXPECT_EQ(Words_Of(Result, {}).First_Reason, Result.Message);
}

TEST(VerdictWords, HaveTheFirstReasonApartAndACommandReadyForAShell) {
  Calibration_Result Result = With_Opinion(
      Verdict::Dont_Use, {Verdict_Reason::Library_Code, Verdict_Reason::Slip_Suspected});
  Result.Cause =
      rigsync::Finding{"id", rigsync::Level::Warning, "Stale.", "By 3 mm.", "Go.", {4, 5}};
  const Verdict_Words Words = Words_Of(Result, "/a b/result.json");
  EXPECT_EQ(Words.First_Reason, "The library refuses its result with code 0.");
  EXPECT_THAT(Words.Other_Reasons,
              ElementsAre("A tracker may have slipped on its mount during the capture."));
  EXPECT_EQ(Words.Cause, "Stale. By 3 mm. (lines 4-5)");
  EXPECT_EQ(Words.Next_Steps[0].Text, "Go.");
}

// As in a file that a later version wrote, or that somebody edited.
TEST(VerdictWords, DoWithoutWhatAFileLacks) {
  const Verdict_Words Words = Words_Of(With_Opinion(Verdict::Look, {}), {});
  EXPECT_EQ(Words.Short, "Look before you use it.");
  EXPECT_THAT(Words.First_Reason, HasSubstr("this version doesn't know"));
  for (const Verdict_Reason Reason :
       {Verdict_Reason::Lens_Does_Not_Fit, Verdict_Reason::Place_Contradicted,
        Verdict_Reason::Slip_Found, Verdict_Reason::Not_Solved}) {
    EXPECT_NE(Reason_Text(Reason, With_Opinion(Verdict::Look, {Reason})), "");
  }
}

TEST(VerdictWords, OfferTheJointMountWhereTheDoubtIsAboutTheLibrarysAlone) {
  const std::vector<Verdict_Reason> About_Library = {
      Verdict_Reason::No_Library_Transform, Verdict_Reason::Library_Code,
      Verdict_Reason::Difference_Beyond_Limit, Verdict_Reason::Difference_Unlikely};
  for (int i = 0; i <= static_cast<int>(Verdict_Reason::Place_Contradicted); ++i) {
    const auto Reason = static_cast<Verdict_Reason>(i);
    SCOPED_TRACE(i);
    Calibration_Result Result = With_Opinion(Verdict::Look, {Reason});
    Solve_Well(Result);
    const Verdict_Words Words = Words_Of(Result, "/stage/result.json");
    const bool Is_Expected = std::count(About_Library.begin(), About_Library.end(), Reason) == 1;
    bool Is_Offered = false;
    for (const auto& Step : Words.Next_Steps) {
      Is_Offered |= Step.Is_Command &&
                    Step.Text == "rigsync export /stage/result.json --solution joint --to ENGINE";
    }
    EXPECT_EQ(Is_Offered, Is_Expected);
  }
}

TEST(VerdictWords, ReasonsArePartsOfLongerSentencesToo) {
  EXPECT_EQ(Reason_Phrase(Verdict_Reason::Library_Code, With_Opinion(Verdict::Look, {})),
            "the library refuses its result with code 0");
}

}  // namespace
