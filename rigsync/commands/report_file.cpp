// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/report_file.h"

#include "rigsync/command_line/command.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/html_report/report_page.h"
#include "rigsync/review/missing_files.h"
#include "rigsync/system/failure_text.h"
#include "rigsync/system/whole_file.h"

#include <exception>
#include <system_error>

namespace rigsync {

namespace fs = std::filesystem;

namespace {

void Warn_Of_Page(const std::string& Why) {
  Warn("the page of the result can't be written: " + Why +
       ". 'rigsync report' makes it from result.json at any time.");
}

}  // namespace

std::string Report_Of_File(const fs::path& Result_File) {
  return Report_Page(Make_View_Of_File(Result_File, Read_Result(Result_File)));
}

std::string Page_Of_Run(const fs::path& Run_Folder) {
  try {
    return Report_Of_File(Run_Folder / "result.json");
  } catch (const std::exception& Error) {
    Warn_Of_Page(Failure_Text(Error));
  }
  return {};
}

fs::path Write_Reports(const fs::path& Out, const fs::path& Run_Folder, const std::string& Page) {
  const fs::path Newest = Out / "report.html";
  for (const fs::path& File : {Run_Folder / "report.html", Newest}) {
    const std::string Reason = Page.empty() ? "" : Try_Write_Whole(File, Page);
    if (!Page.empty() && Reason.empty()) continue;
    if (!Reason.empty()) Warn_Of_Page(File.string() + " can't be written: " + Reason);
    std::error_code Ignored;
    fs::remove(Newest, Ignored);
    return {};
  }
  return Newest;
}

}  // namespace rigsync
