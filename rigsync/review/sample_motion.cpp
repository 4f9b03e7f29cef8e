// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/sample_motion.h"

#include "rigsync/geometry/angle.h"

#include <cstddef>

namespace rigsync {
namespace {

std::optional<Tracker_Step> Step_Between(const std::optional<Tracker_Sample>& Before,
                                         const std::optional<Tracker_Sample>& Now) {
  if (!Before || !Now) return std::nullopt;
  const auto From = Transform_Base_Tracker(*Before), To = Transform_Base_Tracker(*Now);
  if (!From || !To) return std::nullopt;
  const Vector6d Motion = Motion_Between(*From, *To);
  return Tracker_Step{1000.0 * Motion.tail<3>().norm(),
                      Degrees_Per_Radian * Motion.head<3>().norm(), *Before == *Now};
}

void Forgive_Still_Tracker(std::optional<Tracker_Step> Row_Steps::*Tracker,
                           std::vector<Row_Steps>& Rows) {
  std::size_t Steps = 0, Repeats = 0;
  for (const Row_Steps& Row : Rows) {
    if (!(Row.*Tracker)) continue;
    ++Steps;
    if ((Row.*Tracker)->Is_Repeat) ++Repeats;
  }
  if (2 * Repeats <= Steps) return;
  for (Row_Steps& Row : Rows) {
    if (Row.*Tracker) (Row.*Tracker)->Is_Repeat = false;
  }
}

}  // namespace

std::vector<Row_Steps> Measure_Motion(const Run_View& View) {
  std::vector<Row_Steps> Rows(View.Rows.size());
  for (std::size_t i = 1; i < Rows.size(); ++i) {
    Rows[i].Camera = Step_Between(View.Rows[i - 1].Camera, View.Rows[i].Camera);
    Rows[i].Board = Step_Between(View.Rows[i - 1].Board, View.Rows[i].Board);
  }
  Forgive_Still_Tracker(&Row_Steps::Camera, Rows);
  Forgive_Still_Tracker(&Row_Steps::Board, Rows);
  return Rows;
}

}  // namespace rigsync
