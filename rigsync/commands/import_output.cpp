// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/import_output.h"

#include "rigsync/formats/import_file.h"
#include "rigsync/import/rows.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Option = "--output";

[[noreturn]] void Refuse_Output(const fs::path& File, const std::string& Why) {
  throw Usage_Error(Option, fmt::format("{}: {} {}", Option, File.string(), Why));
}

fs::path Folder_Of(const fs::path& Csv) {
  return fs::absolute(Csv).lexically_normal().parent_path();
}

// Below the folder, whatever links lead there; otherwise as it is.
fs::path Seen_From(const fs::path& Folder, const fs::path& Picture) {
  std::error_code Error;
  const fs::path Whole = fs::weakly_canonical(fs::absolute(Picture), Error);
  const fs::path Base = fs::weakly_canonical(Folder, Error);
  const fs::path Relative = Whole.lexically_relative(Base);
  const bool Is_Below = !Relative.empty() && Relative.begin()->string() != "..";
  return Is_Below ? Relative : fs::absolute(Picture).lexically_normal();
}

void Write_Import_File(const fs::path& File, const std::string& Text) {
  try {
    Write_Whole(File, Text);
  } catch (const std::runtime_error& Error) {
    throw Usage_Error(Option, fmt::format("{}: {}", Option, Error.what()));
  }
}

}  // namespace

void Make_Image_Folder(const fs::path& Folder) {
  std::error_code Error;
  fs::create_directories(Folder, Error);
  if (!fs::is_directory(Folder)) {
    Refuse_Output(Folder, fmt::format("can't be made a folder ({}). Name another one.",
                                      Error ? Error.message() : "something else has its name"));
  }
}

void Refuse_Other_Capture(const fs::path& Csv) {
  std::error_code Error;
  if (!Csv.has_filename() || fs::is_directory(Csv, Error)) {
    Refuse_Output(Csv, "is a folder; name a file in it, such as capture.csv.");
  }
  const fs::path Table = Folder_Of(Csv) / Import_File_Name;
  const bool Has_Csv = fs::exists(Csv, Error), Has_Table = fs::exists(Table, Error);
  if (Has_Table) {
    const Import_File Earlier = [&] {
      try {
        return Read_Import(Table);
      } catch (const Usage_Error& Reason) {
        throw Usage_Error(Option, fmt::format("{}: {} isn't that of an import and is left as it "
                                              "is. Name a file in another folder. ({})",
                                              Option, Table.string(), Reason.what()));
      }
    }();
    if (Earlier.Csv != Csv.filename().string()) {
      Refuse_Output(Table, fmt::format("belongs to {}, an earlier import, and is left as it is. "
                                       "Name a file in another folder.",
                                       Earlier.Csv));
    }
    if (!Has_Csv || File_Sha256(Csv) == Earlier.Csv_Sha256) return;
    Refuse_Output(Csv,
                  "was changed since it was imported, and is left as it is. Name another "
                  "folder, or move the file away.");
  }
  if (Has_Csv) {
    Refuse_Output(Csv,
                  "exists and isn't that of an import; it is left as it is. Name another "
                  "file.");
  }
}

void Write_Capture(const fs::path& Csv, Import_Record& Record) {
  Refuse_Other_Capture(Csv);
  const fs::path Folder = Folder_Of(Csv);
  Make_Image_Folder(Folder);
  for (Imported_Row& Row : Record.Rows) {
    if (Row.Refusal.empty()) Row.Picture = Seen_From(Folder, Row.Picture);
  }
  const std::string Text = Capture_Csv(Record.Rows, Record.Clock.Offset_Seconds);
  Write_Import_File(Csv, Text);
  Write_Import_File(Folder / Import_File_Name,
                    Import_Json({Record, Csv.filename().string(), File_Sha256(Csv)}));
}

}  // namespace rigsync
