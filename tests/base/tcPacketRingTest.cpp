// The packet ring in a private network: the datagrams to its port, once each, in order, with
// their sender; nothing to other ports; a walk that stops when told. Needs CAP_NET_RAW.
#include "base/tcPacketRing.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <string>
#include <vector>

#include "base/tcUdpSocket.h"
#include "support/PrivateNetwork.h"

namespace {

constexpr uint32_t kHost = 0x7F000001;
constexpr uint32_t kSender = 0x7F000002;

struct tsTaken {
  std::string text;
  uint32_t sender = 0;
};

class tcPacketRingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ENTER_PRIVATE_NETWORK_OR_SKIP();
    ASSERT_EQ(receiver_.Open(), 0);
    ASSERT_EQ(receiver_.Bind({kHost, 0}), 0);
    ASSERT_EQ(receiver_.LocalAddress(&address_), 0);
    ASSERT_EQ(sender_.Open(), 0);
    ASSERT_EQ(sender_.Bind({kSender, 0}), 0);
    int error = ring_.Open(address_.port, 1);
    if (error == EPERM) GTEST_SKIP() << "a packet ring needs CAP_NET_RAW";
    ASSERT_EQ(error, 0);
  }

  void Send(const std::string& text, uint16_t port) {
    ASSERT_TRUE(sender_.SendTo(std::as_bytes(std::span(text)), {kHost, port}).Ok());
  }
  // Drains the ring until `count` datagrams were taken or nothing came for 500 ms.
  std::vector<tsTaken> Take(size_t count) {
    std::vector<tsTaken> taken;
    auto keep = [&](std::span<const std::byte> payload, uint32_t sender) {
      taken.push_back(
          {std::string(reinterpret_cast<const char*>(payload.data()), payload.size()), sender});
    };
    while (taken.size() < count) {
      pollfd fd{ring_.Fd(), POLLIN, 0};
      if (poll(&fd, 1, 500) != 1) break;
      ring_.Drain(keep, [] { return true; });
    }
    return taken;
  }

  tcUdpSocket receiver_;
  tcUdpSocket sender_;
  tsSocketAddress address_;
  tcPacketRing ring_;
};

TEST_F(tcPacketRingTest, DatagramsToThePortArriveOnceInOrderWithTheirSender) {
  for (const char* text : {"a", "bb", "ccc"})
    Send(text, address_.port);
  std::vector<tsTaken> taken = Take(4);
  ASSERT_EQ(taken.size(), 3u);  // the copies this host sent are not taken
  EXPECT_EQ(taken[0].text, "a");
  EXPECT_EQ(taken[1].text, "bb");
  EXPECT_EQ(taken[2].text, "ccc");
  EXPECT_EQ(taken[2].sender, kSender);
}

TEST_F(tcPacketRingTest, DatagramsToOtherPortsAreNotTaken) {
  Send("elsewhere", static_cast<uint16_t>(address_.port + 1));
  Send("here", address_.port);
  std::vector<tsTaken> taken = Take(2);
  ASSERT_EQ(taken.size(), 1u);
  EXPECT_EQ(taken[0].text, "here");
}

TEST_F(tcPacketRingTest, AWalkStopsAfterTheDatagramThatEndsIt) {
  Send("first", address_.port);
  Send("second", address_.port);
  pollfd fd{ring_.Fd(), POLLIN, 0};
  ASSERT_EQ(poll(&fd, 1, 2000), 1);
  size_t seen = 0;
  size_t visited =
      ring_.Drain([&](std::span<const std::byte>, uint32_t) { ++seen; }, [] { return false; });
  EXPECT_EQ(visited, 1u);
  EXPECT_EQ(seen, 1u);
}

TEST(tcPacketRing, AClosedRingVisitsNothing) {
  tcPacketRing ring;
  EXPECT_FALSE(ring.IsOpen());
  EXPECT_EQ(ring.Drain([](std::span<const std::byte>, uint32_t) {}, [] { return true; }), 0u);
  ring.Close();
  EXPECT_EQ(ring.Fd(), -1);
}

}  // namespace
