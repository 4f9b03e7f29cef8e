// SPDX-License-Identifier: Apache-2.0
//
// The time of one run log line, and of each export with the lines that it logs. Standard output is
// discarded, and run logs go to the folder for temporary files.
#include "bench/muted_output.h"
#include "core/base/run_log.h"
#include "rigsync_core.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A pose rotated about all axes, far from gimbal lock in every export.
std::vector<double> Transform_Cam_Tc() {
  return {0.85165, -0.30998, -0.42262, 0.06,   //
          0.05238, 0.85266,  -0.51984, -0.14,  //
          0.52149, 0.42058,  0.7424,   -0.08,  //
          0.0,     0.0,      0.0,      1.0};
}

int To_UE4(const std::string& Output) {
  std::vector<double> Euler, Cm;
  return CamAxisToUE4(Transform_Cam_Tc(), Euler, Cm, Output);
}

int To_UE5(const std::string& Output) {
  std::vector<double> Quat, Cm;
  return CamAxisToUE5(Transform_Cam_Tc(), Quat, Cm, Output);
}

int To_UE5_ExportxN(const std::string& Output) {
  std::vector<double> Quat, Cm;
  return CamAxisToUE5_ExportxN(Transform_Cam_Tc(), Quat, Cm, Output);
}

int To_Aximmetry(const std::string& Output) {
  std::vector<double> FoVX, Cxy, Euler, Cm;
  return CamAxisToAximmetry({1.1, 1.9555556}, {0.503, 0.492}, Transform_Cam_Tc(), FoVX, Cxy, Euler,
                            Cm, Output);
}

// The most frequent line of a run: one detected corner.
int Log_A_Line(const std::string& Output) {
  Write_Log(Output + "/log", "1034.576904 523.123457");
  return 0;
}

std::size_t Lines_In(const fs::path& Folder) {
  std::size_t Count = 0;
  for (const auto& Entry : fs::directory_iterator(Folder)) {
    std::ifstream Log(Entry.path());
    for (std::string Line; std::getline(Log, Line);) ++Count;
  }
  return Count;
}

void Measure(benchmark::State& State, int (*Call)(const std::string&), const fs::path& Folder) {
  const Muted_Output Mute;
  fs::create_directories(Folder);
  if (Call(Folder.string()) != 0) throw std::runtime_error("an export didn't return 0");
  State.counters["lines"] = static_cast<double>(Lines_In(Folder));
  const std::string Output = Folder.string();
  while (State.KeepRunning()) benchmark::DoNotOptimize(Call(Output));
  fs::remove_all(Folder);
}

void Measure_All() {
  const fs::path Folder =
      fs::temp_directory_path() / ("rigsync_export_times_" + std::to_string(getpid()));
  const std::pair<const char*, int (*)(const std::string&)> Calls[] = {
      {"log line", Log_A_Line},
      {"CamAxisToUE4", To_UE4},
      {"CamAxisToUE5", To_UE5},
      {"CamAxisToUE5_ExportxN", To_UE5_ExportxN},
      {"CamAxisToAximmetry", To_Aximmetry}};
  for (const auto& [Name, Call] : Calls) {
    benchmark::RegisterBenchmark(
        Name, [Call = Call, &Folder](benchmark::State& State) { Measure(State, Call, Folder); });
  }
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace

int main(int Argument_Count, char** Arguments) {
  try {
    benchmark::Initialize(&Argument_Count, Arguments);
    Measure_All();
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "export_times: %s\n", Error.what());
    return 1;
  }
  return 0;
}
