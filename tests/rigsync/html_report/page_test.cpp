// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/style_sheet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

namespace rigsync {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(Page, IsHtmlInUtf8WithAPolicyThatAllowsNothingFromElsewhere) {
  const Page Whole = Make_Page("A & B");
  const std::string Source = Page_Source(Whole);
  EXPECT_THAT(Source, StartsWith("<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\""));
  EXPECT_THAT(Source, HasSubstr("<title>A &amp; B</title>"));
  EXPECT_THAT(Source, HasSubstr("default-src 'none'; img-src data:; style-src 'sha256-"));
  EXPECT_THAT(Source, Not(HasSubstr("refresh")));
  EXPECT_THAT(Source, Not(HasSubstr("unsafe")));
}

TEST(Page, LoadsItselfAgainWhereAsked) {
  EXPECT_THAT(Page_Source(Make_Page("Watch", 2)),
              HasSubstr("<meta http-equiv=\"refresh\" content=\"2\""));
}

// In these three a style sheet would be written with other characters than it has.
TEST(Page, TheStyleSheetHasNothingToEscape) {
  EXPECT_EQ(std::string_view(Style_Sheet()).find_first_of("<>&"), std::string_view::npos);
}

// A block that doesn't end takes in all rules after it.
TEST(Page, EveryBlockOfTheStyleSheetEnds) {
  int Depth = 0;
  for (const char Letter : std::string_view(Style_Sheet())) {
    Depth += Letter == '{' ? 1 : Letter == '}' ? -1 : 0;
    ASSERT_THAT(Depth, testing::AllOf(testing::Ge(0), testing::Le(2)));
  }
  EXPECT_EQ(Depth, 0);
}

TEST(Page, AFurtherStyleSheetIsAllowedByItsOwnDigest) {
  const Page Whole = Make_Page("Page");
  Add_Style(Whole.Main, "p { color: red; }");
  const std::string Source = Page_Source(Whole);
  // printf 'p { color: red; }' | openssl dgst -sha256 -binary | base64
  EXPECT_THAT(Source, HasSubstr(" 'sha256-pckGv9YvNcB5xy+Y4fbqhyo+ib850wyiuWeNbZvLi00='"));
  EXPECT_THAT(Source, HasSubstr("<style>p { color: red; }</style></head>"));
}

TEST(Page, ADrawingSaysToAScreenReaderWhatItShows) {
  const Page Whole = Make_Page("Page");
  const Element Figure = Add_Figure(Add_Section(Whole.Main, "lens", "The lens"), {"Title", "Read"});
  Add_Drawing(Figure, 10.4, 20, "Errors", "They grow.");
  EXPECT_THAT(
      Page_Source(Whole),
      HasSubstr("<section id=\"lens\" aria-labelledby=\"lens-heading\"><h2 id=\"lens-heading\">The "
                "lens</h2><figure><figcaption><h3>Title</h3><p>Read</p></figcaption><div "
                "class=\"drawing\"><svg width=\"13\" viewBox=\"0 0 10.4 20\" role=\"img\" "
                "aria-label=\"Errors. They grow.\""));
}

// A browser reads <div/> as the beginning of a div, which then swallows what follows.
TEST(Page, AnEmptyElementHasAnEndTagUnlessHtmlForbidsIt) {
  const Page Whole = Make_Page("Page");
  Add(Whole.Main, "div");
  Add(Whole.Main, "img");
  Add(Add(Add(Whole.Main, "svg"), "g"), "path");
  EXPECT_THAT(Page_Source(Whole),
              HasSubstr("<main><div></div><img/><svg><g><path/></g></svg></main>"));
}

}  // namespace
}  // namespace rigsync
