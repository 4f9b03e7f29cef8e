// SPDX-License-Identifier: Apache-2.0
//
// Headers of images that OpenCV writes, and of images whose bytes are written here.
#include "rigsync/capture/image_header.h"

#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <string>
#include <vector>

namespace {

using rigsync::Read_Stated_Size;
using rigsync::Stated_Size;

std::string Encoded(const char* Ending, int Width, int Height) {
  std::vector<unsigned char> Bytes;
  cv::imencode(Ending, cv::Mat::zeros(Height, Width, CV_8UC3), Bytes);
  return {Bytes.begin(), Bytes.end()};
}

std::string Big_4(unsigned Value) {
  std::string Text;
  for (const int Shift : {24, 16, 8, 0}) Text += static_cast<char>(Value >> Shift & 0xFF);
  return Text;
}

// The first 24 bytes of a PNG.
std::string Png_Begin(unsigned Width, unsigned Height) {
  return "\x89PNG\r\n\x1a\n" + Big_4(13) + "IHDR" + Big_4(Width) + Big_4(Height);
}

TEST(ImageHeader, PngJpegAndBmpStateTheirSize) {
  const Scratch_Folder Scratch;
  for (const char* const Ending : {".png", ".jpg", ".bmp"}) {
    SCOPED_TRACE(Ending);
    const auto Size = Read_Stated_Size(Scratch.Write("a", Encoded(Ending, 300, 70)));
    ASSERT_TRUE(Size);
    EXPECT_EQ(Size->Width, 300u);
    EXPECT_EQ(Size->Height, 70u);
  }
}

// A segment whose bytes read like a frame header of 1 by 1, twice; a marker that stands alone, and
// bytes that belong to nothing, which decoders skip.
TEST(ImageHeader, OtherSegmentsOfAJpegAreSkipped) {
  const Scratch_Folder Scratch;
  const std::string Jpeg = Encoded(".jpg", 300, 70);
  const std::string Segment("\xFF\xE1\x00\x0B\xFF\xC0\x00\x11\x08\x00\x01\x00\x01", 13);
  const auto Size = Read_Stated_Size(Scratch.Write(
      "a.jpg", Jpeg.substr(0, 2) + Segment + "\xFF" + Segment + "\xFF\xD3junk" + Jpeg.substr(2)));
  ASSERT_TRUE(Size);
  EXPECT_EQ(Size->Width, 300u);
  EXPECT_EQ(Size->Height, 70u);
}

TEST(ImageHeader, AHeaderThatIsCutOffOrOfAnotherFileHasNoSize) {
  const Scratch_Folder Scratch;
  const std::string Png = Encoded(".png", 300, 70), Bmp = Encoded(".bmp", 300, 70);
  const std::string Jpeg = Encoded(".jpg", 300, 70);
  const std::size_t Frame = Jpeg.find("\xFF\xC0");
  ASSERT_NE(Frame, std::string::npos);
  EXPECT_FALSE(Read_Stated_Size(Scratch.Write("a", Png.substr(0, 23))));
  EXPECT_TRUE(Read_Stated_Size(Scratch.Write("a", Png.substr(0, 24))));
  EXPECT_FALSE(Read_Stated_Size(Scratch.Write("a", Bmp.substr(0, 25))));
  EXPECT_TRUE(Read_Stated_Size(Scratch.Write("a", Bmp.substr(0, 26))));
  EXPECT_FALSE(Read_Stated_Size(Scratch.Write("a", Jpeg.substr(0, Frame + 8))));
  EXPECT_TRUE(Read_Stated_Size(Scratch.Write("a", Jpeg.substr(0, Frame + 9))));
  EXPECT_FALSE(Read_Stated_Size(Scratch.Write("a", "")));
  EXPECT_FALSE(Read_Stated_Size(Scratch.Write("a", "P5\n300 70\n255\n")));
  EXPECT_FALSE(Read_Stated_Size(Scratch.Path() / "none.png"));
  EXPECT_FALSE(Read_Stated_Size(Scratch.Path()));
}

// 20,000 by 10,000 is as many as there may be.
TEST(ImageHeader, TooManyPixelsBeginWithOneMoreRow) {
  const Scratch_Folder Scratch;
  const auto Is_Too_Large = [&](unsigned Width, unsigned Height) {
    return rigsync::Has_Too_Many_Pixels(Scratch.Write("a.png", Png_Begin(Width, Height)));
  };
  EXPECT_FALSE(Is_Too_Large(20'000, 10'000));
  EXPECT_TRUE(Is_Too_Large(20'000, 10'001));
  EXPECT_TRUE(Is_Too_Large(20'001, 10'000));
  EXPECT_TRUE(Is_Too_Large(20'000, 20'000));
  EXPECT_TRUE(Is_Too_Large(0xFFFFFFFF, 0xFFFFFFFF));
  EXPECT_FALSE(Is_Too_Large(0, 0xFFFFFFFF));
}

TEST(ImageHeader, ABmpFromTheTopDownHasItsHeight) {
  const Scratch_Folder Scratch;
  std::string Bmp = Encoded(".bmp", 300, 70);
  Bmp.replace(22, 4, std::string("\xBA\xFF\xFF\xFF", 4));  // -70
  const auto Size = Read_Stated_Size(Scratch.Write("a", Bmp));
  ASSERT_TRUE(Size);
  EXPECT_EQ(Size->Height, 70u);
  Bmp.replace(22, 4, std::string("\x00\x00\x00\x80", 4));  // the least number there is
  EXPECT_EQ(Read_Stated_Size(Scratch.Write("a", Bmp))->Height, 2147483648u);
}

}  // namespace
