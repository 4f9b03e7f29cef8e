// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/capture_survey.h"

#include "rigsync/capture/board_size.h"
#include "rigsync/geometry/angle.h"

#include <fmt/format.h>
#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>
#include <set>

namespace rigsync {
namespace {

// The library needs 12 boards. Of those the outlier filter often drops half and needs 5 left, which
// 20 leave room for. Beyond 60 the result hardly improves, but time and run log grow.
constexpr std::size_t Fewest_Boards = 12;
constexpr std::size_t Enough_Boards = 20;
constexpr std::size_t Many_Boards = 60;

constexpr int Long_Side_Cells = 16, Short_Side_Cells = 9;

// Distortion is solved where corners are. The outermost cells stay empty, because the board's white
// margin has to be in the frame too; good captures reach two thirds of all cells and more.
constexpr double Least_Share = 0.5;
// Of the nine parts of the frame (three by three), one counts as seen with a fifth of its cells.
constexpr double Least_Part_Share = 0.2;

// Focal length and distance can be told apart only by boards that are tilted against the image: 10
// degrees about the main axis. About the axis across it half as much keeps the two focal lengths
// apart.
constexpr double Least_Main_Tilt = 10.0;
constexpr double Least_Cross_Tilt = 5.0;

// The farthest board against the nearest; below it every board has about the same size.
constexpr double Least_Distance_Ratio = 1.15;

// ---- Coverage --------------------------------------------------------------------------------

constexpr const char* Part_Names[9] = {"upper left", "top",    "upper right",
                                       "left",       "middle", "right",
                                       "lower left", "bottom", "lower right"};

// The share of a ninth's cells that have corners.
double Part_Share(const Coverage& Measured, int Part) {
  const int First_Row = Part / 3 * Measured.Rows / 3, End_Row = (Part / 3 + 1) * Measured.Rows / 3;
  const int First_Col = Part % 3 * Measured.Cols / 3, End_Col = (Part % 3 + 1) * Measured.Cols / 3;
  int Seen = 0;
  for (int r = First_Row; r < End_Row; ++r) {
    for (int c = First_Col; c < End_Col; ++c) Seen += Measured.At(r, c) > 0 ? 1 : 0;
  }
  return static_cast<double>(Seen) / ((End_Row - First_Row) * (End_Col - First_Col));
}

std::string Empty_Parts(const Coverage& Measured) {
  std::string Names;
  for (int Part = 0; Part < 9; ++Part) {
    if (Part_Share(Measured, Part) >= Least_Part_Share) continue;
    Names += (Names.empty() ? "" : ", ") + std::string(Part_Names[Part]);
  }
  return Names;
}

}  // namespace

double Coverage::Share() const {
  const auto Seen =
      std::count_if(Images.begin(), Images.end(), [](int Count) { return Count > 0; });
  return static_cast<double>(Seen) / static_cast<double>(Images.size());
}

std::optional<Coverage> Measure_Coverage(const Board_Search& Search) {
  Coverage Measured;
  const bool Is_Portrait = Search.Height > Search.Width;
  Measured.Cols = Is_Portrait ? Short_Side_Cells : Long_Side_Cells;
  Measured.Rows = Is_Portrait ? Long_Side_Cells : Short_Side_Cells;
  Measured.Images.assign(static_cast<std::size_t>(Measured.Cols * Measured.Rows), 0);
  bool Any = false;
  for (const auto& Corners : Search.Corners) {
    std::set<int> Cells;
    for (const auto& [X, Y] : Corners) {
      const double Col = std::floor(static_cast<double>(X) / Search.Width * Measured.Cols);
      const double Row = std::floor(static_cast<double>(Y) / Search.Height * Measured.Rows);
      Cells.insert(std::clamp(static_cast<int>(Row), 0, Measured.Rows - 1) * Measured.Cols +
                   std::clamp(static_cast<int>(Col), 0, Measured.Cols - 1));
    }
    Any = Any || !Cells.empty();
    for (const int Cell : Cells) ++Measured.Images[static_cast<std::size_t>(Cell)];
  }
  if (!Any) return std::nullopt;
  return Measured;
}

std::vector<std::string> Map_Lines(const Coverage& Measured) {
  const std::string Border =
      "+" + std::string(static_cast<std::size_t>(2 * Measured.Cols), '-') + "+";
  std::vector<std::string> Lines = {Border};
  for (int r = 0; r < Measured.Rows; ++r) {
    std::string Line = "|";
    for (int c = 0; c < Measured.Cols; ++c) {
      const int Count = Measured.At(r, c);
      const char Mark = Count == 0 ? ' ' : Count == 1 ? '.' : Count <= 3 ? 'o' : '#';
      Line += std::string(2, Mark);
    }
    Lines.push_back(Line + "|");
  }
  Lines.push_back(Border);
  return Lines;
}

std::optional<Pose_Spread> Measure_Poses(const std::vector<Board_Pose>& Poses) {
  if (Poses.empty()) return std::nullopt;
  Pose_Spread Measured;
  Measured.Nearest = Measured.Farthest = Poses.front().Middle_Cam.norm();
  Measured.Least_Tilt = 180.0;
  Eigen::Matrix2d Scatter = Eigen::Matrix2d::Zero();
  for (const Board_Pose& Pose : Poses) {
    const double Distance = Pose.Middle_Cam.norm();
    Measured.Nearest = std::min(Measured.Nearest, Distance);
    Measured.Farthest = std::max(Measured.Farthest, Distance);
    // The board's normal leans away from the view by the tilt, in the direction of its x and y.
    const Eigen::Vector3d Normal_Cam = Pose.Rotation_Cam_Chart * Eigen::Vector3d::UnitZ();
    const double Lean = Normal_Cam.head<2>().norm();
    const double Tilt = std::atan2(Lean, std::abs(Normal_Cam.z())) * Degrees_Per_Radian;
    Measured.Least_Tilt = std::min(Measured.Least_Tilt, Tilt);
    Measured.Largest_Tilt = std::max(Measured.Largest_Tilt, Tilt);
    if (!(Lean > 0.0)) continue;
    const Eigen::Vector2d Direction = Normal_Cam.head<2>() / Lean * Tilt;
    Scatter += Direction * Direction.transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> Solver(Scatter /
                                                              static_cast<double>(Poses.size()));
  Measured.Main_Tilt = std::sqrt(std::max(0.0, Solver.eigenvalues()[1]));
  Measured.Cross_Tilt = std::sqrt(std::max(0.0, Solver.eigenvalues()[0]));
  return Measured;
}

void Judge_Image_Count(std::size_t Rows, Findings& Told) {
  if (Rows >= Fewest_Boards) return;
  if (Rows == 0) {
    Told.Add(
        {"no_images",
         Level::Error,
         "The file lists no image.",
         "",
         "Check that it is the capture's CSV file, and that no data line begins with a capital "
         "T.",
         {}});
    return;
  }
  Told.Add({"too_few_images",
            Level::Error,
            fmt::format("The file lists {} image{}; a calibration needs {} with a board, and {} or "
                        "more are good.",
                        Rows, Rows == 1 ? "" : "s", Fewest_Boards, Enough_Boards),
            "",
            "Take more images.",
            {}});
}

void Judge_Board_Count(std::size_t Usable, std::size_t Rows, Findings& Told) {
  if (Usable < Fewest_Boards) {
    Told.Add({"too_few_boards",
              Level::Error,
              fmt::format("A board is found in {} of {} images; fewer than {} end a calibration "
                          "with code 4.",
                          Usable, Rows, Fewest_Boards),
              "",
              "Check the image paths and --board (inner corners, columns first), then take more "
              "images.",
              {}});
  } else if (Usable < Enough_Boards) {
    Told.Add({"few_boards",
              Level::Warning,
              fmt::format("A board is found in {} images. {} are enough to start, but outliers are "
                          "dropped from them, often half.",
                          Usable, Fewest_Boards),
              "",
              fmt::format("Take {} or more images.", Enough_Boards),
              {}});
  } else if (Usable > Many_Boards) {
    Told.Add({"many_boards",
              Level::Note,
              fmt::format("A board is found in {} images. More than about {} cost time and hardly "
                          "improve the result.",
                          Usable, Many_Boards),
              "",
              "Next time, rather take fewer that differ more.",
              {}});
  }
}

void Judge_Board_Shape(const Board_Size& Board, Findings& Told) {
  if (!Looks_Same_Half_Turned(Board)) return;
  Told.Add({"board_symmetric",
            Level::Note,
            fmt::format("A board of {} by {} inner corners looks the same after half a turn, so it "
                        "may be found upside down.",
                        Board.Cols, Board.Rows),
            "",
            "Keep it upright in every image, or use a board with one even and one odd count.",
            {}});
}

void Judge_Coverage(const Coverage& Measured, Findings& Told) {
  const std::string Parts = Empty_Parts(Measured);
  if (Measured.Share() >= Least_Share && Parts.empty()) return;
  Told.Add({"coverage",
            Level::Warning,
            fmt::format("Corners cover {:.0f} percent of the frame{}{}. Distortion is solved only "
                        "where there are corners.",
                        100.0 * Measured.Share(),
                        Parts.empty() ? "" : ", and hardly any are in: ", Parts),
            "",
            "Take images with the board in the parts of the frame that the map shows empty, and "
            "some from nearer.",
            {}});
}

bool Is_Tilted(const Pose_Spread& Measured) {
  return Measured.Main_Tilt >= Least_Main_Tilt;
}

void Judge_Poses(const Pose_Spread& Measured, Findings& Told) {
  if (!Is_Tilted(Measured)) {
    Told.Add(
        {"tilt_too_small",
         Level::Warning,
         fmt::format("The board is nearly square to the camera in most images (tilted by {:.0f} "
                     "degrees at most): focal length and distance can't be told apart.",
                     Measured.Largest_Tilt),
         "",
         "Tilt the board by 20 to 45 degrees in half of the images, to all sides.",
         {}});
  } else if (Measured.Cross_Tilt < Least_Cross_Tilt) {
    Told.Add({"tilt_about_one_axis",
              Level::Warning,
              "The board is tilted about one axis only.",
              "",
              "Tilt it up and down as well as left and right.",
              {}});
  }
  if (Measured.Farthest < Least_Distance_Ratio * Measured.Nearest) {
    Told.Add(
        {"distance",
         Level::Warning,
         fmt::format("The board is at about the same distance in every image ({:.2f} to {:.2f} "
                     "m).",
                     Measured.Nearest, Measured.Farthest),
         "",
         "Take some images from nearer and some from farther away.",
         {}});
  }
}

}  // namespace rigsync
