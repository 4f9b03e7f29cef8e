// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/holds.h"

#include "tests/rigsync/import/session.h"

#include <gtest/gtest.h>

namespace rigsync {
namespace {

// A hold ends some time after the move begins, which starts from speed 0, and at most half a window
// before it: the medians of both halves see it coming.
constexpr double Edge = 0.25;

struct Recorded {
  Session Of;
  Body_Track Camera, Board;
};

Recorded Record(double Rate_Hz, double Noise_Mm, unsigned Seed = 11) {
  Chance By(Seed);
  Recorded Made;
  Made.Of = Make_Session({6, 1.5, 3.0, 1.0, 2.0}, By);
  const Tracker_Plan Plan{Rate_Hz, 0.0, Made.Of.End_Seconds(), Noise_Mm, 0.1 * Noise_Mm};
  Made.Camera = Track(
      "cam", [&](double At) { return Made.Of.Camera_At(At); }, Plan, By);
  Made.Board = Track(
      "board", [&](double At) { return Made.Of.Board_At(At); }, Plan, By);
  return Made;
}

void Expect_Holds_Of(const Session& Of, const std::vector<Hold>& Found) {
  ASSERT_EQ(Found.size(), Of.Stands.size());
  for (std::size_t i = 0; i < Found.size(); ++i) {
    EXPECT_NEAR(Found[i].Begin_Seconds, Of.Stands[i].Begin_Seconds, Edge) << i;
    EXPECT_NEAR(Found[i].End_Seconds, Of.Stands[i].End_Seconds, Edge) << i;
  }
}

TEST(Holds, AreWhereBothBodiesStandStillAtEveryRateAndNoise) {
  for (const double Rate : {25.0, 60.0, 100.0, 240.0}) {
    for (const double Noise : {0.0, 0.2, 1.0}) {
      SCOPED_TRACE(testing::Message() << Rate << " Hz, " << Noise << " mm");
      const Recorded Made = Record(Rate, Noise);
      const Hold_Search Found = Find_Holds(Made.Camera, &Made.Board, {});
      Expect_Holds_Of(Made.Of, Found.Holds);
      EXPECT_NEAR(Found.Camera.Rate_Hz, Rate, 1e-9);
    }
  }
}

TEST(Holds, AreThoseOfTheCameraAloneWhenTheBoardIsNotTracked) {
  const Recorded Made = Record(100.0, 0.1);
  const Hold_Search Found = Find_Holds(Made.Camera, nullptr, {});
  ASSERT_FALSE(Found.Holds.empty());
  EXPECT_LE(Found.Holds.size(), Made.Of.Stands.size());
  EXPECT_EQ(Found.Board.Samples, 0U);
}

TEST(Holds, GoOnWhenTheTrackersHaveTimesOfTheirOwn) {
  Recorded Made = Record(100.0, 0.1);
  Chance By(5);
  Made.Board = Track(
      "board", [&](double At) { return Made.Of.Board_At(At); },
      {60.0, 0.0037, Made.Of.End_Seconds(), 0.1, 0.01}, By);
  Expect_Holds_Of(Made.Of, Find_Holds(Made.Camera, &Made.Board, {}).Holds);
}

// In the third stand, away from its ends.
double Middle_Of(const Session& Of) {
  return 0.5 * (Of.Stands[2].Begin_Seconds + Of.Stands[2].End_Seconds);
}

template <typename Change>
void Change_Within(Body_Track& Body, double Begin, double End, const Change& By) {
  for (Timed_Sample& One : Body.Samples) {
    if (One.Seconds >= Begin && One.Seconds <= End) By(One);
  }
}

TEST(Holds, GoOnOverSamplesThatAreLostForAMoment) {
  Recorded Made = Record(100.0, 0.1);
  const double Middle = Middle_Of(Made.Of);
  Change_Within(Made.Board, Middle, Middle + 0.2,
                [](Timed_Sample& One) { One.Is_Tracked = false; });
  const Hold_Search Found = Find_Holds(Made.Camera, &Made.Board, {});
  Expect_Holds_Of(Made.Of, Found.Holds);
  EXPECT_GE(Found.Board.Lost, 20U);
}

TEST(Holds, EndWhereSamplesAreLostForLonger) {
  Recorded Made = Record(100.0, 0.1);
  const double Middle = Middle_Of(Made.Of);
  Change_Within(Made.Board, Middle - 0.4, Middle + 0.4,
                [](Timed_Sample& One) { One.Is_Tracked = false; });
  for (const Hold& One : Find_Holds(Made.Camera, &Made.Board, {}).Holds) {
    EXPECT_FALSE(One.Begin_Seconds < Middle && One.End_Seconds > Middle);
  }
}

TEST(Holds, GoOnOverAJumpThatComesBack) {
  for (const double Duration : {0.03, 0.2}) {
    Recorded Made = Record(100.0, 0.1);
    const double Middle = Middle_Of(Made.Of);
    Change_Within(Made.Camera, Middle, Middle + Duration, [](Timed_Sample& One) {
      One.Sample.Position[1] += 0.15;
      One.Sample.Quaternion = {0.5, 0.5, -0.5, 0.5};
    });
    Expect_Holds_Of(Made.Of, Find_Holds(Made.Camera, &Made.Board, {}).Holds);
  }
}

TEST(Holds, EndAtAJumpThatStays) {
  Recorded Made = Record(100.0, 0.1);
  const double Middle = Middle_Of(Made.Of);
  Change_Within(Made.Camera, Middle, Made.Of.Stands[2].End_Seconds,
                [](Timed_Sample& One) { One.Sample.Position[1] += 0.02; });
  for (const Hold& One : Find_Holds(Made.Camera, &Made.Board, {}).Holds) {
    EXPECT_FALSE(One.Begin_Seconds < Middle - 0.2 && One.End_Seconds > Middle + 0.2);
  }
}

TEST(Holds, AreShortStopsBelowTheLeastDuration) {
  const Recorded Made = Record(100.0, 0.1);
  Hold_Options Options;
  Options.Least_Seconds = 10.0;
  const Hold_Search Found = Find_Holds(Made.Camera, &Made.Board, Options);
  EXPECT_TRUE(Found.Holds.empty());
  EXPECT_EQ(Found.Short.size(), Made.Of.Stands.size());
}

// A hand that sways at 20 mm/s holds for a limit of 30 mm/s, not for the usual one.
TEST(Holds, FollowTheStatedLimit) {
  Chance By(2);
  const Body_Track Body = Track(
      "cam",
      [](double Seconds) {
        return Body_Pose{{0.02 * Seconds, 0.0, 0.0}, Eigen::Quaterniond::Identity()};
      },
      {100.0, 0.0, 5.0, 0.0, 0.0}, By);
  EXPECT_TRUE(Find_Holds(Body, nullptr, {}).Holds.empty());
  Hold_Options Options;
  Options.Rest = Speed_Limit{0.030, 0.01};
  EXPECT_EQ(Find_Holds(Body, nullptr, Options).Holds.size(), 1U);
}

TEST(Holds, AreNoneInAnEmptyTake) {
  EXPECT_TRUE(Find_Holds(Body_Track{}, nullptr, {}).Holds.empty());
}

}  // namespace
}  // namespace rigsync
