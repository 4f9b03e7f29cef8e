// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/arguments.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/system/usage_error.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using rigsync::Usage_Error;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// The message for a value that is refused; empty for one that is accepted.
template <typename Call>
std::string Refusal(Call Read) {
  try {
    Read();
  } catch (const Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(Arguments, LengthsAreMetresUnlessTheyCarryAUnit) {
  // The literals are what dividing by 1, 100 and 1000 rounds to: the nearest doubles.
  EXPECT_EQ(rigsync::Parse_Length("--x", "0.03"), 0.03);
  EXPECT_EQ(rigsync::Parse_Length("--x", "0.03m"), 0.03);
  EXPECT_EQ(rigsync::Parse_Length("--x", "3cm"), 0.03);
  EXPECT_EQ(rigsync::Parse_Length("--x", "30mm"), 0.03);
  EXPECT_EQ(rigsync::Parse_Length("--x", " 30 mm "), 0.03);
  EXPECT_EQ(rigsync::Parse_Length("--x", "-170mm"), -0.17);
  EXPECT_EQ(rigsync::Parse_Length("--x", "+1e-3"), 0.001);
}

TEST(Arguments, ALengthAndAnAngleAreOneValue) {
  const auto Read = rigsync::Parse_Length_And_Angle("--x", "3mm,0.25deg");
  EXPECT_EQ(Read.Length, 0.003);
  EXPECT_EQ(Read.Angle_Deg, 0.25);
  EXPECT_EQ(rigsync::Parse_Length_And_Angle("--x", "0.5, 2").Angle_Deg, 2.0);
  for (const char* Wrong :
       {"", "3mm", "3mm,", "3mm,0", "0,0.3", "-3mm,0.3", "3mm,0.3,1", "0.3deg,3mm", "3,0.3"}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Length_And_Angle("--x", Wrong); }),
                HasSubstr("for example 3mm,0.3deg"))
        << Wrong;
  }
}

TEST(Arguments, ATimeIsInSecondsUnlessItCarriesAUnit) {
  EXPECT_EQ(rigsync::Parse_Seconds("--x", "0.1"), 0.1);
  EXPECT_EQ(rigsync::Parse_Seconds("--x", "-2.5s"), -2.5);
  EXPECT_EQ(rigsync::Parse_Seconds("--x", "100 ms"), 0.1);
  for (const char* Wrong : {"", "1m", "100mm", "nan", "1,5", "soon"}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Seconds("--x", Wrong); }), HasSubstr("a time"))
        << Wrong;
  }
}

TEST(Arguments, ADistanceIsAboveZero) {
  EXPECT_EQ(rigsync::Parse_Distance("--x", "250cm"), 2.5);
  for (const char* Wrong : {"0", "-3m", "far", ""}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Distance("--x", Wrong); }),
                HasSubstr("a length above 0"))
        << Wrong;
  }
}

TEST(Arguments, AShortTimeHasItsUnitAndIsAtMostASecond) {
  EXPECT_EQ(rigsync::Parse_Short_Time("--x", "40ms"), 0.04);
  EXPECT_EQ(rigsync::Parse_Short_Time("--x", "-0.02 s"), -0.02);
  EXPECT_EQ(rigsync::Parse_Short_Time("--x", "1s"), 1.0);
  for (const char* Wrong : {"40", "1001ms", "-1.1s", "40us", "late", ""}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Short_Time("--x", Wrong); }),
                HasSubstr("a time of at most a second with its unit"))
        << Wrong;
  }
}

TEST(Arguments, ARefusalNamesFlagAndValueAndWhatWasExpected) {
  EXPECT_THAT(Refusal([] { rigsync::Parse_Length("--square", "30in"); }),
              AllOf(HasSubstr("--square"), HasSubstr("'30in'"), HasSubstr("expected a length")));
  EXPECT_THAT(Refusal([] { rigsync::Parse_Board("--board", "11by8"); }),
              AllOf(HasSubstr("--board"), HasSubstr("'11by8'"), HasSubstr("expected COLSxROWS")));
  try {
    rigsync::Parse_Board("--board", "11by8");
    FAIL() << "'11by8' was accepted";
  } catch (const Usage_Error& Error) {
    EXPECT_EQ(Error.Option_Name(), "--board");
  }
}

TEST(Arguments, MalformedAndInfiniteNumbersAreRefused) {
  for (const std::string Text :
       {"", " ", "nan", "inf", "-inf", "1e999", "0x10", "1,5", "30mmm", "mm", "--3", "3 4"}) {
    SCOPED_TRACE(Text);
    EXPECT_NE(Refusal([&] { rigsync::Parse_Length("--x", Text); }), "");
    EXPECT_NE(Refusal([&] { rigsync::Parse_Number("--x", Text); }), "");
    EXPECT_NE(Refusal([&] { rigsync::Parse_Angle("--x", Text); }), "");
  }
  EXPECT_NE(Refusal([] { rigsync::Parse_Number("--x", "3mm"); }), "");
  EXPECT_EQ(rigsync::Parse_Angle("--x", "3deg"), 3.0);
}

TEST(Arguments, BoardsAreTwoCountsFrom3To100) {
  EXPECT_EQ(rigsync::Parse_Board("--board", "11x8").Cols, 11);
  EXPECT_EQ(rigsync::Parse_Board("--board", "11x8").Rows, 8);
  EXPECT_EQ(rigsync::Parse_Board("--board", "3x100").Rows, 100);
  for (const std::string Text :
       {"2x8", "8x2", "101x8", "8x101", "0x0", "-11x8", "11", "11x", "x8", "11x8x2", "11.5x8",
        "11XX8", "11X8\303\2272", "11\3038", "99999999999999999999x8"}) {
    SCOPED_TRACE(Text);
    EXPECT_NE(Refusal([&] { rigsync::Parse_Board("--board", Text); }), "");
  }
}

TEST(Arguments, SidesHaveASmallOrCapitalXOrATimesSignBetweenThem) {
  for (const std::string Times : {"x", "X", "\xc3\x97", " x ", " X ", " \xc3\x97 "}) {
    SCOPED_TRACE(Times);
    const rigsync::Board_Size Board = rigsync::Parse_Board("--board", "11" + Times + "8");
    EXPECT_EQ(Board.Cols, 11);
    EXPECT_EQ(Board.Rows, 8);
    EXPECT_THAT(rigsync::Parse_Pixels("--size", "1920" + Times + "1080"), ElementsAre(1920, 1080));
    EXPECT_THAT(rigsync::Parse_Sensor("--sensor", "23.76" + Times + "13.365"),
                ElementsAre(23.76, 13.365));
  }
}

TEST(Arguments, ASquareInMillimetresWithoutItsUnitIsRefused) {
  EXPECT_EQ(rigsync::Parse_Square("--square", "30mm"), 0.03);
  EXPECT_EQ(rigsync::Parse_Square("--square", "1"), 1.0);
  for (const std::string Text : {"30", "1.001", "0", "-0.03", "0mm"}) {
    SCOPED_TRACE(Text);
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Square("--square", Text); }), HasSubstr("--square"));
  }
}

TEST(Arguments, AnOffsetBeyondAnyStageIsRefusedWithAHintAtMillimetres) {
  EXPECT_THAT(rigsync::Parse_Offset("--o", "-10,10,1000cm"), ElementsAre(-10.0, 10.0, 10.0));
  for (const std::string Text : {"10.001,0,0", "0,-10.001,0", "0,0,10001mm", "170,50,40"}) {
    SCOPED_TRACE(Text);
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Offset("--o", Text); }),
                AllOf(HasSubstr("--o: '" + Text + "'"), HasSubstr("at most 10 metres")));
  }
  EXPECT_THAT(Refusal([] { rigsync::Parse_Offset("--o", "170, 50,-40"); }),
              HasSubstr("for millimetres write 170mm,50mm,-40mm"));
  EXPECT_THAT(Refusal([] { rigsync::Parse_Square("--s", "30"); }),
              HasSubstr("for millimetres write 30mm"));
  // A unit is given, or the unit is not what is wrong.
  for (const std::string Text : {"17000mm,0,0", "1,2", "x,0,0"}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Offset("--o", Text); }),
                AllOf(Not(""), Not(HasSubstr("write"))));
  }
  for (const std::string Text : {"3000mm", "0", "-30", "x"}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Square("--s", Text); }),
                AllOf(Not(""), Not(HasSubstr("write"))));
  }
}

TEST(Arguments, TriplesAreThreeValuesWithCommas) {
  EXPECT_THAT(rigsync::Parse_Angles("--e", "12,-20,8.5"), ElementsAre(12.0, -20.0, 8.5));
  EXPECT_THAT(rigsync::Parse_Offset("--o", "-170mm,5cm,0.04"), ElementsAre(-0.17, 0.05, 0.04));
  for (const std::string Text : {"1,2", "1,2,3,4", "1,,3", "1;2;3", "", "1,2,x"}) {
    SCOPED_TRACE(Text);
    EXPECT_NE(Refusal([&] { rigsync::Parse_Angles("--e", Text); }), "");
    EXPECT_NE(Refusal([&] { rigsync::Parse_Offset("--o", Text); }), "");
  }
}

TEST(Arguments, SizesArePositiveAndWholeNumbersStayInTheirRange) {
  EXPECT_THAT(rigsync::Parse_Pixels("--size", "1920x1080"), ElementsAre(1920, 1080));
  EXPECT_THAT(rigsync::Parse_Sensor("--sensor", "23.76x13.365"), ElementsAre(23.76, 13.365));
  EXPECT_NE(Refusal([] { rigsync::Parse_Pixels("--size", "0x1080"); }), "");
  EXPECT_NE(Refusal([] { rigsync::Parse_Pixels("--size", "1920x1080.5"); }), "");
  EXPECT_NE(Refusal([] { rigsync::Parse_Sensor("--sensor", "0x13"); }), "");
  EXPECT_THAT(rigsync::Parse_Sensor("--sensor", "100x1"), ElementsAre(100.0, 1.0));
  for (const std::string Text : {"23.76", "0.02376x0.01337", "24x0.999", "100.1x13", "2376x1337"}) {
    EXPECT_THAT(Refusal([&] { rigsync::Parse_Sensor("--sensor", Text); }), HasSubstr("1 to 100"));
  }
  EXPECT_EQ(rigsync::Parse_Whole("--n", "7", 0, 7), 7);
  EXPECT_THAT(Refusal([] { rigsync::Parse_Whole("--n", "8", 0, 7); }), HasSubstr("from 0 to 7"));
  EXPECT_NE(Refusal([] { rigsync::Parse_Whole("--n", "-1", 0, 7); }), "");
  EXPECT_NE(Refusal([] { rigsync::Parse_Whole("--n", "1.5", 0, 7); }), "");
}

}  // namespace
