// SPDX-License-Identifier: Apache-2.0
//
// Promises about the project's own files that a person would only notice when they are broken.
#include "tests/host/program.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

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

TEST(ProjectText, TheReadmeShowsTheExampleHostAsItIsCompiled) {
  const std::string Example = Read_Text(Source_Dir / "examples/minimal_host.cpp");
  const std::string Code = Example.substr(Example.find("#include"));
  EXPECT_THAT(Read_Text(Source_Dir / "README.md"), HasSubstr("```cpp\n" + Code + "```"));
}

TEST(ProjectText, LinksBetweenPagesLeadToFiles) {
  std::vector<fs::path> Pages = {Source_Dir / "README.md"};
  for (const auto& Entry : fs::directory_iterator(Source_Dir / "docs")) {
    if (Entry.path().extension() == ".md") Pages.push_back(Entry.path());
  }
  const std::regex Link(R"re(\]\(([^)#:]+)\))re");
  std::size_t Links = 0;
  for (const fs::path& Page : Pages) {
    const std::string Text = Read_Text(Page);
    for (std::sregex_iterator At(Text.begin(), Text.end(), Link), End; At != End; ++At, ++Links) {
      EXPECT_TRUE(fs::exists(Page.parent_path() / (*At)[1].str()))
          << Page << " links to " << (*At)[1].str();
    }
  }
  EXPECT_GT(Links, 5u);
}

}  // namespace
