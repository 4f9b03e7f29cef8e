// SPDX-License-Identifier: Apache-2.0
//
// How good the match of the clocks is, on a model: sessions with holds of their own, a tracking
// system with its noise, clips with key frames and people who walk through, and photographs.
//
// RIGSYNC_CLOCK_CAPTURES=800 makes the table of docs/import.md; without it there are a few captures
// of each kind.
#include "rigsync/import/clock.h"
#include "tests/rigsync/import/session.h"
#include "tests/support/largest.h"
#include "tests/support/sanitized.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace rigsync {
namespace {

// An offset that is farther off is another hold's. Times to a second leave half a second open.
constexpr double Wrong_Seconds = 0.3, Wrong_Resolutions = 0.5;

std::size_t Captures(std::size_t Usual) {
  const char* const Asked = std::getenv("RIGSYNC_CLOCK_CAPTURES");
  if (Asked != nullptr) return std::strtoul(Asked, nullptr, 10);
  return Is_Sanitized ? (Usual + 3) / 4 : Usual;  // the sanitizers look for other faults
}

struct Tally {
  std::size_t Right = 0, Wrong = 0, Right_Refused = 0, Wrong_Refused = 0;
  double Worst_Seconds = 0;
  double Least_Right_Margin = 1, Most_Wrong_Margin = -1;

  void Add(const Clock_Match& Match, double Truth, double Resolution = 0.0) {
    const double Error = std::abs(Match.Offset_Seconds - Truth);
    const double Margin = Match.Score - Match.Second_Score;
    if (!(Error <= std::max(Wrong_Seconds, Wrong_Resolutions * Resolution))) {
      ++Wrong;
      if (!Match.Is_Certain) ++Wrong_Refused;
      Most_Wrong_Margin = std::max(Most_Wrong_Margin, Margin);
      return;
    }
    ++Right;
    if (!Match.Is_Certain) ++Right_Refused;
    Worst_Seconds = Larger(Worst_Seconds, Error);
    Least_Right_Margin = std::min(Least_Right_Margin, Margin);
  }

  void Print(const std::string& What) const {
    fmt::print(
        "{}: {} right ({} of them refused), {} wrong ({} refused), worst error {:.0f} ms, margin "
        "of the right {:.2f} and more, of the wrong {:.2f} and less\n",
        What, Right, Right_Refused, Wrong, Wrong_Refused, 1000.0 * Worst_Seconds,
        Least_Right_Margin, Most_Wrong_Margin);
  }
};

constexpr Session_Plan Regular(std::size_t Holds) {
  return {Holds, 3.0, 3.0, 2.0, 2.0};
}

constexpr Session_Plan Irregular(std::size_t Holds) {
  Session_Plan Plan;
  Plan.Holds = Holds;
  return Plan;
}

struct Tracked_Session {
  Session Of;
  Body_Track Camera, Board;
  Hold_Search Stops;
};

Tracked_Session Record(const Session_Plan& Plan, Chance& By) {
  Tracked_Session Made;
  Made.Of = Make_Session(Plan, By);
  Tracker_Plan Tracker{100.0, By.Between(-8.0, 0.0), Made.Of.End_Seconds() + By.Between(0.0, 8.0),
                       0.2, 0.02};
  Made.Camera = Track(
      "cam", [&](double At) { return Made.Of.Camera_At(At); }, Tracker, By);
  Made.Board = Track(
      "board", [&](double At) { return Made.Of.Board_At(At); }, Tracker, By);
  return Made;
}

void Shift_Clock(double Seconds, Body_Track& Body) {
  for (Timed_Sample& One : Body.Samples) One.Seconds += Seconds;
}

Tally Match_Clips(const Session_Plan& Plan, std::size_t Count) {
  constexpr double Rates[] = {24.0, 25.0, 30.0, 50.0, 60.0};
  Tally Found;
  for (std::size_t i = 0; i < Count; ++i) {
    Chance By(static_cast<unsigned>(1000 + i));
    Tracked_Session Made = Record(Plan, By);
    const double Take_Clock = By.Between(-500.0, 500.0);
    // At either end the clip has less than the take, or more.
    const double Most_Left_Out = std::min(8.0, 0.2 * Made.Of.End_Seconds());
    const Clip_Plan Filmed{Rates[i % 5], By.Between(-5.0, Most_Left_Out),
                           Made.Of.End_Seconds() + By.Between(-Most_Left_Out, 5.0)};
    const Clip From = Film(Made.Of, Filmed, By);
    Shift_Clock(Take_Clock, Made.Camera);
    Shift_Clock(Take_Clock, Made.Board);
    const Body_Noise Noise{0.2, 0.02};
    const Speed_Limit Rest = Rest_Limit(Noise, 0.01, Least_Rest_Limit);
    const Clock_Match Match = Match_By_Motion(
        {{Measure_Speeds(Made.Camera), Rest}, {Measure_Speeds(Made.Board), Rest}}, From);
    Found.Add(Match, Take_Clock + Filmed.Begin_Seconds);
  }
  return Found;
}

Tally Match_Photographs(const Session_Plan& Plan, double Resolution, std::size_t Count) {
  Tally Found;
  for (std::size_t i = 0; i < Count; ++i) {
    Chance By(static_cast<unsigned>(5000 + i));
    const Tracked_Session Made = Record(Plan, By);
    const double Offset = By.Between(-5000.0, 5000.0);
    Photographs From = Photograph_Holds(Made.Of, Offset, By);
    From.Resolution_Seconds = Resolution;
    if (Resolution > 0.0) {
      for (Photograph& One : From.Pictures) {
        One.Seconds = Resolution * std::floor(One.Seconds / Resolution);
      }
    }
    const Hold_Search Stops = Find_Holds(Made.Camera, &Made.Board, {});
    Found.Add(Match_By_Holds(Stops.Holds, From), Offset, Resolution);
  }
  return Found;
}

TEST(ClockModel, MatchesClipsOfThirtyIrregularHoldsToAFrame) {
  const Tally Found = Match_Clips(Irregular(30), Captures(10));
  Found.Print("clips, 30 irregular holds");
  EXPECT_EQ(Found.Wrong, 0U);
  EXPECT_EQ(Found.Right_Refused, 0U);
  EXPECT_LE(Found.Worst_Seconds, 0.040);
}

TEST(ClockModel, RefusesClipsOfFewHoldsRatherThanMatchThemWrongly) {
  for (const std::size_t Holds : {12U, 8U, 5U, 3U}) {
    const Tally Found = Match_Clips(Irregular(Holds), Captures(20));
    Found.Print(fmt::format("clips, {} irregular holds", Holds));
    EXPECT_EQ(Found.Wrong, Found.Wrong_Refused) << Holds;
  }
}

TEST(ClockModel, RefusesClipsOfRegularHolds) {
  for (const std::size_t Holds : {30U, 12U}) {
    const Tally Found = Match_Clips(Regular(Holds), Captures(10));
    Found.Print(fmt::format("clips, {} regular holds", Holds));
    EXPECT_EQ(Found.Wrong, Found.Wrong_Refused);
    EXPECT_EQ(Found.Right, Found.Right_Refused);
  }
}

TEST(ClockModel, MatchesPhotographsOfThirtyIrregularHoldsIntoTheirHolds) {
  for (const double Resolution : {0.0, 1.0}) {
    const Tally Found = Match_Photographs(Irregular(30), Resolution, Captures(20));
    Found.Print(fmt::format("photographs to {} s, 30 irregular holds", Resolution));
    EXPECT_EQ(Found.Wrong, 0U);
    EXPECT_LE(Found.Right_Refused, Found.Right / 10);
  }
}

TEST(ClockModel, RefusesPhotographsOfFewOrRegularHolds) {
  for (const std::size_t Holds : {20U, 12U, 8U, 5U, 3U}) {
    const Tally Found = Match_Photographs(Irregular(Holds), 0.0, Captures(20));
    Found.Print(fmt::format("photographs, {} irregular holds", Holds));
    EXPECT_EQ(Found.Wrong, Found.Wrong_Refused) << Holds;
  }
  for (const std::size_t Holds : {30U, 12U}) {
    const Tally Found = Match_Photographs(Regular(Holds), 0.0, Captures(20));
    Found.Print(fmt::format("photographs, {} regular holds", Holds));
    EXPECT_EQ(Found.Wrong, Found.Wrong_Refused);
    EXPECT_EQ(Found.Right, Found.Right_Refused);
  }
}

}  // namespace
}  // namespace rigsync
