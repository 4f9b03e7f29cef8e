// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/parallel_rows.h"

#include "rigsync/system/platform.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace rigsync {
namespace {

// Which rows have begun and ended. All threads share it.
class Row_Queue {
 public:
  explicit Row_Queue(std::size_t Rows) : Row_Count(Rows) {}

  // The row to begin with next; none when all have begun or the work has stopped.
  std::optional<std::size_t> Begin() {
    const std::lock_guard<std::mutex> Lock(Guard);
    if (Is_Stopped || Begun == Row_Count) return std::nullopt;
    return Begun++;
  }

  void End() {
    const std::lock_guard<std::mutex> Lock(Guard);
    ++Ended;
    Changed.notify_all();
  }

  // Row ended with an exception.
  void Fail(std::size_t Row, std::exception_ptr Exception) {
    const std::lock_guard<std::mutex> Lock(Guard);
    if (Row < Failed_Row) {
      Failed_Row = Row;
      Failure = std::move(Exception);
    }
    Is_Stopped = true;
    ++Failed;
    Changed.notify_all();
  }

  void Stop() {
    const std::lock_guard<std::mutex> Lock(Guard);
    Is_Stopped = true;
  }

  std::size_t Ended_Count() {
    const std::lock_guard<std::mutex> Lock(Guard);
    return Ended;
  }

  // Waits for more ended rows than Known and returns their number; Known if there will be no more.
  std::size_t Wait_For_More(std::size_t Known) {
    std::unique_lock<std::mutex> Lock(Guard);
    Changed.wait(Lock, [&] { return Ended > Known || Ended + Failed == Begun; });
    return Ended;
  }

  // After the threads have ended.
  void Throw_Failure() const {
    if (Failure) std::rethrow_exception(Failure);
  }

 private:
  const std::size_t Row_Count;
  std::mutex Guard;
  std::condition_variable Changed;
  std::size_t Begun = 0, Ended = 0, Failed = 0;
  bool Is_Stopped = false;
  std::size_t Failed_Row = static_cast<std::size_t>(-1);
  std::exception_ptr Failure;
};

void Do_Row(Row_Queue& Queue, const Row_Work& Work, std::size_t Row, std::size_t Thread) {
  try {
    Work(Row, Thread);
  } catch (...) {
    Queue.Fail(Row, std::current_exception());
    return;
  }
  Queue.End();
}

// The threads besides the calling one. They end with the rows, or early when this is destroyed.
class Other_Threads {
 public:
  Other_Threads(std::size_t Count, Row_Queue& Rows, const Row_Work& Work) : Queue(Rows) {
    Threads.reserve(Count);
    try {
      while (Threads.size() < Count) {
        Threads.emplace_back([&Rows, &Work, Thread = Threads.size() + 1] {
          while (const auto Row = Rows.Begin()) Do_Row(Rows, Work, *Row, Thread);
        });
      }
    } catch (const std::exception&) {
      // The system has no more threads, or no memory for one.
    }
  }
  ~Other_Threads() {
    Queue.Stop();
    for (std::thread& Thread : Threads) Thread.join();
  }
  Other_Threads(const Other_Threads&) = delete;
  Other_Threads& operator=(const Other_Threads&) = delete;

 private:
  Row_Queue& Queue;
  std::vector<std::thread> Threads;
};

// As many as can each have a file open.
std::size_t Threads_With_A_File(std::size_t Threads) {
  // The streams, the run log, the result, and what libraries keep open.
  constexpr std::size_t Other_Files = 16;
  const std::size_t Files = Open_File_Limit();
  const std::size_t Most = Files > Other_Files ? Files - Other_Files : 1;
  return std::max(std::min(Threads, Most), std::size_t{1});
}

}  // namespace

std::size_t Core_Count() {
  return std::max(std::size_t{std::thread::hardware_concurrency()}, std::size_t{1});
}

void Work_On_Rows(std::size_t Rows, std::size_t Threads, const Row_Work& Work,
                  const Row_Progress& Progress) {
  Row_Queue Queue(Rows);
  std::size_t Reported = 0;
  const auto Report = [&](std::size_t Ended) {
    while (Reported < Ended) {
      ++Reported;
      if (Progress) Progress(Reported, Rows);
    }
  };
  if (Progress) Progress(0, Rows);
  {
    const Other_Threads Others(Threads_With_A_File(Threads) - 1, Queue, Work);
    while (const auto Row = Queue.Begin()) {
      Do_Row(Queue, Work, *Row, 0);
      Report(Queue.Ended_Count());
    }
    for (std::size_t Ended = Queue.Wait_For_More(Reported); Ended > Reported;
         Ended = Queue.Wait_For_More(Reported)) {
      Report(Ended);
    }
  }
  Queue.Throw_Failure();
}

}  // namespace rigsync
