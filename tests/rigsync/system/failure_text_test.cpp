// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/failure_text.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using rigsync::Failure_Text;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(FailureText, TellsTheReasonAndTheWayOut) {
  const auto Of = [](int Number) {
    return Failure_Text(std::error_code(Number, std::generic_category()));
  };
  EXPECT_EQ(Of(ENOSPC), "No space left on device; make room there, or choose another disk");
  EXPECT_THAT(Of(EDQUOT), AllOf(StartsWith("Disk quota exceeded"), HasSubstr("make room")));
  EXPECT_THAT(Of(EROFS), AllOf(StartsWith("Read-only"), HasSubstr("you may write")));
  EXPECT_THAT(Of(EACCES), AllOf(StartsWith("Permission denied"), HasSubstr("you may write")));
  EXPECT_THAT(Of(EMFILE), HasSubstr("ulimit -n"));
  EXPECT_THAT(Of(EFBIG), HasSubstr("ulimit -f"));
  EXPECT_EQ(Of(EISDIR), "Is a directory");
}

TEST(FailureText, OfTooLittleMemoryIsNoWordOfTheLanguage) {
  EXPECT_THAT(Failure_Text(std::bad_alloc()),
              AllOf(HasSubstr("not enough memory"), Not(HasSubstr("bad_alloc"))));
  EXPECT_THAT(Failure_Text(std::runtime_error("alloc.cpp:73: (-4:Insufficient memory) Failed")),
              HasSubstr("not enough memory"));
  EXPECT_THAT(Failure_Text(std::system_error(EAGAIN, std::generic_category())),
              HasSubstr("no more threads"));
}

TEST(FailureText, OfAnyOtherExceptionIsItsOwnOnOneLine) {
  EXPECT_EQ(Failure_Text(std::runtime_error("two\nlines")), "two lines");
}

TEST(FailureText, OfAFileBeginsWithTheFile) {
  const fs::filesystem_error Thrown("cannot create directory", "/stage/run",
                                    std::make_error_code(std::errc::no_space_on_device));
  EXPECT_THAT(Failure_Text(Thrown), StartsWith("/stage/run: No space left on device; make room"));
}

TEST(FailureText, OfAWorkingDirectoryThatIsGoneSaysSo) {
  const Scratch_Folder Scratch;
  const fs::path Gone = Scratch.Path() / "gone", Before = fs::current_path();
  fs::create_directory(Gone);
  fs::current_path(Gone);
  fs::remove(Gone);
  std::string Text;
  try {
    Text = fs::absolute("x").string();
  } catch (const std::exception& Thrown) {
    Text = Failure_Text(Thrown);
  }
  fs::current_path(Before);
  EXPECT_THAT(Text, HasSubstr("the working directory doesn't exist any more; change to another"));
}

}  // namespace
