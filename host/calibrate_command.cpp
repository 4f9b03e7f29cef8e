// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate': one capture, from CSV to result.json. It is a host like any other: it
// prepares folders, makes the library's one call, and tells what came of it.
#include "host/capture_images.h"
#include "host/codes.h"
#include "host/command.h"
#include "host/exit_status.h"
#include "host/quiet_output.h"
#include "host/result_file.h"
#include "host/run_log_file.h"
#include "host/stage_file.h"
#include "host/text.h"
#include "host/transform_text.h"
#include "rigsync_core.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <system_error>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* Footer =
    R"(The board, its square and its place on its tracker can stand in a JSON file for
the whole stage (--config); a flag wins over the file:
  {"board": "11x8", "square": "30mm",
   "board-euler": [12, -20, 8], "board-offset": [-0.17, 0.05, 0.04]}

Exit status: the library's code (0 good, 99 usable, others: no usable result),
2 for wrong usage, 70 when an exception ended the run.

Example:
  rigsync calibrate capture/capture.csv --board 11x8 --square 30mm \
    --board-euler 12,-20,8 --board-offset -170mm,50mm,40mm --out result)";

// What was typed, before anything is read from it.
struct Typed {
  std::string Csv, Out, Image_Root, Config;
  Stage Values;  // by flag without dashes
  bool Verbose = false;
};

const std::vector<std::string>& Stage_Keys() {
  static const std::vector<std::string> Keys = {"board", "square", "board-euler", "board-offset",
                                                "sensor"};
  return Keys;
}

const std::string& Required_Value(const Stage& Values, const std::string& Key) {
  const auto Found = Values.find(Key);
  if (Found == Values.end()) {
    throw Usage_Error(
        fmt::format("--{} is missing; expected on the command line or as '{}' in the "
                    "file of --config",
                    Key, Key));
  }
  return Found->second;
}

// The folder, created where it is missing, as an absolute path without ".." and links.
fs::path Make_Out_Folder(const std::string& Given) {
  std::error_code Error;
  fs::create_directories(Given, Error);
  std::error_code Not_A_Folder;
  if (!fs::is_directory(Given, Not_A_Folder)) {
    Refuse("--out", Given,
           "a folder, or a path where one can be created" +
               (Error ? " (" + Error.message() + ")" : std::string()));
  }
  const fs::path Out = fs::canonical(Given);
  Require_Writable("--out", Out);
  return Out;
}

Calibration_Inputs Read_Inputs(const Typed& Given) {
  Stage Values = Given.Values;
  if (!Given.Config.empty()) Values.merge(Read_Stage(Given.Config, Stage_Keys()));
  Calibration_Inputs Inputs;
  Inputs.Board = Parse_Board("--board", Required_Value(Values, "board"));
  Inputs.Square_Size = Parse_Square("--square", Required_Value(Values, "square"));
  Inputs.Board_Euler = Parse_Angles("--board-euler", Required_Value(Values, "board-euler"));
  Inputs.Board_Offset = Parse_Offset("--board-offset", Required_Value(Values, "board-offset"));
  if (Values.count("sensor") != 0) Inputs.Sensor_Size = Parse_Sensor("--sensor", Values["sensor"]);
  Inputs.Csv = fs::absolute(Given.Csv);
  if (Given.Image_Root.empty()) {
    Inputs.Image_Root = Inputs.Csv.parent_path();
  } else {
    Inputs.Image_Root = fs::absolute(Given.Image_Root);
    if (!fs::is_directory(Inputs.Image_Root)) {
      Refuse("--image-root", Given.Image_Root, "a folder that exists");
    }
  }
  return Inputs;
}

// The process's working directory for as long as one of these lives: the library takes a relative
// image path from there. The command has one thread, so that nobody else sees the change. A folder
// that doesn't exist leaves things as they are; the CSV in it can't be opened either.
class Working_Directory {
 public:
  explicit Working_Directory(const fs::path& Folder) : Before(fs::current_path()) {
    std::error_code Ignored;
    fs::current_path(Folder, Ignored);
  }
  ~Working_Directory() {
    std::error_code Ignored;
    fs::current_path(Before, Ignored);
  }
  Working_Directory(const Working_Directory&) = delete;
  Working_Directory& operator=(const Working_Directory&) = delete;

 private:
  fs::path Before;
};

// The library's call. Fills the vectors of Result and returns the code; exceptions pass through.
int Call_Library(const Calibration_Inputs& Inputs, bool Verbose, Calibration_Result& Result) {
  const Working_Directory Root(Inputs.Image_Root);
  const Quiet_Output Quiet(!Verbose);
  const std::vector<double> Euler(Inputs.Board_Euler.begin(), Inputs.Board_Euler.end());
  const std::vector<double> Offset(Inputs.Board_Offset.begin(), Inputs.Board_Offset.end());
  if (Inputs.Sensor_Size) {
    return Calibration(Inputs.Csv.string(), (*Inputs.Sensor_Size)[0], (*Inputs.Sensor_Size)[1],
                       Inputs.Board.Cols, Inputs.Board.Rows, Inputs.Square_Size, Euler, Offset,
                       Result.Image_Size, Result.Norm_Fxy, Result.Norm_Cxy, Result.Distortion,
                       Result.Transform_Cam_Tc, Result.FoV, Result.Focal_Length_mm,
                       Inputs.Out.string());
  }
  return Calibration(Inputs.Csv.string(), Inputs.Board.Cols, Inputs.Board.Rows, Inputs.Square_Size,
                     Euler, Offset, Result.Image_Size, Result.Norm_Fxy, Result.Norm_Cxy,
                     Result.Distortion, Result.Transform_Cam_Tc, Inputs.Out.string());
}

void Print_Lens(const Calibration_Result& Result) {
  if (Result.Norm_Fxy.empty()) return;
  fmt::print("\nLens, at {:.0f} x {:.0f} pixels\n", Result.Image_Size[0], Result.Image_Size[1]);
  fmt::print("  focal length     {:10.6f} of the width  {:10.6f} of the height\n",
             Result.Norm_Fxy[0], Result.Norm_Fxy[1]);
  fmt::print("  principal point  {:10.6f} of the width  {:10.6f} of the height\n",
             Result.Norm_Cxy[0], Result.Norm_Cxy[1]);
  fmt::print("  distortion       {:10.6f} k1            {:10.6f} k2\n", Result.Distortion[0],
             Result.Distortion[1]);
  if (!Result.FoV.empty()) {
    fmt::print("  field of view    {:10.4f} deg across    {:10.4f} deg down\n", Result.FoV[0],
               Result.FoV[1]);
    fmt::print("  focal length     {:10.4f} mm\n", Result.Focal_Length_mm[0]);
  }
}

// "60.0 mm right", or "left" for a negative value.
std::string Direction_Text(double Metres, const char* Positive, const char* Negative) {
  return fmt::format("{:.1f} mm {}", std::abs(Metres) * 1000.0, Metres < 0 ? Negative : Positive);
}

void Print_Transform(const std::vector<double>& Transform) {
  if (Transform.empty()) return;
  fmt::print("\nTransform_Cam_Tc (tracker to camera; last column in metres)\n");
  for (int r = 0; r < 4; ++r) fmt::print("  {}\n", Row_Text(Transform, r));
  fmt::print("{}", Folded(fmt::format("Seen from the camera, the tracker sits {}, {} and {}.",
                                      Direction_Text(Transform[3], "to the right", "to the left"),
                                      Direction_Text(Transform[7], "down", "up"),
                                      Direction_Text(Transform[11], "ahead", "behind")),
                          2));
}

void Print_Files(const Calibration_Result& Result, const std::vector<fs::path>& Reprojections,
                 std::size_t Image_Count) {
  fmt::print("\nFiles\n");
  fmt::print("  result           {}\n", (Result.Inputs.Out / "result.json").string());
  if (!Result.Run_Log.empty()) fmt::print("  run log          {}\n", Result.Run_Log.string());
  if (Reprojections.empty()) return;
  fmt::print("  reprojection     {} of {} images kept; the first is\n", Reprojections.size(),
             Image_Count);
  fmt::print("                   {}\n", Reprojections.front().string());
  fmt::print("                   (red: corner found, blue over it: corner predicted)\n");
}

// The verdict of a run that returned a code.
void Print_Result(const Calibration_Result& Result, const std::vector<fs::path>& Reprojections,
                  std::size_t Image_Count) {
  const Code_Advice Advice = Advice_For(*Result.Code);
  fmt::print("{}", Folded(fmt::format("Code {}. {}", Advice.Code, Advice.Meaning), 0));
  fmt::print("{}", Folded(Advice.Next_Step, 2));
  Print_Lens(Result);
  Print_Transform(Result.Transform_Cam_Tc);
  Print_Files(Result, Reprojections, Image_Count);
  std::fflush(stdout);
  if (Is_Usable(*Result.Code) && !All_Finite(Result)) {
    Warn(fmt::format(
        "the code is {}, but the result holds numbers that are not finite (nan or inf). Don't use "
        "it: look in the CSV for tracker values that are no numbers.",
        *Result.Code));
  }
}

int Calibrate(const Typed& Given) {
  Calibration_Inputs Inputs = Read_Inputs(Given);
  const std::vector<Capture_Image> Images = Read_Image_Names(Inputs.Csv);
  Refuse_Climbing_Images(Inputs.Csv, Images, Inputs.Image_Root);
  Inputs.Out = Make_Out_Folder(Given.Out);
  for (const std::string& Name : Make_Reprojection_Folders(Inputs.Out, Images, Inputs.Image_Root)) {
    Warn(fmt::format("no folder can be made for the reprojection image of '{}': it will be missing",
                     One_Line(Name)));
  }

  Calibration_Result Result;
  Result.Inputs = Inputs;
  const Run_Logs Logs_Before = List_Run_Logs(Inputs.Out);
  const File_Times Images_Before = Reprojection_Times(Inputs.Out, Images);
  std::string Exception;
  try {
    Result.Code = Call_Library(Inputs, Given.Verbose, Result);
    Result.Message = Advice_For(*Result.Code).Meaning;
  } catch (const std::exception& Thrown) {
    Exception = One_Line(Thrown.what());
    Result.Message = "An exception ended the run: " + Exception;
  }
  Result.Run_Log = Run_Log_Since(Logs_Before, Inputs.Out);

  if (Result.Code) {
    Print_Result(Result, Written_Reprojections(Inputs.Out, Images, Images_Before), Images.size());
  } else {
    Complain("the calibration was ended by an exception: " + Exception);
    if (!Result.Run_Log.empty()) {
      fmt::print(stderr, "  How far it came is in the run log:\n  {}\n", Result.Run_Log.string());
    }
  }
  // After the result has been printed, so that a full disk doesn't take it along.
  Write_Result(Inputs.Out, Result);
  return Result.Code.value_or(Exit_Exception);
}

}  // namespace

void Add_Calibrate_Command(CLI::App& Program, Chosen_Command& Chosen) {
  CLI::App* Command =
      Program.add_subcommand("calibrate", "Solve lens and camera mount from a capture.");
  const auto Given = std::make_shared<Typed>();
  Command->add_option("CAPTURE", Given->Csv, "the capture's CSV file")->required();
  const auto Add_Value = [&](const std::string& Key, const char* Type, const char* Help) {
    Command
        ->add_option_function<std::string>(
            "--" + Key, [Given, Key](const std::string& Text) { Given->Values[Key] = Text; }, Help)
        ->type_name(Type);
  };
  Add_Value("board", "COLSxROWS",
            "inner corners of the board, where four squares meet: 11x8 is a board of 12 by 9 "
            "squares");
  Add_Value("square", "LENGTH", "edge of one square: 0.03 (metres), 30mm, 3cm");
  Add_Value("board-euler", "A,B,C",
            "the board's rotation as seen from its tracker, degrees: Rx(A) Ry(B) Rz(C)");
  Add_Value("board-offset", "X,Y,Z",
            "the first inner corner as seen from the board's tracker, metres or with units");
  Add_Value("sensor", "WxH",
            "sensor size in millimetres: gives field of view and focal length too");
  Command->add_option("--config", Given->Config, "JSON file with the values above")
      ->type_name("FILE");
  Command->add_option("--out", Given->Out, "folder for result.json, run log and images")
      ->required()
      ->type_name("DIR");
  Command
      ->add_option("--image-root", Given->Image_Root,
                   "where relative image paths start (default: the CSV's folder)")
      ->type_name("DIR");
  Command->add_flag("--verbose", Given->Verbose, "show the run log while the library works");
  Command->group("Commands");
  Command->footer(Footer);
  Command->callback([&Chosen, Given] { Chosen = [Given] { return Calibrate(*Given); }; });
}

}  // namespace host
