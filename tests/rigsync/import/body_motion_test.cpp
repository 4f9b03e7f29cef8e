// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/body_motion.h"

#include "rigsync/geometry/angle.h"
#include "tests/rigsync/import/session.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

// Sums of a few dozen doubles near 1.
constexpr double Rounding = 1e-9;

Eigen::Quaterniond About(const Eigen::Vector3d& Axis, double Angle_Rad) {
  return Eigen::Quaterniond(Eigen::AngleAxisd(Angle_Rad, Axis.normalized()));
}

// Moves with one velocity and turns about one axis of Base.
Body_Pose Steady(double Seconds) {
  const Eigen::Vector3d Axis(1.0, 2.0, -2.0);
  return {Eigen::Vector3d(1.0, 2.0, 3.0) + Seconds * Eigen::Vector3d(0.03, -0.04, 0.0),
          About(Axis, 0.3 * Seconds) * About(Eigen::Vector3d::UnitY(), 0.7)};
}

Body_Track Steady_Track(double Rate_Hz, double End_Seconds) {
  Chance By(1);
  return Track("body", Steady, {Rate_Hz, 0.0, End_Seconds, 0.0, 0.0}, By);
}

double Angle_From(const Tracker_Sample& Sample, const Eigen::Quaterniond& Base_Body) {
  return Rotation_Base_Body(Sample).angularDistance(Base_Body);
}

TEST(BodyMotion, MeasuresTheSpeedOfASteadyMotionAtEveryRate) {
  for (const double Rate : {25.0, 30.0, 100.0, 240.0}) {
    const std::vector<Speed_Sample> Speeds = Measure_Speeds(Steady_Track(Rate, 2.0));
    std::size_t Known = 0;
    for (const Speed_Sample& One : Speeds) {
      if (std::isnan(One.Linear)) continue;
      ++Known;
      EXPECT_NEAR(One.Linear, 0.05, Rounding) << Rate << " at " << One.Seconds;
      EXPECT_NEAR(One.Angular, 0.3, Rounding) << Rate << " at " << One.Seconds;
    }
    EXPECT_GT(Known, Speeds.size() * 8 / 10) << Rate;
  }
}

TEST(BodyMotion, HasNoSpeedWhereSamplesAreMissing) {
  Body_Track Body = Steady_Track(100.0, 2.0);
  for (std::size_t i = 80; i < 120; ++i) Body.Samples[i].Is_Tracked = false;
  const std::vector<Speed_Sample> Speeds = Measure_Speeds(Body);
  ASSERT_EQ(Speeds.size(), Body.Samples.size() - 40);
  EXPECT_TRUE(std::isnan(Speeds[79].Linear));  // the next sample is 0.41 s later
  EXPECT_TRUE(std::isnan(Speeds[80].Linear));
  EXPECT_FALSE(std::isnan(Speeds[70].Linear));
}

TEST(BodyMotion, KeepsItsSpeedWhenAFewSamplesJump) {
  Body_Track Body = Steady_Track(100.0, 2.0);
  for (std::size_t i = 100; i < 105; ++i) {
    Body.Samples[i].Sample.Position[0] += 0.2;
    Body.Samples[i].Sample.Quaternion = {0.0, 1.0, 0.0, 0.0};
  }
  for (const Speed_Sample& One : Measure_Speeds(Body)) {
    if (std::isnan(One.Linear)) continue;
    EXPECT_LT(One.Linear, 0.1) << One.Seconds;  // a jump of 0.2 m would make 1.3 m/s of it
    EXPECT_LT(One.Angular, 0.6) << One.Seconds;
  }
}

// 4000 samples: the deviation of a second's estimate is a tenth, and the lowest quarter of seconds
// is about a twentieth lower than the middle.
TEST(BodyMotion, TellsTheNoiseOfABodyThatMovesHalfOfTheTime) {
  constexpr double Part = 0.15;
  Chance By(7);
  const Session Of = Make_Session({8, 2.0, 3.0, 1.0, 3.0}, By);
  for (const double Noise : {0.1, 1.0}) {
    const Body_Track Body = Track(
        "body", [&](double At) { return Of.Camera_At(At); },
        {100.0, 0.0, Of.End_Seconds(), Noise, 0.1 * Noise}, By);
    const Body_Noise Found = Measure_Noise(Body);
    EXPECT_NEAR(Found.Position_Mm, Noise, Part * Noise);
    EXPECT_NEAR(Found.Rotation_Deg, 0.1 * Noise, Part * 0.1 * Noise);
  }
}

TEST(BodyMotion, HasNoNoiseWithoutSamples) {
  EXPECT_EQ(Measure_Noise(Body_Track{}).Position_Mm, 0.0);
  EXPECT_TRUE(Measure_Speeds(Body_Track{}).empty());
}

TEST(BodyMotion, RestsUpToItsNoiseButNeverBelowTheLeastLimit) {
  const Speed_Limit Least{0.010, 0.01};
  EXPECT_EQ(Rest_Limit({0.0, 0.0}, 0.01, Least).Linear, 0.010);
  EXPECT_EQ(Rest_Limit({1.0, 0.0}, 0.0, Least).Linear, 0.010);  // no rate, no limit of its own
  // Fifteen samples in half of the window: 5 * sqrt(2 * 1.571 / 15) / 0.15 s, times 2 mm.
  const Speed_Limit Noisy = Rest_Limit({2.0, 1.0}, 0.01, Least);
  EXPECT_NEAR(Noisy.Linear, 5.0 * std::sqrt(2.0 * 1.571 / 15.0) / 0.15 * 0.002, Rounding);
  EXPECT_NEAR(Noisy.Angular, 500.0 * Noisy.Linear / Degrees_Per_Radian, Rounding);
}

TEST(BodyMotion, ReadsAStretchAsItsMedianWithSpreadAndVelocity) {
  const Body_Track Body = Steady_Track(100.0, 2.0);
  const Body_Reading Found = Read_Stretch(Body, 0.5, 1.5).value();
  EXPECT_EQ(Found.Sample_Count, 101U);
  const Body_Pose Middle = Steady(1.0);
  for (std::size_t Axis = 0; Axis < 3; ++Axis) {
    EXPECT_NEAR(Found.Sample.Position[Axis], Middle.Position[static_cast<Eigen::Index>(Axis)],
                Rounding);
  }
  // Components of a quaternion go along a curve, whose two sides are alike about the middle.
  EXPECT_LT(Angle_From(Found.Sample, Middle.Rotation_Base_Body), Rounding);
  EXPECT_NEAR(Found.Velocity.Linear.x(), 0.03, 1e-9);
  EXPECT_NEAR(Found.Velocity.Linear.y(), -0.04, 1e-9);
  const Eigen::Vector3d Expected = 0.3 * Eigen::Vector3d(1.0, 2.0, -2.0) / 3.0;
  EXPECT_LT((Found.Velocity.Angular - Expected).norm(), Rounding);
  // x moves by 0.03 m/s within 0.5 s to either side: the median of the deviations is half of the
  // largest. So with y.
  const double Of_X = 1.4826 * 0.5 * 15.0, Of_Y = 1.4826 * 0.5 * 20.0;
  EXPECT_NEAR(Found.Spread_Mm, std::sqrt((Of_X * Of_X + Of_Y * Of_Y) / 3.0), Rounding);
}

TEST(BodyMotion, ReadsAStretchAsIfSomeSamplesHadNotJumpedAndSignsHadNotChanged) {
  Chance By(3);
  Body_Track Body = Track(
      "body", [](double) { return Steady(0.0); }, {100.0, 0.0, 1.0, 0.0, 0.0}, By);
  for (std::size_t i = 0; i < Body.Samples.size(); ++i) {
    if (i % 5 == 0) Body.Samples[i].Sample = {{9.0, 9.0, 9.0}, {0.0, 0.0, 1.0, 0.0}};
    if (i % 3 == 0) {
      for (double& Value : Body.Samples[i].Sample.Quaternion) Value = -Value;
    }
  }
  const Body_Reading Found = Read_Stretch(Body, 0.0, 1.0).value();
  EXPECT_NEAR(Found.Sample.Position[0], 1.0, Rounding);
  EXPECT_LT(Angle_From(Found.Sample, Steady(0.0).Rotation_Base_Body), Rounding);
  EXPECT_LT(Found.Spread_Mm, Rounding);
  EXPECT_LT(Found.Spread_Deg, Rounding);
}

TEST(BodyMotion, ReadsNoStretchOfTwoSamples) {
  const Body_Track Body = Steady_Track(100.0, 1.0);
  EXPECT_FALSE(Read_Stretch(Body, 0.495, 0.515));
  EXPECT_TRUE(Read_Stretch(Body, 0.485, 0.515));
}

TEST(BodyMotion, ReadsAnInstantOfASteadyMotionBetweenSamples) {
  for (const double Rate : {25.0, 100.0, 240.0}) {
    const Body_Track Body = Steady_Track(Rate, 2.0);
    const double Seconds = 1.0037;
    const Body_Reading Found = Read_Instant(Body, Seconds).value();
    const Body_Pose Expected = Steady(Seconds);
    for (std::size_t Axis = 0; Axis < 3; ++Axis) {
      EXPECT_NEAR(Found.Sample.Position[Axis], Expected.Position[static_cast<Eigen::Index>(Axis)],
                  Rounding);
    }
    EXPECT_LT(Angle_From(Found.Sample, Expected.Rotation_Base_Body), Rounding);
    EXPECT_NEAR(Found.Velocity.Linear.x(), 0.03, Rounding);
    EXPECT_LT((Found.Velocity.Angular - 0.1 * Eigen::Vector3d(1.0, 2.0, -2.0)).norm(), Rounding);
    EXPECT_LT(Found.Spread_Mm, Rounding);
  }
}

TEST(BodyMotion, ReadsNoInstantWithoutSamplesOnBothSides) {
  const Body_Track Body = Steady_Track(100.0, 2.0);
  EXPECT_FALSE(Read_Instant(Body, -0.05));
  EXPECT_FALSE(Read_Instant(Body, 1.995));
  EXPECT_TRUE(Read_Instant(Body, 1.975));
}

}  // namespace
}  // namespace rigsync
