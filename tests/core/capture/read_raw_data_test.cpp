// SPDX-License-Identifier: Apache-2.0
//
// The CSV reader, rule by rule. It does not interpret fields, so the numbers here are chosen to be
// different in every field.
#include "core/capture/read_raw_data.h"

#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Table {
  int Code = -1;
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  std::vector<std::string> Log;
};

// Reads the file at this path and appends to what the lists already hold.
void Read_Behind(const std::string& Csv_Path, Table& Result) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  const Quiet_Output Output;
  Result.Code = Read_Raw_Data(Log_Path, Csv_Path, Result.Image_name, Result.Raw_Data_all);
  Result.Log = Read_Log_File(Log_Path);
}

Table Read_Path(const std::string& Csv_Path) {
  Table Result;
  Read_Behind(Csv_Path, Result);
  return Result;
}

// Reads a file of exactly these bytes.
Table Read_Text(const std::string& Bytes) {
  const Scratch_Folder Folder;
  return Read_Path(Folder.Write("capture.csv", Bytes));
}

// Field 0 is Base, field 1 the path, fields 2 to 15 are Base + 2 to Base + 15.
std::string Line(int Base, const std::string& Image) {
  std::string Text = std::to_string(Base) + "," + Image;
  for (int i = 2; i < 16; ++i) Text += "," + std::to_string(Base + i);
  return Text;
}

// The row that Line gives.
std::vector<double> Row(int Base) {
  std::vector<double> Numbers{static_cast<double>(Base)};
  for (int i = 2; i < 16; ++i) Numbers.push_back(Base + i);
  return Numbers;
}

std::vector<double> Row_Of(double Value) {
  return std::vector<double>(15, Value);
}

// The number that this text gives as field 5 of an otherwise ordinary line.
double Number(const std::string& Field) {
  const Table Result = Read_Text("0,a.png,0,0,0," + Field + ",0,0,0,0,0,0,0,0,0,0\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_EQ(Result.Raw_Data_all.size(), 1u);
  return Result.Raw_Data_all.at(0).at(4);
}

TEST(ReadRawData, PutsFieldOneInTheNamesAndTheOthersInTheRowInFileOrder) {
  const Table Result =
      Read_Text(Line(100, "/images/b.png") + "\n" + Line(200, "C:\\images\\a.png") + "\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("/images/b.png", "C:\\images\\a.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row(100), Row(200)));
  EXPECT_THAT(Result.Log, IsEmpty());  // the driver logs the success
}

TEST(ReadRawData, AppendsToWhatTheListsHold) {
  Table Result;
  Result.Image_name = {"earlier"};
  Result.Raw_Data_all = {{1.0, 2.0}};
  const Scratch_Folder Folder;
  Read_Behind(Folder.Write("capture.csv", Line(1, "a.png") + "\n"), Result);
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("earlier", "a.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(std::vector<double>{1.0, 2.0}, Row(1)));
}

TEST(ReadRawData, SkipsEveryLineThatBeginsWithACapitalTWhereverItStands) {
  const Table Result = Read_Text("T\nTime,Path,X\n" + Line(1, "a.png") + "\nT,T,T\n" +
                                 Line(2, "b.png") + "\nTrailer without a newline");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png", "b.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row(1), Row(2)));
}

TEST(ReadRawData, DropsADataLineThatBeginsWithACapitalTSilently) {
  const Table Result = Read_Text("T1,dropped.png,1,1,1,1,1,1,1,1,1,1,1,1,1,1\n" + Line(1, "a.png"));
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row(1)));
  EXPECT_THAT(Result.Log, IsEmpty());
}

TEST(ReadRawData, TakesOnlyACapitalTInTheFirstByteForAHeader) {
  const Table Result =
      Read_Text("time,small.png\n Time,blank.png\n\"T\",quoted.png\n1T,later.png\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("small.png", "blank.png", "quoted.png", "later.png"));
}

TEST(ReadRawData, ReadsAHeaderBehindAByteOrderMarkAsADataLine) {
  const Table Result =
      Read_Text("\xEF\xBB\xBFTime,Path,X,Y,Z,W,X,Y,Z,X,Y,Z,W,X,Y,Z\n" + Line(1, "a.png") + "\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("Path", "a.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row_Of(0.0), Row(1)));
}

TEST(ReadRawData, ReadsAnEmptyLineAsAnImageWithoutPathAndNumbers) {
  const Table Result = Read_Text("\n" + Line(1, "a.png") + "\n\n" + Line(2, "b.png") + "\n\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("", "a.png", "", "b.png", ""));
  EXPECT_THAT(Result.Raw_Data_all,
              ElementsAre(Row_Of(0.0), Row(1), Row_Of(0.0), Row(2), Row_Of(0.0)));
}

TEST(ReadRawData, GivesEmptyListsForAFileWithoutDataLines) {
  for (const char* Text : {"", "T", "T\n", "Time,Path\nT\nTTTT\n"}) {
    SCOPED_TRACE(Text);
    const Table Result = Read_Text(Text);
    EXPECT_EQ(Result.Code, 0);
    EXPECT_THAT(Result.Image_name, IsEmpty());
    EXPECT_THAT(Result.Raw_Data_all, IsEmpty());
    EXPECT_THAT(Result.Log, IsEmpty());
  }
}

TEST(ReadRawData, ReadsALastLineWithoutANewlineInFull) {
  const Table Result = Read_Text(Line(1, "a.png") + "\n" + Line(2, "b.png"));
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png", "b.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row(1), Row(2)));
}

TEST(ReadRawData, ReadsTheSameNumbersFromLinesThatEndInACarriageReturn) {
  const Table Result =
      Read_Text("Time,Path\r\n" + Line(1, "a.png") + "\r\n" + Line(2, "b.png") + "\r\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png", "b.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row(1), Row(2)));
}

TEST(ReadRawData, KeepsTheCarriageReturnInTheLastFieldOfAShortLine) {
  // The last field repeats with its carriage return, so an otherwise empty line has a path of one
  // byte.
  const Table Result = Read_Text("\r\n1,a.png\r\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("\r", "a.png\r"));
}

TEST(ReadRawData, RepeatsTheLastFieldOfAShortLine) {
  std::vector<double> From_Field_3 = Row_Of(7.0);
  From_Field_3[0] = 5.0;
  From_Field_3[1] = 6.0;
  std::vector<double> Path_Last = Row_Of(31.5);  // a path that reads as a number
  Path_Last[0] = 5.0;
  std::vector<double> One_Missing = Row(10);
  One_Missing[14] = 24.0;
  std::string Fifteen = Line(10, "e.png");
  Fifteen.resize(Fifteen.rfind(','));

  const Table Result = Read_Text("5,a.png,6,7\n5,31.5 b.png\n9\n" + Fifteen + "\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png", "31.5 b.png", "9", "e.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(From_Field_3, Path_Last, Row_Of(9.0), One_Missing));
  EXPECT_THAT(Result.Log, IsEmpty());
}

TEST(ReadRawData, StartsEveryLineWithAnEmptyFieldText) {
  // An empty line does not take over values of the line before it.
  const Table Result = Read_Text(Line(3, "a.png") + "\n\n");
  ASSERT_EQ(Result.Raw_Data_all.size(), 2u);
  EXPECT_EQ(Result.Image_name[1], "");
  EXPECT_EQ(Result.Raw_Data_all[1], Row_Of(0.0));
}

TEST(ReadRawData, TakesAnEmptyFieldBehindATrailingCommaAsTheLastOne) {
  std::vector<double> Expected = Row_Of(0.0);
  Expected[0] = 5.0;
  Expected[1] = 6.0;
  const Table Result = Read_Text("5,a.png,6,\n5,\n,\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png", "", ""));
  std::vector<double> First_Alone = Row_Of(0.0);
  First_Alone[0] = 5.0;
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Expected, First_Alone, Row_Of(0.0)));
}

TEST(ReadRawData, IgnoresFieldsBeyondTheSixteenth) {
  const Table Result = Read_Text(Line(1, "a.png") + ",99,98,97\n" + Line(2, "b.png") + ",\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a.png", "b.png"));
  EXPECT_THAT(Result.Raw_Data_all, ElementsAre(Row(1), Row(2)));
}

TEST(ReadRawData, KnowsNoQuotesAndNoOtherSeparators) {
  const Table Result = Read_Text("1,\"a,2,b\",3\n1;2,a b;c\td.png ,4\n1, blank.png,2\n");
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("\"a", "a b;c\td.png ", " blank.png"));
  ASSERT_EQ(Result.Raw_Data_all.size(), 3u);
  EXPECT_EQ(Result.Raw_Data_all[0][1], 2.0);
  EXPECT_EQ(Result.Raw_Data_all[0][2], 0.0);  // b"
  EXPECT_EQ(Result.Raw_Data_all[0][3], 3.0);
  EXPECT_EQ(Result.Raw_Data_all[1][0], 1.0);
  EXPECT_EQ(Result.Raw_Data_all[1][1], 4.0);
}

TEST(ReadRawData, TakesTheLongestPrefixThatIsANumber) {
  constexpr double Infinity = std::numeric_limits<double>::infinity();
  const std::pair<const char*, double> Cases[] = {
      {"12", 12.0},
      {"-0.25", -0.25},
      {"+4", 4.0},
      {".5", 0.5},
      {"5.", 5.0},
      {"  12", 12.0},
      {"\t\v\f 3", 3.0},
      {"3 4", 3.0},
      {"1.5abc", 1.5},
      {"1.2.3", 1.2},
      {"1_000", 1.0},
      {"1e3", 1000.0},
      {"1e", 1.0},
      {"1e+", 1.0},
      {"1d5", 1.0},
      {"0x1A", 26.0},
      {"0x1.8p1", 3.0},
      {"0x", 0.0},
      {"1e308", 1e308},
      {"-1e308", -1e308},
      {"1e309", Infinity},
      {"-1e309", -Infinity},
      {"inf", Infinity},
      {"-INFINITY", -Infinity},
      {"5e-324", 5e-324},
      {"1e-400", 0.0},
      {"", 0.0},
      {" ", 0.0},
      {".", 0.0},
      {"--4", 0.0},
      {"- 4", 0.0},
      {"abc", 0.0},
      {"x12", 0.0},
      {"\"12\"", 0.0},
      {"0.1", 0.1},
      {"0.30000000000000004", 0.1 + 0.2},
      {"123456789.123456789", 123456789.123456789},
  };
  for (const auto& [Field, Expected] : Cases) {
    SCOPED_TRACE(Field);
    EXPECT_EQ(Number(Field), Expected);
  }
  EXPECT_TRUE(std::isnan(Number("nan")));
  EXPECT_TRUE(std::isnan(Number("-NaN")));
  EXPECT_TRUE(std::isnan(Number("nan(123)")));
  EXPECT_TRUE(std::signbit(Number("-0")));
}

TEST(ReadRawData, ReadsBytesOfZeroAsPartOfTheirFields) {
  using namespace std::string_literals;
  const Table Result = Read_Text("1\0002,a\0b.png,3\0,\0004\n\0T,c.png,5\n"s);
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, ElementsAre("a\0b.png"s, "c.png"s));
  ASSERT_EQ(Result.Raw_Data_all.size(), 2u);
  EXPECT_EQ(Result.Raw_Data_all[0][0], 1.0);  // numbers end there
  EXPECT_EQ(Result.Raw_Data_all[0][1], 3.0);
  EXPECT_EQ(Result.Raw_Data_all[0][2], 0.0);
  EXPECT_EQ(Result.Raw_Data_all[1][0], 0.0);
  EXPECT_EQ(Result.Raw_Data_all[1][1], 5.0);
}

TEST(ReadRawData, ReadsBinaryGarbageLineByLine) {
  std::mt19937 Random(7);
  std::string Bytes(200000, '\0');
  for (char& Byte : Bytes) Byte = static_cast<char>(Random() & 0xFF);
  Bytes += "\nend";
  // Lines counted without the reader: those that don't begin with T.
  std::size_t Data_Lines = 0, Start = 0;
  while (true) {
    if (Bytes[Start] != 'T') ++Data_Lines;
    const std::size_t End = Bytes.find('\n', Start);
    if (End == std::string::npos) break;
    Start = End + 1;
  }
  const Table Result = Read_Text(Bytes);
  EXPECT_EQ(Result.Code, 0);
  EXPECT_EQ(Result.Image_name.size(), Data_Lines);
  ASSERT_EQ(Result.Raw_Data_all.size(), Data_Lines);
  for (const auto& Numbers : Result.Raw_Data_all) ASSERT_EQ(Numbers.size(), 15u);
}

TEST(ReadRawData, ReadsLinesOfAMegabyte) {
  constexpr std::size_t Megabyte = 1u << 20;
  const std::string Long_Path(Megabyte, 'p');
  const std::string Digits = "0." + std::string(Megabyte, '3');
  const Table Result = Read_Text("1," + Long_Path + ",2\n" + "1,a.png," + Digits + "\n" +
                                 std::string(Megabyte, ',') + "\n" + Line(5, "b.png") + "\n" + "T" +
                                 std::string(Megabyte, 'x'));
  EXPECT_EQ(Result.Code, 0);
  ASSERT_EQ(Result.Image_name.size(), 4u);
  EXPECT_TRUE(Result.Image_name[0] == Long_Path);
  EXPECT_EQ(Result.Image_name[2], "");
  ASSERT_EQ(Result.Raw_Data_all.size(), 4u);
  EXPECT_EQ(Result.Raw_Data_all[0][14], 2.0);
  EXPECT_EQ(Result.Raw_Data_all[1][14], 1.0 / 3.0);
  EXPECT_EQ(Result.Raw_Data_all[2], Row_Of(0.0));
  EXPECT_EQ(Result.Raw_Data_all[3], Row(5));
}

TEST(ReadRawData, ReadsAHundredThousandLines) {
  constexpr int Lines = 100000;
  std::string Text;
  for (int i = 0; i < Lines; ++i) Text += Line(i, std::to_string(i) + ".png") + "\n";
  const Table Result = Read_Text(Text);
  EXPECT_EQ(Result.Code, 0);
  ASSERT_EQ(Result.Image_name.size(), static_cast<std::size_t>(Lines));
  ASSERT_EQ(Result.Raw_Data_all.size(), static_cast<std::size_t>(Lines));
  for (const int i : {0, 2999, 3000, 4999, 5000, 5001, Lines - 1}) {
    SCOPED_TRACE(i);
    EXPECT_EQ(Result.Image_name[static_cast<std::size_t>(i)], std::to_string(i) + ".png");
    EXPECT_EQ(Result.Raw_Data_all[static_cast<std::size_t>(i)], Row(i));
  }
}

TEST(ReadRawData, MakesRoomForFiveThousandLines) {
  const Table Result = Read_Text("");
  EXPECT_GE(Result.Image_name.capacity(), 5000u);
  EXPECT_GE(Result.Raw_Data_all.capacity(), 5000u);
}

TEST(ReadRawData, ReturnsCode1AndKeepsTheListsWhereTheFileCannotBeOpened) {
  const Scratch_Folder Folder;
  const std::string A_File = Folder.Write("file", "");
  for (const std::string& Path :
       {std::string(), (Folder.Path() / "missing.csv").string(), A_File + "/capture.csv",
        (Folder.Path() / std::string(300, 'x')).string()}) {
    SCOPED_TRACE(Path);
    Table Result;
    Result.Image_name = {"earlier"};
    Result.Raw_Data_all = {{1.0}};
    Read_Behind(Path, Result);
    EXPECT_EQ(Result.Code, 1);
    EXPECT_THAT(Result.Image_name, ElementsAre("earlier"));
    EXPECT_THAT(Result.Raw_Data_all, ElementsAre(std::vector<double>{1.0}));
    EXPECT_THAT(Result.Log, ElementsAre("Error code 1 : The raw data csv file path is wrong."));
  }
}

TEST(ReadRawData, ReturnsCode1ForAFileThatMayNotBeRead) {
  const Scratch_Folder Folder;
  const std::string Path = Folder.Write("capture.csv", Line(1, "a.png") + "\n");
  chmod(Path.c_str(), 0);
  // Root can read every file, so the test becomes another user for a moment.
  const bool Was_Root = geteuid() == 0;
  if (Was_Root && seteuid(65534) != 0) GTEST_SKIP() << "root that can't become another user";
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  int Code = -1;
  {
    const Quiet_Output Output;
    Code = Read_Raw_Data("", Path, Image_name, Raw_Data_all);
  }
  if (Was_Root && seteuid(0) != 0) std::abort();
  EXPECT_EQ(Code, 1);
  EXPECT_THAT(Image_name, IsEmpty());
}

TEST(ReadRawData, ReadsNothingFromAFolder) {
  // The platform can open a folder for reading, but reading it gives no lines.
  const Scratch_Folder Folder;
  const Table Result = Read_Path(Folder.String());
  EXPECT_EQ(Result.Code, 0);
  EXPECT_THAT(Result.Image_name, IsEmpty());
  EXPECT_THAT(Result.Raw_Data_all, IsEmpty());
  EXPECT_THAT(Result.Log, IsEmpty());
}

TEST(ReadRawData, PassesRowsOfExactlyFifteenNumbers) {
  const std::pair<std::size_t, int> Cases[] = {{0, 15}, {1, 15}, {14, 15}, {15, 0}, {16, 15}};
  for (const auto& [Size, Code] : Cases) {
    SCOPED_TRACE(Size);
    const Scratch_Folder Folder;
    const std::string Log_Path = (Folder.Path() / "log").string();
    const Quiet_Output Output;
    EXPECT_EQ(Check_Row_Size(Log_Path, std::vector<double>(Size, 1.0)), Code);
    if (Code == 0) {
      EXPECT_THAT(Read_Log_File(Log_Path), IsEmpty());
    } else {
      EXPECT_THAT(Read_Log_File(Log_Path),
                  ElementsAre("Tracker data format error!",
                              "Detect the tracker data size : " + std::to_string(Size),
                              "Error code 15 : Tracker data format error in csv file. Please "
                              "re-calibration again!"));
    }
  }
}

}  // namespace
