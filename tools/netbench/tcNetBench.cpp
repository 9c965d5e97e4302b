// Private network for GigE Vision tests: forked camera sides joined by veth pairs.
#include "tcNetBench.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "base/tcAdapterList.h"
#include "base/tsSocketAddress.h"

namespace {

bool Run(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

// The /30 of `pid`: 10.0.0.0/8 holds 2^22 of them, as many as Linux has PIDs.
uint32_t SubnetOf(pid_t pid) {
  return 0x0A000000u | (static_cast<uint32_t>(pid) & 0x3FFFFFu) << 2;
}

// The child's half of the start-up: its own namespace, then wait for the link.
[[noreturn]] void CameraSide(pid_t parent, int readyWrite, int goRead,
                             const std::function<int()>& body) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  char status = unshare(CLONE_NEWNET) == 0 ? 'N' : 'E';
  if (write(readyWrite, &status, 1) != 1 || status != 'N') _exit(1);
  close(readyWrite);
  char go = 0;
  if (read(goRead, &go, 1) != 1 || go != 'G') _exit(0);
  close(goRead);
  _exit(body());
}

}  // namespace

tcNetBench::~tcNetBench() {
  while (!children_.empty())
    Stop(children_.back());
}

bool tcNetBench::RunHere(const std::string& arguments) {
  return Run("ip " + arguments);
}

bool tcNetBench::RunInCamera(pid_t pid, const std::string& arguments) {
  return Run("nsenter -t " + std::to_string(pid) + " -n ip " + arguments);
}

std::string tcNetBench::AddCamera(const std::vector<std::string>& command, int mtu,
                                  tsBenchLink* link) {
  if (command.empty()) return "no command";
  return Start(
      [&command] {
        std::vector<char*> argv;
        for (const std::string& word : command)
          argv.push_back(const_cast<char*>(word.c_str()));
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        return 127;
      },
      mtu, link);
}

std::string tcNetBench::AddCamera(const std::function<int()>& body, int mtu, tsBenchLink* link) {
  return Start(body, mtu, link);
}

std::string tcNetBench::Isolated() {
  tcAdapterList adapters;
  if (int error = adapters.Load()) return std::string("getifaddrs: ") + strerror(error);
  for (const tsAdapter& adapter : adapters.Usable()) {
    if (adapter.name.rfind("gvh", 0) != 0) {
      return "the network bench runs only in a private network namespace (unshare -n), and " +
             adapter.name + " is a real adapter";
    }
  }
  return {};
}

std::string tcNetBench::Start(const std::function<int()>& body, int mtu, tsBenchLink* link) {
  if (std::string refusal = Isolated(); !refusal.empty()) return refusal;
  int ready[2], go[2];
  if (pipe2(ready, O_CLOEXEC) < 0) return std::string("pipe: ") + strerror(errno);
  if (pipe2(go, O_CLOEXEC) < 0) {
    close(ready[0]);
    close(ready[1]);
    return std::string("pipe: ") + strerror(errno);
  }
  pid_t parent = getpid();
  pid_t pid = fork();
  if (pid == 0) {
    close(ready[0]);
    close(go[1]);
    CameraSide(parent, ready[1], go[0], body);
  }
  close(ready[1]);
  close(go[0]);
  if (pid < 0) {
    close(ready[0]);
    close(go[1]);
    return std::string("fork: ") + strerror(errno);
  }
  children_.push_back(pid);
  char status = 0;
  bool isolated = read(ready[0], &status, 1) == 1 && status == 'N';
  close(ready[0]);
  tsBenchLink made;
  made.pid = pid;
  made.hostInterface = "gvh" + std::to_string(pid);
  made.cameraInterface = "gvc" + std::to_string(pid);
  made.hostAddress = SubnetOf(pid) + 1;
  made.cameraAddress = SubnetOf(pid) + 2;
  made.mtu = mtu;
  std::string error = isolated ? Connect(made) : "the camera side cannot unshare its network";
  if (error.empty() && write(go[1], "G", 1) != 1) error = "the camera side ended early";
  close(go[1]);
  if (!error.empty()) {
    Stop(pid);
    return error;
  }
  *link = made;
  return {};
}

std::string tcNetBench::Connect(const tsBenchLink& link) {
  std::string mtu = std::to_string(link.mtu);
  std::string pid = std::to_string(link.pid);
  std::string host = tsSocketAddress::Text(link.hostAddress) + "/30";
  std::string camera = tsSocketAddress::Text(link.cameraAddress) + "/30";
  // A veth hands a segmentation-offload super-datagram to the other side whole, which the
  // packet sockets of some receivers then see as one oversized packet; a real camera's packets
  // are segmented on the wire. One segment at most per packet makes the camera's kernel
  // segment before the veth, so every receiver sees the datagrams a camera would send.
  std::string single = " gso_max_segs 1";
  if (!RunHere("link add " + link.hostInterface + " mtu " + mtu + single + " type veth peer name " +
               link.cameraInterface + " mtu " + mtu + single)) {
    return "cannot create the veth pair " + link.hostInterface;
  }
  bool ok = RunHere("link set " + link.cameraInterface + " netns " + pid) &&
            RunHere("addr add " + host + " dev " + link.hostInterface) &&
            RunHere("link set " + link.hostInterface + " up") &&
            RunInCamera(link.pid, "addr add " + camera + " dev " + link.cameraInterface) &&
            RunInCamera(link.pid, "link set " + link.cameraInterface + " up") &&
            RunInCamera(link.pid, "link set lo up");
  if (!ok) {
    RunHere("link del " + link.hostInterface);
    return "cannot set up the link " + link.hostInterface;
  }
  return {};
}

int tcNetBench::Stop(pid_t pid) {
  auto it = std::find(children_.begin(), children_.end(), pid);
  if (it == children_.end()) return -1;
  children_.erase(it);
  kill(pid, SIGTERM);
  int status = 0;
  for (int i = 0; i < 100; ++i) {
    if (waitpid(pid, &status, WNOHANG) == pid) return status;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  kill(pid, SIGKILL);
  waitpid(pid, &status, 0);
  return status;
}
