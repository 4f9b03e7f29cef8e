// SPDX-License-Identifier: Apache-2.0
//
// Both mounts from the 26 chessboard photographs that Debian ships with OpenCV's examples: 9 by 6
// inner corners, 13 of each of two cameras, 640 by 480. The trackers' rows are made up around the
// boards that the photographs show. scripts/fetch-photographs puts the photographs into the build
// tree; without them these tests are skipped.
#include "rigsync/capture/board_search.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/solve/capture_solution.h"
#include "simulate/random.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

namespace {

using Eigen::AngleAxisd;
using Eigen::Isometry3d;
using Eigen::Vector3d;
using rigsync::Capture_Row;

namespace fs = std::filesystem;

constexpr rigsync::Board_Size Board{9, 6};
constexpr double Square_Size = 0.025;  // metres; the true size is unknown, and any value works

Isometry3d Pose(const Vector3d& Axis, double Deg, const Vector3d& Position) {
  Isometry3d Made = Isometry3d::Identity();
  Made.linear() = AngleAxisd(Deg / rigsync::Degrees_Per_Radian, Axis.normalized()).matrix();
  Made.translation() = Position;
  return Made;
}

// The sample of a tracker whose relabelled axes have this pose in Base: the quaternion takes Base's
// directions to the body's own axes (x = -x, y = -z, z = -y of the relabelled ones).
rigsync::Tracker_Sample Sample_Of(const Isometry3d& Base_Tracker, simulate::Random& Random) {
  constexpr double Position_Noise = 0.0003, Rotation_Noise_Deg = 0.03;
  Eigen::Matrix3d Body;
  Body << -Base_Tracker.linear().col(0), -Base_Tracker.linear().col(2),
      -Base_Tracker.linear().col(1);
  const Vector3d Turn = Random.Gaussian_Vector() * Rotation_Noise_Deg / rigsync::Degrees_Per_Radian;
  const Eigen::Quaterniond Q =
      AngleAxisd(Turn.norm(), Turn.normalized()) * Eigen::Quaterniond(Body.transpose().eval());
  const Vector3d Position = Base_Tracker.translation() + Position_Noise * Random.Gaussian_Vector();
  return {{Position.x(), Position.y(), Position.z()}, {Q.w(), Q.x(), Q.y(), Q.z()}};
}

class Photographed : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!fs::exists(fs::path(RIGSYNC_PHOTOGRAPHS) / "left01.jpg")) {
      std::cerr << "\n*** SKIPPED: the real photographs aren't in " RIGSYNC_PHOTOGRAPHS
                   "; run scripts/fetch-photographs ***\n\n";
      GTEST_SKIP() << "no photographs";
    }
    for (int i = 1; i <= 14; ++i) {
      if (i == 10) continue;  // the series has no number 10
      Capture_Row Row;
      Row.Image = GetParam() + std::string(i < 10 ? "0" : "") + std::to_string(i) + ".jpg";
      Row.Is_Sound = true;
      Rows.push_back(Row);
    }
    Search = rigsync::Search_Boards(Rows, std::vector<bool>(Rows.size(), true), RIGSYNC_PHOTOGRAPHS,
                                    Board, {});
    Fit = rigsync::Fit_Lens(Search, Board, Square_Size);
    ASSERT_TRUE(Fit);
    ASSERT_EQ(Fit->Poses.size(), 13u);
  }

  void Make_Samples(unsigned Seed) {
    simulate::Random Random(Seed, 5);
    const Vector3d Centre_Chart(0.5 * 8 * Square_Size, 0.5 * 5 * Square_Size, 0);
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      const double Step = static_cast<double>(i);
      Isometry3d Cam_Chart = Isometry3d::Identity();
      Cam_Chart.linear() = Fit->Poses[i].Rotation_Cam_Chart.toRotationMatrix();
      Cam_Chart.translation() = Fit->Poses[i].Centre_Cam - Cam_Chart.linear() * Centre_Chart;
      const Isometry3d Base_Tr = Pose({0.3, 1.0, 0.2}, 11.0 * Step, {1.0, 0.1 * Step, 2.0});
      Rows[i].Camera = Sample_Of(Base_Tr * Tr_Chart * Cam_Chart.inverse() * Cam_Tc, Random);
      Rows[i].Board = Sample_Of(Base_Tr, Random);
    }
  }

  const Isometry3d Cam_Tc = Pose({0.6, -0.5, 0.4}, 48.0, {0.06, -0.14, -0.08});
  const Isometry3d Tr_Chart = Pose({1.0, 0.0, 0.0}, 30.0, {-0.1, 0.05, 0.02});
  std::vector<Capture_Row> Rows;
  rigsync::Board_Search Search;
  std::optional<rigsync::Lens_Fit> Fit;
};

// The boards' poses are those that the rows were made for, so the stated width, which counts the
// corners and the lens too, is on the safe side.
TEST_P(Photographed, TheMountOfTheRowsIsInTheStated95Percent) {
  constexpr int Draws = 20;
  int Inside = 0;
  for (unsigned Seed = 1; Seed <= Draws; ++Seed) {
    Make_Samples(Seed);
    const rigsync::Capture_Solution Solution =
        rigsync::Solve_Capture(rigsync::Facts_Of(Rows, Search), Board, Square_Size, Fit->Lens_Px);
    ASSERT_EQ(Solution.Joint.Status, rigsync::Solve_Status::Solved);
    const rigsync::Vector6d Error =
        rigsync::Motion_Between(Cam_Tc, Solution.Joint.At.Transform_Cam_Tc);
    // 13 photographs at half a metre with this noise.
    EXPECT_LT(Error.tail<3>().norm(), 0.003) << Seed;
    EXPECT_LT(Error.head<3>().norm() * rigsync::Degrees_Per_Radian, 0.2) << Seed;
    const rigsync::Mount_Uncertainty& Mount = Solution.Joint.Camera_Mount;
    for (int k = 0; k < 3; ++k) {
      Inside += std::abs(Error[k]) * rigsync::Degrees_Per_Radian <= Mount.Half_Width_Deg[k];
      Inside += std::abs(Error[3 + k]) * 1000.0 <= Mount.Half_Width_Mm[k];
    }
  }
  // 114 of 120 are expected; fewer than 104 has a chance of one in ten thousand, if the six were
  // independent.
  EXPECT_GE(Inside, 104);
}

// A real lens has a little of what the model leaves out: it may be found, and what it does to the
// mount is small against the limits.
TEST_P(Photographed, WhatTheLensModelLeavesOutHardlyMovesTheMount) {
  Make_Samples(1);
  const rigsync::Capture_Solution Solution =
      rigsync::Solve_Capture(rigsync::Facts_Of(Rows, Search), Board, Square_Size, Fit->Lens_Px);
  ASSERT_TRUE(Solution.Lens_Check);
  EXPECT_LT(Solution.Lens_Check->Mount_Motion.tail<3>().norm(), 0.003);
  EXPECT_LT(Solution.Lens_Check->Mount_Motion.head<3>().norm() * rigsync::Degrees_Per_Radian, 0.3);
}

INSTANTIATE_TEST_SUITE_P(BothCameras, Photographed, testing::Values("left", "right"));

}  // namespace
