// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/cross_check.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/geometry/units.h"
#include "rigsync/solve/exact_square.h"
#include "rigsync/solve/lens_effect.h"
#include "rigsync/solve/lens_refinement.h"
#include "rigsync/solve/picture_shift.h"
#include "rigsync/solve/solution_difference.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <cmath>
#include <optional>

namespace rigsync {
namespace {

constexpr int Long_Side_Points = 9, Short_Side_Points = 5;

// The motion of a mount and the change of the lens, which err together.
using Mount_And_Lens = Eigen::Matrix<double, 12, 1>;
using Mount_And_Lens_Matrix = Eigen::Matrix<double, 12, 12>;

struct Solved_Half {
  Cross_Half Answer;
  Mount_Uncertainty Mount;
  Mount_And_Lens_Matrix Covariance = Mount_And_Lens_Matrix::Zero();
};

// Those that the whole solve could use, every other one. Boards that are cut off are dealt out
// apart, since a half's lens needs whole ones.
std::vector<Row_Facts> Half_Of(const std::vector<Row_Facts>& Facts, const Joint_Solution& Whole,
                               std::size_t Half) {
  std::vector<Row_Facts> Rows;
  std::size_t Whole_Boards = 0, Cut_Off = 0;
  for (const Solved_Row& Solved : Whole.Rows) {
    const auto Found = std::find_if(Facts.begin(), Facts.end(), [&Solved](const Row_Facts& Each) {
      return Each.Row == Solved.Row;
    });
    if (Found == Facts.end()) continue;
    std::size_t& Dealt = Found->Corners.empty() ? Cut_Off : Whole_Boards;
    if (Dealt++ % 2 == Half) Rows.push_back(*Found);
  }
  return Evenly_Chosen(Rows, Most_Half_Rows);
}

// The fit behind a solution, of the rows that it kept.
struct Kept_Fit {
  std::vector<Observation> Rows;
  Joint_Fit Fit;
};

// A solution is a mean of several, with the square exact and free. Of these, the likelier one.
Kept_Fit Fit_Behind(const Joint_Solution& Joint) {
  Kept_Fit Kept;
  for (std::size_t i = 0; i < Joint.Settled.size(); ++i) {
    if (Joint.Rows[i].Is_Kept) Kept.Rows.push_back(Joint.Settled[i]);
  }
  Fit_Settings Settings = Joint.Settings;
  if (Joint.Exact_Square_Probability > 0.5) Settings.Scale_Deviation = Exact_Scale_Deviation;
  Kept.Fit.At = Joint.At;
  Kept.Fit.Variance = Joint.Variance;
  Kept.Fit.Rows = Linearise_Rows(Kept.Rows, Joint.At, Settings);
  Kept.Fit.Terms =
      Evaluate_Likelihood(Kept.Fit.Rows, Linearise_Prior(Joint.At, Settings), Joint.Variance);
  return Kept;
}

// The nearest matrix without negative eigenvalues, in units of the deviations.
Matrix6d Without_Negative(const Matrix6d& Covariance, const Vector6d& Deviations) {
  const Vector6d Inverse = Deviations.cwiseInverse();
  const Matrix6d Scaled = Inverse.asDiagonal() * Covariance * Inverse.asDiagonal();
  const Eigen::SelfAdjointEigenSolver<Matrix6d> Solver(Scaled);
  const Matrix6d Positive = Solver.eigenvectors() *
                            Solver.eigenvalues().cwiseMax(0.0).asDiagonal() *
                            Solver.eigenvectors().transpose();
  return Deviations.asDiagonal() * Positive * Deviations.asDiagonal();
}

// The mount's stated covariance and that of the lens, as much larger as the solve took it. What the
// mount owes to the lens follows the lens; the rest of its covariance is independent of it. As a
// mean of several solutions has it, the rest may come out a little below 0 in some direction.
Mount_And_Lens_Matrix Covariance_Of(const Joint_Solution& Joint, const Matrix6d& Lens_Covariance) {
  const Kept_Fit Kept = Fit_Behind(Joint);
  const Matrix6d By_Lens = Follow_Lens(Kept.Rows, Kept.Fit).middleRows<6>(Camera_Mount);
  const Matrix6d Lens_Part =
      Joint.Widening * Joint.Widening * Lens_Factor(Kept.Fit) * Lens_Covariance;
  const Matrix6d& Stated = Joint.Camera_Mount.Covariance;
  const Matrix6d Owed = By_Lens * Lens_Part * By_Lens.transpose();
  Mount_And_Lens_Matrix Covariance;
  Covariance.topLeftCorner<6, 6>() =
      Owed + Without_Negative(Stated - Owed, Stated.diagonal().cwiseSqrt());
  Covariance.topRightCorner<6, 6>() = By_Lens * Lens_Part;
  Covariance.bottomLeftCorner<6, 6>() = Lens_Part * By_Lens.transpose();
  Covariance.bottomRightCorner<6, 6>() = Lens_Part;
  return Covariance;
}

// With the lag of the whole capture: both halves have the same one, and neither knows it as well.
std::optional<Solved_Half> Solve_Half(const std::vector<Row_Facts>& Rows, const Board_Size& Board,
                                      double Square_Size, const Capture_Solution& Whole) {
  const auto Own_Lens = Refine_Lens(Rows, Board, Square_Size, Whole.Lens_Px);
  if (!Own_Lens) return std::nullopt;
  const Observations Seen = Observe(Rows, Board, Square_Size, *Own_Lens);
  Joint_Options Options;
  Options.Lag.Seconds = Whole.Joint.At.Lag_Seconds;
  const Joint_Solution Joint = Solve_Mounts(Seen, Options);
  if (Joint.Status != Solve_Status::Solved) return std::nullopt;
  Solved_Half Half;
  Half.Answer = {Rows.size(), *Own_Lens, Joint.At.Transform_Cam_Tc};
  Half.Mount = Joint.Camera_Mount;
  Half.Covariance = Covariance_Of(Joint, Seen.Lens_Covariance);
  return Half;
}

void Compare_Mounts(const Solved_Half& Odd, const Solved_Half& Even, Cross_Check& Check) {
  const Vector6d Motion = Motion_Between(Odd.Answer.Transform_Cam_Tc, Even.Answer.Transform_Cam_Tc);
  const Mount_Uncertainty Between = Uncertainty_Of_Difference(Odd.Mount, Even.Mount);
  const Vector6d Variances = Between.Covariance.diagonal();
  Check.Deg = {Degrees_Per_Radian * Motion.head<3>().norm(),
               Degrees_Per_Radian * std::sqrt(Variances.head<3>().sum())};
  Check.Mm = {Mm_In_Metre * Motion.tail<3>().norm(),
              Mm_In_Metre * std::sqrt(Variances.tail<3>().sum())};
  Check.Probability_Nearer = Probability_Of_Less(Between, Motion);
}

// A point of Cam where the lens draws it, and the derivative by point and lens.
struct Drawn_Point {
  Eigen::Vector2d Pixel;
  Eigen::Matrix<double, 2, 3> By_Point;
  Eigen::Matrix<double, 2, Lens_Parameters> By_Lens;
};

Drawn_Point Draw(const Lens& By, const Eigen::Vector3d& Point_Cam) {
  const cv::Matx33d Camera(By.Fx, 0, By.Cx, 0, By.Fy, By.Cy, 0, 0, 1);
  const cv::Vec<double, 5> Distortion(By.K1, By.K2, 0, 0, 0);
  const std::vector<cv::Point3d> Point{{Point_Cam.x(), Point_Cam.y(), Point_Cam.z()}};
  std::vector<cv::Point2d> Pixel;
  cv::Mat Derivatives;  // columns: turn, shift, fx fy, cx cy, k1 k2 ...
  cv::projectPoints(Point, cv::Vec3d::zeros(), cv::Vec3d::zeros(), Camera, Distortion, Pixel,
                    Derivatives);
  Drawn_Point Drawn;
  Drawn.Pixel = {Pixel[0].x, Pixel[0].y};
  for (int r = 0; r < 2; ++r) {
    const double* const Row = Derivatives.ptr<double>(r);
    for (int c = 0; c < 3; ++c) Drawn.By_Point(r, c) = Row[3 + c];
    for (int c = 0; c < Lens_Parameters; ++c) Drawn.By_Lens(r, c) = Row[6 + c];
  }
  return Drawn;
}

struct Half_Point {
  Eigen::Vector2d Pixel;
  Eigen::Matrix2d Covariance;
};

Half_Point Draw_Half(const Solved_Half& Half, const Eigen::Vector3d& Point_Tc) {
  const Eigen::Isometry3d& Mount = Half.Answer.Transform_Cam_Tc;
  const Eigen::Vector3d Point_Cam = Mount * Point_Tc;
  const Drawn_Point Drawn = Draw(Half.Answer.Lens_Px, Point_Cam);
  Eigen::Matrix<double, 3, 6> By_Motion;
  By_Motion << -Cross_Matrix(Point_Cam - Mount.translation()), Eigen::Matrix3d::Identity();
  Eigen::Matrix<double, 2, 12> By_All;
  By_All << Drawn.By_Point * By_Motion, Drawn.By_Lens;
  return {Drawn.Pixel, By_All * Half.Covariance * By_All.transpose()};
}

Cross_Point Compare_Point(const Solved_Half& Odd, const Solved_Half& Even,
                          const Capture_Solution& Whole, const Eigen::Vector2d& Pixel,
                          double Distance) {
  const Eigen::Vector3d Point_Tc =
      Whole.Joint.At.Transform_Cam_Tc.inverse() * Point_At(Whole.Lens_Px, Pixel, Distance);
  const Half_Point By_Odd = Draw_Half(Odd, Point_Tc), By_Even = Draw_Half(Even, Point_Tc);
  return {Pixel, By_Even.Pixel - By_Odd.Pixel,
          std::sqrt((By_Odd.Covariance + By_Even.Covariance).trace())};
}

// Root mean squares. Pixels at which the lens sees no point don't count.
Cross_Difference Mean_Over(const std::vector<Cross_Point>& Points) {
  double Seen = 0, Expected = 0, Count = 0;
  for (const Cross_Point& Point : Points) {
    if (!Point.Difference_Px.allFinite() || !std::isfinite(Point.Expected_Px)) continue;
    Seen += Point.Difference_Px.squaredNorm();
    Expected += Point.Expected_Px * Point.Expected_Px;
    Count += 1;
  }
  return {std::sqrt(Seen / Count), std::sqrt(Expected / Count)};
}

void Compare_Frame(const Solved_Half& Odd, const Solved_Half& Even, const Capture_Solution& Whole,
                   const Frame_Size& Frame, Cross_Check& Check) {
  const bool Is_Portrait = Frame.Height > Frame.Width;
  Check.Cols = Is_Portrait ? Short_Side_Points : Long_Side_Points;
  Check.Rows = Is_Portrait ? Long_Side_Points : Short_Side_Points;
  for (int r = 0; r < Check.Rows; ++r) {
    for (int c = 0; c < Check.Cols; ++c) {
      const Eigen::Vector2d Pixel((c + 0.5) / Check.Cols * Frame.Width,
                                  (r + 0.5) / Check.Rows * Frame.Height);
      Check.Points.push_back(Compare_Point(Odd, Even, Whole, Pixel, Check.Distance));
    }
  }
  Check.Px = Mean_Over(Check.Points);
}

Cross_Check Not_Compared(Cross_Status Status) {
  Cross_Check Check;
  Check.Status = Status;
  return Check;
}

}  // namespace

Cross_Check Check_Halves(const std::vector<Row_Facts>& Facts, const Board_Size& Board,
                         double Square_Size, const Capture_Solution& Whole, const Frame_Size& Frame,
                         double Distance) {
  if (Whole.Seen.Rows.size() < Least_Cross_Rows) return Not_Compared(Cross_Status::Too_Few_Rows);
  if (Whole.Joint.Status != Solve_Status::Solved) {
    return Not_Compared(Cross_Status::Whole_Unsolved);
  }
  const auto Odd = Solve_Half(Half_Of(Facts, Whole.Joint, 0), Board, Square_Size, Whole);
  const auto Even = Solve_Half(Half_Of(Facts, Whole.Joint, 1), Board, Square_Size, Whole);
  if (!Odd || !Even) return Not_Compared(Cross_Status::Half_Unsolved);
  Cross_Check Check;
  Check.Status = Cross_Status::Compared;
  Check.Halves = {Odd->Answer, Even->Answer};
  Check.Distance = Distance;
  Compare_Mounts(*Odd, *Even, Check);
  Compare_Frame(*Odd, *Even, Whole, Frame, Check);
  return Check;
}

}  // namespace rigsync
