// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/codes.h"

#include "rigsync/system/text.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::size_t Terminal_Width = 80;

// On one line and without the quotes that a page and a terminal write differently.
std::string Plain(const std::string& Text) {
  std::string Line = rigsync::One_Line(Text);
  const auto Is_Quote = [](char Letter) { return Letter == '`' || Letter == '\''; };
  Line.erase(std::remove_if(Line.begin(), Line.end(), Is_Quote), Line.end());
  return Line;
}

// The page from the entry of this code to the next entry, heading or table.
std::string Entry_Of(const std::string& Page, int Code) {
  const std::size_t Start = Page.find("\n**" + std::to_string(Code) + ".** ");
  if (Start == std::string::npos) return "";
  const std::size_t End = std::min(Page.find("\n**", Start + 1), Page.find("\n## ", Start));
  return Page.substr(Start, End - Start);
}

TEST(Codes, ThePageOfCodesSaysWhatTheCommandSays) {
  const std::string Page =
      rigsync::One_Line(Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/codes.md"));
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    EXPECT_THAT(Page, HasSubstr("**" + std::to_string(Advice.Code) + ".** " + Advice.Meaning));
  }
}

// A code that a capture or an export can cause has its own complete entry. The codes that guard
// lists share sentences, which are somewhere on the page.
TEST(Codes, ThePageHasCausesAndNextStepsInTheCommandsWords) {
  const std::string Page = Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/codes.md");
  const std::set<int> Codes_With_Entry = {0, 1, 3, 4, 5, 6, 13, 14, 99};
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    SCOPED_TRACE(Advice.Code);
    const std::string Entry =
        Plain(Codes_With_Entry.count(Advice.Code) != 0 ? Entry_Of(Page, Advice.Code) : Page);
    EXPECT_THAT(Entry, HasSubstr(Plain(Advice.On_Stage)));
    EXPECT_THAT(Entry, HasSubstr(Plain(Advice.Next_Step)));
    std::size_t Last = 0;
    for (const std::string& Cause : Advice.Causes) {
      const std::size_t At = Entry.find("- " + Plain(Cause));
      ASSERT_NE(At, std::string::npos) << Cause;
      EXPECT_GE(At, Last) << Cause;
      Last = At;
    }
  }
}

TEST(Codes, TheCommandListsEveryCodeWithItsMeaning) {
  const Finished List = Rigsync({"codes"});
  EXPECT_EQ(List.Status, 0);
  EXPECT_EQ(List.Error, "");
  EXPECT_LE(Widest_Line(List.Output), Terminal_Width);
  EXPECT_THAT(List.Output, Not(HasSubstr("\x1b")));
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    EXPECT_THAT(rigsync::One_Line(List.Output),
                HasSubstr(std::to_string(Advice.Code) + " " + Advice.Meaning));
  }
}

TEST(Codes, TheCommandPrintsTheEntryOfOneCode) {
  for (const rigsync::Code_Advice& Advice : rigsync::All_Codes()) {
    SCOPED_TRACE(Advice.Code);
    const std::string Number = std::to_string(Advice.Code);
    const Finished One = Rigsync({"codes", Number});
    EXPECT_EQ(One.Status, 0);
    EXPECT_LE(Widest_Line(One.Output), Terminal_Width);
    const std::string Entry = rigsync::One_Line(One.Output);
    EXPECT_THAT(Entry, AllOf(StartsWith("Code " + Number + ". " + Advice.Meaning),
                             HasSubstr(Advice.On_Stage), HasSubstr(Advice.Next_Step)));
    for (const std::string& Cause : Advice.Causes) EXPECT_THAT(Entry, HasSubstr("- " + Cause));
  }
}

TEST(Codes, JsonHoldsTheWholeCatalogAndOneCodeAlone) {
  const nlohmann::json List = nlohmann::json::parse(Rigsync({"codes", "--json"}).Output);
  ASSERT_EQ(List.size(), rigsync::All_Codes().size());
  for (std::size_t i = 0; i < List.size(); ++i) {
    const rigsync::Code_Advice& Advice = rigsync::All_Codes()[i];
    EXPECT_EQ(List[i]["code"], Advice.Code);
    EXPECT_EQ(List[i]["usable"], rigsync::Is_Usable_Code(Advice.Code));
    EXPECT_EQ(List[i]["meaning"], Advice.Meaning);
    EXPECT_EQ(List[i]["on_stage"], Advice.On_Stage);
    EXPECT_EQ(List[i]["causes"], Advice.Causes);
    EXPECT_EQ(List[i]["next_step"], Advice.Next_Step);
  }
  EXPECT_EQ(nlohmann::json::parse(Rigsync({"codes", "99", "--json"}).Output), List[17]);
}

// Checks Text against docs/codes.schema.json.
Finished Check_Schema(const std::string& Text) {
  const Scratch_Folder Scratch;
  const std::string Top = RIGSYNC_SOURCE_DIR;
  return Run_Program("/usr/bin/env",
                     {"python3", Top + "/tests/rigsync/formats/check_schema.py",
                      Top + "/docs/codes.schema.json", Scratch.Write("codes.json", Text)});
}

TEST(Codes, ListAndSingleCodeFollowTheSchemaAndNothingLessDoes) {
  const std::string List = Rigsync({"codes", "--json"}).Output;
  const std::string One = Rigsync({"codes", "13", "--json"}).Output;
  for (const std::string& Text : {List, One}) {
    const Finished Checked = Check_Schema(Text);
    EXPECT_EQ(Checked.Status, 0) << Checked.Output << Checked.Error;
  }
  const nlohmann::json Whole = nlohmann::json::parse(One);
  for (const auto& [Key, Value] : Whole.items()) {
    nlohmann::json Changed = Whole;
    Changed.erase(Key);
    EXPECT_EQ(Check_Schema(Changed.dump()).Status, 1) << Key;
    EXPECT_EQ(Check_Schema(nlohmann::json::array({Whole, Changed}).dump()).Status, 1) << Key;
    Changed[Key] = nullptr;
    EXPECT_EQ(Check_Schema(Changed.dump()).Status, 1) << Key;
  }
  nlohmann::json More = Whole;
  More["more"] = 1;
  EXPECT_EQ(Check_Schema(More.dump()).Status, 1);
  EXPECT_EQ(Check_Schema("[]").Status, 1);
}

TEST(Codes, AnUnknownCodeIsAUsageErrorThatNamesTheCodes) {
  for (const char* Wrong : {"17", "-1", "014", "fourteen", "14.0", ""}) {
    SCOPED_TRACE(Wrong);
    const Finished Refused = Rigsync({"codes", Wrong});
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_EQ(Refused.Output, "");
    EXPECT_THAT(Refused.Said, AllOf(HasSubstr("CODE: '" + std::string(Wrong) + "' is wrong"),
                                    HasSubstr("0, 1, 2"), HasSubstr("16, 99, 100")));
  }
}

}  // namespace
