// SPDX-License-Identifier: Apache-2.0
//
// Photographs of a board whose pose is known. Each pixel is integrated over its area, so that a
// corner is where Project_Board computes it, to a few thousandths of a pixel.
#ifndef RIGSYNC_SIMULATE_RENDER_H
#define RIGSYNC_SIMULATE_RENDER_H

#include "simulate/simulate.h"

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <cstddef>

namespace simulate {

// The ray of every pixel: x and y at depth 1, undistorted (CV_32FC2). NaN where the lens model
// folds back, so that no ray exists.
cv::Mat Make_Pixel_Rays(const Lens& Model, int Width, int Height);

// The photograph of entry Index of Capture.Images, CV_8UC3: a board, or a uniform grey image for a
// blank one. Rays must belong to the plan's lens and size. The same plan gives the same pixels on
// one machine for any number of threads.
cv::Mat Render_Photograph(const Plan& Capture, std::size_t Index, const cv::Mat& Rays);

// The steps of a photograph, in the linear grey levels of the scene (CV_32FC3): the room behind the
// board of entry Index, uniformly grey for a blank image; a board in front of it, wherever that is.
cv::Mat Draw_Room(const Plan& Capture, std::size_t Index);
void Draw_Board_In(const Plan& Capture, const Eigen::Matrix4d& Transform_Cam_Chart,
                   const cv::Mat& Rays, cv::Mat& Picture);

// Applies the light, adds the sensor's noise and rounds to bytes (CV_8UC3). Pictures with the same
// Number have the same noise.
cv::Mat Expose(const Options& Settings, std::size_t Number, const cv::Mat& Picture);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_RENDER_H
