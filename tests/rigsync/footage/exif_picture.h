// SPDX-License-Identifier: Apache-2.0
//
// Pictures with EXIF that is written byte by byte here, as the format has it.
#ifndef RIGSYNC_TESTS_RIGSYNC_FOOTAGE_EXIF_PICTURE_H
#define RIGSYNC_TESTS_RIGSYNC_FOOTAGE_EXIF_PICTURE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// The texts of an EXIF block by their tags.
using Exif_Fields = std::vector<std::pair<std::uint16_t, std::string>>;

constexpr std::uint16_t Date_Time_Original = 0x9003, Sub_Sec_Time_Original = 0x9291,
                        Offset_Time_Original = 0x9011, Date_Time_Digitized = 0x9004;

// A TIFF structure whose EXIF directory has these fields, without a picture.
std::string Tiff_Block(const Exif_Fields& Fields, bool Is_Big_Endian = false);

// A JPEG file's segment of this marker.
std::string Jpeg_Segment(unsigned char Marker, const std::string& Content);

// A small JPEG picture; each of Segments goes before what the encoder wrote.
std::string Jpeg_Picture(const std::vector<std::string>& Segments = {});

// A small JPEG picture with these fields.
std::string Exif_Picture(const Exif_Fields& Fields);

// A small PNG picture, which has no EXIF.
std::string Png_Picture();

#endif  // RIGSYNC_TESTS_RIGSYNC_FOOTAGE_EXIF_PICTURE_H
