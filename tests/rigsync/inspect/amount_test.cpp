// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/amount.h"

#include <gtest/gtest.h>

namespace {

TEST(Amount, HasTwoDigitsThatCount) {
  EXPECT_EQ(rigsync::Amount(1234.4), "1234");
  EXPECT_EQ(rigsync::Amount(35.2), "35");
  EXPECT_EQ(rigsync::Amount(2.44), "2.4");
  EXPECT_EQ(rigsync::Amount(9.96), "10");
  EXPECT_EQ(rigsync::Amount(9.94), "9.9");
  EXPECT_EQ(rigsync::Amount(0.9999), "1.0");
  EXPECT_EQ(rigsync::Amount(0.306), "0.31");
  EXPECT_EQ(rigsync::Amount(0.0512), "0.051");
  EXPECT_EQ(rigsync::Amount(0.0000012), "0.0000");
  EXPECT_EQ(rigsync::Amount(0.0), "0");
}

TEST(Amount, HasAUnit) {
  EXPECT_EQ(rigsync::Amount_Mm(0.0024), "2.4 mm");
  EXPECT_EQ(rigsync::Amount_Deg(0.31), "0.31 degrees");
}

}  // namespace
