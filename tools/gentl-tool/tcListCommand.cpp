// Listing the module tree. Only the Simulated interface and the one named with --interface are
// searched for devices: searching GEV broadcasts on every network adapter.
#include "tcListCommand.h"

#include <cstdio>

#include "tcSession.h"

using namespace GenTL;

tcListCommand::tcListCommand(const tcArguments& arguments) : arguments_(arguments) {
  arguments.Check({"--interface"}, 0, 0, "");
}

int tcListCommand::Run() {
  tcProducer producer(arguments_.Value("--cti"));
  tcInfoPrinter info(producer);
  const std::string searched = arguments_.Value("--interface", "Simulated");
  if (arguments_.Has("--interface")) {
    // Fails with the list of interfaces when the named one does not exist.
    tcSession(producer).OpenInterface(searched);
  }
  const auto name = info.Text(
      "TLGetInfo(TL_INFO_DISPLAYNAME)", [&](INFO_DATATYPE* type, void* buffer, size_t* size) {
        return producer.Lib().TLGetInfo(producer.System(), TL_INFO_DISPLAYNAME, type, buffer, size);
      });
  printf("System %s (%s)\n", name.value_or("").c_str(), producer.Path().c_str());
  for (const std::string& id : producer.InterfaceIds()) {
    PrintInterface(producer, info, id, id == "Simulated" || id == searched);
  }
  return 0;
}

void tcListCommand::PrintInterface(tcProducer& producer, tcInfoPrinter& info, const std::string& id,
                                   bool search) {
  GenTLLibrary& lib = producer.Lib();
  printf("  Interface %s\n", id.c_str());
  // Asked through the system, so that an interface that is not searched is not opened either.
  auto interfaceInfo = [&](INTERFACE_INFO_CMD command, const char* label, const char* call) {
    const auto text = info.Text(call, [&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return lib.TLGetInterfaceInfo(producer.System(), id.c_str(), command, type, buffer, size);
    });
    if (text) printf("    %-16s %s\n", label, text->c_str());
  };
  interfaceInfo(INTERFACE_INFO_DISPLAYNAME, "Display name", "TLGetInterfaceInfo(DISPLAYNAME)");
  interfaceInfo(INTERFACE_INFO_TLTYPE, "TL type", "TLGetInterfaceInfo(TLTYPE)");
  if (!search) {
    printf("    (not opened or searched; gentl-tool list --interface %s searches it)\n",
           id.c_str());
    return;
  }
  tcSession session(producer);
  const IF_HANDLE interface = session.OpenInterface(id);
  const auto& devices = session.DeviceIds();
  if (devices.empty()) printf("    (no devices)\n");
  for (const std::string& device : devices) {
    printf("    Device %s\n", device.c_str());
    auto deviceInfo = [&](DEVICE_INFO_CMD command, const char* call) {
      return info.Text(call, [&](INFO_DATATYPE* type, void* buffer, size_t* size) {
        return lib.IFGetDeviceInfo(interface, device.c_str(), command, type, buffer, size);
      });
    };
    const auto print = [](const char* label, const std::optional<std::string>& text) {
      if (text) printf("      %-16s %s\n", label, text->c_str());
    };
    print("Vendor", deviceInfo(DEVICE_INFO_VENDOR, "IFGetDeviceInfo(VENDOR)"));
    print("Model", deviceInfo(DEVICE_INFO_MODEL, "IFGetDeviceInfo(MODEL)"));
    print("Serial number", deviceInfo(DEVICE_INFO_SERIAL_NUMBER, "IFGetDeviceInfo(SERIAL_NUMBER)"));
    const auto status = info.Number(
        "IFGetDeviceInfo(ACCESS_STATUS)", [&](INFO_DATATYPE* type, void* buffer, size_t* size) {
          return lib.IFGetDeviceInfo(interface, device.c_str(), DEVICE_INFO_ACCESS_STATUS, type,
                                     buffer, size);
        });
    if (status) print("Access status", tcInfoPrinter::AccessStatusName(*status));
  }
}
