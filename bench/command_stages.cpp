// SPDX-License-Identifier: Apache-2.0
//
// command_stages CSV TRUTH OUTPUT: does what 'rigsync calibrate' does with a simulated capture, by
// the same functions in the same order, and prints the seconds of each stage, one "name value" per
// line. Start and arguments of the process, its checks of folders and disk space, findings and the
// printed report are not among them.
//
// Image paths in CSV are relative to its folder. OUTPUT is an existing, empty folder. Exit status 1
// when no lens or mount is solved or the library's result is not usable.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/library_inputs.h"
#include "rigsync/calibrate/library_run.h"
#include "rigsync/calibrate/reprojection_folders.h"
#include "rigsync/calibrate/result_judgement.h"
#include "rigsync/capture/board_search.h"
#include "rigsync/capture/image_paths.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/solve/capture_solution.h"
#include "simulate/simulate.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Prints the time since the last print.
class Stages {
 public:
  void Print(const char* Name) {
    const auto Now = std::chrono::steady_clock::now();
    std::printf("%s_s %.6f\n", Name, std::chrono::duration<double>(Now - Before).count());
    Before = std::chrono::steady_clock::now();
  }

 private:
  std::chrono::steady_clock::time_point Before = std::chrono::steady_clock::now();
};

rigsync::Calibration_Inputs Inputs_Of(const fs::path& Csv, const simulate::Truth& Truth) {
  const Eigen::Vector3d &Angles = Truth.Chart_Euler_Deg, &Offset = Truth.Chart_Translation;
  rigsync::Calibration_Inputs Inputs;
  Inputs.Csv = Csv;
  Inputs.Image_Root = Csv.parent_path();
  Inputs.Board = {Truth.Board_Cols, Truth.Board_Rows};
  Inputs.Square_Size = Truth.Square_Size;
  Inputs.Stated_Board = rigsync::Board_Place{{Angles.x(), Angles.y(), Angles.z()},
                                             {Offset.x(), Offset.y(), Offset.z()}};
  Inputs.Keeps_Body_Axes = true;  // simulated mounts need no others
  return Inputs;
}

// The capture's own solve. It reads the file and the images, and solves lens and mounts.
rigsync::Capture_Solution Solve(const rigsync::Calibration_Inputs& Inputs, Stages& Timer) {
  const std::vector<rigsync::Capture_Row> Rows = rigsync::Read_Capture_File(Inputs.Csv).Rows;
  std::vector<bool> Readable;
  for (const rigsync::Image_Path& Path : rigsync::Find_Image_Paths(Rows, Inputs.Image_Root)) {
    Readable.push_back(Path.State == rigsync::Path_State::File);
  }
  Timer.Print("reading");
  const rigsync::Board_Search Search =
      rigsync::Search_Boards(Rows, Readable, Inputs.Image_Root, Inputs.Board, {});
  Timer.Print("search");
  const auto Lens = rigsync::Fit_Lens(Search, Inputs.Board, Inputs.Square_Size);
  if (!Lens) throw std::runtime_error("there is no lens");
  Timer.Print("lens");
  rigsync::Capture_Solution Solution = rigsync::Solve_Capture(
      rigsync::Facts_Of(Rows, Search), Inputs.Board, Inputs.Square_Size, Lens->Lens_Px,
      rigsync::Stated_Place{*Inputs.Stated_Board, Inputs.Board_Accuracy});
  Timer.Print("joint");
  return Solution;
}

void Measure(const fs::path& Csv, const simulate::Truth& Truth, const fs::path& Output) {
  rigsync::Calibration_Result Result;
  Result.Inputs = Inputs_Of(Csv, Truth);
  Result.Run_Folder = Output;
  Result.Library_Csv = Csv;
  Stages Timer;
  Result.Solved = Solve(Result.Inputs, Timer);
  Result.Images = rigsync::Read_Image_Names(Csv);
  rigsync::Make_Reprojection_Folders(Output, Result.Images, Result.Inputs.Image_Root);
  rigsync::Choose_Library_Inputs(Result);
  Timer.Print("preparing");
  rigsync::Run_Library(Result, /*Is_Verbose=*/false, rigsync::Progress_Kind::None);
  if (Result.Code != 0 && Result.Code != 99) {
    throw std::runtime_error("the calibration is not usable");
  }
  Timer.Print("library");
  rigsync::Judge_Result({}, Result);
  if (!Result.Opinion || Result.Joint_Transform_Cam_Tc.empty()) {
    throw std::runtime_error("the mounts are not solved");
  }
  Timer.Print("judging");
  rigsync::Write_Result(Output, Result);
  Timer.Print("writing");
  std::printf("images %zu\n", Result.Images.size());
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  if (Argument_Count != 4) {
    std::fprintf(stderr, "usage: command_stages CSV TRUTH OUTPUT\n");
    return 2;
  }
  try {
    Measure(fs::absolute(Arguments[1]), simulate::Read_Truth(Arguments[2]),
            fs::absolute(Arguments[3]));
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "command_stages: %s\n", Error.what());
    return 1;
  }
  return 0;
}
