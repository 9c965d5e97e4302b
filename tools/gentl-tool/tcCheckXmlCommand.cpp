// Reading each description file, checking it and printing one line per file or per cycle.
#include "tcCheckXmlCommand.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tcReadCycleCheck.h"

tcCheckXmlCommand::tcCheckXmlCommand(const tcArguments& arguments) : arguments_(arguments) {
  arguments.Check({}, 1, SIZE_MAX, "one or more description files");
}

int tcCheckXmlCommand::Run() {
  int result = 0;
  for (const std::string& path : arguments_.Positional())
    result = std::max(result, CheckFile(path));
  return result;
}

int tcCheckXmlCommand::CheckFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    fprintf(stderr, "gentl-tool: cannot read %s: %s.\n", path.c_str(), strerror(errno));
    return kUnreadable;
  }
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  try {
    const tcReadCycleCheck check(text);
    if (check.CyclePaths().empty()) {
      printf("%s: no read cycles\n", path.c_str());
      return 0;
    }
    for (const std::string& cycle : check.CyclePaths())
      printf("%s: read cycle %s\n", path.c_str(), cycle.c_str());
    return kCycles;
  } catch (const std::runtime_error& error) {
    fflush(stdout);
    fprintf(stderr, "gentl-tool: %s is not a GenApi description: %s.\n", path.c_str(),
            error.what());
    return kUnreadable;
  }
}
