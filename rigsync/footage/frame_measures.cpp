// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/frame_measures.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace rigsync {

cv::Size Measured_Size(const cv::Size& Frame) {
  const int Longer = std::max(Frame.width, Frame.height);
  if (Longer <= Measured_Width) return Frame;
  const auto Reduced = [Longer](int Side) {
    const auto Exact = static_cast<double>(Measured_Width) * Side / Longer;
    return std::max(1, static_cast<int>(std::lround(Exact)));
  };
  return {Reduced(Frame.width), Reduced(Frame.height)};
}

float Frame_Difference(const cv::Mat& Earlier, const cv::Mat& Later) {
  return static_cast<float>(cv::norm(Earlier, Later, cv::NORM_L1) /
                            static_cast<double>(Later.total()));
}

float Frame_Sharpness(const cv::Mat& Frame) {
  cv::Mat Right;
  cv::Mat Down;
  cv::Sobel(Frame, Right, CV_16S, 1, 0);
  cv::Sobel(Frame, Down, CV_16S, 0, 1);
  // Sobel's weights sum to 8 for a slope of one grey level a pixel.
  constexpr double Weight = 8.0 * 8.0;
  return static_cast<float>((cv::norm(Right, cv::NORM_L2SQR) + cv::norm(Down, cv::NORM_L2SQR)) /
                            (Weight * static_cast<double>(Frame.total())));
}

}  // namespace rigsync
