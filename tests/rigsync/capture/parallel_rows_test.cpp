// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/parallel_rows.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using rigsync::Work_On_Rows;

constexpr std::size_t Thread_Counts[] = {0, 1, 2, 3, 8};

// Far longer than anything takes that a test waits for.
constexpr std::chrono::seconds Patience(30);

std::vector<std::size_t> Counted_To(std::size_t Last) {
  std::vector<std::size_t> Numbers(Last + 1);
  std::iota(Numbers.begin(), Numbers.end(), std::size_t{0});
  return Numbers;
}

TEST(ParallelRows, EachRowIsWorkedOnOnceAndTheyBeginInRisingOrder) {
  for (const std::size_t Threads : Thread_Counts) {
    SCOPED_TRACE(Threads);
    std::mutex Guard;
    std::vector<int> Calls(40);
    std::atomic<std::size_t> Begun{0};
    std::size_t Furthest_Ahead = 0;
    Work_On_Rows(Calls.size(), Threads,
                 [&](std::size_t Row, std::size_t) {
                   const std::size_t Earlier = Begun++;
                   const std::lock_guard<std::mutex> Lock(Guard);
                   ++Calls[Row];
                   // A thread can be overtaken between taking its row and counting it, by each
                   // other once.
                   Furthest_Ahead = std::max(Furthest_Ahead, Row > Earlier ? Row - Earlier : 0);
                 },
                 {});
    EXPECT_EQ(Calls, std::vector<int>(40, 1));
    EXPECT_LE(Furthest_Ahead, std::max(Threads, std::size_t{1}) - 1);
  }
}

TEST(ParallelRows, ANumberOfAThreadIsInUseOnceAtATimeAndBelowTheirCount) {
  for (const std::size_t Threads : Thread_Counts) {
    SCOPED_TRACE(Threads);
    const std::size_t Used = std::max(Threads, std::size_t{1});
    std::vector<std::atomic<int>> In_Use(Used);
    std::atomic<int> Shared{0}, Outside{0};
    Work_On_Rows(200, Threads,
                 [&](std::size_t, std::size_t Thread) {
                   if (Thread >= Used) {
                     ++Outside;
                     return;
                   }
                   if (++In_Use[Thread] != 1) ++Shared;
                   std::this_thread::yield();
                   --In_Use[Thread];
                 },
                 {});
    EXPECT_EQ(Shared, 0);
    EXPECT_EQ(Outside, 0);
  }
}

// Each row waits for the other, so one thread alone would not end.
TEST(ParallelRows, TwoThreadsWorkAtTheSameTime) {
  std::mutex Guard;
  std::condition_variable Changed;
  int Begun = 0;
  std::atomic<int> Left_Alone{0};
  Work_On_Rows(2, 2,
               [&](std::size_t, std::size_t) {
                 std::unique_lock<std::mutex> Lock(Guard);
                 ++Begun;
                 Changed.notify_all();
                 if (!Changed.wait_for(Lock, Patience, [&] { return Begun == 2; })) ++Left_Alone;
               },
               {});
  EXPECT_EQ(Left_Alone, 0);
}

TEST(ParallelRows, ProgressCountsFromNoneToAllOnTheCallingThread) {
  for (const std::size_t Rows : {0, 1, 40}) {
    for (const std::size_t Threads : Thread_Counts) {
      SCOPED_TRACE(testing::Message() << Rows << " rows, " << Threads << " threads");
      std::vector<std::size_t> Reported;
      int Elsewhere = 0;
      const std::thread::id Caller = std::this_thread::get_id();
      Work_On_Rows(
          Rows, Threads, [](std::size_t, std::size_t) {},
          [&](std::size_t Done, std::size_t All) {
            Reported.push_back(Done);
            if (std::this_thread::get_id() != Caller || All != Rows) ++Elsewhere;
          });
      EXPECT_EQ(Reported, Counted_To(Rows));
      EXPECT_EQ(Elsewhere, 0);
    }
  }
}

// A row of another thread ends only when all other rows have been reported.
TEST(ParallelRows, ProgressIsReportedWhileAnotherThreadStillWorks) {
  std::mutex Guard;
  std::condition_variable Changed;
  std::size_t Reported = 0;
  int Held = 0, Unreported = 0;
  constexpr std::size_t Rows = 6;
  Work_On_Rows(
      Rows, 2,
      [&](std::size_t, std::size_t Thread) {
        std::unique_lock<std::mutex> Lock(Guard);
        if (Thread == 0) {  // so that the other one gets a row
          Changed.wait_for(Lock, Patience, [&] { return Held > 0; });
          return;
        }
        ++Held;
        Changed.notify_all();
        if (!Changed.wait_for(Lock, Patience, [&] { return Reported == Rows - 1; })) ++Unreported;
      },
      [&](std::size_t Done, std::size_t) {
        const std::lock_guard<std::mutex> Lock(Guard);
        Reported = Done;
        Changed.notify_all();
      });
  EXPECT_EQ(Held, 1);
  EXPECT_EQ(Unreported, 0);
}

// Rows 11, 12 and 20 fail, and 12 does so first where there are threads to spare.
TEST(ParallelRows, TheExceptionOfTheLowestRowReachesTheCallerAndNoFurtherRowBegins) {
  for (const std::size_t Threads : Thread_Counts) {
    SCOPED_TRACE(Threads);
    std::mutex Guard;
    std::condition_variable Changed;
    bool Has_Twelve_Failed = Threads < 2;
    std::atomic<std::size_t> Highest{0};
    std::vector<std::size_t> Reported;
    const auto Fail_Late = [&](std::size_t Row, std::size_t) {
      std::size_t Before = Highest.load();
      while (Row > Before && !Highest.compare_exchange_weak(Before, Row)) {
      }
      std::unique_lock<std::mutex> Lock(Guard);
      if (Row == 11) Changed.wait_for(Lock, Patience, [&] { return Has_Twelve_Failed; });
      if (Row == 12) Has_Twelve_Failed = true;
      Changed.notify_all();
      if (Row == 11 || Row == 12 || Row == 20) {
        throw std::runtime_error("row " + std::to_string(Row));
      }
    };
    try {
      Work_On_Rows(1000, Threads, Fail_Late,
                   [&](std::size_t Done, std::size_t) { Reported.push_back(Done); });
      ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& Error) {
      EXPECT_STREQ(Error.what(), "row 11");
    }
    // After row 20 each thread may have begun one more.
    EXPECT_LE(Highest, 20 + Threads);
    EXPECT_EQ(Reported, Counted_To(Reported.size() - 1));
    EXPECT_LT(Reported.back(), Highest + 1);
  }
}

TEST(ParallelRows, OneThreadReportsEachRowBeforeTheNextBeginsAndStopsAtOneThatFails) {
  std::vector<std::string> Events;
  const auto Fail_At_Two = [&](std::size_t Row, std::size_t) {
    Events.push_back("row " + std::to_string(Row));
    if (Row == 2) throw std::runtime_error("row 2");
  };
  EXPECT_THROW(Work_On_Rows(10, 1, Fail_At_Two,
                            [&](std::size_t Done, std::size_t) {
                              Events.push_back(std::to_string(Done) + " done");
                            }),
               std::runtime_error);
  EXPECT_EQ(Events,
            (std::vector<std::string>{"0 done", "row 0", "1 done", "row 1", "2 done", "row 2"}));
}

TEST(ParallelRows, AnExceptionOfProgressEndsTheWorkAndReachesTheCaller) {
  for (const std::size_t Threads : Thread_Counts) {
    SCOPED_TRACE(Threads);
    std::atomic<int> Running{0};
    EXPECT_THROW(Work_On_Rows(
                     1'000'000, Threads,
                     [&](std::size_t, std::size_t) {
                       ++Running;
                       std::this_thread::yield();
                       --Running;
                     },
                     [](std::size_t Done, std::size_t) {
                       if (Done == 2) throw std::logic_error("progress");
                     }),
                 std::logic_error);
    EXPECT_EQ(Running, 0);
  }
}

// As a shell's ulimit -n does, until this ends.
class Open_Files {
 public:
  explicit Open_Files(rlim_t Most) {
    getrlimit(RLIMIT_NOFILE, &Before);
    const rlimit Now = {Most, Before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &Now);
  }
  ~Open_Files() { setrlimit(RLIMIT_NOFILE, &Before); }
  Open_Files(const Open_Files&) = delete;
  Open_Files& operator=(const Open_Files&) = delete;

 private:
  rlimit Before{};
};

// A machine of 64 cores with 32 open files once took images for missing.
TEST(ParallelRows, EachThreadCanOpenAFile) {
  const rlim_t Limits[] = {8, 17, 32};
  for (const rlim_t Most : Limits) {
    SCOPED_TRACE(Most);
    std::atomic<int> Without{0};
    const Open_Files Limit(Most);
    Work_On_Rows(
        /*Rows=*/64, /*Threads=*/64,
        [&](std::size_t, std::size_t) {
          std::FILE* const File = std::fopen("/dev/null", "r");
          if (File == nullptr) {
            ++Without;
            return;
          }
          // Long enough for the others to open theirs.
          std::this_thread::sleep_for(std::chrono::milliseconds(2));
          std::fclose(File);
        },
        {});
    EXPECT_EQ(Without, 0);
  }
}

TEST(ParallelRows, TheMachineHasACore) {
  EXPECT_GE(rigsync::Core_Count(), 1u);
  EXPECT_GE(rigsync::Core_Count(), std::thread::hardware_concurrency());
}

}  // namespace
