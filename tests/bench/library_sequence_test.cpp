// SPDX-License-Identifier: Apache-2.0
//
// The stages that the benches call one by one, compared with Calibration on drawn photographs.
#include "bench/library_sequence.h"

#include "include/rigsync_core.h"
#include "rigsync/capture/board_search.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/solve/capture_solution.h"
#include "simulate/simulate.h"
#include "tests/support/quiet_output.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

simulate::Options Capture_Options() {
  simulate::Options Options;
  Options.Image_Count = 14;
  Options.Width = 640;
  Options.Height = 480;
  Options.Board_Cols = 7;
  Options.Board_Rows = 6;
  Options.Square_Size = 0.04;
  Options.Position_Noise_Mm = 0.5;
  Options.Rotation_Noise_Deg = 0.03;
  return Options;
}

struct Outcome {
  int Code = 0;
  std::vector<double> Transform_Cam_Tc;  // 16 numbers, or none
  std::size_t Kept = 0;
};

std::size_t Count_Of(const std::string& Part, const std::string& Text) {
  std::size_t Count = 0;
  for (std::size_t At = Text.find(Part); At != std::string::npos; At = Text.find(Part, At + 1)) {
    ++Count;
  }
  return Count;
}

// A drawn capture, and both ways to calibrate it.
class Drawn_Capture {
 public:
  explicit Drawn_Capture(const simulate::Options& Options) : Plan(simulate::Make_Plan(Options)) {
    simulate::Write_Capture(Plan, Folder.Path());
    const auto File = rigsync::Read_Capture_File(Folder.Path() / "capture.csv");
    const std::vector<bool> Readable(File.Rows.size(), true);
    Search = rigsync::Search_Boards(File.Rows, Readable, Folder.Path(), Size(), {});
    Rows = rigsync::Facts_Of(File.Rows, Search);
  }

  Outcome By_Calibration() const {
    const Eigen::Vector3d &Euler = Plan.Chart_Euler_Deg, &Offset = Plan.Chart_Translation;
    std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion;
    Outcome Found;
    const Quiet_Output Output;
    Found.Code = Calibration((Folder.Path() / "capture.csv").string(), Plan.Settings.Board_Cols,
                             Plan.Settings.Board_Rows, Plan.Settings.Square_Size,
                             {Euler.x(), Euler.y(), Euler.z()},
                             {Offset.x(), Offset.y(), Offset.z()}, Image_Size, Norm_Fxy, Norm_Cxy,
                             Distortion, Found.Transform_Cam_Tc, Folder.String());
    if (!Found.Transform_Cam_Tc.empty()) {
      Found.Kept = Rows.size() - Count_Of("Remove index : ", Output.Captured());
    }
    return Found;
  }

  Outcome By_Stages() const {
    const bench::Photographed_Board Board{Size(), Plan.Settings.Square_Size,
                                          cv::Size(Search.Width, Search.Height)};
    std::vector<rigsync::Corner_List> Corners;
    for (const rigsync::Row_Facts& Facts : Rows) Corners.push_back(Facts.Corners);
    const Eigen::Vector3d &Euler = Plan.Chart_Euler_Deg, &Offset = Plan.Chart_Translation;
    const rigsync::Board_Place Estimate{{Euler.x(), Euler.y(), Euler.z()},
                                        {Offset.x(), Offset.y(), Offset.z()}};
    const Quiet_Output Output;
    const auto Lens = bench::Solve_Library_Lens(Corners, Board);
    const auto Result = bench::Run_Library_Sequence(Rows, Board, *Lens, Estimate);
    Outcome Found{Result.Code, {}, Result.Kept};
    for (int k = 0; Result.Transform_Cam_Tc && k < 16; ++k) {
      Found.Transform_Cam_Tc.push_back((*Result.Transform_Cam_Tc)(k / 4, k % 4));
    }
    return Found;
  }

 private:
  rigsync::Board_Size Size() const { return {Plan.Settings.Board_Cols, Plan.Settings.Board_Rows}; }

  const simulate::Plan Plan;
  Scratch_Folder Folder;
  rigsync::Board_Search Search;
  std::vector<rigsync::Row_Facts> Rows;
};

// The same code and the same numbers to the last bit. The code is stated too, so that each test
// takes the way through the stages that it is about.
void Expect_Same_Outcome(const simulate::Options& Options, int Code) {
  const Drawn_Capture Capture(Options);
  const Outcome Called = Capture.By_Calibration(), Staged = Capture.By_Stages();
  EXPECT_EQ(Called.Code, Code);
  EXPECT_EQ(Staged.Code, Called.Code);
  EXPECT_EQ(Staged.Transform_Cam_Tc, Called.Transform_Cam_Tc);
  EXPECT_EQ(Staged.Kept, Called.Kept);
}

TEST(LibrarySequence, GivesTheTransformOfCalibration) {
  Expect_Same_Outcome(Capture_Options(), 0);
}

TEST(LibrarySequence, GivesItWithStaleRowsABadEstimateAndImagesWithoutABoard) {
  simulate::Options Options = Capture_Options();
  Options.Seed = 2;
  Options.Image_Count = 17;
  Options.Stale_Count = 2;
  Options.Blank_Count = 2;
  Options.Estimate_Error_Mm = 4.0;
  Options.Estimate_Error_Deg = 0.1;
  Expect_Same_Outcome(Options, 0);
}

TEST(LibrarySequence, EndsInCode13LikeCalibrationForAMountWithoutATurn) {
  simulate::Options Options = Capture_Options();
  Options.Camera_Mount_Euler_Deg = {0.0, 0.0, 0.0};
  Expect_Same_Outcome(Options, 13);
}

TEST(LibrarySequence, EndsInCode4LikeCalibrationWithElevenBoards) {
  simulate::Options Options = Capture_Options();
  Options.Blank_Count = 3;
  Expect_Same_Outcome(Options, 4);
}

TEST(LibrarySequence, EndsInCode99LikeCalibrationWhenTheTranslationsSpread) {
  simulate::Options Options = Capture_Options();
  Options.Position_Noise_Mm = 15.0;
  Expect_Same_Outcome(Options, 99);
}

TEST(LibrarySequence, EndsInCode6LikeCalibrationWhenTheySpreadMore) {
  simulate::Options Options = Capture_Options();
  Options.Position_Noise_Mm = 60.0;
  Expect_Same_Outcome(Options, 6);
}

}  // namespace
