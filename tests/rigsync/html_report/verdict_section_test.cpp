// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/verdict_section.h"

#include "rigsync/html_report/page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace rigsync {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string Verdict_Of(const Calibration_Result& Result) {
  const Page Whole = Make_Page("Page");
  Run_View View;
  View.Result = Result;
  Add_Verdict_Section(Whole.Main, View);
  return Page_Source(Whole);
}

std::string Mount_Of(const Calibration_Result& Result) {
  const Page Whole = Make_Page("Page");
  Run_View View;
  View.Result = Result;
  Add_Mount_Section(Whole.Main, View);
  return Page_Source(Whole);
}

Calibration_Result With_Code(int Code) {
  Calibration_Result Result;
  Result.Code = Code;
  Result.Inputs.Is_Library_Only = true;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {1.04, 1.85};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Distortion = {0, 0, 0, 0, 0};
  // A quarter turn about the view: x of the tracker is y of the camera.
  Result.Transform_Cam_Tc = {0, -1, 0, 0.06, 1, 0, 0, -0.14, 0, 0, 1, -0.08, 0, 0, 0, 1};
  return Result;
}

TEST(VerdictSection, SaysWithoutASecondOpinionWhatTheCodeMeans) {
  EXPECT_THAT(Verdict_Of(With_Code(0)), HasSubstr(">Usable, but unconfirmed.</h1>"));
  EXPECT_THAT(Verdict_Of(With_Code(99)), HasSubstr(">Look before you use it.</h1>"));
  EXPECT_THAT(Verdict_Of(With_Code(4)), HasSubstr(">Don't use it.</h1>"));
  EXPECT_THAT(Verdict_Of(With_Code(4)), HasSubstr("<h2>Most likely cause</h2>"));
  EXPECT_THAT(Verdict_Of(With_Code(0)), Not(HasSubstr("cause")));
}

TEST(VerdictSection, TellsWhenTheRunBeganToTheMinute) {
  Calibration_Result Result = With_Code(0);
  Result.Inputs.Csv = "/take/capture.csv";
  for (const char* const Time : {"2022-11-17T09:05:33+0100", "2022-11-17T09:05"}) {
    Result.Start_Time = Time;
    EXPECT_THAT(Verdict_Of(Result),
                HasSubstr("Calibration of capture.csv, 0 images, 2022-11-17 09:05<"));
  }
  Result.Start_Time = "of another kind";
  EXPECT_THAT(Verdict_Of(Result), HasSubstr("0 images, of another kind<"));
}

TEST(VerdictSection, RefusesAnExceptionAndNumbersThatAreNotFinite) {
  Calibration_Result Ended;
  Ended.Message = "An exception ended the run: bad_alloc & more";
  EXPECT_THAT(Verdict_Of(Ended), HasSubstr(">Don't use it.</h1><p class=\"reason\">An exception "
                                           "ended the run: bad_alloc &amp; more</p>"));
  Calibration_Result Broken = With_Code(0);
  Broken.Transform_Cam_Tc[3] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(Verdict_Of(Broken), HasSubstr(">Don't use it.</h1>"));
  EXPECT_THAT(Mount_Of(Broken), HasSubstr("data-value=\"null\" data-factor=\"1000\">none</td>"));
}

TEST(VerdictSection, EachToneHasASignOfItsOwnShape) {
  const std::string Disc = "M24 2a22", Triangle = "M24 3L47 44H1z", Octagon = "M15 2h18l13";
  Calibration_Result Agreed = With_Code(0);
  Agreed.Opinion.emplace();
  Agreed.Opinion->Judgement = Verdict::Agree;
  EXPECT_THAT(Verdict_Of(Agreed), HasSubstr(Disc));
  EXPECT_THAT(Verdict_Of(With_Code(99)), HasSubstr(Triangle));
  EXPECT_THAT(Verdict_Of(With_Code(4)), HasSubstr(Octagon));
}

TEST(MountSection, TellsPositionInMillimetresAndTurnInDegrees) {
  const std::string Source = Mount_Of(With_Code(0));
  EXPECT_THAT(Source, HasSubstr("60.0 mm to the right, 140.0 mm up and 80.0 mm behind"));
  EXPECT_THAT(Source, HasSubstr(">-140.00</td>"));
  EXPECT_THAT(Source, HasSubstr("data-turn=\"library.2\">90.000</td>"));
  EXPECT_THAT(Source, HasSubstr("With --library-only there is no second opinion"));
}

// The range of one mount says nothing about a contradiction between both.
TEST(MountSection, ABarMarksMountsThatAreFurtherApartThanTheLimit) {
  Calibration_Result Result = With_Code(0);
  Result.Inputs.Is_Library_Only = false;
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  Result.Solved.emplace();
  Mount_Uncertainty& Known = Result.Solved->Joint.Camera_Mount;
  Known.Half_Width_Mm.setConstant(0.3);
  Known.Half_Width_Deg.setConstant(0.02);
  Known.Covariance.setIdentity();
  Known.Freedom.setConstant(50);
  Result.Opinion.emplace();
  Result.Opinion->Difference_Deg = 0.01;
  Result.Opinion->Difference_Mm = 2.99;
  EXPECT_THAT(Mount_Of(Result), Not(HasSubstr("\xE2\x9C\x95")));
  Result.Opinion->Difference_Mm = 3.01;
  const std::string Apart = Mount_Of(Result);
  EXPECT_THAT(Apart, HasSubstr("\xE2\x9C\x95 3.01 mm</text>"));
  EXPECT_THAT(Apart, HasSubstr("<p class=\"warn-text\">\xE2\x9C\x95 The two mounts are "));
}

// What is exactly at the limit is within it.
TEST(MountSection, EitherLimitAloneCanBeExceeded) {
  const std::string Warning = "<p class=\"warn-text\">\xE2\x9C\x95 The two mounts are ";
  Calibration_Result Result = With_Code(0);
  Result.Inputs.Is_Library_Only = false;
  Result.Inputs.Limits = {2.5, 0.125};
  Result.Opinion.emplace();
  Result.Opinion->Difference_Mm = 2.5;
  Result.Opinion->Difference_Deg = 0.125;
  EXPECT_THAT(Mount_Of(Result), AllOf(HasSubstr("<p>The two mounts are "), HasSubstr(">2.50<"),
                                      HasSubstr(">0.125<"), Not(HasSubstr(Warning))));
  Result.Opinion->Difference_Mm = 2.51;
  EXPECT_THAT(Mount_Of(Result), HasSubstr(Warning));
  Result.Opinion->Difference_Mm = 2.5;
  Result.Opinion->Difference_Deg = 0.126;
  EXPECT_THAT(Mount_Of(Result), HasSubstr(Warning));
  Result.Opinion->Difference_Mm = std::numeric_limits<double>::infinity();
  EXPECT_THAT(Mount_Of(Result), Not(HasSubstr("The two mounts are ")));
}

// With the number of the file, so that a program finds it; a lag that isn't known has none.
TEST(MountSection, TellsALagThatTheSolveReckonedWith) {
  Calibration_Result Result = With_Code(0);
  EXPECT_THAT(Mount_Of(Result), Not(HasSubstr("Lag")));
  Result.Solved.emplace();
  Lag_Estimate& Lag = Result.Solved->Joint.Lag.emplace();
  Lag.Seconds = 0.125;
  Lag.Half_Width_Seconds = 0.0156;
  EXPECT_THAT(Mount_Of(Result), AllOf(HasSubstr("data-key=\"joint.lag.ms\" data-value=\"125\""),
                                      HasSubstr("125 \xC2\xB1 16 ms before the pictures")));
  Lag.Half_Width_Seconds = 0.3;
  EXPECT_THAT(Mount_Of(Result), HasSubstr("There is nothing to solve a lag from"));
  Lag.Speed.Shift = 0.010;
  EXPECT_THAT(Mount_Of(Result),
              AllOf(HasSubstr("The lag is not known"), Not(HasSubstr("joint.lag.ms"))));
}

TEST(MountSection, SaysSoWhenThereIsNone) {
  Calibration_Result Result;
  Result.Code = 4;
  EXPECT_THAT(Mount_Of(Result), HasSubstr("This run has no mount."));
}

}  // namespace
}  // namespace rigsync
