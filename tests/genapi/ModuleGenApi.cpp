// Loads a GenTL port's description into Aravis over the port, and reads enumeration values.
#include "ModuleGenApi.h"

#include "GenTLPort.h"

tcModuleGenApi::tcModuleGenApi(GenTLLibrary& lib, void* port, bool registerCache) {
  std::string xml = FetchPortDescription(lib, port, &error_).text;
  if (xml.empty()) return;
  device_ = NewPortDevice(PortAccessFor(lib, port));
  gc_ = NewGenApi(device_.get(), xml);
  if (gc_ == nullptr) {
    error_ = "Aravis cannot parse the description";
    return;
  }
  UseRegisterCache(gc_.get(), registerCache);
}

std::string GetEnumerationValue(ArvGc* gc, const std::string& name, int64_t* value) {
  ArvGcNode* node = arv_gc_get_node(gc, name.c_str());
  if (node == nullptr || !ARV_IS_GC_ENUMERATION(node)) return name + " is not an Enumeration";
  GError* error = nullptr;
  *value = arv_gc_enumeration_get_int_value(ARV_GC_ENUMERATION(node), &error);
  if (error == nullptr) return "";
  std::string text = name + ": " + error->message;
  g_error_free(error);
  return text;
}
