// SPDX-License-Identifier: Apache-2.0
//
// The board's mount on its tracker, from the chain of poses. Rigs close the chain with rigid
// inverses, the stage uses general ones; expected sums come from derived_numbers.h.
#include "core/solver/calculate_transform_chart_tr.h"

#include "tests/core/solver/derived_numbers.h"
#include "tests/core/solver/solver_test_support.h"

#include <Eigen/LU>

#include <cmath>

namespace {

// A float near 1 m steps by 1.2e-7 m, and the sum of a dozen rounds a few times more.
constexpr double Mean_Tolerance = 5e-7;

struct Solved {
  int Code = -1;
  Eigen::Matrix4d Mean_Transform_Chart_Tr = Eigen::Matrix4d::Constant(9.0);
  std::vector<std::string> Log;
};

// The mount of the rig is the mean of the first pass.
Solved Solve(const Rig& Known) {
  Solved Result;
  Stage_Log Log;
  {
    const Stage_Log::Listener Quiet = Log.Listen();
    Result.Code = Calculate_Transform_Chart_Tr(
        Log.Path(), Result.Mean_Transform_Chart_Tr, Known.Transform_Cam_Chart_all,
        Known.Transform_Cam_Tc, Known.Transform_Base_Tc_all, Known.Transform_Tr_Base_all);
  }
  Result.Log = Log.Lines();
  return Result;
}

Rig Rig_Of_Identities(std::size_t Images) {
  Rig Result;
  Result.Transform_Cam_Tc = Result.Transform_Chart_Tr = Eigen::Matrix4d::Identity();
  Result.Transform_Cam_Chart_all.assign(Images, Eigen::Matrix4d::Identity());
  Result.Transform_Tr_Base_all = Result.Transform_Base_Tc_all = Result.Transform_Cam_Chart_all;
  return Result;
}

TEST(CalculateTransformChartTr, RecoversTheBoardsPlaceThatTheRigWasBuiltWith) {
  for (const std::size_t Images : {1u, 5u, 12u}) {
    SCOPED_TRACE(Images);
    const Rig Known = Make_Rig(Images);
    const Solved Result = Solve(Known);
    EXPECT_EQ(Result.Code, 0);
    EXPECT_LE(Max_Difference(Result.Mean_Transform_Chart_Tr, Known.Transform_Chart_Tr),
              Mean_Tolerance);
    EXPECT_EQ(Eigen::RowVector4d(Result.Mean_Transform_Chart_Tr.row(3)),
              Eigen::RowVector4d(0, 0, 0, 1));
  }
}

TEST(CalculateTransformChartTr, TakesTheMeanThatItIsGivenAndNoOther) {
  // As after a removal: the lists fit one mount, but the mean passed is another one, which includes
  // the removed images. The board's mount follows from the mean passed.
  Rig Known = Make_Rig(1);
  const Eigen::Matrix4d Mount_Of_The_List = Known.Transform_Cam_Tc;
  Known.Transform_Cam_Tc = Mount_Of_The_List * Turned({0, 1, 0}, 0.1, {0.05, 0.0, -0.02});
  const Solved Result = Solve(Known);
  const Eigen::Matrix4d Expected =
      Rigid_Inverse(Known.Transform_Cam_Chart_all[0]) * Known.Transform_Cam_Tc *
      Rigid_Inverse(Known.Transform_Base_Tc_all[0]) * Rigid_Inverse(Known.Transform_Tr_Base_all[0]);
  EXPECT_LE(Max_Difference(Result.Mean_Transform_Chart_Tr, Expected), Mean_Tolerance);
  EXPECT_GT(Max_Difference(Expected, Known.Transform_Chart_Tr), 0.01);
}

TEST(CalculateTransformChartTr, MeanTranslationHasTheBitsOfNarrowedSamplesSummedInFloat) {
  // Only the tracker on the board moves, so that its inverse is the sample.
  Rig Known = Rig_Of_Identities(9);
  for (std::size_t i = 0; i < 9; ++i) {
    const auto& Sample = derived::Mean_Samples[i];
    Known.Transform_Tr_Base_all[i] = Shifted({-Sample[0], -Sample[1], -Sample[2]});
  }
  const Solved Result = Solve(Known);
  Eigen::Matrix4d Expected = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r) Expected(r, 3) = derived::Mean_Result[r];
  EXPECT_EQ(Hex(Result.Mean_Transform_Chart_Tr), Hex(Expected));
}

TEST(CalculateTransformChartTr, SamplesHaveTheBitsOfGeneralInversesMultipliedFromTheLeft) {
  // The mean of one sample is the narrowed sample. Translations of a million kilometres cancel and
  // leave double rounding errors that are visible in a float, so another order of steps would show.
  bool Tells_Rigid_Apart = false;
  for (unsigned Seed = 1; Seed <= 6; ++Seed) {
    SCOPED_TRACE(Seed);
    Random_Numbers Random(Seed);
    Rig Far = Rig_Of_Identities(1);
    Far.Transform_Cam_Tc = Random.Transform(1.0);
    Far.Transform_Cam_Chart_all[0] = Random.Transform(1e9);
    Far.Transform_Base_Tc_all[0] = Random.Transform(1e9);
    // Close the chain: the large translations cancel to a small one.
    Far.Transform_Tr_Base_all[0] =
        Rigid_Inverse(Random.Transform(1.0)) * Rigid_Inverse(Far.Transform_Cam_Chart_all[0]) *
        Far.Transform_Cam_Tc * Rigid_Inverse(Far.Transform_Base_Tc_all[0]);
    const Eigen::Matrix4d Chart_Cam = Far.Transform_Cam_Chart_all[0].inverse();
    const Eigen::Matrix4d Tc_Base = Far.Transform_Base_Tc_all[0].inverse();
    const Eigen::Matrix4d Base_Tr = Far.Transform_Tr_Base_all[0].inverse();
    const Eigen::Matrix4d First = Chart_Cam * Far.Transform_Cam_Tc;
    const Eigen::Matrix4d Second = First * Tc_Base;
    const Eigen::Matrix4d Third = Second * Base_Tr;
    const Eigen::Matrix4d Rigid =
        Rigid_Inverse(Far.Transform_Cam_Chart_all[0]) * Far.Transform_Cam_Tc *
        Rigid_Inverse(Far.Transform_Base_Tc_all[0]) * Rigid_Inverse(Far.Transform_Tr_Base_all[0]);
    const Solved Result = Solve(Far);
    for (int r = 0; r < 3; ++r) {
      EXPECT_EQ(Hex(Result.Mean_Transform_Chart_Tr(r, 3)), Hex(static_cast<float>(Third(r, 3))));
      Tells_Rigid_Apart |= static_cast<float>(Rigid(r, 3)) != static_cast<float>(Third(r, 3));
    }
  }
  EXPECT_TRUE(Tells_Rigid_Apart);
}

TEST(CalculateTransformChartTr, EveryInverseIsTheGeneralOne) {
  // A pose that doubles lengths in one factor, undone by the mean: transposing its rotation block
  // would leave a factor of 4.
  for (int Factor = 0; Factor < 3; ++Factor) {
    SCOPED_TRACE(Factor);
    Rig Known = Make_Rig(5);
    const Eigen::Matrix4d Expected = Known.Transform_Chart_Tr;
    std::vector<Eigen::Matrix4d>* const Lists[] = {
        &Known.Transform_Cam_Chart_all, &Known.Transform_Base_Tc_all, &Known.Transform_Tr_Base_all};
    for (Eigen::Matrix4d& Pose : *Lists[Factor]) {
      Pose =
          Factor == 0 ? Eigen::Matrix4d(Scaled(2.0) * Pose) : Eigen::Matrix4d(Pose * Scaled(2.0));
    }
    // Scaling commutes with rotations, and doubles the translations that stand left of it.
    if (Factor == 0) Known.Transform_Cam_Tc = Scaled(2.0) * Known.Transform_Cam_Tc;
    if (Factor == 1) Known.Transform_Cam_Tc = Known.Transform_Cam_Tc * Scaled(2.0);
    if (Factor == 2) {
      for (Eigen::Matrix4d& Pose : Known.Transform_Base_Tc_all) Pose = Scaled(0.5) * Pose;
    }
    EXPECT_LE(Max_Difference(Solve(Known).Mean_Transform_Chart_Tr, Expected), Mean_Tolerance);
  }
}

TEST(CalculateTransformChartTr, LogsTheMeanAsFiveLines) {
  Rig Plain = Rig_Of_Identities(2);
  Plain.Transform_Cam_Tc = Shifted({0.5, -3.0, 0.0078125});
  EXPECT_EQ(Solve(Plain).Log, (std::vector<std::string>{
                                  "Mean_Transform_Chart_Tr : ",
                                  "[[1.000000, 0.000000, 0.000000, 0.500000],",
                                  " [0.000000, 1.000000, 0.000000, -3.000000],",
                                  " [0.000000, 0.000000, 1.000000, 0.007812],",
                                  " [0.000000, 0.000000, 0.000000, 1.000000]]",
                              }));
  const Solved Result = Solve(Make_Rig(7));
  std::vector<std::string> Expected = {"Mean_Transform_Chart_Tr : "};
  for (const std::string& Row : Matrix_Rows(Result.Mean_Transform_Chart_Tr)) {
    Expected.push_back(Row);
  }
  EXPECT_EQ(Result.Log, Expected);
}

TEST(CalculateTransformChartTr, ReturnsCode12WithTheIdentityAndThreeSizesWhicheverListIsOdd) {
  // Images in Transform_Cam_Chart_all, Transform_Tr_Base_all, Transform_Base_Tc_all.
  const std::size_t Cases[][3] = {{4, 5, 5}, {5, 4, 5}, {5, 5, 4}, {6, 5, 5}, {5, 6, 5},
                                  {5, 5, 6}, {0, 5, 5}, {5, 0, 0}, {0, 0, 1}, {3, 4, 5}};
  for (const auto& Images : Cases) {
    SCOPED_TRACE(testing::PrintToString(Images));
    Rig Uneven = Make_Rig(6);
    Uneven.Transform_Cam_Chart_all.resize(Images[0]);
    Uneven.Transform_Tr_Base_all.resize(Images[1]);
    Uneven.Transform_Base_Tc_all.resize(Images[2]);
    const Solved Result = Solve(Uneven);
    EXPECT_EQ(Result.Code, 12);
    EXPECT_EQ(Result.Mean_Transform_Chart_Tr, Eigen::Matrix4d(Eigen::Matrix4d::Identity()));
    EXPECT_EQ(Result.Log,
              (std::vector<std::string>{
                  "Size of Transform_Cam_Chart_all : " + std::to_string(Images[0]),
                  "Size of Transform_Tr_Base_all : " + std::to_string(Images[1]),
                  "Size of Transform_Base_Tc_all : " + std::to_string(Images[2]),
                  "Error code 12: Data size is not same in Calculate_Transform_Chart_Tr"}));
  }
}

TEST(CalculateTransformChartTr, ASingularPoseIsNotDetected) {
  for (int List = 0; List < 3; ++List) {
    SCOPED_TRACE(List);
    Rig Known = Make_Rig(5);
    std::vector<Eigen::Matrix4d>* const Lists[] = {
        &Known.Transform_Cam_Chart_all, &Known.Transform_Base_Tc_all, &Known.Transform_Tr_Base_all};
    (*Lists[List])[2].setZero();
    const Solved Result = Solve(Known);
    EXPECT_EQ(Result.Code, 0);
    EXPECT_TRUE((Result.Mean_Transform_Chart_Tr.topRows<3>().array().isNaN().all()));
    EXPECT_EQ(Eigen::RowVector4d(Result.Mean_Transform_Chart_Tr.row(3)),
              Eigen::RowVector4d(0, 0, 0, 1));
    EXPECT_EQ(Result.Log.size(), 5u);
  }
}

TEST(CalculateTransformChartTr, ThreeEmptyListsPassTheCheckAndGiveNan) {
  const Solved Result = Solve(Rig_Of_Identities(0));
  EXPECT_EQ(Result.Code, 0);
  EXPECT_TRUE((Result.Mean_Transform_Chart_Tr.topRows<3>().array().isNaN().all()));
  EXPECT_EQ(Unsigned_Nans(Result.Log),
            (std::vector<std::string>{"Mean_Transform_Chart_Tr : ", "[[nan, nan, nan, nan],",
                                      " [nan, nan, nan, nan],", " [nan, nan, nan, nan],",
                                      " [0.000000, 0.000000, 0.000000, 1.000000]]"}));
}

}  // namespace
