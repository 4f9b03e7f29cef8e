// SPDX-License-Identifier: Apache-2.0
//
// Suppresses a library's output on the terminal.
#ifndef RIGSYNC_SYSTEM_QUIET_OUTPUT_H
#define RIGSYNC_SYSTEM_QUIET_OUTPUT_H

namespace rigsync {

// While one of these exists, what the process writes to standard output and standard error is
// discarded. The library copies every line of its run log to standard output, thousands of lines
// for one capture, and the image decoders write warnings to standard error about files that the run
// log names anyway. Both are redirected as file descriptors, so it does not matter which stream of
// which language is used.
//
// It affects the whole process: output of other threads is discarded as well. A build with the
// address sanitizer does not redirect standard error, because its report goes there.
class Quiet_Output {
 public:
  // Does nothing when Quiet is false, or for a descriptor that is closed.
  explicit Quiet_Output(bool Quiet);
  ~Quiet_Output();
  Quiet_Output(const Quiet_Output&) = delete;
  Quiet_Output& operator=(const Quiet_Output&) = delete;

 private:
  int Saved_Output = -1;  // duplicates of the descriptors, -1 for one that was not redirected
  int Saved_Error = -1;
};

// From here on Quiet_Output does nothing. For a process that isn't ours, a Python interpreter: the
// descriptors belong to its other threads too, and two overlapping redirections would not end well.
void Leave_Output_Alone();

// Whether Quiet_Output redirects standard error too: not in a build with the address sanitizer.
bool Quiets_Standard_Error();

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_QUIET_OUTPUT_H
