// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_detection.h"

#include "rigsync/capture/library_limits.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// Half the refinement window in searched pixels, and its limit in full-image pixels.
constexpr float Window_Half_Size_Searched = 3.0f;
constexpr int Largest_Window_Half_Size = 15;

// A half is rounded away from zero. cvRound rounds it to the even neighbour: at a width of 1560 the
// window would be 6 instead of 7.
int Rounded(float Value) {
  return static_cast<int>(std::round(Value));
}

}  // namespace

Detection_Settings Settings_For(cv::Size First_Size) {
  Detection_Settings Settings;
  if (First_Size.width < library_limits::Reduced_From_Width) return Settings;
  Settings.Is_Reduced = true;
  Settings.Scale =
      static_cast<float>(First_Size.width / static_cast<double>(library_limits::Reduced_Width));
  Settings.Reduced_Size = cv::Size(Rounded(static_cast<float>(First_Size.width) / Settings.Scale),
                                   Rounded(static_cast<float>(First_Size.height) / Settings.Scale));
  Settings.Window_Half_Size =
      std::min(Rounded(Settings.Scale * Window_Half_Size_Searched), Largest_Window_Half_Size);
  return Settings;
}

void Prepare_Images(const cv::Mat& Image, const Detection_Settings& Settings,
                    Detection_Images& Images) {
  if (Settings.Is_Reduced) {
    cv::resize(Image, Images.Reduced, Settings.Reduced_Size, 0.0, 0.0, cv::INTER_LINEAR);
  } else {
    Images.Reduced = Image;
  }
  cv::cvtColor(Image, Images.Grey, cv::COLOR_BGR2GRAY);
  cv::cvtColor(Images.Reduced, Images.Reduced_Grey, cv::COLOR_BGR2GRAY);
}

bool Search_Board(const Detection_Images& Images, const Detection_Settings& Settings,
                  const Board_Size& Board, std::vector<cv::Point2f>& Corners) {
  Corners.clear();
  if (!cv::findChessboardCorners(
          Images.Reduced_Grey, cv::Size(Board.Cols, Board.Rows), Corners,
          cv::CALIB_CB_ADAPTIVE_THRESH | cv::CALIB_CB_NORMALIZE_IMAGE | cv::CALIB_CB_FAST_CHECK)) {
    return false;
  }
  for (cv::Point2f& Corner : Corners) Corner *= Settings.Scale;
  return true;
}

void Refine_Corners(const Detection_Images& Images, const Detection_Settings& Settings,
                    std::vector<cv::Point2f>& Corners) {
  cv::cornerSubPix(Images.Grey, Corners,
                   cv::Size(Settings.Window_Half_Size, Settings.Window_Half_Size), cv::Size(-1, -1),
                   cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 30, 0.1));
}

std::vector<cv::Point2f> Detect_Board(const cv::Mat& Image, cv::Size First_Size,
                                      const Board_Size& Board) {
  const Detection_Settings Settings = Settings_For(First_Size);
  Detection_Images Images;
  Prepare_Images(Image, Settings, Images);
  std::vector<cv::Point2f> Corners;
  if (!Search_Board(Images, Settings, Board, Corners)) return {};
  Refine_Corners(Images, Settings, Corners);
  return Corners;
}

}  // namespace rigsync
