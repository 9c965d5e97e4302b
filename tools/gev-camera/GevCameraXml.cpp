// The GenApi description gev-camera serves from its memory. Every feature reads its own
// register (no read cycles over value links); the register addresses are tcGevRegisters'.
#include "GevCameraXml.h"

#include <cstdio>
#include <utility>
#include <vector>

namespace {

std::string Hex(unsigned value) {
  char text[16];
  snprintf(text, sizeof text, "0x%X", value);
  return text;
}

std::string IntReg(const std::string& name, unsigned address, int length, const char* access) {
  return "  <IntReg Name=\"" + name + "\">\n    <Address>" + Hex(address) +
         "</Address>\n    <Length>" + std::to_string(length) + "</Length>\n    <AccessMode>" +
         access +
         "</AccessMode>\n    <pPort>Device</pPort>\n    <Sign>Unsigned</Sign>\n"
         "    <Endianess>BigEndian</Endianess>\n  </IntReg>\n";
}

std::string StringReg(const std::string& name, unsigned address, int length, const char* access) {
  return "  <StringReg Name=\"" + name + "\">\n    <Address>" + Hex(address) +
         "</Address>\n    <Length>" + std::to_string(length) + "</Length>\n    <AccessMode>" +
         access + "</AccessMode>\n    <pPort>Device</pPort>\n  </StringReg>\n";
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

}  // namespace

std::string GevCameraXml(const tsGevCameraOptions& options) {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<RegisterDescription ModelName=\"" +
      options.model + "\" VendorName=\"" + options.vendor +
      "\" ToolTip=\"GigE Vision camera emulator\" StandardNameSpace=\"GEV\""
      " SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\""
      " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\""
      " ProductGuid=\"6C1D2E0A-4B7F-4E55-9D3A-0F5B7A6E2C11\""
      " VersionGuid=\"9E2F4A61-3C8B-4D07-A1E5-7B6C5D4E3F21\""
      " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
      " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
      " xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1"
      " http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";
  xml += Category("Root", {"DeviceControl", "ImageFormatControl", "AcquisitionControl",
                           "TransportLayerControl"});
  xml += Category("DeviceControl", {"DeviceVendorName", "DeviceModelName", "DeviceVersion",
                                    "DeviceSerialNumber", "DeviceUserID"});
  xml += Category("ImageFormatControl", {"SensorWidth", "SensorHeight", "Width", "Height",
                                         "OffsetX", "OffsetY", "PixelFormat", "TestPattern"});
  xml += Category("AcquisitionControl", {"AcquisitionMode", "AcquisitionStart", "AcquisitionStop",
                                         "AcquisitionFrameRate"});
  xml += Category("TransportLayerControl",
                  {"PayloadSize", "GevSCPSPacketSize", "GevSCPD", "GevTimestampTickFrequency"});
  // Identity, straight from the bootstrap registers.
  xml += StringReg("DeviceVendorName", 0x48, 32, "RO");
  xml += StringReg("DeviceModelName", 0x68, 32, "RO");
  xml += StringReg("DeviceVersion", 0x88, 32, "RO");
  xml += StringReg("DeviceSerialNumber", 0xD8, 16, "RO");
  xml += StringReg("DeviceUserID", 0xE8, 16, "RW");
  // Image format.
  xml += Integer("SensorWidth", "");
  xml += IntReg("SensorWidthReg", 0x1002C, 4, "RO");
  xml += Integer("SensorHeight", "");
  xml += IntReg("SensorHeightReg", 0x10030, 4, "RO");
  xml += Integer("Width", "    <Min>16</Min>\n    <pMax>SensorWidthReg</pMax>\n    <Inc>4</Inc>\n");
  xml += IntReg("WidthReg", 0x10000, 4, "RW");
  xml += Integer("Height", "    <Min>1</Min>\n    <pMax>SensorHeightReg</pMax>\n");
  xml += IntReg("HeightReg", 0x10004, 4, "RW");
  xml +=
      Integer("OffsetX", "    <Min>0</Min>\n    <pMax>SensorWidthReg</pMax>\n    <Inc>4</Inc>\n");
  xml += IntReg("OffsetXReg", 0x10008, 4, "RW");
  xml += Integer("OffsetY", "    <Min>0</Min>\n    <pMax>SensorHeightReg</pMax>\n");
  xml += IntReg("OffsetYReg", 0x1000C, 4, "RW");
  xml += Enumeration("PixelFormat", {{"Mono8", 0x01080001},
                                     {"Mono16", 0x01100007},
                                     {"RGB8", 0x02180014},
                                     {"BayerRG8", 0x01080009},
                                     {"Mono12p", 0x010C0047}});
  xml += IntReg("PixelFormatReg", 0x10010, 4, "RW");
  xml += Enumeration("TestPattern",
                     {{"Off", 0}, {"GreyHorizontalRamp", 1}, {"GreyDiagonalRampMoving", 2}});
  xml += IntReg("TestPatternReg", 0x10024, 4, "RW");
  // Acquisition.
  xml += Enumeration("AcquisitionMode", {{"Continuous", 0}, {"SingleFrame", 1}});
  xml += IntReg("AcquisitionModeReg", 0x10018, 4, "RW");
  xml += Command("AcquisitionStart");
  xml += IntReg("AcquisitionStartReg", 0x1001C, 4, "WO");
  xml += Command("AcquisitionStop");
  xml += IntReg("AcquisitionStopReg", 0x10020, 4, "WO");
  xml +=
      "  <Float Name=\"AcquisitionFrameRate\">\n    <pValue>AcquisitionFrameRateReg</pValue>\n"
      "    <Min>1</Min>\n    <Max>1000</Max>\n    <Unit>Hz</Unit>\n  </Float>\n"
      "  <FloatReg Name=\"AcquisitionFrameRateReg\">\n    <Address>0x10028</Address>\n"
      "    <Length>4</Length>\n    <AccessMode>RW</AccessMode>\n    <pPort>Device</pPort>\n"
      "    <Endianess>BigEndian</Endianess>\n  </FloatReg>\n";
  // Transport layer.
  xml += Integer("PayloadSize", "");
  xml += IntReg("PayloadSizeReg", 0x10014, 4, "RO");
  xml +=
      "  <Integer Name=\"GevSCPSPacketSize\">\n    <pValue>GevSCPSPacketSizeReg</pValue>\n"
      "    <Min>576</Min>\n    <Max>9000</Max>\n    <Inc>4</Inc>\n  </Integer>\n"
      "  <MaskedIntReg Name=\"GevSCPSPacketSizeReg\">\n    <Address>0xD04</Address>\n"
      "    <Length>4</Length>\n    <AccessMode>RW</AccessMode>\n    <pPort>Device</pPort>\n"
      "    <LSB>31</LSB>\n    <MSB>16</MSB>\n    <Sign>Unsigned</Sign>\n"
      "    <Endianess>BigEndian</Endianess>\n  </MaskedIntReg>\n";
  xml += Integer("GevSCPD", "");
  xml += IntReg("GevSCPDReg", 0xD08, 4, "RW");
  xml += Integer("GevTimestampTickFrequency", "");
  xml += IntReg("GevTimestampTickFrequencyReg", 0x93C, 8, "RO");
  xml += "  <Port Name=\"Device\"/>\n</RegisterDescription>\n";
  return xml;
}
