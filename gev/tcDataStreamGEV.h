// The data stream of a GigE Vision camera: a UDP socket of its own that the camera's stream
// channel 0 is pointed at, the packet size negotiated with test packets, and a receive thread
// that reassembles GVSP frames into the consumer's buffers and asks for lost packets again.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "base/tcEventFd.h"
#include "base/tcPacketRing.h"
#include "base/tcUdpSocket.h"
#include "gev/tcGvspAssemblerTarget.h"
#include "stream/tcDataStream.h"

class tcDeviceGEV;
class tcGvspAssembler;
class tcPoll;
class tcPortGEV;

class tcDataStreamGEV : public tcDataStream, private tcGvspAssemblerTarget {
 public:
  static constexpr int kReceiveBufferSize = 0x40000;
  static constexpr std::chrono::microseconds kMaxGatherPause{250};
  static constexpr size_t kMinRingSize = 32 << 20;

  // `port` is the device's remote port (null when it has none: the stream then cannot tell
  // the camera where to send).
  tcDataStreamGEV(std::string id, tcDeviceGEV* device, tcPortGEV* port);
  ~tcDataStreamGEV() override;

  // Socket, destination, id form, resend support and packet size; GC_ERR_IO when the socket
  // cannot be made or no test packet arrives, else the code of a failed register access.
  GenTL::GC_ERROR Open() override;
  GenTL::GC_ERROR NegotiatePacketsize();

  uint16_t PacketSize() const { return packetSize_.load(); }
  bool StandardIds() const { return standardIds_.load(); }
  bool ResendEnabled() const { return resendEnabled_.load(); }
  // Frames dropped since Open: incomplete, or pushed out by newer frames.
  uint32_t DroppedFrames() const { return dropped_.load(); }

 protected:
  GenTL::GC_ERROR OnStartAcquisition(int32_t startFlags, uint64_t numToAcquire) override;
  void OnStopRequested() override;
  std::unique_ptr<tcBuffer> AllocBuffer(void* memory, uint64_t size, void* userPointer,
                                        bool owned) override;

 private:
  void AcquistionThread(uint64_t frames);
  void ReceiveFromSocket(tcGvspAssembler& assembler, uint64_t frames,
                         const std::function<void()>& countDrops);
  void ReceiveFromRing(tcGvspAssembler& assembler, uint64_t frames,
                       const std::function<void()>& countDrops);
  bool WaitReadable(tcPoll& poll, size_t index, bool* failed);
  void OpenPacketRing(uint16_t port);
  void ClosePacketRing();
  // How long the receive thread waits for more packets of a frame after a short batch.
  std::chrono::microseconds GatherPause() const;
  GenTL::GC_ERROR OpenSocket();
  void SetReceiveBuffer();
  GenTL::GC_ERROR ConfigureCamera();
  // Tries one size; true when its test packet arrived from the camera.
  bool TestPacketSize(uint16_t size);
  GenTL::GC_ERROR ReadReg(uint32_t address, uint32_t* value);
  GenTL::GC_ERROR WriteReg(uint32_t address, uint32_t value);
  // The socket's port, or 0 when it cannot be read (logged under `function`).
  uint16_t SocketPort(const char* function);
  void DrainSocket();

  // tcGvspAssemblerTarget
  tcBuffer* TakeBuffer() override;
  void CompleteBuffer(tcBuffer* buffer) override;
  void RequeueBuffer(tcBuffer* buffer) override;
  size_t InputCount() override { return QueuedCount(); }
  size_t OutputCount() override { return AwaitingDeliveryCount(); }
  void RequestResend(uint64_t blockId, bool extendedIds,
                     std::span<const uint32_t> packetIds) override;

  tcPortGEV* port_;
  tcUdpSocket socket_;
  tcPacketRing ring_;  // open from the start of an acquisition to the end of its thread
  tcEventFd wake_;     // signalled by a stop request
  int receiveBufferRequest_ = kReceiveBufferSize;
  std::atomic<uint16_t> packetSize_{0};
  std::atomic<bool> standardIds_{true};
  std::atomic<bool> resendEnabled_{false};
  std::atomic<bool> running_{false};
  std::atomic<uint32_t> dropped_{0};
};
