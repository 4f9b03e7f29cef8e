// SPDX-License-Identifier: Apache-2.0
//
// The size of a capture's first image while several threads read its images. All images are
// searched by the settings of the first one that opens (board_detection.h): the first in the order
// of the rows, whichever is read soonest.
#ifndef RIGSYNC_CAPTURE_FIRST_IMAGE_SIZE_H
#define RIGSYNC_CAPTURE_FIRST_IMAGE_SIZE_H

#include <opencv2/core.hpp>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace rigsync {

class First_Image_Size {
 public:
  explicit First_Image_Size(std::size_t Rows) : Sizes(Rows) {}

  // Calls Read for Row, notes the size of the image that it returns and returns the image. An empty
  // one did not open. An exception counts as an image that did not open, so that no thread waits
  // for it, and is passed on.
  cv::Mat Read(std::size_t Row, const std::function<cv::Mat()>& Read_Image);

  // Notes the size of a row's image without reading it; 0 by 0 for one that did not open.
  void Note(std::size_t Row, cv::Size Size);

  // Waits until a row and all before it have been read, and the row's image opened; returns its
  // size. For a thread that has read an image that opened. Every row before it has to be read at
  // some time by a thread that does not wait here before it has read it.
  cv::Size Wait();

 private:
  std::mutex Guard;
  std::condition_variable Changed;
  std::vector<std::optional<cv::Size>> Sizes;  // none for a row that has not been read
  std::size_t First = 0;                       // all rows before it were read and did not open
};

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_FIRST_IMAGE_SIZE_H
