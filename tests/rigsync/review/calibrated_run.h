// SPDX-License-Identifier: Apache-2.0
//
// A simulated capture and the library's run of it, in a folder of their own.
#ifndef RIGSYNC_TESTS_REVIEW_CALIBRATED_RUN_H
#define RIGSYNC_TESTS_REVIEW_CALIBRATED_RUN_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/library_inputs.h"
#include "rigsync/calibrate/library_run.h"
#include "rigsync/calibrate/result_judgement.h"
#include "rigsync/inspect/inspection.h"
#include "simulate/simulate.h"
#include "tests/support/scratch_folder.h"

#include <optional>

namespace calibrated_run {

// 18 photographs of 640 by 480 with the noise of a usual tracking system and two jumped rows, one
// image without a board and one that is missing.
inline simulate::Options Usual() {
  simulate::Options Options;
  Options.Image_Count = 18;
  Options.Width = 640;
  Options.Height = 480;
  Options.Board_Cols = 7;
  Options.Board_Rows = 5;
  Options.Square_Size = 0.05;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  Options.Jump_Count = 2;
  Options.Blank_Count = 1;
  Options.Missing_Count = 1;
  return Options;
}

struct Calibrated {
  Scratch_Folder Scratch;
  simulate::Plan Plan;
  std::optional<rigsync::Inspection> Inspected;
  rigsync::Calibration_Result Result;

  explicit Calibrated(const simulate::Options& Options = Usual())
      : Plan(simulate::Make_Plan(Options)) {
    simulate::Write_Capture(Plan, Scratch.Path());
    rigsync::Calibration_Inputs& Inputs = Result.Inputs;
    Inputs.Csv = Scratch.Path() / "capture.csv";
    Inputs.Image_Root = Scratch.Path();
    Inputs.Board = {Options.Board_Cols, Options.Board_Rows};
    Inputs.Square_Size = Options.Square_Size;
    Result.Images = rigsync::Read_Image_Names(Inputs.Csv);
    Result.Run_Folder = Scratch.Path() / "run";
    std::filesystem::create_directory(Result.Run_Folder);
    Inspect();
    Calibrate();
  }

 private:
  void Inspect() {
    rigsync::Inspection_Inputs Capture;
    Capture.Csv = Result.Inputs.Csv;
    Capture.Image_Root = Result.Inputs.Image_Root;
    Capture.Board.Board = Result.Inputs.Board;
    Capture.Board.Square_Size = Result.Inputs.Square_Size;
    Inspected = rigsync::Inspect_Capture(Capture, rigsync::Search_Progress{});
    Result.Solved = Inspected->Solution;
  }

  void Calibrate() {
    rigsync::Choose_Library_Inputs(Result);
    Result.Library_Csv = Result.Inputs.Csv;
    if (Result.Library_Axes.Is_Turned) {
      Result.Library_Csv = Result.Run_Folder / "capture-turned.csv";
      rigsync::Write_Turned_Capture(Result.Library_Csv, Inspected->File.Rows, Result.Library_Axes);
    }
    rigsync::Run_Library(Result, /*Is_Verbose=*/false, rigsync::Progress_Kind::None);
    rigsync::Restore_Own_Axes(Result);
    rigsync::Judge_Result({}, Result);
  }
};

// Made once for all tests of a program.
inline const Calibrated& Usual_Run() {
  static const Calibrated Made;
  return Made;
}

}  // namespace calibrated_run

#endif  // RIGSYNC_TESTS_REVIEW_CALIBRATED_RUN_H
