// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/footage/exif_picture.h"

#include <opencv2/imgcodecs.hpp>

#include <cstddef>

namespace {

// A number of Size bytes.
std::string Number(std::uint32_t Value, std::size_t Size, bool Is_Big_Endian) {
  std::string Bytes;
  for (std::size_t i = 0; i < Size; ++i) {
    const char Byte = static_cast<char>((Value >> (8 * i)) & 0xffu);
    Bytes = Is_Big_Endian ? Byte + Bytes : Bytes + Byte;
  }
  return Bytes;
}

std::string Encoded(const char* Ending) {
  const cv::Mat Picture(24, 32, CV_8UC3, cv::Scalar(90, 120, 150));
  std::vector<unsigned char> Bytes;
  cv::imencode(Ending, Picture, Bytes);
  return {Bytes.begin(), Bytes.end()};
}

}  // namespace

std::string Tiff_Block(const Exif_Fields& Fields, bool Is_Big_Endian) {
  const auto Short = [&](std::size_t Value) {
    return Number(static_cast<std::uint32_t>(Value), 2, Is_Big_Endian);
  };
  const auto Long = [&](std::size_t Value) {
    return Number(static_cast<std::uint32_t>(Value), 4, Is_Big_Endian);
  };
  constexpr std::size_t Text_Type = 2, Long_Type = 4, Exif_Pointer = 0x8769;
  constexpr std::size_t Head_Size = 8, Entry_Size = 12, First_Directory_Size = 2 + Entry_Size + 4;
  constexpr std::size_t Exif_Start = Head_Size + First_Directory_Size;
  std::string Block = (Is_Big_Endian ? "MM" : "II") + Short(42) + Long(Head_Size);
  Block += Short(1) + Short(Exif_Pointer) + Short(Long_Type) + Long(1) + Long(Exif_Start) + Long(0);
  std::string Texts;
  const std::size_t Texts_Start = Exif_Start + 2 + Entry_Size * Fields.size() + 4;
  Block += Short(Fields.size());
  for (const auto& [Tag, Value] : Fields) {
    const std::string Text = Value + '\0';
    Block += Short(Tag) + Short(Text_Type) + Long(Text.size());
    if (Text.size() <= 4) {
      Block += Text + std::string(4 - Text.size(), '\0');
    } else {
      Block += Long(Texts_Start + Texts.size());
      Texts += Text;
    }
  }
  return Block + Long(0) + Texts;
}

std::string Jpeg_Segment(unsigned char Marker, const std::string& Content) {
  const auto Length = static_cast<std::uint32_t>(Content.size() + 2);
  return std::string("\xff") + static_cast<char>(Marker) + Number(Length, 2, true) + Content;
}

std::string Jpeg_Picture(const std::vector<std::string>& Segments) {
  const std::string Plain = Encoded(".jpg");
  std::string Bytes = Plain.substr(0, 2);
  for (const std::string& Segment : Segments) Bytes += Segment;
  return Bytes + Plain.substr(2);
}

std::string Exif_Picture(const Exif_Fields& Fields) {
  return Jpeg_Picture({Jpeg_Segment(0xe1, std::string("Exif\0\0", 6) + Tiff_Block(Fields))});
}

std::string Png_Picture() {
  return Encoded(".png");
}
