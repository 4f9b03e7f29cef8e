// SPDX-License-Identifier: Apache-2.0
//
// What commands say on standard output and standard error, which are no terminals here.
#include "rigsync/command_line/command.h"

#include "rigsync/command_line/exit_status.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Error_Of(void (*Say)(const std::string&), const std::string& Text) {
  testing::internal::CaptureStderr();
  Say(Text);
  return testing::internal::GetCapturedStderr();
}

// Scripts ask for these numbers; docs/codes.md has them.
TEST(Command, TheExitStatusesAreTheDocumentedOnes) {
  EXPECT_EQ(rigsync::Exit_Success, 0);
  EXPECT_EQ(rigsync::Exit_Beyond_Bound, 1);
  EXPECT_EQ(rigsync::Exit_Warnings, 1);
  EXPECT_EQ(rigsync::Exit_Unusable, 2);
  EXPECT_EQ(rigsync::Exit_Usage, 2);
  EXPECT_EQ(rigsync::Exit_Look, 20);
  EXPECT_EQ(rigsync::Exit_Dont_Use, 21);
  EXPECT_EQ(rigsync::Exit_Exception, 70);
}

// A line has 80 columns: "rigsync: " and 70 letters fit, and so do the 71 of the next line.
TEST(Command, ErrorsAndWarningsAreFoldedWithoutAnIndent) {
  const std::string First(60, 'a'), Second(71, 'b');
  EXPECT_EQ(Error_Of(rigsync::Complain, First + " " + Second),
            "rigsync: " + First + "\n" + Second + "\n");
  EXPECT_EQ(Error_Of(rigsync::Warn, First + " " + Second),
            "rigsync: warning: " + First + "\n" + Second + "\n");
  EXPECT_EQ(Error_Of(rigsync::Complain, "x.png: no"), "rigsync: x.png: no\n");
}

// A name in an error may hold what a terminal obeys.
TEST(Command, StandardErrorNeverGetsWhatSteersATerminal) {
  EXPECT_EQ(Error_Of(rigsync::Print_Error, "a\x1b]0;b\n"), "a\xEF\xBF\xBD]0;b\n");
}

// A file or a program gets the name as it is, so that it can use it.
TEST(Command, StandardOutputGetsEveryByteWhereItIsNoTerminal) {
  testing::internal::CaptureStdout();
  rigsync::Print("a\x1b]0;b\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "a\x1b]0;b\n");
}

}  // namespace
