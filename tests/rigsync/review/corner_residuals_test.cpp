// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/corner_residuals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace rigsync {
namespace {

constexpr double Square = 0.1;

// A board of 6 by 5 corners, two metres away, tilted and turned a little, drawn by the equations
// of docs/conventions.md.
Run_View View_Of_A_Board() {
  Run_View View;
  View.Width = 1000;
  View.Height = 800;
  View.Lens_Px = Lens{1000, 1000, 500, 400, -0.1, 0.02};
  View.Result.Inputs.Board = {6, 5};
  View.Result.Inputs.Square_Size = Square;
  Viewed_Row Row;
  const double Tilt = 0.3;
  for (int r = 0; r < 5; ++r) {
    for (int c = 0; c < 6; ++c) {
      const double X_Chart = c * Square, Y_Chart = r * Square;
      const double Z = 2.0 - std::sin(Tilt) * X_Chart;
      const double X = (std::cos(Tilt) * X_Chart - 0.25) / Z, Y = (Y_Chart - 0.2) / Z;
      const double R2 = X * X + Y * Y, Radial = 1 - 0.1 * R2 + 0.02 * R2 * R2;
      Row.Corners.push_back({static_cast<float>(1000 * X * Radial + 500),
                             static_cast<float>(1000 * Y * Radial + 400)});
    }
  }
  View.Rows.push_back(Row);
  return View;
}

// Corners are stored as float, which near 1000 is exact to 6e-5 pixels.
TEST(CornerResiduals, CornersThatTheLensDrewLeaveNothing) {
  const auto Residuals = Measure_Residuals(View_Of_A_Board());
  ASSERT_EQ(Residuals.size(), 30u);
  EXPECT_LT(Rms_Px(Residuals), 1e-4);
}

// The pose takes 6 of 60 numbers: a corner that is moved alone keeps most of the motion.
TEST(CornerResiduals, AMovedCornerStandsOutInTheDirectionOfItsMotion) {
  Run_View View = View_Of_A_Board();
  View.Rows[0].Corners[14][0] += 1.0f;
  const auto Residuals = Measure_Residuals(View);
  ASSERT_EQ(Residuals.size(), 30u);
  EXPECT_GT(Residuals[14].Residual_Px.x(), 0.75);
  EXPECT_LT(Residuals[14].Residual_Px.x(), 1.0);
  EXPECT_LT(std::abs(Residuals[14].Residual_Px.y()), 0.01);
  EXPECT_LT(std::abs(Residuals[0].Residual_Px.x()), 0.2);
}

TEST(CornerResiduals, WithoutCornersOrLensThereAreNone) {
  Run_View No_Lens = View_Of_A_Board(), No_Corners = No_Lens, Broken = No_Lens;
  No_Lens.Lens_Px.reset();
  No_Corners.Rows[0].Corners.clear();
  Broken.Rows[0].Corners[3][1] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(Measure_Residuals(No_Lens).empty());
  EXPECT_TRUE(Measure_Residuals(No_Corners).empty());
  EXPECT_TRUE(Measure_Residuals(Broken).empty());
}

TEST(CornerResiduals, ACellHasTheMeanOfItsCorners) {
  // Of 160 by 90 pixels, so that a cell is 10 by 10.
  const Residual_Grid Grid = Bin_Over_Frame(
      {{0, {12, 25}, {1, 0}}, {1, {19, 29}, {3, -2}}, {0, {160, -1}, {7, 7}}}, 160, 90);
  EXPECT_EQ(Grid.Cols, 16);
  EXPECT_EQ(Grid.Rows, 9);
  EXPECT_EQ(Grid.Cells[2 * 16 + 1].Corners, 2);
  EXPECT_EQ(Grid.Cells[2 * 16 + 1].Mean_Px, Eigen::Vector2d(2, -1));
  EXPECT_EQ(Grid.Cells[15].Corners, 1);  // a corner beyond the edge counts for the cell at it
  EXPECT_EQ(Grid.Cells[0].Corners, 0);
  EXPECT_EQ(Bin_Over_Frame({}, 90, 160).Cols, 9);
}

// Two rings of five images. In the outer one image k is off by k outwards (0 to 4), mean 2, and
// twice as much around: the standard error of 0 to 4 is sqrt(2.5 / 5).
TEST(CornerResiduals, ARingHasTheMeanOfItsImagesAndItsError) {
  std::vector<Corner_Residual> Residuals;
  for (std::size_t k = 0; k < 5; ++k) {
    const double Amount = static_cast<double>(k);
    Residuals.push_back({k, {100 + 90, 50}, {Amount, 2 * Amount}});
    Residuals.push_back({k, {100, 50 - 90}, {2 * Amount, -Amount}});
    Residuals.push_back({k, {100 + 10, 50}, {0.5, 0}});
  }
  const auto Rings = Bin_Over_Radius(Residuals, {100, 50}, 2);
  ASSERT_EQ(Rings.size(), 2u);
  EXPECT_EQ(Rings[0].Corners, 5);
  EXPECT_DOUBLE_EQ(Rings[0].Radial.Mean, 0.5);
  EXPECT_DOUBLE_EQ(Rings[0].Radial.Error, 0.0);
  EXPECT_DOUBLE_EQ(Rings[1].From_Px, 45.0);
  EXPECT_DOUBLE_EQ(Rings[1].To_Px, 90.0);
  EXPECT_EQ(Rings[1].Images, 5);
  EXPECT_DOUBLE_EQ(Rings[1].Radial.Mean, 2.0);
  EXPECT_NEAR(Rings[1].Radial.Error, std::sqrt(0.5), 1e-12);
  EXPECT_DOUBLE_EQ(Rings[1].Tangential.Mean, 4.0);
  EXPECT_NEAR(Rings[1].Tangential.Error, 2.0 * std::sqrt(0.5), 1e-12);
}

TEST(CornerResiduals, ARingOfFourImagesIsLeftOut) {
  std::vector<Corner_Residual> Residuals;
  for (std::size_t k = 0; k < 4; ++k) Residuals.push_back({k, {10, 0}, {1, 0}});
  EXPECT_TRUE(Bin_Over_Radius(Residuals, {0, 0}, 3).empty());
  Residuals.push_back({4, {10, 0}, {1, 0}});
  EXPECT_EQ(Bin_Over_Radius(Residuals, {0, 0}, 3).size(), 1u);
}

TEST(CornerResiduals, TheFarthestRingIsTheOneOfMostStandardErrors) {
  Residual_Ring Large, Sure;
  Large.Radial = {1.0, 0.5};
  Sure.Tangential = {-0.3, 0.05};
  const std::vector<Residual_Ring> Rings = {Large, Sure};
  const Farthest_Ring Farthest = Find_Farthest(Rings);
  EXPECT_EQ(Farthest.Ring, &Rings[1]);
  EXPECT_FALSE(Farthest.Is_Radial);
  EXPECT_DOUBLE_EQ(Farthest.Mean.Standard_Errors(), 6.0);
  EXPECT_EQ(Find_Farthest({}).Ring, nullptr);
}

}  // namespace
}  // namespace rigsync
