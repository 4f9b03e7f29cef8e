// SPDX-License-Identifier: Apache-2.0
#include "core/solver/cal_reproj_error.h"

#include "core/base/error_catalog.h"
#include "core/base/run_log.h"

#include <Eigen/LU>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>

namespace {

constexpr int Disc_Radius = 8;  // pixels

// A filled disc around a point whose coordinates are truncated, not rounded, to whole pixels.
void Draw_Disc(cv::Mat& Image, const cv::Point2f& Centre, const cv::Scalar& Colour) {
  cv::circle(Image, cv::Point(static_cast<int>(Centre.x), static_cast<int>(Centre.y)), Disc_Radius,
             Colour, cv::FILLED, cv::LINE_8, 0);
}

// Whether a point lies strictly inside the image. A NaN value counts as outside.
bool Is_Inside(const cv::Mat& Image, const cv::Point2f& Point) {
  return Point.x > 0 && Point.x < static_cast<float>(Image.cols) && Point.y > 0 &&
         Point.y < static_cast<float>(Image.rows);
}

// Draws found corners in red and projected ones in blue over them, one corner after the other.
void Draw_Corners(cv::Mat& Image, const std::vector<cv::Point2f>& Found,
                  const std::vector<cv::Point2f>& Projected) {
  const cv::Scalar Found_Red(20, 20, 200, 0), Projected_Blue(200, 20, 20, 0);  // BGR
  for (std::size_t j = 0; j < Projected.size(); ++j) {
    Draw_Disc(Image, Found[j], Found_Red);
    if (Is_Inside(Image, Projected[j])) Draw_Disc(Image, Projected[j], Projected_Blue);
  }
}

// Only a backslash separates the folder from the name, on every platform: hosts write their paths
// this way.
std::string File_Name(const std::string& Path) {
  return Path.substr(Path.rfind('\\') + 1);
}

// Mean distance of one image's corners: differences in float, each distance in double, and the sum
// narrowed to float after each addition.
float Mean_Distance(const std::vector<cv::Point2f>& Found,
                    const std::vector<cv::Point2f>& Projected) {
  float Sum = 0.0f;
  for (std::size_t j = 0; j < Projected.size(); ++j) {
    const float Dx = Found[j].x - Projected[j].x;
    const float Dy = Found[j].y - Projected[j].y;
    const double Distance =
        std::sqrt(std::pow(static_cast<double>(Dx), 2.0) + std::pow(static_cast<double>(Dy), 2.0));
    Sum = static_cast<float>(static_cast<double>(Sum) + Distance);
  }
  return Sum / static_cast<float>(Projected.size());
}

}  // namespace

int Cal_Reproj_Error(std::string Log_Path, float& Reproj_Error,
                     std::vector<cv::Point3f> Board_Index,
                     std::vector<std::vector<cv::Point2f>> ImageCoordinate, cv::Mat Camera_Matrix,
                     cv::Mat Distortion, Eigen::Matrix4d Mean_Transform_Cam_Tc,
                     std::vector<Eigen::Matrix4d> Transform_Base_Tc_all,
                     std::vector<Eigen::Matrix4d> Transform_Tr_Base_all,
                     Eigen::Matrix4d Transform_Chart_Tr, std::vector<std::string> Image_name,
                     bool Write_Images, std::string Output_Dir) {
  if (ImageCoordinate.size() != Transform_Base_Tc_all.size()) {
    Write_Log(Log_Path, "Error code 7: " + Error_Text(7));
    return 7;
  }
  Reproj_Error = 0.0f;

  cv::Mat Rotation_Vector, Translation_Vector, Rotation, Jacobian;
  std::vector<cv::Point2f> Projected;
  const Eigen::Matrix4d Transform_Tr_Chart = Transform_Chart_Tr.inverse();
  for (std::size_t i = 0; i < ImageCoordinate.size(); ++i) {
    // The board's pose, predicted from the tracker samples and both mounts.
    const Eigen::Matrix4d Transform_Tc_Base = Transform_Base_Tc_all[i].inverse();
    const Eigen::Matrix4d Transform_Base_Tr = Transform_Tr_Base_all[i].inverse();
    const Eigen::Matrix4d Transform_Cam_Base = Mean_Transform_Cam_Tc * Transform_Tc_Base;
    const Eigen::Matrix4d Transform_Cam_Tr = Transform_Cam_Base * Transform_Base_Tr;
    const Eigen::Matrix4d Transform_Cam_Chart = Transform_Cam_Tr * Transform_Tr_Chart;

    Rotation.create(3, 3, CV_64F);
    Translation_Vector = cv::Mat::zeros(3, 1, CV_64F);
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) Rotation.at<double>(r, c) = Transform_Cam_Chart(r, c);
      Translation_Vector.at<double>(r) = Transform_Cam_Chart(r, 3);
    }
    cv::Rodrigues(Rotation, Rotation_Vector, Jacobian);
    cv::projectPoints(Board_Index, Rotation_Vector, Translation_Vector, Camera_Matrix, Distortion,
                      Projected, cv::noArray(), 0.0);

    if (Write_Images) {
      cv::Mat Image = cv::imread(Image_name[i], cv::IMREAD_COLOR);
      Draw_Corners(Image, ImageCoordinate[i], Projected);
      cv::imwrite(Output_Dir + "//Reproject_" + File_Name(Image_name[i]), Image,
                  std::vector<int>());
    }

    const float Image_Error = Mean_Distance(ImageCoordinate[i], Projected);
    Reproj_Error += Image_Error;
    Write_Log(Log_Path, "Image " + std::to_string(i) +
                            " reprojection error : " + std::to_string(Image_Error) + " pixels.");
  }
  Reproj_Error /= static_cast<float>(ImageCoordinate.size());
  Write_Log(Log_Path, "Average reprojection error : " + std::to_string(Reproj_Error) + " pixels.");
  return 0;
}
