// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/out_folder.h"

#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <system_error>
#include <vector>

namespace rigsync {

namespace {

namespace fs = std::filesystem;

// Enough to be refused where a quota or a full disk would stop the run log.
constexpr std::size_t Probe_Size = 65536;

// Folders that are removed again, if they are still empty, unless Keep is called.
class Made_Folders {
 public:
  Made_Folders() = default;
  Made_Folders(const Made_Folders&) = delete;
  Made_Folders& operator=(const Made_Folders&) = delete;

  // Creates Folder with all that is missing above it. Returns why it couldn't, or nothing.
  std::error_code Make(const fs::path& Folder) {
    // A root is there or can't be made; on Windows a server's name is a part of it, and no folder.
    fs::path Whole = Folder.root_path();
    for (const fs::path& Component : Folder.relative_path()) {
      Whole /= Component;
      std::error_code Error, Ignored;
      if (fs::create_directory(Whole, Error)) Made.push_back(Whole);
      if (fs::is_directory(Whole, Ignored)) continue;
      if (fs::exists(Whole, Ignored)) return std::make_error_code(std::errc::not_a_directory);
      return Error;
    }
    return {};
  }
  void Keep() { Made.clear(); }
  ~Made_Folders() {
    std::error_code Ignored;
    for (; !Made.empty(); Made.pop_back()) fs::remove(Made.back(), Ignored);
  }

 private:
  std::vector<fs::path> Made;  // a folder behind those that it is in
};

// Writes a file and removes it again.
void Require_Writable(const std::string& Flag, const fs::path& Folder) {
  const fs::path Probe = Unfinished_File(Folder / "probe");
  const std::string Reason = Try_Write_Whole(Probe, std::string(Probe_Size, ' '));
  std::error_code Ignored;
  fs::remove(Probe, Ignored);
  if (!Reason.empty()) {
    Refuse(Flag, Folder.string(), "a folder in which files can be written (" + Reason + ")");
  }
}

void Require_Space(const std::string& Flag, const fs::path& Folder, std::uintmax_t Needed_Bytes,
                   const std::string& What) {
  std::error_code Error;
  const fs::space_info Space = fs::space(Folder, Error);
  // A file system that doesn't know its space is taken as it is.
  if (Error || Space.available >= Needed_Bytes) return;
  Refuse(Flag, Folder.string(),
         fmt::format("a folder on a disk with {} of space for {} ({} are free)",
                     Bytes_Text(Needed_Bytes), What, Bytes_Text(Space.available)));
}

}  // namespace

fs::path Make_Out_Folder(const std::string& Flag, const std::string& Given,
                         std::uintmax_t Needed_Bytes, const std::string& What) {
  Made_Folders Made;
  const std::error_code Error = Made.Make(Given);
  std::error_code Not_A_Folder;
  if (!fs::is_directory(Given, Not_A_Folder)) {
    Refuse(Flag, Given,
           "a folder, or a path where one can be created" +
               (Error ? " (" + Error.message() + ")" : std::string()));
  }
  const fs::path Out = fs::canonical(Given);
  Require_Space(Flag, Out, Needed_Bytes, What);
  Require_Writable(Flag, Out);
  Made.Keep();
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
