// Runs the built gentl-tool as a user would, with chosen arguments and environment, and
// captures its exit code and output.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

struct tsToolRun {
  int exitCode = -1;
  std::string out;
  std::string err;
};

class tcToolRunner {
 public:
  // Environment changes for the run: a value sets the variable, nullopt removes it. By default
  // SIMCAM_XML_FILE names the shipped camera file and GENTL_CTI and GENTL_DEBUG are unset.
  using tEnvironment = std::map<std::string, std::optional<std::string>>;

  // Runs `program` (GENTL_TOOL_PATH when empty) with `arguments`.
  static tsToolRun Run(const std::vector<std::string>& arguments, const tEnvironment& changes = {},
                       const std::string& program = "");

  // A new empty folder under the test temporary folder.
  static std::string TempFolder();
};
