// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/library_run.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/calibrate/run_progress.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/text.h"
#include "rigsync_core.h"

#include <chrono>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// The process's working directory for as long as one of these lives: the library takes a relative
// image path from there. Whatever else runs meanwhile uses absolute paths. A folder that doesn't
// exist leaves things as they are; the CSV in it can't be opened either.
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

int Call_Library(Calibration_Result& Result) {
  const Calibration_Inputs& Inputs = Result.Inputs;
  const std::vector<double> Euler(Inputs.Board_Euler.begin(), Inputs.Board_Euler.end());
  const std::vector<double> Offset(Inputs.Board_Offset.begin(), Inputs.Board_Offset.end());
  if (Inputs.Sensor_Size) {
    return Calibration(Inputs.Csv.string(), (*Inputs.Sensor_Size)[0], (*Inputs.Sensor_Size)[1],
                       Inputs.Board.Cols, Inputs.Board.Rows, Inputs.Square_Size, Euler, Offset,
                       Result.Image_Size, Result.Norm_Fxy, Result.Norm_Cxy, Result.Distortion,
                       Result.Transform_Cam_Tc, Result.FoV, Result.Focal_Length_mm,
                       Result.Run_Folder.string());
  }
  return Calibration(Inputs.Csv.string(), Inputs.Board.Cols, Inputs.Board.Rows, Inputs.Square_Size,
                     Euler, Offset, Result.Image_Size, Result.Norm_Fxy, Result.Norm_Cxy,
                     Result.Distortion, Result.Transform_Cam_Tc, Result.Run_Folder.string());
}

// What a person reads who ends the run: on a line of its own, whatever stands on the terminal.
std::string Interrupted(const Calibration_Result& Result, Progress_Kind Kind) {
  const char* const Line_End = Kind == Progress_Kind::Line ? Line_Off : "";
  return Line_End +
         Folded(
             "rigsync: interrupted; no result was written. How far the run came is in the run "
             "log in",
             0) +
         "  " + Result.Run_Folder.string() + "\n";
}

}  // namespace

void Run_Library(Calibration_Result& Result, bool Verbose, Progress_Kind Kind) {
  const auto Began = std::chrono::steady_clock::now();
  {
    const Interrupt_Text Last_Words(Interrupted(Result, Kind));
    const Progress Shown(Result.Run_Folder, Result.Images.size(), Kind);
    const Quiet_Output Quiet(!Verbose);
    const Working_Directory Root(Result.Inputs.Image_Root);
    try {
      Result.Code = Call_Library(Result);
      Result.Message = Is_Usable(*Result.Code) && !Is_Usable(Result)
                           ? "The result holds numbers that are not finite."
                           : Advice_For(*Result.Code).Meaning;
    } catch (const std::exception& Thrown) {
      Result.Exception = One_Line(Thrown.what());
      Result.Message = "An exception ended the run: " + Result.Exception;
    }
  }
  Result.Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Began).count();
  Result.Run_Log = Run_Log_Since({}, Result.Run_Folder);
  if (!Result.Run_Log.empty()) Result.Report = Read_Run_Report(Result.Run_Log);
}

}  // namespace rigsync
