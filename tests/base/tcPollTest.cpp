// tcPoll readability, time-outs and the immediate wake-up of a waiting thread by an eventfd.
#include "base/tcPoll.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include "base/Platform.h"
#include "base/tcEventFd.h"
#include "base/tcThread.h"

namespace {

using namespace std::chrono_literals;

uint64_t ElapsedMs(uint64_t startNs) {
  return (platform::MonotonicNs() - startNs) / 1000000;
}

TEST(tcPoll, EmptySetTimesOut) {
  tcPoll poll;
  EXPECT_EQ(poll.Size(), 0u);
  uint64_t start = platform::MonotonicNs();
  tsIoResult result = poll.Wait(30);
  EXPECT_TRUE(result.Ok());
  EXPECT_EQ(result.count, 0u);
  EXPECT_GE(ElapsedMs(start), 30u);
  EXPECT_FALSE(poll.Readable(0));
}

TEST(tcPoll, ReportsWhichDescriptorIsReadable) {
  tcEventFd quiet, ready;
  ASSERT_EQ(quiet.Open(), 0);
  ASSERT_EQ(ready.Open(), 0);
  tcPoll poll;
  EXPECT_EQ(poll.Add(quiet.Fd()), 0u);
  EXPECT_EQ(poll.Add(ready.Fd()), 1u);
  ASSERT_EQ(ready.Signal(), 0);
  tsIoResult result = poll.Wait(0);
  EXPECT_TRUE(result.Ok());
  EXPECT_EQ(result.count, 1u);
  EXPECT_FALSE(poll.Readable(0));
  EXPECT_TRUE(poll.Readable(1));
  EXPECT_FALSE(poll.Readable(2));
  // Readiness is recomputed by every wait.
  ready.Drain();
  EXPECT_EQ(poll.Wait(0).count, 0u);
  EXPECT_FALSE(poll.Readable(1));
}

TEST(tcPoll, ZeroTimeoutOnlyLooks) {
  tcEventFd event;
  ASSERT_EQ(event.Open(), 0);
  tcPoll poll;
  poll.Add(event.Fd());
  uint64_t start = platform::MonotonicNs();
  EXPECT_EQ(poll.Wait(0).count, 0u);
  EXPECT_LT(ElapsedMs(start), 100u);
}

TEST(tcPoll, DescriptorsAbove1023Work) {
  tcEventFd event;
  ASSERT_EQ(event.Open(), 0);
  int high = fcntl(event.Fd(), F_DUPFD_CLOEXEC, 1500);
  if (high < 0) GTEST_SKIP() << "descriptor limit below 1500";
  tcPoll poll;
  poll.Add(high);
  ASSERT_EQ(event.Signal(), 0);
  EXPECT_EQ(poll.Wait(0).count, 1u);
  EXPECT_TRUE(poll.Readable(0));
  close(high);
}

// A receive thread blocked without limit wakes as soon as stop is requested.
TEST(tcPoll, EventFdWakesABlockedThreadAtOnce) {
  tcEventFd wake;
  ASSERT_EQ(wake.Open(), 0);
  std::promise<void> waiting;
  std::atomic<uint64_t> wokenAtNs{0};
  std::atomic<bool> wokenByEvent{false};
  tcThread thread;
  ASSERT_EQ(thread.Start(
                [&](const std::atomic<bool>& stop) {
                  tcPoll poll;
                  size_t wakeIndex = poll.Add(wake.Fd());
                  waiting.set_value();
                  while (!stop) {
                    if (poll.Wait(-1).Ok() && poll.Readable(wakeIndex)) wake.Drain();
                  }
                  wokenByEvent = true;
                  wokenAtNs = platform::MonotonicNs();
                },
                [&] { wake.Signal(); }),
            0);
  waiting.get_future().wait();
  std::this_thread::sleep_for(50ms);  // let the thread enter poll
  uint64_t stopAt = platform::MonotonicNs();
  thread.RequestStop();
  ASSERT_EQ(thread.Join(), 0);
  EXPECT_TRUE(wokenByEvent);
  EXPECT_LT((wokenAtNs - stopAt) / 1000000, 100u);
}

void IgnoreSignal(int) {}

// A signal that interrupts the wait does not end it early.
TEST(tcPoll, InterruptedWaitGoesOnForTheTimeLeft) {
  struct sigaction action {};
  action.sa_handler = IgnoreSignal;
  struct sigaction previous {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
  pthread_t waiter = pthread_self();
  auto interrupter = std::async(std::launch::async, [waiter] {
    std::this_thread::sleep_for(20ms);
    pthread_kill(waiter, SIGUSR1);
  });
  tcPoll poll;
  tcEventFd event;
  ASSERT_EQ(event.Open(), 0);
  poll.Add(event.Fd());
  uint64_t start = platform::MonotonicNs();
  tsIoResult result = poll.Wait(120);
  interrupter.get();
  sigaction(SIGUSR1, &previous, nullptr);
  EXPECT_TRUE(result.Ok());
  EXPECT_EQ(result.count, 0u);
  EXPECT_GE(ElapsedMs(start), 120u);
}

}  // namespace
