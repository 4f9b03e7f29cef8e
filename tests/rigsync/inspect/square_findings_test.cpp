// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/square_findings.h"
#include "tests/rigsync/inspect/planned_capture.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using planned_capture::Compared;
using planned_capture::For_Samples;
using planned_capture::Noisy;
using planned_capture::Planned;
using rigsync::Agreement;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Joint_Solution;
using rigsync::Level;
using rigsync::Tracker_Sample;
using testing::AllOf;
using testing::HasSubstr;

constexpr double Square = 0.03;

// ---- Gross scales ------------------------------------------------------------------------------

// If the trackers' metre is Factor times too short, they report Factor times longer lengths.
Agreement With_Positions_Times(double Factor, const simulate::Options& Options = Noisy()) {
  Compared Capture = Planned(Options);
  For_Samples(Capture, [&](Tracker_Sample& Sample) {
    for (double& Value : Sample.Position) Value *= Factor;
  });
  return Capture.Measure();
}

TEST(SquareFindings, AScaleIsGrossFromThreePercentOn) {
  EXPECT_FALSE(rigsync::Is_Scale_Gross(With_Positions_Times(1.0)));
  EXPECT_FALSE(rigsync::Is_Scale_Gross(With_Positions_Times(1.02)));
  EXPECT_TRUE(rigsync::Is_Scale_Gross(With_Positions_Times(1.04)));
  EXPECT_FALSE(rigsync::Is_Scale_Gross(With_Positions_Times(0.98)));
  EXPECT_TRUE(rigsync::Is_Scale_Gross(With_Positions_Times(0.96)));
}

TEST(SquareFindings, AWrongUnitIsGrossWhicheverItIs) {
  for (const double Factor : {10.0, 0.1, 25.4, 1 / 25.4, 39.37, 100.0, 1000.0, 0.001}) {
    EXPECT_TRUE(rigsync::Is_Scale_Gross(With_Positions_Times(Factor))) << Factor;
  }
}

TEST(SquareFindings, AGrossScaleNamesTheSquareThatFits) {
  Findings List;
  rigsync::Add_Gross_Scale(With_Positions_Times(0.1, {}), Square, List);
  const Finding Found = List.Sorted().at(0);
  EXPECT_EQ(Found.Id, "scale");
  EXPECT_EQ(Found.Severity, Level::Error);
  EXPECT_THAT(Found.What, HasSubstr("a metre of the trackers is about 10 m of the board"));
  EXPECT_EQ(Found.Example, "A --square of 3 mm would fit, 0.1 times the current one.");
}

// Boards at 0.35 to 0.47 m from the camera, within a hand's breadth of its axis. The trackers'
// errors depend on the pose, as those of arms and of cameras on the wall do, and look like a scale.
Compared Short_Capture(unsigned Seed, double Factor, double Error) {
  simulate::Options Options = Noisy();
  Options.Seed = Seed;
  Compared Capture = Planned(Options);
  simulate::Random Random(Seed, 7);
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const Eigen::Matrix3d Rotation_Cam_Tc = Plan.Transform_Cam_Tc.topLeftCorner<3, 3>();
  for (std::size_t i = 0; i < Capture.Rows.size(); ++i) {
    const Eigen::Vector3d Centre(Random.Between(-0.08, 0.08), Random.Between(-0.08, 0.08),
                                 Random.Between(0.35, 0.47));
    // What the board moved, the board's tracker moved too, in the axes of Base.
    const Eigen::Vector3d Shift_Cam = Centre - Capture.Poses[i].Centre_Cam;
    Capture.Poses[i].Centre_Cam = Centre;
    const std::array<double, 4>& Q = Capture.Rows[i].Camera.Quaternion;
    const Eigen::Quaterniond Rotation_Body_Base(Q[0], Q[1], Q[2], Q[3]);
    const Eigen::Vector3d Shift =
        Rotation_Body_Base.conjugate() *
        (rigsync::Tracker_Axes_Relabelling().transpose() * Rotation_Cam_Tc.transpose() * Shift_Cam);
    for (std::size_t k = 0; k < 3; ++k) {
      double& Position = Capture.Rows[i].Board.Position[k];
      Position += Shift[static_cast<Eigen::Index>(k)];
      const double Camera = Capture.Rows[i].Camera.Position[k];
      Position = Camera + Factor * (Position - Camera + Error * Random.Gaussian());
    }
  }
  return Capture;
}

TEST(SquareFindings, AScaleThatAShortCaptureHardlyDeterminesIsNotReported) {
  constexpr double Old_Limit_Deviations = 5.0, Gross_Part = 0.03;
  int Tempting = 0;
  for (unsigned Seed = 1; Seed <= 40; ++Seed) {
    SCOPED_TRACE(Seed);
    // By its own deviation this scale is off.
    const Agreement Measured = Short_Capture(Seed, 1 / 0.95, 0.004).Measure();
    ASSERT_TRUE(Measured.Scale);
    const double Part = std::abs(*Measured.Scale - 1.0);
    if (Part > Gross_Part && Part > Old_Limit_Deviations * Measured.Scale_Deviation) ++Tempting;
    EXPECT_FALSE(rigsync::Is_Scale_Gross(Measured));
  }
  EXPECT_GT(Tempting, 10);
}

TEST(SquareFindings, AWrongUnitShowsInAShortCaptureToo) {
  for (const double Factor : {10.0, 0.1, 25.4, 1 / 25.4}) {
    EXPECT_TRUE(rigsync::Is_Scale_Gross(Short_Capture(3, Factor, 0.004).Measure())) << Factor;
  }
}

TEST(SquareFindings, AMirroredSystemHasNoGrossScale) {
  Compared Capture = Planned();
  For_Samples(Capture, [](Tracker_Sample& Sample) {
    for (double& Value : Sample.Position) Value *= -1.0;
  });
  EXPECT_LT(*Capture.Measure().Scale, -0.9);
  EXPECT_FALSE(rigsync::Is_Scale_Gross(Capture.Measure()));
}

// ---- Small errors ------------------------------------------------------------------------------

std::vector<Finding> Judged(const Joint_Solution& Joint) {
  Findings List;
  rigsync::Judge_Square(Joint, Square, List);
  return List.Sorted();
}

Joint_Solution Solved(double Scale, double Deviation) {
  Joint_Solution Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.At.Square_Scale = Scale;
  Joint.Scale_Deviation = Deviation;
  return Joint;
}

TEST(SquareFindings, ASmallErrorIsToldFromFourDeviationsAndATenthOfAPercentOn) {
  EXPECT_TRUE(Judged(Solved(1.0039, 0.001)).empty());
  EXPECT_EQ(Judged(Solved(1.0041, 0.001)).size(), 1u);
  EXPECT_TRUE(Judged(Solved(0.9961, 0.001)).empty());
  EXPECT_EQ(Judged(Solved(0.9959, 0.001)).size(), 1u);
  EXPECT_TRUE(Judged(Solved(1.00099, 0.0001)).empty());
  EXPECT_EQ(Judged(Solved(1.00101, 0.0001)).size(), 1u);
  EXPECT_TRUE(Judged(Solved(1.05, NAN)).empty());
  // What a narrow prior leaves of -4.2 +- 0.7 percent in a short capture.
  EXPECT_TRUE(Judged(Solved(0.9935, 0.0028)).empty());
}

TEST(SquareFindings, ASmallErrorComesWithTheLengthThatFits) {
  const Finding Longer = Judged(Solved(1.005, 0.0005)).at(0);
  EXPECT_EQ(Longer.Id, "scale");
  EXPECT_EQ(Longer.Severity, Level::Warning);
  EXPECT_THAT(Longer.What,
              AllOf(HasSubstr("0.50 percent longer than --square"), HasSubstr("30.150 mm +- 0.030"),
                    HasSubstr("30.000 mm is stated")));
  EXPECT_THAT(Longer.Example, HasSubstr("10 standard deviations"));
  EXPECT_THAT(Judged(Solved(0.995, 0.0005)).at(0).What, HasSubstr("0.50 percent shorter"));
}

TEST(SquareFindings, AHalfPercentIsFoundInASolvedCaptureAndNothingInAGoodOne) {
  pose_rig::Options Options;
  for (Options.Seed = 1; Options.Seed <= 8; ++Options.Seed) {
    SCOPED_TRACE(Options.Seed);
    Options.Square_Scale = 1.005;
    EXPECT_EQ(Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen)).size(), 1u);
    Options.Square_Scale = 1.0;
    EXPECT_TRUE(Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen)).empty());
  }
}

TEST(SquareFindings, NothingIsToldOfAScaleThatNoiseHides) {
  pose_rig::Options Options;
  Options.Position_Mm = 6.0;
  Options.Rotation_Deg = 0.3;
  Options.Images = 12;
  for (Options.Seed = 1; Options.Seed <= 20; ++Options.Seed) {
    SCOPED_TRACE(Options.Seed);
    for (const double Scale : {0.98, 1.0, 1.02}) {
      Options.Square_Scale = Scale;
      EXPECT_TRUE(Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen)).empty());
    }
  }
}

}  // namespace
