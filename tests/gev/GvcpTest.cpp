// GVCP helpers: the status mapping, request ids, acknowledge and discovery checks.
#include "gev/Gvcp.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "base/tcWireWriter.h"

using namespace GenTL;

namespace {

std::vector<std::byte> Ack(uint16_t status, uint16_t answer, uint16_t length, uint16_t id,
                           size_t payload) {
  std::vector<std::byte> bytes(8 + payload);
  tcWireWriter writer(bytes);
  writer.U16Be(status);
  writer.U16Be(answer);
  writer.U16Be(length);
  writer.U16Be(id);
  return bytes;
}

TEST(Gvcp, StatusResults) {
  const std::vector<std::pair<uint16_t, GC_ERROR>> table = {
      {0x0000, GC_ERR_SUCCESS},
      {0x0100, GC_ERR_SUCCESS},
      {0x8001, GC_ERR_NOT_IMPLEMENTED},
      {0x8002, GC_ERR_INVALID_PARAMETER},
      {0x8003, GC_ERR_INVALID_ADDRESS},
      {0x8004, GC_ERR_ACCESS_DENIED},
      {0x8005, GC_ERR_INVALID_PARAMETER},
      {0x8006, GC_ERR_ACCESS_DENIED},
      {0x8007, GC_ERR_BUSY},
      {0x800C, GC_ERR_RESOURCE_EXHAUSTED},
      {0x800D, GC_ERR_BUFFER_TOO_SMALL},
      {0x800E, GC_ERR_INVALID_VALUE},
      {0x8016, GC_ERR_TIMEOUT},
      {0x8008, GC_ERR_ERROR},
      {0x800F, GC_ERR_ERROR},
      {0x8017, GC_ERR_ERROR},
      {0x8FFF, GC_ERR_ERROR},
      {0x0001, GC_ERR_ERROR},
  };
  for (const auto& [status, result] : table)
    EXPECT_EQ(gvcp::StatusResult(status), result) << std::hex << status;
}

TEST(Gvcp, RequestIdsSkipZero) {
  EXPECT_EQ(gvcp::NextRequestId(0), 1);
  EXPECT_EQ(gvcp::NextRequestId(1), 2);
  EXPECT_EQ(gvcp::NextRequestId(0xFFFE), 0xFFFF);
  EXPECT_EQ(gvcp::NextRequestId(0xFFFF), 1);
}

TEST(Gvcp, CommandHeader) {
  std::array<std::byte, 8> header{};
  gvcp::WriteCommandHeader(header, 0x01, 0x0084, 8, 0xBEEF);
  const std::array<std::byte, 8> expected = {std::byte{0x42}, std::byte{0x01}, std::byte{0x00},
                                             std::byte{0x84}, std::byte{0x00}, std::byte{0x08},
                                             std::byte{0xBE}, std::byte{0xEF}};
  EXPECT_EQ(header, expected);
}

TEST(Gvcp, AcknowledgeChecksInOrder) {
  gvcp::tsAckHeader header;
  using enum gvcp::AckVerdict;
  const std::vector<std::byte> good = Ack(0, 0x81, 4, 7, 4);
  EXPECT_EQ(gvcp::CheckAck(good, 7, 0x81, 12, &header), kGood);
  EXPECT_EQ(gvcp::CheckAck(std::span(good).first(11), 7, 0x81, 12, &header), kShort);
  EXPECT_EQ(gvcp::CheckAck(std::span(good).first(7), 7, 0x81, 0, &header), kShort);
  EXPECT_EQ(gvcp::CheckAck(Ack(0x8006, 0x81, 4, 6, 4), 7, 0x81, 12, &header), kMismatch);
  EXPECT_EQ(gvcp::CheckAck(Ack(0x8006, 0x85, 4, 7, 4), 7, 0x81, 12, &header), kFailed);
  EXPECT_EQ(header.status, 0x8006);
  EXPECT_EQ(gvcp::CheckAck(Ack(0, 0x85, 4, 7, 4), 7, 0x81, 12, &header), kUnexpectedAnswer);
  EXPECT_EQ(header.answer, 0x85);
}

TEST(Gvcp, DiscoveryAcknowledge) {
  gvcp::tsAckHeader header;
  std::array<uint8_t, 248> record{};
  using enum gvcp::DiscoveryVerdict;
  std::vector<std::byte> good = Ack(0, 3, 248, 9, 248);
  good[8 + 0x68] = std::byte{'C'};
  EXPECT_EQ(gvcp::CheckDiscoveryAck(good, 9, &header, record), kGood);
  EXPECT_EQ(record[0x68], 'C');
  EXPECT_EQ(gvcp::CheckDiscoveryAck(std::span(good).first(7), 9, &header, record), kSmall);
  EXPECT_EQ(gvcp::CheckDiscoveryAck(good, 8, &header, record), kUnexpected);
  EXPECT_EQ(gvcp::CheckDiscoveryAck(Ack(0, 3, 4, 9, 4), 9, &header, record), kUnexpected);
  EXPECT_EQ(header.length, 4);
  EXPECT_EQ(gvcp::CheckDiscoveryAck(Ack(1, 3, 248, 9, 248), 9, &header, record), kUnexpected);
  EXPECT_EQ(gvcp::CheckDiscoveryAck(Ack(0, 5, 248, 9, 248), 9, &header, record), kUnexpected);
  // The length field claims the record, the datagram does not hold it.
  EXPECT_EQ(gvcp::CheckDiscoveryAck(std::span(good).first(200), 9, &header, record), kUnexpected);
}

}  // namespace
