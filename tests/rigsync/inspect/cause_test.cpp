// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/cause.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using rigsync::Finding;
using rigsync::Inspection;
using rigsync::Level;

constexpr std::size_t Row_Count = 24;

Inspection With(const std::vector<Finding>& Found) {
  Inspection Inspected;
  Inspected.File.Rows.resize(Row_Count);
  for (const Finding& One : Found) Inspected.All_Findings.Add(One);
  return Inspected;
}

Finding Of(const std::string& Id, Level Severity = Level::Warning,
           const std::vector<std::size_t>& Lines = {}) {
  return {Id, Severity, "What.", "", "Advice.", Lines};
}

std::string Cause_Of(const std::vector<Finding>& Found) {
  const std::optional<Finding> Cause = rigsync::Likeliest_Cause(With(Found));
  return Cause ? Cause->Id : "none";
}

TEST(Cause, ThereIsNoneWithoutAFindingThatMovesTheMount) {
  EXPECT_EQ(Cause_Of({}), "none");
  EXPECT_EQ(Cause_Of({Of("board_symmetric", Level::Note), Of("coverage"), Of("distance"),
                      Of("byte_order_mark")}),
            "none");
}

// It helps the solve, and without it a weak capture would be worse.
TEST(Cause, APlaceThatServesAsAPriorIsNoCause) {
  rigsync::Inspection Inspected = With({Of("board_euler")});
  Inspected.Solution.emplace();
  Inspected.Solution->Place.emplace();
  EXPECT_TRUE(rigsync::Likeliest_Cause(Inspected));
  Inspected.Solution->Place->Is_Prior = true;
  EXPECT_FALSE(rigsync::Likeliest_Cause(Inspected));
}

TEST(Cause, IsTheWholeFindingWithItsTexts) {
  const std::optional<Finding> Cause = rigsync::Likeliest_Cause(
      With({{"scale", Level::Error, "Too long.", "By 5.", "Measure.", {}}, Of("coverage")}));
  ASSERT_TRUE(Cause);
  EXPECT_EQ(Cause->What, "Too long.");
  EXPECT_EQ(Cause->Example, "By 5.");
  EXPECT_EQ(Cause->Advice, "Measure.");
}

TEST(Cause, WhatSpoilsEveryRowComesBeforeWhatSpoilsSome) {
  const std::vector<Finding> In_Order = {Of("trackers_disagree", Level::Error),
                                         Of("tracker_slipped", Level::Error, {14, 15}),
                                         Of("scale"),
                                         Of("turns_about_one_axis"),
                                         Of("sample_disagrees", Level::Warning, {3, 9, 17}),
                                         Of("lens_fits_badly", Level::Error),
                                         Of("board_euler"),
                                         Of("few_boards")};
  for (std::size_t First = 0; First < In_Order.size(); ++First) {
    // The grave ones were added last.
    std::vector<Finding> Left(In_Order.rbegin(), In_Order.rend() - static_cast<long>(First));
    EXPECT_EQ(Cause_Of(Left), In_Order[First].Id);
  }
}

TEST(Cause, ASuspectedSlipAndSingleBadRowsComeLast) {
  const Finding Suspected = Of("tracker_slipped", Level::Warning, {14, 15});
  const Finding Two_Rows = Of("sample_disagrees", Level::Warning, {3, 9});
  EXPECT_EQ(Cause_Of({Suspected, Two_Rows, Of("few_boards")}), "few_boards");
  EXPECT_EQ(Cause_Of({Two_Rows, Suspected}), "tracker_slipped");
  EXPECT_EQ(Cause_Of({Two_Rows}), "sample_disagrees");
}

TEST(Cause, ThreeBadRowsOfTwentyFourAreManyAndTwoAreNot) {
  const Finding Weak = Of("mount_undetermined");
  EXPECT_EQ(Cause_Of({Of("sample_disagrees", Level::Warning, {3, 9}), Weak}), "mount_undetermined");
  EXPECT_EQ(Cause_Of({Of("sample_disagrees", Level::Warning, {3, 9, 17}), Weak}),
            "sample_disagrees");
  // Of more rows, a tenth has to be bad.
  Inspection Long = With({Of("sample_disagrees", Level::Warning, {3, 9, 17}), Weak});
  Long.File.Rows.resize(30);
  EXPECT_EQ(rigsync::Likeliest_Cause(Long)->Id, "sample_disagrees");
  Long.File.Rows.resize(31);
  EXPECT_EQ(rigsync::Likeliest_Cause(Long)->Id, "mount_undetermined");
}

}  // namespace
