// gentl-tool check-xml: reports the read cycles of GenApi description files.
#pragma once

#include <string>

#include "tcArguments.h"

class tcCheckXmlCommand {
 public:
  // Throws a usage error for arguments that do not belong to the command.
  explicit tcCheckXmlCommand(const tcArguments& arguments);
  // 0 when every file is free of read cycles, 1 when one has a cycle, 2 when one cannot be
  // read or parsed.
  int Run();

 private:
  static constexpr int kCycles = 1;
  static constexpr int kUnreadable = 2;

  // The exit code for one file, after printing its result.
  static int CheckFile(const std::string& path);

  const tcArguments& arguments_;
};
