// tcInterfaceSIM: the one simulated camera, made on the first device list update from the
// camera file that SIMCAM_XML_FILE names.
#include "sim/tcInterfaceSIM.h"

#include <cstdlib>
#include <exception>

#include "base/Log.h"
#include "sim/tcDeviceSIM.h"

using namespace GenTL;

tcInterfaceSIM::tcInterfaceSIM(tcSystem* system) : tcInterface("Simulated", "Custom", system) {}

GC_ERROR tcInterfaceSIM::UpdateDeviceList(bool8_t* changed, uint64_t) {
  size_t before = DeviceCount();
  if (!MarkListUpdated()) {
    const char* path = getenv("SIMCAM_XML_FILE");
    if (path == nullptr) {
      GENTL_LOG(kLogInfo, "SIMCAM_XML_FILE is not set: no simulated camera");
    } else {
      try {
        AddDevice(MakeModule<tcDeviceSIM>(path, this));
      } catch (const std::exception& error) {
        GENTL_LOG(kLogError, "Failed to load tcDeviceSIM: \n %s", error.what());
      }
    }
  }
  if (changed != nullptr) *changed = DeviceCount() != before;
  return GC_ERR_SUCCESS;
}
