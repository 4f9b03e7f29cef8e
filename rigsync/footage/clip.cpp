// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/clip.h"

#include "rigsync/footage/clip_facts.h"
#include "rigsync/footage/frame_measures.h"
#include "rigsync/system/child_process.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Flag = "--clip";

// Times of frames are whole microseconds.
constexpr double Time_Step = 1e-6;

[[noreturn]] void Refuse_Clip(const fs::path& File, const std::string& Why) {
  throw Usage_Error(Flag, fmt::format("{}: {}: {}", Flag, File.string(), Why));
}

// ---- The programs ------------------------------------------------------------------------------

// A path that a program takes for a file whatever its letters are, and nothing else.
std::string File_Url(const fs::path& File) {
  return "file:" + File.u8string();
}

// Files that hold their pictures themselves. A playlist leads to other files, or to the network,
// and one without an end is read again and again. Photographs and sounds are among them because
// what is wrong with those can be told better than by their kind.
constexpr const char* Known_Formats =
    "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mxf,mpegts,mpeg,mpegvideo,h264,hevc,obu,ivf,m4v,"
    "mjpeg,dv,gxf,nut,flv,asf,ogg,rm,gif,apng,yuv4mpegpipe,image2,png_pipe,jpeg_pipe,tiff_pipe,"
    "bmp_pipe,webp_pipe,dpx_pipe,exr_pipe,wav,mp3,aac,flac";

const std::vector<std::string> Quiet_Reading = {
    "-hide_banner",     "-loglevel",         "error",      "-protocol_whitelist",
    "file,crypto,data", "-format_whitelist", Known_Formats};

// The format in "[hls @ 0x55ccac7bd580] Format not on whitelist '...'"; empty if no line says so.
std::string Unknown_Format(const Child_Process& Process) {
  for (const std::string& Line : Process.Error_Lines()) {
    if (Line.find("not on whitelist") == std::string::npos || Line[0] != '[') continue;
    return One_Line(Line.substr(1, Line.find_first_of(" ,]") - 1));
  }
  return "";
}

// What ffmpeg says, without the address of its module and the name of the file.
std::string Plain_Line(const std::string& Line, const fs::path& File) {
  std::string Text = One_Line(Line);
  if (Text.substr(0, 1) == "[") Text.erase(0, std::min(Text.size(), Text.find("] ") + 2));
  const std::string Url = File_Url(File) + ": ";
  if (Text.rfind(Url, 0) == 0) Text.erase(0, Url.size());
  return Text;
}

// "; ffmpeg says: moov atom not found; Invalid data found when processing input". The last line is
// often general, and the one before has the reason.
std::string Said(const Child_Process& Process, const fs::path& File) {
  const auto& Lines = Process.Error_Lines();
  if (Lines.empty()) return "";
  const std::string Last = Plain_Line(Lines.back(), File);
  if (Lines.size() == 1) return "; ffmpeg says: " + Last;
  const std::string Before = Plain_Line(Lines[Lines.size() - 2], File);
  return fmt::format("; ffmpeg says: {}", Before == Last ? Last : Before + "; " + Last);
}

bool Is_Too_Old(const Child_Process& Process) {
  return std::any_of(
      Process.Error_Lines().begin(), Process.Error_Lines().end(),
      [](const std::string& Line) { return Line.find("fps_mode") != std::string::npos; });
}

// Reads a clip with a program, and does with it what Use does.
template <typename Function>
auto With_Program(const fs::path& File, const char* Program,
                  const std::vector<std::string>& Arguments, Error_Line_Reader Read_Line,
                  const Function& Use) {
  std::vector<std::string> All = Quiet_Reading;
  All.insert(All.end(), Arguments.begin(), Arguments.end());
  try {
    Child_Process Process(Program, All, std::move(Read_Line));
    return Use(Process);
  } catch (const Program_Not_Found&) {
    Refuse_Clip(File, fmt::format("clips are read by the program '{}', which isn't found; install "
                                  "ffmpeg (on Debian the package 'ffmpeg'), or give a folder of "
                                  "photographs with --images, which needs no program",
                                  Program));
  }
}

void Require_File(const fs::path& File) {
  std::error_code Reason;
  const fs::file_status Status = fs::status(File, Reason);
  if (!fs::exists(Status)) {
    Refuse_Clip(File, fmt::format("can't be opened ({})", Reason.message()));
  }
  if (fs::is_directory(Status)) {
    Refuse_Clip(File, "is a folder; for a folder of photographs use --images");
  }
}

Clip_Facts Probe(const fs::path& File) {
  constexpr std::size_t Most_Bytes = 1 << 20;
  const std::vector<std::string> Arguments = {"-show_entries", Probed_Entries, "-of", "json",
                                              File_Url(File)};
  return With_Program(File, "ffprobe", Arguments, {}, [&](Child_Process& Process) {
    const std::string Text = Process.Read_Rest(Most_Bytes);
    if (Process.Wait() != 0) {
      if (const std::string Format = Unknown_Format(Process); !Format.empty()) {
        Refuse_Clip(File, fmt::format("is no clip of a kind that is read ('{}'); give the file "
                                      "that holds the pictures, or convert it to MP4, MOV or MKV",
                                      Format));
      }
      Refuse_Clip(File, "is no clip that can be read" + Said(Process, File));
    }
    try {
      return Parse_Clip_Facts(Text);
    } catch (const std::runtime_error& Error) {
      Refuse_Clip(File, Error.what() + Said(Process, File));
    }
  });
}

// ---- Frames through the pipe -------------------------------------------------------------------

// One run of ffmpeg that shows frames twice: their pixels on standard output, and their times as
// frame checksums on standard error. Both come from the same decoded frame, so they can't disagree
// about which frames there are; a table of times read from the file could. Passthrough keeps every
// frame with its own time, where ffmpeg would else repeat and drop some to hold a rate.
std::vector<std::string> Frame_Arguments(const fs::path& File, std::size_t Stream,
                                         const std::string& Filter, const char* Pixels,
                                         std::optional<std::size_t> Count) {
  const std::string Graph =
      fmt::format("[0:{}]{},split[pixels][shown];[shown]scale=16:16[times]", Stream, Filter);
  std::vector<std::string> Arguments = {"-nostdin", "-i", File_Url(File), "-filter_complex", Graph};
  const auto Add_Output = [&](const char* Label, std::initializer_list<const char*> Form) {
    Arguments.insert(Arguments.end(),
                     {"-map", Label, "-fps_mode", "passthrough", "-enc_time_base", "1:1000000"});
    if (Count) Arguments.insert(Arguments.end(), {"-frames:v", std::to_string(*Count)});
    Arguments.insert(Arguments.end(), Form.begin(), Form.end());
  };
  Add_Output("[pixels]", {"-c:v", "rawvideo", "-pix_fmt", Pixels, "-f", "rawvideo", "pipe:1"});
  Add_Output("[times]", {"-c:v", "rawvideo", "-flush_packets", "1", "-f", "framecrc", "pipe:2"});
  return Arguments;
}

struct Frame_Run {
  std::vector<double> Seconds;  // of each frame
  std::size_t Count = 0;        // of frames in the pipe
  int Status = 0;               // of ffmpeg
  std::string What_Was_Said;
  bool Is_Too_Old = false;
};

// Takes each frame into Frame, which has its size and type, and calls Use.
template <typename Function>
Frame_Run Run_Frames(const fs::path& File, const std::vector<std::string>& Arguments,
                     cv::Mat& Frame, const Function& Use) {
  Frame_Times Times;
  const auto Read_Line = [&Times](std::string_view Line) { return Times.Take_Line(Line); };
  Frame_Run Run = With_Program(File, "ffmpeg", Arguments, Read_Line, [&](Child_Process& Process) {
    Frame_Run Done;
    const std::size_t Size = Frame.total() * Frame.elemSize();
    while (Process.Read(Frame.data, Size) == Size) {
      Use(Done.Count);
      ++Done.Count;
    }
    Done.Status = Process.Wait();
    Done.What_Was_Said = Said(Process, File);
    Done.Is_Too_Old = Is_Too_Old(Process);
    return Done;
  });
  Run.Seconds = Times.Seconds();
  return Run;
}

void Check_Run(const fs::path& File, const Frame_Run& Run) {
  if (Run.Is_Too_Old) {
    Refuse_Clip(File, "the program 'ffmpeg' is too old; version 5.1 or newer is needed");
  }
  if (Run.Count == 0) Refuse_Clip(File, "no frame can be decoded" + Run.What_Was_Said);
  if (Run.Status != 0) {
    Refuse_Clip(File, fmt::format("can't be read to its end, {} frames could be{}", Run.Count,
                                  Run.What_Was_Said));
  }
  if (Run.Seconds.size() != Run.Count) {
    Refuse_Clip(File, fmt::format("ffmpeg shows {} frames and the times of {}{}", Run.Count,
                                  Run.Seconds.size(), Run.What_Was_Said));
  }
}

// Calls a Clip_Progress ten times a second.
class Paced_Progress {
 public:
  Paced_Progress(Clip_Progress Progress, double Clip_Seconds)
      : Report(std::move(Progress)), Seconds(Clip_Seconds) {}

  void Show(double Done_Seconds) {
    constexpr auto Pause = std::chrono::milliseconds(100);
    const auto Now = std::chrono::steady_clock::now();
    if (!Report || Now - Last < Pause) return;
    Last = Now;
    Report(Seconds > 0.0 ? std::min(Done_Seconds, Seconds) : Done_Seconds, Seconds);
  }

 private:
  Clip_Progress Report;
  double Seconds;
  std::chrono::steady_clock::time_point Last;
};

// ---- The scan ----------------------------------------------------------------------------------

// A photograph is a clip of one frame to ffmpeg. Motion shows from three frames on.
void Check_Count(const fs::path& File, std::size_t Count) {
  constexpr std::size_t Least = 3;
  if (Count >= Least) return;
  Refuse_Clip(File, fmt::format("has {} frame{}; a clip has {} and more, and for photographs there "
                                "is --images with their folder",
                                Count, Count == 1 ? "" : "s", Least));
}

// Times from the first frame on, which have to ascend.
void Take_Times(const std::vector<double>& Seconds, Clip& Scanned) {
  for (std::size_t i = 0; i < Scanned.Frames.size(); ++i) {
    Scanned.Frames[i].Seconds = Seconds[i] - Seconds.front();
    if (i == 0 || Seconds[i] > Seconds[i - 1]) continue;
    Refuse_Clip(Scanned.File,
                fmt::format("frame {} is shown at {:.3f} s, not after the frame before it; convert "
                            "the clip to another format first",
                            i, Scanned.Frames[i].Seconds));
  }
}

// A file that was cut off, as by a copy that wasn't finished, still states its whole length. Where
// frames are evenly spaced, a missing end shows by itself. Elsewhere the last frame may last long,
// and only a complaint of ffmpeg tells.
void Check_End(const Clip_Facts& Facts, const Frame_Run& Run, const Clip& Scanned) {
  constexpr double Allowed_Seconds = 0.5, Allowed_Share = 0.02;
  const double Read_Seconds = Scanned.Frames.back().Seconds + 1.0 / Facts.Rate.Hz();
  const double Missing = Facts.Seconds - Read_Seconds;
  const bool Is_Short = Missing > std::max(Allowed_Seconds, Allowed_Share * Facts.Seconds);
  const double Even_Seconds = static_cast<double>(Run.Count) / Facts.Rate.Hz();
  const bool Is_Even = std::abs(Even_Seconds - Read_Seconds) < Allowed_Seconds;
  if (!Is_Short || (!Is_Even && Run.What_Was_Said.empty())) return;
  Refuse_Clip(Scanned.File, fmt::format("ends after {:.1f} s of {:.1f} s; copy the clip again{}",
                                        Read_Seconds, Facts.Seconds, Run.What_Was_Said));
}

// ---- Cutting -----------------------------------------------------------------------------------

// The files that a call has written, which go again unless it succeeds.
class Written_Files {
 public:
  Written_Files() = default;
  ~Written_Files() {
    std::error_code Ignored;
    for (const fs::path& File : Files) fs::remove(File, Ignored);
  }
  Written_Files(const Written_Files&) = delete;
  Written_Files& operator=(const Written_Files&) = delete;

  void Add(const fs::path& File) { Files.push_back(File); }
  void Keep() { Files.clear(); }

 private:
  std::vector<fs::path> Files;
};

fs::path Frame_File(const fs::path& Folder, std::size_t Frame) {
  return Folder / fmt::format("frame_{:06d}.png", Frame);
}

bool Is_Same_Picture(const fs::path& File, const cv::Mat& Picture) {
  const cv::Mat Earlier = cv::imread(File.string(), cv::IMREAD_UNCHANGED);
  return Earlier.size() == Picture.size() && Earlier.type() == Picture.type() &&
         cv::norm(Earlier, Picture, cv::NORM_INF) == 0.0;
}

void Write_Frame(const Clip& From, const fs::path& File, const cv::Mat& Picture,
                 Written_Files& Written) {
  std::error_code Ignored;
  if (fs::exists(fs::symlink_status(File, Ignored))) {
    if (Is_Same_Picture(File, Picture)) return;
    Refuse_Clip(From.File, fmt::format("a frame would be written to {}, where another file is; "
                                       "remove it, or choose another folder",
                                       File.string()));
  }
  std::vector<unsigned char> Bytes;
  cv::imencode(".png", Picture, Bytes);
  Written.Add(File);
  try {
    Write_Whole(File, {reinterpret_cast<const char*>(Bytes.data()), Bytes.size()});
  } catch (const std::runtime_error& Error) {
    throw Usage_Error("--output", std::string("--output: ") + Error.what());
  }
}

// Passes frames of these numbers. A sum may have a hundred terms and no more, so it is one of sums.
std::string Selection(const std::vector<std::size_t>& Numbers) {
  constexpr std::size_t Group_Size = 30;
  std::string Terms;
  for (std::size_t i = 0; i < Numbers.size(); ++i) {
    if (i > 0) Terms += i % Group_Size == 0 ? ")+(" : "+";
    Terms += fmt::format("eq(n,{})", Numbers[i]);
  }
  return fmt::format("select='({})'", Terms);
}

// Compares the times of the frames that came with those of the scan: a clip that was replaced
// since, or that ffmpeg counts otherwise, must not give other frames. Numbers begins with frame 0.
void Check_Times(const Clip& From, const std::vector<std::size_t>& Numbers, const Frame_Run& Run) {
  const auto Is_Same_Time = [&](std::size_t i) {
    const double Seconds = Run.Seconds[i] - Run.Seconds.front();
    return std::abs(Seconds - From.Frames[Numbers[i]].Seconds) <= 2.0 * Time_Step;
  };
  for (std::size_t i = 0; i < Numbers.size(); ++i) {
    if (i < Run.Count && Is_Same_Time(i)) continue;
    Refuse_Clip(From.File,
                fmt::format("has changed since it was scanned: frame {} isn't at {:.3f} s "
                            "any more",
                            Numbers[i], From.Frames[Numbers[i]].Seconds));
  }
}

// Numbers ascend and begin with 0, by which times are compared.
void Cut_Some(const Clip& From, const std::vector<std::size_t>& Numbers,
              const std::set<std::size_t>& Wanted, const fs::path& Folder, Written_Files& Written,
              Paced_Progress& Progress) {
  cv::Mat Frame(From.Height, From.Width, CV_8UC3);
  const std::string Filter =
      fmt::format("{},scale={}:{}", Selection(Numbers), From.Width, From.Height);
  const Frame_Run Run = Run_Frames(
      From.File, Frame_Arguments(From.File, From.Stream, Filter, "bgr24", Numbers.size()), Frame,
      [&](std::size_t Index) {
        if (Index >= Numbers.size() || Wanted.count(Numbers[Index]) == 0) return;
        Write_Frame(From, Frame_File(Folder, Numbers[Index]), Frame, Written);
        Progress.Show(From.Frames[Numbers[Index]].Seconds);
      });
  Check_Run(From.File, Run);
  Check_Times(From, Numbers, Run);
}

}  // namespace

Clip Scan_Clip(const fs::path& File, const Clip_Progress& Progress) {
  Require_File(File);
  const Clip_Facts Facts = Probe(File);
  Clip Scanned;
  Scanned.File = File;
  Scanned.Stream = Facts.Stream;
  Scanned.Width = Facts.Width;
  Scanned.Height = Facts.Height;
  Scanned.Rate_Hz = Facts.Rate.Hz();
  Scanned.Timecode_Start = Facts.Timecode_Start;
  Scanned.Warnings = Facts.Warnings;

  const cv::Size Size = Measured_Size({Facts.Width, Facts.Height});
  cv::Mat Frame(Size, CV_8UC1);
  cv::Mat Earlier;
  Paced_Progress Paced(Progress, Facts.Seconds);
  const std::string Filter =
      fmt::format("scale={}:{}:flags=area,format=gray", Size.width, Size.height);
  const Frame_Run Run = Run_Frames(
      File, Frame_Arguments(File, Facts.Stream, Filter, "gray", std::nullopt), Frame,
      [&](std::size_t Index) {
        const float Difference = Earlier.empty() ? 0.0f : Frame_Difference(Earlier, Frame);
        Scanned.Frames.push_back({0.0, Difference, Frame_Sharpness(Frame)});
        Frame.copyTo(Earlier);
        Paced.Show(static_cast<double>(Index) / Facts.Rate.Hz());
      });
  Check_Run(File, Run);
  Check_Count(File, Run.Count);
  Take_Times(Run.Seconds, Scanned);
  Check_End(Facts, Run, Scanned);
  if (!Run.What_Was_Said.empty()) {
    Scanned.Warnings.push_back("Some of the clip can't be read" + Run.What_Was_Said + ".");
  }
  return Scanned;
}

std::vector<fs::path> Cut_Frames(const Clip& From, const std::vector<std::size_t>& Frames,
                                 const fs::path& Folder, const Clip_Progress& Progress) {
  // The numbers are part of the command line, which has a limit.
  constexpr std::size_t Most_At_Once = 200;
  const std::set<std::size_t> Wanted(Frames.begin(), Frames.end());
  if (!Wanted.empty() && *Wanted.rbegin() >= From.Frames.size()) {
    throw std::out_of_range("a frame that the clip doesn't have");
  }
  Written_Files Written;
  Paced_Progress Paced(Progress, From.Frames.empty() ? 0.0 : From.Frames.back().Seconds);
  for (auto Next = Wanted.begin(); Next != Wanted.end();) {
    std::vector<std::size_t> Numbers = {0};
    if (*Next == 0) ++Next;
    while (Next != Wanted.end() && Numbers.size() < Most_At_Once) Numbers.push_back(*Next++);
    Cut_Some(From, Numbers, Wanted, Folder, Written, Paced);
  }
  Written.Keep();
  std::vector<fs::path> Files;
  for (const std::size_t Number : Frames) Files.push_back(Frame_File(Folder, Number));
  return Files;
}

}  // namespace rigsync
