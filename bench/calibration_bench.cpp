// SPDX-License-Identifier: Apache-2.0
//
// What Calibration costs beside the OpenCV calls that it can't do without. Both are timed in one
// run on the same simulated capture, turn by turn, and the ratio of the fastest repetitions is
// printed; it should stay at or below 1.05. The bare calls are: one decode, resize, two grey
// images, detection and refinement per image, one lens solve, and one decode and encode per image
// that Calibration annotates.
#include "rigsync_core.h"
#include "simulate/simulate.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int Image_Count = 24;
constexpr double Ratio_Limit = 1.05;
constexpr const char* Reprojection_Prefix = "Reproject_";

// A capture on disk and the folders that both sides write to. Image names end in a backslash and
// a bare name, so that annotated images land in the output folder.
struct Capture {
  simulate::Plan Plan;
  std::filesystem::path Folder, Output, Bare_Output;
  std::vector<std::string> Paths;
  std::vector<std::string> Annotated;  // paths of the images that Calibration wrote
};

// Keeps what the library mirrors to standard output away from the table.
class Muted_Output {
 public:
  Muted_Output() : Before(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int Null = open("/dev/null", O_WRONLY);
    dup2(Null, STDOUT_FILENO);
    close(Null);
  }
  ~Muted_Output() {
    std::fflush(stdout);
    dup2(Before, STDOUT_FILENO);
    close(Before);
  }
  Muted_Output(const Muted_Output&) = delete;
  Muted_Output& operator=(const Muted_Output&) = delete;

 private:
  int Before;
};

void Calibrate(const Capture& Given) {
  const Muted_Output Mute;
  const simulate::Plan& Plan = Given.Plan;
  const auto As_Vector = [](const Eigen::Vector3d& Three) {
    return std::vector<double>{Three.x(), Three.y(), Three.z()};
  };
  std::vector<double> Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  const int Code = Calibration(
      (Given.Folder / "capture.csv").string(), Plan.Given.Board_Cols, Plan.Given.Board_Rows,
      Plan.Given.Square_Size, As_Vector(Plan.Chart_Euler_Deg), As_Vector(Plan.Chart_Translation),
      Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, Given.Output.string());
  if (Code != 0) throw std::runtime_error("Calibration returned " + std::to_string(Code));
}

// The same OpenCV calls with nothing around them.
void Call_Bare(const Capture& Given) {
  const simulate::Options& Options = Given.Plan.Given;
  const cv::Size Board(Options.Board_Cols, Options.Board_Rows);
  std::vector<cv::Point3f> Board_Points;
  for (int r = 0; r < Board.height; ++r) {
    for (int c = 0; c < Board.width; ++c) {
      Board_Points.emplace_back(static_cast<float>(c * Options.Square_Size),
                                static_cast<float>(r * Options.Square_Size), 0.0f);
    }
  }
  const bool Reduces = Options.Width >= 1440;
  const float Scale = Reduces ? static_cast<float>(Options.Width) / 720.0f : 1.0f;
  const int Window = Reduces ? std::min(15, static_cast<int>(std::round(Scale * 3.0f))) : 3;
  const cv::Size Reduced_Size(
      720, static_cast<int>(std::round(static_cast<float>(Options.Height) / Scale)));

  std::vector<std::vector<cv::Point2f>> Found_all;
  cv::Mat Image, Reduced, Grey, Reduced_Grey;
  for (const std::string& Path : Given.Paths) {
    Image = cv::imread(Path, cv::IMREAD_COLOR);
    if (Reduces) {
      cv::resize(Image, Reduced, Reduced_Size, 0.0, 0.0, cv::INTER_LINEAR);
    } else {
      Reduced = Image;
    }
    cv::cvtColor(Image, Grey, cv::COLOR_BGR2GRAY);
    cv::cvtColor(Reduced, Reduced_Grey, cv::COLOR_BGR2GRAY);
    std::vector<cv::Point2f> Found;
    if (!cv::findChessboardCorners(Reduced_Grey, Board, Found,
                                   cv::CALIB_CB_ADAPTIVE_THRESH + cv::CALIB_CB_NORMALIZE_IMAGE +
                                       cv::CALIB_CB_FAST_CHECK)) {
      continue;
    }
    for (cv::Point2f& Corner : Found) Corner *= Scale;
    cv::cornerSubPix(Grey, Found, cv::Size(Window, Window), cv::Size(-1, -1),
                     cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1));
    Found_all.push_back(Found);
  }
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
  cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(Found_all.size(), Board_Points),
                      Found_all, cv::Size(Options.Width, Options.Height), Camera_Matrix, Distortion,
                      Rvecs, Tvecs, cv::noArray(), cv::noArray(), cv::noArray(),
                      cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
                      cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                                       std::numeric_limits<double>::epsilon()));
  for (const std::string& Path : Given.Annotated) {
    const std::string Name = Path.substr(Path.rfind('\\') + 1);
    cv::imwrite((Given.Bare_Output / (Reprojection_Prefix + Name)).string(),
                cv::imread(Path, cv::IMREAD_COLOR));
  }
}

// Field 1 of every line behind the header.
std::vector<std::string> Image_Paths(const std::filesystem::path& Csv) {
  std::vector<std::string> Paths;
  std::ifstream Lines(Csv);
  std::string Line;
  std::getline(Lines, Line);
  while (std::getline(Lines, Line)) {
    const std::size_t Start = Line.find(',') + 1;
    Paths.push_back(Line.substr(Start, Line.find(',', Start) - Start));
  }
  return Paths;
}

Capture Make_Capture(int Width, int Height, const std::filesystem::path& Root) {
  Capture Made;
  simulate::Options Options;
  Options.Width = Width;
  Options.Height = Height;
  Options.Image_Count = Image_Count;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.03;
  Options.Paths = simulate::Path_Form::Backslash;
  Made.Plan = simulate::Make_Plan(Options);
  Made.Folder = Root / (std::to_string(Width) + "x" + std::to_string(Height));
  Made.Output = Made.Folder / "calibration";
  Made.Bare_Output = Made.Folder / "bare";
  simulate::Write_Capture(Made.Plan, Made.Folder);
  std::filesystem::create_directory(Made.Output);
  std::filesystem::create_directory(Made.Bare_Output);
  Made.Paths = Image_Paths(Made.Folder / "capture.csv");
  Calibrate(Made);  // once for which images it annotates, and to warm the file cache
  for (const std::string& Path : Made.Paths) {
    const std::string Name = Path.substr(Path.rfind('\\') + 1);
    if (std::filesystem::exists(Made.Output / (Reprojection_Prefix + Name))) {
      Made.Annotated.push_back(Path);
    }
  }
  if (Made.Annotated.empty()) throw std::runtime_error("no annotated image found");
  return Made;
}

double Seconds_Of(void (*Call)(const Capture&), const Capture& Given) {
  const auto Start = std::chrono::steady_clock::now();
  Call(Given);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
}

// One iteration is a bare round and a Calibration, back to back, so that both see the same machine.
// The fastest of each go into the counters.
void Compare(benchmark::State& State, const Capture& Given, double& Worst_Ratio) {
  double Fastest = std::numeric_limits<double>::infinity();
  double Fastest_Bare = std::numeric_limits<double>::infinity();
  // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): how the benchmark library wants it
  for (auto _ : State) {
    const double Bare = Seconds_Of(Call_Bare, Given);
    const double Whole = Seconds_Of(Calibrate, Given);
    Fastest_Bare = std::min(Fastest_Bare, Bare);
    Fastest = std::min(Fastest, Whole);
    State.SetIterationTime(Whole);
  }
  State.counters["calibration_s"] = Fastest;
  State.counters["bare_s"] = Fastest_Bare;
  State.counters["ratio"] = Fastest / Fastest_Bare;
  State.counters["annotated"] = static_cast<double>(Given.Annotated.size());
  Worst_Ratio = std::max(Worst_Ratio, Fastest / Fastest_Bare);
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  benchmark::Initialize(&Argument_Count, Arguments);
  const std::filesystem::path Root =
      std::filesystem::temp_directory_path() / ("rigsync_bench_" + std::to_string(getpid()));
  double Worst_Ratio = 0.0;
  const cv::Size Sizes[] = {{1280, 720}, {1920, 1080}, {3840, 2160}};
  std::vector<Capture> Captures;
  Captures.reserve(std::size(Sizes));
  for (const cv::Size& Size : Sizes) {
    Captures.push_back(Make_Capture(Size.width, Size.height, Root));
    const Capture& Given = Captures.back();
    benchmark::RegisterBenchmark(
        ("Calibration/" + std::to_string(Size.width) + "x" + std::to_string(Size.height)).c_str(),
        [&Given, &Worst_Ratio](benchmark::State& State) { Compare(State, Given, Worst_Ratio); })
        ->UseManualTime()
        ->Iterations(5)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(Root);
  std::printf("Worst ratio to the bare OpenCV calls: %.3f (limit %.2f)\n", Worst_Ratio,
              Ratio_Limit);
  return Worst_Ratio > 0.0 && Worst_Ratio <= Ratio_Limit ? 0 : 1;
}
