// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync codes': lists the result codes with their meanings, or prints the advice for one code.
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

constexpr const char* Codes_Footer =
    R"('rigsync calibrate' and 'rigsync export' exit with these codes. The last
"Error code" line of a run log names one too.

Exit status: 0, 2 for wrong usage.

Example:
  rigsync codes
  rigsync codes 14
  rigsync codes 14 --json)";

// The command line as typed.
struct Codes_Arguments {
  std::optional<std::string> Code;
  bool Prints_Json = false;
};

// The command line has checked that Text is one of the codes.
const Code_Advice& Code_Named(const std::string& Text) {
  const auto Is_Named = [&](const Code_Advice& Advice) {
    return std::to_string(Advice.Code) == Text;
  };
  return *std::find_if(All_Codes().begin(), All_Codes().end(), Is_Named);
}

Style Code_Style(const Code_Advice& Advice) {
  if (Advice.Code == 0) return Style::Good;
  return Is_Usable_Code(Advice.Code) ? Style::Warning : Style::Bad;
}

void Print_List(bool Colour) {
  constexpr std::size_t Text_Column = 5;
  for (const Code_Advice& Advice : All_Codes()) {
    const std::string Text = Folded(Advice.Meaning, Text_Column);
    fmt::print("{}{}", Painted(Code_Style(Advice), fmt::format("{:>3}", Advice.Code), Colour),
               Text.substr(3));
  }
  fmt::print("\n'rigsync codes CODE' prints the likely causes of a code and what to do next.\n");
}

void Print_Heading(const char* Text, bool Colour) {
  fmt::print("\n{}\n", Painted(Style::Strong, Text, Colour));
}

void Print_One(const Code_Advice& Advice, bool Colour) {
  const std::string Verdict = fmt::format("Code {}. {}", Advice.Code, Advice.Meaning);
  fmt::print("{}", Painted_Lines(Code_Style(Advice), Folded(Verdict, 0), Colour));
  Print_Heading("On the stage", Colour);
  fmt::print("{}", Folded(Advice.On_Stage, 2));
  Print_Heading(Advice.Causes.size() > 1 ? "Likely causes, most likely first" : "Likely cause",
                Colour);
  for (const std::string& Cause : Advice.Causes) {
    fmt::print("  - {}", Folded(Cause, 4).substr(4));
  }
  Print_Heading("Next step", Colour);
  fmt::print("{}", Folded(Advice.Next_Step, 2));
}

int Print_Codes(const Codes_Arguments& Arguments) {
  const bool Colour = Uses_Colour(stdout);
  if (Arguments.Code) {
    const Code_Advice& Advice = Code_Named(*Arguments.Code);
    if (Arguments.Prints_Json) {
      Print(Code_Json(Advice));
    } else {
      Print_One(Advice, Colour);
    }
    return Exit_Success;
  }
  if (Arguments.Prints_Json) {
    Print(All_Codes_Json());
  } else {
    Print_List(Colour);
  }
  return Exit_Success;
}

}  // namespace

void Add_Codes_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "codes", "Explain what a result code means and what to do about it.");
  const auto Arguments = std::make_shared<Codes_Arguments>();
  std::vector<std::string> Codes;
  for (const Code_Advice& Advice : All_Codes()) Codes.push_back(std::to_string(Advice.Code));
  Require_Choice(
      Line, Command->add_option("CODE", Arguments->Code, "the code to explain (default: list all)"),
      Codes);
  Command->add_flag("--json", Arguments->Prints_Json, "print JSON");
  Command->group("Commands");
  Command->footer(Codes_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Print_Codes(*Arguments); }; });
}

}  // namespace rigsync
