// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lens_model_check.h"

#include <Eigen/Cholesky>
#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace rigsync {
namespace {

constexpr int More_Coefficients = 3;  // P1, P2, K3
constexpr int All_Parameters = Lens_Parameters + More_Coefficients;

using Lens_Matrix = Eigen::Matrix<double, All_Parameters, All_Parameters>;
using Lens_Vector = Eigen::Matrix<double, All_Parameters, 1>;
using Pose_By_Lens = Eigen::Matrix<double, 6, All_Parameters>;

// What one board says about the nine numbers of the lens when its pose follows them.
struct Board_Terms {
  Lens_Matrix Information = Lens_Matrix::Zero();
  Lens_Vector Gradient = Lens_Vector::Zero();
  Pose_By_Lens Sensitivity = Pose_By_Lens::Zero();  // the pose's motion for a change of the lens
};

// The derivatives of the corners by the pose's motion and by the nine numbers of the lens, and the
// residuals, observed less projected.
struct Corner_Terms {
  Eigen::Matrix<double, Eigen::Dynamic, 6> By_Pose;
  Eigen::Matrix<double, Eigen::Dynamic, All_Parameters> By_Lens;
  Eigen::VectorXd Residuals_Px;
};

// The corners of a row on the board and in the image.
struct Row_Corners {
  std::vector<cv::Point3d> Points;
  Corner_List Pixels;
};

Row_Corners Corners_Of(const Row_Facts& Row, const Board_Size& Board, double Square_Size) {
  Row_Corners Corners;
  for (int r = 0; r < Board.Rows; ++r) {
    for (int c = 0; c < Board.Cols; ++c) {
      Corners.Points.emplace_back(c * Square_Size, r * Square_Size, 0);
    }
  }
  Corners.Pixels = Row.Corners;
  if (!Row.Corners.empty()) return Corners;
  std::vector<cv::Point3d> Some;
  for (const Seen_Corner& Corner : Row.Some_Corners) {
    Some.push_back(Corners.Points[Corner.Index]);
    Corners.Pixels.push_back(Corner.Pixel);
  }
  Corners.Points = std::move(Some);
  return Corners;
}

Corner_Terms Differentiate(const Row_Corners& Seen, const Lens& Lens_Px,
                           const Eigen::Isometry3d& Transform_Cam_Chart) {
  const auto& [Points, Corners] = Seen;
  const cv::Matx33d Camera(Lens_Px.Fx, 0, Lens_Px.Cx, 0, Lens_Px.Fy, Lens_Px.Cy, 0, 0, 1);
  const cv::Vec<double, 5> Distortion(Lens_Px.K1, Lens_Px.K2, 0, 0, 0);
  const Eigen::Vector3d Turn = Turn_From_Rotation(Transform_Cam_Chart.linear());
  const Eigen::Vector3d Shift = Transform_Cam_Chart.translation();
  std::vector<cv::Point2d> Projected;
  cv::Mat Derivatives;  // columns: turn, shift, fx fy, cx cy, k1 k2 p1 p2 k3
  cv::projectPoints(Points, cv::Vec3d(Turn.x(), Turn.y(), Turn.z()),
                    cv::Vec3d(Shift.x(), Shift.y(), Shift.z()), Camera, Distortion, Projected,
                    Derivatives);
  const auto Count = static_cast<Eigen::Index>(2 * Corners.size());
  Corner_Terms Terms{Eigen::Matrix<double, Eigen::Dynamic, 6>(Count, 6),
                     Eigen::Matrix<double, Eigen::Dynamic, All_Parameters>(Count, All_Parameters),
                     Eigen::VectorXd(Count)};
  for (Eigen::Index r = 0; r < Count; ++r) {
    const double* const Row = Derivatives.ptr<double>(static_cast<int>(r));
    for (int c = 0; c < 6; ++c) Terms.By_Pose(r, c) = Row[c];
    for (int c = 0; c < All_Parameters; ++c) Terms.By_Lens(r, c) = Row[6 + c];
    const auto Corner = static_cast<std::size_t>(r / 2);
    const double Projection = r % 2 == 0 ? Projected[Corner].x : Projected[Corner].y;
    Terms.Residuals_Px[r] =
        static_cast<double>(Corners[Corner][static_cast<std::size_t>(r % 2)]) - Projection;
  }
  // OpenCV differentiates by the numbers of the turn, a motion turns from the left.
  Terms.By_Pose.leftCols<3>() = (Terms.By_Pose.leftCols<3>() * Turn_Derivative(Turn)).eval();
  return Terms;
}

Board_Terms Reduce(const Corner_Terms& Terms) {
  const Matrix6d Normal = Terms.By_Pose.transpose() * Terms.By_Pose;
  const Pose_By_Lens Mixed = Terms.By_Pose.transpose() * Terms.By_Lens;
  const Eigen::LDLT<Matrix6d> Solver(Normal);
  Board_Terms Board;
  Board.Sensitivity = -Solver.solve(Mixed);
  Board.Information =
      Terms.By_Lens.transpose() * Terms.By_Lens + Mixed.transpose() * Board.Sensitivity;
  Board.Gradient = Terms.By_Lens.transpose() * Terms.Residuals_Px +
                   Board.Sensitivity.transpose() * (Terms.By_Pose.transpose() * Terms.Residuals_Px);
  return Board;
}

// The numbers of a lens differ by six orders of magnitude, so the system is solved with a diagonal
// of ones.
Lens_Vector Solve_Scaled(const Lens_Matrix& Information, const Lens_Vector& Gradient, int Size) {
  const auto Block = Information.topLeftCorner(Size, Size);
  const Eigen::VectorXd Scale = Block.diagonal().cwiseSqrt().cwiseInverse();
  const Eigen::MatrixXd Scaled = Scale.asDiagonal() * Block * Scale.asDiagonal();
  Lens_Vector Change = Lens_Vector::Zero();
  Change.head(Size) =
      Scale.asDiagonal() * Scaled.ldlt().solve(Scale.asDiagonal() * Gradient.head(Size));
  return Change;
}

const Row_Facts* Find_Row(const std::vector<Row_Facts>& Facts, std::size_t Row) {
  const auto Found = std::find_if(Facts.begin(), Facts.end(),
                                  [Row](const Row_Facts& Each) { return Each.Row == Row; });
  return Found == Facts.end() ? nullptr : &*Found;
}

}  // namespace

std::optional<Lens_Model_Check> Check_Lens_Model(const std::vector<Row_Facts>& Facts,
                                                 const Board_Size& Board, double Square_Size,
                                                 const Lens& Lens_Px, const Observations& Seen,
                                                 const Joint_Solution& Joint,
                                                 const Joint_Options& Options) {
  if (Joint.Status != Solve_Status::Solved) return std::nullopt;
  std::vector<Board_Terms> Boards;
  Lens_Matrix Information = Lens_Matrix::Zero();
  Lens_Vector Gradient = Lens_Vector::Zero();
  for (const Observation& Each : Seen.Rows) {
    const Row_Facts* const Row = Find_Row(Facts, Each.Row);
    if (Row == nullptr) return std::nullopt;
    Boards.push_back(Reduce(Differentiate(Corners_Of(*Row, Board, Square_Size), Lens_Px,
                                          Each.Board.Transform_Cam_Chart)));
    // The lens is that of the whole boards.
    if (Each.Board.Is_Cut_Off) continue;
    Information += Boards.back().Information;
    Gradient += Boards.back().Gradient;
  }
  // Beside the change that the lens's own six numbers would still make, which is small.
  const Lens_Vector Own = Solve_Scaled(Information, Gradient, Lens_Parameters);
  const Lens_Vector All = Solve_Scaled(Information, Gradient, All_Parameters);
  if (!All.allFinite() || !Own.allFinite()) return std::nullopt;
  Lens_Model_Check Check;
  Check.Coefficients = All.tail<More_Coefficients>();
  Check.F = Gradient.dot(All - Own) / (More_Coefficients * Seen.Corner_Variance);
  Observations Corrected = Seen;
  for (std::size_t i = 0; i < Boards.size(); ++i) {
    Eigen::Isometry3d& Pose = Corrected.Rows[i].Board.Transform_Cam_Chart;
    Pose = Moved(Pose, Boards[i].Sensitivity * (All - Own));
  }
  const Joint_Solution After = Solve_Mounts(Corrected, Options);
  if (After.Status != Solve_Status::Solved) return std::nullopt;
  Check.Mount_Motion = Motion_Between(Joint.At.Transform_Cam_Tc, After.At.Transform_Cam_Tc);
  return Check;
}

}  // namespace rigsync
