// Base of the GenTL Data Stream module: the announced, input and output buffer lists under one
// recursive lock, the stream counters, the NEW_BUFFER event and the stream's own port.
// Transports derive from it, take buffers from the input list, fill them and deliver them.
//
// Lock order: the stream lock, then the event's lock; never the reverse.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "modules/tcModulePort.h"
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
  virtual GenTL::GC_ERROR StartAcquisition(int32_t startFlags, uint64_t numToAcquire) = 0;
  virtual GenTL::GC_ERROR StopAcquisition(int32_t stopFlags) = 0;
  virtual GenTL::GC_ERROR FlushQueue(int32_t operation);

  // The NEW_BUFFER event hands a buffer to the consumer: it leaves the output list.
  void RemoveFromOutput(tcBuffer* buffer);
  std::recursive_mutex& StreamMutex() { return lock_; }
  tcDevice* Parent() const { return parent_; }
  int Index() const { return index_; }

 protected:
  // Creates the buffer object for an announcement; transports return their own buffer class.
  virtual std::unique_ptr<tcBuffer> AllocBuffer(void* memory, uint64_t size, void* userPointer,
                                                bool owned);
  // Called under the stream lock for a buffer queued while acquisition runs.
  virtual void BufferQueued(tcBuffer* buffer) = 0;
  void AddFeatures(tcFeatureTable& table) override;
  // Also writes the description to a file when GENTL_DUMP_XML_TO_FILE is set.
  std::string BuildXml() override;

  // Delivery, step 1: takes the first buffer of the input list (null when it is empty).
  tcBuffer* TakeInputBuffer();
  bool HasInputBuffer();
  // Delivery, steps 2 and 3: puts the filled buffer at the end of the output list and queues
  // its new-buffer entry, in one critical section.
  void DeliverBuffer(tcBuffer* buffer);

  std::atomic<uint64_t> delivered_{0};
  std::atomic<uint64_t> underrun_{0};
  std::atomic<uint64_t> started_{0};
  std::atomic<size_t> payloadSize_{0};
  std::atomic<bool> grabbing_{false};
  std::atomic<int32_t> acquiring_{0};

 private:
  tcBuffer* FindAnnounced(void* handle);
  bool InList(const std::list<tcBuffer*>& list, const tcBuffer* buffer) const;
  GenTL::GC_ERROR Announce(std::unique_ptr<tcBuffer> buffer, void** handle);
  void DiscardOutput();
  // Takes the event away from the stream, wakes its waiters and destroys it.
  void DestroyEvent();
  void DestroyBuffers();

  std::string tlType_;
  std::atomic<bool> open_{false};
  std::list<std::unique_ptr<tcBuffer>> announced_;  // guarded by lock_
  std::list<tcBuffer*> input_;                      // guarded by lock_
  std::list<tcBuffer*> output_;                     // guarded by lock_
  tcDevice* parent_;
  int index_;
  std::unique_ptr<tcEventNewBuffer> event_;  // guarded by lock_
  std::recursive_mutex lock_;
};
