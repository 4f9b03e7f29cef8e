// SPDX-License-Identifier: Apache-2.0
//
// An AVI file of JPEG pictures (Motion JPEG), which every video program reads. OpenCV's own writer
// would need its video module, and with that the libraries of several video frameworks.
#ifndef RIGSYNC_SIMULATE_AVI_H
#define RIGSYNC_SIMULATE_AVI_H

#include "simulate/unfinished_file.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

namespace simulate {

// Many programs read the sizes in an AVI file as signed numbers of 32 bits.
constexpr std::uint64_t Largest_Clip_Bytes = 2'000'000'000;

class Avi_Writer {
 public:
  // The file has its name when Finish has returned, and at most Most_Bytes. Throws
  // std::runtime_error when it can't be written.
  Avi_Writer(const std::filesystem::path& File, int Width, int Height, int Frames_Per_Second,
             std::uint64_t Most_Bytes = Largest_Clip_Bytes);

  // A frame as a JPEG file has it. Throws std::runtime_error when the file would get too large.
  void Add(const std::vector<unsigned char>& Jpeg);

  // Writes the index and the lengths; without it the file can't be read. Throws std::runtime_error
  // when anything could not be written.
  void Finish();

 private:
  void Write_Header();

  std::filesystem::path Name;
  Unfinished_File Unfinished;
  std::ofstream Out;
  int Width, Height, Frames_Per_Second;
  std::uint64_t Most;
  std::vector<std::uint32_t> Sizes;  // of the frames, bytes
  std::uint64_t Frame_Bytes = 0;     // of all frames with their headers
  std::uint32_t Largest_Frame = 0;
};

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_AVI_H
