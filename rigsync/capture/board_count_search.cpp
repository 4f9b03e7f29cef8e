// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_count_search.h"

#include "rigsync/capture/board_detection.h"
#include "rigsync/system/quiet_output.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <iterator>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// OpenCV's detector by sectors grows a board from a seed of these many corners. Which seed and
// which contrast find the whole board differs between images, so all are tried, the best first.
struct Proposal_Settings {
  int Seed;
  int Flags;
};
constexpr Proposal_Settings All_Settings[] = {
    {4, cv::CALIB_CB_NORMALIZE_IMAGE}, {3, cv::CALIB_CB_NORMALIZE_IMAGE}, {4, 0}, {3, 0}};

// After so many of them the counts that were proposed are tried for the first time: the first alone
// may have proposed a part of the board only.
constexpr std::size_t Tried_After = 2;

// Counts are proposed in a copy that is no wider: wider ones take longer and show no more.
constexpr int Most_Proposal_Width = 960, Proposal_Width = 720;

// What --board accepts.
constexpr int Least_Count = 3, Most_Count = 100;

constexpr std::size_t Least_Images = 2;

class Deadline {
 public:
  explicit Deadline(double Seconds)
      : End(Clock::now() +
            std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(Seconds))) {}
  bool Is_Over() const { return Clock::now() >= End; }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point End;
};

struct Opened_Image {
  std::size_t Index;  // in the caller's list
  Detection_Images Searched;
  cv::Mat Proposing;  // grey
};

cv::Mat Read_Colour(const fs::path& File) {
  try {
    return cv::imread(File.string(), cv::IMREAD_COLOR);
  } catch (const cv::Exception&) {  // a decoder that throws
    return {};
  }
}

std::vector<Opened_Image> Open_Images(const std::vector<fs::path>& Files,
                                      const Detection_Settings& Settings) {
  std::vector<Opened_Image> Opened;
  for (std::size_t i = 0; i < Files.size(); ++i) {
    const cv::Mat Image = Read_Colour(Files[i]);
    if (Image.empty()) continue;
    Opened_Image Each{i, {}, {}};
    Prepare_Images(Image, Settings, Each.Searched);
    Each.Searched.Grey.release();  // for the refinement of corners only
    const cv::Mat& Grey = Each.Searched.Reduced_Grey;
    Each.Proposing = Grey;
    if (Grey.cols > Most_Proposal_Width) {
      const double Scale = static_cast<double>(Proposal_Width) / Grey.cols;
      cv::resize(Grey, Each.Proposing, {}, Scale, Scale, cv::INTER_AREA);
    }
    Opened.push_back(Each);
  }
  return Opened;
}

bool Are_Same(const Board_Size& Left, const Board_Size& Right) {
  return Left.Cols == Right.Cols && Left.Rows == Right.Rows;
}

// An image doesn't tell columns from rows. The stated order is kept.
Board_Size In_Order_Of(const Board_Size& Stated, int One, int Other) {
  const auto [Fewer, More] = std::minmax(One, Other);
  return Stated.Cols < Stated.Rows ? Board_Size{Fewer, More} : Board_Size{More, Fewer};
}

std::optional<Board_Size> Propose(const cv::Mat& Grey, const Proposal_Settings& Settings,
                                  const Board_Size& Stated) {
  std::vector<cv::Point2f> Corners;
  cv::Mat Cells;  // one for each corner of the board that was found
  try {
    if (!cv::findChessboardCornersSB(Grey, cv::Size(Settings.Seed, Settings.Seed), Corners,
                                     Settings.Flags | cv::CALIB_CB_LARGER, Cells)) {
      return std::nullopt;
    }
  } catch (const cv::Exception&) {  // an image smaller than the detector's window
    return std::nullopt;
  }
  const auto [Fewer, More] = std::minmax(Cells.cols, Cells.rows);
  if (Fewer < Least_Count || More > Most_Count) return std::nullopt;
  return In_Order_Of(Stated, Cells.cols, Cells.rows);
}

// Sizes that were proposed, each with whether it was tried.
class Proposals {
 public:
  explicit Proposals(const Board_Size& Stated) { All.push_back({Stated, true}); }

  void Add(const Board_Size& Size) {
    const bool Is_Known = std::any_of(All.begin(), All.end(), [&Size](const Proposed& Each) {
      return Are_Same(Each.Size, Size);
    });
    if (!Is_Known) All.push_back({Size, false});
  }

  // The largest that wasn't tried, which now counts as tried.
  std::optional<Board_Size> Take_Largest() {
    Proposed* Largest = nullptr;
    for (Proposed& Each : All) {
      if (Each.Is_Tried) continue;
      if (Largest == nullptr || Corner_Count(Each.Size) > Corner_Count(Largest->Size)) {
        Largest = &Each;
      }
    }
    if (Largest == nullptr) return std::nullopt;
    Largest->Is_Tried = true;
    return Largest->Size;
  }

 private:
  struct Proposed {
    Board_Size Size;
    bool Is_Tried;
  };

  static int Corner_Count(const Board_Size& Size) { return Size.Cols * Size.Rows; }

  std::vector<Proposed> All;
};

// By the library's detection. Stops where the images that are left can't make it enough.
std::vector<std::size_t> Images_With(const Board_Size& Board,
                                     const std::vector<Opened_Image>& Images,
                                     const Detection_Settings& Settings, const Deadline& Until) {
  std::vector<std::size_t> Found;
  for (std::size_t k = 0; k < Images.size(); ++k) {
    if (Until.Is_Over() || Found.size() + (Images.size() - k) < Least_Images) break;
    std::vector<cv::Point2f> Corners;
    if (Search_Board(Images[k].Searched, Settings, Board, Corners)) {
      Found.push_back(Images[k].Index);
    }
  }
  return Found;
}

std::optional<Seen_Counts> Try(Proposals& Proposed, const std::vector<Opened_Image>& Images,
                               const Detection_Settings& Settings, const Deadline& Until) {
  while (const auto Size = Proposed.Take_Largest()) {
    if (Until.Is_Over()) return std::nullopt;
    const std::vector<std::size_t> Found = Images_With(*Size, Images, Settings, Until);
    if (Found.size() >= Least_Images) return Seen_Counts{*Size, Found};
  }
  return std::nullopt;
}

}  // namespace

std::optional<Seen_Counts> Find_Board_Counts(const std::vector<fs::path>& Images, int Width,
                                             int Height, const Board_Size& Stated,
                                             double Most_Seconds) {
  const Quiet_Output Quiet(true);
  const Deadline Until(Most_Seconds);
  const Detection_Settings Settings = Settings_For(cv::Size(Width, Height));
  const std::vector<Opened_Image> Opened = Open_Images(Images, Settings);
  if (Opened.size() < Least_Images) return std::nullopt;
  Proposals Proposed(Stated);
  for (std::size_t k = 0; k < std::size(All_Settings); ++k) {
    for (const Opened_Image& Image : Opened) {
      if (Until.Is_Over()) return std::nullopt;
      if (const auto Size = Propose(Image.Proposing, All_Settings[k], Stated)) Proposed.Add(*Size);
    }
    if (k + 1 < Tried_After) continue;
    if (const auto Seen = Try(Proposed, Opened, Settings, Until)) return Seen;
  }
  return std::nullopt;
}

}  // namespace rigsync
