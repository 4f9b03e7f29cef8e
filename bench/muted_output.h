// SPDX-License-Identifier: Apache-2.0
//
// Keeps what the library mirrors to standard output away from what a measuring program prints.
#ifndef RIGSYNC_BENCH_MUTED_OUTPUT_H
#define RIGSYNC_BENCH_MUTED_OUTPUT_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// While one of these lives, standard output leads to /dev/null.
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
