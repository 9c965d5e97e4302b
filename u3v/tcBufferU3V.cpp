// tcBufferU3V: building, submitting and cancelling the transfers of one buffer.
#include "u3v/tcBufferU3V.h"

#include <chrono>
#include <cstring>

#include "base/Log.h"

using namespace u3v;

tcBufferU3V::tcBufferU3V(tcDataStream* stream, void* memory, size_t size, void* userPointer,
                         bool owned)
    : tcBuffer(stream, memory, size, userPointer, owned, "U3V"),
      leader_(libusb_alloc_transfer(0)),
      trailer_(libusb_alloc_transfer(0)) {
  cancelled_.Create(0);
}

tcBufferU3V::~tcBufferU3V() {
  if (inFlight_.load() != 0) Abandon();
}

void tcBufferU3V::Abandon() {
  GENTL_LOG(kLogError, "buffer: %p leaks %d transfers still held by libusb", this,
            inFlight_.load());
  (void)leader_.release();
  (void)trailer_.release();
  for (tTransfer& transfer : payloads_)
    (void)transfer.release();
  payloads_.clear();
}

void tcBufferU3V::Fill(libusb_transfer* transfer, unsigned char* data, uint32_t length,
                       const tsTarget& target) {
  libusb_fill_bulk_transfer(transfer, target.handle, target.endpoint, data,
                            static_cast<int>(length), target.callback, this, 0);
  transfer->flags = 0;
}

libusb_transfer* tcBufferU3V::AddPayload(unsigned char* data, uint32_t length,
                                         const tsTarget& target) {
  tTransfer transfer(libusb_alloc_transfer(0));
  if (transfer == nullptr) return nullptr;
  Fill(transfer.get(), data, length, target);
  payloads_.push_back(std::move(transfer));
  return payloads_.back().get();
}

void tcBufferU3V::ResetMarks() {
  received = 0;
  leaderValid = false;
  frameInProgress = false;
  frameDone = false;
  incomplete = false;
}

bool tcBufferU3V::PrepareTransfers(const tsTransferPlan& plan, const tsTarget& target) {
  ResetMarks();
  if (plan == plan_ && !payloads_.empty()) return true;
  payloads_.clear();
  final1_ = final2_ = nullptr;
  plan_ = plan;
  plan_.leaderSize = std::max(plan.leaderSize, kLeaderMinSize);
  plan_.trailerSize = std::max(plan.trailerSize, kTrailerMinSize);
  leaderBlock_.assign(plan_.leaderSize, 0);
  trailerBlock_.assign(plan_.trailerSize, 0);
  if (leader_ == nullptr || trailer_ == nullptr) return false;
  Fill(leader_.get(), leaderBlock_.data(), plan_.leaderSize, target);
  Fill(trailer_.get(), trailerBlock_.data(), plan_.trailerSize, target);
  auto* base = static_cast<unsigned char*>(memory);
  // A payload transfer of 0 bytes is never submitted: the camera sends nothing for it.
  for (uint32_t i = 0; i < plan_.count && plan_.size != 0; ++i) {
    if (AddPayload(base + size_t{i} * plan_.size, plan_.size, target) == nullptr) return false;
  }
  unsigned char* tail = base + size_t{plan_.count} * plan_.size;
  if (plan_.final1 != 0) {
    final1_ = plan_.final1External ? AddPayload(scratch_.data(), kFinalTransferSize, target)
                                   : AddPayload(tail, plan_.final1, target);
    if (final1_ == nullptr) return false;
  }
  if (plan_.final2 != 0) {
    final2_ = AddPayload(scratch_.data(), kFinalTransferSize, target);
    if (final2_ == nullptr) return false;
  }
  return true;
}

int tcBufferU3V::Submit() {
  auto submit = [this](libusb_transfer* transfer) {
    inFlight_.fetch_add(1);
    int result = libusb_submit_transfer(transfer);
    if (result != 0) inFlight_.fetch_sub(1);
    return result;
  };
  if (int result = submit(leader_.get()); result != 0) return result;
  for (tTransfer& transfer : payloads_) {
    if (int result = submit(transfer.get()); result != 0) return result;
  }
  return submit(trailer_.get());
}

// The count goes down last: once it is 0 a cancellation may return and the buffer go, so the
// semaphore is posted before (a waiter that wakes too early sees the count and waits again).
void tcBufferU3V::TransferEnded() {
  if (cancelling_.load()) cancelled_.Post();
  inFlight_.fetch_sub(1);
}

void tcBufferU3V::Cancel(uint32_t waitMs) {
  if (inFlight_.load() != 0) {
    cancelling_.store(true);
    auto cancel = [this](libusb_transfer* transfer) {
      int result = libusb_cancel_transfer(transfer);
      if (result == 0) {
        GENTL_LOG(kLogDebug, "buffer: %p acquiring semaphore %p", this, &cancelled_);
      } else if (result != LIBUSB_ERROR_NOT_FOUND) {
        GENTL_LOG(kLogWarning, "libusb_cancel_transfer() returned error code: %d\n", result);
      }
    };
    cancel(trailer_.get());
    for (auto it = payloads_.rbegin(); it != payloads_.rend(); ++it)
      cancel(it->get());
    cancel(leader_.get());
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
    while (inFlight_.load() != 0 && std::chrono::steady_clock::now() < deadline)
      cancelled_.Wait(10);
    if (inFlight_.load() != 0) Abandon();
    cancelling_.store(false);
  }
  ResetMarks();
  plan_ = {};
}

tcBufferU3V::eTransferKind tcBufferU3V::KindOf(const libusb_transfer* transfer) const {
  if (transfer == leader_.get()) return eTransferKind::kLeader;
  if (transfer == trailer_.get()) return eTransferKind::kTrailer;
  if (transfer == final1_) return eTransferKind::kFinal1;
  if (transfer == final2_) return eTransferKind::kFinal2;
  return eTransferKind::kPayload;
}

uint32_t tcBufferU3V::ExpectedLength(eTransferKind kind) const {
  switch (kind) {
    case eTransferKind::kFinal1:
      return plan_.final1;
    case eTransferKind::kFinal2:
      return plan_.final2;
    case eTransferKind::kPayload:
      return plan_.size;
    default:
      return 0;
  }
}

void tcBufferU3V::CopyFromScratch() {
  auto* tail = static_cast<uint8_t*>(memory) + size_t{plan_.count} * plan_.size;
  if (plan_.final2 != 0) {
    memcpy(tail + plan_.final1, scratch_.data(), plan_.final2);
  } else if (plan_.final1External) {
    memcpy(tail, scratch_.data(), plan_.final1);
  }
}
