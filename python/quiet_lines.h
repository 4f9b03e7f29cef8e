// SPDX-License-Identifier: Apache-2.0
//
// The library's lines on standard output, for one thread at a time.
//
// rigsync/system/quiet_output.h redirects descriptors, which belong to the whole process: what
// other threads of a Python program print meanwhile would be lost. The library writes its lines to
// std::cout on the thread that called it, so here std::cout gets a buffer that knows the thread.
#ifndef RIGSYNC_PYTHON_QUIET_LINES_H
#define RIGSYNC_PYTHON_QUIET_LINES_H

namespace rigsync {

// While one of these exists, what its thread writes to std::cout is discarded; other threads write
// as before, also inside the library.
class Quiet_Lines {
 public:
  // Does nothing when Quiet is false.
  explicit Quiet_Lines(bool Quiet);
  ~Quiet_Lines();
  Quiet_Lines(const Quiet_Lines&) = delete;
  Quiet_Lines& operator=(const Quiet_Lines&) = delete;

 private:
  bool Was_Quiet;
};

}  // namespace rigsync

#endif  // RIGSYNC_PYTHON_QUIET_LINES_H
