// A buffer taken from a stream's input list by its acquisition side. The lease owns the
// buffer until it is delivered; a lease that ends undelivered (stop, error, a frame given up)
// puts the buffer back at the head of the input list, so no path can lose a buffer.
#pragma once

class tcBuffer;
class tcDataStream;

class tcBufferLease {
 public:
  tcBufferLease() = default;
  tcBufferLease(tcDataStream* stream, tcBuffer* buffer) : stream_(stream), buffer_(buffer) {}
  ~tcBufferLease();
  tcBufferLease(tcBufferLease&& other) noexcept;
  tcBufferLease& operator=(tcBufferLease&& other) noexcept;
  tcBufferLease(const tcBufferLease&) = delete;
  tcBufferLease& operator=(const tcBufferLease&) = delete;

  explicit operator bool() const { return buffer_ != nullptr; }
  tcBuffer* Get() const { return buffer_; }
  tcBuffer* operator->() const { return buffer_; }
  // Ends the lease without returning the buffer; the caller now accounts for it.
  tcBuffer* Release();

 private:
  void Return();

  tcDataStream* stream_ = nullptr;
  tcBuffer* buffer_ = nullptr;
};
