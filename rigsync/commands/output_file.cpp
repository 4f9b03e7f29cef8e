// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/output_file.h"

#include "rigsync/formats/import_file.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <system_error>

namespace rigsync {

void Refuse_As_Output(const std::string& Output, const std::filesystem::path& Input) {
  std::error_code Is_Missing;
  if (!std::filesystem::equivalent(Output, Input, Is_Missing) || Is_Missing) return;
  throw Usage_Error("--output",
                    fmt::format("--output {}: that is {}, which this is made from; name another "
                                "file",
                                Output, Input.string()));
}

void Refuse_Result_As_Output(const std::string& Output, const std::filesystem::path& Result_File,
                             const Calibration_Result& Result) {
  const std::filesystem::path& Csv = Result.Inputs.Csv;
  Refuse_As_Output(Output, Result_File);
  if (Csv.empty()) return;
  Refuse_As_Output(Output, Csv);
  Refuse_As_Output(Output, Csv.parent_path() / Import_File_Name);
}

void Write_Output(const std::string& Output, const std::string& Text) {
  namespace fs = std::filesystem;
  std::error_code Ignored;
  if (fs::exists(Output, Ignored) && !fs::is_regular_file(Output, Ignored)) {
    throw Usage_Error("--output", fmt::format("--output {}: is no regular file; name a file, or "
                                              "leave the flag out and redirect standard output",
                                              Output));
  }
  const fs::path Folder = fs::path(Output).parent_path();
  if (!Folder.empty() && !fs::exists(Folder, Ignored)) {
    throw Usage_Error("--output", fmt::format("--output {}: there is no folder {}; make it first",
                                              Output, Folder.string()));
  }
  // The file that a link leads to is written, and the link stays.
  const fs::path Whole = fs::weakly_canonical(Output, Ignored);
  const std::string Problem = Try_Write_Whole(Whole.empty() ? fs::path(Output) : Whole, Text);
  if (Problem.empty()) return;
  throw Usage_Error("--output", fmt::format("--output {}: {}", Output, Problem));
}

}  // namespace rigsync
