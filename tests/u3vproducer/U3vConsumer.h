// Fixture for the producer's USB3 Vision cases: emulated cameras on a umockdev testbed in this
// process, and gentl.cti loaded as a GenTL consumer loads it, with its "U3V" interface open.
#pragma once

#include <dirent.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/LogMatch.h"
#include "support/StderrCapture.h"
#include "support/SystemConsumer.h"
#include "tcU3vCameraBench.h"

class U3vConsumerTest : public SystemConsumerTest {
 public:
  void SetUp() override {
    bench_ = std::make_unique<tcU3vCameraBench>();
    SystemConsumerTest::SetUp();
    UpdateInterfaces();
  }
  void TearDown() override {
    SystemConsumerTest::TearDown();
    bench_.reset();
  }

  // The options of the default camera with `guid` as its GUID and serial number.
  static tsU3vCameraOptions Camera(const std::string& guid = "U3VEMU0001") {
    tsU3vCameraOptions options;
    options.guid = guid;
    return options;
  }
  // The default camera as a second product (id 2) with `guid`, to plug beside another one.
  static tsU3vCameraOptions SecondProduct(const std::string& guid) {
    tsU3vCameraOptions options = Camera(guid);
    options.productId = 2;
    return options;
  }
  size_t Plug(const tsU3vCameraOptions& options = Camera()) { return bench_->AddCamera(options); }

  void* OpenU3V() { return interface_ = OpenInterface("U3V"); }

  // Runs the device list update; returns its changed flag.
  bool Update(GenTL::GC_ERROR expected = GenTL::GC_ERR_SUCCESS) {
    GenTL::bool8_t changed = 2;
    EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, &changed, 100), expected);
    return changed != 0;
  }
  std::vector<std::string> DeviceIds() {
    std::vector<std::string> ids;
    uint32_t count = 0;
    EXPECT_EQ(Lib().IFGetNumDevices(interface_, &count), GenTL::GC_ERR_SUCCESS);
    for (uint32_t i = 0; i < count; ++i) {
      char id[256] = "";
      size_t size = sizeof id;
      EXPECT_EQ(Lib().IFGetDeviceID(interface_, i, id, &size), GenTL::GC_ERR_SUCCESS);
      ids.emplace_back(id);
    }
    return ids;
  }
  void* OpenDevice(const std::string& id, GenTL::GC_ERROR expected = GenTL::GC_ERR_SUCCESS,
                   int32_t flags = GenTL::DEVICE_ACCESS_EXCLUSIVE) {
    void* device = nullptr;
    EXPECT_EQ(Lib().IFOpenDevice(interface_, id.c_str(), flags, &device), expected);
    return device;
  }
  void* Remote(void* device) {
    void* port = nullptr;
    EXPECT_EQ(Lib().DevGetPort(device, &port), GenTL::GC_ERR_SUCCESS);
    return port;
  }
  // Plugs the default camera (with `options`), lists it and opens it; returns its remote port.
  void* OpenCamera(const tsU3vCameraOptions& options = Camera()) {
    Plug(options);
    OpenU3V();
    Update();
    device_ = OpenDevice(options.guid);
    return device_ != nullptr ? Remote(device_) : nullptr;
  }
  tcU3vCamera& Emulated(size_t index = 0) { return bench_->Camera(index); }
  tcU3vCameraBench& Bench() { return *bench_; }

  // Whether the task folder `base` (/proc/self/task/<tid>) is a thread named `name`.
  static bool HasName(const std::string& base, const std::string& name) {
    FILE* file = fopen((base + "/comm").c_str(), "r");
    if (file == nullptr) return false;
    char comm[64] = "";
    bool match = fgets(comm, sizeof comm, file) != nullptr && std::string(comm) == name + "\n";
    fclose(file);
    return match;
  }
  // Threads of this process named `name`.
  static int ThreadsNamed(const std::string& name) {
    int count = 0;
    DIR* tasks = opendir("/proc/self/task");
    if (tasks == nullptr) return -1;
    while (dirent* entry = readdir(tasks)) {
      if (entry->d_name[0] != '.' && HasName(std::string("/proc/self/task/") + entry->d_name, name))
        ++count;
    }
    closedir(tasks);
    return count;
  }

  // Nanoseconds on a CPU of this process's thread named `name` (its schedstat), or -1.
  static int64_t ThreadCpuNs(const std::string& name) {
    int64_t ns = -1;
    DIR* tasks = opendir("/proc/self/task");
    while (tasks != nullptr && ns < 0) {
      dirent* entry = readdir(tasks);
      if (entry == nullptr) break;
      std::string base = std::string("/proc/self/task/") + entry->d_name;
      if (!HasName(base, name)) continue;
      FILE* file = fopen((base + "/schedstat").c_str(), "r");
      long long value = 0;
      if (file != nullptr && fscanf(file, "%lld", &value) == 1) ns = value;
      if (file != nullptr) fclose(file);
    }
    if (tasks != nullptr) closedir(tasks);
    return ns;
  }

  // Waits up to 2 s until `count` threads are named `name`; returns the last count seen.
  static int WaitForThreads(const std::string& name, int count) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    int seen = ThreadsNamed(name);
    while (seen != count && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      seen = ThreadsNamed(name);
    }
    return seen;
  }

  void* interface_ = nullptr;
  void* device_ = nullptr;

 private:
  std::unique_ptr<tcU3vCameraBench> bench_;
};
