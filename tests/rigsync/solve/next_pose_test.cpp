// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/next_pose.h"
#include "tests/rigsync/solve/corner_rig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using Eigen::Isometry3d;
using rigsync::Capture_Advice;
using rigsync::Capture_Solution;
using rigsync::Shortage;
using rigsync::Unfinished_Capture;
using testing::ElementsAre;

// A capture of the simulator that can be gone on with.
struct Growing_Capture {
  simulate::Plan Plan;
  corner_rig::Options Of;
  corner_rig::Rig Rig;
  Capture_Solution Solution;

  explicit Growing_Capture(unsigned Seed, int Images = 24) {
    Of.Seed = Seed;
    Of.Images = Images;
    Rig = corner_rig::Make_Rig(Of);
    simulate::Options Settings;
    Settings.Seed = Seed;
    Settings.Image_Count = Images;
    Settings.Width = 960;
    Settings.Height = 540;
    Plan = simulate::Make_Plan(Settings);
    Solve();
  }

  void Solve() {
    Rig.Lens_Px = corner_rig::Solve_Lens(Rig.Facts);
    Solve_With_Lens();
  }

  // One more image of the board, with noise of its own.
  void Add(const Isometry3d& Transform_Cam_Chart) {
    simulate::Random Random(Of.Seed, 900 + static_cast<unsigned>(Rig.Facts.size()));
    simulate::Image_Truth Image = Plan.Images.front();
    Image.Transform_Cam_Chart = Transform_Cam_Chart.matrix();
    const Isometry3d Base_Tc(Image.Transform_Base_Tc);
    const Isometry3d Base_Tr = Base_Tc * Rig.Transform_Cam_Tc.inverse() * Transform_Cam_Chart *
                               Rig.Transform_Tr_Chart.inverse();
    const auto Reported = [&](const Isometry3d& Pose) {
      rigsync::Vector6d Noise;
      Noise << 0.03 * 0.0174533 * Random.Gaussian_Vector(), 3e-4 * Random.Gaussian_Vector();
      return corner_rig::As_Written(simulate::Make_Sample(rigsync::Moved(Pose, Noise).matrix()));
    };
    Rig.Facts.push_back({Rig.Facts.size(), Reported(Base_Tc), Reported(Base_Tr),
                         corner_rig::Project(Plan, Image, Of, Random)});
  }

  // One more row that agrees with the solved mounts and lens, and has no noise.
  void Add_Fitting(const Isometry3d& Transform_Cam_Chart) {
    const Isometry3d Base_Tc(Plan.Images.front().Transform_Base_Tc);
    const rigsync::Mounts& At = Solution.Joint.At;
    Isometry3d Scaled = Transform_Cam_Chart;
    Scaled.translation() *= At.Square_Scale;
    const Isometry3d Base_Tr =
        Base_Tc * At.Transform_Cam_Tc.inverse() * Scaled * At.Transform_Tr_Chart.inverse();
    simulate::Plan Solved = Plan;
    const rigsync::Lens& Lens = Rig.Lens_Px;
    Solved.True_Lens = {Lens.Fx, Lens.Fy, Lens.Cx, Lens.Cy, Lens.K1, Lens.K2};
    simulate::Image_Truth Image;
    Image.Transform_Cam_Chart = Transform_Cam_Chart.matrix();
    corner_rig::Options Exact;
    Exact.Corner_Px = 0;
    simulate::Random Random(1, 1);
    Rig.Facts.push_back({Rig.Facts.size(),
                         corner_rig::As_Written(simulate::Make_Sample(Base_Tc.matrix())),
                         corner_rig::As_Written(simulate::Make_Sample(Base_Tr.matrix())),
                         corner_rig::Project(Solved, Image, Exact, Random)});
  }

  void Solve_With_Lens() {
    Solution = rigsync::Solve_Capture(Rig.Facts, Rig.Board, Rig.Square_Size, Rig.Lens_Px);
  }

  Unfinished_Capture Asked() const {
    Unfinished_Capture Capture;
    Capture.Board = Rig.Board;
    Capture.Square_Size = Rig.Square_Size;
    Capture.Width = 960;
    Capture.Height = 540;
    Capture.Facts = Rig.Facts;
    Capture.Lens_Px = Rig.Lens_Px;
    Capture.Solution = &Solution;
    return Capture;
  }

  double Width_Mm() const { return Solution.Joint.Camera_Mount.Widest_Mm.Half_Width; }
  double Width_Deg() const { return Solution.Joint.Camera_Mount.Widest_Deg.Half_Width; }
};

Unfinished_Capture Empty_Capture() {
  Unfinished_Capture Capture;
  Capture.Board = {11, 8};
  Capture.Square_Size = 0.03;
  Capture.Width = 1920;
  Capture.Height = 1080;
  return Capture;
}

// The noise of a few rows is an estimate, which every row moves by some ten percent. Over so many
// captures that comes to a few.
constexpr unsigned Captures = 6;

// A row that fits the solved mounts exactly leaves them where they are, so that the widths change
// by what the row says and by a little less scatter.
TEST(NextPose, StatedWidthsBecomeThoseThatWerePredicted) {
  double Log_Ratio = 0, Log_Gain = 0;
  for (unsigned Seed = 1; Seed <= Captures; ++Seed) {
    Growing_Capture Capture(Seed, 12);
    const double Before = Capture.Width_Mm();
    const Capture_Advice Advice = rigsync::Advise(Capture.Asked());
    ASSERT_TRUE(Advice.Pose && Advice.Pose->After);
    Capture.Add_Fitting(Advice.Pose->Transform_Cam_Chart);
    Capture.Solve_With_Lens();
    Log_Ratio += std::log(Capture.Width_Mm() / Advice.Pose->After->Mm) / Captures;
    Log_Gain += std::log(Before / Advice.Pose->After->Mm) / Captures;
  }
  EXPECT_GT(Log_Gain, 0.2);
  EXPECT_NEAR(Log_Ratio, 0.0, Log_Gain / 3);
}

TEST(NextPose, ItNarrowsTheMountMoreThanTheSimulatorsNextPoses) {
  double Log_Gain = 0;
  for (unsigned Seed = 1; Seed <= Captures; ++Seed) {
    const Growing_Capture Whole(Seed, 12);
    Growing_Capture Advised = Whole;
    Advised.Rig.Facts.resize(8);
    for (int k = 0; k < 4; ++k) {
      Advised.Solve();
      const Capture_Advice Advice = rigsync::Advise(Advised.Asked());
      ASSERT_TRUE(Advice.Pose);
      Advised.Add(Advice.Pose->Transform_Cam_Chart);
    }
    Advised.Solve();
    Log_Gain += std::log(Whole.Width_Mm() / Advised.Width_Mm()) / Captures;
  }
  EXPECT_GT(Log_Gain, 0.2);
}

// Turns about one axis leave the mounts open along it, so that the next pose turns about another.
TEST(NextPose, BoardsThatWereOnlyRolledAreTiltedNext) {
  Growing_Capture Capture(3, 12);
  Capture.Rig.Facts.clear();
  for (int k = 0; k < 8; ++k) {
    Isometry3d Pose = Isometry3d::Identity();
    Pose.linear() = Eigen::AngleAxisd(0.7 * k, Eigen::Vector3d::UnitZ()).toRotationMatrix();
    Pose.translation() =
        Eigen::Vector3d(0, 0, 0.8 + 0.02 * k) - Pose.linear() * Eigen::Vector3d(0.15, 0.105, 0);
    Capture.Add(Pose);
  }
  const rigsync::Lens Known{1056, 1056, 482.9, 265.7, -0.09, 0.03};
  Capture.Rig.Lens_Px = Known;
  Capture.Solution = rigsync::Solve_Capture(Capture.Rig.Facts, {11, 8}, 0.03, Known);
  const Capture_Advice Advice = rigsync::Advise(Capture.Asked());
  ASSERT_TRUE(Advice.Pose);
  EXPECT_GE(Advice.Pose->Parts.Tilt_Deg, 25);
  EXPECT_FALSE(Advice.Is_Enough);
}

TEST(NextPose, TheFirstPosesAreAdvisedBeforeAnythingIsSolved) {
  Unfinished_Capture Capture = Empty_Capture();
  const Capture_Advice First = rigsync::Advise(Capture);
  ASSERT_TRUE(First.Pose);
  EXPECT_FALSE(First.Pose->After);
  EXPECT_FALSE(First.Is_Enough);
  EXPECT_THAT(First.Short_Of, ElementsAre(Shortage::Boards, Shortage::Mount));
  EXPECT_FALSE(First.Widths_Now);
}

// Each of the first three shows the board differently: its normals are far from each other.
TEST(NextPose, TheFirstPosesTurnTheBoardFarFromEachOther) {
  Growing_Capture Capture(5, 12);
  Capture.Rig.Facts.clear();
  std::vector<Eigen::Matrix3d> Rotations;
  for (int k = 0; k < 4; ++k) {
    Unfinished_Capture Asked = Capture.Asked();
    Asked.Lens_Px.reset();
    Asked.Solution = nullptr;
    const Capture_Advice Advice = rigsync::Advise(Asked);
    ASSERT_TRUE(Advice.Pose);
    for (const Eigen::Matrix3d& Earlier : Rotations) {
      const double Angle =
          Eigen::AngleAxisd(Earlier.transpose() * Advice.Pose->Transform_Cam_Chart.linear())
              .angle();
      EXPECT_GT(Angle * 57.3, 30);
    }
    Rotations.push_back(Advice.Pose->Transform_Cam_Chart.linear());
    Capture.Add(Advice.Pose->Transform_Cam_Chart);
  }
}

TEST(NextPose, ThereIsNeverEnoughBelowTheBoardsThatTheLibraryNeeds) {
  Growing_Capture Capture(4, 12);
  Unfinished_Capture Asked = Capture.Asked();
  Asked.Limits = {1000, 100};
  EXPECT_TRUE(rigsync::Advise(Asked).Is_Enough);
  Capture.Rig.Facts.pop_back();
  Capture.Solve();
  Asked = Capture.Asked();
  Asked.Limits = {1000, 100};
  const Capture_Advice Advice = rigsync::Advise(Asked);
  EXPECT_FALSE(Advice.Is_Enough);
  EXPECT_THAT(Advice.Short_Of, ElementsAre(Shortage::Boards));
}

// 99 % of a normal distribution are within 2.576 deviations, 95 % within 1.960.
TEST(NextPose, ThereIsEnoughWhenNinetyNinePercentTakeTwoThirdsOfTheLimits) {
  const Growing_Capture Capture(6);
  const double Grown = 2.576 / 1.960 * 1.5;
  const double Mm = Grown * Capture.Width_Mm(), Deg = Grown * Capture.Width_Deg();
  Unfinished_Capture Asked = Capture.Asked();
  Asked.Limits = {1.01 * Mm, 1.01 * Deg};
  EXPECT_TRUE(rigsync::Advise(Asked).Is_Enough);
  for (const auto& Limits : {rigsync::Accuracy_Limits{0.99 * Mm, 1.01 * Deg},
                             rigsync::Accuracy_Limits{1.01 * Mm, 0.99 * Deg}}) {
    Asked.Limits = Limits;
    EXPECT_THAT(rigsync::Advise(Asked).Short_Of, ElementsAre(Shortage::Certainty));
  }
}

TEST(NextPose, ThereIsNotEnoughWithASlipOrAFaultyCaptureOrALastRowThatContradicts) {
  Growing_Capture Capture(7);
  ASSERT_TRUE(rigsync::Advise(Capture.Asked()).Is_Enough);
  Unfinished_Capture Faulty = Capture.Asked();
  Faulty.Is_Faulty = true;
  EXPECT_THAT(rigsync::Advise(Faulty).Short_Of, ElementsAre(Shortage::Soundness));

  rigsync::Slip Slip;
  Slip.Evidence = rigsync::Slip_Evidence::Look;
  Slip.Motion[3] = 0.003;
  Capture.Solution.Likeliest_Slip = Slip;
  const Capture_Advice With_Slip = rigsync::Advise(Capture.Asked());
  EXPECT_THAT(With_Slip.Short_Of, ElementsAre(Shortage::Soundness));
  EXPECT_THAT(With_Slip.Doubts, ElementsAre(rigsync::Verdict_Reason::Slip_Suspected));

  Capture.Solution.Likeliest_Slip.reset();
  Capture.Solution.Place.emplace();
  EXPECT_THAT(rigsync::Advise(Capture.Asked()).Doubts,
              ElementsAre(rigsync::Verdict_Reason::Place_Contradicted));
  Capture.Solution.Place->Is_Prior = true;
  EXPECT_TRUE(rigsync::Advise(Capture.Asked()).Is_Enough);

  Capture.Solution.Place.reset();
  Capture.Solution.Joint.Rows.back().Is_Kept = false;
  EXPECT_THAT(rigsync::Advise(Capture.Asked()).Doubts,
              ElementsAre(rigsync::Verdict_Reason::Last_Rows_Left_Out));
}

TEST(NextPose, ALensThatFewBoardsGotWrongStillGetsAnAdvice) {
  Unfinished_Capture Capture = Empty_Capture();
  Capture.Lens_Px = rigsync::Lens{1500, 1500, 900, 500, -8.0, -90.0};
  const Capture_Advice Advice = rigsync::Advise(Capture);
  ASSERT_TRUE(Advice.Pose);
  EXPECT_TRUE(Advice.Pose->Transform_Cam_Chart.matrix().allFinite());
}

}  // namespace
