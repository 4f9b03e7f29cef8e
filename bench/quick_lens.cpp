// SPDX-License-Identifier: Apache-2.0
#include "bench/quick_lens.h"

#include <Eigen/Cholesky>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/eigen.hpp>

#include <cmath>

namespace bench {
namespace {

constexpr int Most_Steps = 100;
constexpr int Pose_Unknowns = 6;
// A step that gains less than this part of the squared error is the last.
constexpr double Settled_Part = 1e-13;
// Damping of Levenberg and Marquardt: where it begins, how it falls and grows, and where the steps
// are too short to go on.
constexpr double First_Damping = 1e-6, Damping_Factor = 10.0, Most_Damping = 1e9;

using Pose_Matrix = Eigen::Matrix<double, Pose_Unknowns, Pose_Unknowns>;
using Pose_Vector = Eigen::Matrix<double, Pose_Unknowns, 1>;

// One image's part of the normal equations.
struct Image_Part {
  Pose_Matrix Pose;
  Pose_Vector Pose_Right;
  Eigen::MatrixXd Lens, Lens_Pose;
  Eigen::VectorXd Lens_Right;
  double Squares = 0;
};

struct Solve {
  const std::vector<rigsync::Corner_List>& Corners;
  const std::vector<cv::Point3d>& Points;
  int Lens_Unknowns = 0;
};

cv::Vec3d& Row(cv::Mat& List, std::size_t Image) {
  return List.at<cv::Vec3d>(static_cast<int>(Image));
}

Image_Part Part_Of(const Solve& Of, Library_Lens& At, std::size_t Image) {
  cv::Mat Projected, Derivative;
  cv::projectPoints(Of.Points, Row(At.Rvecs, Image), Row(At.Tvecs, Image), At.Camera_Matrix,
                    At.Distortion, Projected, Derivative);
  Eigen::MatrixXd By_All;
  cv::cv2eigen(Derivative, By_All);
  const Eigen::MatrixXd By_Pose = By_All.leftCols(Pose_Unknowns);
  const Eigen::MatrixXd By_Lens = By_All.middleCols(Pose_Unknowns, Of.Lens_Unknowns);
  Eigen::VectorXd Residual(By_All.rows());
  for (std::size_t k = 0; k < Of.Points.size(); ++k) {
    const cv::Point2d Point = Projected.at<cv::Point2d>(static_cast<int>(k));
    const auto Line = static_cast<Eigen::Index>(2 * k);
    Residual[Line] = static_cast<double>(Of.Corners[Image][k][0]) - Point.x;
    Residual[Line + 1] = static_cast<double>(Of.Corners[Image][k][1]) - Point.y;
  }
  Image_Part Part;
  Part.Pose = By_Pose.transpose() * By_Pose;
  Part.Pose_Right = By_Pose.transpose() * Residual;
  Part.Lens = By_Lens.transpose() * By_Lens;
  Part.Lens_Pose = By_Lens.transpose() * By_Pose;
  Part.Lens_Right = By_Lens.transpose() * Residual;
  Part.Squares = Residual.squaredNorm();
  return Part;
}

std::vector<Image_Part> Parts_Of(const Solve& Of, Library_Lens& At) {
  std::vector<Image_Part> Parts;
  for (std::size_t i = 0; i < Of.Corners.size(); ++i) Parts.push_back(Part_Of(Of, At, i));
  return Parts;
}

double Squares_Of(const std::vector<Image_Part>& Parts) {
  double Sum = 0;
  for (const Image_Part& Part : Parts) Sum += Part.Squares;
  return Sum;
}

Library_Lens Copy_Of(const Library_Lens& Lens) {
  return {Lens.Camera_Matrix.clone(), Lens.Distortion.clone(), Lens.Rvecs.clone(),
          Lens.Tvecs.clone(), Lens.Rms};
}

void Move_Lens(const Eigen::VectorXd& Step, Library_Lens& Lens) {
  Lens.Camera_Matrix.at<double>(0, 0) += Step[0];
  Lens.Camera_Matrix.at<double>(1, 1) += Step[1];
  Lens.Camera_Matrix.at<double>(0, 2) += Step[2];
  Lens.Camera_Matrix.at<double>(1, 2) += Step[3];
  for (int k = 4; k < Step.size(); ++k) Lens.Distortion.at<double>(k - 4) += Step[k];
}

// One damped step: the lens from what the poses leave open, then every pose.
Library_Lens Stepped(const std::vector<Image_Part>& Parts, const Library_Lens& From,
                     double Damping) {
  const auto Damped = [Damping](Eigen::MatrixXd Matrix) {
    Matrix.diagonal() *= 1.0 + Damping;
    return Matrix;
  };
  const Eigen::Index Unknowns = Parts.front().Lens.rows();
  Eigen::MatrixXd Lens = Eigen::MatrixXd::Zero(Unknowns, Unknowns), Taken = Lens;
  Eigen::VectorXd Right = Eigen::VectorXd::Zero(Unknowns);
  std::vector<Eigen::LDLT<Eigen::MatrixXd>> Pose_Solvers;
  for (const Image_Part& Part : Parts) {
    Pose_Solvers.emplace_back(Damped(Part.Pose));
    Lens += Part.Lens;
    Taken += Part.Lens_Pose * Pose_Solvers.back().solve(Part.Lens_Pose.transpose());
    Right += Part.Lens_Right - Part.Lens_Pose * Pose_Solvers.back().solve(Part.Pose_Right);
  }
  const Eigen::MatrixXd Reduced = Damped(Lens) - Taken;
  const Eigen::VectorXd Step = Reduced.ldlt().solve(Right);
  Library_Lens To = Copy_Of(From);
  Move_Lens(Step, To);
  for (std::size_t i = 0; i < Parts.size(); ++i) {
    const Pose_Vector Motion =
        Pose_Solvers[i].solve(Parts[i].Pose_Right - Parts[i].Lens_Pose.transpose() * Step);
    for (int k = 0; k < 3; ++k) {
      Row(To.Rvecs, i)[k] += Motion[k];
      Row(To.Tvecs, i)[k] += Motion[3 + k];
    }
  }
  return To;
}

}  // namespace

std::optional<Library_Lens> Refine_Lens(const std::vector<rigsync::Corner_List>& Corners,
                                        const Photographed_Board& Board, const Library_Lens& Start,
                                        Distortion_Model Model) {
  const std::vector<cv::Point3f> Rounded = Board_Points(Board);
  const std::vector<cv::Point3d> Points(Rounded.begin(), Rounded.end());
  const Solve Of{Corners, Points, Model == Distortion_Model::Two ? 6 : 9};
  Library_Lens At = Copy_Of(Start);
  std::vector<Image_Part> Parts = Parts_Of(Of, At);
  double Squares = Squares_Of(Parts), Damping = First_Damping;
  for (int k = 0; k < Most_Steps; ++k) {
    Library_Lens Next = Stepped(Parts, At, Damping);
    std::vector<Image_Part> Next_Parts = Parts_Of(Of, Next);
    const double Next_Squares = Squares_Of(Next_Parts);
    const bool Is_Settled = std::abs(Squares - Next_Squares) <= Settled_Part * Squares;
    if (Next_Squares <= Squares) {
      At = Copy_Of(Next);
      Parts = std::move(Next_Parts);
      Squares = Next_Squares;
    }
    if (Is_Settled) {
      At.Rms = std::sqrt(Squares / static_cast<double>(Corners.size() * Points.size()));
      return At;
    }
    Damping = Next_Squares <= Squares ? Damping / Damping_Factor : Damping * Damping_Factor;
    if (!(Damping < Most_Damping)) break;
  }
  return std::nullopt;
}

}  // namespace bench
