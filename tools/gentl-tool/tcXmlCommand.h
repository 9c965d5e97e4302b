// gentl-tool xml: a module's or the remote device's GenApi description, to a file or stdout.
#pragma once

#include "tcArguments.h"

class tcXmlCommand {
 public:
  // Throws a usage error for arguments that do not belong to the command.
  explicit tcXmlCommand(const tcArguments& arguments);
  int Run();

 private:
  const tcArguments& arguments_;
};
