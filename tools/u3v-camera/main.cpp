// u3v-camera: runs a command with emulated USB3 Vision cameras plugged in. The cameras live on
// a umockdev testbed in this process; the command runs under the umockdev preload and sees
// them through libusb as USB devices.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "U3vPreload.h"
#include "tcU3vCameraBench.h"
#include "tsU3vCameraOptions.h"

namespace {

const char kUsage[] =
    "Usage: u3v-camera [options] -- COMMAND [ARGUMENTS...]\n"
    "Runs COMMAND with emulated USB3 Vision cameras that libusb sees as USB devices.\n"
    "  --count N              number of cameras (1); serial and GUID get a suffix -2, -3, ...\n"
    "  --guid TEXT            device GUID string (U3VEMU0001)\n"
    "  --serial TEXT          serial number (U3V0001)\n"
    "  --model TEXT           model name (U3V-Emulator)\n"
    "  --vendor TEXT          manufacturer name (GenTL Project)\n"
    "  --vendor-id HEX        USB vendor id (1209)\n"
    "  --product-id HEX       USB product id (0001)\n"
    "  --device-class C:S:P   device class triple in hex (EF:02:01)\n"
    "  --iad-class C:S:P      function class triple of the IAD in hex (EF:05:00)\n"
    "  --no-iad               no interface association descriptor\n"
    "  --no-info-descriptor   no USB3 Vision device info descriptor\n"
    "  --interfaces KIND      control, event (control + event) or stream (all three; default)\n"
    "  --width N              sensor width (640)\n"
    "  --height N             sensor height (480)\n"
    "  --manifest-entries N   entries of the manifest table (1)\n"
    "  --max-command N        maximum command transfer length (512)\n"
    "  --max-ack N            maximum acknowledge transfer length (512)\n"
    "  --pending N:MS:DELAY   answer the first N commands with a PENDING_ACK of MS ms, the\n"
    "                         real acknowledge DELAY ms later\n"
    "  --acquiring            start acquiring (frames flow once the host enables the stream)\n"
    "  --refuse ADDR:STATUS   answer every access covering ADDR with GenCP STATUS (hex,\n"
    "                         repeatable; e.g. 0x50000:0x8006 answers ACCESS_DENIED)\n";

bool ParseTriple(const char* text, uint8_t* a, uint8_t* b, uint8_t* c) {
  unsigned x = 0, y = 0, z = 0;
  if (sscanf(text, "%x:%x:%x", &x, &y, &z) != 3 || x > 0xFF || y > 0xFF || z > 0xFF) return false;
  *a = static_cast<uint8_t>(x);
  *b = static_cast<uint8_t>(y);
  *c = static_cast<uint8_t>(z);
  return true;
}

bool ParseValue(const std::string& option, const char* value, tsU3vCameraOptions* o, int* count) {
  unsigned a = 0, b = 0, c = 0;
  if (option == "--count") return (*count = atoi(value)) >= 1 && *count <= 100;
  if (option == "--guid") return !(o->guid = value).empty();
  if (option == "--serial") return !(o->serial = value).empty();
  if (option == "--model") return !(o->model = value).empty();
  if (option == "--vendor") return !(o->vendor = value).empty();
  if (option == "--vendor-id")
    return (o->vendorId = static_cast<uint16_t>(strtoul(value, nullptr, 16))), true;
  if (option == "--product-id")
    return (o->productId = static_cast<uint16_t>(strtoul(value, nullptr, 16))), true;
  if (option == "--device-class")
    return ParseTriple(value, &o->deviceClass, &o->deviceSubClass, &o->deviceProtocol);
  if (option == "--iad-class")
    return ParseTriple(value, &o->iadClass, &o->iadSubClass, &o->iadProtocol);
  if (option == "--width") return (o->width = static_cast<uint32_t>(atoi(value))) >= 16;
  if (option == "--height") return (o->height = static_cast<uint32_t>(atoi(value))) >= 1;
  if (option == "--manifest-entries") return (o->manifestEntries = atoi(value)) >= 0;
  if (option == "--max-command")
    return (o->maxCommandLength = static_cast<uint32_t>(atoi(value))) >= 32;
  if (option == "--max-ack") return (o->maxAckLength = static_cast<uint32_t>(atoi(value))) >= 32;
  if (option == "--interfaces") {
    std::string kind = value;
    o->extraInterfaces = kind == "control" ? 0 : kind == "event" ? 1 : kind == "stream" ? 2 : -1;
    return o->extraInterfaces >= 0;
  }
  if (option == "--pending") {
    if (sscanf(value, "%u:%u:%u", &a, &b, &c) != 3 || b > 0xFFFF) return false;
    o->pendingAcks = static_cast<int>(a);
    o->pendingTimeoutMs = static_cast<uint16_t>(b);
    o->pendingDelayMs = c;
    return true;
  }
  if (option == "--refuse") {
    unsigned long long address = 0;
    if (sscanf(value, "%llx:%x", &address, &a) != 2 || a > 0xFFFF) return false;
    o->refusals.emplace_back(address, static_cast<uint16_t>(a));
    return true;
  }
  return false;
}

// Options up to "--"; returns the index of the command, or 0 on a usage error.
int ParseOptions(int argc, char** argv, tsU3vCameraOptions* options, int* count) {
  for (int i = 1; i < argc; ++i) {
    std::string option = argv[i];
    if (option == "--") return i + 1 < argc ? i + 1 : 0;
    if (option == "--acquiring") {
      options->acquiring = true;
    } else if (option == "--no-iad") {
      options->iad = false;
    } else if (option == "--no-info-descriptor") {
      options->infoDescriptor = false;
    } else if (i + 1 >= argc || !ParseValue(option, argv[++i], options, count)) {
      return 0;
    }
  }
  return 0;
}

volatile pid_t commandPid = 0;

// SIGTERM and SIGHUP go on to the command, so that this process outlives it and removes the
// testbed; the command gets SIGINT from the terminal itself.
void ForwardSignal(int number) {
  if (commandPid > 0) kill(commandPid, number);
}

// The forwarded signals stay blocked from before the fork until their handlers are in place,
// so one the command sends at once (to its parent) is forwarded, not fatal.
int RunCommand(char** command) {
  sigset_t forwarded, previous;
  sigemptyset(&forwarded);
  sigaddset(&forwarded, SIGTERM);
  sigaddset(&forwarded, SIGHUP);
  sigprocmask(SIG_BLOCK, &forwarded, &previous);
  pid_t child = fork();
  if (child == 0) {
    sigprocmask(SIG_SETMASK, &previous, nullptr);
    setenv("LD_PRELOAD", PreloadWithUmockdev(getenv("LD_PRELOAD")).c_str(), 1);
    execvp(command[0], command);
    fprintf(stderr, "u3v-camera: cannot run %s: %s\n", command[0], strerror(errno));
    _exit(127);
  }
  if (child < 0) {
    sigprocmask(SIG_SETMASK, &previous, nullptr);
    fprintf(stderr, "u3v-camera: cannot start %s: %s\n", command[0], strerror(errno));
    return 127;
  }
  commandPid = child;
  signal(SIGINT, SIG_IGN);
  signal(SIGTERM, ForwardSignal);
  signal(SIGHUP, ForwardSignal);
  sigprocmask(SIG_SETMASK, &previous, nullptr);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

}  // namespace

int main(int argc, char** argv) {
  tsU3vCameraOptions options;
  int count = 1;
  int command = ParseOptions(argc, argv, &options, &count);
  if (command == 0) {
    fputs(kUsage, stderr);
    return 2;
  }
  tcU3vCameraBench bench;
  for (int i = 0; i < count; ++i) {
    tsU3vCameraOptions camera = options;
    if (i > 0) {
      camera.guid += "-" + std::to_string(i + 1);
      camera.serial += "-" + std::to_string(i + 1);
    }
    bench.AddCamera(camera);
  }
  return RunCommand(argv + command);
}
