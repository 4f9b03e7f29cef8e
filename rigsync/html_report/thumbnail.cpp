// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/thumbnail.h"

#include "rigsync/capture/parallel_rows.h"
#include "rigsync/capture/reprojection_paths.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/quiet_output.h"

#include <openssl/evp.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// How photographs are made smaller, until one keeps to its part of the page.
struct Jpeg_Size {
  int Width, Quality;
};
constexpr Jpeg_Size Sizes[] = {{480, 75}, {480, 60}, {400, 55}, {320, 50},
                               {240, 45}, {160, 40}, {96, 30}};

// Decoders can halve and quarter an image as they read it. At least twice the thumbnail's width is
// left for the resize, which then averages whole pixels.
int Reading_Mode(int Width) {
  const int Reduction = Width / (2 * Sizes[0].Width);
  if (Reduction >= 4) return cv::IMREAD_REDUCED_COLOR_4;
  return Reduction >= 2 ? cv::IMREAD_REDUCED_COLOR_2 : cv::IMREAD_COLOR;
}

int Reduction_Of(int Mode) {
  if (Mode == cv::IMREAD_REDUCED_COLOR_4) return 4;
  return Mode == cv::IMREAD_REDUCED_COLOR_2 ? 2 : 1;
}

std::vector<unsigned char> Bytes_Of(const fs::path& File) {
  std::error_code Error;
  const std::uintmax_t Size = fs::file_size(File, Error);
  if (Error) return {};
  std::vector<unsigned char> Bytes(static_cast<std::size_t>(Size));
  std::ifstream Stream(File, std::ios::binary);
  Stream.read(reinterpret_cast<char*>(Bytes.data()), static_cast<std::streamsize>(Bytes.size()));
  Bytes.resize(static_cast<std::size_t>(Stream.gcount()));
  return Bytes;
}

cv::Mat Decoded(const fs::path& File, int Mode) {
  const std::vector<unsigned char> Bytes = Bytes_Of(File);
  if (Bytes.empty()) return {};
  try {
    return cv::imdecode(Bytes, Mode);
  } catch (const cv::Exception&) {  // a decoder's refusal, as of a size that nothing can hold
    return {};
  }
}

std::vector<unsigned char> Encoded(const cv::Mat& Photograph, const Jpeg_Size& Size) {
  cv::Mat Small = Photograph;
  if (Photograph.cols > Size.Width) {
    const double Scale = static_cast<double>(Size.Width) / Photograph.cols;
    const int Height = std::max(1, static_cast<int>(std::lround(Scale * Photograph.rows)));
    cv::resize(Photograph, Small, {Size.Width, Height}, 0, 0, cv::INTER_AREA);
  }
  std::vector<unsigned char> Jpeg;
  cv::imencode(".jpg", Small, Jpeg, {cv::IMWRITE_JPEG_QUALITY, Size.Quality});
  return Jpeg;
}

// The first of the sizes that keeps to Most_Bytes, or the smallest.
std::vector<unsigned char> Encoded_Within(const cv::Mat& Photograph, std::size_t Most_Bytes) {
  std::vector<unsigned char> Jpeg;
  for (const Jpeg_Size& Size : Sizes) {
    Jpeg = Encoded(Photograph, Size);
    if (Jpeg.size() <= Most_Bytes) break;
  }
  return Jpeg;
}

std::string Data_Url(const std::vector<unsigned char>& Jpeg) {
  std::string Text(4 * ((Jpeg.size() + 2) / 3) + 1, '\0');
  const int Length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(Text.data()), Jpeg.data(),
                                     static_cast<int>(Jpeg.size()));
  Text.resize(static_cast<std::size_t>(Length));
  return "data:image/jpeg;base64," + Text;
}

// Whether the file is the photograph of the run, as far as that can be told.
bool Is_Of_The_Run(const Run_View& View, std::size_t Row) {
  const Viewed_Row& Viewed = View.Rows[Row];
  std::error_code Ignored;
  if (Climbs_Out(Viewed.Image.Name) || !fs::is_regular_file(Viewed.File, Ignored)) return false;
  const std::vector<std::string>& Hashes = View.Result.Hashes.Images;
  const bool Is_Hashed = Row < Hashes.size() && !Hashes[Row].empty();
  return !Is_Hashed || File_Sha256(Viewed.File) == Hashes[Row];
}

Thumbnail Make_Thumbnail(const Run_View& View, std::size_t Row, std::size_t Most_Bytes) {
  Thumbnail Made;
  if (!Is_Of_The_Run(View, Row)) return Made;
  int Mode = Reading_Mode(View.Width);
  cv::Mat Photograph = Decoded(View.Rows[Row].File, Mode);
  if (Mode != cv::IMREAD_COLOR && Photograph.cols < Sizes[0].Width) {
    Mode = cv::IMREAD_COLOR;  // it is smaller than the others
    Photograph = Decoded(View.Rows[Row].File, Mode);
  }
  if (Photograph.empty()) return Made;
  Made.Data_Url = Data_Url(Encoded_Within(Photograph, Most_Bytes));
  // A decoder rounds what it can't halve.
  const int Reduction = Reduction_Of(Mode);
  const bool Is_Usual = std::abs(Reduction * Photograph.cols - View.Width) < Reduction &&
                        std::abs(Reduction * Photograph.rows - View.Height) < Reduction;
  Made.Width = Is_Usual ? View.Width : Reduction * Photograph.cols;
  Made.Height = Is_Usual ? View.Height : Reduction * Photograph.rows;
  return Made;
}

}  // namespace

std::vector<Thumbnail> Make_Thumbnails(const Run_View& View) {
  std::vector<Thumbnail> Made(View.Rows.size());
  if (Made.empty()) return Made;
  // Base 64 has four characters for three bytes.
  const std::size_t Most_Bytes = Most_Thumbnail_Bytes / 4 * 3 / Made.size();
  const Quiet_Output Quiet(true);  // decoders complain of broken files
  Work_On_Rows(
      Made.size(), Core_Count(),
      [&](std::size_t Row, std::size_t) { Made[Row] = Make_Thumbnail(View, Row, Most_Bytes); }, {});
  return Made;
}

}  // namespace rigsync
