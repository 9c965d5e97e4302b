// The emulated camera's streaming endpoint: frames of a test pattern sent as leader, payload
// transfers and trailer the way the host programmed the SIRM, with faults on demand.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "sim/tcPatternGenerator.h"
#include "tcU3vRegisters.h"
#include "tsInTransfer.h"

class tcU3vStreamer {
 public:
  using tcClock = std::chrono::steady_clock;
  static constexpr uint32_t kLeaderPrefix = 0x4C563355;   // "U3VL"
  static constexpr uint32_t kTrailerPrefix = 0x54563355;  // "U3VT"
  static constexpr size_t kLeaderSize = 52;
  static constexpr size_t kTrailerSize = 32;

  tcU3vStreamer();
  ~tcU3vStreamer();

  // The next transfer for a request of `capacity` bytes, or nothing while no frame is due; then
  // `*wakeAt` is set when a frame will be due. The caller holds the camera's lock.
  std::optional<tsInTransfer> Send(tcU3vRegisters& registers, size_t capacity,
                                   std::optional<tcClock::time_point>* wakeAt);
  // The frame in progress is abandoned (endpoint halted, stream disabled).
  void Abandon();

  // Faults on demand (under the camera's lock).
  void SetTrailerStatus(uint16_t status) { trailerStatus_ = status; }
  void FailPayloads(int count) { failPayloads_ = count; }
  void ShortenPayloads(int count) { shortPayloads_ = count; }
  uint64_t FramesSent() const { return framesSent_; }

 private:
  struct tsSegment {
    size_t offset;  // into the payload; leader and trailer have none
    size_t size;
    enum class eKind { kLeader, kPayload, kTrailer } kind;
  };
  void StartFrame(tcU3vRegisters& registers);
  void DrawPayload(tcU3vRegisters& registers);
  std::vector<uint8_t> Leader(const tcU3vRegisters& registers) const;
  std::vector<uint8_t> Trailer(const tcU3vRegisters& registers) const;
  tsInTransfer PayloadTransfer(const tsSegment& segment, size_t capacity);

  std::map<uint32_t, std::unique_ptr<tcPatternGenerator>> patterns_;
  std::vector<uint8_t> payload_;
  std::vector<tsSegment> segments_;
  size_t next_ = 0;  // segment to send; segments_.size() when no frame is in progress
  size_t sentPayload_ = 0;
  uint64_t blockId_ = 0;
  uint64_t framesSent_ = 0;
  tcClock::time_point start_ = tcClock::now();
  tcClock::time_point nextFrame_ = start_;
  tcClock::time_point frameTime_;
  uint16_t trailerStatus_ = 0;
  int failPayloads_ = 0;
  int shortPayloads_ = 0;
};
