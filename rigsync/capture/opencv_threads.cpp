// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/opencv_threads.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace rigsync {
namespace {

// Whether the system gives that many threads at a time.
bool Are_Given(std::size_t Threads) {
  std::mutex Gate;
  std::vector<std::thread> Started;
  {
    const std::lock_guard<std::mutex> Closed(Gate);
    try {
      Started.reserve(Threads);
      while (Started.size() < Threads) {
        Started.emplace_back([&Gate] { const std::lock_guard<std::mutex> Passed(Gate); });
      }
    } catch (const std::exception&) {
      // The system has no more threads, or no memory for one.
    }
  }
  for (std::thread& Thread : Started) Thread.join();
  return Started.size() == Threads;
}

// Work for each of them.
bool Are_Started(int Threads) {
  constexpr int Pieces_Per_Thread = 64;
  try {
    cv::parallel_for_(cv::Range(0, Pieces_Per_Thread * Threads),
                      [](const cv::Range&) { std::this_thread::yield(); });
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

}  // namespace

void Start_Opencv_Threads() {
  constexpr int Usual_Bytes = 1 << 25;
  const cv::Mat Usual(1, Usual_Bytes, CV_8UC1);
  const int Threads = cv::getNumThreads();
  if (Threads <= 1) return;
  if (!Are_Given(static_cast<std::size_t>(Threads)) || !Are_Started(Threads)) cv::setNumThreads(1);
}

}  // namespace rigsync
