// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/first_image_size.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <new>

namespace {

using namespace std::chrono_literals;
using rigsync::First_Image_Size;

const cv::Mat Small_Image(30, 40, CV_8UC1), Large_Image(60, 80, CV_8UC1), No_Image;

cv::Mat Read(First_Image_Size& First, std::size_t Row, const cv::Mat& Image) {
  return First.Read(Row, [&] { return Image; });
}

// Long enough that a thread which does not wait shows it.
bool Is_Waiting(const std::future<cv::Size>& Size) {
  return Size.wait_for(50ms) == std::future_status::timeout;
}

TEST(FirstImageSize, IsThatOfTheLowestRowThatOpensWhicheverIsReadFirst) {
  First_Image_Size First(4);
  EXPECT_EQ(Read(First, 3, Small_Image).data, Small_Image.data);
  std::future<cv::Size> Size = std::async(std::launch::async, [&] { return First.Wait(); });
  EXPECT_TRUE(Is_Waiting(Size));
  Read(First, 0, No_Image);
  EXPECT_TRUE(Is_Waiting(Size)) << "rows 1 and 2 have not been read";
  Read(First, 2, Large_Image);
  EXPECT_TRUE(Is_Waiting(Size)) << "row 1 has not been read";
  Read(First, 1, No_Image);
  EXPECT_EQ(Size.get(), Large_Image.size());
}

TEST(FirstImageSize, IsKnownAtOnceWhenTheFirstRowOpens) {
  First_Image_Size First(3);
  Read(First, 0, Large_Image);
  EXPECT_EQ(First.Wait(), Large_Image.size());
  Read(First, 1, Small_Image);
  EXPECT_EQ(First.Wait(), Large_Image.size());
}

TEST(FirstImageSize, AnExceptionIsPassedOnAndNoThreadWaitsForItsRow) {
  First_Image_Size First(2);
  Read(First, 1, Small_Image);
  std::future<cv::Size> Size = std::async(std::launch::async, [&] { return First.Wait(); });
  EXPECT_TRUE(Is_Waiting(Size));
  EXPECT_THROW(First.Read(0, []() -> cv::Mat { throw std::bad_alloc(); }), std::bad_alloc);
  ASSERT_EQ(Size.wait_for(30s), std::future_status::ready);
  EXPECT_EQ(Size.get(), Small_Image.size());
}

}  // namespace
