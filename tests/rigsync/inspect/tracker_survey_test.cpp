// SPDX-License-Identifier: Apache-2.0
//
// Tracker samples without images, made by hand so that each fault is on its own.
#include "rigsync/inspect/tracker_survey.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/geometry/angle.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>

namespace {

using rigsync::Capture_Row;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Level;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

using Lines = std::vector<std::size_t>;

std::array<double, 4> Turned(const Eigen::Vector3d& Axis, double Angle_Deg) {
  const Eigen::Quaterniond Q(
      Eigen::AngleAxisd(Angle_Deg / rigsync::Degrees_Per_Radian, Axis.normalized()));
  return {Q.w(), Q.x(), Q.y(), Q.z()};
}

// Ten sound rows, lines 2 to 11: the camera walks along x, the board stays near the origin and
// turns. Nothing repeats.
std::vector<Capture_Row> Walk() {
  std::vector<Capture_Row> Rows(10);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const auto Step = static_cast<double>(i);
    Rows[i].Line = i + 2;
    Rows[i].Is_Sound = true;
    Rows[i].Camera = {{0.1 * Step, 0.5, 1.0}, Turned({0, 0, 1}, Step)};
    Rows[i].Board = {{0.5, 0.001 * Step, 1.0}, Turned({1, 0, 0}, 10.0 * Step)};
  }
  return Rows;
}

std::map<std::string, Lines> Check(const std::vector<Capture_Row>& Rows, Findings* Out = nullptr) {
  Findings List;
  rigsync::Judge_Samples(Rows, List);
  std::map<std::string, Lines> Found;
  for (const Finding& One : List.Sorted()) Found[One.Id] = One.Lines;
  if (Out != nullptr) *Out = List;
  return Found;
}

TEST(TrackerSurvey, AGoodCaptureHasNoFindings) {
  EXPECT_THAT(Check(Walk()), IsEmpty());
}

TEST(TrackerSurvey, QuaternionsOfLengthZeroAreReportedForEachTracker) {
  std::vector<Capture_Row> Rows = Walk();
  Rows[3].Camera.Quaternion = {0, 0, 0, 0};
  Rows[5].Board.Quaternion = {0, -0.0, 0, 0};
  EXPECT_THAT(Check(Rows), ElementsAre(Pair("board_quaternion_zero", Lines{7}),
                                       Pair("camera_quaternion_zero", Lines{5})));
  EXPECT_FALSE(rigsync::Has_Rotations(Rows[3]));
  EXPECT_FALSE(rigsync::Has_Rotations(Rows[5]));
  EXPECT_TRUE(rigsync::Has_Rotations(Rows[4]));
}

TEST(TrackerSurvey, ALengthIsReportedWhenItIsOffByMoreThanAHundredth) {
  std::vector<Capture_Row> Rows = Walk();
  Rows[2].Camera.Quaternion = {1.011, 0, 0, 0};
  Rows[3].Camera.Quaternion = {0.989, 0, 0, 0};
  Rows[4].Camera.Quaternion = {1.009, 0, 0, 0};
  Rows[6].Board.Quaternion = {90, 0, 45, 0};
  EXPECT_THAT(Check(Rows), ElementsAre(Pair("board_quaternion_length", Lines{8}),
                                       Pair("camera_quaternion_length", Lines{4, 5})));
}

TEST(TrackerSurvey, ARepeatedSampleIsStaleInTheLaterLine) {
  std::vector<Capture_Row> Rows = Walk();
  Rows[4].Camera = Rows[3].Camera;
  Rows[7].Board = Rows[6].Board;
  Rows[8].Board = Rows[6].Board;
  EXPECT_THAT(Check(Rows),
              ElementsAre(Pair("board_stale", Lines{9, 10}), Pair("camera_stale", Lines{6})));
}

TEST(TrackerSurvey, ASampleThatRepeatsOnlyThePositionIsNotStale) {
  std::vector<Capture_Row> Rows = Walk();
  Rows[4].Camera.Position = Rows[3].Camera.Position;
  EXPECT_THAT(Check(Rows), IsEmpty());
}

// One repetition is no capture in which the tracker stood still.
TEST(TrackerSurvey, OfTwoRowsTheSecondIsStaleWhenItRepeatsTheFirst) {
  std::vector<Capture_Row> Rows = Walk();
  Rows.resize(2);
  Rows[1].Board = Rows[0].Board;
  EXPECT_THAT(Check(Rows), Contains(Pair("board_stale", Lines{Rows[1].Line})));
}

TEST(TrackerSurvey, ATrackerThatNeverMovesIsANoteAndTwoAreAnError) {
  std::vector<Capture_Row> Rows = Walk();
  for (Capture_Row& Row : Rows) Row.Board = Rows[0].Board;
  Findings List;
  EXPECT_THAT(Check(Rows, &List), ElementsAre(Pair("board_fixed", Lines{})));
  EXPECT_EQ(List.Gravest(), Level::Note);
  for (Capture_Row& Row : Rows) Row.Camera = Rows[0].Camera;
  EXPECT_THAT(Check(Rows, &List), Contains(Key("trackers_fixed")));
  for (const rigsync::Finding& Told : List.Sorted()) {
    if (Told.Id != "trackers_fixed") continue;
    EXPECT_EQ(Told.What, "Neither tracker moves during the capture, so nothing can be calibrated.");
    EXPECT_EQ(Told.Advice,
              "Check that the tracking system was running and that its samples reach the file.");
  }
  EXPECT_EQ(List.Gravest(), Level::Error);
}

TEST(TrackerSurvey, APositionOfZeroIsALostTargetUnlessEveryRowHasIt) {
  std::vector<Capture_Row> Rows = Walk();
  Rows[6].Camera.Position = {0, 0, 0};
  EXPECT_THAT(Check(Rows), ElementsAre(Pair("camera_at_origin", Lines{8})));
  for (Capture_Row& Row : Rows) Row.Camera.Position = {0, 0, 0};
  EXPECT_THAT(Check(Rows), IsEmpty());
}

TEST(TrackerSurvey, AJumpIsOneMetreAndSixTimesTheUsualDistanceAway) {
  // The camera's walk of 0.9 m has half of its rows within 0.3 m of the median, so 1.8 m is the
  // limit; the board's rows lie within 3 mm, so the floor of 1 m is.
  std::vector<Capture_Row> Rows = Walk();
  Rows[2].Camera.Position[1] += 1.5;
  Rows[5].Board.Position[2] += 0.95;
  EXPECT_THAT(Check(Rows), IsEmpty());
  Rows[2].Camera.Position[1] += 0.5;
  Rows[5].Board.Position[2] += 0.1;
  Findings List;
  EXPECT_THAT(Check(Rows, &List),
              ElementsAre(Pair("board_jump", Lines{7}), Pair("camera_jump", Lines{4})));
  EXPECT_EQ(List.Gravest(), Level::Warning);
}

TEST(TrackerSurvey, MillimetresAreAnErrorWhereverTheOriginIs) {
  std::vector<Capture_Row> Rows = Walk();
  for (Capture_Row& Row : Rows) {
    Row.Camera.Position[0] += 500;  // far from the origin, but in metres
    Row.Board.Position[0] += 500;
  }
  // 3 cm, which in the wrong unit look like a jump of 30 m.
  Rows[9].Board.Position[1] += 0.03;
  EXPECT_THAT(Check(Rows), IsEmpty());
  for (Capture_Row& Row : Rows) {
    for (double& Value : Row.Camera.Position) Value *= 1000;
    for (double& Value : Row.Board.Position) Value *= 1000;
  }
  Findings List;
  EXPECT_THAT(Check(Rows, &List), ElementsAre(Pair("wrong_unit", Lines{})));
  EXPECT_EQ(List.Gravest(), Level::Error);
  EXPECT_THAT(List.Sorted()[0].What, HasSubstr("millimetres"));
}

TEST(TrackerSurvey, RowsThatAreNotSoundAreSkipped) {
  std::vector<Capture_Row> Rows = Walk();
  Rows[4].Is_Sound = false;
  Rows[4].Camera = {{0, 0, 900}, {0, 0, 0, 0}};
  EXPECT_THAT(Check(Rows), IsEmpty());
  EXPECT_EQ(rigsync::Measure_Rotations(Rows).Rows, 9u);
}

TEST(TrackerSurvey, RotationsAreTheLargestAnglesBetweenTwoRows) {
  const rigsync::Rotation_Range Measured = rigsync::Measure_Rotations(Walk());
  EXPECT_EQ(Measured.Rows, 10u);
  EXPECT_NEAR(Measured.Camera_Deg, 9.0, 1e-9);
  EXPECT_NEAR(Measured.Board_Deg, 90.0, 1e-9);
}

std::string Judged(const std::vector<Capture_Row>& Rows) {
  Findings List;
  rigsync::Judge_Rotations(rigsync::Measure_Rotations(Rows), List);
  return List.Sorted().empty() ? "" : List.Sorted()[0].Id;
}

TEST(TrackerSurvey, RotationsBelowThirtyDegreesAreTooSmall) {
  std::vector<Capture_Row> Rows = Walk();
  const auto Turn_To = [&](double Widest) {
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      const Eigen::Vector3d Axis = i % 2 == 0 ? Eigen::Vector3d::UnitX() : Eigen::Vector3d::UnitY();
      Rows[i].Camera.Quaternion = {1, 0, 0, 0};
      Rows[i].Board.Quaternion = Turned(Axis, i == 0 ? 0.0 : i == 2 ? Widest : 10.0);
    }
  };
  // The largest rotation is between Widest about x and 10 degrees about y, together 29 and 31
  // degrees.
  Turn_To(27.2);
  EXPECT_LT(rigsync::Measure_Rotations(Rows).Relative_Deg, 30.0);
  EXPECT_EQ(Judged(Rows), "turns_too_small");
  Turn_To(31.0);
  EXPECT_GT(rigsync::Measure_Rotations(Rows).Relative_Deg, 30.0);
  EXPECT_EQ(Judged(Rows), "");
}

TEST(TrackerSurvey, RotationsAboutOneAxisAreReportedWhateverTheAxisIs) {
  std::vector<Capture_Row> Rows = Walk();
  const Eigen::Vector3d Axis(1, 2, -3);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Rows[i].Camera.Quaternion = {1, 0, 0, 0};
    Rows[i].Board.Quaternion = Turned(Axis, 9.0 * static_cast<double>(i));
  }
  // The root of a scatter that rounding leaves, of 1e-16: up to 1e-8 of a radian, a few times.
  EXPECT_NEAR(*rigsync::Measure_Rotations(Rows).Axis_Spread_Deg, 0.0, 5e-6);
  EXPECT_EQ(Judged(Rows), "turns_about_one_axis");
  for (std::size_t i = 0; i < Rows.size(); i += 2) {
    Rows[i].Board.Quaternion = Turned({3, 0, 1}, 8.0 * static_cast<double>(i));
  }
  EXPECT_GT(*rigsync::Measure_Rotations(Rows).Axis_Spread_Deg, 15.0);
  EXPECT_EQ(Judged(Rows), "");
}

}  // namespace
