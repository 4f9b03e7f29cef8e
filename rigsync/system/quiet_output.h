// SPDX-License-Identifier: Apache-2.0
//
// Keeps a library's chatter off the terminal while it works.
#ifndef RIGSYNC_SYSTEM_QUIET_OUTPUT_H
#define RIGSYNC_SYSTEM_QUIET_OUTPUT_H

namespace rigsync {

// While one of these lives, what the process writes to standard output and standard error goes
// nowhere. The library mirrors every line of its run log to standard output, thousands of lines
// for one capture, and the image decoders complain on standard error about files that the run log
// names anyway. Both are redirected as file descriptors, so that it makes no difference through
// which stream of which language something is written.
//
// It serves one thread: what another thread prints meanwhile is lost as well. A build with the
// address sanitizer leaves standard error alone, because its report goes there.
class Quiet_Output {
 public:
  // Does nothing when Quiet is false, or for a descriptor that is closed.
  explicit Quiet_Output(bool Quiet);
  ~Quiet_Output();
  Quiet_Output(const Quiet_Output&) = delete;
  Quiet_Output& operator=(const Quiet_Output&) = delete;

 private:
  int Kept_Output = -1;  // copies of the descriptors, -1 for one that was not redirected
  int Kept_Error = -1;
};

// Whether Quiet_Output takes standard error too: not in a build with the address sanitizer.
bool Quiets_Standard_Error();

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_QUIET_OUTPUT_H
