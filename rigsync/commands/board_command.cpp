// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync board': a chessboard to print at true scale, with a ruler to check the print.
#include "rigsync/board/board_drawing.h"
#include "rigsync/capture/board_markers.h"
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
#include <optional>
#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Board_Footer =
    R"(--board counts inner corners, where four squares meet, columns first. This is
4x3: three rows (down) of four corners (across), on a board of 5 by 4 squares.
The first corner is at the top left, the second is to its right:

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

Use one even and one odd count: such a board looks different after half a turn,
so its first corner is unambiguous.

With --markers the white squares bear ArUco markers (OpenCV's DICT_4X4_1000),
row by row from the first corner's side. rigsync inspect then reads from an
image which board it shows, how it is held, and how many corners it has. Give
each board of a stage its own ids: a board of 11x8 has 54, so 0, 54, 108 and so
on.

Print at 100 % ("actual size", never "fit to page"), measure the ruler and the
squares on the print, and glue it to a flat, stiff panel.

Exit status: 0 on success, 2 for wrong usage or a file that can't be written.

Example:
  rigsync board --board 11x8 --square 30mm --paper a3 -o board.svg
  rigsync board --board 11x8 --square 20mm --paper a4 -o board.pdf
  rigsync board --board 9x6 --square 3cm --paper a3 --markers -o b.svg)";

struct Board_Arguments {
  std::string Board, Square, Paper, Output;
  std::optional<std::string> Markers;  // empty without a first id
  std::string Marker_Size;
};

std::string Paper_Names() {
  std::string Names;
  for (const Paper& Known : Named_Papers()) Names += Known.Name + ", ";
  return Names + "or WIDTHxHEIGHT in millimetres";
}

// A paper by its name, or WIDTHxHEIGHT in millimetres, 50 to 5000 each, in either order.
Paper Parse_Paper(const std::string& Flag, const std::string& Text) {
  for (const Paper& Known : Named_Papers()) {
    if (Known.Name == Lower_Case(Text)) return Known;
  }
  const std::optional<std::array<double, 2>> Sides = Read_Sides_Mm(Text);
  constexpr double Least = 50.0, Most = 5000.0;
  if (!Sides || std::min((*Sides)[0], (*Sides)[1]) < Least ||
      std::max((*Sides)[0], (*Sides)[1]) > Most) {
    Refuse(Flag, Text, Paper_Names() + ", 50 to 5000 each, for example 420x297");
  }
  return {Text, std::min((*Sides)[0], (*Sides)[1]), std::max((*Sides)[0], (*Sides)[1])};
}

int Parse_First_Marker(const std::string& Flag, const std::string& Text, const Board_Size& Board) {
  if (!Can_Find_Markers()) {
    throw Usage_Error(Flag, Flag +
                                ": this rigsync was built without OpenCV's ArUco module (aruco, or "
                                "objdetect from OpenCV 4.7 on), so it knows no markers.");
  }
  const int First = Text.empty() ? 0 : Parse_Marker(Flag, Text);
  const int White = White_Square_Count(Board);
  if (First + White <= Marker_Count) return First;
  throw Usage_Error(
      Flag,
      White > Marker_Count
          ? fmt::format("{}: a board of {}x{} has {} white squares, but there are only {} "
                        "markers. Use fewer corners, or no markers.",
                        Flag, Board.Cols, Board.Rows, White, Marker_Count)
          : fmt::format("{}: a board of {}x{} has {} white squares and there are {} markers, "
                        "so FIRST is at most {}.",
                        Flag, Board.Cols, Board.Rows, White, Marker_Count, Marker_Count - White));
}

double Parse_Marker_Size(const std::string& Flag, const std::string& Text) {
  const double Size = Parse_Number(Flag, Text);
  if (Size > Largest_Marker_Size) {
    Refuse(Flag, Text,
           fmt::format("at most {}; with larger markers the library searches an image for up to "
                       "seconds and misses boards",
                       Largest_Marker_Size));
  }
  if (!(Size >= Least_Marker_Size)) {
    Refuse(Flag, Text,
           fmt::format("at least {}; smaller ones are hard to read", Least_Marker_Size));
  }
  return Size;
}

// By the ending of the output's name.
Drawing_Form Parse_Form(const std::string& Flag, const fs::path& Output) {
  if (Output.extension() == ".svg") return Drawing_Form::Svg;
  if (Output.extension() == ".pdf") return Drawing_Form::Pdf;
  Refuse(Flag, Output.string(), "a file name that ends in .svg or .pdf");
}

// Refuses a name that can't become a file, or that belongs to something other than a file.
void Require_File_Name(const std::string& Flag, const fs::path& Output) {
  std::error_code Ignored;
  if (!fs::is_directory(fs::absolute(Output).parent_path(), Ignored)) {
    Refuse(Flag, Output.string(), "a file in an existing folder");
  }
  if (fs::exists(Output, Ignored) && !fs::is_regular_file(Output, Ignored)) {
    Refuse(Flag, Output.string(), "a regular file or a new name");
  }
}

// What would fit instead.
std::string Alternatives(const Board_Size& Board, double Square, const Paper& Sheet) {
  const double Largest = Largest_Square(Board, Sheet);
  const std::optional<Paper> Larger = Smallest_Paper(Board, Square, Sheet);
  const std::string First =
      Largest > 0.0 ? fmt::format("The largest square for {} is {:g} mm", Sheet.Name, Largest)
                    : fmt::format("No square fits on {}", Sheet.Name);
  return First + (Larger ? fmt::format("; the smallest paper for squares of {:g} mm is {}.", Square,
                                       Larger->Name)
                         : fmt::format("; squares of {:g} mm don't fit on any paper up to a0, but "
                                       "--paper also takes WIDTHxHEIGHT.",
                                       Square));
}

[[noreturn]] void Refuse_Size(const Board_Size& Board, double Square, const Paper& Sheet) {
  throw Usage_Error(
      "--square",
      fmt::format(
          "--square, --paper: the board doesn't fit: {}x{} corners with squares of {:g} mm measure "
          "{:g} x {:g} mm; {} measures {:g} x {:g} mm, and the board needs a white margin of {:g} "
          "mm on "
          "every side and {:g} mm for the ruler. {}",
          Board.Cols, Board.Rows, Square, (Board.Cols + 1) * Square, (Board.Rows + 1) * Square,
          Sheet.Name, Sheet.Long_Side, Sheet.Short_Side,
          std::ceil(Least_Margin(Square) * 10.0) / 10.0, Strip_Depth,
          Alternatives(Board, Square, Sheet)));
}

void Warn_About(const Board_Page& Page) {
  if (Looks_Same_Half_Turned(Page.Board)) {
    Warn(
        fmt::format("a board of {}x{} looks the same after half a turn, so its first corner is "
                    "ambiguous; use one even and one odd count.",
                    Page.Board.Cols, Page.Board.Rows));
  }
  if (Page.Margin < Page.Square) {
    Warn(
        fmt::format("the white margin of {:.1f} mm is narrower than a square ({:g} mm). Glue the "
                    "print to a white panel that extends {:.0f} mm beyond it on every side, or use "
                    "larger paper.",
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
  Print(fmt::format("  file             {}\n", Output.string()));
  fmt::print("  white margin     {:.1f} mm or more\n", Page.Margin);
  fmt::print("  ruler            {:g} mm\n", Page.Ruler);
  if (Page.First_Marker) {
    fmt::print("  markers          {} to {}, {:g} mm wide\n", *Page.First_Marker,
               *Page.First_Marker + White_Square_Count(Page.Board) - 1,
               Page.Marker_Size * Page.Square);
  }
  fmt::print("{}", Folded("Print it at 100 % (\"actual size\"), measure the ruler and the squares "
                          "on the print, and pass the measured size to --square.",
                          0));
}

int Draw_Board(const Board_Arguments& Arguments) {
  const Board_Size Board = Parse_Board("--board", Arguments.Board);
  const double Square = Parse_Square("--square", Arguments.Square) * 1000.0;
  const Paper Sheet = Parse_Paper("--paper", Arguments.Paper);
  const fs::path Output(Arguments.Output);
  const Drawing_Form Form = Parse_Form("--output", Output);
  Require_File_Name("--output", Output);
  std::optional<Board_Page> Page = Plan_Page(Board, Square, Sheet);
  if (Arguments.Markers) {
    const int First = Parse_First_Marker("--markers", *Arguments.Markers, Board);
    if (Page) Page->First_Marker = First;
  }
  if (!Arguments.Marker_Size.empty()) {
    const double Size = Parse_Marker_Size("--marker-size", Arguments.Marker_Size);
    if (Page) Page->Marker_Size = Size;
  }
  if (!Page) Refuse_Size(Board, Square, Sheet);
  const std::string Bytes = Draw_Page(*Page, Form);
  try {
    Write_Whole(Output, Bytes);
  } catch (const std::runtime_error& Error) {
    throw Usage_Error("--output", fmt::format("--output: {}", Error.what()));
  }
  Warn_About(*Page);
  Print_Page(*Page, Output);
  return Exit_Success;
}

}  // namespace

void Add_Board_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("board", "Draw a chessboard to print at true scale.");
  const auto Arguments = std::make_shared<Board_Arguments>();
  Command
      ->add_option("--board", Arguments->Board,
                   "inner corners of the board, where four squares meet: 11x8 is a board of 12 by "
                   "9 squares (picture below)")
      ->required()
      ->type_name("COLSxROWS");
  Command
      ->add_option("--square", Arguments->Square,
                   "edge length of one square: 0.03 (metres), 30mm, 3cm")
      ->required()
      ->type_name("LENGTH");
  const CLI::Option* const Paper_Option =
      Command->add_option("--paper", Arguments->Paper, Paper_Names())
          ->required()
          ->type_name("PAPER");
  for (const Paper& Known : Named_Papers()) Line.Choices[Paper_Option].push_back(Known.Name);
  CLI::Option* const Markers =
      Command
          ->add_option_function<std::string>(
              "--markers", [Arguments](const std::string& Text) { Arguments->Markers = Text; },
              "ArUco markers in the white squares, from the id FIRST on (default: 0)")
          ->expected(0, 1)
          ->type_name("[FIRST]");
  Command
      ->add_option("--marker-size", Arguments->Marker_Size,
                   "edge of a marker, as a fraction of a square's, 0.3 to 0.5 (default: 0.5)")
      ->type_name("FRACTION")
      ->needs(Markers);
  Command->add_option("-o,--output", Arguments->Output, "file to write, .svg or .pdf")
      ->required()
      ->type_name("FILE");
  Command->group("Commands");
  Command->footer(Board_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Draw_Board(*Arguments); }; });
}

}  // namespace rigsync
