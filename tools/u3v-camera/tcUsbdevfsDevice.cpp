// usbdevfs emulation for one camera on the umockdev testbed's ioctl thread.
#include "tcUsbdevfsDevice.h"

#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "U3vDescriptors.h"

namespace {

// Without bulk continuation libusb sends every bulk transfer as one URB, whatever its length, so
// that one URB is one transfer of the camera.
constexpr uint32_t kCapabilities = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM;
constexpr size_t kSetupSize = 8;

// The client memory `len` bytes at the pointer stored at `offset` of `data`; a new reference.
UMockdevIoctlData* Resolve(UMockdevIoctlData* data, size_t offset, size_t len) {
  GError* error = nullptr;
  UMockdevIoctlData* resolved = umockdev_ioctl_data_resolve(data, offset, len, &error);
  if (error) g_error_free(error);
  return resolved;
}

usbdevfs_urb* UrbOf(UMockdevIoctlData* data) {
  return reinterpret_cast<usbdevfs_urb*>(data->data);
}

}  // namespace

tcUsbdevfsDevice::tcUsbdevfsDevice(tcU3vCamera& camera, const std::string& nodePath)
    : camera_(camera), handler_(umockdev_ioctl_base_new()) {
  unlink(nodePath.c_str());
  mkfifo(nodePath.c_str(), 0666);
  fifo_ = open(nodePath.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  FillFifo();
  g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(OnIoctl), this);
  ready_.store(true, std::memory_order_release);
}

void tcUsbdevfsDevice::Settle() {
  std::lock_guard lock(mutex_);
}

tcUsbdevfsDevice::~tcUsbdevfsDevice() {
  for (auto& [endpoint, urbs] : waiting_)
    std::for_each(urbs.begin(), urbs.end(), Release);
  std::for_each(reapable_.begin(), reapable_.end(), Release);
  for (auto& [client, reference] : clients_)
    g_object_unref(reference);
  g_object_unref(handler_);
  if (fifo_ >= 0) close(fifo_);
}

gboolean tcUsbdevfsDevice::OnIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
  auto* device = static_cast<tcUsbdevfsDevice*>(self);
  // Pairs with the constructor: the testbed hands the handler to its thread in ways
  // ThreadSanitizer cannot see.
  device->ready_.load(std::memory_order_acquire);
  device->HandleIoctl(client);
  return TRUE;
}

void tcUsbdevfsDevice::Release(tsUrb& urb) {
  if (urb.buffer) g_object_unref(urb.buffer);
  g_object_unref(urb.urb);
  g_object_unref(urb.client);
}

// umockdev marks a client disconnected when its process closes the node but emits no signal for
// it, so every ioctl first looks for clients that have gone.
void tcUsbdevfsDevice::ForgetVanished(UMockdevIoctlClient* current) {
  if (!clients_.count(current))
    clients_[current] = static_cast<UMockdevIoctlClient*>(g_object_ref(current));
  for (auto it = clients_.begin(); it != clients_.end();) {
    UMockdevIoctlClient* client = it->first;
    if (umockdev_ioctl_client_get_connected(client)) {
      ++it;
      continue;
    }
    auto isClients = [client](const tsUrb& urb) { return urb.client == client; };
    for (auto& [endpoint, urbs] : waiting_)
      Drop(urbs, isClients);
    Drop(reapable_, isClients);
    g_object_unref(client);
    it = clients_.erase(it);
  }
  if (reapable_.empty()) FillFifo();
}

template <typename tfWhich>
void tcUsbdevfsDevice::Drop(std::deque<tsUrb>& urbs, tfWhich which) {
  auto gone = std::stable_partition(urbs.begin(), urbs.end(),
                                    [&](const tsUrb& urb) { return !which(urb); });
  std::for_each(gone, urbs.end(), Release);
  urbs.erase(gone, urbs.end());
}

void tcUsbdevfsDevice::HandleIoctl(UMockdevIoctlClient* client) {
  std::lock_guard lock(mutex_);
  ForgetVanished(client);
  const int result = Dispatch(client, umockdev_ioctl_client_get_request(client));
  umockdev_ioctl_client_complete(client, result < 0 ? -1 : result, result < 0 ? -result : 0);
  for (gpointer object : held_) {
    if (object) g_object_unref(object);
  }
  held_.clear();
}

int tcUsbdevfsDevice::Dispatch(UMockdevIoctlClient* client, gulong request) {
  if (unplugged_ && request != USBDEVFS_REAPURBNDELAY && request != USBDEVFS_REAPURB &&
      request != USBDEVFS_DISCARDURB) {
    return -ENODEV;
  }
  switch (request) {
    case USBDEVFS_GET_CAPABILITIES:
      return GetCapabilities(client);
    case USBDEVFS_SUBMITURB:
      return SubmitUrb(client);
    case USBDEVFS_REAPURBNDELAY:
    case USBDEVFS_REAPURB:
      return ReapUrb(client);
    case USBDEVFS_DISCARDURB:
      return DiscardUrb(client);
    case USBDEVFS_CLEAR_HALT:
      return ClearHalt(client);
    case USBDEVFS_GETDRIVER:
      return -ENODATA;  // no kernel driver is bound
    case USBDEVFS_SETCONFIGURATION:
    case USBDEVFS_CLAIMINTERFACE:
    case USBDEVFS_DISCONNECT_CLAIM:
    case USBDEVFS_RELEASEINTERFACE:
    case USBDEVFS_RESET:
      return 0;
    default:
      return -ENOTTY;
  }
}

int tcUsbdevfsDevice::GetCapabilities(UMockdevIoctlClient* client) {
  UMockdevIoctlData* caps = Resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(uint32_t));
  if (!caps) return -EFAULT;
  std::memcpy(caps->data, &kCapabilities, sizeof kCapabilities);
  held_.push_back(caps);
  return 0;
}

int tcUsbdevfsDevice::SubmitUrb(UMockdevIoctlClient* client) {
  UMockdevIoctlData* data = Resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(usbdevfs_urb));
  if (!data) return -EFAULT;
  usbdevfs_urb* urb = UrbOf(data);
  tsUrb entry{static_cast<UMockdevIoctlClient*>(g_object_ref(client)), data, nullptr};
  if (urb->buffer_length > 0) {
    entry.buffer = Resolve(data, offsetof(usbdevfs_urb, buffer), urb->buffer_length);
    if (!entry.buffer) {
      g_object_unref(data);
      g_object_unref(client);
      return -EFAULT;
    }
  }
  const uint8_t endpoint = urb->endpoint;
  if (urb->type == USBDEVFS_URB_TYPE_CONTROL) {
    ControlTransfer(entry);
  } else if (halted_.count(endpoint)) {
    Complete(entry, -EPIPE, 0, nullptr);
  } else if (endpoint & 0x80) {
    waiting_[endpoint].push_back(entry);
  } else {
    const size_t length = static_cast<size_t>(urb->buffer_length);
    camera_.Receive(endpoint, {entry.buffer ? entry.buffer->data : nullptr, length});
    Complete(entry, 0, length, nullptr);
  }
  PumpLocked();
  return 0;
}

// Standard requests on endpoint 0: descriptors, endpoint halt, configuration, status.
void tcUsbdevfsDevice::ControlTransfer(tsUrb& urb) {
  const size_t length = static_cast<size_t>(UrbOf(urb.urb)->buffer_length);
  if (length < kSetupSize) return Complete(urb, -EINVAL, 0, nullptr);
  const uint8_t* setup = urb.buffer->data;
  const uint16_t value = static_cast<uint16_t>(setup[2] | setup[3] << 8);
  const uint16_t index = static_cast<uint16_t>(setup[4] | setup[5] << 8);
  const size_t wanted = std::min<size_t>(setup[6] | setup[7] << 8, length - kSetupSize);
  const tsU3vCameraOptions& options = camera_.Options();
  std::vector<uint8_t> answer;
  if (setup[0] == 0x80 && setup[1] == 6) {
    const uint8_t type = static_cast<uint8_t>(value >> 8);
    const uint8_t number = static_cast<uint8_t>(value);
    if (type == 1) answer = U3vDeviceDescriptor(options);
    if (type == 2) answer = U3vConfigDescriptor(options);
    if (type == 3 && number < kStringCount) answer = U3vStringDescriptor(options, number);
    if (answer.empty()) return Complete(urb, -EPIPE, 0, nullptr);
  } else if (setup[0] == 0x80 && setup[1] == 0) {
    answer = {0, 0};
  } else if (setup[0] == 0x02 && (setup[1] == 1 || setup[1] == 3) && value == 0) {
    const uint8_t endpoint = static_cast<uint8_t>(index);
    if (setup[1] == 3) {
      halted_.insert(endpoint);
      camera_.AbandonFrame();
    } else {
      halted_.erase(endpoint);
    }
  } else if (setup[0] != 0x00 || setup[1] != 9) {
    return Complete(urb, -EPIPE, 0, nullptr);
  }
  answer.resize(std::min(answer.size(), wanted));
  std::copy(answer.begin(), answer.end(), urb.buffer->data + kSetupSize);
  Complete(urb, 0, answer.size(), nullptr);
}

void tcUsbdevfsDevice::Complete(tsUrb urb, int status, size_t actual, const uint8_t* data) {
  usbdevfs_urb* client = UrbOf(urb.urb);
  client->status = status;
  client->actual_length = static_cast<int>(actual);
  if (data && actual) std::memcpy(urb.buffer->data, data, actual);
  MakeReapable(urb);
}

void tcUsbdevfsDevice::MakeReapable(tsUrb urb) {
  if (reapable_.empty()) DrainFifo();
  reapable_.push_back(urb);
}

int tcUsbdevfsDevice::ReapUrb(UMockdevIoctlClient* client) {
  auto found = std::find_if(reapable_.begin(), reapable_.end(),
                            [client](const tsUrb& urb) { return urb.client == client; });
  if (found == reapable_.end()) {
    if (reapable_.empty()) FillFifo();
    return unplugged_ ? -ENODEV : -EAGAIN;
  }
  tsUrb urb = *found;
  reapable_.erase(found);
  if (reapable_.empty()) FillFifo();
  UMockdevIoctlData* pointer = Resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(void*));
  umockdev_ioctl_data_set_ptr(pointer, 0, urb.urb);
  // Released once the ioctl is complete, which copies the URB back to the client.
  held_.insert(held_.end(), {pointer, urb.buffer, urb.urb, urb.client});
  return 0;
}

int tcUsbdevfsDevice::DiscardUrb(UMockdevIoctlClient* client) {
  uint64_t address = 0;
  std::memcpy(&address, umockdev_ioctl_client_get_arg(client)->data, sizeof address);
  for (auto& [endpoint, urbs] : waiting_) {
    auto found = std::find_if(urbs.begin(), urbs.end(), [&](const tsUrb& urb) {
      return urb.client == client && urb.urb->client_addr == address;
    });
    if (found == urbs.end()) continue;
    tsUrb urb = *found;
    urbs.erase(found);
    Complete(urb, -ENOENT, 0, nullptr);
    return 0;
  }
  return -EINVAL;
}

int tcUsbdevfsDevice::ClearHalt(UMockdevIoctlClient* client) {
  UMockdevIoctlData* endpoint =
      Resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(unsigned int));
  if (!endpoint) return -EFAULT;
  unsigned int number = 0;
  std::memcpy(&number, endpoint->data, sizeof number);
  g_object_unref(endpoint);
  halted_.erase(static_cast<uint8_t>(number));
  return 0;
}

void tcUsbdevfsDevice::PumpLocked() {
  for (auto& [endpoint, urbs] : waiting_) {
    while (!urbs.empty()) {
      auto transfer =
          camera_.Send(endpoint, static_cast<size_t>(UrbOf(urbs.front().urb)->buffer_length));
      if (!transfer) break;
      tsUrb urb = urbs.front();
      urbs.pop_front();
      Complete(urb, transfer->status, transfer->bytes.size(), transfer->bytes.data());
    }
  }
}

void tcUsbdevfsDevice::Pump() {
  std::lock_guard lock(mutex_);
  if (!unplugged_) PumpLocked();
}

void tcUsbdevfsDevice::Unplug() {
  std::lock_guard lock(mutex_);
  unplugged_ = true;
  for (auto& [endpoint, urbs] : waiting_) {
    for (tsUrb& urb : urbs)
      Complete(urb, -ESHUTDOWN, 0, nullptr);
    urbs.clear();
  }
}

void tcUsbdevfsDevice::Halt(uint8_t endpoint) {
  std::lock_guard lock(mutex_);
  halted_.insert(endpoint);
  camera_.AbandonFrame();
  for (tsUrb& urb : waiting_[endpoint])
    Complete(urb, -EPIPE, 0, nullptr);
  waiting_[endpoint].clear();
}

size_t tcUsbdevfsDevice::UrbsInFlight() const {
  std::lock_guard lock(mutex_);
  size_t count = 0;
  for (const auto& [endpoint, urbs] : waiting_)
    count += urbs.size();
  return count;
}

void tcUsbdevfsDevice::FillFifo() {
  static const char kBlock[4096] = {};
  while (write(fifo_, kBlock, sizeof kBlock) > 0) {
  }
}

void tcUsbdevfsDevice::DrainFifo() {
  char block[4096];
  while (read(fifo_, block, sizeof block) > 0) {
  }
}
