// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/result_lens.h"

#include "rigsync/system/usage_error.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using rigsync::Calibration_Result;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

Calibration_Result Sound() {
  Calibration_Result Result;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {0.75, 1.5};
  Result.Norm_Cxy = {0.5, 0.25};
  Result.Distortion = {-0.125, 0.0625, 0, 0, 0};
  return Result;
}

std::string Refusal(const Calibration_Result& Result) {
  try {
    rigsync::Lens_Of_Result(Result, "take/result.json");
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(ResultLens, IsInPixels) {
  const rigsync::Result_Lens Lens = rigsync::Lens_Of_Result(Sound());
  EXPECT_EQ(Lens.Width, 1920);
  EXPECT_EQ(Lens.Height, 1080);
  EXPECT_EQ(Lens.Px.Fx, 1440.0);
  EXPECT_EQ(Lens.Px.Fy, 1620.0);
  EXPECT_EQ(Lens.Px.Cx, 960.0);
  EXPECT_EQ(Lens.Px.Cy, 270.0);
  EXPECT_EQ(Lens.Px.K1, -0.125);
  EXPECT_EQ(Lens.Px.K2, 0.0625);
}

TEST(ResultLens, AMissingListIsRefusedByItsKey) {
  const std::pair<const char*, std::vector<double> Calibration_Result::*> Keys[] = {
      {"image_size", &Calibration_Result::Image_Size},
      {"norm_fxy", &Calibration_Result::Norm_Fxy},
      {"norm_cxy", &Calibration_Result::Norm_Cxy},
      {"distortion", &Calibration_Result::Distortion}};
  for (const auto& [Key, Member] : Keys) {
    Calibration_Result Result = Sound();
    (Result.*Member).clear();
    EXPECT_THAT(Refusal(Result),
                AllOf(StartsWith("take/result.json: 'lens."), HasSubstr("." + std::string(Key)),
                      HasSubstr("' is null; expected ")));
  }
}

TEST(ResultLens, SizesAreWholeNumbersFromOne) {
  for (const double Size : {0.0, -640.0, 0.5, 640.25, 1000001.0, 1e300}) {
    Calibration_Result Result = Sound();
    Result.Image_Size[1] = Size;
    EXPECT_THAT(Refusal(Result), HasSubstr("'lens.image_size' holds ")) << Size;
  }
  Calibration_Result Result = Sound();
  Result.Image_Size = {1, 1000000};
  EXPECT_EQ(Refusal(Result), "");
}

TEST(ResultLens, FocalLengthsAreAboveZeroAndThoseOfALens) {
  for (const double Focal : {0.0, -1.0, 1e-300, 0.0009, 1.1e6}) {
    Calibration_Result Result = Sound();
    Result.Norm_Fxy[1] = Focal;
    EXPECT_THAT(Refusal(Result), HasSubstr("'lens.norm_fxy' holds ")) << Focal;
  }
  Calibration_Result Result = Sound();
  Result.Norm_Fxy = {0.001, 1e6};
  EXPECT_EQ(Refusal(Result), "");
}

TEST(ResultLens, NothingIsInfiniteOrNotANumber) {
  for (const double Value :
       {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    for (auto Member : {&Calibration_Result::Image_Size, &Calibration_Result::Norm_Fxy,
                        &Calibration_Result::Norm_Cxy, &Calibration_Result::Distortion}) {
      Calibration_Result Result = Sound();
      (Result.*Member)[0] = Value;
      EXPECT_THAT(Refusal(Result), HasSubstr(" holds ")) << Value;
    }
  }
}

}  // namespace
