// SPDX-License-Identifier: Apache-2.0
//
// Promises about the project's own files that a person would only notice when they are broken.
#include "tests/host/program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

namespace {

namespace fs = std::filesystem;

const fs::path Source_Dir = RIGSYNC_SOURCE_DIR;

TEST(ProjectText, TheCommandIncludesNothingFromInsideTheLibrary) {
  const std::regex Inside(R"re(#include\s*["<](frame|capture|solver|export)/)re");
  std::size_t Files = 0;
  for (const auto& Entry : fs::directory_iterator(Source_Dir / "host")) {
    if (!Entry.is_regular_file()) continue;
    ++Files;
    EXPECT_FALSE(std::regex_search(Read_Text(Entry.path()), Inside)) << Entry.path();
  }
  EXPECT_GT(Files, 20u);
}

}  // namespace
