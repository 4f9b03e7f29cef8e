// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/whole_file.h"

#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::size_t Entry_Count(const fs::path& Folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(Folder), fs::directory_iterator()));
}

TEST(WholeFile, ReplacesAnEarlierFileAndLeavesNothingBeside) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "result.json";
  rigsync::Write_Whole(File, "a longer first text");
  rigsync::Write_Whole(File, "second");
  EXPECT_EQ(Read_Text(File), "second");
  EXPECT_EQ(Entry_Count(Scratch.Path()), 1u);
}

TEST(WholeFile, WhatCantTakeTheNameIsToldAndRemoved) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "result.json";
  fs::create_directory(File);
  try {
    rigsync::Write_Whole(File, "text");
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& Thrown) {
    EXPECT_THAT(Thrown.what(), HasSubstr(File.string() + " can't be written: Is a directory"));
  }
  EXPECT_EQ(Entry_Count(Scratch.Path()), 1u);
}

TEST(WholeFile, AMissingFolderIsToldWithItsReason) {
  const Scratch_Folder Scratch;
  try {
    rigsync::Write_Whole(Scratch.Path() / "none/file", "text");
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& Thrown) {
    EXPECT_THAT(Thrown.what(), HasSubstr("No such file or directory"));
  }
}

TEST(WholeFile, AFileWithoutAFolderLandsInTheWorkingDirectory) {
  EXPECT_EQ(rigsync::Unfinished_File("result.json").parent_path(), fs::path());
}

}  // namespace
