// tcDataStreamGEV: opening (socket, stream channel registers, id form, resend support, packet
// size negotiation), start and stop, and the receive thread.
#include "gev/tcDataStreamGEV.h"

#include <arpa/inet.h>
#include <errno.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "base/Config.h"
#include "base/Log.h"
#include "base/Platform.h"
#include "base/tcPoll.h"
#include "gev/tcBufferGEV.h"
#include "gev/tcDeviceGEV.h"
#include "gev/tcGvspAssembler.h"
#include "gev/tcGvspReceiver.h"
#include "gev/tcPortGEV.h"

using namespace GenTL;

namespace {

// Stream channel 0 and the capability registers of the bootstrap map.
constexpr uint32_t kVersion = 0x0000;
constexpr uint32_t kGvspCapability = 0x092C;
constexpr uint32_t kGvcpCapability = 0x0934;
constexpr uint32_t kGvspConfig = 0x0960;
constexpr uint32_t kStreamPort = 0x0D00;
constexpr uint32_t kStreamPacketSize = 0x0D04;
constexpr uint32_t kStreamDestination = 0x0D18;

constexpr uint32_t kExtendedIdBit = 1u << 30;      // gvsp_capability and gvsp_config
constexpr uint32_t kExtendedStatusBit = 1u << 22;  // gvcp_capability
constexpr uint32_t kPacketResendBit = 1u << 2;     // gvcp_capability
constexpr uint32_t kFireTestPacket = 0xC0000000;   // fire, with do-not-fragment
constexpr int kIpUdpHeaders = 28;
constexpr std::array<uint16_t, 7> kPacketSizes = {9000, 4500, 4000, 3800, 1500, 1480, 1024};
constexpr int kTestAttempts = 3;
constexpr int kTestWaitMs = 100;
constexpr int kReceiveWaitMs = 300;
// Names the log lines carry: the operations as the stream's users know them.
constexpr const char* kOpen = "tcDataStreamGEV::Open";
constexpr const char* kNegotiate = "tcDataStreamGEV::NegotiatePacketsize";
constexpr const char* kStart = "tcDataStreamGEV::StartAcquisition";
constexpr const char* kThread = "tcDataStreamGEV::AcquistionThread";
constexpr size_t kWakeIndex = 0;  // the stop descriptor comes first in the thread's poll sets

}  // namespace

tcDataStreamGEV::tcDataStreamGEV(std::string id, tcDeviceGEV* device, tcPortGEV* port)
    : tcDataStream(std::move(id), "GEV", device, 0), port_(port) {
  if (int bytes = config::GevReceiveBuffer()) receiveBufferRequest_ = bytes;
  // The receive thread waits on its socket and this descriptor: a stop reaches it at once.
  wake_.Open();
  acquisition_.SetWake([this] { wake_.Signal(); });
}

// The receive thread uses this object: it is stopped before the object goes.
tcDataStreamGEV::~tcDataStreamGEV() {
  StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
  acquisition_.SetWake({});
}

std::unique_ptr<tcBuffer> tcDataStreamGEV::AllocBuffer(void* memory, uint64_t size,
                                                       void* userPointer, bool owned) {
  auto buffer = std::make_unique<tcBufferGEV>(this, memory, size, userPointer, owned);
  GENTL_LOG(kLogDebug, "%s, hBuffer = %p", Name(), buffer.get());
  return buffer;
}

GC_ERROR tcDataStreamGEV::ReadReg(uint32_t address, uint32_t* value) {
  if (port_ == nullptr) return GC_ERR_NOT_AVAILABLE;
  uint32_t wire = 0;
  GC_ERROR result = port_->ReadReg(address, &wire);
  *value = ntohl(wire);
  return result;
}

GC_ERROR tcDataStreamGEV::WriteReg(uint32_t address, uint32_t value) {
  if (port_ == nullptr) return GC_ERR_NOT_AVAILABLE;
  uint32_t wire = htonl(value);
  return port_->WriteReg(address, &wire);
}

GC_ERROR tcDataStreamGEV::Open() {
  GC_ERROR result = OpenSocket();
  if (result == GC_ERR_SUCCESS) result = ConfigureCamera();
  if (result == GC_ERR_SUCCESS) result = NegotiatePacketsize();
  if (result != GC_ERR_SUCCESS) return result;
  dropped_.store(0);
  return tcDataStream::Open();
}

GC_ERROR tcDataStreamGEV::OpenSocket() {
  if (int error = socket_.Open()) {
    LogPrint(kLogError, kOpen, "Invalid socket, error: %s", platform::ErrorText(error));
    return GC_ERR_IO;
  }
  SetReceiveBuffer();
  if (int error = socket_.Bind({0, 0})) {
    LogPrint(kLogError, kOpen, "Bind socket failed, error: %s", platform::ErrorText(error));
    socket_.Close();
    return GC_ERR_IO;
  }
  return SocketPort(kOpen) == 0 ? GC_ERR_IO : GC_ERR_SUCCESS;
}

// The default request is subject to net.core.rmem_max; a larger one asked for through the
// environment first tries to pass the cap (which needs CAP_NET_ADMIN).
void tcDataStreamGEV::SetReceiveBuffer() {
  int error = 0;
  if (receiveBufferRequest_ != kReceiveBufferSize) {
    error = socket_.ForceReceiveBuffer(receiveBufferRequest_);
  }
  if (receiveBufferRequest_ == kReceiveBufferSize || error != 0) {
    error = socket_.SetReceiveBuffer(receiveBufferRequest_);
  }
  if (error != 0) {
    LogPrint(kLogError, kOpen, "SET SO_RCVBUF to %d, error %d: %s", receiveBufferRequest_, error,
             platform::ErrorText(error));
  }
  int granted = 0;
  if (int getError = socket_.ReceiveBufferSize(&granted)) {
    LogPrint(kLogError, kOpen, "GET SO_RCVBUF, error %d: %s", getError,
             platform::ErrorText(getError));
  } else {
    LogPrint(kLogInfo, kOpen, "Stream socket recv buffer size = %d", granted);
  }
}

uint16_t tcDataStreamGEV::SocketPort(const char* function) {
  tsSocketAddress local;
  if (int error = socket_.LocalAddress(&local)) {
    LogPrint(kLogError, function, "Get socket name failed, error: %s", platform::ErrorText(error));
    return 0;
  }
  return local.port;
}

GC_ERROR tcDataStreamGEV::ConfigureCamera() {
  uint32_t host = 0;
  if (port_ != nullptr) {
    host = port_->LocalAddress();
  } else {
    LogPrint(kLogWarning, kOpen, "Could not determine NIC address.  Streaming will not work!");
  }
  GC_ERROR result = WriteReg(kStreamDestination, host);
  uint32_t version = 0;
  if (result == GC_ERR_SUCCESS) result = ReadReg(kVersion, &version);
  if (result != GC_ERR_SUCCESS) return result;
  standardIds_.store(version >> 16 == 1);
  uint32_t value = 0;
  if (!standardIds_.load() && ReadReg(kGvspCapability, &value) == GC_ERR_SUCCESS &&
      (value & kExtendedIdBit) != 0 && ReadReg(kGvspConfig, &value) == GC_ERR_SUCCESS) {
    result = WriteReg(kGvspConfig, value | kExtendedIdBit);
  }
  uint32_t capability = 0;
  if (result == GC_ERR_SUCCESS) result = ReadReg(kGvcpCapability, &capability);
  uint32_t resend = kExtendedStatusBit | kPacketResendBit;
  resendEnabled_.store((capability & resend) == resend);
  return result;
}

GC_ERROR tcDataStreamGEV::NegotiatePacketsize() {
  if (running_.load()) {
    GENTL_LOG(kLogError, "Can't negotiate packet size if already streaming");
    return GC_ERR_BUSY;
  }
  GC_ERROR result = WriteReg(kStreamPort, SocketPort(kNegotiate));
  if (result != GC_ERR_SUCCESS) return result;
  for (uint16_t size : kPacketSizes) {
    if (!TestPacketSize(size)) continue;
    uint32_t value = 0;
    result = ReadReg(kStreamPacketSize, &value);
    if (result == GC_ERR_SUCCESS) packetSize_.store(static_cast<uint16_t>(value));
    GC_ERROR stop = WriteReg(kStreamPort, 0);
    return result != GC_ERR_SUCCESS ? result : stop;
  }
  return GC_ERR_IO;
}

bool tcDataStreamGEV::TestPacketSize(uint16_t size) {
  LogPrint(kLogInfo, kNegotiate, "Testing Packet Size : %d", size);
  if (WriteReg(kStreamPacketSize, size | kFireTestPacket) != GC_ERR_SUCCESS) return false;
  tcPoll poll;
  poll.Add(socket_.Fd());
  std::vector<std::byte> packet(tcGvspReceiver::kMaxPacket);
  uint32_t camera = port_ != nullptr ? port_->CameraAddress() : 0;
  for (int attempt = 0; attempt < kTestAttempts;) {
    tsIoResult ready = poll.Wait(kTestWaitMs);
    if (!ready.Ok()) {
      LogPrint(kLogError, kNegotiate, "WSAPoll failed, error: %s", ready.ErrorText());
      return false;
    }
    if (ready.count == 0) return false;
    tsSocketAddress from;
    tsIoResult received = socket_.ReceiveFrom(packet, &from);
    if (!received.Ok()) continue;  // a failed receive uses up no attempt
    ++attempt;
    LogPrint(kLogInfo, kNegotiate, "Got Packet Size : %d, %d", received.count,
             size - kIpUdpHeaders);
    if (received.count >= size_t(size - kIpUdpHeaders) && from.address == camera) return true;
  }
  return false;
}

GC_ERROR tcDataStreamGEV::OnStartAcquisition(int32_t startFlags, uint64_t numToAcquire) {
  if (startFlags != 0) {
    LogPrint(kLogWarning, kStart, "%s, iStartFlags = %d (Request Not Implemented)",
             "tcDataStreamGEV", startFlags);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  uint32_t value = 0;
  GC_ERROR result = ReadReg(kStreamPacketSize, &value);
  if (result != GC_ERR_SUCCESS) return result;
  packetSize_.store(static_cast<uint16_t>(value));
  LogPrint(kLogInfo, kStart, "Packet_Size: %d", packetSize_.load());
  uint16_t port = SocketPort(kStart);
  if (port == 0) return GC_ERR_IO;
  // Packets left from an earlier acquisition must not start frames of this one.
  DrainSocket();
  wake_.Drain();
  OpenPacketRing(port);
  result = WriteReg(kStreamPort, port);
  if (result != GC_ERR_SUCCESS) {
    ClosePacketRing();
    return result;
  }
  acquisition_.Start([this, numToAcquire] { AcquistionThread(numToAcquire); });
  return GC_ERR_SUCCESS;
}

void tcDataStreamGEV::OnStopRequested() {
  WriteReg(kStreamPort, 0);  // the camera stops sending first
}

void tcDataStreamGEV::DrainSocket() {
  std::vector<std::byte> packet(tcGvspReceiver::kMaxPacket);
  tsSocketAddress from;
  while (socket_.ReceiveFrom(packet, &from).Ok()) {
  }
}

void tcDataStreamGEV::AcquistionThread(uint64_t frames) {
  GENTL_LOG(kLogInfo, "Enter : frames = %lld, %d,%d,%d", frames, QueuedCount(), 0,
            AwaitingDeliveryCount());
  auto* device = dynamic_cast<tcDeviceGEV*>(Parent());
  if (device == nullptr) {
    GENTL_LOG(kLogError, "Not a GEV device?");
    ClosePacketRing();
    AcquisitionEnded();
    return;
  }
  running_.store(true);
  uint32_t droppedBefore = dropped_.load();
  tcGvspAssembler assembler(*this, {packetSize_.load(), resendEnabled_.load(),
                                    port_->CameraAddress(), device->TimestampFrequency()});
  auto countDrops = [&] { dropped_.store(droppedBefore + assembler.Dropped()); };
  if (ring_.IsOpen()) {
    ReceiveFromRing(assembler, frames, countDrops);
  } else {
    ReceiveFromSocket(assembler, frames, countDrops);
  }
  ClosePacketRing();
  assembler.ReturnInProgress();
  countDrops();
  GENTL_LOG(kLogInfo, "Exit : frames captured = %lld", assembler.Completed());
  running_.store(false);
  if (!acquisition_.StopRequested()) AcquisitionEnded();
}

// Waits for `fd` or a stop; true when `fd` is readable. A failed wait ends the loop.
bool tcDataStreamGEV::WaitReadable(tcPoll& poll, size_t index, bool* failed) {
  tsIoResult ready = poll.Wait(kReceiveWaitMs);
  if (!ready.Ok()) {
    LogPrint(kLogError, kThread, "Error On Select: %d", ready.error);
    *failed = true;
    return false;
  }
  if (ready.count != 0 && poll.Readable(kWakeIndex)) wake_.Drain();  // the loop sees the stop
  return ready.count != 0 && poll.Readable(index);
}

void tcDataStreamGEV::ReceiveFromSocket(tcGvspAssembler& assembler, uint64_t frames,
                                        const std::function<void()>& countDrops) {
  tcGvspReceiver receiver(assembler, port_->CameraAddress());
  tcPoll poll;
  poll.Add(wake_.Fd());
  size_t socketIndex = poll.Add(socket_.Fd());
  auto pause = GatherPause();
  bool failed = false;
  bool full = false;  // the last batch was filled: more may be waiting, no need to poll first
  while (!failed && !acquisition_.StopRequested() && assembler.Completed() < frames) {
    if (!full && !WaitReadable(poll, socketIndex, &failed)) continue;
    tsIoResult received = receiver.Receive(socket_, frames);
    full = receiver.Filled();
    if (!received.Ok()) {
      if (received.error == EAGAIN || received.error == EINTR) continue;
      LogPrint(kLogError, kThread, "Error On recvfrom: %d", received.error);
      break;
    }
    countDrops();
    // In the middle of a frame that arrives faster than it is read, waking for every packet
    // or two costs more than the packets: a short pause lets a batch gather.
    if (!full && assembler.InProgressCount() != 0) std::this_thread::sleep_for(pause);
  }
}

void tcDataStreamGEV::ReceiveFromRing(tcGvspAssembler& assembler, uint64_t frames,
                                      const std::function<void()>& countDrops) {
  tcPoll poll;
  poll.Add(wake_.Fd());
  size_t ringIndex = poll.Add(ring_.Fd());
  bool failed = false;
  auto handle = [&](std::span<const std::byte> payload, uint32_t sender) {
    assembler.HandlePacket(payload, sender);
  };
  auto more = [&] { return assembler.Completed() < frames; };
  while (!failed && !acquisition_.StopRequested() && more()) {
    if (!WaitReadable(poll, ringIndex, &failed)) continue;
    ring_.Drain(handle, more);
    countDrops();
  }
}

// Datagrams to the stream's port go to a packet ring where the process may have one: the
// kernel copies them there in its receive path, and this thread reads them without a system
// call each. The socket then drops its copies. Without the ring, the socket is read.
void tcDataStreamGEV::OpenPacketRing(uint16_t port) {
  if (!config::GevPacketRing()) return;
  size_t bytes = std::max<size_t>(kMinRingSize, size_t(receiveBufferRequest_));
  int error = ring_.Open(port, bytes);
  if (error == 0 && (error = socket_.SetDropAll(true)) != 0) ring_.Close();
  if (error != 0) {
    LogPrint(kLogInfo, kStart, "No packet ring (%s): reading the stream socket",
             platform::ErrorText(error));
    return;
  }
  LogPrint(kLogInfo, kStart, "Receiving through a packet ring of %d MiB", bytes >> 20);
}

void tcDataStreamGEV::ClosePacketRing() {
  if (!ring_.IsOpen()) return;
  ring_.Close();
  socket_.SetDropAll(false);
}

// The pause may let at most a quarter of the socket buffer fill at 25 Gb/s, and lasts no
// longer than kMaxGatherPause.
std::chrono::microseconds tcDataStreamGEV::GatherPause() const {
  int bytes = 0;
  if (socket_.ReceiveBufferSize(&bytes) != 0) return {};
  constexpr int64_t kBytesPerMicrosecond = 25000 / 8;
  return std::min(kMaxGatherPause, std::chrono::microseconds(bytes / 4 / kBytesPerMicrosecond));
}

tcBuffer* tcDataStreamGEV::TakeBuffer() {
  tcBufferLease lease = TakeInputBuffer();
  if (!lease) underrun_.fetch_add(1);
  return lease.Release();
}

void tcDataStreamGEV::CompleteBuffer(tcBuffer* buffer) {
  bool image = buffer->payloadType == PAYLOAD_TYPE_IMAGE;
  DeliverBuffer(tcBufferLease(this, buffer), image);
}

void tcDataStreamGEV::RequeueBuffer(tcBuffer* buffer) {
  AppendToInput(buffer);
}

void tcDataStreamGEV::RequestResend(uint64_t blockId, bool extendedIds,
                                    std::span<const uint32_t> packetIds) {
  if (port_ == nullptr) return;
  port_->SendPacketResend(blockId, extendedIds, {packetIds.begin(), packetIds.end()});
}
