// SPDX-License-Identifier: Apache-2.0
//
// The program's entry: parses the command line, runs the chosen command, and turns every error into
// a message and an exit status.
#include "rigsync/capture/opencv_threads.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/program.h"
#include "rigsync/system/failure_text.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using rigsync::Usage_Error;

// The command that was chosen, or the program itself before one was.
const CLI::App& Chosen_Command(const CLI::App& Program) {
  const auto Commands = Program.get_subcommands();
  return Commands.empty() ? Program : *Commands.front();
}

// "rigsync calibrate", or "rigsync" before a command was chosen.
std::string Chosen_Name(const CLI::App& Program) {
  const CLI::App& Command = Chosen_Command(Program);
  return &Command == &Program ? Program.get_name() : Program.get_name() + " " + Command.get_name();
}

// Prints the error and how to get help, or the help itself if the user asked for it.
int Report(const CLI::App& Program, const Usage_Error& Error) {
  if (Chosen_Command(Program).get_help_ptr()->count() > 0) return Program.exit(CLI::CallForHelp());
  rigsync::Complain(rigsync::One_Line(Error.what()));
  rigsync::Print_Error(fmt::format("  See '{} --help'.\n", Chosen_Name(Program)));
  return rigsync::Exit_Usage;
}

// Whether a word is probably part of a list, such as -20 and 8 in --board-euler 12 -20 8.
bool Begins_Like_A_Number(const std::string& Word) {
  const std::size_t First = Word.find_first_not_of("+-.");
  return First != std::string::npos && Word[First] >= '0' && Word[First] <= '9';
}

// A word that no option or argument took.
Usage_Error Unexpected_Argument(const CLI::App& Program) {
  const std::vector<std::string> Words = Program.remaining(/*recurse=*/true);
  const std::string First = Words.empty() ? "" : Words.front();
  if (Begins_Like_A_Number(First)) {
    return Usage_Error("unexpected argument '" + First +
                       "'; write lists without spaces, such as 12,-20,8");
  }
  for (const std::string& Word : Words) {
    if (Word.size() > 1 && Word[0] == '-') {
      return Usage_Error("'" + Word + "' is not a flag of '" + Chosen_Name(Program) + "'");
    }
  }
  return Usage_Error("unexpected argument '" + First + "'; a value with spaces needs quotes");
}

// The parser's errors name their option only in an English sentence. The functions below find the
// option from what the parser has read so far.

Usage_Error Missing_Option(const CLI::App& Program, const CLI::RequiredError& Error) {
  for (const CLI::Option* Option : Chosen_Command(Program).get_options()) {
    if (!Option->get_required() || Option->count() > 0) continue;
    const std::string Name = Option->get_name();
    return Usage_Error(Name, Name + " is missing: " + Option->get_description());
  }
  return Usage_Error(Error.what());
}

// An option was given more often than once, or its value is missing. The parser takes any word for
// a value, so only the last word can be an option without one.
Usage_Error Wrong_Value_Count(const CLI::App& Program, const std::string& Last_Word) {
  const CLI::App& Command = Chosen_Command(Program);
  for (const CLI::Option* Option : Command.get_options()) {
    const int Most = Option->get_items_expected_max();
    if (Most == 0 || Option->count() <= static_cast<std::size_t>(Most)) continue;
    const std::string Name = Option->get_name();
    return Usage_Error(Name, Name + " is given more than once; expected once");
  }
  const std::string Typed_Name = Last_Word.substr(0, Last_Word.find('='));
  const CLI::Option* const Option = Command.get_option_no_throw(Typed_Name);
  const std::string Name = Option != nullptr ? Option->get_name() : Typed_Name;
  return Usage_Error(Name, Name + ": the value is missing");
}

Usage_Error Conflicting_Options(const CLI::App& Program, const CLI::ExcludesError& Error) {
  for (const CLI::Option* Option : Chosen_Command(Program).get_options()) {
    if (Option->count() == 0) continue;
    for (const CLI::Option* Excluded : Option->get_excludes()) {
      if (Excluded->count() == 0) continue;
      const std::string Name = Option->get_name();
      return Usage_Error(Name, Name + " and " + Excluded->get_name() + " can't be combined");
    }
  }
  return Usage_Error(Error.what());
}

// The parser would report a first word that is neither command nor flag as a missing command.
void Require_Command(const CLI::App& Program, const std::vector<std::string>& Words) {
  std::string Expected;
  for (const CLI::App* Command : Program.get_subcommands([](const CLI::App*) { return true; })) {
    if (!Words.empty() && Command->get_name() == Words.front()) return;
    Expected += (Expected.empty() ? "" : ", ") + Command->get_name();
  }
  if (Words.empty()) throw Usage_Error("a command is missing; expected one of " + Expected);
  if (Program.get_option_no_throw(Words.front()) == nullptr)
    rigsync::Refuse("command", Words.front(), "one of " + Expected);
}

// The words after the program's name. "help" and "help COMMAND" are the flag --help of either.
std::vector<std::string> Command_Words(int Argument_Count, char** Arguments) {
  std::vector<std::string> Words(Arguments + std::min(Argument_Count, 1),
                                 Arguments + Argument_Count);
  if (!Words.empty() && Words.front() == "help") {
    Words.erase(Words.begin());
    Words.emplace_back("--help");
  }
  return Words;
}

// A switch with a value, as --quiet=no, which the parser takes for a number of times.
Usage_Error Value_Of_Switch(const CLI::App& Program, const std::vector<std::string>& Words) {
  for (const std::string& Word : Words) {
    const std::string Name = Word.substr(0, Word.find('='));
    const CLI::Option* const Option = Chosen_Command(Program).get_option_no_throw(Name);
    if (Name == Word || Option == nullptr || Option->get_items_expected_max() > 0) continue;
    return Usage_Error(Name, Name + " takes no value; write it alone, or leave it out");
  }
  return Usage_Error("a flag that takes no value was given one");
}

int Run(const std::vector<std::string>& Words) {
  const std::unique_ptr<rigsync::Command_Line> Line = rigsync::Make_Command_Line();
  CLI::App& Program = Line->Program;
  try {
    Require_Command(Program, Words);
    // The parser takes the words from the end.
    try {
      Program.parse(std::vector<std::string>(Words.rbegin(), Words.rend()));
    } catch (const std::logic_error&) {  // from the conversion to a number
      return Report(Program, Value_Of_Switch(Program, Words));
    }
    rigsync::Start_Opencv_Threads();
    return Line->Action();
  } catch (const CLI::ExtrasError&) {
    return Report(Program, Unexpected_Argument(Program));
  } catch (const CLI::RequiredError& Error) {
    // The missing option may have been misspelt.
    const bool Has_Extra = !Program.remaining(/*recurse=*/true).empty();
    return Report(Program,
                  Has_Extra ? Unexpected_Argument(Program) : Missing_Option(Program, Error));
  } catch (const CLI::ArgumentMismatch&) {
    return Report(Program, Wrong_Value_Count(Program, Words.back()));
  } catch (const CLI::ExcludesError& Error) {
    return Report(Program, Conflicting_Options(Program, Error));
  } catch (const CLI::ParseError& Error) {
    // Help and version come as exceptions too, with status 0.
    if (Error.get_exit_code() == 0) return Program.exit(Error);
    return Report(Program, Usage_Error(Error.what()));
  } catch (const Usage_Error& Error) {
    return Report(Program, Error);
  }
}

// The exit status once standard output is flushed. Output that is lost, on a full disk for example,
// is a failure, so that a script doesn't use a file that is cut short.
int Finish_Output(int Status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return Status;
  if (rigsync::Reader_Is_Gone()) return Status;
  const std::error_code Reason(errno != 0 ? errno : EIO, std::generic_category());
  rigsync::Complain("standard output can't be written: " + rigsync::Failure_Text(Reason));
  return Status == rigsync::Exit_Success ? rigsync::Exit_Exception : Status;
}

// The exit status; what ends the run is told.
int Run_Reporting(int Argument_Count, char** Arguments) {
  try {
    return Finish_Output(Run(Command_Words(Argument_Count, Arguments)));
  } catch (const std::exception& Error) {
    rigsync::Complain(rigsync::Failure_Text(Error));
  } catch (...) {
    rigsync::Complain("ended by an unknown exception");
  }
  return rigsync::Exit_Exception;
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  const rigsync::Prepared_Process Process;
  try {
    return Run_Reporting(Argument_Count, Arguments);
  } catch (...) {
    // The message itself found no memory, so this one needs none.
    std::fputs("rigsync: there is not enough memory; end other programs, or take fewer images\n",
               stderr);
    return rigsync::Exit_Exception;
  }
}
