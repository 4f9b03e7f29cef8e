// SPDX-License-Identifier: Apache-2.0
#include "rigsync/command_line/help_form.h"

#include "rigsync/system/text.h"

#include <fmt/format.h>

namespace rigsync {
namespace {

constexpr std::size_t Flag_Text_Column = 34;
constexpr std::size_t Command_Text_Column = 14;

// Name in the left column, Text folded in the right one. A long name gets a line of its own.
std::string Two_Columns(const std::string& Name, const std::string& Text, std::size_t Text_Column) {
  const std::string Left = "  " + Name;
  const std::string Right = Folded(Text, Text_Column);
  if (Right.empty()) return Left + "\n";
  if (Left.size() + 1 > Text_Column) return Left + "\n" + Right;
  return Left + Right.substr(Left.size());
}

}  // namespace

std::string Help_Form::Left_Text(const CLI::Option* Option, bool Is_Positional) const {
  std::string Name = make_option_name(Option, Is_Positional);
  if (!Is_Positional && Option->get_type_size() != 0 && !Option->get_type_name().empty()) {
    Name += " " + Option->get_type_name();
  }
  return Name;
}

std::string Help_Form::Right_Text(const CLI::Option* Option, bool Is_Positional) {
  std::string Text = Option->get_description();
  if (!Is_Positional && Option->get_required()) Text += " (required)";
  if (!Option->get_default_str().empty()) Text += fmt::format(" [{}]", Option->get_default_str());
  return Text;
}

std::string Help_Form::make_option(const CLI::Option* Option, bool Is_Positional) const {
  return Two_Columns(Left_Text(Option, Is_Positional), Right_Text(Option, Is_Positional),
                     Flag_Text_Column);
}

std::string Help_Form::make_group(std::string Group, bool /*Is_Positional*/,
                                  std::vector<const CLI::Option*> Options) const {
  // CLI11 adds an empty line after each group but the last.
  std::string Text = Group == "Positionals" ? "\nArguments:\n" : Group + ":\n";
  for (const CLI::Option* Option : Options) Text += make_option(Option, Option->get_positional());
  return Group == "Positionals" ? Text + "\n" : Text;
}

std::string Help_Form::make_subcommand(const CLI::App* Command) const {
  return Two_Columns(Command->get_name(), Command->get_description(), Command_Text_Column);
}

std::string Help_Form::make_usage(const CLI::App* Command, std::string Name) const {
  std::string Usage = "\nUsage: " + Name;
  const auto Positionals =
      Command->get_options([](const CLI::Option* Option) { return Option->get_positional(); });
  for (const CLI::Option* Option : Positionals) Usage += " " + make_option_usage(Option);
  const bool Has_Commands = !Command->get_subcommands([](const CLI::App*) { return true; }).empty();
  // Without positional arguments the options follow directly and need an empty line before them.
  return Usage + (Has_Commands ? " COMMAND" : "") + " [OPTIONS]\n" +
         (Positionals.empty() ? "\n" : "");
}

}  // namespace rigsync
