// SPDX-License-Identifier: Apache-2.0
//
// CamAxisToUE5 and CamAxisToUE5_ExportxN. Their common behaviour is tested for both.
#include <limits>

#include "tests/core/export/derived_numbers.h"
#include "tests/core/export/export_fixtures.h"
#include "tests/support/largest.h"

namespace {

struct UE5_Call {
  const char* Name;
  Exported (*Run)(const Numbers&, const Exported&);
  int (*Export)(Numbers, Numbers&, Numbers&, std::string);
  const Engine_Axes& Axes;
  const double (Derived_Call::*Derived)[7];
};

const UE5_Call Both[] = {
    {"CamAxisToUE5", To_UE5, CamAxisToUE5, UE5_Axes, &Derived_Call::UE5},
    {"CamAxisToUE5_ExportxN", To_UE5_ExportxN, CamAxisToUE5_ExportxN, ExportxN_Axes,
     &Derived_Call::UE5_ExportxN},
};
const UE5_Call& Plain = Both[0];

// The conversion's result, computed with Eigen from the formula.
Eigen::Matrix4d Result_Pose(const UE5_Call& Call, const Numbers& Transform) {
  const Eigen::Matrix4d T = Pose_Of(Transform);
  if (&Call == &Plain) {
    Eigen::Matrix4d Inner;
    Inner << 1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1;
    const Eigen::Matrix4d P = T * Inner;
    return P.inverse();
  }
  Eigen::Matrix4d Inner, Outer;
  Inner << 0, -1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 0, 0, 0, 0, 1;
  Outer << 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1;
  const Eigen::Matrix4d P = Inner * T;
  const Eigen::Matrix4d Q = P.inverse();
  return Outer * Q;
}

// The lines of a call with these two result rows. "ExportxN" appears only in the start line and the
// end line.
Lines Whole_Log(const UE5_Call& Call, const Numbers& Transform, const Numbers& Quat_Row,
                const Numbers& Cm_Row) {
  const std::string Name = Call.Name;
  return Joined(
      {{"Version : v0.0.9", Name + " start."},
       Matrix_Lines("Transform_Cam_Tc", Pose_Of(Transform)),
       Matrix_Lines("Transform_Tc_Cam_UE5", Result_Pose(Call, Transform)),
       {"UE5 Quat_Tc_Cam (xyzw): " + Row_Text(Quat_Row),
        "UE5 Trans_Tc_Cam_cm (xyz): " + Row_Text(Cm_Row) + " cm", Name + " successful."}});
}

// Some 20 roundings of 1.1e-16 in the inverse, a few more in the quaternion's root; a hundred
// times that in centimetres.
constexpr double Quat_Tolerance = 5e-15;
constexpr double Cm_Tolerance = 5e-13;

void Expect_Result(const Exported& Result, const Numbers& Quat, const Numbers& Cm) {
  EXPECT_EQ(Result.Code, 0);
  ASSERT_EQ(Result.Rotation.size(), 4u);
  ASSERT_EQ(Result.Translation.size(), 3u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(Result.Rotation[i], Quat[i], Quat_Tolerance);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(Result.Translation[i], Cm[i], Cm_Tolerance);
}

}  // namespace

TEST(CamAxisToUE5, TurnsTheIdentityBackAQuarterAboutX) {
  const double Root_Half = std::sqrt(0.5);  // 0.707107
  Expect_Result(To_UE5(Identity_Flat), {-Root_Half, 0, 0, Root_Half}, {0, 0, 0});
}

TEST(CamAxisToUE5_ExportxN, TurnsTheIdentityAQuarterAboutZ) {
  const double Root_Half = std::sqrt(0.5);
  Expect_Result(To_UE5_ExportxN(Identity_Flat), {0, 0, Root_Half, Root_Half}, {0, 0, 0});
}

TEST(CamAxisToUE5, GivesTheReferencePoseWithANegativeW) {
  const double Root_2 = std::sqrt(2.0);  // 0.848528, -0.141421, 0.282843, -0.424264
  Expect_Result(To_UE5(Reference_Flat), {0.6 * Root_2, -0.1 * Root_2, 0.2 * Root_2, -0.3 * Root_2},
                {-26.0, -26.4, -5.2});
}

TEST(CamAxisToUE5_ExportxN, GivesTheReferencePoseInItsOwnAxes) {
  const double Root_2 = std::sqrt(2.0);  // -0.141421, -0.282843, 0.848528, 0.424264
  Expect_Result(To_UE5_ExportxN(Reference_Flat),
                {-0.1 * Root_2, -0.2 * Root_2, 0.6 * Root_2, 0.3 * Root_2}, {26.4, -5.2, 26.0});
}

TEST(CamAxisToUE5Both, WriteTheirLinesInOrder) {
  for (const UE5_Call& Call : Both) {
    for (const Numbers& Transform : {Reference_Flat, Identity_Flat}) {
      SCOPED_TRACE(Call.Name);
      const Exported Result = Call.Run(Transform, {});
      EXPECT_EQ(Result.Log, Whole_Log(Call, Transform, Result.Rotation, Result.Translation));
      EXPECT_EQ(Result.Log.size(), 15u);
    }
  }
}

TEST(CamAxisToUE5_ExportxN, KeepsTheResultTextsOfTheOtherCallWordForWord) {
  const Lines Log = To_UE5_ExportxN(Reference_Flat).Log;
  ASSERT_EQ(Log.size(), 15u);
  EXPECT_EQ(Log[1], "CamAxisToUE5_ExportxN start.");
  EXPECT_EQ(Log[7], "Transform_Tc_Cam_UE5 : ");
  EXPECT_EQ(Log[8], "[[-0.600000, -0.640000, -0.480000, 0.264000],");
  EXPECT_EQ(Log[12], "UE5 Quat_Tc_Cam (xyzw): -0.141421, -0.282843, 0.848528, 0.424264");
  EXPECT_EQ(Log[13], "UE5 Trans_Tc_Cam_cm (xyz): 26.400000, -5.200000, 26.000000 cm");
  EXPECT_EQ(Log[14], "CamAxisToUE5_ExportxN successful.");
}

TEST(CamAxisToUE5Both, PrintTheFrontOfVectorsThatHeldValues) {
  for (const UE5_Call& Call : Both) {
    SCOPED_TRACE(Call.Name);
    const Exported Fresh = Call.Run(Reference_Flat, {});
    const Numbers& Q = Fresh.Rotation;
    const Numbers& Cm = Fresh.Translation;
    const Exported Result = Call.Run(Reference_Flat, {-1, {77}, {88, 99}, {}, {}, {}});
    EXPECT_EQ(Result.Rotation, (Numbers{77, Q[0], Q[1], Q[2], Q[3]}));
    EXPECT_EQ(Result.Translation, (Numbers{88, 99, Cm[0], Cm[1], Cm[2]}));
    // The old value, then x, y and z: w isn't printed at all.
    EXPECT_EQ(Result.Log, Whole_Log(Call, Reference_Flat, {77, Q[0], Q[1], Q[2]}, {88, 99, Cm[0]}));
  }
}

TEST(CamAxisToUE5Both, GiveTheDerivedNumbersToTheLastBit) {
  for (const UE5_Call& Call : Both) {
    for (const Derived_Call& Case : Calls) {
      const Numbers Transform(std::begin(Case.Transform_Cam_Tc), std::end(Case.Transform_Cam_Tc));
      SCOPED_TRACE(testing::Message() << Call.Name << ", " << Case.What << Row_Text(Transform));
      const Exported Result = Call.Run(Transform, {});
      const double* Expected = Case.*Call.Derived;
      EXPECT_TRUE(Same_Bits_Each(Result.Rotation, Numbers(Expected, Expected + 4)));
      EXPECT_TRUE(Same_Bits_Each(Result.Translation, Numbers(Expected + 4, Expected + 7)));
    }
  }
}

// The identity's inverse is the negated translation, so each length is converted separately.
TEST(CamAxisToUE5Both, MultiplyMetresInDoublePrecision) {
  for (const UE5_Call& Call : Both) {
    SCOPED_TRACE(Call.Name);
    for (const Derived_Length& Length : Lengths) {
      if (Length.Metres == 0.0) continue;  // the inverse chooses the sign of a zero
      SCOPED_TRACE(Length.Metres);
      Eigen::Matrix4d Transform = Eigen::Matrix4d::Identity();
      Transform(0, 3) = -Length.Metres;
      const Exported Result = Call.Run(Flat(Transform), {});
      // x of Tc is x for the one engine and -z for the other.
      const double Actual = &Call == &Plain ? Result.Translation[0] : -Result.Translation[2];
      EXPECT_TRUE(Same_Bits(Actual, Length.Double_Cm));
    }
  }
}

// The conversion back to metres adds one more rounding of up to 4 m for each element, and
// the inverse multiplies up to 2 m by each: some 20 roundings of 4.4e-16.
constexpr double Round_Trip_Tolerance = 2e-14;

TEST(CamAxisToUE5Both, LeadBackToThePose) {
  Random_Numbers Random(81);
  const Quiet_Output Screen;
  for (int i = 0; i < 2000; ++i) {
    const Eigen::Matrix4d Transform_Cam_Tc = Random.Transform(2.0);
    for (const UE5_Call& Call : Both) {
      Numbers Q, Cm;
      ASSERT_EQ(Call.Export(Flat(Transform_Cam_Tc), Q, Cm, "no folder"), 0);
      Eigen::Matrix4d Transform_Tc_Cam = Eigen::Matrix4d::Identity();
      Transform_Tc_Cam.topLeftCorner<3, 3>() =
          Eigen::Quaterniond(Q[3], Q[0], Q[1], Q[2]).toRotationMatrix();
      Transform_Tc_Cam.topRightCorner<3, 1>() << Cm[0] / 100, Cm[1] / 100, Cm[2] / 100;
      const Eigen::Matrix4d Back = Call.Axes.Cam_Tc_That_Gives(Transform_Tc_Cam);
      ASSERT_LE(Largest_Element(Back - Transform_Cam_Tc), Round_Trip_Tolerance)
          << Call.Name << ", transform " << i;
    }
  }
}

TEST(CamAxisToUE5Both, IgnoreElementsFrom16On) {
  for (const UE5_Call& Call : Both) {
    SCOPED_TRACE(Call.Name);
    Numbers Longer = Reference_Flat;
    Longer.push_back(std::numeric_limits<double>::quiet_NaN());
    const Exported Plain_Result = Call.Run(Reference_Flat, {}), Result = Call.Run(Longer, {});
    EXPECT_TRUE(Same_Bits_Each(Result.Rotation, Plain_Result.Rotation));
    EXPECT_TRUE(Same_Bits_Each(Result.Translation, Plain_Result.Translation));
    EXPECT_EQ(Result.Log, Plain_Result.Log);
  }
}

TEST(CamAxisToUE5Both, RefuseAShortTransformAfterTheStartLine) {
  for (const UE5_Call& Call : Both) {
    SCOPED_TRACE(Call.Name);
    Numbers Quat = {77}, Cm = {88};
    const Lines Log = Log_Until_Refused(
        "Transform_Cam_Tc needs 16 elements and has 15",
        [&](const std::string& Folder) { Call.Export(Numbers(15, 1.0), Quat, Cm, Folder); });
    EXPECT_EQ(Log, (Lines{"Version : v0.0.9", std::string(Call.Name) + " start."}));
    EXPECT_EQ(Quat, Numbers{77});
    EXPECT_EQ(Cm, Numbers{88});
  }
}

TEST(CamAxisToUE5Both, ShareOneLogFileWithACallOfTheSameSecond) {
  const Scratch_Folder Folder;
  const Quiet_Output Screen;
  Numbers Quat, Cm;
  // Two calls begin in the same second at the first or, after a new second begins, the second
  // attempt.
  for (int Attempt = 0; Attempt < 3; ++Attempt) {
    for (const auto& Old : Run_Logs(Folder.Path())) std::filesystem::remove(Old);
    for (const UE5_Call& Call : Both) {
      Quat.clear();
      Cm.clear();
      EXPECT_EQ(Call.Export(Reference_Flat, Quat, Cm, Folder.String()), 0);
    }
    if (Run_Logs(Folder.Path()).size() == 1) break;
  }
  ASSERT_EQ(Run_Logs(Folder.Path()).size(), 1u);
  const Lines Log = Read_Run_Log(Folder.Path());
  ASSERT_EQ(Log.size(), 30u);
  EXPECT_EQ(Log[14], "CamAxisToUE5 successful.");
  EXPECT_EQ(Log[16], "CamAxisToUE5_ExportxN start.");
}
