// The grab command: settings, streaming loop, frame saving and summary.
#include "tcGrabCommand.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "GenTLErrors.h"
#include "Numbers.h"
#include "sim/PixelFormat.h"
#include "tcAcquisition.h"
#include "tcFeature.h"
#include "tcFeatureSetting.h"
#include "tcFeatureWriter.h"
#include "tcGenApi.h"
#include "tcPortAccess.h"
#include "tcProducer.h"
#include "tcRegisterCommand.h"
#include "tcSession.h"
#include "tcToolError.h"

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void OnInterrupt(int) {
  gInterrupted = 1;
}

// Waits for a buffer in short slices so that Ctrl-C and the end of a duration are noticed.
constexpr uint64_t kWaitSliceMs = 100;

double ParseSeconds(const std::string& text) {
  size_t used = 0;
  double seconds = 0;
  try {
    seconds = std::stod(text, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used != text.size() || !(seconds > 0) || seconds > 1e7) {
    throw UsageError("--duration must be a positive number of seconds, not \"" + text + "\".");
  }
  return seconds;
}

// "ADDRESS=VALUE" -> {ADDRESS, VALUE}.
std::pair<std::string, std::string> SplitSetting(const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
    throw UsageError("--set needs ADDRESS=VALUE, not \"" + text + "\".");
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

// "frame ID 7, 640x480 RGB8, 921600 bytes"
std::string Describe(const tsFrame& frame) {
  const tsPixelFormat* format = frame.pixelFormat > UINT32_MAX
                                    ? nullptr
                                    : FindPixelFormat(static_cast<uint32_t>(frame.pixelFormat));
  const std::string formatName =
      format != nullptr ? std::string(format->name) : "pixel format " + Hex(frame.pixelFormat, 8);
  return "frame ID " + std::to_string(frame.frameId) + ", " + std::to_string(frame.width) + "x" +
         std::to_string(frame.height) + " " + formatName + ", " + std::to_string(frame.filled) +
         " bytes";
}

}  // namespace

tcGrabCommand::tcGrabCommand(const tcArguments& arguments)
    : arguments_(arguments), saver_(arguments) {
  arguments.Check({"--interface", "--device", "--stream", "--count", "--duration", "--buffers",
                   "--save-every", "--save", "--out", "--set", "--feature", "--timeout"},
                  0, 0, "");
  if (arguments.Has("--count") && arguments.Has("--duration")) {
    throw UsageError("--count and --duration exclude each other.");
  }
  byCount_ = !arguments.Has("--duration");
  if (!byCount_) seconds_ = ParseSeconds(arguments.Value("--duration"));
  count_ = arguments.Number("--count", 10);
  if (count_ == 0) throw UsageError("--count needs a number of 1 or more.");
  const uint64_t buffers = arguments.Number("--buffers", 4);
  if (buffers == 0 || buffers > 1000) throw UsageError("--buffers must be 1 to 1000.");
  buffers_ = static_cast<uint32_t>(buffers);
  timeoutMs_ = arguments.Number("--timeout", 5000);
  if (timeoutMs_ == 0) throw UsageError("--timeout needs a number of milliseconds.");
  quiet_ = arguments.Has("--quiet");
  for (const auto& [name, value] : arguments.Options()) {
    if (name == "--feature") tcFeatureSetting(name, value);
    if (name != "--set") continue;
    const auto [address, number] = SplitSetting(value);
    ParseNumber(address, "the ADDRESS of --set");
    tcRegisterCommand::ValueBytes(number, 0);
  }
}

void tcGrabCommand::ApplySettings(tcPortAccess& remote, const tcGenApi& camera) {
  for (const auto& [option, text] : arguments_.Options()) {
    if (option == "--feature") {
      const std::string line = tcFeatureSetting(option, text).Apply(camera);
      if (!quiet_) printf("%s\n", line.c_str());
    }
    if (option != "--set") continue;
    const auto [name, value] = SplitSetting(text);
    const uint64_t address = ParseNumber(name, "the ADDRESS of --set");
    remote.Write(address, tcRegisterCommand::ValueBytes(value, 0));
    if (!quiet_) printf("Set register %s to %s\n", Hex(address, 4).c_str(), value.c_str());
  }
}

size_t tcGrabCommand::PayloadSize(tcProducer& producer, GenTL::DS_HANDLE stream,
                                  const tcGenApi& camera) {
  uint64_t value = 0;
  size_t size = sizeof value;
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  const GenTL::GC_ERROR code =
      producer.Lib().DSGetInfo(stream, GenTL::STREAM_INFO_PAYLOAD_SIZE, &type, &value, &size);
  if (code == GenTL::GC_ERR_SUCCESS && value > 0) return value;
  const std::string answer = code == GenTL::GC_ERR_SUCCESS ? "0" : producer.Describe(code);
  ArvGcFeatureNode* node = camera.Find("PayloadSize");
  if (node == nullptr || !ARV_IS_GC_INTEGER(node)) {
    throw tcToolError("DSGetInfo(STREAM_INFO_PAYLOAD_SIZE) answered " + answer +
                      " and the camera has no PayloadSize Integer to size the buffers by.");
  }
  tcFeature(node).CheckReadable();
  GError* error = nullptr;
  const int64_t payload = arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error);
  if (error != nullptr) throw tcToolError("cannot read PayloadSize: " + TakeMessage(error) + ".");
  if (payload <= 0) {
    throw tcToolError("DSGetInfo(STREAM_INFO_PAYLOAD_SIZE) answered " + answer +
                      " and the camera's PayloadSize is " + std::to_string(payload) + ".");
  }
  return static_cast<size_t>(payload);
}

void tcGrabCommand::RunCameraCommand(const tcGenApi& camera, const char* name, bool quietly) const {
  ArvGcFeatureNode* node = camera.Find(name);
  if (node == nullptr) return;
  const tcFeature feature(node);
  if (feature.Type() != tcFeature::teType::kCommand) return;
  try {
    tcFeatureWriter(feature).Execute();
  } catch (const tcToolError&) {
    if (!quietly) throw;
    return;
  }
  if (!quiet_ && !quietly) printf("Executed command %s\n", name);
}

bool tcGrabCommand::Done(uint64_t frames, double seconds) const {
  return byCount_ ? frames >= count_ : seconds >= seconds_;
}

void tcGrabCommand::Stream(tcAcquisition& acquisition, tcGrabProgress& progress) {
  double lastFrame = 0;
  while (gInterrupted == 0) {
    const GenTL::BUFFER_HANDLE buffer = acquisition.Wait(kWaitSliceMs);
    const double now = progress.Seconds();
    if (buffer == nullptr) {
      if (!byCount_ && Done(progress.Frames(), now)) return;
      if ((now - lastFrame) * 1000 > static_cast<double>(timeoutMs_)) {
        throw tcToolError("no frame arrived for " + std::to_string(timeoutMs_) +
                          " ms (EventGetData kept giving " + ErrorName(GenTL::GC_ERR_TIMEOUT) +
                          "); --timeout MS waits longer.");
      }
      if (progress.Due()) progress.Show(acquisition.Lost());
      continue;
    }
    lastFrame = now;
    const tsFrame frame = acquisition.Describe(buffer);
    const uint64_t index = progress.Frames();
    progress.Frame(frame.filled, frame.incomplete);
    if (saver_.Wants(index)) {
      const std::string path = saver_.Save(index, frame);
      if (!quiet_) progress.Note("Saved " + path + " (" + Describe(frame) + ")");
    }
    const bool done = Done(progress.Frames(), progress.Seconds());
    if (!done) acquisition.Requeue(buffer);
    if (progress.Due()) progress.Show(acquisition.Lost());
    if (done) return;
  }
}

void tcGrabCommand::Announce(const std::string& deviceId, size_t payloadSize) const {
  if (quiet_) return;
  printf("Grabbing %s from %s with %u buffers of %zu bytes\n",
         byCount_ ? (std::to_string(count_) + (count_ == 1 ? " frame" : " frames")).c_str()
                  : ("for " + arguments_.Value("--duration") + " s").c_str(),
         deviceId.c_str(), buffers_, payloadSize);
  fflush(stdout);
}

void tcGrabCommand::Summarize(const tcGrabProgress& progress, uint64_t lost) const {
  printf("%s%s\n", gInterrupted != 0 ? "Interrupted: " : "Grabbed ",
         progress.Summary(lost).c_str());
  const size_t files = saver_.Files().size();
  if (files > 0) {
    printf("%zu PNG %s written to %s\n", files, files == 1 ? "file" : "files",
           saver_.Directory().c_str());
  } else {
    printf("No files written (--out DIR with --save-every K or --save LIST writes PNG files)\n");
  }
}

int tcGrabCommand::Run() {
  tcProducer producer(arguments_.Value("--cti"));
  tcSession session(producer);
  session.OpenInterface(arguments_.Value("--interface", "Simulated"));
  session.OpenDevice(arguments_.Value("--device"));
  tcPortAccess remote(producer, session.RemotePort());
  const tcGenApi camera(producer.Lib(), session.RemotePort(), "the camera");
  ApplySettings(remote, camera);
  session.OpenStream(arguments_.Value("--stream"));
  tcAcquisition acquisition(producer, session.Stream(), buffers_,
                            PayloadSize(producer, session.Stream(), camera));
  Announce(session.DeviceId(), acquisition.PayloadSize());
  gInterrupted = 0;
  const auto previous = std::signal(SIGINT, OnInterrupt);
  tcGrabProgress progress(!quiet_ && isatty(STDOUT_FILENO) != 0);
  acquisition.Start(byCount_ ? count_ : GENTL_INFINITE);
  try {
    RunCameraCommand(camera, "AcquisitionStart", false);
    Stream(acquisition, progress);
  } catch (...) {
    std::signal(SIGINT, previous);
    RunCameraCommand(camera, "AcquisitionStop", true);
    progress.Finish();
    throw;
  }
  std::signal(SIGINT, previous);
  RunCameraCommand(camera, "AcquisitionStop", false);
  acquisition.Stop();
  progress.Finish();
  Summarize(progress, acquisition.Lost());
  return 0;
}
