// Base of the GenTL Data Stream module: the announced, input and output buffer lists under one
// recursive lock, the stream counters, the NEW_BUFFER event, the stream's own port and the
// acquisition state machine. Transports derive from it: they start filling in their start
// hook (usually on the acquisition thread this base owns), take buffers from the input list as
// leases, fill them and deliver them through DeliverBuffer.
//
// Lock order: the acquisition state mutex, then the stream lock, then the event's lock; never
// the reverse.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/tcMutex.h"
#include "modules/tcModulePort.h"
#include "stream/tcAcquisitionThread.h"
#include "stream/tcBufferLease.h"
#include "stream/tcEventProducer.h"

class tcBuffer;
class tcDevice;
class tcEventNewBuffer;

class tcDataStream : public tcEventProducer, public tcModulePort {
 public:
  tcDataStream(std::string id, std::string tlType, tcDevice* parent, int index);
  ~tcDataStream() override;

  GenTL::GC_ERROR RegisterEvent(int32_t eventId, void** event) override;
  GenTL::GC_ERROR UnregisterEvent(int32_t eventId) override;
  virtual bool IsOpen();
  virtual GenTL::GC_ERROR Close();
  virtual GenTL::GC_ERROR Open();
  virtual GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size);
  virtual GenTL::GC_ERROR AnnounceBuffer(void* memory, size_t size, void* userPointer,
                                         void** handle);
  virtual GenTL::GC_ERROR AllocAndAnnounceBuffer(size_t size, void* userPointer, void** handle);
  virtual GenTL::GC_ERROR GetBufferID(uint32_t index, void** handle);
  virtual GenTL::GC_ERROR RevokeBuffer(void* handle, void** memory, void** userPointer);
  virtual GenTL::GC_ERROR QueueBuffer(void* handle);
  virtual GenTL::GC_ERROR GetParentDev(void** device);
  virtual GenTL::GC_ERROR GetBufferInfo(void* handle, int32_t command, int32_t* type, void* buffer,
                                        size_t* size);
  // GC_ERR_RESOURCE_IN_USE while acquiring, GC_ERR_INVALID_PARAMETER for a count of 0 (in this
  // order); otherwise joins a thread that ended by itself, sets acquiring and grabbing and runs
  // the transport's start hook. Serialised with StopAcquisition.
  GenTL::GC_ERROR StartAcquisition(int32_t startFlags, uint64_t numToAcquire);
  // Idempotent: stops and joins the acquisition thread, runs the transport's stop hook and
  // clears acquiring and grabbing. Buffers stay where they are.
  GenTL::GC_ERROR StopAcquisition(int32_t stopFlags);
  virtual GenTL::GC_ERROR FlushQueue(int32_t operation);

  // The NEW_BUFFER event hands a buffer to the consumer: it leaves the output list.
  void RemoveFromOutput(tcBuffer* buffer);
  // An undelivered lease gives its buffer back: head of the input list, still queued.
  void ReturnToInput(tcBuffer* buffer);
  tcRecursiveMutex& StreamMutex() GENTL_RETURN_CAPABILITY(lock_) { return lock_; }
  tcDevice* Parent() const { return parent_; }
  int Index() const { return index_; }

 protected:
  // Creates the buffer object for an announcement; transports return their own buffer class.
  virtual std::unique_ptr<tcBuffer> AllocBuffer(void* memory, uint64_t size, void* userPointer,
                                                bool owned);
  // Called under the stream lock for a buffer queued while acquisition runs; must not start or
  // stop the acquisition.
  virtual void BufferQueued(tcBuffer*) {}
  // The transport's start, called with the acquisition state mutex held, after acquiring and
  // grabbing were set; a failure clears them again.
  virtual GenTL::GC_ERROR OnStartAcquisition(int32_t startFlags, uint64_t numToAcquire) = 0;
  // Called by a stop of a running acquisition before its thread is stopped (a camera told to
  // stop sending first).
  virtual void OnStopRequested() {}
  // The transport's stop, called after the acquisition thread was joined.
  virtual void OnStopAcquisition(int32_t /*stopFlags*/) {}
  void AddFeatures(tcFeatureTable& table) override;
  // Also writes the description to a file when GENTL_DUMP_XML_TO_FILE is set.
  std::string BuildXml() override GENTL_REQUIRES(AccessMutex());

  // Delivery, step 1: the first buffer of the input list as a lease (empty when the list is
  // empty); counts the buffer as started.
  tcBufferLease TakeInputBuffer();
  // The same, waiting until a buffer is queued; empty once stop is requested.
  tcBufferLease WaitForInputBuffer();
  // Takes `buffer` out of the input list wherever it stands, for transports that fill several
  // buffers at once; empty when it is not there (flushed meanwhile). Not counted as started.
  tcBufferLease TakeFromInput(tcBuffer* buffer);
  // The input list as it is now, oldest first.
  std::vector<tcBuffer*> InputBuffers();
  // Delivery, steps 2 to 4: the filled buffer goes to the end of the output list, is counted
  // as delivered, records whether it holds an image and gets its new-buffer entry, in one
  // critical section.
  void DeliverBuffer(tcBufferLease lease, bool imagePresent);
  // A buffer taken by the acquisition side and given up (a frame dropped): it goes to the end
  // of the input list, still queued.
  void AppendToInput(tcBuffer* buffer);
  // The lengths of the input and output lists.
  size_t QueuedCount();
  size_t AwaitingDeliveryCount();
  // The acquisition thread ends by itself (its budget is used up): acquiring and grabbing clear.
  void AcquisitionEnded();

  tcAcquisitionThread acquisition_;

  std::atomic<uint64_t> delivered_{0};
  std::atomic<uint64_t> underrun_{0};
  std::atomic<uint64_t> started_{0};
  std::atomic<size_t> payloadSize_{0};
  std::atomic<bool> grabbing_{false};
  std::atomic<int32_t> acquiring_{0};

 private:
  tcBuffer* FindAnnounced(void* handle) GENTL_REQUIRES(lock_);
  bool InList(const std::list<tcBuffer*>& list, const tcBuffer* buffer) const;
  GenTL::GC_ERROR Announce(std::unique_ptr<tcBuffer> buffer, void** handle);
  GenTL::GC_ERROR QueueLocked(tcBuffer* buffer) GENTL_REQUIRES(lock_);
  tcBufferLease TakeInputLocked() GENTL_REQUIRES(lock_);
  void DiscardOutput() GENTL_REQUIRES(lock_);
  // Takes the event away from the stream, wakes its waiters and destroys it.
  void DestroyEvent();
  void DestroyBuffers();

  std::string tlType_;
  std::atomic<bool> open_{false};
  std::list<std::unique_ptr<tcBuffer>> announced_ GENTL_GUARDED_BY(lock_);
  std::list<tcBuffer*> input_ GENTL_GUARDED_BY(lock_);
  std::list<tcBuffer*> output_ GENTL_GUARDED_BY(lock_);
  tcDevice* parent_;
  int index_;
  std::unique_ptr<tcEventNewBuffer> event_ GENTL_GUARDED_BY(lock_);
  // Re-entered by the new-buffer event, which takes it around its own read (see LockSource).
  tcRecursiveMutex lock_;
  std::condition_variable_any inputQueued_;  // with lock_: a buffer was queued, or stop
  tcMutex acquisitionMutex_;                 // serialises start and stop
};
