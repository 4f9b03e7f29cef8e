// SPDX-License-Identifier: Apache-2.0
//
// The time of Calibration compared with that of the OpenCV calls it needs (bench/bare_calls.h).
// Both are timed alternately in one run on the same simulated capture. Prints the ratio of the
// fastest repetitions, which should be at most 1.05.
//
// calibration_bench [IMAGES REPETITIONS WxH...]: by default 24 images, 5 repetitions and three
// sizes. Exit status 1 when a ratio is above the limit, 2 when nothing was measured.
#include "bench/bare_calls.h"
#include "bench/muted_output.h"
#include "rigsync_core.h"
#include "simulate/simulate.h"

#include <benchmark/benchmark.h>
#include <unistd.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr double Ratio_Limit = 1.05;

// What is measured, with the defaults of the command line.
struct Task {
  int Image_Count = 24;
  int Repetitions = 5;
  std::vector<cv::Size> Sizes = {{1280, 720}, {1920, 1080}, {3840, 2160}};
};

// A capture on disk and the folders that both sides write to. Image paths end in a backslash and a
// file name, so that annotated images are written to the output folder.
struct Capture {
  simulate::Plan Plan;
  std::filesystem::path Folder, Output;
  Bare_Job Bare;
};

void Calibrate(const Capture& Job) {
  const Muted_Output Mute;
  const simulate::Plan& Plan = Job.Plan;
  const auto As_Vector = [](const Eigen::Vector3d& Three) {
    return std::vector<double>{Three.x(), Three.y(), Three.z()};
  };
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  const int Code = Calibration(
      (Job.Folder / "capture.csv").string(), Plan.Settings.Board_Cols, Plan.Settings.Board_Rows,
      Plan.Settings.Square_Size, As_Vector(Plan.Chart_Euler_Deg), As_Vector(Plan.Chart_Translation),
      Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, Job.Output.string());
  if (Code != 0) throw std::runtime_error("Calibration returned " + std::to_string(Code));
}

Capture Make_Capture(const cv::Size& Size, int Image_Count, const std::filesystem::path& Root) {
  Capture Result;
  simulate::Options Options;
  Options.Width = Size.width;
  Options.Height = Size.height;
  Options.Image_Count = Image_Count;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  Options.Paths = simulate::Path_Form::Backslash;
  Result.Plan = simulate::Make_Plan(Options);
  Result.Folder = Root / (std::to_string(Size.width) + "x" + std::to_string(Size.height));
  Result.Output = Result.Folder / "calibration";
  simulate::Write_Capture(Result.Plan, Result.Folder);
  std::filesystem::create_directory(Result.Output);
  Result.Bare.Output = Result.Folder / "bare";
  std::filesystem::create_directory(Result.Bare.Output);
  Result.Bare.Board = cv::Size(Options.Board_Cols, Options.Board_Rows);
  Result.Bare.Square_Size = Options.Square_Size;
  Result.Bare.Paths = Image_Paths(Result.Folder / "capture.csv");
  Calibrate(Result);  // once for which images it annotates, and to warm the file cache
  Result.Bare.Annotated = Annotated_Paths(Result.Output, Result.Bare.Paths);
  if (Result.Bare.Annotated.empty()) throw std::runtime_error("no annotated image found");
  return Result;
}

template <typename Function>
double Seconds_Of(const Function& Call) {
  const auto Start = std::chrono::steady_clock::now();
  Call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
}

// One iteration runs the bare calls and then Calibration, so that both run under the same
// conditions. The counters have the fastest time of each.
void Compare(benchmark::State& State, const Capture& Job, double& Worst_Ratio) {
  double Fastest = std::numeric_limits<double>::infinity();
  double Fastest_Bare = std::numeric_limits<double>::infinity();
  while (State.KeepRunning()) {
    const double Bare = Seconds_Of([&] { Call_Bare(Job.Bare); });
    const double Whole = Seconds_Of([&] { Calibrate(Job); });
    Fastest_Bare = std::min(Fastest_Bare, Bare);
    Fastest = std::min(Fastest, Whole);
    State.SetIterationTime(Whole);
  }
  State.counters["calibration_s"] = Fastest;
  State.counters["bare_s"] = Fastest_Bare;
  State.counters["ratio"] = Fastest / Fastest_Bare;
  State.counters["annotated"] = static_cast<double>(Job.Bare.Annotated.size());
  Worst_Ratio = std::max(Worst_Ratio, Fastest / Fastest_Bare);
}

// The whole number of at least 1 that Text begins with; Rest is the text after it.
int Read_Count(const std::string& Text, std::string& Rest) {
  char* End = nullptr;
  const long Value = std::strtol(Text.c_str(), &End, 10);
  if (Value < 1 || Value > 100000) throw std::invalid_argument("'" + Text + "' isn't a count");
  Rest = End;
  return static_cast<int>(Value);
}

cv::Size Read_Size(const std::string& Text) {
  std::string Rest;
  const int Width = Read_Count(Text, Rest);
  if (Rest.empty() || Rest[0] != 'x') throw std::invalid_argument("'" + Text + "' isn't a size");
  const int Height = Read_Count(std::string(Rest, 1), Rest);
  if (!Rest.empty()) throw std::invalid_argument("'" + Text + "' isn't a size");
  return {Width, Height};
}

// The command line without Google Benchmark's own flags.
Task Read_Task(const std::vector<std::string>& Words) {
  Task Result;
  if (Words.empty()) return Result;
  if (Words.size() < 3) throw std::invalid_argument("expected images, repetitions and sizes");
  std::string Rest;
  Result.Image_Count = Read_Count(Words[0], Rest);
  Result.Repetitions = Read_Count(Words[1], Rest);
  Result.Sizes.clear();
  for (std::size_t i = 2; i < Words.size(); ++i) Result.Sizes.push_back(Read_Size(Words[i]));
  return Result;
}

// The largest ratio of all sizes.
double Measure(const Task& Settings) {
  const std::filesystem::path Root =
      std::filesystem::temp_directory_path() / ("rigsync_bench_" + std::to_string(getpid()));
  double Worst_Ratio = 0.0;
  std::vector<Capture> Captures;
  Captures.reserve(Settings.Sizes.size());
  for (const cv::Size& Size : Settings.Sizes) {
    Captures.push_back(Make_Capture(Size, Settings.Image_Count, Root));
    const Capture& Job = Captures.back();
    benchmark::RegisterBenchmark(
        ("Calibration/" + std::to_string(Size.width) + "x" + std::to_string(Size.height)).c_str(),
        [&Job, &Worst_Ratio](benchmark::State& State) { Compare(State, Job, Worst_Ratio); })
        ->UseManualTime()
        ->Iterations(Settings.Repetitions)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(Root);
  return Worst_Ratio;
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  try {
    benchmark::Initialize(&Argument_Count, Arguments);
    const double Worst_Ratio = Measure(Read_Task({Arguments + 1, Arguments + Argument_Count}));
    std::printf("Worst ratio to the bare OpenCV calls: %.3f (limit %.2f)\n", Worst_Ratio,
                Ratio_Limit);
    return Worst_Ratio > 0.0 && Worst_Ratio <= Ratio_Limit ? 0 : 1;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "calibration_bench: %s\n", Error.what());
    return 2;
  }
}
