// SPDX-License-Identifier: Apache-2.0
//
// What is measured on each frame of a clip. Frames are reduced first, to Measured_Width on the
// longer side by averaging areas: that takes the sensor's noise away and leaves what a blur of a
// part of a pixel does to edges.
//
// The measure of sharpness was chosen among six, by frames of 1920 by 1080 with a chessboard,
// blurred over 0 to 3.6 pixels of motion in steps of 0.15, with noise of 0 to 10 grey levels. Given
// are the blur of the frame that was taken for the sharpest, at worst, and the pairs in the right
// order:
//
//                                    noise 10, full width   noise 10, width 480
//   mean squared gradient                 0 px, 97 %             0 px, 98.5 %
//   the same, gradients to the 4th        0 px, 95 %             0 px, 98.5 %
//   variance of the Laplacian          0.75 px, 80 %             0 px, 98 %
//   the same after smoothing              0 px, 97 %          0.15 px, 98 %
//   mean of the steepest hundredth        0 px, 97 %             0 px, 97 %
//   gradients times their neighbours'     0 px, 95 %             0 px, 98 %
#ifndef RIGSYNC_FOOTAGE_FRAME_MEASURES_H
#define RIGSYNC_FOOTAGE_FRAME_MEASURES_H

#include <opencv2/core.hpp>

namespace rigsync {

constexpr int Measured_Width = 480;

// The size at which frames of this size are measured. Smaller ones stay as they are.
cv::Size Measured_Size(const cv::Size& Frame);

// The mean absolute difference of two grey pictures of the same size, in grey levels.
float Frame_Difference(const cv::Mat& Earlier, const cv::Mat& Later);

// The mean squared gradient of a grey picture. Noise adds the same amount to all frames.
float Frame_Sharpness(const cv::Mat& Frame);

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_FRAME_MEASURES_H
