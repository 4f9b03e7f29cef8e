// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/image_header.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace rigsync {
namespace {

using Bytes = std::string_view;

std::uint64_t Byte_At(Bytes Text, std::size_t i) {
  return static_cast<unsigned char>(Text[i]);
}

std::uint64_t Big_Endian(Bytes Text) {
  std::uint64_t Value = 0;
  for (std::size_t i = 0; i < Text.size(); ++i) Value = Value << 8 | Byte_At(Text, i);
  return Value;
}

std::int32_t Little_Endian_4(Bytes Text) {
  std::uint64_t Value = 0;
  for (std::size_t i = 4; i-- > 0;) Value = Value << 8 | Byte_At(Text, i);
  return static_cast<std::int32_t>(Value);
}

// Fewer where the file ends before.
std::string Read_Bytes(std::ifstream& Stream, std::size_t Count) {
  std::string Text(Count, '\0');
  Stream.read(Text.data(), static_cast<std::streamsize>(Count));
  Text.resize(static_cast<std::size_t>(Stream.gcount()));
  return Text;
}

// ISO/IEC 15948, 11.2.2: the chunk IHDR comes first and begins with width and height.
std::optional<Stated_Size> Png_Size(Bytes Begin) {
  if (Begin.size() < 24 || Begin.substr(12, 4) != "IHDR") return std::nullopt;
  return Stated_Size{Big_Endian(Begin.substr(16, 4)), Big_Endian(Begin.substr(20, 4))};
}

// BITMAPINFOHEADER after the 14 bytes of the file's own. A negative height is a picture from the
// top down.
std::optional<Stated_Size> Bmp_Size(Bytes Begin) {
  if (Begin.size() < 26 || Little_Endian_4(Begin.substr(14, 4)) < 40) return std::nullopt;
  const auto Length = [](std::int64_t Pixels) {
    return static_cast<std::uint64_t>(std::abs(Pixels));
  };
  return Stated_Size{Length(Little_Endian_4(Begin.substr(18, 4))),
                     Length(Little_Endian_4(Begin.substr(22, 4)))};
}

// ITU-T T.81, B.1.1.3: the frame headers SOF0 to SOF15, among which are three other segments.
bool Is_Frame_Header(std::uint64_t Marker) {
  return Marker >= 0xC0 && Marker <= 0xCF && Marker != 0xC4 && Marker != 0xC8 && Marker != 0xCC;
}

// The next marker as decoders find it: they skip what is before its FF, and further bytes of FF. 0
// at the end of the file, and where more is to be skipped than a decoder has reason for.
std::uint64_t Next_Marker(std::ifstream& Stream) {
  constexpr int Most_Skipped = 1'000'000;
  constexpr int Mark = 0xFF;
  for (int i = 0; i < Most_Skipped && Stream; ++i) {
    if (Stream.get() != Mark) continue;
    int Marker = Stream.get();
    while (Marker == Mark) Marker = Stream.get();
    if (Marker > 0) return static_cast<std::uint64_t>(Marker);
  }
  return 0;
}

// TEM and RST0 to RST7 stand alone.
bool Has_Segment(std::uint64_t Marker) {
  return Marker != 0x01 && (Marker < 0xD0 || Marker > 0xD7);
}

// Segments follow each other up to the frame header: FF, the marker, two bytes of length with
// themselves. More segments than a camera writes end the search.
std::optional<Stated_Size> Jpeg_Size(std::ifstream& Stream) {
  constexpr int Most_Segments = 10'000;
  Stream.seekg(2);
  for (int i = 0; i < Most_Segments; ++i) {
    const std::uint64_t Marker = Next_Marker(Stream);
    if (!Has_Segment(Marker)) continue;
    const std::string Head = Read_Bytes(Stream, 7);
    if (Marker == 0 || Head.size() < 2) return std::nullopt;
    if (Is_Frame_Header(Marker)) {
      if (Head.size() < 7) return std::nullopt;
      return Stated_Size{Big_Endian(Bytes(Head).substr(5, 2)),
                         Big_Endian(Bytes(Head).substr(3, 2))};
    }
    const std::uint64_t Length = Big_Endian(Bytes(Head).substr(0, 2));
    if (Length < 2) return std::nullopt;
    Stream.clear();  // the end of the file may be nearer than what was asked for
    Stream.seekg(static_cast<std::streamoff>(Length) - static_cast<std::streamoff>(Head.size()),
                 std::ios::cur);
  }
  return std::nullopt;
}

}  // namespace

std::optional<Stated_Size> Read_Stated_Size(const std::filesystem::path& File) {
  std::ifstream Stream(File, std::ios::binary);
  const std::string Begin = Read_Bytes(Stream, 26);
  const Bytes Text(Begin);
  if (Text.substr(0, 8) == "\x89PNG\r\n\x1a\n") return Png_Size(Text);
  if (Text.substr(0, 2) == "BM") return Bmp_Size(Text);
  if (Text.substr(0, 2) != "\xFF\xD8") return std::nullopt;
  Stream.clear();  // it may be shorter than what was asked for
  return Jpeg_Size(Stream);
}

bool Has_Too_Many_Pixels(const std::filesystem::path& File) {
  const auto Stated = Read_Stated_Size(File);
  // Divided, since a product of two sizes may be too large for the number.
  return Stated && Stated->Width > 0 && Stated->Height > Most_Pixels / Stated->Width;
}

}  // namespace rigsync
