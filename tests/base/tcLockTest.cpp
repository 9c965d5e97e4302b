// tcLock result codes, recursion, time-outs and destruction while held.
#include "base/tcLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

TEST(tcLock, LockBeforeCreateIsNotCreated) {
  tcLock lock;
  EXPECT_EQ(lock.Lock(0), -4);
  EXPECT_EQ(lock.Unlock(), -4);
}

TEST(tcLock, CreateTwiceIsAlreadyCreated) {
  tcLock lock;
  EXPECT_EQ(lock.Create(), 0);
  EXPECT_EQ(lock.Create(), -1);
}

TEST(tcLock, RecursiveForItsOwner) {
  tcLock lock;
  ASSERT_EQ(lock.Create(), 0);
  EXPECT_EQ(lock.Lock(tcLock::kInfinite), 0);
  EXPECT_EQ(lock.Lock(0), 0);
  EXPECT_EQ(lock.Unlock(), 0);
  EXPECT_EQ(lock.Unlock(), 0);
  EXPECT_EQ(lock.Unlock(), 1);
}

TEST(tcLock, OtherThreadTimesOutAndCannotUnlock) {
  tcLock lock;
  ASSERT_EQ(lock.Create(), 0);
  ASSERT_EQ(lock.Lock(tcLock::kInfinite), 0);
  int timedOut = 0;
  int unlocked = 0;
  std::thread other([&] {
    timedOut = lock.Lock(20);
    unlocked = lock.Unlock();
  });
  other.join();
  EXPECT_EQ(timedOut, -1);
  EXPECT_EQ(unlocked, 1);
  EXPECT_EQ(lock.Unlock(), 0);
}

TEST(tcLock, DestroyingWhileAnotherThreadHoldsItBlocksUntilRelease) {
  auto* lock = new tcLock;
  ASSERT_EQ(lock->Create(), 0);
  std::atomic<bool> held{false};
  std::atomic<bool> released{false};
  std::atomic<bool> destroyed{false};
  std::thread holder([&] {
    lock->Lock(tcLock::kInfinite);
    held = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    released = true;
    lock->Unlock();
  });
  while (!held)
    std::this_thread::yield();
  std::thread destroyer([&] {
    delete lock;
    destroyed = true;
    EXPECT_TRUE(released.load());
  });
  destroyer.join();
  holder.join();
  EXPECT_TRUE(destroyed.load());
}

}  // namespace
