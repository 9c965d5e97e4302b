// tcPort: registration, serialised access and the stacked calls.
#include "modules/tcPort.h"

#include "base/HandleRegistry.h"
#include "base/Log.h"

using namespace GenTL;

tcPort::tcPort(std::string name) : name_(std::move(name)) {
  HandleRegistry::Enter(this, HandleKind::kPort);
  GENTL_LOG(kLogDebug, "%s, this = 0x%X", name_, this);
}

tcPort::~tcPort() {
  HandleRegistry::Leave(this);
}

GC_ERROR tcPort::ReadPort(uint64_t address, void* buffer, size_t* size) {
  tcMutexLock lock(access_);
  return Read(address, buffer, size);
}

GC_ERROR tcPort::WritePort(uint64_t address, const void* buffer, size_t* size) {
  tcMutexLock lock(access_);
  return Write(address, buffer, size);
}

namespace {

// Runs `access` on each entry until one fails; *count becomes the number of entries tried.
template <typename Access>
GC_ERROR RunStack(PORT_REGISTER_STACK_ENTRY* entries, size_t* count, Access access) {
  if (entries == nullptr || count == nullptr) return GC_ERR_INVALID_PARAMETER;
  GC_ERROR result = GC_ERR_SUCCESS;
  size_t i = 0;
  while (i < *count) {
    result = access(entries[i++]);
    if (result != GC_ERR_SUCCESS) break;
  }
  *count = i;
  return result;
}

}  // namespace

GC_ERROR tcPort::ReadPortStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t* count) {
  return RunStack(entries, count, [this](PORT_REGISTER_STACK_ENTRY& entry) {
    return ReadPort(entry.Address, entry.pBuffer, &entry.Size);
  });
}

GC_ERROR tcPort::WritePortStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t* count) {
  return RunStack(entries, count, [this](PORT_REGISTER_STACK_ENTRY& entry) {
    return WritePort(entry.Address, entry.pBuffer, &entry.Size);
  });
}
