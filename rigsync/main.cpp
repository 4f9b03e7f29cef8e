// SPDX-License-Identifier: Apache-2.0
//
// The program's entry: reads the command line, runs the chosen command, and turns whatever goes
// wrong into a sentence and an exit status.
#include "rigsync/command_line/exit_status.h"
#include "rigsync/program.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

// The command that was asked for, for pointing at its help.
std::string Asked_For(const CLI::App& Program) {
  const auto Commands = Program.get_subcommands();
  return Commands.empty() ? "rigsync" : "rigsync " + Commands.front()->get_name();
}

int Say_Usage(const CLI::App& Program, const std::string& Text) {
  rigsync::Complain(rigsync::One_Line(Text));
  fmt::print(stderr, "  '{} --help' tells more.\n", Asked_For(Program));
  return rigsync::Exit_Usage;
}

// -20 or 50mm: a part of a value, as --board-euler 12 -20 8 leaves it over.
bool Begins_Like_A_Number(const std::string& Word) {
  const std::size_t First = Word.find_first_not_of("+-.");
  return First != std::string::npos && Word[First] >= '0' && Word[First] <= '9';
}

// The word that no flag or argument took. The parser's own text has all such words, the last first.
std::string Extra_Text(const CLI::App& Program) {
  const std::vector<std::string> Words = Program.remaining(/*recurse=*/true);
  const std::string First = Words.empty() ? "" : Words.front();
  if (Begins_Like_A_Number(First)) {
    return "'" + First + "' is one word too many: numbers of one value have commas and no blanks " +
           "between them, as 12,-20,8 has";
  }
  for (const std::string& Word : Words) {
    if (Word.size() > 1 && Word[0] == '-') {
      return "'" + Word + "' is unknown; expected a flag of '" + Asked_For(Program) + "'";
    }
  }
  return "'" + First + "' is one word too many: a value with blanks needs quotes";
}

// The parser's sentence about a flag that came too often, or without its value, in plain words.
std::string Mismatch_Text(const std::string& Parsers) {
  const std::string Flag = Parsers.substr(0, Parsers.find(':'));
  if (Parsers.find("At Most") != std::string::npos) return Flag + " is given twice; expected once";
  if (Parsers.find(" missing") != std::string::npos) return Flag + ": expected a value behind it";
  return Parsers;
}

std::string Exclusion_Text(const std::string& Parsers) {
  const std::string Verb = " excludes ";
  const std::size_t At = Parsers.find(Verb);
  if (At == std::string::npos) return Parsers;
  return Parsers.substr(0, At) + " and " + Parsers.substr(At + Verb.size()) +
         " are both given; expected one of them";
}

// A first word that is neither command nor flag would otherwise be taken for a missing one.
void Require_Command(const CLI::App& Program, const std::vector<std::string>& Words) {
  std::string Expected;
  for (const CLI::App* Command : Program.get_subcommands([](const CLI::App*) { return true; })) {
    if (!Words.empty() && Command->get_name() == Words.front()) return;
    Expected += (Expected.empty() ? "" : ", ") + Command->get_name();
  }
  if (Words.empty())
    throw rigsync::Usage_Error("a command is missing; expected one of " + Expected);
  if (Program.get_option_no_throw(Words.front()) == nullptr)
    rigsync::Refuse("command", Words.front(), "one of " + Expected);
}

// The words behind the program's name. "help" and "help COMMAND" are the flag --help of either.
std::vector<std::string> Words_Of(int Argument_Count, char** Arguments) {
  std::vector<std::string> Words(Arguments + std::min(Argument_Count, 1),
                                 Arguments + Argument_Count);
  if (!Words.empty() && Words.front() == "help") {
    Words.erase(Words.begin());
    Words.emplace_back("--help");
  }
  return Words;
}

int Run(std::vector<std::string> Words) {
  rigsync::Chosen_Command Chosen;
  const std::unique_ptr<CLI::App> Made = rigsync::Make_Program(Chosen);
  CLI::App& Program = *Made;
  try {
    Require_Command(Program, Words);
    std::reverse(Words.begin(), Words.end());  // the parser takes them from the end
    Program.parse(std::move(Words));
    return Chosen();
  } catch (const CLI::ExtrasError&) {
    return Say_Usage(Program, Extra_Text(Program));
  } catch (const CLI::RequiredError& Error) {
    // What is missing may be there under a wrong name.
    const bool Has_Extra = !Program.remaining(/*recurse=*/true).empty();
    return Say_Usage(Program, Has_Extra ? Extra_Text(Program) : Error.what());
  } catch (const CLI::ArgumentMismatch& Error) {
    return Say_Usage(Program, Mismatch_Text(Error.what()));
  } catch (const CLI::ExcludesError& Error) {
    return Say_Usage(Program, Exclusion_Text(Error.what()));
  } catch (const CLI::ParseError& Error) {
    // Help and version come as exceptions too, with status 0.
    if (Error.get_exit_code() == 0) return Program.exit(Error);
    return Say_Usage(Program, Error.what());
  } catch (const rigsync::Usage_Error& Error) {
    return Say_Usage(Program, Error.what());
  }
}

// The status to end with, once all that was printed has reached where it leads: a file on a full
// disk isn't whole, and a script that reads it has to know.
int Finish_Output(int Status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return Status;
  if (rigsync::Reader_Is_Gone()) return Status;
  rigsync::Complain("what was printed can't be written to where standard output leads");
  return Status == rigsync::Exit_Success ? rigsync::Exit_Exception : Status;
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  const rigsync::Prepared_Process Prepared;
  try {
    return Finish_Output(Run(Words_Of(Argument_Count, Arguments)));
  } catch (const std::exception& Error) {
    rigsync::Complain(rigsync::One_Line(Error.what()));
  } catch (...) {
    rigsync::Complain("ended by an exception of an unknown kind");
  }
  return rigsync::Exit_Exception;
}
