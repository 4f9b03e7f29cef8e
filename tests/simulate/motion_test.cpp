// SPDX-License-Identifier: Apache-2.0
//
// How the rig moves in time: holds at the photographs' poses, smooth moves between them, drift and
// lag.
#include "simulate/motion.h"

#include "simulate/geometry.h"
#include "tests/support/largest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

using simulate::Image_Truth;
using simulate::Make_Plan;
using simulate::Options;
using simulate::Plan;
using simulate::Pose_At;
using simulate::Rig_Pose;
using simulate::Sample;
using simulate::Velocity;

Options Moving_Capture(unsigned Seed = 5) {
  Options Settings;
  Settings.Seed = Seed;
  Settings.Width = 320;
  Settings.Height = 240;
  Settings.Board_Cols = 6;
  Settings.Board_Rows = 5;
  Settings.Image_Count = 8;
  return Settings;
}

Options Drifting_Capture() {
  Options Settings = Moving_Capture();
  Settings.Recording.Drift_Mm_Per_Second = 10.0;
  Settings.Recording.Drift_Deg_Per_Second = 0.5;
  return Settings;
}

Eigen::Matrix3d Rotation_Of(const Eigen::Matrix4d& Pose) {
  return Pose.topLeftCorner<3, 3>();
}

Eigen::Vector3d Position_Of(const Eigen::Matrix4d& Pose) {
  return Pose.topRightCorner<3, 1>();
}

// The velocity from poses a little before and after, by central differences.
Velocity Measured(const std::function<Eigen::Matrix4d(double)>& Pose, double Seconds) {
  constexpr double Step = 1e-4;
  const Eigen::Matrix4d Before = Pose(Seconds - Step), After = Pose(Seconds + Step);
  Velocity Speed;
  Speed.Linear = (Position_Of(After) - Position_Of(Before)) / (2.0 * Step);
  // dR/dt R' is the cross-product matrix of the angular velocity along the axes of Base.
  const Eigen::Matrix3d Rate = (Rotation_Of(After) - Rotation_Of(Before)) / (2.0 * Step) *
                               Rotation_Of(Pose(Seconds)).transpose();
  Speed.Angular = {Rate(2, 1), Rate(0, 2), Rate(1, 0)};
  return Speed;
}

Velocity Camera_Speed(const Plan& Capture, double Seconds) {
  return Measured([&](double Time) { return Pose_At(Capture, Time).Transform_Base_Tc; }, Seconds);
}

Velocity Board_Speed(const Plan& Capture, double Seconds) {
  return Measured([&](double Time) { return Pose_At(Capture, Time).Transform_Base_Tr; }, Seconds);
}

// The steps of 1e-4 s divide roundings of a few 1e-16. In a hold the speed is constant.
constexpr double Speed_Tolerance = 1e-10;

// Where a hold ends, the curvature of the move, at most 100 per second squared, enters with the
// square of the step.
constexpr double Speed_Tolerance_At_Ends = 1e-6;

TEST(PoseAt, IsThatOfTheImageToTheBitDuringItsHold) {
  const Plan Capture = Make_Plan(Moving_Capture());
  for (const Image_Truth& Image : Capture.Images) {
    for (const double Time : {Image.Still.Begin, Image.Still.Picture, Image.Still.End}) {
      SCOPED_TRACE(Time);
      const Rig_Pose Pose = Pose_At(Capture, Time);
      EXPECT_EQ(Pose.Transform_Base_Tc, Image.Transform_Base_Tc);
      EXPECT_EQ(Pose.Transform_Base_Tr, Image.Transform_Base_Tr);
    }
  }
}

TEST(PoseAt, ShowsTheBoardAsInThePhotographAtItsMoment) {
  for (const Options& Settings : {Moving_Capture(), Drifting_Capture()}) {
    const Plan Capture = Make_Plan(Settings);
    for (const Image_Truth& Image : Capture.Images) {
      const Eigen::Matrix4d Seen =
          simulate::Transform_Cam_Chart_Of(Capture, Pose_At(Capture, Image.Still.Picture));
      // A product of seven poses of a few metres.
      EXPECT_LE(Largest_Element(Seen - Image.Transform_Cam_Chart), 1e-13);
    }
  }
}

// A way of minimum jerk of length L in the time T has at most the speed 15/8 L/T and the
// acceleration 10/sqrt(3) L/T^2.
TEST(PoseAt, NeverStepsAndStaysBelowTheSpeedOfAMoveOfLeastJerk) {
  for (const Options& Settings : {Moving_Capture(), Drifting_Capture()}) {
    const Plan Capture = Make_Plan(Settings);
    const double Drift = Settings.Recording.Drift_Mm_Per_Second * 1e-3;
    const double Turn = simulate::Radians(Settings.Recording.Drift_Deg_Per_Second);
    constexpr double Step = 1e-3;
    for (std::size_t i = 0; i + 1 < Capture.Images.size(); ++i) {
      const Image_Truth &From = Capture.Images[i], &To = Capture.Images[i + 1];
      const double Seconds = To.Still.Begin - From.Still.End;
      const Rig_Pose Start = Pose_At(Capture, From.Still.End);
      const Rig_Pose End = Pose_At(Capture, To.Still.Begin);
      // Both ends drift on during the move, apart by the drift of both.
      const double Way =
          (Position_Of(End.Transform_Base_Tc) - Position_Of(Start.Transform_Base_Tc)).norm() +
          2.0 * Drift * Seconds;
      const double Fastest = 15.0 / 8.0 * Way / Seconds + 2.0 * Drift;
      const double Fastest_Turn =
          15.0 / 8.0 * (simulate::Pi + 2.0 * Turn * Seconds) / Seconds + 3.0 * Turn;
      for (double Time = From.Still.Begin; Time < To.Still.End; Time += Step) {
        const Rig_Pose Now = Pose_At(Capture, Time), Next = Pose_At(Capture, Time + Step);
        const double Moved =
            (Position_Of(Next.Transform_Base_Tc) - Position_Of(Now.Transform_Base_Tc)).norm();
        ASSERT_LE(Moved, Fastest * Step * 1.0001) << Time;
        const double Cosine =
            0.5 *
            ((Rotation_Of(Now.Transform_Base_Tc).transpose() * Rotation_Of(Next.Transform_Base_Tc))
                 .trace() -
             1.0);
        ASSERT_LE(std::acos(std::min(Cosine, 1.0)), Fastest_Turn * Step * 1.0001 + 1e-7) << Time;
      }
    }
  }
}

TEST(PoseAt, HasNoStepInItsVelocityWhereAHoldEnds) {
  const Plan Capture = Make_Plan(Drifting_Capture());
  for (std::size_t i = 0; i + 1 < Capture.Images.size(); ++i) {
    const simulate::Hold& Still = Capture.Images[i].Still;
    const simulate::Hold& Next = Capture.Images[i + 1].Still;
    // Differences across the end, half in the hold and half in the move.
    EXPECT_LE((Camera_Speed(Capture, Still.End).Linear - Still.Camera.Linear).norm(),
              Speed_Tolerance_At_Ends);
    EXPECT_LE((Board_Speed(Capture, Next.Begin).Angular - Next.Board.Angular).norm(),
              Speed_Tolerance_At_Ends);
  }
}

TEST(PoseAt, GoesStraightFromHoldToHold) {
  const Plan Capture = Make_Plan(Moving_Capture());
  for (std::size_t i = 0; i + 1 < Capture.Images.size(); ++i) {
    const Image_Truth &From = Capture.Images[i], &To = Capture.Images[i + 1];
    const double Middle = 0.5 * (From.Still.End + To.Still.Begin);
    const Eigen::Matrix4d Pose = Pose_At(Capture, Middle).Transform_Base_Tc;
    const Eigen::Vector3d Centre =
        0.5 * (Position_Of(From.Transform_Base_Tc) + Position_Of(To.Transform_Base_Tc));
    EXPECT_LE((Position_Of(Pose) - Centre).norm(), 1e-12);
    // Half way, both remaining turns are the same one.
    const Eigen::Matrix3d First =
        Rotation_Of(From.Transform_Base_Tc).transpose() * Rotation_Of(Pose);
    const Eigen::Matrix3d Second =
        Rotation_Of(Pose).transpose() * Rotation_Of(To.Transform_Base_Tc);
    EXPECT_LE(Largest_Element(First - Second), 1e-12);
  }
}

TEST(DrawHolds, KeepsHoldsAndMovesInTheirRangesAndPicturesInTheMiddleFifth) {
  Options Settings = Moving_Capture();
  Settings.Image_Count = 200;
  const std::vector<simulate::Hold> Holds = simulate::Draw_Holds(Settings);
  ASSERT_EQ(Holds.size(), 200u);
  EXPECT_EQ(Holds[0].Begin, 0.0);
  double Least = 1e9, Most = 0.0;
  for (std::size_t i = 0; i < Holds.size(); ++i) {
    const double Length = Holds[i].End - Holds[i].Begin;
    Least = std::min(Least, Length);
    Most = std::max(Most, Length);
    const double Part = (Holds[i].Picture - Holds[i].Begin) / Length;
    EXPECT_GE(Part, 0.4);
    EXPECT_LE(Part, 0.6);
    if (i + 1 == Holds.size()) break;
    EXPECT_GE(Holds[i + 1].Begin - Holds[i].End, 0.8 - 1e-12);
    EXPECT_LE(Holds[i + 1].Begin - Holds[i].End, 3.0 + 1e-12);
  }
  // Of 200 uniform numbers, the chance that none falls in a tenth at one end is 1e-9.
  EXPECT_GE(Least, 1.0 - 1e-12);
  EXPECT_LE(Least, 1.3);
  EXPECT_GE(Most, 3.7);
  EXPECT_LE(Most, 4.0 + 1e-12);
}

TEST(DrawHolds, PutsPicturesAtEqualIntervalsWhenHoldsAreRegular) {
  Options Settings = Moving_Capture();
  Settings.Recording.Regular_Holds = true;
  const std::vector<simulate::Hold> Holds = simulate::Draw_Holds(Settings);
  for (std::size_t i = 1; i < Holds.size(); ++i) {
    // The means of 1 to 4 and of 0.8 to 3.
    EXPECT_NEAR(Holds[i].Picture - Holds[i - 1].Picture, 2.5 + 1.9, 1e-12);
  }
}

TEST(IsTimed, EachOptionThatHappensInTimeMakesTheCaptureTimed) {
  using simulate::Recording_Options;
  EXPECT_FALSE(simulate::Is_Timed({}));
  const auto With = [](void (*Set)(Recording_Options&)) {
    Recording_Options Recording;
    Set(Recording);
    return simulate::Is_Timed(Recording);
  };
  EXPECT_TRUE(With([](Recording_Options& Made) { Made.Format = simulate::Take_Format::Tum; }));
  EXPECT_TRUE(With([](Recording_Options& Made) { Made.Clip = true; }));
  EXPECT_TRUE(With([](Recording_Options& Made) { Made.Is_Streamed = true; }));
  EXPECT_TRUE(With([](Recording_Options& Made) { Made.Drift_Mm_Per_Second = 0.1; }));
  EXPECT_TRUE(With([](Recording_Options& Made) { Made.Drift_Deg_Per_Second = 0.1; }));
  EXPECT_TRUE(With([](Recording_Options& Made) { Made.Lag_Ms = -5.0; }));
}

// No float is 1.1 or 0.7.
TEST(DrawHolds, KeepsToOneLengthWhereTheRangeIsThat) {
  Options Settings = Moving_Capture();
  Settings.Recording.Shortest_Hold = Settings.Recording.Longest_Hold = 1.1;
  Settings.Recording.Shortest_Move = Settings.Recording.Longest_Move = 0.7;
  const std::vector<simulate::Hold> Holds = simulate::Draw_Holds(Settings);
  for (std::size_t i = 0; i < Holds.size(); ++i) {
    EXPECT_NEAR(Holds[i].Begin, 1.8 * static_cast<double>(i), 1e-12);
    EXPECT_NEAR(Holds[i].End, Holds[i].Begin + 1.1, 1e-12);
  }
}

TEST(DrawHolds, ChangesNeitherPosesNorSamplesOfTheCapture) {
  const Plan Capture = Make_Plan(Moving_Capture());
  Options Slow = Moving_Capture();
  Slow.Recording.Shortest_Hold = 3.0;
  Slow.Recording.Longest_Hold = 4.0;
  Slow.Recording.Regular_Holds = true;
  Slow.Recording.Format = simulate::Take_Format::Motive;
  Slow.Recording.Lost_Percent = 5.0;
  const Plan Other = Make_Plan(Slow);
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    EXPECT_EQ(Capture.Images[i].Transform_Base_Tc, Other.Images[i].Transform_Base_Tc);
    EXPECT_EQ(Capture.Images[i].Tc.Position, Other.Images[i].Tc.Position);
    EXPECT_EQ(Capture.Images[i].Tr.Rotation.coeffs(), Other.Images[i].Tr.Rotation.coeffs());
  }
}

TEST(MakePlan, StatesTheVelocitiesThatThePosesHave) {
  const Plan Capture = Make_Plan(Drifting_Capture());
  for (const Image_Truth& Image : Capture.Images) {
    const Velocity Camera = Camera_Speed(Capture, Image.Still.Picture);
    const Velocity Board = Board_Speed(Capture, Image.Still.Picture);
    EXPECT_NEAR(Image.Still.Camera.Linear.norm(), 0.010, 1e-15);
    EXPECT_NEAR(Image.Still.Board.Angular.norm(), 0.5 * simulate::Pi / 180.0, 1e-15);
    EXPECT_LE((Camera.Linear - Image.Still.Camera.Linear).norm(), Speed_Tolerance);
    EXPECT_LE((Camera.Angular - Image.Still.Camera.Angular).norm(), Speed_Tolerance);
    EXPECT_LE((Board.Linear - Image.Still.Board.Linear).norm(), Speed_Tolerance);
    EXPECT_LE((Board.Angular - Image.Still.Board.Angular).norm(), Speed_Tolerance);
  }
}

TEST(MakePlan, GivesRowsTheSamplesFromBeforeTheLag) {
  Options Settings = Drifting_Capture();
  Settings.Recording.Lag_Ms = 100.0;
  const Plan Capture = Make_Plan(Settings);
  const Plan Prompt = Make_Plan(Drifting_Capture());
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    const Image_Truth& Image = Capture.Images[i];
    EXPECT_EQ(Image.Transform_Base_Tc, Prompt.Images[i].Transform_Base_Tc) << "photographs stay";
    // 10 mm per second for 100 ms.
    const Eigen::Vector3d Behind = Image.Tc.Position - Position_Of(Image.Transform_Base_Tc);
    EXPECT_LE((Behind + 0.1 * Image.Still.Camera.Linear).norm(), 1e-13);
    const Sample Seen =
        simulate::Make_Sample(Pose_At(Capture, Image.Still.Picture - 0.1).Transform_Base_Tr);
    EXPECT_LE((Seen.Position - Image.Tr.Position).norm(), 1e-13);
    EXPECT_LE(Seen.Rotation.angularDistance(Image.Tr.Rotation), 1e-14);
    EXPECT_NEAR(Image.Tr.Rotation.angularDistance(Prompt.Images[i].Tr.Rotation),
                0.05 * simulate::Pi / 180.0, 1e-14);
  }
}

TEST(MakePlan, LeavesAnUntrackedBoardInTheOriginAndThePhotographsAsPlanned) {
  Options Settings = Drifting_Capture();
  Settings.Recording.One_Body = true;
  Settings.Recording.Lag_Ms = 100.0;
  Settings.Position_Noise_Mm = 1.0;
  Settings.Rotation_Noise_Deg = 0.1;
  const Plan Capture = Make_Plan(Settings), Tracked = Make_Plan(Moving_Capture());
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    const Image_Truth& Image = Capture.Images[i];
    EXPECT_EQ(Image.Transform_Cam_Chart, Tracked.Images[i].Transform_Cam_Chart);
    EXPECT_EQ(Image.Tr.Position, Eigen::Vector3d::Zero());
    EXPECT_EQ(Image.Tr.Rotation.coeffs(), Eigen::Quaterniond::Identity().coeffs());
    EXPECT_EQ(Image.Still.Board.Linear, Eigen::Vector3d::Zero());
    EXPECT_EQ(Image.Still.Board.Angular, Eigen::Vector3d::Zero());
    const Rig_Pose Pose = Pose_At(Capture, Image.Still.Picture);
    EXPECT_LE(Largest_Element(simulate::Transform_Cam_Chart_Of(Capture, Pose) -
                              Image.Transform_Cam_Chart),
              1e-13);
  }
  for (double Time = 0.0; Time < simulate::Duration(Capture); Time += 0.1) {
    EXPECT_EQ(Pose_At(Capture, Time).Transform_Base_Tr, Capture.Images[0].Transform_Base_Tr);
  }
}

}  // namespace
