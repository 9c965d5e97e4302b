// The port side shared by the library's own modules (system, interface, device, data stream):
// a generated GenApi description served from address 0, its "local:" URL and the port
// information table.
#pragma once

#include <string>

#include "modules/tcPort.h"

// How a module's port introduces itself.
struct tsModulePortIdentity {
  const char* moduleClass;  // class name used in log lines, e.g. "tcSystem"
  const char* portId;       // PORT_INFO_ID and PORT_INFO_MODEL, e.g. "SystemPort"
  const char* module;       // PORT_INFO_MODULE, e.g. "System"
  const char* portName;     // PORT_INFO_PORTNAME, the description's port node, e.g. "TLPort"
  const char* urlPrefix;    // description file name before ".xml", e.g. "vantora_interface_"
  bool urlNamesPort;        // the port name follows the prefix in the file name
  bool warnUnknownInfo;     // log unknown PORT_INFO commands
};

class tcModulePort : public tcPort {
 public:
  tcModulePort(std::string name, const tsModulePortIdentity& identity);

  GenTL::GC_ERROR GetPortURL(char* url, size_t* size) override;
  GenTL::GC_ERROR GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR GetNumPortURLs(uint32_t* count) override;
  GenTL::GC_ERROR GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                 size_t* size) override;

  // The description text, built on first need.
  const std::string& Description();

 protected:
  // Builds the module's GenApi description.
  virtual std::string BuildXml() = 0;
  // Serves a read that lies wholly inside the description; false when it does not.
  bool ReadDescription(uint64_t address, void* buffer, size_t size);
  const tsModulePortIdentity& Identity() const { return identity_; }

 private:
  std::string Url();

  tsModulePortIdentity identity_;
  std::string xml_ GENTL_GUARDED_BY(AccessMutex());  // empty until built
};
