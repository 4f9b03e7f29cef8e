// SPDX-License-Identifier: Apache-2.0
//
// The columns of the help, counted: options begin after two blanks, their texts in column 35, those
// of commands in column 15.
#include "rigsync/command_line/help_form.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The help of an option without a value whose name, with the two blanks, has Width letters.
std::string Option_Help(std::size_t Width, const std::string& Text) {
  CLI::App Program;
  const std::string Name = "--" + std::string(Width - 4, 'x');
  const CLI::Option* const Option = Program.add_flag(Name, Text);
  return rigsync::Help_Form().make_option(Option, /*Is_Positional=*/false);
}

TEST(HelpForm, ATextBeginsInItsColumn) {
  EXPECT_EQ(Option_Help(10, "the text"), "  --xxxxxx" + std::string(24, ' ') + "the text\n");
}

// One blank at least is between a name and its text.
TEST(HelpForm, ANameThatReachesTheColumnHasALineOfItsOwn) {
  EXPECT_EQ(Option_Help(33, "the text"), "  --" + std::string(29, 'x') + " the text\n");
  EXPECT_EQ(Option_Help(34, "the text"),
            "  --" + std::string(30, 'x') + "\n" + std::string(34, ' ') + "the text\n");
}

TEST(HelpForm, WithoutATextThereIsTheNameAlone) {
  EXPECT_EQ(Option_Help(10, ""), "  --xxxxxx\n");
}

TEST(HelpForm, ALongTextIsFoldedInItsColumn) {
  const std::string Word(40, 'w');
  EXPECT_EQ(Option_Help(10, Word + " " + Word),
            "  --xxxxxx" + std::string(24, ' ') + Word + "\n" + std::string(34, ' ') + Word + "\n");
}

TEST(HelpForm, AnOptionTellsItsTypeItsDefaultAndWhetherItIsRequired) {
  CLI::App Program;
  std::string Value;
  CLI::Option* const Option = Program.add_option("-o,--output", Value, "where to");
  Option->type_name("FILE")->required();
  EXPECT_EQ(rigsync::Help_Form().Left_Text(Option, false), "-o,--output FILE");
  EXPECT_EQ(rigsync::Help_Form::Right_Text(Option, false), "where to (required)");
  Option->required(false)->default_str("here");
  EXPECT_EQ(rigsync::Help_Form::Right_Text(Option, false), "where to [here]");
}

TEST(HelpForm, CommandsHaveAColumnOfTheirOwn) {
  CLI::App Program;
  const CLI::App* const Command = Program.add_subcommand("inspect", "looks at it");
  EXPECT_EQ(rigsync::Help_Form().make_subcommand(Command), "  inspect     looks at it\n");
}

}  // namespace
