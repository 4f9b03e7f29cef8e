// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/library_run.h"

#include "rigsync/calibrate/codes.h"
#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/calibrate/run_progress.h"
#include "rigsync/system/failure_text.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/quiet_output.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync_core.h"

#include <chrono>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// Sets the process's working directory, where relative image paths start for the library, during
// its lifetime. Everything else that runs meanwhile uses absolute paths. If the folder does not
// exist, the directory stays as it is.
class Working_Directory {
 public:
  explicit Working_Directory(const fs::path& Folder) : Earlier_Folder(Current()) {
    std::error_code Ignored;
    fs::current_path(Folder, Ignored);
  }
  ~Working_Directory() {
    std::error_code Ignored;
    fs::current_path(Earlier_Folder, Ignored);
  }
  Working_Directory(const Working_Directory&) = delete;
  Working_Directory& operator=(const Working_Directory&) = delete;

 private:
  // Empty for one that was removed.
  static fs::path Current() {
    std::error_code Ignored;
    return fs::current_path(Ignored);
  }

  fs::path Earlier_Folder;
};

int Call_Library(Calibration_Result& Result) {
  const Calibration_Inputs& Inputs = Result.Inputs;
  const Board_Place& Board = Result.Library_Board;
  const std::vector<double> Euler(Board.Euler_Deg.begin(), Board.Euler_Deg.end());
  const std::vector<double> Offset(Board.Offset.begin(), Board.Offset.end());
  if (Inputs.Sensor_Size_Mm) {
    return Calibration(Result.Library_Csv.string(), (*Inputs.Sensor_Size_Mm)[0],
                       (*Inputs.Sensor_Size_Mm)[1], Inputs.Board.Cols, Inputs.Board.Rows,
                       Inputs.Square_Size, Euler, Offset, Result.Image_Size, Result.Norm_Fxy,
                       Result.Norm_Cxy, Result.Distortion, Result.Transform_Cam_Tc, Result.FoV,
                       Result.Focal_Length_mm, Result.Run_Folder.string());
  }
  return Calibration(Result.Library_Csv.string(), Inputs.Board.Cols, Inputs.Board.Rows,
                     Inputs.Square_Size, Euler, Offset, Result.Image_Size, Result.Norm_Fxy,
                     Result.Norm_Cxy, Result.Distortion, Result.Transform_Cam_Tc,
                     Result.Run_Folder.string());
}

// The message for a user who interrupts the run, on a line of its own whatever the terminal shows.
std::string Interruption_Text(const Calibration_Result& Result, Progress_Kind Kind) {
  const char* const Line_End = Kind == Progress_Kind::Line ? Clear_Line : "";
  return Line_End +
         Folded(
             "rigsync: interrupted; no result was written. The run log shows how far the run got; "
             "it is in",
             0) +
         "  " + Terminal_Text(Result.Run_Folder.string()) + "\n";
}

}  // namespace

void Run_Library(Calibration_Result& Result, bool Is_Verbose, Progress_Kind Kind) {
  const auto Start = std::chrono::steady_clock::now();
  {
    const Interrupt_Text Interruption(Interruption_Text(Result, Kind));
    const Progress Run_Progress(Result.Run_Folder, Result.Images.size(), Kind);
    const Quiet_Output Quiet(!Is_Verbose);
    const Working_Directory Image_Root(Result.Inputs.Image_Root);
    try {
      Result.Code = Call_Library(Result);
      Result.Message = Has_Misleading_Code(Result) ? "The result holds NaN or infinite numbers."
                                                   : Advice_For(*Result.Code).Meaning;
    } catch (const std::exception& Error) {
      Result.Exception = Failure_Text(Error);
      Result.Message = "An exception ended the run: " + Result.Exception;
    }
  }
  Result.Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
  Result.Run_Log = Run_Log_Since({}, Result.Run_Folder);
  if (!Result.Run_Log.empty()) Result.Report = Read_Run_Report(Result.Run_Log);
}

}  // namespace rigsync
