// SPDX-License-Identifier: Apache-2.0
//
// Counts the images that OpenCV holds in memory. It becomes the default allocator of matrices while
// something is measured.
#ifndef RIGSYNC_TESTS_SUPPORT_COUNTING_ALLOCATOR_H
#define RIGSYNC_TESTS_SUPPORT_COUNTING_ALLOCATOR_H

#include <opencv2/core.hpp>

#include <atomic>
#include <cstddef>

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

#endif  // RIGSYNC_TESTS_SUPPORT_COUNTING_ALLOCATOR_H
