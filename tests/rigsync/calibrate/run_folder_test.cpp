// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_folder.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

namespace fs = std::filesystem;

TEST(RunFolder, IsNamedAfterTheTimeAndNeverShared) {
  const Scratch_Folder Scratch;
  std::set<fs::path> Folders;
  for (int i = 0; i < 5; ++i) Folders.insert(rigsync::Make_Run_Folder(Scratch.Path()));
  EXPECT_EQ(Folders.size(), 5u);
  const std::regex Name(R"(run_\d{4}-\d\d-\d\d-\d\d\.\d\d\.\d\d(_\d+)?)");
  for (const fs::path& Folder : Folders) {
    EXPECT_TRUE(fs::is_directory(Folder));
    EXPECT_TRUE(std::regex_match(Folder.filename().string(), Name)) << Folder;
  }
}

}  // namespace
