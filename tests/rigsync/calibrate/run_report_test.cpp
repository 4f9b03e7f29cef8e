// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_report.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

namespace {

using rigsync::Image_Fate;
using rigsync::Run_Report;
using rigsync::Run_Step;

// The messages of a run with six images: one unreadable, one without a board, one outlier.
const std::vector<std::string>& Messages() {
  static const std::vector<std::string> Lines = {
      "Version : v1.2.3",
      "Camera Tracker Calibration start.",
      "Start to read the csv file.",
      "Read the csv file successfully.",
      "Start to Detect Corner.",
      "Process : a.png",
      "Process : missing.png",
      "missing.png Not exist!",
      "Process : b.png",
      "Process : wall.png",
      "Read wall.png Failed!",
      "Process : c.png",
      "Process : d.png",
      "Corner detection successful.",
      "RAW DATA START",
      "a.png",
      "1.000000 2.000000",
      "RAW DATA END",
      "Camera calibration start.",
      "reprojection error : 0.215000",
      "Camera calibration successful.",
      "Start OrganizeRT.",
      "Mean_Transform_Cam_Tc : ",
      "Image 0 reprojection error : 9.500000 pixels.",
      "Image 1 reprojection error : 8.000000 pixels.",
      "Image 2 reprojection error : 7.000000 pixels.",
      "Image 3 reprojection error : 6.000000 pixels.",
      "Average reprojection error : 7.625000 pixels.",
      "Diff R in image 0 : 0.100000 degree.",
      "Diff R in image 1 : 2.500000 degree.",
      "Diff R in image 2 : 0.200000 degree.",
      "Diff R in image 3 : 0.300000 degree.",
      "STD_R : 0.400000 degree.",
      "STD_T : 0.001000, 0.002000, 0.003000 meter.",
      "Remove outlier data number : 1",
      "Size list : (init) 4",
      "Remove index : 1",
      "Remove name : b.png",
      "Mean_Transform_Chart_Tr : ",
      "Mean_Transform_Cam_Tc : ",
      "Image 0 reprojection error : 1.500000 pixels.",
      "Image 1 reprojection error : 1.250000 pixels.",
      "Image 2 reprojection error : 1.000000 pixels.",
      "Average reprojection error : 1.250000 pixels.",
      "Norm Reprojection error : 0.001157",
      "T_STD : 0.000500, 0.000600, -nan meter.",
      "Max T_STD : 0.000600 meter.",
      "Camera and Tracker Calibration successful.",
  };
  return Lines;
}

// The report after the first Count messages.
Run_Report Report_Of(std::size_t Count) {
  rigsync::Run_Log_Reader Reader;
  for (std::size_t i = 0; i < Count; ++i) Reader.Take_Line("2022-11-17 09:05:33\t" + Messages()[i]);
  return Reader.Report();
}

Run_Report Whole_Report() {
  return Report_Of(Messages().size());
}

// The report up to and with the first message of this text.
Run_Report Report_Up_To(const std::string& Message) {
  for (std::size_t i = 0; i < Messages().size(); ++i) {
    if (Messages()[i] == Message) return Report_Of(i + 1);
  }
  ADD_FAILURE() << "no message " << Message;
  return {};
}

TEST(RunReport, HasTheFateOfEveryImage) {
  const Run_Report Report = Whole_Report();
  const std::pair<const char*, Image_Fate> Expected[] = {
      {"a.png", Image_Fate::Kept},    {"missing.png", Image_Fate::Unreadable},
      {"b.png", Image_Fate::Outlier}, {"wall.png", Image_Fate::No_Board},
      {"c.png", Image_Fate::Kept},    {"d.png", Image_Fate::Kept}};
  ASSERT_EQ(Report.Images.size(), 6u);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(Report.Images[i].Name, Expected[i].first);
    EXPECT_EQ(Report.Images[i].Fate, Expected[i].second) << Expected[i].first;
  }
  EXPECT_EQ(Count_Images(Report, Image_Fate::Kept), 3u);
  EXPECT_EQ(Count_Images(Report, Image_Fate::Outlier), 1u);
}

TEST(RunReport, MapsIndicesOfTheLogToTheImagesThatTheLibraryStillHad) {
  const Run_Report Report = Whole_Report();
  // The filter counts a, b, c, d; the last pass counts a, c, d.
  EXPECT_EQ(Report.Images[0].Axis_Difference_Deg, 0.1);
  EXPECT_EQ(Report.Images[2].Axis_Difference_Deg, 2.5);
  EXPECT_EQ(Report.Images[4].Axis_Difference_Deg, 0.2);
  EXPECT_EQ(Report.Images[1].Axis_Difference_Deg, std::nullopt);
  EXPECT_EQ(Report.Images[0].Reprojection_Px, 1.5);
  EXPECT_EQ(Report.Images[4].Reprojection_Px, 1.25);
  EXPECT_EQ(Report.Images[5].Reprojection_Px, 1.0);
  // The outlier keeps what the first pass measured.
  EXPECT_EQ(Report.Images[2].Reprojection_Px, 8.0);
}

TEST(RunReport, RemovesSeveralOutliersByTheIndicesBeforeAnyRemoval) {
  rigsync::Run_Log_Reader Reader;
  for (const char* Name : {"a", "b", "c", "d"}) {
    Reader.Take_Line(std::string("t\tProcess : ") + Name);
  }
  for (const char* Index : {"3", "1", "0"}) {
    Reader.Take_Line(std::string("t\tRemove index : ") + Index);
  }
  const Run_Report& Report = Reader.Report();
  EXPECT_EQ(Report.Images[0].Fate, Image_Fate::Outlier);
  EXPECT_EQ(Report.Images[1].Fate, Image_Fate::Outlier);
  EXPECT_EQ(Report.Images[2].Fate, Image_Fate::Kept);
  EXPECT_EQ(Report.Images[3].Fate, Image_Fate::Outlier);
}

TEST(RunReport, SeparatesTheTwoPassesAndTheLens) {
  const Run_Report Report = Whole_Report();
  EXPECT_EQ(Report.Version, "v1.2.3");
  EXPECT_EQ(Report.Lens_Rms_Px, 0.215);
  EXPECT_EQ(Report.First_Reprojection_Px, 7.625);
  EXPECT_EQ(Report.Reprojection_Px, 1.25);
  EXPECT_EQ(Report.Norm_Reprojection, 0.001157);
  EXPECT_EQ(Report.Filter_Spread_M, (std::array<double, 3>{0.001, 0.002, 0.003}));
  EXPECT_EQ(Report.Max_Spread_M, 0.0006);
}

TEST(RunReport, ReadsANumberThatIsNotFinite) {
  const auto Spread = Whole_Report().Spread_M;
  ASSERT_TRUE(Spread.has_value());
  EXPECT_EQ((*Spread)[1], 0.0006);
  EXPECT_TRUE(std::isnan((*Spread)[2]));
}

TEST(RunReport, FollowsTheStepsInTheirOrder) {
  const std::pair<const char*, Run_Step> Expected[] = {
      {"Read the csv file successfully.", Run_Step::Begun},
      {"Start to Detect Corner.", Run_Step::Finding_Boards},
      {"Corner detection successful.", Run_Step::Finding_Boards},
      {"RAW DATA START", Run_Step::Logging_Corners},
      {"Camera calibration start.", Run_Step::Solving_Lens},
      {"Mean_Transform_Cam_Tc : ", Run_Step::Solving_Mount},
      {"Diff R in image 0 : 0.100000 degree.", Run_Step::Removing_Outliers},
      {"Mean_Transform_Chart_Tr : ", Run_Step::Solving_Mount_Again},
      {"Image 0 reprojection error : 1.500000 pixels.", Run_Step::Writing_Images},
      {"Norm Reprojection error : 0.001157", Run_Step::Ended},
  };
  for (const auto& [Message, Step] : Expected) {
    EXPECT_EQ(Report_Up_To(Message).Step, Step) << Message;
  }
}

TEST(RunReport, DropsTheFirstPassOfAKeptImageWhenTheLastPassBegins) {
  const Run_Report First = Report_Up_To("Diff R in image 0 : 0.100000 degree.");
  EXPECT_EQ(First.Images[0].Reprojection_Px, 9.5);
  const Run_Report Last = Report_Up_To("Image 0 reprojection error : 1.500000 pixels.");
  EXPECT_EQ(Last.Images[0].Reprojection_Px, 1.5);
  EXPECT_EQ(Last.Images[4].Reprojection_Px, std::nullopt);
}

TEST(RunReport, KeepsTheErrorOfTheFirstPassBesideThatOfTheLast) {
  const Run_Report Report = Whole_Report();
  EXPECT_EQ(Report.Images[0].First_Reprojection_Px, 9.5);
  EXPECT_EQ(Report.Images[0].Reprojection_Px, 1.5);
  EXPECT_EQ(Report.Images[2].First_Reprojection_Px, 8.0);
  EXPECT_EQ(Report.Images[1].First_Reprojection_Px, std::nullopt);
}

TEST(RunReport, AnImagePathIsNotReadAsAMessage) {
  rigsync::Run_Log_Reader Reader;
  for (const char* Message :
       {"Process : Read x Failed!", "Process : x Not exist!", "Read x Not exist! Failed!",
        "RAW DATA START", "Process : third", "Average reprojection error : 1.000000 pixels.",
        "Remove index : 0", "RAW DATA END"}) {
    Reader.Take_Line(std::string("t\t") + Message);
  }
  const Run_Report& Report = Reader.Report();
  ASSERT_EQ(Report.Images.size(), 2u);
  EXPECT_EQ(Report.Images[0].Name, "Read x Failed!");
  EXPECT_EQ(Report.Images[0].Fate, Image_Fate::Kept);
  EXPECT_EQ(Report.Images[1].Fate, Image_Fate::No_Board);
  EXPECT_EQ(Report.First_Reprojection_Px, std::nullopt);
}

// The message about a dropped image may begin with its path, and so like any other message.
TEST(RunReport, APathOfADroppedImageIsNotReadAsTheVersionOrTheEnd) {
  rigsync::Run_Log_Reader Reader;
  for (const char* Message :
       {"Version : v1.2.3", "Start to Detect Corner.", "Process : Version : x",
        "Version : x Not exist!", "Process : Norm Reprojection error : y",
        "Norm Reprojection error : y Not exist!"}) {
    Reader.Take_Line(std::string("t\t") + Message);
  }
  EXPECT_EQ(Reader.Report().Version, "v1.2.3");
  EXPECT_EQ(Reader.Report().Step, Run_Step::Finding_Boards);
  EXPECT_EQ(rigsync::Count_Images(Reader.Report(), Image_Fate::Unreadable), 2u);
}

TEST(RunReport, HasTheFateOfImagesThatAreNamedLikeMessages) {
  rigsync::Run_Log_Reader Reader;
  for (const char* Message :
       {"Process : Process : a", "Process : a Not exist!", "Process : RAW DATA END", "Process : b",
        "Process : Process : c", "Read Process : c Failed!", "Process : RAW DATA END",
        "Process : d"}) {
    Reader.Take_Line(std::string("t\t") + Message);
  }
  const std::pair<const char*, Image_Fate> Expected[] = {{"Process : a", Image_Fate::Unreadable},
                                                         {"RAW DATA END", Image_Fate::Kept},
                                                         {"b", Image_Fate::Kept},
                                                         {"Process : c", Image_Fate::No_Board},
                                                         {"RAW DATA END", Image_Fate::Kept},
                                                         {"d", Image_Fate::Kept}};
  ASSERT_EQ(Reader.Report().Images.size(), std::size(Expected));
  for (std::size_t i = 0; i < std::size(Expected); ++i) {
    EXPECT_EQ(Reader.Report().Images[i].Name, Expected[i].first);
    EXPECT_EQ(Reader.Report().Images[i].Fate, Expected[i].second) << i;
  }
}

TEST(RunReport, AnImageThatIsNamedLikeTheEndOfTheDumpDoesNotEndIt) {
  rigsync::Run_Log_Reader Reader;
  for (const char* Message :
       {"Process : RAW DATA END", "Process : x", "Read x Failed!", "Process : y",
        "Process : RAW DATA END", "Process : Process : z", "RAW DATA START", "RAW DATA END",
        "1.000000 2.000000", "y", "1.000000 2.000000", "RAW DATA END", "1.000000 2.000000",
        "Process : z", "1.000000 2.000000"}) {
    Reader.Take_Line(std::string("t\t") + Message);
    EXPECT_LE(Reader.Report().Step, Run_Step::Logging_Corners);
  }
  EXPECT_EQ(Reader.Report().Images.size(), 5u);  // none from the dump
  // The mark itself.
  for (const char* Message : {"RAW DATA END", "Camera calibration start."}) {
    Reader.Take_Line(std::string("t\t") + Message);
  }
  EXPECT_EQ(Reader.Report().Step, Run_Step::Solving_Lens);
}

TEST(RunReport, SkipsLinesThatAreIncompleteOrHaveNoInformation) {
  rigsync::Run_Log_Reader Reader;
  for (const char* Line : {"",
                           "\t",
                           "no tab",
                           "2022-11-17 09:05:33",
                           "t\tImage ",
                           "t\tImage 0",
                           "t\tImage 0 repro",
                           "t\tImage x reprojection error : 1.000000 pixels.",
                           "t\tImage 7 reprojection error : 1.0",
                           "t\tRemove index : ",
                           "t\tRemove index : -1",
                           "t\tRemove index : 5",
                           "t\tSTD_T : 0.1, 0.2",
                           "t\tSTD_T : 0.1, 0.2 meter.",
                           "t\tSTD_T : , ,  meter.",
                           "t\tT_STD : 1",
                           "t\tMax T_STD : ",
                           "t\tAverage reprojection error : ",
                           "t\treprojection error : 1.0x",
                           "t\tDiff R in image 0 : 1.0 degree."}) {
    Reader.Take_Line(Line);
  }
  const Run_Report& Report = Reader.Report();
  EXPECT_TRUE(Report.Images.empty());
  EXPECT_EQ(Report.Filter_Spread_M, std::nullopt);
  EXPECT_EQ(Report.Spread_M, std::nullopt);
  EXPECT_EQ(Report.Max_Spread_M, std::nullopt);
  EXPECT_EQ(Report.Lens_Rms_Px, std::nullopt);
  EXPECT_EQ(Report.Reprojection_Px, std::nullopt);
  EXPECT_EQ(Report.First_Reprojection_Px, std::nullopt);
}

TEST(RunReport, ReadsAFileAndIsEmptyWithoutOne) {
  const Scratch_Folder Scratch;
  std::ofstream File(Scratch.Path() / "log_x");
  for (const std::string& Message : Messages()) File << "2022-11-17 09:05:33\t" << Message << "\n";
  File.close();
  EXPECT_EQ(rigsync::Read_Run_Report(Scratch.Path() / "log_x").Images.size(), 6u);
  EXPECT_EQ(rigsync::Read_Run_Report(Scratch.Path() / "log_x").Step, Run_Step::Ended);
  EXPECT_TRUE(rigsync::Read_Run_Report(Scratch.Path() / "none").Images.empty());
}

// The report of a run in which too few images remain after the outlier filter.
Run_Report Report_Of_Too_Few(const std::string& Remaining) {
  const std::vector<std::string>& All = Messages();
  rigsync::Run_Log_Reader Reader;
  for (const std::string& Message : All) {
    Reader.Take_Line("2022-11-17 09:05:33\t" + Message);
    if (Message == "Size list : (init) 4") break;
  }
  Reader.Take_Line("2022-11-17 09:05:33\tFiltered data number not enough : " + Remaining + " <= 5");
  return Reader.Report();
}

TEST(RunReport, OutliersThatEndTheRunAreThoseWhoseAxisIsBeyondTheLimit) {
  const Run_Report Report = Report_Of_Too_Few("2");
  EXPECT_EQ(rigsync::Count_Remaining(Report), 2u);
  EXPECT_EQ(rigsync::Count_Images(Report, rigsync::Image_Fate::Outlier), 1u);
}

// Of four boards, one is an outlier by its axis. If two remain, one of the other three is an
// outlier by its position.
TEST(RunReport, OutliersByPositionThatEndTheRunAreUnknownUnlessTheCountDecides) {
  const Run_Report One_Of_Three = Report_Of_Too_Few("2");
  EXPECT_EQ(rigsync::Count_Images(One_Of_Three, rigsync::Image_Fate::Unknown), 3u);
  EXPECT_EQ(rigsync::Count_Images(One_Of_Three, rigsync::Image_Fate::Kept), 0u);
  const Run_Report None_Of_Three = Report_Of_Too_Few("3");
  EXPECT_EQ(rigsync::Count_Images(None_Of_Three, rigsync::Image_Fate::Unknown), 0u);
  EXPECT_EQ(rigsync::Count_Images(None_Of_Three, rigsync::Image_Fate::Kept), 3u);
  EXPECT_EQ(rigsync::Count_Images(None_Of_Three, rigsync::Image_Fate::Outlier), 1u);
}

TEST(RunReport, WhenNoImageRemainsEveryBoardIsAnOutlier) {
  const Run_Report Report = Report_Of_Too_Few("0");
  EXPECT_EQ(rigsync::Count_Remaining(Report), 0u);
  EXPECT_EQ(rigsync::Count_Images(Report, rigsync::Image_Fate::Outlier), 4u);
  EXPECT_EQ(rigsync::Count_Images(Report, rigsync::Image_Fate::Kept), 0u);
}

TEST(RunReport, ARunThatKeepsEnoughCountsTheKept) {
  const Run_Report Report = Whole_Report();
  EXPECT_EQ(rigsync::Count_Remaining(Report),
            rigsync::Count_Images(Report, rigsync::Image_Fate::Kept));
  EXPECT_EQ(rigsync::Count_Remaining(Report), 3u);
}

}  // namespace
