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

constexpr const char* kRefused = "(refused)";

// The payload `packet` carries as text, or kRefused; `sender` gets the sender.
std::string PayloadOf(const std::vector<std::byte>& packet, uint32_t* sender = nullptr) {
  std::span<const std::byte> payload;
  uint32_t from = 0;
  if (!ipv4udp::Parse(packet, &payload, &from)) return kRefused;
  if (sender != nullptr) *sender = from;
  return std::string(reinterpret_cast<const char*>(payload.data()), payload.size());
}

// `packet` with byte `index` set to `value`.
std::vector<std::byte> With(std::vector<std::byte> packet, size_t index, uint8_t value) {
  packet[index] = std::byte(value);
  return packet;
}

TEST(Ipv4Udp, GivesThePayloadAndTheSender) {
  uint32_t sender = 0;
  EXPECT_EQ(PayloadOf(Packet("gvsp"), &sender), "gvsp");
  EXPECT_EQ(sender, 0x0A000007u);
}

TEST(Ipv4Udp, SkipsIpOptions) {
  EXPECT_EQ(PayloadOf(Packet("data", 2)), "data");
}

TEST(Ipv4Udp, TrailingPaddingIsNotPayload) {
  std::vector<std::byte> packet = Packet("ab");
  packet.resize(packet.size() + 16);  // an Ethernet frame's padding
  EXPECT_EQ(PayloadOf(packet), "ab");
}

TEST(Ipv4Udp, ACutPayloadIsGivenAsFarAsCaptured) {
  std::vector<std::byte> packet = Packet("abcdef");
  packet.resize(packet.size() - 2);
  EXPECT_EQ(PayloadOf(packet), "abcd");
}

TEST(Ipv4Udp, RefusesWhatIsNotAWholeUnfragmentedUdpDatagram) {
  EXPECT_EQ(PayloadOf(With(Packet("x"), 0, 0x65)), kRefused);  // IPv6 version
  EXPECT_EQ(PayloadOf(With(Packet("x"), 0, 0x44)), kRefused);  // header below 20 bytes
  EXPECT_EQ(PayloadOf(With(Packet("x"), 9, 6)), kRefused);     // TCP
  EXPECT_EQ(PayloadOf(With(Packet("x"), 6, 0x20)), kRefused);  // more fragments follow
  EXPECT_EQ(PayloadOf(With(Packet("x"), 7, 0x01)), kRefused);  // a later fragment
  EXPECT_EQ(PayloadOf(With(Packet("x"), 25, 4)), kRefused);    // UDP length below its header
  std::vector<std::byte> cut = Packet("");
  cut.resize(27);  // the UDP header cut
  EXPECT_EQ(PayloadOf(cut), kRefused);
  EXPECT_EQ(PayloadOf({}), kRefused);
}

}  // namespace
