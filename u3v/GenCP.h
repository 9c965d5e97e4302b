// GenCP as USB3 Vision speaks it on the control interface's bulk endpoints: commands, the
// checks of an acknowledge, status codes and the piece sizes of a memory access.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "GenTL.h"

namespace GenCP {

inline constexpr uint32_t kPrefix = 0x43563355;  // "U3VC"
inline constexpr uint16_t kFlagAckRequested = 0x4000;
inline constexpr uint16_t kReadMemCmd = 0x0800;
inline constexpr uint16_t kReadMemAck = 0x0801;
inline constexpr uint16_t kWriteMemCmd = 0x0802;
inline constexpr uint16_t kWriteMemAck = 0x0803;
inline constexpr uint16_t kPendingAck = 0x0805;
inline constexpr size_t kHeaderSize = 12;
inline constexpr size_t kReadMemCmdSize = 24;
inline constexpr size_t kWriteMemHeaderSize = 20;
inline constexpr size_t kWriteMemAckSize = 16;
inline constexpr size_t kPendingAckSize = 16;
inline constexpr size_t kReadAckOverhead = 13;  // the receive buffer is piece + 13 bytes
inline constexpr uint16_t kDefaultTransferLength = 0x200;
// PENDING_ACKs extend one access by at most this much in total.
inline constexpr uint32_t kPendingBudgetMs = 10000;

// True for 0; otherwise logs "<text>: Error = <code>" at error level and returns false.
bool checkGenCpError(int code, const char* text);

// Bytes per READMEM piece for a maximum acknowledge transfer length, per WRITEMEM piece for a
// maximum command transfer length: the length less the overhead, in 16-bit arithmetic, then
// rounded down to a multiple of 4 below the overhead-free size when it is not one already.
uint16_t ReadPieceSize(uint16_t maxAckLength);
uint16_t WritePieceSize(uint16_t maxCommandLength);
// The transfer length kept from a bootstrap register value: up to 0x10000 as it is in 16 bits
// (0x10000 becomes 0), above that 0; 1 to 31, too small to carry a piece, keep the default.
uint16_t TransferLengthFromRegister(uint32_t value);

// READMEM command of 24 bytes into `out`.
void BuildReadMem(std::span<std::byte, kReadMemCmdSize> out, uint16_t requestId, uint64_t address,
                  uint16_t length);
// WRITEMEM command of 20 + data bytes into `out` (which must hold them); returns its length.
size_t BuildWriteMem(std::span<std::byte> out, uint16_t requestId, uint64_t address,
                     std::span<const std::byte> data);

// What one received acknowledge means for the access.
struct tsAckVerdict {
  enum class Kind : uint8_t { kDone, kPending, kFailed } kind = Kind::kFailed;
  GenTL::GC_ERROR error = GenTL::GC_ERR_IO;  // for kFailed
  uint16_t timeoutMs = 0;                    // for kPending
};

// The acknowledge of a READMEM for `pieceSize` bytes, sent with the request counter now at
// `counter` (already incremented after the send). kDone means the piece is at offset 12.
tsAckVerdict CheckReadAck(std::span<const std::byte> ack, uint16_t counter, size_t pieceSize);
// The acknowledge of a WRITEMEM, received with a transfer of 16 bytes.
tsAckVerdict CheckWriteAck(std::span<const std::byte> ack, uint16_t counter);
// The GenTL code of a non-zero status; reads and writes map 0x8002 and 0x8004 differently.
GenTL::GC_ERROR StatusToError(uint16_t status, bool write);

}  // namespace GenCP
