// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/documents.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace rigsync {
namespace {

// Behind the three tables that are made from the command line.
constexpr const char* Functions = R"BASH(
# Files or folders whose names begin with $1. A word with quotes, escapes or variables is left to
# bash itself, which knows how to read it.
_rigsync_offer_paths() {
  case $1 in
    *[\\\"\'\$\~]*)
      compopt -o default 2>/dev/null
      return
      ;;
  esac
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "$2" -- "$1")
}

# What a table says of a value: file, folder, or words.
_rigsync_offer_value() {
  local current=$1 kind=$2
  case $kind in
    file) _rigsync_offer_paths "$current" -f ;;
    folder) _rigsync_offer_paths "$current" -d ;;
    words\ *) mapfile -t COMPREPLY < <(compgen -W "${kind#words }" -- "$current") ;;
  esac
}

# How many arguments without a flag stand before the current word.
_rigsync_place() {
  local command=${COMP_WORDS[1]} place=0 at
  for ((at = 2; at < COMP_CWORD; ++at)); do
    case ${COMP_WORDS[at]} in
      =) ((++at)) ;;
      -*)
        if [[ ${COMP_WORDS[at + 1]} != = ]] &&
          [[ -n $(_rigsync_value "$command" "${COMP_WORDS[at]}") ]]; then
          ((++at))
        fi
        ;;
      *) ((++place)) ;;
    esac
  done
  echo "$place"
}

_rigsync() {
  COMPREPLY=()
  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} before=$((COMP_CWORD - 1))
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "$(_rigsync_commands) $(_rigsync_flags '')" -- "$current")
    return
  fi
  # bash makes three words of --flag=value.
  if [[ $current == = ]]; then
    current=
  elif [[ ${COMP_WORDS[before]} == = ]]; then
    before=$((before - 1))
  fi
  local kind=
  if ((before > 1)); then kind=$(_rigsync_value "$command" "${COMP_WORDS[before]}"); fi
  if [[ -n $kind ]]; then
    _rigsync_offer_value "$current" "$kind"
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_rigsync_flags "$command")" -- "$current")
  else
    _rigsync_offer_value "$current" "$(_rigsync_argument "$command" "$(_rigsync_place)")"
  fi
}

complete -F _rigsync rigsync
)BASH";

std::vector<CLI::Option*> Options_Of(CLI::App& Command) {
  return Command.get_options([](CLI::Option*) { return true; });
}

std::vector<std::string> Names_Of(const CLI::Option& Option) {
  std::vector<std::string> Names;
  for (const std::string& Name : Option.get_lnames()) Names.push_back("--" + Name);
  for (const std::string& Name : Option.get_snames()) Names.push_back("-" + Name);
  return Names;
}

// What may stand for an option: "words a b", "file", "folder", "text" for what can't be
// offered, or nothing for a flag that takes no value.
std::string Kind_Of(CLI::Option& Option) {
  if (Option.get_items_expected_max() == 0) return "";
  const std::vector<std::string> Words = Offered_Words(Option);
  if (!Words.empty()) return fmt::format("words {}", fmt::join(Words, " "));
  const std::string Type = Option.get_positional() ? Option.get_name(true) : Option.get_type_name();
  if (Type == "DIR") return "folder";
  return Type == "FILE" || Option.get_positional() ? "file" : "text";
}

// One branch of a case statement; a table's patterns and answers hold no quote.
std::string Branch(const std::string& Pattern, const std::string& Answer) {
  return fmt::format("    '{}') echo '{}' ;;\n", Pattern, Answer);
}

std::string Table(const char* Comment, const char* Name, const char* Key,
                  const std::string& Branches) {
  return fmt::format("\n# {}\n{}() {{\n  case \"{}\" in\n{}  esac\n}}\n", Comment, Name, Key,
                     Branches);
}

std::string Flags_Branch(CLI::App& Command, const std::string& Name) {
  std::vector<std::string> Flags;
  for (const CLI::Option* Option : Options_Of(Command)) {
    for (const std::string& Flag : Names_Of(*Option)) Flags.push_back(Flag);
  }
  return Branch(Name, fmt::format("{}", fmt::join(Flags, " ")));
}

}  // namespace

std::string Bash_Completion(CLI::App& Program) {
  std::vector<std::string> Names;
  std::string Flags = Flags_Branch(Program, ""), Values, Arguments;
  for (CLI::App* Command : Program.get_subcommands([](CLI::App*) { return true; })) {
    const std::string Name = Command->get_name();
    Names.push_back(Name);
    Flags += Flags_Branch(*Command, Name);
    int Place = 0;
    for (CLI::Option* Option : Options_Of(*Command)) {
      const std::string Kind = Kind_Of(*Option);
      if (Option->get_positional()) Arguments += Branch(fmt::format("{} {}", Name, Place++), Kind);
      if (Kind.empty()) continue;
      for (const std::string& Flag : Names_Of(*Option)) {
        Values += Branch(fmt::format("{} {}", Name, Flag), Kind);
      }
    }
  }
  return "# bash completion for rigsync, made from the command's own help.\n" +
         fmt::format("\n_rigsync_commands() {{\n  echo '{}'\n}}\n", fmt::join(Names, " ")) +
         Table("COMMAND: its flags.", "_rigsync_flags", "$1", Flags) +
         Table("COMMAND FLAG: what its value is; nothing for a flag without one.", "_rigsync_value",
               "$1 $2", Values) +
         Table("COMMAND PLACE: what the argument at that place is.", "_rigsync_argument", "$1 $2",
               Arguments) +
         Functions;
}

}  // namespace rigsync
