// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/first_image_size.h"

namespace rigsync {

cv::Mat First_Image_Size::Read(std::size_t Row, const std::function<cv::Mat()>& Read_Image) {
  try {
    cv::Mat Image = Read_Image();
    Note(Row, Image.size());
    return Image;
  } catch (...) {
    Note(Row, {});
    throw;
  }
}

cv::Size First_Image_Size::Wait() {
  std::unique_lock<std::mutex> Lock(Guard);
  Changed.wait(Lock, [&] { return First < Sizes.size() && Sizes[First]; });
  return *Sizes[First];
}

void First_Image_Size::Note(std::size_t Row, cv::Size Size) {
  const std::lock_guard<std::mutex> Lock(Guard);
  Sizes[Row] = Size;
  while (First < Sizes.size() && Sizes[First] && Sizes[First]->empty()) ++First;
  Changed.notify_all();
}

}  // namespace rigsync
