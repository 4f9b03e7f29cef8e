// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/clip.h"

#include "rigsync/system/usage_error.h"
#include "tests/rigsync/footage/numbered_clip.h"
#include "tests/support/read_text.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <optional>
#include <thread>

namespace rigsync {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Times are whole microseconds, and rounded twice.
constexpr double Time_Tolerance = 2e-6;

// With frames that are decoded in another order than shown.
const std::vector<std::string> With_B_Frames = {"-c:v", "libx264", "-bf",      "3",
                                                "-g",   "30",      "-pix_fmt", "yuv420p"};

std::vector<std::string> operator+(std::vector<std::string> Left,
                                   const std::vector<std::string>& Right) {
  Left.insert(Left.end(), Right.begin(), Right.end());
  return Left;
}

// The message of the Usage_Error that Do throws.
template <typename Function>
std::string Refusal(const Function& Do) {
  try {
    Do();
  } catch (const Usage_Error& Error) {
    EXPECT_EQ(Error.Option_Name(), "--clip");
    return Error.what();
  }
  return "accepted";
}

std::string Scan_Refusal(const fs::path& File) {
  return Refusal([&] { Scan_Clip(File); });
}

void Cut_Off(const fs::path& File, double Share) {
  fs::resize_file(File,
                  static_cast<std::uintmax_t>(Share * static_cast<double>(fs::file_size(File))));
}

std::size_t Entry_Count(const fs::path& Folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(Folder), fs::directory_iterator()));
}

// Sets the search path of programs while it exists.
class Search_Path {
 public:
  explicit Search_Path(const std::string& Folders) : Before(std::getenv("PATH")) {
    setenv("PATH", Folders.c_str(), 1);
  }
  ~Search_Path() { setenv("PATH", Before.c_str(), 1); }
  Search_Path(const Search_Path&) = delete;
  Search_Path& operator=(const Search_Path&) = delete;

 private:
  std::string Before;
};

struct Form {
  const char* Name;
  std::vector<std::string> Options;
};

// Nothing for gtest to print but the file's name.
void PrintTo(const Form& Printed, std::ostream* Stream) {
  *Stream << Printed.Name;
}

class ClipForm : public testing::TestWithParam<Form> {};

TEST_P(ClipForm, IsCutAtExactlyTheFramesThatAreAskedFor) {
  constexpr std::size_t Count = 100;
  const Scratch_Folder Scratch;
  const Clip Scanned =
      Scan_Clip(Encode_Numbered(Scratch.Path() / GetParam().Name, Count, GetParam().Options));
  EXPECT_EQ(Scanned.Width, Numbered_Width);
  EXPECT_EQ(Scanned.Height, Numbered_Height);
  EXPECT_DOUBLE_EQ(Scanned.Rate_Hz, 25.0);
  EXPECT_THAT(Scanned.Warnings, IsEmpty());
  ASSERT_EQ(Scanned.Frames.size(), Count);
  for (std::size_t i = 0; i < Count; ++i) {
    EXPECT_NEAR(Scanned.Frames[i].Seconds, static_cast<double>(i) / 25.0, Time_Tolerance);
  }
  const std::vector<std::size_t> Wanted = {57, 3, 99, 0, 57, 31};
  const std::vector<fs::path> Files = Cut_Frames(Scanned, Wanted, Scratch.Path());
  ASSERT_EQ(Files.size(), Wanted.size());
  EXPECT_EQ(Files[1], Scratch.Path() / "frame_000003.png");
  for (std::size_t i = 0; i < Wanted.size(); ++i) {
    EXPECT_EQ(Number_In(Files[i]), static_cast<int>(Wanted[i]));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Clip, ClipForm,
    testing::Values(Form{"a.mp4", With_B_Frames}, Form{"a.mov", With_B_Frames},
                    Form{"a.mkv", With_B_Frames}, Form{"a.ts", With_B_Frames},
                    Form{"a.avi", {"-c:v", "mjpeg", "-q:v", "2"}},
                    Form{"prores.mov", {"-c:v", "prores_ks"}},
                    // The letters mean something to a shell, to ffmpeg and to its filters.
                    Form{"-a b'%d:[0]$HOME.mov", With_B_Frames}),
    [](const auto& Info) { return "Form" + std::to_string(Info.index); });

TEST(Clip, WhoseFramesAreUnevenHasTheirOwnTimes) {
  const Scratch_Folder Scratch;
  // Frame n of 25 a second is left out unless n is 1 or a multiple of 3.
  const Clip Scanned = Scan_Clip(Encode_Numbered(
      Scratch.Path() / "a.mp4", 90,
      std::vector<std::string>{"-vf", "select='not(mod(n,3))+eq(n,1)'", "-fps_mode", "vfr"} +
          With_B_Frames));
  std::vector<std::size_t> Kept = {0, 1};
  for (std::size_t Number = 3; Number < 90; Number += 3) Kept.push_back(Number);
  ASSERT_EQ(Scanned.Frames.size(), Kept.size());
  for (std::size_t i = 0; i < Kept.size(); ++i) {
    EXPECT_NEAR(Scanned.Frames[i].Seconds, static_cast<double>(Kept[i]) / 25.0, Time_Tolerance);
  }
  for (const fs::path& File : Cut_Frames(Scanned, {1, 2, 20}, Scratch.Path())) {
    const std::size_t Frame = std::stoul(File.stem().string().substr(6));
    EXPECT_EQ(Number_In(File), static_cast<int>(Kept[Frame]));
  }
}

TEST(Clip, StartsAtItsTimecode) {
  const Scratch_Folder Scratch;
  const Clip Scanned = Scan_Clip(
      Encode_Numbered(Scratch.Path() / "a.mov", 10,
                      std::vector<std::string>{"-timecode", "10:21:33:07"} + With_B_Frames));
  EXPECT_DOUBLE_EQ(Scanned.Timecode_Start.value(), 10 * 3600 + 21 * 60 + 33 + 7 / 25.0);
  EXPECT_FALSE(
      Scan_Clip(Encode_Numbered(Scratch.Path() / "b.mp4", 10, With_B_Frames)).Timecode_Start);
}

// The picture's transform in the header of its track, which an encoder leaves at "none": one that
// turns right to down, clockwise.
void Turn_Clockwise(const fs::path& File) {
  constexpr std::size_t Matrix_Offset = 4 + 40;
  std::string Bytes = Read_Text(File);
  const std::string Turn("\0\0\0\0\0\1\0\0\0\0\0\0\xff\xff\0\0\0\0\0\0", 20);
  const std::size_t Header = Bytes.find("tkhd");
  ASSERT_NE(Header, std::string::npos);
  Bytes.replace(Header + Matrix_Offset, Turn.size(), Turn);
  std::ofstream(File, std::ios::binary) << Bytes;
}

TEST(Clip, OfATurnedCameraIsCutAsItIsShown) {
  const Scratch_Folder Scratch;
  const fs::path File = Encode_Numbered(Scratch.Path() / "a.mp4", 4, With_B_Frames);
  Turn_Clockwise(File);
  const Clip Scanned = Scan_Clip(File);
  EXPECT_EQ(Scanned.Width, Numbered_Height);
  EXPECT_EQ(Scanned.Height, Numbered_Width);
  ASSERT_EQ(Scanned.Frames.size(), 4u);
  const cv::Mat Shown = cv::imread(Cut_Frames(Scanned, {1}, Scratch.Path())[0].string(), 0);
  ASSERT_EQ(Shown.size(), cv::Size(Numbered_Height, Numbered_Width));
  // The lowest bit, at the upper right of the frame, is at the lower right when it is shown.
  EXPECT_GT(Shown.at<unsigned char>(Numbered_Width - 8, Numbered_Height - 8), 200);
  EXPECT_LT(cv::mean(Shown)[0], 30.0);
}

TEST(Clip, ShowsWhatMovesAndWhatIsSharp) {
  const Scratch_Folder Scratch;
  // Ten frames of number 0, ten of number 255, ten of that blurred.
  const Clip Scanned = Scan_Clip(Encode_Numbered(
      Scratch.Path() / "a.mkv", 30,
      {"-vf",
       "lut=y='if(gte(val,0),0,0)',drawbox=0:0:iw:ih/2:white:fill:enable='gte(n,10)',"
       "gblur=sigma=6:enable='gte(n,20)'",
       "-c:v", "ffv1"}));
  ASSERT_EQ(Scanned.Frames.size(), 30u);
  EXPECT_EQ(Scanned.Frames[0].Difference, 0.0f);
  EXPECT_EQ(Scanned.Frames[9].Difference, 0.0f);
  // Half of the picture goes from black to white.
  EXPECT_NEAR(Scanned.Frames[10].Difference, 127.5f, 0.5f);
  EXPECT_EQ(Scanned.Frames[11].Difference, 0.0f);
  EXPECT_EQ(Scanned.Frames[9].Sharpness, 0.0f);
  EXPECT_GT(Scanned.Frames[15].Sharpness, 3.0f * Scanned.Frames[25].Sharpness);
}

// It tells ten times a second, so whoever takes longer than that to listen is told of every frame.
TEST(Clip, TellsHowFarItIs) {
  const Scratch_Folder Scratch;
  std::vector<double> Done;
  Scan_Clip(Encode_Numbered(Scratch.Path() / "a.mp4", 6, With_B_Frames),
            [&](double Done_Seconds, double Clip_Seconds) {
              Done.push_back(Done_Seconds);
              EXPECT_DOUBLE_EQ(Clip_Seconds, 6 / 25.0);
              std::this_thread::sleep_for(std::chrono::milliseconds(110));
            });
  ASSERT_EQ(Done.size(), 6u);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_NEAR(Done[i], static_cast<double>(i) / 25.0, Time_Tolerance);
  }
}

TEST(Clip, KeepsAFileThatIsTheSameFrameAndRefusesAnyOther) {
  const Scratch_Folder Scratch;
  const Scratch_Folder Out;
  const Clip Scanned = Scan_Clip(Encode_Numbered(Scratch.Path() / "a.mp4", 20, With_B_Frames));
  Cut_Frames(Scanned, {4, 9}, Out.Path());
  const auto Time = fs::last_write_time(Out.Path() / "frame_000004.png");
  Cut_Frames(Scanned, {4, 9}, Out.Path());
  EXPECT_EQ(fs::last_write_time(Out.Path() / "frame_000004.png"), Time);
  Out.Write("frame_000012.png", "not ours");
  EXPECT_THAT(Refusal([&] {
                Cut_Frames(Scanned, {7, 12, 15}, Out.Path());
              }),
              HasSubstr("a frame would be written to " + Out.String() +
                        "/frame_000012.png, where another file is; remove it"));
  EXPECT_EQ(Read_Text(Out.Path() / "frame_000012.png"), "not ours");
  EXPECT_EQ(Entry_Count(Out.Path()), 3u) << "frame 7 was written before the refusal";
}

// No file of this process may grow beyond this while it exists, as on a disk that is full.
class File_Size_Limit {
 public:
  explicit File_Size_Limit(rlim_t Bytes) : Handler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &Before);
    const rlimit Limit{Bytes, Before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &Limit);
  }
  ~File_Size_Limit() {
    setrlimit(RLIMIT_FSIZE, &Before);
    std::signal(SIGXFSZ, Handler);
  }
  File_Size_Limit(const File_Size_Limit&) = delete;
  File_Size_Limit& operator=(const File_Size_Limit&) = delete;

 private:
  void (*Handler)(int);
  rlimit Before{};
};

TEST(Clip, WhoseFramesCannotBeWrittenIsRefusedByTheOutput) {
  const Scratch_Folder Scratch;
  const Scratch_Folder Out;
  const Clip Scanned = Scan_Clip(Encode_Numbered(Scratch.Path() / "a.mp4", 20, With_B_Frames));
  const File_Size_Limit Limit(16);
  try {
    Cut_Frames(Scanned, {4, 9}, Out.Path());
    FAIL() << "accepted";
  } catch (const Usage_Error& Error) {
    EXPECT_EQ(Error.Option_Name(), "--output");
    EXPECT_EQ(Error.what(),
              "--output: " + Out.String() +
                  "/frame_000004.png can't be written: File too large; allow larger files "
                  "(ulimit -f), or choose another disk");
  }
  EXPECT_EQ(Entry_Count(Out.Path()), 0u);
}

TEST(Clip, ThatHasChangedSinceItWasScannedIsNotCut) {
  const Scratch_Folder Scratch;
  const Scratch_Folder Out;
  const Clip Scanned = Scan_Clip(Encode_Numbered(Scratch.Path() / "a.mp4", 40, With_B_Frames));
  Encode_Numbered(Scratch.Path() / "a.mp4", 40,
                  std::vector<std::string>{"-vf", "setpts=2*PTS", "-r", "12.5"} + With_B_Frames);
  EXPECT_THAT(Refusal([&] {
                Cut_Frames(Scanned, {5, 30}, Out.Path());
              }),
              HasSubstr("has changed since it was scanned: frame 5 isn't at 0.200 s any more"));
  Encode_Numbered(Scratch.Path() / "a.mp4", 20, With_B_Frames);
  EXPECT_THAT(Refusal([&] {
                Cut_Frames(Scanned, {5, 30}, Out.Path());
              }),
              HasSubstr("has changed since it was scanned: frame 30 isn't at 1.200 s any more"));
  EXPECT_EQ(Entry_Count(Out.Path()), 0u);
}

TEST(Clip, IsCutAtMoreFramesThanOneRunTakes) {
  const Scratch_Folder Scratch;
  const Scratch_Folder Out;
  const Clip Scanned = Scan_Clip(Encode_Numbered(Scratch.Path() / "a.mp4", 250, With_B_Frames));
  std::vector<std::size_t> All;
  for (std::size_t i = 0; i < 250; ++i) All.push_back(i);
  const std::vector<fs::path> Files = Cut_Frames(Scanned, All, Out.Path());
  for (std::size_t i = 0; i < All.size(); ++i) EXPECT_EQ(Number_In(Files[i]), static_cast<int>(i));
  EXPECT_THROW(Cut_Frames(Scanned, {250}, Out.Path()), std::out_of_range);
}

TEST(Clip, WithoutTheProgramsIsRefusedWithWhatIsNeeded) {
  const Scratch_Folder Scratch;
  const fs::path File = Encode_Numbered(Scratch.Path() / "a.mp4", 5, With_B_Frames);
  const Search_Path Path(Scratch.String());
  EXPECT_EQ(Scan_Refusal(File),
            "--clip: " + File.string() +
                ": clips are read by the program 'ffprobe', which isn't found; install ffmpeg (on "
                "Debian the package 'ffmpeg'), or give a folder of photographs with --images, "
                "which needs no program");
}

TEST(Clip, OfAnOlderFfmpegIsRefusedWithTheVersionThatIsNeeded) {
  const Scratch_Folder Scratch;
  const fs::path File = Encode_Numbered(Scratch.Path() / "a.mp4", 5, With_B_Frames);
  const fs::path Old =
      Scratch.Write("ffmpeg",
                    "#!/bin/sh\necho \"Unrecognized option 'fps_mode'.\" >&2\n"
                    "echo 'Error splitting the argument list: Option not found' >&2\nexit 1\n");
  fs::permissions(Old, fs::perms::owner_all);
  const Search_Path Path(Scratch.String() + ":" + std::getenv("PATH"));
  EXPECT_EQ(Scan_Refusal(File), "--clip: " + File.string() +
                                    ": the program 'ffmpeg' is too old; version 5.1 or newer is "
                                    "needed");
}

TEST(Clip, ThatIsNoneIsRefusedWithWhatFfmpegSays) {
  const Scratch_Folder Scratch;
  const std::string Text = Scratch.Write("text.mp4", "This is no clip.");
  EXPECT_EQ(Scan_Refusal(Text), "--clip: " + Text +
                                    ": is no clip that can be read; ffmpeg says: moov atom not "
                                    "found; Invalid data found when processing input");
  EXPECT_EQ(
      Scan_Refusal(Scratch.Path() / "none.mp4"),
      "--clip: " + Scratch.String() + "/none.mp4: can't be opened (No such file or directory)");
  EXPECT_THAT(Scan_Refusal(Scratch.Path()), HasSubstr("is a folder; for a folder of photographs"));
  const fs::path Sound = Scratch.Path() / "sound.wav";
  Run_Ffmpeg({"-f", "lavfi", "-i", "sine=duration=0.2", Sound.string()});
  EXPECT_EQ(Scan_Refusal(Sound), "--clip: " + Sound.string() + ": has no picture stream");
}

// ffprobe and ffmpeg for this long at most, then they are ended.
class Bounded_Programs {
 public:
  explicit Bounded_Programs(int Seconds) : Path(Folder.String() + ":" + std::getenv("PATH")) {
    for (const char* const Program : {"ffprobe", "ffmpeg"}) {
      fs::permissions(
          Folder.Write(Program, "#!/bin/sh\nPATH=${PATH#*:} exec timeout -s KILL " +
                                    std::to_string(Seconds) + " " + Program + " \"$@\"\n"),
          fs::perms::owner_all);
    }
  }

 private:
  const Scratch_Folder Folder;
  const Search_Path Path;
};

// A playlist leads to other files, or to the network, and one without an end is read again and
// again until it has one.
TEST(Clip, ThatIsAPlaylistIsRefusedAndNotFollowed) {
  const Scratch_Folder Scratch;
  Encode_Numbered(Scratch.Path() / "a.ts", 40, With_B_Frames);
  const std::string Head = "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:1.6,\n";
  const std::string End = "#EXT-X-ENDLIST\n";
  const Bounded_Programs Bounded(/*Seconds=*/5);
  for (const std::string& File :
       {Scratch.Write("endless.m3u8", Head + "a.ts\n"),
        Scratch.Write("a.m3u8", Head + "a.ts\n" + End),
        Scratch.Write("net.m3u8", Head + "http://127.0.0.1:9/a.ts\n" + End)}) {
    EXPECT_EQ(Scan_Refusal(File),
              "--clip: " + File +
                  ": is no clip of a kind that is read ('hls'); give the file that holds the "
                  "pictures, or convert it to MP4, MOV or MKV");
  }
  EXPECT_THAT(Scan_Refusal(Scratch.Write("list", "ffconcat version 1.0\nfile a.ts\n")),
              HasSubstr("('concat')"));
}

TEST(Clip, OfFewerThanThreeFramesIsRefusedAndPhotographsAreNamed) {
  const Scratch_Folder Scratch;
  const fs::path Photograph = Scratch.Path() / "0001.png";
  cv::imwrite(Photograph.string(), cv::Mat(64, 128, CV_8UC3, cv::Scalar(9, 9, 9)));
  EXPECT_EQ(Scan_Refusal(Photograph),
            "--clip: " + Photograph.string() +
                ": has 1 frame; a clip has 3 and more, and for photographs there is --images with "
                "their folder");
  EXPECT_THAT(Scan_Refusal(Encode_Numbered(Scratch.Path() / "two.mp4", 2, With_B_Frames)),
              HasSubstr("has 2 frames; a clip"));
  EXPECT_EQ(
      Scan_Clip(Encode_Numbered(Scratch.Path() / "three.mp4", 3, With_B_Frames)).Frames.size(), 3u);
}

// ffmpeg has nothing to complain of then: the length of evenly spaced frames alone tells it.
TEST(Clip, CutOffBetweenTwoFramesIsRefused) {
  const Scratch_Folder Scratch;
  const fs::path File = Encode_Numbered(Scratch.Path() / "a.avi", 250, {"-c:v", "mjpeg"});
  const std::string Bytes = Read_Text(File);
  std::size_t Frame = Bytes.find("movi");
  for (int i = 0; i <= 125; ++i) Frame = Bytes.find("00dc", Frame + 1);
  ASSERT_NE(Frame, std::string::npos);
  fs::resize_file(File, Frame);
  EXPECT_THAT(Scan_Refusal(File), testing::MatchesRegex(".*: ends after 5.0 s of [0-9.]+ s; copy "
                                                        "the clip again"));
}

class ClipCutOff : public testing::TestWithParam<Form> {};

TEST_P(ClipCutOff, IsRefusedAndNotTakenForAShorterOne) {
  const Scratch_Folder Scratch;
  const fs::path File = Encode_Numbered(Scratch.Path() / GetParam().Name, 250, GetParam().Options);
  ASSERT_EQ(Scan_Clip(File).Frames.size(), 250u);
  Cut_Off(File, 0.5);
  const std::string Message = Scan_Refusal(File);
  EXPECT_EQ(Message.rfind("--clip: " + File.string() + ": ", 0), 0u) << Message;
  EXPECT_THAT(Message, testing::AnyOf(HasSubstr("moov atom not found"), HasSubstr("copy the clip"),
                                      HasSubstr("can't be read to its end")));
}

INSTANTIATE_TEST_SUITE_P(
    Clip, ClipCutOff,
    testing::Values(Form{"a.mp4", With_B_Frames},
                    Form{"a.mov",
                         With_B_Frames + std::vector<std::string>{"-movflags", "+faststart"}},
                    Form{"a.mkv", With_B_Frames}, Form{"a.avi", {"-c:v", "mjpeg"}}),
    [](const auto& Info) { return "Form" + std::to_string(Info.index); });

}  // namespace
}  // namespace rigsync
