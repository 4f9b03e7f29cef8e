// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/closed_form.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>

#include <cmath>
#include <numeric>

namespace rigsync {
namespace {

constexpr std::size_t Fewest_Rows = 3;

// With Transform_Cam_Chart = X * M * Y, M being what the trackers say, the rotation of Y's inverse
// is taken to that of X by the Kronecker product of every row, R_M (x) R_C.
using Kronecker_Matrix = Eigen::Matrix<double, 9, 9>;

Eigen::Isometry3d Transform_Tc_Tr(const Observation& Seen) {
  return Seen.Transform_Tc_Base * Seen.Transform_Base_Tr;
}

Kronecker_Matrix Kronecker_Sum(const std::vector<Observation>& Rows,
                               const std::vector<std::size_t>& Chosen) {
  Kronecker_Matrix Sum = Kronecker_Matrix::Zero();
  for (const std::size_t i : Chosen) {
    const Eigen::Matrix3d Rotation_Tc_Tr = Transform_Tc_Tr(Rows[i]).linear();
    const Eigen::Matrix3d Rotation_Cam_Chart = Rows[i].Board.Transform_Cam_Chart.linear();
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) {
        Sum.block<3, 3>(3 * r, 3 * c) += Rotation_Tc_Tr(r, c) * Rotation_Cam_Chart;
      }
    }
  }
  return Sum;
}

// A singular vector is a rotation's nine numbers, column by column, up to a factor.
Eigen::Matrix3d Rotation_From_Vector(const Eigen::Matrix<double, 9, 1>& Numbers) {
  Eigen::Matrix3d Matrix = Eigen::Map<const Eigen::Matrix3d>(Numbers.data());
  if (Matrix.determinant() < 0.0) Matrix = -Matrix;
  return Nearest_Rotation(Matrix);
}

// R_C * t_Z + t_C = R_X * t_M + t_X, with Z the inverse of Y, linear in both translations.
void Solve_Translations(const std::vector<Observation>& Rows,
                        const std::vector<std::size_t>& Chosen, Mounts& Both,
                        Eigen::Isometry3d& Transform_Chart_Tr) {
  Matrix6d Normal = Matrix6d::Zero();
  Vector6d Right = Vector6d::Zero();
  for (const std::size_t i : Chosen) {
    const Eigen::Isometry3d& Transform_Cam_Chart = Rows[i].Board.Transform_Cam_Chart;
    Eigen::Matrix<double, 3, 6> Row;
    Row << Transform_Cam_Chart.linear(), -Eigen::Matrix3d::Identity();
    const Eigen::Vector3d Value =
        Both.Transform_Cam_Tc.linear() * Transform_Tc_Tr(Rows[i]).translation() -
        Transform_Cam_Chart.translation();
    Normal += Row.transpose() * Row;
    Right += Row.transpose() * Value;
  }
  // Rotations about one axis leave a direction open: its part of the answer stays small.
  Normal.diagonal().array() += 1e-12 * static_cast<double>(Chosen.size());
  const Vector6d Translations = Normal.ldlt().solve(Right);
  Transform_Chart_Tr.translation() = Translations.head<3>();
  Both.Transform_Cam_Tc.translation() = Translations.tail<3>();
}

}  // namespace

std::optional<Mounts> Closed_Form_Mounts(const std::vector<Observation>& Rows,
                                         const std::vector<std::size_t>& Chosen) {
  if (Chosen.size() < Fewest_Rows) return std::nullopt;
  const Kronecker_Matrix Sum = Kronecker_Sum(Rows, Chosen);
  if (!Sum.allFinite()) return std::nullopt;
  // The largest right singular vector is the largest eigenvector of the square.
  const Eigen::SelfAdjointEigenSolver<Kronecker_Matrix> Solver(Sum.transpose() * Sum);
  const Eigen::Matrix<double, 9, 1> Right = Solver.eigenvectors().col(8);
  const Eigen::Matrix<double, 9, 1> Left = Sum * Right;
  Mounts Both;
  Eigen::Isometry3d Transform_Chart_Tr = Eigen::Isometry3d::Identity();
  Transform_Chart_Tr.linear() = Rotation_From_Vector(Right);
  Both.Transform_Cam_Tc.linear() = Rotation_From_Vector(Left);
  Solve_Translations(Rows, Chosen, Both, Transform_Chart_Tr);
  Both.Transform_Tr_Chart = Transform_Chart_Tr.inverse();
  if (!Both.Transform_Cam_Tc.matrix().allFinite() ||
      !Both.Transform_Tr_Chart.matrix().allFinite()) {
    return std::nullopt;
  }
  return Both;
}

std::optional<Mounts> Closed_Form_Mounts(const std::vector<Observation>& Rows) {
  std::vector<std::size_t> All(Rows.size());
  std::iota(All.begin(), All.end(), std::size_t{0});
  return Closed_Form_Mounts(Rows, All);
}

}  // namespace rigsync
