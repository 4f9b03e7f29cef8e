// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/capture_survey.h"

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/library_limits.h"
#include "rigsync/geometry/angle.h"

#include <fmt/format.h>
#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>
#include <set>

namespace rigsync {
namespace {

using library_limits::Least_Boards;

// The outlier filter often drops half of the images, and library_limits::Least_Kept must remain.
// With 20 boards there is room for that. Beyond 60 the result hardly improves, but the run takes
// longer and its log grows.
constexpr std::size_t Enough_Boards = 20;
constexpr std::size_t Many_Boards = 60;

constexpr int Long_Side_Cells = 16, Short_Side_Cells = 9;

// Focal length and distance are determined separately only by boards that are tilted against the
// image plane: 10 degrees about the main axis. Half of that about the perpendicular axis determines
// the two focal lengths separately.
constexpr double Least_Main_Tilt = 10.0;
constexpr double Least_Cross_Tilt = 5.0;

// Distance of the farthest board divided by that of the nearest. Below this ratio all boards have
// about the same size in the image.
constexpr double Least_Distance_Ratio = 1.15;

// ---- Coverage --------------------------------------------------------------------------------

constexpr const char* Part_Names[9] = {"upper left", "top",    "upper right",
                                       "left",       "centre", "right",
                                       "lower left", "bottom", "lower right"};

// The share of a part's cells that have corners.
double Part_Share(const Coverage& Frame_Coverage, int Part) {
  const int Rows = Frame_Coverage.Rows, Cols = Frame_Coverage.Cols;
  const int First_Row = Part / 3 * Rows / 3, End_Row = (Part / 3 + 1) * Rows / 3;
  const int First_Col = Part % 3 * Cols / 3, End_Col = (Part % 3 + 1) * Cols / 3;
  int Covered_Cells = 0;
  for (int r = First_Row; r < End_Row; ++r) {
    for (int c = First_Col; c < End_Col; ++c) {
      Covered_Cells += Frame_Coverage.At(r, c) > 0 ? 1 : 0;
    }
  }
  return static_cast<double>(Covered_Cells) / ((End_Row - First_Row) * (End_Col - First_Col));
}

std::string Empty_Parts(const Coverage& Frame_Coverage) {
  std::string Names;
  for (const Frame_Part& Part : Frame_Parts(Frame_Coverage)) {
    if (Part.Share >= Least_Part_Share) continue;
    Names += (Names.empty() ? "" : ", ") + Part.Name;
  }
  return Names;
}

}  // namespace

double Coverage::Share() const {
  const auto Covered_Cells =
      std::count_if(Images.begin(), Images.end(), [](int Count) { return Count > 0; });
  return static_cast<double>(Covered_Cells) / static_cast<double>(Images.size());
}

std::vector<Frame_Part> Frame_Parts(const Coverage& Frame_Coverage) {
  std::vector<Frame_Part> Parts;
  for (int Part = 0; Part < 9; ++Part) {
    Parts.push_back({Part_Names[Part], Part_Share(Frame_Coverage, Part)});
  }
  return Parts;
}

std::optional<Coverage> Measure_Coverage(const Board_Search& Search) {
  Coverage Frame_Coverage;
  const bool Is_Portrait = Search.Height > Search.Width;
  Frame_Coverage.Cols = Is_Portrait ? Short_Side_Cells : Long_Side_Cells;
  Frame_Coverage.Rows = Is_Portrait ? Long_Side_Cells : Short_Side_Cells;
  Frame_Coverage.Images.assign(static_cast<std::size_t>(Frame_Coverage.Cols * Frame_Coverage.Rows),
                               0);
  bool Any = false;
  for (const Searched_Image& Image : Search.Images) {
    std::set<int> Cells;
    for (const auto& [X, Y] : Image.Corners) {
      const double Col = std::floor(static_cast<double>(X) / Search.Width * Frame_Coverage.Cols);
      const double Row = std::floor(static_cast<double>(Y) / Search.Height * Frame_Coverage.Rows);
      Cells.insert(std::clamp(static_cast<int>(Row), 0, Frame_Coverage.Rows - 1) *
                       Frame_Coverage.Cols +
                   std::clamp(static_cast<int>(Col), 0, Frame_Coverage.Cols - 1));
    }
    Any = Any || !Cells.empty();
    for (const int Cell : Cells) ++Frame_Coverage.Images[static_cast<std::size_t>(Cell)];
  }
  if (!Any) return std::nullopt;
  return Frame_Coverage;
}

std::optional<Pose_Spread> Measure_Poses(const std::vector<Board_Pose>& Poses) {
  if (Poses.empty()) return std::nullopt;
  Pose_Spread Spread;
  Spread.Nearest = Spread.Farthest = Poses.front().Centre_Cam.norm();
  Spread.Least_Tilt = 180.0;
  Eigen::Matrix2d Scatter = Eigen::Matrix2d::Zero();
  for (const Board_Pose& Pose : Poses) {
    const double Distance = Pose.Centre_Cam.norm();
    Spread.Nearest = std::min(Spread.Nearest, Distance);
    Spread.Farthest = std::max(Spread.Farthest, Distance);
    // The angle between the board's normal and the optical axis is the tilt. The normal's x and y
    // give the direction of the tilt.
    const Eigen::Vector3d Normal_Cam = Pose.Rotation_Cam_Chart * Eigen::Vector3d::UnitZ();
    const double Sine = Normal_Cam.head<2>().norm();
    const double Tilt = std::atan2(Sine, std::abs(Normal_Cam.z())) * Degrees_Per_Radian;
    Spread.Least_Tilt = std::min(Spread.Least_Tilt, Tilt);
    Spread.Largest_Tilt = std::max(Spread.Largest_Tilt, Tilt);
    if (!(Sine > 0.0)) continue;
    const Eigen::Vector2d Tilt_Vector = Normal_Cam.head<2>() / Sine * Tilt;
    Scatter += Tilt_Vector * Tilt_Vector.transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> Solver(Scatter /
                                                              static_cast<double>(Poses.size()));
  Spread.Main_Tilt = std::sqrt(std::max(0.0, Solver.eigenvalues()[1]));
  Spread.Cross_Tilt = std::sqrt(std::max(0.0, Solver.eigenvalues()[0]));
  return Spread;
}

void Judge_Image_Count(std::size_t Image_Count, Findings& List) {
  if (Image_Count >= Least_Boards) return;
  if (Image_Count == 0) {
    List.Add({"no_images",
              Level::Error,
              "The file lists no images.",
              "",
              "Check that this is the capture's CSV file. A line that begins with a capital T "
              "counts as a "
              "header line.",
              {}});
    return;
  }
  List.Add({"too_few_images",
            Level::Error,
            fmt::format("The file lists {} image{}. A calibration needs at least {} with a board; "
                        "{} or more are recommended.",
                        Image_Count, Image_Count == 1 ? "" : "s", Least_Boards, Enough_Boards),
            "",
            "Take more images.",
            {}});
}

void Judge_Board_Count(std::size_t Usable_Count, std::size_t Image_Count, Findings& List) {
  if (Usable_Count < Least_Boards) {
    List.Add({"too_few_boards",
              Level::Error,
              fmt::format("A board is found in {} of {} images. With fewer than {}, a calibration "
                          "ends with code 4.",
                          Usable_Count, Image_Count, Least_Boards),
              "",
              Usable_Count == Image_Count
                  ? "Take more images."
                  : "Check the image paths and --board (inner corners, columns first), then take "
                    "more images.",
              {}});
  } else if (Usable_Count < Enough_Boards) {
    List.Add(
        {"few_boards",
         Level::Warning,
         fmt::format("A board is found in {} images. {} are the minimum, but the outlier filter "
                     "often drops half of them.",
                     Usable_Count, Least_Boards),
         "",
         fmt::format("Take {} or more images.", Enough_Boards),
         {}});
  } else if (Usable_Count > Many_Boards) {
    List.Add({"many_boards",
              Level::Note,
              fmt::format("A board is found in {} images. More than about {} take time and hardly "
                          "improve the result.",
                          Usable_Count, Many_Boards),
              "",
              "Next time, take fewer images with more varied board poses.",
              {}});
  }
}

void Judge_Board_Shape(const Board_Size& Board, Findings& List) {
  if (!Looks_Same_Half_Turned(Board)) return;
  List.Add(
      {"board_symmetric",
       Level::Note,
       fmt::format("A board of {} by {} inner corners looks the same when it is rotated by 180 "
                   "degrees, so it may be detected upside down.",
                   Board.Cols, Board.Rows),
       "",
       "Keep it upright in every image, or use a board with one even and one odd count of "
       "inner corners.",
       {}});
}

void Judge_Coverage(const Coverage& Frame_Coverage, Findings& List) {
  const std::string Parts = Empty_Parts(Frame_Coverage);
  if (Frame_Coverage.Share() >= Least_Share && Parts.empty()) return;
  List.Add({"coverage",
            Level::Warning,
            fmt::format("Corners cover {:.0f} percent of the frame{}{}. Lens distortion is "
                        "determined only where there are corners.",
                        100.0 * Frame_Coverage.Share(),
                        Parts.empty() ? "" : ", and there are hardly any in: ", Parts),
            "",
            "Take images with the board in the parts of the frame that are empty on the map, and "
            "some from closer up.",
            {}});
}

bool Is_Tilted(const Pose_Spread& Spread) {
  return Spread.Main_Tilt >= Least_Main_Tilt;
}

void Judge_Poses(const Pose_Spread& Spread, Findings& List) {
  if (!Is_Tilted(Spread)) {
    List.Add(
        {"tilt_too_small",
         Level::Warning,
         fmt::format("The board is nearly parallel to the image plane in most images (largest tilt "
                     "{:.0f} degrees), so focal length and distance cannot be determined "
                     "separately.",
                     Spread.Largest_Tilt),
         "",
         "Tilt the board by 20 to 45 degrees in half of the images, in all directions.",
         {}});
  } else if (Spread.Cross_Tilt < Least_Cross_Tilt) {
    List.Add({"tilt_about_one_axis",
              Level::Warning,
              "The board is tilted about only one axis.",
              "",
              "Tilt it up and down as well as left and right.",
              {}});
  }
  if (Spread.Farthest < Least_Distance_Ratio * Spread.Nearest) {
    List.Add(
        {"distance",
         Level::Warning,
         fmt::format("The board is at about the same distance in every image ({:.2f} to {:.2f} "
                     "m).",
                     Spread.Nearest, Spread.Farthest),
         "",
         "Take some images from closer up and some from farther away.",
         {}});
  }
}

}  // namespace rigsync
