// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <limits>

#include "tests/core/export/derived_numbers.h"
#include "tests/core/export/export_fixtures.h"
#include "tests/support/largest.h"

namespace {

// The conversion's result, computed with Eigen from the formula.
Eigen::Matrix4d Result_Pose(const Numbers& Transform) {
  Eigen::Matrix4d Flip, Inner, Outer;
  Flip << 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1;
  Inner << 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1;
  Outer << 1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1;
  const Eigen::Matrix4d Half = Flip * Pose_Of(Transform), Hand = Half * Flip, P = Inner * Hand;
  const Eigen::Matrix4d Q = P.inverse();
  return Outer * Q;
}

Lines Lens_Lines(const Numbers& Fxy, const Numbers& Cxy, double FoVX, const Numbers& Shift) {
  return {"Version : v0.0.9",
          "CamAxisToAximmetry start.",
          "Norm_Fxy : " + Row_Text(Fxy),
          "Norm_Cxy : " + Row_Text(Cxy),
          "FoVX : " + Text(FoVX),
          "AximmetryCxy : " + Row_Text(Shift)};
}

Lines Pose_Lines(const Numbers& Transform) {
  return Joined({Matrix_Lines("Transform_Cam_Tc", Pose_Of(Transform)),
                 Matrix_Lines("Transform_Tc_Cam_AX", Result_Pose(Transform))});
}

Lines Ending(const Numbers& Euler_Deg, const Numbers& Cm) {
  return {"Rot_Tc_Cam_AX_Euler : " + Row_Text(Euler_Deg) + " deg",
          "Trans_Tc_Cam_AX_cm : " + Row_Text(Cm) + " cm"};
}

// Four decimals, as the reference values are given.
constexpr double Angle_Tolerance = 5e-5;

// Half the distance of two floats near 26, 9.5e-7, for the narrowing to metres times 100 and as
// much for the product, with room for the neighbour.
constexpr double Cm_Tolerance = 3e-6;

const Exported Filled = {-1, {101}, {201, 202}, {301}, {401}, {}};

}  // namespace

TEST(CamAxisToAximmetry, GivesTheReferencePoseWithItsLens) {
  const Exported Result = To_Aximmetry(Reference_Flat);
  EXPECT_EQ(Result.Code, 0);
  ASSERT_EQ(Result.Rotation.size(), 3u);
  ASSERT_EQ(Result.Translation.size(), 3u);
  // The result pose holds -0.26, 0.264, -0.052: y and z are negated on the way out.
  const double Angles[] = {39.7918, 128.6598, 141.3402}, Cm[] = {-26.0, -26.4, 5.2};
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_NEAR(Result.Rotation[i], Angles[i], Angle_Tolerance);
    EXPECT_NEAR(Result.Translation[i], Cm[i], Cm_Tolerance);
  }
  ASSERT_EQ(Result.Lens.size(), 1u);
  EXPECT_NEAR(Result.Lens[0], 67.380135, 5e-7);  // six decimals given
  EXPECT_EQ(Result.Shift, (Numbers{0.52 - 0.5, -(0.47 - 0.5)}));
}

TEST(CamAxisToAximmetry, WritesItsLinesInOrderAndNoLineOfSuccess) {
  const Exported Result = To_Aximmetry(Reference_Flat);
  EXPECT_EQ(Result.Log,
            Joined({Lens_Lines(Reference_Fxy, Reference_Cxy, Result.Lens[0], Result.Shift),
                    Pose_Lines(Reference_Flat), Ending(Result.Rotation, Result.Translation)}));
  ASSERT_EQ(Result.Log.size(), 18u);
  EXPECT_EQ(Result.Log[2], "Norm_Fxy : 0.750000, 1.333333");
  EXPECT_EQ(Result.Log[3], "Norm_Cxy : 0.520000, 0.470000");
  EXPECT_EQ(Result.Log[4], "FoVX : 67.380135");
  EXPECT_EQ(Result.Log[5], "AximmetryCxy : 0.020000, 0.030000");
  EXPECT_EQ(Result.Log[12], "[[0.800000, 0.000000, 0.600000, -0.260000],");
}

TEST(CamAxisToAximmetry, GivesTheIdentityAsAGimbalLockThatIsNoError) {
  const Exported Result = To_Aximmetry(Identity_Flat, {}, {1.0, 1.0}, {0.5, 0.5});
  EXPECT_EQ(Result.Code, 0);
  EXPECT_EQ(Result.Rotation, (Numbers{90, 0, 0}));
  EXPECT_EQ(Result.Translation, (Numbers{0, 0, 0}));
  // The extraction's -0.0 is negated like the others.
  EXPECT_FALSE(std::signbit(Result.Rotation[1]));
  EXPECT_EQ(Result.Log, Joined({Lens_Lines({1.0, 1.0}, {0.5, 0.5}, Result.Lens[0], Result.Shift),
                                Pose_Lines(Identity_Flat),
                                {"Encountered Gimbal lock"},
                                Ending(Result.Rotation, Result.Translation)}));
}

TEST(CamAxisToAximmetry, GivesTheDerivedNumbersToTheLastBit) {
  for (const Derived_Call& Case : Calls) {
    const Numbers Transform(std::begin(Case.Transform_Cam_Tc), std::end(Case.Transform_Cam_Tc));
    SCOPED_TRACE(testing::Message() << Case.What << ": " << Row_Text(Transform));
    const Exported Result = To_Aximmetry(Transform);
    EXPECT_EQ(Result.Code, 0);
    EXPECT_TRUE(Same_Bits_Each(Result.Rotation, Numbers(Case.AX, Case.AX + 3)));
    EXPECT_TRUE(Same_Bits_Each(Result.Translation, Numbers(Case.AX + 3, Case.AX + 6)));
    EXPECT_EQ(std::count(Result.Log.begin(), Result.Log.end(), "Encountered Gimbal lock"),
              Case.AX_Gimbal_Line ? 1 : 0);
  }
}

TEST(CamAxisToAximmetry, GivesAnglesThatRebuildTheRotationOfAnyTransform) {
  Random_Numbers Random(91);
  const Quiet_Output Screen;
  for (int i = 0; i < 2000; ++i) {
    const Eigen::Matrix4d Transform_Cam_Tc = Random.Transform(2.0);
    const Eigen::Matrix4d Expected = AX_Axes.Expected_Tc_Cam(Transform_Cam_Tc);
    Numbers FoVX, Shift, Deg, Cm;
    ASSERT_EQ(CamAxisToAximmetry({1, 1}, {0.5, 0.5}, Flat(Transform_Cam_Tc), FoVX, Shift, Deg, Cm,
                                 "no folder"),
              0);
    const Eigen::Matrix3d Rotation = Turn(1, Deg[1]) * Turn(0, Deg[0]) * Turn(2, Deg[2]);
    // A gimbal lock, were there one among them, would be off by up to its limit's 0.0017.
    const double Cosine = std::max(std::cos(Radians(Deg[0])), Rebuild_Tolerance / 0.002);
    ASSERT_LE(Largest_Element(Rotation - Expected.topLeftCorner<3, 3>()),
              Rebuild_Tolerance / Cosine)
        << i;
    // Two roundings to float of up to 4 m in centimetres.
    ASSERT_NEAR(Cm[0], 100.0 * Expected(0, 3), 5e-5) << i;
    ASSERT_NEAR(Cm[1], -100.0 * Expected(1, 3), 5e-5) << i;
    ASSERT_NEAR(Cm[2], -100.0 * Expected(2, 3), 5e-5) << i;
  }
}

TEST(CamAxisToAximmetry, GivesTheDerivedFieldsOfViewToTheLastBit) {
  for (const Derived_FoV& Case : FoVs) {
    SCOPED_TRACE(Case.Norm_Fx);
    const Exported Result = To_Aximmetry(Reference_Flat, {}, {Case.Norm_Fx, 1.0});
    ASSERT_EQ(Result.Lens.size(), 1u);
    EXPECT_TRUE(Same_Bits(Result.Lens[0], Case.FoVX));
  }
}

TEST(CamAxisToAximmetry, GivesTheKnownFieldsOfViewWhateverTheVerticalFocalLength) {
  for (const double Norm_Fy : {1.0, 0.0, -3.5, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    SCOPED_TRACE(Norm_Fy);
    EXPECT_NEAR(To_Aximmetry(Reference_Flat, {}, {1.0, Norm_Fy}).Lens[0], 53.130102, 5e-7);
    EXPECT_NEAR(To_Aximmetry(Reference_Flat, {}, {0.75, Norm_Fy}).Lens[0], 67.380135, 5e-7);
  }
}

TEST(CamAxisToAximmetry, GivesAbout180DegreesForAFocalLengthOfZero) {
  // atan(infinity) is pi / 2 rounded; pi over the short pi is 1 + 2.856e-11, times 180.
  const Exported Result = To_Aximmetry(Reference_Flat, {}, {0.0, 1.0});
  EXPECT_EQ(Result.Code, 0);
  EXPECT_NEAR(Result.Lens[0], 180.00000000514, 5e-12);
  EXPECT_NEAR(To_Aximmetry(Reference_Flat, {}, {-0.0, 1.0}).Lens[0], -180.00000000514, 5e-12);
}

TEST(CamAxisToAximmetry, ShiftsACentredPrincipalPointByZeroAndNegativeZero) {
  const Exported Result = To_Aximmetry(Reference_Flat, {}, {1.0, 1.0}, {0.5, 0.5});
  ASSERT_EQ(Result.Shift, (Numbers{0, 0}));
  EXPECT_FALSE(std::signbit(Result.Shift[0]));
  EXPECT_TRUE(std::signbit(Result.Shift[1]));
  EXPECT_EQ(Result.Log[5], "AximmetryCxy : 0.000000, -0.000000");
}

// The rotation by this many right angles about an axis, exactly.
Eigen::Matrix3d Right_Angles(int Axis, int Count) {
  const int Next = (Axis + 1) % 3, After = (Axis + 2) % 3;
  Eigen::Matrix3d Quarter = Eigen::Matrix3d::Zero(), Rotation = Eigen::Matrix3d::Identity();
  Quarter(Axis, Axis) = Quarter(After, Next) = 1.0;
  Quarter(Next, After) = -1.0;
  for (int k = 0; k < Count; ++k) Rotation = Quarter * Rotation;
  return Rotation;
}

// y and z of a position are reversed, and so is the sign of a zero. Turns by right angles give
// zeros of both signs.
TEST(CamAxisToAximmetry, ReversesTheSignOfAZeroToo) {
  int Zeros = 0;
  for (int k = 0; k < 64; ++k) {
    Eigen::Matrix4d Transform = Eigen::Matrix4d::Identity();
    Transform.topLeftCorner<3, 3>() =
        Right_Angles(0, k % 4) * Right_Angles(1, k / 4 % 4) * Right_Angles(2, k / 16);
    const Exported Result = To_Aximmetry(Flat(Transform));
    const Eigen::Matrix4d Pose = Result_Pose(Flat(Transform));
    ASSERT_EQ(Result.Translation, (Numbers{0, 0, 0}));
    EXPECT_EQ(std::signbit(Result.Translation[0]), std::signbit(Pose(0, 3)));
    for (const std::size_t Axis : {1, 2}) {
      const bool Is_Negative = std::signbit(Pose(static_cast<int>(Axis), 3));
      EXPECT_NE(std::signbit(Result.Translation[Axis]), Is_Negative);
      Zeros += Is_Negative ? 0 : 1;
    }
  }
  EXPECT_GT(Zeros, 0) << "no zero of the sign whose reversal shows";
}

TEST(CamAxisToAximmetry, ShiftsWithTheErrorOfOneDoubleSubtraction) {
  const Exported Result = To_Aximmetry(Reference_Flat, {}, {1.0, 1.0}, {0.52, 0.47});
  // The doubles nearest 0.52 and 0.47 are 4.4e-18 * 2^n off; the subtraction itself is exact.
  EXPECT_TRUE(Same_Bits_Each(Result.Shift, {0x1.47ae147ae148p-6, 0x1.eb851eb851ecp-6}));
  EXPECT_NE(Result.Shift[0], 0.02);
  EXPECT_NE(Result.Shift[1], 0.03);
}

TEST(CamAxisToAximmetry, AppendsBehindWhatTheVectorsHoldAndLogsTheFrontOfTheLensVectors) {
  const Exported Fresh = To_Aximmetry(Reference_Flat);
  const Exported Result = To_Aximmetry(Reference_Flat, Filled);
  EXPECT_EQ(Result.Lens, (Numbers{301, Fresh.Lens[0]}));
  EXPECT_EQ(Result.Shift, (Numbers{401, Fresh.Shift[0], Fresh.Shift[1]}));
  EXPECT_EQ(Result.Rotation,
            (Numbers{101, Fresh.Rotation[0], Fresh.Rotation[1], Fresh.Rotation[2]}));
  EXPECT_EQ(Result.Translation,
            (Numbers{201, 202, Fresh.Translation[0], Fresh.Translation[1], Fresh.Translation[2]}));
  EXPECT_EQ(Result.Log,
            Joined({Lens_Lines(Reference_Fxy, Reference_Cxy, 301, {401, Fresh.Shift[0]}),
                    Pose_Lines(Reference_Flat), Ending(Fresh.Rotation, Fresh.Translation)}));
}

TEST(CamAxisToAximmetry, RefusesAShortLensPairWhereItIsReadFirst) {
  const Lines Start = {"Version : v0.0.9", "CamAxisToAximmetry start."};
  const struct {
    Numbers Fxy, Cxy;
    std::string Text;
    Lines Log;
  } Cases[] = {
      {{}, {}, "Norm_Fxy needs 2 elements and has 0", Start},
      {{1.0}, {0.5, 0.5}, "Norm_Fxy needs 2 elements and has 1", Start},
      {{1.0, 1.0},
       {},
       "Norm_Cxy needs 2 elements and has 0",
       Joined({Start, {"Norm_Fxy : 1.000000, 1.000000"}})},
      {{1.0, 1.0},
       {0.5},
       "Norm_Cxy needs 2 elements and has 1",
       Joined({Start, {"Norm_Fxy : 1.000000, 1.000000"}})},
  };
  for (const auto& Case : Cases) {
    SCOPED_TRACE(Case.Text);
    Exported Result = Filled;
    const Lines Log = Log_Until_Refused(Case.Text, [&](const std::string& Folder) {
      CamAxisToAximmetry(Case.Fxy, Case.Cxy, Reference_Flat, Result.Lens, Result.Shift,
                         Result.Rotation, Result.Translation, Folder);
    });
    EXPECT_EQ(Log, Case.Log);
    EXPECT_EQ(Result.Lens, Filled.Lens);
    EXPECT_EQ(Result.Shift, Filled.Shift);
    EXPECT_EQ(Result.Rotation, Filled.Rotation);
    EXPECT_EQ(Result.Translation, Filled.Translation);
  }
}

TEST(CamAxisToAximmetry, DeliversTheLensBeforeItRefusesAShortTransform) {
  const Exported Whole = To_Aximmetry(Reference_Flat);
  Exported Result = Filled;
  const Lines Log = Log_Until_Refused(
      "Transform_Cam_Tc needs 16 elements and has 15", [&](const std::string& Folder) {
        CamAxisToAximmetry(Reference_Fxy, Reference_Cxy, Numbers(15, 1.0), Result.Lens,
                           Result.Shift, Result.Rotation, Result.Translation, Folder);
      });
  EXPECT_EQ(Log, Lens_Lines(Reference_Fxy, Reference_Cxy, 301, {401, Whole.Shift[0]}));
  EXPECT_EQ(Result.Lens, (Numbers{301, Whole.Lens[0]}));
  EXPECT_EQ(Result.Shift, (Numbers{401, Whole.Shift[0], Whole.Shift[1]}));
  EXPECT_EQ(Result.Rotation, Filled.Rotation);
  EXPECT_EQ(Result.Translation, Filled.Translation);
}

TEST(CamAxisToAximmetry, IgnoresWhatStandsBehindTheElementsItReads) {
  constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
  Numbers Longer = Reference_Flat;
  Longer.push_back(NaN);
  const Exported Plain = To_Aximmetry(Reference_Flat);
  const Exported Result = To_Aximmetry(Longer, {}, {0.75, 1.3333333, NaN}, {0.52, 0.47, NaN});
  EXPECT_TRUE(Same_Bits_Each(Result.Lens, Plain.Lens));
  EXPECT_TRUE(Same_Bits_Each(Result.Shift, Plain.Shift));
  EXPECT_TRUE(Same_Bits_Each(Result.Rotation, Plain.Rotation));
  EXPECT_TRUE(Same_Bits_Each(Result.Translation, Plain.Translation));
  EXPECT_EQ(Result.Log, Plain.Log);
}
