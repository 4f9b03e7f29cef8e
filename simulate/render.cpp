// SPDX-License-Identifier: Apache-2.0
//
// Each pixel's ray is followed to the board's plane. Where the pixel's area lies inside one square
// its grey is known at once; where an edge crosses it, many samples are averaged. Colours are
// linear in the light, so that blur and averaging leave edges where they are.
#include "simulate/render.h"

#include "simulate/geometry.h"
#include "simulate/random.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace simulate {

namespace {

// Streams of random numbers, apart from those of plan.cpp.
enum Stream : unsigned { Scene = 101, Lamp, Grain };

// Grey levels of the print, and the brightest that the background gets: it has to stay darker than
// the white margin, or the board would have no edge against it.
constexpr float Paper_White = 226.0f;
constexpr float Ink_Black = 24.0f;
constexpr double Background_Brightest = 125.0;

// ---- The board -------------------------------------------------------------------------------

// The board's plane as a pixel sees it: squares from the first inner corner, or nothing.
struct Board_View {
  Eigen::Matrix3d Squares_From_Ray;  // homogeneous board coordinates of a ray (x, y, 1)
  Lens Through;
  int Cols = 0, Rows = 0;
  float White = 0, Black = 0;
  cv::Rect Box;  // pixels outside see no board
};

Board_View View_Board(const Plan& Capture, const Image_Truth& Image, float White, float Black) {
  const Options& Given = Capture.Given;
  const Eigen::Matrix4d& Transform_Cam_Chart = Image.Transform_Cam_Chart;
  Board_View View;
  // A point (u, v) of the board, in squares, lies on the ray along
  // u * size * x axis + v * size * y axis + origin.
  Eigen::Matrix3d Ray_From_Squares;
  Ray_From_Squares.col(0) = Transform_Cam_Chart.block<3, 1>(0, 0) * Given.Square_Size;
  Ray_From_Squares.col(1) = Transform_Cam_Chart.block<3, 1>(0, 1) * Given.Square_Size;
  Ray_From_Squares.col(2) = Transform_Cam_Chart.block<3, 1>(0, 3);
  View.Squares_From_Ray = Ray_From_Squares.inverse();
  View.Through = Capture.True_Lens;
  View.Cols = Given.Board_Cols;
  View.Rows = Given.Board_Rows;
  View.White = White;
  View.Black = Black;

  // Sixteen points a side follow a bent edge to well within the two pixels that the box gives.
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
      const Eigen::Vector2d Drawn = Project(View.Through, Edge_Cam);
      Low = Low.cwiseMin(Drawn);
      High = High.cwiseMax(Drawn);
    }
  }
  const double Spare = 2.0 + 0.01 * (High - Low).maxCoeff();
  const int Left = static_cast<int>(std::floor(std::max(Low.x() - Spare, 0.0)));
  const int Top = static_cast<int>(std::floor(std::max(Low.y() - Spare, 0.0)));
  const int Right = static_cast<int>(std::ceil(std::min(High.x() + Spare, Given.Width - 1.0)));
  const int Bottom = static_cast<int>(std::ceil(std::min(High.y() + Spare, Given.Height - 1.0)));
  View.Box = cv::Rect(Left, Top, std::max(Right - Left + 1, 0), std::max(Bottom - Top + 1, 0));
  return View;
}

enum class Surface { None, White, Black };

Surface Surface_At(const Board_View& View, double U, double V) {
  const int Col = static_cast<int>(std::floor(U)), Row = static_cast<int>(std::floor(V));
  if (Col < -2 || Row < -2 || Col > View.Cols || Row > View.Rows) return Surface::None;
  if (Col < -1 || Row < -1 || Col >= View.Cols || Row >= View.Rows) return Surface::White;
  // The square at the first inner corner's outer side, (-1, -1), is black.
  return ((Col + Row) & 1) == 0 ? Surface::Black : Surface::White;
}

// How much of an area is covered by board, and the light that comes from there.
using Coverage = cv::Vec2f;

Coverage Covered_By(const Board_View& View, Surface Seen) {
  if (Seen == Surface::None) return {0.0f, 0.0f};
  return {1.0f, Seen == Surface::White ? View.White : View.Black};
}

// Where a pixel's middle meets the board's plane, in squares, and how far a step of one pixel
// along the image's rows (i) and columns (j) goes there. Straight within the pixel.
struct Footprint {
  double U = 0, V = 0;
  double Ui = 0, Uj = 0, Vi = 0, Vj = 0;
};

// False where the ray misses the plane or the lens shows nothing.
bool Meet_Board(const Board_View& View, const cv::Vec2f& Ray, Footprint& Met) {
  const Eigen::Matrix3d& H = View.Squares_From_Ray;
  const double X = Ray[0], Y = Ray[1];
  const double W = H(2, 0) * X + H(2, 1) * Y + H(2, 2);
  if (!(W > 0.0)) return false;
  Met.U = (H(0, 0) * X + H(0, 1) * Y + H(0, 2)) / W;
  Met.V = (H(1, 0) * X + H(1, 1) * Y + H(1, 2)) / W;

  // Board per pixel is board per ray times ray per pixel, the inverse of what the lens does to a
  // small step.
  const double Ux = (H(0, 0) - Met.U * H(2, 0)) / W, Uy = (H(0, 1) - Met.U * H(2, 1)) / W;
  const double Vx = (H(1, 0) - Met.V * H(2, 0)) / W, Vy = (H(1, 1) - Met.V * H(2, 1)) / W;
  const double Square = X * X + Y * Y;
  const double Gain = 1.0 + Square * (View.Through.K1 + Square * View.Through.K2);
  const double Slope = 2.0 * (View.Through.K1 + 2.0 * Square * View.Through.K2);
  const double A = Gain + Slope * X * X, B = Slope * X * Y, D = Gain + Slope * Y * Y;
  const double Per_Column = 1.0 / ((A * D - B * B) * View.Through.Fx);
  const double Per_Row = 1.0 / ((A * D - B * B) * View.Through.Fy);
  Met.Ui = (Ux * D - Uy * B) * Per_Column;
  Met.Uj = (Uy * A - Ux * B) * Per_Row;
  Met.Vi = (Vx * D - Vy * B) * Per_Column;
  Met.Vj = (Vy * A - Vx * B) * Per_Row;
  return true;
}

// The part of an area that lies below an edge Away from its middle, when its extent across the
// edge is the sum of two even spreads of half widths P and Q: the area is a parallelogram.
double Part_Below(double Away, double P, double Q) {
  if (P < Q) std::swap(P, Q);
  if (std::abs(Away) <= P - Q) return 0.5 + Away / (2.0 * P);
  if (std::abs(Away) >= P + Q) return Away > 0.0 ? 1.0 : 0.0;
  const double Rest = P + Q - std::abs(Away);
  const double Tip = Rest * Rest / (8.0 * P * Q);
  return Away > 0.0 ? 1.0 - Tip : Tip;
}

// What an area of Size pixels a side sees whose middle is Met's.
Coverage Cover_Area(const Board_View& View, const Footprint& Met, double Size) {
  const double Half = 0.5 * Size;
  const double Half_Ui = Half * std::abs(Met.Ui), Half_Uj = Half * std::abs(Met.Uj);
  const double Half_Vi = Half * std::abs(Met.Vi), Half_Vj = Half * std::abs(Met.Vj);
  const double U_Low = std::floor(Met.U - Half_Ui - Half_Uj);
  const double U_High = std::floor(Met.U + Half_Ui + Half_Uj);
  const double V_Low = std::floor(Met.V - Half_Vi - Half_Vj);
  const double V_High = std::floor(Met.V + Half_Vi + Half_Vj);
  if (U_Low == U_High && V_Low == V_High) return Covered_By(View, Surface_At(View, Met.U, Met.V));
  if (U_Low + 1.0 == U_High && V_Low == V_High) {
    const auto Below = static_cast<float>(Part_Below(U_High - Met.U, Half_Ui, Half_Uj));
    return Covered_By(View, Surface_At(View, U_Low + 0.5, Met.V)) * Below +
           Covered_By(View, Surface_At(View, U_High + 0.5, Met.V)) * (1.0f - Below);
  }
  if (U_Low == U_High && V_Low + 1.0 == V_High) {
    const auto Below = static_cast<float>(Part_Below(V_High - Met.V, Half_Vi, Half_Vj));
    return Covered_By(View, Surface_At(View, Met.U, V_Low + 0.5)) * Below +
           Covered_By(View, Surface_At(View, Met.U, V_High + 0.5)) * (1.0f - Below);
  }

  // A corner, or squares smaller than the area: the mean of samples on a lattice whose 64 columns
  // and 64 rows hold one each.
  constexpr int Samples = 64, Stride = 27;
  Coverage Sum(0.0f, 0.0f);
  for (int k = 0; k < Samples; ++k) {
    const double Di = Size * ((k + 0.5) / Samples - 0.5);
    const double Dj = Size * ((k * Stride % Samples + 0.5) / Samples - 0.5);
    Sum += Covered_By(View, Surface_At(View, Met.U + Met.Ui * Di + Met.Uj * Dj,
                                       Met.V + Met.Vi * Di + Met.Vj * Dj));
  }
  return Sum * (1.0f / Samples);
}

// The optics blur what the sensor then averages over each pixel. Blurring pixels instead would
// come too late: their steps are so coarse that edges along the pixel grid would seem to lie up to
// 0.03 pixels beside the truth. So the board is drawn finer, blurred, and averaged to pixels.
constexpr int Finer = 2;

// How far rows beside a strip reach into it by the blur; OpenCV cuts its kernel at four deviations.
int Blur_Reach(double Blur_Pixels) {
  return static_cast<int>(std::ceil(4.0 * Blur_Pixels)) + 1;
}

// Draws the rows of a strip over the picture.
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
      Footprint Met;
      const bool Meets = View.Box.contains({i, j}) && Meet_Board(View, Ray[i], Met);
      for (int Down = 0; Down < Finer; ++Down) {
        for (int Across = 0; Across < Finer; ++Across) {
          if (!Meets) {
            Cell(Down, Across) = {0.0f, 0.0f};
            continue;
          }
          const double Di = (Across + 0.5) / Finer - 0.5, Dj = (Down + 0.5) / Finer - 0.5;
          Footprint Part = Met;
          Part.U += Met.Ui * Di + Met.Uj * Dj;
          Part.V += Met.Vi * Di + Met.Vj * Dj;
          Cell(Down, Across) = Cover_Area(View, Part, 1.0 / Finer);
        }
      }
    }
  }
  if (Blur_Pixels > 0.0) cv::GaussianBlur(Fine, Fine, cv::Size(), Blur_Pixels * Finer);
  cv::Mat Covered;
  cv::resize(Fine, Covered, cv::Size(Right - Left, Last - First), 0.0, 0.0, cv::INTER_AREA);

  for (int j = Strip.start; j < Strip.end; ++j) {
    const Coverage* Over = Covered.ptr<Coverage>(j - First);
    cv::Vec3f* Pixel = Picture.ptr<cv::Vec3f>(j) + Left;
    for (int i = 0; i < Right - Left; ++i) {
      for (int Channel = 0; Channel < 3; ++Channel) {
        Pixel[i][Channel] = (1.0f - Over[i][0]) * Pixel[i][Channel] + Over[i][1];
      }
    }
  }
}

void Draw_Board(const Board_View& View, const cv::Mat& Rays, double Blur_Pixels, cv::Mat& Picture) {
  const int Reach = Blur_Reach(Blur_Pixels);
  const int First = std::max(View.Box.y - Reach, 0);
  const int Last = std::min(View.Box.y + View.Box.height + Reach, Rays.rows);
  // Strips are cut alike for any number of threads, and high enough that their seams cost little.
  const int Height = std::max(48, 2 * Reach);
  cv::parallel_for_(cv::Range(0, (Last - First + Height - 1) / Height), [&](const cv::Range& R) {
    for (int k = R.start; k < R.end; ++k) {
      const int Top = First + k * Height;
      Draw_Strip(View, Rays, Blur_Pixels, cv::Range(Top, std::min(Top + Height, Last)), Picture);
    }
  });
}

// ---- The room behind it ----------------------------------------------------------------------

// Soft shapes in muted colours, as a room looks that is out of focus. Drawn small and enlarged:
// nothing in it is sharp, and nothing is laid out like a board.
cv::Mat Draw_Background(Random& Draw, int Width, int Height) {
  const int Long_Side = 160;
  const double Shrink = static_cast<double>(Long_Side) / std::max(Width, Height);
  const cv::Size Small(std::max(static_cast<int>(std::lround(Width * Shrink)), 2),
                       std::max(static_cast<int>(std::lround(Height * Shrink)), 2));
  const auto Muted = [&](double Low, double High) {
    const double Level = Draw.Between(Low, High);
    const double Blue = Draw.Between(0.75, 1.0), Green = Draw.Between(0.75, 1.0);
    return cv::Scalar(Level * Blue, Level * Green, Level * Draw.Between(0.75, 1.0));
  };

  // A wall that darkens towards one side, and a floor.
  cv::Mat Room(Small, CV_32FC3);
  const cv::Scalar Wall = Muted(60.0, 105.0), Floor = Muted(35.0, 75.0);
  const double Skirting = Small.height * Draw.Between(0.6, 0.9);
  const double Lean = Draw.Between(-0.15, 0.15), Fade = Draw.Between(-0.3, 0.3);
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
    const cv::Point Middle(Draw.Index(Small.width), Draw.Index(Small.height));
    const cv::Size Axes(5 + Draw.Index(Long_Side / 5), 5 + Draw.Index(Long_Side / 5));
    const double Turn_Deg = Draw.Between(0.0, 180.0);
    cv::ellipse(Room, Middle, Axes, Turn_Deg, 0.0, 360.0, Muted(25.0, Background_Brightest * 0.85),
                cv::FILLED);
  }
  cv::GaussianBlur(Room, Room, cv::Size(), Draw.Between(2.0, 4.5));
  cv::min(Room, cv::Scalar::all(Background_Brightest), Room);
  cv::Mat Background;
  cv::resize(Room, Background, cv::Size(Width, Height), 0.0, 0.0, cv::INTER_LINEAR);
  return Background;
}

// ---- Light, sensor ---------------------------------------------------------------------------

// Numbers with mean 0 and standard deviation 1 to pick from: drawing each grain afresh would cost
// more than all the rest of a photograph.
constexpr int Grain_Count = 4096;

std::array<float, Grain_Count> Make_Grains() {
  Random Draw(0, Grain);
  std::array<double, Grain_Count> Drawn{};
  double Sum = 0.0, Squares = 0.0;
  for (double& Value : Drawn) Sum += Value = Draw.Gaussian();
  for (double& Value : Drawn) {
    Value -= Sum / Grain_Count;
    Squares += Value * Value;
  }
  const double Scale = 1.0 / std::sqrt(Squares / Grain_Count);
  std::array<float, Grain_Count> Grains{};
  for (size_t k = 0; k < Drawn.size(); ++k) Grains[k] = static_cast<float>(Drawn[k] * Scale);
  return Grains;
}

// A 64-bit counter stepped and stirred: fast, and good enough to pick grains with.
std::uint64_t Next_Bits(std::uint64_t& State) {
  State += 0x9e3779b97f4a7c15u;
  std::uint64_t Bits = State;
  Bits = (Bits ^ (Bits >> 30)) * 0xbf58476d1ce4e5b9u;
  Bits = (Bits ^ (Bits >> 27)) * 0x94d049bb133111ebu;
  return Bits ^ (Bits >> 31);
}

// Light falls off linearly from one corner of the frame to the opposite one, the same two in all
// of a capture's photographs.
struct Lighting {
  float At_Origin = 1, Per_Column = 0, Per_Row = 0;
};

Lighting Light_Frame(const Options& Given) {
  Random Draw(Given.Seed, Lamp);
  const bool From_Right = Draw.Unit() < 0.5, From_Below = Draw.Unit() < 0.5;
  const double Across = Given.Lighting_Gradient / 2.0 / std::max(Given.Width - 1, 1);
  const double Down = Given.Lighting_Gradient / 2.0 / std::max(Given.Height - 1, 1);
  Lighting Light;
  Light.Per_Column = static_cast<float>(From_Right ? Across : -Across);
  Light.Per_Row = static_cast<float>(From_Below ? Down : -Down);
  Light.At_Origin = static_cast<float>(1.0 - (From_Right ? Given.Lighting_Gradient / 2.0 : 0.0) -
                                       (From_Below ? Given.Lighting_Gradient / 2.0 : 0.0));
  return Light;
}

// Lights the scene, adds the sensor's noise and rounds to bytes. Every row stirs a state of its
// own, so rows can be done in any order.
cv::Mat Expose(const Options& Given, std::size_t Index, const cv::Mat& Picture) {
  static const std::array<float, Grain_Count> Grains = Make_Grains();
  const Lighting Light = Light_Frame(Given);
  const float Noise = static_cast<float>(Given.Sensor_Noise);
  cv::Mat Photograph(Picture.size(), CV_8UC3);
  cv::parallel_for_(cv::Range(0, Picture.rows), [&](const cv::Range& Range) {
    for (int j = Range.start; j < Range.end; ++j) {
      std::uint64_t State = (static_cast<std::uint64_t>(Given.Seed) << 32) ^
                            (static_cast<std::uint64_t>(Index) << 16) ^
                            static_cast<std::uint64_t>(j);
      State = Next_Bits(State);
      const cv::Vec3f* From = Picture.ptr<cv::Vec3f>(j);
      cv::Vec3b* To = Photograph.ptr<cv::Vec3b>(j);
      const float Row_Light = Light.At_Origin + Light.Per_Row * static_cast<float>(j);
      for (int i = 0; i < Picture.cols; ++i) {
        const float Here = Row_Light + Light.Per_Column * static_cast<float>(i);
        std::uint64_t Bits = Next_Bits(State);
        for (int Channel = 0; Channel < 3; ++Channel) {
          const float Level = From[i][Channel] * Here + Noise * Grains[Bits % Grain_Count];
          Bits >>= 16;
          // NOLINTNEXTLINE(bugprone-incorrect-roundings): never negative, and lround takes longer
          To[i][Channel] = static_cast<uchar>(std::clamp(Level, 0.0f, 255.0f) + 0.5f);
        }
      }
    }
  });
  return Photograph;
}

}  // namespace

cv::Mat Make_Pixel_Rays(const Lens& Through, int Width, int Height) {
  const double Fold = Fold_Radius(Through);
  cv::Mat Rays(Height, Width, CV_32FC2);
  cv::parallel_for_(cv::Range(0, Height), [&](const cv::Range& Range) {
    for (int j = Range.start; j < Range.end; ++j) {
      cv::Vec2f* Ray = Rays.ptr<cv::Vec2f>(j);
      const double Y = (j - Through.Cy) / Through.Fy;
      double Ratio = 1.0;  // undistorted by distorted radius, a good start for the next pixel
      for (int i = 0; i < Width; ++i) {
        const double X = (i - Through.Cx) / Through.Fx;
        const double Distorted = std::sqrt(X * X + Y * Y);
        const double Radius = Undistorted_Radius(Through, Distorted, Fold, Ratio * Distorted);
        Ratio = Radius > 0.0 && Distorted > 0.0 ? Radius / Distorted : 1.0;
        const double Stretch = Distorted > 0.0 ? Radius / Distorted : 1.0;
        Ray[i] = cv::Vec2f(static_cast<float>(X * Stretch), static_cast<float>(Y * Stretch));
      }
    }
  });
  return Rays;
}

cv::Mat Render_Photograph(const Plan& Capture, std::size_t Index, const cv::Mat& Rays) {
  const Options& Given = Capture.Given;
  const Image_Truth& Image = Capture.Images.at(Index);
  cv::Mat Picture;
  if (Image.Kind == Row_Kind::Blank_Image) {
    Picture = cv::Mat(Given.Height, Given.Width, CV_32FC3, cv::Scalar::all(128.0));
    return Expose(Given, Index, Picture);
  }

  Random Draw(Given.Seed, Scene + 1000 * (1 + static_cast<unsigned>(Index)));
  Picture = Draw_Background(Draw, Given.Width, Given.Height);
  // Matt paper looks darker the flatter the light falls on it; the lamp is near the camera.
  const float Shade = static_cast<float>(0.7 + 0.3 * Image.Transform_Cam_Chart(2, 2));
  Draw_Board(View_Board(Capture, Image, Shade * Paper_White, Shade * Ink_Black), Rays,
             Given.Blur_Pixels, Picture);
  return Expose(Given, Index, Picture);
}

}  // namespace simulate
