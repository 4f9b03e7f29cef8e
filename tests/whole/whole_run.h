// SPDX-License-Identifier: Apache-2.0
//
// Calls Calibration for tests and collects its outputs and log lines.
#ifndef RIGSYNC_TESTS_WHOLE_WHOLE_RUN_H
#define RIGSYNC_TESTS_WHOLE_WHOLE_RUN_H

#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <Eigen/Core>

#include <filesystem>
#include <string>
#include <vector>

// The arguments of both overloads.
struct Run_Input {
  std::string Csv_Path;
  int Board_Cols = 0, Board_Rows = 0;
  double Square_Size = 0.0;
  std::vector<double> Chart_Euler_Deg, Chart_Translation;
  std::string Output_Dir;
  double Sensor_Width_mm = 0.0, Sensor_Height_mm = 0.0;  // second overload
};

struct Run_Output {
  int Code = -1;
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  std::vector<double> FoV, Focal_Length_mm;  // second overload
  std::vector<std::string> Log;              // messages on standard output, time text removed
};

// Each call captures the library's standard output in Log.
Run_Output Run_First_Overload(const Run_Input& Input);
Run_Output Run_Second_Overload(const Run_Input& Input);

// A small, quick, good capture: 14 photographs of 960 by 540 without tracker noise.
simulate::Options Small_Capture();

// Writes the capture and returns the arguments that calibrate it into Folder/output, which is
// created.
Run_Input Write_And_Describe(const simulate::Options& Options, const Scratch_Folder& Folder);
Run_Input Describe(const simulate::Plan& Plan, const Scratch_Folder& Folder);

// Checks every run log in a folder against a rule of the grammar on the page that describes run
// logs.
void Expect_Logs_Follow_Grammar(const std::string& Rule, const std::filesystem::path& Folder);

// A flat transform as a pose.
Eigen::Matrix4d As_Pose(const std::vector<double>& Flat);

double Millimetres_Apart(const Eigen::Matrix4d& Left, const Eigen::Matrix4d& Right);
double Degrees_Apart(const Eigen::Matrix4d& Left, const Eigen::Matrix4d& Right);

// The log's messages that begin with Start.
std::vector<std::string> Lines_Starting(const std::vector<std::string>& Log,
                                        const std::string& Start);

// Check which vectors are filled, depending on how far the run came.
void Expect_No_Vector_Filled(const Run_Output& Output);
void Expect_Lens_Filled_Alone(const Run_Output& Output);
void Expect_All_Filled(const Run_Output& Output);

#endif  // RIGSYNC_TESTS_WHOLE_WHOLE_RUN_H
