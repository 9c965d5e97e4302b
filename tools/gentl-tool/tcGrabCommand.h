// gentl-tool grab: sets registers and features, starts the stream and the camera, streams a
// number of frames or for a time, saves chosen frames as PNG and reports rates and losses.
#pragma once

#include <cstdint>
#include <string>

#include "GenTLLibrary.h"
#include "tcArguments.h"
#include "tcFrameSaver.h"
#include "tcGrabProgress.h"

class tcAcquisition;
class tcGenApi;
class tcPortAccess;
class tcProducer;

class tcGrabCommand {
 public:
  // Throws a usage error for bad arguments before anything is loaded.
  explicit tcGrabCommand(const tcArguments& arguments);
  int Run();

 private:
  // Applies --set ADDRESS=VALUE and --feature NAME=VALUE in command-line order.
  void ApplySettings(tcPortAccess& remote, const tcGenApi& camera);
  // The stream's payload size, else the camera's PayloadSize feature.
  static size_t PayloadSize(tcProducer& producer, GenTL::DS_HANDLE stream, const tcGenApi& camera);
  // Executes the camera's Command `name` when it has one; on the error path (`quietly`)
  // without a report and without letting a failure replace the error being reported.
  void RunCameraCommand(const tcGenApi& camera, const char* name, bool quietly) const;
  // Streams until the count is reached, the duration is over or Ctrl-C.
  void Stream(tcAcquisition& acquisition, tcGrabProgress& progress);
  bool Done(uint64_t frames, double seconds) const;
  // "Grabbing 10 frames from SimCam with 4 buffers of 2073600 bytes", unless --quiet.
  void Announce(const std::string& deviceId, size_t payloadSize) const;
  // The closing summary and the PNG files written.
  void Summarize(const tcGrabProgress& progress, uint64_t lost) const;

  const tcArguments& arguments_;
  tcFrameSaver saver_;
  bool byCount_ = true;
  uint64_t count_ = 10;
  double seconds_ = 0;
  uint32_t buffers_ = 4;
  uint64_t timeoutMs_ = 5000;
  bool quiet_ = false;
};
