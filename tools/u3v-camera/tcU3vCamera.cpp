// GenCP of the emulated camera: READMEM and WRITEMEM on its memory, little-endian, request ids
// echoed, acknowledges delayed behind a PENDING_ACK or refused with a chosen status on demand.
#include "tcU3vCamera.h"

#include <cerrno>
#include <cstring>

#include "U3vDescriptors.h"

namespace {

constexpr uint16_t kAckRequested = 0x4000;
constexpr size_t kHeaderSize = 12;

template <typename T>
T Load(std::span<const uint8_t> bytes, size_t offset) {
  T value{};
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

template <typename T>
void Append(std::vector<uint8_t>& out, T value) {
  const size_t at = out.size();
  out.resize(at + sizeof value);
  std::memcpy(out.data() + at, &value, sizeof value);
}

std::vector<uint8_t> AckHeader(uint16_t status, uint16_t commandId, size_t scdLength,
                               uint16_t requestId) {
  std::vector<uint8_t> ack;
  Append(ack, tcU3vCamera::kCommandPrefix);
  Append(ack, status);
  Append(ack, commandId);
  Append(ack, static_cast<uint16_t>(scdLength));
  Append(ack, requestId);
  return ack;
}

}  // namespace

tcU3vCamera::tcU3vCamera(const tsU3vCameraOptions& options)
    : options_(options),
      registers_(options),
      pendingAcks_(options.pendingAcks),
      pendingTimeoutMs_(options.pendingTimeoutMs),
      pendingDelayMs_(options.pendingDelayMs),
      streamer_(std::make_unique<tcU3vStreamer>()),
      timer_([this] { WakeUp(); }) {
  for (const auto& [address, status] : options.refusals)
    refusals_[address] = status;
}

tcU3vCamera::~tcU3vCamera() = default;

void tcU3vCamera::SetWake(std::function<void()> wake) {
  std::lock_guard lock(mutex_);
  wake_ = std::move(wake);
}

void tcU3vCamera::WakeUp() {
  std::function<void()> wake;
  {
    std::lock_guard lock(mutex_);
    wake = wake_;
  }
  if (wake) wake();
}

void tcU3vCamera::Receive(uint8_t endpoint, std::span<const uint8_t> data) {
  if (endpoint != kU3vCommandEndpoint) return;
  std::lock_guard lock(mutex_);
  ++commands_;
  Answer(data);
}

void tcU3vCamera::Answer(std::span<const uint8_t> command) {
  if (command.size() < kHeaderSize) return;  // nothing to answer to
  const auto flags = Load<uint16_t>(command, 4);
  const auto commandId = Load<uint16_t>(command, 6);
  const auto scdLength = Load<uint16_t>(command, 8);
  const auto requestId = Load<uint16_t>(command, 10);
  lastRequestId_ = requestId;
  std::span<const uint8_t> scd = command.subspan(kHeaderSize);
  Record(commandId, requestId, scd);
  std::vector<uint8_t> data;
  uint16_t status = 0;
  if (Load<uint32_t>(command, 0) != kCommandPrefix || scdLength > scd.size())
    status = kInvalidHeader;
  else if (commandId == kReadMem)
    status = ReadMem(scd.first(scdLength), &data);
  else if (commandId == kWriteMem)
    status = WriteMem(scd.first(scdLength), &data);
  else
    status = kNotImplemented;
  if ((flags & kAckRequested) == 0) return;
  auto due = tcWakeTimer::tcClock::now();
  if (pendingAcks_ > 0) {
    --pendingAcks_;
    std::vector<uint8_t> pending = AckHeader(0, kPendingAck, 4, requestId);
    Append(pending, uint16_t{0});
    Append(pending, pendingTimeoutMs_);
    Queue(std::move(pending), due);
    due += std::chrono::milliseconds(pendingDelayMs_);
  }
  std::vector<uint8_t> ack =
      AckHeader(status, static_cast<uint16_t>(commandId + 1), data.size(), requestId);
  ack.insert(ack.end(), data.begin(), data.end());
  Queue(std::move(ack), due);
}

uint16_t tcU3vCamera::ReadMem(std::span<const uint8_t> scd, std::vector<uint8_t>* data) {
  if (scd.size() < 12) return kInvalidParameter;
  const auto address = Load<uint64_t>(scd, 0);
  const auto length = Load<uint16_t>(scd, 10);
  if (kHeaderSize + length > options_.maxAckLength) return kInvalidParameter;
  if (uint16_t status = RefusalFor(address, length)) return status;
  std::vector<uint8_t> bytes(length);
  if (uint16_t status = registers_.Read(address, bytes)) return status;
  *data = std::move(bytes);
  return 0;
}

// The acknowledge always carries its 4 bytes (reserved, bytes written), also with an error.
uint16_t tcU3vCamera::WriteMem(std::span<const uint8_t> scd, std::vector<uint8_t>* data) {
  Append(*data, uint16_t{0});
  Append(*data, uint16_t{0});
  if (scd.size() < 8) return kInvalidParameter;
  const auto address = Load<uint64_t>(scd, 0);
  std::span<const uint8_t> bytes = scd.subspan(8);
  if (kHeaderSize + scd.size() > options_.maxCommandLength) return kInvalidParameter;
  if (uint16_t status = RefusalFor(address, bytes.size())) return status;
  if (uint16_t status = registers_.Write(address, bytes)) return status;
  const auto written = static_cast<uint16_t>(bytes.size());
  std::memcpy(data->data() + 2, &written, sizeof written);
  Act(address);
  return 0;
}

// Registers that do something when written.
void tcU3vCamera::Act(uint64_t address) {
  if (address == tcU3vRegisters::kAcquisitionStart &&
      registers_.Get(tcU3vRegisters::kAcquisitionStart) == 1) {
    registers_.Set(tcU3vRegisters::kAcquisitionActive, 1);
  } else if (address == tcU3vRegisters::kAcquisitionStop &&
             registers_.Get(tcU3vRegisters::kAcquisitionStop) == 1) {
    registers_.Set(tcU3vRegisters::kAcquisitionActive, 0);
    streamer_->Abandon();
  } else if (address == tcU3vRegisters::kTimestampLatch &&
             registers_.Get(tcU3vRegisters::kTimestampLatch) & 1) {
    auto now = tcWakeTimer::tcClock::now() - start_;
    registers_.Set(tcU3vRegisters::kTimestamp, static_cast<uint64_t>(now.count()), 8);
  }
}

uint16_t tcU3vCamera::RefusalFor(uint64_t address, size_t size) const {
  for (const auto& [refused, status] : refusals_) {
    if (refused >= address && refused - address < std::max<size_t>(size, 1)) return status;
  }
  return 0;
}

void tcU3vCamera::Queue(std::vector<uint8_t> ack, tcWakeTimer::tcClock::time_point due) {
  acks_.push_back({std::move(ack), due});
  if (due > tcWakeTimer::tcClock::now()) timer_.WakeAt(due);
}

std::optional<tsInTransfer> tcU3vCamera::Send(uint8_t endpoint, size_t capacity) {
  std::lock_guard lock(mutex_);
  if (endpoint == kU3vStreamEndpoint) {
    std::optional<tcWakeTimer::tcClock::time_point> wakeAt;
    auto transfer = streamer_->Send(registers_, capacity, &wakeAt);
    if (wakeAt) timer_.WakeAt(*wakeAt);
    return transfer;
  }
  if (endpoint != kU3vAckEndpoint || acks_.empty()) return std::nullopt;
  if (acks_.front().due > tcWakeTimer::tcClock::now()) return std::nullopt;
  tsInTransfer transfer{std::move(acks_.front().bytes), 0};
  acks_.pop_front();
  if (transfer.bytes.size() > capacity) {
    transfer.bytes.resize(capacity);
    transfer.status = -EOVERFLOW;
  }
  return transfer;
}

void tcU3vCamera::Refuse(uint64_t address, uint16_t status) {
  std::lock_guard lock(mutex_);
  if (status == 0)
    refusals_.erase(address);
  else
    refusals_[address] = status;
}

void tcU3vCamera::PendNext(int count, uint16_t timeoutMs, uint32_t delayMs) {
  std::lock_guard lock(mutex_);
  pendingAcks_ = count;
  pendingTimeoutMs_ = timeoutMs;
  pendingDelayMs_ = delayMs;
}

void tcU3vCamera::SetTrailerStatus(uint16_t status) {
  std::lock_guard lock(mutex_);
  streamer_->SetTrailerStatus(status);
}

void tcU3vCamera::FailPayloads(int count) {
  std::lock_guard lock(mutex_);
  streamer_->FailPayloads(count);
}

void tcU3vCamera::ShortenPayloads(int count) {
  std::lock_guard lock(mutex_);
  streamer_->ShortenPayloads(count);
}

void tcU3vCamera::AbandonFrame() {
  std::lock_guard lock(mutex_);
  streamer_->Abandon();
}

uint64_t tcU3vCamera::FramesSent() const {
  std::lock_guard lock(mutex_);
  return streamer_->FramesSent();
}

void tcU3vCamera::Record(uint16_t commandId, uint16_t requestId, std::span<const uint8_t> scd) {
  tsCommandSeen seen{commandId, requestId, 0, 0};
  if (scd.size() >= 8) seen.address = Load<uint64_t>(scd, 0);
  if (commandId == kReadMem && scd.size() >= 12) seen.length = Load<uint16_t>(scd, 10);
  if (commandId == kWriteMem && scd.size() >= 8)
    seen.length = static_cast<uint16_t>(scd.size() - 8);
  seen_.push_back(seen);
}

std::vector<tcU3vCamera::tsCommandSeen> tcU3vCamera::CommandsSeen() const {
  std::lock_guard lock(mutex_);
  return seen_;
}

uint32_t tcU3vCamera::CommandsReceived() const {
  std::lock_guard lock(mutex_);
  return commands_;
}

uint16_t tcU3vCamera::LastRequestId() const {
  std::lock_guard lock(mutex_);
  return lastRequestId_;
}

uint64_t tcU3vCamera::Register(uint64_t address, size_t size) const {
  std::lock_guard lock(mutex_);
  return registers_.Get(address, size);
}

void tcU3vCamera::SetRegister(uint64_t address, uint64_t value, size_t size) {
  std::lock_guard lock(mutex_);
  registers_.Set(address, value, size);
}
