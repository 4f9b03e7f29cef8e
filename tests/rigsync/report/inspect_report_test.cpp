// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/inspect_report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(CoverageMap, MarksOneTwoToThreeAndMoreImages) {
  rigsync::Coverage Frame_Coverage{16, 9, std::vector<int>(16 * 9, 0)};
  for (int Col = 0; Col < 4; ++Col) Frame_Coverage.Images[static_cast<std::size_t>(Col)] = Col + 1;
  const std::vector<std::string> Lines = rigsync::Map_Lines(Frame_Coverage);
  ASSERT_EQ(Lines.size(), 11u);
  EXPECT_EQ(Lines[0], "+" + std::string(32, '-') + "+");
  EXPECT_EQ(Lines[1], "|..oooo##" + std::string(24, ' ') + "|");
  EXPECT_EQ(Lines[2], "|" + std::string(32, ' ') + "|");
  EXPECT_EQ(Lines[10], Lines[0]);
}

}  // namespace
