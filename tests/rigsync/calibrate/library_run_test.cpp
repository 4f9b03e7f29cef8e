// SPDX-License-Identifier: Apache-2.0
//
// The call into the library, for captures that end it early.
#include "rigsync/calibrate/library_run.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

Calibration_Result Run_Of(const fs::path& Csv, const fs::path& Run_Folder) {
  Calibration_Result Result;
  Result.Library_Csv = Csv;
  Result.Run_Folder = Run_Folder;
  Result.Inputs.Image_Root = Run_Folder;
  Result.Inputs.Board = {7, 5};
  Result.Inputs.Square_Size = 0.03;
  Run_Library(Result, /*Is_Verbose=*/false, Progress_Kind::None);
  return Result;
}

TEST(LibraryRun, HasTheCodeItsMeaningTheTimeAndTheLog) {
  const Scratch_Folder Scratch;
  const fs::path Before = fs::current_path();
  const Calibration_Result Result = Run_Of(Scratch.Path() / "none.csv", Scratch.Path());
  EXPECT_EQ(Result.Code, 1);
  EXPECT_EQ(Result.Message, "The CSV file can't be opened.");
  EXPECT_EQ(Result.Exception, "");
  EXPECT_GT(Result.Seconds, 0.0);
  EXPECT_LT(Result.Seconds, 60.0);
  EXPECT_EQ(Result.Run_Log.parent_path(), Scratch.Path());
  EXPECT_NE(Result.Report.Version, "");
  EXPECT_EQ(fs::current_path(), Before);
}

TEST(LibraryRun, WithoutAnImageThereIsNoBoard) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv", "T,none.png,0,0,0,1,0,0,0,0,0,0,1,0,0,0\n");
  const Calibration_Result Result = Run_Of(Csv, Scratch.Path());
  EXPECT_EQ(Result.Code, 4);
  EXPECT_EQ(Result.Message, "The board was found in fewer than 12 images.");
}

}  // namespace
}  // namespace rigsync
