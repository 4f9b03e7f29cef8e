// SPDX-License-Identifier: Apache-2.0
//
// A capture as the camera's own recording: a clip that goes on through holds and moves.
#ifndef RIGSYNC_SIMULATE_CLIP_H
#define RIGSYNC_SIMULATE_CLIP_H

#include "simulate/simulate.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <filesystem>

namespace simulate {

constexpr int Clip_Rate_Hz = 25;

// From the clip's first frame, at 0 on the pictures' clock, until the last hold ends. 0 when the
// clip would begin after that.
std::size_t Clip_Frame_Count(const Plan& Capture);

// Draws the frames one after another. Between two photographs their backgrounds fade into each
// other. A frame in a hold without drift is the photograph with other sensor noise; one of a move
// is sharp, without motion blur.
class Clip_Frames {
 public:
  // Rays as for Render_Photograph. Both have to outlive the frames.
  Clip_Frames(const Plan& Plan_Of_Capture, const cv::Mat& Pixel_Rays);

  // CV_8UC3. Drawing frames in order is quickest.
  cv::Mat Frame(std::size_t Number);

 private:
  void Draw_Hold(std::size_t Index, double Seconds);
  void Draw_Move(std::size_t Index, double Seconds, double Part);
  const cv::Mat& Room(std::size_t Index);

  const Plan& Capture;
  const cv::Mat& Rays;
  cv::Mat Scene;                              // the last one that was drawn, before the sensor
  std::size_t Still_Index = ~std::size_t{0};  // the image of Scene, if nothing moves in it
  cv::Mat Rooms[2];
  std::size_t Room_Indices[2] = {~std::size_t{0}, ~std::size_t{0}};
};

// Writes the clip as Motion JPEG. Throws std::runtime_error when it can't be written.
void Write_Clip(const Plan& Capture, const std::filesystem::path& File, const cv::Mat& Rays,
                const Render_Progress& Progress);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_CLIP_H
