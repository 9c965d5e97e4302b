// tcUdpSocket options, addresses, single and batch transfers, inside a private namespace.
#include "base/tcUdpSocket.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "support/PrivateNetwork.h"

namespace {

constexpr uint32_t kLoopback = 0x7F000001;

std::vector<std::byte> Payload(const std::string& text) {
  std::vector<std::byte> bytes(text.size());
  std::memcpy(bytes.data(), text.data(), text.size());
  return bytes;
}

std::string AsText(std::span<const std::byte> bytes) {
  return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

bool WaitReadable(const tcUdpSocket& socket) {
  pollfd fd{socket.Fd(), POLLIN, 0};
  return poll(&fd, 1, 2000) == 1;
}

class tcUdpSocketTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ENTER_PRIVATE_NETWORK_OR_SKIP();
    ASSERT_EQ(receiver_.Open(), 0);
    ASSERT_EQ(receiver_.Bind({kLoopback, 0}), 0);
    ASSERT_EQ(receiver_.LocalAddress(&receiverAddress_), 0);
    ASSERT_EQ(sender_.Open(), 0);
    ASSERT_EQ(sender_.Bind({kLoopback, 0}), 0);
    ASSERT_EQ(sender_.LocalAddress(&senderAddress_), 0);
  }

  tcUdpSocket receiver_;
  tcUdpSocket sender_;
  tsSocketAddress receiverAddress_;
  tsSocketAddress senderAddress_;
};

TEST(tcUdpSocket, NotOpenRefusesEveryCallWithEbadf) {
  tcUdpSocket socket;
  std::array<std::byte, 4> buffer{};
  tsSocketAddress address;
  int size = 0;
  std::array<tsDatagram, 1> batch{};
  EXPECT_FALSE(socket.IsOpen());
  EXPECT_EQ(socket.Bind({0, 0}), EBADF);
  EXPECT_EQ(socket.SetBroadcast(true), EBADF);
  EXPECT_EQ(socket.SetReceiveBuffer(1024), EBADF);
  EXPECT_EQ(socket.ForceReceiveBuffer(1024), EBADF);
  EXPECT_EQ(socket.ReceiveBufferSize(&size), EBADF);
  EXPECT_EQ(socket.SetPacketInfo(true), EBADF);
  EXPECT_EQ(socket.SetDontFragment(true), EBADF);
  EXPECT_EQ(socket.LocalAddress(&address), EBADF);
  EXPECT_EQ(socket.SendTo(buffer, {kLoopback, 9}).error, EBADF);
  EXPECT_EQ(socket.SendFrom(buffer, {kLoopback, 9}, kLoopback).error, EBADF);
  EXPECT_EQ(socket.ReceiveFrom(buffer, &address).error, EBADF);
  EXPECT_EQ(socket.ReceiveWithDestination(buffer, &address, nullptr).error, EBADF);
  EXPECT_EQ(socket.ReceiveBatch(batch).error, EBADF);
  std::array<tsScatterDatagram, 1> scattered{};
  EXPECT_EQ(socket.ReceiveScattered(scattered).error, EBADF);
  EXPECT_EQ(socket.SetDropAll(true), EBADF);
  EXPECT_EQ(socket.SendBatch(batch).error, EBADF);
  EXPECT_EQ(socket.SendTo(buffer, {kLoopback, 9}).ErrorText(), "Bad file descriptor");
}

TEST(tcUdpSocket, OpenCreatesACloseOnExecSocketAndCloseTwiceIsSafe) {
  tcUdpSocket socket;
  ASSERT_EQ(socket.Open(), 0);
  int raw = socket.Fd();
  EXPECT_TRUE(fcntl(raw, F_GETFD) & FD_CLOEXEC);
  socket.Close();
  EXPECT_FALSE(socket.IsOpen());
  EXPECT_EQ(fcntl(raw, F_GETFD), -1);
  socket.Close();
  EXPECT_EQ(socket.Fd(), -1);
}

TEST(tcUdpSocket, MoveTransfersTheSocket) {
  tcUdpSocket a;
  ASSERT_EQ(a.Open(), 0);
  int raw = a.Fd();
  tcUdpSocket b(std::move(a));
  EXPECT_FALSE(a.IsOpen());
  EXPECT_EQ(b.Fd(), raw);
  tcUdpSocket c;
  c = std::move(b);
  EXPECT_EQ(c.Fd(), raw);
  EXPECT_NE(fcntl(raw, F_GETFD), -1);
}

TEST(tcUdpSocket, SetsAndReadsOptions) {
  tcUdpSocket socket;
  ASSERT_EQ(socket.Open(), 0);
  EXPECT_EQ(socket.SetBroadcast(true), 0);
  EXPECT_EQ(socket.SetPacketInfo(true), 0);
  EXPECT_EQ(socket.SetDontFragment(true), 0);
  EXPECT_EQ(socket.SetDontFragment(false), 0);
  // Linux doubles the request and caps it at net.core.rmem_max.
  int rmemMax = 0;
  std::ifstream("/proc/sys/net/core/rmem_max") >> rmemMax;
  ASSERT_GT(rmemMax, 0);
  EXPECT_EQ(socket.SetReceiveBuffer(65536), 0);
  int size = 0;
  EXPECT_EQ(socket.ReceiveBufferSize(&size), 0);
  EXPECT_EQ(size, 2 * std::min(65536, rmemMax));
  // With CAP_NET_ADMIN the request may exceed the cap.
  ASSERT_LT(rmemMax, 1 << 28);
  int request = rmemMax + 4096;
  int forced = socket.ForceReceiveBuffer(request);
  if (forced == EPERM) GTEST_SKIP() << "SO_RCVBUFFORCE needs CAP_NET_ADMIN";
  EXPECT_EQ(forced, 0);
  EXPECT_EQ(socket.ReceiveBufferSize(&size), 0);
  EXPECT_EQ(size, 2 * request);
}

TEST(tcUdpSocket, ErrorsCarryTheSystemText) {
  tcUdpSocket socket;
  ASSERT_EQ(socket.Open(), 0);
  ASSERT_EQ(socket.Bind({0, 0}), 0);
  // A socket is bound once.
  EXPECT_EQ(socket.Bind({0, 0}), EINVAL);
  EXPECT_EQ(tsIoResult::Failure(EINVAL).ErrorText(), "Invalid argument");
}

TEST_F(tcUdpSocketTest, BindReportsTheLocalAddressAndPort) {
  EXPECT_EQ(receiverAddress_.address, kLoopback);
  EXPECT_NE(receiverAddress_.port, 0);
  EXPECT_EQ(tsSocketAddress::Text(receiverAddress_.address), "127.0.0.1");
}

TEST_F(tcUdpSocketTest, SecondBindToTheSamePortIsRefused) {
  tcUdpSocket other;
  ASSERT_EQ(other.Open(), 0);
  EXPECT_EQ(other.Bind(receiverAddress_), EADDRINUSE);
}

TEST_F(tcUdpSocketTest, ReceiveWithNothingQueuedDoesNotBlock) {
  std::array<std::byte, 16> buffer{};
  tsIoResult result = receiver_.ReceiveFrom(buffer, nullptr);
  EXPECT_EQ(result.error, EAGAIN);
  EXPECT_EQ(result.count, 0u);
}

TEST_F(tcUdpSocketTest, SendToAndReceiveFrom) {
  auto payload = Payload("hello");
  tsIoResult sent = sender_.SendTo(payload, receiverAddress_);
  ASSERT_TRUE(sent.Ok()) << sent.ErrorText();
  EXPECT_EQ(sent.count, 5u);
  ASSERT_TRUE(WaitReadable(receiver_));
  std::array<std::byte, 16> buffer{};
  tsSocketAddress from;
  tsIoResult received = receiver_.ReceiveFrom(buffer, &from);
  ASSERT_TRUE(received.Ok());
  EXPECT_EQ(received.count, 5u);
  EXPECT_EQ(AsText(std::span(buffer).first(5)), "hello");
  EXPECT_EQ(from, senderAddress_);
}

TEST_F(tcUdpSocketTest, ALongerDatagramIsCutToTheBuffer) {
  auto payload = Payload("0123456789");
  ASSERT_TRUE(sender_.SendTo(payload, receiverAddress_).Ok());
  ASSERT_TRUE(WaitReadable(receiver_));
  std::array<std::byte, 4> buffer{};
  tsIoResult received = receiver_.ReceiveFrom(buffer, nullptr);
  EXPECT_EQ(received.count, 4u);
  EXPECT_EQ(AsText(buffer), "0123");
}

TEST_F(tcUdpSocketTest, ReceiveWithDestinationGivesTheLocalAddress) {
  ASSERT_EQ(receiver_.SetPacketInfo(true), 0);
  auto payload = Payload("where");
  ASSERT_TRUE(sender_.SendTo(payload, receiverAddress_).Ok());
  ASSERT_TRUE(WaitReadable(receiver_));
  std::array<std::byte, 16> buffer{};
  tsSocketAddress from;
  uint32_t local = 0;
  tsIoResult received = receiver_.ReceiveWithDestination(buffer, &from, &local);
  ASSERT_TRUE(received.Ok());
  EXPECT_EQ(received.count, 5u);
  EXPECT_EQ(from, senderAddress_);
  EXPECT_EQ(local, kLoopback);
}

TEST_F(tcUdpSocketTest, SendFromChoosesTheSourceAddress) {
  // A wildcard-bound sender answers from the address given, here 127.0.0.2 (all of 127/8 is
  // local on the loopback).
  tcUdpSocket wildcard;
  ASSERT_EQ(wildcard.Open(), 0);
  ASSERT_EQ(wildcard.Bind({0, 0}), 0);
  auto payload = Payload("src");
  tsIoResult sent = wildcard.SendFrom(payload, receiverAddress_, 0x7F000002);
  ASSERT_TRUE(sent.Ok()) << sent.ErrorText();
  EXPECT_EQ(sent.count, 3u);
  ASSERT_TRUE(WaitReadable(receiver_));
  std::array<std::byte, 16> buffer{};
  tsSocketAddress from;
  ASSERT_TRUE(receiver_.ReceiveFrom(buffer, &from).Ok());
  EXPECT_EQ(from.address, 0x7F000002u);
}

TEST_F(tcUdpSocketTest, BatchSendAndReceive) {
  std::vector<std::vector<std::byte>> payloads = {Payload("a"), Payload("bb"), Payload("ccc")};
  std::vector<tsDatagram> outgoing;
  for (auto& p : payloads)
    outgoing.push_back({p, 0, receiverAddress_, {}});
  tsIoResult sent = sender_.SendBatch(outgoing);
  ASSERT_TRUE(sent.Ok()) << sent.ErrorText();
  EXPECT_EQ(sent.count, 3u);
  ASSERT_TRUE(WaitReadable(receiver_));
  std::array<std::array<std::byte, 8>, 5> storage{};
  std::vector<tsDatagram> incoming;
  for (auto& s : storage)
    incoming.push_back({s, 0, {}, {}});
  tsIoResult received = receiver_.ReceiveBatch(incoming);
  ASSERT_TRUE(received.Ok()) << received.ErrorText();
  ASSERT_EQ(received.count, 3u);
  EXPECT_EQ(incoming[0].length, 1u);
  EXPECT_EQ(incoming[1].length, 2u);
  EXPECT_EQ(incoming[2].length, 3u);
  EXPECT_EQ(AsText(std::span(storage[2]).first(3)), "ccc");
  EXPECT_EQ(incoming[1].peer, senderAddress_);
  EXPECT_EQ(receiver_.ReceiveBatch(incoming).error, EAGAIN);
}

TEST_F(tcUdpSocketTest, ScatteredReceiveFillsThePartsInOrderAndCutsTheRest) {
  ASSERT_TRUE(sender_.SendTo(Payload("headdata+rest"), receiverAddress_).Ok());
  ASSERT_TRUE(sender_.SendTo(Payload("hea"), receiverAddress_).Ok());
  ASSERT_TRUE(sender_.SendTo(Payload("0123456789abcdefXYZ"), receiverAddress_).Ok());
  ASSERT_TRUE(WaitReadable(receiver_));
  std::array<std::array<std::byte, 4>, 3> header{}, data{};
  std::array<std::array<std::byte, 8>, 3> rest{};
  std::array<tsScatterDatagram, 3> incoming;
  for (size_t i = 0; i < incoming.size(); ++i)
    incoming[i].parts = {header[i], data[i], rest[i]};
  incoming[1].parts[1] = {};  // an empty part takes nothing
  tsIoResult received = receiver_.ReceiveScattered(incoming);
  ASSERT_TRUE(received.Ok()) << received.ErrorText();
  ASSERT_EQ(received.count, 3u);
  EXPECT_EQ(incoming[0].length, 13u);
  EXPECT_EQ(AsText(header[0]) + AsText(data[0]) + AsText(std::span(rest[0]).first(5)),
            "headdata+rest");
  EXPECT_EQ(incoming[1].length, 3u);
  EXPECT_EQ(AsText(std::span(header[1]).first(3)), "hea");
  EXPECT_EQ(incoming[2].length, 16u);  // cut to the 16 bytes of room
  EXPECT_EQ(AsText(rest[2]), "89abcdef");
  EXPECT_EQ(incoming[2].peer, senderAddress_);
  EXPECT_EQ(receiver_.ReceiveScattered(incoming).error, EAGAIN);
}

TEST_F(tcUdpSocketTest, DropAllDropsUntilSwitchedOff) {
  std::array<std::byte, 8> buffer{};
  tsSocketAddress from;
  ASSERT_EQ(receiver_.SetDropAll(true), 0);
  ASSERT_TRUE(sender_.SendTo(Payload("lost"), receiverAddress_).Ok());
  pollfd fd{receiver_.Fd(), POLLIN, 0};
  EXPECT_EQ(poll(&fd, 1, 200), 0);
  EXPECT_EQ(receiver_.ReceiveFrom(buffer, &from).error, EAGAIN);
  ASSERT_EQ(receiver_.SetDropAll(false), 0);
  EXPECT_EQ(receiver_.SetDropAll(false), 0);  // nothing attached: still fine
  ASSERT_TRUE(sender_.SendTo(Payload("kept"), receiverAddress_).Ok());
  ASSERT_TRUE(WaitReadable(receiver_));
  tsIoResult received = receiver_.ReceiveFrom(buffer, &from);
  ASSERT_TRUE(received.Ok());
  EXPECT_EQ(AsText(std::span(buffer).first(received.count)), "kept");
}

TEST_F(tcUdpSocketTest, BatchesAreCappedAtTheMaximum) {
  std::array<std::byte, 1> byte{};
  std::vector<tsDatagram> outgoing(tcUdpSocket::kMaxBatch + 6, {byte, 0, receiverAddress_, {}});
  tsIoResult sent = sender_.SendBatch(outgoing);
  ASSERT_TRUE(sent.Ok());
  EXPECT_EQ(sent.count, tcUdpSocket::kMaxBatch);
}

TEST_F(tcUdpSocketTest, SegmentedSendGivesTheSameDatagramsWithTheirTails) {
  // Runs: three of 6 bytes and a shorter last one (one message), then 6 bytes to itself.
  std::vector<std::vector<std::byte>> heads = {Payload("a"), Payload("b"), Payload("c"),
                                               Payload("d"), Payload("e")};
  std::vector<std::vector<std::byte>> tails = {Payload("11111"), Payload("22222"), Payload("33333"),
                                               Payload("44"), Payload("55555")};
  std::vector<tsDatagram> outgoing;
  for (size_t i = 0; i < heads.size(); ++i)
    outgoing.push_back({heads[i], 0, receiverAddress_, tails[i]});
  tsIoResult sent = sender_.SendSegmented(outgoing);
  ASSERT_TRUE(sent.Ok()) << sent.ErrorText();
  EXPECT_EQ(sent.count, 5u);
  std::vector<std::string> texts;
  std::array<std::byte, 16> buffer{};
  while (texts.size() < 5 && WaitReadable(receiver_)) {
    tsIoResult received = receiver_.ReceiveFrom(buffer, nullptr);
    ASSERT_TRUE(received.Ok()) << received.ErrorText();
    texts.push_back(AsText(std::span(buffer).first(received.count)));
  }
  EXPECT_EQ(texts, (std::vector<std::string>{"a11111", "b22222", "c33333", "d44", "e55555"}));
}

TEST_F(tcUdpSocketTest, SegmentedBatchesAreCappedAtTheMaximum) {
  std::array<std::byte, 1> byte{};
  std::vector<tsDatagram> outgoing(tcUdpSocket::kMaxSegmentedBatch + 6,
                                   {byte, 0, receiverAddress_, {}});
  tsIoResult sent = sender_.SendSegmented(outgoing);
  ASSERT_TRUE(sent.Ok()) << sent.ErrorText();
  EXPECT_EQ(sent.count, tcUdpSocket::kMaxSegmentedBatch);
  EXPECT_EQ(sender_.SendSegmented({}).count, 0u);
}

TEST_F(tcUdpSocketTest, SegmentedSendOnAClosedSocketIsBadDescriptor) {
  tcUdpSocket closed;
  std::array<std::byte, 1> byte{};
  std::vector<tsDatagram> outgoing(2, {byte, 0, receiverAddress_, {}});
  EXPECT_EQ(closed.SendSegmented(outgoing).error, EBADF);
}

TEST_F(tcUdpSocketTest, DontFragmentRefusesDatagramsAboveTheMtu) {
  // The loopback MTU is 65536; a datagram above it would need fragments.
  ASSERT_EQ(sender_.SetDontFragment(true), 0);
  std::vector<std::byte> big(65000);
  EXPECT_TRUE(sender_.SendTo(big, receiverAddress_).Ok());
  ASSERT_TRUE(RunIp("link set lo mtu 1500"));
  std::vector<std::byte> tooBig(2000);
  tsIoResult result = sender_.SendTo(tooBig, receiverAddress_);
  EXPECT_EQ(result.error, EMSGSIZE);
  EXPECT_EQ(result.ErrorText(), "Message too long");
}

}  // namespace
