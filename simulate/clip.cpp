// SPDX-License-Identifier: Apache-2.0
#include "simulate/clip.h"

#include "simulate/avi.h"
#include "simulate/geometry.h"
#include "simulate/motion.h"
#include "simulate/render.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace simulate {

namespace {

constexpr std::size_t No_Image = ~std::size_t{0};

// On the take's clock.
double Frame_Seconds(const Plan& Capture, std::size_t Number) {
  return static_cast<double>(Number) / Clip_Rate_Hz + Capture.Settings.Recording.Clock_Offset;
}

bool Is_Still(const Hold& Still) {
  return Still.Camera.Linear.isZero(0.0) && Still.Camera.Angular.isZero(0.0) &&
         Still.Board.Linear.isZero(0.0) && Still.Board.Angular.isZero(0.0);
}

bool Shows_Board(const Image_Truth& Image) {
  return Image.Kind != Row_Kind::Blank_Image;
}

}  // namespace

std::size_t Clip_Frame_Count(const Plan& Capture) {
  const double Seconds = Duration(Capture) - Capture.Settings.Recording.Clock_Offset;
  if (Capture.Images.empty() || Seconds < 0.0) return 0;
  return static_cast<std::size_t>(Seconds * Clip_Rate_Hz) + 1;
}

Clip_Frames::Clip_Frames(const Plan& Plan_Of_Capture, const cv::Mat& Pixel_Rays)
    : Capture(Plan_Of_Capture), Rays(Pixel_Rays) {}

// Two neighbours are never in the same place of the two.
const cv::Mat& Clip_Frames::Room(std::size_t Index) {
  const std::size_t Place = Index % 2;
  if (Room_Indices[Place] != Index) {
    Rooms[Place] = Draw_Room(Capture, Index);
    Room_Indices[Place] = Index;
  }
  return Rooms[Place];
}

void Clip_Frames::Draw_Hold(std::size_t Index, double Seconds) {
  const Image_Truth& Image = Capture.Images[Index];
  if (Still_Index == Index) return;
  Still_Index = Is_Still(Image.Still) ? Index : No_Image;
  Room(Index).copyTo(Scene);
  if (!Shows_Board(Image)) return;
  const Eigen::Matrix4d Transform_Cam_Chart =
      Still_Index == Index ? Image.Transform_Cam_Chart
                           : Transform_Cam_Chart_Of(Capture, Pose_At(Capture, Seconds));
  Draw_Board_In(Capture, Transform_Cam_Chart, Rays, Scene);
}

void Clip_Frames::Draw_Move(std::size_t Index, double Seconds, double Part) {
  Still_Index = No_Image;
  cv::addWeighted(Room(Index), 1.0 - Part, Room(Index + 1), Part, 0.0, Scene);
  if (!Shows_Board(Capture.Images[Part < 0.5 ? Index : Index + 1])) return;
  Draw_Board_In(Capture, Transform_Cam_Chart_Of(Capture, Pose_At(Capture, Seconds)), Rays, Scene);
}

cv::Mat Clip_Frames::Frame(std::size_t Number) {
  const double Seconds = Frame_Seconds(Capture, Number);
  const std::size_t Index = Image_At(Capture, Seconds);
  const double Part = Progress_At(Capture, Seconds);
  if (Part <= 0.0) {
    Draw_Hold(Index, Seconds);
  } else {
    Draw_Move(Index, Seconds, Part);
  }
  // The photographs have the first numbers of the sensor's noise.
  return Expose(Capture.Settings, Capture.Images.size() + Number, Scene);
}

void Write_Clip(const Plan& Capture, const std::filesystem::path& File, const cv::Mat& Rays,
                const Render_Progress& Progress) {
  const Options& Settings = Capture.Settings;
  const std::size_t Count = Clip_Frame_Count(Capture);
  const std::vector<int> Encoder_Settings = {cv::IMWRITE_JPEG_QUALITY, Settings.Jpeg_Quality};
  Avi_Writer Writer(File, Settings.Width, Settings.Height, Clip_Rate_Hz);
  Clip_Frames Frames(Capture, Rays);
  std::vector<unsigned char> Jpeg;
  for (std::size_t i = 0; i < Count; ++i) {
    if (!cv::imencode(".jpg", Frames.Frame(i), Jpeg, Encoder_Settings)) {
      throw std::runtime_error("simulate: can't encode a frame of " + File.string());
    }
    Writer.Add(Jpeg);
    if (Progress) Progress(i + 1, Count);
  }
  Writer.Finish();
}

}  // namespace simulate
