// SPDX-License-Identifier: Apache-2.0
//
// A clip as the programs ffprobe and ffmpeg show it. They are started, never linked, and have to be
// in the search path of programs.
#ifndef RIGSYNC_FOOTAGE_CLIP_H
#define RIGSYNC_FOOTAGE_CLIP_H

#include "rigsync/footage/footage.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

namespace rigsync {

// Called about ten times a second with the seconds of the clip that are done, and its length as the
// file states it; 0 if it doesn't.
using Clip_Progress = std::function<void(double Done_Seconds, double Clip_Seconds)>;

// Every frame of the clip's first picture stream, as it is shown: in the order of its times and
// turned upright as the file asks for. Frames are measured one by one: the memory grows with the
// clip by 24 bytes a frame and no more (48 MB for 2,500 frames of 640 by 360, and for 15,000 as
// well).
//
// Throws Usage_Error, which begins with --clip and the file, if ffmpeg or ffprobe isn't found, and
// for a file that can't be opened, is no clip, is a playlist, has fewer than three pictures, or
// ends before its pictures do. What ffmpeg says about it is part of the message. A picture that
// can't be decoded is a warning.
Clip Scan_Clip(const std::filesystem::path& File, const Clip_Progress& Progress = {});

// Writes these frames of a scanned clip in full resolution to Folder, which must exist, as
// frame_000000.png by their place in Clip::Frames, and returns the files in the order of Frames.
// Frames may have any order and repeat.
//
// A file that has the name already is left as it is if it is the same picture. Otherwise a
// Usage_Error names it. A file that can't be written, as on a full disk, is a Usage_Error that
// begins with --output. After a failure none of the files is there that this call has written. A
// clip that has changed since it was scanned is refused if it now ends before the last frame.
std::vector<std::filesystem::path> Cut_Frames(const Clip& From,
                                              const std::vector<std::size_t>& Frames,
                                              const std::filesystem::path& Folder,
                                              const Clip_Progress& Progress = {});

}  // namespace rigsync

#endif  // RIGSYNC_FOOTAGE_CLIP_H
