// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_folder.h"

#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

}  // namespace

fs::path Make_Run_Folder(const fs::path& Out) {
  const std::string Name =
      fmt::format("run_{:%Y-%m-%d-%H.%M.%S}", fmt::localtime(std::time(nullptr)));
  constexpr int Most_Runs_In_A_Second = 1000;
  for (int Number = 1; Number <= Most_Runs_In_A_Second; ++Number) {
    const fs::path Folder = Out / (Number == 1 ? Name : fmt::format("{}_{}", Name, Number));
    // Returns false when the folder exists, so that of two runs only one gets it.
    if (fs::create_directory(Folder)) return Folder;
  }
  throw std::runtime_error(
      fmt::format("{} already has too many folders named {}", Out.string(), Name));
}

}  // namespace rigsync
