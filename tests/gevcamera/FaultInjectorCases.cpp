// gev-camera's fault injection: each fault class, and a seed that repeats its faults exactly.
#include "tcFaultInjector.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

// A frame of `count` packets whose first byte is the packet id.
class FaultInjector : public ::testing::Test {
 protected:
  std::vector<tsDatagram> Frame(size_t count) {
    storage_.resize(count);
    std::vector<tsDatagram> packets;
    for (size_t id = 0; id < count; ++id) {
      storage_[id][0] = std::byte(id);
      packets.push_back({storage_[id], 0, {}, {}});
    }
    return packets;
  }
  static std::vector<int> Ids(const std::vector<tsDatagram>& sent) {
    std::vector<int> ids;
    for (const tsDatagram& d : sent)
      ids.push_back(std::to_integer<int>(d.buffer[0]));
    return ids;
  }

  std::vector<std::array<std::byte, 1>> storage_;
};

TEST_F(FaultInjector, NoFaultsSendsEveryPacketInOrder) {
  tcFaultInjector faults({});
  std::vector<tsDatagram> frame = Frame(6);
  EXPECT_EQ(Ids(faults.Frame(frame)), (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_TRUE(faults.KeepResent());
}

TEST_F(FaultInjector, DropsTheChosenPacketOfEveryFrame) {
  tsFaultOptions options;
  options.dropPacketId = 2;
  tcFaultInjector faults(options);
  std::vector<tsDatagram> frame = Frame(5);
  EXPECT_EQ(Ids(faults.Frame(frame)), (std::vector<int>{0, 1, 3, 4}));
  EXPECT_EQ(Ids(faults.Frame(frame)), (std::vector<int>{0, 1, 3, 4}));
}

TEST_F(FaultInjector, DataLossSparesLeaderAndTrailer) {
  tsFaultOptions options;
  options.dataLoss = 1.0;
  tcFaultInjector faults(options);
  std::vector<tsDatagram> frame = Frame(5);
  EXPECT_EQ(Ids(faults.Frame(frame)), (std::vector<int>{0, 4}));
}

TEST_F(FaultInjector, MarkerLossTakesOnlyLeaderAndTrailer) {
  tsFaultOptions options;
  options.markerLoss = 1.0;
  tcFaultInjector faults(options);
  std::vector<tsDatagram> frame = Frame(5);
  EXPECT_EQ(Ids(faults.Frame(frame)), (std::vector<int>{1, 2, 3}));
}

TEST_F(FaultInjector, DuplicatesSendPacketsTwice) {
  tsFaultOptions options;
  options.duplicates = 1.0;
  tcFaultInjector faults(options);
  std::vector<tsDatagram> frame = Frame(3);
  EXPECT_EQ(Ids(faults.Frame(frame)), (std::vector<int>{0, 0, 1, 1, 2, 2}));
}

TEST_F(FaultInjector, ReorderingStaysWithinItsWindows) {
  tsFaultOptions options;
  options.reorderWindow = 4;
  options.seed = 3;
  tcFaultInjector faults(options);
  std::vector<tsDatagram> frame = Frame(10);
  std::vector<int> ids = Ids(faults.Frame(frame));
  ASSERT_EQ(ids.size(), 10u);
  EXPECT_NE(ids, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  for (size_t i = 0; i < ids.size(); ++i)
    EXPECT_EQ(ids[i] / 4, static_cast<int>(i / 4)) << i;
}

TEST_F(FaultInjector, ResentLoss) {
  tsFaultOptions options;
  options.resentLoss = 1.0;
  EXPECT_FALSE(tcFaultInjector(options).KeepResent());
}

TEST_F(FaultInjector, TheSameSeedGivesTheSameFaults) {
  tsFaultOptions options;
  options.seed = 42;
  options.dataLoss = 0.3;
  options.duplicates = 0.1;
  options.reorderWindow = 3;
  tcFaultInjector first(options), second(options);
  std::vector<tsDatagram> frame = Frame(40);
  for (int n = 0; n < 5; ++n) {
    std::vector<int> a = Ids(first.Frame(frame));
    EXPECT_EQ(a, Ids(second.Frame(frame))) << n;
    EXPECT_LT(a.size(), 40u);  // some loss in 40 packets at 30 %
  }
  options.seed = 43;
  tcFaultInjector other(options);
  tcFaultInjector again(tsFaultOptions{42, 0.3, 0, 0, 0.1, 3, -1});
  EXPECT_NE(Ids(other.Frame(frame)), Ids(again.Frame(frame)));
}

}  // namespace
