// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/file_hash.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

namespace {

// The examples of the standard, FIPS 180-4.
TEST(FileHash, IsThatOfTheStandardsExamples) {
  const Scratch_Folder Scratch;
  EXPECT_EQ(rigsync::File_Sha256(Scratch.Write("abc", "abc")),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(rigsync::File_Sha256(Scratch.Write("empty", "")),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(rigsync::File_Sha256(Scratch.Write("million", std::string(1'000'000, 'a'))),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(FileHash, OfATextIsThatOfAFileWithItsBytes) {
  EXPECT_EQ(rigsync::Text_Sha256("abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(rigsync::Text_Sha256(""),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(FileHash, IsEmptyForWhatCannotBeRead) {
  const Scratch_Folder Scratch;
  EXPECT_EQ(rigsync::File_Sha256(Scratch.Path() / "none"), "");
  EXPECT_EQ(rigsync::File_Sha256(Scratch.Path()), "");
  EXPECT_EQ(rigsync::File_Sha256("/dev/zero"), "");
}

}  // namespace
