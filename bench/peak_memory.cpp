// SPDX-License-Identifier: Apache-2.0
//
// Peak memory of one Calibration of 20 and of 120 images, each in its own process. Images are
// decoded one at a time, so the peak may grow by the lists and the matrices of the lens solve, but
// not by images. The long capture lists the photographs of the short one six times.
#include "bench/calibration_run.h"
#include "simulate/simulate.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int Short_Count = 20;
constexpr int Repeats = 6;
constexpr int Width = 1920, Height = 1080;

// Peak resident memory of one calibration, MiB.
double Peak_Of_Calibration(const std::filesystem::path& Csv, const simulate::Plan& Plan,
                           const std::filesystem::path& Output) {
  const simulate::Options& Settings = Plan.Settings;
  const Calibration_Run Run =
      Run_In_Child({Csv, Settings.Board_Cols, Settings.Board_Rows, Settings.Square_Size,
                    Plan.Chart_Euler_Deg, Plan.Chart_Translation, Output});
  if (Run.Code != 0) throw std::runtime_error("the calibration didn't return 0");
  return Run.Peak_MiB;
}

// Photographs are also drawn in a child, so that they do not count in the measured peak.
void Draw_Capture(const simulate::Plan& Plan, const std::filesystem::path& Folder) {
  const pid_t Child = fork();
  if (Child == 0) {
    simulate::Write_Capture(Plan, Folder);
    _exit(0);
  }
  int Status = 0;
  if (Child < 0 || waitpid(Child, &Status, 0) != Child || Status != 0) {
    throw std::runtime_error("the capture wasn't drawn");
  }
}

void Repeat_Rows(const std::filesystem::path& Csv, const std::filesystem::path& Longer) {
  std::ifstream In(Csv);
  std::vector<std::string> Lines;
  for (std::string Line; std::getline(In, Line);) Lines.push_back(Line);
  std::ofstream Out(Longer);
  for (int Repeat = 0; Repeat < Repeats; ++Repeat) {
    for (const std::string& Line : Lines) Out << Line << '\n';
  }
}

// Whether the long capture's peak stays within the limit for lists and matrices.
bool Compare_Peaks() {
  const std::filesystem::path Root =
      std::filesystem::temp_directory_path() / ("rigsync_memory_" + std::to_string(getpid()));
  simulate::Options Options;
  Options.Width = Width;
  Options.Height = Height;
  Options.Image_Count = Short_Count;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  Draw_Capture(Plan, Root);
  std::filesystem::create_directory(Root / "output");
  Repeat_Rows(Root / "capture.csv", Root / "longer.csv");

  const double Short_Peak = Peak_Of_Calibration(Root / "capture.csv", Plan, Root / "output");
  const double Long_Peak = Peak_Of_Calibration(Root / "longer.csv", Plan, Root / "output");
  std::filesystem::remove_all(Root);

  // The lists are small (88 corners and three poses an image); the lens solve of 120 images keeps a
  // few square matrices of 6 * 120 + 9 rows, 4 MiB each.
  const double Image_MiB = 3.0 * Width * Height / (1024.0 * 1024.0);
  const double Matrix_MiB = 8.0 * 729.0 * 729.0 / (1024.0 * 1024.0);
  const double Limit_MiB = 8.0 * Matrix_MiB;
  std::printf("Peak memory, %dx%d (one image is %.1f MiB):\n", Width, Height, Image_MiB);
  std::printf("  %3d images  %7.1f MiB\n", Short_Count, Short_Peak);
  std::printf("  %3d images  %7.1f MiB\n", Short_Count * Repeats, Long_Peak);
  std::printf("  growth      %7.1f MiB (limit %.1f; 100 more images held would be %.0f)\n",
              Long_Peak - Short_Peak, Limit_MiB, 100.0 * Image_MiB);
  return Long_Peak - Short_Peak <= Limit_MiB;
}

}  // namespace

int main() {
  try {
    return Compare_Peaks() ? 0 : 1;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "peak_memory: %s\n", Error.what());
    return 1;
  }
}
