// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/text.h"

#include <gtest/gtest.h>

namespace {

TEST(Text, FoldsAtBlanksWithinTheWidthAndIndentsEveryLine) {
  EXPECT_EQ(rigsync::Folded("one two three", 2, 9), "  one two\n  three\n");
  EXPECT_EQ(rigsync::Folded("one two three", 2, 8), "  one\n  two\n  three\n");
  EXPECT_EQ(rigsync::Folded("one\ntwo", 0, 80), "one\ntwo\n");
  EXPECT_EQ(rigsync::Folded("", 4, 80), "");
}

TEST(Text, NeverCutsAWordThatIsWiderThanALine) {
  EXPECT_EQ(rigsync::Folded("see /a/long/path now", 0, 8), "see\n/a/long/path\nnow\n");
}

TEST(Text, OneLineHasNoControlCharactersAndNoBlanksAtItsEnds) {
  EXPECT_EQ(rigsync::One_Line("\n a\tb \r\n\x1b[31mc\x7f\n"), "a b [31mc");
  EXPECT_EQ(rigsync::One_Line("\n\n"), "");
}

TEST(Text, LowerCaseChangesTheLettersFromAToZAndNoOther) {
  EXPECT_EQ(rigsync::Lower_Case("AZ.PNG_@[`{ 0aZ"), "az.png_@[`{ 0az");
  EXPECT_EQ(rigsync::Lower_Case("\xc3\x84\xff"), "\xc3\x84\xff");
  EXPECT_EQ(rigsync::Lower_Case(""), "");
}

}  // namespace
