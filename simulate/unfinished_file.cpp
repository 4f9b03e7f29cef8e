// SPDX-License-Identifier: Apache-2.0
#include "simulate/unfinished_file.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace simulate {

namespace {

namespace fs = std::filesystem;

const char* Way_Out(const std::error_code& Reason) {
  if (Reason == std::errc::no_space_on_device) return "; make room there, or choose another disk";
  if (Reason == std::errc::file_too_large) return "; allow larger files, or choose another disk";
  if (Reason == std::errc::io_error) return "; check the disk, or choose another one";
  if (Reason == std::errc::read_only_file_system || Reason == std::errc::permission_denied) {
    return "; choose a folder in which you may write";
  }
  return "";
}

[[noreturn]] void Throw_For(const fs::path& File, const std::error_code& Reason) {
  throw std::runtime_error("simulate: can't write " + File.string() + ": " + Reason.message() +
                           Way_Out(Reason));
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
