// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/exif_time.h"

#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <libexif/exif-data.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <vector>

namespace rigsync {
namespace {

struct Free_Data {
  void operator()(ExifData* Data) const { exif_data_unref(Data); }
};
using Exif_Data = std::unique_ptr<ExifData, Free_Data>;

// A larger TIFF file is no photograph, and is not read for its EXIF.
constexpr std::size_t Most_Tiff_Bytes = std::size_t{512} << 20;

bool Is_Tiff(std::string_view Bytes) {
  const std::string_view Start = Bytes.substr(0, 4);
  return Start == std::string_view("II*\0", 4) || Start == std::string_view("MM\0*", 4);
}

Exif_Data Load(const std::string& Data) {
  // The maker's own fields are not needed, but there is no way to leave them out.
  return Exif_Data(exif_data_new_from_data(reinterpret_cast<const unsigned char*>(Data.data()),
                                           static_cast<unsigned>(Data.size())));
}

// The segment with EXIF of a JPEG file, from "Exif" on; empty if there is none before the picture.
// A segment is FF, its marker, and its length in two bytes, which it includes.
std::string_view Exif_Segment(std::string_view Bytes) {
  constexpr std::string_view Start_Of_Image = "\xff\xd8", Header("Exif\0\0", 6);
  constexpr unsigned char App1 = 0xe1, Start_Of_Scan = 0xda, Fill = 0xff;
  if (Bytes.substr(0, 2) != Start_Of_Image) return {};
  Bytes.remove_prefix(2);
  while (Bytes.size() >= 4 && static_cast<unsigned char>(Bytes[0]) == Fill) {
    const auto Marker = static_cast<unsigned char>(Bytes[1]);
    const std::size_t Length =
        256u * static_cast<unsigned char>(Bytes[2]) + static_cast<unsigned char>(Bytes[3]);
    if (Marker == Fill) {
      Bytes.remove_prefix(1);
      continue;
    }
    if (Marker == Start_Of_Scan || Length < 2 || Length + 2 > Bytes.size()) return {};
    const std::string_view Content = Bytes.substr(4, Length - 2);
    if (Marker == App1 && Content.substr(0, Header.size()) == Header) return Content;
    Bytes.remove_prefix(2 + Length);
  }
  return {};
}

// EXIF is in the form of a TIFF file, and in a TIFF file it is that file.
Exif_Data Load_Exif(const std::string& Bytes) {
  if (Is_Tiff(Bytes)) {
    return Bytes.size() < Most_Tiff_Bytes ? Load(std::string("Exif\0\0", 6) + Bytes) : nullptr;
  }
  const std::string_view Segment = Exif_Segment(Bytes);
  return Segment.empty() ? nullptr : Load(std::string(Segment));
}

// The field's text up to its zero, without blanks around it. Empty if it is missing.
std::string Field_Text(ExifData* Data, ExifTag Tag) {
  const ExifEntry* const Entry = exif_content_get_entry(Data->ifd[EXIF_IFD_EXIF], Tag);
  if (Entry == nullptr || Entry->data == nullptr || Entry->format != EXIF_FORMAT_ASCII) return "";
  const std::string_view Field(reinterpret_cast<const char*>(Entry->data), Entry->size);
  return One_Line(Field.substr(0, Field.find('\0')));
}

// "0000:00:00 00:00:00", "    :  :     :  :  "
bool Is_Unset(std::string_view Text) {
  return Text.find_first_not_of("0: -") == std::string_view::npos;
}

// The digits of a second, "25" for 0.25.
std::optional<Written_Time> Read_Fraction(const std::string& Digits) {
  return Read_Seconds("0." + Digits);
}

Exif_Time Faulty(const char* Field, const std::string& Text, const char* Expected) {
  constexpr std::size_t Most_Letters = 60;
  return {{}, fmt::format("{} '{}' is no {}", Field, Text.substr(0, Most_Letters), Expected)};
}

Exif_Time Read_Fields(ExifData* Data) {
  const std::string Date = Field_Text(Data, EXIF_TAG_DATE_TIME_ORIGINAL);
  const std::string Fraction = Field_Text(Data, EXIF_TAG_SUB_SEC_TIME_ORIGINAL);
  const std::string Offset = Field_Text(Data, EXIF_TAG_OFFSET_TIME_ORIGINAL);
  if (Is_Unset(Date)) return {};
  std::optional<Date_Time> Time = Read_Date_Time(Date);
  if (!Time) return Faulty("DateTimeOriginal", Date, "date and time");
  if (!Fraction.empty()) {
    const std::optional<Written_Time> Second = Read_Fraction(Fraction);
    if (!Second) return Faulty("SubSecTimeOriginal", Fraction, "fraction of a second");
    Time->Time = {Time->Time.Seconds + Second->Seconds, Second->Decimals};
  }
  // "   :  " is a clock whose offset isn't set, "+00:00" one that is.
  if (Offset.find_first_not_of(": ") != std::string::npos) {
    Time->Offset_Seconds = Read_Offset(Offset);
    if (!Time->Offset_Seconds) return Faulty("OffsetTimeOriginal", Offset, "offset from UTC");
  }
  return {Time, {}};
}

// A JPEG's EXIF is in one of the segments before its picture.
std::string Read_Needed_Bytes(const std::filesystem::path& File) {
  constexpr std::size_t Jpeg_Bytes = std::size_t{1} << 20;
  std::ifstream Stream(File, std::ios::binary);
  std::string Bytes(Jpeg_Bytes, '\0');
  Stream.read(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  Bytes.resize(static_cast<std::size_t>(Stream.gcount()));
  if (Is_Tiff(Bytes)) Bytes.append(std::istreambuf_iterator<char>(Stream), {});
  return Bytes;
}

}  // namespace

Exif_Time Read_Exif_Time(const std::filesystem::path& File) {
  return Parse_Exif_Time(Read_Needed_Bytes(File));
}

Exif_Time Parse_Exif_Time(const std::string& Bytes) {
  const Exif_Data Data = Load_Exif(Bytes);
  return Data ? Read_Fields(Data.get()) : Exif_Time{};
}

}  // namespace rigsync
