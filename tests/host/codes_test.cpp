// SPDX-License-Identifier: Apache-2.0
#include "host/codes.h"

#include "host/text.h"
#include "tests/host/program.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

TEST(Codes, EveryCodeOfTheCatalogHasAdvice) {
  std::vector<int> Found;
  for (const host::Code_Advice& Advice : host::All_Codes()) {
    Found.push_back(Advice.Code);
    EXPECT_FALSE(Advice.Meaning.empty());
    EXPECT_FALSE(Advice.Next_Step.empty());
  }
  EXPECT_THAT(Found, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,
                                          99, 100));
}

TEST(Codes, ThePageOfCodesSaysWhatTheCommandSays) {
  const std::string Page =
      host::One_Line(Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/codes.md"));
  for (const host::Code_Advice& Advice : host::All_Codes()) {
    EXPECT_THAT(Page, HasSubstr("**" + std::to_string(Advice.Code) + ".** " + Advice.Meaning));
  }
}

TEST(Codes, AnUnknownCodeIsCalledUnknown) {
  EXPECT_EQ(host::Advice_For(17).Code, 17);
  EXPECT_THAT(host::Advice_For(17).Meaning, HasSubstr("unknown"));
}

TEST(Codes, OnlyCodes0And99AreUsable) {
  for (const host::Code_Advice& Advice : host::All_Codes()) {
    EXPECT_EQ(host::Is_Usable(Advice.Code), Advice.Code == 0 || Advice.Code == 99) << Advice.Code;
  }
}

}  // namespace
