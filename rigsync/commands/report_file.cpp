// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/report_file.h"

#include "rigsync/command_line/command.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/html_report/report_page.h"
#include "rigsync/review/missing_files.h"
#include "rigsync/system/text.h"
#include "rigsync/system/whole_file.h"

#include <exception>
#include <system_error>

namespace rigsync {

namespace fs = std::filesystem;

std::string Report_Of_File(const fs::path& Result_File) {
  return Report_Page(Make_View_Of_File(Result_File, Read_Result(Result_File)));
}

fs::path Write_Reports(const fs::path& Out, const fs::path& Run_Folder) {
  const fs::path Newest = Out / "report.html";
  try {
    const std::string Page = Report_Of_File(Run_Folder / "result.json");
    Write_Whole(Run_Folder / "report.html", Page);
    Write_Whole(Newest, Page);
    return Newest;
  } catch (const std::exception& Error) {
    Warn("the page of the result can't be written: " + One_Line(Error.what()));
  }
  std::error_code Ignored;
  fs::remove(Newest, Ignored);
  return {};
}

}  // namespace rigsync
