// SPDX-License-Identifier: Apache-2.0
//
// What the command prints, compared word for word with texts that somebody has read: helps and
// other fixed texts in tests/rigsync/commands/golden. After an intended change, run
//
//   RIGSYNC_REFRESH_GOLDEN=1 ctest --preset release -R Golden
//
// which rewrites the files, adds one for the help of a new command, and fails for each file that
// changed. Read the difference in git before you commit it.
#include "rigsync/program.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;

bool Is_Refreshing() {
  const char* const Wish = std::getenv("RIGSYNC_REFRESH_GOLDEN");
  return Wish != nullptr && *Wish != '\0';
}

fs::path Golden_File(const std::string& Name) {
  return fs::path(RIGSYNC_SOURCE_DIR) / "tests/rigsync/commands/golden" / (Name + ".txt");
}

void Compare(const std::string& Name, const std::string& Printed) {
  const fs::path File = Golden_File(Name);
  const std::string Before = fs::exists(File) ? Read_Text(File) : "";
  if (Is_Refreshing() && Printed != Before) {
    std::ofstream(File, std::ios::binary) << Printed;
    ADD_FAILURE() << File << " is refreshed; read what changed in it";
    return;
  }
  // Of texts with several lines, a difference is shown line by line.
  EXPECT_EQ(Before, Printed) << "if the change is intended, " << __FILE__
                             << " tells how to refresh " << File;
}

// Of the reviewed texts. One that belongs to no case would never be compared.
std::size_t Count_Files(bool Of_Help) {
  std::size_t Count = 0;
  for (const auto& Entry : fs::directory_iterator(Golden_File("x").parent_path())) {
    const bool Is_Help = Entry.path().filename().string().rfind("help", 0) == 0;
    if (Is_Help == Of_Help) ++Count;
  }
  return Count;
}

// Standard output and then standard error, of a run in a folder of its own.
std::string Printed_By(const std::vector<std::string>& Arguments) {
  const Scratch_Folder Scratch;
  const Finished Done = Rigsync(Arguments, Scratch.Path());
  return Done.Output + Done.Error;
}

TEST(Golden, HelpsAreAsReviewed) {
  const auto Line = rigsync::Make_Command_Line();
  std::size_t Compared = 0;
  const auto Compare_Help = [&](const std::string& Name,
                                const std::vector<std::string>& Arguments) {
    SCOPED_TRACE(Name);
    Compare(Name, Printed_By(Arguments));
    ++Compared;
  };
  Compare_Help("help", {"--help"});
  for (const CLI::App* Command :
       Line->Program.get_subcommands([](const CLI::App*) { return true; })) {
    Compare_Help("help-" + Command->get_name(), {Command->get_name(), "--help"});
  }
  EXPECT_EQ(Compared, Count_Files(/*Of_Help=*/true));
  EXPECT_GE(Compared, 2u);
}

TEST(Golden, FixedTextsAreAsReviewed) {
  const std::pair<const char*, std::vector<std::string>> Cases[] = {
      {"codes", {"codes"}},
      {"codes-4", {"codes", "4"}},
      {"codes-unknown", {"codes", "17"}},
      {"board", {"board", "--board", "11x8", "--square", "25mm", "--paper", "a3", "-o", "b.svg"}},
      {"board-tight",
       {"board", "--board", "9x7", "--square", "30mm", "--paper", "a3", "-o", "b.pdf"}},
      {"board-too-large",
       {"board", "--board", "11x8", "--square", "35mm", "--paper", "a3", "-o", "b.pdf"}},
  };
  for (const auto& [Name, Arguments] : Cases) {
    SCOPED_TRACE(Name);
    Compare(Name, Printed_By(Arguments));
  }
  EXPECT_EQ(std::size(Cases), Count_Files(/*Of_Help=*/false));
}

}  // namespace
