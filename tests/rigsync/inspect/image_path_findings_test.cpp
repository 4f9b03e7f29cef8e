// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/image_path_findings.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Capture_Row;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Image_Path;
using rigsync::Level;
using rigsync::Path_Correction;
using rigsync::Path_State;
using testing::HasSubstr;

// The findings about one row, line 4, with this path.
std::vector<Finding> Judge(const Image_Path& Path) {
  Capture_Row Row;
  Row.Line = 4;
  Row.Image = "a.png";
  Findings List;
  rigsync::Judge_Image_Paths({Row}, {Path}, "/captures/stage", List);
  return List.Sorted();
}

Image_Path With_State(Path_State State) {
  Image_Path Path;
  Path.State = State;
  return Path;
}

TEST(ImagePathFindings, AFileHasNoneAndNeitherHasALineThatIsNotAnImage) {
  EXPECT_TRUE(Judge(With_State(Path_State::File)).empty());
  EXPECT_TRUE(Judge(With_State(Path_State::Not_An_Image)).empty());
}

TEST(ImagePathFindings, APathWithoutAFileIsAWarningWithItsLine) {
  const std::pair<Path_State, const char*> Cases[] = {{Path_State::Empty, "image_path_empty"},
                                                      {Path_State::Missing, "image_missing"},
                                                      {Path_State::Not_A_File, "image_not_a_file"}};
  for (const auto& [State, Id] : Cases) {
    const std::vector<Finding> List = Judge(With_State(State));
    ASSERT_EQ(List.size(), 1u);
    EXPECT_EQ(List[0].Id, Id);
    EXPECT_EQ(List[0].Severity, Level::Warning);
    EXPECT_EQ(List[0].Lines, (std::vector<std::size_t>{4}));
  }
  EXPECT_EQ(Judge(With_State(Path_State::Missing))[0].Example, "In line 4 it is 'a.png'.");
  EXPECT_EQ(
      Judge(With_State(Path_State::Missing))[0].Advice,
      "Correct the path. Relative paths start at /captures/stage; --image-root changes that.");
}

TEST(ImagePathFindings, WhatACalibrationRefusesIsAnErrorWithItsLine) {
  const std::pair<Path_State, const char*> Cases[] = {
      {Path_State::Pipe_Or_Device, "image_is_a_pipe"},
      {Path_State::Too_Many_Pixels, "image_too_large"},
      {Path_State::Unknown_Ending, "image_ending_unknown"}};
  for (const auto& [State, Id] : Cases) {
    const std::vector<Finding> List = Judge(With_State(State));
    ASSERT_EQ(List.size(), 1u);
    EXPECT_EQ(List[0].Id, Id);
    EXPECT_EQ(List[0].Severity, Level::Error);
    EXPECT_EQ(List[0].Lines, (std::vector<std::size_t>{4}));
    EXPECT_EQ(List[0].Example, "In line 4 it is 'a.png'.");
    EXPECT_THAT(List[0].What, HasSubstr("'rigsync calibrate' refuses it"));
  }
}

TEST(ImagePathFindings, AMissingPathNamesTheChangeThatLeadsToAFile) {
  const std::pair<Path_Correction, const char*> Cases[] = {
      {Path_Correction::Without_Blanks, "blanks"},
      {Path_Correction::Without_Quotes, "quotes"},
      {Path_Correction::With_Forward_Slashes, "forward slashes"},
      {Path_Correction::Other_Folder, "a file of this name in /captures/stage/images/."}};
  for (const auto& [Correction, Words] : Cases) {
    Image_Path Path = With_State(Path_State::Missing);
    Path.Correction = Correction;
    Path.Correction_Folder = "/captures/stage/images";
    EXPECT_THAT(Judge(Path)[0].Example, HasSubstr(Words));
  }
}

TEST(ImagePathFindings, ARepeatedPathNamesTheEarlierLine) {
  Image_Path Path = With_State(Path_State::File);
  Path.Earlier_Line = 2;
  const std::vector<Finding> List = Judge(Path);
  ASSERT_EQ(List.size(), 1u);
  EXPECT_EQ(List[0].Id, "image_repeated");
  EXPECT_EQ(List[0].Severity, Level::Warning);
  EXPECT_EQ(List[0].Example, "Line 4 names 'a.png', as line 2 does.");
}

TEST(ImagePathFindings, APathThatClimbsOutIsAnErrorWhereItLeadsToAFile) {
  Image_Path Path = With_State(Path_State::File);
  Path.Climbs_Out = true;
  ASSERT_EQ(Judge(Path).size(), 1u);
  EXPECT_EQ(Judge(Path)[0].Id, "image_path_climbs_out");
  EXPECT_EQ(Judge(Path)[0].Severity, Level::Error);
  Path.State = Path_State::Missing;
  ASSERT_EQ(Judge(Path).size(), 1u);
  EXPECT_EQ(Judge(Path)[0].Id, "image_missing");
}

}  // namespace
