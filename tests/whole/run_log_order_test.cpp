// SPDX-License-Identifier: Apache-2.0
//
// The whole run log of a calibration, line for line and in order. Texts that depend on measured
// numbers are rebuilt from what the host received or held to their form; every other line is
// compared to the letter.
#include "tests/support/run_log_reader.h"
#include "tests/support/synthetic_rig.h"
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace {

// Reads a log from the front, one expectation after the other.
class Log_Walk {
 public:
  explicit Log_Walk(std::vector<std::string> Log) : Lines(std::move(Log)) {}

  void Exactly(const std::string& Text) { EXPECT_EQ(Next(), Text) << "line " << Position; }
  // Matches text that contains numbers in "%f" form: each # in the pattern is a number, and each @
  // a number that may be NaN.
  std::string Form(const std::string& Pattern) {
    std::string Expression;
    for (const char Letter : Pattern) {
      if (Letter == '#') {
        Expression += "-?[0-9]+\\.[0-9]{6}";
      } else if (Letter == '@') {
        Expression += "(-?[0-9]+\\.[0-9]{6}|-?nan)";
      } else {
        if (std::string("\\^$.|?*+()[]{}").find(Letter) != std::string::npos) Expression += '\\';
        Expression += Letter;
      }
    }
    const std::string Line = Next();
    EXPECT_TRUE(std::regex_match(Line, std::regex(Expression)))
        << "line " << Position << ": " << Line << " against " << Pattern;
    return Line;
  }
  void Matrix(const std::string& Label) {
    Exactly(Label + " : ");
    Form("[[#, #, #, #],");
    Form(" [#, #, #, #],");
    Form(" [#, #, #, #],");
    Exactly(" [0.000000, 0.000000, 0.000000, 1.000000]]");
  }
  void End() { EXPECT_EQ(Position, Lines.size()); }

 private:
  std::string Next() {
    return Position < Lines.size() ? Lines[Position++] : std::string("(end of log)");
  }
  std::vector<std::string> Lines;
  std::size_t Position = 0;
};

std::string Text(double Value) {
  return std::to_string(Value);
}

TEST(RunLogOrder, HoldsEveryLineOfASuccessfulRunInItsPlace) {
  const Scratch_Folder Folder;
  simulate::Options Options = Small_Capture();
  Options.Image_Count = 16;
  Options.Missing_Count = 1;
  Options.Blank_Count = 1;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  simulate::Write_Capture(Plan, Folder.Path());
  const Run_Input Input = Describe(Plan, Folder);
  const Run_Output Output = Run_Second_Overload(Input);
  ASSERT_EQ(Output.Code, 0);

  Log_Walk Log(Output.Log);
  Log.Exactly("Version : v0.0.9");
  Log.Exactly("Camera Tracker Calibration start.");
  Log.Exactly("CALIBRATION BOARD INDEX START");
  for (int r = 0; r < Options.Board_Rows; ++r) {
    for (int c = 0; c < Options.Board_Cols; ++c) {
      Log.Exactly(Text(c * Options.Square_Size) + " " + Text(r * Options.Square_Size) + " 0");
    }
  }
  Log.Exactly("CALIBRATION BOARD INDEX END");
  Log.Exactly("Start to read the csv file.");
  Log.Exactly("Read the csv file successfully.");

  // Paths and rows of the CSV, read here independently of the library.
  std::vector<std::string> Paths;
  std::vector<std::string> Rows;
  std::istringstream Csv(Read_Text(Input.Csv_Path));
  for (std::string Line; std::getline(Csv, Line);) {
    if (Line[0] == 'T') continue;
    std::istringstream Cut(Line);
    std::string Field, Row;
    for (int i = 0; std::getline(Cut, Field, ','); ++i) {
      if (i == 1) {
        Paths.push_back(Field);
      } else {
        Row += (Row.empty() ? "" : " ") + Text(std::stod(Field));
      }
    }
    Rows.push_back(Row);
  }
  ASSERT_EQ(Paths.size(), 16u);

  Log.Exactly("Start to Detect Corner.");
  std::vector<std::size_t> Usable;
  for (std::size_t i = 0; i < Paths.size(); ++i) {
    Log.Exactly("Process : " + Paths[i]);
    const simulate::Row_Kind Kind = Plan.Images[i].Kind;
    if (Kind == simulate::Row_Kind::Missing_Image) {
      Log.Exactly(Paths[i] + " Not exist!");
    } else if (Kind == simulate::Row_Kind::Blank_Image) {
      Log.Exactly("Read " + Paths[i] + " Failed!");
    } else {
      Usable.push_back(i);
    }
  }
  ASSERT_EQ(Usable.size(), 14u);
  Log.Exactly("Corner detection successful.");
  Log.Exactly("RAW DATA START");
  for (const std::size_t i : Usable) {
    Log.Exactly(Paths[i]);
    Log.Exactly(Rows[i]);
    const auto True_Corners = simulate::Project_Board(Plan, Plan.Images[i]);
    std::vector<Eigen::Vector2d> Logged;
    for (std::size_t j = 0; j < True_Corners.size(); ++j) {
      std::istringstream Numbers(Log.Form("# #"));
      Eigen::Vector2d Corner;
      Numbers >> Corner.x() >> Corner.y();
      Logged.push_back(Corner);
    }
    // Half a pixel: a corner taken for its neighbour, or scaled wrongly, is tens of pixels off.
    for (std::size_t j = 0; j < Logged.size(); ++j) {
      EXPECT_LE((Logged[j] - True_Corners[j]).norm(), 0.5) << Paths[i] << " corner " << j;
    }
  }
  Log.Exactly("RAW DATA END");

  const double Width = Output.Image_Size[0], Height = Output.Image_Size[1];
  Log.Exactly("Camera calibration start.");
  Log.Exactly("Fx : " + Text(Output.Norm_Fxy[0] * Width) + " pixel.");
  Log.Exactly("Fy : " + Text(Output.Norm_Fxy[1] * Height) + " pixel.");
  Log.Exactly("Cx : " + Text(Output.Norm_Cxy[0] * Width) + " pixel.");
  Log.Exactly("Cy : " + Text(Output.Norm_Cxy[1] * Height) + " pixel.");
  Log.Form("reprojection error : #");
  Log.Exactly("Camera calibration successful.");
  Log.Exactly("Image Width : 960 pixel.");
  Log.Exactly("Image Height : 540 pixel.");
  Log.Exactly("Norm F : (" + Text(Output.Norm_Fxy[0]) + ", " + Text(Output.Norm_Fxy[1]) + ").");
  Log.Exactly("Norm C : (" + Text(Output.Norm_Cxy[0]) + ", " + Text(Output.Norm_Cxy[1]) + ").");
  Log.Exactly("Distortion (k1, k2, p1, p2, k3) : " + Text(Output.Distortion[0]) + ", " +
              Text(Output.Distortion[1]) + ", 0.000000, 0.000000, 0.000000");
  Log.Exactly("FoV_H : " + Text(Output.FoV[0]) + " degree.");
  Log.Exactly("FoV_V : " + Text(Output.FoV[1]) + " degree.");
  Log.Exactly("Focal length (mm) : " + Text(Output.Focal_Length_mm[0]) + " mm.");

  Log.Exactly("Start OrganizeRT.");
  Log.Exactly("Transform_Chart_Tr successful.");
  Log.Exactly("Finish OrganizeRT.");
  Log.Exactly("Start Calculate_Transform_Cam_Tc in first time.");
  Log.Matrix("Mean_Transform_Cam_Tc");
  Log.Exactly("Finish Calculate_Transform_Cam_Tc.");
  for (std::size_t i = 0; i < Usable.size(); ++i) {
    Log.Form("Image " + std::to_string(i) + " reprojection error : # pixels.");
  }
  Log.Form("Average reprojection error : # pixels.");

  for (std::size_t i = 0; i < Usable.size(); ++i) {
    Log.Form("Diff R in image " + std::to_string(i) + " : @ degree.");
  }
  Log.Form("STD_R : @ degree.");
  Log.Form("STD_T : #, #, # meter.");
  const auto Removed = Lines_Starting(Output.Log, "Remove index : ");
  Log.Exactly("Remove outlier data number : " + std::to_string(Removed.size()));
  Log.Exactly("Size list : (init) 14");
  for (const std::string& Line : Removed) {
    Log.Exactly(Line);
    Log.Exactly("Remove name : " + Paths[Usable[std::stoul(Line.substr(15))]]);
  }
  ASSERT_GE(Removed.size(), 2u) << "a capture in which nothing is removed proves too little";
  for (std::size_t k = 1; k < Removed.size(); ++k) {
    EXPECT_GT(std::stoul(Removed[k - 1].substr(15)), std::stoul(Removed[k].substr(15)));
  }
  const std::size_t Left = 14 - Removed.size();
  Log.Exactly("Size list : (init) " + std::to_string(Left));

  Log.Matrix("Mean_Transform_Chart_Tr");
  Log.Exactly("Mean_Transform_Cam_Tc : ");
  for (const std::string& Row : Matrix_Rows(As_Pose(Output.Transform_Cam_Tc))) Log.Exactly(Row);
  for (std::size_t i = 0; i < Left; ++i) {
    Log.Form("Image " + std::to_string(i) + " reprojection error : # pixels.");
  }
  Log.Form("Average reprojection error : # pixels.");
  Log.Form("Norm Reprojection error : #");
  Log.Form("T_STD : #, #, # meter.");
  Log.Form("Max T_STD : # meter.");
  Log.Exactly("Camera and Tracker Calibration successful.");
  Log.End();
}

}  // namespace
