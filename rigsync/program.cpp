// SPDX-License-Identifier: Apache-2.0
#include "rigsync/program.h"

#include "rigsync/command_line/help_form.h"
#include "rigsync/system/version.h"

namespace rigsync {

std::unique_ptr<Command_Line> Make_Command_Line() {
  auto Line = std::make_unique<Command_Line>();
  CLI::App& Program = Line->Program;
  Program.name("rigsync");
  Program.description("rigsync measures where a tracker is mounted on a film camera.");
  Program.formatter(std::make_shared<Help_Form>());
  Program.set_help_flag("-h,--help", "print this help");
  Program.set_version_flag("--version", std::string("rigsync ") + Command_Version,
                           "print the version");
  Program.footer(
      "'rigsync COMMAND --help' describes a command and gives an example.\n\n"
      "To try it without a stage:\n"
      "  rigsync simulate capture\n"
      "  rigsync inspect capture/capture.csv --config capture/stage.json\n"
      "  rigsync calibrate capture/capture.csv --config capture/stage.json \\\n"
      "    --out result\n"
      "  rigsync compare result/result.json capture/truth.json\n"
      "  rigsync export result/result.json --to ue5");
  Add_Simulate_Command(*Line);
  Add_Record_Command(*Line);
  Add_Import_Command(*Line);
  Add_Inspect_Command(*Line);
  Add_Calibrate_Command(*Line);
  Add_Report_Command(*Line);
  Add_Compare_Command(*Line);
  Add_Export_Command(*Line);
  Add_Verify_Command(*Line);
  Add_Lens_Table_Command(*Line);
  Add_Codes_Command(*Line);
  Add_Board_Command(*Line);
  return Line;
}

}  // namespace rigsync
