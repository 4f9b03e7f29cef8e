// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/import_text.h"

#include <gmock/gmock.h>

#include <string>

namespace rigsync {
namespace {

using testing::HasSubstr;

// Two rows, of which the first has a line in the CSV.
Capture_Import Two_Rows() {
  Capture_Import Made;
  Made.Record.Rows.resize(2);
  Made.Record.Rows[0].Csv_Line = 2;
  Made.Record.Rows[1].Refusal = "moved";
  return Made;
}

TEST(ImportText, CountsTheHoldsOfAClipAndThePicturesOfAFolder) {
  Capture_Import Made = Two_Rows();
  EXPECT_THAT(Import_Text(Made, "capture.csv", false), HasSubstr("1 of 2 pictures\n"));
  Made.Frames = {5, std::nullopt};
  EXPECT_THAT(Import_Text(Made, "capture.csv", false), HasSubstr("1 of 2 holds\n"));
}

TEST(ImportText, SaysOfAnOffsetByMotionThatItIsCertainAndHowItFits) {
  Capture_Import Made = Two_Rows();
  Made.Record.Clock.Method = Clock_Method::Correlation;
  Made.Record.Clock.Offset_Seconds = -2.5;
  Made.Record.Clock.Score = 0.9;
  Made.Record.Clock.Second_Score = 0.4;
  Made.Record.Clock.Second_Offset_Seconds = 1.25;
  EXPECT_THAT(Import_Text(Made, "capture.csv", false),
              HasSubstr("time in the take = time of the picture - 2.500 s, certain by\n"
                        "              motion: it fits to 0.90, the next best (1.250 s) to 0.40"));
}

}  // namespace
}  // namespace rigsync
