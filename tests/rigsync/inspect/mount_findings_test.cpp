// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/mount_findings.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using Eigen::Vector3d;
using rigsync::Capture_Row;
using rigsync::Finding;
using rigsync::Findings;
using rigsync::Joint_Solution;
using rigsync::Level;
using rigsync::Motion_Weakness;
using rigsync::Slip;
using rigsync::Slip_Evidence;
using rigsync::Slipped_Tracker;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// ---- Mounts that are open ----------------------------------------------------------------------

Joint_Solution Solved_To(double Mm, double Degrees) {
  Joint_Solution Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.Motion.Weakness = Motion_Weakness::None;
  Joint.Camera_Mount.Widest_Mm = {Mm, Vector3d::UnitX()};
  Joint.Camera_Mount.Widest_Deg = {Degrees, Vector3d::UnitX()};
  return Joint;
}

std::vector<Finding> Judged(const Joint_Solution& Joint,
                            const rigsync::Accuracy_Limits& Limits = {}) {
  Findings List;
  rigsync::Judge_Mount_Uncertainty(Joint, Limits, List);
  return List.Sorted();
}

TEST(MountFindings, TheLimitsAreTheCallers) {
  EXPECT_TRUE(Judged(Solved_To(9, 0.9), {10, 1}).empty());
  const std::vector<Finding> Narrow = Judged(Solved_To(0.6, 0.01), {0.5, 0.02});
  ASSERT_EQ(Narrow.size(), 1u);
  EXPECT_NE(Narrow[0].What.find("0.5 mm and 0.02 degrees"), std::string::npos) << Narrow[0].What;
}

TEST(MountFindings, AMountIsOpenBeyondThreeMillimetresOrThreeTenthsOfADegree) {
  EXPECT_TRUE(Judged(Solved_To(2.99, 0.299)).empty());
  for (const Joint_Solution& Wide :
       {Solved_To(3.01, 0.1), Solved_To(1.0, 0.301), Solved_To(NAN, 0.1), Solved_To(1.0, NAN)}) {
    const auto Found = Judged(Wide);
    ASSERT_EQ(Found.size(), 1u);
    EXPECT_EQ(Found[0].Id, "mount_undetermined");
    EXPECT_EQ(Found[0].Severity, Level::Warning);
  }
  Joint_Solution Unsolved = Solved_To(30.0, 3.0);
  Unsolved.Status = rigsync::Solve_Status::No_Majority;
  EXPECT_TRUE(Judged(Unsolved).empty());
}

TEST(MountFindings, TheOpenDirectionIsNamedAsTheCameraSeesIt) {
  const auto Shift_Text = [](const Vector3d& Direction) {
    Joint_Solution Joint = Solved_To(35.2, 0.31);
    Joint.Camera_Mount.Widest_Mm.Direction = Direction;
    return Judged(Joint)[0].Example;
  };
  // Cam: x to the right, y down, z along the view.
  EXPECT_THAT(Shift_Text({1, 0, 0}), HasSubstr("known to +- 35 mm (right or left, "));
  EXPECT_THAT(Shift_Text({0, -1, 0}), HasSubstr("(up or down, "));
  EXPECT_THAT(Shift_Text({0.4, 0, 0.9165}), HasSubstr("(along the view, "));
  EXPECT_THAT(Shift_Text({0, 0.6, 0.8}), HasSubstr("(along the view and up or down, "));
  const auto Turn_Text = [](const Vector3d& Direction) {
    Joint_Solution Joint = Solved_To(1.0, 0.41);
    Joint.Camera_Mount.Widest_Deg.Direction = Direction;
    return Judged(Joint)[0].Example;
  };
  EXPECT_THAT(Turn_Text({1, 0, 0}), HasSubstr("rotation to +- 0.41 degrees (tilt)"));
  EXPECT_THAT(Turn_Text({0, 1, 0}), HasSubstr("(pan)"));
  EXPECT_THAT(Turn_Text({0.1, 0, -0.995}), HasSubstr("(roll)"));
}

TEST(MountFindings, AMountThatIsNotKnownAtAllHasNoWidthInThousands) {
  EXPECT_THAT(Judged(Solved_To(13789.0, 41.0))[0].Example,
              AllOf(HasSubstr("+- more than 1000 mm"), HasSubstr("+- more than 10 degrees")));
}

TEST(MountFindings, TurnsAboutOneAxisAreToldWithTheTurnsThatAreMissing) {
  Joint_Solution Joint = Solved_To(40.0, 0.1);
  Joint.Motion.Weakness = Motion_Weakness::One_Axis;
  Joint.Motion.Turns_Deg = {22.4, 1.3, 0.4};
  Joint.Motion.First_Axis_Cam = -Vector3d::UnitY();
  const auto Found = Judged(Joint);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "turns_about_one_axis");
  EXPECT_THAT(Found[0].What,
              AllOf(HasSubstr("(pan)"), HasSubstr("22.4 degrees"), HasSubstr("1.3")));
  EXPECT_THAT(Found[0].Advice, AllOf(HasSubstr("up and down"), HasSubstr("roll it"),
                                     Not(HasSubstr("right and left"))));
  // However narrow the mount is said to be.
  Joint.Camera_Mount = Solved_To(1.0, 0.1).Camera_Mount;
  EXPECT_EQ(Judged(Joint).size(), 1u);
}

TEST(MountFindings, SmallTurnsAreToldWithTheirSize) {
  Joint_Solution Joint = Solved_To(40.0, 0.1);
  Joint.Motion.Weakness = Motion_Weakness::Turns_Too_Small;
  Joint.Motion.Turns_Deg = {4.2, 1.3, 0.4};
  const auto Found = Judged(Joint);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "turns_too_small");
  EXPECT_THAT(Found[0].What, HasSubstr("by 4.2 degrees only"));
}

TEST(MountFindings, ACaptureThatHardlyTurnsIsFoundByItsOwnSolution) {
  pose_rig::Options Options;
  Options.Turns_Deg = {3.0, 3.0, 3.0};
  const auto Found = Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen));
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "turns_too_small");
  Options.Turns_Deg = {25.0, 25.0, 25.0};
  EXPECT_TRUE(Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen)).empty());
}

TEST(MountFindings, ACameraOrABoardThatStandsStillIsNoFault) {
  for (const pose_rig::Standing Still : {pose_rig::Standing::Camera, pose_rig::Standing::Board}) {
    pose_rig::Options Options;
    Options.Still = Still;
    EXPECT_TRUE(Judged(rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen)).empty());
  }
}

// ---- Slips -------------------------------------------------------------------------------------

std::vector<Capture_Row> Rows_Of(std::size_t Count) {
  std::vector<Capture_Row> Rows(Count);
  for (std::size_t i = 0; i < Count; ++i) Rows[i].Line = i + 2;
  return Rows;
}

std::vector<Finding> Judged_Slip(const Joint_Solution& Joint,
                                 const std::optional<Slip>& Likeliest) {
  Findings List;
  rigsync::Judge_Slip(Rows_Of(Joint.Rows.size()), Joint, Likeliest, List);
  return List.Sorted();
}

TEST(MountFindings, ASlipIsAnErrorWhenFoundAndAWarningWhenSuspected) {
  Joint_Solution Joint;
  for (std::size_t i = 0; i < 6; ++i) {
    Joint.Rows.emplace_back();
    Joint.Rows.back().Row = i;
  }
  Slip Likeliest;
  Likeliest.First_Row = 3;
  Likeliest.Tracker = Slipped_Tracker::Board;
  Likeliest.Motion << 0.3 * pose_rig::Radians_In_Degree, 0, 0, 0, 0.003, -0.004;
  EXPECT_TRUE(Judged_Slip(Joint, Likeliest).empty());
  Likeliest.Evidence = Slip_Evidence::Look;
  const auto Suspected = Judged_Slip(Joint, Likeliest);
  ASSERT_EQ(Suspected.size(), 1u);
  EXPECT_EQ(Suspected[0].Severity, Level::Warning);
  EXPECT_THAT(Suspected[0].What, HasSubstr("The board's tracker may have slipped"));
  Likeliest.Evidence = Slip_Evidence::Found;
  const auto Found = Judged_Slip(Joint, Likeliest);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_EQ(Found[0].Id, "tracker_slipped");
  EXPECT_EQ(Found[0].Severity, Level::Error);
  EXPECT_THAT(Found[0].What, AllOf(HasSubstr("tracker slipped"), HasSubstr("from line 5 on")));
  EXPECT_THAT(Found[0].Example, HasSubstr("differ by 5.0 mm and 0.30 degrees"));
  EXPECT_THAT(Found[0].Lines, ElementsAre(5, 6, 7));
}

// Lines before the camera's slip show a mount that no longer exists, however many they are.
TEST(MountFindings, TheLongerPartIsAdvisedForASlipOfTheBoardAlone) {
  Joint_Solution Joint;
  Joint.Rows.resize(6);
  Slip Likeliest;
  Likeliest.Evidence = Slip_Evidence::Found;
  Likeliest.Motion << 0, 0, 0, 0, 0, 0.005;
  Likeliest.First_Row = 4;
  Likeliest.Tracker = rigsync::Slipped_Tracker::Camera;
  const std::string Of_Camera = Judged_Slip(Joint, Likeliest).at(0).Advice;
  EXPECT_THAT(Of_Camera, HasSubstr("no longer exists"));
  EXPECT_EQ(Of_Camera.find("longer part"), std::string::npos);
  Likeliest.Tracker = rigsync::Slipped_Tracker::Board;
  EXPECT_THAT(Judged_Slip(Joint, Likeliest).at(0).Advice, HasSubstr("longer part"));
}

TEST(MountFindings, ASlipThatMovesNoPictureIsNotReported) {
  Joint_Solution Joint;
  Joint.Rows.resize(6);
  EXPECT_TRUE(Judged_Slip(Joint, std::nullopt).empty());
  Slip Small;
  Small.Evidence = Slip_Evidence::Found;
  Small.Motion << 0.049 * pose_rig::Radians_In_Degree, 0, 0, 0, 0, 0.00049;
  EXPECT_TRUE(Judged_Slip(Joint, Small).empty());
  EXPECT_FALSE(rigsync::Is_Slip_Found(Small));
  Small.Motion[5] = 0.00051;
  EXPECT_EQ(Judged_Slip(Joint, Small).size(), 1u);
  EXPECT_TRUE(rigsync::Is_Slip_Found(Small));
  Small.Motion << 0.051 * pose_rig::Radians_In_Degree, 0, 0, 0, 0, 0;
  EXPECT_EQ(Judged_Slip(Joint, Small).size(), 1u);
}

TEST(MountFindings, ASlipOfASolvedCaptureIsFoundAtItsLine) {
  pose_rig::Options Options;
  Options.Slipped_From = 14;
  Options.Camera_Slip = {pose_rig::By_Turn(Vector3d(0.012, 0, 0)), Vector3d(0, 0.004, 0)};
  const Joint_Solution Joint = rigsync::Solve_Mounts(pose_rig::Make_Rig(Options).Seen);
  const auto Likeliest = rigsync::Find_Slip(Joint);
  ASSERT_TRUE(Likeliest);
  const auto Found = Judged_Slip(Joint, Likeliest);
  ASSERT_EQ(Found.size(), 1u);
  EXPECT_THAT(Found[0].What, HasSubstr("The camera's tracker slipped during the capture: from "
                                       "line 16 on"));
  EXPECT_EQ(Found[0].Lines.size(), 10u);
}

}  // namespace
