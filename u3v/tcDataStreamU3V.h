// The data stream of one USB3 Vision streaming interface: programs the camera's streaming
// registers at start, receives each queued buffer as a plan of asynchronous bulk transfers
// completed on the shared libusb event thread, and cancels them on flush and close.
#pragma once

#include <libusb.h>

#include <cstdint>
#include <vector>

#include "base/tcMutex.h"
#include "stream/tcDataStream.h"
#include "u3v/U3vStreamFormat.h"

class tcBufferU3V;
class tcPortU3V;

class tcDataStreamU3V : public tcDataStream {
 public:
  // SBRM address in the ABRM, SIRM address in the SBRM.
  static constexpr uint64_t ABRM_SBRMADDRESS_OFFSET = 0x1D8;
  static constexpr uint64_t SBRM_SIRMADDRESS_OFFSET = 0x20;

  // Reads the SIRM address through `port`; `handle` stays the device's.
  tcDataStreamU3V(std::string id, tcDevice* parent, int index, tcPortU3V* port,
                  libusb_device_handle* handle, const libusb_config_descriptor* config,
                  uint8_t interfaceNumber);
  // Stops acquisition and cancels every transfer still in flight.
  ~tcDataStreamU3V() override;

  GenTL::GC_ERROR FlushQueue(int32_t operation) override;
  // Waits while a flush or close cancels transfers, so that no buffer goes under it.
  GenTL::GC_ERROR RevokeBuffer(void* handle, void** memory, void** userPointer) override;
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;

  // Completion of one of `buffer`'s transfers, on the event thread.
  void HandleCallback(tcBufferU3V* buffer, libusb_transfer* transfer);
  // Cancels `buffer`'s transfers in flight and waits for their callbacks; never called on the
  // event thread or with the stream mutex held.
  void CancelTransfer(tcBuffer* buffer);

 protected:
  std::unique_ptr<tcBuffer> AllocBuffer(void* memory, uint64_t size, void* userPointer,
                                        bool owned) override;
  // Called with the stream mutex held.
  void BufferQueued(tcBuffer* buffer) override;
  GenTL::GC_ERROR OnStartAcquisition(int32_t startFlags, uint64_t numToAcquire) override;
  void OnStopAcquisition(int32_t stopFlags) override;

 private:
  static void LIBUSB_CALL OnTransfer(libusb_transfer* transfer);
  void FindEndpoint(const libusb_config_descriptor* config);
  GenTL::GC_ERROR ReadSirm(uint64_t offset, size_t size, uint64_t* value);
  GenTL::GC_ERROR WriteSirm(uint64_t offset, uint32_t value);
  void ResetEndpoint();
  // Reads the required sizes, writes the maximum sizes and the plan; fills `plan`.
  GenTL::GC_ERROR ProgramSirm(u3v::tsTransferPlan* plan, uint64_t* payload);
  bool BuffersHold(uint64_t payload);
  // Prepares and submits one buffer with the current plan; the libusb result.
  // Called with the stream mutex held.
  int HandOver(tcBuffer* buffer);
  // Cancels the transfers of every buffer in the input list, newest first, without holding the
  // stream mutex while waiting.
  void CancelInput();
  void OnLeader(tcBufferU3V* buffer, const libusb_transfer* transfer);
  void OnTrailer(tcBufferU3V* buffer, const libusb_transfer* transfer);
  void OnPayload(tcBufferU3V* buffer, const libusb_transfer* transfer);

  tcPortU3V* port_;
  libusb_device_handle* handle_;
  uint8_t interfaceNumber_;
  unsigned char endpoint_ = 0;
  uint64_t sirm_ = 0;
  u3v::tsTransferPlan plan_;  // guarded by the stream mutex
  bool planReady_ = false;    // guarded by the stream mutex: queued buffers are handed over
  tcMutex cancelMutex_;       // one cancellation of the input list at a time, and no revoke
};
