// tcEventFd counts signals, drains without blocking and refuses use when not open.
#include "base/tcEventFd.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <utility>

namespace {

bool Readable(const tcEventFd& event) {
  pollfd fd{event.Fd(), POLLIN, 0};
  return poll(&fd, 1, 0) == 1 && (fd.revents & POLLIN);
}

TEST(tcEventFd, NotOpenRefusesWithoutReachingTheSystem) {
  tcEventFd event;
  EXPECT_FALSE(event.IsOpen());
  EXPECT_EQ(event.Fd(), -1);
  EXPECT_EQ(event.Signal(), EBADF);
  EXPECT_EQ(event.Drain(), 0u);
}

TEST(tcEventFd, SignalMakesReadableAndDrainCountsAndClears) {
  tcEventFd event;
  ASSERT_EQ(event.Open(), 0);
  EXPECT_FALSE(Readable(event));
  EXPECT_EQ(event.Signal(), 0);
  EXPECT_EQ(event.Signal(), 0);
  EXPECT_EQ(event.Signal(), 0);
  EXPECT_TRUE(Readable(event));
  EXPECT_EQ(event.Drain(), 3u);
  EXPECT_FALSE(Readable(event));
  EXPECT_EQ(event.Drain(), 0u);
}

TEST(tcEventFd, IsNonBlockingAndCloseOnExec) {
  tcEventFd event;
  ASSERT_EQ(event.Open(), 0);
  EXPECT_TRUE(fcntl(event.Fd(), F_GETFL) & O_NONBLOCK);
  EXPECT_TRUE(fcntl(event.Fd(), F_GETFD) & FD_CLOEXEC);
}

TEST(tcEventFd, MoveKeepsTheCounter) {
  tcEventFd a;
  ASSERT_EQ(a.Open(), 0);
  int raw = a.Fd();
  EXPECT_EQ(a.Signal(), 0);
  tcEventFd b(std::move(a));
  EXPECT_FALSE(a.IsOpen());
  EXPECT_EQ(a.Signal(), EBADF);
  EXPECT_EQ(b.Fd(), raw);
  EXPECT_EQ(b.Drain(), 1u);
}

TEST(tcEventFd, CloseTwiceIsSafe) {
  tcEventFd event;
  ASSERT_EQ(event.Open(), 0);
  int raw = event.Fd();
  event.Close();
  EXPECT_EQ(fcntl(raw, F_GETFD), -1);
  event.Close();
  EXPECT_EQ(event.Signal(), EBADF);
}

}  // namespace
