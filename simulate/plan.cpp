// SPDX-License-Identifier: Apache-2.0
//
// Draws a random capture: the poses of the board and both trackers in every image, the tracker
// samples, and which rows are bad. Each board pose follows a recipe (steep, in a corner of the
// frame, near, ...) and is then moved to the position in the frame that its recipe asks for.
#include "simulate/avi.h"
#include "simulate/clip.h"
#include "simulate/geometry.h"
#include "simulate/marker_cells.h"
#include "simulate/motion.h"
#include "simulate/random.h"
#include "simulate/simulate.h"
#include "simulate/tracker.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace simulate {

namespace {

// Each purpose has its own stream of random numbers. Those of the photographs are in render.cpp,
// those of the times and of a take in motion.cpp and take.cpp.
enum Stream : unsigned {
  Board_Poses = 1,
  Camera_Poses,
  Tracker_Noise,
  Bad_Rows,
  Host_Estimate,
  Stale_Moves,
  Jumps,
  Cuts
};

void Require(bool Holds, const std::string& Option, const std::string& Rule) {
  if (!Holds) throw Refused_Options({Option}, Rule);
}

void Require_At_Least_0(double Value, const std::string& Option) {
  Require(std::isfinite(Value) && Value >= 0.0, Option, "has to be a number of at least 0");
}

void Require_Seconds(double Shortest, double Longest, const std::vector<std::string>& Names) {
  if (Shortest >= 0.1 && Shortest <= Longest && Longest <= 60.0) return;
  throw Refused_Options(Names,
                        "have to be two times from 0.1 to 60 seconds, the shorter one first");
}

void Check_Recording(const Options& Settings) {
  const Recording_Options& Recording = Settings.Recording;
  Require(Recording.Rate_Hz >= 1.0 && Recording.Rate_Hz <= 2000.0, "Rate_Hz",
          "has to be from 1 to 2000 samples per second");
  Require_Seconds(Recording.Shortest_Hold, Recording.Longest_Hold,
                  {"Shortest_Hold", "Longest_Hold"});
  Require_Seconds(Recording.Shortest_Move, Recording.Longest_Move,
                  {"Shortest_Move", "Longest_Move"});
  Require(std::abs(Recording.Clock_Offset) <= 86400.0, "Clock_Offset",
          "has to be at most a day, 86400 seconds, either way");
  Require(Recording.Lost_Percent >= 0.0 && Recording.Lost_Percent <= 90.0, "Lost_Percent",
          "has to be from 0 to 90");
  Require_At_Least_0(Recording.Drift_Mm_Per_Second, "Drift_Mm_Per_Second");
  Require_At_Least_0(Recording.Drift_Deg_Per_Second, "Drift_Deg_Per_Second");
  // A photograph is taken in the middle fifth of its hold, so this much of it is on both sides.
  const double Most_Lag_Ms = 400.0 * Recording.Shortest_Hold;
  Require(
      std::abs(Recording.Lag_Ms) <= Most_Lag_Ms, "Lag_Ms",
      "has to be at most two fifths of the shortest hold, so that the sample of a photograph is "
      "one of its own hold");
  Require(!Recording.One_Body || Settings.Stale_Count == 0, "Stale_Count",
          "has to be 0 when the board stands still: a stale row moves the camera by a distance of "
          "its own, and the board with it");
  Require((Recording.Format == Take_Format::None && !Recording.Clip) || Settings.Image_Count > 0,
          "Image_Count", "has to be at least 1 for a take or a clip");
  Require(Recording.Unit == Length_Unit::Metres || Recording.Format == Take_Format::Motive, "Unit",
          "can be chosen for a Motive take only");
}

void Check_Markers(const Options& Settings) {
  Require(Settings.Marker_Size >= 0.1 && Settings.Marker_Size <= 0.9, "Marker_Size",
          "has to be from 0.1 to 0.9");
  Require(Settings.First_Marker >= -1, "First_Marker", "has to be at least 0");
  if (Settings.First_Marker < 0) return;
  Require(Marker_Count() > 0, "First_Marker",
          "needs OpenCV's module aruco, which this program was built without");
  const long long White = (Settings.Board_Cols + 1LL) * (Settings.Board_Rows + 1LL) / 2;
  if (Settings.First_Marker + White > Marker_Count()) {
    throw Refused_Options({"First_Marker", "Board_Cols", "Board_Rows"},
                          "together need no more markers than the " +
                              std::to_string(Marker_Count()) + " that there are");
  }
}

void Check_Options(const Options& Settings) {
  Require(Settings.Image_Count >= 0, "Image_Count", "has to be at least 0");
  // 32768 is where OpenCV's image filters end.
  Require(Settings.Width >= 16 && Settings.Width < 32768, "Width",
          "has to be from 16 to 32767 pixels");
  Require(Settings.Height >= 16 && Settings.Height < 32768, "Height",
          "has to be from 16 to 32767 pixels");
  Require(Settings.Board_Cols >= 2, "Board_Cols", "has to be at least 2");
  Require(Settings.Board_Rows >= 2, "Board_Rows", "has to be at least 2");
  Require(std::isfinite(Settings.Square_Size) && Settings.Square_Size > 0.0, "Square_Size",
          "has to be above 0");
  Require(std::isfinite(Settings.Norm_Fx) && Settings.Norm_Fx > 0.0, "Norm_Fx",
          "has to be above 0");
  Require_At_Least_0(Settings.Norm_Fy, "Norm_Fy");
  Require(Settings.Norm_Cx >= 0.0 && Settings.Norm_Cx <= 1.0, "Norm_Cx", "has to be from 0 to 1");
  Require(Settings.Norm_Cy >= 0.0 && Settings.Norm_Cy <= 1.0, "Norm_Cy", "has to be from 0 to 1");
  Require(std::isfinite(Settings.K1), "K1", "has to be a finite number");
  Require(std::isfinite(Settings.K2), "K2", "has to be a finite number");
  Require(Settings.Camera_Mount_Euler_Deg.allFinite(), "Camera_Mount_Euler_Deg",
          "has to be finite");
  Require(Settings.Camera_Mount_Offset.allFinite(), "Camera_Mount_Offset", "has to be finite");
  Require(Settings.Board_Mount_Euler_Deg.allFinite(), "Board_Mount_Euler_Deg", "has to be finite");
  Require(Settings.Board_Mount_Offset.allFinite(), "Board_Mount_Offset", "has to be finite");
  Require_At_Least_0(Settings.Position_Noise_Mm, "Position_Noise_Mm");
  Require_At_Least_0(Settings.Rotation_Noise_Deg, "Rotation_Noise_Deg");
  Require_At_Least_0(Settings.Stale_Mm, "Stale_Mm");
  Require_At_Least_0(Settings.Stale_Deg, "Stale_Deg");
  Require_At_Least_0(Settings.Jump_Mm, "Jump_Mm");
  Require_At_Least_0(Settings.Jump_Deg, "Jump_Deg");
  Require_At_Least_0(Settings.Estimate_Error_Deg, "Estimate_Error_Deg");
  Require_At_Least_0(Settings.Estimate_Error_Mm, "Estimate_Error_Mm");
  Require_At_Least_0(Settings.Blur_Pixels, "Blur_Pixels");
  Require(Settings.Blur_Pixels <= 100.0, "Blur_Pixels", "has to be at most 100");
  Require_At_Least_0(Settings.Sensor_Noise, "Sensor_Noise");
  Require(Settings.Lighting_Gradient >= 0.0 && Settings.Lighting_Gradient <= 1.0,
          "Lighting_Gradient", "has to be from 0 to 1");
  Require(Settings.Image_Format == "png" || Settings.Image_Format == "jpg", "Image_Format",
          "has to be png or jpg, not \"" + Settings.Image_Format + "\"");
  Require(Settings.Jpeg_Quality >= 0 && Settings.Jpeg_Quality <= 100, "Jpeg_Quality",
          "has to be from 0 to 100");

  Check_Markers(Settings);

  // Counts are summed in 64 bits: six large ints don't fit an int.
  Require(Settings.Stale_Count >= 0, "Stale_Count", "has to be at least 0");
  Require(Settings.Jump_Count >= 0, "Jump_Count", "has to be at least 0");
  Require(Settings.Missing_Count >= 0, "Missing_Count", "has to be at least 0");
  Require(Settings.Blank_Count >= 0, "Blank_Count", "has to be at least 0");
  Require(Settings.Truncated_Count >= 0, "Truncated_Count", "has to be at least 0");
  Require(Settings.Cut_Count >= 0, "Cut_Count", "has to be at least 0");
  Require(Settings.Stale_Count < std::max(Settings.Image_Count, 1), "Stale_Count",
          "has to be below the number of images: the first row has no row before it to repeat");
  const long long Bad = 0LL + Settings.Stale_Count + Settings.Jump_Count + Settings.Missing_Count +
                        Settings.Blank_Count + Settings.Truncated_Count + Settings.Cut_Count;
  if (Bad > Settings.Image_Count) {
    throw Refused_Options({"Stale_Count", "Jump_Count", "Missing_Count", "Blank_Count",
                           "Truncated_Count", "Cut_Count"},
                          "together have to be at most the number of images");
  }
  Check_Recording(Settings);
}

Lens Lens_In_Pixels(const Options& Settings) {
  Lens Pixels;
  Pixels.Fx = Settings.Norm_Fx * Settings.Width;
  Pixels.Fy = Settings.Norm_Fy > 0.0 ? Settings.Norm_Fy * Settings.Height : Pixels.Fx;
  Pixels.Cx = Settings.Norm_Cx * Settings.Width;
  Pixels.Cy = Settings.Norm_Cy * Settings.Height;
  Pixels.K1 = Settings.K1;
  Pixels.K2 = Settings.K2;
  return Pixels;
}

// ---- Where the board is ----------------------------------------------------------------------

// How the board should appear in one image.
struct Pose_Recipe {
  double Tilt_Deg = 0;            // between the board's normal and the view direction
  double Tilt_Direction_Deg = 0;  // of the tilt's axis: 0 along the camera's x, 90 along its y
  double Roll_Deg = 0;            // of the board in its own plane, before the tilt
  Eigen::Vector2d Place{0, 0};    // in the free space of the frame, -1 to 1 on both axes
  double Fill = 0.7;              // fraction of the frame that the board spans on its tighter axis
};

// Points around the outer edge of the board's white margin, which is one square wide.
std::vector<Eigen::Vector3d> Board_Outline(const Options& Settings) {
  const double Left = -2.0 * Settings.Square_Size,
               Right = (Settings.Board_Cols + 1) * Settings.Square_Size;
  const double Top = -2.0 * Settings.Square_Size,
               Bottom = (Settings.Board_Rows + 1) * Settings.Square_Size;
  // A straight edge appears as a curve, which eight points per side follow closely enough.
  constexpr int Steps = 8;
  std::vector<Eigen::Vector3d> Outline;
  for (int k = 0; k < Steps; ++k) {
    const double Across = Left + (Right - Left) * k / Steps;
    const double Along = Top + (Bottom - Top) * k / Steps;
    Outline.emplace_back(Across, Top, 0);
    Outline.emplace_back(Right, Along, 0);
    Outline.emplace_back(Right + Left - Across, Bottom, 0);
    Outline.emplace_back(Left, Bottom + Top - Along, 0);
  }
  return Outline;
}

Eigen::Vector3d Transformed(const Eigen::Matrix4d& Pose, const Eigen::Vector3d& Point) {
  return Pose.topLeftCorner<3, 3>() * Point + Pose.topRightCorner<3, 1>();
}

// Width of the border of the frame that stays free, pixels.
double Frame_Margin(const Options& Settings) {
  return 1.0 + 0.01 * std::min(Settings.Width, Settings.Height);
}

// Moves the board to the position and distance of the recipe. The projection is not linear, so this
// iterates: it projects the outline, then corrects distance and position by the error of its
// bounding box. False when the board leaves what the lens can show.
bool Place_Board(const Plan& Capture, const std::vector<Eigen::Vector3d>& Outline,
                 const Eigen::Matrix3d& Rotation_Cam_Chart, const Pose_Recipe& Recipe,
                 Eigen::Matrix4d& Transform_Cam_Chart) {
  const Options& Settings = Capture.Settings;
  const Lens& Model = Capture.True_Lens;
  const double Fold = Fold_Radius(Model);
  const Eigen::Vector2d Focal(Model.Fx, Model.Fy);
  const double Margin = Frame_Margin(Settings);
  const Eigen::Vector2d Corner(Margin, Margin);
  const Eigen::Vector2d Room(Settings.Width - 1 - 2 * Margin, Settings.Height - 1 - 2 * Margin);
  const Eigen::Vector3d Centre_Chart =
      std::accumulate(Outline.begin(), Outline.end(), Eigen::Vector3d(0, 0, 0)) /
      static_cast<double>(Outline.size());
  const double Board_Width = (Settings.Board_Cols + 3) * Settings.Square_Size;

  Eigen::Vector3d Centre_Cam(0, 0, 2.0 * Board_Width * std::max(Settings.Norm_Fx, 0.5));
  constexpr int Most_Steps = 60;
  for (int Step = 0; Step < Most_Steps; ++Step) {
    Transform_Cam_Chart =
        Pose_From(Rotation_Cam_Chart, Centre_Cam - Rotation_Cam_Chart * Centre_Chart);
    Eigen::Vector2d Low(1e300, 1e300), High(-1e300, -1e300);
    for (const Eigen::Vector3d& Edge_Chart : Outline) {
      const Eigen::Vector3d Edge_Cam = Transformed(Transform_Cam_Chart, Edge_Chart);
      if (!(Edge_Cam.z() > 0.1 * Centre_Cam.z())) return false;
      if (!(Edge_Cam.head<2>().norm() < 0.98 * Fold * Edge_Cam.z())) return false;
      const Eigen::Vector2d Pixel = Project(Model, Edge_Cam);
      Low = Low.cwiseMin(Pixel);
      High = High.cwiseMax(Pixel);
    }
    const Eigen::Vector2d Span = High - Low;
    const Eigen::Vector2d Goal =
        Corner + Span / 2 + (0.5 * (Recipe.Place.array() + 1.0) * (Room - Span).array()).matrix();
    const Eigen::Vector2d Correction = Goal - (Low + High) / 2;
    const double Stretch = Span.cwiseQuotient(Room).maxCoeff() / Recipe.Fill;
    if (std::abs(Stretch - 1.0) < 1e-3 && Correction.norm() < 0.05 * Margin) return true;
    Centre_Cam.head<2>() += Correction.cwiseQuotient(Focal) * Centre_Cam.z();
    Centre_Cam *= std::clamp(Stretch, 0.5, 2.0);
  }
  return false;
}

// Which corner a detector takes as the first. A board with one even and one odd count has only one
// possible first corner. A board with two even counts looks the same after a rotation by 180
// degrees, and OpenCV starts at the upper end. With two odd counts, or as many rows as columns, the
// choice follows the order in which squares are found, which begins at the top.
enum class First_Corner { Unique, Upper_Row, Topmost };

First_Corner First_Corner_Of(const Options& Settings) {
  const bool Even_Cols = Settings.Board_Cols % 2 == 0, Even_Rows = Settings.Board_Rows % 2 == 0;
  if (Even_Cols != Even_Rows) return First_Corner::Unique;
  if (Even_Cols && Settings.Board_Cols != Settings.Board_Rows) return First_Corner::Upper_Row;
  return First_Corner::Topmost;
}

// Maps a roll to the range in which the detector starts at the board's first corner.
double Limit_Roll(First_Corner First, double Roll_Deg) {
  switch (First) {
    case First_Corner::Upper_Row:
      return 70.0 * std::sin(Radians(Roll_Deg));
    case First_Corner::Topmost:
      return 45.0 + 25.0 * std::sin(Radians(Roll_Deg));
    case First_Corner::Unique:
      break;
  }
  return Roll_Deg;
}

// Whether the detector starts at the board's first corner, with a margin of at least a square.
bool Starts_At_First_Corner(const Options& Settings, const std::vector<Eigen::Vector2d>& Corners,
                            double Smallest_Square) {
  const auto Cols = static_cast<size_t>(Settings.Board_Cols);
  const double Highest = Corners.front().y() + Smallest_Square;
  const Eigen::Vector2d& Row_End = Corners[Cols - 1];
  const Eigen::Vector2d& Column_End = Corners[Corners.size() - Cols];
  switch (First_Corner_Of(Settings)) {
    case First_Corner::Upper_Row:
      return Highest <= Column_End.y();
    case First_Corner::Topmost:
      return Highest <= std::min({Row_End.y(), Column_End.y(), Corners.back().y()});
    case First_Corner::Unique:
      break;
  }
  return true;
}

// Whether an operator would keep this image: the board with its margin is in the frame, it is not
// seen at too flat an angle, and its squares are large enough for the detector.
bool Is_Worth_Keeping(const Plan& Capture, const std::vector<Eigen::Vector3d>& Outline,
                      const Eigen::Matrix4d& Transform_Cam_Chart, double Smallest_Square) {
  const Options& Settings = Capture.Settings;
  const double Margin = 0.9 * Frame_Margin(Settings);
  // Above 60 degrees between a line of sight and the board's normal, squares shrink to less than
  // half their height.
  const double Flattest_Cosine = std::cos(Radians(60.0));
  const Eigen::Vector3d Normal_Cam = Transform_Cam_Chart.block<3, 1>(0, 2);
  for (const Eigen::Vector3d& Edge_Chart : Outline) {
    const Eigen::Vector3d Edge_Cam = Transformed(Transform_Cam_Chart, Edge_Chart);
    if (!(Normal_Cam.dot(Edge_Cam.normalized()) > Flattest_Cosine)) return false;
    const Eigen::Vector2d Pixel = Project(Capture.True_Lens, Edge_Cam);
    if (!(Pixel.minCoeff() >= Margin && Pixel.x() <= Settings.Width - 1 - Margin &&
          Pixel.y() <= Settings.Height - 1 - Margin)) {
      return false;
    }
  }
  Image_Truth Image;
  Image.Transform_Cam_Chart = Transform_Cam_Chart;
  const std::vector<Eigen::Vector2d> Corners = Project_Board(Capture, Image);
  const auto Cols = static_cast<size_t>(Settings.Board_Cols);
  for (size_t i = 0; i < Corners.size(); ++i) {
    const bool Ends_Row = (i + 1) % Cols == 0, Ends_Column = i + Cols >= Corners.size();
    if (!Ends_Row && !((Corners[i + 1] - Corners[i]).norm() >= Smallest_Square)) return false;
    if (!Ends_Column && !((Corners[i + Cols] - Corners[i]).norm() >= Smallest_Square)) return false;
  }
  return Starts_At_First_Corner(Settings, Corners, Smallest_Square);
}

// A good operator's images come in groups of six: two steep, two in corners of the frame, one near,
// one anywhere. Number is the index of the image before the order is shuffled.
Pose_Recipe Draw_Good_Recipe(Random& Generator, int Number, int Count) {
  const int Six = Number / 6, In_Six = Number % 6;
  Pose_Recipe Recipe;
  // Rolls cover a full circle over the whole capture, in steps of the golden ratio.
  const double Slot = std::fmod(Number * 0.61803398874989485, 1.0);
  Recipe.Roll_Deg = 360.0 * Slot + Generator.Between(-0.5, 0.5) * 360.0 / std::max(Count, 1);
  Recipe.Tilt_Direction_Deg = Generator.Between(0.0, 360.0);
  switch (In_Six) {
    case 0:
    case 1: {
      // Steep, alternately about x and y and to both sides.
      const int Steep_Number = 2 * Six + In_Six;
      Recipe.Tilt_Direction_Deg = 90.0 * (Steep_Number % 4) + Generator.Between(-10.0, 10.0);
      Recipe.Tilt_Deg = Generator.Between(39.0, 45.0);
      Recipe.Place = {Generator.Between(-0.5, 0.5), Generator.Between(-0.5, 0.5)};
      Recipe.Fill = Generator.Between(0.75, 0.97);
      break;
    }
    case 2:
    case 3: {
      // In each corner of the frame in turn, rolled so that a corner of the board points there.
      const int Corner_Number = 2 * Six + In_Six - 2;
      const int Round = Corner_Number / 4;
      Recipe.Tilt_Deg = Generator.Between(5.0, 25.0);
      Recipe.Roll_Deg = 90.0 * (Corner_Number + Round) + Generator.Between(-15.0, 15.0);
      Recipe.Place = {Corner_Number % 2 == 0 ? -1.0 : 1.0, Corner_Number / 2 % 2 == 0 ? -1.0 : 1.0};
      Recipe.Fill = Generator.Between(0.5, 0.65);
      break;
    }
    case 4:
      Recipe.Tilt_Deg = Generator.Between(0.0, 25.0);
      Recipe.Place = {Generator.Between(-1.0, 1.0), Generator.Between(-1.0, 1.0)};
      Recipe.Fill = Generator.Between(0.9, 0.98);
      break;
    default:
      Recipe.Tilt_Deg = Generator.Between(10.0, 40.0);
      Recipe.Place = {Generator.Between(-1.0, 1.0), Generator.Between(-1.0, 1.0)};
      Recipe.Fill = Generator.Between(0.55, 0.8);
      break;
  }
  return Recipe;
}

Pose_Recipe Draw_Recipe(Random& Generator, Spread Pose_Spread, int Number, int Count) {
  Pose_Recipe Recipe = Draw_Good_Recipe(Generator, Number, Count);
  switch (Pose_Spread) {
    case Spread::Good:
      break;
    case Spread::Frontal:
      Recipe.Tilt_Deg = Generator.Between(0.0, 4.0);
      break;
    case Spread::Centred:
      Recipe.Place = {Generator.Between(-0.05, 0.05), Generator.Between(-0.05, 0.05)};
      Recipe.Fill = Generator.Between(0.5, 0.7);
      break;
    case Spread::One_Axis:
      Recipe.Tilt_Direction_Deg = Number % 2 == 0 ? 90.0 : 270.0;
      Recipe.Roll_Deg = 0.0;
      break;
    case Spread::Same_Pose:
      Recipe.Tilt_Deg = 15.0 + Generator.Between(-0.3, 0.3);
      Recipe.Tilt_Direction_Deg = 40.0;
      Recipe.Roll_Deg = Generator.Between(-0.3, 0.3);
      Recipe.Place = {Generator.Between(-0.02, 0.02), Generator.Between(-0.02, 0.02)};
      Recipe.Fill = 0.75 + Generator.Between(-0.003, 0.003);
      break;
  }
  return Recipe;
}

// Draws poses until one is worth keeping. The demands decrease with every attempt, so that a lens
// or frame with little space still gets the best pose possible.
Eigen::Matrix4d Draw_Board_Pose(const Plan& Capture, const std::vector<Eigen::Vector3d>& Outline,
                                Random& Generator, int Number) {
  const Options& Settings = Capture.Settings;
  // Squares smaller than about 12 pixels in an image reduced to a width of 720 are not found
  // reliably.
  const double Square_Goal = std::max(Settings.Width / 60.0, 13.0);
  constexpr int Most_Tries = 60;
  for (int Try = 0; Try < Most_Tries; ++Try) {
    Pose_Recipe Recipe = Draw_Recipe(Generator, Settings.Pose_Spread, Number, Settings.Image_Count);
    const double Remaining = 1.0 - static_cast<double>(Try) / Most_Tries;
    const double Strength = Try < 10 ? 1.0 : Remaining;
    Recipe.Tilt_Deg *= Strength;
    Recipe.Place *= Strength;
    Recipe.Fill =
        Try < 5 ? Recipe.Fill : std::max(Recipe.Fill, 0.95 * (1.0 - Remaining * Remaining));
    Recipe.Roll_Deg = Limit_Roll(First_Corner_Of(Settings), Recipe.Roll_Deg);
    const double Direction = Radians(Recipe.Tilt_Direction_Deg);
    const Eigen::Vector3d Tilt(Radians(Recipe.Tilt_Deg) * std::cos(Direction),
                               Radians(Recipe.Tilt_Deg) * std::sin(Direction), 0.0);
    const Eigen::Matrix3d Rotation_Cam_Chart =
        Rotation_From_Vector(Tilt) * Rotation_Z(Radians(Recipe.Roll_Deg));
    Eigen::Matrix4d Transform_Cam_Chart;
    if (Place_Board(Capture, Outline, Rotation_Cam_Chart, Recipe, Transform_Cam_Chart) &&
        Is_Worth_Keeping(Capture, Outline, Transform_Cam_Chart,
                         Square_Goal * Strength * Strength)) {
      return Transform_Cam_Chart;
    }
  }
  throw Refused_Options({"Norm_Fx", "Norm_Fy", "Norm_Cx", "Norm_Cy", "K1", "K2"},
                        "have to describe a lens that shows the whole board in the frame");
}

// ---- Boards that the frame cuts off ----------------------------------------------------------

double Part_Outside(const Plan& Capture, const Image_Truth& Image) {
  const std::vector<Eigen::Vector2d> Corners = Project_Board(Capture, Image);
  const auto Is_Outside = [&](const Eigen::Vector2d& Pixel) {
    return !(Pixel.minCoeff() >= 0.0 && Pixel.x() <= Capture.Settings.Width - 1.0 &&
             Pixel.y() <= Capture.Settings.Height - 1.0);
  };
  return static_cast<double>(std::count_if(Corners.begin(), Corners.end(), Is_Outside)) /
         static_cast<double>(Corners.size());
}

bool Shows_Outline(const Plan& Capture, const std::vector<Eigen::Vector3d>& Outline,
                   const Eigen::Matrix4d& Transform_Cam_Chart) {
  const double Fold = Fold_Radius(Capture.True_Lens);
  return std::all_of(Outline.begin(), Outline.end(), [&](const Eigen::Vector3d& Edge_Chart) {
    const Eigen::Vector3d Edge_Cam = Transformed(Transform_Cam_Chart, Edge_Chart);
    return Edge_Cam.z() > 0.0 && Edge_Cam.head<2>().norm() < 0.98 * Fold * Edge_Cam.z();
  });
}

// Moves the board towards one side of the frame until a part of its inner corners, drawn from a
// fifth to half, is outside. Of the four sides, tries one after the other.
void Cut_Off(const Plan& Capture, const std::vector<Eigen::Vector3d>& Outline, Random& Generator,
             Image_Truth& Image) {
  const Eigen::Vector3d Whole_Place = Image.Transform_Cam_Chart.topRightCorner<3, 1>();
  const double Goal = Generator.Between(0.2, 0.5);
  const int First_Side = Generator.Index(4);
  const Lens& Model = Capture.True_Lens;
  const double Width = Capture.Settings.Width / Model.Fx * Whole_Place.z();
  const double Height = Capture.Settings.Height / Model.Fy * Whole_Place.z();
  const Eigen::Vector3d Ways[] = {{Width, 0, 0}, {0, Height, 0}, {-Width, 0, 0}, {0, -Height, 0}};
  for (int Side = First_Side; Side < First_Side + 4; ++Side) {
    const Eigen::Vector3d& Way = Ways[Side % 4];
    // The part outside grows with the distance, so the right distance is between two others.
    double Near = 0.0, Far = 1.0, Middle = 0.5;
    while (Near < Middle && Middle < Far) {
      Image.Transform_Cam_Chart.topRightCorner<3, 1>() = Whole_Place + Middle * Way;
      (Part_Outside(Capture, Image) < Goal ? Near : Far) = Middle;
      Middle = (Near + Far) / 2.0;
    }
    Image.Transform_Cam_Chart.topRightCorner<3, 1>() = Whole_Place + Near * Way;
    const double Part = Part_Outside(Capture, Image);
    if (Part > 0.0 && Part <= 0.5 && Shows_Outline(Capture, Outline, Image.Transform_Cam_Chart)) {
      return;
    }
  }
  throw Refused_Options({"Cut_Count", "K1", "K2"},
                        "together need a lens that shows a board beyond the edge of the frame");
}

// ---- Where the camera is ---------------------------------------------------------------------

// In Base, x points to the right, y ahead and z up. Before its rotation the camera is upright: its
// x points to the right, its y down, its z ahead.
Eigen::Matrix4d Draw_Camera_Pose(Random& Generator, Spread Pose_Spread) {
  Eigen::Matrix3d Upright;
  Upright << 1, 0, 0,  //
      0, 0, 1,         //
      0, -1, 0;
  const double Yaw = Radians(Generator.Between(-40.0, 40.0));
  const double Pitch = Radians(Generator.Between(-25.0, 25.0));
  const double Roll = Radians(Generator.Between(-20.0, 20.0));
  const double X = Generator.Between(-1.2, 1.2), Y = Generator.Between(-0.8, 0.8);
  const double Z = Generator.Between(0.9, 1.9);
  // An operator who repeats one pose hardly moves the camera.
  const double Motion_Scale = Pose_Spread == Spread::Same_Pose ? 0.005 : 1.0;
  const Eigen::Matrix3d Rotation_Base_Cam = Rotation_Z(Motion_Scale * Yaw) *
                                            Rotation_X(Motion_Scale * Pitch) *
                                            Rotation_Y(Motion_Scale * Roll) * Upright;
  return Pose_From(Rotation_Base_Cam,
                   {Motion_Scale * X, Motion_Scale * Y, 1.4 + Motion_Scale * (Z - 1.4)});
}

// The pose of the camera in front of a board that stands still. The sample of the board is that of
// a tracker in the origin of Base.
Eigen::Matrix4d Camera_Before_Board(const Plan& Capture,
                                    const Eigen::Matrix4d& Transform_Cam_Chart) {
  return Pose_Of_Untracked_Board() *
         Rigid_Inverse(Transform_Cam_Chart * Capture.Transform_Chart_Tr);
}

// ---- What the trackers report ----------------------------------------------------------------

// The noise of a sample is the same whether or not the trackers lag. An untracked board has none.
void Report_Samples(const Options& Settings, Image_Truth& Image, Random& Noise) {
  const double Since_Picture = -Settings.Recording.Lag_Ms * 1e-3;
  const Eigen::Matrix4d Transform_Base_Tc =
      Drifted(Image.Transform_Base_Tc, Image.Still.Camera, Since_Picture);
  const Eigen::Matrix4d Transform_Base_Tr =
      Drifted(Image.Transform_Base_Tr, Image.Still.Board, Since_Picture);
  Image.Tc = With_Noise(Settings, Make_Sample(Transform_Base_Tc), Noise);
  Image.Tr = With_Noise(Settings, Make_Sample(Transform_Base_Tr), Noise);
  if (Settings.Recording.One_Body) Image.Tr = Make_Sample(Transform_Base_Tr);
}

// Assigns the bad kinds to rows, at most one per row. Row 0 has no earlier row that a stale sample
// could repeat, so stale rows are drawn first, from the other rows.
std::vector<Row_Kind> Deal_Kinds(const Options& Settings) {
  Random Generator(Settings.Seed, Bad_Rows);
  std::vector<Row_Kind> Kinds(static_cast<size_t>(Settings.Image_Count), Row_Kind::Good);
  std::vector<int> Rows;
  for (int i = 1; i < Settings.Image_Count; ++i) Rows.push_back(i);
  const auto Deal = [&](Row_Kind Kind, int Count) {
    for (int k = 0; k < Count; ++k) {
      const auto Row = Rows.begin() + Generator.Index(static_cast<int>(Rows.size()));
      Kinds[static_cast<size_t>(*Row)] = Kind;
      Rows.erase(Row);
    }
  };
  Deal(Row_Kind::Stale, Settings.Stale_Count);
  if (Settings.Image_Count > 0) Rows.push_back(0);
  Deal(Row_Kind::Jumped, Settings.Jump_Count);
  Deal(Row_Kind::Missing_Image, Settings.Missing_Count);
  Deal(Row_Kind::Blank_Image, Settings.Blank_Count);
  Deal(Row_Kind::Truncated_Image, Settings.Truncated_Count);
  Deal(Row_Kind::Cut_Board, Settings.Cut_Count);
  return Kinds;
}

// The pose of the camera's tracker after it has moved on from the row before by the distance and
// angle of a stale sample.
Eigen::Matrix4d Pose_After_Move(const Options& Settings, const Eigen::Matrix4d& Transform_Base_Tc,
                                Random& Generator) {
  const Eigen::Vector3d Shift = Settings.Stale_Mm * 1e-3 * Generator.Direction();
  const Eigen::Vector3d Rotation_Vector = Radians(Settings.Stale_Deg) * Generator.Direction();
  const Eigen::Matrix3d Rotation_Base_Tc =
      Transform_Base_Tc.topLeftCorner<3, 3>() * Rotation_From_Vector(Rotation_Vector);
  return Pose_From(Rotation_Base_Tc, Transform_Base_Tc.topRightCorner<3, 1>() + Shift);
}

// Replaces the camera tracker's samples of stale and jumped rows.
void Spoil_Samples(Plan& Capture) {
  const Options& Settings = Capture.Settings;
  Random Generator(Settings.Seed, Jumps);
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    Image_Truth& Image = Capture.Images[i];
    const Eigen::Vector3d Shift = Settings.Jump_Mm * 1e-3 * Generator.Direction();
    const Eigen::Vector3d Rotation_Vector = Radians(Settings.Jump_Deg) * Generator.Direction();
    if (Image.Kind == Row_Kind::Stale) Image.Tc = Capture.Images[i - 1].Tc;
    if (Image.Kind == Row_Kind::Jumped) {
      Image.Tc = Moved(Image.Tc, Shift, Rotation_Vector);
      Image.Jump_Shift = Shift;
      Image.Jump_Turn = Rotation_Vector;
    }
  }
}

void Check_Clip(const Plan& Capture) {
  const Options& Settings = Capture.Settings;
  const std::size_t Frames = Clip_Frame_Count(Capture);
  Require(Frames > 0, "Clock_Offset",
          "has to be below the length of the take, so that the clip begins before its end");
  // The most that a pixel has been seen to take at the default noise and the best quality.
  constexpr double Bytes_Per_Pixel = 0.25;
  const double Bytes =
      static_cast<double>(Frames) * Settings.Width * Settings.Height * Bytes_Per_Pixel;
  if (Bytes <= static_cast<double>(Largest_Clip_Bytes)) return;
  throw Refused_Options({"Image_Count", "Width", "Height", "Longest_Hold", "Longest_Move"},
                        "together make a clip of " + std::to_string(Frames / Clip_Rate_Hz) +
                            " seconds, which doesn't fit in a file of 2 GB");
}

// 0001.png and so on, counted from 1.
std::string Image_Name_Of(int Number, const std::string& Format) {
  const std::string Digits = std::to_string(Number);
  return std::string(Digits.size() < 4 ? 4 - Digits.size() : 0, '0') + Digits + "." + Format;
}

std::string Comma_Separated(const std::vector<std::string>& Names) {
  std::string Text;
  for (const std::string& Name : Names) Text += (Text.empty() ? "" : ", ") + Name;
  return Text;
}

}  // namespace

Refused_Options::Refused_Options(std::vector<std::string> Option_Names, std::string Broken_Rule)
    : std::invalid_argument("simulate: " + Comma_Separated(Option_Names) + " " + Broken_Rule),
      Names(std::move(Option_Names)),
      Rule(std::move(Broken_Rule)) {}

Plan Make_Plan(const Options& Settings) {
  Check_Options(Settings);
  Plan Capture;
  Capture.Settings = Settings;
  Capture.True_Lens = Lens_In_Pixels(Settings);
  Capture.Transform_Cam_Tc =
      Pose_From_Euler(Settings.Camera_Mount_Euler_Deg, Settings.Camera_Mount_Offset);
  const Eigen::Matrix4d Transform_Tr_Chart =
      Pose_From_Euler(Settings.Board_Mount_Euler_Deg, Settings.Board_Mount_Offset);
  Capture.Transform_Chart_Tr = Rigid_Inverse(Transform_Tr_Chart);

  // The host's estimate has the full error on every axis, with a random sign.
  Random Estimate(Settings.Seed, Host_Estimate);
  for (int Axis = 0; Axis < 3; ++Axis) {
    const double Angle_Sign = Estimate.Unit() < 0.5 ? -1.0 : 1.0;
    const double Offset_Sign = Estimate.Unit() < 0.5 ? -1.0 : 1.0;
    Capture.Chart_Euler_Deg[Axis] =
        Settings.Board_Mount_Euler_Deg[Axis] + Angle_Sign * Settings.Estimate_Error_Deg;
    Capture.Chart_Translation[Axis] =
        Settings.Board_Mount_Offset[Axis] + Offset_Sign * Settings.Estimate_Error_Mm * 1e-3;
  }

  // The recipes are shuffled, so that the capture does not follow their order.
  Random Board(Settings.Seed, Board_Poses), Camera(Settings.Seed, Camera_Poses),
      Noise(Settings.Seed, Tracker_Noise);
  std::vector<int> Numbers(static_cast<size_t>(Settings.Image_Count));
  std::iota(Numbers.begin(), Numbers.end(), 0);
  for (int i = Settings.Image_Count - 1; i > 0; --i) {
    std::swap(Numbers[static_cast<size_t>(i)], Numbers[static_cast<size_t>(Board.Index(i + 1))]);
  }

  const std::vector<Row_Kind> Kinds = Deal_Kinds(Settings);
  Random Stale(Settings.Seed, Stale_Moves), Cut(Settings.Seed, Cuts);
  const std::vector<Hold> Holds = Draw_Holds(Settings);
  const std::vector<Eigen::Vector3d> Outline = Board_Outline(Settings);
  for (int i = 0; i < Settings.Image_Count; ++i) {
    Image_Truth Image;
    Image.Kind = Kinds[static_cast<size_t>(i)];
    Image.Still = Holds[static_cast<size_t>(i)];
    Image.Name = Image_Name_Of(i + 1, Settings.Image_Format);
    Image.Transform_Cam_Chart =
        Draw_Board_Pose(Capture, Outline, Board, Numbers[static_cast<size_t>(i)]);
    if (Image.Kind == Row_Kind::Cut_Board) Cut_Off(Capture, Outline, Cut, Image);
    Eigen::Matrix4d Transform_Base_Cam = Draw_Camera_Pose(Camera, Settings.Pose_Spread);
    if (Image.Kind == Row_Kind::Stale) {
      Transform_Base_Cam =
          Pose_After_Move(Settings, Capture.Images.back().Transform_Base_Tc, Stale) *
          Rigid_Inverse(Capture.Transform_Cam_Tc);
    }
    if (Settings.Recording.One_Body) {
      Transform_Base_Cam = Camera_Before_Board(Capture, Image.Transform_Cam_Chart);
    }
    Image.Transform_Base_Tc = Transform_Base_Cam * Capture.Transform_Cam_Tc;
    Image.Transform_Base_Tr =
        Settings.Recording.One_Body
            ? Pose_Of_Untracked_Board()
            : Transform_Base_Cam * Image.Transform_Cam_Chart * Capture.Transform_Chart_Tr;
    Report_Samples(Settings, Image, Noise);
    Capture.Images.push_back(Image);
  }
  Spoil_Samples(Capture);
  if (Settings.Recording.Clip) Check_Clip(Capture);
  return Capture;
}

std::vector<Eigen::Vector2d> Project_Board(const Plan& Capture, const Image_Truth& Image) {
  const Options& Settings = Capture.Settings;
  std::vector<Eigen::Vector2d> Corners;
  for (int r = 0; r < Settings.Board_Rows; ++r) {
    for (int c = 0; c < Settings.Board_Cols; ++c) {
      const Eigen::Vector3d Corner_Chart(c * Settings.Square_Size, r * Settings.Square_Size, 0);
      const Eigen::Vector3d Corner_Cam = Transformed(Image.Transform_Cam_Chart, Corner_Chart);
      Corners.push_back(Project(Capture.True_Lens, Corner_Cam));
    }
  }
  return Corners;
}

}  // namespace simulate
