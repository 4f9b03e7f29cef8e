// SPDX-License-Identifier: Apache-2.0
//
// Each pixel's ray is intersected with the board's plane. If the pixel's area lies inside one
// square or is crossed by one edge, its grey level is computed exactly; otherwise samples are
// averaged. Grey levels are linear in the light, so blur and averaging do not move edges.
#include "simulate/render.h"

#include "simulate/geometry.h"
#include "simulate/marker_cells.h"
#include "simulate/random.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace simulate {

namespace {

// Streams of random numbers, different from those of plan.cpp.
enum Stream : unsigned { Scene = 101, Lamp, Grain };

// Grey levels of the print, and the maximum of the background, which must be darker than the white
// margin so that the board's edge is visible.
constexpr float Paper_White = 226.0f;
constexpr float Ink_Black = 24.0f;
constexpr double Background_Brightest = 125.0;

// ---- The board -------------------------------------------------------------------------------

// What is needed to intersect a ray with the board. Board coordinates are in squares from the first
// inner corner.
struct Board_View {
  Eigen::Matrix3d Squares_From_Ray;  // homogeneous board coordinates of a ray (x, y, 1)
  Lens Model;
  int Cols = 0, Rows = 0;
  float White = 0, Black = 0;
  // Of each white square, row by row; empty for a board without markers.
  std::vector<Marker_Cells> Markers;
  double Marker_Size = 0;  // squares
  cv::Rect Box;            // no pixel outside shows the board
};

// Whether the lens shows a point, somewhere in its image. Points nearer than a centimetre are taken
// as beside the camera.
bool Is_Shown(const Eigen::Vector3d& Point_Cam, double Fold) {
  return Point_Cam.z() > 0.01 && Point_Cam.head<2>().norm() < 0.98 * Fold * Point_Cam.z();
}

Board_View View_Board(const Plan& Capture, const Image_Truth& Image, float White, float Black) {
  const Options& Settings = Capture.Settings;
  const Eigen::Matrix4d& Transform_Cam_Chart = Image.Transform_Cam_Chart;
  Board_View View;
  // A point (u, v) of the board, in squares, lies on the ray along
  // u * size * x axis + v * size * y axis + origin.
  Eigen::Matrix3d Ray_From_Squares;
  Ray_From_Squares.col(0) = Transform_Cam_Chart.block<3, 1>(0, 0) * Settings.Square_Size;
  Ray_From_Squares.col(1) = Transform_Cam_Chart.block<3, 1>(0, 1) * Settings.Square_Size;
  Ray_From_Squares.col(2) = Transform_Cam_Chart.block<3, 1>(0, 3);
  View.Squares_From_Ray = Ray_From_Squares.inverse();
  View.Model = Capture.True_Lens;
  View.Cols = Settings.Board_Cols;
  View.Rows = Settings.Board_Rows;
  View.White = White;
  View.Black = Black;
  View.Marker_Size = Settings.Marker_Size;
  if (Settings.First_Marker >= 0) {
    const int White_Squares = (View.Cols + 1) * (View.Rows + 1) / 2;
    for (int k = 0; k < White_Squares; ++k) {
      View.Markers.push_back(Cells_Of_Marker(Settings.First_Marker + k));
    }
  }

  const double Fold = Fold_Radius(View.Model);
  // Sixteen points per side follow a curved edge to much less than the two pixels of padding.
  constexpr int Steps = 16;
  Eigen::Vector2d Low(1e300, 1e300), High(-1e300, -1e300);
  for (int k = 0; k <= Steps; ++k) {
    const double U = -2.0 + (View.Cols + 3.0) * k / Steps;
    const double V = -2.0 + (View.Rows + 3.0) * k / Steps;
    for (const auto& [Across, Along] : {std::pair<double, double>{U, -2.0},
                                        {U, View.Rows + 1.0},
                                        {-2.0, V},
                                        {View.Cols + 1.0, V}}) {
      const Eigen::Vector3d Edge_Cam = Ray_From_Squares * Eigen::Vector3d(Across, Along, 1.0);
      // In a move the board may reach beyond what the lens can show; then it may be anywhere.
      if (!Is_Shown(Edge_Cam, Fold)) {
        View.Box = cv::Rect(0, 0, Settings.Width, Settings.Height);
        return View;
      }
      const Eigen::Vector2d Pixel = Project(View.Model, Edge_Cam);
      Low = Low.cwiseMin(Pixel);
      High = High.cwiseMax(Pixel);
    }
  }
  const double Padding = 2.0 + 0.01 * (High - Low).maxCoeff();
  if (!(Low.x() - Padding < Settings.Width && Low.y() - Padding < Settings.Height)) return View;
  const int Left = static_cast<int>(std::floor(std::max(Low.x() - Padding, 0.0)));
  const int Top = static_cast<int>(std::floor(std::max(Low.y() - Padding, 0.0)));
  const int Right = static_cast<int>(std::ceil(std::min(High.x() + Padding, Settings.Width - 1.0)));
  const int Bottom =
      static_cast<int>(std::ceil(std::min(High.y() + Padding, Settings.Height - 1.0)));
  View.Box = cv::Rect(Left, Top, std::max(Right - Left + 1, 0), std::max(Bottom - Top + 1, 0));
  return View;
}

enum class Surface { None, White, Black };

// Without markers.
Surface Square_At(const Board_View& View, double U, double V) {
  // Not in whole numbers yet: towards the horizon of the board's plane they get too large.
  if (!(U >= -2.0 && V >= -2.0 && U < View.Cols + 1.0 && V < View.Rows + 1.0)) return Surface::None;
  const int Col = static_cast<int>(std::floor(U)), Row = static_cast<int>(std::floor(V));
  if (Col < -1 || Row < -1 || Col >= View.Cols || Row >= View.Rows) return Surface::White;
  // The outermost square at the first inner corner, (-1, -1), is black.
  return ((Col + Row) & 1) == 0 ? Surface::Black : Surface::White;
}

// What a white square shows at U, V. Squares are counted in rows of one more than there are
// corners, and every other one is white.
Surface Marked_Surface_At(const Board_View& View, int Col, int Row, double U, double V) {
  const double Across = (U - Col - 0.5) / View.Marker_Size + 0.5;
  const double Down = (V - Row - 0.5) / View.Marker_Size + 0.5;
  if (Across < 0.0 || Across >= 1.0 || Down < 0.0 || Down >= 1.0) return Surface::White;
  const auto Square = static_cast<std::size_t>((Row + 1) * (View.Cols + 1) + Col + 1);
  const Marker_Cells& Marker = View.Markers[Square / 2];
  const auto Cell_Col = static_cast<std::size_t>(Across * Cells_Across);
  const auto Cell_Row = static_cast<std::size_t>(Down * Cells_Across);
  return Marker[Cell_Row][Cell_Col] ? Surface::White : Surface::Black;
}

Surface Surface_At(const Board_View& View, double U, double V) {
  const Surface Plain = Square_At(View, U, V);
  if (View.Markers.empty() || Plain != Surface::White) return Plain;
  const int Col = static_cast<int>(std::floor(U)), Row = static_cast<int>(std::floor(V));
  const bool Is_In_Margin = Col < -1 || Row < -1 || Col >= View.Cols || Row >= View.Rows;
  if (Is_In_Margin) return Plain;
  return Marked_Surface_At(View, Col, Row, U, V);
}

// Whether an area with these half extents around U, V reaches a marker. One that spans much of a
// square may reach that of a neighbour.
bool Touches_Marker(const Board_View& View, double U, double V, double Half_U, double Half_V) {
  if (View.Markers.empty()) return false;
  const double Reach = View.Marker_Size / 2.0;
  if (std::max(Half_U, Half_V) > 0.5 - Reach) return true;
  const auto From_Middle = [](double At) { return std::abs(At - std::floor(At) - 0.5); };
  const bool Is_White =
      ((static_cast<int>(std::floor(U)) + static_cast<int>(std::floor(V))) & 1) != 0;
  return Is_White && From_Middle(U) < Reach + Half_U && From_Middle(V) < Reach + Half_V;
}

// The fraction of an area that the board covers, and the light from that fraction.
using Coverage = cv::Vec2f;

Coverage Covered_By(const Board_View& View, Surface Kind) {
  if (Kind == Surface::None) return {0.0f, 0.0f};
  return {1.0f, Kind == Surface::White ? View.White : View.Black};
}

// Where the ray of a pixel's centre meets the board's plane, in squares, and the derivatives of
// that position for steps of one pixel across (i) and down (j) the image. They are taken as
// constant within the pixel.
struct Footprint {
  double U = 0, V = 0;
  double Ui = 0, Uj = 0, Vi = 0, Vj = 0;
};

// False where the ray misses the plane or the lens shows nothing.
bool Intersect_Board(const Board_View& View, const cv::Vec2f& Ray, Footprint& Hit) {
  const Eigen::Matrix3d& H = View.Squares_From_Ray;
  const double X = Ray[0], Y = Ray[1];
  const double W = H(2, 0) * X + H(2, 1) * Y + H(2, 2);
  if (!(W > 0.0)) return false;
  Hit.U = (H(0, 0) * X + H(0, 1) * Y + H(0, 2)) / W;
  Hit.V = (H(1, 0) * X + H(1, 1) * Y + H(1, 2)) / W;

  // The chain rule: board per pixel is board per ray times ray per pixel, and the latter is the
  // inverse of the lens model's derivative.
  const double Ux = (H(0, 0) - Hit.U * H(2, 0)) / W, Uy = (H(0, 1) - Hit.U * H(2, 1)) / W;
  const double Vx = (H(1, 0) - Hit.V * H(2, 0)) / W, Vy = (H(1, 1) - Hit.V * H(2, 1)) / W;
  const double Square = X * X + Y * Y;
  const double Gain = 1.0 + Square * (View.Model.K1 + Square * View.Model.K2);
  const double Slope = 2.0 * (View.Model.K1 + 2.0 * Square * View.Model.K2);
  const double A = Gain + Slope * X * X, B = Slope * X * Y, D = Gain + Slope * Y * Y;
  const double Per_Column = 1.0 / ((A * D - B * B) * View.Model.Fx);
  const double Per_Row = 1.0 / ((A * D - B * B) * View.Model.Fy);
  Hit.Ui = (Ux * D - Uy * B) * Per_Column;
  Hit.Uj = (Uy * A - Ux * B) * Per_Row;
  Hit.Vi = (Vx * D - Vy * B) * Per_Column;
  Hit.Vj = (Vy * A - Vx * B) * Per_Row;
  return true;
}

// The fraction of an area on the lower side of an edge at Distance from its centre. The area is a
// parallelogram: across the edge its extent is the sum of two uniform distributions of half widths
// P and Q.
double Part_Below(double Distance, double P, double Q) {
  if (P < Q) std::swap(P, Q);
  if (std::abs(Distance) <= P - Q) return 0.5 + Distance / (2.0 * P);
  if (std::abs(Distance) >= P + Q) return Distance > 0.0 ? 1.0 : 0.0;
  const double Rest = P + Q - std::abs(Distance);
  const double Tip = Rest * Rest / (8.0 * P * Q);
  return Distance > 0.0 ? 1.0 - Tip : Tip;
}

// What a square area of Size by Size pixels around Hit shows.
Coverage Cover_Area(const Board_View& View, const Footprint& Hit, double Size) {
  const double Half = 0.5 * Size;
  const double Half_Ui = Half * std::abs(Hit.Ui), Half_Uj = Half * std::abs(Hit.Uj);
  const double Half_Vi = Half * std::abs(Hit.Vi), Half_Vj = Half * std::abs(Hit.Vj);
  const double U_Low = std::floor(Hit.U - Half_Ui - Half_Uj);
  const double U_High = std::floor(Hit.U + Half_Ui + Half_Uj);
  const double V_Low = std::floor(Hit.V - Half_Vi - Half_Vj);
  const double V_High = std::floor(Hit.V + Half_Vi + Half_Vj);
  const bool Is_Plain = !Touches_Marker(View, Hit.U, Hit.V, Half_Ui + Half_Uj, Half_Vi + Half_Vj);
  if (Is_Plain && U_Low == U_High && V_Low == V_High) {
    return Covered_By(View, Square_At(View, Hit.U, Hit.V));
  }
  if (Is_Plain && U_Low + 1.0 == U_High && V_Low == V_High) {
    const auto Below = static_cast<float>(Part_Below(U_High - Hit.U, Half_Ui, Half_Uj));
    return Covered_By(View, Square_At(View, U_Low + 0.5, Hit.V)) * Below +
           Covered_By(View, Square_At(View, U_High + 0.5, Hit.V)) * (1.0f - Below);
  }
  if (Is_Plain && U_Low == U_High && V_Low + 1.0 == V_High) {
    const auto Below = static_cast<float>(Part_Below(V_High - Hit.V, Half_Vi, Half_Vj));
    return Covered_By(View, Square_At(View, Hit.U, V_Low + 0.5)) * Below +
           Covered_By(View, Square_At(View, Hit.U, V_High + 0.5)) * (1.0f - Below);
  }

  // A corner, a marker, or squares smaller than the area: the mean of 64 samples on a lattice with
  // one sample in each of its 64 columns and 64 rows.
  constexpr int Samples = 64, Stride = 27;
  Coverage Sum(0.0f, 0.0f);
  for (int k = 0; k < Samples; ++k) {
    const double Di = Size * ((k + 0.5) / Samples - 0.5);
    const double Dj = Size * ((k * Stride % Samples + 0.5) / Samples - 0.5);
    Sum += Covered_By(View, Surface_At(View, Hit.U + Hit.Ui * Di + Hit.Uj * Dj,
                                       Hit.V + Hit.Vi * Di + Hit.Vj * Dj));
  }
  return Sum * (1.0f / Samples);
}

// The optics blur the image before the sensor averages it over each pixel. Blurring whole pixels
// instead would shift edges along the pixel grid by up to 0.03 pixels. So the board is drawn at
// this multiple of the resolution, blurred, and averaged to pixels.
constexpr int Finer = 2;

// How many rows outside a strip affect it through the blur; OpenCV truncates its kernel at four
// standard deviations.
int Blur_Reach(double Blur_Pixels) {
  return static_cast<int>(std::ceil(4.0 * Blur_Pixels)) + 1;
}

// Draws the board over the rows of a strip.
void Draw_Strip(const Board_View& View, const cv::Mat& Rays, double Blur_Pixels,
                const cv::Range& Strip, cv::Mat& Picture) {
  const int Reach = Blur_Reach(Blur_Pixels);
  const int First = std::max(Strip.start - Reach, 0);
  const int Last = std::min(Strip.end + Reach, Rays.rows);
  const int Left = std::max(View.Box.x - Reach, 0);
  const int Right = std::min(View.Box.x + View.Box.width + Reach, Rays.cols);

  cv::Mat Fine((Last - First) * Finer, (Right - Left) * Finer, CV_32FC2);
  for (int j = First; j < Last; ++j) {
    const cv::Vec2f* Ray = Rays.ptr<cv::Vec2f>(j);
    for (int i = Left; i < Right; ++i) {
      const auto Cell = [&](int Down, int Across) -> Coverage& {
        return Fine.at<Coverage>((j - First) * Finer + Down, (i - Left) * Finer + Across);
      };
      Footprint Hit;
      const bool Is_Hit = View.Box.contains({i, j}) && Intersect_Board(View, Ray[i], Hit);
      for (int Down = 0; Down < Finer; ++Down) {
        for (int Across = 0; Across < Finer; ++Across) {
          if (!Is_Hit) {
            Cell(Down, Across) = {0.0f, 0.0f};
            continue;
          }
          const double Di = (Across + 0.5) / Finer - 0.5, Dj = (Down + 0.5) / Finer - 0.5;
          Footprint Cell_Hit = Hit;
          Cell_Hit.U += Hit.Ui * Di + Hit.Uj * Dj;
          Cell_Hit.V += Hit.Vi * Di + Hit.Vj * Dj;
          Cell(Down, Across) = Cover_Area(View, Cell_Hit, 1.0 / Finer);
        }
      }
    }
  }
  if (Blur_Pixels > 0.0) cv::GaussianBlur(Fine, Fine, cv::Size(), Blur_Pixels * Finer);
  cv::Mat Covered;
  cv::resize(Fine, Covered, cv::Size(Right - Left, Last - First), 0.0, 0.0, cv::INTER_AREA);

  for (int j = Strip.start; j < Strip.end; ++j) {
    const Coverage* Cover = Covered.ptr<Coverage>(j - First);
    cv::Vec3f* Pixel = Picture.ptr<cv::Vec3f>(j) + Left;
    for (int i = 0; i < Right - Left; ++i) {
      for (int Channel = 0; Channel < 3; ++Channel) {
        Pixel[i][Channel] = (1.0f - Cover[i][0]) * Pixel[i][Channel] + Cover[i][1];
      }
    }
  }
}

void Draw_Board(const Board_View& View, const cv::Mat& Rays, double Blur_Pixels, cv::Mat& Picture) {
  const int Reach = Blur_Reach(Blur_Pixels);
  const int First = std::max(View.Box.y - Reach, 0);
  const int Last = std::min(View.Box.y + View.Box.height + Reach, Rays.rows);
  // Strips are the same for any number of threads, and high enough that their overlap costs little.
  const int Height = std::max(48, 2 * Reach);
  cv::parallel_for_(cv::Range(0, (Last - First + Height - 1) / Height), [&](const cv::Range& R) {
    for (int k = R.start; k < R.end; ++k) {
      const int Top = First + k * Height;
      Draw_Strip(View, Rays, Blur_Pixels, cv::Range(Top, std::min(Top + Height, Last)), Picture);
    }
  });
}

// ---- The background --------------------------------------------------------------------------

// Soft shapes in muted colours, like a room out of focus. Drawn small and enlarged: nothing in it
// is sharp or looks like a board.
cv::Mat Draw_Background(Random& Generator, int Width, int Height) {
  const int Long_Side = 160;
  const double Shrink = static_cast<double>(Long_Side) / std::max(Width, Height);
  const cv::Size Small(std::max(static_cast<int>(std::lround(Width * Shrink)), 2),
                       std::max(static_cast<int>(std::lround(Height * Shrink)), 2));
  const auto Muted = [&](double Low, double High) {
    const double Level = Generator.Between(Low, High);
    const double Blue = Generator.Between(0.75, 1.0), Green = Generator.Between(0.75, 1.0);
    return cv::Scalar(Level * Blue, Level * Green, Level * Generator.Between(0.75, 1.0));
  };

  // A wall that gets darker towards one side, and a floor.
  cv::Mat Room(Small, CV_32FC3);
  const cv::Scalar Wall = Muted(60.0, 105.0), Floor = Muted(35.0, 75.0);
  const double Skirting = Small.height * Generator.Between(0.6, 0.9);
  const double Lean = Generator.Between(-0.15, 0.15), Fade = Generator.Between(-0.3, 0.3);
  for (int j = 0; j < Small.height; ++j) {
    for (int i = 0; i < Small.width; ++i) {
      const bool Below = j > Skirting + Lean * (i - Small.width / 2.0);
      const double Dim = 1.0 + Fade * (static_cast<double>(i) / Small.width - 0.5);
      for (int Channel = 0; Channel < 3; ++Channel) {
        Room.at<cv::Vec3f>(j, i)[Channel] =
            static_cast<float>(Dim * (Below ? Floor : Wall)[Channel]);
      }
    }
  }
  for (int k = 0; k < 12; ++k) {
    const cv::Point Centre(Generator.Index(Small.width), Generator.Index(Small.height));
    const cv::Size Axes(5 + Generator.Index(Long_Side / 5), 5 + Generator.Index(Long_Side / 5));
    const double Angle_Deg = Generator.Between(0.0, 180.0);
    cv::ellipse(Room, Centre, Axes, Angle_Deg, 0.0, 360.0, Muted(25.0, Background_Brightest * 0.85),
                cv::FILLED);
  }
  cv::GaussianBlur(Room, Room, cv::Size(), Generator.Between(2.0, 4.5));
  cv::min(Room, cv::Scalar::all(Background_Brightest), Room);
  cv::Mat Background;
  cv::resize(Room, Background, cv::Size(Width, Height), 0.0, 0.0, cv::INTER_LINEAR);
  return Background;
}

// ---- Light and sensor ------------------------------------------------------------------------

// A table of numbers with mean 0 and standard deviation 1. Noise is picked from it, because drawing
// a new number for every pixel would take longer than the rest of a photograph.
constexpr int Grain_Count = 4096;

std::array<float, Grain_Count> Make_Grains() {
  Random Generator(0, Grain);
  std::array<double, Grain_Count> Values{};
  double Sum = 0.0, Squares = 0.0;
  for (double& Value : Values) Sum += Value = Generator.Gaussian();
  for (double& Value : Values) {
    Value -= Sum / Grain_Count;
    Squares += Value * Value;
  }
  const double Scale = 1.0 / std::sqrt(Squares / Grain_Count);
  std::array<float, Grain_Count> Grains{};
  for (size_t k = 0; k < Values.size(); ++k) Grains[k] = static_cast<float>(Values[k] * Scale);
  return Grains;
}

// The splitmix64 generator: a 64-bit counter and a mixing function. It is fast and good enough to
// pick table entries with.
std::uint64_t Next_Bits(std::uint64_t& State) {
  State += 0x9e3779b97f4a7c15u;
  std::uint64_t Bits = State;
  Bits = (Bits ^ (Bits >> 30)) * 0xbf58476d1ce4e5b9u;
  Bits = (Bits ^ (Bits >> 27)) * 0x94d049bb133111ebu;
  return Bits ^ (Bits >> 31);
}

// Brightness decreases linearly from one corner of the frame to the opposite one, the same two
// corners in all photographs of a capture.
struct Lighting {
  float At_Origin = 1, Per_Column = 0, Per_Row = 0;
};

Lighting Light_Frame(const Options& Settings) {
  Random Generator(Settings.Seed, Lamp);
  const bool From_Right = Generator.Unit() < 0.5, From_Below = Generator.Unit() < 0.5;
  const double Across = Settings.Lighting_Gradient / 2.0 / std::max(Settings.Width - 1, 1);
  const double Down = Settings.Lighting_Gradient / 2.0 / std::max(Settings.Height - 1, 1);
  Lighting Light;
  Light.Per_Column = static_cast<float>(From_Right ? Across : -Across);
  Light.Per_Row = static_cast<float>(From_Below ? Down : -Down);
  Light.At_Origin = static_cast<float>(1.0 - (From_Right ? Settings.Lighting_Gradient / 2.0 : 0.0) -
                                       (From_Below ? Settings.Lighting_Gradient / 2.0 : 0.0));
  return Light;
}

}  // namespace

cv::Mat Make_Pixel_Rays(const Lens& Model, int Width, int Height) {
  const double Fold = Fold_Radius(Model);
  cv::Mat Rays(Height, Width, CV_32FC2);
  cv::parallel_for_(cv::Range(0, Height), [&](const cv::Range& Range) {
    for (int j = Range.start; j < Range.end; ++j) {
      cv::Vec2f* Ray = Rays.ptr<cv::Vec2f>(j);
      const double Y = (j - Model.Cy) / Model.Fy;
      double Ratio = 1.0;  // undistorted / distorted radius, a good start for the next pixel
      for (int i = 0; i < Width; ++i) {
        const double X = (i - Model.Cx) / Model.Fx;
        const double Distorted = std::sqrt(X * X + Y * Y);
        const double Radius = Undistorted_Radius(Model, Distorted, Fold, Ratio * Distorted);
        Ratio = Radius > 0.0 && Distorted > 0.0 ? Radius / Distorted : 1.0;
        const double Stretch = Distorted > 0.0 ? Radius / Distorted : 1.0;
        Ray[i] = cv::Vec2f(static_cast<float>(X * Stretch), static_cast<float>(Y * Stretch));
      }
    }
  });
  return Rays;
}

// Every row has its own generator state, so rows can be processed in any order.
cv::Mat Expose(const Options& Settings, std::size_t Number, const cv::Mat& Picture) {
  static const std::array<float, Grain_Count> Grains = Make_Grains();
  const Lighting Light = Light_Frame(Settings);
  const float Noise = static_cast<float>(Settings.Sensor_Noise);
  cv::Mat Photograph(Picture.size(), CV_8UC3);
  cv::parallel_for_(cv::Range(0, Picture.rows), [&](const cv::Range& Range) {
    for (int j = Range.start; j < Range.end; ++j) {
      std::uint64_t State = (static_cast<std::uint64_t>(Settings.Seed) << 32) ^
                            (static_cast<std::uint64_t>(Number) << 16) ^
                            static_cast<std::uint64_t>(j);
      State = Next_Bits(State);
      const cv::Vec3f* Scene_Row = Picture.ptr<cv::Vec3f>(j);
      cv::Vec3b* Photograph_Row = Photograph.ptr<cv::Vec3b>(j);
      const float Row_Light = Light.At_Origin + Light.Per_Row * static_cast<float>(j);
      for (int i = 0; i < Picture.cols; ++i) {
        const float Light_Level = Row_Light + Light.Per_Column * static_cast<float>(i);
        std::uint64_t Bits = Next_Bits(State);
        for (int Channel = 0; Channel < 3; ++Channel) {
          const float Level =
              Scene_Row[i][Channel] * Light_Level + Noise * Grains[Bits % Grain_Count];
          Bits >>= 16;
          // NOLINTNEXTLINE(bugprone-incorrect-roundings): never negative, and lround is slower
          Photograph_Row[i][Channel] = static_cast<uchar>(std::clamp(Level, 0.0f, 255.0f) + 0.5f);
        }
      }
    }
  });
  return Photograph;
}

cv::Mat Draw_Room(const Plan& Capture, std::size_t Index) {
  const Options& Settings = Capture.Settings;
  if (Capture.Images.at(Index).Kind == Row_Kind::Blank_Image) {
    return {Settings.Height, Settings.Width, CV_32FC3, cv::Scalar::all(128.0)};
  }
  Random Generator(Settings.Seed, Scene + 1000 * (1 + static_cast<unsigned>(Index)));
  return Draw_Background(Generator, Settings.Width, Settings.Height);
}

void Draw_Board_In(const Plan& Capture, const Eigen::Matrix4d& Transform_Cam_Chart,
                   const cv::Mat& Rays, cv::Mat& Picture) {
  const Eigen::Vector3d Normal_Cam = Transform_Cam_Chart.block<3, 1>(0, 2);
  const Eigen::Vector3d Origin_Cam = Transform_Cam_Chart.block<3, 1>(0, 3);
  // How far the camera is in front of the board's plane. From behind, the board is blank paper; in
  // the plane, it is not seen.
  const double Before_Board = Normal_Cam.dot(Origin_Cam);
  if (std::abs(Before_Board) < 1e-3) return;
  // Matt paper looks darker at a flatter angle of light; the lamp is near the camera.
  const float Shade = static_cast<float>(0.7 + 0.3 * std::abs(Transform_Cam_Chart(2, 2)));
  Image_Truth Image;
  Image.Transform_Cam_Chart = Transform_Cam_Chart;
  const Board_View View = View_Board(Capture, Image, Shade * Paper_White,
                                     Shade * (Before_Board > 0.0 ? Ink_Black : Paper_White));
  if (!View.Box.empty()) Draw_Board(View, Rays, Capture.Settings.Blur_Pixels, Picture);
}

cv::Mat Render_Photograph(const Plan& Capture, std::size_t Index, const cv::Mat& Rays) {
  const Image_Truth& Image = Capture.Images.at(Index);
  cv::Mat Picture = Draw_Room(Capture, Index);
  if (Image.Kind != Row_Kind::Blank_Image) {
    Draw_Board_In(Capture, Image.Transform_Cam_Chart, Rays, Picture);
  }
  return Expose(Capture.Settings, Index, Picture);
}

}  // namespace simulate
