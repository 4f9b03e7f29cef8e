// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/verification_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using rigsync::Compared_Pixel;
using rigsync::Compared_Pixels;
using rigsync::Solution_Choice;
using rigsync::Target_Outcome;
using rigsync::Verification;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Verification Four_Targets() {
  Verification Of;
  Of.Width = 1920;
  Of.Height = 1080;
  Of.Samples = {std::vector<rigsync::Tracker_Sample>(3), "3 rows of a.csv"};
  Of.Points.Columns = 13;
  Of.Points.Rows = 9;
  Of.Points.Depths = {0.5, 2, 10};
  Compared_Pixels Within;
  Within.Worst = {0.00012, 0.0034, 1, {20.0, 30.0}};
  Of.Targets = {
      {"one", "First", "x, y, z", Target_Outcome::Compared, "", {Within, std::nullopt}, {}},
      {"two",
       "Second",
       "z, -x, y",
       Target_Outcome::Compared,
       "",
       {Within, Within},
       {"it has one eye"}},
      {"three", "Third", "", Target_Outcome::Not_Exported, "code 3. Locked.", {}, {}},
      {"four", "Fourth", "", Target_Outcome::No_Camera, "it has no camera to prove.", {}, {}}};
  return Of;
}

std::string Text_Of(const Verification& Of) {
  return rigsync::Verification_Text(Of, "r/result.json", Solution_Choice::Joint, false);
}

TEST(VerificationText, TellsWhereItLookedAndEveryTarget) {
  const std::string Text = Text_Of(Four_Targets());
  EXPECT_THAT(Text,
              AllOf(HasSubstr("r/result.json"), HasSubstr("mount     joint"),
                    HasSubstr("samples   3 rows of a.csv"), HasSubstr("13 x 9 over 1920 x 1080 px"),
                    HasSubstr("at 0.5, 2 and 10 m"), HasSubstr("0.00012    0.0034")));
  EXPECT_THAT(Text, AllOf(HasSubstr("two: it has one eye."),
                          HasSubstr("three was not exported: code 3. Locked."),
                          HasSubstr("\n  four          no camera\n"),
                          HasSubstr("four: it has no camera to prove."),
                          HasSubstr("Every exported target shows"), Not(HasSubstr("BEYOND"))));
}

TEST(VerificationText, NoLineIsWiderThanTheTerminal) {
  std::size_t Start = 0;
  const std::string Text = Text_Of(Four_Targets());
  for (std::size_t End = Text.find('\n'); End != std::string::npos; End = Text.find('\n', Start)) {
    EXPECT_LE(End - Start, 80u) << Text.substr(Start, End - Start);
    Start = End + 1;
  }
}

TEST(VerificationText, ADifferenceBeyondItsBoundIsToldWithItsPlace) {
  Verification Of = Four_Targets();
  Of.Targets[1].Proof.Own_Lens->Beyond = Compared_Pixel{7.5, 0.01, 2, {100.0, 200.0}};
  const std::string Text = Text_Of(Of);
  EXPECT_THAT(Text, AllOf(HasSubstr("BEYOND the rounding"),
                          HasSubstr("two, own lens: 7.5 px where 0.01 are allowed, at pixel 100, "
                                    "200 of"),
                          HasSubstr("sample 3 of\n  3."), Not(HasSubstr("Every exported"))));
}

// Nothing was compared that could be beyond a bound.
TEST(VerificationText, ATargetThatIsNotProvenIsAFailure) {
  Verification Of = Four_Targets();
  EXPECT_TRUE(Of.Holds());
  Of.Targets[3].Outcome = Target_Outcome::Not_Proven;
  Of.Targets[3].Reason = "its file can't be read back: no numbers";
  EXPECT_FALSE(Of.Holds());
  EXPECT_THAT(Text_Of(Of),
              AllOf(HasSubstr("\n  four          not proven\n"),
                    HasSubstr("\n  NOT PROVEN: four: its file can't be read back: no numbers"),
                    Not(HasSubstr("BEYOND")), Not(HasSubstr("Every exported"))));
  const auto Root = nlohmann::json::parse(
      rigsync::Verification_Json(Of, "/r/result.json", Solution_Choice::Library));
  EXPECT_EQ(Root["holds"], false);
  EXPECT_EQ(Root["targets"][3]["outcome"], "not_proven");
  EXPECT_EQ(Root["targets"][3]["reason"], "its file can't be read back: no numbers");
}

TEST(VerificationText, TheSampleOfAFileIsNamedSo) {
  Verification Of = Four_Targets();
  Of.Targets[1].Proof.Mount.Beyond = Compared_Pixel{7.5, 0.01, 3, {100.0, 200.0}};
  EXPECT_THAT(Text_Of(Of), HasSubstr("pixel 100, 200 of the sample in\n  the file."));
}

TEST(VerificationText, PixelsWithoutAPointAreCounted) {
  Verification Of = Four_Targets();
  Of.Points.Unseen = 4;
  EXPECT_THAT(Text_Of(Of), HasSubstr("(4 of them beyond the end of the lens model)"));
}

TEST(VerificationText, JsonHasEveryTargetAndNullForWhatIsNoNumber) {
  Verification Of = Four_Targets();
  Of.Targets[0].Proof.Mount.Beyond = Compared_Pixel{std::nan(""), 0.01, 2, {100.0, 200.0}};
  const auto Root = nlohmann::json::parse(
      rigsync::Verification_Json(Of, "/r/result.json", Solution_Choice::Library));
  EXPECT_EQ(Root["result"], "/r/result.json");
  EXPECT_EQ(Root["solution"], "library");
  EXPECT_EQ(Root["holds"], false);
  EXPECT_EQ(Root["samples"], 3);
  EXPECT_EQ(Root["samples_from"], "3 rows of a.csv");
  EXPECT_EQ(Root["depths_m"], nlohmann::json({0.5, 2.0, 10.0}));
  const auto& Targets = Root["targets"];
  ASSERT_EQ(Targets.size(), 4u);
  EXPECT_EQ(Targets[0]["outcome"], "beyond");
  EXPECT_EQ(Targets[1]["outcome"], "within");
  EXPECT_TRUE(Targets[1]["reason"].is_null());
  EXPECT_TRUE(Targets[0]["mount"]["px"].is_null());
  EXPECT_EQ(Targets[0]["mount"]["holds"], false);
  EXPECT_TRUE(Targets[0]["own_lens"].is_null());
  EXPECT_EQ(Targets[1]["own_lens"]["px"], 0.00012);
  EXPECT_EQ(Targets[1]["own_lens"]["allowed_px"], 0.0034);
  EXPECT_EQ(Targets[1]["own_lens"]["sample"], 1);
  EXPECT_EQ(Targets[1]["notes"], nlohmann::json({"it has one eye"}));
  EXPECT_EQ(Targets[2]["outcome"], "not_exported");
  EXPECT_EQ(Targets[2]["reason"], "code 3. Locked.");
  EXPECT_TRUE(Targets[2]["tracker_axes"].is_null());
  EXPECT_TRUE(Targets[2]["mount"].is_null());
  EXPECT_EQ(Targets[3]["outcome"], "no_camera");
}

}  // namespace
