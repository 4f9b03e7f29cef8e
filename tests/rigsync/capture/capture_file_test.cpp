// SPDX-License-Identifier: Apache-2.0
//
// What a capture's CSV file holds and what is told of its lines.
#include "rigsync/capture/capture_file.h"
#include "rigsync/system/usage_error.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <map>

namespace {

using rigsync::Capture_File;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Level;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

using Lines = std::vector<std::size_t>;

const std::string Good_Line = "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,0\n";

struct Read_Result {
  Capture_File File;
  Findings Told;

  std::map<std::string, Lines> Lines_By_Id() const {
    std::map<std::string, Lines> Found;
    for (const Finding& One : Told.Sorted()) Found[One.Id] = One.Lines;
    return Found;
  }
  Finding Get(const std::string& Id) const {
    for (const Finding& One : Told.Sorted()) {
      if (One.Id == Id) return One;
    }
    ADD_FAILURE() << Id << " wasn't told";
    return {};
  }
};

Read_Result Read(const std::string& Text) {
  const Scratch_Folder Scratch;
  Read_Result Result;
  Result.File = rigsync::Read_Capture_File(Scratch.Write("capture.csv", Text), Result.Told);
  return Result;
}

TEST(CaptureFile, EveryFieldReachesItsPlaceAndAGoodFileIsNotTalkedAbout) {
  const Read_Result Result = Read("Time,Image\n" + Good_Line);
  EXPECT_THAT(Result.Lines_By_Id(), IsEmpty());
  EXPECT_EQ(Result.File.Line_Count, 2u);
  EXPECT_EQ(Result.File.Header_Count, 1u);
  ASSERT_EQ(Result.File.Rows.size(), 1u);
  const rigsync::Capture_Row& Row = Result.File.Rows[0];
  EXPECT_EQ(Row.Line, 2u);
  EXPECT_EQ(Row.Image, "a.png");
  EXPECT_THAT(Row.Camera.Position, ElementsAre(1, 2, 3));
  EXPECT_THAT(Row.Camera.Quaternion, ElementsAre(1, 0, 0, 0));
  EXPECT_THAT(Row.Board.Position, ElementsAre(4, 5, 6));
  EXPECT_THAT(Row.Board.Quaternion, ElementsAre(0, 1, 0, 0));
  EXPECT_TRUE(Row.Is_Sound);
}

TEST(CaptureFile, AFileWithoutHeaderOrLastNewlineIsFine) {
  const Read_Result Result = Read(Good_Line + Good_Line.substr(0, Good_Line.size() - 1));
  EXPECT_THAT(Result.Lines_By_Id(), IsEmpty());
  EXPECT_EQ(Result.File.Rows.size(), 2u);
}

TEST(CaptureFile, TooFewFieldsRepeatTheLastAndMakeTheRowUnsound) {
  const Read_Result Result = Read(Good_Line + "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,7\n" + "alone\n");
  // What repeats isn't told as a field of its own.
  EXPECT_THAT(Result.Lines_By_Id(),
              UnorderedElementsAre(Pair("too_few_fields", Lines{2, 3}),
                                   Pair("own_number_not_a_number", Lines{3})));
  EXPECT_EQ(Result.Get("too_few_fields").Severity, Level::Warning);
  EXPECT_THAT(Result.Get("too_few_fields").Example, HasSubstr("Line 2 has 15 fields."));
  EXPECT_THAT(Result.File.Rows[1].Board.Quaternion, ElementsAre(0, 1, 7, 7));
  EXPECT_FALSE(Result.File.Rows[1].Is_Sound);
  EXPECT_EQ(Result.File.Rows[2].Image, "alone");
}

TEST(CaptureFile, TooManyFieldsAreToldButATrailingCommaIsOnlyANote) {
  const std::string Cut = Good_Line.substr(0, Good_Line.size() - 1);
  const Read_Result Result = Read(Cut + ",9\n" + Cut + ", ,\r\n" + Cut + ",\n");
  EXPECT_THAT(Result.Lines_By_Id(), UnorderedElementsAre(Pair("too_many_fields", Lines{1}),
                                                         Pair("trailing_comma", Lines{2, 3}),
                                                         Pair("carriage_return", Lines{2})));
  EXPECT_EQ(Result.Get("too_many_fields").Severity, Level::Warning);
  EXPECT_EQ(Result.Get("trailing_comma").Severity, Level::Note);
  EXPECT_TRUE(Result.File.Rows[0].Is_Sound);
}

TEST(CaptureFile, OtherSeparatorsAreToldOnceAndTheLineIsNoImage) {
  std::string Semicolons = Good_Line, Tabs = Good_Line, Decimal = "0;a.png";
  std::replace(Semicolons.begin(), Semicolons.end(), ',', ';');
  std::replace(Tabs.begin(), Tabs.end(), ',', '\t');
  for (int i = 0; i < 14; ++i) Decimal += ";0,5";
  const std::pair<std::string, std::string> Cases[] = {
      {Semicolons, "Line 1 has semicolons."},
      {Tabs, "Line 1 has tabs."},
      {Decimal + "\n", "Line 1 has semicolons, and commas that may be decimal ones."}};
  for (const auto& [Line, Example] : Cases) {
    const Read_Result Result = Read(Line + Good_Line);
    EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("other_separator", Lines{1})));
    EXPECT_EQ(Result.Get("other_separator").Severity, Level::Warning);
    EXPECT_EQ(Result.Get("other_separator").Example, Example);
    EXPECT_FALSE(Result.File.Rows[0].Is_Image);
    EXPECT_FALSE(Result.File.Rows[0].Is_Sound);
    EXPECT_TRUE(Result.File.Rows[1].Is_Image);
  }
}

TEST(CaptureFile, AnImagePathMayHoldAsManySemicolonsAsThereAreCommas) {
  const std::string Path(15, ';');
  const Read_Result Result = Read("0," + Path + Good_Line.substr(Good_Line.find(",1,")));
  EXPECT_THAT(Result.Lines_By_Id(), IsEmpty());
  EXPECT_EQ(Result.File.Rows[0].Image, Path);
  EXPECT_TRUE(Result.File.Rows[0].Is_Sound);
}

TEST(CaptureFile, DecimalCommasAreRecognised) {
  std::string Decimal = "0,a.png";
  for (int i = 0; i < 14; ++i) Decimal += ",0,5";
  const Read_Result Result = Read(Decimal + "\n");
  EXPECT_THAT(Result.Get("too_many_fields").Example, HasSubstr("decimal commas"));
  EXPECT_FALSE(Result.File.Rows[0].Is_Sound);
}

TEST(CaptureFile, QuotedNumbersAreAdvisedToLoseTheirQuotes) {
  const std::string Quoted = "0,a.png,\"1\",2,3,1,0,0,0,4,5,6,0,1,0,0\n";
  const std::string Wrong = "0,a.png,1m,2,3,1,0,0,0,4,5,6,0,1,0,0\n";
  EXPECT_EQ(Read(Quoted).Get("not_a_number").Advice, "Write fields without quotes.");
  EXPECT_EQ(Read(Wrong).Get("not_a_number").Advice, "Correct the line or take it out.");
}

TEST(CaptureFile, FieldsThatAreNoNumbersCountAsTheNumberAtTheirFront) {
  const Read_Result Result =
      Read(Good_Line + "0,a.png,1.5m,2,3,1,0,0,0,4,5,6,0,1,0,0\n" +
           "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,lost\n" + "0,a.png,1,,3,1,0,0,0,4,5,6,0,1,0,0\n");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("not_a_number", Lines{2, 3, 4})));
  EXPECT_EQ(Result.Get("not_a_number").Example,
            "In line 2, field 2 (camera position x) is '1.5m'.");
  EXPECT_EQ(Result.File.Rows[1].Camera.Position[0], 1.5);
  EXPECT_EQ(Result.File.Rows[2].Board.Quaternion[3], 0.0);
  for (int i = 1; i < 4; ++i) EXPECT_FALSE(Result.File.Rows[static_cast<size_t>(i)].Is_Sound);
}

TEST(CaptureFile, BlanksAroundANumberAndExponentsAreNumbers) {
  const Read_Result Result = Read("0 ,a.png, 1 ,2e-3,+3,1,0,0,0,4,5,6,0,1,0,0 \r\n");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("carriage_return", Lines{1})));
  EXPECT_EQ(Result.File.Rows[0].Camera.Position[1], 2e-3);
}

TEST(CaptureFile, NumbersThatAreNotFiniteAreErrors) {
  for (const char* Text : {"nan", "inf", "-inf", "1e999"}) {
    SCOPED_TRACE(Text);
    const Read_Result Result = Read(Good_Line + "0,a.png,1,2,3,1,0,0,0,4," + Text + ",6,0,1,0,0\n");
    EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("not_finite", Lines{2})));
    EXPECT_EQ(Result.Get("not_finite").Severity, Level::Error);
    EXPECT_FALSE(Result.File.Rows[1].Is_Sound);
  }
}

TEST(CaptureFile, NumbersBeyondABillionMakeTheRowUnsound) {
  const auto With = [](const std::string& Text) {
    return Read("0,a.png,1,2,3,1,0,0,0,4," + Text + ",6,0,1,0,0\n");
  };
  EXPECT_THAT(With("-1e9").Lines_By_Id(), IsEmpty());
  EXPECT_THAT(With("-1.1e9").Lines_By_Id(), ElementsAre(Pair("number_too_large", Lines{1})));
  EXPECT_TRUE(With("-1e9").File.Rows[0].Is_Sound);
  EXPECT_FALSE(With("1e200").File.Rows[0].Is_Sound);
}

TEST(CaptureFile, FieldZeroMayBeAnything) {
  const Read_Result Result =
      Read("01:02:03:04,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,0\nnan,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,0");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("own_number_not_a_number", Lines{1})));
  EXPECT_EQ(Result.Get("own_number_not_a_number").Severity, Level::Note);
  EXPECT_TRUE(Result.File.Rows[0].Is_Sound);
}

TEST(CaptureFile, ABlankLineIsAnImageToTheLibraryAndToldOnce) {
  const Read_Result Result = Read(Good_Line + "\n" + Good_Line + "  \n");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("blank_line", Lines{2, 4})));
  EXPECT_EQ(Result.File.Rows.size(), 4u);
  EXPECT_FALSE(Result.File.Rows[1].Is_Image);
  EXPECT_FALSE(Result.File.Rows[1].Is_Sound);
}

TEST(CaptureFile, AByteOrderMarkMakesTheHeaderARow) {
  const Read_Result Result = Read("\xef\xbb\xbfTime,Image,X\n" + Good_Line);
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("byte_order_mark", Lines{1})));
  EXPECT_THAT(Result.Get("byte_order_mark").What, HasSubstr("header line is none"));
  EXPECT_EQ(Result.File.Header_Count, 0u);
  ASSERT_EQ(Result.File.Rows.size(), 2u);
  EXPECT_FALSE(Result.File.Rows[0].Is_Image);
}

TEST(CaptureFile, AByteOrderMarkBeforeDataSpoilsOnlyFieldZero) {
  const Read_Result Result = Read("\xef\xbb\xbf" + Good_Line + Good_Line);
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("byte_order_mark", Lines{1})));
  ASSERT_EQ(Result.File.Rows.size(), 2u);
  EXPECT_TRUE(Result.File.Rows[0].Is_Sound);
  EXPECT_EQ(Result.File.Rows[0].Image, "a.png");
}

TEST(CaptureFile, Utf16IsRefusedAsAWhole) {
  const Read_Result Result =
      Read(std::string("\xff\xfe"
                       "T\0i\0m\0e\0\n\0",
                       12));
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("not_utf8", Lines{1})));
  EXPECT_EQ(Result.Get("not_utf8").Severity, Level::Error);
}

TEST(CaptureFile, CarriageReturnsAreANoteAtTheEndAndAWarningInside) {
  const std::string Cut = Good_Line.substr(0, Good_Line.size() - 1);
  const Read_Result Result = Read(Cut + "\r\n" + Cut + "\r\n" + Cut + "\r" + Cut + "\n");
  EXPECT_EQ(Result.Lines_By_Id().at("carriage_return"), (Lines{1, 2}));
  EXPECT_EQ(Result.Get("carriage_return").Severity, Level::Note);
  EXPECT_EQ(Result.Lines_By_Id().at("carriage_return_inside"), (Lines{3}));
  EXPECT_EQ(Result.Get("carriage_return_inside").Severity, Level::Warning);
  EXPECT_TRUE(Result.File.Rows[0].Is_Sound);
}

TEST(CaptureFile, AHeaderIsKnownByItsCapitalTAlone) {
  const Read_Result Result =
      Read("time,image,x,y\n" + Good_Line + "Time,Image\n" + "T" + Good_Line);
  EXPECT_THAT(Result.Lines_By_Id(), UnorderedElementsAre(Pair("header_not_recognised", Lines{1}),
                                                         Pair("header_in_the_middle", Lines{3}),
                                                         Pair("data_line_skipped", Lines{4})));
  EXPECT_EQ(Result.Get("header_in_the_middle").Severity, Level::Note);
  EXPECT_EQ(Result.Get("data_line_skipped").Severity, Level::Warning);
  EXPECT_EQ(Result.File.Header_Count, 2u);
  EXPECT_EQ(Result.File.Rows.size(), 2u);
}

TEST(CaptureFile, ALineOfLostSamplesIsNoHeader) {
  std::string Lost = "5,a.png";
  for (int i = 0; i < 14; ++i) Lost += ",lost";
  EXPECT_THAT(Read(Good_Line + Lost + "\n").Lines_By_Id(),
              ElementsAre(Pair("not_a_number", Lines{2})));
}

TEST(CaptureFile, WhatIsNoReadableFileIsRefusedBySentence) {
  const Scratch_Folder Scratch;
  const auto Refusal = [](const std::filesystem::path& Csv) -> std::string {
    Findings Told;
    try {
      rigsync::Read_Capture_File(Csv, Told);
    } catch (const rigsync::Usage_Error& Refused) {
      return Refused.what();
    }
    return "accepted";
  };
  const std::filesystem::path Pipe = Scratch.Path() / "pipe";
  ASSERT_EQ(mkfifo(Pipe.c_str(), 0600), 0);
  EXPECT_THAT(Refusal(Scratch.Path() / "none.csv"), HasSubstr("doesn't exist"));
  EXPECT_THAT(Refusal(Scratch.Path()), HasSubstr("is a folder"));
  EXPECT_THAT(Refusal(Pipe), HasSubstr("not a pipe"));
}

}  // namespace
