// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync simulate': a capture with known ground truth, to try out a calibration without a stage
// and to see how noise and bad samples affect it.
#include "rigsync/capture/board_size.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/commands/simulate_stream.h"
#include "rigsync/formats/stage_file.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "simulate/clip.h"
#include "simulate/simulate.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Simulate_Footer =
    R"(DIR receives the photographs, capture.csv, truth.json (the true values, for
'rigsync compare') and stage.json (board size and estimated board mount, for
'rigsync calibrate --config'). The same seed gives the same capture on every
machine. Lengths are in metres unless they have a unit, as in 0.3mm.

Exit status: 0 on success, 2 for wrong usage or a folder that can't be written,
70 when rendering fails.

Example:
  rigsync simulate capture --images 24 --position-noise 0.3mm \
    --rotation-noise 0.03 --stale 2)";

// Where an option of the simulator is set: a flag, and which of its values where it has several.
struct Flag_Value {
  std::string Flag, Part;
};

struct Simulate_Arguments {
  std::string Directory;
  simulate::Options Options;
  bool Quiet = false;
  Stream_Arguments Stream;
  std::map<std::string, Flag_Value> Flag_Of_Option;  // by the name of the member of Options
  std::set<std::string> Typed;                       // the flags on this command line
};

template <typename Value>
using Named = std::vector<std::pair<std::string, Value>>;

const Named<simulate::Spread>& Spreads() {
  static const Named<simulate::Spread> Names = {{"good", simulate::Spread::Good},
                                                {"frontal", simulate::Spread::Frontal},
                                                {"centred", simulate::Spread::Centred},
                                                {"one-axis", simulate::Spread::One_Axis},
                                                {"same-pose", simulate::Spread::Same_Pose}};
  return Names;
}

const Named<std::string>& Image_Formats() {
  static const Named<std::string> Names = {{"png", "png"}, {"jpg", "jpg"}};
  return Names;
}

const Named<simulate::Path_Form>& Path_Forms() {
  static const Named<simulate::Path_Form> Names = {{"absolute", simulate::Path_Form::Absolute},
                                                   {"relative", simulate::Path_Form::Relative},
                                                   {"name", simulate::Path_Form::Name_Only},
                                                   {"backslash", simulate::Path_Form::Backslash}};
  return Names;
}

const Named<simulate::Take_Format>& Take_Formats() {
  using simulate::Take_Format;
  static const Named<Take_Format> Names = {{"none", Take_Format::None},
                                           {"motive", Take_Format::Motive},
                                           {"vicon", Take_Format::Vicon},
                                           {"vicon-quaternion", Take_Format::Vicon_Quaternion},
                                           {"qualisys", Take_Format::Qualisys},
                                           {"tum", Take_Format::Tum},
                                           {"eth", Take_Format::Eth},
                                           {"euroc", Take_Format::Euroc},
                                           {"csv", Take_Format::Csv}};
  return Names;
}

const Named<simulate::Length_Unit>& Take_Units() {
  static const Named<simulate::Length_Unit> Names = {{"m", simulate::Length_Unit::Metres},
                                                     {"mm", simulate::Length_Unit::Millimetres}};
  return Names;
}

// The value of a name that the command line has checked.
template <typename Value>
Value Value_Of(const std::string& Name, const Named<Value>& Names) {
  const auto Found = std::find_if(Names.begin(), Names.end(),
                                  [&](const auto& Entry) { return Entry.first == Name; });
  return Found->second;
}

template <typename Value>
std::string Name_Of(Value Sought, const Named<Value>& Names) {
  const auto Found = std::find_if(Names.begin(), Names.end(),
                                  [&](const auto& Entry) { return Entry.second == Sought; });
  return Found->first;
}

std::vector<double> List(const Eigen::Vector3d& Values) {
  return {Values.x(), Values.y(), Values.z()};
}

std::string Millimetres(double Value) {
  return fmt::format("{}mm", Value);
}

std::string Metres(const Eigen::Vector3d& Values) {
  return Comma_List(List(Values));
}

// Adds flags that set options of the simulator. Help shows an option's default as it would be
// typed; a typed value is parsed by the function for its kind.
class Simulator_Flags {
 public:
  Simulator_Flags(Command_Line& Whole_Line, CLI::App& Owner,
                  std::shared_ptr<Simulate_Arguments> Target)
      : Line(Whole_Line), Command(Owner), Arguments(std::move(Target)) {}

  const simulate::Options& Default() const { return Arguments->Options; }

  void Set_Group(const char* Name) { Group = Name; }

  // A flag that sets one option, called Option in simulate::Options. Set stores the typed text:
  // Set(Options, Flag, Text).
  template <typename Setter>
  CLI::Option* Add(const std::string& Flag, const std::string& Option, const char* Type,
                   const std::string& Default_Text, const char* Help, Setter Set) {
    Arguments->Flag_Of_Option[Option] = {Flag, ""};
    return Add_Text(Flag, Type, Default_Text, Help, Set);
  }

  // A flag that sets two options, each with the word for its part of the value.
  template <typename Setter>
  void Add_Pair(const std::string& Flag, const Named<const char*>& Options_And_Parts,
                const char* Type, const std::string& Default_Text, const char* Help, Setter Set) {
    for (const auto& [Option, Part] : Options_And_Parts) {
      Arguments->Flag_Of_Option[Option] = {Flag, Part};
    }
    Add_Text(Flag, Type, Default_Text, Help, Set);
  }

  template <typename Value>
  void Choice(const std::string& Flag, const std::string& Option, const char* Type,
              const Named<Value>& Names, Value simulate::Options::*Member, const char* Help) {
    std::vector<std::string> Words;
    for (const auto& Entry : Names) Words.push_back(Entry.first);
    Require_Choice(
        Line,
        Add(Flag, Option, Type, Name_Of(Default().*Member, Names), Help,
            [Member, &Names](simulate::Options& Options, const std::string& /*Flag*/,
                             const std::string& Text) { Options.*Member = Value_Of(Text, Names); }),
        Words);
  }

  // The same for an option of the recording.
  template <typename Value>
  CLI::Option* Nested_Choice(const std::string& Flag, const std::string& Option, const char* Type,
                             const Named<Value>& Names, Value simulate::Recording_Options::*Member,
                             const char* Help) {
    std::vector<std::string> Words;
    for (const auto& Entry : Names) Words.push_back(Entry.first);
    CLI::Option* const Added =
        Add(Flag, Option, Type, Name_Of(Default().Recording.*Member, Names), Help,
            [Member, &Names](simulate::Options& Options, const std::string& /*Flag*/,
                             const std::string& Text) {
              Options.Recording.*Member = Value_Of(Text, Names);
            });
    Require_Choice(Line, Added, Words);
    return Added;
  }

  void Count(const std::string& Flag, const std::string& Option, int simulate::Options::*Member,
             const char* Help) {
    Add(Flag, Option, "N", fmt::format("{}", Default().*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = static_cast<int>(Parse_Whole(Name, Text, 0, 100000));
        });
  }

  void Number(const std::string& Flag, const std::string& Option, double simulate::Options::*Member,
              const char* Help) {
    Add(Flag, Option, "X", fmt::format("{}", Default().*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Parse_Number(Name, Text);
        });
  }

  void Angle(const std::string& Flag, const std::string& Option, double simulate::Options::*Member,
             const char* Help) {
    Add(Flag, Option, "DEG", fmt::format("{}", Default().*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Parse_Angle(Name, Text);
        });
  }

  void Length_Mm(const std::string& Flag, const std::string& Option,
                 double simulate::Options::*Member, const char* Help) {
    Add(Flag, Option, "LENGTH", Millimetres(Default().*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Parse_Length(Name, Text) * 1000.0;
        });
  }

  void Angles(const std::string& Flag, const std::string& Option,
              Eigen::Vector3d simulate::Options::*Member, const char* Help) {
    Add(Flag, Option, "A,B,C", Comma_List(List(Default().*Member)), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Eigen::Vector3d(Parse_Angles(Name, Text).data());
        });
  }

  void Offset(const std::string& Flag, const std::string& Option,
              Eigen::Vector3d simulate::Options::*Member, const char* Help) {
    Add(Flag, Option, "X,Y,Z", Metres(Default().*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Eigen::Vector3d(Parse_Offset(Name, Text).data());
        });
  }

  // Two numbers with a comma between them.
  void Pair(const std::string& Flag, const Named<const char*>& Options_And_Parts, const char* Type,
            double simulate::Options::*First, double simulate::Options::*Second, const char* Help) {
    Add_Pair(Flag, Options_And_Parts, Type,
             fmt::format("{},{}", Default().*First, Default().*Second), Help,
             [First, Second](simulate::Options& Options, const std::string& Name,
                             const std::string& Text) {
               const std::array<double, 2> Values = Parse_Pair(Name, Text);
               Options.*First = Values[0];
               Options.*Second = Values[1];
             });
  }

 private:
  template <typename Setter>
  CLI::Option* Add_Text(const std::string& Flag, const char* Type, const std::string& Default_Text,
                        const char* Help, Setter Set) {
    const std::shared_ptr<Simulate_Arguments> Target = Arguments;
    return Command
        .add_option_function<std::string>(
            Flag,
            [Flag, Target, Set](const std::string& Text) {
              Target->Typed.insert(Flag);
              Set(Target->Options, Flag, Text);
            },
            Help)
        ->type_name(Type)
        ->default_str(Default_Text)
        ->group(Group);
  }

  Command_Line& Line;
  CLI::App& Command;
  std::shared_ptr<Simulate_Arguments> Arguments;
  std::string Group;
};

void Add_Photograph_Flags(Simulator_Flags& Flags) {
  using simulate::Options;
  const Options& Default = Flags.Default();
  Flags.Set_Group("Photographs");
  Flags.Count("--images", "Image_Count", &Options::Image_Count, "number of photographs");
  Flags.Add_Pair("--size", {{"Width", "width"}, {"Height", "height"}}, "WxH",
                 fmt::format("{}x{}", Default.Width, Default.Height), "image size in pixels",
                 [](Options& Target, const std::string& Name, const std::string& Text) {
                   const std::array<int, 2> Sides = Parse_Pixels(Name, Text);
                   Target.Width = Sides[0];
                   Target.Height = Sides[1];
                 });
  Flags.Add_Pair(
      "--board", {{"Board_Cols", "columns"}, {"Board_Rows", "rows"}}, "COLSxROWS",
      fmt::format("{}x{}", Default.Board_Cols, Default.Board_Rows),
      "inner corners of the board, where four squares meet (picture: rigsync board --help)",
      [](Options& Target, const std::string& Name, const std::string& Text) {
        const Board_Size Board = Parse_Board(Name, Text);
        Target.Board_Cols = Board.Cols;
        Target.Board_Rows = Board.Rows;
      });
  Flags.Add("--square", "Square_Size", "LENGTH", fmt::format("{}", Default.Square_Size),
            "edge length of one square",
            [](Options& Target, const std::string& Name, const std::string& Text) {
              Target.Square_Size = Parse_Square(Name, Text);
            });
  Flags
      .Add("--markers", "First_Marker", "[FIRST]", "",
           "ArUco markers in the white squares, as rigsync board --markers draws them, from the id "
           "FIRST on (0 without it)",
           [](Options& Target, const std::string& Name, const std::string& Text) {
             Target.First_Marker = Text.empty() ? 0 : Parse_Marker(Name, Text);
           })
      ->expected(0, 1);
  Flags.Number("--marker-size", "Marker_Size", &Options::Marker_Size,
               "edge of a marker, as a fraction of a square's");
  Flags.Choice("--spread", "Pose_Spread", "NAME", Spreads(), &Options::Pose_Spread,
               "how the operator moves: good, frontal, centred, one-axis, same-pose");
  Flags.Number("--blur", "Blur_Pixels", &Options::Blur_Pixels,
               "standard deviation of the lens blur, pixels");
  Flags.Number("--sensor-noise", "Sensor_Noise", &Options::Sensor_Noise,
               "standard deviation, in grey levels of 255");
  Flags.Number("--lighting", "Lighting_Gradient", &Options::Lighting_Gradient,
               "brightness lost from the lit corner to the opposite one, 0 to 1");
  Flags.Choice("--format", "Image_Format", "NAME", Image_Formats(), &Options::Image_Format,
               "png or jpg");
  Flags.Add("--jpeg-quality", "Jpeg_Quality", "N", fmt::format("{}", Default.Jpeg_Quality),
            "1 to 100", [](Options& Target, const std::string& Name, const std::string& Text) {
              Target.Jpeg_Quality = static_cast<int>(Parse_Whole(Name, Text, 1, 100));
            });
}

void Add_Rig_Flags(Simulator_Flags& Flags) {
  using simulate::Options;
  Flags.Set_Group("Lens and mounts");
  Flags.Pair("--focal", {{"Norm_Fx", "x"}, {"Norm_Fy", "y"}}, "FX,FY", &Options::Norm_Fx,
             &Options::Norm_Fy,
             "focal lengths as fractions of image width and height; FY = 0 means square pixels");
  Flags.Pair("--principal-point", {{"Norm_Cx", "x"}, {"Norm_Cy", "y"}}, "CX,CY", &Options::Norm_Cx,
             &Options::Norm_Cy, "as fractions of image width and height");
  Flags.Pair("--distortion", {{"K1", "k1"}, {"K2", "k2"}}, "K1,K2", &Options::K1, &Options::K2,
             "radial distortion coefficients");
  Flags.Angles("--camera-mount-euler", "Camera_Mount_Euler_Deg", &Options::Camera_Mount_Euler_Deg,
               "rotation of Transform_Cam_Tc, degrees: Rx(A) Ry(B) Rz(C)");
  Flags.Offset("--camera-mount-offset", "Camera_Mount_Offset", &Options::Camera_Mount_Offset,
               "translation of Transform_Cam_Tc");
  Flags.Angles("--board-mount-euler", "Board_Mount_Euler_Deg", &Options::Board_Mount_Euler_Deg,
               "rotation of the board in its tracker's frame, degrees: Rx(A) Ry(B) Rz(C)");
  Flags.Offset("--board-mount-offset", "Board_Mount_Offset", &Options::Board_Mount_Offset,
               "position of the first inner corner in the frame of the board's tracker");
  Flags.Angle("--estimate-error-angle", "Estimate_Error_Deg", &Options::Estimate_Error_Deg,
              "error of the angles in stage.json, on each axis");
  Flags.Length_Mm("--estimate-error-offset", "Estimate_Error_Mm", &Options::Estimate_Error_Mm,
                  "error of the offset in stage.json, on each axis");
}

void Add_Trouble_Flags(Simulator_Flags& Flags) {
  using simulate::Options;
  Flags.Set_Group("Errors");
  Flags.Length_Mm("--position-noise", "Position_Noise_Mm", &Options::Position_Noise_Mm,
                  "tracker position noise, standard deviation on each axis");
  Flags.Angle("--rotation-noise", "Rotation_Noise_Deg", &Options::Rotation_Noise_Deg,
              "tracker rotation noise, standard deviation on each axis");
  Flags.Count("--stale", "Stale_Count", &Options::Stale_Count,
              "rows whose camera sample repeats the previous row");
  Flags.Length_Mm("--stale-offset", "Stale_Mm", &Options::Stale_Mm,
                  "how far the camera has moved since the repeated sample");
  Flags.Angle("--stale-angle", "Stale_Deg", &Options::Stale_Deg,
              "how far the camera has turned since the repeated sample");
  Flags.Count("--jumped", "Jump_Count", &Options::Jump_Count,
              "rows whose camera sample has jumped");
  Flags.Length_Mm("--jump-offset", "Jump_Mm", &Options::Jump_Mm, "translation of a jump");
  Flags.Angle("--jump-angle", "Jump_Deg", &Options::Jump_Deg, "rotation of a jump");
  Flags.Count("--missing", "Missing_Count", &Options::Missing_Count, "images that are not written");
  Flags.Count("--blank", "Blank_Count", &Options::Blank_Count, "images without a board");
  Flags.Count("--truncated", "Truncated_Count", &Options::Truncated_Count,
              "images cut off after half their bytes");
  Flags.Count("--cut", "Cut_Count", &Options::Cut_Count,
              "images in which the edge of the frame cuts off a part of the board");
}

void Add_File_Flags(Simulator_Flags& Flags) {
  using simulate::Options;
  Flags.Set_Group("Files");
  Flags.Choice("--paths", "Paths", "FORM", Path_Forms(), &Options::Paths,
               "image paths in the CSV: absolute, relative, name, backslash");
  Flags.Add("--seed", "Seed", "N", fmt::format("{}", Flags.Default().Seed),
            "seed of all random numbers",
            [](Options& Target, const std::string& Name, const std::string& Text) {
              constexpr long Most = std::numeric_limits<unsigned>::max();
              Target.Seed = static_cast<unsigned>(Parse_Whole(Name, Text, 0, Most));
            });
}

// A range of times, SHORTEST,LONGEST in seconds.
void Add_Seconds_Range(Simulator_Flags& Flags, const std::string& Flag,
                       const std::array<const char*, 2>& Options,
                       double simulate::Recording_Options::*Shortest,
                       double simulate::Recording_Options::*Longest, const char* Help) {
  const simulate::Recording_Options& Default = Flags.Default().Recording;
  Flags.Add_Pair(Flag, {{Options[0], "shortest"}, {Options[1], "longest"}}, "A,B",
                 fmt::format("{},{}", Default.*Shortest, Default.*Longest), Help,
                 [Shortest, Longest](simulate::Options& Target, const std::string& Name,
                                     const std::string& Text) {
                   const std::array<double, 2> Values = Parse_Pair(Name, Text);
                   Target.Recording.*Shortest = Values[0];
                   Target.Recording.*Longest = Values[1];
                 });
}

// How the rig moves between the photographs, and what the trackers make of it.
void Add_Motion_Flags(Simulator_Flags& Flags) {
  using simulate::Recording_Options;
  const Recording_Options& Default = Flags.Default().Recording;
  Add_Seconds_Range(Flags, "--hold", {"Shortest_Hold", "Longest_Hold"},
                    &Recording_Options::Shortest_Hold, &Recording_Options::Longest_Hold,
                    "how long the rig holds still for a photograph, from A to B seconds");
  Add_Seconds_Range(Flags, "--move", {"Shortest_Move", "Longest_Move"},
                    &Recording_Options::Shortest_Move, &Recording_Options::Longest_Move,
                    "how long it takes to the next one, from A to B seconds");
  Flags.Add("--clock-offset", "Clock_Offset", "TIME", fmt::format("{}s", Default.Clock_Offset),
            "time on the take's clock less time on that of the pictures",
            [](simulate::Options& Target, const std::string& Name, const std::string& Text) {
              Target.Recording.Clock_Offset = Parse_Seconds(Name, Text);
            });
  Flags.Add("--drift", "Drift_Mm_Per_Second", "LENGTH", Millimetres(Default.Drift_Mm_Per_Second),
            "how far each tracked body moves in a second of a hold",
            [](simulate::Options& Target, const std::string& Name, const std::string& Text) {
              Target.Recording.Drift_Mm_Per_Second = Parse_Length(Name, Text) * 1000.0;
            });
  Flags.Add("--drift-angle", "Drift_Deg_Per_Second", "DEG",
            fmt::format("{}", Default.Drift_Deg_Per_Second),
            "how far each tracked body turns in a second of a hold",
            [](simulate::Options& Target, const std::string& Name, const std::string& Text) {
              Target.Recording.Drift_Deg_Per_Second = Parse_Angle(Name, Text);
            });
  Flags.Add("--lag", "Lag_Ms", "TIME", fmt::format("{}ms", Default.Lag_Ms),
            "how much older a tracker sample is than its time says",
            [](simulate::Options& Target, const std::string& Name, const std::string& Text) {
              Target.Recording.Lag_Ms = Parse_Seconds(Name, Text) * 1000.0;
            });
}

void Add_Take_Flags(Simulator_Flags& Flags) {
  using simulate::Recording_Options;
  const Recording_Options& Default = Flags.Default().Recording;
  Flags.Set_Group("Take and clip");
  Flags.Nested_Choice(
      "--take", "Format", "FORMAT", Take_Formats(), &Recording_Options::Format,
      "also write what the tracking system records: motive, vicon (rotation vectors), "
      "vicon-quaternion, qualisys, tum, eth, euroc, csv (with a map of its columns)");
  Flags.Nested_Choice("--take-unit", "Unit", "UNIT", Take_Units(), &Recording_Options::Unit,
                      "lengths in a Motive take: m or mm");
  Flags.Add("--take-rate", "Rate_Hz", "HZ", fmt::format("{}", Default.Rate_Hz),
            "samples of the take per second",
            [](simulate::Options& Target, const std::string& Name, const std::string& Text) {
              Target.Recording.Rate_Hz = Parse_Number(Name, Text);
            });
  Flags.Add("--lost", "Lost_Percent", "PERCENT", fmt::format("{}", Default.Lost_Percent),
            "share of the samples that the take has lost",
            [](simulate::Options& Target, const std::string& Name, const std::string& Text) {
              Target.Recording.Lost_Percent = Parse_Number(Name, Text);
            });
}

// Flags that would change nothing in a capture without a take, or without take and clip.
void Refuse_Flags_Without_Take(const Simulate_Arguments& Arguments) {
  const simulate::Recording_Options& Recording = Arguments.Options.Recording;
  if (Recording.Format != simulate::Take_Format::None) return;
  if (Arguments.Typed.count("--take-unit") != 0) {
    throw Usage_Error("--take-unit", "--take-unit requires --take");
  }
  if (Recording.Is_Streamed) return;
  for (const char* Flag : {"--take-rate", "--lost"}) {
    if (Arguments.Typed.count(Flag) == 0) continue;
    throw Usage_Error(Flag, fmt::format("{} requires --take or --stream", Flag));
  }
  if (Recording.Clip) return;
  for (const char* Flag : {"--hold", "--move", "--clock-offset", "--regular-holds"}) {
    if (Arguments.Typed.count(Flag) == 0) continue;
    throw Usage_Error(Flag, fmt::format("{} requires --take, --clip or --stream", Flag));
  }
}

// What an operator would know of this stage before the calibration.
Stage_Settings Settings_Of(const simulate::Plan& Capture) {
  const simulate::Options& Options = Capture.Settings;
  Stage_Settings Settings = {
      {"board", fmt::format("{}x{}", Options.Board_Cols, Options.Board_Rows)},
      {"square", fmt::format("{}", Options.Square_Size)},
      {"board-euler", Comma_List(List(Capture.Chart_Euler_Deg))},
      {"board-offset", Metres(Capture.Chart_Translation)}};
  if (Options.First_Marker >= 0) Settings["markers"] = fmt::format("{}", Options.First_Marker);
  return Settings;
}

// The simulator refuses its options by their names; the user typed flags.
Usage_Error In_Flags(const simulate::Refused_Options& Refusal,
                     const std::map<std::string, Flag_Value>& Flag_Of_Option) {
  std::vector<std::string> Flags;
  for (const std::string& Option : Refusal.Names) {
    const auto& [Flag, Part] = Flag_Of_Option.at(Option);
    Flags.push_back(Part.empty() ? Flag : fmt::format("{} ({})", Flag, Part));
  }
  return {Flag_Of_Option.at(Refusal.Names.front()).Flag,
          fmt::format("{} {}", fmt::join(Flags, ", "), Refusal.Rule)};
}

// A line of the CSV has commas between its fields and no quotes.
void Refuse_Commas(const Simulate_Arguments& Arguments) {
  const simulate::Path_Form Paths = Arguments.Options.Paths;
  if (Paths != simulate::Path_Form::Absolute && Paths != simulate::Path_Form::Backslash) return;
  if (Arguments.Directory.empty()) return;  // refused with the other unusable folders
  if (fs::absolute(Arguments.Directory).string().find_first_of(",\n\r") == std::string::npos)
    return;
  Refuse("DIR", Arguments.Directory,
         "a folder whose path has no comma or line break, because the CSV contains it; or add "
         "--paths relative");
}

// Space that a capture needs in any case: the two tables. The size of the photographs is known only
// when they are rendered.
std::uintmax_t Needed_Bytes(const simulate::Options& Options) {
  constexpr std::uintmax_t Base = 1'000'000, Per_Image = 1'000;
  return Base + Per_Image * static_cast<std::uintmax_t>(Options.Image_Count);
}

// A capture that isn't a simulation's, or what else has the name of a file, can't be taken again.
// truth.json is the first file of a simulation.
void Refuse_Other_Files(const simulate::Plan& Capture, const fs::path& Directory) {
  std::error_code Ignored;
  if (fs::exists(Directory / "truth.json", Ignored)) return;
  std::vector<fs::path> Files = simulate::Files_Of(Capture, Directory);
  Files.push_back(Directory / "stage.json");
  for (const fs::path& File : Files) {
    if (!fs::exists(File, Ignored)) continue;
    throw Usage_Error("DIR", fmt::format("DIR: {} is there and not from a simulation; it is left "
                                         "as it is. Name another folder, or move it away",
                                         File.string()));
  }
}

// What an interrupted run prints last, on a line of its own.
std::string Interrupted(const fs::path& Directory, Progress_Kind Kind) {
  return (Kind == Progress_Kind::Line ? Clear_Line : "") +
         Folded("rigsync: interrupted; what is written so far is not a complete capture:", 0) +
         "  " + Terminal_Text(Directory.string()) + "\n";
}

void Write_Files(const simulate::Plan& Capture, const fs::path& Directory, Progress_Kind Kind) {
  Refuse_Other_Files(Capture, Directory);
  const Folder_Lock Lock(Directory, /*Seconds=*/0.0);
  if (Lock.Is_Taken()) {
    throw Usage_Error("DIR", fmt::format("DIR: another 'rigsync simulate' writes to {} now. Wait "
                                         "for its end, or name another folder",
                                         Directory.string()));
  }
  const Interrupt_Text Interruption(Interrupted(Directory, Kind));
  Progress_Output Progress(Kind);
  const std::size_t Frames =
      Capture.Settings.Recording.Clip ? simulate::Clip_Frame_Count(Capture) : 0;
  Progress.Begin(fmt::format("rendering {} photographs{}", Capture.Images.size(),
                             Frames > 0 ? fmt::format(" and {} frames", Frames) : ""));
  std::error_code Ignored;
  fs::remove(Directory / "stage.json", Ignored);  // of an earlier capture, with another board
  simulate::Write_Capture(Capture, Directory, [&](std::size_t Done, std::size_t All) {
    const double Left =
        Progress.Seconds() / static_cast<double>(Done) * static_cast<double>(All - Done);
    Progress.Show(fmt::format("Rendering {}: {} of {}, {} left",
                              Frames > 0 ? "photographs and clip" : "photographs", Done, All,
                              Duration_Text(Left)));
  });
  Write_Stage_File(Directory / "stage.json", Settings_Of(Capture));
}

int Simulate(Simulate_Arguments Arguments) {
  const auto Start = std::chrono::steady_clock::now();
  Arguments.Options.Recording.Is_Streamed = !Arguments.Stream.Form.empty();
  const Stream_Plan Stream = Read_Stream_Plan(Arguments.Stream);
  Refuse_Flags_Without_Take(Arguments);
  simulate::Plan Capture;
  try {
    Capture = simulate::Make_Plan(Arguments.Options);
  } catch (const simulate::Refused_Options& Refusal) {
    throw In_Flags(Refusal, Arguments.Flag_Of_Option);
  }
  Refuse_Commas(Arguments);
  Make_Out_Folder("DIR", Arguments.Directory, Needed_Bytes(Arguments.Options), "the capture");
  const fs::path Directory(Arguments.Directory);
  Write_Files(Capture, Directory, Kind_Of_Progress(Arguments.Quiet));

  const simulate::Options& Options = Arguments.Options;
  const std::chrono::duration<double> Elapsed = std::chrono::steady_clock::now() - Start;
  fmt::print("Simulated {} images of {} x {} pixels with seed {} in {:.1f} s.\n",
             Options.Image_Count, Options.Width, Options.Height, Options.Seed, Elapsed.count());
  const std::pair<int, const char*> Troubles[] = {{Options.Stale_Count, "a stale tracker sample"},
                                                  {Options.Jump_Count, "a jumped tracker sample"},
                                                  {Options.Missing_Count, "a missing image"},
                                                  {Options.Blank_Count, "an image without a board"},
                                                  {Options.Truncated_Count, "a truncated image"},
                                                  {Options.Cut_Count, "a board that is cut off"}};
  for (const auto& [Count, Name] : Troubles) {
    if (Count > 0) fmt::print("  rows with {}: {}\n", Name, Count);
  }
  Print(fmt::format("  capture          {}\n", (Directory / "capture.csv").string()));
  for (const std::string& Name : simulate::Take_Names(Options.Recording)) {
    Print(fmt::format("  take             {}\n", (Directory / Name).string()));
  }
  if (Options.Recording.Clip) {
    Print(fmt::format("  clip             {}\n", (Directory / "clip.avi").string()));
  }
  if (simulate::Is_Timed(Options.Recording)) {
    Print(fmt::format("  picture times    {}\n", (Directory / "times.csv").string()));
  }
  Print(fmt::format("  truth            {}\n", (Directory / "truth.json").string()));
  Print(fmt::format("  board, estimate  {}\n", (Directory / "stage.json").string()));
  std::fflush(stdout);
  if (Options.Recording.Is_Streamed) Send_Stream(Stream, Capture, Arguments.Quiet);
  Print(fmt::format("Calibrate it with\n  rigsync calibrate {}{}--config {} --out RESULT_DIR\n",
                    Shell_Word((Directory / "capture.csv").string()), Line_Continuation(4),
                    Shell_Word((Directory / "stage.json").string())));
  return Exit_Success;
}

}  // namespace

void Add_Simulate_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("simulate", "Render a capture with known ground truth.");
  const auto Arguments = std::make_shared<Simulate_Arguments>();
  Command->add_option("DIR", Arguments->Directory, "folder for the capture, created if missing")
      ->required();
  Simulator_Flags Flags(Line, *Command, Arguments);
  Add_Photograph_Flags(Flags);
  Add_Rig_Flags(Flags);
  Add_Trouble_Flags(Flags);
  Add_Take_Flags(Flags);
  Add_Motion_Flags(Flags);
  const auto Add_Switch = [&](const char* Flag, bool simulate::Recording_Options::*Member,
                              const char* Help) {
    Command
        ->add_flag_function(
            Flag,
            [Arguments, Flag, Member](std::int64_t) {
              Arguments->Typed.insert(Flag);
              Arguments->Options.Recording.*Member = true;
            },
            Help)
        ->group("Take and clip");
  };
  Add_Switch("--clip", &simulate::Recording_Options::Clip,
             "also write what the camera records, clip.avi at 25 frames per second");
  Add_Switch("--regular-holds", &simulate::Recording_Options::Regular_Holds,
             "every hold and every move takes the mean of its range");
  Add_Switch("--one-body", &simulate::Recording_Options::One_Body,
             "only the camera is tracked, and the board stands still");
  Add_Stream_Flags(Line, *Command, Arguments->Stream);
  Add_File_Flags(Flags);
  Command
      ->add_flag_function(
          "--no-header", [Arguments](std::int64_t) { Arguments->Options.Header = false; },
          "leave out the CSV's line of column names")
      ->group("Files");
  Command->add_flag("--quiet", Arguments->Quiet, "show no progress");
  Command->group("Commands");
  Command->footer(Simulate_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Simulate(*Arguments); }; });
}

}  // namespace rigsync
