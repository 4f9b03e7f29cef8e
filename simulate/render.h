// SPDX-License-Identifier: Apache-2.0
//
// Photographs of a board whose pose is known. What a pixel sees is integrated over its area, so
// that a corner stands in the photograph where Project_Board says, to a few thousandths of a pixel.
#ifndef RIGSYNC_SIMULATE_RENDER_H
#define RIGSYNC_SIMULATE_RENDER_H

#include "simulate/simulate.h"

#include <opencv2/core.hpp>

#include <cstddef>

namespace simulate {

// Where every pixel of a lens looks: x and y of its ray at depth 1, undistorted (CV_32FC2). NaN
// where the lens shows nothing because its model folds back.
cv::Mat Make_Pixel_Rays(const Lens& Model, int Width, int Height);

// The photograph of entry Index of Capture.Images, CV_8UC3: a board, or a flat grey picture for a
// blank image. Rays are those of the plan's lens and size. The same plan gives the same pixels on
// one machine, however many threads draw them.
cv::Mat Render_Photograph(const Plan& Capture, std::size_t Index, const cv::Mat& Rays);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_RENDER_H
