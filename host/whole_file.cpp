// SPDX-License-Identifier: Apache-2.0
#include "host/whole_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace host {
namespace {

// True when all of Text is in the file and the disk has it. errno tells why not.
bool Write_All(int Descriptor, std::string_view Text) {
  while (!Text.empty()) {
    const ssize_t Written = write(Descriptor, Text.data(), Text.size());
    if (Written < 0 && errno == EINTR) continue;
    if (Written < 0) return false;
    Text.remove_prefix(static_cast<std::size_t>(Written));
  }
  // A file system that can't sync (a pipe's, some network's) has done what it can.
  return fsync(Descriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
}

// True when Text stands in a new file of that name.
bool Write_New(const std::filesystem::path& File, std::string_view Text) {
  const int Descriptor = open(File.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (Descriptor < 0) return false;
  const bool Written = Write_All(Descriptor, Text);
  const int Reason = errno;
  const bool Closed = close(Descriptor) == 0;
  if (!Written) errno = Reason;
  return Written && Closed;
}

}  // namespace

std::filesystem::path Unfinished_File(const std::filesystem::path& File) {
  return File.parent_path() / fmt::format(".{}.{}", File.filename().string(), getpid());
}

void Write_Whole(const std::filesystem::path& File, std::string_view Text) {
  const std::string Reason = Try_Write_Whole(File, Text);
  if (Reason.empty()) return;
  throw std::runtime_error(fmt::format("{} can't be written: {}", File.string(), Reason));
}

std::string Try_Write_Whole(const std::filesystem::path& File, std::string_view Text) {
  const std::filesystem::path Unfinished = Unfinished_File(File);
  if (Write_New(Unfinished, Text) && std::rename(Unfinished.c_str(), File.c_str()) == 0) return {};
  std::string Reason = std::generic_category().message(errno);
  std::error_code Ignored;
  std::filesystem::remove(Unfinished, Ignored);
  return Reason;
}

}  // namespace host
