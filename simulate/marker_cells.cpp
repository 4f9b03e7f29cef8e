// SPDX-License-Identifier: Apache-2.0
#include "simulate/marker_cells.h"

#include <stdexcept>

#ifdef RIGSYNC_ARUCO_IN_OBJDETECT
#include <opencv2/objdetect/aruco_detector.hpp>
#elif defined(RIGSYNC_ARUCO_IN_CONTRIB)
#include <opencv2/aruco.hpp>
#endif

namespace simulate {

#if defined(RIGSYNC_ARUCO_IN_OBJDETECT) || defined(RIGSYNC_ARUCO_IN_CONTRIB)

namespace {

cv::aruco::Dictionary Markers() {
#ifdef RIGSYNC_ARUCO_IN_OBJDETECT
  return cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_1000);
#else
  return *cv::aruco::getPredefinedDictionary(cv::aruco::DICT_4X4_1000);
#endif
}

}  // namespace

int Marker_Count() {
  return Markers().bytesList.rows;
}

Marker_Cells Cells_Of_Marker(int Id) {
  const cv::aruco::Dictionary Known = Markers();
  const cv::Mat Code =
      cv::aruco::Dictionary::getBitsFromByteList(Known.bytesList.row(Id), Known.markerSize);
  Marker_Cells Cells{};
  for (std::size_t r = 0; r + 2 < Cells_Across; ++r) {
    for (std::size_t c = 0; c + 2 < Cells_Across; ++c) {
      Cells[r + 1][c + 1] = Code.at<unsigned char>(static_cast<int>(r), static_cast<int>(c)) != 0;
    }
  }
  return Cells;
}

#else

int Marker_Count() {
  return 0;
}

Marker_Cells Cells_Of_Marker(int /*Id*/) {
  throw std::logic_error("simulate: built without markers");
}

#endif

}  // namespace simulate
