// SPDX-License-Identifier: Apache-2.0
//
// bits_capture FOLDER [small]: writes the capture that run_bits calibrates to FOLDER, and its
// arguments to arguments.txt there.
//
// Wide enough for the search on a reduced copy; with noise, so that every digit of the result is in
// use; with a bad sample, a missing and a blank image, so that the lists shrink twice. "small" is
// the smallest capture that passes: 12 sharp images of 320 by 240 of a board of 5 by 4, for tools
// that slow a program down a hundredfold.
#include "simulate/simulate.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

simulate::Options Wide_Capture() {
  simulate::Options Options;
  Options.Seed = 5;
  Options.Image_Count = 18;
  Options.Width = 1440;
  Options.Height = 810;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  Options.Jump_Count = 1;
  Options.Missing_Count = 1;
  Options.Blank_Count = 1;
  Options.Estimate_Error_Deg = 0.2;
  Options.Estimate_Error_Mm = 2.0;
  Options.Paths = simulate::Path_Form::Name_Only;
  return Options;
}

simulate::Options Small_Capture() {
  simulate::Options Options;
  Options.Seed = 5;
  Options.Image_Count = 12;
  Options.Width = 320;
  Options.Height = 240;
  Options.Board_Cols = 5;
  Options.Board_Rows = 4;
  Options.Blur_Pixels = 0.3;
  Options.Paths = simulate::Path_Form::Name_Only;
  return Options;
}

void Write_Arguments(const simulate::Plan& Plan, const std::filesystem::path& Folder) {
  std::ofstream File(Folder / "arguments.txt");
  File << Plan.Settings.Board_Cols << ' ' << Plan.Settings.Board_Rows << ' '
       << Plan.Settings.Square_Size << '\n';
  for (const Eigen::Vector3d& Three : {Plan.Chart_Euler_Deg, Plan.Chart_Translation}) {
    File << Three.x() << ' ' << Three.y() << ' ' << Three.z() << '\n';
  }
  File.close();
  if (!File) throw std::runtime_error("arguments.txt can't be written");
}

}  // namespace

int main(int Count, char** Arguments) {
  const bool Small = Count == 3 && Arguments[2] == std::string("small");
  if (Count != 2 && !Small) {
    std::fputs("usage: bits_capture FOLDER [small]\n", stderr);
    return 2;
  }
  try {
    const simulate::Plan Plan = simulate::Make_Plan(Small ? Small_Capture() : Wide_Capture());
    simulate::Write_Capture(Plan, Arguments[1]);
    Write_Arguments(Plan, Arguments[1]);
    return 0;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "bits_capture: %s\n", Error.what());
    return 1;
  }
}
