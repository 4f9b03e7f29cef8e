// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync report': makes the page of a finished run anew from its result.json.
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/report_file.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/html_report/page_file.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Report_Footer =
    R"('rigsync calibrate' writes the page itself; this makes it anew, for an older run
or after an update. Open it in any browser: it is one file and needs no network.
Run log, CSV and images are found where they were, or, after they were moved
together with the result, where they are now; what is gone is left out. FILE may
be an older page; any other file that exists is refused and left as it is.

Exit status: 0, 2 for wrong usage or a file that can't be read or written.

Example:
  rigsync report result/result.json
  rigsync report result/run_2022-11-17-09.05.33 -o monday.html)";

// The command line as typed.
struct Report_Arguments {
  std::string Result, Output;
};

int Report(const Report_Arguments& Arguments) {
  const fs::path File = Result_File(Arguments.Result);
  const fs::path Output = Arguments.Output.empty()
                              ? fs::absolute(File).parent_path() / "report.html"
                              : fs::path(Arguments.Output);
  Write_Page("--output", Output, Report_Of_File(File));
  Print(fmt::format("report: {}\n", Output.string()));
  return Exit_Success;
}

}  // namespace

void Add_Report_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "report", "Make the page of a finished run anew: verdict, mount and figures.");
  const auto Arguments = std::make_shared<Report_Arguments>();
  Command
      ->add_option("RESULT", Arguments->Result,
                   "result.json of 'rigsync calibrate', or the folder that has it")
      ->required();
  Command
      ->add_option("-o,--output", Arguments->Output,
                   "file to write (default: report.html in RESULT's folder)")
      ->type_name("FILE");
  Command->group("Commands");
  Command->footer(Report_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Report(*Arguments); }; });
}

}  // namespace rigsync
