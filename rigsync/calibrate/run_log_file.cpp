// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_log_file.h"

#include <string_view>
#include <system_error>

namespace rigsync {
namespace {

// log_2022-11-17-09.05.33txt; there is no dot before "txt".
bool Is_Run_Log_Name(const std::string& Name) {
  constexpr std::string_view Head = "log_", Tail = "txt";
  return Name.size() > Head.size() + Tail.size() && Name.compare(0, Head.size(), Head) == 0 &&
         Name.compare(Name.size() - Tail.size(), Tail.size(), Tail) == 0;
}

}  // namespace

Run_Logs List_Run_Logs(const std::filesystem::path& Folder) {
  Run_Logs Logs;
  std::error_code Error;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder, Error)) {
    const std::string Name = Entry.path().filename().string();
    if (!Is_Run_Log_Name(Name)) continue;
    const std::uintmax_t Size = Entry.file_size(Error);
    if (!Error) Logs[Name] = Size;
  }
  return Logs;
}

std::filesystem::path Run_Log_Since(const Run_Logs& Earlier_Logs,
                                    const std::filesystem::path& Folder) {
  std::filesystem::path Latest;
  for (const auto& [Name, Size] : List_Run_Logs(Folder)) {
    const auto Known = Earlier_Logs.find(Name);
    if (Known == Earlier_Logs.end() || Known->second != Size) Latest = Folder / Name;
  }
  return Latest;
}

bool May_Be_Run_Log(const std::filesystem::path& File) {
  constexpr std::uintmax_t Largest_Log = 1'000'000'000;
  std::error_code Error;
  if (!std::filesystem::is_regular_file(File, Error)) return false;
  const std::uintmax_t Size = std::filesystem::file_size(File, Error);
  return !Error && Size <= Largest_Log;
}

}  // namespace rigsync
