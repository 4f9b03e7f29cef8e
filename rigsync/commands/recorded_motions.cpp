// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/recorded_motions.h"

#include "rigsync/formats/import_file.h"
#include "rigsync/import/row_motions.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <system_error>

namespace rigsync {

namespace fs = std::filesystem;

Row_Motions Read_Recorded_Motions(const Calibration_Inputs& Inputs) {
  std::error_code Ignored;
  const bool Is_Asked = Inputs.Lag.Is_Solved || Inputs.Lag.Seconds != 0.0;
  if (!Is_Asked || !fs::exists(Inputs.Csv, Ignored)) return {};
  const fs::path File = Inputs.Csv.parent_path() / Import_File_Name;
  if (!fs::exists(File, Ignored)) {
    throw Usage_Error("--lag", fmt::format("--lag: there is no {}, so the speeds of the trackers "
                                           "are not known, and without them no "
                                           "lag can be told. Make the capture with 'rigsync "
                                           "import', which writes this file, or leave "
                                           "out --lag",
                                           File.string()));
  }
  return Motions_Of_Rows(Read_Import(File).Record, Read_Capture_File(Inputs.Csv).Rows, Inputs.Csv);
}

}  // namespace rigsync
