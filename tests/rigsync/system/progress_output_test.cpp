// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/progress_output.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(ProgressOutput, RoundsTimesAsEstimatesAre) {
  const std::pair<double, const char*> Cases[] = {
      {0, "a few seconds"}, {7.4, "a few seconds"}, {7.5, "about 10 s"}, {12.4, "about 10 s"},
      {12.6, "about 15 s"}, {89.9, "about 90 s"},   {90, "about 2 min"}, {120, "about 2 min"},
      {121, "about 3 min"}, {600, "about 10 min"}};
  for (const auto& [Seconds, Text] : Cases)
    EXPECT_EQ(rigsync::Duration_Text(Seconds), Text) << Seconds;
}

// Of 80 columns the last stays free, and each of these letters has two bytes.
TEST(ProgressOutput, ALineThatIsTooLongIsCutBetweenCharacters) {
  std::string Letters;
  for (int i = 0; i < 79; ++i) Letters += "\xC3\xBC";
  testing::internal::CaptureStderr();
  rigsync::Progress_Output(rigsync::Progress_Kind::Line).Show(Letters + "...");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\r" + Letters + "\x1b[K\r\x1b[K");
}

TEST(ProgressOutput, AClearedLineIsWrittenAgainAndPlainOutputHasNone) {
  testing::internal::CaptureStderr();
  {
    rigsync::Progress_Output Line(rigsync::Progress_Kind::Line);
    Line.Show("3 of 9");
    Line.Clear();
    Line.Show("3 of 9");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\r3 of 9\x1b[K\r\x1b[K\r3 of 9\x1b[K\r\x1b[K");
  testing::internal::CaptureStderr();
  rigsync::Progress_Output(rigsync::Progress_Kind::Plain).Clear();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
