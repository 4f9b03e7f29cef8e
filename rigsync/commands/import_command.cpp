// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync import': a capture's CSV from the take of a tracking system and pictures.
#include "rigsync/capture/board_size.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/import_output.h"
#include "rigsync/commands/inspection_status.h"
#include "rigsync/footage/clip.h"
#include "rigsync/footage/photographs.h"
#include "rigsync/formats/stage_file.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/import/capture_import.h"
#include "rigsync/inspect/inspection.h"
#include "rigsync/record/recording.h"
#include "rigsync/report/import_text.h"
#include "rigsync/report/inspect_report.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/take/take_file.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Import_Footer =
    R"(TAKE is a rigid-body export of Motive, Vicon or Qualisys, a pose file of TUM,
ETH or EuRoC, any other table with --map, or a recording of 'rigsync record'.
TAKE2 is for a board whose poses are in a file of their own. Without --board the
board stands still and isn't tracked; its place is solved by 'rigsync calibrate
--solution joint'.

A hold is a time in which both bodies stand still. Each hold gives one row: the
median pose, with the sharpest frame of a clip or the photograph nearest to the
hold's middle. Hold irregularly, some longer, some shorter: then the clocks of
take and pictures can be matched by motion. docs/import.md has the details.

Beside the CSV, import.json tells where each row comes from, and images/ has the
frames that were cut from a clip. A file that 'rigsync import' did not write, or
that was changed since, is left as it is.

Then the capture is inspected, with its images if --config, or --corners and
--square, describe the board.

Exit status: 0 written, and inspect is clean; 1 written, with warnings of
inspect; 2 for wrong usage, or errors of inspect, 70 when an exception ended the
run.

Example:
  rigsync import take.csv --camera camera --board board \
    --clip clip.mp4 --config stage.toml -o capture/capture.csv
  rigsync import take.rsr --camera freed-1 --images photographs \
    --config stage.toml -o capture/capture.csv)";

struct Import_Arguments {
  std::string Take, Second_Take, Camera, Board, Images, Clip, Output;
  std::string Format, Rotation, Map, Axes, Times, Times_Rate, Times_From;
  std::vector<std::string> Lost_Statuses;
  bool Ignores_Checksums = false;
  std::string Offset, Still, Hold, Largest_Speed, Pose = "hold";
  std::string Config, Corners, Square;
};

// ---- Values ----------------------------------------------------------------------------------

// 5mm/s,0.3deg/s: the units may be left out where arguments.h lets them.
Speed_Limit Parse_Speeds(const std::string& Flag, const std::string& Text) {
  std::string Plain = Text;
  for (std::size_t At = 0; (At = Plain.find("/s", At)) != std::string::npos;) Plain.erase(At, 2);
  try {
    const Length_And_Angle Both = Parse_Length_And_Angle(Flag, Plain);
    return {Both.Length, Both.Angle_Deg / Degrees_Per_Radian};
  } catch (const Usage_Error&) {
    Refuse(Flag, Text, "a speed and a speed of turning, both above 0, for example 5mm/s,0.3deg/s");
  }
}

double Parse_Hold(const std::string& Flag, const std::string& Text) {
  constexpr double Least = 0.25, Longest = 60.0;
  const double Seconds = Parse_Seconds(Flag, Text);
  if (Seconds >= Least && Seconds <= Longest) return Seconds;
  Refuse(Flag, Text, fmt::format("seconds from {:g} to {:g}", Least, Longest));
}

// 25, 29.97 or 30000/1001.
Frame_Rate Parse_Rate(const std::string& Flag, const std::string& Text) {
  const std::size_t Slash = Text.find('/');
  if (Slash != std::string::npos) {
    return {Parse_Whole(Flag, Text.substr(0, Slash), 1, 1'000'000),
            Parse_Whole(Flag, Text.substr(Slash + 1), 1, 1'000'000)};
  }
  const double Hz = Parse_Number(Flag, Text);
  for (const long Whole : {24L, 30L, 48L, 60L, 120L}) {
    const Frame_Rate Slowed{Whole * 1000, 1001};
    if (std::abs(Hz - Slowed.Hz()) < 0.005) return Slowed;
  }
  if (Hz >= 1.0 && Hz <= 1000.0 && Hz == std::floor(Hz)) return {static_cast<long>(Hz), 1};
  Refuse(Flag, Text, "frames a second, for example 25, 29.97 or 30000/1001");
}

Import_Request Read_Request(const Import_Arguments& Arguments) {
  Import_Request Request;
  Request.Camera = Arguments.Camera;
  Request.Board = Arguments.Board;
  if (Arguments.Pose == "picture") {
    // What moves is slow in a hand, and its velocity is known.
    constexpr Speed_Limit In_A_Hand{0.050, 3.0 / Degrees_Per_Radian};
    Request.Rows.Pose = Pose_Choice::Picture;
    Request.Rows.Largest_Speed = In_A_Hand;
    Request.Holds.Rest = In_A_Hand;
  }
  if (!Arguments.Still.empty()) Request.Holds.Rest = Parse_Speeds("--still", Arguments.Still);
  if (!Arguments.Hold.empty()) Request.Holds.Least_Seconds = Parse_Hold("--hold", Arguments.Hold);
  if (!Arguments.Largest_Speed.empty()) {
    Request.Rows.Largest_Speed = Parse_Speeds("--max-speed", Arguments.Largest_Speed);
  }
  if (!Arguments.Offset.empty()) {
    Request.Offset_Seconds = Parse_Seconds("--offset", Arguments.Offset);
  }
  return Request;
}

// ---- Inputs ----------------------------------------------------------------------------------

// How axes are to be read: by --axes, otherwise by the stage file. Name is for messages.
struct Stated_Axes {
  std::string Name, Text;  // no Text: as they are
};

Stated_Axes Read_Axes(const Import_Arguments& Arguments, const Stage_Settings& Stage) {
  if (!Arguments.Axes.empty()) return {"--axes", Arguments.Axes};
  const auto Found = Stage.find("axes");
  if (Found == Stage.end()) return {};
  return {Value_Name({}, "axes", Arguments.Config), Found->second};
}

[[noreturn]] void Refuse_Unused(const std::string& Flag, const std::string& What) {
  throw Usage_Error(Flag, fmt::format("{}: {}. Leave it out.", Flag, What));
}

// Flags that say something of the other kind of take, and so of none of these files.
void Refuse_Unused_Flags(const Import_Arguments& Arguments) {
  const bool Is_First = Is_Recording(Arguments.Take);
  const bool Is_Second =
      Arguments.Second_Take.empty() ? Is_First : Is_Recording(Arguments.Second_Take);
  if (Is_First != Is_Second || !fs::exists(Arguments.Take)) return;
  if (Is_First) {
    for (const auto& [Flag, Value] : {std::pair{"--format", &Arguments.Format},
                                      {"--rotation", &Arguments.Rotation},
                                      {"--map", &Arguments.Map}}) {
      if (!Value->empty()) {
        Refuse_Unused(Flag,
                      "it says how the file of a tracking system is read, and the take is "
                      "a recording of 'rigsync record', which needs none");
      }
    }
    return;
  }
  constexpr const char* For_Recordings =
      "it is for recordings of 'rigsync record', and the take is the file of a tracking system";
  if (Arguments.Ignores_Checksums) Refuse_Unused("--ignore-checksum", For_Recordings);
  if (!Arguments.Lost_Statuses.empty()) Refuse_Unused("--lost-status", For_Recordings);
}

Take Read_One_Take(const Import_Arguments& Arguments, const Stated_Axes& Axes,
                   const std::string& Argument, const std::string& File) {
  if (Is_Recording(File)) {
    Recording_Options Options;
    Options.Ignores_Checksums = Arguments.Ignores_Checksums;
    if (!Axes.Text.empty()) Options.Axes = Parse_Axis_Maps(Axes.Name, Axes.Text);
    Options.Lost_Statuses = Arguments.Lost_Statuses;
    return Read_Recording(File, Options);
  }
  Take_Options Options;
  Options.Argument = Argument;
  if (!Arguments.Format.empty()) Options.Format = Parse_Take_Format("--format", Arguments.Format);
  if (!Arguments.Rotation.empty()) {
    Options.Rotation = Parse_Rotation("--rotation", Arguments.Rotation);
  }
  if (!Axes.Text.empty()) Options.Axes = Parse_Axes(Axes.Name, Axes.Text);
  Options.Map = Arguments.Map;
  return Read_Take(File, Options);
}

Take Read_Takes(const Import_Arguments& Arguments, const Stated_Axes& Axes) {
  Refuse_Unused_Flags(Arguments);
  Take First = Read_One_Take(Arguments, Axes, "TAKE", Arguments.Take);
  if (Arguments.Second_Take.empty()) return First;
  return Joined_Takes(std::move(First),
                      Read_One_Take(Arguments, Axes, "TAKE2", Arguments.Second_Take));
}

Photographs Read_Pictures(const Import_Arguments& Arguments) {
  Photograph_Options Options;
  if (!Arguments.Times.empty()) Options.Times_File = Arguments.Times;
  if (!Arguments.Times_Rate.empty()) {
    Options.Times_Rate = Parse_Rate("--times-rate", Arguments.Times_Rate);
  }
  if (Arguments.Times_From == "exif") Options.Source = Time_Source::Exif;
  if (Arguments.Times_From == "file") Options.Source = Time_Source::File_Time;
  return Read_Photographs(Arguments.Images, Options);
}

// A line that is updated in place and cleared at the end, on a terminal only.
Clip_Progress Shown_Progress(const std::string& What) {
  const auto Shown = std::make_shared<Progress_Output>(Is_Terminal(stderr) ? Progress_Kind::Line
                                                                           : Progress_Kind::None);
  return [Shown, What](double Done, double Whole) {
    Shown->Show(Whole > 0.0 ? fmt::format("{}: {:.0f} of {:.0f} s", What, Done, Whole)
                            : fmt::format("{}: {:.0f} s", What, Done));
  };
}

// ---- Inspection ------------------------------------------------------------------------------

// What is known of the board's chessboard: by --corners and --square, or by the stage file, which
// also knows the first id of its markers.
struct Chessboard {
  Board_Size Corners;
  double Square = 0;
  std::optional<int> First_Marker;
  std::string Flags;  // for the next command
};

std::optional<Chessboard> Read_Chessboard(const Import_Arguments& Arguments, Stage_Settings Stage) {
  Stage_Settings Typed, All;
  if (!Arguments.Corners.empty()) Typed["board"] = Arguments.Corners;
  if (!Arguments.Square.empty()) Typed["square"] = Arguments.Square;
  All = Typed;
  All.merge(Stage);
  if (All.empty()) return std::nullopt;
  for (const auto& [Key, Flag] : {std::pair{"board", "--corners"}, {"square", "--square"}}) {
    if (All.count(Key) != 0) continue;
    throw Usage_Error(Flag, fmt::format("{}: missing; type it, or state '{}' in the file of "
                                        "--config",
                                        Flag, Key));
  }
  const auto Name = [&](const char* Key, const char* Flag) {
    return Typed.count(Key) != 0 ? std::string(Flag) : Value_Name(Typed, Key, Arguments.Config);
  };
  Chessboard Board{Parse_Board(Name("board", "--corners"), All["board"]),
                   Parse_Square(Name("square", "--square"), All["square"]), std::nullopt, ""};
  if (All.count("markers") != 0) {
    Board.First_Marker =
        Parse_Marker(Value_Name(Typed, "markers", Arguments.Config), All["markers"]);
  }
  if (!Arguments.Config.empty()) Board.Flags = "--config " + Shell_Word(Arguments.Config);
  if (Typed.count("board") != 0) Board.Flags += " --board " + Shell_Word(Typed["board"]);
  if (Typed.count("square") != 0) Board.Flags += " --square " + Shell_Word(Typed["square"]);
  if (Board.Flags.front() == ' ') Board.Flags.erase(0, 1);
  return Board;
}

Inspection Inspect_Written(const fs::path& Csv, const std::optional<Chessboard>& Board) {
  Inspection_Inputs Inputs;
  Inputs.Csv = Csv;
  Inputs.Image_Root = fs::absolute(Csv).parent_path();
  Inputs.Opens_Images = Board.has_value();
  if (Board) {
    Inputs.Board.Board = Board->Corners;
    Inputs.Board.Square_Size = Board->Square;
    Inputs.First_Marker = Board->First_Marker;
  }
  const auto Shown = std::make_shared<Progress_Output>(Is_Terminal(stderr) ? Progress_Kind::Line
                                                                           : Progress_Kind::None);
  return Inspect_Capture(Inputs, [Shown](std::size_t Done, std::size_t All) {
    Shown->Show(fmt::format("Searching for boards: {} of {}", Done, All));
  });
}

// ---- The command -----------------------------------------------------------------------------

// The rows of a clip get the frames that are cut for them.
void Cut_Rows(const Clip& From, const fs::path& Csv, Capture_Import& Made) {
  std::vector<std::size_t> Frames;
  for (std::size_t i = 0; i < Made.Frames.size(); ++i) {
    if (Made.Record.Rows[i].Refusal.empty()) Frames.push_back(*Made.Frames[i]);
  }
  const fs::path Folder = fs::absolute(Csv).parent_path() / "images";
  Make_Image_Folder(Folder);
  const std::vector<fs::path> Files =
      Cut_Frames(From, Frames, Folder, Shown_Progress("Cutting frames"));
  std::size_t Next = 0;
  for (Imported_Row& Row : Made.Record.Rows) {
    if (Row.Refusal.empty()) Row.Picture = Files[Next++];
  }
}

// What was left out of the take may be why nothing comes of it, so a refusal tells it too.
Capture_Import Import_Pictures(const Import_Arguments& Arguments, const Take& Tracks,
                               const Import_Request& Request) try {
  Capture_Import Made;
  if (Arguments.Clip.empty()) {
    Made = Import_Photographs(Tracks, Read_Pictures(Arguments), Request);
    Made.Record.Pictures = Arguments.Images;
  } else {
    const Clip From = Scan_Clip(Arguments.Clip, Shown_Progress("Reading the clip"));
    Made = Import_Clip(Tracks, From, Request);
    Made.Record.Pictures = From.File;
    Cut_Rows(From, Arguments.Output, Made);
  }
  Made.Record.Takes = {Arguments.Take};
  if (!Arguments.Second_Take.empty()) Made.Record.Takes.emplace_back(Arguments.Second_Take);
  return Made;
} catch (const Usage_Error&) {
  for (const std::string& Text : Tracks.Warnings) Warn(Text);
  throw;
}

int Import(const Import_Arguments& Arguments) {
  const fs::path Csv = Arguments.Output;
  Refuse_Other_Capture(Csv);
  const Import_Request Request = Read_Request(Arguments);
  Stage_Settings Stage;
  if (!Arguments.Config.empty()) Stage = Read_Stage_File(Arguments.Config, Stage_Keys());
  const std::optional<Chessboard> Board = Read_Chessboard(Arguments, Stage);
  const Take Tracks = Read_Takes(Arguments, Read_Axes(Arguments, Stage));
  Check_Bodies(Tracks, Request);
  Capture_Import Made = Import_Pictures(Arguments, Tracks, Request);
  Write_Capture(Csv, Made.Record);
  for (const std::string& Text : Made.Warnings) Warn(Text);
  const bool Colour = Uses_Colour(stdout);
  Print(Import_Text(Made, Csv, Colour) + "\n");
  const Inspection Inspected = Inspect_Written(Csv, Board);
  Print(Inspection_Text(Inspected, Colour));
  const int Status = Inspection_Status(Inspected.All_Findings);
  if (Inspected.All_Findings.Gravest() == Level::Error) return Status;
  Print(Next_Command_Text(Made.Record, Csv,
                          Board ? Board->Flags : "--board COLSxROWS --square LENGTH", Colour));
  return Status;
}

void Add_Take_Flags(CLI::App& Command, Import_Arguments& Arguments) {
  Command.add_option("TAKE", Arguments.Take, "what the tracking system recorded")->required();
  Command.add_option("TAKE2", Arguments.Second_Take,
                     "a second file with other bodies, on the same clock");
  Command.add_option("--camera", Arguments.Camera, "the body on the camera, as the take calls it")
      ->required()
      ->type_name("NAME");
  Command
      .add_option("--board", Arguments.Board,
                  "the body on the board (default: none, the board stands still)")
      ->type_name("NAME");
  Command
      .add_option("--format", Arguments.Format,
                  "motive, vicon, qualisys, tum, eth or euroc (default: by its content)")
      ->type_name("FORMAT");
  Command
      .add_option("--rotation", Arguments.Rotation,
                  "how rotations are meant that the file leaves open: helical, euler-xyz-body, "
                  "euler-xyz-fixed, ... (docs/takes.md)")
      ->type_name("FORM");
  Command.add_option("--map", Arguments.Map, "a TOML map of the columns of any other table")
      ->type_name("FILE");
  Command
      .add_option("--axes", Arguments.Axes,
                  "the file's axes that become x, y and z: x,-z,y; for a recording a map of its "
                  "slots: pan=-pan,x=y,y=x")
      ->type_name("AXES");
  Command.add_flag("--ignore-checksum", Arguments.Ignores_Checksums,
                   "of a recording: read packets with a wrong checksum too");
  Command
      .add_option("--lost-status", Arguments.Lost_Statuses,
                  "of a recording: a tracker status with this text means that the body is lost; "
                  "may be repeated")
      ->type_name("TEXT")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
}

void Add_Picture_Flags(Command_Line& Line, CLI::App& Command, Import_Arguments& Arguments) {
  CLI::Option* const Images =
      Command.add_option("--images", Arguments.Images, "a folder of photographs")->type_name("DIR");
  CLI::Option* const From_Clip =
      Command.add_option("--clip", Arguments.Clip, "a clip, read by the program ffmpeg")
          ->type_name("FILE");
  Images->excludes(From_Clip);
  CLI::Option* const Times = Command
                                 .add_option("--times", Arguments.Times,
                                             "a list of the photographs' times (docs/import.md)")
                                 ->type_name("FILE")
                                 ->needs(Images);
  Command
      .add_option("--times-rate", Arguments.Times_Rate, "frames a second of timecodes in the list")
      ->type_name("RATE")
      ->needs(Times);
  Require_Choice(Line,
                 Command
                     .add_option("--times-from", Arguments.Times_From,
                                 "exif or file: where the times come from (default: EXIF if the "
                                 "photographs have it)")
                     ->type_name("SOURCE")
                     ->needs(Images)
                     ->excludes(Times),
                 {"exif", "file"});
  Command
      .add_option("--offset", Arguments.Offset,
                  "time on the take's clock less time on the pictures' clock (default: by "
                  "timecode, otherwise by motion)")
      ->type_name("SECONDS");
}

void Add_Row_Flags(Command_Line& Line, CLI::App& Command, Import_Arguments& Arguments) {
  Command
      .add_option("--still", Arguments.Still,
                  "up to these speeds a body stands still (default: what its noise asks for, at "
                  "least 10mm/s,0.5deg/s)")
      ->type_name("SPEEDS");
  Command.add_option("--hold", Arguments.Hold, "the shortest hold (default: 0.5)")
      ->type_name("SECONDS");
  Command
      .add_option("--max-speed", Arguments.Largest_Speed,
                  "a row needs bodies that are slower (default: 5mm/s,0.3deg/s; with --pose "
                  "picture 50mm/s,3deg/s)")
      ->type_name("SPEEDS");
  Require_Choice(
      Line,
      Command
          .add_option("--pose", Arguments.Pose,
                      "hold: the median of the hold; picture: the pose at the picture's time, for "
                      "a board in a hand")
          ->type_name("CHOICE")
          ->capture_default_str(),
      {"hold", "picture"});
  Command
      .add_option("-o,--output", Arguments.Output,
                  "the capture's CSV file; import.json and images/ are beside it")
      ->required()
      ->type_name("FILE");
  Command
      .add_option("--config", Arguments.Config,
                  "stage file: its axes, and its board, square and markers for the inspection of "
                  "the images")
      ->type_name("FILE");
  Command
      .add_option("--corners", Arguments.Corners,
                  "inner corners of the board, where four squares meet (elsewhere: --board)")
      ->type_name("COLSxROWS");
  Command.add_option("--square", Arguments.Square, "edge length of one square: 30mm")
      ->type_name("LENGTH");
}

}  // namespace

void Add_Import_Command(Command_Line& Line) {
  CLI::App* Command = Line.Program.add_subcommand(
      "import", "Make a capture from a take of a tracking system and pictures.");
  const auto Arguments = std::make_shared<Import_Arguments>();
  Add_Take_Flags(*Command, *Arguments);
  Add_Picture_Flags(Line, *Command, *Arguments);
  Add_Row_Flags(Line, *Command, *Arguments);
  Command->group("Commands");
  Command->footer(Import_Footer);
  Command->callback([&Line, Arguments] {
    if (Arguments->Images.empty() && Arguments->Clip.empty()) {
      throw Usage_Error("--images",
                        "--images: missing; name a folder of photographs, or a clip "
                        "with --clip");
    }
    Line.Action = [Arguments] { return Import(*Arguments); };
  });
}

}  // namespace rigsync
