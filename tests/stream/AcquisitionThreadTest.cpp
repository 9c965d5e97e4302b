// The acquisition-thread owner: start handshake, stop from another thread and from the thread
// itself, the stop-aware sleep and the wake hook.
#include <gtest/gtest.h>

#include <atomic>

#include "base/Platform.h"
#include "stream/tcAcquisitionThread.h"

namespace {

constexpr uint64_t kOneHourNs = 3600ULL * 1000000000ULL;

TEST(AcquisitionThread, StartReturnsOnceTheThreadRunsAndStopJoinsIt) {
  tcAcquisitionThread thread;
  std::atomic<bool> onThread{false};
  thread.Start([&] {
    onThread.store(thread.OnAcquisitionThread());
    while (!thread.StopRequested())
      std::this_thread::yield();
  });
  EXPECT_TRUE(thread.Running());
  EXPECT_FALSE(thread.OnAcquisitionThread());
  EXPECT_TRUE(thread.Stop());
  EXPECT_TRUE(onThread.load());
  EXPECT_FALSE(thread.Running());
  EXPECT_FALSE(thread.Stop());  // idempotent
}

TEST(AcquisitionThread, StopEndsALongSleepAtOnceAndCallsTheWakeHook) {
  tcAcquisitionThread thread;
  std::atomic<int> wakes{0};
  std::atomic<bool> slept{true};
  thread.SetWake([&] { wakes.fetch_add(1); });
  thread.Start([&] { slept.store(thread.SleepUntil(platform::MonotonicNs() + kOneHourNs)); });
  uint64_t before = platform::MonotonicNs();
  EXPECT_TRUE(thread.Stop());
  EXPECT_LT(platform::MonotonicNs() - before, kOneHourNs);
  EXPECT_FALSE(slept.load());
  EXPECT_EQ(wakes.load(), 1);
}

TEST(AcquisitionThread, AThreadThatEndedByItselfStaysRunningUntilJoined) {
  tcAcquisitionThread thread;
  std::atomic<bool> done{false};
  thread.Start([&] { done.store(true); });
  while (!done.load())
    std::this_thread::yield();
  EXPECT_TRUE(thread.Running());
  EXPECT_TRUE(thread.Stop());
  EXPECT_FALSE(thread.Running());
}

TEST(AcquisitionThread, StopOnTheThreadItselfOnlyRequestsAndTheOwnerJoinsLater) {
  tcAcquisitionThread thread;
  std::atomic<bool> joinedItself{true};
  thread.Start([&] { joinedItself.store(thread.Stop()); });
  while (!thread.StopRequested())
    std::this_thread::yield();
  EXPECT_TRUE(thread.Stop());
  EXPECT_FALSE(joinedItself.load());
}

TEST(AcquisitionThread, ASecondStartAfterStopRunsAFreshThread) {
  tcAcquisitionThread thread;
  std::atomic<int> runs{0};
  for (int i = 0; i < 3; ++i) {
    thread.Start([&] { runs.fetch_add(1); });
    EXPECT_TRUE(thread.Stop());
  }
  EXPECT_EQ(runs.load(), 3);
}

}  // namespace
