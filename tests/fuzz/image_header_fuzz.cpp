// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as an image. What its header states before it is decoded must be what the decoder makes
// of it, or an image could hide its size; the two sides may be exchanged, as EXIF may say.
#include "rigsync/capture/image_header.h"
#include "tests/fuzz/fuzz_support.h"

#include <opencv2/imgcodecs.hpp>

namespace {

// Larger images would take the time of many small ones.
constexpr std::uint64_t Most_Decoded = 100'000;

bool Is_Checked(const std::string& Text) {
  return Text.compare(0, 4, "\x89PNG") == 0 || Text.compare(0, 2, "BM") == 0 ||
         Text.compare(0, 2, "\xFF\xD8") == 0;
}

cv::Mat Decoded(const std::string& Text) {
  try {
    return cv::imdecode(std::vector<char>(Text.begin(), Text.end()), cv::IMREAD_COLOR);
  } catch (const cv::Exception&) {
    return {};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  const std::string Text = Bytes(Data, Size).Take_Rest();
  const std::filesystem::path File = Folder.Write("image", Text);
  const auto Stated = rigsync::Read_Stated_Size(File);
  Promise(!rigsync::Has_Too_Many_Pixels(File) || Stated, "only what is stated is too large");
  if (!Is_Checked(Text)) {
    Promise(!Stated, "other files state nothing");
    return 0;
  }
  if (!Stated || Stated->Width > Most_Decoded || Stated->Height > Most_Decoded ||
      Stated->Width * Stated->Height > Most_Decoded) {
    return 0;
  }
  const cv::Mat Image = Decoded(Text);
  if (Image.empty()) return 0;
  const auto Width = static_cast<std::uint64_t>(Image.cols);
  const auto Height = static_cast<std::uint64_t>(Image.rows);
  Promise((Width == Stated->Width && Height == Stated->Height) ||
              (Width == Stated->Height && Height == Stated->Width),
          "the decoder makes an image of the stated size");
  return 0;
}
