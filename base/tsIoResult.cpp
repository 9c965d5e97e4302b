// Outcome of a data-transferring system call.
#include "base/tsIoResult.h"

#include "base/Platform.h"

std::string tsIoResult::ErrorText() const {
  return platform::ErrorText(error);
}
