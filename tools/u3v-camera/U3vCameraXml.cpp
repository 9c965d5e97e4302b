// The GenApi description u3v-camera serves from its memory. Every feature reads its own
// register (no read cycles over value links); the register addresses are tcU3vRegisters'.
#include "U3vCameraXml.h"

#include "GenApiXml.h"
#include "tcU3vRegisters.h"

using namespace genapixml;

namespace {

using R = tcU3vRegisters;

// Identity, straight from the ABRM.
std::string DeviceControl() {
  return StringReg("DeviceVendorName", R::kManufacturerName, 64, "RO") +
         StringReg("DeviceModelName", R::kModelName, 64, "RO") +
         StringReg("DeviceFamilyName", R::kFamilyName, 64, "RO") +
         StringReg("DeviceVersion", R::kDeviceVersion, 64, "RO") +
         StringReg("DeviceManufacturerInfo", R::kManufacturerInfo, 64, "RO") +
         StringReg("DeviceSerialNumber", R::kSerialNumber, 64, "RO") +
         StringReg("DeviceUserID", R::kUserDefinedName, 64, "RW");
}

}  // namespace

std::string U3vCameraXml(const tsU3vCameraOptions& options) {
  const tsDescriptionHeader header = {options.model,
                                      options.vendor,
                                      "USB3 Vision camera emulator",
                                      "None",
                                      "3A7C1E52-8D4B-4F16-B2E9-5C0D7A3F6E18",
                                      "D1B84F2C-6E3A-4C95-8F07-2A9E5B1C4D63"};
  return DescriptionStart(header) +
         Categories({"DeviceVendorName", "DeviceModelName", "DeviceFamilyName", "DeviceVersion",
                     "DeviceManufacturerInfo", "DeviceSerialNumber", "DeviceUserID"},
                    {"PayloadSize"}) +
         DeviceControl() +
         BlockFeatures(R::kFeatures, Endianness::kLittle,
                       {{"Off", 0},
                        {"GreyHorizontalRamp", 1},
                        {"GreyVerticalRamp", 2},
                        {"GreyDiagonalRamp", 3}}) +
         DescriptionEnd();
}
