// SPDX-License-Identifier: Apache-2.0
//
// What the commands share with the program's entry: each adds itself to the command line and, when
// it is the one that was chosen, leaves the action to run.
#ifndef RIGSYNC_COMMAND_LINE_COMMAND_H
#define RIGSYNC_COMMAND_LINE_COMMAND_H

#include <CLI/CLI.hpp>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace rigsync {

// The command line as CLI11 parses it, and what CLI11 cannot store. Options and actions refer to
// this object, so it cannot be copied or moved.
struct Command_Line {
  Command_Line() = default;
  Command_Line(const Command_Line&) = delete;
  Command_Line& operator=(const Command_Line&) = delete;

  CLI::App Program;

  // What the chosen command does: set while the command line is parsed, called afterwards. Returns
  // the exit status. Throws Usage_Error for mistakes that parsing cannot find; other exceptions end
  // in status 70.
  std::function<int()> Action;

  // Words that the value of an option can be, in the order in which a shell's completion offers
  // them. Require_Choice adds those that it checks.
  std::map<const CLI::Option*, std::vector<std::string>> Choices;
};

void Add_Simulate_Command(Command_Line& Line);
void Add_Record_Command(Command_Line& Line);
void Add_Import_Command(Command_Line& Line);
void Add_Inspect_Command(Command_Line& Line);
void Add_Calibrate_Command(Command_Line& Line);
void Add_Compare_Command(Command_Line& Line);
void Add_Export_Command(Command_Line& Line);
void Add_Verify_Command(Command_Line& Line);
void Add_Lens_Table_Command(Command_Line& Line);
void Add_Report_Command(Command_Line& Line);
void Add_Codes_Command(Command_Line& Line);
void Add_Board_Command(Command_Line& Line);

// Restricts the value of Option to Words. While the command line is parsed, another value throws a
// Usage_Error that names option, value and words.
CLI::Option* Require_Choice(Command_Line& Line, CLI::Option* Option,
                            const std::vector<std::string>& Words);

// Refuses an empty value of Option, as of a variable that a script has not set. While the command
// line is parsed, it throws a Usage_Error that names the option.
CLI::Option* Require_Value(CLI::Option* Option);

// Writes Text to standard output at once: on a terminal as Terminal_Text has it, elsewhere to the
// byte. A closed pipe, as of head after enough lines, is no error; any other error is reported at
// the end of the program.
void Print(const std::string& Text);

// The same with sequences that steer a terminal.
void Print_Screen(const std::string& Text);

// Text on standard error, as Terminal_Text has it. Where that can't be written, the text is lost
// and the command goes on: its exit status still says how it ended.
void Print_Error(const std::string& Text);

// A warning on standard error, folded.
void Warn(const std::string& Text);

// An error on standard error, folded: what stopped the command.
void Complain(const std::string& Text);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_COMMAND_H
