// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/second_opinion.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using Eigen::Matrix4d;
using Eigen::Vector3d;
using rigsync::Joint_Solution;
using rigsync::Second_Opinion;
using rigsync::Slip;
using rigsync::Slip_Evidence;
using rigsync::Verdict;
using rigsync::Verdict_Reason;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// A joint solve of 0.3 mm and 0.03 degrees on each axis (half-widths), at the identity.
Joint_Solution Sharp() {
  Joint_Solution Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.Rows.resize(24);
  for (rigsync::Solved_Row& Row : Joint.Rows) Row.Is_Kept = true;
  rigsync::Mount_Uncertainty& Mount = Joint.Camera_Mount;
  const double Turn_Rad = 0.015 * pose_rig::Radians_In_Degree, Shift = 0.00015;
  Mount.Covariance.diagonal() << Vector3d::Constant(Turn_Rad * Turn_Rad),
      Vector3d::Constant(Shift * Shift);
  Mount.Joint_Freedom = 1000;
  Mount.Widest_Mm.Half_Width = 0.3;
  Mount.Widest_Deg.Half_Width = 0.03;
  return Joint;
}

Matrix4d Away(double Mm, double Deg) {
  const pose_rig::Pose Pose{pose_rig::By_Turn({0, Deg * pose_rig::Radians_In_Degree, 0}),
                            Vector3d(0, 0, 1e-3 * Mm)};
  return Pose.As_Transform().matrix();
}

Slip With_Evidence(Slip_Evidence Evidence) {
  Slip Seen;
  Seen.Evidence = Evidence;
  Seen.Motion[3] = 0.003;
  return Seen;
}

TEST(SecondOpinion, MountsThatAreTheSameAgree) {
  const Second_Opinion Opinion = rigsync::Judge_Mount(Away(0.2, 0.02), Sharp(), {});
  EXPECT_EQ(Opinion.Judgement, Verdict::Agree);
  EXPECT_THAT(Opinion.Reasons, IsEmpty());
  EXPECT_NEAR(Opinion.Difference_Mm, 0.2, 1e-9);
  EXPECT_NEAR(Opinion.Difference_Deg, 0.02, 1e-9);
}

TEST(SecondOpinion, ADifferenceBeyondTheLimitIsNotToBeUsed) {
  for (const auto& [Mm, Deg] : {std::pair{3.001, 0.0}, {0.0, 0.3001}, {50.0, 5.0}}) {
    const Second_Opinion Opinion = rigsync::Judge_Mount(Away(Mm, Deg), Sharp(), {});
    EXPECT_EQ(Opinion.Judgement, Verdict::Dont_Use);
    EXPECT_THAT(Opinion.Reasons, ElementsAre(Verdict_Reason::Difference_Beyond_Limit));
  }
  EXPECT_NE(rigsync::Judge_Mount(Away(2.999, 0), Sharp(), {}).Judgement, Verdict::Dont_Use);
  EXPECT_NE(rigsync::Judge_Mount(Away(0, 0.2999), Sharp(), {}).Judgement, Verdict::Dont_Use);
}

TEST(SecondOpinion, ADifferenceThatChanceDoesNotMakeIsWorthALook) {
  const Second_Opinion Opinion = rigsync::Judge_Mount(Away(1.01, 0), Sharp(), {});
  EXPECT_EQ(Opinion.Judgement, Verdict::Look);
  EXPECT_THAT(Opinion.Reasons, ElementsAre(Verdict_Reason::Difference_Unlikely));
  // As unlikely, and too small to be seen.
  EXPECT_EQ(rigsync::Judge_Mount(Away(0.99, 0.099), Sharp(), {}).Judgement, Verdict::Agree);
}

TEST(SecondOpinion, ADifferenceThatThePrecisionMayHideIsWorthALook) {
  Joint_Solution Joint = Sharp();
  Joint.Camera_Mount.Covariance *= 100;
  // 99 % of a normal distribution are within 2.576 standard deviations, 95 % within 1.960.
  Joint.Camera_Mount.Widest_Mm.Half_Width = 2.0;
  const double Room_Mm = 3.0 - 2.0 * 2.576 / 1.960;
  EXPECT_THAT(rigsync::Judge_Mount(Away(Room_Mm + 0.01, 0), Joint, {}).Reasons,
              ElementsAre(Verdict_Reason::Difference_And_Width));
  EXPECT_EQ(rigsync::Judge_Mount(Away(Room_Mm - 0.01, 0), Joint, {}).Judgement, Verdict::Agree);
}

TEST(SecondOpinion, ASolveThatCannotTellIsNoConsent) {
  Joint_Solution Joint = Sharp();
  Joint.Camera_Mount.Widest_Deg.Half_Width = 0.301;
  EXPECT_THAT(rigsync::Judge_Mount(Away(0, 0), Joint, {}).Reasons,
              ElementsAre(Verdict_Reason::Width_Beyond_Limit));
  Joint.Camera_Mount.Widest_Deg.Half_Width = NaN;
  EXPECT_EQ(rigsync::Judge_Mount(Away(0, 0), Joint, {}).Judgement, Verdict::Dont_Use);
}

TEST(SecondOpinion, TheLimitsAreTheCallers) {
  EXPECT_EQ(rigsync::Judge_Mount(Away(4, 0), Sharp(), {}, {10.0, 1.0}).Reasons,
            std::vector{Verdict_Reason::Difference_Unlikely});
}

TEST(SecondOpinion, NaNOrWhatIsNoPoseIsNotToBeUsed) {
  Matrix4d Broken = Away(0, 0);
  Broken(0, 3) = NaN;
  Matrix4d Mirrored = Away(0, 0);
  Mirrored(0, 0) = -1;
  for (const Matrix4d& Each : {Broken, Mirrored, Matrix4d(Matrix4d::Zero())}) {
    const Second_Opinion Opinion = rigsync::Judge_Mount(Each, Sharp(), {});
    EXPECT_EQ(Opinion.Judgement, Verdict::Dont_Use);
    EXPECT_THAT(Opinion.Reasons, ElementsAre(Verdict_Reason::No_Library_Transform));
    EXPECT_TRUE(std::isnan(Opinion.Difference_Mm));
  }
}

TEST(SecondOpinion, AMountThatNothingConfirmsIsNotToBeUsed) {
  for (const auto Status : {rigsync::Solve_Status::Too_Few_Rows, rigsync::Solve_Status::No_Majority,
                            rigsync::Solve_Status::Not_Converged}) {
    Joint_Solution Joint = Sharp();
    Joint.Status = Status;
    EXPECT_THAT(rigsync::Judge_Mount(Away(0, 0), Joint, {}).Reasons,
                ElementsAre(Verdict_Reason::Not_Solved));
  }
  EXPECT_EQ(rigsync::Judge_Mount(Away(0, 0), {}, {}).Judgement, Verdict::Dont_Use);
}

TEST(SecondOpinion, ASlipCounts) {
  const auto Judge = [](Slip_Evidence Evidence) {
    return rigsync::Judge_Mount(Away(0, 0), Sharp(), With_Evidence(Evidence));
  };
  EXPECT_EQ(Judge(Slip_Evidence::None).Judgement, Verdict::Agree);
  EXPECT_EQ(Judge(Slip_Evidence::Look).Judgement, Verdict::Look);
  EXPECT_THAT(Judge(Slip_Evidence::Look).Reasons, ElementsAre(Verdict_Reason::Slip_Suspected));
  EXPECT_EQ(Judge(Slip_Evidence::Found).Judgement, Verdict::Dont_Use);
  EXPECT_THAT(Judge(Slip_Evidence::Found).Reasons, ElementsAre(Verdict_Reason::Slip_Found));
}

// Half a millimetre and a twentieth of a degree move no picture.
TEST(SecondOpinion, ASlipThatNobodySeesDoesNotCount) {
  const auto Judge = [](double Mm, double Deg) {
    Slip Seen = With_Evidence(Slip_Evidence::Found);
    Seen.Motion << Deg * pose_rig::Radians_In_Degree, 0, 0, 0, 1e-3 * Mm, 0;
    return rigsync::Judge_Mount(Away(0, 0), Sharp(), Seen).Judgement;
  };
  EXPECT_EQ(Judge(0.49, 0.049), Verdict::Agree);
  EXPECT_EQ(Judge(0.51, 0), Verdict::Dont_Use);
  EXPECT_EQ(Judge(0, 0.051), Verdict::Dont_Use);
}

// With a slip before the last row it would be the only one with the mount that the stage has now.
TEST(SecondOpinion, ALastRowThatIsLeftOutIsWorthALook) {
  Joint_Solution Joint = Sharp();
  Joint.Rows[22].Is_Kept = false;
  EXPECT_EQ(rigsync::Judge_Mount(Away(0, 0), Joint, {}).Judgement, Verdict::Agree);
  Joint.Rows[23].Is_Kept = false;
  EXPECT_THAT(rigsync::Judge_Mount(Away(0, 0), Joint, {}).Reasons,
              ElementsAre(Verdict_Reason::Last_Rows_Left_Out));
}

// 0.3 degrees less the half-width of 0.03; and 6.0 is above F by chance in 0.04 % of captures, 9.0
// in one of a hundred thousand.
TEST(SecondOpinion, ALensThatDoesNotFitIsWorthALookWhereItMovesTheMount) {
  const auto Judge = [](double F, double Deg, double Mm) {
    rigsync::Judged_Result Result;
    Result.Lens_Check.emplace();
    Result.Lens_Check->F = F;
    Result.Lens_Check->Mount_Motion << 0, Deg * pose_rig::Radians_In_Degree, 0, 0, 0, 1e-3 * Mm;
    return rigsync::Judge_Mount(Away(0, 0), Sharp(), {}, {}, Result);
  };
  EXPECT_THAT(Judge(9.0, 0.271, 0).Reasons, ElementsAre(Verdict_Reason::Lens_Does_Not_Fit));
  EXPECT_THAT(Judge(9.0, 0, 2.71).Reasons, ElementsAre(Verdict_Reason::Lens_Does_Not_Fit));
  EXPECT_EQ(Judge(9.0, 0.269, 2.69).Judgement, Verdict::Agree);
  EXPECT_EQ(Judge(6.0, 0.271, 2.71).Judgement, Verdict::Agree);
}

TEST(SecondOpinion, APlaceThatIsContradictedIsWorthALook) {
  rigsync::Judged_Result Result;
  Result.Is_Place_Contradicted = true;
  EXPECT_THAT(rigsync::Judge_Mount(Away(0, 0), Sharp(), {}, {}, Result).Reasons,
              ElementsAre(Verdict_Reason::Place_Contradicted));
}

TEST(SecondOpinion, AnErrorOfTheCaptureIsWorthALook) {
  rigsync::Judged_Result Result;
  Result.Is_Capture_Faulty = true;
  EXPECT_THAT(rigsync::Judge_Mount(Away(0, 0), Sharp(), {}, {}, Result).Reasons,
              ElementsAre(Verdict_Reason::Capture_Faulty));
}

TEST(SecondOpinion, ACodeThatTheLibraryRefusesIsNotToBeUsed) {
  rigsync::Judged_Result Result;
  Result.Has_Usable_Code = false;
  const Second_Opinion Opinion = rigsync::Judge_Mount(Away(0, 0), Sharp(), {}, {}, Result);
  EXPECT_EQ(Opinion.Judgement, Verdict::Dont_Use);
  EXPECT_THAT(Opinion.Reasons, ElementsAre(Verdict_Reason::Library_Code));
}

// What the library's run is short of is worth a look then, and no more.
TEST(SecondOpinion, TheJointMountNeedsNoAgreement) {
  rigsync::Judged_Result Joint_Chosen;
  Joint_Chosen.Choice = rigsync::Solution_Choice::Joint;
  Joint_Chosen.Has_Usable_Code = false;
  const auto Judge = [&](const Matrix4d& Library, const Joint_Solution& Joint,
                         const std::optional<Slip>& Seen = {}) {
    return rigsync::Judge_Mount(Library, Joint, Seen, {}, Joint_Chosen);
  };
  const Second_Opinion No_Transform = Judge(Matrix4d::Constant(NaN), Sharp());
  EXPECT_EQ(No_Transform.Judgement, Verdict::Look);
  EXPECT_THAT(No_Transform.Reasons,
              ElementsAre(Verdict_Reason::No_Library_Transform, Verdict_Reason::Library_Code));
  EXPECT_EQ(Judge(Away(20, 0), Sharp()).Judgement, Verdict::Look);
  // What is wrong with the joint solve itself counts as before.
  Joint_Solution Wide = Sharp();
  Wide.Camera_Mount.Widest_Mm.Half_Width = 3.1;
  EXPECT_THAT(Judge(Away(0, 0), Wide).Reasons, ElementsAre(Verdict_Reason::Width_Beyond_Limit));
  EXPECT_THAT(Judge(Away(0, 0), {}).Reasons, ElementsAre(Verdict_Reason::Not_Solved));
  EXPECT_THAT(Judge(Away(0, 0), Sharp(), With_Evidence(Slip_Evidence::Found)).Reasons,
              ElementsAre(Verdict_Reason::Slip_Found));
  Joint_Chosen.Has_Usable_Code = true;
  EXPECT_EQ(Judge(Away(0, 0), Sharp()).Judgement, Verdict::Agree);
}

// Captures with random faults, and mounts by a closed form that knows nothing of bad rows: none
// that is truly beyond the limits is called good.
TEST(SecondOpinion, NoWrongMountOf200IsCalledGood) {
  int Wrong = 0, Called_Good = 0, Good = 0;
  for (unsigned Seed = 1; Seed <= 200; ++Seed) {
    simulate::Random Random(Seed, 70);
    pose_rig::Options Options;
    Options.Seed = Seed;
    Options.Position_Mm = Random.Between(0.1, 1.0);
    Options.Rotation_Deg = 0.1 * Options.Position_Mm;
    Options.Images = 12 + Random.Index(20);
    const int Stale = Random.Index(10) - 4;
    for (int k = 0; k < Stale; ++k) Options.Stale.insert(Random.Index(Options.Images));
    if (Random.Index(4) == 0) Options.Turns_Deg *= 0.05;
    const pose_rig::Rig Rig = Make_Rig(Options);
    const double Part = Random.Index(2) == 0 ? 0.2 : 1.0;
    const double Off_Deg = Part * Random.Between(0, 0.6), Off_Mm = Part * Random.Between(0, 6);
    const pose_rig::Pose Off{
        pose_rig::By_Turn(Off_Deg * pose_rig::Radians_In_Degree * Random.Direction()) *
            Rig.Cam_Tc.Turn,
        Rig.Cam_Tc.Shift + 1e-3 * Off_Mm * Random.Direction()};
    const Joint_Solution Joint = rigsync::Solve_Mounts(Rig.Seen);
    const Second_Opinion Opinion =
        rigsync::Judge_Mount(Off.As_Transform().matrix(), Joint, rigsync::Find_Slip(Joint));
    const rigsync::Vector6d Error = pose_rig::Error_Of(Off.As_Transform(), Rig.Cam_Tc);
    const bool Is_Wrong = Error.tail<3>().norm() > 0.003 ||
                          Error.head<3>().norm() > 0.3 * pose_rig::Radians_In_Degree;
    Wrong += Is_Wrong ? 1 : 0;
    Good += Opinion.Judgement == Verdict::Agree ? 1 : 0;
    Called_Good += Is_Wrong && Opinion.Judgement == Verdict::Agree ? 1 : 0;
  }
  EXPECT_GT(Wrong, 50);
  EXPECT_GT(Good, 10);
  EXPECT_EQ(Called_Good, 0);
}

}  // namespace
