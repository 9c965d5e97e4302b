// A GenTL port's GenApi description running in Aravis over that same port, loaded the way a
// GenTL consumer loads it: URL, description text, node map with GCReadPort/GCWritePort access.
#pragma once

#include <cstdint>
#include <string>

#include "ArvPortDevice.h"
#include "GenTLLibrary.h"

class tcModuleGenApi {
 public:
  // Fetches the description of `port` and builds its node map; Gc() is null and Error() says
  // why when either step fails. `lib` must outlive the object.
  tcModuleGenApi(GenTLLibrary& lib, void* port, bool registerCache);

  ArvGc* Gc() const { return gc_.get(); }
  const std::string& Error() const { return error_; }

 private:
  tcGObjectPtr<ArvDevice> device_;
  tcGObjectPtr<ArvGc> gc_;  // declared after device_: destroyed first
  std::string error_;
};

// The integer value of the current entry of enumeration `name`; the error text, empty on
// success.
std::string GetEnumerationValue(ArvGc* gc, const std::string& name, int64_t* value);
