// Reassembles GVSP frames packet by packet into the stream's buffers: leaders take a buffer
// from the input queue, payload packets are copied to their place, trailers and resent packets
// run the missing check, which completes the frame, asks for a resend or drops the frame. At
// most two frames are in progress; a dropped frame's buffer goes back to the input queue.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "gev/tsGvspPacket.h"

class tcBufferGEV;
class tcGvspAssemblerTarget;

class tcGvspAssembler {
 public:
  static constexpr size_t kMaxInProgress = 2;

  struct tsSettings {
    uint16_t packetSize = 0;  // GVSP packet size, IP and UDP headers included
    bool resendEnabled = false;
    uint32_t cameraAddress = 0;  // host order; packets from elsewhere are ignored
    uint64_t timestampFrequency = 0;
  };

  tcGvspAssembler(tcGvspAssemblerTarget& target, const tsSettings& settings);
  ~tcGvspAssembler();
  tcGvspAssembler(const tcGvspAssembler&) = delete;
  tcGvspAssembler& operator=(const tcGvspAssembler&) = delete;

  // One datagram of `length` bytes from `sender` (host order).
  void HandlePacket(std::span<const std::byte> packet, uint32_t sender);
  // A packet from the camera whose header is decoded already (its data may lie anywhere,
  // even in its place in the frame's buffer).
  void HandleParsed(const tsGvspPacket& packet);
  // The frame the newest leader started, if it is still in progress: where the packets
  // that follow are expected to go.
  tcBufferGEV* NewestFrame() const { return inProgress_.empty() ? nullptr : inProgress_.back(); }
  // Gives every frame in progress up: its buffer goes back to the input queue, not counted.
  void ReturnInProgress();

  size_t InProgressCount() const { return inProgress_.size(); }
  uint64_t Completed() const { return completed_; }
  uint32_t Dropped() const { return dropped_; }

 private:
  void HandleLeader(const tsGvspPacket& packet);
  void HandlePayload(const tsGvspPacket& packet);
  void HandleTrailer(const tsGvspPacket& packet);
  // The missing check after a trailer: complete, request a resend, or drop.
  void CheckFrame(tcBufferGEV* buffer, uint32_t count, bool extendedIds);
  tcBufferGEV* Find(uint64_t blockId) const;
  void Complete(tcBufferGEV* buffer);
  void Drop(tcBufferGEV* buffer);
  void Remove(tcBufferGEV* buffer);
  void LimitInProgress();

  tcGvspAssemblerTarget& target_;
  tsSettings settings_;
  std::deque<tcBufferGEV*> inProgress_;  // oldest first
  std::vector<uint32_t> missing_;
  uint64_t completed_ = 0;
  uint32_t dropped_ = 0;
};
