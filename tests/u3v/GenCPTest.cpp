// GenCP: piece sizes, transfer lengths, command bytes, acknowledge checks and status mapping.
#include "u3v/GenCP.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/LogMatch.h"
#include "support/TestModules.h"

using namespace GenTL;
using Kind = GenCP::tsAckVerdict::Kind;

namespace {

std::vector<std::byte> Bytes(std::initializer_list<int> values) {
  std::vector<std::byte> bytes;
  for (int value : values)
    bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

// An acknowledge: status, command ID, request ID, then `extra` bytes of payload.
std::vector<std::byte> Ack(uint16_t status, uint16_t command, uint16_t requestId,
                           std::vector<std::byte> extra = {}) {
  std::vector<std::byte> ack =
      Bytes({0x55, 0x33, 0x56, 0x43, status & 0xFF, status >> 8, command & 0xFF, command >> 8,
             static_cast<int>(extra.size() & 0xFF), static_cast<int>(extra.size() >> 8),
             requestId & 0xFF, requestId >> 8});
  ack.insert(ack.end(), extra.begin(), extra.end());
  return ack;
}

TEST(GenCP, PieceSizesOfTheDefaultLengthsAre492) {
  EXPECT_EQ(GenCP::ReadPieceSize(0x200), 492u);
  EXPECT_EQ(GenCP::WritePieceSize(0x200), 492u);
}

TEST(GenCP, ALengthOf0x10000OrMoreGivesReadPiece0xFFEC) {
  EXPECT_EQ(GenCP::TransferLengthFromRegister(0x10000), 0u);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(0x10001), 0u);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(0xFFFFFFFF), 0u);
  EXPECT_EQ(GenCP::ReadPieceSize(0), 0xFFECu);
  EXPECT_EQ(GenCP::WritePieceSize(0), 0xFFECu);
}

TEST(GenCP, PieceSizesRoundDownToMultiplesOf4) {
  EXPECT_EQ(GenCP::ReadPieceSize(0x40), 44u);  // 51: (51 - 4) rounded down
  EXPECT_EQ(GenCP::ReadPieceSize(0x41), 52u);  // 52 is a multiple of 4 already
  EXPECT_EQ(GenCP::ReadPieceSize(0xFFFF), 0xFFECu);
  EXPECT_EQ(GenCP::WritePieceSize(0x40), 44u);
  EXPECT_EQ(GenCP::WritePieceSize(0x41), 40u);  // 45: (45 - 4) rounded down
}

TEST(GenCP, TinyTransferLengthsKeepTheDefault) {
  EXPECT_EQ(GenCP::TransferLengthFromRegister(1), 0x200u);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(31), 0x200u);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(32), 32u);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(0x400), 0x400u);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(0xFFFF), 0xFFFFu);
  EXPECT_EQ(GenCP::TransferLengthFromRegister(0), 0u);
}

TEST(GenCP, ReadMemCommandBytes) {
  std::array<std::byte, 24> command{};
  GenCP::BuildReadMem(command, 0x1234, 0x0102030405060708, 492);
  EXPECT_EQ(std::vector<std::byte>(command.begin(), command.end()),
            Bytes({0x55, 0x33, 0x56, 0x43, 0x00, 0x40, 0x00, 0x08, 0x0C, 0x00, 0x34, 0x12,
                   0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0xEC, 0x01}));
}

TEST(GenCP, WriteMemCommandBytes) {
  std::vector<std::byte> command(32);
  std::vector<std::byte> data = Bytes({0xAA, 0xBB, 0xCC});
  EXPECT_EQ(GenCP::BuildWriteMem(command, 7, 0x1D0, data), 23u);
  command.resize(23);
  EXPECT_EQ(command, Bytes({0x55, 0x33, 0x56, 0x43, 0x00, 0x40, 0x02, 0x08, 0x0B, 0x00, 0x07, 0x00,
                            0xD0, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xAA, 0xBB, 0xCC}));
}

TEST(GenCP, WriteMemThatDoesNotFitBuildsNothing) {
  std::vector<std::byte> command(22);
  EXPECT_EQ(GenCP::BuildWriteMem(command, 7, 0, Bytes({1, 2, 3})), 0u);
}

TEST(GenCP, ReadAckWithDataCompletesThePiece) {
  GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(Ack(0, 0x0801, 4, Bytes({1, 2, 3, 4})), 5, 4);
  EXPECT_EQ(verdict.kind, Kind::kDone);
}

TEST(GenCP, ReadAckShorterThanItsPieceIsIo) {
  GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(Ack(0, 0x0801, 4, Bytes({1, 2, 3})), 5, 4);
  EXPECT_EQ(verdict.kind, Kind::kFailed);
  EXPECT_EQ(verdict.error, GC_ERR_IO);
}

TEST(GenCP, ReadAckOfFewerThan8BytesIsIo) {
  std::vector<std::byte> ack = Ack(0, 0x0801, 0);
  ack.resize(7);
  EXPECT_EQ(GenCP::CheckReadAck(ack, 1, 0).error, GC_ERR_IO);
  ack = Ack(0, 0x0801, 0);
  ack.resize(11);  // no request ID
  EXPECT_EQ(GenCP::CheckReadAck(ack, 1, 0).kind, Kind::kFailed);
}

TEST(GenCP, ReadAckWithAnotherCommandIdIsIo) {
  GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(Ack(0, 0x0803, 0, Bytes({0, 0, 4, 0})), 1, 4);
  EXPECT_EQ(verdict.kind, Kind::kFailed);
  EXPECT_EQ(verdict.error, GC_ERR_IO);
}

TEST(GenCP, ReadAckWithAnotherRequestIdIsIo) {
  GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(Ack(0, 0x0801, 3, Bytes({1, 2, 3, 4})), 5, 4);
  EXPECT_EQ(verdict.kind, Kind::kFailed);
  EXPECT_EQ(verdict.error, GC_ERR_IO);
}

TEST(GenCP, RequestId0xFFFFNeverMatchesOnceTheCounterWrapped) {
  GenCP::tsAckVerdict verdict =
      GenCP::CheckReadAck(Ack(0, 0x0801, 0xFFFF, Bytes({1, 2, 3, 4})), 0, 4);
  EXPECT_EQ(verdict.kind, Kind::kFailed);
  EXPECT_EQ(verdict.error, GC_ERR_IO);
  EXPECT_EQ(GenCP::CheckReadAck(Ack(0, 0x0801, 0xFFFE, Bytes({1, 2, 3, 4})), 0xFFFF, 4).kind,
            Kind::kDone);
  EXPECT_EQ(GenCP::CheckWriteAck(Ack(0, 0x0803, 0xFFFF, Bytes({0, 0, 4, 0})), 0).kind,
            Kind::kFailed);
}

TEST(GenCP, PendingAckCarriesItsTimeout) {
  GenCP::tsAckVerdict verdict =
      GenCP::CheckReadAck(Ack(0, 0x0805, 9, Bytes({0, 0, 0x88, 0x13})), 1, 4);
  EXPECT_EQ(verdict.kind, Kind::kPending);
  EXPECT_EQ(verdict.timeoutMs, 5000u);
  verdict = GenCP::CheckWriteAck(Ack(0, 0x0805, 0, Bytes({0, 0, 0x10, 0x27})), 1);
  EXPECT_EQ(verdict.kind, Kind::kPending);
  EXPECT_EQ(verdict.timeoutMs, 10000u);
}

TEST(GenCP, PendingAckShorterThan16BytesIsIo) {
  GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(Ack(0, 0x0805, 0, Bytes({0, 0, 0x88})), 1, 4);
  EXPECT_EQ(verdict.kind, Kind::kFailed);
  EXPECT_EQ(verdict.error, GC_ERR_IO);
}

TEST(GenCP, WriteAckMustBeExactly16Bytes) {
  EXPECT_EQ(GenCP::CheckWriteAck(Ack(0, 0x0803, 0, Bytes({0, 0, 4, 0})), 1).kind, Kind::kDone);
  EXPECT_EQ(GenCP::CheckWriteAck(Ack(0, 0x0803, 0, Bytes({0, 0, 4})), 1).error, GC_ERR_IO);
  EXPECT_EQ(GenCP::CheckWriteAck(Ack(0, 0x0803, 0, Bytes({0, 0, 4, 0, 0})), 1).error, GC_ERR_IO);
  EXPECT_EQ(GenCP::CheckWriteAck(Ack(0, 0x0801, 0, Bytes({0, 0, 4, 0})), 1).error, GC_ERR_IO);
}

TEST(GenCP, ReadAndWriteStatusesMapDifferently) {
  const std::array<std::array<int, 3>, 9> table = {{
      {0x8001, GC_ERR_NOT_IMPLEMENTED, GC_ERR_NOT_IMPLEMENTED},
      {0x8002, GC_ERR_IO, GC_ERR_INVALID_PARAMETER},
      {0x8003, GC_ERR_INVALID_ADDRESS, GC_ERR_INVALID_ADDRESS},
      {0x8004, GC_ERR_IO, GC_ERR_ACCESS_DENIED},
      {0x8005, GC_ERR_IO, GC_ERR_IO},
      {0x8006, GC_ERR_ACCESS_DENIED, GC_ERR_ACCESS_DENIED},
      {0x8007, GC_ERR_IO, GC_ERR_IO},
      {0x800B, GC_ERR_TIMEOUT, GC_ERR_TIMEOUT},
      {0x8FFF, GC_ERR_IO, GC_ERR_IO},
  }};
  for (const auto& [status, read, write] : table) {
    auto code = static_cast<uint16_t>(status);
    EXPECT_EQ(GenCP::StatusToError(code, false), read) << std::hex << status;
    EXPECT_EQ(GenCP::StatusToError(code, true), write) << std::hex << status;
    EXPECT_EQ(GenCP::CheckReadAck(Ack(code, 0x0801, 0), 1, 4).error, read) << std::hex << status;
    EXPECT_EQ(GenCP::CheckWriteAck(Ack(code, 0x0803, 0, Bytes({0, 0, 0, 0})), 1).error, write)
        << std::hex << status;
  }
}

TEST(GenCP, CheckGenCpErrorLogsTheTextAndTheCode) {
  uint64_t before = LogRingTotal();
  EXPECT_TRUE(GenCP::checkGenCpError(0, "manifest_table"));
  EXPECT_EQ(LogSince(before), "");
  EXPECT_FALSE(GenCP::checkGenCpError(GC_ERR_IO, "manifest_table"));
  EXPECT_FALSE(GenCP::checkGenCpError(-1015, nullptr));
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[GenCP::checkGenCpError\] manifest_table: Error = FFFFFC0E)"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[GenCP::checkGenCpError\] : Error = FFFFFC09)"));
}

}  // namespace
