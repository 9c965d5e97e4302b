// The test host's GenCP over libusb bulk transfers.
#include "tcU3vHost.h"

#include <cstring>

namespace {

template <typename T>
void Append(std::vector<uint8_t>& out, T value) {
  const size_t at = out.size();
  out.resize(at + sizeof value);
  std::memcpy(out.data() + at, &value, sizeof value);
}

template <typename T>
T Load(const uint8_t* bytes) {
  T value{};
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

std::vector<uint8_t> Header(uint16_t commandId, uint16_t scdLength, uint16_t requestId) {
  std::vector<uint8_t> command;
  Append(command, uint32_t{0x43563355});
  Append(command, uint16_t{0x4000});
  Append(command, commandId);
  Append(command, scdLength);
  Append(command, requestId);
  return command;
}

// A command that was not sent whole: its libusb error, or -100 for a short transfer.
tsGenCpAck Failed(int sent) {
  tsGenCpAck ack;
  ack.transferred = sent < 0 ? sent : -100;
  return ack;
}

}  // namespace

tcU3vHost::tcU3vHost() {
  libusb_init(&context_);
}

tcU3vHost::~tcU3vHost() {
  if (handle_) {
    libusb_release_interface(handle_, 0);
    libusb_close(handle_);
  }
  if (list_) libusb_free_device_list(list_, 1);
  libusb_exit(context_);
}

std::vector<libusb_device*> tcU3vHost::Devices(uint16_t vendorId) {
  if (list_) libusb_free_device_list(list_, 1);
  list_ = nullptr;
  std::vector<libusb_device*> devices;
  ssize_t count = libusb_get_device_list(context_, &list_);
  for (ssize_t i = 0; i < count; ++i) {
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(list_[i], &descriptor);
    if (descriptor.idVendor == vendorId) devices.push_back(list_[i]);
  }
  return devices;
}

bool tcU3vHost::Open(size_t index, uint16_t vendorId) {
  std::vector<libusb_device*> devices = Devices(vendorId);
  if (index >= devices.size() || libusb_open(devices[index], &handle_) != 0) return false;
  libusb_set_configuration(handle_, 1);
  return libusb_claim_interface(handle_, 0) == 0;
}

bool tcU3vHost::OpenProduct(uint16_t productId) {
  std::vector<libusb_device*> devices = Devices();
  for (size_t i = 0; i < devices.size(); ++i) {
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(devices[i], &descriptor);
    if (descriptor.idProduct == productId) return Open(i);
  }
  return false;
}

std::string tcU3vHost::String(uint8_t index) {
  unsigned char text[256] = {};
  int length = libusb_get_string_descriptor_ascii(handle_, index, text, sizeof text);
  return length < 0 ? "error " + std::to_string(length)
                    : std::string(reinterpret_cast<char*>(text), static_cast<size_t>(length));
}

int tcU3vHost::Send(const std::vector<uint8_t>& command) {
  int transferred = 0;
  int result = libusb_bulk_transfer(handle_, 0x01, const_cast<uint8_t*>(command.data()),
                                    static_cast<int>(command.size()), &transferred, 2000);
  return result < 0 ? result : transferred;
}

tsGenCpAck tcU3vHost::ReceiveAck(size_t capacity, unsigned timeoutMs) {
  std::vector<uint8_t> buffer(capacity);
  tsGenCpAck ack;
  int transferred = 0;
  int result = libusb_bulk_transfer(handle_, 0x81, buffer.data(), static_cast<int>(capacity),
                                    &transferred, timeoutMs);
  ack.transferred = result < 0 ? result : transferred;
  if (result < 0 || transferred < 12) return ack;
  ack.prefix = Load<uint32_t>(&buffer[0]);
  ack.status = Load<uint16_t>(&buffer[4]);
  ack.commandId = Load<uint16_t>(&buffer[6]);
  ack.scdLength = Load<uint16_t>(&buffer[8]);
  ack.requestId = Load<uint16_t>(&buffer[10]);
  ack.scd.assign(buffer.begin() + 12, buffer.begin() + transferred);
  return ack;
}

tsGenCpAck tcU3vHost::ReadMem(uint64_t address, uint16_t length, size_t ackCapacity) {
  std::vector<uint8_t> command = Header(0x0800, 12, nextRequestId++);
  Append(command, address);
  Append(command, uint16_t{0});
  Append(command, length);
  if (int sent = Send(command); sent != 24) return Failed(sent);
  return ReceiveAck(ackCapacity);
}

tsGenCpAck tcU3vHost::WriteMem(uint64_t address, const std::vector<uint8_t>& data) {
  std::vector<uint8_t> command =
      Header(0x0802, static_cast<uint16_t>(data.size() + 8), nextRequestId++);
  Append(command, address);
  command.insert(command.end(), data.begin(), data.end());
  if (int sent = Send(command); sent != static_cast<int>(command.size())) return Failed(sent);
  return ReceiveAck();
}

tsGenCpAck tcU3vHost::WriteMem32(uint64_t address, uint32_t value) {
  std::vector<uint8_t> data;
  Append(data, value);
  return WriteMem(address, data);
}

uint64_t tcU3vHost::Read64(uint64_t address) {
  tsGenCpAck ack = ReadMem(address, 8);
  return ack.scd.size() == 8 ? Load<uint64_t>(ack.scd.data()) : ~uint64_t{0};
}

uint32_t tcU3vHost::Read32(uint64_t address) {
  tsGenCpAck ack = ReadMem(address, 4);
  return ack.scd.size() == 4 ? Load<uint32_t>(ack.scd.data()) : ~uint32_t{0};
}
