// The GigE Vision control protocol of the emulated camera: discovery, register and memory
// access, control channel privilege and its heartbeat. No sockets: datagram in, reply out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

#include "base/tsSocketAddress.h"
#include "tcGevRegisters.h"
#include "tsGevCameraOptions.h"
#include "tsResendRequest.h"
#include "tsStreamSettings.h"

class tcGevCamera {
 public:
  static constexpr uint16_t kPort = 3956;
  // Largest acknowledge: 8-byte header, 4-byte address, 536 bytes of data.
  static constexpr size_t kMaxReply = 548;

  explicit tcGevCamera(const tsGevCameraOptions& options);

  // Handles one GVCP datagram from `from` that arrived on local address `local` (mask
  // `localMask`) at `nowNs` (monotonic). Returns the length of the acknowledge written to
  // `reply` (at least kMaxReply bytes), 0 when none is due.
  size_t Handle(std::span<const std::byte> datagram, const tsSocketAddress& from, uint32_t local,
                uint32_t localMask, uint64_t nowNs, std::span<std::byte> reply);
  // Drops the control channel privilege when its owner has been silent beyond the heartbeat
  // time-out.
  void Expire(uint64_t nowNs);
  // The application holding the privilege (address 0 when none) and its access bits.
  tsSocketAddress Owner() const;
  uint32_t Privilege() const;
  // Copy of a register, for the camera's other parts and tests.
  uint32_t Register(uint32_t address) const;
  tsStreamSettings StreamSettings() const;
  // Whether a test packet was asked for since the last call.
  bool TakeTestPacket();
  // Ends the acquisition (a single frame was sent).
  void EndAcquisition();
  // The stream channel's source port, once its socket is bound.
  void SetSourcePort(uint16_t port);
  // The packet resend commands received since the last call, in order.
  std::vector<tsResendRequest> TakeResendRequests();

 private:
  struct tsCommand;

  size_t Execute(const tsCommand& command, bool complete, std::span<std::byte> reply);
  size_t Discovery(const tsCommand& command, uint32_t local, std::span<std::byte> reply);
  size_t ReadRegisters(const tsCommand& command, std::span<std::byte> reply);
  size_t WriteRegisters(const tsCommand& command, std::span<std::byte> reply);
  size_t ReadMemory(const tsCommand& command, std::span<std::byte> reply);
  size_t WriteMemory(const tsCommand& command, std::span<std::byte> reply);
  void QueueResend(const tsCommand& command);
  uint16_t CheckRead(const tsCommand& command) const;
  uint16_t CheckWrite(const tsCommand& command, uint32_t address) const;
  // The status refusing an access to [address, address + length), or 0.
  uint16_t Refusal(uint32_t address, size_t length) const;
  uint16_t WritePrivilege(const tsCommand& command, uint32_t value);
  uint16_t WriteRegister(const tsCommand& command, uint32_t address, uint32_t value);
  bool IsOwner(const tsSocketAddress& from) const;
  void ExpireLocked(uint64_t nowNs);
  void Release();

  mutable std::mutex mutex_;  // the control thread and the stream thread share the registers
  tsGevCameraOptions options_;
  tcGevRegisters registers_;
  tsSocketAddress owner_;
  uint64_t ownerSeenNs_ = 0;
  std::vector<tsResendRequest> resends_;
};
