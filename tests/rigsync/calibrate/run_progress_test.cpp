// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_progress.h"
#include "rigsync/system/progress_output.h"

#include <gtest/gtest.h>

namespace {

using rigsync::Image_Fate;
using rigsync::Run_Report;
using rigsync::Run_Step;
using rigsync::Time_Estimate;

// A run that has begun to search Count images, of which the first Dropped show no board.
Run_Report Searching(std::size_t Count, std::size_t Dropped = 0) {
  Run_Report Report;
  Report.Step = Run_Step::Finding_Boards;
  for (std::size_t i = 0; i < Count; ++i) {
    Report.Images.push_back(
        {"i", i < Dropped ? Image_Fate::No_Board : Image_Fate::Kept, {}, {}, {}});
  }
  return Report;
}

TEST(Progress, CountsAnImageWhenTheSearchInItIsOver) {
  EXPECT_EQ(rigsync::Progress_Text(Searching(0), 40), "Finding boards: 0 of 40 images, 0 found");
  EXPECT_EQ(rigsync::Progress_Text(Searching(1), 40), "Finding boards: 0 of 40 images, 0 found");
  EXPECT_EQ(rigsync::Progress_Text(Searching(13, 2), 40),
            "Finding boards: 12 of 40 images, 10 found");
  // The only image was dropped, which must not count as minus one found.
  EXPECT_EQ(rigsync::Progress_Text(Searching(1, 1), 40), "Finding boards: 0 of 40 images, 0 found");
}

TEST(Progress, CountsTheReprojectionImagesOfTheKeptOnes) {
  Run_Report Report = Searching(10, 2);
  Report.Step = Run_Step::Writing_Images;
  Report.Images[0].Reprojection_Px = 1.0;  // dropped
  Report.Images[2].Reprojection_Px = 1.0;
  Report.Images[3].Reprojection_Px = 1.0;
  EXPECT_EQ(rigsync::Progress_Text(Report, 10), "Writing reprojection images: 2 of 8");
}

TEST(Progress, AnnouncesTheStepsThatTakeTime) {
  Run_Report Report = Searching(10, 1);
  EXPECT_EQ(rigsync::Step_Text(Report, 24), "finding boards in 24 images");
  Report.Step = Run_Step::Solving_Lens;
  EXPECT_EQ(rigsync::Step_Text(Report, 24), "9 boards found, solving the lens");
  Report.Step = Run_Step::Removing_Outliers;
  EXPECT_EQ(rigsync::Step_Text(Report, 24), "");
  Report.Step = Run_Step::Writing_Images;
  EXPECT_EQ(rigsync::Step_Text(Report, 24), "writing reprojection images of 9 images");
}

TEST(Progress, EstimatesNothingBeforeTheFirstImageIsSearched) {
  Time_Estimate Estimate(10);
  EXPECT_EQ(Estimate.Remaining(Run_Report{}, 1.0), std::nullopt);
  Estimate.Take(Searching(1), 1.0);
  EXPECT_EQ(Estimate.Remaining(Searching(1), 2.0), std::nullopt);
}

TEST(Progress, ExpectsWritingToTakeTwoAndAHalfTimesAsLongAsSearching) {
  Time_Estimate Estimate(10);
  Estimate.Take(Searching(0), 5.0);
  // Four images in eight seconds; six to search and ten to write. The lens of ten images takes next
  // to no time.
  constexpr double Lens_Seconds = 0.1;
  EXPECT_NEAR(*Estimate.Remaining(Searching(5), 13.0), (6 + 2.5 * 10) * 2.0, Lens_Seconds);
  // No image with a board, none to write.
  EXPECT_DOUBLE_EQ(*Estimate.Remaining(Searching(5, 5), 13.0), 6 * 2.0);
}

TEST(Progress, WritingIsEstimatedFromItsOwnPaceOnceItIsKnown) {
  Time_Estimate Estimate(10);
  Estimate.Take(Searching(0), 0.0);
  Run_Report Report = Searching(10);
  Report.Step = Run_Step::Solving_Lens;
  Estimate.Take(Report, 20.0);
  Report.Step = Run_Step::Writing_Images;
  Estimate.Take(Report, 21.0);
  EXPECT_DOUBLE_EQ(*Estimate.Remaining(Report, 21.5), 10 * 2.5 * 2.0);
  for (std::size_t i = 0; i < 4; ++i) Report.Images[i].Reprojection_Px = 1.0;
  EXPECT_DOUBLE_EQ(*Estimate.Remaining(Report, 23.0), 6 * 0.5);
}

TEST(Progress, TheLensOfManyImagesIsExpectedToTakeLong) {
  // Measured: about 8 s for 100 images.
  Time_Estimate Estimate(100);
  Estimate.Take(Searching(0), 0.0);
  Run_Report Report = Searching(100);
  Report.Step = Run_Step::Solving_Lens;
  Estimate.Take(Report, 10.0);
  EXPECT_NEAR(*Estimate.Remaining(Report, 10.0), 8.0 + 25.0, 0.5);
  EXPECT_NEAR(*Estimate.Remaining(Report, 13.0), 5.0 + 25.0, 0.5);
  // It takes longer than expected, and the images are still to be written.
  EXPECT_DOUBLE_EQ(*Estimate.Remaining(Report, 60.0), 25.0);
}

}  // namespace
