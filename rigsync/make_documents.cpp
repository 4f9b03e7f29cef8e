// SPDX-License-Identifier: Apache-2.0
//
// Writes the command's man page and completion, for the build:  make_documents MAN_PAGE COMPLETION
#include "rigsync/command_line/documents.h"
#include "rigsync/program.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>

int main(int Argument_Count, char** Arguments) {
  if (Argument_Count != 3) {
    fmt::print(stderr, "usage: make_documents MAN_PAGE COMPLETION\n");
    return 2;
  }
  try {
    rigsync::Chosen_Command Chosen;
    const std::unique_ptr<CLI::App> Program = rigsync::Make_Program(Chosen);
    rigsync::Write_Whole(Arguments[1], rigsync::Man_Page(*Program));
    rigsync::Write_Whole(Arguments[2], rigsync::Bash_Completion(*Program));
  } catch (const std::exception& Error) {
    fmt::print(stderr, "make_documents: {}\n", Error.what());
    return 1;
  }
  return 0;
}
