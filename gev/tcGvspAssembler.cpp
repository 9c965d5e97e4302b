// tcGvspAssembler: the per-packet treatment of the GVSP receive thread and its log lines.
#include "gev/tcGvspAssembler.h"

#include <algorithm>

#include "base/Log.h"
#include "gev/tcBufferGEV.h"
#include "gev/tcGvspAssemblerTarget.h"

namespace {

// The receive thread's lines carry its name, whichever object does the work.
constexpr const char* kThread = "tcDataStreamGEV::AcquistionThread";
constexpr int kIpUdpHeaders = 28;

template <typename... Args>
void Log(int level, const char* format, const Args&... args) {
  LogPrint(level, kThread, format, args...);
}

}  // namespace

tcGvspAssembler::tcGvspAssembler(tcGvspAssemblerTarget& target, const tsSettings& settings)
    : target_(target), settings_(settings) {
  missing_.reserve(tcBufferGEV::kMaxMissing);
}

tcGvspAssembler::~tcGvspAssembler() {
  ReturnInProgress();
}

void tcGvspAssembler::HandlePacket(std::span<const std::byte> bytes, uint32_t sender) {
  if (sender != settings_.cameraAddress) {
    Log(kLogWarning, "Packet from some other sender? %08x != %08x", sender,
        settings_.cameraAddress);
    return;
  }
  tsGvspPacket packet;
  switch (tsGvspPacket::Parse(bytes, &packet)) {
    case tsGvspPacket::tcResult::kShort:
      Log(kLogWarning, "Short Socket Read: %d", bytes.size());
      return;
    case tsGvspPacket::tcResult::kShortExtended:
      Log(kLogWarning, "Short Read on Extended Header: %d", bytes.size());
      return;
    case tsGvspPacket::tcResult::kOk:
      break;
  }
  HandleParsed(packet);
}

void tcGvspAssembler::HandleParsed(const tsGvspPacket& packet) {
  if (packet.format == tsGvspPacket::kLeader) {
    HandleLeader(packet);
  } else if (packet.format == tsGvspPacket::kPayload) {
    HandlePayload(packet);
  } else if (packet.format == tsGvspPacket::kTrailer) {
    HandleTrailer(packet);
  }
  LimitInProgress();
}

void tcGvspAssembler::HandleLeader(const tsGvspPacket& packet) {
  size_t received = packet.headerLength + packet.data.size();
  if (packet.data.size() < tcBufferGEV::kLeaderSize) {
    Log(kLogWarning, "Short Read on GVSP Leader: %d", received);
    return;
  }
  int perPacket = int{settings_.packetSize} - static_cast<int>(packet.headerLength) - kIpUdpHeaders;
  if (perPacket <= 0) {
    Log(kLogError, "raw_payload_bytes non-sensical: %d, %d", perPacket, settings_.packetSize);
    return;
  }
  // A second leader for a block in progress starts that block again in the same buffer.
  tcBufferGEV* buffer = Find(packet.blockId);
  if (buffer == nullptr) {
    tcBuffer* taken = target_.TakeBuffer();
    if (taken == nullptr) {
      Log(kLogWarning, "mcInputQ is empty (CPU overrun? %d,%d,%d), skipping frame %lld", 0,
          inProgress_.size(), target_.OutputCount(), packet.blockId);
      return;
    }
    buffer = dynamic_cast<tcBufferGEV*>(taken);
    if (buffer == nullptr) {
      Log(kLogError, "mcInputQ has non-tcBufferGEV's in it.  What to do?");
      target_.RequeueBuffer(taken);
      return;
    }
    inProgress_.push_back(buffer);
  }
  buffer->Reset(settings_.packetSize, !packet.extendedIds);
  if (settings_.timestampFrequency != 0) buffer->timestampFrequency = settings_.timestampFrequency;
  buffer->blockId = packet.blockId;
  buffer->ParseLeader(packet.data);
}

void tcGvspAssembler::HandlePayload(const tsGvspPacket& packet) {
  tcBufferGEV* buffer = Find(packet.blockId);
  if (buffer == nullptr) return;
  size_t bytes = packet.data.size();
  if (bytes > buffer->payloadPerPacket) {
    Log(kLogWarning, "Data Packet larger than expected, %d, %d", bytes, buffer->payloadPerPacket);
  }
  if (buffer->StorePacket(packet.packetId, packet.data) == tcBufferGEV::tcStore::kOverflow) {
    Log(kLogWarning, "Buffer Overflow detected, %d, %d, %d",
        (uint64_t{packet.packetId} - 1) * buffer->payloadPerPacket, bytes, buffer->size);
  }
  // A resent packet may close the last gap; gaps still open are not requested again.
  if (packet.Resent() && buffer->CheckMissing(0, &missing_) == 0 && missing_.empty()) {
    Complete(buffer);
  }
}

void tcGvspAssembler::HandleTrailer(const tsGvspPacket& packet) {
  if (packet.data.size() < tcBufferGEV::kTrailerSize) {
    Log(kLogWarning, "Short Read on GVSP Trailer: %d", packet.headerLength + packet.data.size());
    return;
  }
  tcBufferGEV* buffer = Find(packet.blockId);
  if (buffer == nullptr) return;
  buffer->ParseTrailer(packet.data);
  uint32_t count = packet.packetId == 0 ? 0 : packet.packetId - 1;
  buffer->expectedCount = count;
  CheckFrame(buffer, count, packet.extendedIds);
}

void tcGvspAssembler::CheckFrame(tcBufferGEV* buffer, uint32_t count, bool extendedIds) {
  int result = buffer->CheckMissing(count, &missing_);
  if (result < 0) {
    Log(kLogWarning, "More packets received than expected  dropping %lld", buffer->blockId);
    Drop(buffer);
  } else if (result > 0) {
    Log(kLogWarning, "Too many missing packets dropping %lld", buffer->blockId);
    Drop(buffer);
  } else if (missing_.empty()) {
    Complete(buffer);
  } else if (!settings_.resendEnabled) {
    Log(kLogWarning, "Can't resend dropping %lld", buffer->blockId);
    Drop(buffer);
  } else if (!buffer->resendRequested) {
    // One request per gap and frame: a repeated trailer does not ask again.
    buffer->resendRequested = true;
    target_.RequestResend(buffer->blockId, extendedIds, missing_);
    Log(kLogInfo, "Requesting Retransmission of %d packets frame %lld", missing_.size(),
        buffer->blockId);
  }
}

tcBufferGEV* tcGvspAssembler::Find(uint64_t blockId) const {
  for (tcBufferGEV* buffer : inProgress_) {
    if (buffer->blockId == blockId) return buffer;
  }
  return nullptr;
}

void tcGvspAssembler::Complete(tcBufferGEV* buffer) {
  Remove(buffer);
  buffer->Complete();
  ++completed_;
  target_.CompleteBuffer(buffer);
}

void tcGvspAssembler::Drop(tcBufferGEV* buffer) {
  Remove(buffer);
  ++dropped_;
  target_.RequeueBuffer(buffer);
}

void tcGvspAssembler::Remove(tcBufferGEV* buffer) {
  inProgress_.erase(std::find(inProgress_.begin(), inProgress_.end(), buffer));
}

void tcGvspAssembler::LimitInProgress() {
  while (inProgress_.size() > kMaxInProgress) {
    tcBufferGEV* oldest = inProgress_.front();
    inProgress_.pop_front();
    ++dropped_;
    Log(kLogWarning, "Did not complete Frame %lld, droppped. Bytes Written = %d", oldest->blockId,
        oldest->bytesWritten);
    target_.RequeueBuffer(oldest);
  }
}

void tcGvspAssembler::ReturnInProgress() {
  while (!inProgress_.empty()) {
    tcBufferGEV* buffer = inProgress_.front();
    inProgress_.pop_front();
    target_.RequeueBuffer(buffer);
  }
}
