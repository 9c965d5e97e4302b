// The remote device port of a GigE Vision camera: register and memory access over GVCP, the
// control privilege with its heartbeat, the description URLs and the packet resend command.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "base/tcMutex.h"
#include "base/tcThread.h"
#include "base/tcUdpSocket.h"
#include "gev/Gvcp.h"
#include "gev/tsGvcpExchange.h"
#include "modules/tcPort.h"

class tcPortGEV : public tcPort {
 public:
  static constexpr uint16_t kGvcpPort = 3956;
  // Bytes of one READMEM/WRITEMEM exchange.
  static constexpr size_t kMemoryChunk = 536;
  // The wait for one acknowledgement.
  static constexpr int kReplyTimeoutMs = 300;
  static constexpr uint32_t kHeartbeatTimeoutMs = 6000;
  static constexpr uint32_t kHeartbeatPeriodMs = 2000;

  // `name` is the port's ID (the device's). Logs the bootstrap map when GENTL_SHOW_BSR is set.
  explicit tcPortGEV(std::string name);
  // Releases the control privilege (when connected) and ends the heartbeat at once.
  ~tcPortGEV() override;

  // Opens the control channel to `cameraAddress` from `localAddress` (both host order): reads
  // the capabilities and the manifest, takes control privilege, sets the heartbeat time-out and
  // starts the heartbeat. GC_ERR_RESOURCE_IN_USE when already connected, GC_ERR_IO when no
  // socket could be made, else the result of the heartbeat time-out write.
  GenTL::GC_ERROR Connect(uint32_t cameraAddress, uint32_t localAddress);

  GenTL::GC_ERROR GetPortURL(char* url, size_t* size) override;
  GenTL::GC_ERROR GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR GetNumPortURLs(uint32_t* count) override;
  GenTL::GC_ERROR GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                 size_t* size) override;
  // 4 bytes: one READREG/WRITEREG; any other size: READMEM/WRITEMEM in chunks of 536 bytes.
  GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR Write(uint64_t address, const void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());

  // One register exchange; the value travels big-endian both ways, as the camera holds it.
  // Takes the access mutex itself, so any thread may call them.
  GenTL::GC_ERROR ReadReg(uint64_t address, uint32_t* bigEndianValue);
  GenTL::GC_ERROR WriteReg(uint64_t address, uint32_t* bigEndianValue);

  // Asks the camera to send the missing packets of block `blockId` again: consecutive ids are
  // merged into ranges, one PACKETRESEND_CMD per range (no acknowledgement). Sent on a socket of
  // its own, so it never waits for a register exchange in flight. 0, or GC_ERR_IO when a
  // command could not be sent.
  GenTL::GC_ERROR SendPacketResend(uint64_t blockId, bool extendedIds,
                                   const std::vector<uint32_t>& missingPacketIds);

  // Host order; 0 before Connect.
  uint32_t LocalAddress() const { return localAddress_.load(std::memory_order_relaxed); }
  uint32_t CameraAddress() const { return cameraAddress_.load(std::memory_order_relaxed); }
  // gvcp_capability as read when connecting (host order).
  uint32_t Capability() const { return capability_.load(std::memory_order_relaxed); }

  // The table from gvcp_capability bit to name, filled once per process by the first port.
  struct tsCapabilityName {
    uint32_t mask;
    const char* name;
  };
  static std::span<const tsCapabilityName> CapabilityNames();

  // The next command carries the id after `last` (1 after 0xFFFF).
  void SetLastRequestId(uint16_t last) { requestId_.store(last); }

 private:
  struct tsManifestEntry {
    uint32_t version;  // host order
    uint32_t urlAddress;
  };

  // How one wait for an acknowledgement ended.
  enum class Reply { kReceived, kTimeout, kWaitFailed, kReceiveFailed };

  uint16_t NextRequestId();
  void ReadManifest() GENTL_REQUIRES(AccessMutex());
  void HeartBeatThread(const std::atomic<bool>& stopRequested);
  GenTL::GC_ERROR ReadRegLocked(uint64_t address, uint32_t* bigEndianValue)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR WriteRegLocked(uint64_t address, uint32_t* bigEndianValue)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR ReadMem(uint64_t address, uint8_t* buffer, size_t size)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR WriteMem(uint64_t address, const uint8_t* buffer, size_t size)
      GENTL_REQUIRES(AccessMutex());
  // One READMEM/WRITEMEM chunk; *stop is set when the access must end after it.
  GenTL::GC_ERROR ReadChunk(uint32_t address, uint8_t* buffer, size_t size, bool* stop)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR WriteChunk(uint32_t address, const uint8_t* buffer, size_t size, bool* stop)
      GENTL_REQUIRES(AccessMutex());
  // Discards datagrams left over from exchanges that timed out.
  void DrainStale() GENTL_REQUIRES(AccessMutex());
  // Sends `command` after writing its header (the next request id, the payload length; the
  // payload from byte 8 on is the caller's) and checks the one reply, received into `reply`,
  // against `kind` and `minimum` bytes. *verdict stays kShort unless an acknowledgement of
  // `minimum` bytes came back. GC_ERR_IO when the command could not be sent or no such
  // acknowledgement came, else the result of its status. Logs failures with `kind`'s texts.
  GenTL::GC_ERROR Exchange(const tsGvcpExchange& kind, std::span<std::byte> command, size_t minimum,
                           std::span<std::byte> reply, gvcp::AckVerdict* verdict)
      GENTL_REQUIRES(AccessMutex());
  // Sends `command` whole; false (and the log line, for `function`) otherwise.
  bool SendCommand(const char* function, std::span<const std::byte> command)
      GENTL_REQUIRES(AccessMutex());
  // Waits up to 300 ms for one datagram; *received is its size, *error the errno of a failure.
  Reply ReceiveReply(std::span<std::byte> buffer, size_t* received, int* error)
      GENTL_REQUIRES(AccessMutex());
  // Logs with `kind`'s text why no reply came.
  void LogMissingReply(const tsGvcpExchange& kind, Reply how, int error);
  // Logs for `function` why an acknowledgement was refused (nothing for kGood and kShort).
  void LogRefusal(const char* function, gvcp::AckVerdict verdict, uint16_t requestId,
                  const gvcp::tsAckHeader& ack);
  // The last line of a register or memory access: verbose when it succeeded, else a warning.
  void LogAccess(const char* function, GenTL::GC_ERROR result, uint64_t address, size_t size);
  // The text of URL `index` (one 512-byte read of its register).
  GenTL::GC_ERROR UrlText(uint32_t index, std::string* url);
  uint32_t UrlCount() const;

  tcUdpSocket socket_;        // control exchanges, under the access mutex
  tcUdpSocket resendSocket_;  // PACKETRESEND_CMD only, under resendMutex_
  std::atomic<uint32_t> cameraAddress_{0};
  std::atomic<uint32_t> localAddress_{0};
  std::atomic<uint32_t> capability_{0};
  std::atomic<bool> connected_{false};
  bool hasManifest_ = false;               // written by Connect only
  std::vector<tsManifestEntry> manifest_;  // written by Connect only
  std::atomic<uint16_t> requestId_{0};
  std::mutex resendMutex_;
  std::mutex heartbeatMutex_;  // pairs with heartbeatWake_, so that a stop is never missed
  std::condition_variable heartbeatWake_;
  tcThread heartbeat_;
};
