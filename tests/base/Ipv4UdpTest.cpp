// Decoding the IPv4 UDP datagrams a packet ring hands over: payload, sender, and the packets
// that are refused (not IPv4, not UDP, fragments, cut headers).
#include "base/Ipv4Udp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// An IPv4 header (20 bytes, or more with options), a UDP header and `payload`.
std::vector<std::byte> Packet(const std::string& payload, size_t optionWords = 0) {
  size_t ipHeader = 20 + 4 * optionWords;
  std::vector<std::byte> packet(ipHeader + 8 + payload.size());
  packet[0] = std::byte(0x40 | (ipHeader / 4));
  packet[9] = std::byte{17};  // UDP
  packet[12] = std::byte{10};
  packet[15] = std::byte{7};  // from 10.0.0.7
  size_t udpLength = 8 + payload.size();
  packet[ipHeader + 4] = std::byte(udpLength >> 8);
  packet[ipHeader + 5] = std::byte(udpLength & 0xFF);
  for (size_t i = 0; i < payload.size(); ++i)
    packet[ipHeader + 8 + i] = std::byte(payload[i]);
  return packet;
}

std::string Text(std::span<const std::byte> bytes) {
  return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

TEST(Ipv4Udp, GivesThePayloadAndTheSender) {
  std::vector<std::byte> packet = Packet("gvsp");
  std::span<const std::byte> payload;
  uint32_t sender = 0;
  ASSERT_TRUE(ipv4udp::Parse(packet, &payload, &sender));
  EXPECT_EQ(Text(payload), "gvsp");
  EXPECT_EQ(sender, 0x0A000007u);
}

TEST(Ipv4Udp, SkipsIpOptions) {
  std::vector<std::byte> packet = Packet("data", 2);
  std::span<const std::byte> payload;
  uint32_t sender = 0;
  ASSERT_TRUE(ipv4udp::Parse(packet, &payload, &sender));
  EXPECT_EQ(Text(payload), "data");
}

TEST(Ipv4Udp, TrailingPaddingIsNotPayload) {
  std::vector<std::byte> packet = Packet("ab");
  packet.resize(packet.size() + 16);  // an Ethernet frame's padding
  std::span<const std::byte> payload;
  uint32_t sender = 0;
  ASSERT_TRUE(ipv4udp::Parse(packet, &payload, &sender));
  EXPECT_EQ(Text(payload), "ab");
}

TEST(Ipv4Udp, ACutPayloadIsGivenAsFarAsCaptured) {
  std::vector<std::byte> packet = Packet("abcdef");
  packet.resize(packet.size() - 2);
  std::span<const std::byte> payload;
  uint32_t sender = 0;
  ASSERT_TRUE(ipv4udp::Parse(packet, &payload, &sender));
  EXPECT_EQ(Text(payload), "abcd");
}

TEST(Ipv4Udp, RefusesWhatIsNotAWholeUnfragmentedUdpDatagram) {
  std::span<const std::byte> payload;
  uint32_t sender = 0;
  std::vector<std::byte> packet = Packet("x");
  packet[0] = std::byte{0x65};  // IPv6 version
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  packet = Packet("x");
  packet[0] = std::byte{0x44};  // header shorter than 20 bytes
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  packet = Packet("x");
  packet[9] = std::byte{6};  // TCP
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  packet = Packet("x");
  packet[6] = std::byte{0x20};  // more fragments follow
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  packet = Packet("x");
  packet[7] = std::byte{0x01};  // a later fragment
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  packet = Packet("x");
  packet[25] = std::byte{4};  // UDP length below its header
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  packet = Packet("");
  packet.resize(27);  // the UDP header cut
  EXPECT_FALSE(ipv4udp::Parse(packet, &payload, &sender));
  EXPECT_FALSE(ipv4udp::Parse({}, &payload, &sender));
  EXPECT_EQ(sender, 0u);
}

}  // namespace
