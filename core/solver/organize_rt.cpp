// SPDX-License-Identifier: Apache-2.0
#include "core/solver/organize_rt.h"

#include "core/base/raw_data_row.h"
#include "core/base/require_size.h"
#include "core/base/rotation_block.h"
#include "core/base/run_log.h"
#include "core/base/short_constants.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <opencv2/calib3d.hpp>
#include <opencv2/core/eigen.hpp>

namespace {

// Rx * Ry * Rz as a product of quaternions, without normalisation.
Eigen::Matrix3d Rotation_From_Angles(double X_Rad, double Y_Rad, double Z_Rad) {
  const Eigen::Quaterniond Qx(Eigen::AngleAxisd(X_Rad, Eigen::Vector3d::UnitX()));
  const Eigen::Quaterniond Qy(Eigen::AngleAxisd(Y_Rad, Eigen::Vector3d::UnitY()));
  const Eigen::Quaterniond Qz(Eigen::AngleAxisd(Z_Rad, Eigen::Vector3d::UnitZ()));
  const Eigen::Quaterniond Q = (Qx * Qy) * Qz;
  return Q.toRotationMatrix();
}

double Radians(double Angle_Deg) {
  return Angle_Deg * Pi_Short / 180.0;
}

Eigen::Matrix4d Make_Pose(const std::string& Log_Path, const Eigen::Matrix3d& Rotation, double X,
                          double Y, double Z) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Set_Rotation_Block(Log_Path, Rotation, Pose);
  Pose(0, 3) = X;
  Pose(1, 3) = Y;
  Pose(2, 3) = Z;
  return Pose;
}

// The pose of one tracked body, from a row's position and its quaternion w, x, y, z. The vector
// part is negated, which transposes the rotation; the position is used as given. Eigen does not
// normalise a quaternion whose squared norm is not above 0.
Eigen::Matrix4d Tracker_Pose(const std::string& Log_Path, const std::vector<double>& Row,
                             std::size_t Position, std::size_t Quaternion) {
  Eigen::Quaterniond Rotation(Row[Quaternion], -Row[Quaternion + 1], -Row[Quaternion + 2],
                              -Row[Quaternion + 3]);  // w first
  Rotation.normalize();
  return Make_Pose(Log_Path, Rotation.toRotationMatrix(), Row[Position], Row[Position + 1],
                   Row[Position + 2]);
}

// The first element of each sample's parts in a row of Raw_Data_all. Element 0 of a row is not
// read.
constexpr std::size_t Tc_Position = 1;
constexpr std::size_t Tc_Quaternion = 4;
constexpr std::size_t Tr_Position = 8;
constexpr std::size_t Tr_Quaternion = 11;

}  // namespace

int OrganizeRT(std::string Log_Path, std::vector<Eigen::Matrix4d>& Transform_Base_Tc_all,
               std::vector<Eigen::Matrix4d>& Transform_Tr_Base_all,
               Eigen::Matrix4d& Transform_Chart_Tr,
               std::vector<Eigen::Matrix4d>& Transform_Cam_Chart_all, cv::Mat Rvecs, cv::Mat Tvecs,
               std::vector<double> Chart_Euler_Deg, std::vector<double> Chart_Translation,
               std::vector<std::vector<double>> Raw_Data_all) {
  // The host passes the pose of the board in the frame of its tracker; the chain needs the inverse.
  Require_Size("Chart_Euler_Deg", 3, Chart_Euler_Deg.size());
  const Eigen::Matrix3d Rotation_Tr_Chart = Rotation_From_Angles(
      Radians(Chart_Euler_Deg[0]), Radians(Chart_Euler_Deg[1]), Radians(Chart_Euler_Deg[2]));
  Require_Size("Chart_Translation", 3, Chart_Translation.size());
  const Eigen::Matrix4d Transform_Tr_Chart =
      Make_Pose(Log_Path, Rotation_Tr_Chart, Chart_Translation[0], Chart_Translation[1],
                Chart_Translation[2]);
  Transform_Chart_Tr = Transform_Tr_Chart.inverse();
  Write_Log(Log_Path, "Transform_Chart_Tr successful.");

  cv::Mat Rotation_Cam_Chart_Cv, Jacobian;
  for (std::size_t i = 0; i < Raw_Data_all.size(); ++i) {
    const std::vector<double>& Row = Raw_Data_all[i];
    Require_Size("Raw_Data_all[" + std::to_string(i) + "]", Raw_Data_Row_Size, Row.size());

    Eigen::Matrix4d Transform_Base_Tr;
    Tracker_To_Camera_Axes(Log_Path, Tracker_Pose(Log_Path, Row, Tr_Position, Tr_Quaternion),
                           Transform_Base_Tr);
    const Eigen::Matrix4d Transform_Tr_Base = Transform_Base_Tr.inverse();

    Eigen::Matrix4d Transform_Base_Tc;
    Tracker_To_Camera_Axes(Log_Path, Tracker_Pose(Log_Path, Row, Tc_Position, Tc_Quaternion),
                           Transform_Base_Tc);

    const int Image = static_cast<int>(i);
    cv::Rodrigues(Rvecs.row(Image), Rotation_Cam_Chart_Cv, Jacobian);
    Eigen::Matrix3d Rotation_Cam_Chart;
    cv::cv2eigen(Rotation_Cam_Chart_Cv, Rotation_Cam_Chart);
    const double* Translation_Cam_Chart = Tvecs.row(Image).ptr<double>();
    const Eigen::Matrix4d Transform_Cam_Chart =
        Make_Pose(Log_Path, Rotation_Cam_Chart, Translation_Cam_Chart[0], Translation_Cam_Chart[1],
                  Translation_Cam_Chart[2]);

    Transform_Base_Tc_all.push_back(Transform_Base_Tc);
    Transform_Tr_Base_all.push_back(Transform_Tr_Base);
    Transform_Cam_Chart_all.push_back(Transform_Cam_Chart);
  }
  return 0;
}

int Tracker_To_Camera_Axes(std::string Log_Path, Eigen::Matrix4d Tracker,
                           Eigen::Matrix4d& Camera_Axes) {
  const Eigen::Matrix4d Tracker_Inverse = Tracker.inverse();
  const Eigen::Matrix4d C =
      Make_Pose(Log_Path, Rotation_From_Angles(Half_Pi_Short, 0.0, Pi_Short), 0.0, 0.0, 0.0);
  const Eigen::Matrix4d Product = C * Tracker_Inverse;
  Camera_Axes = Product.inverse();
  return 0;
}
