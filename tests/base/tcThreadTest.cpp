// tcThread start, stop hook, joins from other threads and from itself, moves and destruction.
#include "base/tcThread.h"

#include <errno.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <utility>

namespace {

using namespace std::chrono_literals;

void SpinUntilStopped(const std::atomic<bool>& stop) {
  while (!stop)
    std::this_thread::sleep_for(1ms);
}

TEST(tcThread, NotStartedIsNotJoinableAndJoinsAtOnce) {
  tcThread thread;
  EXPECT_FALSE(thread.Joinable());
  EXPECT_FALSE(thread.StopRequested());
  EXPECT_FALSE(thread.IsCurrent());
  EXPECT_EQ(thread.Join(), 0);
  thread.RequestStop();
  EXPECT_FALSE(thread.StopRequested());
}

TEST(tcThread, RunsTheBodyAndJoins) {
  std::atomic<int> runs{0};
  tcThread thread;
  ASSERT_EQ(thread.Start([&](const std::atomic<bool>&) { ++runs; }), 0);
  EXPECT_TRUE(thread.Joinable());
  EXPECT_EQ(thread.Join(), 0);
  EXPECT_FALSE(thread.Joinable());
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(thread.Join(), 0);
}

TEST(tcThread, StartWhileNotJoinedIsBusy) {
  tcThread thread;
  ASSERT_EQ(thread.Start(SpinUntilStopped), 0);
  EXPECT_EQ(thread.Start(SpinUntilStopped), EBUSY);
  thread.RequestStop();
  EXPECT_EQ(thread.Join(), 0);
  // Joined: the owner may start again, with a fresh stop flag.
  ASSERT_EQ(thread.Start(SpinUntilStopped), 0);
  EXPECT_FALSE(thread.StopRequested());
}

TEST(tcThread, RequestStopSetsTheFlagThenRunsTheHook) {
  std::atomic<bool> flagSeenByHook{false};
  tcThread thread;
  ASSERT_EQ(thread.Start(SpinUntilStopped, [&] { flagSeenByHook = thread.StopRequested(); }), 0);
  thread.RequestStop();
  EXPECT_TRUE(flagSeenByHook);
  EXPECT_TRUE(thread.StopRequested());
  EXPECT_EQ(thread.Join(), 0);
}

TEST(tcThread, JoinOnItselfIsRefused) {
  tcThread thread;
  std::promise<int> result;
  ASSERT_EQ(thread.Start([&](const std::atomic<bool>&) {
    result.set_value(thread.IsCurrent() ? thread.Join() : -1);
  }),
            0);
  EXPECT_EQ(result.get_future().get(), EDEADLK);
  EXPECT_FALSE(thread.IsCurrent());
  EXPECT_EQ(thread.Join(), 0);
}

TEST(tcThread, JoinFromSeveralThreadsAtOnce) {
  tcThread thread;
  ASSERT_EQ(thread.Start(SpinUntilStopped), 0);
  auto first = std::async(std::launch::async, [&] { return thread.Join(); });
  auto second = std::async(std::launch::async, [&] { return thread.Join(); });
  std::this_thread::sleep_for(20ms);
  thread.RequestStop();
  EXPECT_EQ(first.get(), 0);
  EXPECT_EQ(second.get(), 0);
  EXPECT_FALSE(thread.Joinable());
}

TEST(tcThread, DestructionRequestsStopAndJoins) {
  std::atomic<bool> ended{false};
  std::atomic<bool> hookRan{false};
  {
    tcThread thread;
    ASSERT_EQ(thread.Start(
                  [&](const std::atomic<bool>& stop) {
                    SpinUntilStopped(stop);
                    ended = true;
                  },
                  [&] { hookRan = true; }),
              0);
  }
  EXPECT_TRUE(hookRan);
  EXPECT_TRUE(ended);
}

TEST(tcThread, MoveKeepsTheRunningThread) {
  std::atomic<bool> ended{false};
  tcThread a;
  ASSERT_EQ(a.Start([&](const std::atomic<bool>& stop) {
    SpinUntilStopped(stop);
    ended = true;
  }),
            0);
  tcThread b(std::move(a));
  EXPECT_FALSE(a.Joinable());
  EXPECT_TRUE(b.Joinable());
  tcThread c;
  c = std::move(b);
  EXPECT_FALSE(ended);
  c.RequestStop();
  EXPECT_EQ(c.Join(), 0);
  EXPECT_TRUE(ended);
}

TEST(tcThread, MoveAssignmentOverARunningThreadStopsIt) {
  std::atomic<bool> firstEnded{false};
  tcThread a;
  ASSERT_EQ(a.Start([&](const std::atomic<bool>& stop) {
    SpinUntilStopped(stop);
    firstEnded = true;
  }),
            0);
  a = tcThread();
  EXPECT_TRUE(firstEnded);
  EXPECT_FALSE(a.Joinable());
}

TEST(tcThread, DestroyedOnItsOwnThreadDetaches) {
  auto owner = std::make_unique<tcThread>();
  std::promise<void> done;
  tcThread* raw = owner.get();
  ASSERT_EQ(raw->Start([&owner, &done](const std::atomic<bool>& stop) {
    owner.reset();  // runs the destructor on the owned thread
    EXPECT_FALSE(stop);
    done.set_value();
  }),
            0);
  EXPECT_EQ(done.get_future().wait_for(5s), std::future_status::ready);
}

}  // namespace
