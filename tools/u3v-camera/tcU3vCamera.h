// One emulated USB3 Vision camera behind its endpoints: GenCP on the control endpoints, the
// stream on the streaming endpoint, and the faults a test asks for. Transport-neutral: the USB
// layer hands it OUT data and asks it for IN transfers.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "tcU3vRegisters.h"
#include "tcU3vStreamer.h"
#include "tcWakeTimer.h"
#include "tsInTransfer.h"
#include "tsU3vCameraOptions.h"

class tcU3vCamera {
 public:
  // GenCP command ids and statuses the camera uses itself.
  static constexpr uint32_t kCommandPrefix = 0x43563355;  // "U3VC"
  static constexpr uint16_t kReadMem = 0x0800;
  static constexpr uint16_t kWriteMem = 0x0802;
  static constexpr uint16_t kPendingAck = 0x0805;
  static constexpr uint16_t kNotImplemented = 0x8001;
  static constexpr uint16_t kInvalidParameter = 0x8002;
  static constexpr uint16_t kInvalidHeader = 0x800E;

  explicit tcU3vCamera(const tsU3vCameraOptions& options);
  ~tcU3vCamera();
  tcU3vCamera(const tcU3vCamera&) = delete;
  tcU3vCamera& operator=(const tcU3vCamera&) = delete;

  const tsU3vCameraOptions& Options() const { return options_; }
  // `wake` runs (on some thread, without the camera's lock) when an IN endpoint may have
  // something new to send. Set it before the camera is used.
  void SetWake(std::function<void()> wake);

  // Transport side. OUT data for `endpoint`; the next IN transfer of `endpoint` for a request of
  // `capacity` bytes, or nothing while the endpoint has nothing to send yet.
  void Receive(uint8_t endpoint, std::span<const uint8_t> data);
  std::optional<tsInTransfer> Send(uint8_t endpoint, size_t capacity);

  // Faults on demand, from any thread. Accesses covering `address` answer `status` (0 removes).
  void Refuse(uint64_t address, uint16_t status);
  // The next `count` commands are answered by a PENDING_ACK first (see tsU3vCameraOptions).
  void PendNext(int count, uint16_t timeoutMs, uint32_t delayMs);
  // Stream faults: the status of the following trailers; the next `count` payload transfers fail
  // (-EPROTO, no data) or carry only half their bytes.
  void SetTrailerStatus(uint16_t status);
  void FailPayloads(int count);
  void ShortenPayloads(int count);
  // The frame in progress is abandoned, as when the streaming endpoint halts.
  void AbandonFrame();
  uint64_t FramesSent() const;

  // Observation for tests.
  // One GenCP command as received: its id, request id, address and length (READMEM: the length
  // asked for; WRITEMEM: the data bytes).
  struct tsCommandSeen {
    uint16_t commandId;
    uint16_t requestId;
    uint64_t address;
    uint16_t length;
  };
  std::vector<tsCommandSeen> CommandsSeen() const;
  uint32_t CommandsReceived() const;
  uint16_t LastRequestId() const;
  uint64_t Register(uint64_t address, size_t size = 4) const;
  void SetRegister(uint64_t address, uint64_t value, size_t size = 4);

 private:
  struct tsAck {
    std::vector<uint8_t> bytes;
    tcWakeTimer::tcClock::time_point due;
  };
  void Answer(std::span<const uint8_t> command);
  void Record(uint16_t commandId, uint16_t requestId, std::span<const uint8_t> scd);
  uint16_t ReadMem(std::span<const uint8_t> scd, std::vector<uint8_t>* data);
  uint16_t WriteMem(std::span<const uint8_t> scd, std::vector<uint8_t>* data);
  void Act(uint64_t address);
  uint16_t RefusalFor(uint64_t address, size_t size) const;
  void Queue(std::vector<uint8_t> ack, tcWakeTimer::tcClock::time_point due);
  void WakeUp();

  tsU3vCameraOptions options_;
  mutable std::mutex mutex_;
  tcU3vRegisters registers_;
  std::map<uint64_t, uint16_t> refusals_;
  int pendingAcks_;
  uint16_t pendingTimeoutMs_;
  uint32_t pendingDelayMs_;
  std::deque<tsAck> acks_;
  uint32_t commands_ = 0;
  uint16_t lastRequestId_ = 0;
  std::vector<tsCommandSeen> seen_;
  tcWakeTimer::tcClock::time_point start_ = tcWakeTimer::tcClock::now();  // timestamp 0
  std::function<void()> wake_;
  std::unique_ptr<tcU3vStreamer> streamer_;
  tcWakeTimer timer_;  // last: its thread stops before the rest goes
};
