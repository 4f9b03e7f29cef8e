// SPDX-License-Identifier: Apache-2.0
#include "tests/core/export/derived_numbers.h"
#include "tests/core/export/export_fixtures.h"
#include "tests/support/largest.h"

namespace {

// The conversion's result, computed with Eigen from the formula.
Eigen::Matrix4d Result_Pose(const Numbers& Transform) {
  Eigen::Matrix4d Flip, Inner, Outer;
  Flip << 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1;
  Inner << 0, 0, -1, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 1;
  Outer << 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1;
  const Eigen::Matrix4d Half = Flip * Pose_Of(Transform), Hand = Half * Flip, P = Inner * Hand;
  const Eigen::Matrix4d Q = P.inverse();
  return Outer * Q;
}

Lines Opening(const Numbers& Transform) {
  return Joined({{"Version : v0.0.9", "CamAxisToUE4 start."},
                 Matrix_Lines("Transform_Cam_Tc", Pose_Of(Transform)),
                 {"I Change Hand.", "I Transform_Tc_UE4Cam."},
                 Matrix_Lines("Transform_Tc_Cam_UE4", Result_Pose(Transform))});
}

Lines Ending(const Numbers& Euler_Deg, const Numbers& Cm) {
  return {"Rot_Tc_Cam_UE4_Euler : " + Row_Text(Euler_Deg) + " deg",
          "Trans_Tc_Cam_UE4_cm : " + Row_Text(Cm) + " cm", "CamAxisToUE4 successful."};
}

// Four decimals, as the reference values are given.
constexpr double Angle_Tolerance = 5e-5;

// Half the distance of two floats near 26, 9.5e-7, for the narrowing to metres times 100 and as
// much for the product, with room for the neighbour.
constexpr double Cm_Tolerance = 3e-6;

const Exported Filled = {-1, {101, 102}, {201}, {}, {}, {}};

}  // namespace

TEST(CamAxisToUE4, GivesTheAnglesAndCentimetresOfTheReferencePose) {
  const Exported Result = To_UE4(Reference_Flat);
  EXPECT_EQ(Result.Code, 0);
  ASSERT_EQ(Result.Rotation.size(), 3u);
  ASSERT_EQ(Result.Translation.size(), 3u);
  const double Angles[] = {-141.3402, -39.7918, 128.6598}, Cm[] = {-5.2, -26.0, 26.4};
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_NEAR(Result.Rotation[i], Angles[i], Angle_Tolerance);
    EXPECT_NEAR(Result.Translation[i], Cm[i], Cm_Tolerance);
  }
}

TEST(CamAxisToUE4, WritesItsLinesInOrder) {
  const Exported Result = To_UE4(Reference_Flat);
  EXPECT_EQ(Result.Log,
            Joined({Opening(Reference_Flat), Ending(Result.Rotation, Result.Translation)}));
  ASSERT_EQ(Result.Log.size(), 17u);
  EXPECT_EQ(Result.Log[2], "Transform_Cam_Tc : ");
  EXPECT_EQ(Result.Log[3], "[[0.800000, -0.360000, -0.480000, 0.100000],");
  EXPECT_EQ(Result.Log[6], " [0.000000, 0.000000, 0.000000, 1.000000]]");
  EXPECT_EQ(Result.Log[9], "Transform_Tc_Cam_UE4 : ");
  EXPECT_EQ(Result.Log[10], "[[-0.480000, 0.360000, 0.800000, -0.052000],");
}

TEST(CamAxisToUE4, RefusesTheIdentityWithCode3AndFillsNothing) {
  const Exported Result = To_UE4(Identity_Flat, Filled);
  EXPECT_EQ(Result.Code, 3);
  EXPECT_EQ(Result.Rotation, Filled.Rotation);
  EXPECT_EQ(Result.Translation, Filled.Translation);
  EXPECT_EQ(Result.Log, Joined({Opening(Identity_Flat),
                                {"Encountered Gimbal lock : ", "SingularityTest : -0.500000",
                                 "x : 0.000000, y : 0.707107, z : 0.000000",
                                 "Error code 3 : Encountered Gimbal lock."}}));
}

TEST(CamAxisToUE4, RefusesEveryPoseThatLeavesTheResultsElement20AtPlusOrMinusOne) {
  Random_Numbers Random(71);
  const Quiet_Output Screen;
  for (int i = 0; i < 300; ++i) {
    // Any yaw and roll around a quarter turn about y, with any translation.
    Eigen::Matrix4d Result = Eigen::Matrix4d::Identity();
    Result.topLeftCorner<3, 3>() = Turn(2, Random.Between(-180, 180)) *
                                   Turn(1, i % 2 == 0 ? 90.0 : -90.0) *
                                   Turn(0, Random.Between(-180, 180));
    Result.topRightCorner<3, 1>() = Random.Vector(-3.0, 3.0);
    Numbers Euler_Deg, Cm;
    ASSERT_EQ(CamAxisToUE4(Flat(UE4_Axes.Cam_Tc_That_Gives(Result)), Euler_Deg, Cm, "no folder"), 3)
        << i;
    ASSERT_TRUE(Euler_Deg.empty() && Cm.empty());
  }
}

TEST(CamAxisToUE4, GivesAnglesThatRebuildTheRotationOfAnyTransform) {
  Random_Numbers Random(72);
  const Quiet_Output Screen;
  int Rebuilt = 0;
  for (int i = 0; i < 2000; ++i) {
    const Eigen::Matrix4d Transform_Cam_Tc = Random.Transform(2.0);
    const Eigen::Matrix4d Expected = UE4_Axes.Expected_Tc_Cam(Transform_Cam_Tc);
    Numbers Deg, Cm;
    if (CamAxisToUE4(Flat(Transform_Cam_Tc), Deg, Cm, "no folder") == 3) continue;
    const Eigen::Matrix3d Rotation = Turn(2, Deg[2]) * Turn(1, -Deg[1]) * Turn(0, -Deg[0]);
    const double Cosine = std::cos(Radians(Deg[1]));
    ASSERT_LE(Largest_Element(Rotation - Expected.topLeftCorner<3, 3>()),
              Rebuild_Tolerance / Cosine)
        << i;
    for (int r = 0; r < 3; ++r) {
      // Two roundings to float of up to 4 m in centimetres.
      ASSERT_NEAR(Cm[static_cast<std::size_t>(r)], 100.0 * Expected(r, 3), 5e-5) << i;
    }
    ++Rebuilt;
  }
  EXPECT_GT(Rebuilt, 1990);
}

TEST(CamAxisToUE4, GivesTheDerivedNumbersToTheLastBit) {
  for (const Derived_Call& Case : Calls) {
    const Numbers Transform(std::begin(Case.Transform_Cam_Tc), std::end(Case.Transform_Cam_Tc));
    SCOPED_TRACE(testing::Message() << Case.What << ": " << Row_Text(Transform));
    const Exported Result = To_UE4(Transform);
    EXPECT_EQ(Result.Code, Case.UE4_Code);
    if (Case.UE4_Code == 3) {
      EXPECT_TRUE(Result.Rotation.empty() && Result.Translation.empty());
    } else {
      EXPECT_TRUE(Same_Bits_Each(Result.Rotation, Numbers(Case.UE4, Case.UE4 + 3)));
      EXPECT_TRUE(Same_Bits_Each(Result.Translation, Numbers(Case.UE4 + 3, Case.UE4 + 6)));
    }
  }
}

TEST(CamAxisToUE4, NarrowsMetresBeforeItMultiplies) {
  // A rotation by 120 degrees about the diagonal of the engine's axes, far from gimbal lock, and
  // 0.3 m.
  Eigen::Matrix4d Result = Eigen::Matrix4d::Identity();
  Result.topLeftCorner<3, 3>() << 0, 0, 1, 1, 0, 0, 0, 1, 0;
  Result.topRightCorner<3, 1>() << 0.3, -0.3, 0.25;
  const Exported Call = To_UE4(Flat(UE4_Axes.Cam_Tc_That_Gives(Result)));
  EXPECT_EQ(Call.Code, 0);
  EXPECT_EQ(Call.Translation, (Numbers{30.000001907348633, -30.000001907348633, 25.0}));
}

TEST(CamAxisToUE4, AppendsBehindWhatTheVectorsHoldAndLogsItsOwnValues) {
  const Exported Fresh = To_UE4(Reference_Flat);
  const Exported Result = To_UE4(Reference_Flat, Filled);
  EXPECT_EQ(Result.Rotation,
            (Numbers{101, 102, Fresh.Rotation[0], Fresh.Rotation[1], Fresh.Rotation[2]}));
  EXPECT_EQ(Result.Translation,
            (Numbers{201, Fresh.Translation[0], Fresh.Translation[1], Fresh.Translation[2]}));
  EXPECT_EQ(Result.Log, Fresh.Log);
}

TEST(CamAxisToUE4, AlternatesAnglesAndCentimetresInAVectorThatServesForBoth) {
  const Exported Apart = To_UE4(Reference_Flat);
  const Quiet_Output Screen;
  Numbers Both;
  EXPECT_EQ(CamAxisToUE4(Reference_Flat, Both, Both, "no folder"), 0);
  EXPECT_EQ(Both, (Numbers{Apart.Rotation[0], Apart.Translation[0], Apart.Rotation[1],
                           Apart.Translation[1], Apart.Rotation[2], Apart.Translation[2]}));
}

TEST(CamAxisToUE4, RefusesAShortTransformAfterItsStartLine) {
  for (const std::size_t Size : {0u, 15u}) {
    Exported Result = Filled;
    const Lines Log = Log_Until_Refused(
        "Transform_Cam_Tc needs 16 elements and has " + std::to_string(Size),
        [&](const std::string& Folder) {
          CamAxisToUE4(Numbers(Size, 1.0), Result.Rotation, Result.Translation, Folder);
        });
    EXPECT_EQ(Log, (Lines{"Version : v0.0.9", "CamAxisToUE4 start."}));
    EXPECT_EQ(Result.Rotation, Filled.Rotation);
    EXPECT_EQ(Result.Translation, Filled.Translation);
  }
}

TEST(CamAxisToUE4, RunsWithoutALogFileWhereTheFolderIsMissing) {
  const Scratch_Folder Folder;
  const Quiet_Output Screen;
  Numbers Euler_Deg, Cm;
  EXPECT_EQ(CamAxisToUE4(Reference_Flat, Euler_Deg, Cm, (Folder.Path() / "missing").string()), 0);
  EXPECT_EQ(Messages(Screen.Captured()), Joined({Opening(Reference_Flat), Ending(Euler_Deg, Cm)}));
  EXPECT_TRUE(std::filesystem::is_empty(Folder.Path()));
}
