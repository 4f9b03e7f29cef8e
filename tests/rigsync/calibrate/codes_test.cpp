// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/codes.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

TEST(Codes, EveryCodeOfTheCatalogHasAdvice) {
  std::vector<int> Codes;
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    Codes.push_back(Advice.Code);
    EXPECT_FALSE(Advice.Meaning.empty());
    EXPECT_FALSE(Advice.Next_Step.empty());
    EXPECT_FALSE(Advice.On_Stage.empty());
    EXPECT_FALSE(Advice.Causes.empty());
    for (const std::string& Cause : Advice.Causes) EXPECT_EQ(Cause.back(), '.');
  }
  EXPECT_THAT(Codes, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,
                                          99, 100));
}

TEST(Codes, AdviceForAnUnknownCodeSaysSo) {
  EXPECT_EQ(rigsync::Advice_For(17).Code, 17);
  EXPECT_THAT(rigsync::Advice_For(17).Meaning, HasSubstr("unknown"));
}

TEST(Codes, OnlyCodes0And99AreUsable) {
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    EXPECT_EQ(rigsync::Is_Usable_Code(Advice.Code), Advice.Code == 0 || Advice.Code == 99)
        << Advice.Code;
  }
}

// Codes about the set-up of the run or a fault of the program say nothing about the capture.
TEST(Codes, ThoseAboutImagesOutliersAndLimitsMayBlameTheCapture) {
  std::vector<int> Blaming;
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    if (rigsync::May_Blame_Capture(Advice.Code)) Blaming.push_back(Advice.Code);
  }
  EXPECT_EQ(Blaming, (std::vector<int>{4, 5, 6, 13, 14, 99}));
}

}  // namespace
