// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync simulate': a capture whose truth is known, for trying a calibration out before the
// stage is free and for seeing what noise and bad samples do to it.
#include "rigsync/capture/board_size.h"
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/formats/stage_file.h"
#include "rigsync/system/out_folder.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "simulate/simulate.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(DIR receives the photographs, capture.csv, truth.json (the truth, for 'rigsync
compare') and stage.json (the board and the estimate of its place on its
tracker, for 'rigsync calibrate --config'). One seed gives the same capture on
every machine. Lengths are metres or carry a unit: 0.3mm.

Exit status: 0, 2 for wrong usage or a folder that takes no files, 70 when
something failed while photographs were rendered.

Example:
  rigsync simulate capture --images 24 --position-noise 0.3mm \
    --rotation-noise 0.03 --stale 2)";

// What was typed: options of the simulator, and those of their texts that are needed again.
struct Typed {
  std::string Directory;
  simulate::Options Options;
  bool Quiet = false;
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

template <typename Value>
Value Parse_Name(const std::string& Flag, const std::string& Text, const Named<Value>& Names) {
  std::string Expected;
  for (const auto& [Name, Meant] : Names) {
    if (Name == Text) return Meant;
    Expected += (Expected.empty() ? "" : ", ") + Name;
  }
  Refuse(Flag, Text, "one of " + Expected);
}

template <typename Value>
std::vector<std::string> All_Names(const Named<Value>& Names) {
  std::vector<std::string> All;
  for (const auto& Entry : Names) All.push_back(Entry.first);
  return All;
}

template <typename Value>
std::string Name_Of(Value Meant, const Named<Value>& Names) {
  const auto Found = std::find_if(Names.begin(), Names.end(),
                                  [&](const auto& Entry) { return Entry.second == Meant; });
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

// Adds flags that write into the options: the text in the help shows the default as it would be
// typed, and what is typed goes through the reader of its kind.
class Flags {
 public:
  Flags(CLI::App* Owner, std::shared_ptr<Typed> Target)
      : Command(Owner), Given(std::move(Target)) {}

  void Group(const char* Name) { Current_Group = Name; }

  template <typename Read>
  CLI::Option* Add(const std::string& Flag, const char* Type, const std::string& Default,
                   const char* Help, Read Into) {
    const std::shared_ptr<Typed> Target = Given;
    return Command
        ->add_option_function<std::string>(
            Flag,
            [Flag, Target, Into](const std::string& Text) { Into(Target->Options, Flag, Text); },
            Help)
        ->type_name(Type)
        ->default_str(Default)
        ->group(Current_Group);
  }

  void Count(const std::string& Flag, int simulate::Options::*Member, const char* Help) {
    Add(Flag, "N", fmt::format("{}", Given->Options.*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = static_cast<int>(Parse_Whole(Name, Text, 0, 100000));
        });
  }

  void Number(const std::string& Flag, double simulate::Options::*Member, const char* Help) {
    Add(Flag, "X", fmt::format("{}", Given->Options.*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Parse_Number(Name, Text);
        });
  }

  void Angle(const std::string& Flag, double simulate::Options::*Member, const char* Help) {
    Add(Flag, "DEG", fmt::format("{}", Given->Options.*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Parse_Angle(Name, Text);
        });
  }

  void Length_Mm(const std::string& Flag, double simulate::Options::*Member, const char* Help) {
    Add(Flag, "LENGTH", Millimetres(Given->Options.*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Parse_Length(Name, Text) * 1000.0;
        });
  }

  void Angles(const std::string& Flag, Eigen::Vector3d simulate::Options::*Member,
              const char* Help) {
    Add(Flag, "A,B,C", Comma_List(List(Given->Options.*Member)), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Eigen::Vector3d(Parse_Angles(Name, Text).data());
        });
  }

  void Offset(const std::string& Flag, Eigen::Vector3d simulate::Options::*Member,
              const char* Help) {
    Add(Flag, "X,Y,Z", Metres(Given->Options.*Member), Help,
        [Member](simulate::Options& Options, const std::string& Name, const std::string& Text) {
          Options.*Member = Eigen::Vector3d(Parse_Offset(Name, Text).data());
        });
  }

 private:
  CLI::App* Command;
  std::shared_ptr<Typed> Given;
  std::string Current_Group;
};

void Add_Photograph_Flags(Flags& Flag, const simulate::Options& Default) {
  using simulate::Options;
  Flag.Group("Photographs");
  Flag.Count("--images", &Options::Image_Count, "how many");
  Flag.Add("--size", "WxH", fmt::format("{}x{}", Default.Width, Default.Height), "pixels",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             const std::array<int, 2> Sides = Parse_Pixels(Name, Text);
             Into.Width = Sides[0];
             Into.Height = Sides[1];
           });
  Flag.Add("--board", "COLSxROWS", fmt::format("{}x{}", Default.Board_Cols, Default.Board_Rows),
           "inner corners of the board, where four squares meet (picture: rigsync board --help)",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             const Board_Size Board = Parse_Board(Name, Text);
             Into.Board_Cols = Board.Cols;
             Into.Board_Rows = Board.Rows;
           });
  Flag.Add("--square", "LENGTH", fmt::format("{}", Default.Square_Size), "edge of one square",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             Into.Square_Size = Parse_Square(Name, Text);
           });
  Offer(Flag.Add("--spread", "NAME", Name_Of(Default.Pose_Spread, Spreads()),
                 "how the operator moves: good, frontal, centred, one-axis, same-pose",
                 [](Options& Into, const std::string& Name, const std::string& Text) {
                   Into.Pose_Spread = Parse_Name(Name, Text, Spreads());
                 }),
        All_Names(Spreads()));
  Flag.Number("--blur", &Options::Blur_Pixels, "blur of the optics, pixels");
  Flag.Number("--sensor-noise", &Options::Sensor_Noise, "grey levels of 255");
  Flag.Number("--lighting", &Options::Lighting_Gradient,
              "brightness lost from the lit corner to the far one, 0 to 1");
  Offer(Flag.Add("--format", "NAME", Default.Image_Format, "png or jpg",
                 [](Options& Into, const std::string& Name, const std::string& Text) {
                   Into.Image_Format = Parse_Name(Name, Text, Image_Formats());
                 }),
        All_Names(Image_Formats()));
  Flag.Add("--jpeg-quality", "N", fmt::format("{}", Default.Jpeg_Quality), "1 to 100",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             Into.Jpeg_Quality = static_cast<int>(Parse_Whole(Name, Text, 1, 100));
           });
}

void Add_Rig_Flags(Flags& Flag, const simulate::Options& Default) {
  using simulate::Options;
  Flag.Group("Lens and mounts");
  Flag.Add("--focal", "FX,FY", fmt::format("{},{}", Default.Norm_Fx, Default.Norm_Fy),
           "focal lengths as fractions of width and height; FY of 0 means square pixels",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             const std::array<double, 2> Values = Parse_Pair(Name, Text);
             Into.Norm_Fx = Values[0];
             Into.Norm_Fy = Values[1];
           });
  Flag.Add("--principal-point", "CX,CY", fmt::format("{},{}", Default.Norm_Cx, Default.Norm_Cy),
           "as fractions of width and height",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             const std::array<double, 2> Values = Parse_Pair(Name, Text);
             Into.Norm_Cx = Values[0];
             Into.Norm_Cy = Values[1];
           });
  Flag.Add("--distortion", "K1,K2", fmt::format("{},{}", Default.K1, Default.K2),
           "radial distortion",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             const std::array<double, 2> Values = Parse_Pair(Name, Text);
             Into.K1 = Values[0];
             Into.K2 = Values[1];
           });
  Flag.Angles("--camera-mount-euler", &Options::Camera_Mount_Euler_Deg,
              "rotation of Transform_Cam_Tc, Rx(A) Ry(B) Rz(C)");
  Flag.Offset("--camera-mount-offset", &Options::Camera_Mount_Offset,
              "translation of Transform_Cam_Tc");
  Flag.Angles("--board-mount-euler", &Options::Board_Mount_Euler_Deg,
              "the board's rotation as seen from its tracker");
  Flag.Offset("--board-mount-offset", &Options::Board_Mount_Offset,
              "the first inner corner as seen from the board's tracker");
  Flag.Angle("--estimate-error-angle", &Options::Estimate_Error_Deg,
             "how far the angles in stage.json are off, each axis");
  Flag.Length_Mm("--estimate-error-offset", &Options::Estimate_Error_Mm,
                 "how far the offset in stage.json is off, each axis");
}

void Add_Trouble_Flags(Flags& Flag) {
  using simulate::Options;
  Flag.Group("Trouble");
  Flag.Length_Mm("--position-noise", &Options::Position_Noise_Mm,
                 "tracker position noise, standard deviation on each axis");
  Flag.Angle("--rotation-noise", &Options::Rotation_Noise_Deg,
             "tracker rotation noise, standard deviation on each axis");
  Flag.Count("--stale", &Options::Stale_Count, "rows whose camera sample repeats the row before");
  Flag.Length_Mm("--stale-offset", &Options::Stale_Mm, "how far the camera had moved on by then");
  Flag.Angle("--stale-angle", &Options::Stale_Deg, "how far the camera had turned by then");
  Flag.Count("--jumped", &Options::Jump_Count, "rows whose camera sample jumped");
  Flag.Length_Mm("--jump-offset", &Options::Jump_Mm, "how far a jumped sample moves");
  Flag.Angle("--jump-angle", &Options::Jump_Deg, "how far a jumped sample turns");
  Flag.Count("--missing", &Options::Missing_Count, "images that are not written");
  Flag.Count("--blank", &Options::Blank_Count, "images without a board");
  Flag.Count("--truncated", &Options::Truncated_Count, "images cut off after half their bytes");
}

void Add_File_Flags(Flags& Flag, const simulate::Options& Default) {
  using simulate::Options;
  Flag.Group("Files");
  Offer(Flag.Add("--paths", "FORM", Name_Of(Default.Paths, Path_Forms()),
                 "image paths in the CSV: absolute, relative, name, backslash",
                 [](Options& Into, const std::string& Name, const std::string& Text) {
                   Into.Paths = Parse_Name(Name, Text, Path_Forms());
                 }),
        All_Names(Path_Forms()));
  Flag.Add("--seed", "N", fmt::format("{}", Default.Seed), "of all that is random",
           [](Options& Into, const std::string& Name, const std::string& Text) {
             constexpr long Most = std::numeric_limits<unsigned>::max();
             Into.Seed = static_cast<unsigned>(Parse_Whole(Name, Text, 0, Most));
           });
}

// What a technician would know of this stage before calibrating.
Stage Stage_Of(const simulate::Plan& Capture) {
  const simulate::Options& Given = Capture.Given;
  return {{"board", fmt::format("{}x{}", Given.Board_Cols, Given.Board_Rows)},
          {"square", fmt::format("{}", Given.Square_Size)},
          {"board-euler", Comma_List(List(Capture.Chart_Euler_Deg))},
          {"board-offset", Metres(Capture.Chart_Translation)}};
}

// The simulator names its options when it refuses them; a person typed flags.
std::string In_Flags(std::string Text) {
  constexpr std::pair<std::string_view, std::string_view> Flag_Of[] = {
      {"simulate: ", ""},
      {"Image_Count", "--images"},
      {"Width", "--size (width)"},
      {"Height", "--size (height)"},
      {"Board_Cols", "--board (columns)"},
      {"Board_Rows", "--board (rows)"},
      {"Square_Size", "--square"},
      {"Norm_Fx", "--focal (x)"},
      {"Norm_Fy", "--focal (y)"},
      {"Norm_Cx", "--principal-point (x)"},
      {"Norm_Cy", "--principal-point (y)"},
      {"K1", "--distortion (k1)"},
      {"K2", "--distortion (k2)"},
      {"Position_Noise_Mm", "--position-noise"},
      {"Rotation_Noise_Deg", "--rotation-noise"},
      {"Stale_Count", "--stale"},
      {"Jump_Count", "--jumped"},
      {"Stale_Mm", "--stale-offset"},
      {"Stale_Deg", "--stale-angle"},
      {"Jump_Mm", "--jump-offset"},
      {"Jump_Deg", "--jump-angle"},
      {"Missing_Count", "--missing"},
      {"Blank_Count", "--blank"},
      {"Truncated_Count", "--truncated"},
      {"Estimate_Error_Deg", "--estimate-error-angle"},
      {"Estimate_Error_Mm", "--estimate-error-offset"},
      {"Blur_Pixels", "--blur"},
      {"Sensor_Noise", "--sensor-noise"},
      {"Lighting_Gradient", "--lighting"},
  };
  for (const auto& [Option, Flag] : Flag_Of) {
    for (std::size_t At = Text.find(Option); At != std::string::npos; At = Text.find(Option, At)) {
      Text.replace(At, Option.size(), Flag);
      At += Flag.size();
    }
  }
  return Text;
}

// A line of the CSV has commas between its fields and no quotes.
void Refuse_Commas(const Typed& Given) {
  const simulate::Path_Form Paths = Given.Options.Paths;
  if (Paths != simulate::Path_Form::Absolute && Paths != simulate::Path_Form::Backslash) return;
  if (Given.Directory.empty()) return;  // which is no folder either
  if (fs::absolute(Given.Directory).string().find_first_of(",\n\r") == std::string::npos) return;
  Refuse("DIR", Given.Directory,
         "a folder whose path has no comma, since it stands in the CSV; or give --paths relative");
}

// Space without which nobody needs to begin: the two tables, and some for photographs, whose size
// is known when they are rendered.
std::uintmax_t Needed_Bytes(const simulate::Options& Options) {
  constexpr std::uintmax_t Base = 1'000'000, Row = 1'000;
  return Base + Row * static_cast<std::uintmax_t>(Options.Image_Count);
}

// What a person reads who ends the run: on a line of its own, whatever stands on the terminal.
std::string Interrupted(const fs::path& Directory, Progress_Kind Kind) {
  return (Kind == Progress_Kind::Line ? Line_Off : "") +
         Folded("rigsync: interrupted; what is written so far is no whole capture:", 0) + "  " +
         Directory.string() + "\n";
}

void Write_Files(const simulate::Plan& Capture, const fs::path& Directory, Progress_Kind Kind) {
  const Interrupt_Text Last_Words(Interrupted(Directory, Kind));
  Progress_Output Shown(Kind);
  Shown.Begin(fmt::format("rendering {} photographs", Capture.Images.size()));
  simulate::Write_Capture(Capture, Directory, [&](std::size_t Done, std::size_t All) {
    const double Left =
        Shown.Seconds() / static_cast<double>(Done) * static_cast<double>(All - Done);
    Shown.Show(fmt::format("Rendering photographs: {} of {}, {} left", Done, All, Time_Text(Left)));
  });
  Write_Stage(Directory / "stage.json", Stage_Of(Capture));
}

int Simulate(const Typed& Given) {
  const auto Start = std::chrono::steady_clock::now();
  simulate::Plan Capture;
  try {
    Capture = simulate::Make_Plan(Given.Options);
  } catch (const std::invalid_argument& Refused) {
    throw Usage_Error(In_Flags(Refused.what()));
  }
  Refuse_Commas(Given);
  Make_Out_Folder("DIR", Given.Directory, Needed_Bytes(Given.Options), "the capture");
  const fs::path Directory(Given.Directory);
  Write_Files(Capture, Directory, Kind_Of_Progress(Given.Quiet));

  const simulate::Options& Options = Given.Options;
  const std::chrono::duration<double> Took = std::chrono::steady_clock::now() - Start;
  fmt::print("Simulated {} images of {} x {} pixels with seed {} in {:.1f} s.\n",
             Options.Image_Count, Options.Width, Options.Height, Options.Seed, Took.count());
  const std::pair<int, const char*> Troubles[] = {
      {Options.Stale_Count, "a stale tracker sample"},
      {Options.Jump_Count, "a jumped tracker sample"},
      {Options.Missing_Count, "a missing image"},
      {Options.Blank_Count, "an image without a board"},
      {Options.Truncated_Count, "an image that is cut off"}};
  for (const auto& [Count, Name] : Troubles) {
    if (Count > 0) fmt::print("  rows with {}: {}\n", Name, Count);
  }
  fmt::print("  capture          {}\n", (Directory / "capture.csv").string());
  fmt::print("  truth            {}\n", (Directory / "truth.json").string());
  fmt::print("  board, estimate  {}\n", (Directory / "stage.json").string());
  fmt::print("Calibrate it with\n  rigsync calibrate {}{}--config {} --out RESULT_DIR\n",
             Shell_Word((Directory / "capture.csv").string()), Command_Goes_On(4),
             Shell_Word((Directory / "stage.json").string()));
  return Exit_Success;
}

}  // namespace

void Add_Simulate_Command(CLI::App& Program, Chosen_Command& Chosen) {
  CLI::App* Command = Program.add_subcommand("simulate", "Render a capture whose truth is known.");
  const auto Given = std::make_shared<Typed>();
  const simulate::Options Default;
  Command->add_option("DIR", Given->Directory, "folder for the capture, created if missing")
      ->required();
  Flags Flag(Command, Given);
  Add_Photograph_Flags(Flag, Default);
  Add_Rig_Flags(Flag, Default);
  Add_Trouble_Flags(Flag);
  Add_File_Flags(Flag, Default);
  Command
      ->add_flag_function(
          "--no-header", [Given](std::int64_t) { Given->Options.Header = false; },
          "leave out the CSV's line of column names")
      ->group("Files");
  Command->add_flag("--quiet", Given->Quiet, "show no progress while photographs are rendered");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Chosen, Given] { Chosen = [Given] { return Simulate(*Given); }; });
}

}  // namespace rigsync
