// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/joint_model.h"

#include <cmath>

namespace rigsync {
namespace {

using Pose_By_Turn = Eigen::Matrix<double, 6, 3>;

// How a pose moves when it turns about a point that is Lever away from its origin.
Pose_By_Turn Turn_At_Lever(const Eigen::Vector3d& Lever) {
  Pose_By_Turn Motion;
  Motion << Eigen::Matrix3d::Identity(), -Cross_Matrix(Lever);
  return Motion;
}

// With a mean of 1 over the axes.
Eigen::Matrix3d Position_Shape(const Eigen::Matrix3d& Rotation_Cam_Base,
                               const std::optional<int>& Noisy_Axis) {
  if (!Noisy_Axis) return Eigen::Matrix3d::Identity();
  const Eigen::Vector3d Axis_Cam = Rotation_Cam_Base.col(*Noisy_Axis);
  return 3.0 / (2.0 + Noisy_Axis_Factor) *
         (Eigen::Matrix3d::Identity() +
          (Noisy_Axis_Factor - 1.0) * Axis_Cam * Axis_Cam.transpose());
}

// The motion of the predicted pose per second of the lag.
Vector6d Prediction_By_Lag(const Observation& Seen, const Mounts& At,
                           const Tracker_Poses& Trackers) {
  const Eigen::Matrix3d Rotation_Cam_Base =
      At.Transform_Cam_Tc.linear() * Trackers.Transform_Tc_Base.linear();
  const Vector6d Motion_Base = Motion_Seen_By_Camera(
      Seen, Trackers, Trackers.Transform_Base_Tr * At.Transform_Tr_Chart.translation());
  Vector6d Motion;
  Motion << Rotation_Cam_Base * Motion_Base.head<3>(), Rotation_Cam_Base * Motion_Base.tail<3>();
  return Motion;
}

}  // namespace

Mounts Moved(const Mounts& At, const Unknown_Vector& Step) {
  Mounts After;
  After.Transform_Cam_Tc = Moved(At.Transform_Cam_Tc, Step.segment<6>(Camera_Mount));
  After.Transform_Tr_Chart = Moved(At.Transform_Tr_Chart, Step.segment<6>(Board_Mount));
  After.Square_Scale = At.Square_Scale * std::exp(Step[Scale_Unknown]);
  After.Lag_Seconds = At.Lag_Seconds;
  return After;
}

Unknown_Vector Step_Between(const Mounts& From, const Mounts& To) {
  Unknown_Vector Step;
  Step << Motion_Between(From.Transform_Cam_Tc, To.Transform_Cam_Tc),
      Motion_Between(From.Transform_Tr_Chart, To.Transform_Tr_Chart),
      std::log(To.Square_Scale / From.Square_Scale);
  return Step;
}

Eigen::Isometry3d Predicted_Transform_Cam_Chart(const Observation& Seen, const Mounts& At) {
  const Tracker_Poses Trackers = Poses_At_Picture(Seen, At.Lag_Seconds);
  return At.Transform_Cam_Tc * Trackers.Transform_Tc_Base * Trackers.Transform_Base_Tr *
         At.Transform_Tr_Chart;
}

Row_Model Linearise(const Observation& Seen, const Mounts& At) {
  const Eigen::Isometry3d Predicted = Predicted_Transform_Cam_Chart(Seen, At);
  Eigen::Isometry3d Observed = Seen.Board.Transform_Cam_Chart;
  Observed.translation() *= At.Square_Scale;
  Row_Model Row;
  Row.Residual = Motion_Between(Predicted, Observed);
  const Tracker_Poses Trackers = Poses_At_Picture(Seen, At.Lag_Seconds);
  const Eigen::Matrix3d Rotation_Cam_Tr = At.Transform_Cam_Tc.linear() *
                                          Trackers.Transform_Tc_Base.linear() *
                                          Trackers.Transform_Base_Tr.linear();
  // Both mounts turn and shift the predicted pose.
  Row.Derivative.block<6, 3>(0, Camera_Mount) =
      Turn_At_Lever(Predicted.translation() - At.Transform_Cam_Tc.translation());
  Row.Derivative.block<3, 3>(3, Camera_Mount + 3).setIdentity();
  Row.Derivative.block<3, 3>(0, Board_Mount) = Rotation_Cam_Tr;
  Row.Derivative.block<3, 3>(3, Board_Mount + 3) = Rotation_Cam_Tr;
  Row.Derivative.block<3, 1>(3, Scale_Unknown) = -Observed.translation();
  // A turn of the predicted pose acts on the residual's from the right, and reversed.
  const Eigen::Matrix3d By_Turn = Turn_Derivative(Row.Residual.head<3>()).transpose();
  Row.Derivative.topRows<3>() = (By_Turn * Row.Derivative.topRows<3>()).eval();
  if (!Seen.Motion) return Row;
  Row.By_Lag = Prediction_By_Lag(Seen, At, Trackers);
  Row.By_Lag.head<3>() = (By_Turn * Row.By_Lag.head<3>()).eval();
  return Row;
}

Noise_Shapes Shape_Noise(const Observation& Seen, const Mounts& At, double Corner_Variance,
                         const Moving_Trackers& Moving) {
  Noise_Shapes Shapes;
  Shapes[Corner_Noise] = Corner_Variance * Seen.Board.Unit_Covariance;
  Shapes[Rotation_Noise].setZero();
  const Eigen::Isometry3d Transform_Cam_Tr =
      At.Transform_Cam_Tc * Seen.Transform_Tc_Base * Seen.Transform_Base_Tr;
  const Eigen::Vector3d Chart_Cam = Transform_Cam_Tr * At.Transform_Tr_Chart.translation();
  if (Moving.Camera) {
    const Pose_By_Turn Motion = Turn_At_Lever(Chart_Cam - At.Transform_Cam_Tc.translation());
    Shapes[Rotation_Noise] += Moving.Camera_Part() * Motion * Motion.transpose();
  }
  if (Moving.Board) {
    const Pose_By_Turn Motion = Turn_At_Lever(Chart_Cam - Transform_Cam_Tr.translation());
    Shapes[Rotation_Noise] += Moving.Board_Part() * Motion * Motion.transpose();
  }
  Shapes[Position_Noise].setZero();
  Shapes[Position_Noise].bottomRightCorner<3, 3>() = Position_Shape(
      At.Transform_Cam_Tc.linear() * Seen.Transform_Tc_Base.linear(), Moving.Noisy_Axis);
  return Shapes;
}

}  // namespace rigsync
