// SPDX-License-Identifier: Apache-2.0
//
// A host's own use of Eigen: the templates that the library instantiates too, by the same names and
// for the same types. Built with other flags than the library's, they are other code, and where
// the loader could take one for the other the library's digits would move.
#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <Eigen/SVD>

#include <cstddef>
#include <cstdlib>

// Results that the compiler can't foresee and may not drop.
volatile double Eigen_Sink = 0.0;

void Use_Eigen() {
  const double Turn = Eigen_Sink + 0.3;
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  const Eigen::Quaterniond X(Eigen::AngleAxisd(Turn, Eigen::Vector3d::UnitX()));
  const Eigen::Quaterniond Y(Eigen::AngleAxisd(2.0 * Turn, Eigen::Vector3d::UnitY()));
  const Eigen::Matrix3d Rotation = (X * Y).toRotationMatrix();
  Pose.topLeftCorner<3, 3>() = Rotation;
  const Eigen::Matrix4d Inverse = Pose.inverse();
  const Eigen::Matrix4d Product = Pose * Inverse * Pose;
  const Eigen::Matrix4d Product_Inverse = Product.inverse();

  Eigen::MatrixXf Quaternions = Eigen::MatrixXf::Zero(4, 4);
  for (int c = 0; c < 4; ++c) {
    for (int r = 0; r < 4; ++r) Quaternions(r, c) = static_cast<float>(Product_Inverse(r, c));
  }
  const Eigen::MatrixXf Symmetric = Quaternions * Quaternions.transpose();
  const Eigen::JacobiSVD<Eigen::MatrixXf> Svd(Symmetric, Eigen::ComputeThinU | Eigen::ComputeThinV);
  const Eigen::MatrixXf U = Svd.matrixU();
  const Eigen::Quaterniond Back(Rotation);
  Eigen_Sink = Product_Inverse.sum() + static_cast<double>(U.sum()) + Back.norm();
}
