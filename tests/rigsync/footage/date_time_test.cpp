// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/date_time.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

// Counted by "date -u -d TEXT +%s".
TEST(DateTime, CountsSecondsFrom1970) {
  const std::pair<const char*, double> Cases[] = {
      {"1970-01-01T00:00:00", 0},           {"1970:12:31 23:59:59", 31535999},
      {"2000-02-29T12:00:00", 951825600},   {"2000-03-01 00:00:00", 951868800},
      {"2024:05:17 10:21:33", 1715941293},  {"2100-03-01T00:00:00", 4107542400},
      {"9999-12-31T23:59:59", 253402300799}};
  for (const auto& [Text, Seconds] : Cases) {
    const std::optional<Date_Time> Read = Read_Date_Time(Text);
    ASSERT_TRUE(Read) << Text;
    EXPECT_EQ(Read->Time.Seconds, Seconds) << Text;
    EXPECT_EQ(Read->Time.Decimals, 0);
    EXPECT_FALSE(Read->Offset_Seconds);
  }
}

TEST(DateTime, KeepsTheFractionWithItsDigitsAndTheOffset) {
  const Date_Time Read = Read_Date_Time("2024-05-17T10:21:33.250+02:30").value();
  EXPECT_EQ(Read.Time.Seconds, 1715941293.25);
  EXPECT_EQ(Read.Time.Decimals, 3);
  EXPECT_EQ(Read.Offset_Seconds.value(), 9000.0);
  EXPECT_EQ(Read_Date_Time("2024-05-17T10:21:33Z")->Offset_Seconds.value(), 0.0);
  EXPECT_EQ(Read_Offset("-0330").value(), -12600.0);
}

TEST(DateTime, IsNothingForADayThatNeverWasAndForOtherTexts) {
  for (const char* Text : {"",
                           "2023-02-29T00:00:00",
                           "2100-02-29T00:00:00",
                           "2024-13-01T00:00:00",
                           "2024-00-01T00:00:00",
                           "2024-04-31T00:00:00",
                           "2024-04-00T00:00:00",
                           "1969-12-31T00:00:00",
                           "2024-05:17T10:21:33",
                           "2024-05-17 10:21",
                           "2024-05-17 24:00:00",
                           "2024-05-17 10:60:00",
                           "2024-05-17 10:21:61",
                           "2024-05-17T10:21:33.",
                           "2024-05-17T10:21:33,5",
                           "2024-05-17T10:21:33+2",
                           "2024-05-17T10:21:33 ",
                           "2024-05-17T1:21:33",
                           "24-05-17T10:21:33",
                           "+024-05-17T10:21:33",
                           "2024-05-17T10:21:33+15:00",
                           "2024-05-17T10:21:33+01:60"}) {
    EXPECT_FALSE(Read_Date_Time(Text)) << Text;
  }
}

TEST(DateTime, SecondsAreAPlainDecimalNumber) {
  EXPECT_EQ(Read_Seconds("12.480")->Seconds, 12.48);
  EXPECT_EQ(Read_Seconds("12.480")->Decimals, 3);
  EXPECT_EQ(Read_Seconds("-3")->Seconds, -3.0);
  EXPECT_EQ(Read_Seconds("1715941293.123456")->Seconds, 1715941293.123456);
  for (const char* Text : {"", "-", ".5", "5.", "1e3", "0x10", "nan", "inf", "12,5", " 1", "1 ",
                           "12345678901", "1.2.3", "--1"}) {
    EXPECT_FALSE(Read_Seconds(Text)) << Text;
  }
}

TEST(DateTime, ATimeOfDayIsSecondsSinceMidnight) {
  EXPECT_EQ(Read_Time_Of_Day("10:21:33.5")->Seconds, 37293.5);
  for (const char* Text : {"", "10:21", "10:21:33:07", "24:00:00", "-1:00:00", "10:21:33.5 "}) {
    EXPECT_FALSE(Read_Time_Of_Day(Text)) << Text;
  }
}

}  // namespace
}  // namespace rigsync
