// SPDX-License-Identifier: Apache-2.0
//
// Another program, started without a shell: its output is read while it runs, and what it says on
// standard error is kept for a message.
#ifndef RIGSYNC_SYSTEM_CHILD_PROCESS_H
#define RIGSYNC_SYSTEM_CHILD_PROCESS_H

#include "rigsync/system/platform.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace rigsync {

// No program of this name is in the search path.
class Program_Not_Found : public std::runtime_error {
 public:
  explicit Program_Not_Found(const std::string& Program);
};

// Called for a line of standard error, without its newline, on a thread of its own. Returns whether
// the line was expected; one that wasn't is kept for Error_Lines.
using Error_Line_Reader = std::function<bool(std::string_view Line)>;

// The program must not start others that outlive it: they would hold its streams open, and the end
// of these is waited for.
class Child_Process {
 public:
  // Program is looked for in the search path, unless it is a path. The program reads nothing from
  // standard input. Throws Program_Not_Found, and std::runtime_error with the reason for a program
  // that is there but can't be started.
  Child_Process(const std::string& Program, const std::vector<std::string>& Arguments,
                Error_Line_Reader Read_Line = {});
  // Ends the program if it still runs.
  ~Child_Process();
  Child_Process(const Child_Process&) = delete;
  Child_Process& operator=(const Child_Process&) = delete;

  // Waits until Size bytes of standard output are in Buffer, and returns Size. Returns less only
  // where the output ends, and 0 after that.
  std::size_t Read(void* Buffer, std::size_t Size);

  // What is left of the standard output. Throws std::runtime_error for more than Most_Bytes.
  std::string Read_Rest(std::size_t Most_Bytes);

  // Waits until the program has ended, and returns its exit status; 128 and the signal's number for
  // one that was ended by a signal. Output that nobody has read is discarded.
  int Wait();

  // The last lines of standard error that were not expected, ten at most, of 500 bytes at most.
  // Complete after Wait, and not to be called before.
  const std::deque<std::string>& Error_Lines() const { return Last_Lines; }

 private:
  void Read_Errors();
  void Take_Error_Line(std::string_view Line);

  Started_Program Started;
  Error_Line_Reader Reader;
  std::deque<std::string> Last_Lines;
  std::thread Error_Thread;
  int Status = 0;
  bool Has_Ended = false;
};

// The command line from which a program on Windows reads these words as its arguments. Backslashes
// are literal there unless quotes follow them.
std::string Windows_Command_Line(const std::vector<std::string>& Words);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_CHILD_PROCESS_H
