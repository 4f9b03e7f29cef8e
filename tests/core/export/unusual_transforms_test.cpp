// SPDX-License-Identifier: Apache-2.0
//
// Transforms that no calibration produces: not rigid, not invertible, or with non-finite elements.
// No export checks its input, so each must finish with the code that follows from its steps.
#include <algorithm>
#include <limits>

#include "tests/core/export/export_fixtures.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

struct All_Four {
  Exported UE4, UE5, ExportxN, AX;
};

All_Four Export_To_All(const Numbers& Transform) {
  return {To_UE4(Transform), To_UE5(Transform), To_UE5_ExportxN(Transform),
          To_Aximmetry(Transform)};
}

// Every call except Unreal Engine 4's returns 0 and fills all its values.
void Expect_Complete(const All_Four& Results) {
  const Exported* const Quaternions[] = {&Results.UE5, &Results.ExportxN};
  for (const Exported* Result : Quaternions) {
    EXPECT_EQ(Result->Code, 0);
    EXPECT_EQ(Result->Rotation.size(), 4u);
    EXPECT_EQ(Result->Translation.size(), 3u);
    EXPECT_EQ(Result->Log.size(), 15u);
  }
  EXPECT_EQ(Results.AX.Code, 0);
  EXPECT_EQ(Results.AX.Rotation.size(), 3u);
  EXPECT_EQ(Results.AX.Translation.size(), 3u);
  EXPECT_EQ(Results.AX.Lens.size(), 1u);
  EXPECT_EQ(Results.AX.Shift.size(), 2u);
  EXPECT_EQ(Results.AX.Log.back().rfind("Trans_Tc_Cam_AX_cm : ", 0), 0u);
}

// Unreal Engine 4's call either succeeded, or reported gimbal lock and filled nothing.
void Expect_Consistent(const Exported& UE4) {
  if (UE4.Code == 3) {
    EXPECT_TRUE(UE4.Rotation.empty() && UE4.Translation.empty());
    EXPECT_EQ(UE4.Log.back(), "Error code 3 : Encountered Gimbal lock.");
  } else {
    EXPECT_EQ(UE4.Code, 0);
    EXPECT_EQ(UE4.Rotation.size(), 3u);
    EXPECT_EQ(UE4.Translation.size(), 3u);
    EXPECT_EQ(UE4.Log.back(), "CamAxisToUE4 successful.");
  }
}

bool Any_Finite(const Numbers& Values) {
  return std::any_of(Values.begin(), Values.end(), [](double V) { return std::isfinite(V); });
}

bool All_Finite(const Numbers& Values) {
  return std::all_of(Values.begin(), Values.end(), [](double V) { return std::isfinite(V); });
}

// Every call returned 0 and filled its vectors, but with no usable rotation.
void Expect_Code_0_And_No_Rotation(const All_Four& Results) {
  Expect_Complete(Results);
  EXPECT_EQ(Results.UE4.Code, 0);
  Expect_Consistent(Results.UE4);
  EXPECT_FALSE(Any_Finite(Results.UE4.Rotation));
  EXPECT_FALSE(All_Finite(Results.UE5.Rotation));
  EXPECT_FALSE(All_Finite(Results.ExportxN.Rotation));
  EXPECT_FALSE(All_Finite(Results.AX.Rotation));
}

Numbers Scaled(const Numbers& Elements, double Factor) {
  Numbers Result = Elements;
  for (double& Element : Result) Element *= Factor;
  return Result;
}

}  // namespace

TEST(UnusualTransforms, ThatAreSingularGiveCode0AndNothingFinite) {
  Numbers Double_Row = Reference_Flat;
  for (std::size_t c = 0; c < 4; ++c) Double_Row[4 + c] = Double_Row[c];
  Numbers No_Last_Row = Reference_Flat;
  No_Last_Row[15] = 0.0;
  const Numbers Cases[] = {Numbers(16, 0.0), Numbers(16, 1.0), Double_Row, No_Last_Row};
  for (const Numbers& Transform : Cases) {
    SCOPED_TRACE(Row_Text(Transform));
    Expect_Code_0_And_No_Rotation(Export_To_All(Transform));
  }
}

TEST(UnusualTransforms, ThatHoldAnElementWhichIsNotFiniteGiveCode0) {
  for (const double Element : {NaN, Infinity, -Infinity}) {
    for (std::size_t i = 0; i < 16; ++i) {
      SCOPED_TRACE(testing::Message() << Element << " as element " << i);
      Numbers Transform = Reference_Flat;
      Transform[i] = Element;
      Expect_Code_0_And_No_Rotation(Export_To_All(Transform));
    }
  }
}

TEST(UnusualTransforms, ThatAreHugeOrTinyComeThrough) {
  for (const double Factor : {1e-300, 1e-80, 1e-40, 1e-20, 1e-5, 1e5, 1e20, 1e40, 1e80, 1e300}) {
    for (const Numbers& Transform : {Reference_Flat, Identity_Flat, Numbers(16, 1.0)}) {
      SCOPED_TRACE(testing::Message() << Row_Text(Transform) << " times " << Factor);
      const All_Four Results = Export_To_All(Scaled(Transform, Factor));
      Expect_Complete(Results);
      Expect_Consistent(Results.UE4);
    }
  }
}

TEST(UnusualTransforms, OfASmallScaleAreAGimbalLockByTheirLongQuaternion) {
  // A hundredth of the reference pose has a result a hundred times as large. Its quaternion isn't
  // normalised, so the test value, a product of two of its elements, is far beyond the limit.
  const All_Four Results = Export_To_All(Scaled(Reference_Flat, 0.01));
  EXPECT_EQ(Results.UE4.Code, 3);
  Expect_Consistent(Results.UE4);
  EXPECT_EQ(std::count(Results.AX.Log.begin(), Results.AX.Log.end(), "Encountered Gimbal lock"), 1);
}

TEST(UnusualTransforms, OfALargeScaleKeepTheAnglesNearTheirOrigin) {
  // A hundred times the reference pose: its result is a hundredth, so the quaternion is nearly that
  // of a zero matrix.
  const All_Four Results = Export_To_All(Scaled(Reference_Flat, 100.0));
  EXPECT_EQ(Results.UE4.Code, 0);
  EXPECT_TRUE(All_Finite(Results.UE4.Rotation));
  EXPECT_TRUE(All_Finite(Results.AX.Rotation));
}

TEST(UnusualTransforms, OfAnyNumbersComeThrough) {
  Random_Numbers Random(95);
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    Numbers Transform;
    for (int k = 0; k < 16; ++k) Transform.push_back(Random.Between(-3.0, 3.0));
    const All_Four Results = Export_To_All(Transform);
    Expect_Complete(Results);
    Expect_Consistent(Results.UE4);
  }
}

TEST(UnusualTransforms, WithALensThatIsNotFiniteStillGiveTheirPose) {
  const Exported Plain = To_Aximmetry(Reference_Flat);
  const Exported Result = To_Aximmetry(Reference_Flat, {}, {NaN, NaN}, {Infinity, -Infinity});
  EXPECT_EQ(Result.Code, 0);
  EXPECT_TRUE(std::isnan(Result.Lens[0]));
  EXPECT_EQ(Result.Shift, (Numbers{Infinity, Infinity}));
  EXPECT_EQ(Result.Rotation, Plain.Rotation);
  EXPECT_EQ(Result.Translation, Plain.Translation);
}
