// SPDX-License-Identifier: Apache-2.0
//
// The facts that the reader of a capture's CSV file records, and that it reads the same images and
// numbers as the library.
#include "rigsync/capture/capture_file.h"

#include "core/capture/read_raw_data.h"
#include "rigsync/system/usage_error.h"
#include "tests/support/scratch_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

using rigsync::Byte_Order_Mark;
using rigsync::Capture_File;
using rigsync::Capture_Image;
using rigsync::Capture_Line;
using rigsync::Capture_Row;
using rigsync::Carriage_Return;
using rigsync::Faulty_Field;
using rigsync::Line_Kind;
using rigsync::Number_Fault;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string Good_Line = "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,0,0\n";
const std::string Good_Numbers = ",1,2,3,1,0,0,0,4,5,6,0,1,0,0";
const std::string Utf8_Mark = "\xef\xbb\xbf";

Capture_File Read(const std::string& Text) {
  const Scratch_Folder Scratch;
  return rigsync::Read_Capture_File(Scratch.Write("capture.csv", Text));
}

std::vector<Line_Kind> Kinds(const Capture_File& File) {
  std::vector<Line_Kind> Kinds;
  for (const Capture_Line& Line : File.Lines) Kinds.push_back(Line.Kind);
  return Kinds;
}

std::string Without_Newline(const std::string& Line) {
  return Line.substr(0, Line.size() - 1);
}

std::string Replaced(std::string Text, char Character, char Replacement) {
  std::replace(Text.begin(), Text.end(), Character, Replacement);
  return Text;
}

std::string Decimal_Comma_Line(char Separator) {
  std::string Line = std::string("0") + Separator + "a.png";
  for (int i = 0; i < 14; ++i) Line += std::string(1, Separator) + "0,5";
  return Line + "\n";
}

enum class Byte_Order { Little, Big };

// ASCII text in UTF-16 with its byte-order mark.
std::string As_Utf16(const std::string& Text, Byte_Order Order) {
  std::string Bytes = Order == Byte_Order::Little ? "\xff\xfe" : "\xfe\xff";
  for (const char Character : Text) {
    Bytes +=
        Order == Byte_Order::Little ? std::string{Character, '\0'} : std::string{'\0', Character};
  }
  return Bytes;
}

auto Fault(std::size_t Index, const std::string& Text, Number_Fault Kind) {
  return AllOf(Field(&Faulty_Field::Index, Index), Field(&Faulty_Field::Text, Text),
               Field(&Faulty_Field::Fault, Kind));
}

// ---- The library's reading ----------------------------------------------------------------------

struct Edge_Case {
  const char* Name;
  std::string Text;
  std::vector<std::size_t> Image_Lines;  // every line that doesn't begin with a capital T
};

// What text editors, spreadsheets and other systems make of a capture's file.
std::vector<Edge_Case> Edge_Cases() {
  const std::string Header = "Time,Image\n";
  const std::string Crlf_Line = Without_Newline(Good_Line) + "\r\n";
  const std::string Cr_Line = Without_Newline(Good_Line) + "\r";
  const std::string Utf16_Text = Header + Good_Line;
  return {
      {"empty file", "", {}},
      {"header and data", Header + Good_Line + Good_Line, {2, 3}},
      {"mark and header", Utf8_Mark + Header + Good_Line, {1, 2}},
      {"mark and data", Utf8_Mark + Good_Line + Good_Line, {1, 2}},
      {"mark and a line of one field", Utf8_Mark + "5\n" + Good_Line, {1, 2}},
      {"mark alone", Utf8_Mark, {1}},
      {"marks in both lines", Utf8_Mark + "T,a.png\n" + Utf8_Mark + "T,b.png\n", {1, 2}},
      {"mark in line 2", Good_Line + Utf8_Mark + "T,b.png\n", {1, 2}},
      // The last newline is two bytes, so a zero byte follows it as line 3.
      {"UTF-16, little end first", As_Utf16(Utf16_Text, Byte_Order::Little), {1, 2, 3}},
      {"UTF-16, big end first", As_Utf16(Utf16_Text, Byte_Order::Big), {1, 2}},
      {"UTF-16 mark, plain text", "\xff\xfe" + Good_Line + Header + Good_Line, {1, 3}},
      {"carriage returns only, data", Cr_Line + Cr_Line, {1}},
      {"carriage returns only, header", "Time,Image\r" + Cr_Line, {}},
      {"carriage return and newline", "Time,Image\r\n" + Crlf_Line + Crlf_Line, {2, 3}},
      {"carriage return at the end of a path", "0,a.png\r\n", {1}},
      {"no final newline", Header + Good_Line + Without_Newline(Good_Line), {2, 3}},
      {"header without final newline", Good_Line + "Time", {1}},
      {"blank lines", "\n" + Good_Line + "\n  \n\r\n" + Good_Line + "\n", {1, 2, 3, 4, 5, 6, 7}},
      {"header-like lines", "time,image,x\n Time,Image,x\n\"Time\",Image,x\n", {1, 2, 3}},
      {"headers everywhere", "T\n" + Good_Line + "Tracker\nT" + Good_Line + Good_Line, {2, 5}},
      {"decimal commas", Decimal_Comma_Line(','), {1}},
      {"semicolons and decimal commas", Decimal_Comma_Line(';'), {1}},
      {"semicolons", Replaced(Good_Line, ',', ';'), {1}},
      {"tabs", Replaced(Good_Line, ',', '\t'), {1}},
      {"trailing commas", Without_Newline(Good_Line) + ",,\n" + Good_Line, {1, 2}},
      {"commas only", ",\n,,\n" + std::string(15, ',') + "\n", {1, 2, 3}},
      {"1 field", "alone\n" + Good_Line, {1, 2}},
      {"2 fields", "0,a.png\n", {1}},
      {"15 fields", "0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,7\n", {1}},
      {"17 fields", Without_Newline(Good_Line) + ",9\n", {1}},
      {"blanks around fields", " 0 , a b.png , 1 , +2,3e-1,.5,0x10,-0,0,4,5,6,0,1,0, 0 \n", {1}},
      {"values that are not finite", "0,a.png,nan,-inf,1e999,1,0,0,0,4,5,6,0,1,0,0\n", {1}},
      {"text in place of numbers", "x,a.png,1.5m,lost,,1,0,0,0,4,5,6,0,1,0,--\n", {1}},
      {"a zero byte", std::string("0,a\0b.png,1\0,2\n\0T\n", 18), {1, 2}},
  };
}

// A row of the library: field 0, then position and quaternion of either tracker.
std::vector<double> Library_Samples(const std::vector<double>& Row) {
  return {Row.begin() + 1, Row.end()};
}

std::vector<double> Samples(const Capture_Row& Row) {
  std::vector<double> Values;
  for (const rigsync::Tracker_Sample& Sample : {Row.Camera, Row.Board}) {
    Values.insert(Values.end(), Sample.Position.begin(), Sample.Position.end());
    Values.insert(Values.end(), Sample.Quaternion.begin(), Sample.Quaternion.end());
  }
  return Values;
}

TEST(CaptureFile, ImagesAndSamplesAreThoseThatTheLibraryReads) {
  const Scratch_Folder Scratch;
  for (const Edge_Case& Case : Edge_Cases()) {
    SCOPED_TRACE(Case.Name);
    const std::string Csv = Scratch.Write("capture.csv", Case.Text);
    std::vector<std::string> Library_Names;
    std::vector<std::vector<double>> Library_Rows;
    ASSERT_EQ(Read_Raw_Data("", Csv, Library_Names, Library_Rows), 0);
    ASSERT_EQ(Library_Names.size(), Case.Image_Lines.size());

    const Capture_File File = rigsync::Read_Capture_File(Csv);
    const std::vector<Capture_Image> Images = rigsync::Read_Image_Names(Csv);
    ASSERT_EQ(File.Rows.size(), Library_Names.size());
    ASSERT_EQ(Images.size(), Library_Names.size());
    for (std::size_t i = 0; i < Images.size(); ++i) {
      EXPECT_EQ(Images[i].Line, Case.Image_Lines[i]);
      EXPECT_EQ(Images[i].Name, Library_Names[i]);
      EXPECT_EQ(File.Rows[i].Line, Case.Image_Lines[i]);
      EXPECT_EQ(File.Rows[i].Image, Library_Names[i]);
      EXPECT_THAT(Samples(File.Rows[i]), testing::Pointwise(testing::NanSensitiveDoubleEq(),
                                                            Library_Samples(Library_Rows[i])));
    }
    EXPECT_EQ(File.Lines.size(), File.Line_Count);
    EXPECT_EQ(File.Line_Count, File.Header_Count + File.Rows.size());
  }
}

TEST(CaptureFile, APipeIsLeftToTheLibrary) {
  const Scratch_Folder Scratch;
  const std::string Pipe = (Scratch.Path() / "pipe").string();
  ASSERT_EQ(mkfifo(Pipe.c_str(), 0600), 0);
  const int Descriptor = open(Pipe.c_str(), O_RDWR | O_NONBLOCK);
  ASSERT_GE(Descriptor, 0);
  ASSERT_EQ(write(Descriptor, Good_Line.data(), Good_Line.size()),
            static_cast<ssize_t>(Good_Line.size()));
  EXPECT_THAT(rigsync::Read_Image_Names(Pipe), IsEmpty());
  std::string Unread(Good_Line.size() + 1, '\0');
  EXPECT_EQ(read(Descriptor, Unread.data(), Unread.size()), static_cast<ssize_t>(Good_Line.size()));
  close(Descriptor);
}

TEST(CaptureFile, WhatCannotBeOpenedHasNoImageNames) {
  const Scratch_Folder Scratch;
  EXPECT_THAT(rigsync::Read_Image_Names(Scratch.Path() / "none.csv"), IsEmpty());
  EXPECT_THAT(rigsync::Read_Image_Names(Scratch.Path()), IsEmpty());
}

// What the two readers say to a file. Both refuse it with the same sentence, or neither does.
std::string Refusal(const std::filesystem::path& Csv) {
  std::string Said[2] = {"accepted", "accepted"};
  try {
    rigsync::Read_Image_Names(Csv);
  } catch (const rigsync::Usage_Error& Error) {
    Said[0] = Error.what();
  }
  try {
    rigsync::Read_Capture_File(Csv);
  } catch (const rigsync::Usage_Error& Error) {
    Said[1] = Error.what();
  }
  return Said[0] == Said[1] ? Said[0] : Said[0] + " | " + Said[1];
}

TEST(CaptureFile, ALineIsRefusedFromOneByteBeyondTheLongestOn) {
  const Scratch_Folder Scratch;
  const std::string Longest(rigsync::Longest_Csv_Line, ',');
  const std::string Csv = Scratch.Write("long.csv", Good_Line + Longest + "\n" + Longest);
  EXPECT_EQ(rigsync::Read_Capture_File(Csv).Lines.back().Field_Count, Longest.size() + 1);
  const std::string Too_Long = Scratch.Write("longer.csv", Good_Line + Longest + ",");
  EXPECT_THAT(Refusal(Too_Long), HasSubstr("line 2 is longer than 1000000 bytes"));
}

// A gigabyte of zero bytes, none of which is on the disk. It used to be taken into the memory, and
// where that was too small, for the end of the file.
TEST(CaptureFile, ALineOfAGigabyteIsRefusedWithoutReadingIt) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("sparse.csv", Good_Line);
  std::filesystem::resize_file(Csv, std::uintmax_t{1} << 30);
  EXPECT_THAT(Refusal(Csv), HasSubstr("sparse.csv: line 2 is longer than 1000000 bytes; expected"));
}

TEST(CaptureFile, AFileIsRefusedFromOneLineBeyondTheMostOn) {
  const Scratch_Folder Scratch;
  const std::string Lines(rigsync::Most_Csv_Lines, '\n');
  EXPECT_EQ(rigsync::Read_Image_Names(Scratch.Write("most.csv", Lines)).size(), Lines.size());
  EXPECT_THAT(Refusal(Scratch.Write("more.csv", Lines + "T")),
              HasSubstr("more.csv: has more than 300000 lines; expected"));
}

#ifdef __linux__
// This regular file has nothing to read at its start. A stream would take that for an empty file.
TEST(CaptureFile, AFileThatCannotBeReadToItsEndIsRefused) {
  EXPECT_THAT(Refusal("/proc/self/mem"), HasSubstr("line 1 can't be read (Input/output error)"));
}
#endif

TEST(CaptureFile, WhatIsNotAReadableFileIsRefusedWithASentence) {
  const Scratch_Folder Scratch;
  const auto Refusal = [](const std::filesystem::path& Csv) -> std::string {
    try {
      rigsync::Read_Capture_File(Csv);
    } catch (const rigsync::Usage_Error& Error) {
      return Error.what();
    }
    return "accepted";
  };
  const std::filesystem::path Pipe = Scratch.Path() / "pipe";
  ASSERT_EQ(mkfifo(Pipe.c_str(), 0600), 0);
  EXPECT_THAT(Refusal(Scratch.Path() / "none.csv"), HasSubstr("doesn't exist"));
  EXPECT_THAT(Refusal(Scratch.Path()), HasSubstr("is a folder"));
  EXPECT_THAT(Refusal(Pipe), HasSubstr("not a pipe"));
}

// ---- Lines --------------------------------------------------------------------------------------

TEST(CaptureFile, EachFieldBecomesItsNumberOfTheSamples) {
  const Capture_File File = Read("Time,Image\n" + Good_Line);
  EXPECT_EQ(File.Line_Count, 2u);
  EXPECT_EQ(File.Header_Count, 1u);
  EXPECT_THAT(Kinds(File), ElementsAre(Line_Kind::Header, Line_Kind::Image));
  ASSERT_EQ(File.Rows.size(), 1u);
  const Capture_Row& Row = File.Rows[0];
  EXPECT_EQ(Row.Line, 2u);
  EXPECT_EQ(Row.Image, "a.png");
  EXPECT_THAT(Row.Camera.Position, ElementsAre(1, 2, 3));
  EXPECT_THAT(Row.Camera.Quaternion, ElementsAre(1, 0, 0, 0));
  EXPECT_THAT(Row.Board.Position, ElementsAre(4, 5, 6));
  EXPECT_THAT(Row.Board.Quaternion, ElementsAre(0, 1, 0, 0));
  EXPECT_TRUE(Row.Is_Image);
  EXPECT_TRUE(Row.Is_Sound);
  EXPECT_THAT(File.Lines[1].Faulty_Fields, IsEmpty());
}

TEST(CaptureFile, ALineIsAHeaderForItsCapitalTAlone) {
  const Capture_File File =
      Read("T" + Good_Line + "time,image,x\n Time,Image,x\n" + Good_Line + "Time,Image");
  EXPECT_THAT(Kinds(File),
              ElementsAre(Line_Kind::Header, Line_Kind::Header_Like, Line_Kind::Header_Like,
                          Line_Kind::Image, Line_Kind::Header));
  EXPECT_EQ(File.Header_Count, 2u);
  EXPECT_TRUE(File.Lines[0].Has_All_Numbers);
  EXPECT_EQ(File.Lines[0].First_Field, "T0");
  EXPECT_FALSE(File.Lines[4].Has_All_Numbers);
  EXPECT_FALSE(File.Rows[0].Is_Image);
  EXPECT_FALSE(File.Rows[0].Is_Sound);
}

TEST(CaptureFile, AHeaderLikeLineHasWordsInPlaceOfAllNumbers) {
  const auto Kind = [](const std::string& Text) { return Read(Text).Lines.at(0).Kind; };
  EXPECT_EQ(Kind("time,image,x, y,,z"), Line_Kind::Header_Like);
  EXPECT_EQ(Kind("5,image,x,y,z"), Line_Kind::Image);       // lost samples of an image
  EXPECT_EQ(Kind("time,image,x,7,z"), Line_Kind::Image);    // a number
  EXPECT_EQ(Kind("time,image,x,nan,z"), Line_Kind::Image);  // a number to the library
  EXPECT_EQ(Kind("time,image,x,-,z"), Line_Kind::Image);    // no letter
  EXPECT_EQ(Kind("time,image"), Line_Kind::Image);          // no field of the samples
}

TEST(CaptureFile, ABlankLineIsARowButNotAnImage) {
  const Capture_File File = Read(Good_Line + "\n" + Good_Line + " \t\r\n");
  EXPECT_THAT(Kinds(File),
              ElementsAre(Line_Kind::Image, Line_Kind::Blank, Line_Kind::Image, Line_Kind::Blank));
  EXPECT_FALSE(File.Rows[1].Is_Image);
  EXPECT_FALSE(File.Rows[1].Is_Sound);
}

TEST(CaptureFile, OtherSeparatorsAreRecordedAndTheLineIsNotAnImage) {
  const std::pair<std::string, char> Cases[] = {{Replaced(Good_Line, ',', ';'), ';'},
                                                {Replaced(Good_Line, ',', '\t'), '\t'},
                                                {Decimal_Comma_Line(';'), ';'}};
  for (const auto& [Line, Separator] : Cases) {
    const Capture_File File = Read(Line + Good_Line);
    EXPECT_THAT(Kinds(File), ElementsAre(Line_Kind::Other_Separator, Line_Kind::Image));
    EXPECT_EQ(File.Lines[0].Separator, Separator);
    EXPECT_FALSE(File.Rows[0].Is_Image);
    EXPECT_FALSE(File.Rows[0].Is_Sound);
    EXPECT_TRUE(File.Rows[1].Is_Image);
  }
  EXPECT_EQ(Read(std::string(14, ';')).Lines[0].Kind, Line_Kind::Image);
}

TEST(CaptureFile, AnImagePathMayHoldAsManySemicolonsAsThereAreCommas) {
  const std::string Path(15, ';');
  const Capture_File File = Read("0," + Path + Good_Numbers);
  EXPECT_THAT(Kinds(File), ElementsAre(Line_Kind::Image));
  EXPECT_EQ(File.Rows[0].Image, Path);
  EXPECT_TRUE(File.Rows[0].Is_Sound);
}

TEST(CaptureFile, AMarkBeforeAHeaderMakesItARowThatIsNotAnImage) {
  const Capture_File File = Read(Utf8_Mark + "Time,Image,X\n" + Good_Line);
  EXPECT_EQ(File.Mark, Byte_Order_Mark::Utf8);
  EXPECT_THAT(Kinds(File), ElementsAre(Line_Kind::Marked_Header, Line_Kind::Image));
  EXPECT_EQ(File.Header_Count, 0u);
  ASSERT_EQ(File.Rows.size(), 2u);
  EXPECT_FALSE(File.Rows[0].Is_Image);
  EXPECT_FALSE(File.Rows[0].Is_Sound);
}

TEST(CaptureFile, AMarkBeforeDataIsNotAFaultOfFieldZero) {
  const Capture_File File = Read(Utf8_Mark + Good_Line + Good_Line);
  EXPECT_EQ(File.Mark, Byte_Order_Mark::Utf8);
  EXPECT_THAT(Kinds(File), ElementsAre(Line_Kind::Image, Line_Kind::Image));
  EXPECT_EQ(File.Lines[0].First_Field, "0");
  EXPECT_THAT(File.Lines[0].Faulty_Fields, IsEmpty());
  EXPECT_TRUE(File.Rows[0].Is_Sound);
}

TEST(CaptureFile, AMarkCountsAtTheStartOfTheFileOnly) {
  EXPECT_EQ(Read(Good_Line + Utf8_Mark + Good_Line).Mark, Byte_Order_Mark::None);
  // Two files with a mark, joined.
  const Capture_File File = Read(Utf8_Mark + Good_Line + Utf8_Mark + Good_Line);
  EXPECT_THAT(File.Lines[0].Faulty_Fields, IsEmpty());
  EXPECT_THAT(File.Lines[1].Faulty_Fields,
              ElementsAre(Fault(0, Utf8_Mark + "0", Number_Fault::Not_A_Number)));
  EXPECT_EQ(File.Lines[1].First_Field, Utf8_Mark + "0");
}

TEST(CaptureFile, NoLineOfUtf16IsAnImage) {
  for (const Byte_Order Order : {Byte_Order::Little, Byte_Order::Big}) {
    const Capture_File File = Read(As_Utf16("Time,Image\n" + Good_Line, Order));
    EXPECT_EQ(File.Mark, Byte_Order_Mark::Utf16);
    EXPECT_THAT(Kinds(File), testing::Each(Line_Kind::Utf16));
    ASSERT_GE(File.Rows.size(), 2u);
    for (const Capture_Row& Row : File.Rows) EXPECT_FALSE(Row.Is_Image || Row.Is_Sound);
  }
}

TEST(CaptureFile, CarriageReturnsAreRecordedByTheirPositionInTheLine) {
  const std::string Cut = Without_Newline(Good_Line);
  const Capture_File File =
      Read("Time\r\n" + Cut + "\r\n" + Cut + "\r" + Cut + "\r\n" + Good_Line + "\r");
  std::vector<Carriage_Return> Returns;
  for (const Capture_Line& Line : File.Lines) Returns.push_back(Line.Return);
  EXPECT_THAT(Returns,
              ElementsAre(Carriage_Return::At_End, Carriage_Return::At_End, Carriage_Return::Inside,
                          Carriage_Return::None, Carriage_Return::At_End));
  EXPECT_TRUE(File.Rows[0].Is_Sound);
}

// ---- Fields -------------------------------------------------------------------------------------

TEST(CaptureFile, TooFewFieldsRepeatTheLastAndMakeTheRowUnsound) {
  const Capture_File File = Read("0,a.png,1,2,3,1,0,0,0,4,5,6,0,1,7\nalone\n");
  EXPECT_EQ(File.Lines[0].Field_Count, 15u);
  EXPECT_THAT(File.Lines[0].Faulty_Fields, IsEmpty());
  EXPECT_THAT(File.Rows[0].Board.Quaternion, ElementsAre(0, 1, 7, 7));
  EXPECT_TRUE(File.Rows[0].Is_Image);
  EXPECT_FALSE(File.Rows[0].Is_Sound);
  // Field 0 is not a number; those that repeat it are missing, not faulty.
  EXPECT_THAT(File.Lines[1].Faulty_Fields,
              ElementsAre(Fault(0, "alone", Number_Fault::Not_A_Number)));
}

TEST(CaptureFile, SurplusFieldsAreCountedAndLeaveTheRowSound) {
  const std::string Cut = Without_Newline(Good_Line);
  const Capture_File File = Read(Good_Line + Cut + ",9\n" + Cut + ", ,\r\n" + Cut + ", ,9\n");
  std::vector<std::size_t> Counts;
  for (const Capture_Line& Line : File.Lines) Counts.push_back(Line.Field_Count);
  EXPECT_THAT(Counts, ElementsAre(16, 17, 18, 18));
  EXPECT_FALSE(File.Lines[1].Are_Surplus_Fields_Blank);
  EXPECT_TRUE(File.Lines[2].Are_Surplus_Fields_Blank);
  EXPECT_FALSE(File.Lines[3].Are_Surplus_Fields_Blank);
  for (const Capture_Row& Row : File.Rows) EXPECT_TRUE(Row.Is_Sound);
}

TEST(CaptureFile, DecimalCommasCutEachOf14NumbersInTwo) {
  const Capture_File File =
      Read(Decimal_Comma_Line(',') + Without_Newline(Good_Line) + std::string(13, ',') + "\n");
  EXPECT_EQ(File.Lines[0].Field_Count, 30u);
  EXPECT_TRUE(rigsync::May_Have_Decimal_Commas(File.Lines[0]));
  EXPECT_FALSE(File.Rows[0].Is_Sound);
  EXPECT_EQ(File.Lines[1].Field_Count, 29u);
  EXPECT_FALSE(rigsync::May_Have_Decimal_Commas(File.Lines[1]));
  EXPECT_TRUE(File.Rows[1].Is_Sound);
}

TEST(CaptureFile, AFieldIsFaultyWhenItIsMoreOrLessThanANumber) {
  const Capture_File File =
      Read("0,a.png,1.5m,2,3,1,0,0,0,4,5,6,0,1,0,lost\n0,a.png,1,,3,1,0,0,0,4,5,6,0,1,0,0\n");
  EXPECT_THAT(File.Lines[0].Faulty_Fields,
              ElementsAre(Fault(2, "1.5m", Number_Fault::Not_A_Number),
                          Fault(15, "lost", Number_Fault::Not_A_Number)));
  EXPECT_THAT(File.Lines[1].Faulty_Fields, ElementsAre(Fault(3, "", Number_Fault::Not_A_Number)));
  EXPECT_EQ(File.Rows[0].Camera.Position[0], 1.5);
  EXPECT_EQ(File.Rows[0].Board.Quaternion[3], 0.0);
  for (const Capture_Row& Row : File.Rows) EXPECT_FALSE(Row.Is_Sound);
}

TEST(CaptureFile, BlanksAroundANumberAndExponentsAreNoFault) {
  const Capture_File File = Read("0 ,a.png, 1 ,2e-3,+3,1,0,0,0,4,5,6,0,1,0,0 \r\n");
  EXPECT_THAT(File.Lines[0].Faulty_Fields, IsEmpty());
  EXPECT_EQ(File.Rows[0].Camera.Position[1], 2e-3);
  EXPECT_TRUE(File.Rows[0].Is_Sound);
}

TEST(CaptureFile, ANumberIsFaultyWhenItIsNotFiniteOrTooLarge) {
  const std::pair<const char*, Number_Fault> Cases[] = {
      {"nan", Number_Fault::Not_Finite},       {"inf", Number_Fault::Not_Finite},
      {"-inf", Number_Fault::Not_Finite},      {"1e999", Number_Fault::Not_Finite},
      {"1000000001", Number_Fault::Too_Large}, {"-1.1e9", Number_Fault::Too_Large},
      {"1e200", Number_Fault::Too_Large}};
  for (const auto& [Text, Kind] : Cases) {
    SCOPED_TRACE(Text);
    const Capture_File File = Read("0,a.png,1,2,3,1,0,0,0,4," + std::string(Text) + ",6,0,1,0,0\n");
    EXPECT_THAT(File.Lines[0].Faulty_Fields, ElementsAre(Fault(10, Text, Kind)));
    EXPECT_TRUE(File.Rows[0].Is_Image);
    EXPECT_FALSE(File.Rows[0].Is_Sound);
  }
  const Capture_File File = Read("0,a.png,1,2,3,1,0,0,0,4,-1e9,6,0,1,0,1e9\n");
  EXPECT_THAT(File.Lines[0].Faulty_Fields, IsEmpty());
  EXPECT_TRUE(File.Rows[0].Is_Sound);
}

TEST(CaptureFile, AFaultOfFieldZeroLeavesTheRowSound) {
  const Capture_File File =
      Read("01:02:03:04,a.png" + Good_Numbers + "\nnan,a.png" + Good_Numbers + "\n");
  EXPECT_THAT(File.Lines[0].Faulty_Fields,
              ElementsAre(Fault(0, "01:02:03:04", Number_Fault::Not_A_Number)));
  EXPECT_THAT(File.Lines[1].Faulty_Fields, IsEmpty());
  for (const Capture_Row& Row : File.Rows) EXPECT_TRUE(Row.Is_Sound);
}

}  // namespace
