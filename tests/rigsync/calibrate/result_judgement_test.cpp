// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/result_judgement.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Calibration_Result;
using rigsync::Finding;
using rigsync::Level;
using rigsync::Solution_Choice;
using rigsync::Verdict;
using rigsync::Verdict_Reason;
using testing::ElementsAre;

// The library's mount is Mm along x from the joint one, which is known to 0.3 mm and 0.03 degrees.
Calibration_Result Result_At(double Mm) {
  Calibration_Result Result;
  Result.Code = 0;
  Result.Norm_Fxy = {1.1, 1.9};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Transform_Cam_Tc = {1, 0, 0, 1e-3 * Mm, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  Result.Solved.emplace();
  rigsync::Joint_Solution& Joint = Result.Solved->Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.Rows.resize(24);
  for (rigsync::Solved_Row& Row : Joint.Rows) Row.Is_Kept = true;
  Joint.Camera_Mount.Covariance = 1e-8 * rigsync::Matrix6d::Identity();
  Joint.Camera_Mount.Joint_Freedom = 100;
  Joint.Camera_Mount.Widest_Mm.Half_Width = 0.3;
  Joint.Camera_Mount.Widest_Deg.Half_Width = 0.03;
  return Result;
}

Finding Blamed(Level Severity) {
  return {"some", Severity, "Something is wrong.", "", "Mend it.", {3}};
}

TEST(ResultJudgement, AgreementHasNoCause) {
  Calibration_Result Result = Result_At(0.1);
  rigsync::Judge_Result(Blamed(Level::Warning), Result);
  EXPECT_EQ(Result.Opinion->Judgement, Verdict::Agree);
  EXPECT_FALSE(Result.Cause);
  EXPECT_TRUE(rigsync::Is_Usable(Result));
  EXPECT_EQ(Result.Joint_Transform_Cam_Tc,
            (std::vector<double>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
}

TEST(ResultJudgement, AContradictionIsNotUsableAndHasTheCauseThatTheInspectionBlames) {
  Calibration_Result Result = Result_At(5);
  rigsync::Judge_Result(Blamed(Level::Warning), Result);
  EXPECT_EQ(Result.Opinion->Judgement, Verdict::Dont_Use);
  ASSERT_TRUE(Result.Cause);
  EXPECT_EQ(Result.Cause->Id, "some");
  EXPECT_FALSE(rigsync::Is_Usable(Result));
  EXPECT_TRUE(rigsync::Is_Joint_Offered(Result));
}

// Without the library's lens there is nothing to export with the mount.
TEST(ResultJudgement, WithoutALensTheJointMountIsNotOffered) {
  Calibration_Result Result = Result_At(5);
  Result.Norm_Fxy.clear();
  rigsync::Judge_Result({}, Result);
  EXPECT_FALSE(rigsync::Is_Joint_Offered(Result));
}

// As after code 4: too few boards for the library, enough for the joint solve.
TEST(ResultJudgement, WithoutALensTheChosenJointMountIsRefusedToo) {
  Calibration_Result Result = Result_At(0.1);
  Result.Code = 4;
  Result.Transform_Cam_Tc.clear();
  Result.Inputs.Solution = Solution_Choice::Joint;
  rigsync::Judge_Result({}, Result);
  EXPECT_EQ(Result.Opinion->Judgement, Verdict::Look);
  Result.Norm_Fxy.clear();
  Result.Norm_Cxy.clear();
  rigsync::Judge_Result({}, Result);
  EXPECT_EQ(Result.Opinion->Judgement, Verdict::Dont_Use);
}

TEST(ResultJudgement, AnErrorOfTheCaptureKeepsAnAgreementFromBeingUsable) {
  Calibration_Result Result = Result_At(0.1);
  rigsync::Judge_Result(Blamed(Level::Error), Result);
  EXPECT_THAT(Result.Opinion->Reasons, ElementsAre(Verdict_Reason::Capture_Faulty));
  EXPECT_FALSE(rigsync::Is_Usable(Result));
}

TEST(ResultJudgement, CodeLimitsChoiceAndPlaceAreThoseOfTheRun) {
  Calibration_Result Result = Result_At(0.1);
  Result.Code = 14;
  rigsync::Judge_Result({}, Result);
  EXPECT_THAT(Result.Opinion->Reasons, ElementsAre(Verdict_Reason::Library_Code));
  Result = Result_At(5);
  Result.Inputs.Limits = {20, 2};
  rigsync::Judge_Result({}, Result);
  EXPECT_NE(Result.Opinion->Judgement, Verdict::Dont_Use);
  Result = Result_At(5);
  Result.Inputs.Solution = Solution_Choice::Joint;
  rigsync::Judge_Result({}, Result);
  EXPECT_EQ(Result.Opinion->Judgement, Verdict::Look);
  EXPECT_EQ(rigsync::Chosen_Transform_Cam_Tc(Result)[3], 0.0);
  EXPECT_FALSE(rigsync::Is_Joint_Offered(Result));
  Result = Result_At(0.1);
  Result.Solved->Place.emplace();
  rigsync::Judge_Result({}, Result);
  EXPECT_THAT(Result.Opinion->Reasons, ElementsAre(Verdict_Reason::Place_Contradicted));
  Result.Solved->Place->Is_Prior = true;
  rigsync::Judge_Result({}, Result);
  EXPECT_EQ(Result.Opinion->Judgement, Verdict::Agree);
}

TEST(ResultJudgement, ALensThatDoesNotFitCounts) {
  Calibration_Result Result = Result_At(0.1);
  Result.Solved->Lens_Check.emplace();
  Result.Solved->Lens_Check->F = 100;
  Result.Solved->Lens_Check->Mount_Motion[3] = 0.005;
  rigsync::Judge_Result({}, Result);
  EXPECT_THAT(Result.Opinion->Reasons, ElementsAre(Verdict_Reason::Lens_Does_Not_Fit));
}

TEST(ResultJudgement, WithoutAnyJointSolveNothingIsConfirmedOrOffered) {
  Calibration_Result Result = Result_At(0);
  Result.Solved.reset();
  rigsync::Judge_Result({}, Result);
  EXPECT_THAT(Result.Opinion->Reasons, ElementsAre(Verdict_Reason::Not_Solved));
  EXPECT_TRUE(Result.Joint_Transform_Cam_Tc.empty());
  EXPECT_FALSE(rigsync::Is_Joint_Offered(Result));
}

}  // namespace
