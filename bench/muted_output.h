// SPDX-License-Identifier: Apache-2.0
//
// Keeps the log lines that the library prints apart from the output of a benchmark.
#ifndef RIGSYNC_BENCH_MUTED_OUTPUT_H
#define RIGSYNC_BENCH_MUTED_OUTPUT_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// While one of these exists, standard output is redirected to /dev/null.
class Muted_Output {
 public:
  Muted_Output() : Before(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int Null = open("/dev/null", O_WRONLY);
    dup2(Null, STDOUT_FILENO);
    close(Null);
  }
  ~Muted_Output() {
    std::fflush(stdout);
    dup2(Before, STDOUT_FILENO);
    close(Before);
  }
  Muted_Output(const Muted_Output&) = delete;
  Muted_Output& operator=(const Muted_Output&) = delete;

 private:
  int Before;
};

#endif  // RIGSYNC_BENCH_MUTED_OUTPUT_H
