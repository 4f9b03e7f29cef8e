// SPDX-License-Identifier: Apache-2.0
//
// Writes the command's man page and its completion for bash. Run by the build:
//
//   make_documents COMPLETION_FUNCTIONS MAN_PAGE COMPLETION
//
// COMPLETION_FUNCTIONS is bash_completion.sh, which COMPLETION begins with.
#include "rigsync/command_line/documents.h"
#include "rigsync/program.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

std::string Read_Text(const char* Path) {
  std::ifstream Stream(Path, std::ios::binary);
  std::string Text{std::istreambuf_iterator<char>(Stream), {}};
  if (!Stream || Text.empty()) throw std::runtime_error(fmt::format("{} can't be read", Path));
  return Text;
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  if (Argument_Count != 4) {
    fmt::print(stderr, "usage: make_documents COMPLETION_FUNCTIONS MAN_PAGE COMPLETION\n");
    return 2;
  }
  try {
    const std::unique_ptr<rigsync::Command_Line> Line = rigsync::Make_Command_Line();
    rigsync::Write_Whole(Arguments[2], rigsync::Man_Page(Line->Program));
    rigsync::Write_Whole(Arguments[3], Read_Text(Arguments[1]) + rigsync::Completion_Tables(*Line));
  } catch (const std::exception& Error) {
    fmt::print(stderr, "make_documents: {}\n", Error.what());
    return 1;
  }
  return 0;
}
