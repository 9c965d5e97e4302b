// The loaded GenTL producer with its library initialised and its system module open; turns
// failed calls into tool errors that name the call, the code and its text.
#pragma once

#include <string>
#include <vector>

#include "GenTLLibrary.h"

class tcProducer {
 public:
  // Finds (FindProducer), loads and initialises the producer and opens its system module.
  explicit tcProducer(const std::string& ctiOption);
  ~tcProducer();
  tcProducer(const tcProducer&) = delete;
  tcProducer& operator=(const tcProducer&) = delete;

  GenTLLibrary& Lib() { return lib_; }
  const std::string& Path() const { return path_; }
  GenTL::TL_HANDLE System() const { return system_; }

  // Throws "<call> failed with <name> (<code>): <text>" unless `code` is GC_ERR_SUCCESS. The
  // text is the producer's last-error text when it reports this code, else the table's.
  void Check(const std::string& call, GenTL::GC_ERROR code);
  // The same for calls that do not record a last error (GCReadPort): the table's text only.
  void CheckQuiet(const std::string& call, GenTL::GC_ERROR code);
  // "<name> (<code>): <text>" for `code`, with the last-error text when it matches.
  std::string Describe(GenTL::GC_ERROR code);

  // The interface IDs, after TLUpdateInterfaceList (once).
  const std::vector<std::string>& InterfaceIds();

 private:
  void Load();

  GenTLLibrary lib_;
  std::string path_;
  bool initialised_ = false;
  GenTL::TL_HANDLE system_ = nullptr;
  bool interfacesListed_ = false;
  std::vector<std::string> interfaceIds_;
};
