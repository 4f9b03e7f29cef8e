// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/observation.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <Eigen/LU>
#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// A start by OpenCV is near the solution, so that a few steps of Gauss and Newton settle it.
constexpr int Most_Pose_Steps = 20;
constexpr double Settled_Step = 1e-10;  // radians or metres

// Corners that fit without an error would give the images infinite weight. No detector is better
// than a thousandth of a pixel.
constexpr double Least_Corner_Variance = 1e-6;  // square pixels

// Corners of a part of a board are near one line when their standard deviation across it is below
// this part of a square. Two neighbouring lines of as many corners each have a half.
constexpr double Least_Deviation = 0.4;

// What a corner may be off by, to judge whether a part of a board determines its pose.
constexpr double Assumed_Corner_Px = 0.1;
constexpr double Most_Turn_Rad = 0.0175;  // 1 degree

// A pose is told from the one that leans the other way when its corners fit better by this many
// standard deviations. Poses nearer than the turn are the same.
constexpr double Told_Deviations = 5.0;
constexpr double Same_Turn_Rad = 0.001;

using Jacobian_Rows = Eigen::Matrix<double, Eigen::Dynamic, 6>;

// The corners' residuals, observed less projected, and the derivatives of the projection.
struct Projection {
  Eigen::VectorXd Residuals_Px;
  Jacobian_Rows By_Pose, By_Lens;
};

cv::Mat Camera_Matrix(const Lens& Lens_Px) {
  return (cv::Mat_<double>(3, 3) << Lens_Px.Fx, 0, Lens_Px.Cx, 0, Lens_Px.Fy, Lens_Px.Cy, 0, 0, 1);
}

cv::Mat Distortion(const Lens& Lens_Px) {
  return (cv::Mat_<double>(1, 5) << Lens_Px.K1, Lens_Px.K2, 0, 0, 0);
}

std::vector<cv::Point3d> Corners_Chart(const Board_Size& Board, double Square_Size) {
  std::vector<cv::Point3d> Points;
  for (int r = 0; r < Board.Rows; ++r) {
    for (int c = 0; c < Board.Cols; ++c) Points.emplace_back(c * Square_Size, r * Square_Size, 0);
  }
  return Points;
}

cv::Vec3d As_Cv(const Eigen::Vector3d& Vector) {
  return {Vector.x(), Vector.y(), Vector.z()};
}

Projection Project(const std::vector<cv::Point3d>& Points, const Corner_List& Corners,
                   const Lens& Lens_Px, const Eigen::Isometry3d& Transform_Cam_Chart) {
  const Eigen::Vector3d Turn = Turn_From_Rotation(Transform_Cam_Chart.linear());
  std::vector<cv::Point2d> Projected;
  cv::Mat Derivatives;  // two rows a corner; columns: turn, shift, fx fy, cx cy, k1 k2 ...
  cv::projectPoints(Points, As_Cv(Turn), As_Cv(Transform_Cam_Chart.translation()),
                    Camera_Matrix(Lens_Px), Distortion(Lens_Px), Projected, Derivatives);
  const auto Count = static_cast<Eigen::Index>(Corners.size());
  Projection Result;
  Result.Residuals_Px.resize(2 * Count);
  Result.By_Pose.resize(2 * Count, 6);
  Result.By_Lens.resize(2 * Count, Lens_Parameters);
  for (Eigen::Index k = 0; k < Count; ++k) {
    const auto Corner = static_cast<std::size_t>(k);
    Result.Residuals_Px[2 * k] = static_cast<double>(Corners[Corner][0]) - Projected[Corner].x;
    Result.Residuals_Px[2 * k + 1] = static_cast<double>(Corners[Corner][1]) - Projected[Corner].y;
  }
  for (Eigen::Index r = 0; r < 2 * Count; ++r) {
    const double* Row = Derivatives.ptr<double>(static_cast<int>(r));
    for (int c = 0; c < 6; ++c) Result.By_Pose(r, c) = Row[c];
    for (int c = 0; c < Lens_Parameters; ++c) Result.By_Lens(r, c) = Row[6 + c];
  }
  // OpenCV differentiates by the numbers of the turn, a motion turns from the left.
  Result.By_Pose.leftCols<3>() = (Result.By_Pose.leftCols<3>() * Turn_Derivative(Turn)).eval();
  return Result;
}

std::optional<Eigen::Isometry3d> First_Pose(const std::vector<cv::Point3d>& Points,
                                            const Corner_List& Corners, const Lens& Lens_Px) {
  std::vector<cv::Point2d> Corners_Px;
  for (const auto& [X, Y] : Corners) {
    if (!std::isfinite(X) || !std::isfinite(Y)) return std::nullopt;
    Corners_Px.emplace_back(static_cast<double>(X), static_cast<double>(Y));
  }
  cv::Vec3d Turn, Shift;
  try {
    if (!cv::solvePnP(Points, Corners_Px, Camera_Matrix(Lens_Px), Distortion(Lens_Px), Turn,
                      Shift)) {
      return std::nullopt;
    }
  } catch (const cv::Exception&) {  // corners on one line, for example
    return std::nullopt;
  }
  Vector6d Motion;
  Motion << Turn[0], Turn[1], Turn[2], Shift[0], Shift[1], Shift[2];
  if (!Motion.allFinite()) return std::nullopt;
  return Moved(Eigen::Isometry3d::Identity(), Motion);
}

Matrix6d Symmetric_Inverse(const Matrix6d& Matrix) {
  return Matrix.ldlt().solve(Matrix6d::Identity());
}

Board_Observation Describe(const Eigen::Isometry3d& Transform_Cam_Chart, const Projection& At) {
  Board_Observation Seen;
  Seen.Transform_Cam_Chart = Transform_Cam_Chart;
  Seen.Unit_Covariance = Symmetric_Inverse(At.By_Pose.transpose() * At.By_Pose);
  const Matrix6d Pose_And_Lens = At.By_Pose.transpose() * At.By_Lens;
  Seen.Lens_Sensitivity = -Seen.Unit_Covariance * Pose_And_Lens;
  Seen.Lens_Information =
      At.By_Lens.transpose() * At.By_Lens + Pose_And_Lens.transpose() * Seen.Lens_Sensitivity;
  Seen.Lens_Gradient = At.By_Lens.transpose() * At.Residuals_Px;
  Seen.Squared_Residuals_Px = At.Residuals_Px.squaredNorm();
  Seen.Corner_Count = static_cast<std::size_t>(At.Residuals_Px.size() / 2);
  return Seen;
}

bool Is_Finite(const Board_Observation& Seen) {
  return Seen.Transform_Cam_Chart.matrix().allFinite() && Seen.Unit_Covariance.allFinite() &&
         (Seen.Unit_Covariance.diagonal().array() > 0.0).all() &&
         Seen.Lens_Sensitivity.allFinite() && std::isfinite(Seen.Squared_Residuals_Px);
}

// By Gauss and Newton from a pose that is near.
std::optional<Board_Observation> Settle_Pose(const std::vector<cv::Point3d>& Points,
                                             const Corner_List& Corners, const Lens& Lens_Px,
                                             Eigen::Isometry3d Transform_Cam_Chart) {
  for (int Step = 0; Step < Most_Pose_Steps; ++Step) {
    const Projection At = Project(Points, Corners, Lens_Px, Transform_Cam_Chart);
    const Matrix6d Normal = At.By_Pose.transpose() * At.By_Pose;
    const Vector6d Motion = Normal.ldlt().solve(At.By_Pose.transpose() * At.Residuals_Px);
    if (!Motion.allFinite()) return std::nullopt;
    Transform_Cam_Chart = Moved(Transform_Cam_Chart, Motion);
    if (Motion.norm() < Settled_Step) break;
  }
  const Board_Observation Seen =
      Describe(Transform_Cam_Chart, Project(Points, Corners, Lens_Px, Transform_Cam_Chart));
  if (!Is_Finite(Seen) || !(Transform_Cam_Chart.translation().z() > 0.0)) return std::nullopt;
  return Seen;
}

// ---- A part of a board -----------------------------------------------------------------------

struct Board_Part {
  std::vector<cv::Point3d> Points;
  Corner_List Corners;
};

// None for an index that isn't on the board, and for one that comes twice.
std::optional<Board_Part> Part_Of(const std::vector<Seen_Corner>& Seen, const Board_Size& Board,
                                  double Square_Size) {
  const std::vector<cv::Point3d> All = Corners_Chart(Board, Square_Size);
  std::vector<bool> Is_Taken(All.size(), false);
  Board_Part Part;
  for (const Seen_Corner& Corner : Seen) {
    if (Corner.Index >= All.size() || Is_Taken[Corner.Index]) return std::nullopt;
    Is_Taken[Corner.Index] = true;
    Part.Points.push_back(All[Corner.Index]);
    Part.Corners.push_back(Corner.Pixel);
  }
  return Part;
}

// The standard deviation of the points in the direction in which it is least.
double Least_Deviation_Of(const std::vector<cv::Point3d>& Points) {
  Eigen::Matrix2Xd Centred(2, static_cast<Eigen::Index>(Points.size()));
  for (Eigen::Index k = 0; k < Centred.cols(); ++k) {
    const cv::Point3d& Point = Points[static_cast<std::size_t>(k)];
    Centred.col(k) = Eigen::Vector2d(Point.x, Point.y);
  }
  Centred.colwise() -= Centred.rowwise().mean().eval();
  const Eigen::Matrix2d Scatter =
      Centred * Centred.transpose() / static_cast<double>(Points.size());
  return std::sqrt(
      std::max(Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d>(Scatter).eigenvalues()[0], 0.0));
}

// Both poses between which a plane that is seen nearly without perspective can't be told: the one
// that fits better first.
std::vector<Eigen::Isometry3d> Both_Leans(const Board_Part& Part, const Lens& Lens_Px) {
  std::vector<cv::Point2d> Corners_Px;
  for (const auto& [X, Y] : Part.Corners) {
    Corners_Px.emplace_back(static_cast<double>(X), static_cast<double>(Y));
  }
  std::vector<cv::Vec3d> Turns, Shifts;
  try {
    cv::solvePnPGeneric(Part.Points, Corners_Px, Camera_Matrix(Lens_Px), Distortion(Lens_Px), Turns,
                        Shifts, false, cv::SOLVEPNP_IPPE);
  } catch (const cv::Exception&) {
    return {};
  }
  std::vector<Eigen::Isometry3d> Poses;
  for (std::size_t k = 0; k < Turns.size(); ++k) {
    Vector6d Motion;
    Motion << Turns[k][0], Turns[k][1], Turns[k][2], Shifts[k][0], Shifts[k][1], Shifts[k][2];
    if (Motion.allFinite()) Poses.push_back(Moved(Eigen::Isometry3d::Identity(), Motion));
  }
  return Poses;
}

bool Are_Same(const Board_Observation& Left, const Board_Observation& Right) {
  const Eigen::Matrix3d Between =
      Left.Transform_Cam_Chart.linear().transpose() * Right.Transform_Cam_Chart.linear();
  return Turn_From_Rotation(Between).norm() < Same_Turn_Rad;
}

// Whether the corners tell the better one of two poses, by their own noise.
bool Is_Told(const Board_Observation& Better, const Board_Observation& Other) {
  const double Freedom = 2.0 * static_cast<double>(Better.Corner_Count) - 6.0;
  const double Variance =
      std::max(Better.Squared_Residuals_Px / Freedom, Assumed_Corner_Px * Assumed_Corner_Px);
  return Other.Squared_Residuals_Px - Better.Squared_Residuals_Px >
         Told_Deviations * Told_Deviations * Variance;
}

bool Is_Turn_Known(const Board_Observation& Seen) {
  const Eigen::Matrix3d Turn = Seen.Unit_Covariance.topLeftCorner<3, 3>();
  const double Largest = Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(Turn).eigenvalues()[2];
  return Assumed_Corner_Px * std::sqrt(Largest) <= Most_Turn_Rad;
}

// All residuals of all boards, for the numbers that were fitted to them.
double Corner_Variance(const std::vector<Observation>& Rows) {
  double Sum = 0;
  double Freedom = -Lens_Parameters;
  for (const Observation& Seen : Rows) {
    Sum += Seen.Board.Squared_Residuals_Px;
    Freedom += 2.0 * static_cast<double>(Seen.Board.Corner_Count) - 6.0;
  }
  return std::max(Sum / std::max(Freedom, 1.0), Least_Corner_Variance);
}

// Parameters of a lens differ by six orders of magnitude, so the matrix is inverted with a
// diagonal of ones.
Matrix6d Lens_Covariance(const std::vector<Observation>& Rows, double Variance_Px) {
  Matrix6d Information = Matrix6d::Zero();
  for (const Observation& Seen : Rows) {
    if (!Seen.Board.Is_Cut_Off) Information += Seen.Board.Lens_Information;
  }
  const Vector6d Scale = Information.diagonal().cwiseSqrt().cwiseInverse();
  if (!Scale.allFinite()) return Matrix6d::Zero();
  const Matrix6d Scaled = Scale.asDiagonal() * Information * Scale.asDiagonal();
  return Variance_Px * (Scale.asDiagonal() * Symmetric_Inverse(Scaled) * Scale.asDiagonal());
}

std::optional<Observation> Observe_Row(const Row_Facts& Facts, const Board_Size& Board,
                                       double Square_Size, const Lens& Lens_Px) {
  const auto Transform_Base_Tc = Transform_Base_Tracker(Facts.Camera);
  const auto Transform_Base_Tr = Transform_Base_Tracker(Facts.Board);
  if (!Transform_Base_Tc || !Transform_Base_Tr) return std::nullopt;
  const auto Seen = Solve_Board_Pose(Facts, Board, Square_Size, Lens_Px);
  if (!Seen) return std::nullopt;
  return Observation{Facts.Row, *Seen, Transform_Base_Tc->inverse(), *Transform_Base_Tr,
                     Facts.Motion};
}

}  // namespace

std::optional<Eigen::Isometry3d> Transform_Base_Tracker(const Tracker_Sample& Sample) {
  double Length = 0;
  for (const double Value : Sample.Quaternion) Length += Value * Value;
  const Eigen::Vector3d Position(Sample.Position[0], Sample.Position[1], Sample.Position[2]);
  if (!std::isfinite(Length) || !(Length > 0.0) || !Position.allFinite()) return std::nullopt;
  Eigen::Isometry3d Pose = Eigen::Isometry3d::Identity();
  const Eigen::Matrix3d Rotation_Tracker_Base =
      Tracker_Axes_Relabelling() * Sample_Rotation_Body_Base(Sample).toRotationMatrix();
  Pose.linear() = Rotation_Tracker_Base.transpose();
  Pose.translation() = Position;
  return Pose;
}

std::optional<Board_Observation> Solve_Board_Pose(const Corner_List& Corners,
                                                  const Board_Size& Board, double Square_Size,
                                                  const Lens& Lens_Px) {
  const std::vector<cv::Point3d> Points = Corners_Chart(Board, Square_Size);
  if (Points.size() < 4 || Corners.size() != Points.size()) return std::nullopt;
  const auto Transform_Cam_Chart = First_Pose(Points, Corners, Lens_Px);
  if (!Transform_Cam_Chart) return std::nullopt;
  return Settle_Pose(Points, Corners, Lens_Px, *Transform_Cam_Chart);
}

std::optional<Board_Observation> Solve_Board_Pose(const std::vector<Seen_Corner>& Corners,
                                                  const Board_Size& Board, double Square_Size,
                                                  const Lens& Lens_Px) {
  const auto Part = Part_Of(Corners, Board, Square_Size);
  if (!Part || Corners.size() < Least_Posed_Corners) return std::nullopt;
  if (Least_Deviation_Of(Part->Points) < Least_Deviation * Square_Size) return std::nullopt;
  const auto First = First_Pose(Part->Points, Part->Corners, Lens_Px);
  if (!First) return std::nullopt;
  auto Best = Settle_Pose(Part->Points, Part->Corners, Lens_Px, *First);
  if (!Best) return std::nullopt;
  for (const Eigen::Isometry3d& Lean : Both_Leans(*Part, Lens_Px)) {
    const auto Other = Settle_Pose(Part->Points, Part->Corners, Lens_Px, Lean);
    if (!Other || Are_Same(*Best, *Other)) continue;
    const bool Is_Better = Other->Squared_Residuals_Px < Best->Squared_Residuals_Px;
    if (!(Is_Better ? Is_Told(*Other, *Best) : Is_Told(*Best, *Other))) return std::nullopt;
    if (Is_Better) Best = Other;
  }
  if (!Is_Turn_Known(*Best)) return std::nullopt;
  Best->Is_Cut_Off = true;
  return Best;
}

std::optional<Board_Observation> Solve_Board_Pose(const Row_Facts& Facts, const Board_Size& Board,
                                                  double Square_Size, const Lens& Lens_Px) {
  if (Facts.Corners.empty() && !Facts.Some_Corners.empty()) {
    return Solve_Board_Pose(Facts.Some_Corners, Board, Square_Size, Lens_Px);
  }
  return Solve_Board_Pose(Facts.Corners, Board, Square_Size, Lens_Px);
}

Board_Observation Predict_Board(const Eigen::Isometry3d& Transform_Cam_Chart,
                                const Board_Size& Board, double Square_Size, const Lens& Lens_Px) {
  const std::vector<cv::Point3d> Points = Corners_Chart(Board, Square_Size);
  Projection At = Project(Points, Corner_List(Points.size(), {0, 0}), Lens_Px, Transform_Cam_Chart);
  At.Residuals_Px.setZero();
  return Describe(Transform_Cam_Chart, At);
}

Observations Observe(const std::vector<Row_Facts>& Rows, const Board_Size& Board,
                     double Square_Size, const Lens& Lens_Px) {
  Observations All;
  for (const Row_Facts& Facts : Rows) {
    if (const auto Seen = Observe_Row(Facts, Board, Square_Size, Lens_Px)) {
      All.Rows.push_back(*Seen);
    } else {
      All.Unusable_Rows.push_back(Facts.Row);
    }
  }
  All.Corner_Variance = Corner_Variance(All.Rows);
  All.Lens_Covariance = Lens_Covariance(All.Rows, All.Corner_Variance);
  return All;
}

}  // namespace rigsync
