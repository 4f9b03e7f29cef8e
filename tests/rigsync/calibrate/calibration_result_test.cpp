// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/calibration_result.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using rigsync::Calibration_Result;
using rigsync::Image_Fate;
using rigsync::Image_Report;
using rigsync::Run_Report;

Calibration_Result Finite_Result(int Code) {
  Calibration_Result Result;
  Result.Code = Code;
  Result.Image_Size = {640, 480};
  Result.Norm_Fxy = {1.1, 1.4};
  Result.Norm_Cxy = {0.5, 0.5};
  Result.Distortion = {-0.1, 0.1, 0, 0, 0};
  Result.Transform_Cam_Tc.assign(16, 0.25);
  Result.FoV = {48.8, 37.0};
  Result.Focal_Length_mm = {26.0};
  return Result;
}

TEST(CalibrationResult, IsUsableWithAUsableCodeAndFiniteNumbers) {
  for (const int Code : {0, 99}) {
    EXPECT_TRUE(Is_Usable(Finite_Result(Code))) << Code;
    EXPECT_FALSE(Has_Misleading_Code(Finite_Result(Code))) << Code;
  }
  for (const int Code : {1, 4, 6, 13, 14}) {
    EXPECT_FALSE(Is_Usable(Finite_Result(Code))) << Code;
    EXPECT_FALSE(Has_Misleading_Code(Finite_Result(Code))) << Code;
  }
  Calibration_Result Without_Code = Finite_Result(0);
  Without_Code.Code.reset();
  EXPECT_FALSE(Is_Usable(Without_Code));
  EXPECT_FALSE(Has_Misleading_Code(Without_Code));
}

TEST(CalibrationResult, OneNumberThatIsNotFiniteMakesAUsableCodeMisleading) {
  std::vector<double> Calibration_Result::*const Vectors[] = {
      &Calibration_Result::Image_Size,       &Calibration_Result::Norm_Fxy,
      &Calibration_Result::Norm_Cxy,         &Calibration_Result::Distortion,
      &Calibration_Result::Transform_Cam_Tc, &Calibration_Result::FoV,
      &Calibration_Result::Focal_Length_mm};
  for (const auto Vector : Vectors) {
    for (const double Value :
         {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
      Calibration_Result Result = Finite_Result(99);
      (Result.*Vector).back() = Value;
      EXPECT_FALSE(Is_Usable(Result));
      EXPECT_TRUE(Has_Misleading_Code(Result));
      Result.Code = 6;
      EXPECT_FALSE(Has_Misleading_Code(Result));
    }
  }
}

TEST(CalibrationResult, TheReasonOfAnOutlierNamesItsLimit) {
  Run_Report Report;
  const auto Reason = [&](Image_Fate Fate, std::optional<double> Axis_Deg) {
    return Drop_Reason(Report, Image_Report{"a.png", Fate, Axis_Deg, 1.0, {}});
  };
  EXPECT_EQ(Reason(Image_Fate::Kept, 0.1), "");
  EXPECT_EQ(Reason(Image_Fate::Unknown, 0.1), "");
  EXPECT_EQ(Reason(Image_Fate::Unreadable, {}), "cannot be read");
  EXPECT_EQ(Reason(Image_Fate::No_Board, {}), "no board found");
  EXPECT_EQ(Reason(Image_Fate::Outlier, 0.501),
            "rotation axis 0.50 deg from the mean axis (limit 0.5 deg)");
  EXPECT_EQ(Reason(Image_Fate::Outlier, 0.5), "position too far from the mean");
  Report.Filter_Spread_M = {0.01, 0.02, 0.03};
  EXPECT_EQ(Reason(Image_Fate::Outlier, 0.5),
            "position over 13.0, 26.0 or 39.0 mm (x, y, z) from the mean");
  // NaN is above no limit, so such an image was dropped for its position.
  EXPECT_EQ(Reason(Image_Fate::Outlier, std::numeric_limits<double>::quiet_NaN()),
            "position over 13.0, 26.0 or 39.0 mm (x, y, z) from the mean");
}

TEST(CalibrationResult, AnImageHasTheLineOfTheCsvOnlyWhereTheNamesAgree) {
  Calibration_Result Result;
  Result.Images = {{2, "a.png"}, {5, "b.png"}};
  Result.Report.Images = {{"a.png", Image_Fate::Kept, {}, {}, {}},
                          {"c.png", Image_Fate::Kept, {}, {}, {}},
                          {"d.png", Image_Fate::Kept, {}, {}, {}}};
  EXPECT_EQ(Csv_Line(Result, 0), 2u);
  EXPECT_EQ(Csv_Line(Result, 1), std::nullopt);
  EXPECT_EQ(Csv_Line(Result, 2), std::nullopt);
  EXPECT_EQ(Csv_Line(Result, 3), std::nullopt);
}

}  // namespace
