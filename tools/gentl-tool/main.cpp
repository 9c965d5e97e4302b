// gentl-tool: a GenTL consumer on the command line. Loads gentl.cti through dlopen and uses
// the exported GenTL functions only.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "GenTLLibrary.h"

namespace {

// The producer next to this program (build tree) or in ../lib/gentl (installed layout).
std::string DefaultProducerPath() {
  if (const char* path = getenv("GENTL_CTI")) return path;
  char self[4096];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return "gentl.cti";
  self[n] = '\0';
  std::string dir(self);
  dir.erase(dir.find_last_of('/'));
  std::string beside = dir + "/gentl.cti";
  if (access(beside.c_str(), R_OK) == 0) return beside;
  return dir + "/../lib/gentl/gentl.cti";
}

int Fail(GenTLLibrary& lib, const char* call, GenTL::GC_ERROR code) {
  char text[256] = "";
  size_t size = sizeof text;
  GenTL::GC_ERROR last = code;
  if (lib.GCGetLastError != nullptr) lib.GCGetLastError(&last, text, &size);
  fprintf(stderr, "gentl-tool: %s failed with code %d (%s)\n", call, code, text);
  return 1;
}

const char* const kInfoNames[] = {"ID",          "Vendor",       "Model",
                                  "Version",     "TL type",      "File name",
                                  "Path name",   "Display name", "Character encoding",
                                  "GenTL major", "GenTL minor"};

int PrintLibraryInfo(GenTLLibrary& lib) {
  if (lib.GCInitLib == nullptr || lib.GCGetInfo == nullptr) {
    fprintf(stderr, "gentl-tool: the producer does not export GCInitLib and GCGetInfo\n");
    return 1;
  }
  GenTL::GC_ERROR status = lib.GCInitLib();
  if (status != GenTL::GC_ERR_SUCCESS) return Fail(lib, "GCInitLib", status);
  printf("Library information\n");
  for (int cmd = GenTL::TL_INFO_ID; cmd <= GenTL::TL_INFO_GENTL_VER_MINOR; ++cmd) {
    char value[2048] = "";
    size_t size = sizeof value;
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    status = lib.GCGetInfo(cmd, &type, value, &size);
    if (status != GenTL::GC_ERR_SUCCESS) return Fail(lib, "GCGetInfo", status);
    if (type == GenTL::INFO_DATATYPE_STRING) {
      printf("  %-20s %s\n", kInfoNames[cmd], value);
    } else {
      uint32_t number = 0;
      memcpy(&number, value, sizeof number);
      printf("  %-20s %u\n", kInfoNames[cmd], number);
    }
  }
  lib.GCCloseLib();
  return 0;
}

void Usage() {
  fprintf(stderr,
          "usage: gentl-tool [--cti PATH] info\n"
          "  info    print the library information of the GenTL producer\n");
}

}  // namespace

int main(int argc, char** argv) {
  std::string cti = DefaultProducerPath();
  int arg = 1;
  if (arg + 1 < argc && strcmp(argv[arg], "--cti") == 0) {
    cti = argv[arg + 1];
    arg += 2;
  }
  if (arg >= argc || strcmp(argv[arg], "info") != 0) {
    Usage();
    return 2;
  }
  GenTLLibrary lib;
  if (!lib.Open(cti)) {
    fprintf(stderr, "gentl-tool: cannot load the GenTL producer %s: %s\n", cti.c_str(),
            lib.Error().c_str());
    return 1;
  }
  return PrintLibraryInfo(lib);
}
