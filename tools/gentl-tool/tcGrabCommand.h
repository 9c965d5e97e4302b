// gentl-tool grab: sets registers and features, streams a number of frames or for a time,
// saves chosen frames as PNG and reports rates and losses.
#pragma once

#include <cstdint>
#include <string>

#include "tcArguments.h"
#include "tcFrameSaver.h"
#include "tcGrabProgress.h"

class tcAcquisition;
class tcPortAccess;

class tcGrabCommand {
 public:
  // Throws a usage error for bad arguments before anything is loaded.
  explicit tcGrabCommand(const tcArguments& arguments);
  int Run();

 private:
  // Applies --set ADDRESS=VALUE and --feature NAME=VALUE in command-line order.
  void ApplySettings(tcPortAccess& remote);
  // Streams until the count is reached, the duration is over or Ctrl-C.
  void Stream(tcAcquisition& acquisition, tcGrabProgress& progress);
  bool Done(uint64_t frames, double seconds) const;

  const tcArguments& arguments_;
  tcFrameSaver saver_;
  bool byCount_ = true;
  uint64_t count_ = 10;
  double seconds_ = 0;
  uint32_t buffers_ = 4;
  uint64_t timeoutMs_ = 5000;
  bool quiet_ = false;
};
