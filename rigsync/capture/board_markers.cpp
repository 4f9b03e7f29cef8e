// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_markers.h"

#include "rigsync/capture/board_detection.h"
#include "rigsync/geometry/statistics.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#ifdef RIGSYNC_ARUCO_IN_OBJDETECT
#include <opencv2/objdetect/aruco_detector.hpp>
#elif defined(RIGSYNC_ARUCO_IN_CONTRIB)
#include <opencv2/aruco.hpp>
#endif

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace rigsync {
namespace {

// ---- OpenCV's module -------------------------------------------------------------------------

using Quad = std::vector<cv::Point2f>;

#if defined(RIGSYNC_ARUCO_IN_OBJDETECT) || defined(RIGSYNC_ARUCO_IN_CONTRIB)

#ifdef RIGSYNC_ARUCO_IN_OBJDETECT

cv::aruco::Dictionary Dictionary() {
  return cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_1000);
}

#else

cv::aruco::Dictionary Dictionary() {
  return *cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_1000);
}

#endif

template <typename Parameters>
void Set(Parameters& Detection, double Least_Perimeter_Rate) {
  Detection.minMarkerPerimeterRate = Least_Perimeter_Rate;
  // Boards that the frame cuts off have markers close to its edge.
  Detection.minDistanceToBorder = 1;
}

void Detect(const cv::Mat& Grey, double Least_Perimeter_Rate, std::vector<Quad>& Corners,
            std::vector<int>& Ids) {
#ifdef RIGSYNC_ARUCO_IN_OBJDETECT
  cv::aruco::DetectorParameters Parameters;
  Set(Parameters, Least_Perimeter_Rate);
  cv::aruco::ArucoDetector(Dictionary(), Parameters).detectMarkers(Grey, Corners, Ids);
#else
  const cv::Ptr<cv::aruco::DetectorParameters> Parameters = cv::aruco::DetectorParameters::create();
  Set(*Parameters, Least_Perimeter_Rate);
  cv::aruco::detectMarkers(Grey, cv::makePtr<cv::aruco::Dictionary>(Dictionary()), Corners, Ids,
                           Parameters);
#endif
}

cv::Mat Code_Of(int Id) {
  const cv::aruco::Dictionary Known = Dictionary();
  return cv::aruco::Dictionary::getBitsFromByteList(Known.bytesList.row(Id), Known.markerSize);
}

constexpr bool Has_Module = true;

#else

void Detect(const cv::Mat& /*Grey*/, double /*Least_Perimeter_Rate*/, std::vector<Quad>& Corners,
            std::vector<int>& Ids) {
  Corners.clear();
  Ids.clear();
}

cv::Mat Code_Of(int /*Id*/) {
  throw std::logic_error("built without OpenCV's ArUco module");
}

constexpr bool Has_Module = false;

#endif

// ---- Markers ---------------------------------------------------------------------------------

// Markers with a shorter edge, pixels, are not looked for: their cells are below two pixels.
constexpr double Least_Edge_Px = 10.0;

// Images up to this size, pixels, are searched at twice their size, which reads a quarter more of
// the markers with edges of 10 to 15 pixels. Larger images have larger markers.
constexpr int Longest_Enlarged = 1300;
constexpr double Enlargement = 2.0;

cv::Mat Grey_Of(const cv::Mat& Image) {
  if (Image.channels() == 1) return Image;
  cv::Mat Grey;
  cv::cvtColor(Image, Grey, cv::COLOR_BGR2GRAY);
  return Grey;
}

// ---- Corners by markers ----------------------------------------------------------------------

// How many of the nearest markers predict a corner: few, so that the bend of the lens does not
// count, and enough that the noise of one does not either.
constexpr std::size_t Neighbours = 8;
constexpr std::size_t Least_Markers = 4;

// A corner without a marker within this distance, squares, is left out. Those of its own two white
// squares are 0.71 squares away, those of the next are 1.58.
constexpr double Farthest_Marker = 1.6;

// A marker further than this from where all others together have its square, squares, was misread.
constexpr double Largest_Misplacement = 0.35;

// The markers of half a square leave a quarter of a square free around each corner. What is looked
// at stays within this distance, squares.
constexpr double Window = 0.22;

// Refinement may move a corner this far from its prediction, squares.
constexpr double Largest_Move = 0.2;

// Pixels closer to an edge between squares than this mix black and white.
constexpr double Blurred_Px = 1.2;

// Of the pixels of each square in a corner's window this part has to be within this fraction of the
// contrast from the square's grey level. An edge of something in front of the board is not.
constexpr double Least_Agreement = 0.95;
constexpr double Largest_Deviation = 0.3;

// A corner whose contrast is below this part of the usual one is covered or in a reflection.
constexpr double Least_Contrast = 0.5;

struct Placed_Marker {
  cv::Point2f Square;  // the middle of its square, squares from the first inner corner
  cv::Point2f Pixel;
};

cv::Point2f Point_Of(const std::array<float, 2>& Pixel) {
  return {Pixel[0], Pixel[1]};
}

std::vector<Placed_Marker> Placed(const std::vector<Seen_Marker>& Seen, const Marked_Board& Board) {
  std::vector<Placed_Marker> Markers;
  for (const Seen_Marker& Marker : Seen) {
    const std::optional<Square_Place> Square = Square_Of_Marker(Board, Marker.Id);
    if (!Square) continue;
    Markers.push_back(
        {{static_cast<float>(Square->Col) - 0.5f, static_cast<float>(Square->Row) - 0.5f},
         Point_Of(Middle_Of(Marker))});
  }
  return Markers;
}

cv::Point2d Mapped(const cv::Matx33d& Homography, const cv::Point2d& Point) {
  const cv::Vec3d To = Homography * cv::Vec3d(Point.x, Point.y, 1.0);
  return {To[0] / To[2], To[1] / To[2]};
}

// None where the markers are on one line.
std::optional<cv::Matx33d> Homography_Of(const std::vector<Placed_Marker>& Markers, int Method,
                                         double Threshold_Px, cv::Mat& Fits) {
  std::vector<cv::Point2f> Squares, Pixels;
  for (const Placed_Marker& Marker : Markers) {
    Squares.push_back(Marker.Square);
    Pixels.push_back(Marker.Pixel);
  }
  const cv::Mat Found = cv::findHomography(Squares, Pixels, Method, Threshold_Px, Fits);
  if (Found.empty() || !cv::checkRange(Found)) return std::nullopt;
  return cv::Matx33d(Found);
}

double Usual_Edge_Px(const std::vector<Seen_Marker>& Seen) {
  std::vector<double> Edges;
  for (const Seen_Marker& Marker : Seen) {
    for (std::size_t k = 0; k < 4; ++k) {
      Edges.push_back(
          cv::norm(Point_Of(Marker.Corners[k]) - Point_Of(Marker.Corners[(k + 1) % 4])));
    }
  }
  return Median(Edges);
}

// Without those that were misread. A marker's edge is about half a square's.
std::vector<Placed_Marker> Agreeing(const std::vector<Placed_Marker>& Markers, double Edge_Px) {
  if (Markers.size() < Least_Markers) return {};
  cv::Mat Fits;
  if (!Homography_Of(Markers, cv::RANSAC, Largest_Misplacement * 2.0 * Edge_Px, Fits)) return {};
  std::vector<Placed_Marker> Kept;
  for (std::size_t k = 0; k < Markers.size(); ++k) {
    if (Fits.at<unsigned char>(static_cast<int>(k)) != 0) Kept.push_back(Markers[k]);
  }
  if (Kept.size() < Least_Markers) return {};
  return Kept;
}

// Where a corner is expected, and which way its squares go from there.
struct Prediction {
  std::size_t Index = 0;
  bool Is_First_White = false;  // the square towards lower columns and rows
  cv::Point2d Pixel;
  cv::Point2d Per_Col, Per_Row;  // pixels of one square
};

std::optional<Prediction> Predict(std::vector<Placed_Marker>& Markers, const Board_Size& Board,
                                  int Col, int Row) {
  const cv::Point2f Corner(static_cast<float>(Col), static_cast<float>(Row));
  const auto Count = static_cast<std::ptrdiff_t>(std::min(Neighbours, Markers.size()));
  const auto Is_Nearer = [&](const Placed_Marker& A, const Placed_Marker& B) {
    return cv::norm(A.Square - Corner) < cv::norm(B.Square - Corner);
  };
  std::partial_sort(Markers.begin(), Markers.begin() + Count, Markers.end(), Is_Nearer);
  if (cv::norm(Markers.front().Square - Corner) > Farthest_Marker) return std::nullopt;
  cv::Mat Unused;
  const auto Homography = Homography_Of({Markers.begin(), Markers.begin() + Count}, 0, 0.0, Unused);
  if (!Homography) return std::nullopt;
  const cv::Point2d At(Col, Row), Right(Col + 0.5, Row), Left(Col - 0.5, Row);
  const cv::Point2d Below(Col, Row + 0.5), Above(Col, Row - 0.5);
  Prediction Expected;
  Expected.Index = static_cast<std::size_t>(Row) * static_cast<std::size_t>(Board.Cols) +
                   static_cast<std::size_t>(Col);
  Expected.Is_First_White = (Col + Row) % 2 != 0;
  Expected.Pixel = Mapped(*Homography, At);
  Expected.Per_Col = Mapped(*Homography, Right) - Mapped(*Homography, Left);
  Expected.Per_Row = Mapped(*Homography, Below) - Mapped(*Homography, Above);
  return Expected;
}

bool Are_Squares_Inside(const Prediction& Expected, const cv::Size& Size) {
  const cv::Rect2d Frame(0.0, 0.0, Size.width - 1.0, Size.height - 1.0);
  for (const double Across : {-1.0, 1.0}) {
    for (const double Down : {-1.0, 1.0}) {
      if (!Frame.contains(Expected.Pixel + Across * Expected.Per_Col + Down * Expected.Per_Row)) {
        return false;
      }
    }
  }
  return true;
}

double Shorter_Side(const Prediction& Expected) {
  return std::min(cv::norm(Expected.Per_Col), cv::norm(Expected.Per_Row));
}

// The pixels of a corner's window by the square that they lie in: first those of the two squares
// that are white, then those of the black ones.
struct Window_Pixels {
  std::array<std::vector<double>, 4> Squares;
};

Window_Pixels Pixels_Around(const cv::Mat& Grey, const cv::Point2f& Corner,
                            const Prediction& Expected) {
  const cv::Point2d &U = Expected.Per_Col, &V = Expected.Per_Row;
  const double Area = U.cross(V);
  const double Reach = Window * (cv::norm(U) + cv::norm(V));
  const cv::Rect Box =
      cv::Rect(cv::Point(static_cast<int>(Corner.x - Reach), static_cast<int>(Corner.y - Reach)),
               cv::Point(static_cast<int>(Corner.x + Reach) + 2,
                         static_cast<int>(Corner.y + Reach) + 2)) &
      cv::Rect(cv::Point(), Grey.size());
  Window_Pixels Pixels;
  for (int y = Box.y; y < Box.y + Box.height; ++y) {
    for (int x = Box.x; x < Box.x + Box.width; ++x) {
      const cv::Point2d From(x - double(Corner.x), y - double(Corner.y));
      const double Across = From.cross(V) / Area, Down = U.cross(From) / Area;
      if (std::max(std::abs(Across), std::abs(Down)) > Window) continue;
      const double To_Column_Edge = std::abs(From.cross(V)) / cv::norm(V);
      const double To_Row_Edge = std::abs(U.cross(From)) / cv::norm(U);
      if (std::min(To_Column_Edge, To_Row_Edge) < Blurred_Px) continue;
      const bool Is_White = ((Across < 0.0) == (Down < 0.0)) == Expected.Is_First_White;
      Pixels.Squares[(Is_White ? 0u : 2u) + (Across < 0.0 ? 0u : 1u)].push_back(
          Grey.at<unsigned char>(y, x));
    }
  }
  return Pixels;
}

// The difference between white and black around a corner, grey levels. None if this isn't a place
// where two white and two black squares meet.
std::optional<double> Contrast_Of(const Window_Pixels& Pixels) {
  std::array<double, 4> Levels{};
  for (std::size_t k = 0; k < 4; ++k) {
    if (Pixels.Squares[k].empty()) return std::nullopt;
    Levels[k] = Median(Pixels.Squares[k]);
  }
  const double White = std::min(Levels[0], Levels[1]), Black = std::max(Levels[2], Levels[3]);
  if (White <= Black) return std::nullopt;
  const double Tolerance = Largest_Deviation * (White - Black);
  for (std::size_t k = 0; k < 4; ++k) {
    const auto& Square = Pixels.Squares[k];
    const auto Agreeing = std::count_if(Square.begin(), Square.end(), [&](double Level) {
      return std::abs(Level - (k < 2 ? White : Black)) <= Tolerance;
    });
    if (static_cast<double>(Agreeing) < Least_Agreement * static_cast<double>(Square.size())) {
      return std::nullopt;
    }
  }
  return White - Black;
}

cv::Point2f Refined(const cv::Mat& Grey, const Prediction& Expected) {
  const int Usual = Settings_For(Grey.size()).Window_Half_Size;
  const int Half = std::clamp(static_cast<int>(Window * Shorter_Side(Expected)), 2, Usual);
  std::vector<cv::Point2f> Corner = {cv::Point2f(Expected.Pixel)};
  cv::cornerSubPix(Grey, Corner, cv::Size(Half, Half), cv::Size(-1, -1),
                   cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 40, 0.01));
  return Corner.front();
}

struct Candidate {
  Seen_Corner Corner;
  double Contrast = 0;
};

std::optional<Candidate> Look_At(const cv::Mat& Grey, const Prediction& Expected) {
  if (!Are_Squares_Inside(Expected, Grey.size())) return std::nullopt;
  const cv::Point2f Corner = Refined(Grey, Expected);
  const double Move = cv::norm(cv::Point2d(Corner) - Expected.Pixel);
  if (!(Move <= Largest_Move * Shorter_Side(Expected))) return std::nullopt;
  const std::optional<double> Contrast = Contrast_Of(Pixels_Around(Grey, Corner, Expected));
  if (!Contrast) return std::nullopt;
  return Candidate{{Expected.Index, {Corner.x, Corner.y}}, *Contrast};
}

std::vector<Seen_Corner> Without_Pale(const std::vector<Candidate>& Candidates) {
  std::vector<double> Contrasts;
  for (const Candidate& One : Candidates) Contrasts.push_back(One.Contrast);
  std::vector<Seen_Corner> Kept;
  if (Contrasts.empty()) return Kept;
  const double Least = Least_Contrast * Median(Contrasts);
  for (const Candidate& One : Candidates) {
    if (One.Contrast >= Least) Kept.push_back(One.Corner);
  }
  return Kept;
}

}  // namespace

bool Can_Find_Markers() {
  return Has_Module;
}

int White_Square_Count(const Board_Size& Board) {
  return (Board.Cols + 1) * (Board.Rows + 1) / 2;
}

std::optional<Square_Place> Square_Of_Marker(const Marked_Board& Board, int Id) {
  const int Number = Id - Board.First_Id;
  if (Number < 0 || Number >= White_Square_Count(Board.Board)) return std::nullopt;
  const int Across = Board.Board.Cols + 1;
  const int Pair = 2 * Number;
  // Rows of an odd number of squares: colours alternate all the way through the board.
  if (Across % 2 != 0) return Square_Place{(Pair + 1) % Across, (Pair + 1) / Across};
  // Rows of an even number: of each pair of squares the second is white in the first row, then the
  // first, and so on.
  const int Row = Pair / Across;
  return Square_Place{Pair % Across + (Row % 2 == 0 ? 1 : 0), Row};
}

std::array<std::array<bool, Marker_Cells>, Marker_Cells> Cells_Of_Marker(int Id) {
  std::array<std::array<bool, Marker_Cells>, Marker_Cells> Cells{};
  const cv::Mat Code = Code_Of(Id);
  for (int r = 0; r < Code.rows; ++r) {
    for (int c = 0; c < Code.cols; ++c) {
      Cells[static_cast<std::size_t>(r) + 1][static_cast<std::size_t>(c) + 1] =
          Code.at<unsigned char>(r, c) != 0;
    }
  }
  return Cells;
}

std::array<float, 2> Middle_Of(const Seen_Marker& Marker) {
  std::array<float, 2> Middle{};
  for (const auto& [X, Y] : Marker.Corners) {
    Middle[0] += X / 4.0f;
    Middle[1] += Y / 4.0f;
  }
  return Middle;
}

std::vector<Seen_Marker> Find_Markers(const cv::Mat& Image) {
  cv::Mat Grey = Grey_Of(Image);
  const double Scale = std::max(Grey.cols, Grey.rows) <= Longest_Enlarged ? Enlargement : 1.0;
  if (Scale > 1.0) cv::resize(Grey, Grey, cv::Size(), Scale, Scale, cv::INTER_CUBIC);
  std::vector<Quad> Corners;
  std::vector<int> Ids;
  Detect(Grey, 4.0 * Least_Edge_Px * Scale / std::max(Grey.cols, Grey.rows), Corners, Ids);
  std::vector<Seen_Marker> Markers;
  for (std::size_t k = 0; k < Ids.size(); ++k) {
    Seen_Marker Marker;
    Marker.Id = Ids[k];
    for (std::size_t Corner = 0; Corner < 4; ++Corner) {
      // Pixel centres have integer coordinates, so the outer edge of the first is at -0.5.
      const cv::Point2f& At = Corners[k][Corner];
      const auto Shrunk = [&](float Value) {
        return static_cast<float>((static_cast<double>(Value) + 0.5) / Scale - 0.5);
      };
      Marker.Corners[Corner] = {Shrunk(At.x), Shrunk(At.y)};
    }
    Markers.push_back(Marker);
  }
  return Markers;
}

std::vector<Seen_Corner> Find_Corners_By_Markers(const cv::Mat& Image, const Marked_Board& Board) {
  const cv::Mat Grey = Grey_Of(Image);
  const std::vector<Seen_Marker> Seen = Find_Markers(Grey);
  if (Seen.empty()) return {};
  std::vector<Placed_Marker> Markers = Agreeing(Placed(Seen, Board), Usual_Edge_Px(Seen));
  if (Markers.empty()) return {};
  std::vector<Candidate> Candidates;
  for (int Row = 0; Row < Board.Board.Rows; ++Row) {
    for (int Col = 0; Col < Board.Board.Cols; ++Col) {
      const auto Expected = Predict(Markers, Board.Board, Col, Row);
      const auto Found = Expected ? Look_At(Grey, *Expected) : std::nullopt;
      if (Found) Candidates.push_back(*Found);
    }
  }
  return Without_Pale(Candidates);
}

}  // namespace rigsync
