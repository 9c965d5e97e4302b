// Locating the producer and the camera file relative to the executable, the environment and
// the source tree the tool was built from.
#include "ToolPaths.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tcToolError.h"

// Relative paths from the installed executable's folder, and the source tree; set by CMake.
#ifndef GENTL_TOOL_BIN_TO_PRODUCER
#define GENTL_TOOL_BIN_TO_PRODUCER "../lib/gentl"
#endif
#ifndef GENTL_TOOL_BIN_TO_DATA
#define GENTL_TOOL_BIN_TO_DATA "../share/gentl"
#endif
#ifndef GENTL_TOOL_SOURCE_DIR
#define GENTL_TOOL_SOURCE_DIR ""
#endif

namespace {

bool Exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

// "/opt/x/bin/../lib/gentl/gentl.cti" -> "/opt/x/lib/gentl/gentl.cti".
std::string Normal(const std::string& path) {
  return std::filesystem::path(path).lexically_normal().string();
}

std::string MissingProducer(const std::string& path, const char* source) {
  return "the GenTL producer " + path + source + " does not exist.";
}

}  // namespace

std::string ExecutableDirectory() {
  std::vector<char> path(4096);
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size() - 1);
  if (length <= 0) return ".";
  std::string directory(path.data(), static_cast<size_t>(length));
  return directory.substr(0, directory.find_last_of('/'));
}

std::string FindProducer(const std::string& option) {
  if (!option.empty()) {
    if (!Exists(option)) throw tcToolError(MissingProducer(option, " (named by --cti)"));
    return option;
  }
  if (const char* path = getenv("GENTL_CTI"); path != nullptr && *path != '\0') {
    if (!Exists(path)) throw tcToolError(MissingProducer(path, " (named by GENTL_CTI)"));
    return path;
  }
  const std::string directory = ExecutableDirectory();
  const std::string beside = directory + "/gentl.cti";
  if (Exists(beside)) return beside;
  const std::string installed = Normal(directory + "/" GENTL_TOOL_BIN_TO_PRODUCER "/gentl.cti");
  if (Exists(installed)) return installed;
  throw tcToolError("no GenTL producer found (looked for " + beside + " and " + installed +
                    "); name one with --cti PATH or GENTL_CTI.");
}

void UseDefaultCameraFile() {
  if (getenv("SIMCAM_XML_FILE") != nullptr) return;
  const std::string candidates[] = {
      Normal(ExecutableDirectory() + "/" GENTL_TOOL_BIN_TO_DATA "/cameras/SimCam.xml"),
      std::string(GENTL_TOOL_SOURCE_DIR) + "/cameras/SimCam.xml",
  };
  for (const std::string& candidate : candidates) {
    if (Exists(candidate)) {
      setenv("SIMCAM_XML_FILE", candidate.c_str(), 1);
      return;
    }
  }
}

void CheckCameraFile() {
  const char* path = getenv("SIMCAM_XML_FILE");
  if (path == nullptr) return;
  std::ifstream file(path);
  if (!file) {
    throw tcToolError("the camera file \"" + std::string(path) +
                      "\" named by SIMCAM_XML_FILE cannot be read: " + strerror(errno) + ".");
  }
}
