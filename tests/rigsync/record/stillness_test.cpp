// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/stillness.h"

#include "rigsync/record/attitude.h"
#include "rigsync/record/gap_counter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

namespace rigsync {
namespace {

// Normal numbers that are the same on every machine, by the sum of twelve even ones.
class Noise {
 public:
  double Next() {
    double Sum = -6;
    for (int i = 0; i < 12; ++i) Sum += static_cast<double>(Source()) / 4294967296.0;
    return Sum;
  }

 private:
  std::mt19937 Source{1};
};

struct Pose_Numbers {
  double X = 0, Pan_Deg = 0;  // metres, degrees
};

// Two seconds of samples.
std::vector<Timed_Sample> Track(double Rate_Hz,
                                const std::function<Pose_Numbers(double Seconds)>& Pose) {
  std::vector<Timed_Sample> Samples;
  for (int i = 0; i < 2 * Rate_Hz; ++i) {
    const double Seconds = i / Rate_Hz;
    const Pose_Numbers At = Pose(Seconds);
    Samples.push_back(
        {Seconds, true, Sample_Of_Pose(Pan_Tilt_Roll(At.Pan_Deg, 10, 20), {At.X, 1.0, 2.0})});
  }
  return Samples;
}

TEST(Stillness, ABodyWithoutNoiseIsStill) {
  EXPECT_EQ(Motion_At_End(Track(100, [](double) { return Pose_Numbers(); })), Motion::Still);
}

// Of 200 tracks with noise of each size at most a few may be taken for moving ones.
TEST(Stillness, NoiseOfTheTrackerIsNoMotion) {
  for (const double Noise_Mm : {0.02, 0.2, 2.0}) {
    Noise Random;
    int Still = 0;
    for (int i = 0; i < 200; ++i) {
      const auto Samples = Track(100, [&](double) {
        return Pose_Numbers{Noise_Mm / 1000 * Random.Next(), Noise_Mm / 10 * Random.Next()};
      });
      Still += Motion_At_End(Samples) == Motion::Still ? 1 : 0;
    }
    EXPECT_GE(Still, 190) << Noise_Mm << " mm";
  }
}

// The limits without noise: half means are 0.3 s apart, so 1.67 mm/s and 0.167 degrees/s.
TEST(Stillness, SlowMotionIsJudgedByItsSpeed) {
  const auto At_Speed = [](double Mm, double Deg) {
    return Motion_At_End(Track(100, [&](double Seconds) {
      return Pose_Numbers{Mm / 1000 * Seconds, Deg * Seconds};
    }));
  };
  EXPECT_EQ(At_Speed(1.2, 0), Motion::Still);
  EXPECT_EQ(At_Speed(2.5, 0), Motion::Moving);
  EXPECT_EQ(At_Speed(0, 0.12), Motion::Still);
  EXPECT_EQ(At_Speed(0, 0.25), Motion::Moving);
}

// 4 mm/s move a sample by less than noise of half a millimetre does, but not the means.
TEST(Stillness, MotionIsSeenThroughNoise) {
  Noise Random;
  int Moving = 0;
  for (int i = 0; i < 200; ++i) {
    const auto Samples = Track(100, [&](double Seconds) {
      return Pose_Numbers{0.0005 * Random.Next() + 0.004 * Seconds, 0.0};
    });
    Moving += Motion_At_End(Samples) == Motion::Moving ? 1 : 0;
  }
  EXPECT_GE(Moving, 180);
}

// The means of both halves are alike when a hand shakes.
TEST(Stillness, ShakingIsMotion) {
  const auto Samples = Track(100, [](double Seconds) {
    return Pose_Numbers{0.002 * std::sin(40 * Seconds), 0.0};
  });
  EXPECT_EQ(Motion_At_End(Samples), Motion::Moving);
}

TEST(Stillness, MotionThatHasEndedIsNoMotion) {
  const auto Samples = Track(100, [](double Seconds) {
    return Pose_Numbers{Seconds < 1.2 ? Seconds : 1.2, 0.0};
  });
  EXPECT_EQ(Motion_At_End(Samples), Motion::Still);
}

TEST(Stillness, ASlowTrackerIsJudgedByEightSamples) {
  const auto Moving = [](double Seconds) { return Pose_Numbers{0.01 * Seconds, 0.0}; };
  std::vector<Timed_Sample> Samples = Track(5, Moving);
  EXPECT_EQ(Motion_At_End(Samples), Motion::Moving);
  Samples.resize(7);
  EXPECT_EQ(Motion_At_End(Samples), Motion::Unknown);
  EXPECT_EQ(Motion_At_End({}), Motion::Unknown);
}

TEST(GapCounter, CountsIntervalsOfMoreThanThreeAndAHalf) {
  Gap_Counter Gaps;
  double Seconds = 0;
  for (int i = 0; i < 20; ++i) Gaps.Take(Seconds += 0.01);
  Gaps.Take(Seconds += 0.034);
  EXPECT_EQ(Gaps.Count(), 0U);
  Gaps.Take(Seconds += 0.036);
  EXPECT_EQ(Gaps.Count(), 1U);
  EXPECT_NEAR(Gaps.Longest_Seconds(), 0.036, 1e-9);
}

TEST(GapCounter, FollowsARateThatChanges) {
  Gap_Counter Gaps;
  double Seconds = 0;
  for (int i = 0; i < 40; ++i) Gaps.Take(Seconds += 0.01);
  for (int i = 0; i < 40; ++i) Gaps.Take(Seconds += 0.03);
  Gaps.Take(Seconds += 0.1);
  EXPECT_EQ(Gaps.Count(), 0U);
}

}  // namespace
}  // namespace rigsync
