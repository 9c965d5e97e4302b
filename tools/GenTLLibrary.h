// Loads a GenTL producer (.cti) with dlopen and resolves every GenTL function by name, as any
// GenTL consumer does. Functions the producer does not export stay null.
#pragma once

#include <dlfcn.h>

#include <string>

#include "GenTL.h"

class GenTLLibrary {
 public:
  GenTLLibrary() = default;
  ~GenTLLibrary() { Close(); }
  GenTLLibrary(const GenTLLibrary&) = delete;
  GenTLLibrary& operator=(const GenTLLibrary&) = delete;

  // Loads `path`; false with Error() set when dlopen fails.
  bool Open(const std::string& path) {
    Close();
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) {
      const char* text = dlerror();
      error_ = text != nullptr ? text : "dlopen failed";
      return false;
    }
#define GENTL_RESOLVE(name, params) name = reinterpret_cast<GenTL::P##name>(dlsym(handle_, #name));
    GENTL_FUNCTIONS(GENTL_RESOLVE)
#undef GENTL_RESOLVE
    return true;
  }

  void Close() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
  }

  const std::string& Error() const {
    return error_;
  }

#define GENTL_MEMBER(name, params) GenTL::P##name name = nullptr;
  GENTL_FUNCTIONS(GENTL_MEMBER)
#undef GENTL_MEMBER

 private:
  void* handle_ = nullptr;
  std::string error_;
};
