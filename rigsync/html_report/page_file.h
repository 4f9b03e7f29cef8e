// SPDX-License-Identifier: Apache-2.0
//
// Where a page is written: never in the place of a file that is something else, such as the capture
// or the result that it is about.
#ifndef RIGSYNC_HTML_REPORT_PAGE_FILE_H
#define RIGSYNC_HTML_REPORT_PAGE_FILE_H

#include <filesystem>
#include <string>
#include <string_view>

namespace rigsync {

// Throws a Usage_Error of this option that names File, unless File doesn't exist or begins like a
// page of Page_Source.
void Refuse_Other_File(const std::string& Option, const std::filesystem::path& File);

// Writes Page completely or not at all. Throws the same Usage_Error before anything is written, and
// one with the reason where File can't be written.
void Write_Page(const std::string& Option, const std::filesystem::path& File,
                std::string_view Page);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_PAGE_FILE_H
