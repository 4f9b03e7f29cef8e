// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/row_findings.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Capture_Row;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Joint_Solution;
using rigsync::Level;
using rigsync::Solve_Status;
using testing::ElementsAre;
using testing::HasSubstr;

// Line 1 is a header.
std::vector<Capture_Row> Rows_Of(std::size_t Count) {
  std::vector<Capture_Row> Rows(Count);
  for (std::size_t i = 0; i < Count; ++i) Rows[i].Line = i + 2;
  return Rows;
}

std::vector<Finding> Judged(const Joint_Solution& Joint, std::size_t Row_Count = 24) {
  Findings List;
  rigsync::Judge_Solved_Rows(Rows_Of(Row_Count), Joint, List);
  return List.Sorted();
}

rigsync::Solved_Row Row(std::size_t Index, bool Is_Kept, double Mm, double Degrees) {
  rigsync::Solved_Row One;
  One.Row = Index;
  One.Is_Kept = Is_Kept;
  // 3, 4 and 5 make a right angle.
  One.Residual << 0.0, 0.6 * Degrees * pose_rig::Radians_In_Degree,
      0.8 * Degrees * pose_rig::Radians_In_Degree, 0.6e-3 * Mm, 0.0, -0.8e-3 * Mm;
  return One;
}

Joint_Solution Solved(const std::vector<rigsync::Solved_Row>& Rows) {
  Joint_Solution Joint;
  Joint.Status = Solve_Status::Solved;
  Joint.Rows = Rows;
  return Joint;
}

TEST(RowFindings, ALineThatWasLeftOutIsReportedWithHowFarItIsOff) {
  const auto Found = Judged(Solved({Row(0, true, 0.4, 0.03), Row(1, true, 0.6, 0.05),
                                    Row(2, false, 31.0, 2.1), Row(3, true, 0.5, 0.04)}));
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "sample_disagrees");
  EXPECT_EQ(Found[0].Severity, Level::Warning);
  EXPECT_THAT(Found[0].Lines, ElementsAre(4));
  EXPECT_EQ(Found[0].Example,
            "Line 4 is off by 31 mm and 2.1 degrees; the median of the other lines is 0.50 mm and "
            "0.040 degrees.");
}

// What is left may be the mount before a tracker moved.
TEST(RowFindings, ALastLineThatIsOffIsNotSimplyToBeRemoved) {
  const auto Advice = [](bool Is_Last_Kept) {
    return Judged(Solved({Row(0, true, 0.4, 0.03), Row(1, false, 31.0, 2.1),
                          Row(2, true, 0.6, 0.05), Row(3, Is_Last_Kept, 31.0, 2.1)}))
        .at(0)
        .Advice;
  };
  EXPECT_EQ(Advice(true), "Remove the line.");
  EXPECT_THAT(Advice(false), testing::HasSubstr("If one has moved, capture again"));
  EXPECT_THAT(Advice(false), testing::HasSubstr("remove these lines"));
}

TEST(RowFindings, SeveralLinesAreOneFindingWithTheirRange) {
  const auto Found = Judged(Solved({Row(0, false, 80.0, 0.4), Row(5, true, 0.5, 0.04),
                                    Row(7, false, 12.0, 4.0), Row(9, false, 20.0, 1.0)}));
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_THAT(Found[0].Lines, ElementsAre(2, 9, 11));
  EXPECT_THAT(Found[0].Example, HasSubstr("They are off by 12 to 80 mm and 0.40 to 4.0 degrees;"));
}

TEST(RowFindings, EqualErrorsAreNoRange) {
  const auto Found = Judged(
      Solved({Row(0, false, 30.0, 2.02), Row(1, true, 0.5, 0.04), Row(2, false, 45.0, 1.98)}));
  EXPECT_THAT(Found.at(0).Example, HasSubstr("off by 30 to 45 mm and 2.0 degrees;"));
}

// A capture almost without noise has such lines.
TEST(RowFindings, ALineThatIsOffByNextToNothingIsNotReported) {
  EXPECT_TRUE(Judged(Solved({Row(0, true, 0.1, 0.01), Row(1, false, 0.99, 0.099)})).empty());
  EXPECT_EQ(Judged(Solved({Row(0, true, 0.1, 0.01), Row(1, false, 1.01, 0.0)})).size(), 1u);
  EXPECT_EQ(Judged(Solved({Row(0, true, 0.1, 0.01), Row(1, false, 0.0, 0.101)})).size(), 1u);
}

TEST(RowFindings, StaleRowsOfASolvedCaptureAreFoundAndNoOthers) {
  pose_rig::Options Options;
  Options.Stale = {2, 3, 8, 13, 17, 21};
  for (Options.Seed = 1; Options.Seed <= 8; ++Options.Seed) {
    SCOPED_TRACE(Options.Seed);
    const auto Found = Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen));
    ASSERT_EQ(Found.size(), 1u);
    EXPECT_THAT(Found[0].Lines, ElementsAre(4, 5, 10, 15, 19, 23));
  }
}

TEST(RowFindings, AGoodCaptureHasNone) {
  pose_rig::Options Options;
  for (Options.Seed = 1; Options.Seed <= 8; ++Options.Seed) {
    EXPECT_TRUE(Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen)).empty());
  }
}

TEST(RowFindings, ACaptureThatCannotBeSolvedSaysWhy) {
  Joint_Solution Joint;
  Joint.Settled.resize(4);
  const auto Few = Judged(Joint);
  ASSERT_EQ(Few.size(), 1u);
  EXPECT_EQ(Few[0].Id, "too_few_samples");
  EXPECT_EQ(Few[0].Severity, Level::Error);
  EXPECT_THAT(Few[0].What, HasSubstr("Only 4 lines have both"));

  Joint = Solved({Row(0, true, 0, 0), Row(1, false, 30, 2), Row(2, false, 30, 2)});
  Joint.Status = Solve_Status::No_Majority;
  const auto Split = Judged(Joint);
  ASSERT_EQ(Split.size(), 1u);
  EXPECT_EQ(Split[0].Id, "no_majority");
  EXPECT_EQ(Split[0].Severity, Level::Error);
  EXPECT_THAT(Split[0].What, HasSubstr("Only 1 of 3 lines agree with each other"));

  Joint.Status = Solve_Status::Not_Converged;
  Joint.Settled.resize(17);
  const auto Open = Judged(Joint);
  ASSERT_EQ(Open.size(), 1u);
  EXPECT_EQ(Open[0].Id, "mounts_not_solved");
  EXPECT_EQ(Open[0].Severity, Level::Error);
  EXPECT_THAT(Open[0].What, HasSubstr("from the 17 lines"));
}

}  // namespace
