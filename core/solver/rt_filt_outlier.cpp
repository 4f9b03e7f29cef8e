// SPDX-License-Identifier: Apache-2.0
#include "core/solver/rt_filt_outlier.h"

#include "core/base/error_catalog.h"
#include "core/base/rotation_block.h"
#include "core/base/run_log.h"
#include "core/base/short_constants.h"

#include <opencv2/calib3d.hpp>

#include <cmath>
#include <cstdint>

namespace {

// Largest accepted angle between rotation axes, degrees. It does not depend on the spread.
constexpr float Rotation_Limit_Deg = 0.5f;
// Largest accepted translation deviation, as a multiple of the spread on its axis.
constexpr float Translation_Limit_Factor = 1.3f;
// The smallest number of images that may remain.
constexpr std::size_t Remaining_Limit = 5;

// The axis of a pose's rotation, a 3 by 1 vector of unit length.
int Rotation_Direction(const std::string& Log_Path, const Eigen::Matrix4d& Pose,
                       cv::Mat& Direction) {
  Eigen::Matrix3d Rotation_Block;
  if (const int Code = Get_Rotation_Block(Log_Path, Pose, Rotation_Block); Code != 0) return Code;
  // OpenCV reads Eigen's columns as rows, so the wrapped matrix is the transpose.
  const cv::Mat Transposed(3, 3, CV_64F, Rotation_Block.data(), 3 * sizeof(double));
  cv::Mat Rotation, Jacobian;
  cv::transpose(Transposed, Rotation);
  cv::Rodrigues(Rotation, Direction, Jacobian);
  return Norm_Vec(Log_Path, Direction);
}

// Sum + Value * Value, in double, narrowed.
float Add_Square(float Sum, float Value) {
  return static_cast<float>(static_cast<double>(Sum) + std::pow(static_cast<double>(Value), 2.0));
}

bool Is_3_By_1(const cv::Mat& Vector) {
  return Vector.rows == 3 && Vector.cols == 1;
}

template <typename Entry>
void Erase_Entry(std::vector<Entry>& List, std::int32_t Index) {
  List.erase(List.begin() + Index);
}

}  // namespace

int RT_Filt_Outlier(std::string Log_Path, std::vector<Eigen::Matrix4d>& Transform_Cam_Tc_all,
                    Eigen::Matrix4d Mean_Transform_Cam_Tc,
                    std::vector<std::vector<cv::Point2f>>& ImageCoordinate,
                    std::vector<std::string>& Image_name,
                    std::vector<Eigen::Matrix4d>& Transform_Tr_Base_all,
                    std::vector<Eigen::Matrix4d>& Transform_Base_Tc_all,
                    std::vector<Eigen::Matrix4d>& Transform_Cam_Chart_all) {
  cv::Mat Mean_Direction;
  if (const int Code = Rotation_Direction(Log_Path, Mean_Transform_Cam_Tc, Mean_Direction);
      Code != 0) {
    return Code;
  }
  Eigen::Vector3f Mean_Translation;
  for (int r = 0; r < 3; ++r) Mean_Translation(r) = static_cast<float>(Mean_Transform_Cam_Tc(r, 3));

  // Deviation of every image from the mean. A dot product just above 1 makes the angle NaN, and
  // therefore STD_R as well; neither marks an image as an outlier.
  std::vector<float> Diff_R_all;
  std::vector<Eigen::Vector3f> Diff_T_all;
  float Square_Sum_R = 0.0f;
  Eigen::Vector3f Square_Sum_T = Eigen::Vector3f::Zero();
  for (std::size_t i = 0; i < Transform_Cam_Tc_all.size(); ++i) {
    cv::Mat Direction;
    if (const int Code = Rotation_Direction(Log_Path, Transform_Cam_Tc_all[i], Direction);
        Code != 0) {
      return Code;
    }
    float Cosine = 0.0f;
    if (const int Code = Dot_Vec(Log_Path, Cosine, Direction, Mean_Direction); Code != 0) {
      return Code;
    }
    const float Diff_R = static_cast<float>(static_cast<double>(acosf(Cosine)) / Pi_Short * 180.0);
    Write_Log(Log_Path,
              "Diff R in image " + std::to_string(i) + " : " + std::to_string(Diff_R) + " degree.");
    Diff_R_all.push_back(Diff_R);
    Square_Sum_R = Add_Square(Square_Sum_R, Diff_R);

    Eigen::Vector3f Diff_T;
    for (int r = 0; r < 3; ++r) {
      Diff_T(r) = Mean_Translation(r) - static_cast<float>(Transform_Cam_Tc_all[i](r, 3));
      Square_Sum_T(r) = Add_Square(Square_Sum_T(r), Diff_T(r));
    }
    Diff_T_all.push_back(Diff_T);
  }

  // Spreads about the mean that the caller passed; STD_R is only logged.
  const float Count = static_cast<float>(Transform_Cam_Tc_all.size());
  const float STD_R = sqrtf(Square_Sum_R / Count);
  Eigen::Vector3f STD_T;
  for (int r = 0; r < 3; ++r) STD_T(r) = sqrtf(Square_Sum_T(r) / Count);
  Write_Log(Log_Path, "STD_R : " + std::to_string(STD_R) + " degree.");
  Write_Log(Log_Path, "STD_T : " + std::to_string(STD_T(0)) + ", " + std::to_string(STD_T(1)) +
                          ", " + std::to_string(STD_T(2)) + " meter.");

  Eigen::Vector3f Limit_T;
  for (int r = 0; r < 3; ++r) Limit_T(r) = STD_T(r) * Translation_Limit_Factor;
  std::vector<std::int32_t> Remove_index_all;
  for (std::size_t i = 0; i < Transform_Cam_Tc_all.size(); ++i) {
    if (Diff_R_all[i] > Rotation_Limit_Deg || fabsf(Diff_T_all[i](0)) > Limit_T(0) ||
        fabsf(Diff_T_all[i](1)) > Limit_T(1) || fabsf(Diff_T_all[i](2)) > Limit_T(2)) {
      Remove_index_all.push_back(static_cast<std::int32_t>(i));
    }
  }
  Write_Log(Log_Path, "Remove outlier data number : " + std::to_string(Remove_index_all.size()));
  Write_Log(Log_Path, "Size list : (init) " + std::to_string(Transform_Cam_Tc_all.size()));

  const std::size_t Remaining = Transform_Cam_Tc_all.size() - Remove_index_all.size();
  if (Remaining < Remaining_Limit) {
    // The text says <= although the comparison is strict. It must stay as it is.
    Write_Log(Log_Path, "Filtered data number not enough : " + std::to_string(Remaining) +
                            " <= " + std::to_string(Remaining_Limit));
    Write_Log(Log_Path, "Error code 13: " + Error_Text(13));
    return 13;
  }

  // From the last index to the first, so that the remaining indices stay valid.
  for (auto Entry = Remove_index_all.rbegin(); Entry != Remove_index_all.rend(); ++Entry) {
    const std::int32_t Index = *Entry;
    Write_Log(Log_Path, "Remove index : " + std::to_string(Index));
    Write_Log(Log_Path, "Remove name : " + Image_name[static_cast<std::size_t>(Index)]);
    Erase_Entry(Transform_Cam_Tc_all, Index);
    Erase_Entry(ImageCoordinate, Index);
    Erase_Entry(Image_name, Index);
    Erase_Entry(Transform_Tr_Base_all, Index);
    Erase_Entry(Transform_Base_Tc_all, Index);
    Erase_Entry(Transform_Cam_Chart_all, Index);
  }

  if (Transform_Cam_Tc_all.size() != ImageCoordinate.size() ||
      ImageCoordinate.size() != Image_name.size() ||
      Image_name.size() != Transform_Tr_Base_all.size() ||
      Transform_Tr_Base_all.size() != Transform_Base_Tc_all.size() ||
      Transform_Base_Tc_all.size() != Transform_Cam_Chart_all.size()) {
    Write_Log(Log_Path, "RT_Filt_Outlier output size is not same");
    Write_Log(Log_Path, "Size list : (Filt)");
    Write_Log(Log_Path, "Transform_Cam_Tc_all : " + std::to_string(Transform_Cam_Tc_all.size()));
    Write_Log(Log_Path, "ImageCoordinate : " + std::to_string(ImageCoordinate.size()));
    Write_Log(Log_Path, "Image_name : " + std::to_string(Image_name.size()));
    Write_Log(Log_Path, "Transform_Tr_Base_all : " + std::to_string(Transform_Tr_Base_all.size()));
    Write_Log(Log_Path, "Transform_Base_Tc_all : " + std::to_string(Transform_Base_Tc_all.size()));
    Write_Log(Log_Path,
              "Transform_Cam_Chart_all : " + std::to_string(Transform_Cam_Chart_all.size()));
    Write_Log(Log_Path, "Error code 11: " + Error_Text(11));
    return 11;
  }
  // The same label as before the removal is intended.
  Write_Log(Log_Path, "Size list : (init) " + std::to_string(Transform_Cam_Tc_all.size()));
  return 0;
}

int Norm_Vec(std::string Log_Path, cv::Mat& Vector) {
  if (!Is_3_By_1(Vector)) {
    Write_Log(Log_Path, "Error code 9: " + Error_Text(9));
    return 9;
  }
  float Square_Sum = 0.0f;
  for (int r = 0; r < 3; ++r) {
    const double Element = Vector.at<double>(r);
    Square_Sum = static_cast<float>(static_cast<double>(Square_Sum) + Element * Element);
  }
  const double Length = static_cast<double>(sqrtf(Square_Sum));
  for (int r = 0; r < 3; ++r) Vector.at<double>(r) /= Length;
  return 0;
}

int Dot_Vec(std::string Log_Path, float& Result, cv::Mat Sample, cv::Mat Mean) {
  Result = 0.0f;
  if (!Is_3_By_1(Sample)) {
    Write_Log(Log_Path, "Error code 10: " + Error_Text(10) + " Rot_Cam_Tc_vec");
    return 10;
  }
  if (!Is_3_By_1(Mean)) {
    Write_Log(Log_Path, "Error code 10: " + Error_Text(10) + " Mean_Rot_Cam_Tc_vec");
    return 10;
  }
  for (int r = 0; r < 3; ++r) {
    Result =
        static_cast<float>(Sample.at<double>(r) * Mean.at<double>(r) + static_cast<double>(Result));
  }
  return 0;
}
