// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/footage/numbered_clip.h"

#include "rigsync/system/child_process.h"

#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>

namespace {

constexpr int Bits = 8, Bit_Width = Numbered_Width / Bits;

cv::Rect Bit_Place(int Bit) {
  return {(Bits - 1 - Bit) * Bit_Width, 0, Bit_Width, Numbered_Height / 2};
}

}  // namespace

void Write_Numbered_Frames(const std::filesystem::path& File, int Frames) {
  std::ofstream Stream(File, std::ios::binary);
  for (int Number = 0; Number < Frames; ++Number) {
    cv::Mat Frame(Numbered_Height, Numbered_Width, CV_8UC1, cv::Scalar(0));
    for (int Bit = 0; Bit < Bits; ++Bit) {
      if (((Number >> Bit) & 1) != 0) Frame(Bit_Place(Bit)).setTo(255);
    }
    Stream.write(reinterpret_cast<const char*>(Frame.data),
                 static_cast<std::streamsize>(Frame.total()));
  }
}

int Number_In(const std::filesystem::path& Picture) {
  const cv::Mat Frame = cv::imread(Picture.string(), cv::IMREAD_GRAYSCALE);
  if (Frame.size() != cv::Size(Numbered_Width, Numbered_Height)) return -1;
  int Number = 0;
  for (int Bit = 0; Bit < Bits; ++Bit) {
    if (cv::mean(Frame(Bit_Place(Bit)))[0] > 128.0) Number |= 1 << Bit;
  }
  return Number;
}

std::filesystem::path Encode_Numbered(const std::filesystem::path& File, int Frames,
                                      const std::vector<std::string>& Options) {
  const std::filesystem::path Raw = File.string() + ".raw";
  Write_Numbered_Frames(Raw, Frames);
  std::vector<std::string> Arguments = {
      "-f", "rawvideo", "-pixel_format",       "gray", "-video_size", "128x64", "-framerate",
      "25", "-i",       "file:" + Raw.string()};
  Arguments.insert(Arguments.end(), Options.begin(), Options.end());
  Arguments.push_back("file:" + File.string());
  Run_Ffmpeg(Arguments);
  std::filesystem::remove(Raw);
  return File;
}

void Run_Ffmpeg(const std::vector<std::string>& Arguments) {
  std::vector<std::string> All = {"-nostdin", "-y", "-loglevel", "error"};
  All.insert(All.end(), Arguments.begin(), Arguments.end());
  rigsync::Child_Process Process("ffmpeg", All);
  if (Process.Wait() == 0) return;
  throw std::runtime_error(Process.Error_Lines().empty() ? "ffmpeg fails"
                                                         : Process.Error_Lines().back());
}
