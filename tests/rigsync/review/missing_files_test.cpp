// SPDX-License-Identifier: Apache-2.0
//
// A run whose folders were moved: /gone had capture.csv, images/ and out/, and out/ the run's own
// folder.
#include "rigsync/review/missing_files.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace rigsync {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class MovedRun : public testing::Test {
 protected:
  MovedRun() {
    fs::create_directories(Now / "out" / "run_1");
    fs::create_directories(Now / "images");
    for (const char* const File : {"capture.csv", "images/1.png", "out/run_1/log_1",
                                   "out/run_1/result.json", "out/result.json"}) {
      Scratch.Write(File, "x");
    }
    Result.Run_Folder = "/gone/out/run_1";
    Result.Run_Log = "/gone/out/run_1/log_1";
    Result.Inputs.Csv = "/gone/capture.csv";
    Result.Inputs.Image_Root = "/gone";
    Result.Images = {{2, "images/1.png"}, {3, "/gone/images/1.png"}, {4, "images/2.png"}};
  }

  void Expect_Followed(const Run_View& View) const {
    EXPECT_EQ(View.Result.Run_Folder, Now / "out" / "run_1");
    EXPECT_EQ(View.Result.Run_Log, Now / "out" / "run_1" / "log_1");
    EXPECT_EQ(View.Result.Inputs.Csv, Now / "capture.csv");
    EXPECT_TRUE(fs::equivalent(View.Result.Inputs.Image_Root, Now));
    ASSERT_EQ(View.Rows.size(), 3u);
    EXPECT_TRUE(fs::equivalent(View.Rows[0].File, Now / "images" / "1.png"));
    EXPECT_TRUE(fs::equivalent(View.Rows[1].File, Now / "images" / "1.png"));
    EXPECT_FALSE(fs::exists(View.Rows[2].File));
  }

  const Scratch_Folder Scratch;
  const fs::path Now = fs::canonical(Scratch.Path());
  Calibration_Result Result;
};

TEST_F(MovedRun, FindsItsFilesFromItsOwnFolder) {
  Expect_Followed(Make_View_Of_File(Now / "out" / "run_1" / "result.json", Result));
}

TEST_F(MovedRun, FindsItsFilesFromTheCopyBesideItsFolder) {
  Expect_Followed(Make_View_Of_File(Now / "out" / "result.json", Result));
}

// A file that is still where it was is not looked for elsewhere.
TEST_F(MovedRun, KeepsPathsThatLeadSomewhere) {
  const Scratch_Folder Elsewhere;
  Result.Inputs.Csv = Elsewhere.Write("capture.csv", "x");
  const Run_View View = Make_View_Of_File(Now / "out" / "run_1" / "result.json", Result);
  EXPECT_EQ(View.Result.Inputs.Csv, Elsewhere.Path() / "capture.csv");
}

TEST_F(MovedRun, SaysWhatIsFoundNowhere) {
  EXPECT_THAT(Missing_Files(Make_View_Of_File(Now / "out" / "run_1" / "result.json", Result)),
              ElementsAre(HasSubstr("1 of 3 images can't be found")));
  fs::remove(Now / "capture.csv");
  fs::remove(Now / "out" / "run_1" / "log_1");
  fs::remove(Now / "images" / "1.png");
  const Run_View View = Make_View_Of_File(Now / "out" / "run_1" / "result.json", Result);
  EXPECT_EQ(View.Result.Inputs.Csv, "/gone/capture.csv");
  EXPECT_EQ(View.Result.Run_Log, "/gone/out/run_1/log_1");
  EXPECT_THAT(Missing_Files(View), ElementsAre(HasSubstr("The capture's CSV is not where"),
                                               HasSubstr("The run log is gone"),
                                               HasSubstr("3 of 3 images can't be found")));
}

TEST_F(MovedRun, MissesNothingThatItNeverHad) {
  Result.Run_Log.clear();
  Result.Images.clear();
  EXPECT_THAT(Missing_Files(Make_View_Of_File(Now / "out" / "run_1" / "result.json", Result)),
              IsEmpty());
}

}  // namespace
}  // namespace rigsync
