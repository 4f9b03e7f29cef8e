// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/verdict_text.h"

#include "rigsync/calibrate/result_judgement.h"
#include "rigsync/report/result_text.h"
#include "rigsync/report/verdict_words.h"

#include <gmock/gmock.h>

#include <cmath>
#include <sstream>

namespace {

using rigsync::Calibration_Result;
using rigsync::Finding;
using rigsync::Level;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The library's mount is Mm along x from the joint one.
Calibration_Result Result_At(double Mm) {
  Calibration_Result Result;
  Result.Code = 0;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {1.04, 1.85};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Distortion = {0, 0, 0, 0, 0};
  Result.Transform_Cam_Tc = {1, 0, 0, 0.06 + 1e-3 * Mm, 0, 1, 0, -0.14, 0, 0, 1, -0.08, 0, 0, 0, 1};
  Result.Solved.emplace();
  Result.Solved->Lens_Px = {2000, 2000, 960, 540, 0, 0};
  rigsync::Joint_Solution& Joint = Result.Solved->Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Transform_Cam_Tc.translation() = Eigen::Vector3d(0.06, -0.14, -0.08);
  Joint.Rows.resize(24);
  for (rigsync::Solved_Row& Row : Joint.Rows) Row.Is_Kept = true;
  rigsync::Mount_Uncertainty& Mount = Joint.Camera_Mount;
  // Positions alone are uncertain, by 0.15 mm: as far as the freedom of t goes, 1.96 times that.
  Mount.Covariance.setZero();
  Mount.Covariance.diagonal() << 1e-16, 1e-16, 1e-16, 2.25e-8, 2.25e-8, 2.25e-8;
  Mount.Freedom.setConstant(1e5);
  Mount.Joint_Freedom = 1e5;
  Mount.Half_Width_Mm = Eigen::Vector3d(0.29, 0.31, 0.44);
  Mount.Half_Width_Deg = Eigen::Vector3d(0.011, 0.012, 0.021);
  Mount.Widest_Mm.Half_Width = 0.45;
  Mount.Widest_Deg.Half_Width = 0.03;
  return Result;
}

std::string Text_Of(Calibration_Result Result, const std::optional<Finding>& Blamed = {}) {
  rigsync::Judge_Result(Blamed, Result);
  return rigsync::Verdict_Text(Result, "/out/result.json", /*Colour=*/false);
}

Finding Stale_Rows() {
  return {"sample_disagrees",
          Level::Warning,
          "Samples of some lines disagree with their images.",
          "They are off by 30 mm.",
          "Remove the lines.",
          {4, 5, 9}};
}

// 1.96 times 0.15 mm across, and 2000 / 3000 pixels for each of them.
TEST(VerdictText, PrintsAUsableResultWordForWord) {
  EXPECT_EQ(Text_Of(Result_At(0.2)),
            R"(Usable. The library and the joint solve agree: 0.20 mm and 0.000 degrees apart.

Where the tracker is, mm
                right      down     ahead
  library      60.20   -140.00    -80.00
  joint        60.00   -140.00    -80.00
  +- 95 %       0.29      0.31      0.44   and 0.011 0.012 0.021 degrees
  At 3 m from the camera this is +- 0.29 mm, or 0.2 pixels.

Next step
  Export it to the engine with 'rigsync export'.
  The joint mount is a little nearer to the truth in most captures; --solution
  joint makes it the result.
)");
}

TEST(VerdictText, TheLagFollowsTheMounts) {
  Calibration_Result Result = Result_At(0.2);
  EXPECT_THAT(Text_Of(Result), Not(HasSubstr("Lag")));
  Result.Solved->Joint.Lag.emplace();
  Result.Solved->Joint.Lag->Seconds = 0.098;
  Result.Solved->Joint.Lag->Half_Width_Seconds = 0.014;
  EXPECT_THAT(Text_Of(Result), HasSubstr(R"(or 0.2 pixels.

Lag between pictures and samples
  The samples show the rig as it was 98 +- 14 ms before the pictures. The joint
  mount allows for it, the library's does not.

Next step
)"));
}

TEST(VerdictText, PrintsAContradictionWithCauseLinesAndWayOutWordForWord) {
  EXPECT_EQ(Text_Of(Result_At(5), Stale_Rows()),
            R"(Don't use it. The mounts of the library and of the joint solve are 5.00 mm and
0.000 degrees apart; the limits are 3 mm and 0.3 degrees.

Where the tracker is, mm
                right      down     ahead
  library      65.00   -140.00    -80.00
  joint        60.00   -140.00    -80.00
  +- 95 %       0.29      0.31      0.44   and 0.011 0.012 0.021 degrees
  At 3 m from the camera this is +- 0.29 mm, or 0.2 pixels.

Cause
  Samples of some lines disagree with their images. They are off by 30 mm.
  (lines 4-5, 9)

Next step
  Remove the lines.
  The joint mount leaves out rows that contradict the others and corrects the
  size of the square, so it is nearer to the truth in most such captures. To use
  it, export it from this result:
    rigsync export /out/result.json --solution joint --to ENGINE
  With solution = "joint" in the stage file it is the result of every run.
)");
}

TEST(VerdictText, ImagesThatTheLibraryLeavesOutAreCounted) {
  Calibration_Result Result = Result_At(0.5);
  EXPECT_THAT(Text_Of(Result), Not(HasSubstr("cut off")));
  std::vector<rigsync::Solved_Row>& Rows = Result.Solved->Joint.Rows;
  Rows[4].Is_Cut_Off = true;
  EXPECT_THAT(Text_Of(Result), HasSubstr("The joint mount also uses 1 image that the library"));
  // One that was left out doesn't count.
  Rows[5].Is_Cut_Off = Rows[6].Is_Cut_Off = true;
  Rows[6].Is_Kept = false;
  EXPECT_THAT(Text_Of(Result), HasSubstr("The joint mount also uses 2 images that the library"));
}

TEST(VerdictText, SaysSoWhenNoCauseStandsOut) {
  EXPECT_THAT(Text_Of(Result_At(5)), HasSubstr("\nCause\n  No single cause stands out.\n"));
}

TEST(VerdictText, TheChosenMountComesFirst) {
  Calibration_Result Result = Result_At(0.2);
  Result.Inputs.Solution = rigsync::Solution_Choice::Joint;
  const std::string Text = Text_Of(Result);
  EXPECT_LT(Text.find("\n  joint "), Text.find("\n  library "));
  EXPECT_THAT(Text, Not(HasSubstr("--solution")));
}

TEST(VerdictText, AMountThatTheCaptureLeavesOpenIsNotOffered) {
  Calibration_Result Result = Result_At(5);
  Result.Solved->Joint.Camera_Mount.Widest_Mm.Half_Width = 40;
  const std::string Text = Text_Of(Result);
  EXPECT_THAT(Text, AllOf(StartsWith("Don't use it."), HasSubstr("only to +- 40.0 mm"),
                          Not(HasSubstr("--solution joint")), HasSubstr("Capture again")));
}

TEST(VerdictText, ATransformThatIsNotFiniteOrMissingIsSaid) {
  Calibration_Result Result = Result_At(0);
  Result.Transform_Cam_Tc[3] = std::nan("");
  EXPECT_THAT(Text_Of(Result), StartsWith("Don't use it. The library's transform holds NaN"));
  Result.Transform_Cam_Tc.clear();
  Result.Code = 13;
  EXPECT_THAT(Text_Of(Result),
              AllOf(StartsWith("Don't use it. The library gave no transform."),
                    HasSubstr("The library refuses its result with code 13."),
                    HasSubstr("\n  joint        60.00 "), Not(HasSubstr("\n  library  "))));
}

TEST(VerdictText, WithoutASolveNoMountIsCertain) {
  Calibration_Result Result = Result_At(0);
  Result.Solved->Joint = {};
  const std::string Text = Text_Of(Result);
  EXPECT_THAT(Text, AllOf(StartsWith("Don't use it. Fewer than"), Not(HasSubstr("+- 95 %"))));
}

TEST(VerdictText, TheLibrarysOwnVerdictFollowsAndTheCausesOfItsCodeOnlyWithoutABetterOne) {
  Calibration_Result Result = Result_At(5);
  Result.Code = 13;
  rigsync::Judge_Result(Stale_Rows(), Result);
  const std::string Known = rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, false);
  EXPECT_THAT(Known, AllOf(StartsWith("Don't use it."), HasSubstr("The library's own verdict"),
                           HasSubstr("Code 13."), Not(HasSubstr("Likely causes"))));
  Result.Cause.reset();
  EXPECT_THAT(rigsync::Result_Text(Result, {"/out/result.json", {}, {}}, false),
              HasSubstr("Likely causes"));
}

TEST(VerdictText, EveryReasonIsASentenceAndFitsATerminal) {
  Calibration_Result Result = Result_At(2);
  Result.Solved->Place.emplace();
  Result.Solved->Lens_Check.emplace();
  Result.Solved->Likeliest_Slip.emplace();
  rigsync::Judge_Result({}, Result);
  for (int k = 0; k <= static_cast<int>(rigsync::Verdict_Reason::Place_Contradicted); ++k) {
    const auto Reason = static_cast<rigsync::Verdict_Reason>(k);
    const std::string Text = rigsync::Reason_Text(Reason, Result);
    ASSERT_FALSE(Text.empty()) << k;
    EXPECT_EQ(Text.back(), '.') << Text;
    Result.Opinion->Reasons = {Reason, Reason};
    Result.Opinion->Judgement = rigsync::Verdict::Look;
    std::istringstream Lines(rigsync::Verdict_Text(Result, "/r", false));
    for (std::string Line; std::getline(Lines, Line);) EXPECT_LE(Line.size(), 80u) << Line;
  }
}

}  // namespace
