// Fetching a description through the port's URL and writing it out unchanged.
#include "tcXmlCommand.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "tcPortAccess.h"
#include "tcProducer.h"
#include "tcSession.h"
#include "tcToolError.h"

tcXmlCommand::tcXmlCommand(const tcArguments& arguments) : arguments_(arguments) {
  arguments.Check({"--interface", "--device", "--stream", "--remote", "-o"}, 0, 1, "");
}

int tcXmlCommand::Run() {
  const std::string word = arguments_.Positional().empty() ? "" : arguments_.Positional()[0];
  tsModuleChoice choice = ChooseModule(arguments_, word);
  tcProducer producer(arguments_.Value("--cti"));
  tcSession session(producer);
  const GenTL::PORT_HANDLE port = session.OpenPort(choice);
  const tcPortAccess::tsDescription description = tcPortAccess(producer, port).Description();
  const std::string output = arguments_.Value("-o", "-");
  if (output == "-") {
    fwrite(description.text.data(), 1, description.text.size(), stdout);
    return 0;
  }
  std::ofstream file(output, std::ios::binary);
  file.write(description.text.data(), static_cast<std::streamsize>(description.text.size()));
  file.close();
  if (!file) throw tcToolError("cannot write " + output + ": " + strerror(errno) + ".");
  printf("Wrote the description of the %s (%s, %zu bytes, from %s) to %s\n",
         ModuleName(choice).c_str(), description.fileName.c_str(), description.text.size(),
         description.url.c_str(), output.c_str());
  return 0;
}
