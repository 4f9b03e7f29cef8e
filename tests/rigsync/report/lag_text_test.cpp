// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/lag_text.h"

#include "rigsync/report/drift_text.h"

#include <gmock/gmock.h>

namespace {

using rigsync::Lag_Amount;
using rigsync::Lag_Estimate;
using rigsync::Lag_Sentences;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

Lag_Estimate Solved(double Seconds, double Half_Width_Seconds) {
  Lag_Estimate Lag;
  Lag.Seconds = Seconds;
  Lag.Half_Width_Seconds = Half_Width_Seconds;
  Lag.Speed = {0.0098, 0.01};
  return Lag;
}

TEST(LagText, ALagThatIsFoundHasItsDirectionAndItsWidth) {
  EXPECT_EQ(Lag_Sentences(Solved(0.0982, 0.0138)),
            "The samples show the rig as it was 98 +- 14 ms before the pictures. The joint mount "
            "allows for it, the library's does not.");
  EXPECT_THAT(Lag_Sentences(Solved(-0.06, 0.0138)), HasSubstr("60 +- 14 ms after the pictures"));
  EXPECT_EQ(Lag_Amount(Solved(-0.06, 0.0138)), "-60 +- 14 ms");
}

TEST(LagText, ALagWhoseIntervalHolds0IsNotDifferentFromIt) {
  EXPECT_EQ(Lag_Sentences(Solved(0.004, 0.0138)),
            "No lag is seen between pictures and samples: 4 +- 14 ms, which is not different from "
            "0.");
  EXPECT_THAT(Lag_Sentences(Solved(-0.0001, 0.0138)), HasSubstr(": 0 +- 14 ms"));
}

// Neither as a number nor in the sentences.
TEST(LagText, ALagThatIsNotKnownHasNoNumber) {
  const Lag_Estimate Open = Solved(0.3217, 0.25);
  EXPECT_EQ(Lag_Amount(Open), "not known");
  EXPECT_THAT(
      Lag_Sentences(Open),
      AllOf(StartsWith("The lag is not known: the capture tells the lag only to +- 250 ms."),
            HasSubstr("moved at 9.8 mm/s and 0.57 degrees/s"), HasSubstr("too little"),
            Not(HasSubstr("32"))));
}

TEST(LagText, BodiesThatStoodStillLeaveNothingToSolveALagFrom) {
  Lag_Estimate Still = Solved(0.3217, 0.9);
  Still.Speed = {0.0004, 0.0003};
  EXPECT_THAT(Lag_Sentences(Still),
              AllOf(StartsWith("There is nothing to solve a lag from:"),
                    HasSubstr("0.4 mm/s and 0.02 degrees/s"), Not(HasSubstr("322"))));
  // Below 1 mm/s and a milliradian a second nothing is left but noise.
  Still.Speed = {0.00099, 0.00099};
  EXPECT_THAT(Lag_Sentences(Still), StartsWith("There is nothing to solve a lag from:"));
  Still.Speed = {0.001, 0.0003};
  EXPECT_THAT(Lag_Sentences(Still), StartsWith("The lag is not known:"));
  Still.Speed = {0.0004, 0.001};
  EXPECT_THAT(Lag_Sentences(Still), StartsWith("The lag is not known:"));
}

TEST(LagText, AStatedLagIsSaidToBeStated) {
  Lag_Estimate Stated = Solved(0.04, 0.0);
  Stated.Is_Stated = true;
  EXPECT_EQ(Lag_Amount(Stated), "40 ms, as stated");
  EXPECT_THAT(Lag_Sentences(Stated),
              StartsWith("The samples were stated to show the rig as it was 40 ms before"));
}

TEST(DriftText, ShowsTheLagsOfBothResultsWhereOneHasOne) {
  rigsync::Drift Seen;
  EXPECT_THAT(rigsync::Drift_Text(Seen, {}, {}, {}, false), Not(HasSubstr("Lag")));
  Seen.Lag_Now = Solved(0.0982, 0.0138);
  EXPECT_THAT(rigsync::Drift_Text(Seen, {}, {}, {}, false),
              HasSubstr("Lag between pictures and samples\n  then  not solved\n"
                        "  now   98 +- 14 ms\n"));
}

}  // namespace
