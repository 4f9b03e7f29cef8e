// SPDX-License-Identifier: Apache-2.0
#include "rigsync/program.h"

#include "rigsync/command_line/help_form.h"

namespace rigsync {

std::unique_ptr<CLI::App> Make_Program(Chosen_Command& Chosen) {
  auto Program =
      std::make_unique<CLI::App>("rigsync measures where a tracker sits on a film camera.");
  Program->name("rigsync");
  Program->formatter(std::make_shared<Help_Form>());
  Program->set_help_flag("-h,--help", "print this help");
  Program->set_version_flag("--version", "rigsync " RIGSYNC_VERSION, "print the version");
  Program->require_subcommand(1);
  Program->footer(
      "'rigsync COMMAND --help' tells more, with an example for each.\n\n"
      "Try it without a stage:\n"
      "  rigsync simulate capture\n"
      "  rigsync inspect capture/capture.csv --config capture/stage.json\n"
      "  rigsync calibrate capture/capture.csv --config capture/stage.json \\\n"
      "    --out result\n"
      "  rigsync compare result/result.json capture/truth.json\n"
      "  rigsync export result/result.json --to ue5");
  Add_Simulate_Command(*Program, Chosen);
  Add_Inspect_Command(*Program, Chosen);
  Add_Calibrate_Command(*Program, Chosen);
  Add_Compare_Command(*Program, Chosen);
  Add_Export_Command(*Program, Chosen);
  Add_Codes_Command(*Program, Chosen);
  Add_Board_Command(*Program, Chosen);
  return Program;
}

}  // namespace rigsync
