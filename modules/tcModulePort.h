// The port side shared by the library's own modules (system, interface, device, data stream):
// a GenApi description generated from the module's feature table and served from address 0,
// its "local:" URL, the port information table and the virtual registers of the table.
#pragma once

#include <memory>
#include <string>

#include "modules/tcFeatureTable.h"
#include "modules/tcPort.h"

// How a module's port introduces itself.
struct tsModulePortIdentity {
  const char* moduleClass;      // class name used in log lines, e.g. "tcSystem"
  const char* portId;           // PORT_INFO_ID and PORT_INFO_MODEL, e.g. "SystemPort"
  const char* module;           // PORT_INFO_MODULE, e.g. "System"
  const char* portName;         // PORT_INFO_PORTNAME, the description's port node, e.g. "TLPort"
  const char* portDisplayName;  // the port node's display name, e.g. "TL Port"
  const char* portDescription;  // the port node's description
  const char* urlPrefix;        // description file name before ".xml", e.g. "vantora_interface_"
  bool urlNamesPort;            // the port name follows the prefix in the file name
  bool warnUnknownInfo;         // log unknown PORT_INFO commands
};

class tcModulePort : public tcPort {
 public:
  tcModulePort(std::string name, const tsModulePortIdentity& identity);

  GenTL::GC_ERROR GetPortURL(char* url, size_t* size) override;
  GenTL::GC_ERROR GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR GetNumPortURLs(uint32_t* count) override;
  GenTL::GC_ERROR GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                 size_t* size) override;
  // The description from address 0, then the registers of the feature table.
  GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR Write(uint64_t address, const void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());

  // The description text, built on first need.
  const std::string& Description();

 protected:
  // Declares the module's features and registers; subclasses add theirs after their base's.
  virtual void AddFeatures(tcFeatureTable& table) = 0;
  // Builds the module's GenApi description from its feature table.
  virtual std::string BuildXml() GENTL_REQUIRES(AccessMutex());
  const tsModulePortIdentity& Identity() const { return identity_; }

 private:
  std::string Url();
  // Serves a read that lies wholly inside the description; false when it does not.
  bool ReadDescription(uint64_t address, void* buffer, size_t size) GENTL_REQUIRES(AccessMutex());
  // The feature table, declared on first need.
  const tcFeatureTable& Features() GENTL_REQUIRES(AccessMutex());

  tsModulePortIdentity identity_;
  std::string xml_ GENTL_GUARDED_BY(AccessMutex());  // empty until built
  std::unique_ptr<tcFeatureTable> features_ GENTL_GUARDED_BY(AccessMutex());
};
