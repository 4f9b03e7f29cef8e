// SPDX-License-Identifier: Apache-2.0
//
// An AVI file is a RIFF file: nested pieces with a name of four letters, a length and their
// content, all numbers little-endian. The header, of fixed length, is written first with lengths of
// 0 and again at the end.
#include "simulate/avi.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace simulate {

namespace {

constexpr std::uint32_t Name_And_Length = 8;  // before the content of every piece
constexpr std::uint32_t Main_Header_Bytes = 56, Stream_Header_Bytes = 56, Bitmap_Header_Bytes = 40;
constexpr std::uint32_t Has_Index = 0x10, Is_Key_Frame = 0x10;
// Lists begin with a name of their own.
constexpr std::uint32_t Stream_List_Bytes =
    4 + 2 * Name_And_Length + Stream_Header_Bytes + Bitmap_Header_Bytes;
constexpr std::uint32_t Header_List_Bytes =
    4 + Name_And_Length + Main_Header_Bytes + Name_And_Length + Stream_List_Bytes;
// RIFF with its name, the list of headers, and the beginning of the list of frames.
constexpr std::uint32_t Header_Bytes =
    Name_And_Length + 4 + Name_And_Length + Header_List_Bytes + Name_And_Length + 4;
constexpr std::uint32_t Index_Entry_Bytes = 16;

class Bytes {
 public:
  Bytes& Word(std::uint32_t Value) {
    for (int k = 0; k < 4; ++k) Content += static_cast<char>((Value >> (8 * k)) & 0xffu);
    return *this;
  }

  Bytes& Words(std::initializer_list<std::uint32_t> Values) {
    for (const std::uint32_t Value : Values) Word(Value);
    return *this;
  }

  // Two numbers of 16 bits.
  Bytes& Halves(std::uint32_t First, std::uint32_t Second) { return Word(First | (Second << 16)); }

  Bytes& Name(const char* Letters) {
    Content.append(Letters, 4);
    return *this;
  }

  const std::string& Text() const { return Content; }

 private:
  std::string Content;
};

// A piece's content has an even length; the length that is written is the true one.
std::uint64_t Even(std::uint64_t Length) {
  return Length + Length % 2;
}

}  // namespace

Avi_Writer::Avi_Writer(const std::filesystem::path& File, int Width_Pixels, int Height_Pixels,
                       int Rate, std::uint64_t Most_Bytes)
    : Name(File),
      Unfinished(File),
      Out(Unfinished.Path(), std::ios::binary | std::ios::trunc),
      Width(Width_Pixels),
      Height(Height_Pixels),
      Frames_Per_Second(Rate),
      Most(Most_Bytes) {
  Write_Header();
  if (!Out) Throw_Unwritable(Name);
}

void Avi_Writer::Write_Header() {
  const auto Wide = static_cast<std::uint32_t>(Width), High = static_cast<std::uint32_t>(Height);
  const auto Rate = static_cast<std::uint32_t>(Frames_Per_Second);
  const auto Count = static_cast<std::uint32_t>(Sizes.size());
  const auto Movie_Bytes = static_cast<std::uint32_t>(4 + Frame_Bytes);
  const std::uint32_t Index_Bytes = Name_And_Length + Index_Entry_Bytes * Count;
  Bytes Header;
  Header.Name("RIFF").Word(Header_Bytes - Name_And_Length - 4 + Movie_Bytes + Index_Bytes);
  Header.Name("AVI ");
  Header.Name("LIST").Word(Header_List_Bytes).Name("hdrl");
  Header.Name("avih").Word(Main_Header_Bytes);
  Header.Words({1000000 / Rate, Largest_Frame * Rate, 0, Has_Index, Count, 0, 1, Largest_Frame,
                Wide, High, 0, 0, 0, 0});
  Header.Name("LIST").Word(Stream_List_Bytes).Name("strl");
  Header.Name("strh").Word(Stream_Header_Bytes).Name("vids").Name("MJPG");
  constexpr std::uint32_t Default_Quality = 0xffffffffu;
  Header.Words({0, 0, 0, 1, Rate, 0, Count, Largest_Frame, Default_Quality, 0});
  Header.Halves(0, 0).Halves(Wide, High);
  Header.Name("strf").Word(Bitmap_Header_Bytes).Words({Bitmap_Header_Bytes, Wide, High});
  Header.Halves(1, 24).Name("MJPG").Words({Wide * High * 3, 0, 0, 0, 0});
  Header.Name("LIST").Word(Movie_Bytes).Name("movi");
  Out.write(Header.Text().data(), static_cast<std::streamsize>(Header.Text().size()));
}

void Avi_Writer::Add(const std::vector<unsigned char>& Jpeg) {
  const std::uint64_t Length = Name_And_Length + Even(Jpeg.size());
  const std::uint64_t Whole = Header_Bytes + Frame_Bytes + Length + Name_And_Length +
                              (Sizes.size() + 1) * Index_Entry_Bytes;
  if (Whole > Most) {
    throw std::runtime_error("simulate: more than 2 GB, which an AVI file can't have: " +
                             Name.string());
  }
  const auto Size = static_cast<std::uint32_t>(Jpeg.size());
  const std::string Start = Bytes().Name("00dc").Word(Size).Text();
  Out.write(Start.data(), static_cast<std::streamsize>(Start.size()));
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): streams write chars
  Out.write(reinterpret_cast<const char*>(Jpeg.data()), static_cast<std::streamsize>(Jpeg.size()));
  if (Jpeg.size() % 2 == 1) Out.put('\0');
  if (!Out) Throw_Unwritable(Name);
  Sizes.push_back(Size);
  Frame_Bytes += Length;
  Largest_Frame = std::max(Largest_Frame, Size);
}

void Avi_Writer::Finish() {
  Bytes Index;
  Index.Name("idx1").Word(Index_Entry_Bytes * static_cast<std::uint32_t>(Sizes.size()));
  std::uint32_t Place = 4;  // from the name of the list of frames
  for (const std::uint32_t Size : Sizes) {
    Index.Name("00dc").Words({Is_Key_Frame, Place, Size});
    Place += Name_And_Length + static_cast<std::uint32_t>(Even(Size));
  }
  Out.write(Index.Text().data(), static_cast<std::streamsize>(Index.Text().size()));
  Out.seekp(0);
  Write_Header();
  Out.close();
  if (!Out) Throw_Unwritable(Name);
  Unfinished.Finish();
}

}  // namespace simulate
