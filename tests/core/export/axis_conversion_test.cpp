// SPDX-License-Identifier: Apache-2.0
#include "core/export/axis_conversion.h"

#include <limits>

#include "tests/core/export/derived_numbers.h"
#include "tests/core/export/export_fixtures.h"
#include "tests/support/largest.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

struct Conversion {
  const char* Name;
  int (*Convert)(std::string, Eigen::Matrix4d, Eigen::Matrix4d&);
  const Engine_Axes& Axes;
  Eigen::Matrix4d From_Identity;
  Eigen::Matrix4d From_Reference;
};

Eigen::Matrix4d Three_Rows(const Numbers& Elements) {
  Numbers Whole = Elements;
  Whole.insert(Whole.end(), {0, 0, 0, 1});
  return Pose_Of(Whole);
}

const Conversion Conversions[] = {
    {"UE4", Cam_Tc_To_UE4, UE4_Axes, Rows({{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}}),
     Three_Rows({-0.48, 0.36, 0.8, -0.052, 0.6, 0.8, 0, -0.26, -0.64, 0.48, -0.6, 0.264})},
    {"UE5", Cam_Tc_To_UE5, UE5_Axes, Rows({{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}),
     Three_Rows({0.8, 0, 0.6, -0.26, -0.48, -0.6, 0.64, -0.264, 0.36, -0.8, -0.48, -0.052})},
    {"UE5_ExportxN", Cam_Tc_To_UE5_ExportxN, ExportxN_Axes,
     Rows({{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}),
     Three_Rows({-0.6, -0.64, -0.48, 0.264, 0.8, -0.48, -0.36, -0.052, 0, -0.6, 0.8, 0.26})},
    {"AX", Cam_Tc_To_AX, AX_Axes, Rows({{1, 0, 0}, {0, 0, -1}, {0, 1, 0}}),
     Three_Rows({0.8, 0, 0.6, -0.26, 0.48, -0.6, -0.64, 0.264, 0.36, 0.8, -0.48, -0.052})},
};

// Converts with a log path that can't be written and the screen silenced.
Eigen::Matrix4d Converted(const Conversion& To, const Eigen::Matrix4d& Transform_Cam_Tc) {
  const Quiet_Output Screen;
  Eigen::Matrix4d Result = Eigen::Matrix4d::Constant(NaN);
  EXPECT_EQ(To.Convert("", Transform_Cam_Tc, Result), 0);
  return Result;
}

Eigen::Matrix4d Flipped(const Eigen::Matrix4d& Pose) {
  Eigen::Matrix4d Result = Eigen::Matrix4d::Constant(NaN);
  EXPECT_EQ(Change_Hand("", Pose, Result), 0);
  return Result;
}

// Each element of the inverse is a quotient of sums of a few products. With elements up to 1 that
// is some 20 roundings of 1.1e-16; a wrong sign or axis gives an error of at least some hundredths.
constexpr double Inverse_Tolerance = 2.5e-15;

double Largest_Difference(const Eigen::Matrix4d& Left, const Eigen::Matrix4d& Right) {
  return Largest_Element(Left - Right);
}

}  // namespace

TEST(AxisMatrices, AreTheEightThatTheResultsRestOn) {
  const struct {
    const char* Name;
    const double (&Actual)[4][4];
    Numbers Expected;
  } Table[] = {
      {"Hand_Flip", Hand_Flip, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1}},
      {"UE4_Inner", UE4_Inner, {0, 0, -1, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 1}},
      {"UE4_Outer", UE4_Outer, {0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}},
      {"UE5_Inner", UE5_Inner, {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1}},
      {"ExportxN_Inner", ExportxN_Inner, {0, -1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 0, 0, 0, 0, 1}},
      {"ExportxN_Outer", ExportxN_Outer, {0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1}},
      {"AX_Inner", AX_Inner, {1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1}},
      {"AX_Outer", AX_Outer, {1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1}},
  };
  for (const auto& Row : Table) {
    SCOPED_TRACE(Row.Name);
    Eigen::Matrix4d Matrix;
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) Matrix(r, c) = Row.Actual[r][c];
    }
    EXPECT_TRUE(Same_Bits_Each(Flat(Matrix), Row.Expected));
    EXPECT_EQ(Matrix * Matrix.transpose(), Eigen::Matrix4d::Identity());
    EXPECT_EQ(Matrix.determinant(), &Row.Actual == &Hand_Flip ? -1.0 : 1.0);
  }
}

TEST(ChangeHand, NegatesSixElementsAndKeepsTheOthers) {
  Eigen::Matrix4d Pose, Expected;
  Pose << 2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41, 43, 47, 53;
  Expected << 2, 3, -5, 7, 11, 13, -17, 19, -23, -29, 31, -37, 41, 43, -47, 53;
  EXPECT_EQ(Flipped(Pose), Expected);
  EXPECT_EQ(Flipped(Flipped(Pose)), Pose);
}

TEST(ChangeHand, IsTwoFullProductsSoThatOneElementThatIsNotFiniteSpoilsAll) {
  for (const double Element : {NaN, Infinity}) {
    SCOPED_TRACE(Element);
    Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
    Pose(0, 1) = Element;
    const Eigen::Matrix4d Result = Flipped(Pose);
    // The second product spreads NaN to the whole of every row in which the first one put it.
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) {
        SCOPED_TRACE(testing::Message() << "row " << r << ", column " << c);
        EXPECT_FALSE(std::isfinite(Result(r, c)));
      }
    }
  }
}

TEST(ChangeHand, WritesNothing) {
  const Scratch_Folder Folder;
  const Quiet_Output Screen;
  Eigen::Matrix4d Result;
  EXPECT_EQ(Change_Hand((Folder.Path() / "log").string(), Eigen::Matrix4d::Identity(), Result), 0);
  EXPECT_EQ(Screen.Captured(), "");
  EXPECT_TRUE(std::filesystem::is_empty(Folder.Path()));
}

TEST(AxisConversion, MovesTheAxesOfTheIdentityExactly) {
  for (const Conversion& To : Conversions) {
    SCOPED_TRACE(To.Name);
    EXPECT_EQ(Converted(To, Eigen::Matrix4d::Identity()), To.From_Identity);
  }
}

TEST(AxisConversion, GivesTheReferencePoseOfEachEngine) {
  for (const Conversion& To : Conversions) {
    SCOPED_TRACE(To.Name);
    EXPECT_LE(Largest_Difference(Converted(To, Pose_Of(Reference_Flat)), To.From_Reference),
              Inverse_Tolerance);
  }
}

// Translations up to 10 m make the products ten times larger than those of the reference pose,
// and the axis, angle and transposed inverse of the expected side round as often again.
constexpr double Closed_Form_Tolerance = 5e-14;

TEST(AxisConversion, IsTheRigidInverseBetweenTheAxisChangesOfTrackerAndCamera) {
  Random_Numbers Random(31);
  for (int i = 0; i < 3000; ++i) {
    const Eigen::Matrix4d Transform_Cam_Tc = Random.Transform(/*Reach=*/10.0);
    for (const Conversion& To : Conversions) {
      ASSERT_LE(Largest_Difference(Converted(To, Transform_Cam_Tc),
                                   To.Axes.Expected_Tc_Cam(Transform_Cam_Tc)),
                Closed_Form_Tolerance)
          << To.Name << ", transform " << i;
    }
  }
}

TEST(AxisConversion, TakesAPointBeforeTheCameraToWhereTheTrackerSeesIt) {
  // One point to the right of the camera, one above it, one along its view, in OpenCV's axes and in
  // each engine's camera axes.
  const Eigen::Vector4d Right_Cam(1, 0, 0, 1), Up_Cam(0, -1, 0, 1), Ahead_Cam(0, 0, 1, 1);
  const struct {
    const Conversion& To;
    Eigen::Vector4d Right, Up, Ahead;
  } Cameras[] = {
      {Conversions[0], {0, 1, 0, 1}, {0, 0, 1, 1}, {1, 0, 0, 1}},
      {Conversions[1], {1, 0, 0, 1}, {0, -1, 0, 1}, {0, 0, 1, 1}},
      {Conversions[2], {0, 0, -1, 1}, {1, 0, 0, 1}, {0, 1, 0, 1}},
      {Conversions[3], {1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}},
  };
  // The coordinates of a point x, y, z of Tc in each engine's tracker axes.
  const auto Tracker_Axes = [](int Engine, const Eigen::Vector4d& P) -> Eigen::Vector4d {
    switch (Engine) {
      case 0:
        return {-P.y(), P.x(), -P.z(), 1};
      case 1:
        return {P.x(), P.z(), -P.y(), 1};
      case 2:
        return {-P.z(), -P.y(), -P.x(), 1};
      default:
        return {P.x(), -P.z(), -P.y(), 1};
    }
  };
  const Eigen::Matrix4d Transform_Cam_Tc = Pose_Of(Reference_Flat);
  const Eigen::Matrix4d Transform_Tc_Cam = Rigid_Inverse(Transform_Cam_Tc);
  for (int Engine = 0; Engine < 4; ++Engine) {
    SCOPED_TRACE(Cameras[Engine].To.Name);
    const Eigen::Matrix4d Result = Converted(Cameras[Engine].To, Transform_Cam_Tc);
    const auto Error = [&](const Eigen::Vector4d& Engine_Point, const Eigen::Vector4d& Point_Cam) {
      const Eigen::Vector4d Point_Tc = Transform_Tc_Cam * Point_Cam;
      return Largest_Element(Result * Engine_Point - Tracker_Axes(Engine, Point_Tc));
    };
    EXPECT_LE(Error(Cameras[Engine].Right, Right_Cam), Inverse_Tolerance);
    EXPECT_LE(Error(Cameras[Engine].Up, Up_Cam), Inverse_Tolerance);
    EXPECT_LE(Error(Cameras[Engine].Ahead, Ahead_Cam), Inverse_Tolerance);
  }
}

TEST(AxisConversion, KeepsTheOrderOfItsProductsToTheLastBit) {
  Eigen::Matrix4d Flip, U4_In, U4_Out, U5_In, XN_In, XN_Out, A_In, A_Out;
  Flip << 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1;
  U4_In << 0, 0, -1, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 1;
  U4_Out << 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1;
  U5_In << 1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1;
  XN_In << 0, -1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 0, 0, 0, 0, 1;
  XN_Out << 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1;
  A_In << 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1;
  A_Out << 1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1;

  Random_Numbers Random(32);
  for (int i = 0; i < 2000; ++i) {
    Eigen::Matrix4d T = Random.Transform(2.0);
    if (i % 4 == 3) {  // any matrix at all, last row included
      for (int k = 0; k < 16; ++k) T(k / 4, k % 4) = Random.Between(-2.0, 2.0);
    }
    SCOPED_TRACE(i);
    const Eigen::Matrix4d Half = Flip * T;
    const Eigen::Matrix4d H = Half * Flip;
    const Eigen::Matrix4d U4_P = U4_In * H, A_P = A_In * H, XN_P = XN_In * T, U5_P = T * U5_In;
    const Eigen::Matrix4d U4_Q = U4_P.inverse(), A_Q = A_P.inverse(), XN_Q = XN_P.inverse();
    const Eigen::Matrix4d Expected_UE4 = U4_Out * U4_Q, Expected_AX = A_Out * A_Q,
                          Expected_XN = XN_Out * XN_Q, Expected_UE5 = U5_P.inverse();
    ASSERT_TRUE(Same_Bits(Converted(Conversions[0], T), Expected_UE4));
    ASSERT_TRUE(Same_Bits(Converted(Conversions[1], T), Expected_UE5));
    ASSERT_TRUE(Same_Bits(Converted(Conversions[2], T), Expected_XN));
    ASSERT_TRUE(Same_Bits(Converted(Conversions[3], T), Expected_AX));
  }
}

TEST(AxisConversion, TakesTheLastRowIntoTheInverse) {
  // Scaled as a whole, including the last row, the pose maps points to the same points; all
  // elements of the inverse are divided by the factor.
  for (const Conversion& To : Conversions) {
    SCOPED_TRACE(To.Name);
    const Eigen::Matrix4d Doubled = 2.0 * Pose_Of(Reference_Flat);
    EXPECT_LE(Largest_Difference(Converted(To, Doubled), 0.5 * To.From_Reference),
              Inverse_Tolerance);
  }
}

TEST(AxisConversion, LetsASingularTransformThroughAsNumbersThatAreNotFinite) {
  for (const Conversion& To : Conversions) {
    SCOPED_TRACE(To.Name);
    EXPECT_FALSE(Converted(To, Eigen::Matrix4d::Zero()).array().isFinite().any());
  }
}

TEST(AxisConversion, WritesItsTwoLinesForUnrealEngine4AndNoneForTheOthers) {
  for (const Conversion& To : Conversions) {
    SCOPED_TRACE(To.Name);
    const Scratch_Folder Folder;
    const Quiet_Output Screen;
    const std::string Log_Path = (Folder.Path() / "log").string();
    Eigen::Matrix4d Result;
    EXPECT_EQ(To.Convert(Log_Path, Eigen::Matrix4d::Identity(), Result), 0);
    const Lines Expected =
        To.Convert == Cam_Tc_To_UE4 ? Lines{"I Change Hand.", "I Transform_Tc_UE4Cam."} : Lines{};
    EXPECT_EQ(Read_Log_File(Log_Path), Expected);
    EXPECT_EQ(Messages(Screen.Captured()), Expected);
  }
}

TEST(ScaleToCm, MultipliesInSinglePrecision) {
  for (const Derived_Length& Length : Lengths) {
    SCOPED_TRACE(Length.Metres);
    const float Metres = static_cast<float>(Length.Metres);
    for (int i = 0; i < 3; ++i) {
      Eigen::Vector3f Translation(1.0f, 2.0f, 4.0f);
      Eigen::Vector3f Expected(100.0f, 200.0f, 400.0f);
      Translation[i] = Metres;
      Expected[i] = Length.Single_Cm;
      const Eigen::Vector3f Actual = Scale_To_Cm(Translation);
      for (int k = 0; k < 3; ++k) EXPECT_TRUE(Same_Bits(Actual[k], Expected[k]));
    }
  }
  EXPECT_EQ(static_cast<double>(Scale_To_Cm({0.3f, 0.0f, 0.0f}).x()), 30.000001907348633);
}
