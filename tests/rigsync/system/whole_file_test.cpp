// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/whole_file.h"

#include "rigsync/system/platform.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/child_limits.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <chrono>
#include <stdexcept>
#include <thread>

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

TEST(WholeFile, WhatIsCutShortIsToldAndRemoved) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "result.json";
  rigsync::Write_Whole(File, "first");
  const File_Size_Limit Limit(1000);
  EXPECT_THAT(rigsync::Try_Write_Whole(File, std::string(1001, 'x')), HasSubstr("File too large"));
  EXPECT_EQ(Read_Text(File), "first");
  EXPECT_EQ(Entry_Count(Scratch.Path()), 1u);
}

// A test's own folder as the working directory, for as long as this exists.
class Inside {
 public:
  explicit Inside(const fs::path& Folder) : Before(fs::current_path()) { fs::current_path(Folder); }
  ~Inside() { fs::current_path(Before); }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

 private:
  fs::path Before;
};

TEST(WholeFile, AFileWithoutAFolderLandsInTheWorkingDirectory) {
  const Scratch_Folder Scratch;
  const Inside There(Scratch.Path());
  rigsync::Write_Whole("result.json", "text");
  EXPECT_EQ(Read_Text(Scratch.Path() / "result.json"), "text");
  EXPECT_EQ(Entry_Count(Scratch.Path()), 1u);
}

// In a folder that others may write to, the name of the temporary file can be guessed.
TEST(WholeFile, ALinkInThePlaceOfTheTemporaryFileLeadsNowhere) {
  const Scratch_Folder Scratch, Elsewhere;
  const std::string Precious = Elsewhere.Write("precious", "kept");
  const std::string Process = std::to_string(rigsync::Process_Number());
  fs::create_symlink(Precious, Scratch.Path() / (".rigsync-" + Process + "-1"));
  fs::create_symlink(Elsewhere.Path() / "new", Scratch.Path() / (".rigsync-" + Process + "-2"));
  rigsync::Write_Whole(Scratch.Path() / "result.json", "text");
  EXPECT_EQ(Read_Text(Scratch.Path() / "result.json"), "text");
  EXPECT_EQ(Read_Text(Precious), "kept");
  EXPECT_EQ(Entry_Count(Elsewhere.Path()), 1u);
  EXPECT_EQ(Entry_Count(Scratch.Path()), 3u);
}

// Left by processes of the same number that were killed.
TEST(WholeFile, OfAThousandNamesOneIsFree) {
  const Scratch_Folder Scratch;
  const std::string Name = ".rigsync-" + std::to_string(rigsync::Process_Number()) + "-";
  for (int Number = 1; Number < 1000; ++Number) Scratch.Write(Name + std::to_string(Number), "");
  EXPECT_EQ(rigsync::Try_Write_Whole(Scratch.Path() / "result.json", "text"), "");
  EXPECT_EQ(Entry_Count(Scratch.Path()), 1000u);
  Scratch.Write(Name + "1000", "");
  EXPECT_THAT(rigsync::Try_Write_Whole(Scratch.Path() / "other.json", "text"),
              HasSubstr("File exists"));
  EXPECT_EQ(Entry_Count(Scratch.Path()), 1001u);
}

TEST(WholeFile, TheLongestNameOfAFileSystemIsNotTooLong) {
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / std::string(255, 'x');
  EXPECT_EQ(rigsync::Try_Write_Whole(File, "text"), "");
  EXPECT_EQ(Read_Text(File), "text");
}

// Whoever starts the tests may ignore signals.
TEST(WholeFile, ASignalLeavesTheFileWholeAndNothingBeside) {
  Reset_Signals();
  const Scratch_Folder Scratch;
  const fs::path File = Scratch.Path() / "result.json";
  const std::string Text(200'000, 'x');
  for (int Pause_Us = 0; Pause_Us < 2000; Pause_Us += 50) {
    const pid_t Parent = getpid(), Child = fork();
    if (Child == 0) {
      Limit_Child(Parent);
      for (;;) {
        if (!rigsync::Try_Write_Whole(File, Text).empty()) _exit(1);
      }
    }
    while (!fs::exists(File) && waitpid(Child, nullptr, WNOHANG) == 0) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::microseconds(Pause_Us));
    kill(Child, SIGTERM);
    int State = 0;
    ASSERT_EQ(waitpid(Child, &State, 0), Child);
    ASSERT_TRUE(WIFSIGNALED(State) && WTERMSIG(State) == SIGTERM) << State;
    EXPECT_EQ(Entry_Count(Scratch.Path()), 1u) << Pause_Us;
    EXPECT_EQ(fs::file_size(File), Text.size());
    fs::remove(File);
  }
}

}  // namespace
