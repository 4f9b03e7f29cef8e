// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/talent_error.h"

#include <cmath>

#include "rigsync/geometry/units.h"

namespace rigsync {
namespace {

// The standard deviation in the direction in which it is largest: the root of the larger
// eigenvalue.
double Widest_Deviation(const Eigen::Matrix2d& Covariance) {
  const double Mean = 0.5 * (Covariance(0, 0) + Covariance(1, 1));
  const double Half_Difference = 0.5 * (Covariance(0, 0) - Covariance(1, 1));
  return std::sqrt(Mean + std::hypot(Half_Difference, Covariance(0, 1)));
}

// Derivative of the point's position across the view by the mount's motion.
Eigen::Matrix<double, 2, 6> Across_By_Motion(const Eigen::Vector3d& Point_Cam,
                                             const Eigen::Isometry3d& Transform_Cam_Tc) {
  Eigen::Matrix<double, 3, 6> By_Motion;
  By_Motion << -Cross_Matrix(Point_Cam - Transform_Cam_Tc.translation()),
      Eigen::Matrix3d::Identity();
  return By_Motion.topRows<2>();
}

}  // namespace

Talent_Error Error_At_Talent(const Mount_Uncertainty& Uncertainty,
                             const Eigen::Isometry3d& Transform_Cam_Tc, const Lens& Lens_Px,
                             double Distance) {
  const Eigen::Vector3d Point_Cam(0, 0, Distance);
  const Eigen::Matrix<double, 2, 6> By_Motion = Across_By_Motion(Point_Cam, Transform_Cam_Tc);
  const Eigen::Matrix2d Covariance = By_Motion * Uncertainty.Covariance * By_Motion.transpose();
  const Eigen::Matrix2d Px_By_Metre =
      Eigen::Vector2d(Lens_Px.Fx / Distance, Lens_Px.Fy / Distance).asDiagonal();
  const double Factor = Half_Width_Factor(Uncertainty.Freedom.minCoeff());
  return {Distance, Mm_In_Metre * Factor * Widest_Deviation(Covariance),
          Factor * Widest_Deviation(Px_By_Metre * Covariance * Px_By_Metre)};
}

}  // namespace rigsync
