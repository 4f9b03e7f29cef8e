// SPDX-License-Identifier: Apache-2.0
#include "simulate/unfinished_file.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace simulate {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Throw_For(const fs::path& File, const std::error_code& Reason) {
  throw fs::filesystem_error("simulate: can't write", File, Reason);
}

}  // namespace

Unfinished_File::Unfinished_File(fs::path Final)
    : File(std::move(Final)),
      Unfinished(File.parent_path() / ("." + File.filename().string() + ".part")) {
  std::error_code Ignored;
  fs::remove(Unfinished, Ignored);
}

Unfinished_File::~Unfinished_File() {
  std::error_code Ignored;
  if (!Unfinished.empty()) fs::remove(Unfinished, Ignored);
}

void Unfinished_File::Finish() {
  std::error_code Reason;
  fs::rename(Unfinished, File, Reason);
  if (Reason) Throw_For(File, Reason);
  Unfinished.clear();
}

void Throw_Unwritable(const fs::path& File) {
  Throw_For(File, {errno != 0 ? errno : EIO, std::generic_category()});
}

}  // namespace simulate
