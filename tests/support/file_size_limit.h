// SPDX-License-Identifier: Apache-2.0
//
// Files of this process that can't grow, as on a full disk.
#ifndef RIGSYNC_TESTS_SUPPORT_FILE_SIZE_LIMIT_H
#define RIGSYNC_TESTS_SUPPORT_FILE_SIZE_LIMIT_H

#include <signal.h>
#include <sys/resource.h>

// While one of these exists, what is written beyond Bytes in a file fails with EFBIG.
class File_Size_Limit {
 public:
  explicit File_Size_Limit(rlim_t Bytes) : Handler(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &Before);
    const rlimit Now = {Bytes, Before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &Now);
  }
  ~File_Size_Limit() {
    setrlimit(RLIMIT_FSIZE, &Before);
    signal(SIGXFSZ, Handler);
  }
  File_Size_Limit(const File_Size_Limit&) = delete;
  File_Size_Limit& operator=(const File_Size_Limit&) = delete;

 private:
  void (*Handler)(int);
  rlimit Before{};
};

#endif  // RIGSYNC_TESTS_SUPPORT_FILE_SIZE_LIMIT_H
