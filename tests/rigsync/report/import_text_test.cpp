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

TEST(ImportText, TellsTakeBodiesPicturesClocksAndRefusals) {
  Capture_Import Made;
  Import_Record& Record = Made.Record;
  Record.Takes = {"take_a.csv", "take_b.csv"};
  Record.Format = "Motive CSV";
  Record.Pictures = "photographs";
  Record.Picture_Times = "EXIF";
  Record.Camera_Body = "Camera";
  Record.Camera = {190, 10, 100.0, {0.05, 0.005}, {0.004, 0.25 / 57.29577951308232}};
  Record.Board_Body = "Board";
  Record.Board = {200, 0, 60.0, {0.5, 0.05}, {0.01, 0.5 / 57.29577951308232}};
  Record.Hold_Count = 7;
  Made.Short_Stops = 1;
  Record.Clock.Offset_Seconds = 1.25;
  for (int i = 0; i < 6; ++i) {
    Imported_Row Row;
    Row.Picture = "IMG_" + std::to_string(i) + ".jpg";
    if (i == 0) Row.Csv_Line = 2;
    if (i > 0) Row.Refusal = i == 5 ? "no sample" : "moved";
    Record.Rows.push_back(Row);
  }
  const std::string Head =
      "capture.csv\n"
      "  take        take_a.csv and take_b.csv (Motive CSV)\n"
      "  camera      'Camera', 100.0 Hz, noise 0.050 mm and 0.0050 degrees, at rest up\n"
      "              to 4.0 mm/s and 0.25 degrees/s; 10 of 200 samples lost\n";
  EXPECT_EQ(Import_Text(Made, "capture.csv", false),
            Head +
                "  board       'Board', 60.0 Hz, noise 0.50 mm and 0.050 degrees, at rest up to\n"
                "              10 mm/s and 0.50 degrees/s\n"
                "  pictures    photographs, times: EXIF\n"
                "  stillness   7 holds, and 1 stop too short for one\n"
                "  clocks      time in the take = time of the picture + 1.250 s, as stated\n"
                "  rows        1 of 6 pictures\n"
                "  without     IMG_1.jpg, IMG_2.jpg, IMG_3.jpg and 1 more: moved\n"
                "              IMG_5.jpg: no sample\n");
  Record.Board_Body.clear();
  Record.Hold_Count = 1;
  Made.Short_Stops = 0;
  Record.Rows.resize(1);
  EXPECT_EQ(Import_Text(Made, "capture.csv", false),
            Head +
                "  board       stands still and isn't tracked: its sample is the same in each\n"
                "              row, and 'rigsync calibrate --solution joint' solves its place\n"
                "  pictures    photographs, times: EXIF\n"
                "  stillness   1 hold\n"
                "  clocks      time in the take = time of the picture + 1.250 s, as stated\n"
                "  rows        1 of 1 picture\n");
}

// Five reasons are told, and how many more there are.
TEST(ImportText, NamesHoldsOfAClipByTheirTimesAndCountsFurtherReasons) {
  Capture_Import Made;
  Made.Record.Pictures = "clip.avi";
  Made.Record.Clock.Method = Clock_Method::Timecode;
  for (int i = 0; i < 7; ++i) {
    Imported_Row Row;
    Row.Picture = "clip.avi";
    Row.Begin_Seconds = 1.5 + i;
    Row.Refusal = "reason " + std::string(1, static_cast<char>('a' + i));
    Made.Record.Rows.push_back(Row);
  }
  const std::string Text = Import_Text(Made, "capture.csv", false);
  EXPECT_THAT(
      Text,
      HasSubstr("  clocks      time in the take = time of the picture + 0.000 s, by timecode: to\n"
                "              a frame\n"));
  EXPECT_THAT(Text, HasSubstr("  without     hold at 1.5 s: reason a\n"
                              "              hold at 2.5 s: reason b\n"));
  EXPECT_THAT(Text, HasSubstr("              hold at 5.5 s: reason e\n"
                              "              2 more reasons in import.json\n"));
  Made.Record.Rows.pop_back();
  EXPECT_THAT(Import_Text(Made, "capture.csv", false),
              HasSubstr("              1 more reason in import.json\n"));
}

}  // namespace
}  // namespace rigsync
