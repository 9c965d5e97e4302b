// tcCountingSem result codes, time-outs and its maximum count.
#include "base/tcCountingSem.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

TEST(tcCountingSem, UseBeforeCreateIsNotCreated) {
  tcCountingSem sem;
  EXPECT_EQ(sem.Wait(0), -4);
  EXPECT_EQ(sem.Post(), -4);
}

TEST(tcCountingSem, CreateTwiceIsAlreadyCreated) {
  tcCountingSem sem;
  EXPECT_EQ(sem.Create(0), 0);
  EXPECT_EQ(sem.Create(0), -1);
}

TEST(tcCountingSem, WaitWithZeroTimeoutOnEmptyReturnsAtOnce) {
  tcCountingSem sem;
  ASSERT_EQ(sem.Create(0), 0);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(sem.Wait(0), -1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(tcCountingSem, PostThenWaitTakesTheCount) {
  tcCountingSem sem;
  ASSERT_EQ(sem.Create(0), 0);
  EXPECT_EQ(sem.Post(), 0);
  EXPECT_EQ(sem.Post(), 0);
  EXPECT_EQ(sem.Wait(0), 0);
  EXPECT_EQ(sem.Wait(0), 0);
  EXPECT_EQ(sem.Wait(0), -1);
}

TEST(tcCountingSem, The65536thPostIsRefused) {
  tcCountingSem sem;
  ASSERT_EQ(sem.Create(0), 0);
  for (int i = 0; i < 65535; ++i)
    ASSERT_EQ(sem.Post(), 0) << i;
  EXPECT_EQ(sem.Post(), 1);
}

TEST(tcCountingSem, WaitWakesWhenAnotherThreadPosts) {
  tcCountingSem sem;
  ASSERT_EQ(sem.Create(0), 0);
  std::thread poster([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    sem.Post();
  });
  EXPECT_EQ(sem.Wait(tcCountingSem::kInfinite), 0);
  poster.join();
}

TEST(tcCountingSem, WaitTimesOutAfterItsTimeout) {
  tcCountingSem sem;
  ASSERT_EQ(sem.Create(0), 0);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(sem.Wait(30), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

}  // namespace
