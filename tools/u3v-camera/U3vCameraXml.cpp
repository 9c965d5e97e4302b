// The GenApi description u3v-camera serves from its memory. Every feature reads its own
// register (no read cycles over value links); the register addresses are tcU3vRegisters'.
#include "U3vCameraXml.h"

#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

#include "tcU3vRegisters.h"

namespace {

using R = tcU3vRegisters;

std::string Hex(uint64_t value) {
  char text[24];
  snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
  return text;
}

std::string IntReg(const std::string& name, uint64_t address, int length, const char* access) {
  return "  <IntReg Name=\"" + name + "\">\n    <Address>" + Hex(address) +
         "</Address>\n    <Length>" + std::to_string(length) + "</Length>\n    <AccessMode>" +
         access +
         "</AccessMode>\n    <pPort>Device</pPort>\n    <Sign>Unsigned</Sign>\n"
         "    <Endianess>LittleEndian</Endianess>\n  </IntReg>\n";
}

std::string StringReg(const std::string& name, uint64_t address, const char* access) {
  return "  <StringReg Name=\"" + name + "\">\n    <Address>" + Hex(address) +
         "</Address>\n    <Length>64</Length>\n    <AccessMode>" + access +
         "</AccessMode>\n    <pPort>Device</pPort>\n  </StringReg>\n";
}

std::string Integer(const std::string& name, const std::string& limits) {
  return "  <Integer Name=\"" + name + "\">\n    <pValue>" + name + "Reg</pValue>\n" + limits +
         "  </Integer>\n";
}

std::string Enumeration(const std::string& name,
                        const std::vector<std::pair<std::string, unsigned>>& entries) {
  std::string xml = "  <Enumeration Name=\"" + name + "\">\n";
  for (const auto& [entry, value] : entries) {
    xml += "    <EnumEntry Name=\"" + entry + "\">\n      <Value>" + Hex(value) +
           "</Value>\n    </EnumEntry>\n";
  }
  return xml + "    <pValue>" + name + "Reg</pValue>\n  </Enumeration>\n";
}

std::string Command(const std::string& name) {
  return "  <Command Name=\"" + name + "\">\n    <pValue>" + name +
         "Reg</pValue>\n    <CommandValue>1</CommandValue>\n  </Command>\n";
}

std::string Category(const std::string& name, const std::vector<std::string>& features) {
  std::string xml = "  <Category Name=\"" + name + "\">\n";
  for (const std::string& feature : features)
    xml += "    <pFeature>" + feature + "</pFeature>\n";
  return xml + "  </Category>\n";
}

std::string Header(const tsU3vCameraOptions& options) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
         "<RegisterDescription ModelName=\"" +
         options.model + "\" VendorName=\"" + options.vendor +
         "\" ToolTip=\"USB3 Vision camera emulator\" StandardNameSpace=\"None\""
         " SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\""
         " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\""
         " ProductGuid=\"3A7C1E52-8D4B-4F16-B2E9-5C0D7A3F6E18\""
         " VersionGuid=\"D1B84F2C-6E3A-4C95-8F07-2A9E5B1C4D63\""
         " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
         " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
         " xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1"
         " http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";
}

std::string Categories() {
  return Category("Root", {"DeviceControl", "ImageFormatControl", "AcquisitionControl",
                           "TransportLayerControl"}) +
         Category("DeviceControl",
                  {"DeviceVendorName", "DeviceModelName", "DeviceFamilyName", "DeviceVersion",
                   "DeviceManufacturerInfo", "DeviceSerialNumber", "DeviceUserID"}) +
         Category("ImageFormatControl", {"SensorWidth", "SensorHeight", "Width", "Height",
                                         "OffsetX", "OffsetY", "PixelFormat", "TestPattern"}) +
         Category("AcquisitionControl", {"AcquisitionMode", "AcquisitionStart", "AcquisitionStop",
                                         "AcquisitionFrameRate"}) +
         Category("TransportLayerControl", {"PayloadSize"});
}

// Identity, straight from the ABRM.
std::string DeviceControl() {
  return StringReg("DeviceVendorName", R::kManufacturerName, "RO") +
         StringReg("DeviceModelName", R::kModelName, "RO") +
         StringReg("DeviceFamilyName", R::kFamilyName, "RO") +
         StringReg("DeviceVersion", R::kDeviceVersion, "RO") +
         StringReg("DeviceManufacturerInfo", R::kManufacturerInfo, "RO") +
         StringReg("DeviceSerialNumber", R::kSerialNumber, "RO") +
         StringReg("DeviceUserID", R::kUserDefinedName, "RW");
}

std::string ImageFormatControl() {
  return Integer("SensorWidth", "") + IntReg("SensorWidthReg", R::kSensorWidth, 4, "RO") +
         Integer("SensorHeight", "") + IntReg("SensorHeightReg", R::kSensorHeight, 4, "RO") +
         Integer("Width",
                 "    <Min>16</Min>\n    <pMax>SensorWidthReg</pMax>\n    <Inc>4</Inc>\n") +
         IntReg("WidthReg", R::kWidth, 4, "RW") +
         Integer("Height", "    <Min>1</Min>\n    <pMax>SensorHeightReg</pMax>\n") +
         IntReg("HeightReg", R::kHeight, 4, "RW") +
         Integer("OffsetX",
                 "    <Min>0</Min>\n    <pMax>SensorWidthReg</pMax>\n    <Inc>4</Inc>\n") +
         IntReg("OffsetXReg", R::kOffsetX, 4, "RW") +
         Integer("OffsetY", "    <Min>0</Min>\n    <pMax>SensorHeightReg</pMax>\n") +
         IntReg("OffsetYReg", R::kOffsetY, 4, "RW") +
         Enumeration("PixelFormat", {{"Mono8", 0x01080001},
                                     {"Mono16", 0x01100007},
                                     {"RGB8", 0x02180014},
                                     {"BayerRG8", 0x01080009},
                                     {"Mono12p", 0x010C0047}}) +
         IntReg("PixelFormatReg", R::kPixelFormat, 4, "RW") +
         Enumeration("TestPattern", {{"Off", 0},
                                     {"GreyHorizontalRamp", 1},
                                     {"GreyVerticalRamp", 2},
                                     {"GreyDiagonalRamp", 3}}) +
         IntReg("TestPatternReg", R::kTestPattern, 4, "RW");
}

std::string AcquisitionControl() {
  return Enumeration("AcquisitionMode", {{"Continuous", 0}, {"SingleFrame", 1}}) +
         IntReg("AcquisitionModeReg", R::kAcquisitionMode, 4, "RW") + Command("AcquisitionStart") +
         IntReg("AcquisitionStartReg", R::kAcquisitionStart, 4, "WO") + Command("AcquisitionStop") +
         IntReg("AcquisitionStopReg", R::kAcquisitionStop, 4, "WO") +
         "  <Float Name=\"AcquisitionFrameRate\">\n    <pValue>AcquisitionFrameRateReg</pValue>\n"
         "    <Min>1</Min>\n    <Max>1000</Max>\n    <Unit>Hz</Unit>\n  </Float>\n"
         "  <FloatReg Name=\"AcquisitionFrameRateReg\">\n    <Address>" +
         Hex(R::kFrameRate) +
         "</Address>\n    <Length>4</Length>\n    <AccessMode>RW</AccessMode>\n"
         "    <pPort>Device</pPort>\n    <Endianess>LittleEndian</Endianess>\n  </FloatReg>\n";
}

}  // namespace

std::string U3vCameraXml(const tsU3vCameraOptions& options) {
  return Header(options) + Categories() + DeviceControl() + ImageFormatControl() +
         AcquisitionControl() + Integer("PayloadSize", "") +
         IntReg("PayloadSizeReg", R::kPayloadSize, 4, "RO") +
         "  <Port Name=\"Device\"/>\n</RegisterDescription>\n";
}
