// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/platform.h"

#include "tests/support/child_limits.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

namespace {

// Far longer than the test takes when the wait ends at once.
constexpr double Long_Seconds = 60.0;

// Whoever starts the tests may ignore signals, as nohup and a shell's background jobs do.
class StopRequest : public testing::Test {
 protected:
  StopRequest() { Reset_Signals(); }
};

TEST_F(StopRequest, ASignalThatIsIgnoredStaysIgnored) {
  for (const int Signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::signal(Signal, SIG_IGN);
    const rigsync::Stop_Request Stop;
    std::raise(Signal);
    EXPECT_TRUE(Stop.Wait(0.0)) << Signal;
    std::signal(Signal, SIG_DFL);
  }
}

TEST_F(StopRequest, ASignalEndsTheWaitAtOnceAndNotTheProcess) {
  const rigsync::Stop_Request Stop;
  EXPECT_TRUE(Stop.Wait(0.0));
  const auto Start = std::chrono::steady_clock::now();
  std::raise(SIGINT);
  EXPECT_FALSE(Stop.Wait(Long_Seconds));
  EXPECT_FALSE(Stop.Wait(Long_Seconds));
  EXPECT_LT(std::chrono::steady_clock::now() - Start, std::chrono::seconds(30));
}

TEST_F(StopRequest, TheSecondSignalEndsTheProcess) {
  EXPECT_EXIT(
      {
        const rigsync::Stop_Request Stop;
        std::raise(SIGTERM);
        std::raise(SIGTERM);
      },
      testing::KilledBySignal(SIGTERM), "");
}

TEST_F(StopRequest, SignalsDoAfterItWhatTheyDidBefore) {
  EXPECT_EXIT(
      {
        { const rigsync::Stop_Request Stop; }
        std::raise(SIGINT);
      },
      testing::KilledBySignal(SIGINT), "");
}

}  // namespace
