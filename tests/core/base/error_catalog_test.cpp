// SPDX-License-Identifier: Apache-2.0
//
// The catalog as hosts and log readers know it. The texts are repeated here on purpose, so that a
// changed text fails this test.
#include "core/base/error_catalog.h"

#include "tests/support/quiet_output.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace {

const std::vector<std::pair<int, std::string>> Known_Rows = {
    {0, "No error"},
    {1, "The raw data csv file path is wrong."},
    {2, "The amount of Tracker data and images do not match."},
    {3, "Encountered Gimbal lock."},
    {4, "Amount of valid images < 12."},
    {5, "Camera calibration failed, reporjection too large. (> 1.5 pixel)"},
    {6, "Camera tracker calibration failed, Translation STD too large. (> 1.5cm)"},
    {7, "Data size is not same in Cal_Reproj_Error."},
    {8, "Data size is not same in Calculate_Transform_Cam_Tc."},
    {9, "Norm_Vec size is not correct."},
    {10, "Dot_Vec size is not correct."},
    {11, "RT_Filt_Outlier output size is not same."},
    {12, "Data size is not same in Calculate_Transform_Chart_Tr"},
    {13, "Filtered data not enough (<5)"},
    {14, "Reprojection error too large (>18 pixel in 1080p)"},
    {15, "Tracker data format error in csv file. Please re-calibration again!"},
    {16, ""},
    {99, "Recalibration is recommended."},
    {100, "DoF Near calculation error, Near > ObjectDistance."},
};

TEST(ErrorCatalog, HoldsExactlyTheNineteenKnownRowsInAscendingOrder) {
  ASSERT_EQ(Known_Rows.size(), 19u);
  const std::vector<std::pair<int, std::string>> Rows(Error_Table.begin(), Error_Table.end());
  EXPECT_EQ(Rows, Known_Rows);
}

TEST(ErrorCatalog, GivesEachCodeItsOwnText) {
  for (const auto& Row : Known_Rows) {
    SCOPED_TRACE(Row.first);
    EXPECT_EQ(Error_Text(Row.first), Row.second);
  }
}

TEST(ErrorCatalog, GivesCodesWithoutAnEntryTheEmptyText) {
  // 16 has an empty entry; each of the others is next to an entry or at an end of the range.
  const int Cases[] = {
      16, 17, -1, 98, 101, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
  for (const int Code : Cases) {
    SCOPED_TRACE(Code);
    EXPECT_EQ(Error_Text(Code), "");
  }
}

TEST(ErrorCatalog, LooksUpWithoutLoggingAndWithoutAddingRows) {
  const Quiet_Output Output;
  Error_Text(4);
  Error_Text(17);
  EXPECT_EQ(Output.Captured(), "");
  EXPECT_EQ(Error_Table.size(), 19u);
}

TEST(ErrorCatalog, KnowsItsVersion) {
  EXPECT_EQ(Program_Version, "v0.0.9");
}

}  // namespace
