// SPDX-License-Identifier: Apache-2.0
//
// The findings about a CSV file's lines: id, level, lines, and what their texts name.
#include "rigsync/inspect/capture_file_findings.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>

namespace {

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
const std::string Cut_Line = Good_Line.substr(0, Good_Line.size() - 1);

struct Judgement {
  std::vector<Finding> All;

  std::map<std::string, Lines> Lines_By_Id() const {
    std::map<std::string, Lines> Found;
    for (const Finding& One : All) Found[One.Id] = One.Lines;
    return Found;
  }
  Finding Get(const std::string& Id) const {
    for (const Finding& One : All) {
      if (One.Id == Id) return One;
    }
    ADD_FAILURE() << "no finding " << Id;
    return {};
  }
};

Judgement Judge(const std::string& Text) {
  const Scratch_Folder Scratch;
  Findings List;
  rigsync::Judge_Capture_File(rigsync::Read_Capture_File(Scratch.Write("capture.csv", Text)), List);
  return {List.Sorted()};
}

std::string Line_With(const std::string& Number) {
  return "0,a.png,1,2,3,1,0,0,0,4," + Number + ",6,0,1,0,0\n";
}

TEST(CaptureFileFindings, AGoodFileHasNone) {
  EXPECT_THAT(Judge("Time,Image\n" + Good_Line).All, IsEmpty());
  EXPECT_THAT(Judge(Good_Line + Cut_Line).All, IsEmpty());
  EXPECT_THAT(Judge("").All, IsEmpty());
}

TEST(CaptureFileFindings, TooFewFields) {
  const Judgement Result = Judge(Good_Line + "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,7\nalone\n");
  EXPECT_THAT(Result.Lines_By_Id(),
              UnorderedElementsAre(Pair("too_few_fields", Lines{2, 3}),
                                   Pair("own_number_not_a_number", Lines{3})));
  EXPECT_EQ(Result.Get("too_few_fields").Severity, Level::Warning);
  EXPECT_EQ(Result.Get("too_few_fields").Example, "Line 2 has 15 fields.");
  EXPECT_EQ(Judge("5\n").Get("too_few_fields").Example, "Line 1 has 1 field.");
}

TEST(CaptureFileFindings, TooManyFieldsAreAWarningButATrailingCommaIsANote) {
  const Judgement Result = Judge(Cut_Line + ",9\n" + Cut_Line + ", ,\r\n" + Cut_Line + ",\n");
  EXPECT_THAT(Result.Lines_By_Id(), UnorderedElementsAre(Pair("too_many_fields", Lines{1}),
                                                         Pair("trailing_comma", Lines{2, 3}),
                                                         Pair("carriage_return", Lines{2})));
  EXPECT_EQ(Result.Get("too_many_fields").Severity, Level::Warning);
  EXPECT_EQ(Result.Get("too_many_fields").Example, "Line 1 has 17 fields.");
  EXPECT_EQ(Result.Get("trailing_comma").Severity, Level::Note);
}

TEST(CaptureFileFindings, DecimalCommasAreNamed) {
  std::string Decimal = "0,a.png";
  for (int i = 0; i < 14; ++i) Decimal += ",0,5";
  const Judgement Result = Judge(Decimal + "\n");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("too_many_fields", Lines{1})));
  EXPECT_THAT(Result.Get("too_many_fields").Example, HasSubstr("30 fields. It may have decimal"));
}

TEST(CaptureFileFindings, OtherSeparatorsAreTheOnlyFindingOfTheirLine) {
  std::string Semicolons = Good_Line, Tabs = Good_Line, Decimal = "0;a.png";
  std::replace(Semicolons.begin(), Semicolons.end(), ',', ';');
  std::replace(Tabs.begin(), Tabs.end(), ',', '\t');
  for (int i = 0; i < 14; ++i) Decimal += ";0,5";
  const std::pair<std::string, std::string> Cases[] = {
      {Semicolons, "Line 1 has semicolons."},
      {Tabs, "Line 1 has tabs."},
      {Decimal + "\n", "Line 1 has semicolons, and commas that may be decimal commas."}};
  for (const auto& [Line, Example] : Cases) {
    const Judgement Result = Judge(Line + Good_Line);
    EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("other_separator", Lines{1})));
    EXPECT_EQ(Result.Get("other_separator").Severity, Level::Warning);
    EXPECT_EQ(Result.Get("other_separator").Example, Example);
  }
}

TEST(CaptureFileFindings, NotANumberNamesLineFieldAndText) {
  const Judgement Result = Judge(Good_Line + "0,a.png,1.5m,2,3,1,0,0,0,4,5,6,0,1,0,0\n" +
                                 Line_With("") + "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,lost\n");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("not_a_number", Lines{2, 3, 4})));
  EXPECT_EQ(Result.Get("not_a_number").Severity, Level::Warning);
  EXPECT_EQ(Result.Get("not_a_number").Example,
            "In line 2, field 2 (camera position x) is '1.5m'.");
  EXPECT_EQ(Judge("0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,lost\n").Get("not_a_number").Example,
            "In line 1, field 15 (board quaternion z) is 'lost'.");
}

TEST(CaptureFileFindings, TheAdviceForANumberInQuotesIsToRemoveThem) {
  EXPECT_THAT(Judge(Line_With(" \"5\"")).Get("not_a_number").Advice, HasSubstr("without quotes"));
  EXPECT_THAT(Judge(Line_With("5\"")).Get("not_a_number").Advice, HasSubstr("Correct"));
}

TEST(CaptureFileFindings, NumbersThatAreNotFiniteAreErrors) {
  for (const char* Text : {"nan", "inf", "-inf", "1e999"}) {
    SCOPED_TRACE(Text);
    const Judgement Result = Judge(Good_Line + Line_With(Text));
    EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("not_finite", Lines{2})));
    EXPECT_EQ(Result.Get("not_finite").Severity, Level::Error);
  }
}

TEST(CaptureFileFindings, NumbersBeyondABillionAreAWarning) {
  EXPECT_THAT(Judge(Line_With("-1e9")).All, IsEmpty());
  const Judgement Result = Judge(Line_With("-1.1e9"));
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("number_too_large", Lines{1})));
  EXPECT_EQ(Result.Get("number_too_large").Severity, Level::Warning);
}

TEST(CaptureFileFindings, ATimecodeInFieldZeroIsANote) {
  const Judgement Result = Judge("01:02:03:04" + Good_Line.substr(1));
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("own_number_not_a_number", Lines{1})));
  EXPECT_EQ(Result.Get("own_number_not_a_number").Severity, Level::Note);
  EXPECT_EQ(Result.Get("own_number_not_a_number").Example,
            "In line 1, field 0 (own number) is '01:02:03:04'.");
}

TEST(CaptureFileFindings, ABlankLineIsAWarning) {
  const Judgement Result = Judge(Good_Line + "\n" + Good_Line + "  \n");
  EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("blank_line", Lines{2, 4})));
  EXPECT_EQ(Result.Get("blank_line").Severity, Level::Warning);
}

TEST(CaptureFileFindings, HeadersInTheWrongPlaceOrForm) {
  const Judgement Result = Judge("time,image,x,y\n" + Good_Line + "Time,Image\n" + "T" + Good_Line);
  EXPECT_THAT(Result.Lines_By_Id(), UnorderedElementsAre(Pair("header_not_recognised", Lines{1}),
                                                         Pair("header_in_the_middle", Lines{3}),
                                                         Pair("data_line_skipped", Lines{4})));
  EXPECT_EQ(Result.Get("header_not_recognised").Severity, Level::Warning);
  EXPECT_EQ(Result.Get("header_not_recognised").Example, "Line 1 begins with 'time'.");
  EXPECT_EQ(Result.Get("header_in_the_middle").Severity, Level::Note);
  EXPECT_EQ(Result.Get("data_line_skipped").Severity, Level::Warning);
  EXPECT_EQ(Result.Get("data_line_skipped").Example, "Line 4 begins with 'T0'.");
}

TEST(CaptureFileFindings, AByteOrderMarkSaysWhetherItSpoilsAHeader) {
  const Judgement Header = Judge("\xef\xbb\xbfTime,Image,X\n" + Good_Line);
  EXPECT_THAT(Header.Lines_By_Id(), ElementsAre(Pair("byte_order_mark", Lines{1})));
  EXPECT_EQ(Header.Get("byte_order_mark").Severity, Level::Warning);
  EXPECT_THAT(Header.Get("byte_order_mark").What, HasSubstr("header line is not recognised"));
  const Judgement Data = Judge("\xef\xbb\xbf" + Good_Line + Good_Line);
  EXPECT_THAT(Data.Lines_By_Id(), ElementsAre(Pair("byte_order_mark", Lines{1})));
  EXPECT_THAT(Data.Get("byte_order_mark").What, HasSubstr("part of field 0"));
}

TEST(CaptureFileFindings, TheLineAfterAByteOrderMarkIsJudgedLikeAnyOther) {
  EXPECT_THAT(Judge("\xef\xbb\xbftime,image,x,y\n" + Good_Line).Lines_By_Id(),
              UnorderedElementsAre(Pair("byte_order_mark", Lines{1}),
                                   Pair("header_not_recognised", Lines{1})));
  EXPECT_THAT(
      Judge("\xef\xbb\xbf\r\n" + Good_Line).Lines_By_Id(),
      UnorderedElementsAre(Pair("byte_order_mark", Lines{1}), Pair("carriage_return", Lines{1}),
                           Pair("blank_line", Lines{1})));
}

TEST(CaptureFileFindings, OfUtf16OnlyTheEncodingIsJudged) {
  for (const std::string Mark : {"\xff\xfe", "\xfe\xff"}) {
    const Judgement Result = Judge(Mark + "time,image,x\r\n\n" + Line_With("nan"));
    EXPECT_THAT(Result.Lines_By_Id(), ElementsAre(Pair("not_utf8", Lines{1})));
    EXPECT_EQ(Result.Get("not_utf8").Severity, Level::Error);
  }
}

TEST(CaptureFileFindings, ACarriageReturnIsANoteAtTheEndAndAWarningInside) {
  const Judgement Result =
      Judge("Time\r\n" + Cut_Line + "\r\n" + Cut_Line + "\r" + Cut_Line + "\n");
  EXPECT_EQ(Result.Lines_By_Id().at("carriage_return"), (Lines{1, 2}));
  EXPECT_EQ(Result.Get("carriage_return").Severity, Level::Note);
  EXPECT_EQ(Result.Lines_By_Id().at("carriage_return_inside"), (Lines{3}));
  EXPECT_EQ(Result.Get("carriage_return_inside").Severity, Level::Warning);
}

// Findings of one line come in this order: the mark, its carriage return, its fields.
TEST(CaptureFileFindings, FindingsOfALineKeepTheirOrder) {
  std::vector<std::string> Ids;
  for (const Finding& One : Judge("\xef\xbb\xbfx,a.png,nan,1e10,y\r\n").All) Ids.push_back(One.Id);
  EXPECT_THAT(Ids, ElementsAre("byte_order_mark", "carriage_return", "too_few_fields",
                               "own_number_not_a_number", "not_finite", "number_too_large",
                               "not_a_number"));
}

}  // namespace
