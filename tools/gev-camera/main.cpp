// gev-camera: a GigE Vision camera emulator answering on UDP port 3956 until SIGINT or SIGTERM.
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tcGevCamera.h"
#include "tcGvcpServer.h"
#include "tcGvspStreamer.h"
#include "tsGevCameraOptions.h"

namespace {

const char kUsage[] =
    "Usage: gev-camera [options]\n"
    "Emulates a GigE Vision camera on every IPv4 address of this network namespace.\n"
    "Run it only on a private network (see scripts/gev-bench).\n"
    "  --serial TEXT      serial number (GEV0001)\n"
    "  --model TEXT       model name (GEV-Emulator)\n"
    "  --vendor TEXT      manufacturer name (GenTL Project)\n"
    "  --mac HEX          MAC address as 12 hex digits (derived from the IP address)\n"
    "  --version M.N      GigE Vision version reported (2.0)\n"
    "  --width N          sensor width (640)\n"
    "  --height N         sensor height (480)\n"
    "  --manifest         offer a manifest table\n"
    "  --no-resend        do not offer or serve packet resend\n"
    "  --no-extended-ids  do not offer 64-bit block ids\n"
    "  --seed N           seed of the injected faults (1)\n"
    "  --loss R           share of payload packets lost on first transmission (0)\n"
    "  --marker-loss R    share of leaders and trailers lost (0)\n"
    "  --resent-loss R    share of resent packets lost (0)\n"
    "  --duplicates R     share of packets sent twice (0)\n"
    "  --reorder N        shuffle packets within windows of N (0)\n"
    "  --drop-packet ID   drop this packet id from every frame\n"
    "  --silent           never answer discovery\n"
    "  --refuse ADDR:STATUS  refuse every access covering ADDR with GVCP STATUS (hex, repeatable;\n"
    "                     e.g. 0x10000:0x8007 answers BUSY)\n"
    "  --port N           control port (3956)\n"
    "  --tick-frequency N timestamp ticks per second reported (1000000000; 0 reports none)\n"
    "  --heartbeat-cap MS drop the privilege after at most MS without a heartbeat, whatever\n"
    "                     time-out the application wrote (no cap)\n"
    "  --first-block N    64-bit block id of the first frame (1)\n";

bool ParseOptions(int argc, char** argv, tsGevCameraOptions* options, int* port,
                  uint64_t* firstBlock) {
  for (int i = 1; i < argc; ++i) {
    std::string option = argv[i];
    bool hasValue = i + 1 < argc;
    if (option == "--manifest") {
      options->manifest = true;
    } else if (option == "--no-resend") {
      options->resend = false;
    } else if (option == "--no-extended-ids") {
      options->extendedIds = false;
    } else if (option == "--silent") {
      options->silent = true;
    } else if (!hasValue) {
      return false;
    } else if (option == "--serial") {
      options->serial = argv[++i];
    } else if (option == "--model") {
      options->model = argv[++i];
    } else if (option == "--vendor") {
      options->vendor = argv[++i];
    } else if (option == "--mac") {
      options->mac = std::strtoull(argv[++i], nullptr, 16) & 0xFFFFFFFFFFFFull;
    } else if (option == "--version") {
      unsigned major = 0, minor = 0;
      if (sscanf(argv[++i], "%u.%u", &major, &minor) != 2 || major < 1 || major > 2) return false;
      options->versionMajor = static_cast<uint16_t>(major);
      options->versionMinor = static_cast<uint16_t>(minor);
    } else if (option == "--width") {
      options->width = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (option == "--height") {
      options->height = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (option == "--seed") {
      options->faults.seed = std::strtoull(argv[++i], nullptr, 10);
    } else if (option == "--loss") {
      options->faults.dataLoss = std::atof(argv[++i]);
    } else if (option == "--marker-loss") {
      options->faults.markerLoss = std::atof(argv[++i]);
    } else if (option == "--resent-loss") {
      options->faults.resentLoss = std::atof(argv[++i]);
    } else if (option == "--duplicates") {
      options->faults.duplicates = std::atof(argv[++i]);
    } else if (option == "--reorder") {
      options->faults.reorderWindow = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (option == "--drop-packet") {
      options->faults.dropPacketId = std::strtoll(argv[++i], nullptr, 10);
    } else if (option == "--refuse") {
      unsigned address = 0, status = 0;
      if (sscanf(argv[++i], "%x:%x", &address, &status) != 2 || status > 0xFFFF) return false;
      options->refusals.emplace_back(address, static_cast<uint16_t>(status));
    } else if (option == "--tick-frequency") {
      options->tickFrequency = std::strtoull(argv[++i], nullptr, 10);
    } else if (option == "--heartbeat-cap") {
      options->heartbeatCapMs = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (option == "--first-block") {
      *firstBlock = std::strtoull(argv[++i], nullptr, 10);
    } else if (option == "--port") {
      *port = std::atoi(argv[++i]);
    } else {
      return false;
    }
  }
  return options->width >= 16 && options->height >= 1 && *port > 0 && *port < 65536 &&
         *firstBlock >= 1;
}

}  // namespace

int main(int argc, char** argv) {
  tsGevCameraOptions options;
  int port = tcGevCamera::kPort;
  uint64_t firstBlock = 1;
  if (!ParseOptions(argc, argv, &options, &port, &firstBlock)) {
    fputs(kUsage, stderr);
    return 2;
  }
  // Signals are taken synchronously by this thread; the server's thread inherits the mask.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  tcGevCamera camera(options);
  tcGvspStreamer streamer(camera, options.faults, firstBlock);
  tcGvcpServer server(camera, [&streamer] { streamer.Wake(); });
  std::string error = streamer.Start();
  if (error.empty()) error = server.Start(static_cast<uint16_t>(port));
  if (!error.empty()) {
    fprintf(stderr, "gev-camera: %s\n", error.c_str());
    return 1;
  }
  printf("gev-camera: %s %s answering on UDP port %d\n", options.model.c_str(),
         options.serial.c_str(), port);
  fflush(stdout);
  int received = 0;
  sigwait(&signals, &received);
  server.Stop();
  streamer.Stop();
  return 0;
}
