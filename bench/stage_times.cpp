// SPDX-License-Identifier: Apache-2.0
//
// stage_times CSV TRUTH OUTPUT [bare]: runs one Calibration of a simulated capture and prints the
// time and the number of log lines of each stage, and the peak memory, one "name value" per line.
// The library copies each line of its run log to standard output, and the times are taken there.
// With "bare", the OpenCV calls are then timed on their own on the same images, which shows what
// the stages consist of.
//
// Image paths in CSV are relative to its folder. OUTPUT is an existing, empty folder. Exit status 1
// when the calibration is not usable or a stage is missing.
#include "bench/bare_calls.h"
#include "bench/calibration_run.h"
#include "simulate/simulate.h"

#include <sys/mman.h>
#include <unistd.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

#if defined(__clang__)
constexpr const char* Compiler = "clang " __clang_version__;
#else
constexpr const char* Compiler = "gcc " __VERSION__;
#endif

// A stage begins with the first line, after the start of the previous stage, that starts with
// First_Line. It ends where the next stage begins.
struct Logged_Stage {
  const char* Name;
  const char* First_Line;
};

// In the order of a run. Where a stage ends without a log line, its end is the next logged line.
constexpr Logged_Stage Stages[] = {
    {"begin", "Version : "},
    {"csv", "Start to read the csv file."},
    {"search", "Start to Detect Corner."},
    {"corner_lines", "RAW DATA START"},
    {"lens", "Camera calibration start."},
    {"mount", "Fx : "},  // fill the lens, poses, mean, first reprojection error, filter
    {"mount", "Mean_Transform_Chart_Tr : "},
    {"writing", "Mean_Transform_Cam_Tc : "},  // the mean's lines, then the reprojection error
    {"verdict", "Norm Reprojection error : "},
};
constexpr std::size_t Stage_Count = std::size(Stages);

// Takes the time of each run log line. It is plain data, so that a child can fill it in memory
// shared with its parent.
class Stage_Clock {
 public:
  void Take_Line(const std::string& Line) {
    const auto Now = Clock::now();
    const std::string Message = Line.substr(Line.find('\t') + 1);
    if (Stages_Begun < Stage_Count && Message.rfind(Stages[Stages_Begun].First_Line, 0) == 0) {
      Starts[Stages_Begun++] = Now;
    }
    if (Stages_Begun > 0) ++Lines[Stages_Begun - 1];
    End = Now;
  }

  bool Is_Whole() const { return Stages_Begun == Stage_Count; }

  // Consecutive stages of the same name are printed as one.
  void Print() const {
    std::size_t All_Lines = 0;
    for (std::size_t i = 0; i < Stage_Count; All_Lines += Lines[i++]) {
      if (i > 0 && std::string(Stages[i - 1].Name) == Stages[i].Name) continue;
      std::size_t Last = i, Count = Lines[i];
      while (Last + 1 < Stage_Count && std::string(Stages[Last + 1].Name) == Stages[i].Name) {
        Count += Lines[++Last];
      }
      const auto Ended = Last + 1 < Stage_Count ? Starts[Last + 1] : End;
      std::printf("%s_s %.6f\n", Stages[i].Name, Seconds(Starts[i], Ended));
      std::printf("%s_lines %zu\n", Stages[i].Name, Count);
    }
    std::printf("total_s %.6f\n", Seconds(Starts[0], End));
    std::printf("total_lines %zu\n", All_Lines);
  }

 private:
  static double Seconds(Clock::time_point From, Clock::time_point To) {
    return std::chrono::duration<double>(To - From).count();
  }

  std::size_t Stages_Begun = 0;
  Clock::time_point Starts[Stage_Count], End;
  std::size_t Lines[Stage_Count] = {};
};

// The buffer of std::cout while a calibration is timed: passes each whole line to the clock and to
// standard output.
class Stamped_Output : public std::streambuf {
 public:
  explicit Stamped_Output(Stage_Clock& Shared_Timer) : Timer(Shared_Timer) {}

 protected:
  std::streamsize xsputn(const char* Characters, std::streamsize Count) override {
    Text.append(Characters, static_cast<std::size_t>(Count));
    return Count;
  }
  int_type overflow(int_type Character) override {
    Text += traits_type::to_char_type(Character);
    return Character;
  }
  int sync() override {
    const ssize_t Written = write(STDOUT_FILENO, Text.data(), Text.size());
    Timer.Take_Line(Text);
    Text.clear();
    return Written < 0 ? -1 : 0;
  }

 private:
  Stage_Clock& Timer;
  std::string Text;
};

// A Stage_Clock in memory shared with child processes.
Stage_Clock& Shared_Clock() {
  void* const Memory =
      mmap(nullptr, sizeof(Stage_Clock), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (Memory == MAP_FAILED) throw std::runtime_error("no shared memory");
  return *new (Memory) Stage_Clock;
}

// Creates the folders for the reprojection images of Paths.
void Make_Folders(const fs::path& Output, const std::vector<std::string>& Paths) {
  for (const std::string& Path : Paths) {
    fs::create_directories(Reprojection_Path(Output, Path).parent_path());
  }
}

void Print_Bare(const Bare_Job& Job) {
  const Bare_Times Times = Call_Bare(Job);
  std::printf("bare_decode_s %.6f\n", Times.Decode);
  std::printf("bare_reduce_s %.6f\n", Times.Reduce);
  std::printf("bare_search_s %.6f\n", Times.Search);
  std::printf("bare_refine_s %.6f\n", Times.Refine);
  std::printf("bare_lens_s %.6f\n", Times.Lens);
  std::printf("bare_decode_again_s %.6f\n", Times.Decode_Again);
  std::printf("bare_draw_s %.6f\n", Times.Draw);
  std::printf("bare_encode_s %.6f\n", Times.Encode);
}

void Measure(const fs::path& Csv, const fs::path& Truth_File, const fs::path& Output,
             bool Calls_Bare) {
  const simulate::Truth Truth = simulate::Read_Truth(Truth_File);
  const fs::path Calibration_Output = Output / "calibration", Bare_Output = Output / "bare";
  const std::vector<std::string> Paths = Image_Paths(Csv);
  Make_Folders(Calibration_Output, Paths);
  Make_Folders(Bare_Output, Paths);
  fs::current_path(Csv.parent_path());

  Stage_Clock& Timer = Shared_Clock();
  Stamped_Output Stamped(Timer);
  const Calibration_Run Run =
      Run_In_Child({Csv, Truth.Board_Cols, Truth.Board_Rows, Truth.Square_Size,
                    Truth.Chart_Euler_Deg, Truth.Chart_Translation, Calibration_Output},
                   &Stamped);
  if (Run.Code != 0 && Run.Code != 99) {
    throw std::runtime_error("the calibration returned " + std::to_string(Run.Code));
  }
  const std::vector<std::string> Annotated = Annotated_Paths(Calibration_Output, Paths);
  if (!Timer.Is_Whole()) throw std::runtime_error("the run log left out a stage");
  if (Annotated.empty()) throw std::runtime_error("there is no reprojection image");

  std::printf("images %zu\n", Paths.size());
  std::printf("annotated %zu\n", Annotated.size());
  std::printf("peak_mib %.3f\n", Run.Peak_MiB);
  Timer.Print();
  if (Calls_Bare) {
    Print_Bare({Paths, Annotated, cv::Size(Truth.Board_Cols, Truth.Board_Rows), Truth.Square_Size,
                Bare_Output, /*Draws=*/true});
  }
  std::printf("opencv %s\n", cv::getVersionString().c_str());
  std::printf("threads %d\n", cv::getNumThreads());
  std::printf("compiler %s\n", Compiler);
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  const bool Calls_Bare = Argument_Count == 5 && std::string(Arguments[4]) == "bare";
  if (Argument_Count != 4 && !Calls_Bare) {
    std::fprintf(stderr, "usage: stage_times CSV TRUTH OUTPUT [bare]\n");
    return 2;
  }
  try {
    Measure(fs::absolute(Arguments[1]), fs::absolute(Arguments[2]), fs::absolute(Arguments[3]),
            Calls_Bare);
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "stage_times: %s\n", Error.what());
    return 1;
  }
  return 0;
}
