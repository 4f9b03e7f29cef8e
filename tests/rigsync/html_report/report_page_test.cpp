// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/report_page.h"

#include "tests/rigsync/review/calibrated_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace rigsync {
namespace {

using calibrated_run::Usual_Run;

// What stands between a text and the next quote, everywhere in a page.
std::vector<std::string> After(const std::string& Page, const std::string& Text) {
  std::vector<std::string> Found;
  for (std::size_t At = Page.find(Text); At != std::string::npos; At = Page.find(Text, At + 1)) {
    const std::size_t Begin = At + Text.size();
    Found.push_back(Page.substr(Begin, Page.find('"', Begin) - Begin));
  }
  return Found;
}

// The verdict first, then what it rests on, and at the end what is looked up.
TEST(ReportPage, HasEverySectionInItsOrderAndLinksToEach) {
  const std::string Page = Report_Page(Make_Run_View(Usual_Run().Result, Usual_Run().Inspected));
  const std::vector<std::string> Sections = After(Page, "<section id=\"");
  EXPECT_THAT(Sections, testing::ElementsAre("mount", "rig", "images", "scale", "frame", "coverage",
                                             "poses", "samples", "lens", "cross-check", "inputs"));
  const std::string Contents = Page.substr(Page.find("class=\"contents\""));
  EXPECT_THAT(After(Contents.substr(0, Contents.find("</nav>")), "href=\"#"),
              testing::ElementsAreArray(Sections));
  EXPECT_LT(Page.find("class=\"verdict"), Page.find("class=\"contents\""));
}

}  // namespace
}  // namespace rigsync
