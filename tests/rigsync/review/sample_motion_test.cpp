// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/sample_motion.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

Tracker_Sample Sample_At(double X, double Turn_Deg = 0) {
  const double Half = Turn_Deg / 2 * 3.14159265358979323846 / 180;
  return {{X, 0, 0}, {std::cos(Half), 0, std::sin(Half), 0}};
}

Run_View View_Of(const std::vector<std::optional<Tracker_Sample>>& Camera) {
  Run_View View;
  for (std::size_t i = 0; i < Camera.size(); ++i) {
    Viewed_Row Row;
    Row.Camera = Camera[i];
    Row.Board = Sample_At(0.1 * static_cast<double>(i));
    View.Rows.push_back(Row);
  }
  return View;
}

TEST(SampleMotion, AStepIsTheWayAndTheTurnFromTheRowBefore) {
  const auto Motion = Measure_Motion(
      View_Of({Sample_At(0), Sample_At(0.03), Sample_At(0.03, 12), Sample_At(0.03, 12)}));
  ASSERT_EQ(Motion.size(), 4u);
  EXPECT_FALSE(Motion[0].Camera);
  EXPECT_NEAR(Motion[1].Camera->Mm, 30.0, 1e-9);
  EXPECT_NEAR(Motion[1].Camera->Deg, 0.0, 1e-9);
  EXPECT_NEAR(Motion[2].Camera->Deg, 12.0, 1e-9);
  EXPECT_FALSE(Motion[2].Camera->Is_Repeat);
  EXPECT_TRUE(Motion[3].Camera->Is_Repeat);
  EXPECT_NEAR(Motion[3].Board->Mm, 100.0, 1e-9);
}

TEST(SampleMotion, ARowWithoutASampleHasNoStepAndNorHasTheNext) {
  const auto Motion =
      Measure_Motion(View_Of({Sample_At(0), std::nullopt, Sample_At(1), Sample_At(2)}));
  EXPECT_FALSE(Motion[1].Camera);
  EXPECT_FALSE(Motion[2].Camera);
  EXPECT_TRUE(Motion[3].Camera);
}

// On a stand: of four steps three are repeats.
TEST(SampleMotion, ATrackerThatStandsStillIsNotStale) {
  const auto Motion = Measure_Motion(
      View_Of({Sample_At(1), Sample_At(1), Sample_At(1), Sample_At(1), Sample_At(2)}));
  for (const Row_Steps& Row : Motion) EXPECT_FALSE(Row.Camera && Row.Camera->Is_Repeat);
}

}  // namespace
}  // namespace rigsync
