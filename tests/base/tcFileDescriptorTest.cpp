// tcFileDescriptor closes exactly once, across moves, releases and resets.
#include "base/tcFileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <utility>

namespace {

bool IsOpenFd(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

int NewFd() {
  return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(tcFileDescriptor, EmptyByDefault) {
  tcFileDescriptor fd;
  EXPECT_FALSE(fd.IsValid());
  EXPECT_EQ(fd.Get(), -1);
  EXPECT_FALSE(tcFileDescriptor(-5).IsValid());
  EXPECT_EQ(tcFileDescriptor(-5).Get(), -1);
}

TEST(tcFileDescriptor, ClosesOnDestruction) {
  int raw = NewFd();
  ASSERT_GE(raw, 0);
  {
    tcFileDescriptor fd(raw);
    EXPECT_EQ(fd.Get(), raw);
  }
  EXPECT_FALSE(IsOpenFd(raw));
}

TEST(tcFileDescriptor, MoveConstructionTransfersOwnership) {
  int raw = NewFd();
  tcFileDescriptor a(raw);
  tcFileDescriptor b(std::move(a));
  EXPECT_FALSE(a.IsValid());
  EXPECT_EQ(b.Get(), raw);
  EXPECT_TRUE(IsOpenFd(raw));
}

TEST(tcFileDescriptor, MoveAssignmentClosesTheOldDescriptor) {
  int first = NewFd();
  int second = NewFd();
  tcFileDescriptor a(first);
  tcFileDescriptor b(second);
  a = std::move(b);
  EXPECT_FALSE(IsOpenFd(first));
  EXPECT_EQ(a.Get(), second);
  EXPECT_FALSE(b.IsValid());
  EXPECT_TRUE(IsOpenFd(second));
}

TEST(tcFileDescriptor, SelfMoveAssignmentKeepsTheDescriptor) {
  int raw = NewFd();
  tcFileDescriptor a(raw);
  tcFileDescriptor& alias = a;
  a = std::move(alias);
  EXPECT_EQ(a.Get(), raw);
  EXPECT_TRUE(IsOpenFd(raw));
}

TEST(tcFileDescriptor, ReleaseGivesUpWithoutClosing) {
  int raw = NewFd();
  int released;
  {
    tcFileDescriptor fd(raw);
    released = fd.Release();
    EXPECT_FALSE(fd.IsValid());
    EXPECT_EQ(fd.Release(), -1);
  }
  EXPECT_EQ(released, raw);
  EXPECT_TRUE(IsOpenFd(raw));
  close(raw);
}

TEST(tcFileDescriptor, ResetClosesOnceAndTakesTheNewOne) {
  int first = NewFd();
  int second = NewFd();
  tcFileDescriptor fd(first);
  fd.Reset(second);
  EXPECT_FALSE(IsOpenFd(first));
  EXPECT_EQ(fd.Get(), second);
  fd.Reset();
  EXPECT_FALSE(IsOpenFd(second));
  EXPECT_FALSE(fd.IsValid());
  fd.Reset();  // a second reset has nothing to close
  EXPECT_EQ(fd.Get(), -1);
}

TEST(tcFileDescriptor, ResetToTheSameDescriptorKeepsItOpen) {
  int raw = NewFd();
  tcFileDescriptor fd(raw);
  fd.Reset(raw);
  EXPECT_TRUE(IsOpenFd(raw));
  EXPECT_EQ(fd.Get(), raw);
}

// A closed descriptor number is reused by the next open; a second close would hit it.
TEST(tcFileDescriptor, NeverClosesADescriptorItNoLongerOwns) {
  int raw = NewFd();
  tcFileDescriptor a(raw);
  tcFileDescriptor b(std::move(a));
  b.Reset();
  int reused = NewFd();
  ASSERT_EQ(reused, raw);
  a.Reset();
  { tcFileDescriptor moved(std::move(a)); }
  EXPECT_TRUE(IsOpenFd(reused));
  close(reused);
}

}  // namespace
