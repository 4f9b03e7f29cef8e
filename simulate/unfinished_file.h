// SPDX-License-Identifier: Apache-2.0
//
// A file of a capture while it is written. Under its own name there is either nothing, or the
// earlier file, or the whole new one.
#ifndef RIGSYNC_SIMULATE_UNFINISHED_FILE_H
#define RIGSYNC_SIMULATE_UNFINISHED_FILE_H

#include <filesystem>

namespace simulate {

class Unfinished_File {
 public:
  // What is written to Path() becomes File. A file that an earlier process left there is removed,
  // so that a link in its place leads nowhere.
  explicit Unfinished_File(std::filesystem::path File);
  ~Unfinished_File();  // removes it, unless it has become File
  Unfinished_File(const Unfinished_File&) = delete;
  Unfinished_File& operator=(const Unfinished_File&) = delete;

  const std::filesystem::path& Path() const { return Unfinished; }

  // Gives it the name of File, once it is written and closed. Throws
  // std::filesystem::filesystem_error with File and the reason.
  void Finish();

 private:
  std::filesystem::path File, Unfinished;
};

// Throws std::filesystem::filesystem_error with File and the reason of errno.
[[noreturn]] void Throw_Unwritable(const std::filesystem::path& File);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_UNFINISHED_FILE_H
