// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/clock.h"

#include "tests/rigsync/import/session.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

TEST(Clock, IsMatchedByTimecodesAcrossMidnight) {
  // The take begins at 23:59:50, the clip ten seconds after midnight: 20 s later.
  const Clock_Match Match = Match_By_Timecode(86390.0, 10.0, 0.0);
  EXPECT_DOUBLE_EQ(Match.Offset_Seconds, 20.0);
  EXPECT_EQ(Match.Method, Clock_Method::Timecode);
  EXPECT_TRUE(Match.Is_Certain);
}

// Pictures whose clock is the time of day, in the afternoon and across midnight: their time of the
// take is that of the day less its beginning, and a day later what is beyond midnight.
TEST(Clock, IsMatchedByTimecodesThatAreTheTimeOfDay) {
  constexpr double Afternoon = 14 * 3600.0, Late = 86380.0;
  EXPECT_DOUBLE_EQ(Match_By_Timecode(Afternoon, 0.0, 60.0 - (Afternoon + 50.0)).Offset_Seconds,
                   -Afternoon);
  EXPECT_DOUBLE_EQ(Match_By_Timecode(Late, 0.0, 60.0 - (Late + 50.0)).Offset_Seconds, -Late);
  // The list's times began again at midnight, so its pictures are at 10 to 100 seconds.
  EXPECT_DOUBLE_EQ(Match_By_Timecode(Late, 0.0, 60.0 - 55.0).Offset_Seconds, 86400.0 - Late);
}

Photographs At_Times(const std::vector<double>& Seconds) {
  Photographs Made;
  for (const double One : Seconds) Made.Pictures.push_back({"", One});
  return Made;
}

// Holds at 0, 10, 30, ...: no two gaps are alike.
std::vector<Hold> Uneven_Holds() {
  std::vector<Hold> List;
  double Begin = 0.0;
  for (int i = 0; i < 12; ++i) {
    List.push_back({Begin, Begin + 2.0});
    Begin += 4.0 + 0.7 * i * i;
  }
  return List;
}

TEST(Clock, IsWhereEachPhotographIsInTheMiddleOfAHold) {
  std::vector<double> Times;
  for (const Hold& One : Uneven_Holds()) Times.push_back(One.Begin_Seconds + 1.0 + 1234.5);
  const Clock_Match Match = Match_By_Holds(Uneven_Holds(), At_Times(Times));
  EXPECT_NEAR(Match.Offset_Seconds, -1234.5, 1e-9);
  EXPECT_NEAR(Match.Score, 1.0, 1e-9);
  EXPECT_TRUE(Match.Is_Certain);
  EXPECT_GT(std::abs(Match.Second_Offset_Seconds - Match.Offset_Seconds), 1.0);
}

TEST(Clock, IsNotCertainWhereHoldsRepeat) {
  std::vector<Hold> Holds;
  std::vector<double> Times;
  for (int i = 0; i < 30; ++i) {
    Holds.push_back({5.0 * i, 5.0 * i + 3.0});
    Times.push_back(5.0 * i + 1.5);
  }
  EXPECT_FALSE(Match_By_Holds(Holds, At_Times(Times)).Is_Certain);
}

TEST(Clock, IsNotCertainWithManyPhotographsOfOneHold) {
  std::vector<double> Times;
  for (int i = 0; i < 20; ++i) Times.push_back(0.05 * i);
  EXPECT_FALSE(Match_By_Holds({{0.0, 2.0}}, At_Times(Times)).Is_Certain);
  EXPECT_FALSE(Match_By_Holds({{0.0, 2.0}, {5.0, 7.0}}, At_Times(Times)).Is_Certain);
}

TEST(Clock, IsUnknownWithoutPicturesOrHolds) {
  EXPECT_EQ(Match_By_Holds({}, At_Times({1.0})).Score, 0.0);
  EXPECT_EQ(Match_By_Holds({{0.0, 1.0}}, {}).Score, 0.0);
  EXPECT_EQ(Match_By_Holds({{0.0, 1.0}}, {}).Offset_Seconds, 0.0);
  EXPECT_FALSE(Match_By_Motion({}, {}).Is_Certain);
  EXPECT_EQ(Match_By_Motion({}, {}).Offset_Seconds, 0.0);
}

struct Filmed {
  Session Of;
  std::vector<Body_Speeds> Bodies;
  Clip From;
};

// The clip begins at Begin of the session and ends at its end.
Filmed Film_Session(double Begin, unsigned Seed) {
  Chance By(Seed);
  Filmed Made;
  Made.Of = Make_Session({15, 1.2, 4.0, 0.7, 3.0}, By);
  const Tracker_Plan Plan{100.0, 0.0, Made.Of.End_Seconds(), 0.1, 0.01};
  const Body_Track Camera = Track(
      "c", [&](double At) { return Made.Of.Camera_At(At); }, Plan, By);
  const Body_Track Board = Track(
      "b", [&](double At) { return Made.Of.Board_At(At); }, Plan, By);
  Made.Bodies = {{Measure_Speeds(Camera), Least_Rest_Limit},
                 {Measure_Speeds(Board), Least_Rest_Limit}};
  Made.From = Film(Made.Of, {25.0, Begin, Made.Of.End_Seconds()}, By);
  return Made;
}

constexpr double A_Frame = 0.040;

TEST(Clock, OfAClipThatBeginsBeforeTheTakeOrAfterIt) {
  for (const double Begin : {-15.0, 0.0, 12.0}) {
    const Filmed Made = Film_Session(Begin, 21);
    const Clock_Match Match = Match_By_Motion(Made.Bodies, Made.From);
    EXPECT_NEAR(Match.Offset_Seconds, Begin, A_Frame);
    EXPECT_TRUE(Match.Is_Certain);
  }
}

// A repeated frame differs by nothing, and the next one by two frames' motion. What is left of it
// in the medians is far below the limits.
TEST(Clock, OfAClipIsNotMisledByFramesThatRepeat) {
  constexpr double Least_Effect = 0.03;
  Filmed Made = Film_Session(5.0, 23);
  const Clock_Match Without = Match_By_Motion(Made.Bodies, Made.From);
  for (std::size_t i = 6; i + 1 < Made.From.Frames.size(); i += 6) {
    Made.From.Frames[i].Difference = 0.0F;
  }
  const Clock_Match Match = Match_By_Motion(Made.Bodies, Made.From);
  EXPECT_NEAR(Match.Offset_Seconds, 5.0, A_Frame);
  EXPECT_NEAR(Match.Score, Without.Score, Least_Effect);
  EXPECT_NEAR(Match.Second_Score, Without.Second_Score, Least_Effect);
}

// As a clip without noise has it: frames of a hold are the same.
TEST(Clock, OfAClipWhoseFramesAreTheSameInHolds) {
  Filmed Made = Film_Session(5.0, 23);
  for (Clip_Frame& One : Made.From.Frames) {
    One.Difference = One.Difference > 1.6F ? One.Difference - 1.6F : 0.0F;
  }
  const Clock_Match Match = Match_By_Motion(Made.Bodies, Made.From);
  EXPECT_NEAR(Match.Offset_Seconds, 5.0, A_Frame);
  EXPECT_TRUE(Match.Is_Certain);
}

TEST(Clock, IsNotCertainForAClipOfSomethingElse) {
  const Filmed Made = Film_Session(0.0, 24);
  const Filmed Other = Film_Session(0.0, 25);
  EXPECT_FALSE(Match_By_Motion(Made.Bodies, Other.From).Is_Certain);
}

TEST(Clock, IsNotCertainForAClipThatDoesNotMove) {
  Filmed Made = Film_Session(0.0, 26);
  for (Clip_Frame& One : Made.From.Frames) One.Difference = 0.8F;
  EXPECT_FALSE(Match_By_Motion(Made.Bodies, Made.From).Is_Certain);
}

}  // namespace
}  // namespace rigsync
