// SPDX-License-Identifier: Apache-2.0
//
// report.html of a finished run. It is always made from result.json, so that 'rigsync report' makes
// the same page again.
#ifndef RIGSYNC_COMMANDS_REPORT_FILE_H
#define RIGSYNC_COMMANDS_REPORT_FILE_H

#include <filesystem>
#include <string>

namespace rigsync {

// The page of a result.json, which stands where it was written or was moved with its capture.
// Throws Usage_Error, which names the file, for any other file.
std::string Report_Of_File(const std::filesystem::path& Result_File);

// The page of Run_Folder's result. Where there is none, it warns and returns an empty text.
std::string Page_Of_Run(const std::filesystem::path& Run_Folder);

// Writes a page into Run_Folder and, as the newest one, into Out. Returns the path of the latter.
// Where that fails, it warns and returns an empty path, and Out has no page of an earlier run that
// would belong to another result; the same for an empty page.
std::filesystem::path Write_Reports(const std::filesystem::path& Out,
                                    const std::filesystem::path& Run_Folder,
                                    const std::string& Page);

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_REPORT_FILE_H
