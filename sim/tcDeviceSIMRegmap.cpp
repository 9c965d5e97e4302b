// tcDeviceSIM's register map: loading it from the camera file, finding registers by address
// and by name, and the registers whose value the device computes.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "base/Log.h"
#include "sim/tcDeviceSIM.h"

using namespace GenTL;

namespace {

constexpr uint64_t kMaxRegisterLength = 64ULL << 20;  // one register
constexpr uint64_t kMaxStorage = 256ULL << 20;        // all registers together

// A literal as the loader reads it: a signed 32-bit integer whose base follows its prefix
// (0x hexadecimal, a leading 0 octal, else decimal); trailing text is ignored.
int64_t ParseLiteral(const char* text) {
  errno = 0;
  char* end = nullptr;
  long long value = strtoll(text, &end, 0);
  if (end == text) throw std::runtime_error("invalid stoi argument");
  if (errno == ERANGE || value < INT32_MIN || value > INT32_MAX) {
    throw std::runtime_error("stoi argument out of range");
  }
  return value;
}

uint64_t LittleEndian(const std::vector<uint8_t>& bytes) {
  uint64_t value = 0;
  for (size_t i = std::min<size_t>(bytes.size(), 8); i > 0; --i)
    value = value << 8 | bytes[i - 1];
  return value;
}

void StoreLittleEndian(std::vector<uint8_t>& bytes, uint64_t value) {
  for (size_t i = 0; i < bytes.size() && i < 8; ++i)
    bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

tcDeviceSIM::Role RoleOf(const std::string& name) {
  using Role = tcDeviceSIM::Role;
  static const std::map<std::string, Role> roles = {
      {"RegionSelectorReg", Role::kRegionSelector},
      {"RegionModeReg", Role::kRegionMode},
      {"OffsetXRegister", Role::kOffsetX},
      {"OffsetYRegister", Role::kOffsetY},
      {"ROIWidthRegister", Role::kWidth},
      {"ROIHeightRegister", Role::kHeight},
      {"PayloadSizeRegister", Role::kPayloadSize},
      {"DebugBuffer", Role::kDebugBuffer},
      {"DebugBufferBytesWrittenReg", Role::kDebugBytesWritten},
  };
  auto it = roles.find(name);
  return it != roles.end() ? it->second : Role::kStored;
}

// Visits every element below `root` without recursion (camera files may nest deeply).
template <typename Visit>
void ForEachElement(const pugi::xml_node& root, Visit visit) {
  pugi::xml_node node = root.first_child();
  while (node) {
    if (node.type() == pugi::node_element) visit(node);
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node && node != root && !node.next_sibling())
      node = node.parent();
    if (!node || node == root) break;
    node = node.next_sibling();
  }
}

}  // namespace

void tcDeviceSIM::BuildRegmap(const pugi::xml_node& root) {
  GENTL_LOG(kLogDebug, "Building Regmap");
  ForEachElement(root, [this](const pugi::xml_node& element) {
    if (strcmp(element.name(), "Integer") != 0 || !element.child("Value")) return;
    int64_t value = ParseLiteral(element.child_value("Value"));
    integers_[element.attribute("Name").value()] = value;
    LogPrint(kLogDebug, "tcDeviceSIM::BuildRegmap", "%s = 0x%08x",
             element.attribute("Name").value(), static_cast<uint32_t>(value));
  });
  static const std::pair<const char*, tsRegAccess::Kind> kinds[] = {
      {"StringReg", tsRegAccess::Kind::kString},
      {"IntReg", tsRegAccess::Kind::kInteger},
      {"FloatReg", tsRegAccess::Kind::kFloat},
      {"Register", tsRegAccess::Kind::kRegister}};
  static const char* const words[] = {"String", "Int", "Float", "Register"};
  for (pugi::xml_node group : root.children("Group")) {
    const char* category = group.child("Category") ? group.child_value("Category") : "Unknown";
    GENTL_LOG(kLogDebug, "Category %s", category);
    for (size_t k = 0; k < 4; ++k) {
      for (pugi::xml_node element : group.children(kinds[k].first)) {
        tsRegAccess record;
        record.kind = kinds[k].second;
        if (GetRegData(element, record)) AddRecord(std::move(record), words[k]);
      }
    }
  }
}

bool tcDeviceSIM::GetRegData(const pugi::xml_node& element, tsRegAccess& record) {
  record.name = element.attribute("Name").value();
  uint64_t address = 0;
  for (pugi::xml_node part : element.children("Address")) {
    address += static_cast<uint64_t>(ParseLiteral(part.child_value()));
  }
  for (pugi::xml_node part : element.children("pAddress")) {
    auto it = integers_.find(part.child_value());
    if (it == integers_.end()) {
      GENTL_LOG(kLogError, "Failed to find pAddress register %s", part.child_value());
      return false;
    }
    address += static_cast<uint64_t>(it->second);
  }
  record.address = address;
  record.length = static_cast<uint64_t>(ParseLiteral(element.child_value("Length")));
  if (element.child("AccessMode")) record.accessMode = element.child_value("AccessMode");
  record.role = RoleOf(record.name);
  return true;
}

void tcDeviceSIM::AddRecord(tsRegAccess record, const char* kindWord) {
  bool wraps = record.address + record.length < record.address;
  if (record.length > kMaxRegisterLength || wraps || storageBytes_ + record.length > kMaxStorage) {
    GENTL_LOG(kLogError, "Register %s length 0x%llX too large", record.name, record.length);
    return;
  }
  if (regmap_.count(record.address) != 0) {
    GENTL_LOG(kLogWarning, "Register %s (0x%08x) shares its address with %s; skipped", record.name,
              record.address, regmap_[record.address].name);
    return;
  }
  GENTL_LOG(kLogDebug, "%s (0x%08x) %s", record.name, record.address, kindWord);
  record.data.assign(record.length, 0);
  storageBytes_ += record.length;
  addresses_.emplace(record.name, record.address);
  regmap_.emplace(record.address, std::move(record));
}

GC_ERROR tcDeviceSIM::GetRegAccess(uint64_t address, tsRegAccess** record, uint64_t* offset) {
  *offset = 0;
  auto exact = regmap_.find(address);
  if (exact != regmap_.end()) {
    *record = &exact->second;
    return GC_ERR_SUCCESS;
  }
  for (auto& [start, candidate] : regmap_) {
    GENTL_LOG(kLogVerbose, "Sloppy search: 0x%08x - 0x%08x", start, start + candidate.length);
    if (start < address && address - start < candidate.length) {
      *offset = address - start;
      *record = &candidate;
      return GC_ERR_SUCCESS;
    }
  }
  return GC_ERR_INVALID_ADDRESS;
}

tcDeviceSIM::tsRegAccess* tcDeviceSIM::FindNamed(const std::string& name, const char* kind,
                                                 const char* caller) {
  auto it = addresses_.find(name);
  if (it != addresses_.end()) return &regmap_.at(it->second);
  LogPrintFrom(kLogError, caller, "%s %s register not found", kind, name);
  return nullptr;
}

uint32_t tcDeviceSIM::RegionValue(Role role) const {
  const tsRegion& region = regions_[regionSelector_];
  switch (role) {
    case Role::kRegionSelector:
      return regionSelector_;
    case Role::kRegionMode:
      return region.enabled;
    case Role::kOffsetX:
      return region.offsetX;
    case Role::kOffsetY:
      return region.offsetY;
    case Role::kWidth:
      return region.width;
    case Role::kHeight:
      return region.height;
    default:
      return 0;
  }
}

std::vector<uint8_t> tcDeviceSIM::CurrentBytes(const tsRegAccess& record) {
  switch (record.role) {
    case Role::kStored:
    case Role::kDebugBuffer:
      return record.data;
    case Role::kPayloadSize: {
      std::vector<uint8_t> bytes(record.length, 0);
      StoreLittleEndian(bytes, GetPayloadSize());
      return bytes;
    }
    case Role::kDebugBytesWritten: {
      std::vector<uint8_t> bytes(record.length, 0);
      StoreLittleEndian(bytes, LogRingTotal());
      return bytes;
    }
    default: {
      std::vector<uint8_t> bytes(record.length, 0);
      StoreLittleEndian(bytes, RegionValue(record.role));
      return bytes;
    }
  }
}

GC_ERROR tcDeviceSIM::ApplyRegion(Role role, uint32_t value) {
  if (role == Role::kRegionSelector) {
    if (value >= kRegionCount) return GC_ERR_INVALID_VALUE;
    regionSelector_ = value;
    return GC_ERR_SUCCESS;
  }
  tsRegion region = regions_[regionSelector_];
  switch (role) {
    case Role::kRegionMode:
      regions_[regionSelector_].enabled = value;  // every region fits the sensor already
      return GC_ERR_SUCCESS;
    case Role::kOffsetX:
      region.offsetX = value;
      break;
    case Role::kOffsetY:
      region.offsetY = value;
      break;
    case Role::kWidth:
      region.width = value;
      break;
    case Role::kHeight:
      region.height = value;
      break;
    default:
      return GC_ERR_SUCCESS;
  }
  uint64_t sensorWidth = 0, sensorHeight = 0;
  GetInt("SensorWidth", &sensorWidth);
  GetInt("SensorHeight", &sensorHeight);
  bool inside = region.width > 0 && region.height > 0 &&
                uint64_t{region.offsetX} + region.width <= sensorWidth &&
                uint64_t{region.offsetY} + region.height <= sensorHeight;
  if (!inside) return GC_ERR_INVALID_VALUE;
  regions_[regionSelector_] = region;
  return GC_ERR_SUCCESS;
}

// Like a real camera whose maximum size changes: every region, enabled or not, shrinks to the
// sensor first, then moves so that it fits.
void tcDeviceSIM::ClampRegions() {
  uint64_t sensorWidth = 0, sensorHeight = 0;
  GetInt("SensorWidth", &sensorWidth);
  GetInt("SensorHeight", &sensorHeight);
  for (tsRegion& region : regions_) {
    region.width = static_cast<uint32_t>(std::min<uint64_t>(region.width, sensorWidth));
    region.height = static_cast<uint32_t>(std::min<uint64_t>(region.height, sensorHeight));
    region.offsetX =
        static_cast<uint32_t>(std::min<uint64_t>(region.offsetX, sensorWidth - region.width));
    region.offsetY =
        static_cast<uint32_t>(std::min<uint64_t>(region.offsetY, sensorHeight - region.height));
  }
}

void tcDeviceSIM::Stored(const tsRegAccess& record) {
  if (record.name == "SensorWidth" || record.name == "SensorHeight") ClampRegions();
}

GC_ERROR tcDeviceSIM::Apply(tsRegAccess& record, const std::vector<uint8_t>& bytes) {
  switch (record.role) {
    case Role::kStored:
      record.data = bytes;
      Stored(record);
      return GC_ERR_SUCCESS;
    case Role::kPayloadSize:
    case Role::kDebugBuffer:
    case Role::kDebugBytesWritten:
      return GC_ERR_SUCCESS;  // computed from the device's state; writes change nothing
    default:
      return ApplyRegion(record.role, static_cast<uint32_t>(LittleEndian(bytes)));
  }
}

GC_ERROR tcDeviceSIM::ReadRegisters(uint64_t address, void* buffer, size_t size) {
  tsRegAccess* record = nullptr;
  uint64_t offset = 0;
  GC_ERROR result = GetRegAccess(address, &record, &offset);
  if (result != GC_ERR_SUCCESS) return result;
  if (size > record->length - offset) return GC_ERR_INVALID_ADDRESS;
  if (record->role == Role::kDebugBuffer) {
    size_t copied = size;
    LogRingRead(offset, buffer, &copied);
    memset(static_cast<uint8_t*>(buffer) + copied, 0, size - copied);
  } else if (record->role == Role::kStored) {
    memcpy(buffer, record->data.data() + offset, size);
  } else {
    memcpy(buffer, CurrentBytes(*record).data() + offset, size);
  }
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDeviceSIM::WriteRegisters(uint64_t address, const void* buffer, size_t size) {
  tsRegAccess* record = nullptr;
  uint64_t offset = 0;
  GC_ERROR result = GetRegAccess(address, &record, &offset);
  if (result != GC_ERR_SUCCESS) return result;
  if (size > record->length - offset) return GC_ERR_INVALID_ADDRESS;
  if (record->role == Role::kStored) {
    memcpy(record->data.data() + offset, buffer, size);
    Stored(*record);
    return GC_ERR_SUCCESS;
  }
  std::vector<uint8_t> bytes = CurrentBytes(*record);
  memcpy(bytes.data() + offset, buffer, size);
  return Apply(*record, bytes);
}

bool tcDeviceSIM::GetInt(const std::string& name, uint64_t* value) {
  tsRegAccess* record = FindNamed(name, "Int", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  *value = LittleEndian(CurrentBytes(*record));
  GENTL_LOG(kLogDebug, "[%s, 0x%X] <= %u", name, record->address, *value);
  return true;
}

bool tcDeviceSIM::SetInt(const std::string& name, uint64_t value) {
  tsRegAccess* record = FindNamed(name, "Int", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  std::vector<uint8_t> bytes = CurrentBytes(*record);
  GENTL_LOG(kLogDebug, "[%s, 0x%X] %u => %u", name, record->address, LittleEndian(bytes), value);
  StoreLittleEndian(bytes, value);
  return Apply(*record, bytes) == GC_ERR_SUCCESS;
}

bool tcDeviceSIM::GetFloat(const std::string& name, double* value) {
  tsRegAccess* record = FindNamed(name, "Float", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  if (record->length == 4) {
    float single = 0;
    memcpy(&single, record->data.data(), 4);
    *value = single;
  } else {
    *value = 0;
    size_t bytes = std::min<uint64_t>(record->length, 8);
    if (bytes > 0) memcpy(value, record->data.data(), bytes);  // a zero-length register has no data
  }
  GENTL_LOG(kLogDebug, "[%s, 0x%X] <= %f", name, record->address, *value);
  return true;
}

bool tcDeviceSIM::SetFloat(const std::string& name, double value) {
  tsRegAccess* record = FindNamed(name, "Float", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  GENTL_LOG(kLogDebug, "[%s, 0x%X] => %f", name, record->address, value);
  if (record->length == 4) {
    float single = static_cast<float>(value);
    memcpy(record->data.data(), &single, 4);
  } else {
    size_t bytes = std::min<uint64_t>(record->length, 8);
    if (bytes > 0) memcpy(record->data.data(), &value, bytes);
  }
  return true;
}

bool tcDeviceSIM::GetString(const std::string& name, std::string* value) {
  tsRegAccess* record = FindNamed(name, "String", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  const char* text = reinterpret_cast<const char*>(record->data.data());
  value->assign(text, strnlen(text, record->data.size()));
  GENTL_LOG(kLogDebug, "[%s, 0x%X] <= %s", name, record->address, *value);
  return true;
}

bool tcDeviceSIM::SetString(const std::string& name, const std::string& value) {
  tsRegAccess* record = FindNamed(name, "String", __PRETTY_FUNCTION__);
  if (record == nullptr || record->length == 0) return false;
  GENTL_LOG(kLogDebug, "[%s, 0x%X] => %s", name, record->address, value);
  std::fill(record->data.begin(), record->data.end(), 0);
  memcpy(record->data.data(), value.data(), std::min<size_t>(value.size(), record->length - 1));
  return true;
}

bool tcDeviceSIM::GetRegister(const std::string& name, uint64_t offset, uint32_t* value) {
  tsRegAccess* record = FindNamed(name, "Register", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  if (record->length < 4 || offset > record->length - 4) {
    GENTL_LOG(kLogError, "Register offset too large: %lu", offset);
    return false;
  }
  ReadRegisters(record->address + offset, value, 4);
  GENTL_LOG(kLogDebug, "[%s, 0x%X] offset 0x%X <= uint32(%u)", name, record->address, offset,
            *value);
  return true;
}

bool tcDeviceSIM::SetRegister(const std::string& name, uint64_t offset, uint32_t value) {
  tsRegAccess* record = FindNamed(name, "Register", __PRETTY_FUNCTION__);
  if (record == nullptr) return false;
  if (record->length < 4 || offset > record->length - 4) {
    GENTL_LOG(kLogError, "Register offset too large: %lu", offset);
    return false;
  }
  GENTL_LOG(kLogDebug, "[%s, 0x%X] offset 0x%X => uint32(%u)", name, record->address, offset,
            value);
  return WriteRegisters(record->address + offset, &value, 4) == GC_ERR_SUCCESS;
}
