// SPDX-License-Identifier: Apache-2.0
//
// What the first bytes of an image say of its size, before anything is decoded: a file of a few
// kilobytes may claim more pixels than a machine has memory for.
#ifndef RIGSYNC_CAPTURE_IMAGE_HEADER_H
#define RIGSYNC_CAPTURE_IMAGE_HEADER_H

#include <cstdint>
#include <filesystem>
#include <optional>

namespace rigsync {

// Larger photographs than any camera takes. A search for boards needs about six bytes for each
// pixel, in each thread.
constexpr std::uint64_t Most_Pixels = 200'000'000;

struct Stated_Size {
  std::uint64_t Width = 0, Height = 0;
};

// The size that the header of a PNG, a JPEG or a BMP states. None for other files, and for a header
// that is cut off or has no size.
std::optional<Stated_Size> Read_Stated_Size(const std::filesystem::path& File);

// Whether the header states more than Most_Pixels.
bool Has_Too_Many_Pixels(const std::filesystem::path& File);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_IMAGE_HEADER_H
