// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_size.h"

#include <gtest/gtest.h>

namespace {

// A half turn takes square (c, r) to (cols - c, rows - r): its colour stays when the counts' sum is
// even.
TEST(BoardSize, BoardsWithBothCountsEvenOrBothOddLookTheSameHalfTurned) {
  EXPECT_TRUE(rigsync::Looks_Same_Half_Turned({8, 6}));
  EXPECT_TRUE(rigsync::Looks_Same_Half_Turned({7, 5}));
  EXPECT_FALSE(rigsync::Looks_Same_Half_Turned({11, 8}));
  EXPECT_FALSE(rigsync::Looks_Same_Half_Turned({8, 11}));
}

}  // namespace
