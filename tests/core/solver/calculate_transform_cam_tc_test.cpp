// SPDX-License-Identifier: Apache-2.0
//
// The camera mount from the chain of poses. Rigs close the chain with rigid inverses; expected sums
// are computed step by step or come from derived_numbers.h.
#include "core/solver/calculate_transform_cam_tc.h"

#include "tests/core/solver/derived_numbers.h"
#include "tests/core/solver/solver_test_support.h"
#include "tests/support/largest.h"

#include <cmath>

namespace {

// A float near 1 m steps by 1.2e-7 m, and the sum of a dozen rounds a few times more. Swapped
// factors miss in the first digit.
constexpr double Mean_Tolerance = 5e-7;
// Three products of 4 by 4 matrices with elements of a few metres, in double.
constexpr double Pose_Tolerance = 1e-14;

struct Solved {
  int Code = -1;
  Eigen::Matrix4d Mean_Transform_Cam_Tc = Eigen::Matrix4d::Identity();
  std::vector<Eigen::Matrix4d> Transform_Cam_Tc_all;
  std::vector<Eigen::Vector4f> Quaternion_Cam_Tc_all;
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
  std::vector<std::string> Log;
};

void Solve_Again(const Rig& Known, Solved& Result) {
  Stage_Log Log;
  {
    const Stage_Log::Listener Quiet = Log.Listen();
    Result.Code = Calculate_Transform_Cam_Tc(
        Log.Path(), Result.Mean_Transform_Cam_Tc, Result.Transform_Cam_Tc_all,
        Result.Quaternion_Cam_Tc_all, Result.Translation_Cam_Tc_all, Known.Transform_Cam_Chart_all,
        Known.Transform_Chart_Tr, Known.Transform_Tr_Base_all, Known.Transform_Base_Tc_all);
  }
  Result.Log = Log.Lines();
}

Solved Solve(const Rig& Known) {
  Solved Result;
  Solve_Again(Known, Result);
  return Result;
}

// A rig whose images have these poses of the mount: every other factor is the identity.
Rig Rig_Of_Mounts(const std::vector<Eigen::Matrix4d>& Mounts) {
  Rig Result;
  Result.Transform_Chart_Tr = Eigen::Matrix4d::Identity();
  Result.Transform_Cam_Chart_all.assign(Mounts.size(), Eigen::Matrix4d::Identity());
  Result.Transform_Tr_Base_all.assign(Mounts.size(), Eigen::Matrix4d::Identity());
  Result.Transform_Base_Tc_all = Mounts;
  return Result;
}

std::vector<std::string> Expected_Log(const Eigen::Matrix4d& Mean) {
  std::vector<std::string> Lines = {"Mean_Transform_Cam_Tc : "};
  for (const std::string& Row : Matrix_Rows(Mean)) Lines.push_back(Row);
  return Lines;
}

TEST(CalculateTransformCamTc, RecoversTheMountThatTheRigWasBuiltWith) {
  for (const std::size_t Images : {1u, 5u, 12u}) {
    SCOPED_TRACE(Images);
    const Rig Known = Make_Rig(Images);
    const Solved Result = Solve(Known);
    EXPECT_EQ(Result.Code, 0);
    EXPECT_LE(Max_Difference(Result.Mean_Transform_Cam_Tc, Known.Transform_Cam_Tc), Mean_Tolerance);
    ASSERT_EQ(Result.Transform_Cam_Tc_all.size(), Images);
    for (const Eigen::Matrix4d& Pose : Result.Transform_Cam_Tc_all) {
      EXPECT_LE(Max_Difference(Pose, Known.Transform_Cam_Tc), Pose_Tolerance);
    }
  }
}

TEST(CalculateTransformCamTc, MultipliesCamChartThenChartTrThenTrBaseThenBaseTc) {
  // Poses that do not close the chain, so that each image has a different product. The expected
  // bits are those of products computed from the left, each complete before the next.
  Rig Open = Make_Rig(6);
  Random_Numbers Random(17);
  for (Eigen::Matrix4d& Pose : Open.Transform_Base_Tc_all) Pose = Random.Transform(1.5);
  const Solved Result = Solve(Open);
  ASSERT_EQ(Result.Transform_Cam_Tc_all.size(), 6u);
  bool Tells_From_The_Right_Apart = false;
  for (std::size_t i = 0; i < 6; ++i) {
    SCOPED_TRACE(i);
    const Eigen::Matrix4d& Cam_Chart = Open.Transform_Cam_Chart_all[i];
    const Eigen::Matrix4d& Tr_Base = Open.Transform_Tr_Base_all[i];
    const Eigen::Matrix4d& Base_Tc = Open.Transform_Base_Tc_all[i];
    const Eigen::Matrix4d First = Cam_Chart * Open.Transform_Chart_Tr;
    const Eigen::Matrix4d Second = First * Tr_Base;
    const Eigen::Matrix4d Third = Second * Base_Tc;
    EXPECT_EQ(Hex(Result.Transform_Cam_Tc_all[i]), Hex(Third));

    const Eigen::Matrix4d Last = Tr_Base * Base_Tc;
    const Eigen::Matrix4d Last_Two = Open.Transform_Chart_Tr * Last;
    const Eigen::Matrix4d From_The_Right = Cam_Chart * Last_Two;
    Tells_From_The_Right_Apart |= Hex(From_The_Right) != Hex(Third);
    const Eigen::Matrix4d Swapped = First * Base_Tc * Tr_Base;
    EXPECT_GT(Max_Difference(Swapped, Third), 0.1);
  }
  EXPECT_TRUE(Tells_From_The_Right_Apart);
}

TEST(CalculateTransformCamTc, ListsHoldTheSamplesOfEveryImageInOrder) {
  std::vector<Eigen::Matrix4d> Mounts;
  Random_Numbers Random(23);
  for (int i = 0; i < 8; ++i) {
    // One draw per statement: the evaluation order of a call's arguments is unspecified.
    const Eigen::Vector3d Axis = Random.Vector(0.1, 1.0);
    const double Angle = Random.Between(0.1, 1.5);
    // Draws are 32 bits wide, so one near 0 can be a float. Times 0.1 they use all 53 bits.
    const Eigen::Vector3d Offset = Random.Vector(-1.0, 1.0) * 0.1;
    Mounts.push_back(Turned(Axis, Angle, Offset));
  }
  const Solved Result = Solve(Rig_Of_Mounts(Mounts));
  ASSERT_EQ(Result.Transform_Cam_Tc_all.size(), 8u);
  ASSERT_EQ(Result.Quaternion_Cam_Tc_all.size(), 8u);
  ASSERT_EQ(Result.Translation_Cam_Tc_all.size(), 8u);
  for (std::size_t i = 0; i < 8; ++i) {
    SCOPED_TRACE(i);
    const Eigen::AngleAxisd Turn(Eigen::Matrix3d(Mounts[i].topLeftCorner<3, 3>()));
    Eigen::Vector4d Quaternion;  // x, y, z, w
    Quaternion << Turn.axis() * std::sin(Turn.angle() / 2.0), std::cos(Turn.angle() / 2.0);
    EXPECT_LE((Result.Quaternion_Cam_Tc_all[i].cast<double>() - Quaternion).norm(), 1e-7);
    for (int r = 0; r < 3; ++r) {
      // The pose keeps the double, the sample is its float, and the two differ.
      EXPECT_EQ(Hex(Result.Transform_Cam_Tc_all[i](r, 3)), Hex(Mounts[i](r, 3)));
      EXPECT_EQ(Result.Translation_Cam_Tc_all[i](r), static_cast<float>(Mounts[i](r, 3)));
      EXPECT_NE(static_cast<double>(Result.Translation_Cam_Tc_all[i](r)),
                Result.Transform_Cam_Tc_all[i](r, 3));
    }
  }
}

TEST(CalculateTransformCamTc, MeanTranslationHasTheBitsOfNarrowedSamplesSummedInFloat) {
  std::vector<Eigen::Matrix4d> Mounts;
  for (const auto& Sample : derived::Mean_Samples) {
    Mounts.push_back(Shifted({Sample[0], Sample[1], Sample[2]}));
  }
  const Solved Result = Solve(Rig_Of_Mounts(Mounts));
  Eigen::Matrix4d Expected = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r) Expected(r, 3) = derived::Mean_Result[r];
  EXPECT_EQ(Hex(Result.Mean_Transform_Cam_Tc), Hex(Expected));
}

TEST(CalculateTransformCamTc, EqualSamplesComeBackToSinglePrecisionOnly) {
  // Four times 0.1f is exact, so the mean is 0.1f. Summed ten times, 0.1f comes to 1 + 2^-23, and
  // a tenth of that is one float higher.
  const Eigen::Matrix4d Mount = Shifted({0.1, 0.1, 0.1});
  const Solved Four = Solve(Rig_Of_Mounts(std::vector<Eigen::Matrix4d>(4, Mount)));
  const Solved Ten = Solve(Rig_Of_Mounts(std::vector<Eigen::Matrix4d>(10, Mount)));
  for (int r = 0; r < 3; ++r) {
    EXPECT_EQ(Hex(Four.Mean_Transform_Cam_Tc(r, 3)), Hex(0x1.99999ap-4));
    EXPECT_EQ(Hex(Ten.Mean_Transform_Cam_Tc(r, 3)), Hex(0x1.99999cp-4));
  }
}

TEST(CalculateTransformCamTc, ListOrderDecidesTheLastBits) {
  // 2^-24 added to 1 is lost in float, eight of them first are not.
  std::vector<Eigen::Matrix4d> Mounts(9, Shifted({0x1p-24, 0, 0}));
  Mounts[0] = Shifted({1, 0, 0});
  const Solved Large_First = Solve(Rig_Of_Mounts(Mounts));
  std::swap(Mounts[0], Mounts[8]);
  const Solved Large_Last = Solve(Rig_Of_Mounts(Mounts));
  EXPECT_EQ(Hex(Large_First.Mean_Transform_Cam_Tc(0, 3)), Hex(static_cast<double>(1.0f / 9.0f)));
  EXPECT_EQ(Hex(Large_Last.Mean_Transform_Cam_Tc(0, 3)),
            Hex(static_cast<double>(0x1.000008p0f / 9.0f)));
}

TEST(CalculateTransformCamTc, MeanRotationOfTurnsOfEitherSignIsTheMiddle) {
  // Pairs about z whose mixed products cancel: exactly no turn. And through the chain, a turn by
  // 200 degrees, whose sample has a negative w, among turns by 160: the middle is 180.
  const double Radian = static_cast<double>(EIGEN_PI) / 180.0;
  const Solved Level = Solve(Rig_Of_Mounts({Turned({0, 0, 1}, 0.4), Turned({0, 0, 1}, -0.4)}));
  EXPECT_EQ(Level.Mean_Transform_Cam_Tc, Eigen::Matrix4d(Eigen::Matrix4d::Identity()));

  const Solved Half =
      Solve(Rig_Of_Mounts({Turned({0, 1, 0}, 160 * Radian), Turned({0, 1, 0}, 200 * Radian)}));
  ASSERT_LT(Half.Quaternion_Cam_Tc_all.at(1)(3), 0.0f);
  EXPECT_LE(Max_Difference(Half.Mean_Transform_Cam_Tc, Turned({0, 1, 0}, 180 * Radian)),
            4.0 * Mean_Tolerance);
}

TEST(CalculateTransformCamTc, Row3StaysTheCallers) {
  Solved Result;
  Result.Mean_Transform_Cam_Tc.setConstant(3.0);
  Result.Mean_Transform_Cam_Tc.row(3) << 4.0, -5.0, 6.0, 7.5;
  Solve_Again(Make_Rig(5), Result);
  EXPECT_EQ(Result.Code, 0);
  EXPECT_EQ(Eigen::RowVector4d(Result.Mean_Transform_Cam_Tc.row(3)),
            Eigen::RowVector4d(4.0, -5.0, 6.0, 7.5));
  EXPECT_LE(
      Largest_Element((Result.Mean_Transform_Cam_Tc - Make_Rig(5).Transform_Cam_Tc).topRows<3>()),
      Mean_Tolerance);
}

TEST(CalculateTransformCamTc, LogsTheMeanAsFiveLines) {
  const Solved Plain = Solve(Rig_Of_Mounts({Shifted({1.5, -0.25, 1234567.0})}));
  EXPECT_EQ(Plain.Log, (std::vector<std::string>{
                           "Mean_Transform_Cam_Tc : ",
                           "[[1.000000, 0.000000, 0.000000, 1.500000],",
                           " [0.000000, 1.000000, 0.000000, -0.250000],",
                           " [0.000000, 0.000000, 1.000000, 1234567.000000],",
                           " [0.000000, 0.000000, 0.000000, 1.000000]]",
                       }));
  const Solved Turned_Mount = Solve(Make_Rig(5));
  EXPECT_EQ(Turned_Mount.Log, Expected_Log(Turned_Mount.Mean_Transform_Cam_Tc));
}

TEST(CalculateTransformCamTc, ASecondCallLeavesNothingOfTheFirst) {
  Solved Result = Solve(Make_Rig(9, /*Seed=*/1));
  Rig Fewer = Make_Rig(5, /*Seed=*/2);
  Fewer.Transform_Base_Tc_all[0] = Fewer.Transform_Base_Tc_all[0] * Shifted({0.5, 0, 0});
  Solve_Again(Fewer, Result);
  const Solved Fresh = Solve(Fewer);
  EXPECT_EQ(Result.Code, 0);
  ASSERT_EQ(Result.Transform_Cam_Tc_all.size(), 5u);
  ASSERT_EQ(Result.Quaternion_Cam_Tc_all.size(), 5u);
  ASSERT_EQ(Result.Translation_Cam_Tc_all.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(Hex(Result.Transform_Cam_Tc_all[i]), Hex(Fresh.Transform_Cam_Tc_all[i]));
    EXPECT_EQ(Result.Quaternion_Cam_Tc_all[i], Fresh.Quaternion_Cam_Tc_all[i]);
    EXPECT_EQ(Result.Translation_Cam_Tc_all[i], Fresh.Translation_Cam_Tc_all[i]);
  }
  EXPECT_EQ(Hex(Result.Mean_Transform_Cam_Tc), Hex(Fresh.Mean_Transform_Cam_Tc));
}

TEST(CalculateTransformCamTc, ReturnsCode8AndKeepsTheMeanWhicheverListIsOdd) {
  // Images in Transform_Cam_Chart_all, Transform_Tr_Base_all, Transform_Base_Tc_all.
  const std::size_t Cases[][3] = {{4, 5, 5}, {5, 4, 5}, {5, 5, 4}, {6, 5, 5}, {5, 6, 5},
                                  {5, 5, 6}, {0, 5, 5}, {5, 0, 0}, {0, 0, 1}, {3, 4, 5}};
  for (const auto& Images : Cases) {
    SCOPED_TRACE(testing::PrintToString(Images));
    Solved Result = Solve(Make_Rig(5));  // an earlier run that worked
    ASSERT_EQ(Result.Transform_Cam_Tc_all.size(), 5u);
    const Eigen::Matrix4d Earlier_Mean = Result.Mean_Transform_Cam_Tc;
    Rig Uneven = Make_Rig(6, /*Seed=*/4);
    Uneven.Transform_Cam_Chart_all.resize(Images[0]);
    Uneven.Transform_Tr_Base_all.resize(Images[1]);
    Uneven.Transform_Base_Tc_all.resize(Images[2]);
    Solve_Again(Uneven, Result);
    EXPECT_EQ(Result.Code, 8);
    EXPECT_TRUE(Result.Transform_Cam_Tc_all.empty());
    EXPECT_TRUE(Result.Quaternion_Cam_Tc_all.empty());
    EXPECT_TRUE(Result.Translation_Cam_Tc_all.empty());
    EXPECT_EQ(Hex(Result.Mean_Transform_Cam_Tc), Hex(Earlier_Mean));
    EXPECT_EQ(Result.Log,
              std::vector<std::string>{
                  "Error code 8: Data size is not same in Calculate_Transform_Cam_Tc."});
  }
}

TEST(CalculateTransformCamTc, ThreeEmptyListsPassTheCheckAndGiveNan) {
  const Solved Result = Solve(Rig_Of_Mounts({}));
  EXPECT_EQ(Result.Code, 0);
  EXPECT_TRUE(Result.Transform_Cam_Tc_all.empty());
  EXPECT_TRUE((Result.Mean_Transform_Cam_Tc.topRows<3>().array().isNaN().all()));
  EXPECT_EQ(Eigen::RowVector4d(Result.Mean_Transform_Cam_Tc.row(3)),
            Eigen::RowVector4d(0, 0, 0, 1));
  EXPECT_EQ(Unsigned_Nans(Result.Log),
            (std::vector<std::string>{"Mean_Transform_Cam_Tc : ", "[[nan, nan, nan, nan],",
                                      " [nan, nan, nan, nan],", " [nan, nan, nan, nan],",
                                      " [0.000000, 0.000000, 0.000000, 1.000000]]"}));
}

TEST(CalculateTransformCamTc, APoseThatIsNotFiniteGivesCode0AndAMeanOfNans) {
  Rig Broken = Make_Rig(5);
  Broken.Transform_Base_Tc_all[3](1, 1) = HUGE_VAL;
  const Solved Result = Solve(Broken);
  EXPECT_EQ(Result.Code, 0);
  EXPECT_EQ(Result.Transform_Cam_Tc_all.size(), 5u);
  EXPECT_TRUE((Result.Mean_Transform_Cam_Tc.topLeftCorner<3, 3>().array().isNaN().all()));
}

}  // namespace
