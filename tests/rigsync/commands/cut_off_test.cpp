// SPDX-License-Identifier: Apache-2.0
//
// Captures with boards that the frame cuts off, from the command line: the joint solve uses them,
// the library doesn't, and every document says so.
#include "rigsync/capture/board_markers.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Words = std::vector<std::string>;

constexpr std::size_t Whole = 12, Cut = 5;

class CutOff : public testing::Test {
 protected:
  static const Scratch_Folder& Folder() {
    static const Scratch_Folder Made;
    return Made;
  }

  // Rendered and solved once: the library searches long where it finds no board.
  static void SetUpTestSuite() {
    if (!rigsync::Can_Find_Markers()) return;
    const std::string Capture = (Folder().Path() / "capture").string();
    Simulated() = Rigsync({"simulate", Capture, "--images", "17", "--cut", "5", "--markers", "30",
                           "--size", "640x480", "--board", "7x4", "--position-noise", "0.2mm",
                           "--rotation-noise", "0.02", "--quiet"});
    Calibrated() = Rigsync({"calibrate", Capture + "/capture.csv", "--board", "7x4", "--square",
                            "30mm", "--out", (Folder().Path() / "out").string(), "--quiet"});
  }

  void SetUp() override {
    if (!rigsync::Can_Find_Markers()) GTEST_SKIP() << "built without OpenCV's ArUco module";
    ASSERT_EQ(Simulated().Status, 0) << Simulated().Error;
  }

  static Finished& Simulated() {
    static Finished Run;
    return Run;
  }

  static Finished& Calibrated() {
    static Finished Run;
    return Run;
  }

  static nlohmann::json Result() { return Read_Json(Folder().Path() / "out" / "result.json"); }
};

TEST_F(CutOff, BoardsHaveAPartInTheJointSolveAlone) {
  const nlohmann::json Joint = Result()["joint"];
  std::size_t Rows = 0, Kept = 0;
  for (const nlohmann::json& Row : Joint["rows"]) {
    if (!Row.contains("cut_off")) continue;
    ++Rows;
    Kept += Row["kept"].get<bool>() ? 1 : 0;
  }
  // Markers of the farthest boards are too small, and strips have no pose.
  EXPECT_GE(Rows, 2U);
  EXPECT_LE(Rows, Cut);
  EXPECT_GE(Kept, 2U);
  EXPECT_EQ(Joint["cut_off_boards"], Kept);
  EXPECT_EQ(Joint["rows"].size(), Whole + Rows);
  EXPECT_THAT(Calibrated().Output,
              AllOf(HasSubstr("17 searched, 12 show the board"),
                    HasSubstr("The joint mount also uses " + std::to_string(Kept) + " images")));
}

TEST_F(CutOff, TheJointMountIsWithinItsStatedUncertainty) {
  const Finished Compared = Rigsync({"compare", (Folder().Path() / "out" / "result.json").string(),
                                     (Folder().Path() / "capture" / "truth.json").string()});
  EXPECT_EQ(Compared.Status, 0) << Compared.Output;
  EXPECT_THAT(Compared.Output, HasSubstr("within its 95 % uncertainty"));
}

TEST_F(CutOff, InspectNamesTheLines) {
  const Finished Inspected =
      Rigsync({"inspect", (Folder().Path() / "capture" / "capture.csv").string(), "--board", "7x4",
               "--square", "30mm", "--json"});
  const nlohmann::json Report = nlohmann::json::parse(Inspected.Output);
  std::vector<std::size_t> Lines;
  for (const nlohmann::json& Row : Report["rows"]) {
    if (Row["state"] == "board_cut_off") Lines.push_back(Row["line"]);
  }
  EXPECT_GE(Lines.size(), 2U);
  const auto Found =
      std::find_if(Report["findings"].begin(), Report["findings"].end(),
                   [](const nlohmann::json& One) { return One["id"] == "board_cut_off"; });
  ASSERT_NE(Found, Report["findings"].end());
  EXPECT_EQ((*Found)["level"], "note");
  EXPECT_EQ((*Found)["lines"], Lines);
}

// The page of the run and the one that is made from result.json alone have the same corners.
TEST_F(CutOff, ThePageShowsTheCornersThatWereSeenAndAPageMadeAnewDoesToo) {
  const std::string Page = (Folder().Path() / "again.html").string();
  const Finished Reported =
      Rigsync({"report", (Folder().Path() / "out" / "result.json").string(), "-o", Page});
  ASSERT_EQ(Reported.Status, 0) << Reported.Error;
  const std::string Of_Run = Read_Text((Folder().Path() / "out" / "report.html").string());
  const std::string Again = Read_Text(Page);
  for (const std::string& Text : {Of_Run, Again}) {
    EXPECT_THAT(Text,
                AllOf(HasSubstr("joint.cut_off_boards"),
                      HasSubstr("that the library leaves out, because the board is cut off")));
  }
  const nlohmann::json Rows = Result()["joint"]["rows"];
  for (const nlohmann::json& Row : Rows) {
    if (!Row.contains("cut_off")) continue;
    const std::string Label = Row["image"].get<std::string>() + ". ";
    for (const std::string& Text : {Of_Run, Again}) {
      const std::size_t At = Text.find("aria-label=\"" + Label);
      ASSERT_NE(At, std::string::npos) << Label;
      const std::string Rest = Text.substr(At, Label.size() + 40);
      EXPECT_THAT(Rest, AllOf(HasSubstr("corners found"), Not(HasSubstr(" 0 corners found"))));
    }
  }
}

}  // namespace
