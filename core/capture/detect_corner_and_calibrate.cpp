// SPDX-License-Identifier: Apache-2.0
#include "core/capture/detect_corner_and_calibrate.h"

#include "core/base/error_catalog.h"
#include "core/base/raw_data_row.h"
#include "core/base/require_size.h"
#include "core/base/run_log.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>

namespace {

// The smallest number of usable images for a lens solve.
constexpr int Useful_Image_Limit = 12;

// Finds and refines the board in one image. Corners are in full-image pixels and in the order of
// the board model. The two grey images and the reduced one belong to the caller, so that their
// memory is reused for the whole capture.
bool Find_Corners(const cv::Mat& Image, const Detection_Plan& Plan, cv::Size Board,
                  const cv::TermCriteria& Corner_Term, cv::Mat& Reduced, cv::Mat& Reduced_Grey,
                  cv::Mat& Grey, std::vector<cv::Point2f>& Corners) {
  if (Plan.Reduces) {
    // The scale factors have no effect when a target size is given.
    cv::resize(Image, Reduced, Plan.Reduced_Size, 1.0, 0.0, cv::INTER_LINEAR);
  } else {
    Reduced = Image;
  }
  cv::cvtColor(Image, Grey, cv::COLOR_BGR2GRAY);
  cv::cvtColor(Reduced, Reduced_Grey, cv::COLOR_BGR2GRAY);

  const int Flags =
      cv::CALIB_CB_ADAPTIVE_THRESH + cv::CALIB_CB_NORMALIZE_IMAGE + cv::CALIB_CB_FAST_CHECK;
  if (!cv::findChessboardCorners(Reduced_Grey, Board, Corners, Flags)) return false;

  for (cv::Point2f& Corner : Corners) {
    Corner.x *= Plan.Scale;
    Corner.y *= Plan.Scale;
  }
  cv::cornerSubPix(Grey, Corners, cv::Size(Plan.Window_Half_Size, Plan.Window_Half_Size),
                   cv::Size(-1, -1), Corner_Term);
  return true;
}

// Reads the images of the capture and appends the corners of every image that shows the board.
// Returns one flag per entry of Image_name. One image is held in memory at a time, and none after
// the return.
std::vector<bool> Detect_Corners(const std::string& Log_Path, cv::Size& Image_Size,
                                 const std::vector<std::string>& Image_name,
                                 std::vector<std::vector<cv::Point3f>>& Board_Index_all,
                                 const std::vector<cv::Point3f>& Board_Index,
                                 std::vector<std::vector<cv::Point2f>>& ImageCoordinate,
                                 cv::Size Board, const cv::TermCriteria& Corner_Term) {
  std::vector<bool> Usable(Image_name.size(), false);
  cv::Mat Image, Reduced, Reduced_Grey, Grey;
  std::vector<cv::Point2f> Corners;
  for (std::size_t i = 0; i < Image_name.size(); ++i) {
    Write_Log(Log_Path, "Process : " + Image_name[i]);
    try {
      Image = cv::imread(Image_name[i], cv::IMREAD_COLOR);
    } catch (const cv::Exception&) {
      // Image keeps the previous photograph, which is then searched under this name. This is
      // intended: an exception of the decoder is treated as if nothing new was read.
    }
    if (Image.empty()) {
      Write_Log(Log_Path, Image_name[i] + " Not exist!");
      continue;
    }
    if (Image_Size.width == 0) Image_Size = Image.size();

    Corners.clear();
    if (Find_Corners(Image, Plan_Detection(Image_Size), Board, Corner_Term, Reduced, Reduced_Grey,
                     Grey, Corners)) {
      ImageCoordinate.push_back(Corners);
      Board_Index_all.push_back(Board_Index);
      Usable[i] = true;
    } else {
      Write_Log(Log_Path, "Read " + Image_name[i] + " Failed!");
    }
  }
  return Usable;
}

// Erases the images that are not usable, from the last to the first, and counts the others.
int Keep_Usable(const std::vector<bool>& Usable, std::vector<std::string>& Image_name,
                std::vector<std::vector<double>>& Raw_Data_all) {
  int Count = 0;
  for (std::size_t i = Usable.size(); i-- > 0;) {
    if (Usable[i]) {
      ++Count;
    } else {
      Raw_Data_all.erase(Raw_Data_all.begin() + static_cast<std::ptrdiff_t>(i));
      Image_name.erase(Image_name.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  return Count;
}

// Logs for each image its path, the numbers of its row, and its corners.
void Log_Raw_Data(const std::string& Log_Path, const std::vector<std::string>& Image_name,
                  const std::vector<std::vector<double>>& Raw_Data_all,
                  const std::vector<std::vector<cv::Point2f>>& ImageCoordinate) {
  Write_Log(Log_Path, "RAW DATA START");
  for (std::size_t i = 0; i < Image_name.size(); ++i) {
    Write_Log(Log_Path, Image_name[i]);
    Require_Size("Raw_Data_all[" + std::to_string(i) + "]", Raw_Data_Row_Size,
                 Raw_Data_all[i].size());
    std::string Numbers;
    for (std::size_t k = 0; k < Raw_Data_Row_Size; ++k) {
      if (k > 0) Numbers += " ";
      Numbers += std::to_string(Raw_Data_all[i][k]);
    }
    Write_Log(Log_Path, Numbers);
    // A successful detection has as many corners as the board.
    for (const cv::Point2f& Corner : ImageCoordinate[i]) {
      Write_Log(Log_Path, std::to_string(Corner.x) + " " + std::to_string(Corner.y));
    }
  }
  Write_Log(Log_Path, "RAW DATA END");
}

}  // namespace

Detection_Plan Plan_Detection(cv::Size Image_Size) {
  const float Scale = static_cast<float>(Image_Size.width / 720.0);
  if (!(Scale >= 2.0f)) return {1.0f, false, Image_Size, 3};
  const cv::Size Reduced_Size(
      static_cast<int>(roundf(static_cast<float>(Image_Size.width) / Scale)),
      static_cast<int>(roundf(static_cast<float>(Image_Size.height) / Scale)));
  const int Half_Size = static_cast<int>(roundf(Scale * 3.0f));
  return {Scale, true, Reduced_Size, Half_Size > 15 ? 15 : Half_Size};
}

int Detect_Corner_And_Calibrate(std::string Log_Path, double& Camera_Rms, cv::Size& Image_Size,
                                cv::Mat& Camera_Matrix, cv::Mat& Distortion, cv::Mat& Rvecs,
                                cv::Mat& Tvecs, std::vector<std::string>& Image_name,
                                std::vector<std::vector<double>>& Raw_Data_all,
                                std::vector<std::vector<cv::Point3f>>& Board_Index_all,
                                std::vector<cv::Point3f>& Board_Index,
                                std::vector<std::vector<cv::Point2f>>& ImageCoordinate,
                                int Board_Cols, int Board_Rows, int /*Window_Size*/,
                                cv::TermCriteria& Corner_Term, float Camera_Rms_Limit,
                                bool /*Show_Corners*/) {
  Write_Log(Log_Path, "Start to Detect Corner.");
  const std::vector<bool> Usable =
      Detect_Corners(Log_Path, Image_Size, Image_name, Board_Index_all, Board_Index,
                     ImageCoordinate, cv::Size(Board_Cols, Board_Rows), Corner_Term);
  const int Count = Keep_Usable(Usable, Image_name, Raw_Data_all);
  if (Count < Useful_Image_Limit) {
    Write_Log(Log_Path, "The amount of useful data is too small. (< " +
                            std::to_string(Useful_Image_Limit) + " )");
    Write_Log(Log_Path, "Error code 4: " + Error_Text(4));
    return 4;
  }
  Write_Log(Log_Path, "Corner detection successful.");
  Log_Raw_Data(Log_Path, Image_name, Raw_Data_all, ImageCoordinate);

  // k1 and k2 are solved; p1, p2 and k3 stay at their start value of 0. Standard deviations and
  // per-view errors are not requested: the solve is bit-identical without them.
  Write_Log(Log_Path, "Camera calibration start.");
  Camera_Rms = cv::calibrateCamera(Board_Index_all, ImageCoordinate, Image_Size, Camera_Matrix,
                                   Distortion, Rvecs, Tvecs, cv::noArray(), cv::noArray(),
                                   cv::noArray(), cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
                                   cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS,
                                                    30, std::numeric_limits<double>::epsilon()));
  Write_Log(Log_Path, "Fx : " + std::to_string(Camera_Matrix.at<double>(0, 0)) + " pixel.");
  Write_Log(Log_Path, "Fy : " + std::to_string(Camera_Matrix.at<double>(1, 1)) + " pixel.");
  Write_Log(Log_Path, "Cx : " + std::to_string(Camera_Matrix.at<double>(0, 2)) + " pixel.");
  Write_Log(Log_Path, "Cy : " + std::to_string(Camera_Matrix.at<double>(1, 2)) + " pixel.");
  Write_Log(Log_Path, "reprojection error : " + std::to_string(Camera_Rms));
  return Judge_Camera_Rms(Log_Path, Camera_Rms, Camera_Rms_Limit);
}

int Judge_Camera_Rms(const std::string& Log_Path, double Camera_Rms, float Camera_Rms_Limit) {
  if (Camera_Rms > static_cast<double>(Camera_Rms_Limit)) {
    // The leading space and the misspelt word are part of the text.
    Write_Log(Log_Path, " Camera calibration failed, reporjection too large. (> " +
                            std::to_string(Camera_Rms_Limit) + " pixel)");
    Write_Log(Log_Path, "Error code 5: " + Error_Text(5));
    return 5;
  }
  Write_Log(Log_Path, "Camera calibration successful.");
  return 0;
}
