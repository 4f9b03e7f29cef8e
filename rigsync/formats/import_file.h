// SPDX-License-Identifier: Apache-2.0
//
// import.json: what a capture file was made of, beside it. docs/import.md describes its keys,
// docs/import.schema.json is its schema.
#ifndef RIGSYNC_FORMATS_IMPORT_FILE_H
#define RIGSYNC_FORMATS_IMPORT_FILE_H

#include "rigsync/capture/body_labels.h"
#include "rigsync/import/import_record.h"

#include <filesystem>
#include <string>

namespace rigsync {

// Its name in the folder of the CSV.
constexpr const char* Import_File_Name = "import.json";

struct Import_File {
  Import_Record Record;
  std::string Csv;         // the name of the file with the rows, in the same folder
  std::string Csv_Sha256;  // of that file as it was written
};

std::string Import_Json(const Import_File& Written);

// Throws Usage_Error, which begins with the file, for one that can't be opened or that 'rigsync
// import' didn't write; it names the key that is wrong, as "rows[3].camera.velocity_m_s".
Import_File Read_Import(const std::filesystem::path& File);

// The labels of the camera's tracker by the import.json beside a capture. Unknown, and no
// exception, without one, for one that can't be read, and for one of another file: its name and
// SHA-256 have to be those of Csv.
Body_Labels Labels_Of_Capture(const std::filesystem::path& Csv);

// The words of the file.
const char* Clock_Method_Name(Clock_Method Method);
const char* Pose_Choice_Name(Pose_Choice Choice);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_IMPORT_FILE_H
