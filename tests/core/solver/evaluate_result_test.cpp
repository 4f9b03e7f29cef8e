// SPDX-License-Identifier: Apache-2.0
//
// The verdict. The spread of a list of one sample is exactly its distance from the mean, because in
// single precision the root of a float's square is the float. So spreads can equal the limits.
#include "core/solver/evaluate_result.h"

#include "tests/core/solver/derived_numbers.h"
#include "tests/core/solver/solver_test_support.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// What the driver passes.
constexpr float Reproj_Warning = 0.011111111f, Reproj_Fail = 0.016666668f;
constexpr float T_STD_Warning = 0.01f, T_STD_Fail = 0.015f;

struct Verdict {
  int Code;
  std::vector<std::string> Log;
};

Verdict Judge(float Error, const std::vector<Eigen::Vector3f>& Translation_Cam_Tc_all,
              const Eigen::Matrix4d& Mean = Eigen::Matrix4d::Identity()) {
  Stage_Log Log;
  int Code = -1;
  {
    const Stage_Log::Listener Quiet = Log.Listen();
    Code = Evaluate_Result(Log.Path(), Error, Reproj_Warning, Reproj_Fail, Mean,
                           Translation_Cam_Tc_all, T_STD_Warning, T_STD_Fail);
  }
  return {Code, Unsigned_Nans(Log.Lines())};
}

// The verdict on these spreads.
Verdict Judge_Spreads(float X, float Y, float Z, float Error = 0.0f) {
  return Judge(Error, {{X, -Y, Z}});
}

float Next(float Value) {
  return std::nextafterf(Value, std::numeric_limits<float>::infinity());
}
float Previous(float Value) {
  return std::nextafterf(Value, 0.0f);
}

// The lines that every verdict begins with.
std::vector<std::string> Log_Of(const std::string& Error, const std::string& X,
                                const std::string& Y, const std::string& Z, const std::string& Max,
                                const std::vector<std::string>& Ending) {
  std::vector<std::string> Lines = {"Norm Reprojection error : " + Error,
                                    "T_STD : " + X + ", " + Y + ", " + Z + " meter.",
                                    "Max T_STD : " + Max + " meter."};
  Lines.insert(Lines.end(), Ending.begin(), Ending.end());
  return Lines;
}

const std::string Text_6 =
    "Error code 6: Camera tracker calibration failed, Translation STD too large. (> 1.5cm)";
const std::string Text_14 = "Error code 14: Reprojection error too large (>18 pixel in 1080p)";
const std::string Text_99 = "Error code 99: Recalibration is recommended.";

TEST(EvaluateResult, AGoodResultIsCode0WithNoFurtherLine) {
  const Verdict Good = Judge_Spreads(0.001f, 0.002f, 0.0005f, 0.0021f);
  EXPECT_EQ(Good.Code, 0);
  EXPECT_EQ(Good.Log, Log_Of("0.002100", "0.001000", "0.002000", "0.000500", "0.002000", {}));
}

TEST(EvaluateResult, TheSpreadLimitsAreStrict) {
  const std::pair<float, int> Cases[] = {
      {Previous(T_STD_Warning), 0}, {T_STD_Warning, 0}, {Next(T_STD_Warning), 99},
      {Previous(T_STD_Fail), 99},   {T_STD_Fail, 99},   {Next(T_STD_Fail), 6}};
  for (const auto& [Spread, Code] : Cases) {
    SCOPED_TRACE(Hex(Spread));
    EXPECT_EQ(Judge_Spreads(Spread, 0, 0).Code, Code);
    EXPECT_EQ(Judge_Spreads(0, Spread, 0).Code, Code);
    EXPECT_EQ(Judge_Spreads(0, 0, Spread).Code, Code);
  }
}

TEST(EvaluateResult, TheReprojectionLimitsAreStrict) {
  const std::pair<float, int> Cases[] = {{0.0f, 0},
                                         {Previous(Reproj_Warning), 0},
                                         {Reproj_Warning, 0},
                                         {Next(Reproj_Warning), 99},
                                         {0.0125f, 99},
                                         {Previous(Reproj_Fail), 99},
                                         {Reproj_Fail, 99},
                                         {Next(Reproj_Fail), 14},
                                         {std::numeric_limits<float>::infinity(), 14}};
  for (const auto& [Error, Code] : Cases) {
    SCOPED_TRACE(Hex(Error));
    EXPECT_EQ(Judge_Spreads(0, 0, 0, Error).Code, Code);
    // A spread on its warning limit passes on to these tests.
    EXPECT_EQ(Judge_Spreads(T_STD_Warning, 0, 0, Error).Code, Code);
  }
}

TEST(EvaluateResult, ATooLargeSpreadIsCode6WithPerfectReprojection) {
  const Verdict Failed = Judge_Spreads(0.001f, 0.016f, 0.002f);
  EXPECT_EQ(Failed.Code, 6);
  EXPECT_EQ(Failed.Log, Log_Of("0.000000", "0.001000", "0.016000", "0.002000", "0.016000",
                               {"T_STD too large. ( 0.016000 > 0.015000 )", Text_6}));
}

TEST(EvaluateResult, ALargishSpreadIsCode99AndNamesTheSpread) {
  const Verdict Warned = Judge_Spreads(0.001f, 0.002f, 0.0145f);
  EXPECT_EQ(Warned.Code, 99);
  EXPECT_EQ(Warned.Log,
            Log_Of("0.000000", "0.001000", "0.002000", "0.014500", "0.014500",
                   {"Recalibration recommended. ( T_STD 0.014500 > 0.010000 )", Text_99}));
}

TEST(EvaluateResult, ATooLargeReprojectionErrorIsCode14) {
  const Verdict Failed = Judge_Spreads(0.001f, 0.001f, 0.001f, 0.02f);
  EXPECT_EQ(Failed.Code, 14);
  EXPECT_EQ(Failed.Log, Log_Of("0.020000", "0.001000", "0.001000", "0.001000", "0.001000",
                               {"Reprojection error too large. ( 0.020000 > 0.016667 )", Text_14}));
}

TEST(EvaluateResult, ALargishReprojectionErrorIsCode99AndNamesTheError) {
  const Verdict Warned = Judge_Spreads(0.009f, 0.001f, 0.002f, 0.0125f);
  EXPECT_EQ(Warned.Code, 99);
  EXPECT_EQ(
      Warned.Log,
      Log_Of("0.012500", "0.009000", "0.001000", "0.002000", "0.009000",
             {"Recalibration recommended. ( Reprojection error 0.012500 > 0.011111 )", Text_99}));
}

TEST(EvaluateResult, TheSpreadIsJudgedFullyBeforeTheReprojectionError) {
  const Verdict Hidden = Judge_Spreads(0.012f, 0, 0, 0.02f);
  EXPECT_EQ(Hidden.Code, 99);
  EXPECT_EQ(Hidden.Log,
            Log_Of("0.020000", "0.012000", "0.000000", "0.000000", "0.012000",
                   {"Recalibration recommended. ( T_STD 0.012000 > 0.010000 )", Text_99}));
  EXPECT_EQ(Judge_Spreads(0.02f, 0, 0, 0.02f).Code, 6);
}

TEST(EvaluateResult, TheErrorIsAFractionOfTheImageHeight) {
  EXPECT_EQ(Judge_Spreads(0, 0, 0, 20.0f / 2160.0f).Code, 0);
  EXPECT_EQ(Judge_Spreads(0, 0, 0, 20.0f / 1080.0f).Code, 14);
  EXPECT_EQ(Judge_Spreads(0, 0, 0, 13.5f / 1080.0f).Code, 99);
  // 12 and 18 pixels on an image 1080 high are on the limits.
  EXPECT_EQ(Judge_Spreads(0, 0, 0, 12.0f / 1080.0f).Code, 0);
  EXPECT_EQ(Judge_Spreads(0, 0, 0, 18.0f / 1080.0f).Code, 99);
}

TEST(EvaluateResult, AxesAreNotCombinedIntoALength) {
  const Verdict Equal = Judge_Spreads(0.009f, 0.009f, 0.009f);  // a length of 0.0156
  EXPECT_EQ(Equal.Code, 0);
  EXPECT_EQ(Equal.Log, Log_Of("0.000000", "0.009000", "0.009000", "0.009000", "0.009000", {}));
}

TEST(EvaluateResult, SpreadsHaveTheBitsOfTheFloatSteps) {
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
  for (const auto& Sample : derived::Verdict_Samples) {
    Translation_Cam_Tc_all.emplace_back(Sample[0], Sample[1], Sample[2]);
  }
  Eigen::Matrix4d Mean = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r) Mean(r, 3) = derived::Verdict_Mean[r];
  const auto& T_STD = derived::Verdict_T_STD;
  const float Max = std::max({T_STD[0], T_STD[1], T_STD[2]});
  const Verdict Judged = Judge(0.25f, Translation_Cam_Tc_all, Mean);
  EXPECT_EQ(Judged.Code, 6);
  EXPECT_EQ(Judged.Log,
            Log_Of("0.250000", std::to_string(T_STD[0]), std::to_string(T_STD[1]),
                   std::to_string(T_STD[2]), std::to_string(Max),
                   {"T_STD too large. ( " + std::to_string(Max) + " > 0.015000 )", Text_6}));

  // Checks the exact bits: the spread passes if it is itself the failure limit, but not if the
  // limit is the next smaller float.
  const auto Code_With_Fail_Limit = [&](float Limit) {
    Stage_Log Log;
    const Stage_Log::Listener Quiet = Log.Listen();
    return Evaluate_Result(Log.Path(), 0.0f, 1.0f, 1.0f, Mean, Translation_Cam_Tc_all, 1e9f, Limit);
  };
  EXPECT_EQ(Code_With_Fail_Limit(Max), 0);
  EXPECT_EQ(Code_With_Fail_Limit(Previous(Max)), 6);
}

TEST(EvaluateResult, OnlyTheTranslationOfTheMeanIsRead) {
  Eigen::Matrix4d Mean = Eigen::Matrix4d::Constant(std::nan(""));
  Mean(0, 3) = 1.0;
  Mean(1, 3) = 2.0;
  Mean(2, 3) = 3.0;
  const Verdict Judged = Judge(0.0f, {{1.5f, 2.0f, 3.25f}, {0.5f, 2.0f, 3.25f}}, Mean);
  EXPECT_EQ(Judged.Code, 6);
  EXPECT_EQ(Judged.Log.at(1), "T_STD : 0.500000, 0.000000, 0.250000 meter.");
}

TEST(EvaluateResult, SpreadIsMeasuredAgainstTheMeanThatIsPassedWithDivisorN) {
  // Two samples at 0.3 and 0.5 about a mean of 0: sqrt((0.09 + 0.25) / 2). About their own mean it
  // would be 0.1, and with divisor 1 it would be 0.583.
  EXPECT_EQ(Judge(0.0f, {{0.3f, 0, 0}, {0.5f, 0, 0}}).Log.at(1),
            "T_STD : 0.412311, 0.000000, 0.000000 meter.");
}

TEST(EvaluateResult, TheLargestAxisIsTakenXFirstAndByStrictComparison) {
  EXPECT_EQ(Judge_Spreads(0.003f, 0.002f, 0.001f).Log.at(2), "Max T_STD : 0.003000 meter.");
  EXPECT_EQ(Judge_Spreads(0.001f, 0.003f, 0.002f).Log.at(2), "Max T_STD : 0.003000 meter.");
  EXPECT_EQ(Judge_Spreads(0.001f, 0.002f, 0.003f).Log.at(2), "Max T_STD : 0.003000 meter.");
  EXPECT_EQ(Judge_Spreads(0.002f, 0.001f, 0.003f).Log.at(2), "Max T_STD : 0.003000 meter.");
  // NaN shows which value is kept when no comparison is true: NaN in x is kept, elsewhere it is
  // not.
  const float Nan = std::nanf("");
  EXPECT_EQ(Judge_Spreads(Nan, 0.02f, 0.02f).Log.at(2), "Max T_STD : nan meter.");
  EXPECT_EQ(Judge_Spreads(0.02f, Nan, 0.001f).Log.at(2), "Max T_STD : 0.020000 meter.");
  EXPECT_EQ(Judge_Spreads(0.001f, Nan, 0.02f).Log.at(2), "Max T_STD : 0.020000 meter.");
  EXPECT_EQ(Judge_Spreads(0.001f, 0.02f, Nan).Log.at(2), "Max T_STD : 0.020000 meter.");
}

TEST(EvaluateResult, NanPassesEveryTest) {
  const float Nan = std::nanf("");
  EXPECT_EQ(Judge_Spreads(Nan, 0, 0).Code, 0);
  EXPECT_EQ(Judge_Spreads(Nan, 0, 0, 0.02f).Code, 14);  // and goes on to the reprojection
  EXPECT_EQ(Judge_Spreads(0, 0, 0, Nan).Code, 0);
  const Verdict Empty = Judge(0.0125f, {});
  EXPECT_EQ(Empty.Code, 99);
  EXPECT_EQ(
      Empty.Log,
      Log_Of("0.012500", "nan", "nan", "nan", "nan",
             {"Recalibration recommended. ( Reprojection error 0.012500 > 0.011111 )", Text_99}));
}

TEST(EvaluateResult, EachLimitIsTheOneThatIsPassed) {
  // Four different limits, so that none can be confused with another.
  const auto Code = [](float Error, float Spread) {
    Stage_Log Log;
    const Stage_Log::Listener Quiet = Log.Listen();
    return Evaluate_Result(Log.Path(), Error, 1.0f, 2.0f, Eigen::Matrix4d::Identity(),
                           {{Spread, 0, 0}}, 4.0f, 8.0f);
  };
  EXPECT_EQ(Code(0.5f, 3.5f), 0);
  EXPECT_EQ(Code(1.5f, 3.5f), 99);
  EXPECT_EQ(Code(2.5f, 3.5f), 14);
  EXPECT_EQ(Code(2.5f, 7.5f), 99);
  EXPECT_EQ(Code(2.5f, 8.5f), 6);
}

}  // namespace
