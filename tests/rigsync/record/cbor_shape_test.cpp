// SPDX-License-Identifier: Apache-2.0
//
// Items of CBOR written by hand: a byte of kind and length, as RFC 8949 numbers them, and what
// follows.
#include "rigsync/record/cbor_shape.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace std::string_literals;

bool Is_Shallow(std::string_view Bytes, std::size_t Deepest = 4) {
  return rigsync::Is_Shallow_Cbor(Bytes, Deepest);
}

TEST(CborShape, AnItemIsWholeAndAlone) {
  EXPECT_TRUE(Is_Shallow("\x05"));  // 5
  EXPECT_TRUE(
      Is_Shallow("\x43"
                 "abc"));  // three bytes
  EXPECT_TRUE(
      Is_Shallow("\x63"
                 "abc"));                            // a text of three letters
  EXPECT_TRUE(Is_Shallow("\x60"));                   // an empty one
  EXPECT_TRUE(Is_Shallow("\x82\x01\x02"));           // a list of two
  EXPECT_TRUE(Is_Shallow("\xa1\x01\x02"));           // a map of one pair
  EXPECT_TRUE(Is_Shallow("\xc1\x01"));               // a tagged number
  EXPECT_TRUE(Is_Shallow("\xf6"));                   // null
  EXPECT_TRUE(Is_Shallow("\xfb\0\0\0\0\0\0\0\0"s));  // a number in double precision
  EXPECT_FALSE(Is_Shallow(""));
  EXPECT_FALSE(Is_Shallow("\x05\x05"));
  EXPECT_FALSE(Is_Shallow("\x82\x01"));
  EXPECT_FALSE(Is_Shallow("\xa1\x01"));
  EXPECT_FALSE(Is_Shallow("\xc1"));
}

TEST(CborShape, LengthsEndWithTheBytes) {
  EXPECT_FALSE(Is_Shallow("\x41"));
  EXPECT_FALSE(Is_Shallow("\x61"));
  EXPECT_FALSE(
      Is_Shallow("\x44"
                 "abc"));
  EXPECT_FALSE(
      Is_Shallow("\x64"
                 "abc"));
  EXPECT_TRUE(
      Is_Shallow("\x58\x03"
                 "abc"));  // a length of one byte
  EXPECT_FALSE(
      Is_Shallow("\x58\x04"
                 "abc"));
  EXPECT_FALSE(Is_Shallow("\x58"));
  EXPECT_FALSE(
      Is_Shallow("\x7b\xff\xff\xff\xff\xff\xff\xff\xff"
                 "a"));
  EXPECT_FALSE(
      Is_Shallow("\x9b\xff\xff\xff\xff\xff\xff\xff\xfe"
                 "\x01"));
  EXPECT_FALSE(Is_Shallow("\xbb\x80\0\0\0\0\0\0\x01\x01\x02"s));  // twice that is 2
}

TEST(CborShape, ListsMapsAndTagsLieAsDeepAsMayBe) {
  EXPECT_TRUE(Is_Shallow("\x81\x81\x05", 2));
  EXPECT_FALSE(Is_Shallow("\x81\x81\x81\x05", 2));
  EXPECT_TRUE(Is_Shallow("\xa1\x01\x81\x05", 2));
  EXPECT_FALSE(Is_Shallow("\xa1\x01\x81\xc1\x05", 2));
  EXPECT_TRUE(Is_Shallow("\x82\x81\x05\x81\x05", 2));  // one after the other
}

// In pieces, or without a number of items, until a break.
TEST(CborShape, OpenItemsEndWithABreak) {
  EXPECT_TRUE(Is_Shallow("\x9f\x01\x02\xff"));
  EXPECT_TRUE(Is_Shallow("\xbf\x01\x02\xff"));
  EXPECT_TRUE(
      Is_Shallow("\x7f\x61"
                 "a"
                 "\x61"
                 "b"
                 "\xff"));
  EXPECT_TRUE(
      Is_Shallow("\x5f\x41"
                 "a"
                 "\xff"));
  EXPECT_FALSE(Is_Shallow("\x9f\x01\x02"));
  EXPECT_FALSE(Is_Shallow("\x9f\x01\xff\xff"));
  EXPECT_FALSE(Is_Shallow("\xff"));
  EXPECT_FALSE(Is_Shallow("\xdf\x01\xff"));  // a tag has none
  EXPECT_FALSE(Is_Shallow("\x1f"));
}

}  // namespace
