// Printing library, interface, device, data stream and port information.
#include "tcInfoCommand.h"

#include <cstdio>

#include "tcInfoPrinter.h"
#include "tcProducer.h"
#include "tcSession.h"

using teLevel = tsModuleChoice::teLevel;

tcInfoCommand::tcInfoCommand(const tcArguments& arguments) : arguments_(arguments) {
  arguments.Check({"--interface", "--device", "--stream", "--remote", "--port"}, 0, 0, "");
}

int tcInfoCommand::Run() {
  tsModuleChoice choice = ChooseModule(arguments_, "");
  tcProducer producer(arguments_.Value("--cti"));
  tcInfoPrinter info(producer);
  tcSession session(producer);
  const bool port = arguments_.Has("--port");
  switch (choice.level) {
    case teLevel::kSystem:
      info.PrintLibrary();
      if (port) info.PrintPort(producer.System());
      break;
    case teLevel::kInterface:
      info.PrintInterface(session.OpenInterface(choice.interfaceId));
      if (port) info.PrintPort(session.Interface());
      break;
    case teLevel::kDevice: {
      session.OpenInterface(choice.interfaceId);
      const std::string device = session.ResolveDevice(choice.deviceId);
      info.PrintDevice(session.Interface(), device);
      if (port) info.PrintPort(session.OpenDevice(device));
      break;
    }
    case teLevel::kStream:
      info.PrintStream(session.OpenPort(choice));
      if (port) info.PrintPort(session.Stream());
      break;
    case teLevel::kRemote: {
      const GenTL::PORT_HANDLE remote = session.OpenPort(choice);
      printf("Remote device of %s\n", choice.deviceId.c_str());
      info.PrintPort(remote);
      break;
    }
  }
  return 0;
}
