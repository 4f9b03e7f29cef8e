// SPDX-License-Identifier: Apache-2.0
//
// Images are decoded one at a time: at most two decoded images exist at any time, the new one and
// the one that it replaces.
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <atomic>

namespace {

// An allocator that forwards every request and counts live blocks of at least one decoded image's
// size.
class Counting_Allocator : public cv::MatAllocator {
 public:
  explicit Counting_Allocator(std::size_t Counted_From) : Image_Bytes(Counted_From) {}

  cv::UMatData* allocate(int Dimensions, const int* Sizes, int Type, void* Data, std::size_t* Steps,
                         cv::AccessFlag Flags, cv::UMatUsageFlags Usage) const override {
    cv::UMatData* Block =
        cv::Mat::getStdAllocator()->allocate(Dimensions, Sizes, Type, Data, Steps, Flags, Usage);
    Block->prevAllocator = Block->currAllocator = this;
    if (Data == nullptr && Block->size >= Image_Bytes) {
      const int Now = ++Alive;
      ++Total;
      int Before = Most.load();
      while (Now > Before && !Most.compare_exchange_weak(Before, Now)) {
      }
    }
    return Block;
  }
  bool allocate(cv::UMatData* Block, cv::AccessFlag /*Flags*/,
                cv::UMatUsageFlags /*Usage*/) const override {
    return Block != nullptr;
  }
  void deallocate(cv::UMatData* Block) const override {
    if (Block == nullptr) return;
    if (!(Block->flags & cv::UMatData::USER_ALLOCATED) && Block->size >= Image_Bytes) --Alive;
    Block->prevAllocator = Block->currAllocator = cv::Mat::getStdAllocator();
    cv::Mat::getStdAllocator()->deallocate(Block);
  }

  mutable std::atomic<int> Alive{0}, Most{0}, Total{0};

 private:
  std::size_t Image_Bytes;
};

TEST(ImageMemory, HoldsAtMostTwoDecodedImagesAtAnyTime) {
  for (const int Width : {960, 1920}) {  // searched as they are, and on a reduced copy
    SCOPED_TRACE(Width);
    const Scratch_Folder Folder;
    simulate::Options Options = Small_Capture();
    Options.Width = Width;
    Options.Height = Width * 9 / 16;
    const Run_Input Input = Write_And_Describe(Options, Folder);

    // 3 bytes a pixel: grey copies and reduced ones stay below.
    Counting_Allocator Counter(static_cast<std::size_t>(3 * Options.Width * Options.Height));
    cv::MatAllocator* Before = cv::Mat::getDefaultAllocator();
    cv::Mat::setDefaultAllocator(&Counter);
    const Run_Output Output = Run_First_Overload(Input);
    cv::Mat::setDefaultAllocator(Before);

    ASSERT_EQ(Output.Code, 0);
    const auto Annotated = Lines_Starting(Output.Log, "Image ").size() - 2 - 14;
    EXPECT_EQ(Counter.Total, 14 + static_cast<int>(Annotated)) << "one decode each, and no more";
    EXPECT_LE(Counter.Most, 2);
    EXPECT_EQ(Counter.Alive, 0);
  }
}

}  // namespace
