// SPDX-License-Identifier: Apache-2.0
//
// Small copies of a capture's photographs that stand in the page itself.
#ifndef RIGSYNC_HTML_REPORT_THUMBNAIL_H
#define RIGSYNC_HTML_REPORT_THUMBNAIL_H

#include "rigsync/review/run_view.h"

#include <cstddef>
#include <string>
#include <vector>

namespace rigsync {

// A JPEG image, and the size of the photograph that it shows.
struct Thumbnail {
  std::string Data_Url;  // "data:image/jpeg;base64,..."; empty without a photograph
  int Width = 0, Height = 0;
};

// The largest size of a page is 5 MB. All its photographs together take no more than this, as text.
constexpr std::size_t Most_Thumbnail_Bytes = 3'000'000;

// One for each row of the view, of 480 pixels across at most, made in as many threads as there are
// cores. Many photographs, and noisy ones, get smaller copies of less quality, so that all keep to
// Most_Thumbnail_Bytes.
//
// Without a photograph: a file that is gone or is none, that OpenCV can't read, that the result's
// SHA-256 says is another one by now, and a path that leads out of its folder by "..".
std::vector<Thumbnail> Make_Thumbnails(const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_THUMBNAIL_H
