// Loading the producer, opening its system module and describing failed calls.
#include "tcProducer.h"

#include "GenTLErrors.h"
#include "ToolPaths.h"
#include "tcToolError.h"

tcProducer::tcProducer(const std::string& ctiOption) : path_(FindProducer(ctiOption)) {
  Load();
  Check("GCInitLib", lib_.GCInitLib());
  initialised_ = true;
  Check("TLOpen", lib_.TLOpen(&system_));
}

tcProducer::~tcProducer() {
  if (system_ != nullptr) lib_.TLClose(system_);
  if (initialised_) lib_.GCCloseLib();
}

void tcProducer::Load() {
  // The producer reads SIMCAM_XML_FILE, so it is set before the library loads.
  UseDefaultCameraFile();
  if (!lib_.Open(path_)) {
    throw tcToolError("cannot load the GenTL producer " + path_ + ": " + lib_.Error() + ".");
  }
#define GENTL_REQUIRE(name, params)                                                            \
  if (lib_.name == nullptr) {                                                                  \
    throw tcToolError(path_ + " is not a usable GenTL producer: it does not export " + #name + \
                      ".");                                                                    \
  }
  GENTL_FUNCTIONS(GENTL_REQUIRE)
#undef GENTL_REQUIRE
}

std::string tcProducer::Describe(GenTL::GC_ERROR code) {
  GenTL::GC_ERROR lastCode = GenTL::GC_ERR_SUCCESS;
  char text[1024] = "";
  size_t size = sizeof text;
  std::string message = ErrorText(code);
  if (lib_.GCGetLastError(&lastCode, text, &size) == GenTL::GC_ERR_SUCCESS && lastCode == code &&
      text[0] != '\0') {
    message = text;
  }
  return ErrorName(code) + " (" + std::to_string(code) + "): " + message;
}

void tcProducer::Check(const std::string& call, GenTL::GC_ERROR code) {
  if (code == GenTL::GC_ERR_SUCCESS) return;
  throw tcToolError(call + " failed with " + Describe(code) + ".");
}

void tcProducer::CheckQuiet(const std::string& call, GenTL::GC_ERROR code) {
  if (code == GenTL::GC_ERR_SUCCESS) return;
  throw tcToolError(call + " failed with " + ErrorName(code) + " (" + std::to_string(code) +
                    "): " + ErrorText(code) + ".");
}

const std::vector<std::string>& tcProducer::InterfaceIds() {
  if (interfacesListed_) return interfaceIds_;
  GenTL::bool8_t changed = false;
  Check("TLUpdateInterfaceList", lib_.TLUpdateInterfaceList(system_, &changed, 1000));
  uint32_t count = 0;
  Check("TLGetNumInterfaces", lib_.TLGetNumInterfaces(system_, &count));
  for (uint32_t index = 0; index < count; ++index) {
    char id[1024] = "";
    size_t size = sizeof id;
    Check("TLGetInterfaceID", lib_.TLGetInterfaceID(system_, index, id, &size));
    interfaceIds_.emplace_back(id);
  }
  interfacesListed_ = true;
  return interfaceIds_;
}
