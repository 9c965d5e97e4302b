// One buffer of a USB3 Vision stream: its libusb transfers (leader, payload, finals, trailer)
// for the current transfer plan, the scratch block for final transfers beyond the user's
// memory, and the reception state of the frame being received into it.
#pragma once

#include <libusb.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/tcCountingSem.h"
#include "stream/tcBuffer.h"
#include "u3v/U3vStreamFormat.h"

class tcBufferU3V : public tcBuffer {
 public:
  enum class eTransferKind : uint8_t { kLeader, kPayload, kFinal1, kFinal2, kTrailer };

  // Where every transfer of the buffer goes and who completes it.
  struct tsTarget {
    libusb_device_handle* handle;
    unsigned char endpoint;
    libusb_transfer_cb_fn callback;
  };

  tcBufferU3V(tcDataStream* stream, void* memory, size_t size, void* userPointer, bool owned);
  ~tcBufferU3V() override;

  // Gives the buffer `plan` and builds its transfers (kept when the plan is unchanged); resets
  // the frame marks. False when an allocation fails. No transfer may be in flight.
  bool PrepareTransfers(const u3v::tsTransferPlan& plan, const tsTarget& target);
  // Submits leader, payloads, finals and trailer in this order, stopping at the first failure;
  // returns that libusb error, else 0.
  int Submit();
  // From now on the callbacks of the buffer's transfers report to a cancellation.
  void MarkCancelling() { cancelling_.store(inFlight_.load() != 0); }
  // Cancels the transfers still in flight, newest first, and waits up to `waitMs` for their
  // callbacks; then clears the frame marks and the plan. Never called on the event thread.
  void Cancel(uint32_t waitMs);
  // Called on the event thread when one of the buffer's transfers has completed for good; the
  // last thing a callback does with the buffer's transfer state.
  void TransferEnded();

  eTransferKind KindOf(const libusb_transfer* transfer) const;
  // The bytes a payload or final transfer must bring for a complete frame.
  uint32_t ExpectedLength(eTransferKind kind) const;
  const u3v::tsTransferPlan& Plan() const { return plan_; }
  int InFlight() const { return inFlight_.load(); }
  bool Cancelling() const { return cancelling_.load(); }
  const void* Semaphore() const { return &cancelled_; }
  // Copies the final transfer bytes that landed in the scratch block into the user's memory.
  void CopyFromScratch();

  // Frame state, touched by the callbacks of the buffer's own transfers only.
  uint32_t received = 0;
  bool leaderValid = false;
  bool frameInProgress = false;
  bool frameDone = false;

 private:
  struct tsTransferFree {
    void operator()(libusb_transfer* transfer) const { libusb_free_transfer(transfer); }
  };
  using tTransfer = std::unique_ptr<libusb_transfer, tsTransferFree>;

  libusb_transfer* AddPayload(unsigned char* data, uint32_t length, const tsTarget& target);
  void Fill(libusb_transfer* transfer, unsigned char* data, uint32_t length,
            const tsTarget& target);
  void ResetMarks();
  // A transfer whose callback never came stays allocated: libusb may still use it.
  void Abandon();

  tTransfer leader_;
  tTransfer trailer_;
  std::vector<uint8_t> leaderBlock_;
  std::vector<uint8_t> trailerBlock_;
  std::vector<tTransfer> payloads_;  // payload transfers, then final 1, then final 2
  libusb_transfer* final1_ = nullptr;
  libusb_transfer* final2_ = nullptr;
  u3v::tsTransferPlan plan_;
  std::array<uint8_t, u3v::kFinalTransferSize> scratch_{};
  std::atomic<int> inFlight_{0};
  std::atomic<bool> cancelling_{false};
  tcCountingSem cancelled_;  // posted by each callback while a cancellation waits
};
