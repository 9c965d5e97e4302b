// Frames of the emulated camera: a test pattern from the simulated camera's generators with the
// block id written into its first 8 bytes, cut into the transfers the SIRM asks for.
#include "tcU3vStreamer.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

#include "sim/PatternGenerators.h"

namespace {

using R = tcU3vRegisters;
constexpr uint16_t kDataDiscarded = 0xA100;

template <typename T>
void Put(std::vector<uint8_t>& out, size_t offset, T value) {
  std::memcpy(out.data() + offset, &value, sizeof value);
}

uint32_t Get32(const tcU3vRegisters& registers, uint64_t address) {
  return static_cast<uint32_t>(registers.Get(address));
}

}  // namespace

tcU3vStreamer::tcU3vStreamer() : patterns_(MakePatternGenerators()) {}

tcU3vStreamer::~tcU3vStreamer() = default;

std::optional<tsInTransfer> tcU3vStreamer::Send(tcU3vRegisters& registers, size_t capacity,
                                                std::optional<tcClock::time_point>* wakeAt) {
  if (capacity == 0) return tsInTransfer{};  // a zero-length request completes at once
  if ((registers.Get(R::kSiControl) & 1) == 0 || registers.Get(R::kAcquisitionActive) == 0) {
    Abandon();
    return std::nullopt;
  }
  if (next_ >= segments_.size()) {
    auto now = tcClock::now();
    if (now < nextFrame_) {
      *wakeAt = nextFrame_;
      return std::nullopt;
    }
    float rate = std::bit_cast<float>(Get32(registers, R::kFrameRate));
    auto period = std::chrono::duration_cast<tcClock::duration>(
        std::chrono::duration<double>(1.0 / std::clamp(rate, 1.0f, 1000.0f)));
    nextFrame_ = std::max(nextFrame_ + period, now);
    frameTime_ = now;
    StartFrame(registers);
  }
  const tsSegment segment = segments_[next_++];
  tsInTransfer transfer;
  if (segment.kind == tsSegment::eKind::kLeader) {
    transfer.bytes = Leader(registers);
  } else if (segment.kind == tsSegment::eKind::kTrailer) {
    transfer.bytes = Trailer(registers);
    ++blockId_;
    ++framesSent_;
    if (registers.Get(R::kAcquisitionMode) == 1) registers.Set(R::kAcquisitionActive, 0);
  } else {
    transfer = PayloadTransfer(segment, capacity);
  }
  if (transfer.bytes.size() > capacity) {
    transfer.bytes.resize(capacity);
    transfer.status = -EOVERFLOW;
  }
  return transfer;
}

void tcU3vStreamer::Abandon() {
  next_ = segments_.size();
}

void tcU3vStreamer::StartFrame(tcU3vRegisters& registers) {
  DrawPayload(registers);
  const size_t size = payload_.size();
  const size_t transferSize = Get32(registers, R::kSiPayloadTransferSize);
  const size_t count = Get32(registers, R::kSiPayloadTransferCount);
  segments_.clear();
  segments_.push_back({0, kLeaderSize, tsSegment::eKind::kLeader});
  size_t offset = 0;
  auto add = [&](size_t most) {
    size_t part = std::min(most, size - offset);
    if (part == 0) return;
    segments_.push_back({offset, part, tsSegment::eKind::kPayload});
    offset += part;
  };
  for (size_t i = 0; i < count; ++i)
    add(transferSize);
  add(Get32(registers, R::kSiFinalTransfer1Size));
  add(Get32(registers, R::kSiFinalTransfer2Size));
  segments_.push_back({0, kTrailerSize, tsSegment::eKind::kTrailer});
  next_ = 0;
  sentPayload_ = 0;
}

void tcU3vStreamer::DrawPayload(tcU3vRegisters& registers) {
  tsPatternParams params;
  params.pixelFormat = Get32(registers, R::kPixelFormat);
  params.width = Get32(registers, R::kWidth);
  params.height = Get32(registers, R::kHeight);
  params.offsetX = Get32(registers, R::kOffsetX);
  params.offsetY = Get32(registers, R::kOffsetY);
  params.sensorWidth = Get32(registers, R::kSensorWidth);
  params.sensorHeight = Get32(registers, R::kSensorHeight);
  params.frameId = blockId_;
  payload_.assign(registers.Get(R::kSiRequiredPayloadSize, 8), 0);
  auto pattern = patterns_.find(Get32(registers, R::kTestPattern));
  if (pattern != patterns_.end()) pattern->second->Draw(params, payload_.data(), payload_.size());
  std::memcpy(payload_.data(), &blockId_, std::min(sizeof blockId_, payload_.size()));
}

std::vector<uint8_t> tcU3vStreamer::Leader(const tcU3vRegisters& registers) const {
  std::vector<uint8_t> leader(kLeaderSize, 0);
  Put(leader, 0, kLeaderPrefix);
  Put(leader, 6, static_cast<uint16_t>(kLeaderSize));
  Put(leader, 8, blockId_);
  Put(leader, 18, uint16_t{1});  // image
  Put(leader, 20, static_cast<uint64_t>((frameTime_ - start_).count()));
  Put(leader, 28, Get32(registers, R::kPixelFormat));
  Put(leader, 32, Get32(registers, R::kWidth));
  Put(leader, 36, Get32(registers, R::kHeight));
  Put(leader, 40, Get32(registers, R::kOffsetX));
  Put(leader, 44, Get32(registers, R::kOffsetY));
  return leader;
}

std::vector<uint8_t> tcU3vStreamer::Trailer(const tcU3vRegisters& registers) const {
  std::vector<uint8_t> trailer(kTrailerSize, 0);
  uint16_t status = trailerStatus_;
  if (status == 0 && sentPayload_ < payload_.size()) status = kDataDiscarded;
  Put(trailer, 0, kTrailerPrefix);
  Put(trailer, 6, static_cast<uint16_t>(kTrailerSize));
  Put(trailer, 8, blockId_);
  Put(trailer, 16, status);
  Put(trailer, 20, static_cast<uint64_t>(sentPayload_));
  Put(trailer, 28, Get32(registers, R::kHeight));
  return trailer;
}

tsInTransfer tcU3vStreamer::PayloadTransfer(const tsSegment& segment, size_t capacity) {
  tsInTransfer transfer;
  if (failPayloads_ > 0) {
    --failPayloads_;
    transfer.status = -EPROTO;
    return transfer;
  }
  size_t size = std::min(segment.size, capacity);
  if (shortPayloads_ > 0) {
    --shortPayloads_;
    size /= 2;
  }
  auto first = payload_.begin() + static_cast<ptrdiff_t>(segment.offset);
  transfer.bytes.assign(first, first + static_cast<ptrdiff_t>(size));
  if (segment.size > capacity) transfer.status = -EOVERFLOW;
  sentPayload_ += size;
  return transfer;
}
