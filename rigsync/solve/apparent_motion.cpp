// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/apparent_motion.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>

#include <algorithm>

namespace rigsync {
namespace {

// The noise of a capture gives half as much again as is expected of it in one of thousands.
constexpr double Largest_Noise = 2.0;

// Rounding in sums that differ by twelve digits from what is left of them.
constexpr double Rounding = 1e-12;

// With less than this part of the information from noise along any direction, none is taken out.
constexpr double Least_Part = 0.01;

// A turn with this standard deviation is beyond what derivatives describe.
constexpr double Any_Turn_Rad = 0.5;

// Of a turn about a tracker's origin, the board being Lever away from it, or of a shift.
Row_Derivative Derivative_By_Noise(const Eigen::Vector3d& Turn, const Eigen::Vector3d& Board_Shift,
                                   const Eigen::Matrix3d& Rotation_Cam_Tr) {
  const Eigen::Matrix3d Turned = Cross_Matrix(Turn) * Rotation_Cam_Tr;
  Row_Derivative Change = Row_Derivative::Zero();
  Change.block<3, 3>(3, Camera_Mount) = -Cross_Matrix(Board_Shift);
  Change.block<3, 3>(0, Board_Mount) = Turned;
  Change.block<3, 3>(3, Board_Mount + 3) = Turned;
  return Change;
}

Unknown_Matrix Row_Part(const Observation& Seen, const Mounts& At, const Matrix6d& Weight,
                        const Variances& Variance, const Moving_Trackers& Moving) {
  const Eigen::Isometry3d Transform_Cam_Tr =
      At.Transform_Cam_Tc * Seen.Transform_Tc_Base * Seen.Transform_Base_Tr;
  const Eigen::Vector3d Chart_Cam = Transform_Cam_Tr * At.Transform_Tr_Chart.translation();
  Unknown_Matrix Sum = Unknown_Matrix::Zero();
  const auto Add = [&](double By, const Eigen::Vector3d& Turn, const Eigen::Vector3d& Shift) {
    const Row_Derivative Change = Derivative_By_Noise(Turn, Shift, Transform_Cam_Tr.linear());
    Sum += By * Change.transpose() * Weight * Change;
  };
  for (int k = 0; k < 3; ++k) {
    const Eigen::Vector3d Axis = Eigen::Vector3d::Unit(k);
    const auto Add_Turn = [&](double Part, const Eigen::Vector3d& Centre_Cam) {
      Add(Part * Variance[Rotation_Noise], Axis, Axis.cross(Chart_Cam - Centre_Cam));
    };
    Add_Turn(Moving.Camera_Part(), At.Transform_Cam_Tc.translation());
    Add_Turn(Moving.Board_Part(), Transform_Cam_Tr.translation());
    Add(Variance[Position_Noise], Eigen::Vector3d::Zero(), Axis);
  }
  return Sum;
}

// A mount that may be turned by any angle may be anywhere, however the derivatives combine both.
Unknown_Matrix With_Any_Turn(Unknown_Matrix Covariance) {
  const double Turns = std::max(Covariance.diagonal().segment<3>(Camera_Mount).maxCoeff(),
                                Covariance.diagonal().segment<3>(Board_Mount).maxCoeff());
  if (Turns < Any_Turn_Rad * Any_Turn_Rad) return Covariance;
  Covariance.diagonal().head<Scale_Unknown>().array() += Open_Deviation * Open_Deviation;
  return Covariance;
}

}  // namespace

Unknown_Matrix Apparent_Information(const std::vector<Observation>& Rows, const Joint_Fit& Fit,
                                    const Moving_Trackers& Moving) {
  Unknown_Matrix Sum = Unknown_Matrix::Zero();
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Sum += Row_Part(Rows[i], Fit.At, Fit.Terms.Weights[i], Fit.Variance, Moving);
  }
  return Sum;
}

Unknown_Matrix Open_Part(const std::vector<Observation>& Rows, const Joint_Fit& Fit,
                         const Fit_Settings& Settings) {
  const Linear_Prior Prior = Linearise_Prior(Fit.At, Settings);
  Unknown_Matrix All = Prior.Information;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Row_Derivative& Derivative = Fit.Rows[i].Model.Derivative;
    All += Derivative.transpose() * Fit.Terms.Weights[i] * Derivative;
  }
  // With a diagonal of ones, as the unknowns differ by orders of magnitude.
  const Unknown_Vector Scale = All.diagonal().cwiseSqrt().cwiseInverse();
  const auto Scaled = [&Scale](const Unknown_Matrix& Of) {
    return Unknown_Matrix(Scale.asDiagonal() * Of * Scale.asDiagonal());
  };
  const Unknown_Matrix Identity = Unknown_Matrix::Identity();
  const Unknown_Matrix Total = Scaled(All) + Rounding * Identity;
  const Unknown_Matrix Apparent =
      Largest_Noise * Scaled(Apparent_Information(Rows, Fit, Settings.Moving)) +
      Rounding * Identity;
  // Along each eigenvector the eigenvalue is Apparent's part of Total.
  const Eigen::GeneralizedSelfAdjointEigenSolver<Unknown_Matrix> Parts(Apparent, Total);
  if (!(Parts.eigenvalues().maxCoeff() > Least_Part)) return Unknown_Matrix::Zero();
  const Unknown_Vector Left = (1.0 - Parts.eigenvalues().array()).cwiseMax(0.0);
  const Unknown_Matrix Root = Total * Parts.eigenvectors();
  const Unknown_Matrix True_Information =
      Root * Left.asDiagonal() * Root.transpose() + Scaled(Prior.Information);
  // Where nothing is left the fit ended anywhere, and the width reaches back to the prior's place.
  const Unknown_Vector Is_Open = (Left.array() > 0.0).select(0.0, Unknown_Vector::Ones());
  const Unknown_Vector Away = Parts.eigenvectors() * Is_Open.asDiagonal() * Root.transpose() *
                              Scale.cwiseInverse().asDiagonal() * Prior.Distance;
  const Unknown_Matrix True_Covariance =
      Scaled(True_Information.ldlt().solve(Identity) + Away * Away.transpose());
  return With_Any_Turn(True_Covariance) - Fit.Terms.Covariance;
}

}  // namespace rigsync
