// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/out_folder.h"

#include "rigsync/system/failure_text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <system_error>
#include <vector>

namespace rigsync {

namespace {

namespace fs = std::filesystem;

// Large enough that writing it fails if a quota or a full disk would stop the run log.
constexpr std::size_t Probe_Size = 65536;

// Creates folders and removes them again, if they are still empty, unless Keep is called.
class Created_Folders {
 public:
  Created_Folders() = default;
  Created_Folders(const Created_Folders&) = delete;
  Created_Folders& operator=(const Created_Folders&) = delete;

  // Creates Folder and its missing parents. Returns the error, if any.
  std::error_code Make(const fs::path& Folder) {
    // A root exists or cannot be created. On Windows it may contain a server's name, which is not a
    // folder.
    fs::path Whole = Folder.root_path();
    for (const fs::path& Component : Folder.relative_path()) {
      Whole /= Component;
      std::error_code Error, Ignored;
      if (fs::create_directory(Whole, Error)) Created.push_back(Whole);
      if (fs::is_directory(Whole, Ignored)) continue;
      if (fs::exists(Whole, Ignored)) return std::make_error_code(std::errc::not_a_directory);
      return Error;
    }
    return {};
  }
  void Keep() { Created.clear(); }
  ~Created_Folders() {
    std::error_code Ignored;
    for (; !Created.empty(); Created.pop_back()) fs::remove(Created.back(), Ignored);
  }

 private:
  std::vector<fs::path> Created;  // parents first
};

void Require_Writable(const std::string& Flag, const fs::path& Folder) {
  const std::string Reason = Try_Folder(Folder, std::string(Probe_Size, ' '));
  if (!Reason.empty()) {
    Refuse(Flag, Folder.string(), "a folder in which files can be written (" + Reason + ")");
  }
}

void Require_Space(const std::string& Flag, const fs::path& Folder, std::uintmax_t Needed_Bytes,
                   const std::string& What) {
  std::error_code Error;
  const fs::space_info Space = fs::space(Folder, Error);
  // A file system that does not report its space is accepted.
  if (Error || Has_Space(Space, Needed_Bytes)) return;
  Refuse(
      Flag, Folder.string(),
      fmt::format("a folder on a disk with {} of space for {} ({} are free); make room there, or "
                  "choose another disk",
                  Bytes_Text(Needed_Bytes), What, Bytes_Text(Space.available)));
}

}  // namespace

bool Has_Space(const fs::space_info& Space, std::uintmax_t Needed_Bytes) {
  return Space.available >= Needed_Bytes;
}

fs::path Make_Out_Folder(const std::string& Flag, const std::string& Path,
                         std::uintmax_t Needed_Bytes, const std::string& What) {
  Created_Folders Created;
  const std::error_code Error = Created.Make(Path);
  std::error_code Not_A_Folder;
  if (!fs::is_directory(Path, Not_A_Folder)) {
    Refuse(Flag, Path,
           "a folder, or a path where one can be created" +
               (Error ? " (" + Failure_Text(Error) + ")" : std::string()));
  }
  const fs::path Out = fs::canonical(Path);
  Require_Space(Flag, Out, Needed_Bytes, What);
  Require_Writable(Flag, Out);
  Created.Keep();
  return Out;
}

std::string Bytes_Text(std::uintmax_t Bytes) {
  constexpr double Kilo = 1e3, Mega = 1e6, Giga = 1e9;
  const auto Value = static_cast<double>(Bytes);
  if (Value < Mega) return fmt::format("{:.0f} kB", Value / Kilo);
  if (Value < Giga) return fmt::format("{:.1f} MB", Value / Mega);
  return fmt::format("{:.1f} GB", Value / Giga);
}

}  // namespace rigsync
