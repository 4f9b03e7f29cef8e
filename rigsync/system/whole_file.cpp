// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/whole_file.h"

#include "rigsync/system/platform.h"

#include <fmt/format.h>

#include <stdexcept>
#include <system_error>

namespace rigsync {

std::filesystem::path Unfinished_File(const std::filesystem::path& File) {
  return File.parent_path() / fmt::format(".{}.{}", File.filename().string(), Process_Number());
}

void Write_Whole(const std::filesystem::path& File, std::string_view Text) {
  const std::string Reason = Try_Write_Whole(File, Text);
  if (Reason.empty()) return;
  throw std::runtime_error(fmt::format("{} can't be written: {}", File.string(), Reason));
}

std::string Try_Write_Whole(const std::filesystem::path& File, std::string_view Text) {
  const std::filesystem::path Unfinished = Unfinished_File(File);
  std::error_code Error = Write_To_Disk(Unfinished, Text);
  if (!Error) Error = Replace_File(Unfinished, File);
  if (!Error) return {};
  std::error_code Ignored;
  std::filesystem::remove(Unfinished, Ignored);
  return Error.message();
}

}  // namespace rigsync
