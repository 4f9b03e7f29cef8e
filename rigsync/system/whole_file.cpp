// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/whole_file.h"

#include "rigsync/system/failure_text.h"
#include "rigsync/system/platform.h"

#include <fmt/format.h>

#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// A file of an unused name in Folder, removed at the end unless it has got its own name.
class Unfinished_File {
 public:
  Unfinished_File(const fs::path& Folder, std::string_view Text) {
    constexpr int Most_Names = 1000;
    for (int Number = 1; Number <= Most_Names; ++Number) {
      // Short, so that it fits wherever the final name does.
      Name = Folder / fmt::format(".rigsync-{}-{}", Process_Number(), Number);
      Reason = Write_To_Disk(Name, Text);
      if (Reason != std::errc::file_exists) break;
    }
    Exists = !Reason;
  }
  ~Unfinished_File() {
    std::error_code Ignored;
    if (Exists) fs::remove(Name, Ignored);
  }
  Unfinished_File(const Unfinished_File&) = delete;
  Unfinished_File& operator=(const Unfinished_File&) = delete;

  std::error_code Error() const { return Reason; }

  std::error_code Become(const fs::path& File) {
    const std::error_code Refusal = Replace_File(Name, File);
    if (!Refusal) Exists = false;
    return Refusal;
  }

 private:
  fs::path Name;
  std::error_code Reason;
  bool Exists = false;
};

}  // namespace

void Write_Whole(const fs::path& File, std::string_view Text) {
  const std::string Reason = Try_Write_Whole(File, Text);
  if (Reason.empty()) return;
  throw std::runtime_error(fmt::format("{} can't be written: {}", File.string(), Reason));
}

std::string Try_Write_Whole(const fs::path& File, std::string_view Text) {
  const Held_Signals Until_Done;
  Unfinished_File Unfinished(File.parent_path(), Text);
  std::error_code Error = Unfinished.Error();
  if (!Error) Error = Unfinished.Become(File);
  return Error ? Failure_Text(Error) : std::string();
}

std::string Try_Folder(const fs::path& Folder, std::string_view Text) {
  const Held_Signals Until_Done;
  const Unfinished_File Unfinished(Folder, Text);
  return Unfinished.Error() ? Failure_Text(Unfinished.Error()) : std::string();
}

}  // namespace rigsync
