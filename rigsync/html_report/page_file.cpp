// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/page_file.h"

#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <fstream>
#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

constexpr std::string_view Begin_Of_Page = "<!DOCTYPE html>";

bool Is_Page(const std::filesystem::path& File) {
  std::error_code Error;
  if (!std::filesystem::is_regular_file(File, Error)) return false;
  std::ifstream Stream(File, std::ios::binary);
  std::string Begin(Begin_Of_Page.size(), '\0');
  return Stream.read(Begin.data(), static_cast<std::streamsize>(Begin.size())) &&
         Begin == Begin_Of_Page;
}

}  // namespace

void Refuse_Other_File(const std::string& Option, const std::filesystem::path& File) {
  std::error_code Error;
  if (!std::filesystem::exists(File, Error) || Is_Page(File)) return;
  throw Usage_Error(Option,
                    fmt::format("{}: {} exists and is not a page of rigsync; it is left as it is. "
                                "Name another file.",
                                Option, File.string()));
}

void Write_Page(const std::string& Option, const std::filesystem::path& File,
                std::string_view Page) {
  Refuse_Other_File(Option, File);
  try {
    Write_Whole(File, Page);
  } catch (const std::runtime_error& Error) {
    throw Usage_Error(Option, fmt::format("{}: {}", Option, Error.what()));
  }
}

}  // namespace rigsync
