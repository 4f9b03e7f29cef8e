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
#include <exception>
#include <fstream>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace rigsync {
namespace {

constexpr std::chrono::milliseconds Poll_Interval(100);

// The time of the lens solve grows with the cube of the number of images: about 1 s for 50, 8 s for
// 100.
double Lens_Seconds(std::size_t Boards) {
  const auto Count = static_cast<double>(Boards);
  return 8e-6 * Count * Count * Count;
}

// Reading, drawing and writing a PNG image takes this many times as long as searching it for the
// board: 80 ms against 33 ms at 1920x1080.
constexpr double Writing_To_Searching = 2.5;

std::size_t Written_Images(const Run_Report& Report) {
  // The pass that writes the images measures each one again before it writes it.
  return static_cast<std::size_t>(
      std::count_if(Report.Images.begin(), Report.Images.end(), [](const Image_Report& Image) {
        return Image.Fate == Image_Fate::Kept && Image.Reprojection_Px.has_value();
      }));
}

// Images whose search is over. The last one that was begun is still being searched.
std::size_t Searched_Images(const Run_Report& Report) {
  return Report.Images.empty() ? 0 : Report.Images.size() - 1;
}

}  // namespace

void Time_Estimate::Take(const Run_Report& Report, double Now) {
  if (Report.Step == Step) return;
  if (Step == Run_Step::Finding_Boards) Search_Seconds = Now - Step_Start;
  Step = Report.Step;
  Step_Start = Now;
}

double Time_Estimate::Image_Seconds(const Run_Report& Report, double Now) const {
  if (Step == Run_Step::Finding_Boards) {
    return (Now - Step_Start) / static_cast<double>(Searched_Images(Report));
  }
  return Search_Seconds / static_cast<double>(std::max<std::size_t>(Report.Images.size(), 1));
}

std::optional<double> Time_Estimate::Remaining(const Run_Report& Report, double Now) const {
  const std::size_t Boards = Count_Images(Report, Image_Fate::Kept);
  switch (Step) {
    case Run_Step::Finding_Boards: {
      const std::size_t Searched = Searched_Images(Report);
      if (Searched == 0) return std::nullopt;
      const auto Unsearched = static_cast<double>(Image_Count - std::min(Searched, Image_Count));
      // The board is expected in the same share of all images as in those so far.
      const double Expected_Boards = static_cast<double>(Boards) /
                                     static_cast<double>(Report.Images.size()) *
                                     static_cast<double>(Image_Count);
      return Image_Seconds(Report, Now) * (Unsearched + Writing_To_Searching * Expected_Boards) +
             Lens_Seconds(static_cast<std::size_t>(Expected_Boards));
    }
    case Run_Step::Logging_Corners:
    case Run_Step::Solving_Lens: {
      const double Step_Seconds = Step == Run_Step::Solving_Lens ? Now - Step_Start : 0.0;
      return std::max(Lens_Seconds(Boards) - Step_Seconds, 0.0) +
             Image_Seconds(Report, Now) * Writing_To_Searching * static_cast<double>(Boards);
    }
    case Run_Step::Writing_Images: {
      const std::size_t Written = Written_Images(Report);
      const auto Unwritten = static_cast<double>(Boards - std::min(Written, Boards));
      const double Seconds = Written == 0 ? Image_Seconds(Report, Now) * Writing_To_Searching
                                          : (Now - Step_Start) / static_cast<double>(Written);
      return Seconds * Unwritten;
    }
    default:
      return std::nullopt;
  }
}

std::string Progress_Text(const Run_Report& Report, std::size_t Images) {
  const std::size_t Kept = Count_Images(Report, Image_Fate::Kept);
  switch (Report.Step) {
    case Run_Step::Begun:
      return "Reading the capture";
    case Run_Step::Finding_Boards: {
      // The log does not say yet whether the image that is being searched shows the board.
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
  const std::size_t Kept = Count_Images(Report, Image_Fate::Kept);
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

// The thread and its data. Only Is_Stopping is shared, under Lock.
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
      Is_Stopping = true;
    }
    Stop_Signal.notify_one();
    Thread.join();
  }
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  // Progress that can't be shown ends here, and not the run.
  void Follow() noexcept {
    try {
      Follow_Until_The_End();
    } catch (const std::exception&) {
      // There is no memory, for example.
    }
  }

  void Follow_Until_The_End() {
    std::unique_lock<std::mutex> Guard(Lock);
    for (bool Is_Last = false; !Is_Last;) {
      // Lines that were logged before the stop are still read.
      Is_Last = Stop_Signal.wait_for(Guard, Poll_Interval, [this] { return Is_Stopping; });
      Read_New_Lines();
      if (!Is_Last) Show();
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
      Unread_Text.append(Block, static_cast<std::size_t>(Log.gcount()));
    }
    std::size_t Start = 0;
    for (std::size_t End = 0; (End = Unread_Text.find('\n', Start)) != std::string::npos;
         Start = End + 1) {
      Take_Line(std::string_view(Unread_Text).substr(Start, End - Start));
    }
    Unread_Text.erase(0, Start);
  }

  void Take_Line(std::string_view Line) {
    const Run_Step Earlier_Step = Reader.Report().Step;
    Reader.Take_Line(Line);
    if (Reader.Report().Step == Earlier_Step) return;
    Estimate.Take(Reader.Report(), Output.Seconds());
    const std::string Announcement = Step_Text(Reader.Report(), Image_Count);
    if (!Announcement.empty()) Output.Begin(Announcement);
  }

  void Show() {
    std::string Text = Progress_Text(Reader.Report(), Image_Count);
    if (const auto Seconds = Estimate.Remaining(Reader.Report(), Output.Seconds())) {
      Text += ", " + Duration_Text(*Seconds) + " left";
    }
    Output.Show(Text);
  }

  const std::filesystem::path Folder;
  const std::size_t Image_Count;
  Progress_Output Output;
  std::ifstream Log;
  std::string Unread_Text;  // the incomplete last line of the log
  Run_Log_Reader Reader;
  Time_Estimate Estimate;
  std::mutex Lock;
  std::condition_variable Stop_Signal;
  bool Is_Stopping = false;
  std::thread Thread;  // last, so that it starts when all other members exist
};

Progress::Progress(const std::filesystem::path& Run_Folder, std::size_t Images,
                   Progress_Kind Kind) {
  if (Kind == Progress_Kind::None) return;
  try {
    Active_Follower = std::make_unique<Follower>(Run_Folder, Images, Kind);
  } catch (const std::system_error&) {
    // The system has no more threads. The run does without.
  }
}

Progress::~Progress() = default;

}  // namespace rigsync
