// The testbed of emulated USB3 Vision cameras: sysfs devices with their descriptors, device
// nodes served by tcUsbdevfsDevice.
#include "tcU3vCameraBench.h"

#include <umockdev.h>

#include <cstdio>
#include <stdexcept>

#include "U3vDescriptors.h"
#include "tcUsbdevfsDevice.h"

// The camera goes first: its timer thread may still call the device until it stops.
struct tcU3vCameraBench::tsPlugged {
  std::string node;
  std::string sysPath;
  std::unique_ptr<tcUsbdevfsDevice> device;
  std::unique_ptr<tcU3vCamera> camera;
  bool attached = false;
  bool present = false;
};

namespace {

std::string Hex(const std::vector<uint8_t>& bytes) {
  std::string text;
  char digits[3];
  for (uint8_t byte : bytes) {
    snprintf(digits, sizeof digits, "%02X", byte);
    text += digits;
  }
  return text;
}

std::string Format(const char* format, unsigned value) {
  char text[64];
  snprintf(text, sizeof text, format, value);
  return text;
}

}  // namespace

tcU3vCameraBench::tcU3vCameraBench() : testbed_(umockdev_testbed_new()) {
  gchar* root = umockdev_testbed_get_root_dir(testbed_);
  root_ = root;
  g_free(root);
}

tcU3vCameraBench::~tcU3vCameraBench() {
  for (auto& plugged : cameras_) {
    if (plugged->attached) umockdev_testbed_detach_ioctl(testbed_, plugged->node.c_str(), nullptr);
    plugged->device->Settle();
  }
  cameras_.clear();
  g_object_unref(testbed_);
}

// Everything in one description, so that the "add" uevent finds the descriptors in place.
std::string tcU3vCameraBench::AddSysfsDevice(const tsU3vCameraOptions& options, int number) {
  std::vector<uint8_t> descriptors = U3vDeviceDescriptor(options);
  std::vector<uint8_t> config = U3vConfigDescriptor(options);
  descriptors.insert(descriptors.end(), config.begin(), config.end());
  const std::string name = Format("1-%u", static_cast<unsigned>(number));
  const std::string node = Format("/dev/bus/usb/001/%03u", static_cast<unsigned>(number));
  std::string text =
      "P: /devices/" + name + "\nN: " + node.substr(5) +
      "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=" + node +
      "\nE: BUSNUM=001\nE: DEVNUM=" + Format("%03u", static_cast<unsigned>(number)) +
      "\nE: PRODUCT=" + Format("%x/", options.vendorId) + Format("%x/100", options.productId) +
      "\nA: busnum=1\\n\nA: devnum=" + Format("%u", static_cast<unsigned>(number)) +
      "\\n\nA: speed=5000\\n\nA: bConfigurationValue=1\\n\nA: bNumConfigurations=1\\n"
      "\nA: idVendor=" +
      Format("%04x", options.vendorId) + "\\n\nA: idProduct=" + Format("%04x", options.productId) +
      "\\n\nH: descriptors=" + Hex(descriptors) + "\n";
  GError* error = nullptr;
  if (!umockdev_testbed_add_from_string(testbed_, text.c_str(), &error)) {
    std::string message = error ? error->message : "unknown error";
    if (error) g_error_free(error);
    throw std::runtime_error("umockdev cannot add " + name + ": " + message);
  }
  return "/sys/devices/" + name;
}

size_t tcU3vCameraBench::AddCamera(const tsU3vCameraOptions& options) {
  std::lock_guard lock(mutex_);
  const int number = static_cast<int>(cameras_.size()) + 2;
  auto plugged = std::make_unique<tsPlugged>();
  plugged->node = Format("/dev/bus/usb/001/%03u", static_cast<unsigned>(number));
  plugged->camera = std::make_unique<tcU3vCamera>(options);
  plugged->sysPath = AddSysfsDevice(options, number);
  plugged->present = true;
  plugged->device = std::make_unique<tcUsbdevfsDevice>(*plugged->camera, root_ + plugged->node);
  tcUsbdevfsDevice* device = plugged->device.get();
  plugged->camera->SetWake([device] { device->Pump(); });
  GError* error = nullptr;
  plugged->attached =
      umockdev_testbed_attach_ioctl(testbed_, plugged->node.c_str(), device->Handler(), &error);
  if (error) {
    std::string message = error->message;
    g_error_free(error);
    throw std::runtime_error("umockdev cannot attach " + plugged->node + ": " + message);
  }
  cameras_.push_back(std::move(plugged));
  return cameras_.size() - 1;
}

size_t tcU3vCameraBench::Count() const {
  std::lock_guard lock(mutex_);
  return cameras_.size();
}

tcU3vCamera& tcU3vCameraBench::Camera(size_t index) {
  std::lock_guard lock(mutex_);
  return *cameras_.at(index)->camera;
}

void tcU3vCameraBench::Unplug(size_t index) {
  std::lock_guard lock(mutex_);
  tsPlugged& plugged = *cameras_.at(index);
  if (!plugged.present) return;
  plugged.present = false;
  plugged.device->Unplug();
  umockdev_testbed_uevent(testbed_, plugged.sysPath.c_str(), "remove");
  umockdev_testbed_remove_device(testbed_, plugged.sysPath.c_str());
}

void tcU3vCameraBench::HaltStream(size_t index) {
  std::lock_guard lock(mutex_);
  cameras_.at(index)->device->Halt(kU3vStreamEndpoint);
}

size_t tcU3vCameraBench::UrbsInFlight(size_t index) const {
  std::lock_guard lock(mutex_);
  return cameras_.at(index)->device->UrbsInFlight();
}

std::string tcU3vCameraBench::DeviceNode(size_t index) const {
  std::lock_guard lock(mutex_);
  return cameras_.at(index)->node;
}

std::string tcU3vCameraBench::SysPath(size_t index) const {
  std::lock_guard lock(mutex_);
  return cameras_.at(index)->sysPath;
}
