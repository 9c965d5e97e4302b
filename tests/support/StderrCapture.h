// Captures everything written to standard error (file descriptor 2) between construction and
// Text(), so tests can check the producer's log lines by their exact text.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <string>

class StderrCapture {
 public:
  StderrCapture() {
    fflush(stderr);
    file_ = memfd_create("stderr-capture", 0);
    saved_ = dup(STDERR_FILENO);
    dup2(file_, STDERR_FILENO);
  }
  ~StderrCapture() { Restore(); }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  // Stops capturing (once) and returns what was written.
  std::string Text() {
    Restore();
    return text_;
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    saved_ = -1;
    lseek(file_, 0, SEEK_SET);
    char chunk[4096];
    for (ssize_t n; (n = read(file_, chunk, sizeof chunk)) > 0;)
      text_.append(chunk, n);
    close(file_);
  }

  int file_ = -1;
  int saved_ = -1;
  std::string text_;
};
