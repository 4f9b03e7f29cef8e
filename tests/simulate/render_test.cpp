// SPDX-License-Identifier: Apache-2.0
//
// Photographs compared with OpenCV's camera model: each pixel with the area of the squares
// projected into it, and the corners that OpenCV finds with those that it projects.
#include "simulate/render.h"

#include "simulate/simulate.h"
#include "tests/simulate/opencv_view.h"
#include "tests/support/largest.h"

#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using simulate::Image_Truth;
using simulate::Make_Pixel_Rays;
using simulate::Make_Plan;
using simulate::Options;
using simulate::Plan;
using simulate::Render_Photograph;

Options Capture_Of(int Width, int Height, unsigned Seed = 1) {
  Options Settings;
  Settings.Seed = Seed;
  Settings.Width = Width;
  Settings.Height = Height;
  return Settings;
}

// A capture without noise, blur and light gradient: each pixel shows only the area that it covers.
Options Bare(Options Settings) {
  Settings.Sensor_Noise = 0.0;
  Settings.Blur_Pixels = 0.0;
  Settings.Lighting_Gradient = 0.0;
  return Settings;
}

cv::Mat Rays_Of(const Plan& Capture) {
  return Make_Pixel_Rays(Capture.True_Lens, Capture.Settings.Width, Capture.Settings.Height);
}

bool Same_Pixels(const cv::Mat& A, const cv::Mat& B) {
  return A.size() == B.size() && A.type() == B.type() && cv::norm(A, B, cv::NORM_INF) == 0.0;
}

std::vector<cv::Point2d> True_Corners(const Plan& Capture, const Image_Truth& Image) {
  std::vector<cv::Point2d> Squares;
  for (int r = 0; r < Capture.Settings.Board_Rows; ++r) {
    for (int c = 0; c < Capture.Settings.Board_Cols; ++c) Squares.emplace_back(c, r);
  }
  return Opencv_Project(Capture, Image, Squares);
}

// The distorted outline of a rectangle on the board, given in squares.
std::vector<cv::Point2d> Outline(const Plan& Capture, const Image_Truth& Image, double Left,
                                 double Top, double Right, double Bottom) {
  constexpr int Steps = 24;
  std::vector<cv::Point2d> Squares;
  for (int k = 0; k < Steps; ++k) {
    Squares.emplace_back(Left + (Right - Left) * k / Steps, Top);
  }
  for (int k = 0; k < Steps; ++k) {
    Squares.emplace_back(Right, Top + (Bottom - Top) * k / Steps);
  }
  for (int k = 0; k < Steps; ++k) {
    Squares.emplace_back(Right - (Right - Left) * k / Steps, Bottom);
  }
  for (int k = 0; k < Steps; ++k) {
    Squares.emplace_back(Left, Bottom - (Bottom - Top) * k / Steps);
  }
  return Opencv_Project(Capture, Image, Squares);
}

// The part of a polygon on the side of a line where Nx * x + Ny * y <= Limit.
std::vector<cv::Point2d> Clipped(const std::vector<cv::Point2d>& Polygon, double Nx, double Ny,
                                 double Limit) {
  std::vector<cv::Point2d> Kept;
  for (size_t k = 0; k < Polygon.size(); ++k) {
    const cv::Point2d A = Polygon[k], B = Polygon[(k + 1) % Polygon.size()];
    const double Over_A = Nx * A.x + Ny * A.y - Limit, Over_B = Nx * B.x + Ny * B.y - Limit;
    if (Over_A <= 0.0) Kept.push_back(A);
    if ((Over_A < 0.0 && Over_B > 0.0) || (Over_A > 0.0 && Over_B < 0.0)) {
      Kept.push_back(A + (B - A) * (Over_A / (Over_A - Over_B)));
    }
  }
  return Kept;
}

double Area(const std::vector<cv::Point2d>& Polygon) {
  double Twice = 0.0;
  for (size_t k = 0; k < Polygon.size(); ++k) {
    Twice += Polygon[k].cross(Polygon[(k + 1) % Polygon.size()]);
  }
  return std::abs(Twice) / 2.0;
}

// Adds to every pixel the part of its area that lies inside the polygon.
void Add_Area(const std::vector<cv::Point2d>& Polygon, cv::Mat& Areas) {
  double Low = Areas.rows, High = -1.0;
  for (const cv::Point2d& Point : Polygon) {
    Low = std::min(Low, Point.y);
    High = std::max(High, Point.y);
  }
  for (int j = static_cast<int>(std::floor(Low)); j <= static_cast<int>(std::ceil(High)); ++j) {
    const auto Band = Clipped(Clipped(Polygon, 0, 1, j + 0.5), 0, -1, -(j - 0.5));
    if (Band.empty()) continue;
    double Left = Areas.cols, Right = -1.0;
    for (const cv::Point2d& Point : Band) {
      Left = std::min(Left, Point.x);
      Right = std::max(Right, Point.x);
    }
    for (int i = static_cast<int>(std::floor(Left)); i <= static_cast<int>(std::ceil(Right)); ++i) {
      const auto Inside = Clipped(Clipped(Band, 1, 0, i + 0.5), -1, 0, -(i - 0.5));
      if (j >= 0 && i >= 0 && j < Areas.rows && i < Areas.cols)
        Areas.at<double>(j, i) += Area(Inside);
    }
  }
}

// Detects the board as in large captures: in a copy 720 pixels wide, refined at full size.
bool Find_Corners(const Options& Settings, const cv::Mat& Photograph,
                  std::vector<cv::Point2f>& Corners) {
  const float Scale = Settings.Width >= 1440 ? static_cast<float>(Settings.Width / 720.0) : 1.0f;
  const int Window = Scale > 1.0f ? std::min(static_cast<int>(std::lround(Scale * 3.0f)), 15) : 3;
  cv::Mat Grey, Reduced;
  cv::cvtColor(Photograph, Grey, cv::COLOR_BGR2GRAY);
  Reduced = Grey;
  if (Scale > 1.0f) {
    const cv::Size Small(
        720, static_cast<int>(std::lround(static_cast<float>(Settings.Height) / Scale)));
    cv::resize(Photograph, Reduced, Small, 0, 0, cv::INTER_LINEAR);
    cv::cvtColor(Reduced, Reduced, cv::COLOR_BGR2GRAY);
  }
  const int Flags =
      cv::CALIB_CB_ADAPTIVE_THRESH | cv::CALIB_CB_NORMALIZE_IMAGE | cv::CALIB_CB_FAST_CHECK;
  if (!cv::findChessboardCorners(Reduced, cv::Size(Settings.Board_Cols, Settings.Board_Rows),
                                 Corners, Flags)) {
    return false;
  }
  for (cv::Point2f& Corner : Corners) Corner *= Scale;
  cv::cornerSubPix(Grey, Corners, cv::Size(Window, Window), cv::Size(-1, -1),
                   cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1));
  return true;
}

// The point near Start where the gradient of the photograph, smoothed with a Gaussian, vanishes.
// Around a corner of four squares the image has point symmetry, so this is the corner itself,
// without a bias from interpolation or from a window of whole pixels.
cv::Point2d Balance_Point(const cv::Mat& Grey, cv::Point2d Start) {
  constexpr double Deviation = 2.0;
  constexpr int Reach = 10;
  for (int Step = 0; Step < 30; ++Step) {
    const int Column = static_cast<int>(std::lround(Start.x));
    const int Row = static_cast<int>(std::lround(Start.y));
    double Gx = 0, Gy = 0, Hxx = 0, Hxy = 0, Hyy = 0;
    for (int j = Row - Reach; j <= Row + Reach; ++j) {
      for (int i = Column - Reach; i <= Column + Reach; ++i) {
        const double X = (i - Start.x) / Deviation, Y = (j - Start.y) / Deviation;
        const double Weight = std::exp(-(X * X + Y * Y) / 2.0) * Grey.at<uchar>(j, i);
        Gx += Weight * X;
        Gy += Weight * Y;
        Hxx += Weight * (X * X - 1.0);
        Hxy += Weight * X * Y;
        Hyy += Weight * (Y * Y - 1.0);
      }
    }
    const double Determinant = Hxx * Hyy - Hxy * Hxy;
    const cv::Point2d Move(-Deviation * (Hyy * Gx - Hxy * Gy) / Determinant,
                           -Deviation * (Hxx * Gy - Hxy * Gx) / Determinant);
    Start += Move;
    if (cv::norm(Move) < 1e-7) break;
  }
  return Start;
}

struct Misses {
  double Mean = 0, Largest = 0;
  cv::Point2d Bias{0, 0};
  size_t Count = 0;

  void Add(const cv::Point2d& Miss) {
    const double Length = cv::norm(Miss);
    const double Old = static_cast<double>(Count), New = static_cast<double>(++Count);
    Mean = (Mean * Old + Length) / New;
    Bias = (Bias * Old + Miss) / New;
    Largest = Larger(Largest, Length);
  }
};

// ---- Same seed, same pixels ------------------------------------------------------------------

TEST(RenderPhotograph, DrawsTheSamePixelsFromTheSameSeedAndOthersFromAnother) {
  Options Settings = Capture_Of(320, 240, 5);
  Settings.Image_Count = 3;
  Settings.Blank_Count = 1;
  const Plan First = Make_Plan(Settings), Second = Make_Plan(Settings);
  Settings.Seed = 6;
  const Plan Other = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(First);
  for (size_t i = 0; i < 3; ++i) {
    const cv::Mat Photograph = Render_Photograph(First, i, Rays);
    EXPECT_TRUE(Same_Pixels(Photograph, Render_Photograph(Second, i, Rays_Of(Second))));
    EXPECT_FALSE(Same_Pixels(Photograph, Render_Photograph(Other, i, Rays)));
    EXPECT_FALSE(Same_Pixels(Photograph, Render_Photograph(First, (i + 1) % 3, Rays)));
  }
}

// Without noise and light, and with a board that is seen from its edge, a picture is its room
// alone.
TEST(RenderPhotograph, ShowsAnotherRoomForEachSeedAndImage) {
  const auto Room = [](unsigned Seed, std::size_t Index) {
    Options Settings = Bare(Capture_Of(64, 48, Seed));
    Settings.Image_Count = 2;
    Plan Capture = Make_Plan(Settings);
    Capture.Images[Index].Transform_Cam_Chart << 1, 0, 0, 0,  //
        0, 0, -1, 0,                                          //
        0, 1, 0, 1,                                           //
        0, 0, 0, 1;
    return Render_Photograph(Capture, Index, Rays_Of(Capture));
  };
  EXPECT_TRUE(Same_Pixels(Room(1, 0), Room(1, 0)));
  EXPECT_FALSE(Same_Pixels(Room(1, 0), Room(1, 1)));
  EXPECT_FALSE(Same_Pixels(Room(1, 0), Room(2, 0)));
}

TEST(RenderPhotograph, ScattersNoiseByTheSeedAndTheImage) {
  Options Settings = Capture_Of(64, 48, 1);
  Settings.Image_Count = Settings.Blank_Count = 2;
  Settings.Lighting_Gradient = 0.0;
  const Plan First = Make_Plan(Settings);
  Settings.Seed = 2;
  const Plan Other = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(First);
  const cv::Mat Noise = Render_Photograph(First, 0, Rays);
  EXPECT_FALSE(Same_Pixels(Noise, Render_Photograph(First, 1, Rays)));
  EXPECT_FALSE(Same_Pixels(Noise, Render_Photograph(Other, 0, Rays)));
  // Nor do rows or channels repeat each other.
  EXPECT_FALSE(Same_Pixels(Noise.row(0), Noise.row(1)));
  std::vector<cv::Mat> Channels;
  cv::split(Noise, Channels);
  EXPECT_FALSE(Same_Pixels(Channels[0], Channels[1]));
  EXPECT_FALSE(Same_Pixels(Channels[1], Channels[2]));
}

TEST(RenderPhotograph, DrawsTheSamePixelsWithAnyNumberOfThreads) {
  Options Settings = Capture_Of(640, 480);
  Settings.Image_Count = 2;
  const Plan Capture = Make_Plan(Settings);
  const int Threads = cv::getNumThreads();
  cv::setNumThreads(2);
  const cv::Mat Shared_Rays = Rays_Of(Capture);
  const cv::Mat Shared = Render_Photograph(Capture, 1, Shared_Rays);
  cv::setNumThreads(1);
  const cv::Mat Alone_Rays = Rays_Of(Capture);
  const cv::Mat Alone = Render_Photograph(Capture, 1, Alone_Rays);
  cv::setNumThreads(Threads);
  EXPECT_TRUE(Same_Pixels(Alone_Rays, Shared_Rays));
  EXPECT_TRUE(Same_Pixels(Alone, Shared));
}

// ---- Geometry --------------------------------------------------------------------------------

TEST(MakePixelRays, LooksWhereOpencvDrawsFrom) {
  Options Settings = Capture_Of(320, 240);
  Settings.K1 = -0.3;
  Settings.K2 = 0.12;
  Settings.Norm_Fy = 1.5;
  const simulate::Lens Model = Make_Plan(Settings).True_Lens;
  const cv::Mat Rays = Make_Pixel_Rays(Model, Settings.Width, Settings.Height);
  std::vector<cv::Point3d> Looks;
  for (int j = 0; j < Rays.rows; ++j) {
    for (int i = 0; i < Rays.cols; ++i) {
      const cv::Vec2f Ray = Rays.at<cv::Vec2f>(j, i);
      Looks.emplace_back(Ray[0], Ray[1], 1.0);
    }
  }
  std::vector<cv::Point2d> Drawn;
  cv::projectPoints(Looks, cv::Vec3d(0, 0, 0), cv::Vec3d(0, 0, 0),
                    cv::Matx33d(Model.Fx, 0, Model.Cx, 0, Model.Fy, Model.Cy, 0, 0, 1),
                    cv::Vec<double, 5>(Model.K1, Model.K2, 0, 0, 0), Drawn);
  // Rays are floats below 1: half a step is 3e-8, at a focal length of 360 pixels 1.1e-5.
  constexpr double Float_Pixels = 2e-5;
  for (int k = 0; k < static_cast<int>(Drawn.size()); ++k) {
    const cv::Point2d& Pixel = Drawn[static_cast<size_t>(k)];
    const int Col = k % Rays.cols, Row = k / Rays.cols;
    ASSERT_NEAR(Pixel.x, Col, Float_Pixels);
    ASSERT_NEAR(Pixel.y, Row, Float_Pixels);
  }
}

// The ray of a pixel as far from the axis as Distorted, by halving: in long double, so that
// rounding it to float is the only error.
long double Exact_Stretch(const simulate::Lens& Model, long double Distorted) {
  long double Low = 0.0L, High = 2.0L * Distorted;
  for (int Step = 0; Step < 200; ++Step) {
    const long double Radius = 0.5L * (Low + High), Square = Radius * Radius;
    (Radius * (1.0L + Square * (Model.K1 + Square * Model.K2)) < Distorted ? Low : High) = Radius;
  }
  return Low / Distorted;
}

TEST(MakePixelRays, AreTheNearestFloatsToTheExactRays) {
  Options Settings = Capture_Of(64, 48);
  Settings.K1 = -0.2;
  Settings.K2 = 0.05;
  const simulate::Lens Model = Make_Plan(Settings).True_Lens;
  const cv::Mat Rays = Make_Pixel_Rays(Model, Settings.Width, Settings.Height);
  for (int j = 0; j < Rays.rows; ++j) {
    for (int i = 0; i < Rays.cols; ++i) {
      const long double X = (i - static_cast<long double>(Model.Cx)) / Model.Fx;
      const long double Y = (j - static_cast<long double>(Model.Cy)) / Model.Fy;
      const long double Stretch = Exact_Stretch(Model, std::sqrt(X * X + Y * Y));
      const cv::Vec2f Ray = Rays.at<cv::Vec2f>(j, i);
      const long double Exact[2] = {X * Stretch, Y * Stretch};
      for (int k = 0; k < 2; ++k) {
        const float Step = std::nextafter(std::abs(Ray[k]), 10.0f) - std::abs(Ray[k]);
        // Half a step, and as much as what was computed in double is off itself.
        ASSERT_LE(std::abs(Ray[k] - Exact[k]), 0.501L * Step) << i << ' ' << j;
      }
    }
  }
}

TEST(MakePixelRays, SeesNothingWhereTheLensFoldsBack) {
  simulate::Lens Model{200.0, 200.0, 160.0, 120.0, -0.8, 0.0};
  // r - 0.8 r^3 is largest at r = sqrt(1 / 2.4) = 0.6455, where it is 0.4303: 86.07 pixels.
  const cv::Mat Rays = Make_Pixel_Rays(Model, 320, 240);
  for (int i = 0; i < 320; ++i) {
    EXPECT_EQ(std::isnan(Rays.at<cv::Vec2f>(120, i)[0]), std::abs(i - 160) > 86) << i;
  }
}

// Every pixel of the board compared with the exact area of white and black squares in it, from the
// projected squares clipped to the pixel. Curved edges are polygons of 24 steps per side, with an
// error below 1e-4 pixels.
TEST(RenderPhotograph, ShowsInEveryPixelTheAreaOfTheSquaresInIt) {
  Options Settings = Bare(Capture_Of(320, 240, 2));
  Settings.Board_Cols = 6;
  Settings.Board_Rows = 5;
  Settings.Image_Count = 6;
  Settings.K1 = -0.3;
  Settings.K2 = 0.12;
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(i);
    const Image_Truth& Image = Capture.Images[i];
    cv::Mat White = cv::Mat::zeros(Settings.Height, Settings.Width, CV_64F), Black = White.clone();
    for (int r = -2; r <= Settings.Board_Rows; ++r) {
      for (int c = -2; c <= Settings.Board_Cols; ++c) {
        const bool Margin =
            r == -2 || c == -2 || r == Settings.Board_Rows || c == Settings.Board_Cols;
        // The square up and left of the first inner corner, (-1, -1), is black.
        const bool Is_Black = !Margin && (r + c) % 2 == 0;
        Add_Area(Outline(Capture, Image, c, r, c + 1, r + 1), Is_Black ? Black : White);
      }
    }
    const cv::Mat Photograph = Render_Photograph(Capture, i, Rays);
    // The grey levels of the print, from pixels that show only white or only black.
    double White_Level = -1, Black_Level = -1;
    for (int k = 0; k < Settings.Width * Settings.Height; ++k) {
      const int Row = k / Settings.Width, Column = k % Settings.Width;
      const double Level = Photograph.at<cv::Vec3b>(Row, Column)[0];
      if (White.at<double>(Row, Column) > 1.0 - 1e-9) White_Level = Level;
      if (Black.at<double>(Row, Column) > 1.0 - 1e-9) Black_Level = Level;
    }
    ASSERT_GT(White_Level, 130.0);
    ASSERT_LT(Black_Level, 40.0);

    // Both levels and the pixel are rounded, by half a level each; a pixel mixes the two, so that
    // an exact area is within 1 level. Edges are taken as straight and parallel within a pixel. At
    // a focal length of 352 pixels a board tilted by 45 degrees and this lens change the scale by
    // up to 0.6 percent a pixel, a quarter of which is the miss at a pixel's rim: 0.0015 pixels or
    // 0.3 levels of 190. Where squares' corners meet, a quarter of the pixel is sampled at 64
    // points: the two edges through it pass at most 2 * 8 of them by, of which half are on the
    // wrong side at worst: 8 / 64 / 4 of the contrast.
    const double Edge_Tolerance = 1.3;
    const double Corner_Tolerance = Edge_Tolerance + 8.0 / 64.0 / 4.0 * (White_Level - Black_Level);
    std::vector<cv::Point2d> Squares_Corners;
    for (int r = -1; r <= Settings.Board_Rows; ++r) {
      for (int c = -1; c <= Settings.Board_Cols; ++c) Squares_Corners.emplace_back(c, r);
    }
    const std::vector<cv::Point2d> Corners = Opencv_Project(Capture, Image, Squares_Corners);
    int Mixed = 0;
    double Sum = 0.0;
    for (int Row = 0; Row < Settings.Height; ++Row) {
      for (int Column = 0; Column < Settings.Width; ++Column) {
        const double W = White.at<double>(Row, Column), B = Black.at<double>(Row, Column);
        if (W + B < 1.0 - 1e-6) continue;  // background shows, whose level isn't known
        const cv::Vec3b Seen = Photograph.at<cv::Vec3b>(Row, Column);
        ASSERT_EQ(Seen[0], Seen[1]);
        ASSERT_EQ(Seen[0], Seen[2]);
        const bool Has_Corner =
            std::any_of(Corners.begin(), Corners.end(), [&](const cv::Point2d& Corner) {
              return std::abs(Corner.x - Column) < 1.0 && std::abs(Corner.y - Row) < 1.0;
            });
        const double Miss = Seen[0] - (W * White_Level + B * Black_Level);
        ASSERT_LE(std::abs(Miss), Has_Corner ? Corner_Tolerance : Edge_Tolerance)
            << "row " << Row << " column " << Column << " white " << W << " black " << B;
        if (W > 0.01 && B > 0.01) {
          ++Mixed;
          Sum += Miss;
        }
      }
    }
    EXPECT_GT(Mixed, 500);
    // Rounding errors are even within half a level, three of them to a pixel, two of which are
    // shared by all pixels: their mean can stay as large as one half.
    EXPECT_LE(std::abs(Sum / Mixed), 0.5);
  }
}

// The board is drawn in steps of half a pixel before it is blurred. Steps of a whole pixel would
// show edges up to 0.03 pixels off, and that shrinks with the square of the step: 0.0075. Rounding
// to levels adds a third of a level to each of some 60 pixels, at 190 levels of contrast below
// 0.001. Two coordinates can add up: 0.015.
TEST(RenderPhotograph, PutsCornersWhereTheLensDrawsThem) {
  constexpr double Largest_Miss = 0.015;
  // The same with even rather than worst steps: 0.0075 / sqrt(3).
  constexpr double Mean_Miss = 0.0043;
  for (const double K1 : {-0.3, -0.09, 0.0}) {
    SCOPED_TRACE(K1);
    Options Settings = Capture_Of(800, 600, 3);
    Settings.Image_Count = 8;
    Settings.Sensor_Noise = 0.0;
    Settings.Lighting_Gradient = 0.0;
    Settings.K1 = K1;
    Settings.K2 = K1 == 0.0 ? 0.0 : 0.03;
    const Plan Capture = Make_Plan(Settings);
    const cv::Mat Rays = Rays_Of(Capture);
    Misses Missed;
    for (size_t i = 0; i < Capture.Images.size(); ++i) {
      cv::Mat Grey;
      cv::cvtColor(Render_Photograph(Capture, i, Rays), Grey, cv::COLOR_BGR2GRAY);
      for (const cv::Point2d& True : True_Corners(Capture, Capture.Images[i])) {
        // The start is away from the corner, so that a search that does not move fails.
        Missed.Add(Balance_Point(Grey, True + cv::Point2d(0.6, -0.4)) - True);
      }
    }
    EXPECT_EQ(Missed.Count, 8u * 88u);
    EXPECT_LE(Missed.Mean, Mean_Miss);
    EXPECT_LE(Missed.Largest, Largest_Miss);
  }
}

// ---- Detection -------------------------------------------------------------------------------

// cornerSubPix stops at the first step below 0.1 pixels, so a corner can have an error of that
// size. Its 7 by 7 window reads gradients from whole pixels, which adds up to half of that, and
// sensor noise of 2 in 190 levels adds some hundredths. Over thousands of corners in all directions
// these errors cancel.
constexpr double Largest_Found_Miss = 0.2;
constexpr double Mean_Found_Miss = 0.05;
// Errors of 0.05 pixels per corner average to at most four standard errors.
double Bias_Of(size_t Count) {
  return 4.0 * Mean_Found_Miss / std::sqrt(static_cast<double>(Count));
}

void Expect_Found(const Options& Settings) {
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  Misses Missed;
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(Capture.Images[i].Name);
    std::vector<cv::Point2f> Found;
    ASSERT_TRUE(Find_Corners(Settings, Render_Photograph(Capture, i, Rays), Found));
    const std::vector<cv::Point2d> True = True_Corners(Capture, Capture.Images[i]);
    ASSERT_EQ(Found.size(), True.size());
    for (size_t k = 0; k < True.size(); ++k) Missed.Add(cv::Point2d(Found[k]) - True[k]);
  }
  EXPECT_LE(Missed.Largest, Largest_Found_Miss);
  EXPECT_LE(Missed.Mean, Mean_Found_Miss);
  EXPECT_LE(std::abs(Missed.Bias.x), Bias_Of(Missed.Count));
  EXPECT_LE(std::abs(Missed.Bias.y), Bias_Of(Missed.Count));
}

TEST(RenderPhotograph, LetsOpencvFindEveryCornerInOrderAtOrdinarySizes) {
  for (unsigned Seed = 1; Seed <= 2; ++Seed) {
    SCOPED_TRACE(Seed);
    Expect_Found(Capture_Of(640, 480, Seed));
  }
  Options Wide = Capture_Of(1280, 720, 4);
  Wide.Image_Count = 12;
  Expect_Found(Wide);
  Expect_Found(Capture_Of(480, 640, 5));
}

TEST(RenderPhotograph, LetsOpencvFindEveryCornerInReducedLargeImages) {
  Options Settings = Capture_Of(1920, 1080, 6);
  Settings.Image_Count = 8;
  Expect_Found(Settings);
  Settings = Capture_Of(3840, 2160, 7);
  Settings.Image_Count = 1;
  Expect_Found(Settings);
}

TEST(RenderPhotograph, LetsOpencvFindEveryCornerThroughABentLens) {
  Options Settings = Capture_Of(800, 600, 8);
  Settings.K1 = -0.3;
  Settings.K2 = 0.1;
  Settings.Norm_Fx = 0.9;
  Expect_Found(Settings);
  Settings.K1 = 0.15;
  Settings.K2 = -0.02;
  Expect_Found(Settings);
}

TEST(RenderPhotograph, LetsOpencvFindOtherBoardsFromTheirFirstCorner) {
  const int Boards[][2] = {{9, 6}, {6, 9}, {5, 4}, {4, 3}, {8, 6}, {9, 7}};
  for (const auto& Board : Boards) {
    SCOPED_TRACE(testing::PrintToString(Board));
    Options Settings = Capture_Of(640, 480, 9);
    Settings.Image_Count = 8;
    Settings.Board_Cols = Board[0];
    Settings.Board_Rows = Board[1];
    Expect_Found(Settings);
  }
}

// ---- Light -----------------------------------------------------------------------------------

TEST(RenderPhotograph, ShowsNoBoardInABlankImage) {
  Options Settings = Capture_Of(640, 480);
  Settings.Image_Count = 1;
  Settings.Blank_Count = 1;
  Settings.Sensor_Noise = 0.0;
  Settings.Lighting_Gradient = 0.0;
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Flat = Render_Photograph(Capture, 0, Rays_Of(Capture));
  EXPECT_TRUE(Same_Pixels(Flat, cv::Mat(480, 640, CV_8UC3, cv::Scalar::all(128))));
  std::vector<cv::Point2f> Found;
  EXPECT_FALSE(Find_Corners(Settings, Flat, Found));
}

TEST(RenderPhotograph, ScattersGreyLevelsByTheSensorsNoise) {
  for (const double Noise : {1.0, 2.0, 6.0}) {
    SCOPED_TRACE(Noise);
    Options Settings = Capture_Of(640, 480);
    Settings.Image_Count = 1;
    Settings.Blank_Count = 1;
    Settings.Sensor_Noise = Noise;
    Settings.Lighting_Gradient = 0.0;
    const Plan Capture = Make_Plan(Settings);
    cv::Scalar Mean, Deviation;
    cv::meanStdDev(Render_Photograph(Capture, 0, Rays_Of(Capture)), Mean, Deviation);
    // Rounding adds the variance of a uniform distribution over one level, 1 / 12. With 307200
    // pixels the mean is within 4 sigma / sqrt(n) and the deviation within 4 sigma / sqrt(2 n);
    // both are rounded up to allow for the few thousand values that the noise is picked from.
    const double Expected = std::sqrt(Noise * Noise + 1.0 / 12.0);
    for (int Channel = 0; Channel < 3; ++Channel) {
      EXPECT_NEAR(Mean[Channel], 128.0, 0.01 * Expected);
      EXPECT_NEAR(Deviation[Channel], Expected, 0.01 * Expected);
    }
  }
}

TEST(RenderPhotograph, DimsTheFrameFromOneCornerToTheOpposite) {
  for (unsigned Seed = 1; Seed <= 6; ++Seed) {
    SCOPED_TRACE(Seed);
    Options Settings = Capture_Of(320, 240, Seed);
    Settings.Image_Count = 1;
    Settings.Blank_Count = 1;
    Settings.Sensor_Noise = 0.0;
    Settings.Lighting_Gradient = 0.5;
    const Plan Capture = Make_Plan(Settings);
    const cv::Mat Flat = Render_Photograph(Capture, 0, Rays_Of(Capture));
    const int Corners[] = {Flat.at<cv::Vec3b>(0, 0)[0], Flat.at<cv::Vec3b>(0, 319)[0],
                           Flat.at<cv::Vec3b>(239, 319)[0], Flat.at<cv::Vec3b>(239, 0)[0]};
    const std::ptrdiff_t Lit = std::max_element(Corners, Corners + 4) - Corners;
    EXPECT_EQ(Corners[Lit], 128);
    EXPECT_EQ(Corners[(Lit + 1) % 4], 96);
    EXPECT_EQ(Corners[(Lit + 2) % 4], 64);
    EXPECT_EQ(Corners[(Lit + 3) % 4], 96);
  }
}

TEST(RenderPhotograph, KeepsTheBackgroundDarkerThanTheWhiteMarginAndUneven) {
  Options Settings = Bare(Capture_Of(640, 480, 10));
  Settings.Image_Count = 12;
  const Plan Capture = Make_Plan(Settings);
  const cv::Mat Rays = Rays_Of(Capture);
  for (size_t i = 0; i < Capture.Images.size(); ++i) {
    SCOPED_TRACE(i);
    const Image_Truth& Image = Capture.Images[i];
    cv::Mat Board = cv::Mat::zeros(Settings.Height, Settings.Width, CV_64F), Margin = Board.clone();
    Add_Area(Outline(Capture, Image, -2, -2, Settings.Board_Cols + 1, Settings.Board_Rows + 1),
             Board);
    Add_Area(Outline(Capture, Image, -2, -2, Settings.Board_Cols + 1, -1), Margin);
    cv::Mat Grey;
    cv::cvtColor(Render_Photograph(Capture, i, Rays), Grey, cv::COLOR_BGR2GRAY);
    double Darkest_Margin = 0, Brightest_Room = 0, Darkest_Room = 0;
    cv::minMaxLoc(Grey, &Darkest_Margin, nullptr, nullptr, nullptr, Margin > 0.999);
    cv::minMaxLoc(Grey, &Darkest_Room, &Brightest_Room, nullptr, nullptr, Board == 0.0);
    EXPECT_LT(Brightest_Room, 0.85 * Darkest_Margin);
    EXPECT_GT(Brightest_Room - Darkest_Room, 15.0);
  }
}

TEST(RenderPhotograph, BlursEdgesByTheOpticsDeviation) {
  // Across a long straight edge the derivative of the light is the blur's bell and the pixel's box:
  // its variance is the blur's plus 1 / 12. A frontal board with an upright edge shows it along
  // rows. Levels are rounded to 0.3 of 190, whose weight at 8 pixels' distance keeps the variance
  // within 0.1.
  for (const double Blur : {0.7, 1.5}) {
    SCOPED_TRACE(Blur);
    Options Settings = Bare(Capture_Of(640, 480));
    Settings.Image_Count = 1;
    Settings.Board_Cols = 3;
    Settings.Board_Rows = 4;
    Settings.Blur_Pixels = Blur;
    Settings.K1 = Settings.K2 = 0.0;
    Plan Capture = Make_Plan(Settings);
    // The board is parallel to the image plane, and a square is 64 pixels wide.
    Image_Truth& Image = Capture.Images[0];
    Image.Transform_Cam_Chart.setIdentity();
    Image.Transform_Cam_Chart(0, 3) = -0.0123;
    Image.Transform_Cam_Chart(1, 3) = -0.045;
    Image.Transform_Cam_Chart(2, 3) = Capture.True_Lens.Fx * Settings.Square_Size / 64.0;
    cv::Mat Grey;
    cv::cvtColor(Render_Photograph(Capture, 0, Rays_Of(Capture)), Grey, cv::COLOR_BGR2GRAY);
    const std::vector<cv::Point2d> Edge_Centre = Opencv_Project(Capture, Image, {{1.0, 0.5}});
    const int Row = static_cast<int>(std::lround(Edge_Centre[0].y));
    const int Column = static_cast<int>(std::lround(Edge_Centre[0].x));
    double Sum = 0, Moment = 0, Square = 0;
    for (int i = Column - 8; i < Column + 8; ++i) {
      const double Step = Grey.at<uchar>(Row, i + 1) - Grey.at<uchar>(Row, i);
      const double At = i + 0.5;
      Sum += Step;
      Moment += Step * At;
      Square += Step * At * At;
    }
    const double Mean = Moment / Sum;
    EXPECT_NEAR(Mean, Edge_Centre[0].x, 0.02);
    EXPECT_NEAR(Square / Sum - Mean * Mean, Blur * Blur + 1.0 / 12.0, 0.1);
  }
}

// The board is blurred in strips. Light from beyond a strip has its part in it as far as the blur
// reaches, as where the whole sharp picture is blurred at once. Both round to levels, half a level
// each.
TEST(RenderPhotograph, BlursTheSameInEveryRow) {
  constexpr double Blur = 8.0;
  constexpr int Square_Px = 41, Edges = 9, Kernel = 8 * 8 + 1;
  Options Settings = Bare(Capture_Of(640, 640));
  Settings.Image_Count = 1;
  Settings.Board_Cols = 3;
  Settings.Board_Rows = 8;
  Settings.K1 = Settings.K2 = 0.0;
  Plan Sharp = Make_Plan(Settings);
  Settings.Blur_Pixels = Blur;
  Plan Soft = Make_Plan(Settings);
  for (Plan* Capture : {&Sharp, &Soft}) {
    Image_Truth& Image = Capture->Images[0];
    Image.Transform_Cam_Chart.setIdentity();
    Image.Transform_Cam_Chart(0, 3) = -Settings.Square_Size;
    Image.Transform_Cam_Chart(1, 3) = -3.5 * Settings.Square_Size;
    Image.Transform_Cam_Chart(2, 3) = Capture->True_Lens.Fx * Settings.Square_Size / Square_Px;
  }
  cv::Mat Sharp_Grey, Grey;
  cv::cvtColor(Render_Photograph(Sharp, 0, Rays_Of(Sharp)), Sharp_Grey, cv::COLOR_BGR2GRAY);
  cv::cvtColor(Render_Photograph(Soft, 0, Rays_Of(Soft)), Grey, cv::COLOR_BGR2GRAY);
  cv::Mat Levels, Wanted;
  Sharp_Grey.convertTo(Levels, CV_64F);
  cv::GaussianBlur(Levels, Wanted, cv::Size(Kernel, Kernel), Blur);
  const std::vector<cv::Point2d> Ends =
      Opencv_Project(Soft, Soft.Images[0], {{0.5, -1.0}, {0.5, Edges - 1.0}});
  double Worst = 0.0;
  for (int Row = static_cast<int>(Ends[0].y); Row < Ends[1].y; ++Row) {
    const int Column = static_cast<int>(Ends[0].x);
    Worst = Larger(Worst, std::abs(Grey.at<uchar>(Row, Column) - Wanted.at<double>(Row, Column)));
  }
  EXPECT_LE(Worst, 1.0);
}

}  // namespace
