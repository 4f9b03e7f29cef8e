// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/documents.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace rigsync {
namespace {

std::vector<std::string> Names_Of(const CLI::Option& Option) {
  std::vector<std::string> Names;
  for (const std::string& Name : Option.get_lnames()) Names.push_back("--" + Name);
  for (const std::string& Name : Option.get_snames()) Names.push_back("-" + Name);
  return Names;
}

// What the value of an option is: "words a b", "file", "folder", "text" for a value that can't be
// completed, or nothing for a flag without a value.
std::string Kind_Of(const Command_Line& Line, const CLI::Option& Option) {
  if (Option.get_items_expected_max() == 0) return "";
  const auto Choices = Line.Choices.find(&Option);
  if (Choices != Line.Choices.end())
    return fmt::format("words {}", fmt::join(Choices->second, " "));
  const std::string Type = Option.get_positional() ? Option.get_name(true) : Option.get_type_name();
  if (Type == "DIR") return "folder";
  return Type == "FILE" || Option.get_positional() ? "file" : "text";
}

// One branch of a case statement. Neither pattern nor answer contains a quote.
std::string Branch(const std::string& Pattern, const std::string& Answer) {
  return fmt::format("    '{}') echo '{}' ;;\n", Pattern, Answer);
}

// Of a positional argument. One that may be repeated stands at every place: the quotes of the
// pattern end before the star.
std::string Place_Pattern(const CLI::Option& Option, const std::string& Command, int Place) {
  if (Option.get_items_expected_max() > 1) return Command + " '*'";
  return fmt::format("{} {}", Command, Place);
}

std::string Table(const char* Comment, const char* Name, const char* Key,
                  const std::string& Branches) {
  return fmt::format("\n# {}\n{}() {{\n  case \"{}\" in\n{}  esac\n}}\n", Comment, Name, Key,
                     Branches);
}

std::string Flags_Branch(const CLI::App& Command, const std::string& Name) {
  std::vector<std::string> Flags;
  for (const CLI::Option* Option : Command.get_options()) {
    for (const std::string& Flag : Names_Of(*Option)) Flags.push_back(Flag);
  }
  return Branch(Name, fmt::format("{}", fmt::join(Flags, " ")));
}

}  // namespace

std::string Completion_Tables(const Command_Line& Line) {
  std::vector<std::string> Names;
  std::string Flags = Flags_Branch(Line.Program, ""), Values, Arguments;
  for (const CLI::App* Command :
       Line.Program.get_subcommands([](const CLI::App*) { return true; })) {
    const std::string Name = Command->get_name();
    Names.push_back(Name);
    Flags += Flags_Branch(*Command, Name);
    int Place = 0;
    for (const CLI::Option* Option : Command->get_options()) {
      const std::string Kind = Kind_Of(Line, *Option);
      if (Option->get_positional())
        Arguments += Branch(Place_Pattern(*Option, Name, Place++), Kind);
      if (Kind.empty()) continue;
      for (const std::string& Flag : Names_Of(*Option)) {
        Values += Branch(fmt::format("{} {}", Name, Flag), Kind);
      }
    }
  }
  return fmt::format("\n_rigsync_commands() {{\n  echo '{}'\n}}\n", fmt::join(Names, " ")) +
         Table("COMMAND: its flags.", "_rigsync_flags", "$1", Flags) +
         Table("COMMAND FLAG: the kind of its value; nothing for a flag without one.",
               "_rigsync_value", "$1 $2", Values) +
         Table("COMMAND PLACE: the kind of the positional argument at that place.",
               "_rigsync_argument", "$1 $2", Arguments);
}

}  // namespace rigsync
