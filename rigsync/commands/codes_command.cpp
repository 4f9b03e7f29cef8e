// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync codes': the catalog of result codes, a line each, or one of them with its advice.
#include "rigsync/calibrate/codes.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/formats/codes_file.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace rigsync {
namespace {

constexpr const char* Footer =
    R"('rigsync calibrate' and 'rigsync export' exit with these codes, and the last
"Error code" line of a run log names one.

Exit status: 0, 2 for wrong usage.

Example:
  rigsync codes
  rigsync codes 14
  rigsync codes 14 --json)";

struct Typed {
  std::optional<std::string> Code;
  bool Json = false;
};

// The command line holds one of the codes.
const Code_Advice& Code_Named(const std::string& Text) {
  const auto Is_Named = [&](const Code_Advice& Advice) {
    return std::to_string(Advice.Code) == Text;
  };
  return *std::find_if(All_Codes().begin(), All_Codes().end(), Is_Named);
}

Style Style_Of(const Code_Advice& Advice) {
  if (Advice.Code == 0) return Style::Good;
  return Is_Usable(Advice.Code) ? Style::Warning : Style::Bad;
}

void Print_All(bool Colour) {
  constexpr std::size_t Text_Column = 5;
  for (const Code_Advice& Advice : All_Codes()) {
    const std::string Text = Folded(Advice.Meaning, Text_Column);
    fmt::print("{}{}", Painted(Style_Of(Advice), fmt::format("{:>3}", Advice.Code), Colour),
               Text.substr(3));
  }
  fmt::print("\n'rigsync codes CODE' tells what each comes from and what to do next.\n");
}

void Print_Heading(const char* Text, bool Colour) {
  fmt::print("\n{}\n", Painted(Style::Strong, Text, Colour));
}

void Print_One(const Code_Advice& Advice, bool Colour) {
  const std::string First = fmt::format("Code {}. {}", Advice.Code, Advice.Meaning);
  fmt::print("{}", Painted_Lines(Style_Of(Advice), Folded(First, 0), Colour));
  Print_Heading("On the stage", Colour);
  fmt::print("{}", Folded(Advice.On_Stage, 2));
  Print_Heading(Advice.Causes.size() > 1 ? "Likely causes, the most likely first" : "Likely cause",
                Colour);
  for (const std::string& Cause : Advice.Causes) {
    fmt::print("  - {}", Folded(Cause, 4).substr(4));
  }
  Print_Heading("Next step", Colour);
  fmt::print("{}", Folded(Advice.Next_Step, 2));
}

int Print_Codes(const Typed& Given) {
  const bool Colour = Colour_On(stdout);
  if (Given.Code) {
    const Code_Advice& Advice = Code_Named(*Given.Code);
    if (Given.Json) {
      Print(Code_Json(Advice));
    } else {
      Print_One(Advice, Colour);
    }
    return Exit_Success;
  }
  if (Given.Json) {
    Print(All_Codes_Json());
  } else {
    Print_All(Colour);
  }
  return Exit_Success;
}

}  // namespace

void Add_Codes_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "codes", "Tell what a result code means, and what to do about it.");
  const auto Given = std::make_shared<Typed>();
  std::vector<std::string> Codes;
  for (const Code_Advice& Advice : All_Codes()) Codes.push_back(std::to_string(Advice.Code));
  Require_Choice(
      Line,
      Command->add_option("CODE", Given->Code, "the code to tell of (default: a list of all)"),
      Codes);
  Command->add_flag("--json", Given->Json, "print JSON");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Line, Given] { Line.Action = [Given] { return Print_Codes(*Given); }; });
}

}  // namespace rigsync
