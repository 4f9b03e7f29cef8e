// SPDX-License-Identifier: Apache-2.0
//
// Within one process a capture always gives the same result, to the last bit: when it is repeated,
// and for any number of OpenCV threads. tests/portability/same_answer compares builds.
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>

namespace {

// Wide enough to be reduced before the search, so that every OpenCV call is made.
simulate::Options Wide_Capture() {
  simulate::Options Options = Small_Capture();
  Options.Width = 1440;
  Options.Height = 810;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  return Options;
}

void Expect_The_Same(const Run_Output& Left, const Run_Output& Right) {
  EXPECT_EQ(Left.Code, Right.Code);
  EXPECT_EQ(Left.Image_Size, Right.Image_Size);
  EXPECT_EQ(Left.Norm_Fxy, Right.Norm_Fxy);
  EXPECT_EQ(Left.Norm_Cxy, Right.Norm_Cxy);
  EXPECT_EQ(Left.Distortion, Right.Distortion);
  EXPECT_EQ(Left.Transform_Cam_Tc, Right.Transform_Cam_Tc);
  EXPECT_EQ(Left.FoV, Right.FoV);
  EXPECT_EQ(Left.Focal_Length_mm, Right.Focal_Length_mm);
  EXPECT_EQ(Left.Log, Right.Log);
}

TEST(SameAnswer, ComesFromTheSameCaptureAgainAndFromAnyNumberOfOpenCvThreads) {
  const Scratch_Folder Folder;
  const Run_Input Input = Write_And_Describe(Wide_Capture(), Folder);
  const int Threads_Before = cv::getNumThreads();
  cv::setNumThreads(1);
  const Run_Output First = Run_Second_Overload(Input);
  EXPECT_EQ(First.Code, 0);
  Expect_All_Filled(First);
  for (const int Threads : {1, 2, 8}) {
    SCOPED_TRACE(Threads);
    // The work is divided for this number of threads, even on a machine with fewer cores; TBB then
    // prints a warning.
    cv::setNumThreads(Threads);
    Expect_The_Same(Run_Second_Overload(Input), First);
  }
  cv::setNumThreads(Threads_Before);
}

TEST(SameAnswer, ComesAgainAfterAnotherCaptureAndAFailedOne) {
  const Scratch_Folder Folder, Other_Folder;
  const Run_Input Input = Write_And_Describe(Small_Capture(), Folder);
  simulate::Options Other = Small_Capture();
  Other.Seed = 9;
  Other.Board_Cols = 8;
  Other.Board_Rows = 6;
  const Run_Input Other_Input = Write_And_Describe(Other, Other_Folder);
  const Run_Output First = Run_First_Overload(Input);
  EXPECT_EQ(First.Code, 0);

  const Run_Output Between = Run_First_Overload(Other_Input);
  EXPECT_EQ(Between.Code, 0);
  EXPECT_NE(Between.Norm_Fxy, First.Norm_Fxy);
  Run_Input No_Images = Input;
  No_Images.Csv_Path = Folder.Write("empty.csv", "");
  EXPECT_EQ(Run_First_Overload(No_Images).Code, 4);

  Expect_The_Same(Run_First_Overload(Input), First);
}

}  // namespace
