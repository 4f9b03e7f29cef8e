// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync calibrate' that is killed or loses its disk during a run: which files remain, what the
// next run does with them, and what is reported.
#include "rigsync/system/text.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/child_limits.h"
#include "tests/support/scratch_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

// What the run log in a run's folder holds so far.
std::string Logged(const fs::path& Run) {
  std::error_code Ignored;
  for (const auto& Entry : fs::directory_iterator(Run, Ignored)) {
    if (Entry.path().filename().string().rfind("log_", 0) == 0) return Read_Text(Entry.path());
  }
  return "";
}

// A 'rigsync calibrate' at work, with its output in files.
class Running {
 public:
  explicit Running(std::vector<std::string> Words, const fs::path& Folder)
      : Output(Folder / "output"), Error(Folder / "error") {
    Words.insert(Words.begin(), RIGSYNC_PROGRAM);
    std::vector<char*> Pointers;
    for (std::string& Word : Words) Pointers.push_back(Word.data());
    Pointers.push_back(nullptr);
    const std::string Output_File = Output.string(), Error_File = Error.string();
    const pid_t Parent = getpid();
    Child = fork();
    if (Child < 0) throw std::runtime_error("fork failed");
    if (Child == 0) {
      Limit_Child(Parent);
      dup2(open(Output_File.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
      dup2(open(Error_File.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      execv(Pointers.front(), Pointers.data());
      _exit(127);
    }
  }
  ~Running() {
    if (Child > 0) End(SIGKILL);
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  // Waits until there are this many run folders in Out and the last one's log says this. False when
  // that never comes.
  bool Reaches(const fs::path& Out, const std::string& Message, std::size_t Runs = 1) const {
    const auto Limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < Limit) {
      const std::vector<fs::path> Folders = Run_Folders(Out);
      if (Folders.size() == Runs &&
          Logged(Folders.back()).find("\t" + Message) != std::string::npos)
        return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

  // Its status, or 128 and the signal that ended it. Signal 0 waits.
  int End(int Signal) {
    if (Signal != 0) kill(Child, Signal);
    int State = 0;
    waitpid(Child, &State, 0);
    Child = -1;
    return WIFEXITED(State) ? WEXITSTATUS(State) : 128 + WTERMSIG(State);
  }

  fs::path Output, Error;

 private:
  pid_t Child = -1;
};

// Long enough that each stage can be met while it works.
constexpr int Repeats = 3;

TEST(CalibrateFaults, KilledInAnyStageLeavesNoResultAndTheNextRunWorks) {
  // A message of each stage; the last is of the pass that writes reprojection images.
  for (const char* Message :
       {"Version : ", "Process : ", "RAW DATA START", "Camera calibration start.",
        "Start OrganizeRT.", "Remove outlier", "Mean_Transform_Chart_Tr : "}) {
    SCOPED_TRACE(Message);
    const Scratch_Folder Scratch;
    const fs::path Csv = Write_Long_Csv(Scratch.Path(), Repeats), Out = Scratch.Path() / "out";
    Running Killed(Calibrate_Arguments(Csv, Out), Scratch.Path());
    ASSERT_TRUE(Killed.Reaches(Out, Message));
    ASSERT_EQ(Killed.End(SIGKILL), 128 + SIGKILL);
    EXPECT_FALSE(fs::exists(Out / "result.json"));
    ASSERT_EQ(Run_Folders(Out).size(), 1u);
    EXPECT_FALSE(fs::exists(Run_Folders(Out).front() / "result.json"));
    EXPECT_EQ(Rigsync({"export", (Out / "result.json").string(), "--to", "ue5"}).Status, 2);

    EXPECT_EQ(Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out)).Status, 0);
    EXPECT_EQ(Read_Json(Out / "result.json")["code"], 0);
    EXPECT_EQ(Run_Folders(Out).size(), 2u);
    EXPECT_EQ(Rigsync({"export", (Out / "result.json").string(), "--to", "ue5"}).Status, 0);
  }
}

TEST(CalibrateFaults, AnIncompleteResultIsRefused) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out)).Status, 0);
  const std::string Whole = Read_Text(Out / "result.json");
  for (const std::size_t Size :
       {std::size_t{0}, std::size_t{1}, Whole.size() / 4, Whole.size() / 2, Whole.size() - 3}) {
    const std::string Half = Scratch.Write("half.json", Whole.substr(0, Size));
    for (const char* Command : {"export", "compare"}) {
      std::vector<std::string> Words = {Command, Half};
      if (Words[0] == "export") Words.insert(Words.end(), {"--to", "ue5"});
      if (Words[0] == "compare") Words.push_back(Capture_File("truth.json").string());
      const Finished Result = Rigsync(Words);
      EXPECT_EQ(Result.Status, 2) << Size;
      EXPECT_EQ(Result.Output, "") << Size;
      EXPECT_THAT(Result.Said, HasSubstr(Half));
    }
  }
}

TEST(CalibrateFaults, AFolderThatVanishesIsReportedAndTheResultPrinted) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Write_Long_Csv(Scratch.Path(), Repeats), Out = Scratch.Path() / "out";
  Running Program(Calibrate_Arguments(Csv, Out), Scratch.Path());
  ASSERT_TRUE(Program.Reaches(Out, "Process : "));
  // Files come into being while the folder is removed.
  while (fs::exists(Out)) {
    std::error_code Ignored;
    fs::remove_all(Out, Ignored);
  }
  EXPECT_EQ(Program.End(0), 70);
  EXPECT_THAT(Read_Text(Program.Output),
              AllOf(HasSubstr("Code 0."), HasSubstr("Transform_Cam_Tc")));
  EXPECT_THAT(rigsync::One_Line(Read_Text(Program.Error)), HasSubstr("can't be written"));
}

TEST(CalibrateFaults, ADiskThatFillsUpIsReportedAndTheEarlierResultStays) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Write_Long_Csv(Scratch.Path(), Repeats), Out = Scratch.Path() / "out";
  fs::create_directory(Out);
  if (mount("none", Out.c_str(), "tmpfs", 0, "size=40m") != 0) {
    GTEST_SKIP() << "this user may not mount a disk";
  }
  struct Unmount {
    fs::path Place;
    ~Unmount() { umount2(Place.c_str(), MNT_DETACH); }
  } const Disk{Out};
  ASSERT_EQ(Rigsync(Calibrate_Arguments(Capture_File("capture.csv"), Out)).Status, 0);
  const std::string Earlier = Read_Text(Out / "result.json");
  {
    Running Program(Calibrate_Arguments(Csv, Out), Scratch.Path());
    ASSERT_TRUE(Program.Reaches(Out, "Process : ", /*Runs=*/2));
    // Takes whatever becomes free until the end, so also the space that is kept for the result.
    std::atomic<bool> Is_Ended = false;
    std::thread Filler([&] {
      const int File = open((Out / "filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
      const std::string Block(4096, 'x');
      while (!Is_Ended) {
        if (write(File, Block.data(), Block.size()) < 0) std::this_thread::yield();
      }
      close(File);
    });
    EXPECT_EQ(Program.End(0), 70);
    Is_Ended = true;
    Filler.join();
    EXPECT_THAT(Read_Text(Program.Output), HasSubstr("Code 0."));
    EXPECT_THAT(rigsync::One_Line(Read_Text(Program.Error)),
                AllOf(HasSubstr("result.json can't be written"), HasSubstr("No space left")));
  }
  EXPECT_EQ(Read_Text(Out / "result.json"), Earlier);
  for (const fs::path& Folder : {Out, Run_Folders(Out).back()}) {
    for (const auto& Entry : fs::directory_iterator(Folder)) {
      EXPECT_NE(Entry.path().filename().string().front(), '.') << Entry.path();
    }
  }
}

TEST(CalibrateFaults, AFullPipeDoesNotBlockTheRun) {
  const Scratch_Folder Scratch;
  const fs::path Out = Scratch.Path() / "out";
  // Progress goes into a pipe that is full already.
  int Ends[2];
  ASSERT_EQ(pipe2(Ends, O_CLOEXEC), 0);
  ASSERT_EQ(fcntl(Ends[1], F_SETFL, O_NONBLOCK), 0);
  const std::string Block(4096, 'x');
  while (write(Ends[1], Block.data(), Block.size()) > 0) {
  }
  ASSERT_EQ(fcntl(Ends[1], F_SETFL, 0), 0);
  const int Own_Error = dup(STDERR_FILENO);
  dup2(Ends[1], STDERR_FILENO);
  std::vector<std::string> Words = Calibrate_Arguments(Capture_File("capture.csv"), Out);
  Words.insert(Words.begin(), RIGSYNC_PROGRAM);
  std::vector<char*> Pointers;
  for (std::string& Word : Words) Pointers.push_back(Word.data());
  Pointers.push_back(nullptr);
  const pid_t Parent = getpid(), Child = fork();
  if (Child == 0) {
    Limit_Child(Parent);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    execv(Pointers.front(), Pointers.data());
    _exit(127);
  }
  dup2(Own_Error, STDERR_FILENO);
  close(Own_Error);
  int State = 0;
  waitpid(Child, &State, 0);
  EXPECT_EQ(WIFEXITED(State) ? WEXITSTATUS(State) : -1, 0);
  EXPECT_EQ(Read_Json(Out / "result.json")["code"], 0);
  close(Ends[0]);
  close(Ends[1]);
}

}  // namespace
