// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_progress.h"

#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>
#include <utility>

namespace rigsync {
namespace {

constexpr std::chrono::milliseconds Poll_Interval(100);
// The lens solve's time grows with the cube of its images: about 1 s at 50 of them, 8 s at 100.
double Lens_Seconds(std::size_t Boards) {
  const auto Count = static_cast<double>(Boards);
  return 8e-6 * Count * Count * Count;
}

// Reading, drawing and writing a PNG image takes this many times as long as searching it for the
// board: 80 ms to 33 ms at 1920x1080.
constexpr double Writing_To_Searching = 2.5;

std::size_t Written_Images(const Run_Report& Report) {
  // The pass that writes measures each image again, in their order; an image counts as written when
  // the one after it could be.
  return static_cast<std::size_t>(
      std::count_if(Report.Images.begin(), Report.Images.end(), [](const Image_Report& Image) {
        return Image.Fate == Image_Fate::Kept && Image.Reprojection_Px.has_value();
      }));
}

// Images that have been searched: the last one that was begun still is.
std::size_t Searched_Images(const Run_Report& Report) {
  return Report.Images.empty() ? 0 : Report.Images.size() - 1;
}

}  // namespace

void Time_Estimate::Take(const Run_Report& Report, double Now) {
  if (Report.Step == Step) return;
  if (Step == Run_Step::Finding_Boards) Search_Seconds = Now - Step_Began;
  Step = Report.Step;
  Step_Began = Now;
}

double Time_Estimate::Image_Seconds(const Run_Report& Report, double Now) const {
  if (Step == Run_Step::Finding_Boards) {
    return (Now - Step_Began) / static_cast<double>(Searched_Images(Report));
  }
  return Search_Seconds / static_cast<double>(std::max<std::size_t>(Report.Images.size(), 1));
}

std::optional<double> Time_Estimate::Left(const Run_Report& Report, double Now) const {
  const std::size_t Boards = Count_Of(Report, Image_Fate::Kept);
  switch (Step) {
    case Run_Step::Finding_Boards: {
      const std::size_t Searched = Searched_Images(Report);
      if (Searched == 0) return std::nullopt;
      const auto Unsearched = static_cast<double>(Image_Count - std::min(Searched, Image_Count));
      // Of the images to come as many will show the board as did so far.
      const double Expected = static_cast<double>(Boards) /
                              static_cast<double>(Report.Images.size()) *
                              static_cast<double>(Image_Count);
      return Image_Seconds(Report, Now) * (Unsearched + Writing_To_Searching * Expected) +
             Lens_Seconds(static_cast<std::size_t>(Expected));
    }
    case Run_Step::Logging_Corners:
    case Run_Step::Solving_Lens: {
      const double In_Step = Step == Run_Step::Solving_Lens ? Now - Step_Began : 0.0;
      return std::max(Lens_Seconds(Boards) - In_Step, 0.0) +
             Image_Seconds(Report, Now) * Writing_To_Searching * static_cast<double>(Boards);
    }
    case Run_Step::Writing_Images: {
      const std::size_t Written = Written_Images(Report);
      const auto Unwritten = static_cast<double>(Boards - std::min(Written, Boards));
      const double Seconds = Written == 0 ? Image_Seconds(Report, Now) * Writing_To_Searching
                                          : (Now - Step_Began) / static_cast<double>(Written);
      return Seconds * Unwritten;
    }
    default:
      return std::nullopt;
  }
}

std::string Progress_Text(const Run_Report& Report, std::size_t Images) {
  const std::size_t Kept = Count_Of(Report, Image_Fate::Kept);
  switch (Report.Step) {
    case Run_Step::Begun:
      return "Reading the capture";
    case Run_Step::Finding_Boards: {
      // The image that is being searched counts as found until the log says otherwise.
      const std::size_t Searched = Searched_Images(Report);
      const std::size_t Dropped = Report.Images.size() - Kept;
      return fmt::format("Finding boards: {} of {} images, {} found", Searched, Images,
                         Searched - std::min(Dropped, Searched));
    }
    case Run_Step::Logging_Corners:
    case Run_Step::Solving_Lens:
      return fmt::format("Solving the lens on {} images", Kept);
    case Run_Step::Writing_Images:
      return fmt::format("Writing reprojection images: {} of {}", Written_Images(Report), Kept);
    case Run_Step::Ended:
      return "Done";
    default:
      return "Solving the mount";
  }
}

std::string Step_Text(const Run_Report& Report, std::size_t Images) {
  const std::size_t Kept = Count_Of(Report, Image_Fate::Kept);
  switch (Report.Step) {
    case Run_Step::Finding_Boards:
      return fmt::format("finding boards in {} images", Images);
    case Run_Step::Solving_Lens:
      return fmt::format("{} boards found, solving the lens", Kept);
    case Run_Step::Solving_Mount:
      return "solving the mount";
    case Run_Step::Writing_Images:
      return fmt::format("writing reprojection images of {} images", Kept);
    default:
      return {};
  }
}

// Everything behind the class: the thread and what it needs. Only Stopping is shared, under Lock.
struct Progress::Follower {
  Follower(std::filesystem::path Run_Folder, std::size_t Images, Progress_Kind Kind)
      : Folder(std::move(Run_Folder)),
        Image_Count(Images),
        Output(Kind),
        Estimate(Images),
        Thread([this] { Follow(); }) {}

  ~Follower() {
    {
      const std::lock_guard<std::mutex> Guard(Lock);
      Stopping = true;
    }
    Stop.notify_one();
    Thread.join();
  }
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  void Follow() {
    std::unique_lock<std::mutex> Guard(Lock);
    for (bool Last = false; !Last;) {
      // What was logged before the end was asked for is still told.
      Last = Stop.wait_for(Guard, Poll_Interval, [this] { return Stopping; });
      Read_New_Lines();
      if (!Last) Show();
    }
  }

  void Read_New_Lines() {
    if (!Log.is_open()) {
      const std::filesystem::path File = Run_Log_Since({}, Folder);
      if (File.empty()) return;
      Log.open(File);
    }
    Log.clear();
    char Block[65536];
    while (Log.read(Block, sizeof Block), Log.gcount() > 0) {
      Rest.append(Block, static_cast<std::size_t>(Log.gcount()));
    }
    std::size_t At = 0;
    for (std::size_t End = 0; (End = Rest.find('\n', At)) != std::string::npos; At = End + 1) {
      Take_Line(std::string_view(Rest).substr(At, End - At));
    }
    Rest.erase(0, At);
  }

  void Take_Line(std::string_view Text) {
    const Run_Step Before = Reader.Report().Step;
    Reader.Take_Line(Text);
    if (Reader.Report().Step == Before) return;
    Estimate.Take(Reader.Report(), Output.Seconds());
    const std::string Begun = Step_Text(Reader.Report(), Image_Count);
    if (!Begun.empty()) Output.Begin(Begun);
  }

  void Show() {
    std::string Text = Progress_Text(Reader.Report(), Image_Count);
    if (const auto Left = Estimate.Left(Reader.Report(), Output.Seconds())) {
      Text += ", " + Time_Text(*Left) + " left";
    }
    Output.Show(Text);
  }

  const std::filesystem::path Folder;
  const std::size_t Image_Count;
  Progress_Output Output;
  std::ifstream Log;
  std::string Rest;  // of the log: a line that isn't whole yet
  Run_Log_Reader Reader;
  Time_Estimate Estimate;
  std::mutex Lock;
  std::condition_variable Stop;
  bool Stopping = false;
  std::thread Thread;  // last, so that all else is there when it begins
};

Progress::Progress(const std::filesystem::path& Run_Folder, std::size_t Images,
                   Progress_Kind Kind) {
  if (Kind == Progress_Kind::None) return;
  Running = std::make_unique<Follower>(Run_Folder, Images, Kind);
}

Progress::~Progress() = default;

}  // namespace rigsync
