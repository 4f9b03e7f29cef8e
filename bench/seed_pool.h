// SPDX-License-Identifier: Apache-2.0
//
// One job for each seed, on all cores, with the answers handed on in the order of the seeds: a
// table is the same however many cores there are.
#ifndef RIGSYNC_BENCH_SEED_POOL_H
#define RIGSYNC_BENCH_SEED_POOL_H

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bench {

// Job gives the lines of a seed, Print gets them from this thread. Neither throws.
inline void For_Each_Seed(unsigned First, unsigned Count,
                          const std::function<std::string(unsigned)>& Job,
                          const std::function<void(unsigned, const std::string&)>& Print) {
  std::mutex Access;
  std::condition_variable Is_Done;
  std::map<unsigned, std::string> Done;
  unsigned Next = First;
  const auto Work = [&] {
    for (;;) {
      unsigned Seed = 0;
      {
        const std::lock_guard<std::mutex> Lock(Access);
        if (Next == First + Count) return;
        Seed = Next++;
      }
      const std::string Lines = Job(Seed);
      const std::lock_guard<std::mutex> Lock(Access);
      Done[Seed] = Lines;
      Is_Done.notify_one();
    }
  };
  std::vector<std::thread> Workers;
  for (unsigned k = 0; k < std::max(1U, std::thread::hardware_concurrency()); ++k) {
    Workers.emplace_back(Work);
  }
  for (unsigned Seed = First; Seed < First + Count; ++Seed) {
    std::unique_lock<std::mutex> Lock(Access);
    Is_Done.wait(Lock, [&] { return Done.count(Seed) > 0; });
    const std::string Lines = Done[Seed];
    Done.erase(Seed);
    Lock.unlock();
    Print(Seed, Lines);
  }
  for (std::thread& Worker : Workers) Worker.join();
}

}  // namespace bench

#endif  // RIGSYNC_BENCH_SEED_POOL_H
