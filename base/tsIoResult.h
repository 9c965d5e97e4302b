// Outcome of a system call that transfers data: a count, or the errno that stopped it.
#pragma once

#include <cstddef>
#include <string>

struct tsIoResult {
  size_t count = 0;  // bytes (or datagrams, for batches) when error is 0
  int error = 0;     // errno of the failed call, 0 on success

  bool Ok() const { return error == 0; }
  // The system's text for `error`.
  std::string ErrorText() const;

  static tsIoResult Success(size_t count) { return {count, 0}; }
  static tsIoResult Failure(int error) { return {0, error}; }
};
