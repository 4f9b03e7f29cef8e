// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/inspect_report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(CoverageMap, MarksOneTwoToThreeAndMoreImages) {
  rigsync::Coverage Frame_Coverage{16, 9, std::vector<int>(16 * 9, 0)};
  for (int Col = 0; Col < 4; ++Col) Frame_Coverage.Images[static_cast<std::size_t>(Col)] = Col + 1;
  const std::vector<std::string> Lines = rigsync::Map_Lines(Frame_Coverage);
  ASSERT_EQ(Lines.size(), 11u);
  EXPECT_EQ(Lines[0], "+" + std::string(32, '-') + "+");
  EXPECT_EQ(Lines[1], "|..oooo##" + std::string(24, ' ') + "|");
  EXPECT_EQ(Lines[2], "|" + std::string(32, ' ') + "|");
  EXPECT_EQ(Lines[10], Lines[0]);
}

// Five lines of which three show the board, one of them cut off; two lines of the map.
rigsync::Inspection Inspected() {
  rigsync::Inspection Result;
  Result.Inputs.Csv = "capture.csv";
  Result.File.Line_Count = 6;
  Result.File.Header_Count = 1;
  Result.File.Rows.resize(5);
  Result.Search.emplace();
  Result.Search->Width = 640;
  Result.Search->Height = 480;
  using State = rigsync::Image_State;
  for (const State Seen : {State::Board_Found, State::Board_Found, State::Board_Cut_Off,
                           State::No_Board, State::Missing}) {
    Result.Search->Images.push_back({Seen, 640, 480, {}});
  }
  Result.Frame_Coverage = {2, 1, {1, 0}};
  Result.Lens.emplace();
  Result.Lens->Rms = 0.25;
  Result.Board_Poses = {0.6, 1.25, 3.0, 41.0, 20.0, 15.0};
  Result.Rotations = {5, 50.0, 40.0, 60.0, 33.0};
  Result.Tracker_Agreement.emplace();
  Result.Tracker_Agreement->Median_Rotation_Residual_Deg = 1.25;
  Result.Tracker_Agreement->Median_Position_Residual = 0.0125;
  return Result;
}

const char* const Head_And_Map =
    "capture.csv\n"
    "  lines             6: 1 header, 5 data lines\n"
    "  image size        640 x 480 pixels\n"
    "  boards            found in 2 of 5 data lines, cut off in 1\n"
    "\n"
    "Where corners were found: 50 percent of the frame\n"
    "  +----+\n"
    "  |..  |\n"
    "  +----+\n"
    "  blank: no corners, . in one image, o in two or three, # in more\n"
    "\n"
    "Approximate spread of the capture\n"
    "  lens              fits the boards to 0.25 pixels RMS\n"
    "  board tilt        3 to 41 degrees\n"
    "  board distance    0.60 to 1.25 m\n"
    "  camera tracker    rotates by up to 50 degrees\n"
    "  board tracker     rotates by up to 40 degrees\n"
    "  camera to board   rotates by up to 60 degrees, axes spread by 33 degrees\n";

TEST(InspectionText, TellsFileSpreadAndFindingsAndThatTheCaptureIsUnusable) {
  rigsync::Inspection Result = Inspected();
  using rigsync::Level;
  Result.All_Findings.Add({"a", Level::Warning, "It is doubtful.", "As here.", "Look.", {}});
  Result.All_Findings.Add({"b", Level::Error, "It is wrong.", "", "Mend it.", {4}});
  EXPECT_EQ(Inspection_Text(Result, false),
            std::string(Head_And_Map) +
                "  against images    rotations differ by 1.25 degrees, positions by 12.5 mm\n"
                "\n"
                "Findings\n"
                "  error, line 4\n"
                "    It is wrong.\n"
                "    What to do: Mend it.\n"
                "  warning, whole capture\n"
                "    It is doubtful. As here.\n"
                "    What to do: Look.\n"
                "\n"
                "Unusable: 1 error and 1 warning; correct the errors before calibrating.\n");
}

TEST(InspectionText, TellsTheSolvedMountsWhereTheyAreSound) {
  rigsync::Inspection Result = Inspected();
  Result.Are_Samples_Readable = true;
  Result.Solution.emplace();
  Result.Solution->Seen.Corner_Variance = 0.04;
  rigsync::Joint_Solution& Joint = Result.Solution->Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Transform_Cam_Tc =
      Eigen::Translation3d(0.0604, -0.14, -0.08) * Eigen::Isometry3d::Identity();
  Joint.At.Transform_Tr_Chart =
      Eigen::Translation3d(-0.17, 0.05, 0.0412) * Eigen::Isometry3d::Identity();
  Joint.Camera_Mount.Half_Width_Mm = {0.5, 2.5, 1500.0};
  Joint.Camera_Mount.Widest_Deg.Half_Width = 0.25;
  Joint.Board_Mount.Widest_Deg.Half_Width = 0.75;
  Joint.Board_Mount.Widest_Mm.Half_Width = 3.5;
  Joint.Noise = {1.5, 0.5 / 57.29577951308232, 0.0004};
  Joint.Rows.resize(3);
  Joint.Rows[0].Is_Kept = Joint.Rows[2].Is_Kept = true;
  EXPECT_EQ(Inspection_Text(Result, false),
            std::string(Head_And_Map) +
                "\n"
                "Solved from images and samples (+- at 95 percent)\n"
                "  camera tracker    60.4 mm right, -140.0 mm down, -80.0 mm ahead of the lens,\n"
                "                    +- 0.50, 2.5 and more than 1000 mm; rotation +- 0.25 degrees\n"
                "  board's angles    0.00,0.00,0.00 degrees, +- 0.75\n"
                "  board's offset    -170.0,50.0,41.2 mm, +- 3.5\n"
                "  tracker noise     0.40 mm (both together), 0.50 degrees (each); corners 0.30\n"
                "                    pixels\n"
                "  lines that agree  2 of 3\n"
                "\n"
                "Clean: the capture is ready to be calibrated.\n");
}

TEST(InspectionText, SaysWhatAWarningAndAFileAloneAsk) {
  rigsync::Inspection Result;
  Result.Inputs.Csv = "capture.csv";
  Result.File.Line_Count = 2;
  Result.File.Rows.resize(1);
  const std::string Head =
      "capture.csv\n"
      "  lines             2: 0 headers, 1 data line\n"
      "  boards            not searched for: no image was opened\n";
  EXPECT_EQ(Inspection_Text(Result, false),
            Head + "\nClean: nothing is wrong with the file. The images were not checked.\n");
  Result.All_Findings.Add({"a", rigsync::Level::Warning, "It is doubtful.", "", "Look.", {2, 3}});
  Result.All_Findings.Add({"b", rigsync::Level::Note, "It is odd.", "", "Leave it.", {7}});
  EXPECT_EQ(Inspection_Text(Result, false),
            Head +
                "\n"
                "Findings\n"
                "  warning, lines 2-3\n"
                "    It is doubtful.\n"
                "    What to do: Look.\n"
                "  note, line 7\n"
                "    It is odd.\n"
                "    What to do: Leave it.\n"
                "\n"
                "1 warning: check the findings before you calibrate.\n");
}

}  // namespace
