// SPDX-License-Identifier: Apache-2.0
#include "bench/library_sequence.h"

#include "core/capture/detect_corner_and_calibrate.h"
#include "core/solver/cal_reproj_error.h"
#include "core/solver/calculate_transform_cam_tc.h"
#include "core/solver/calculate_transform_chart_tr.h"
#include "core/solver/evaluate_result.h"
#include "core/solver/organize_rt.h"
#include "core/solver/rt_filt_outlier.h"

#include <opencv2/calib3d.hpp>

#include <array>
#include <cmath>
#include <limits>
#include <string>

namespace bench {
namespace {

// The library's limits, as in core/calibration.cpp and core/capture/.
constexpr std::size_t Useful_Image_Limit = 12;
constexpr float Camera_Rms_Limit = 1.5f;                                 // pixels
constexpr float Reproj_Warning_Limit = 0.011111111f;                     // image heights
constexpr float Reproj_Fail_Limit = 0.016666668f;                        // image heights
constexpr float T_STD_Warning_Limit = 0.01f, T_STD_Fail_Limit = 0.015f;  // metres
constexpr int Too_Few_Images = 4;

// A file that can't be opened: the lines go to standard output only.
const char* const No_Log = "";

std::vector<cv::Point2f> As_Points(const rigsync::Corner_List& Corners) {
  std::vector<cv::Point2f> Points;
  for (const auto& [X, Y] : Corners) Points.emplace_back(X, Y);
  return Points;
}

void Append(const rigsync::Tracker_Sample& Sample, std::vector<double>& Row) {
  Row.insert(Row.end(), Sample.Position.begin(), Sample.Position.end());
  Row.insert(Row.end(), Sample.Quaternion.begin(), Sample.Quaternion.end());
}

// The lists that the stages pass on, entry i from the same image.
struct Lists {
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  std::vector<Eigen::Matrix4d> Transform_Base_Tc_all, Transform_Tr_Base_all,
      Transform_Cam_Chart_all, Transform_Cam_Tc_all;
  std::vector<Eigen::Vector4f> Quaternion_Cam_Tc_all;
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
};

Lists Lists_Of(const std::vector<rigsync::Row_Facts>& Rows) {
  Lists All;
  for (const rigsync::Row_Facts& Facts : Rows) {
    if (Facts.Corners.empty()) continue;
    std::vector<double> Row{0.0};  // the value that nothing reads
    Append(Facts.Camera, Row);
    Append(Facts.Board, Row);
    All.Raw_Data_all.push_back(Row);
    All.ImageCoordinate.push_back(As_Points(Facts.Corners));
    All.Image_name.emplace_back();
  }
  return All;
}

// One solve of the camera's mount and its error in pixels.
int Solve_Mount(Lists& All, const Eigen::Matrix4d& Transform_Chart_Tr,
                const Photographed_Board& Board, const Library_Lens& Lens,
                Eigen::Matrix4d& Mean_Transform_Cam_Tc, float& Reproj_Error) {
  if (const int Code = Calculate_Transform_Cam_Tc(
          No_Log, Mean_Transform_Cam_Tc, All.Transform_Cam_Tc_all, All.Quaternion_Cam_Tc_all,
          All.Translation_Cam_Tc_all, All.Transform_Cam_Chart_all, Transform_Chart_Tr,
          All.Transform_Tr_Base_all, All.Transform_Base_Tc_all);
      Code != 0) {
    return Code;
  }
  return Cal_Reproj_Error(No_Log, Reproj_Error, Board_Points(Board), All.ImageCoordinate,
                          Lens.Camera_Matrix, Lens.Distortion, Mean_Transform_Cam_Tc,
                          All.Transform_Base_Tc_all, All.Transform_Tr_Base_all, Transform_Chart_Tr,
                          All.Image_name, false, No_Log);
}

// The stages from the first mount to the verdict.
int Run_Stages(Lists& All, const Photographed_Board& Board, const Library_Lens& Lens,
               const rigsync::Board_Place& Estimate, Library_Result& Result) {
  Eigen::Matrix4d Transform_Chart_Tr;
  OrganizeRT(No_Log, All.Transform_Base_Tc_all, All.Transform_Tr_Base_all, Transform_Chart_Tr,
             All.Transform_Cam_Chart_all, Lens.Rvecs, Lens.Tvecs,
             {Estimate.Euler_Deg.begin(), Estimate.Euler_Deg.end()},
             {Estimate.Offset.begin(), Estimate.Offset.end()}, All.Raw_Data_all);
  Eigen::Matrix4d Mean_Transform_Cam_Tc = Eigen::Matrix4d::Identity();
  float Reproj_Error = 0.0f;
  if (const int Code =
          Solve_Mount(All, Transform_Chart_Tr, Board, Lens, Mean_Transform_Cam_Tc, Reproj_Error);
      Code != 0) {
    return Code;
  }
  if (const int Code =
          RT_Filt_Outlier(No_Log, All.Transform_Cam_Tc_all, Mean_Transform_Cam_Tc,
                          All.ImageCoordinate, All.Image_name, All.Transform_Tr_Base_all,
                          All.Transform_Base_Tc_all, All.Transform_Cam_Chart_all);
      Code != 0) {
    return Code;
  }
  Result.Kept = All.Image_name.size();
  Eigen::Matrix4d Mean_Transform_Chart_Tr;
  if (const int Code = Calculate_Transform_Chart_Tr(
          No_Log, Mean_Transform_Chart_Tr, All.Transform_Cam_Chart_all, Mean_Transform_Cam_Tc,
          All.Transform_Base_Tc_all, All.Transform_Tr_Base_all);
      Code != 0) {
    return Code;
  }
  if (const int Code = Solve_Mount(All, Mean_Transform_Chart_Tr, Board, Lens, Mean_Transform_Cam_Tc,
                                   Reproj_Error);
      Code != 0) {
    return Code;
  }
  Result.Transform_Cam_Tc = Mean_Transform_Cam_Tc;
  return Evaluate_Result(No_Log, Reproj_Error / static_cast<float>(Board.Image_Size.height),
                         Reproj_Warning_Limit, Reproj_Fail_Limit, Mean_Transform_Cam_Tc,
                         All.Translation_Cam_Tc_all, T_STD_Warning_Limit, T_STD_Fail_Limit);
}

}  // namespace

std::vector<cv::Point3f> Board_Points(const Photographed_Board& Board) {
  std::vector<cv::Point3f> Points;
  for (int r = 0; r < Board.Size.Rows; ++r) {
    for (int c = 0; c < Board.Size.Cols; ++c) {
      Points.emplace_back(static_cast<float>(c * Board.Square_Size),
                          static_cast<float>(r * Board.Square_Size), 0.0f);
    }
  }
  return Points;
}

std::optional<Library_Lens> Solve_Library_Lens(const std::vector<rigsync::Corner_List>& Corners,
                                               const Photographed_Board& Board) {
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  for (const rigsync::Corner_List& List : Corners) ImageCoordinate.push_back(As_Points(List));
  const std::vector<std::vector<cv::Point3f>> Board_Index_all(Corners.size(), Board_Points(Board));
  Library_Lens Lens;
  try {
    Lens.Rms =
        cv::calibrateCamera(Board_Index_all, ImageCoordinate, Board.Image_Size, Lens.Camera_Matrix,
                            Lens.Distortion, Lens.Rvecs, Lens.Tvecs, cv::noArray(), cv::noArray(),
                            cv::noArray(), cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
                            cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                                             std::numeric_limits<double>::epsilon()));
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
  if (!std::isfinite(Lens.Rms) || !cv::checkRange(Lens.Camera_Matrix)) return std::nullopt;
  return Lens;
}

Library_Result Run_Library_Sequence(const std::vector<rigsync::Row_Facts>& Rows,
                                    const Photographed_Board& Board, const Library_Lens& Lens,
                                    const rigsync::Board_Place& Estimate) {
  Library_Result Result;
  Lists All = Lists_Of(Rows);
  Result.Code = All.Image_name.size() < Useful_Image_Limit
                    ? Too_Few_Images
                    : Judge_Camera_Rms(No_Log, Lens.Rms, Camera_Rms_Limit);
  if (Result.Code == 0) Result.Code = Run_Stages(All, Board, Lens, Estimate, Result);
  return Result;
}

}  // namespace bench
