// GVCP wire helpers: command and acknowledge codes, the command header, acknowledge parsing
// and the one mapping from acknowledge status to GenTL result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "GenTL.h"

namespace gvcp {

inline constexpr uint16_t kPort = 3956;
inline constexpr uint8_t kKey = 0x42;
inline constexpr uint8_t kAckRequired = 0x01;
inline constexpr uint8_t kExtendedIds = 0x10;
inline constexpr size_t kHeaderSize = 8;

inline constexpr uint16_t kDiscoveryCmd = 0x0002;
inline constexpr uint16_t kDiscoveryAck = 0x0003;
inline constexpr uint16_t kPacketResendCmd = 0x0040;
inline constexpr uint16_t kReadRegCmd = 0x0080;
inline constexpr uint16_t kReadRegAck = 0x0081;
inline constexpr uint16_t kWriteRegCmd = 0x0082;
inline constexpr uint16_t kWriteRegAck = 0x0083;
inline constexpr uint16_t kReadMemCmd = 0x0084;
inline constexpr uint16_t kReadMemAck = 0x0085;
inline constexpr uint16_t kWriteMemCmd = 0x0086;
inline constexpr uint16_t kWriteMemAck = 0x0087;

// The discovery record (a DISCOVERY_ACK payload) and the offsets of its fields.
inline constexpr size_t kDiscoveryRecordSize = 248;
inline constexpr size_t kRecordMac = 0x0A;
inline constexpr size_t kRecordMacSize = 6;
inline constexpr size_t kRecordCurrentIp = 0x24;
inline constexpr size_t kRecordManufacturer = 0x48;
inline constexpr size_t kRecordModel = 0x68;
inline constexpr size_t kRecordVersion = 0x88;
inline constexpr size_t kRecordSerial = 0xD8;

// Bootstrap registers the control channel uses.
inline constexpr uint32_t kGvcpCapability = 0x0934;
inline constexpr uint32_t kHeartbeatTimeout = 0x0938;
inline constexpr uint32_t kTimestampFrequencyHigh = 0x093C;
inline constexpr uint32_t kTimestampFrequencyLow = 0x0940;
inline constexpr uint32_t kControlChannelPrivilege = 0x0A00;
inline constexpr uint32_t kFirstUrl = 0x0200;
inline constexpr uint32_t kSecondUrl = 0x0400;
inline constexpr uint32_t kManifestTable = 0x9000;
inline constexpr uint32_t kManifestCapability = 1u << 26;

struct tsAckHeader {
  uint16_t status = 0;
  uint16_t answer = 0;
  uint16_t length = 0;
  uint16_t ackId = 0;
};

// The 8-byte acknowledge header at the start of `datagram`; false when it is shorter.
bool ParseAckHeader(std::span<const std::byte> datagram, tsAckHeader* header);

// Writes the 8-byte command header into `out` (at least kHeaderSize bytes).
void WriteCommandHeader(std::span<std::byte> out, uint8_t flags, uint16_t command,
                        uint16_t payloadLength, uint16_t requestId);

// What an exchange makes of one acknowledgement, checked in this order.
enum class AckVerdict { kShort, kMismatch, kFailed, kUnexpectedAnswer, kGood };
// Checks `reply` against the request: at least `minimum` bytes (and a header), the request's
// ack id, status 0 and the `answer` code. `header` is filled whenever the reply holds one.
AckVerdict CheckAck(std::span<const std::byte> reply, uint16_t requestId, uint16_t answer,
                    size_t minimum, tsAckHeader* header);

// What a discovery pass makes of one received datagram.
enum class DiscoveryVerdict { kSmall, kUnexpected, kGood };
// Checks a DISCOVERY_ACK against the pass's request id; on kGood `record` (248 bytes) holds
// the payload. `header` is filled whenever the datagram holds a header.
DiscoveryVerdict CheckDiscoveryAck(std::span<const std::byte> datagram, uint16_t requestId,
                                   tsAckHeader* header,
                                   std::span<uint8_t, kDiscoveryRecordSize> record);

// The GenTL result of an acknowledge status.
GenTL::GC_ERROR StatusResult(uint16_t status);

// The request id after `last`: 0 is never used, so 0xFFFF is followed by 1.
constexpr uint16_t NextRequestId(uint16_t last) {
  return last == 0xFFFF ? 1 : static_cast<uint16_t>(last + 1);
}

}  // namespace gvcp
