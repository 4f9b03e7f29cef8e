// SPDX-License-Identifier: Apache-2.0
#include "rigsync/take/timecode.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

constexpr Frame_Rate Rate_25{25, 1}, Rate_29_97{30000, 1001}, Rate_59_94{60000, 1001};

TEST(Timecode, IsTheTimeSinceMidnightInFrames) {
  EXPECT_DOUBLE_EQ(Seconds_Of({0, 0, 0, 0, false}, Rate_25).value(), 0.0);
  EXPECT_DOUBLE_EQ(Seconds_Of({10, 21, 33, 7, false}, Rate_25).value(),
                   10 * 3600 + 21 * 60 + 33 + 7 / 25.0);
}

// 30 numbers a second while 29.97 frames pass: after an hour of numbers 3.6 s more have passed.
TEST(Timecode, WithoutDroppedNumbersRunsSlowAt2997) {
  EXPECT_NEAR(Seconds_Of({1, 0, 0, 0, false}, Rate_29_97).value(), 3603.6, 1e-9);
}

// 17982 frames are ten minutes to within 0.6 milliseconds.
TEST(Timecode, WithDroppedNumbersKeepsToTheClock) {
  EXPECT_NEAR(Seconds_Of({0, 10, 0, 0, true}, Rate_29_97).value(), 17982 * 1001 / 30000.0, 1e-9);
  EXPECT_NEAR(Seconds_Of({1, 0, 0, 0, true}, Rate_29_97).value(), 3600.0, 0.005);
  EXPECT_NEAR(Seconds_Of({1, 0, 0, 0, true}, Rate_59_94).value(), 3600.0, 0.005);
}

TEST(Timecode, FollowsTheFrameBeforeADroppedNumberByOneFrame) {
  const double Before = Seconds_Of({0, 0, 59, 29, true}, Rate_29_97).value();
  const double After = Seconds_Of({0, 1, 0, 2, true}, Rate_29_97).value();
  EXPECT_NEAR(After - Before, 1001 / 30000.0, 1e-12);
  const double Before_60 = Seconds_Of({0, 0, 59, 59, true}, Rate_59_94).value();
  const double After_60 = Seconds_Of({0, 1, 0, 4, true}, Rate_59_94).value();
  EXPECT_NEAR(After_60 - Before_60, 1001 / 60000.0, 1e-12);
}

TEST(Timecode, IsNothingForNumbersThatItNeverHas) {
  EXPECT_FALSE(Seconds_Of({24, 0, 0, 0, false}, Rate_25));
  EXPECT_FALSE(Seconds_Of({0, 60, 0, 0, false}, Rate_25));
  EXPECT_FALSE(Seconds_Of({0, 0, 60, 0, false}, Rate_25));
  EXPECT_FALSE(Seconds_Of({0, 0, 0, 25, false}, Rate_25));
  EXPECT_FALSE(Seconds_Of({0, 0, 0, -1, false}, Rate_25));
  EXPECT_FALSE(Seconds_Of({0, 1, 0, 1, true}, Rate_29_97));
  EXPECT_TRUE(Seconds_Of({0, 10, 0, 1, true}, Rate_29_97));
  EXPECT_FALSE(Seconds_Of({0, 0, 0, 0, false}, {0, 1}));
  EXPECT_FALSE(Seconds_Of({0, 0, 0, 0, false}, {25, 0}));
}

TEST(Timecode, IsReadFromItsUsualText) {
  const Timecode Code = Read_Timecode("10:21:33:07").value();
  EXPECT_EQ(Code.Hours, 10);
  EXPECT_EQ(Code.Minutes, 21);
  EXPECT_EQ(Code.Seconds, 33);
  EXPECT_EQ(Code.Frames, 7);
  EXPECT_FALSE(Code.Is_Drop_Frame);
  EXPECT_TRUE(Read_Timecode("10:21:33;07").value().Is_Drop_Frame);
  for (const char* Text : {"", "10:21:33", "10:21:33:7", "1a:21:33:07", "10:21:33.07",
                           "10;21:33:07", "10:21:33:07 ", "-1:21:33:07"}) {
    EXPECT_FALSE(Read_Timecode(Text)) << Text;
  }
}

TEST(Timecode, DiffersAcrossMidnightByTheShorterWay) {
  EXPECT_DOUBLE_EQ(Time_Of_Day_Difference(86399.0, 2.0), 3.0);
  EXPECT_DOUBLE_EQ(Time_Of_Day_Difference(2.0, 86399.0), -3.0);
  EXPECT_DOUBLE_EQ(Time_Of_Day_Difference(10.0, 40.0), 30.0);
}

}  // namespace
}  // namespace rigsync
