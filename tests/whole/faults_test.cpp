// SPDX-License-Identifier: Apache-2.0
//
// What a host sees when disk and images change while the library works. The library logs its
// progress to standard output, so a fault can be triggered at a chosen line.
#include "rigsync_core.h"
#include "tests/core/capture/board_photographs.h"
#include "tests/support/run_log_reader.h"
#include "tests/whole/whole_run.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <functional>
#include <iostream>
#include <optional>
#include <streambuf>

namespace {

namespace fs = std::filesystem;

// A buffer for standard output that triggers a fault once: at the end of the first line that begins
// with Line after its time.
class Striking_Output : public std::streambuf {
 public:
  Striking_Output(std::string Line, std::function<void()> Fault)
      : Awaited(std::move(Line)), Strike(std::move(Fault)), Before(std::cout.rdbuf(this)) {}
  ~Striking_Output() override { std::cout.rdbuf(Before); }

  std::string Text;
  bool Has_Struck = false;

 protected:
  int_type overflow(int_type Letter) override {
    Text += traits_type::to_char_type(Letter);
    if (Letter != '\n') return Letter;
    const std::size_t Start = Text.rfind('\n', Text.size() - 2) + 1;  // npos + 1 is 0
    constexpr std::size_t Time_And_Tab = 20;
    if (!Has_Struck && Text.compare(Start + Time_And_Tab, Awaited.size(), Awaited) == 0) {
      Has_Struck = true;
      Strike();
    }
    return Letter;
  }

 private:
  std::string Awaited;
  std::function<void()> Strike;
  std::streambuf* Before;
};

// Log lines at which one stage has ended and the next has not begun.
constexpr const char* Images_Searched = "Corner detection successful.";
constexpr const char* First_Pass_Over = "Finish Calculate_Transform_Cam_Tc.";
constexpr const char* Searching = "Start to Detect Corner.";

struct Struck_Run {
  Run_Output Output;
  std::string Exception;  // what a cv::Exception said; empty without one
};

// Each test has its own capture, because the faults damage it.
class Faults : public testing::Test {
 protected:
  Faults() {
    simulate::Options Options = Small_Capture();
    Options.Width = 640;
    Options.Height = 360;
    Options.Board_Cols = 7;
    Options.Board_Rows = 4;
    Input = Write_And_Describe(Options, Folder);
    for (const auto& Entry : fs::recursive_directory_iterator(Folder.Path())) {
      if (Entry.path().extension() == ".png") Images.push_back(Entry.path());
    }
    std::sort(Images.begin(), Images.end());
  }

  Struck_Run Run(const std::string& Line, const std::function<void()>& Fault) const {
    Struck_Run Result;
    Run_Output& Output = Result.Output;
    Striking_Output Struck(Line, Fault);
    try {
      Output.Code = Calibration(Input.Csv_Path, Input.Board_Cols, Input.Board_Rows,
                                Input.Square_Size, Input.Chart_Euler_Deg, Input.Chart_Translation,
                                Output.Image_Size, Output.Norm_Fxy, Output.Norm_Cxy,
                                Output.Distortion, Output.Transform_Cam_Tc, Input.Output_Dir);
    } catch (const cv::Exception& Thrown) {
      Result.Exception = Thrown.what();
    }
    EXPECT_TRUE(Struck.Has_Struck) << Line;
    Output.Log = Messages(Struck.Text);
    return Result;
  }

  // A run without a fault.
  Run_Output Undisturbed() {
    return Run(Searching, [] {}).Output;
  }

  void Expect_Good(const Struck_Run& Struck, const Run_Output& Alone) {
    EXPECT_EQ(Struck.Output.Code, 0);
    EXPECT_EQ(Struck.Exception, "");
    EXPECT_EQ(Struck.Output.Transform_Cam_Tc, Alone.Transform_Cam_Tc);
    EXPECT_EQ(Struck.Output.Log, Alone.Log);
  }

  Scratch_Folder Folder;
  Run_Input Input;
  std::vector<fs::path> Images;
};

TEST_F(Faults, AnImageThatVanishesAfterTheSearchThrowsInTheLastPassWithTheLensDelivered) {
  const Struck_Run Struck = Run(Images_Searched, [this] {
    for (const fs::path& Image : Images) fs::remove(Image);
  });
  EXPECT_NE(Struck.Exception, "");
  Expect_Lens_Filled_Alone(Struck.Output);
  // The pass without image writing measured all images; the one with it measured none.
  EXPECT_EQ(Lines_Starting(Struck.Output.Log, "Average reprojection error : ").size(), 1u);
  EXPECT_EQ(Read_Run_Log(Input.Output_Dir), Struck.Output.Log);
}

TEST_F(Faults, ImagesThatAreSwappedAfterTheSearchAreDrawnOnAndChangeNoNumber) {
  const Run_Output Alone = Undisturbed();
  const Struck_Run Struck = Run(First_Pass_Over, [this] {
    for (const fs::path& Image : Images) {
      cv::imwrite(Image.string(), cv::Mat(20, 30, CV_8UC3, cv::Scalar(0, 255, 0)));
    }
  });
  Expect_Good(Struck, Alone);
  std::size_t Small = 0;
  for (const auto& Entry : fs::directory_iterator(Input.Output_Dir)) {
    if (Entry.path().extension() != ".png") continue;
    const cv::Mat Written = cv::imread(Entry.path().string());
    EXPECT_EQ(Written.size(), cv::Size(30, 20)) << Entry.path();
    ++Small;
  }
  EXPECT_GE(Small, 5u);
}

TEST_F(Faults, AnImageThatShrinksBeforeItIsSearchedIsDropped) {
  const Struck_Run Struck =
      Run(Searching, [this] { fs::resize_file(Images.back(), fs::file_size(Images.back()) / 2); });
  EXPECT_EQ(Struck.Output.Code, 0);
  EXPECT_EQ(Lines_Starting(Struck.Output.Log, "Process : ").size(), Images.size());
  std::size_t Unreadable = 0;
  for (const std::string& Line : Struck.Output.Log)
    Unreadable += Line.size() > 11 && Line.substr(Line.size() - 11) == " Not exist!";
  EXPECT_EQ(Unreadable, 1u);
}

TEST_F(Faults, AnOutputFolderThatVanishesTakesTheFilesAndNotTheResult) {
  const Run_Output Alone = Undisturbed();
  for (const char* Line : {Searching, Images_Searched, First_Pass_Over}) {
    SCOPED_TRACE(Line);
    fs::create_directories(Input.Output_Dir);
    Expect_Good(Run(Line, [this] { fs::remove_all(Input.Output_Dir); }), Alone);
    EXPECT_FALSE(fs::exists(Input.Output_Dir));
  }
}

// A separate disk for the output, if the user may mount one.
class Small_Disk {
 public:
  Small_Disk(const std::string& Folder, const char* Options) : Place(Folder) {
    Mounted = mount("none", Place.c_str(), "tmpfs", 0, Options) == 0;
  }
  ~Small_Disk() {
    if (Mounted) umount2(Place.c_str(), MNT_DETACH);
  }
  Small_Disk(const Small_Disk&) = delete;
  Small_Disk& operator=(const Small_Disk&) = delete;

  bool Become_Read_Only() const {
    return mount("none", Place.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
  }
  bool Mounted = false;

 private:
  std::string Place;
};

TEST_F(Faults, AnOutputFolderThatFillsUpCutsTheLogShortAndNotTheResult) {
  const Run_Output Alone = Undisturbed();
  const Small_Disk Disk(Input.Output_Dir, "size=8k");
  if (!Disk.Mounted) GTEST_SKIP() << "this user may not mount a disk";
  Expect_Good(Run(Searching, [] {}), Alone);
  std::uintmax_t Kept = 0;
  for (const auto& Log : Run_Logs(Input.Output_Dir)) Kept += fs::file_size(Log);
  EXPECT_GT(Kept, 0u);
  EXPECT_LE(Kept, 8192u);
}

TEST_F(Faults, AnOutputFolderThatBecomesReadOnlyKeepsTheLogUpToThere) {
  const Run_Output Alone = Undisturbed();
  const Small_Disk Disk(Input.Output_Dir, "size=4m");
  if (!Disk.Mounted) GTEST_SKIP() << "this user may not mount a disk";
  bool Read_Only = false;
  Expect_Good(Run(Images_Searched, [&] { Read_Only = Disk.Become_Read_Only(); }), Alone);
  EXPECT_TRUE(Read_Only);
  // A line is in the file before it is on standard output, where the fault strikes.
  EXPECT_EQ(Read_Run_Log(Input.Output_Dir).back(), Images_Searched);
}

TEST_F(Faults, APictureThatMakesTheDecoderThrowIsNothingNew) {
  // If it is the first image, it counts as missing; otherwise the previous image is searched again.
  const std::string Path = Folder.Write("huge.bmp", Oversized_Bmp());
  ASSERT_THROW(cv::imread(Path), cv::Exception);
  const std::string Row = "0," + Path + ",1,2,3,1,0,0,0,1,2,3,1,0,0,0\n";
  const std::string Good = Read_Text(Input.Csv_Path);
  const Run_Output Alone = Undisturbed();

  Input.Csv_Path = Folder.Write("first.csv", Row + Good);
  const Struck_Run First = Run(Searching, [] {});
  EXPECT_EQ(First.Output.Transform_Cam_Tc, Alone.Transform_Cam_Tc);
  EXPECT_EQ(Lines_Starting(First.Output.Log, Path + " Not exist!").size(), 1u);

  Input.Csv_Path = Folder.Write("last.csv", Good + Row);
  const Struck_Run Last = Run(Searching, [] {});
  EXPECT_EQ(Lines_Starting(Last.Output.Log, Path + " Not exist!").size(), 0u);
  // It counts as usable under the new name, with the corners of the previous image.
  const auto Lens = Lines_Starting(Last.Output.Log, Path);
  EXPECT_EQ(Lens.size(), 1u);
}

}  // namespace
