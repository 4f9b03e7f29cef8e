// SPDX-License-Identifier: Apache-2.0
//
// The tables at the end of a report: each row as somebody reads it who types the numbers into
// another program.
#include "rigsync/html_report/inputs_section.h"

#include "rigsync/html_report/page.h"
#include "tests/rigsync/html_report/page_parts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

using page_parts::All;
using page_parts::Text_Of;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::Pair;

Run_View With_Every_Number() {
  Run_View View;
  Calibration_Result& Result = View.Result;
  Calibration_Inputs& Inputs = Result.Inputs;
  Inputs.Csv = "/takes/a/capture.csv";
  Inputs.Image_Root = "/takes/a";
  Inputs.Board = {11, 8};
  Inputs.Square_Size = 0.0305;
  Inputs.Stated_Board = Board_Place{{12, -20.5, 8.1234}, {0.01, -0.2, 0.0304}};
  Inputs.Sensor_Size_Mm = {{36, 20.25}};
  Inputs.Limits = {2.5, 0.125};
  Inputs.Talent_Distance = 4.25;
  Result.Start_Time = "2022-11-17T09:05:33+0100";
  Result.Seconds = 12.345;
  Result.Code = 99;
  Result.Message = "The result is unsafe.";
  Result.Versions = {"1.2.3", "4.6.0", "3.4.0"};
  Result.Report.Version = "1.0";
  Result.Run_Folder = "/out/run";
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {1.0412347, 1.8512346};
  Result.Norm_Cxy = {0.5012347, 0.4987654};
  Result.Distortion = {-0.1, 0.02, 0, 0, 1.5};
  Result.FoV = {51.28246, 30.21236};
  Result.Focal_Length_mm = {37.48446};
  Result.Transform_Cam_Tc = {0, -1, 0, 0.06, 1, 0, 0, -0.14, 0, 0, 1, -0.08, 0, 0, 0, 1};
  Result.Report.First_Reprojection_Px = 2.3456;
  Result.Report.Reprojection_Px = 1.2346;
  Result.Report.Max_Spread_M = 0.0012346;
  Result.Report.Lens_Rms_Px = 0.1234;
  Result.Hashes = {"c0ffee", {"0a1b", ""}};
  Result.Images = {{2, "first.png"}, {3, "second.png"}};
  return View;
}

Page Page_Of(const Run_View& View) {
  Page Whole = Make_Page("Page");
  Add_Inputs_Section(Whole.Main, View);
  return Whole;
}

using Row = std::pair<std::string, std::string>;  // its heading, and the rest of it

// All rows below the caption.
std::vector<Row> Table(const Page& Whole, const std::string& Caption) {
  std::vector<Row> Rows;
  for (const Element& Each :
       All(Whole.Main, (".//table[caption=\"" + Caption + "\"]/tbody/tr").c_str())) {
    std::string Text;
    for (const Element& Cell : All(Each, "./td")) Text += (Text.empty() ? "" : " ") + Text_Of(Cell);
    Rows.emplace_back(Each.child("th").text().get(), Text);
  }
  return Rows;
}

TEST(InputsSection, WhatWasStatedIsToldAsItWasTyped) {
  Run_View View = With_Every_Number();
  EXPECT_THAT(
      Table(Page_Of(View), "What was stated"),
      ElementsAre(
          Row("capture", "/takes/a/capture.csv"), Row("images start at", "/takes/a"),
          Row("board", "11 x 8 inner corners"), Row("square", "30.5 mm"),
          Row("stated angles of the board", "12, -20.5, 8.123 degrees"),
          Row("stated offset of the board", "10, -200, 30.4 mm"), Row("sensor", "36 x 20.25 mm"),
          Row("limit of the position", "2.5 mm"), Row("limit of the rotation", "0.125 degrees"),
          Row("distance of the talent", "4.25 m"), Row("the result is", "the library's mount")));
  View.Result.Inputs.Stated_Board.reset();
  View.Result.Inputs.Sensor_Size_Mm.reset();
  View.Result.Inputs.Solution = Solution_Choice::Joint;
  const auto Less = Table(Page_Of(View), "What was stated");
  EXPECT_THAT(Less, Contains(Row("board on its tracker", "not stated: solved from the capture")));
  EXPECT_THAT(Less, Contains(Row("the result is", "the joint mount")));
  EXPECT_THAT(Less, Not(Contains(Pair("sensor", testing::_))));
}

TEST(InputsSection, TheRunIsToldWithItsCodeVersionsAndFolders) {
  Run_View View = With_Every_Number();
  EXPECT_THAT(
      Table(Page_Of(View), "The run"),
      ElementsAre(Row("begun", "2022-11-17T09:05:33+0100"), Row("the library worked", "12.3 s"),
                  Row("the library's code", "99. The result is unsafe."), Row("rigsync", "1.2.3"),
                  Row("rigsync_core", "1.0"), Row("OpenCV", "4.6.0"), Row("Eigen", "3.4.0"),
                  Row("folder of the run", "/out/run"), Row("run log", "none")));
  View.Result.Code.reset();
  View.Result.Versions = {};
  const auto Less = Table(Page_Of(View), "The run");
  EXPECT_THAT(Less, Not(Contains(Pair("the library's code", testing::_))));
  EXPECT_THAT(Less, Not(Contains(Pair("OpenCV", testing::_))));
}

TEST(InputsSection, TheLensIsToldAsEnginesTakeIt) {
  const std::string Caption = "The lens, as engines take it";
  Run_View View = With_Every_Number();
  EXPECT_THAT(Table(Page_Of(View), Caption),
              ElementsAre(Row("image size", "1920 x 1080 pixels"),
                          Row("focal length, of width and height", "1.041235, 1.851235"),
                          Row("principal point, of width and height", "0.501235, 0.498765"),
                          Row("distortion", "-0.100000, 0.020000, 0.000000, 0.000000, 1.500000"),
                          Row("field of view, across and down", "51.2825, 30.2124 degrees"),
                          Row("focal length", "37.4845 mm")));
  View.Result.FoV.clear();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 4u);
  View.Result.Norm_Fxy.clear();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 0u);
}

TEST(InputsSection, TheMountIsAMatrixOfFourRows) {
  const std::string Caption = "Transform_Cam_Tc: tracker to camera, the last column in metres";
  Run_View View = With_Every_Number();
  EXPECT_THAT(Table(Page_Of(View), Caption),
              ElementsAre(Row("x", "0.000000 -1.000000 0.000000 0.060000"),
                          Row("y", "1.000000 0.000000 0.000000 -0.140000"),
                          Row("z", "0.000000 0.000000 1.000000 -0.080000"),
                          Row("", "0.000000 0.000000 0.000000 1.000000")));
  View.Result.Transform_Cam_Tc.clear();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 0u);
}

TEST(InputsSection, OfTheFitWhatIsKnownIsTold) {
  const std::string Caption = "The library's fit";
  Run_View View = With_Every_Number();
  EXPECT_THAT(Table(Page_Of(View), Caption),
              ElementsAre(Row("error before outliers were removed", "2.346 pixels"),
                          Row("error of the result", "1.235 pixels"),
                          Row("largest spread of the mounts", "1.235 mm"),
                          Row("RMS error of the lens", "0.123 pixels")));
  View.Result.Report.Max_Spread_M.reset();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 3u);
  View.Result.Report.Lens_Rms_Px.reset();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 0u);
}

TEST(InputsSection, EveryHashStandsBesideItsFile) {
  const std::string Caption = "SHA-256 of each file";
  Run_View View = With_Every_Number();
  EXPECT_THAT(Table(Page_Of(View), Caption),
              ElementsAre(Row("capture.csv", "c0ffee"), Row("first.png", "0a1b"),
                          Row("second.png", "could not be read")));
  // A capture that came through a pipe has no hash itself.
  View.Result.Hashes.Csv.clear();
  EXPECT_THAT(Table(Page_Of(View), Caption), Contains(Row("capture.csv", "could not be read")));
  View.Result.Images.pop_back();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 2u);
  View.Result.Hashes.Images.clear();
  EXPECT_EQ(Table(Page_Of(View), Caption).size(), 0u);
}

// The paths are those of result.json, so that a program finds the numbers.
TEST(InputsSection, EachNumberHasItsPathInTheFileAndAllItsDigits) {
  const Page Whole = Page_Of(With_Every_Number());
  const std::pair<const char*, const char*> Marks[] = {{"inputs.board.1", "8"},
                                                       {"inputs.square_m", "0.0305"},
                                                       {"inputs.board_euler_deg.2", "8.1234"},
                                                       {"inputs.board_offset_m.2", "0.0304"},
                                                       {"inputs.sensor_mm.1", "20.25"},
                                                       {"inputs.limits.mm", "2.5"},
                                                       {"inputs.limits.deg", "0.125"},
                                                       {"inputs.talent_distance_m", "4.25"},
                                                       {"begun", "2022-11-17T09:05:33+0100"},
                                                       {"seconds", "12.345"},
                                                       {"code", "99"},
                                                       {"message", "The result is unsafe."},
                                                       {"versions.rigsync", "1.2.3"},
                                                       {"versions.rigsync_core", "1.0"},
                                                       {"versions.opencv", "4.6.0"},
                                                       {"versions.eigen", "3.4.0"},
                                                       {"lens.image_size.0", "1920"},
                                                       {"lens.norm_fxy.1", "1.8512346"},
                                                       {"lens.norm_cxy.0", "0.5012347"},
                                                       {"lens.distortion.4", "1.5"},
                                                       {"lens.fov_deg.0", "51.28246"},
                                                       {"lens.focal_length_mm", "37.48446"},
                                                       {"transform_cam_tc.7", "-0.14"},
                                                       {"quality.first_reprojection_px", "2.3456"},
                                                       {"quality.reprojection_px", "1.2346"},
                                                       {"quality.max_spread_m", "0.0012346"},
                                                       {"quality.lens_rms_px", "0.1234"}};
  for (const auto& [Key, Value] : Marks) {
    const auto Found = All(Whole.Main, (".//*[@data-key='" + std::string(Key) + "']").c_str());
    ASSERT_EQ(Found.size(), 1u) << Key;
    EXPECT_STREQ(Found[0].attribute("data-value").value(), Value) << Key;
  }
}

TEST(InputsSection, ANumberThatIsNotFiniteIsNone) {
  Run_View View = With_Every_Number();
  View.Result.Norm_Fxy[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(Table(Page_Of(View), "The lens, as engines take it"),
              Contains(Row("focal length, of width and height", "1.041235, none")));
}

}  // namespace
}  // namespace rigsync
