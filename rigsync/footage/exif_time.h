// SPDX-License-Identifier: Apache-2.0
//
// When a photograph was taken, by its EXIF data.
#ifndef RIGSYNC_FOOTAGE_EXIF_TIME_H
#define RIGSYNC_FOOTAGE_EXIF_TIME_H

#include "rigsync/footage/date_time.h"

#include <filesystem>
#include <optional>
#include <string>

namespace rigsync {

// What EXIF has about the time. A fault is "DateTimeOriginal '2024:13:01 10:00:00' is no date and
// time", and then there is no Time.
struct Exif_Time {
  std::optional<Date_Time> Time;
  std::string Fault;
};

// DateTimeOriginal with the fraction of SubSecTimeOriginal and the offset of OffsetTimeOriginal, of
// a JPEG or TIFF file; neither time nor fault for a file without EXIF, for EXIF without the field,
// and for one that is blank or all zeros, as cameras write it whose clock isn't set. The time of
// the last change, DateTime, is not the time of the picture and isn't read.
Exif_Time Read_Exif_Time(const std::filesystem::path& File);

// The same for a file's bytes.
Exif_Time Parse_Exif_Time(const std::string& Bytes);

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_EXIF_TIME_H
