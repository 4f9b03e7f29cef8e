// SPDX-License-Identifier: Apache-2.0
//
// What holds for every format: how it is recognised, and what becomes of cells and lines that are
// not as they should be.
#include "rigsync/take/take_reader.h"
#include "tests/rigsync/take/take_text.h"

#include <clocale>
#include <locale>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string First = "0.5,1.5,2.25,-0.125,0,0,0,1\n";
const std::string Last = "0.7,1.5,2.25,-0.125,0,0,0,1\n";

TEST(TakeFile, IsKnownByItsContentAndNotByItsName) {
  EXPECT_EQ(Take_Of("0.5 1 2 3 0 0 0 1\n", {}, "take.csv").Format, "TUM pose file");
  EXPECT_EQ(Take_Of(First, {}, "take.txt").Format, "ETH pose CSV");
}

TEST(TakeReader, KnowsTheUnitsOfLengthByTheirWords) {
  const std::pair<double, std::vector<const char*>> Units[] = {
      {1.0, {"m", "meter", "meters", "metres", "Meters"}},
      {0.01, {"cm", "centimeter", "centimeters", "centimetres"}},
      {0.001, {"mm", "MM", "millimeter", "millimeters", "millimetres"}},
      {0.0254, {"in", "inch", "inches"}},
      {0.3048, {"ft", "feet"}}};
  for (const auto& [Metres, Words] : Units) {
    for (const char* const Word : Words) {
      ASSERT_NE(Find_Length_Unit(Word), nullptr) << Word;
      EXPECT_EQ(Find_Length_Unit(Word)->Metres, Metres) << Word;
    }
  }
  EXPECT_EQ(Find_Length_Unit("furlong"), nullptr);
  EXPECT_EQ(Find_Length_Unit(""), nullptr);
}

TEST(TakeFile, IsRefusedWithWhatTheKnownOnesLookLike) {
  const std::string Expected =
      "is no take of a known format: it begins with 'a;b;c'; expected a Motive CSV ('Format "
      "Version'), a Vicon CSV ('Segments' or 'Objects'), a Qualisys 6D TSV ('NO_OF_FRAMES'), or "
      "lines of time, position and quaternion (TUM, ETH, EuRoC); for any other table, expected "
      "--map with a map of its columns";
  EXPECT_EQ(Refusal_Of("a;b;c\n1;2;3\n"), Expected);
  // A line of names may come first, but none that begins with a number.
  const std::string Row = "1,2,3,4,5,6,7,8\n";
  EXPECT_EQ(Take_Of("time,x\n1,0,0,0,0,0,0,1\n").Format, "ETH pose CSV");
  EXPECT_THAT(Refusal_Of("1,x\n" + Row), HasSubstr("is no take of a known format"));
  EXPECT_THAT(Refusal_Of("1,2,3,4,5,6,7\n"), HasSubstr("is no take of a known format"));
  EXPECT_THAT(Refusal_Of("1,2,3,4,5,6,7,8,9\n"), HasSubstr("is no take of a known format"));
  EXPECT_THAT(Refusal_Of(std::string(1000, '\0')), HasSubstr("is no take of a known format"));
}

TEST(TakeFile, IsRefusedWhenItIsNotThereOrNoText) {
  EXPECT_EQ(Refusal_Of(""), "is empty; expected a take");
  EXPECT_EQ(Refusal_Of("\n \n\n"), "is empty; expected a take");
  EXPECT_EQ(Refusal_Of("\xff\xfe"
                       "0"),
            "is in UTF-16; expected UTF-8: save it so, or export it again");
  EXPECT_EQ(Refusal_Of(std::string(3 << 20, 'x')),
            "line 1 is longer than a megabyte; expected a table in text");
  const Scratch_Folder Folder;
  for (const auto& [File, Why] :
       {std::pair{Folder.Path() / "none", "doesn't exist; expected the file of a take"},
        std::pair{Folder.Path(), "is a folder; expected the file of a take"}}) {
    try {
      Read_Take(File, {});
      ADD_FAILURE() << "not refused: " << File;
    } catch (const Usage_Error& Refusal) {
      EXPECT_EQ(Refusal.what(), "TAKE: " + File.string() + ": " + Why);
    }
  }
}

TEST(TakeFile, HasNamesInUtf8WhateverTheFileHas) {
  const auto Name_Of = [](const std::string& Name) {
    return Take_Of("Objects\n100\n,," + Name +
                   "\nFrame,Sub Frame,RX,RY,RZ,RW,TX,TY,TZ\n,,,,,,m,m,m\n1,0,0,0,0,1,1,2,3\n")
        .Bodies.at(0)
        .Name;
  };
  for (const std::string Name : {"K\xc3\xa4mera", "\xe2\x82\xac", "\xf0\x9f\x8e\xa5"}) {
    EXPECT_EQ(Name_Of(Name), Name);
  }
  EXPECT_EQ(Name_Of("K\xe4mera"), "K\xc3\xa4mera");
  EXPECT_EQ(Name_Of("\xff"), "\xc3\xbf");
  // A character cut off, a long form, a surrogate, above U+10FFFF, a byte that begins none.
  EXPECT_EQ(Name_Of("\xe2\x82"), "\xc3\xa2\xc2\x82");
  EXPECT_EQ(Name_Of("\xc0\xaf"), "\xc3\x80\xc2\xaf");
  EXPECT_EQ(Name_Of("\xe0\x80\x80"), "\xc3\xa0\xc2\x80\xc2\x80");
  EXPECT_EQ(Name_Of("\xed\xa0\x80"), "\xc3\xad\xc2\xa0\xc2\x80");
  EXPECT_EQ(Name_Of("\xf4\x90\x80\x80"), "\xc3\xb4\xc2\x90\xc2\x80\xc2\x80");
  EXPECT_EQ(Name_Of("\x80"), "\xc2\x80");
}

TEST(TakeFile, ShowsNoHalfCharacters) {
  std::string Name;
  for (int i = 0; i < 30; ++i) Name += "\xe2\x82\xac";
  std::string Whole;
  for (int i = 0; i < 12; ++i) Whole += "\xe2\x82\xac";
  EXPECT_THAT(Refusal_Of(Name), HasSubstr("begins with '" + Whole + "...'"));
}

TEST(TakeFile, NamesTheArgumentThatTheCallerGives) {
  Take_Options Options;
  Options.Argument = "TAKE2";
  EXPECT_EQ(Refusal_Of("", Options), "is empty; expected a take");
}

TEST(TakeFile, IsTheSameWithOtherLineEndsAMarkAndBlankLines) {
  for (const std::string& Text :
       {First + Last, "\xef\xbb\xbf" + First + Last, First + Last + "\n\r\n  \n,,,,,,,\n",
        First + Last.substr(0, Last.size() - 1), "\n" + First + "\n" + Last,
        Changed(First, "\n", "\r\n") + Changed(Last, "\n", "\r\n"),
        "\"0.5\",1.5,\"2.25\",-0.125,0,0,0, 1 \n" + Last,
        Changed(First, "\n", ",\n") + Changed(Last, "1.5", "+1.5")}) {
    SCOPED_TRACE(testing::PrintToString(Text));
    const Take Read = Take_Of(Text);
    ASSERT_EQ(Read.Bodies.size(), 1U);
    ASSERT_EQ(Read.Bodies[0].Samples.size(), 2U);
    for (const Timed_Sample& Sample : Read.Bodies[0].Samples) {
      Expect_Pose(Sample, {1.5, 2.25, -0.125}, {1, 0, 0, 0});
    }
    EXPECT_EQ(Read.Bodies[0].Samples[1].Seconds, 0.7);
    EXPECT_TRUE(Read.Warnings.empty());
  }
}

// More than one block of the file, so that lines lie across their ends.
TEST(TakeFile, KeepsLinesWholeHoweverLongTheFile) {
  std::string Text;
  constexpr int Count = 20000;
  for (int i = 0; i < Count; ++i) {
    Text += std::to_string(i) + "," + std::to_string(i % 1000) + ",2.25,-0.125,0,0,0,1\n";
  }
  const Take Read = Take_Of(Text);
  ASSERT_EQ(Read.Bodies[0].Samples.size(), static_cast<std::size_t>(Count));
  for (int i = 0; i < Count; ++i) {
    const Timed_Sample& Sample = Read.Bodies[0].Samples[static_cast<std::size_t>(i)];
    ASSERT_EQ(Sample.Seconds, i);
    ASSERT_EQ(Sample.Sample.Position[0], i % 1000);
  }
}

TEST(TakeFile, HasALostSampleAndAWarningForNumbersThatAreNone) {
  for (const std::string Cell : {"nan", "NaN", "-inf", "1e999", "2e9"}) {
    const Take Read = Take_Of(First + "0.6,1.5," + Cell + ",-0.125,0,0,0,1\n" + Last);
    ASSERT_EQ(Read.Bodies[0].Samples.size(), 3U);
    EXPECT_FALSE(Read.Bodies[0].Samples[1].Is_Tracked);
    EXPECT_THAT(Read.Warnings,
                ElementsAre("1 sample of 'take' counted as lost: a number that is not finite, or "
                            "beyond any stage (the first on line 2)"));
  }
}

TEST(TakeFile, HasALostSampleAndAWarningForBlankCellsAmongNumbers) {
  const Take Read = Take_Of(First + "0.6,1.5,,-0.125,0,0,0,1\n0.65,1.5,,-0.125,0,0,0,1\n" + Last);
  EXPECT_FALSE(Read.Bodies[0].Samples.at(1).Is_Tracked);
  EXPECT_THAT(Read.Warnings, ElementsAre("2 samples of 'take' counted as lost: only some of the "
                                         "cells are blank (the first on line 2)"));
}

TEST(TakeFile, HasALostSampleForAQuaternionOfLengthZero) {
  const Take Read = Take_Of(First + "0.6,1.5,2.25,-0.125,0,0,0,0\n" + Last);
  EXPECT_FALSE(Read.Bodies[0].Samples.at(1).Is_Tracked);
  EXPECT_THAT(Read.Warnings, ElementsAre("1 sample of 'take' counted as lost: a rotation of length "
                                         "0 (the first on line 2)"));
  EXPECT_TRUE(Take_Of(First + "0.6,0,0,0,0,0,0,0\n" + Last).Warnings.empty());
}

TEST(TakeFile, NormalisesQuaternionsAndRefusesThoseOfAnotherLength) {
  for (const std::string Length : {"0.91", "1.09"}) {
    const Take Read = Take_Of("0.6,1.5,2.25,-0.125,0,0," + Length + ",0\n");
    Expect_Pose(Read.Bodies[0].Samples.at(0), {1.5, 2.25, -0.125}, {0, 0, 0, 1});
  }
  EXPECT_EQ(
      Refusal_Of(First + "0.6,1.5,2.25,-0.125,0,0,0.89,0\n"),
      "line 2: column 8 (q_w): the quaternion of 'take' has the length 0.890; expected 1: its "
      "numbers may be in other columns");
  EXPECT_THAT(Refusal_Of(First + "0.6,1.5,2.25,-0.125,0,0,1.11,0\n"), HasSubstr("length 1.110"));
}

TEST(TakeFile, RefusesTimesThatRunBackwards) {
  EXPECT_EQ(Refusal_Of(Last + First),
            "line 2: column 1 (time): the time goes back from 0.700000 s to 0.500000 s; expected "
            "lines in the order of time: split the file where a new recording begins, or sort its "
            "lines by time");
}

TEST(TakeFile, LeavesOutASecondSampleAtOneTime) {
  const Take Read = Take_Of(First + "0.5,9,9,9,0,0,0,1\n" + Last);
  ASSERT_EQ(Read.Bodies[0].Samples.size(), 2U);
  Expect_Pose(Read.Bodies[0].Samples[0], {1.5, 2.25, -0.125}, {1, 0, 0, 0});
  EXPECT_THAT(Read.Warnings, ElementsAre("1 line was left out: the time of the line before once "
                                         "more (the first on line 2)"));
}

TEST(TakeFile, RefusesTimesThatAreNone) {
  for (const std::string Cell : {"", "nan", "soon"}) {
    EXPECT_EQ(Refusal_Of(First + Cell + ",1.5,2.25,-0.125,0,0,0,1\n"),
              "line 2: column 1 (time): '" + Cell +
                  "' is not a time; expected a number with a decimal point");
  }
}

TEST(TakeFile, RefusesACellThatIsNoNumber) {
  for (const std::string Cell : {"1.5x", "0x10", "1.2.3", "--1", "+-1", "-", "1 2"}) {
    EXPECT_EQ(
        Refusal_Of(First + "0.6," + Cell + ",2.25,-0.125,0,0,0,1\n"),
        "line 2: column 2 (x): '" + Cell +
            "' is not a number; expected one with a decimal point, or a blank cell for a body "
            "that was lost");
  }
}

TEST(TakeFile, RefusesALineOfTheWrongLength) {
  EXPECT_EQ(Refusal_Of(First + "0.6,1.5,2.25\n" + Last),
            "line 2: has 3 cells; expected 8, one for each column of the header");
  EXPECT_EQ(Refusal_Of(First + "0.6,1.5,2.25,-0.125,0,0,0,1,5\n" + Last),
            "line 2: has 9 cells; expected 8, one for each column of the header");
}

TEST(TakeFile, LeavesOutALastLineThatIsCutOff) {
  const Take Read = Take_Of(First + Last + "0.8,1.5,2.2");
  EXPECT_EQ(Read.Bodies[0].Samples.size(), 2U);
  EXPECT_THAT(Read.Warnings, ElementsAre("line 3, the last, is cut off and was left out"));
}

TEST(TakeFile, HasOtherAxesInEveryFormat) {
  Take_Options Options;
  Options.Axes = Parse_Axes("--axes", "x,-z,y");
  // A quarter turn about the file's z is one about Base's -y; the sample is its inverse.
  const Take Read =
      Take_Of("0.5,1.5,2.25,-0.125,0,0,0.70710678118654752,0.70710678118654752\n", Options);
  Expect_Pose(Read.Bodies[0].Samples.at(0), {1.5, 0.125, 2.25}, {Half_Root, 0, Half_Root, 0});
  EXPECT_EQ(Fact(Read, "axes of Base"), "x, -z, y of the file, by --axes");
}

// What streams read and write in such a locale; a machine needs none installed for it.
class Decimal_Comma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(TakeFile, IsReadTheSameInALocaleWithDecimalCommas) {
  const std::locale Before =
      std::locale::global(std::locale(std::locale::classic(), new Decimal_Comma));
  // For functions of C, where the machine has such a locale.
  const std::string Before_In_C = std::setlocale(LC_NUMERIC, nullptr);
  std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
  const Take Read = Take_Of(First);
  std::setlocale(LC_NUMERIC, Before_In_C.c_str());
  std::locale::global(Before);
  Expect_Pose(Read.Bodies[0].Samples.at(0), {1.5, 2.25, -0.125}, {1, 0, 0, 0});
}

TEST(TakeFile, TakesAFormatByItsWord) {
  EXPECT_EQ(Parse_Take_Format("--format", "motive"), Take_Format::Motive);
  EXPECT_EQ(Parse_Take_Format("--format", "vicon"), Take_Format::Vicon);
  EXPECT_EQ(Parse_Take_Format("--format", "qualisys"), Take_Format::Qualisys);
  EXPECT_EQ(Parse_Take_Format("--format", "tum"), Take_Format::Tum);
  EXPECT_EQ(Parse_Take_Format("--format", "eth"), Take_Format::Eth);
  EXPECT_EQ(Parse_Take_Format("--format", "euroc"), Take_Format::Euroc);
  EXPECT_THROW(Parse_Take_Format("--format", "csv"), Usage_Error);
  Take_Options Both;
  Both.Format = Take_Format::Tum;
  Both.Map = "map.toml";
  EXPECT_THROW(Take_Of(First, Both), Usage_Error);
}

}  // namespace
}  // namespace rigsync
