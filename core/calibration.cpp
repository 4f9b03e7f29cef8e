// SPDX-License-Identifier: Apache-2.0
//
// The calibration sequence, one for both exported overloads. It holds every list and matrix of a
// run as locals, calls the stages in a fixed order and returns the first code that is not 0.
// It catches no exceptions: what a stage or OpenCV throws reaches the host and is not logged.
#include "core/calibration.h"

#include "core/base/error_catalog.h"
#include "core/base/run_log.h"
#include "core/base/short_constants.h"
#include "core/capture/detect_corner_and_calibrate.h"
#include "core/capture/read_raw_data.h"
#include "core/solver/cal_reproj_error.h"
#include "core/solver/calculate_transform_cam_tc.h"
#include "core/solver/calculate_transform_chart_tr.h"
#include "core/solver/evaluate_result.h"
#include "core/solver/organize_rt.h"
#include "core/solver/rt_filt_outlier.h"
#include "rigsync_core.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace {

// A run fails when the RMS error of the lens solve is above this, pixels of the full image.
constexpr float Camera_Rms_Limit = 1.5f;

// 12 and 18 pixels on an image 1080 high, as fractions of the height. They are float, like the
// error that they are compared with: in double, a value on the limit would change sides.
constexpr float Reproj_Warning_Limit = 0.011111111f;
constexpr float Reproj_Fail_Limit = 0.016666668f;
static_assert(Reproj_Warning_Limit == 12.0f / 1080.0f, "in single precision");
static_assert(Reproj_Fail_Limit == 18.0f / 1080.0f, "in single precision");

// Limits of the translation spread on the worst axis, metres. They are float, like the spread.
constexpr float T_STD_Warning_Limit = 0.01f;
constexpr float T_STD_Fail_Limit = 0.015f;

// Initial capacities of the lists, not limits.
constexpr std::size_t Raw_Data_Reserve = 3000;
constexpr std::size_t Image_List_Reserve = 5000;

// The additional inputs and outputs of the second overload.
struct Lens_Outputs {
  double Sensor_Width_mm;
  double Sensor_Height_mm;
  std::vector<double>& FoV;
  std::vector<double>& Focal_Length_mm;
};

// Appends the solved lens to the host's vectors and logs it. The normalised values are logged from
// the front of the vectors: if a vector was not empty, its old values are logged.
void Deliver_Lens(const std::string& Log_Path, cv::Size Solved_Image_Size,
                  const cv::Mat& Camera_Matrix, const cv::Mat& Solved_Distortion,
                  std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                  std::vector<double>& Norm_Cxy, std::vector<double>& Distortion) {
  const double Width = Solved_Image_Size.width;
  const double Height = Solved_Image_Size.height;
  Norm_Fxy.push_back(Camera_Matrix.at<double>(0, 0) / Width);
  Norm_Fxy.push_back(Camera_Matrix.at<double>(1, 1) / Height);
  Norm_Cxy.push_back(Camera_Matrix.at<double>(0, 2) / Width);
  Norm_Cxy.push_back(Camera_Matrix.at<double>(1, 2) / Height);
  Image_Size.push_back(Width);
  Image_Size.push_back(Height);
  for (int i = 0; i < 5; ++i) Distortion.push_back(Solved_Distortion.at<double>(i));

  Write_Log(Log_Path, "Image Width : " + std::to_string(Solved_Image_Size.width) + " pixel.");
  Write_Log(Log_Path, "Image Height : " + std::to_string(Solved_Image_Size.height) + " pixel.");
  Write_Log(Log_Path,
            "Norm F : (" + std::to_string(Norm_Fxy[0]) + ", " + std::to_string(Norm_Fxy[1]) + ").");
  Write_Log(Log_Path,
            "Norm C : (" + std::to_string(Norm_Cxy[0]) + ", " + std::to_string(Norm_Cxy[1]) + ").");
  std::string Coefficients = "Distortion (k1, k2, p1, p2, k3) : ";
  for (int i = 0; i < 5; ++i) {
    if (i > 0) Coefficients += ", ";
    Coefficients += std::to_string(Solved_Distortion.at<double>(i));
  }
  Write_Log(Log_Path, Coefficients);
}

// The lens as fields of view and as a focal length in millimetres:
//
//   FoV             = 2 * atan(1 / (2 * Norm_Fxy)), degrees
//   Focal_Length_mm = pixel pitch * focal length in pixels, on the axis with the smaller pitch,
//                     y where they are equal
//
// Norm_Fxy and the logged focal length are read from the front of the host's vectors; the focal
// length itself comes from the solve. The sensor size is not checked: a size of 0 gives 0.
void Deliver_Lens_Outputs(const std::string& Log_Path, cv::Size Solved_Image_Size,
                          const cv::Mat& Camera_Matrix, const std::vector<double>& Norm_Fxy,
                          const Lens_Outputs& Outputs) {
  const double FoV_H = 2.0 * std::atan(1.0 / (2.0 * Norm_Fxy[0])) * Degree_Factor_Wide;
  const double FoV_V = 2.0 * std::atan(1.0 / (2.0 * Norm_Fxy[1])) * Degree_Factor_Wide;
  Write_Log(Log_Path, "FoV_H : " + std::to_string(FoV_H) + " degree.");
  Write_Log(Log_Path, "FoV_V : " + std::to_string(FoV_V) + " degree.");
  Outputs.FoV.push_back(FoV_H);
  Outputs.FoV.push_back(FoV_V);

  const double Pitch_X_mm = Outputs.Sensor_Width_mm / Solved_Image_Size.width;
  const double Pitch_Y_mm = Outputs.Sensor_Height_mm / Solved_Image_Size.height;
  const double Focal_Length = Pitch_Y_mm > Pitch_X_mm ? Pitch_X_mm * Camera_Matrix.at<double>(0, 0)
                                                      : Pitch_Y_mm * Camera_Matrix.at<double>(1, 1);
  Outputs.Focal_Length_mm.push_back(Focal_Length);
  Write_Log(Log_Path, "Focal length (mm) : " + std::to_string(Outputs.Focal_Length_mm[0]) + " mm.");
}

// The whole sequence. Outputs is null for the first overload.
int Run_Calibration(const std::string& Csv_Path, int Board_Cols, int Board_Rows, double Square_Size,
                    const std::vector<double>& Chart_Euler_Deg,
                    const std::vector<double>& Chart_Translation, std::vector<double>& Image_Size,
                    std::vector<double>& Norm_Fxy, std::vector<double>& Norm_Cxy,
                    std::vector<double>& Distortion, std::vector<double>& Transform_Cam_Tc,
                    const Lens_Outputs* Outputs, const std::string& Output_Dir) {
  std::string Log_Path;
  Make_Log_Path(Log_Path, Output_Dir);
  Write_Log(Log_Path, "Version : " + Program_Version);
  Write_Log(Log_Path, "Camera Tracker Calibration start.");

  cv::TermCriteria Corner_Term(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1);
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  std::vector<std::vector<cv::Point3f>> Board_Index_all;
  std::vector<cv::Point3f> Board_Index;
  cv::Size Solved_Image_Size(0, 0);
  cv::Mat Camera_Matrix, Solved_Distortion, Rvecs, Tvecs;
  double Camera_Rms = 0.0;
  Image_name.reserve(Raw_Data_Reserve);
  Raw_Data_all.reserve(Raw_Data_Reserve);
  ImageCoordinate.reserve(Image_List_Reserve);
  Board_Index_all.reserve(Image_List_Reserve);
  Board_Index.reserve(Board_Reserve(Board_Cols, Board_Rows));

  // The board and the capture.
  Write_Log(Log_Path, "CALIBRATION BOARD INDEX START");
  Build_Board_Index(Log_Path, Board_Index, Board_Cols, Board_Rows, Square_Size);
  Write_Log(Log_Path, "CALIBRATION BOARD INDEX END");

  Write_Log(Log_Path, "Start to read the csv file.");
  if (const int Code = Read_Raw_Data(Log_Path, Csv_Path, Image_name, Raw_Data_all); Code != 0) {
    return Code;
  }
  if (const int Code = Compare_Amounts(Log_Path, Image_name.size(), Raw_Data_all.size());
      Code != 0) {
    return Code;
  }
  Write_Log(Log_Path, "Read the csv file successfully.");

  // The lens, which the host receives even if a later stage fails. The int and the bool are unused.
  if (const int Code = Detect_Corner_And_Calibrate(
          Log_Path, Camera_Rms, Solved_Image_Size, Camera_Matrix, Solved_Distortion, Rvecs, Tvecs,
          Image_name, Raw_Data_all, Board_Index_all, Board_Index, ImageCoordinate, Board_Cols,
          Board_Rows, 11, Corner_Term, Camera_Rms_Limit, true);
      Code != 0) {
    return Code;
  }
  Deliver_Lens(Log_Path, Solved_Image_Size, Camera_Matrix, Solved_Distortion, Image_Size, Norm_Fxy,
               Norm_Cxy, Distortion);
  if (Outputs != nullptr) {
    Deliver_Lens_Outputs(Log_Path, Solved_Image_Size, Camera_Matrix, Norm_Fxy, *Outputs);
  }

  // First pass, with the host's board estimate. It gives the filter the poses and their mean; its
  // reprojection error is only logged.
  std::vector<Eigen::Matrix4d> Transform_Base_Tc_all, Transform_Tr_Base_all,
      Transform_Cam_Chart_all;
  Transform_Base_Tc_all.reserve(Image_List_Reserve);
  Transform_Tr_Base_all.reserve(Image_List_Reserve);
  Transform_Cam_Chart_all.reserve(Image_List_Reserve);
  Eigen::Matrix4d Transform_Chart_Tr;

  Write_Log(Log_Path, "Start OrganizeRT.");
  if (const int Code = OrganizeRT(Log_Path, Transform_Base_Tc_all, Transform_Tr_Base_all,
                                  Transform_Chart_Tr, Transform_Cam_Chart_all, Rvecs, Tvecs,
                                  Chart_Euler_Deg, Chart_Translation, Raw_Data_all);
      Code != 0) {
    return Code;
  }
  Write_Log(Log_Path, "Finish OrganizeRT.");

  // Row 3 of the result comes from this identity: the solve writes rotation and translation only.
  Eigen::Matrix4d Mean_Transform_Cam_Tc = Eigen::Matrix4d::Identity();
  std::vector<Eigen::Matrix4d> Transform_Cam_Tc_all;
  std::vector<Eigen::Vector4f> Quaternion_Cam_Tc_all;
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
  Write_Log(Log_Path, "Start Calculate_Transform_Cam_Tc in first time.");
  if (const int Code = Calculate_Transform_Cam_Tc(
          Log_Path, Mean_Transform_Cam_Tc, Transform_Cam_Tc_all, Quaternion_Cam_Tc_all,
          Translation_Cam_Tc_all, Transform_Cam_Chart_all, Transform_Chart_Tr,
          Transform_Tr_Base_all, Transform_Base_Tc_all);
      Code != 0) {
    return Code;
  }
  Write_Log(Log_Path, "Finish Calculate_Transform_Cam_Tc.");

  float Reproj_Error = 0.0f;
  if (const int Code = Cal_Reproj_Error(Log_Path, Reproj_Error, Board_Index, ImageCoordinate,
                                        Camera_Matrix, Solved_Distortion, Mean_Transform_Cam_Tc,
                                        Transform_Base_Tc_all, Transform_Tr_Base_all,
                                        Transform_Chart_Tr, Image_name, false, Output_Dir);
      Code != 0) {
    return Code;
  }

  // Second pass: the outliers are removed, the board's mount is re-estimated with the mean of the
  // first pass, and camera mount and error are computed again. The driver logs nothing around these
  // four calls.
  if (const int Code = RT_Filt_Outlier(Log_Path, Transform_Cam_Tc_all, Mean_Transform_Cam_Tc,
                                       ImageCoordinate, Image_name, Transform_Tr_Base_all,
                                       Transform_Base_Tc_all, Transform_Cam_Chart_all);
      Code != 0) {
    return Code;
  }
  Eigen::Matrix4d Mean_Transform_Chart_Tr;
  if (const int Code = Calculate_Transform_Chart_Tr(Log_Path, Mean_Transform_Chart_Tr,
                                                    Transform_Cam_Chart_all, Mean_Transform_Cam_Tc,
                                                    Transform_Base_Tc_all, Transform_Tr_Base_all);
      Code != 0) {
    return Code;
  }
  if (const int Code = Calculate_Transform_Cam_Tc(
          Log_Path, Mean_Transform_Cam_Tc, Transform_Cam_Tc_all, Quaternion_Cam_Tc_all,
          Translation_Cam_Tc_all, Transform_Cam_Chart_all, Mean_Transform_Chart_Tr,
          Transform_Tr_Base_all, Transform_Base_Tc_all);
      Code != 0) {
    return Code;
  }
  if (const int Code = Cal_Reproj_Error(Log_Path, Reproj_Error, Board_Index, ImageCoordinate,
                                        Camera_Matrix, Solved_Distortion, Mean_Transform_Cam_Tc,
                                        Transform_Base_Tc_all, Transform_Tr_Base_all,
                                        Mean_Transform_Chart_Tr, Image_name, true, Output_Dir);
      Code != 0) {
    return Code;
  }

  // Filled before the verdict: a host that receives 6, 14 or 99 still gets the result.
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Transform_Cam_Tc.push_back(Mean_Transform_Cam_Tc(r, c));
  }
  if (const int Code =
          Evaluate_Result(Log_Path, Reproj_Error / static_cast<float>(Solved_Image_Size.height),
                          Reproj_Warning_Limit, Reproj_Fail_Limit, Mean_Transform_Cam_Tc,
                          Translation_Cam_Tc_all, T_STD_Warning_Limit, T_STD_Fail_Limit);
      Code != 0) {
    return Code;
  }
  Write_Log(Log_Path, "Camera and Tracker Calibration successful.");
  return 0;
}

}  // namespace

std::size_t Board_Reserve(int Board_Cols, int Board_Rows) {
  const std::uint32_t Product =
      static_cast<std::uint32_t>(Board_Cols) * static_cast<std::uint32_t>(Board_Rows) * 3u;
  if (Product > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("vector too long");
  }
  return Product;
}

void Build_Board_Index(const std::string& Log_Path, std::vector<cv::Point3f>& Board_Index,
                       int Board_Cols, int Board_Rows, double Square_Size) {
  for (int r = 0; r < Board_Rows; ++r) {
    for (int c = 0; c < Board_Cols; ++c) {
      const double X = c * Square_Size;
      const double Y = r * Square_Size;
      Board_Index.emplace_back(static_cast<float>(X), static_cast<float>(Y), 0.0f);
      Write_Log(Log_Path, std::to_string(X) + " " + std::to_string(Y) + " 0");
    }
  }
}

int Compare_Amounts(const std::string& Log_Path, std::size_t Images, std::size_t Rows) {
  if (Images != Rows) {
    Write_Log(Log_Path, "Error code 2 : " + Error_Text(2));
    return 2;
  }
  return 0;
}

int Calibration(std::string Csv_Path, int Board_Cols, int Board_Rows, double Square_Size,
                std::vector<double> Chart_Euler_Deg, std::vector<double> Chart_Translation,
                std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                std::vector<double>& Norm_Cxy, std::vector<double>& Distortion,
                std::vector<double>& Transform_Cam_Tc, std::string Output_Dir) {
  return Run_Calibration(Csv_Path, Board_Cols, Board_Rows, Square_Size, Chart_Euler_Deg,
                         Chart_Translation, Image_Size, Norm_Fxy, Norm_Cxy, Distortion,
                         Transform_Cam_Tc, nullptr, Output_Dir);
}

int Calibration(std::string Csv_Path, double Sensor_Width_mm, double Sensor_Height_mm,
                int Board_Cols, int Board_Rows, double Square_Size,
                std::vector<double> Chart_Euler_Deg, std::vector<double> Chart_Translation,
                std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                std::vector<double>& Norm_Cxy, std::vector<double>& Distortion,
                std::vector<double>& Transform_Cam_Tc, std::vector<double>& FoV,
                std::vector<double>& Focal_Length_mm, std::string Output_Dir) {
  const Lens_Outputs Outputs{Sensor_Width_mm, Sensor_Height_mm, FoV, Focal_Length_mm};
  return Run_Calibration(Csv_Path, Board_Cols, Board_Rows, Square_Size, Chart_Euler_Deg,
                         Chart_Translation, Image_Size, Norm_Fxy, Norm_Cxy, Distortion,
                         Transform_Cam_Tc, &Outputs, Output_Dir);
}
