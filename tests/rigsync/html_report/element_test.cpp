// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/element.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace rigsync {
namespace {

std::string Source_Of(const pugi::xml_document& Tree) {
  std::ostringstream Source;
  Tree.save(Source, "", pugi::format_raw | pugi::format_no_declaration);
  return Source.str();
}

TEST(PageElement, MarkupInATextAndAValueIsEscaped) {
  pugi::xml_document Tree;
  Set(Add_Text(Tree, "p", "<script>alert(1)</script>&\".png"), "title", "\"><b>&");
  EXPECT_EQ(Source_Of(Tree),
            "<p title=\"&quot;>&lt;b>&amp;\">&lt;script&gt;alert(1)&lt;/script&gt;&amp;\"."
            "png</p>");
}

TEST(PageElement, AnEmptyTextStillHasAnEndTag) {
  pugi::xml_document Tree;
  Add_Text(Tree, "td", "");
  EXPECT_EQ(Source_Of(Tree), "<td></td>");
}

TEST(PageElement, WhatNoPageMayHoldIsReplaced) {
  const std::string Mark = "\xEF\xBF\xBD";
  EXPECT_EQ(Page_Text("caf\xC3\xA9 \xF0\x9F\x8E\xA5\n\t"), "caf\xC3\xA9 \xF0\x9F\x8E\xA5\n\t");
  EXPECT_EQ(Page_Text("caf\xE9"), "caf" + Mark);                        // Latin-1
  EXPECT_EQ(Page_Text("a\x01\x7F"), "a" + Mark + Mark);                 // control characters
  EXPECT_EQ(Page_Text("\xC0\xAF"), Mark + Mark);                        // longer than it has to be
  EXPECT_EQ(Page_Text("\xED\xA0\x80"), Mark + Mark + Mark);             // half a surrogate pair
  EXPECT_EQ(Page_Text("\xF4\x90\x80\x80"), Mark + Mark + Mark + Mark);  // beyond U+10FFFF
  EXPECT_EQ(Page_Text("\xEF\xBF\xBE"), Mark + Mark + Mark);             // U+FFFE
  EXPECT_EQ(Page_Text("\xE2\x82"), Mark + Mark);                        // cut short
  EXPECT_EQ(Page_Text(std::string_view("\0", 1)), Mark);
}

TEST(PageElement, NumbersAreShortAndAlwaysNumbers) {
  EXPECT_EQ(Short_Number(12.0), "12");
  EXPECT_EQ(Short_Number(-0.001), "0");
  EXPECT_EQ(Short_Number(1.256), "1.26");
  EXPECT_EQ(Short_Number(100.0, 0), "100");
  EXPECT_EQ(Short_Number(std::numeric_limits<double>::quiet_NaN()), "0");
}

}  // namespace
}  // namespace rigsync
