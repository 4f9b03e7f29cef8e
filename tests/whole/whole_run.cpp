// SPDX-License-Identifier: Apache-2.0
#include "tests/whole/whole_run.h"

#include "rigsync_core.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/synthetic_rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

std::vector<double> As_Vector(const Eigen::Vector3d& Three) {
  return {Three.x(), Three.y(), Three.z()};
}

void Expect_Lens_Filled(const Run_Output& Output) {
  EXPECT_EQ(Output.Image_Size.size(), 2u);
  EXPECT_EQ(Output.Norm_Fxy.size(), 2u);
  EXPECT_EQ(Output.Norm_Cxy.size(), 2u);
  EXPECT_EQ(Output.Distortion.size(), 5u);
}

}  // namespace

Run_Output Run_First_Overload(const Run_Input& Input) {
  Run_Output Output;
  const Quiet_Output Quiet;
  Output.Code = Calibration(Input.Csv_Path, Input.Board_Cols, Input.Board_Rows, Input.Square_Size,
                            Input.Chart_Euler_Deg, Input.Chart_Translation, Output.Image_Size,
                            Output.Norm_Fxy, Output.Norm_Cxy, Output.Distortion,
                            Output.Transform_Cam_Tc, Input.Output_Dir);
  Output.Log = Messages(Quiet.Captured());
  return Output;
}

Run_Output Run_Second_Overload(const Run_Input& Input) {
  Run_Output Output;
  const Quiet_Output Quiet;
  Output.Code = Calibration(
      Input.Csv_Path, Input.Sensor_Width_mm, Input.Sensor_Height_mm, Input.Board_Cols,
      Input.Board_Rows, Input.Square_Size, Input.Chart_Euler_Deg, Input.Chart_Translation,
      Output.Image_Size, Output.Norm_Fxy, Output.Norm_Cxy, Output.Distortion,
      Output.Transform_Cam_Tc, Output.FoV, Output.Focal_Length_mm, Input.Output_Dir);
  Output.Log = Messages(Quiet.Captured());
  return Output;
}

simulate::Options Small_Capture() {
  simulate::Options Options;
  Options.Image_Count = 14;
  Options.Width = 960;
  Options.Height = 540;
  Options.Paths = simulate::Path_Form::Backslash;
  return Options;
}

Run_Input Describe(const simulate::Plan& Plan, const Scratch_Folder& Folder) {
  Run_Input Input;
  Input.Csv_Path = (Folder.Path() / "capture.csv").string();
  Input.Board_Cols = Plan.Settings.Board_Cols;
  Input.Board_Rows = Plan.Settings.Board_Rows;
  Input.Square_Size = Plan.Settings.Square_Size;
  Input.Chart_Euler_Deg = As_Vector(Plan.Chart_Euler_Deg);
  Input.Chart_Translation = As_Vector(Plan.Chart_Translation);
  Input.Output_Dir = (Folder.Path() / "output").string();
  Input.Sensor_Width_mm = 23.76;
  Input.Sensor_Height_mm = 13.365;
  std::filesystem::create_directories(Input.Output_Dir);
  return Input;
}

Run_Input Write_And_Describe(const simulate::Options& Options, const Scratch_Folder& Folder) {
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  simulate::Write_Capture(Plan, Folder.Path());
  return Describe(Plan, Folder);
}

void Expect_Logs_Follow_Grammar(const std::string& Rule, const std::filesystem::path& Folder) {
  const std::vector<std::filesystem::path> Logs = Run_Logs(Folder);
  EXPECT_FALSE(Logs.empty());
  const std::string Top = RIGSYNC_SOURCE_DIR;
  std::string Command =
      "python3 '" + Top + "/tests/whole/check_run_log.py' '" + Top + "/docs/run-log.md' " + Rule;
  for (const auto& Log : Logs) Command += " '" + Log.string() + "'";
  EXPECT_EQ(std::system(Command.c_str()), 0);
}

Eigen::Matrix4d As_Pose(const std::vector<double>& Flat) {
  if (Flat.size() != 16) throw std::runtime_error("a flat transform has 16 elements");
  Eigen::Matrix4d Pose;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Pose(r, c) = Flat[static_cast<std::size_t>(4 * r + c)];
  }
  return Pose;
}

double Millimetres_Apart(const Eigen::Matrix4d& Left, const Eigen::Matrix4d& Right) {
  return 1000.0 * (Left - Right).topRightCorner<3, 1>().norm();
}

double Degrees_Apart(const Eigen::Matrix4d& Left, const Eigen::Matrix4d& Right) {
  // Chord of the rotation between them: exact for small angles, where an arc cosine is not.
  const Eigen::Matrix3d Difference = (Left - Right).topLeftCorner<3, 3>();
  const double Half_Sine = std::min(1.0, Difference.norm() / (2.0 * std::sqrt(2.0)));
  return 2.0 * std::asin(Half_Sine) * 180.0 / Pi;
}

std::vector<std::string> Lines_Starting(const std::vector<std::string>& Log,
                                        const std::string& Start) {
  std::vector<std::string> Found;
  std::copy_if(Log.begin(), Log.end(), std::back_inserter(Found),
               [&Start](const std::string& Line) { return Line.rfind(Start, 0) == 0; });
  return Found;
}

void Expect_No_Vector_Filled(const Run_Output& Output) {
  EXPECT_TRUE(Output.Image_Size.empty());
  EXPECT_TRUE(Output.Norm_Fxy.empty());
  EXPECT_TRUE(Output.Norm_Cxy.empty());
  EXPECT_TRUE(Output.Distortion.empty());
  EXPECT_TRUE(Output.Transform_Cam_Tc.empty());
  EXPECT_TRUE(Output.FoV.empty());
  EXPECT_TRUE(Output.Focal_Length_mm.empty());
}

void Expect_Lens_Filled_Alone(const Run_Output& Output) {
  Expect_Lens_Filled(Output);
  EXPECT_TRUE(Output.Transform_Cam_Tc.empty());
}

void Expect_All_Filled(const Run_Output& Output) {
  Expect_Lens_Filled(Output);
  ASSERT_EQ(Output.Transform_Cam_Tc.size(), 16u);
  // Row 3 is always that of the identity.
  const std::vector<double> Row(Output.Transform_Cam_Tc.begin() + 12,
                                Output.Transform_Cam_Tc.end());
  EXPECT_EQ(Row, (std::vector<double>{0.0, 0.0, 0.0, 1.0}));
}
