// Base of every GenICam port: the four modules and the remote device ports. Register access is
// serialised by one recursive mutex per port.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "GenTL.h"
#include "base/tcMutex.h"

class tcPort {
 public:
  explicit tcPort(std::string name);
  virtual ~tcPort();
  tcPort(const tcPort&) = delete;
  tcPort& operator=(const tcPort&) = delete;

  virtual GenTL::GC_ERROR GetPortURL(char* url, size_t* size) = 0;
  virtual GenTL::GC_ERROR GetPortInfo(int32_t command, int32_t* type, void* buffer,
                                      size_t* size) = 0;
  virtual GenTL::GC_ERROR GetNumPortURLs(uint32_t* count) = 0;
  virtual GenTL::GC_ERROR GetPortURLInfo(uint32_t index, int32_t command, int32_t* type,
                                         void* buffer, size_t* size) = 0;
  // Read/Write under the access mutex.
  virtual GenTL::GC_ERROR ReadPort(uint64_t address, void* buffer, size_t* size);
  virtual GenTL::GC_ERROR WritePort(uint64_t address, const void* buffer, size_t* size);
  // Entry by entry, the mutex taken per entry; stops after the first failure and reports the
  // number of entries tried (the failing one included) in *count.
  virtual GenTL::GC_ERROR ReadPortStacked(GenTL::PORT_REGISTER_STACK_ENTRY* entries, size_t* count);
  virtual GenTL::GC_ERROR WritePortStacked(GenTL::PORT_REGISTER_STACK_ENTRY* entries,
                                           size_t* count);
  // The port's own register access, called with the access mutex held.
  virtual GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size)
      GENTL_REQUIRES(access_) = 0;
  virtual GenTL::GC_ERROR Write(uint64_t address, const void* buffer, size_t* size)
      GENTL_REQUIRES(access_) = 0;

  const std::string& Name() const { return name_; }
  // The mutex that serialises register access; other code reading the port's registers takes
  // it too.
  tcRecursiveMutex& AccessMutex() GENTL_RETURN_CAPABILITY(access_) { return access_; }

 private:
  std::string name_;
  tcRecursiveMutex access_;
};
