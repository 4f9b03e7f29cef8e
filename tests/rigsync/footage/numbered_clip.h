// SPDX-License-Identifier: Apache-2.0
//
// Clips whose frames bear their numbers, so that a test can see which frame a picture is.
#ifndef RIGSYNC_TESTS_RIGSYNC_FOOTAGE_NUMBERED_CLIP_H
#define RIGSYNC_TESTS_RIGSYNC_FOOTAGE_NUMBERED_CLIP_H

#include <filesystem>
#include <string>
#include <vector>

constexpr int Numbered_Width = 128, Numbered_Height = 64;

// Writes Frames grey frames without a header. Each is eight columns in which black and white are
// the bits of its number, the highest on the left; the lower half is black.
void Write_Numbered_Frames(const std::filesystem::path& File, int Frames);

// The number in a picture of such a frame; -1 for another picture.
int Number_In(const std::filesystem::path& Picture);

// Encodes numbered frames, 25 a second, with these options of ffmpeg, and returns File.
std::filesystem::path Encode_Numbered(const std::filesystem::path& File, int Frames,
                                      const std::vector<std::string>& Options);

// Runs ffmpeg. Throws with what it says if it fails.
void Run_Ffmpeg(const std::vector<std::string>& Arguments);

#endif  // RIGSYNC_TESTS_RIGSYNC_FOOTAGE_NUMBERED_CLIP_H
