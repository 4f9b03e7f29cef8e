// SPDX-License-Identifier: Apache-2.0
//
// An image of the report with what its bars and its card say alike.
#ifndef RIGSYNC_HTML_REPORT_IMAGE_ENTRY_H
#define RIGSYNC_HTML_REPORT_IMAGE_ENTRY_H

#include "rigsync/review/corner_errors.h"
#include "rigsync/review/run_view.h"

#include <cstddef>
#include <string>
#include <vector>

namespace rigsync {

struct Image_Entry {
  std::size_t Row = 0;   // of the view
  std::size_t Rank = 0;  // 0 for the largest error; images without one come last, in their order
  Row_Error Error;
  std::string Id;         // of the card: "image-3"
  std::string Fate;       // "kept", or "dropped: " and the reason
  std::string Key;        // of the image in result.json, "images.kept.3"; empty when it has none
  std::string Joint_Key;  // of its row of the second opinion, "joint.rows.3"; likewise
};

// One for each row of the view, in its order.
std::vector<Image_Entry> Make_Image_Entries(const Run_View& View);

// The error that ranks an image: that of the result's mounts, or the first pass's where a run has
// none.
double Ranking_Px(const Row_Error& Error);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_IMAGE_ENTRY_H
