// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using rigsync::Character_At;
using rigsync::First_Characters;

// The examples of RFC 3629, section 7, and the last code of each length.
TEST(Utf8, ACharacterIsReadFromOneToFourBytes) {
  const struct {
    const char* Text;
    std::size_t Bytes;
    std::uint32_t Code;
  } Cases[] = {{"A", 1, 0x41},
               {"\x7F", 1, 0x7F},
               {"\xC2\x80", 2, 0x80},
               {"\xDF\xBF", 2, 0x7FF},
               {"\xE0\xA0\x80", 3, 0x800},
               {"\xE2\x89\xA2", 3, 0x2262},
               {"\xED\x95\x9C", 3, 0xD55C},
               {"\xEF\xBF\xBF", 3, 0xFFFF},
               {"\xF0\x90\x80\x80", 4, 0x10000},
               {"\xF4\x8F\xBF\xBF", 4, 0x10FFFF}};
  for (const auto& Case : Cases) {
    const std::string Text = "x" + std::string(Case.Text) + "y";
    EXPECT_EQ(Character_At(Text, 1).Bytes, Case.Bytes) << Case.Code;
    EXPECT_EQ(Character_At(Text, 1).Code, Case.Code);
  }
}

// A byte of continuation alone, a length that the end cuts off, forms that are longer than needed,
// half a surrogate pair, and codes beyond the last.
TEST(Utf8, WhatIsNoCharacterHasNoBytes) {
  for (const char* const Text :
       {"\x80", "\xC2", "\xE2\x89", "\xC2\x41", "\xC0\xAF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",
        "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"}) {
    EXPECT_EQ(Character_At(Text, 0).Bytes, 0u) << static_cast<int>(Text[0]);
  }
}

// Three characters of one, two and four bytes; a cut in the middle of one would leave bytes that
// are none.
TEST(Utf8, ATextIsCutBetweenCharacters) {
  const std::string Text = "a\xC3\xBC\xF0\x9F\x8E\xA5";
  EXPECT_EQ(First_Characters(Text, 0), "");
  EXPECT_EQ(First_Characters(Text, 1), "a");
  EXPECT_EQ(First_Characters(Text, 2), "a\xC3\xBC");
  EXPECT_EQ(First_Characters(Text, 3), Text);
  EXPECT_EQ(First_Characters(Text, 4), Text);
}

TEST(Utf8, OfATextThatIsCutAByteThatIsNoCharacterCountsAsOne) {
  EXPECT_EQ(First_Characters("\x80\x80\xC3\xBC.", 3), "\x80\x80\xC3\xBC");
  EXPECT_EQ(First_Characters("a\xE2\x89", 2), "a\xE2");
}

}  // namespace
