// Stream channel 0 of the emulated camera.
#include "tcGvspStreamer.h"

#include <errno.h>
#include <time.h>

#include <algorithm>

#include "base/Platform.h"
#include "base/tcPoll.h"
#include "base/tcWireWriter.h"

namespace {

constexpr size_t kIpUdpHeaders = 28;
constexpr uint64_t kPacingSliceNs = 50000;  // packets sent between two pacing sleeps
constexpr size_t kResendSlice = 64;         // unpaced packets sent between two resend checks
constexpr size_t kStandardHeader = 8;
constexpr size_t kExtendedHeader = 20;
constexpr size_t kLeaderData = 36;
constexpr size_t kTrailerData = 8;
constexpr uint8_t kLeader = 1;
constexpr uint8_t kTrailer = 2;
constexpr uint8_t kPayload = 3;
constexpr uint16_t kImage = 1;
constexpr int kIdleMs = 100;
constexpr uint16_t kResent = 0x0100;

void PacketHeader(tcWireWriter& writer, bool extended, uint8_t format, uint64_t blockId64,
                  uint16_t blockId16, uint32_t packetId) {
  writer.U16Be(0);  // status
  if (extended) {
    writer.U16Be(0);  // flags
    writer.U32Be(uint32_t{0x80u | format} << 24);
    writer.U64Be(blockId64);
    writer.U32Be(packetId);
  } else {
    writer.U16Be(blockId16);
    writer.U32Be(uint32_t{format} << 24 | (packetId & 0xFFFFFF));
  }
}

// Sleeps until the monotonic clock (the time stamp clock) reaches `deadlineNs`.
void SleepUntilNs(uint64_t deadlineNs) {
  timespec until{static_cast<time_t>(deadlineNs / 1000000000),
                 static_cast<long>(deadlineNs % 1000000000)};
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
  }
}

}  // namespace

tcGvspStreamer::tcGvspStreamer(tcGevCamera& camera, const tsFaultOptions& faults,
                               uint64_t firstBlockId)
    : camera_(camera),
      faults_(faults),
      frameCount_(firstBlockId == 0 ? 0 : firstBlockId - 1),
      ramp_(256 + 0x10000) {
  for (size_t i = 0; i < ramp_.size(); ++i)
    ramp_[i] = std::byte(i % 256);
}

std::string tcGvspStreamer::Start() {
  int error = wake_.Open();
  if (!error) {
    error = thread_.Start([this](const std::atomic<bool>& stop) { Run(stop); },
                          [this] { wake_.Signal(); });
  }
  return error ? "stream channel: " + platform::ErrorText(error) : std::string();
}

void tcGvspStreamer::Stop() {
  thread_.RequestStop();
  thread_.Join();
}

void tcGvspStreamer::Run(const std::atomic<bool>& stop) {
  tcPoll poll;
  poll.Add(wake_.Fd());
  uint64_t next = platform::MonotonicNs();
  while (!stop) {
    // The test packet request first: the settings read after it are at least as new as the
    // registers written before the request (the port it goes to, for one).
    bool testPacket = camera_.TakeTestPacket();
    tsStreamSettings settings = camera_.StreamSettings();
    // Bound as soon as the camera has an address, so its source port can be read.
    bool ready = settings.source != 0 && Prepare(settings);
    if (testPacket && ready) SendTestPacket(settings);
    for (const tsResendRequest& request : camera_.TakeResendRequests()) {
      if (ready) Resend(request);
    }
    uint64_t now = platform::MonotonicNs();
    int waitMs = kIdleMs;
    if (settings.acquiring && settings.port != 0 && settings.destination != 0) {
      if (now >= next && ready) {
        SendFrame(settings);
        if (settings.singleFrame) camera_.EndAcquisition();
        uint64_t period = settings.frameRate > 0 ? uint64_t(1e9 / settings.frameRate) : 100000000;
        next = std::max(next + period, now);
      }
      now = platform::MonotonicNs();
      waitMs =
          next > now ? static_cast<int>(std::min<uint64_t>((next - now) / 1000000, kIdleMs)) : 0;
    } else {
      next = now;  // the first frame leaves as soon as acquisition starts
    }
    poll.Wait(waitMs);
    wake_.Drain();
  }
}

bool tcGvspStreamer::Prepare(const tsStreamSettings& settings) {
  if (socket_.IsOpen() && boundSource_ == settings.source) return true;
  socket_.Close();
  if (socket_.Open() || socket_.Bind({settings.source, 0}) || socket_.SetDontFragment(true)) {
    socket_.Close();
    return false;
  }
  tsSocketAddress local;
  socket_.LocalAddress(&local);
  camera_.SetSourcePort(local.port);
  boundSource_ = settings.source;
  return true;
}

void tcGvspStreamer::SendTestPacket(const tsStreamSettings& settings) {
  if (settings.port == 0 || settings.packetSize <= kIpUdpHeaders) return;
  std::vector<std::byte> packet(settings.packetSize - kIpUdpHeaders);
  // EMSGSIZE above the path MTU is the point of the test: the packet does not arrive.
  socket_.SendTo(packet, {settings.destination, settings.port});
}

void tcGvspStreamer::SendFrame(const tsStreamSettings& settings) {
  size_t header = settings.extendedIds ? kExtendedHeader : kStandardHeader;
  if (settings.packetSize < kIpUdpHeaders + header + kLeaderData) return;
  ++frameCount_;
  blockId_ = blockId_ == 0xFFFF ? 1 : blockId_ + 1;
  size_t count = BuildFrame(settings, settings.packetSize - kIpUdpHeaders - header);
  std::span<const tsDatagram> frame(kept_[frameCount_ % kKeptFrames].datagrams.data(), count);
  SendFrameSlices(faults_.Frame(frame), settings.packetDelay);
}

size_t tcGvspStreamer::BuildFrame(const tsStreamSettings& s, size_t dataPerPacket) {
  size_t header = s.extendedIds ? kExtendedHeader : kStandardHeader;
  size_t dataPackets = (s.payloadSize + dataPerPacket - 1) / dataPerPacket;
  size_t count = dataPackets + 2;
  tsKeptFrame& frame = kept_[frameCount_ % kKeptFrames];
  frame.blockId64 = frameCount_;
  frame.blockId16 = blockId_;
  frame.extendedIds = s.extendedIds;
  // Headers only (and the leader's and trailer's fields): the payload is a tail in the ramp.
  frame.storage.resize(count * (header + kLeaderData));
  frame.datagrams.resize(count);
  std::byte* at = frame.storage.data();
  tsSocketAddress to{s.destination, s.port};
  auto add = [&](size_t index, size_t length) {
    frame.datagrams[index] = {std::span<std::byte>(at, length), 0, to, {}};
    at += length;
    return tcWireWriter(frame.datagrams[index].buffer);
  };
  uint64_t ticks = platform::MonotonicNs();  // 1 GHz time stamp
  tcWireWriter leader = add(0, header + kLeaderData);
  PacketHeader(leader, s.extendedIds, kLeader, frameCount_, blockId_, 0);
  leader.U16Be(0);  // field info and flags
  leader.U16Be(kImage);
  leader.U32Be(static_cast<uint32_t>(ticks >> 32));
  leader.U32Be(static_cast<uint32_t>(ticks));
  for (uint32_t v : {s.pixelFormat, s.width, s.height, s.offsetX, s.offsetY})
    leader.U32Be(v);
  leader.U32Be(0);  // padding x and y
  for (size_t p = 0; p < dataPackets; ++p) {
    size_t offset = p * dataPerPacket;
    size_t length = std::min(dataPerPacket, s.payloadSize - offset);
    tcWireWriter data = add(p + 1, header);
    PacketHeader(data, s.extendedIds, kPayload, frameCount_, blockId_, uint32_t(p + 1));
    // Byte i is (i + frame) modulo 256: a slice of the repeating ramp.
    frame.datagrams[p + 1].tail = std::span(ramp_).subspan((offset + frameCount_) % 256, length);
  }
  tcWireWriter trailer = add(count - 1, header + kTrailerData);
  PacketHeader(trailer, s.extendedIds, kTrailer, frameCount_, blockId_, uint32_t(count - 1));
  trailer.U16Be(0);
  trailer.U16Be(kImage);
  trailer.U32Be(s.height);
  return count;
}

// Without a packet delay the packets leave in sendmmsg batches of kResendSlice; with one
// (GevSCPD), packet k leaves no earlier than k delays after the first, sent in slices of about
// kPacingSliceNs so that the pacing needs few sleeps. Between slices the resend requests that
// came in meanwhile are served, as a camera does, so a receiver does not wait a whole frame
// for them. A stop request ends the frame early.
void tcGvspStreamer::SendFrameSlices(std::span<const tsDatagram> datagrams, uint64_t delayNs) {
  size_t slice = delayNs == 0 ? kResendSlice : std::max<uint64_t>(1, kPacingSliceNs / delayNs);
  uint64_t start = platform::MonotonicNs();
  size_t done = 0;
  while (done < datagrams.size() && !thread_.StopRequested()) {
    if (delayNs != 0) SleepUntilNs(start + done * delayNs);
    size_t count = std::min(slice, datagrams.size() - done);
    if (!Send(datagrams.subspan(done, count))) return;  // the destination vanished or refuses
    done += count;
    for (const tsResendRequest& request : camera_.TakeResendRequests())
      Resend(request);
  }
}

bool tcGvspStreamer::Send(std::span<const tsDatagram> datagrams) {
  while (!datagrams.empty()) {
    tsIoResult sent = socket_.SendSegmented(datagrams);
    if (!sent.Ok()) return false;
    datagrams = datagrams.subspan(sent.count);
  }
  return true;
}

void tcGvspStreamer::Resend(const tsResendRequest& request) {
  for (tsKeptFrame& frame : kept_) {
    bool same = frame.extendedIds == request.extendedIds &&
                (request.extendedIds ? frame.blockId64 == request.blockId
                                     : frame.blockId16 == request.blockId);
    if (!same || frame.datagrams.size() < 2 || request.firstPacket > request.lastPacket) continue;
    // Leader and payload packets; the trailer (the last) is not resent.
    size_t end = std::min<size_t>(request.lastPacket, frame.datagrams.size() - 2) + 1;
    for (size_t id = request.firstPacket; id < end; ++id) {
      tsDatagram& packet = frame.datagrams[id];
      tcWireWriter status(packet.buffer.first(2));
      status.U16Be(kResent);
      if (faults_.KeepResent()) Send(std::span<const tsDatagram>(&packet, 1));
      tcWireWriter(packet.buffer.first(2)).U16Be(0);
    }
    return;
  }
}
