// SPDX-License-Identifier: Apache-2.0
//
// Observations of corners that the simulator projects, by its own lens model and conventions.
#include "rigsync/solve/observation.h"

#include "simulate/geometry.h"
#include "simulate/random.h"
#include "simulate/simulate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Eigen::Isometry3d;
using rigsync::Board_Observation;
using rigsync::Board_Size;
using rigsync::Corner_List;
using rigsync::Lens;
using rigsync::Matrix6d;
using rigsync::Observations;
using rigsync::Row_Facts;
using rigsync::Tracker_Sample;
using rigsync::Vector6d;

constexpr Board_Size Board{11, 8};
constexpr double Square_Size = 0.03;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

simulate::Plan Small_Plan() {
  simulate::Options Options;
  Options.Image_Count = 6;
  Options.Width = 960;
  Options.Height = 540;
  return simulate::Make_Plan(Options);
}

Lens Lens_Of(const simulate::Plan& Plan) {
  const simulate::Lens& True = Plan.True_Lens;
  return {True.Fx, True.Fy, True.Cx, True.Cy, True.K1, True.K2};
}

// Corners are single-precision values, which at 1000 pixels step by 6e-5.
Corner_List Corners_Of(const std::vector<Eigen::Vector2d>& Points) {
  Corner_List Corners;
  for (const Eigen::Vector2d& Point : Points) {
    Corners.push_back({static_cast<float>(Point.x()), static_cast<float>(Point.y())});
  }
  return Corners;
}

Corner_List Noisy_Corners(const simulate::Plan& Plan, std::size_t Image, double Deviation_Px,
                          simulate::Random& Random) {
  std::vector<Eigen::Vector2d> Points = simulate::Project_Board(Plan, Plan.Images[Image]);
  for (Eigen::Vector2d& Point : Points) {
    Point += Deviation_Px * Eigen::Vector2d(Random.Gaussian(), Random.Gaussian());
  }
  return Corners_Of(Points);
}

Isometry3d True_Pose(const simulate::Plan& Plan, std::size_t Image) {
  return Isometry3d(Plan.Images[Image].Transform_Cam_Chart);
}

Tracker_Sample As_Written(const simulate::Sample& Sample) {
  const Eigen::Quaterniond& Q = Sample.Rotation;
  return {{Sample.Position.x(), Sample.Position.y(), Sample.Position.z()},
          {Q.w(), Q.x(), Q.y(), Q.z()}};
}

std::vector<Row_Facts> Facts_Of(const simulate::Plan& Plan, double Deviation_Px) {
  simulate::Random Random(7, 1);
  std::vector<Row_Facts> Rows;
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    Rows.push_back({i, As_Written(Plan.Images[i].Tc), As_Written(Plan.Images[i].Tr),
                    Noisy_Corners(Plan, i, Deviation_Px, Random)});
  }
  return Rows;
}

TEST(Observation, ExactCornersGiveTheTruePose) {
  const simulate::Plan Plan = Small_Plan();
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    const auto Seen =
        rigsync::Solve_Board_Pose(Corners_Of(simulate::Project_Board(Plan, Plan.Images[i])), Board,
                                  Square_Size, Lens_Of(Plan));
    ASSERT_TRUE(Seen);
    const Vector6d Error = rigsync::Motion_Between(True_Pose(Plan, i), Seen->Transform_Cam_Chart);
    // 6e-5 pixels at some 2000 pixels a radian and half a metre.
    EXPECT_LE(Error.head<3>().norm(), 1e-6);
    EXPECT_LE(Error.tail<3>().norm(), 1e-6);
  }
}

TEST(Observation, ABoardIsPredictedToSayWhatItsCornersSay) {
  const simulate::Plan Plan = Small_Plan();
  const Board_Observation Predicted =
      rigsync::Predict_Board(True_Pose(Plan, 1), Board, Square_Size, Lens_Of(Plan));
  const auto Seen = rigsync::Solve_Board_Pose(
      Corners_Of(simulate::Project_Board(Plan, Plan.Images[1])), Board, Square_Size, Lens_Of(Plan));
  ASSERT_TRUE(Seen);
  EXPECT_TRUE(Predicted.Unit_Covariance.isApprox(Seen->Unit_Covariance, 1e-4));
  EXPECT_TRUE(Predicted.Lens_Sensitivity.isApprox(Seen->Lens_Sensitivity, 1e-4));
  EXPECT_TRUE(Predicted.Lens_Information.isApprox(Seen->Lens_Information, 1e-4));
  EXPECT_EQ(Predicted.Squared_Residuals_Px, 0.0);
}

TEST(Observation, TheCovarianceIsThatOfManyDraws) {
  const simulate::Plan Plan = Small_Plan();
  constexpr double Deviation_Px = 0.1;
  constexpr int Draws = 300;
  simulate::Random Random(3, 1);
  double Sum = 0;
  for (int k = 0; k < Draws; ++k) {
    const auto Seen = rigsync::Solve_Board_Pose(Noisy_Corners(Plan, 2, Deviation_Px, Random), Board,
                                                Square_Size, Lens_Of(Plan));
    ASSERT_TRUE(Seen);
    const Vector6d Error = rigsync::Motion_Between(True_Pose(Plan, 2), Seen->Transform_Cam_Chart);
    const Matrix6d Covariance = Deviation_Px * Deviation_Px * Seen->Unit_Covariance;
    Sum += Error.dot(Covariance.inverse() * Error);
  }
  // Chi-squared with 6 degrees of freedom: mean 6, standard deviation of the mean of 300 is 0.2.
  EXPECT_NEAR(Sum / Draws, 6.0, 0.8);
}

TEST(Observation, ThePoseFollowsTheLensAsTheSensitivitySays) {
  const simulate::Plan Plan = Small_Plan();
  const Corner_List Corners = Corners_Of(simulate::Project_Board(Plan, Plan.Images[1]));
  const auto At = rigsync::Solve_Board_Pose(Corners, Board, Square_Size, Lens_Of(Plan));
  ASSERT_TRUE(At);
  double Lens::*const Parameters[] = {&Lens::Fx, &Lens::Fy, &Lens::Cx,
                                      &Lens::Cy, &Lens::K1, &Lens::K2};
  const double Steps[] = {0.1, 0.1, 0.1, 0.1, 1e-4, 1e-3};
  for (int k = 0; k < 6; ++k) {
    Lens More = Lens_Of(Plan), Less = More;
    More.*Parameters[k] += Steps[k];
    Less.*Parameters[k] -= Steps[k];
    const auto With_More = rigsync::Solve_Board_Pose(Corners, Board, Square_Size, More);
    const auto With_Less = rigsync::Solve_Board_Pose(Corners, Board, Square_Size, Less);
    const Vector6d Difference =
        rigsync::Motion_Between(With_Less->Transform_Cam_Chart, With_More->Transform_Cam_Chart);
    const Vector6d Expected = 2 * Steps[k] * At->Lens_Sensitivity.col(k);
    // Central differences are off by the square of the step, which moves the picture by 1e-3 or
    // less.
    EXPECT_LE((Difference - Expected).norm(), 1e-5 * Expected.norm()) << k;
  }
}

TEST(Observation, TheCornersVarianceIsEstimated) {
  const Observations Seen =
      rigsync::Observe(Facts_Of(Small_Plan(), 0.2), Board, Square_Size, Lens_Of(Small_Plan()));
  // 6 images of 176 residuals: the deviation resolves to 2.3 percent.
  EXPECT_NEAR(std::sqrt(Seen.Corner_Variance), 0.2, 0.02);
}

TEST(Observation, ALensFromNoisyCornersIsAsAccurateAsItsCovarianceSays) {
  const simulate::Plan Plan = Small_Plan();
  const Observations Seen =
      rigsync::Observe(Facts_Of(Plan, 0.2), Board, Square_Size, Lens_Of(Plan));
  // Worked out another way: all unknowns of all images in one normal matrix, by differences.
  constexpr Eigen::Index Images = 6, Unknowns = 6 + 6 * Images;
  Eigen::MatrixXd Normal = Eigen::MatrixXd::Zero(Unknowns, Unknowns);
  for (Eigen::Index i = 0; i < Images; ++i) {
    const Isometry3d Pose = True_Pose(Plan, static_cast<std::size_t>(i));
    Eigen::MatrixXd Jacobian = Eigen::MatrixXd::Zero(176, Unknowns);
    const auto Corners = [&](const Vector6d& Motion, const Vector6d& Lens_Change) {
      simulate::Plan Changed = Plan;
      double* const Numbers[] = {&Changed.True_Lens.Fx, &Changed.True_Lens.Fy,
                                 &Changed.True_Lens.Cx, &Changed.True_Lens.Cy,
                                 &Changed.True_Lens.K1, &Changed.True_Lens.K2};
      for (int k = 0; k < 6; ++k) *Numbers[k] += Lens_Change[k];
      simulate::Image_Truth Image;
      Image.Transform_Cam_Chart = rigsync::Moved(Pose, Motion).matrix();
      const auto Points = simulate::Project_Board(Changed, Image);
      Eigen::VectorXd Flat(176);
      for (Eigen::Index c = 0; c < 88; ++c) {
        Flat.segment<2>(2 * c) = Points[static_cast<std::size_t>(c)];
      }
      return Flat;
    };
    const Vector6d None = Vector6d::Zero();
    for (int k = 0; k < 6; ++k) {
      const Vector6d By_Pose = 1e-6 * Vector6d::Unit(k), By_Lens = 1e-4 * Vector6d::Unit(k);
      Jacobian.col(k) = (Corners(None, By_Lens) - Corners(None, -By_Lens)) / 2e-4;
      Jacobian.col(6 + 6 * i + k) = (Corners(By_Pose, None) - Corners(-By_Pose, None)) / 2e-6;
    }
    Normal += Jacobian.transpose() * Jacobian;
  }
  const Eigen::MatrixXd Covariance = Seen.Corner_Variance * Normal.inverse();
  for (Eigen::Index k = 0; k < 6; ++k) {
    // The derivatives here are at the true poses, there at poses of noisy corners.
    EXPECT_NEAR(std::sqrt(Seen.Lens_Covariance(k, k) / Covariance(k, k)), 1.0, 0.02) << k;
  }
}

TEST(Observation, TrackerPosesHaveTheAxesOfTheSimulatorsTruth) {
  const simulate::Plan Plan = Small_Plan();
  const Observations Seen = rigsync::Observe(Facts_Of(Plan, 0), Board, Square_Size, Lens_Of(Plan));
  ASSERT_EQ(Seen.Rows.size(), Plan.Images.size());
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    const Isometry3d Round =
        Seen.Rows[i].Transform_Tc_Base * Isometry3d(Plan.Images[i].Transform_Base_Tc);
    EXPECT_LE((Round.matrix() - Eigen::Matrix4d::Identity()).norm(), 1e-12);
    EXPECT_LE((Seen.Rows[i].Transform_Base_Tr.matrix() - Plan.Images[i].Transform_Base_Tr).norm(),
              1e-12);
  }
}

TEST(Observation, AQuaternionOfAnyLengthIsTheSameRotation) {
  const auto Unit = rigsync::Transform_Base_Tracker({{1, 2, 3}, {0.6, 0, 0.8, 0}});
  const auto Long = rigsync::Transform_Base_Tracker({{1, 2, 3}, {6, 0, 8, 0}});
  ASSERT_TRUE(Unit && Long);
  EXPECT_TRUE(Unit->isApprox(*Long, 1e-14));
}

TEST(Observation, RowsWithNaNOrWithoutABoardAreNamedAndLeftOut) {
  const simulate::Plan Plan = Small_Plan();
  std::vector<Row_Facts> Rows = Facts_Of(Plan, 0);
  Rows[0].Camera.Position[1] = NaN;
  Rows[1].Board.Quaternion[3] = std::numeric_limits<double>::infinity();
  Rows[2].Board.Quaternion = {0, 0, 0, 0};
  Rows[3].Corners[5][0] = std::numeric_limits<float>::quiet_NaN();
  Rows[4].Corners.clear();
  const Observations Seen = rigsync::Observe(Rows, Board, Square_Size, Lens_Of(Plan));
  EXPECT_EQ(Seen.Unusable_Rows, (std::vector<std::size_t>{0, 1, 2, 3, 4}));
  ASSERT_EQ(Seen.Rows.size(), 1u);
  EXPECT_EQ(Seen.Rows[0].Row, 5u);
}

TEST(Observation, CornersOnOnePointHaveNoPose) {
  const Corner_List Corners(88, {100.0f, 100.0f});
  EXPECT_FALSE(rigsync::Solve_Board_Pose(Corners, Board, Square_Size, Lens_Of(Small_Plan())));
}

TEST(Observation, ALensOfNaNGivesNoPose) {
  const simulate::Plan Plan = Small_Plan();
  Lens Broken = Lens_Of(Plan);
  Broken.Fx = NaN;
  EXPECT_FALSE(rigsync::Solve_Board_Pose(Corners_Of(simulate::Project_Board(Plan, Plan.Images[0])),
                                         Board, Square_Size, Broken));
}

}  // namespace
