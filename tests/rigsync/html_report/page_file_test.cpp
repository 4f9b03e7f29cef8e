// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/page_file.h"

#include "rigsync/html_report/page.h"
#include "rigsync/system/usage_error.h"
#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <string>

namespace rigsync {
namespace {

std::string Refusal(const std::filesystem::path& File) {
  try {
    Write_Page("--html", File, "<!DOCTYPE html>new");
  } catch (const Usage_Error& Error) {
    return Error.what();
  }
  return "written";
}

TEST(PageFile, APageTakesThePlaceOfAPageAndOfNothing) {
  const Scratch_Folder Scratch;
  const std::filesystem::path File = Scratch.Path() / "report.html";
  EXPECT_EQ(Refusal(File), "written");
  Scratch.Write("report.html", Page_Source(Make_Page("Earlier")));
  EXPECT_EQ(Refusal(File), "written");
  EXPECT_EQ(Read_Text(File), "<!DOCTYPE html>new");
}

TEST(PageFile, WhatIsNoPageIsLeftAsItIs) {
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv", "a,b\n");
  EXPECT_EQ(Refusal(Csv), "--html: " + Csv +
                              " exists and is not a page of rigsync; it is left as it is. Name "
                              "another file.");
  EXPECT_EQ(Read_Text(Csv), "a,b\n");
  EXPECT_EQ(Refusal(Scratch.Path()).rfind("--html: " + Scratch.String() + " exists", 0), 0u);
  const std::string Short = Scratch.Write("short.html", "<!DOCTYPE html");
  EXPECT_NE(Refusal(Short), "written");
}

TEST(PageFile, AMissingFolderIsRefusedByTheFlag) {
  const Scratch_Folder Scratch;
  EXPECT_EQ(Refusal(Scratch.Path() / "none" / "report.html").rfind("--html: ", 0), 0u);
}

}  // namespace
}  // namespace rigsync
