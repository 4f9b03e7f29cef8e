// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/marker_search.h"

#include "rigsync/geometry/statistics.h"
#include "rigsync/system/quiet_output.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// Fewer markers than this may be misread ones.
constexpr std::size_t Least_In_Image = 4;
constexpr std::size_t Least_On_Board = 6;

// A step between markers is told from others where it is this close to whole squares.
constexpr double Step_Tolerance = 0.3;
// The longest steps that are looked at: two squares along a row or a column.
constexpr double Longest_Step = 2.0 + Step_Tolerance;

// Markers are 0.3 to 0.5 squares wide, so the nearest, diagonal neighbour is 2 to 3.3 edges away on
// both axes.
constexpr double Farthest_Neighbour_Edges = 3.6;

// Rows of fewer or more squares are no board's.
constexpr int Least_Across = 4, Most_Across = 101;

// ---- Steps from marker to marker -------------------------------------------------------------

cv::Point2d Point_Of(const std::array<float, 2>& Pixel) {
  return {double(Pixel[0]), double(Pixel[1])};
}

// A marker's middle, and its edges along a row and along a column.
struct Marker_Frame {
  int Id = 0;
  cv::Point2d Middle, Right, Down;
};

Marker_Frame Frame_Of(const Seen_Marker& Marker) {
  const auto Corner = [&](std::size_t k) { return Point_Of(Marker.Corners[k]); };
  return {Marker.Id, Point_Of(Middle_Of(Marker)),
          (Corner(1) - Corner(0) + Corner(2) - Corner(3)) / 2.0,
          (Corner(3) - Corner(0) + Corner(2) - Corner(1)) / 2.0};
}

// From one marker to another, in edges of both together: their mean is that of the place between
// them, so that perspective hardly counts.
cv::Point2d Step_In_Edges(const Marker_Frame& From, const Marker_Frame& To) {
  const cv::Point2d Right = (From.Right + To.Right) / 2.0, Down = (From.Down + To.Down) / 2.0;
  const cv::Point2d Way = To.Middle - From.Middle;
  const double Area = Right.cross(Down);
  return {Way.cross(Down) / Area, Right.cross(Way) / Area};
}

double Longer_Part(const cv::Point2d& Step) {
  return std::max(std::abs(Step.x), std::abs(Step.y));
}

// The edge of a marker as a fraction of a square's. None if markers aren't a board's apart.
std::optional<double> Marker_Size_In(const std::vector<Marker_Frame>& Frames) {
  std::vector<double> Nearest;
  for (const Marker_Frame& From : Frames) {
    double Least = Farthest_Neighbour_Edges;
    for (const Marker_Frame& To : Frames) {
      if (&From != &To) Least = std::min(Least, Longer_Part(Step_In_Edges(From, To)));
    }
    if (Least < Farthest_Neighbour_Edges) Nearest.push_back(Least);
  }
  if (Nearest.empty()) return std::nullopt;
  return 1.0 / Median(Nearest);
}

struct Step {
  int From = 0, To = 0;      // ids
  int Across = 0, Down = 0;  // squares; Down is at least 0
};

std::optional<int> Whole(double Squares) {
  if (!(std::abs(Squares - std::round(Squares)) <= Step_Tolerance)) return std::nullopt;
  return static_cast<int>(std::lround(Squares));
}

// The steps of up to two squares between an image's markers.
std::vector<Step> Steps_In(const std::vector<Seen_Marker>& Markers) {
  std::vector<Marker_Frame> Frames;
  for (const Seen_Marker& Marker : Markers) Frames.push_back(Frame_Of(Marker));
  const std::optional<double> Size = Marker_Size_In(Frames);
  std::vector<Step> Steps;
  if (!Size) return Steps;
  for (const Marker_Frame& From : Frames) {
    for (const Marker_Frame& To : Frames) {
      const cv::Point2d Squares = Step_In_Edges(From, To) * *Size;
      if (&From == &To || !(Longer_Part(Squares) <= Longest_Step)) continue;
      const std::optional<int> Across = Whole(Squares.x), Down = Whole(Squares.y);
      if (!Across || !Down || *Down < 0 || (*Down == 0 && *Across < 0)) continue;
      if ((*Across + *Down) % 2 != 0 || (*Across == 0 && *Down == 0)) continue;
      Steps.push_back({From.Id, To.Id, *Across, *Down});
    }
  }
  return Steps;
}

// ---- Rows of squares -------------------------------------------------------------------------

// Two rows have as many white squares as a row has squares: the marker two squares below another
// has an id that is higher by the squares across. None with too few such steps.
std::vector<int> Likely_Across(const std::vector<Step>& Steps) {
  constexpr int Least_Votes = 2;
  std::map<int, int> Votes;
  for (const Step& One : Steps) {
    const int Across = One.To - One.From;
    if (One.Across != 0 || One.Down != 2) continue;
    if (Across >= Least_Across && Across <= Most_Across) ++Votes[Across];
  }
  std::vector<int> Likely;
  for (const auto& [Across, Count] : Votes) {
    if (Count >= Least_Votes) Likely.push_back(Across);
  }
  return Likely;
}

// Whether ids differ as they do on a board with so many squares across.
bool Is_Step_Of(const Step& One, int Across) {
  // Twice the difference of ids is that of squares counted row by row, and one more or less from an
  // even row of an even number of squares to an odd one, or back.
  const int Squares = One.Down * Across + One.Across;
  const int Twice = 2 * (One.To - One.From);
  const int Slack = Across % 2 == 0 && One.Down % 2 != 0 ? 1 : 0;
  return std::abs(Twice - Squares) <= Slack;
}

// ---- Boards ----------------------------------------------------------------------------------

// Sets of ids that steps join.
class Joined_Ids {
 public:
  int Root_Of(int Id) {
    if (Parents.emplace(Id, Id).second || Parents[Id] == Id) return Id;
    return Parents[Id] = Root_Of(Parents[Id]);
  }

  void Join(int A, int B) { Parents[Root_Of(A)] = Root_Of(B); }

  std::vector<std::set<int>> Sets() {
    std::map<int, std::set<int>> By_Root;
    std::vector<int> Ids;
    for (const auto& Entry : Parents) Ids.push_back(Entry.first);
    for (const int Id : Ids) By_Root[Root_Of(Id)].insert(Id);
    std::vector<std::set<int>> All;
    for (const auto& Entry : By_Root) All.push_back(Entry.second);
    return All;
  }

 private:
  std::map<int, int> Parents;
};

// A board with so many squares across, and rows enough for its last id.
Marked_Board Board_With(int Across, int First_Id, int Last_Id) {
  Marked_Board Board = {{Across - 1, 1}, First_Id};
  while (!Square_Of_Marker(Board, Last_Id)) ++Board.Board.Rows;
  return Board;
}

std::size_t Steps_On(const Marked_Board& Board, const std::vector<Step>& Steps) {
  return static_cast<std::size_t>(std::count_if(Steps.begin(), Steps.end(), [&](const Step& One) {
    const auto From = Square_Of_Marker(Board, One.From), To = Square_Of_Marker(Board, One.To);
    return From && To && To->Col - From->Col == One.Across && To->Row - From->Row == One.Down;
  }));
}

// The board on which most steps between these ids are right. It may begin some squares before the
// smallest id that was seen, up to two rows; of equal ones the one that begins last is taken.
Marked_Board Best_Board(const std::set<int>& Ids, const std::vector<Step>& Steps,
                        const std::vector<int>& Likely) {
  const int Smallest = *Ids.begin(), Largest = *Ids.rbegin();
  Marked_Board Best;
  std::size_t Most = 0;
  for (const int Across : Likely) {
    for (int First = Smallest; First >= std::max(0, Smallest - Across); --First) {
      const Marked_Board Board = Board_With(Across, First, Largest);
      const std::size_t Right = Steps_On(Board, Steps);
      if (Right > Most) {
        Most = Right;
        Best = Board;
      }
    }
  }
  return Best;
}

// Whether a row more above and below the board would be in the frame, so that the board has all its
// rows.
bool Shows_All_Rows(const Marked_Image& Image, const Marked_Board& Board) {
  std::vector<cv::Point2f> Squares, Pixels;
  for (const Seen_Marker& Marker : Image.Markers) {
    const auto Place = Square_Of_Marker(Board, Marker.Id);
    if (!Place) continue;
    Squares.emplace_back(static_cast<float>(Place->Col), static_cast<float>(Place->Row));
    Pixels.emplace_back(Point_Of(Middle_Of(Marker)));
  }
  if (Squares.size() < Least_On_Board) return false;
  constexpr double Misplaced_Px = 10.0;
  const cv::Mat Homography = cv::findHomography(Squares, Pixels, cv::RANSAC, Misplaced_Px);
  if (Homography.empty()) return false;
  const float Left = -0.5f, Right = static_cast<float>(Board.Board.Cols) + 0.5f;
  const float Above = -1.4f, Below = static_cast<float>(Board.Board.Rows) + 1.4f;
  const std::vector<cv::Point2f> Ends = {
      {Left, Above}, {Right, Above}, {Left, Below}, {Right, Below}};
  std::vector<cv::Point2f> Seen;
  cv::perspectiveTransform(Ends, Seen, Homography);
  const cv::Rect2f Frame(0.0f, 0.0f, static_cast<float>(Image.Width),
                         static_cast<float>(Image.Height));
  return std::all_of(Seen.begin(), Seen.end(),
                     [&](const cv::Point2f& End) { return Frame.contains(End); });
}

Read_Board Read(const std::set<int>& Ids, const std::vector<Step>& All_Steps,
                const std::vector<int>& Likely, const std::vector<Marked_Image>& Images) {
  std::vector<Step> Steps;
  for (const Step& One : All_Steps) {
    if (Ids.count(One.From) != 0 && Ids.count(One.To) != 0) Steps.push_back(One);
  }
  Read_Board Result;
  Result.Board = Best_Board(Ids, Steps, Likely);
  Result.Marker_Count = Ids.size();
  for (std::size_t k = 0; k < Images.size(); ++k) {
    const auto Count =
        std::count_if(Images[k].Markers.begin(), Images[k].Markers.end(),
                      [&](const Seen_Marker& Marker) { return Ids.count(Marker.Id) != 0; });
    if (static_cast<std::size_t>(Count) < Least_In_Image) continue;
    Result.Images.push_back(k);
    Result.Has_All_Rows = Result.Has_All_Rows || Shows_All_Rows(Images[k], Result.Board);
  }
  return Result;
}

// ---- Images ----------------------------------------------------------------------------------

cv::Mat Read_Image(const fs::path& File) {
  try {
    return cv::imread(File.string(), cv::IMREAD_GRAYSCALE);
  } catch (const cv::Exception&) {
    return {};
  }
}

Marked_Image Search_Image(std::size_t Row, const cv::Mat& Image) {
  Marked_Image Result;
  Result.Row = Row;
  if (Image.empty()) return Result;
  Result.Width = Image.cols;
  Result.Height = Image.rows;
  Result.Markers = Find_Markers(Image);
  Result.Has_Board = !Read_Boards({Result}).empty();
  if (Result.Has_Board) return Result;
  cv::Mat Reversed;
  cv::flip(Image, Reversed, 1);
  Marked_Image Mirrored = Result;
  Mirrored.Markers = Find_Markers(Reversed);
  Mirrored.Has_Board = Mirrored.Is_Mirrored = !Read_Boards({Mirrored}).empty();
  return Mirrored.Has_Board ? Mirrored : Result;
}

}  // namespace

std::vector<Marked_Image> Search_Markers(const std::vector<Capture_Row>& Rows,
                                         const std::vector<std::size_t>& Chosen,
                                         const fs::path& Image_Root) {
  const Quiet_Output Quiet(true);
  std::vector<Marked_Image> Images;
  for (const std::size_t Row : Chosen) {
    Images.push_back(Search_Image(Row, Read_Image(Image_Root / Rows[Row].Image)));
  }
  return Images;
}

std::vector<Read_Board> Read_Boards(const std::vector<Marked_Image>& Images) {
  std::vector<Step> Steps;
  for (const Marked_Image& Image : Images) {
    const std::vector<Step> More = Steps_In(Image.Markers);
    Steps.insert(Steps.end(), More.begin(), More.end());
  }
  const std::vector<int> Likely = Likely_Across(Steps);
  Joined_Ids Joined;
  for (const Step& One : Steps) {
    if (std::any_of(Likely.begin(), Likely.end(),
                    [&](int Across) { return Is_Step_Of(One, Across); })) {
      Joined.Join(One.From, One.To);
    }
  }
  std::vector<Read_Board> Boards;
  for (const std::set<int>& Ids : Joined.Sets()) {
    if (Ids.size() >= Least_On_Board) Boards.push_back(Read(Ids, Steps, Likely, Images));
  }
  std::stable_sort(Boards.begin(), Boards.end(), [](const Read_Board& A, const Read_Board& B) {
    return A.Marker_Count > B.Marker_Count;
  });
  return Boards;
}

}  // namespace rigsync
