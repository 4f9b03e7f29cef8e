// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync board': a chessboard to print, at true scale, with what it takes to check the print.
#include "rigsync/board/board_drawing.h"
#include "rigsync/capture/board_size.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(--board counts inner corners, where four squares meet, columns first. This is
4x3: three rows (down) of four corners (across), on a board of 5 by 4 squares.
The first corner is at the top left, the second is the next to its right:

  ####      ####      ####
  ####      ####      ####
      1    2    3    4
       ####      ####
       ####      ####
      o    o    o    o
  ####      ####      ####
  ####      ####      ####
      o    o    o    o
       ####      ####
       ####      ####

One count even and one odd is best: such a board looks different when it is
turned by half a turn, so that its first corner is certain.

Print at 100 % ("actual size", never "fit to page"), measure ruler and squares
on the print, and glue it to a flat, stiff panel.

Exit status: 0, 2 for wrong usage or a file that can't be written.

Example:
  rigsync board --board 11x8 --square 30mm --paper a3 -o board.svg
  rigsync board --board 11x8 --square 20mm --paper a4 -o board.pdf)";

struct Typed {
  std::string Board, Square, Paper, Output;
};

std::string Names_Of_Papers() {
  std::string Names;
  for (const Paper& Known : Named_Papers()) Names += Known.Name + ", ";
  return Names + "or WIDTHxHEIGHT in millimetres";
}

// A paper by its name, or WIDTHxHEIGHT in millimetres, 50 to 5000 each. A paper may be turned, so
// that the order of width and height doesn't matter.
Paper Parse_Paper(const std::string& Flag, const std::string& Text) {
  std::string Names;
  for (const Paper& Known : Named_Papers()) {
    if (Known.Name == Lower_Case(Text)) return Known;
    Names += Known.Name + ", ";
  }
  const std::optional<std::array<double, 2>> Sides = Read_Sides_Mm(Text);
  constexpr double Least = 50.0, Most = 5000.0;
  if (!Sides || std::min((*Sides)[0], (*Sides)[1]) < Least ||
      std::max((*Sides)[0], (*Sides)[1]) > Most) {
    Refuse(Flag, Text,
           Names + "or WIDTHxHEIGHT in millimetres, 50 to 5000 each, for example 420x297");
  }
  return {Text, std::min((*Sides)[0], (*Sides)[1]), std::max((*Sides)[0], (*Sides)[1])};
}

// The ending of the output's name says what it becomes.
Drawing_Form Form_Of(const std::string& Flag, const fs::path& Output) {
  if (Output.extension() == ".svg") return Drawing_Form::Svg;
  if (Output.extension() == ".pdf") return Drawing_Form::Pdf;
  Refuse(Flag, Output.string(), "a file name that ends in .svg or .pdf");
}

// Refuses a name that can't become a file, or that something other than a file has already.
void Require_Place(const std::string& Flag, const fs::path& Output) {
  std::error_code Ignored;
  if (!fs::is_directory(fs::absolute(Output).parent_path(), Ignored)) {
    Refuse(Flag, Output.string(), "a file in a folder that exists");
  }
  if (fs::exists(Output, Ignored) && !fs::is_regular_file(Output, Ignored)) {
    Refuse(Flag, Output.string(), "a file, or a name that nothing has yet");
  }
}

// What the person could do instead.
std::string Way_Out(const Board_Size& Board, double Square, const Paper& On) {
  const double Largest = Largest_Square(Board, On);
  const std::optional<Paper> Larger = Smallest_Paper(Board, Square, On);
  const std::string First =
      Largest > 0.0 ? fmt::format("The largest square for {} is {:g} mm", On.Name, Largest)
                    : fmt::format("No square is small enough for {}", On.Name);
  return First + (Larger ? fmt::format("; the smallest paper for squares of {:g} mm is {}.", Square,
                                       Larger->Name)
                         : fmt::format("; no paper up to a0 has room for squares of {:g} mm, but "
                                       "--paper takes WIDTHxHEIGHT too.",
                                       Square));
}

[[noreturn]] void Refuse_Size(const Board_Size& Board, double Square, const Paper& On) {
  throw Usage_Error(fmt::format(
      "--square, --paper: the board doesn't fit: {}x{} corners with squares of {:g} mm measure "
      "{:g} x {:g} mm; {} has "
      "{:g} x {:g} mm, of which a white margin of {:g} mm around the board and {:g} mm for the "
      "ruler are needed. {}",
      Board.Cols, Board.Rows, Square, (Board.Cols + 1) * Square, (Board.Rows + 1) * Square, On.Name,
      On.Long_Side, On.Short_Side, std::ceil(Least_Margin(Square) * 10.0) / 10.0, Strip_Depth,
      Way_Out(Board, Square, On)));
}

void Warn_Of(const Board_Page& Page) {
  if (Looks_Same_Half_Turned(Page.Board)) {
    Warn(
        fmt::format("a board of {}x{} looks the same turned by half a turn, so that its first "
                    "corner is not certain; prefer one even and one odd count.",
                    Page.Board.Cols, Page.Board.Rows));
  }
  if (Page.Margin < Page.Square) {
    Warn(
        fmt::format("the white margin of {:.1f} mm is narrower than a square ({:g} mm). Glue the "
                    "print to a white panel that reaches {:.0f} mm further on every side, or take "
                    "a larger paper.",
                    Page.Margin, Page.Square, std::ceil(Page.Square - Page.Margin)));
  }
}

void Print_Page(const Board_Page& Page, const fs::path& Output) {
  fmt::print(
      "{}",
      Folded(fmt::format("A board of {}x{} inner corners, {} by {} squares of {:g} mm, "
                         "on {} ({:g} x {:g} mm).",
                         Page.Board.Cols, Page.Board.Rows, Page.Board.Cols + 1, Page.Board.Rows + 1,
                         Page.Square, Page.Paper_Name, Page.Width, Page.Height),
             0));
  fmt::print("  file             {}\n", Output.string());
  fmt::print("  white margin     {:.1f} mm or more\n", Page.Margin);
  fmt::print("  ruler            {:g} mm\n", Page.Ruler);
  fmt::print("{}", Folded("Print it at 100 % (\"actual size\"), measure ruler and squares on the "
                          "print, and give the measured square to --square.",
                          0));
}

int Draw_Board(const Typed& Given) {
  const Board_Size Board = Parse_Board("--board", Given.Board);
  const double Square = Parse_Square("--square", Given.Square) * 1000.0;
  const Paper On = Parse_Paper("--paper", Given.Paper);
  const fs::path Output(Given.Output);
  const Drawing_Form Form = Form_Of("--output", Output);
  Require_Place("--output", Output);
  const std::optional<Board_Page> Page = Plan_Page(Board, Square, On);
  if (!Page) Refuse_Size(Board, Square, On);
  const std::string Bytes = Draw_Page(*Page, Form);
  try {
    Write_Whole(Output, Bytes);
  } catch (const std::runtime_error& Failed) {
    throw Usage_Error(fmt::format("--output: {}", Failed.what()));
  }
  Warn_Of(*Page);
  Print_Page(*Page, Output);
  return Exit_Success;
}

}  // namespace

void Add_Board_Command(CLI::App& Program, Chosen_Command& Chosen) {
  CLI::App* Command = Program.add_subcommand("board", "Draw a chessboard to print, at true scale.");
  const auto Given = std::make_shared<Typed>();
  Command
      ->add_option("--board", Given->Board,
                   "inner corners of the board, where four squares meet: 11x8 is a board of 12 by "
                   "9 squares (picture below)")
      ->required()
      ->type_name("COLSxROWS");
  Command->add_option("--square", Given->Square, "edge of one square: 0.03 (metres), 30mm, 3cm")
      ->required()
      ->type_name("LENGTH");
  std::vector<std::string> Papers;
  for (const Paper& Known : Named_Papers()) Papers.push_back(Known.Name);
  Offer(Command->add_option("--paper", Given->Paper, Names_Of_Papers()), Papers)
      ->required()
      ->type_name("PAPER");
  Command->add_option("-o,--output", Given->Output, "file to write, .svg or .pdf")
      ->required()
      ->type_name("FILE");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Chosen, Given] { Chosen = [Given] { return Draw_Board(*Given); }; });
}

}  // namespace rigsync
