// SPDX-License-Identifier: Apache-2.0
//
// The layout of the help: flags in a left column, their texts folded in a right one, within the
// width of a terminal.
#ifndef RIGSYNC_COMMAND_LINE_HELP_FORM_H
#define RIGSYNC_COMMAND_LINE_HELP_FORM_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace rigsync {

class Help_Form : public CLI::Formatter {
 public:
  // The two columns of an option: its names with the type of its value; its description with
  // "(required)" and its default.
  std::string Left_Text(const CLI::Option* Option, bool Is_Positional) const;
  static std::string Right_Text(const CLI::Option* Option, bool Is_Positional);

  std::string make_option(const CLI::Option* Option, bool Is_Positional) const override;
  std::string make_subcommand(const CLI::App* Command) const override;
  std::string make_group(std::string Group, bool Is_Positional,
                         std::vector<const CLI::Option*> Options) const override;
  std::string make_usage(const CLI::App* Command, std::string Name) const override;
};

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_HELP_FORM_H
