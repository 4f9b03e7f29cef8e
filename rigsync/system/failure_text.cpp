// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/failure_text.h"

#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"

#include <array>
#include <filesystem>
#include <new>
#include <string_view>

namespace rigsync {
namespace {

constexpr const char* Other_Disk = "make room there, or choose another disk";
constexpr const char* Other_Folder = "choose a folder in which you may write";

struct Way_Out {
  std::errc Error;
  const char* Text;
};

constexpr std::array<Way_Out, 11> Ways_Out = {{
    {std::errc::no_space_on_device, Other_Disk},
    {std::errc::read_only_file_system, Other_Folder},
    {std::errc::permission_denied, Other_Folder},
    {std::errc::operation_not_permitted, Other_Folder},
    {std::errc::filename_too_long, "choose a shorter name"},
    {std::errc::file_too_large, "allow larger files (ulimit -f), or choose another disk"},
    {std::errc::io_error, "check the disk, or choose another one"},
    {std::errc::no_such_device, "check the disk, or choose another one"},
    {std::errc::too_many_files_open, "allow more open files (ulimit -n)"},
    {std::errc::too_many_files_open_in_system, "end other programs"},
    {std::errc::resource_unavailable_try_again,
     "the user may have no more threads or programs (ulimit -u, ulimit -v): end others"},
}};

std::string Way_Out_Of(const std::error_code& Error) {
  if (Is_Quota_Used_Up(Error)) return Other_Disk;
  for (const auto& [Known, Text] : Ways_Out) {
    if (Error == Known) return Text;
  }
  return {};
}

bool Has(std::string_view Text, std::string_view Part) {
  return Text.find(Part) != std::string_view::npos;
}

// OpenCV and the libraries below it tell by text alone.
bool Is_Lack_Of_Memory(const std::exception& Thrown) {
  return dynamic_cast<const std::bad_alloc*>(&Thrown) != nullptr ||
         Has(Thrown.what(), "bad_alloc") || Has(Thrown.what(), "Insufficient memory");
}

bool Is_Lack_Of_Threads(const std::exception& Thrown) {
  const auto* const Refused = dynamic_cast<const std::system_error*>(&Thrown);
  return (Refused != nullptr && Refused->code() == std::errc::resource_unavailable_try_again) ||
         Has(Thrown.what(), "pthread_create");
}

bool Is_Without_Folder() {
  std::error_code Error;
  return std::filesystem::current_path(Error).empty() || Error;
}

}  // namespace

std::string Failure_Text(const std::error_code& Error) {
  const std::string Way = Way_Out_Of(Error);
  return Way.empty() ? Error.message() : Error.message() + "; " + Way;
}

std::string Failure_Text(const std::exception& Thrown) {
  if (Is_Lack_Of_Memory(Thrown)) {
    return "there is not enough memory; end other programs, allow more (ulimit -v), or take "
           "smaller or fewer images";
  }
  if (Is_Lack_Of_Threads(Thrown)) {
    return "the system gives no more threads; end other programs, or allow more threads or memory "
           "(ulimit -u, ulimit -v)";
  }
  const auto* const Refused = dynamic_cast<const std::filesystem::filesystem_error*>(&Thrown);
  if (Refused == nullptr) return One_Line(Thrown.what());
  if (Is_Without_Folder()) {
    return "the working directory doesn't exist any more; change to another folder";
  }
  const std::string File = One_Line(Refused->path1().string());
  return (File.empty() ? "" : File + ": ") + Failure_Text(Refused->code());
}

}  // namespace rigsync
