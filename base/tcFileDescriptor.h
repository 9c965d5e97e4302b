// Move-only owner of a file descriptor: closes it on destruction, once.
#pragma once

class tcFileDescriptor {
 public:
  tcFileDescriptor() = default;
  // Takes ownership of `fd` (a negative value means none).
  explicit tcFileDescriptor(int fd) : fd_(fd < 0 ? -1 : fd) {}
  ~tcFileDescriptor();
  tcFileDescriptor(tcFileDescriptor&& other) noexcept;
  tcFileDescriptor& operator=(tcFileDescriptor&& other) noexcept;
  tcFileDescriptor(const tcFileDescriptor&) = delete;
  tcFileDescriptor& operator=(const tcFileDescriptor&) = delete;

  bool IsValid() const { return fd_ >= 0; }
  int Get() const { return fd_; }
  // Gives up ownership without closing; the owner is empty afterwards.
  int Release();
  // Closes the descriptor held (if any) and takes `fd` instead.
  void Reset(int fd = -1);

 private:
  int fd_ = -1;
};
