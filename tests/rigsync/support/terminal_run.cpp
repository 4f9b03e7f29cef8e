// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/support/terminal_run.h"

#include "tests/support/child_limits.h"

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <sstream>
#include <stdexcept>

namespace {

[[noreturn]] void Become_Program(std::vector<std::string> Words,
                                 const std::vector<std::string>& Environment) {
  std::vector<char*> Pointers;
  for (std::string& Word : Words) Pointers.push_back(Word.data());
  Pointers.push_back(nullptr);
  unsetenv("NO_COLOR");
  setenv("TERM", "xterm", 1);
  for (const std::string& Entry : Environment) {
    const std::size_t Equals = Entry.find('=');
    setenv(Entry.substr(0, Equals).c_str(), Entry.substr(Equals + 1).c_str(), 1);
  }
  execv(Pointers.front(), Pointers.data());
  _exit(127);
}

}  // namespace

std::vector<std::string> Terminal_Run::Lines() const {
  const std::string Plain = std::regex_replace(Shown, std::regex("\x1b\\[[0-9;]*[mK]"), "");
  std::vector<std::string> Result;
  std::istringstream Stream(Plain);
  for (std::string Line; std::getline(Stream, Line);) {
    while (!Line.empty() && Line.back() == '\r') Line.pop_back();
    // The text after the last carriage return has overwritten the rest.
    const std::size_t Return = Line.rfind('\r');
    Result.push_back(Return == std::string::npos ? Line : Line.substr(Return + 1));
  }
  return Result;
}

Terminal_Run Rigsync_On_Terminal(const std::vector<std::string>& Arguments,
                                 const std::vector<std::string>& Environment,
                                 const std::function<bool(const std::string&)>& Stop_At) {
  std::vector<std::string> Words = Arguments;
  Words.insert(Words.begin(), RIGSYNC_PROGRAM);
  const winsize Size = {24, 80, 0, 0};
  int Keyboard = -1;
  const pid_t Parent = getpid(), Child = forkpty(&Keyboard, nullptr, nullptr, &Size);
  if (Child < 0) throw std::runtime_error("forkpty failed");
  if (Child == 0) {
    Limit_Child(Parent);
    Become_Program(Words, Environment);
  }

  Terminal_Run Result;
  bool Stopped = false;
  char Block[4096];
  // Reading fails when the program's side is closed.
  for (ssize_t Size_Read = 0; (Size_Read = read(Keyboard, Block, sizeof Block)) > 0;) {
    Result.Shown.append(Block, static_cast<std::size_t>(Size_Read));
    if (!Stopped && Stop_At && Stop_At(Result.Shown)) {
      Stopped = true;
      constexpr char Control_C = 3;
      if (write(Keyboard, &Control_C, 1) != 1) throw std::runtime_error("no keyboard");
    }
  }
  close(Keyboard);
  int State = 0;
  if (waitpid(Child, &State, 0) != Child) throw std::runtime_error("waitpid failed");
  Result.Status = WIFEXITED(State) ? WEXITSTATUS(State) : 128 + WTERMSIG(State);
  return Result;
}
