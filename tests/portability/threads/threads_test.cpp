// SPDX-License-Identifier: Apache-2.0
//
// Concurrent calls: they share only standard output and, if they begin in the same second with the
// same folder, the run log file. Eight threads calibrate two captures and export, and each must get
// the same result and log lines as in a single thread.
#include "rigsync_core.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <map>
#include <memory>
#include <streambuf>
#include <thread>

// gcc has a macro for the thread sanitizer, clang a feature test.
#if defined(__SANITIZE_THREAD__)
#define RIGSYNC_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define RIGSYNC_THREAD_SANITIZER
#endif
#endif

namespace {

// Discards standard output: the lines of concurrent calls may interleave there.
class Nowhere : public std::streambuf {
 protected:
  int overflow(int Letter) override { return traits_type::not_eof(Letter); }
  std::streamsize xsputn(const char* /*Text*/, std::streamsize Count) override { return Count; }
};

using Vector = std::vector<double>;
using Lines = std::vector<std::string>;

// One exported call: its kind, and all its results except the log.
struct Call {
  std::string Kind;
  int Code = -1;
  std::vector<Vector> Vectors;
};

bool operator==(const Call& Left, const Call& Right) {
  return Left.Kind == Right.Kind && Left.Code == Right.Code && Left.Vectors == Right.Vectors;
}

Call Calibrate(const Run_Input& Input, const std::string& Kind, const std::string& Output_Dir) {
  Call Result{Kind, -1, std::vector<Vector>(5)};
  Result.Code = Calibration(Input.Csv_Path, Input.Board_Cols, Input.Board_Rows, Input.Square_Size,
                            Input.Chart_Euler_Deg, Input.Chart_Translation, Result.Vectors[0],
                            Result.Vectors[1], Result.Vectors[2], Result.Vectors[3],
                            Result.Vectors[4], Output_Dir);
  return Result;
}

// The four exports of a calibration's result. Their Kind begins with the calibration's.
std::vector<Call> Export(const Call& Solved, const std::string& Output_Dir) {
  const Vector& Pose = Solved.Vectors[4];
  std::vector<Call> Calls;
  for (const char* Engine : {" to UE4", " to UE5", " to UE5 xN", " to Aximmetry"}) {
    Calls.push_back({Solved.Kind + Engine, -1, std::vector<Vector>(4)});
  }
  std::vector<Vector>* Vectors = &Calls[0].Vectors;
  Calls[0].Code = CamAxisToUE4(Pose, (*Vectors)[0], (*Vectors)[1], Output_Dir);
  Vectors = &Calls[1].Vectors;
  Calls[1].Code = CamAxisToUE5(Pose, (*Vectors)[0], (*Vectors)[1], Output_Dir);
  Vectors = &Calls[2].Vectors;
  Calls[2].Code = CamAxisToUE5_ExportxN(Pose, (*Vectors)[0], (*Vectors)[1], Output_Dir);
  Vectors = &Calls[3].Vectors;
  Calls[3].Code = CamAxisToAximmetry(Solved.Vectors[1], Solved.Vectors[2], Pose, (*Vectors)[0],
                                     (*Vectors)[1], (*Vectors)[2], (*Vectors)[3], Output_Dir);
  return Calls;
}

// The work of one caller: a calibration, then the exports of its result.
std::vector<Call> Calibrate_And_Export(const Run_Input& Input, const std::string& Kind,
                                       const std::string& Output_Dir) {
  std::vector<Call> Calls = {Calibrate(Input, Kind, Output_Dir)};
  if (Calls[0].Vectors[4].size() != 16) return Calls;
  const std::vector<Call> Exports = Export(Calls[0], Output_Dir);
  Calls.insert(Calls.end(), Exports.begin(), Exports.end());
  return Calls;
}

// A capture, and the results of a single caller: the calls, and each kind's log lines.
struct Known_Capture {
  std::string Kind;
  Scratch_Folder Folder;
  Run_Input Input;
  std::vector<Call> Calls;
  std::map<std::string, Lines> Log;
  std::map<std::string, std::string> Images;  // reprojection image to its bytes
};

std::map<std::string, std::string> Read_Images(const std::filesystem::path& Folder) {
  std::map<std::string, std::string> Found;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder)) {
    const std::string Name = Entry.path().filename().string();
    if (Name.rfind("Reproject_", 0) == 0) Found[Name] = Read_Text(Entry.path());
  }
  return Found;
}

// Splits the log of one caller into its calls: each begins with the version.
std::map<std::string, Lines> Cut_By_Call(const std::vector<Call>& Calls, const Lines& Log) {
  std::map<std::string, Lines> Cut;
  std::size_t Begun = 0;
  for (const std::string& Line : Log) {
    if (Line.rfind("Version : ", 0) == 0) ++Begun;
    if (Begun == 0 || Begun > Calls.size()) throw std::runtime_error("not one version line a call");
    Cut[Calls[Begun - 1].Kind].push_back(Line);
  }
  return Cut;
}

std::unique_ptr<Known_Capture> Know(const std::string& Kind, const simulate::Options& Options) {
  auto Known = std::make_unique<Known_Capture>();
  Known->Kind = Kind;
  Known->Input = Write_And_Describe(Options, Known->Folder);
  const Quiet_Output Quiet;
  Known->Calls = Calibrate_And_Export(Known->Input, Kind, Known->Input.Output_Dir);
  Known->Log = Cut_By_Call(Known->Calls, Messages(Quiet.Captured()));
  Known->Images = Read_Images(Known->Input.Output_Dir);
  return Known;
}

simulate::Options Tiny_Capture(unsigned Seed, int Images, int Width, int Height) {
  simulate::Options Options;
  Options.Seed = Seed;
  Options.Image_Count = Images;
  Options.Width = Width;
  Options.Height = Height;
  Options.Board_Cols = 5;
  Options.Board_Rows = 4;
  Options.Blur_Pixels = 0.3;
  Options.Paths = simulate::Path_Form::Backslash;
  return Options;
}

// Returns at the start of a second, so that calls that begin now begin in the same second.
void Wait_For_A_Fresh_Second() {
  using std::chrono::milliseconds, std::chrono::seconds, std::chrono::system_clock;
  const auto Now = system_clock::now();
  std::this_thread::sleep_until(std::chrono::time_point_cast<seconds>(Now) + seconds(1) +
                                milliseconds(5));
}

// A line that one call of this kind logs once and no call of another kind logs.
std::string Mark_Of(const std::string& Kind, const std::map<std::string, Lines>& Log) {
  for (const std::string& Line : Log.at(Kind)) {
    bool Its_Own = std::count(Log.at(Kind).begin(), Log.at(Kind).end(), Line) == 1;
    for (const auto& [Other, Text] : Log) {
      if (Other != Kind && std::count(Text.begin(), Text.end(), Line) != 0) Its_Own = false;
    }
    if (Its_Own) return Line;
  }
  throw std::runtime_error("nothing marks the log of " + Kind);
}

Lines Sorted(Lines Text) {
  std::sort(Text.begin(), Text.end());
  return Text;
}

// Every log file of the folder must contain complete calls: of every text, as many lines as the
// calls whose marks it contains log on their own. Adds the calls found to Calls_Found.
void Expect_Whole_Calls(const std::filesystem::path& Folder,
                        const std::map<std::string, Lines>& Alone,
                        std::map<std::string, int>& Calls_Found, int& Most_In_One_File) {
  for (const auto& Path : Run_Logs(Folder)) {
    SCOPED_TRACE(Path.filename());
    const Lines Log = Messages(Read_Text(Path));  // throws for a line that was cut
    Lines Expected;
    int Calls = 0;
    for (const auto& [Kind, Text] : Alone) {
      const auto Times = std::count(Log.begin(), Log.end(), Mark_Of(Kind, Alone));
      Calls += static_cast<int>(Times);
      Calls_Found[Kind] += static_cast<int>(Times);
      for (int i = 0; i < Times; ++i) Expected.insert(Expected.end(), Text.begin(), Text.end());
    }
    EXPECT_EQ(Sorted(Log), Sorted(Expected));
    Most_In_One_File = std::max(Most_In_One_File, Calls);
  }
}

TEST(Threads, CalibrateAndExportAtOnceWithTheResultAndTheLinesThatEachGetsAlone) {
#if defined(RIGSYNC_THREAD_SANITIZER)
  // The sanitizer cannot see how OpenCV's thread pool synchronises, because OpenCV is not
  // instrumented. Only the threads of the calls are tested.
  cv::setNumThreads(1);
#endif
  std::vector<std::unique_ptr<Known_Capture>> Captures;
  Captures.push_back(Know("first", Tiny_Capture(/*Seed=*/1, 14, 480, 360)));
  Captures.push_back(Know("second", Tiny_Capture(/*Seed=*/2, 13, 320, 240)));
  std::map<std::string, Lines> Alone;
  for (const auto& Known : Captures) {
    ASSERT_EQ(Known->Calls.size(), 5u);
    for (const Call& Known_Call : Known->Calls) ASSERT_EQ(Known_Call.Code, 0) << Known_Call.Kind;
    Alone.insert(Known->Log.begin(), Known->Log.end());
  }
  ASSERT_NE(Captures[0]->Calls[0].Vectors, Captures[1]->Calls[0].Vectors);

  // Four callers in one folder, two in another, two in their own.
  constexpr std::size_t Callers = 8;
  const std::size_t Folder_Of[Callers] = {0, 0, 0, 0, 1, 1, 2, 3};
  const Scratch_Folder Folders[4];
  std::vector<std::vector<Call>> Calls(Callers);
  std::atomic<bool> Go{false};
  Nowhere Discard;
  std::streambuf* Before = std::cout.rdbuf(&Discard);
  std::vector<std::thread> Threads;
  for (std::size_t i = 0; i < Callers; ++i) {
    Threads.emplace_back([&, i] {
      const Known_Capture& Known = *Captures[i % Captures.size()];
      while (!Go.load()) std::this_thread::yield();
      Calls[i] = Calibrate_And_Export(Known.Input, Known.Kind, Folders[Folder_Of[i]].String());
    });
  }
  Wait_For_A_Fresh_Second();
  Go = true;
  for (std::thread& Thread : Threads) Thread.join();
  std::cout.rdbuf(Before);

  std::map<std::string, int> Calls_Found;
  int Most_In_One_File = 0;
  for (std::size_t i = 0; i < Callers; ++i) {
    SCOPED_TRACE(i);
    const Known_Capture& Known = *Captures[i % Captures.size()];
    EXPECT_TRUE(Calls[i] == Known.Calls);
    const auto Images = Read_Images(Folders[Folder_Of[i]].Path());
    for (const auto& [Name, Bytes] : Known.Images) {
      const auto Found = Images.find(Name);
      ASSERT_NE(Found, Images.end()) << Name;
      // Captures that share a folder overwrite each other's images.
      if (Folder_Of[i] >= 2) {
        EXPECT_TRUE(Found->second == Bytes) << Name;
      }
    }
  }
  for (const Scratch_Folder& Folder : Folders) {
    Expect_Whole_Calls(Folder.Path(), Alone, Calls_Found, Most_In_One_File);
  }
  for (const auto& [Kind, Times] : Calls_Found) EXPECT_EQ(Times, 4) << Kind;
  EXPECT_EQ(Calls_Found.size(), Alone.size());
  // Otherwise no file was shared, and the test has proved nothing.
  EXPECT_GE(Most_In_One_File, 2);
}

// Exports do little besides logging, so they write to the shared file thousands of times per
// second.
TEST(Threads, ExportManyTimesIntoOneFolderWithoutCuttingOrLosingALine) {
  const Vector Pose = {0.0, 0.8,  -0.6, 0.06,  1.0, 0.0, 0.0, -0.14,
                       0.0, -0.6, -0.8, -0.08, 0.0, 0.0, 0.0, 1.0};
  const Call Solved{"fixed", 0, {{1440.0, 810.0}, {1.1, 1.9}, {0.5, 0.49}, {}, Pose}};
  const Scratch_Folder Quiet_Folder, Shared;
  std::vector<Call> Expected;
  std::map<std::string, Lines> Alone;
  {
    const Quiet_Output Quiet;
    Expected = Export(Solved, Quiet_Folder.String());
    Alone = Cut_By_Call(Expected, Messages(Quiet.Captured()));
  }

  constexpr int Callers = 8, Rounds = 150;
  std::atomic<int> Differing{0};
  Nowhere Discard;
  std::streambuf* Before = std::cout.rdbuf(&Discard);
  std::vector<std::thread> Threads;
  for (int i = 0; i < Callers; ++i) {
    Threads.emplace_back([&] {
      for (int Round = 0; Round < Rounds; ++Round) {
        if (!(Export(Solved, Shared.String()) == Expected)) ++Differing;
      }
    });
  }
  for (std::thread& Thread : Threads) Thread.join();
  std::cout.rdbuf(Before);

  EXPECT_EQ(Differing.load(), 0);
  std::map<std::string, int> Calls_Found;
  int Most_In_One_File = 0;
  Expect_Whole_Calls(Shared.Path(), Alone, Calls_Found, Most_In_One_File);
  for (const auto& [Kind, Times] : Calls_Found) EXPECT_EQ(Times, Callers * Rounds) << Kind;
  EXPECT_EQ(Calls_Found.size(), Alone.size());
  EXPECT_GE(Most_In_One_File, 2);
}

}  // namespace
