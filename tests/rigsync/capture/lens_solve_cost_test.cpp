// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/lens_solve_cost.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using rigsync::Amount_Of, rigsync::Expected_Lens_Solve, rigsync::Image_Amount,
    rigsync::Thinning_Step;

constexpr std::size_t Corners = 88;
constexpr double MiB = 1024.0 * 1024.0;

// The stage of the lens in whole calibrations of captures of 88 corners, which were measured on the
// machine of docs/performance.md: seconds and, from 80 images on, where the matrices exceed what
// the images needed before, the growth of the peak since 60 images.
struct Measured_Run {
  std::size_t Images;
  double Seconds, Grown_MiB;
};
constexpr Measured_Run Measured_all[] = {{20, 0.13, 0}, {40, 0.67, 0},   {60, 1.91, 0},
                                         {80, 5.26, 0}, {120, 16.7, 23}, {160, 35.2, 51}};

// Runs of one machine differ by that much. Growth is measured from a peak that images caused, which
// hides a part of it.
constexpr double Time_Tolerance = 0.15, Memory_Tolerance = 0.3;

TEST(LensSolveCost, IsThatOfTheCapturesThatWereMeasured) {
  for (const Measured_Run& Run : Measured_all) {
    SCOPED_TRACE(Run.Images);
    const rigsync::Lens_Solve_Cost Cost = Expected_Lens_Solve(Run.Images, Corners);
    EXPECT_NEAR(Cost.Seconds, Run.Seconds, Time_Tolerance * Run.Seconds);
    if (Run.Grown_MiB == 0) continue;
    EXPECT_NEAR(Cost.Bytes / MiB, Run.Grown_MiB, Memory_Tolerance * Run.Grown_MiB);
  }
}

TEST(LensSolveCost, TwiceAsManyImagesTakeEightTimesTheTimeAndFourTimesTheMemory) {
  const auto Cost = Expected_Lens_Solve(1400, Corners), Twice = Expected_Lens_Solve(2800, Corners);
  EXPECT_NEAR(Twice.Seconds / Cost.Seconds, 8.0, 0.02);
  EXPECT_NEAR(Twice.Bytes / Cost.Bytes, 4.0, 0.01);
}

TEST(LensSolveCost, OfThousandsOfImagesIsDaysAndGigabytes) {
  const rigsync::Lens_Solve_Cost Cost = Expected_Lens_Solve(2800, Corners);
  EXPECT_GT(Cost.Seconds, 2 * 24 * 3600);
  EXPECT_GT(Cost.Bytes, 8e9);
}

TEST(LensSolveCost, MoreCornersTakeLongerAndNoMoreMemory) {
  const auto Few = Expected_Lens_Solve(24, 88), Many = Expected_Lens_Solve(24, 352);
  EXPECT_GT(Many.Seconds, Few.Seconds);
  EXPECT_EQ(Many.Bytes, Few.Bytes);
}

// Of 12 boards with 22 by 16 corners and with 11 by 8: 69.6 and 47.9 milliseconds.
TEST(LensSolveCost, FourTimesTheCornersTakeHalfAsLongAgainWhereImagesAreFew) {
  const double Measured = 69.6 / 47.9;
  const auto Few = Expected_Lens_Solve(12, 88), Many = Expected_Lens_Solve(12, 352);
  EXPECT_NEAR(Many.Seconds / Few.Seconds, Measured, Time_Tolerance * Measured);
}

TEST(LensSolveCost, OfNoImagesIsNothing) {
  EXPECT_EQ(Expected_Lens_Solve(0, Corners).Seconds, 0);
  EXPECT_EQ(Expected_Lens_Solve(0, Corners).Bytes, 0);
}

TEST(LensSolveCost, AmountsChangeAtTheirLimits) {
  EXPECT_EQ(Amount_Of(0), Image_Amount::Usual);
  EXPECT_EQ(Amount_Of(99), Image_Amount::Usual);
  EXPECT_EQ(Amount_Of(100), Image_Amount::Slow);
  EXPECT_EQ(Amount_Of(400), Image_Amount::Slow);
  EXPECT_EQ(Amount_Of(401), Image_Amount::Too_Many);
  EXPECT_EQ(Amount_Of(std::numeric_limits<std::size_t>::max()), Image_Amount::Too_Many);
}

TEST(LensSolveCost, KeepingEveryNthImageLeavesAtMostEnough) {
  EXPECT_EQ(Thinning_Step(0), 1u);
  EXPECT_EQ(Thinning_Step(60), 1u);
  EXPECT_EQ(Thinning_Step(61), 2u);
  EXPECT_EQ(Thinning_Step(120), 2u);
  EXPECT_EQ(Thinning_Step(121), 3u);
  EXPECT_EQ(Thinning_Step(2800), 47u);
}

}  // namespace
