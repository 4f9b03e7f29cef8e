// SPDX-License-Identifier: Apache-2.0
//
// The photographs of a folder with the times at which they were taken.
//
// Times come from a list if there is one, otherwise from EXIF if the pictures have it, otherwise
// from the file system; always from one source for all pictures, because each has a clock of its
// own.
#ifndef RIGSYNC_FOOTAGE_PHOTOGRAPHS_H
#define RIGSYNC_FOOTAGE_PHOTOGRAPHS_H

#include "rigsync/footage/footage.h"
#include "rigsync/take/timecode.h"

#include <filesystem>
#include <optional>

namespace rigsync {

// What the user stated. Messages name the flags --images, --times and --times-rate.
struct Photograph_Options {
  std::optional<std::filesystem::path> Times_File;  // rigsync/footage/time_list.h has its form
  std::optional<Frame_Rate> Times_Rate;             // for a list with timecodes
  std::optional<Time_Source> Source;                // Exif or File_Time, whatever the other says
};

// The pictures that lie in Folder itself and that OpenCV can read, by time and then by name, in
// which IMG_9 comes before IMG_10.
//
// Clock      seconds since midnight for timecodes and times of day, the numbers as they stand for a
//            list of seconds, otherwise seconds since 1970-01-01. A time without an offset from UTC
//            counts as UTC: then differences are right, and the hour of the day is the camera's.
// Precision  a time of whole seconds is that of the second's beginning; Resolution_Seconds says so.
// Warnings   what is left out: files that are no pictures, pictures that the list doesn't name,
//            and pictures without EXIF when more than half of them have it.
// Throws     Usage_Error for a folder that can't be read or has no pictures; for a list that can't
//            be read, names a picture that isn't there or names one twice; for EXIF that is no
//            date; and when half of the pictures or fewer have EXIF while others have none.
Photographs Read_Photographs(const std::filesystem::path& Folder,
                             const Photograph_Options& Options);

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_PHOTOGRAPHS_H
