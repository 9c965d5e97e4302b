// The nodes of the camera emulators' GenApi descriptions, written out as XML text.
#include "GenApiXml.h"

#include <cstdio>

namespace genapixml {

namespace {

// Offsets into the feature register block.
using Block = tcFeatureRegisters<uint64_t, 0>;

const char* EndiannessText(Endianness endianness) {
  return endianness == Endianness::kBig ? "BigEndian" : "LittleEndian";
}

std::string ImageFormatFeatures(uint64_t at, Endianness order,
                                const std::vector<tsNamedValue>& testPatterns) {
  const std::vector<tsNamedValue> pixelFormats(Block::kPixelFormats.begin(),
                                               Block::kPixelFormats.end());
  return Integer("SensorWidth", "") +
         IntReg("SensorWidthReg", at + Block::kSensorWidth, 4, "RO", order) +
         Integer("SensorHeight", "") +
         IntReg("SensorHeightReg", at + Block::kSensorHeight, 4, "RO", order) +
         Integer("Width",
                 "    <Min>16</Min>\n    <pMax>SensorWidthReg</pMax>\n    <Inc>4</Inc>\n") +
         IntReg("WidthReg", at + Block::kWidth, 4, "RW", order) +
         Integer("Height", "    <Min>1</Min>\n    <pMax>SensorHeightReg</pMax>\n") +
         IntReg("HeightReg", at + Block::kHeight, 4, "RW", order) +
         Integer("OffsetX",
                 "    <Min>0</Min>\n    <pMax>SensorWidthReg</pMax>\n    <Inc>4</Inc>\n") +
         IntReg("OffsetXReg", at + Block::kOffsetX, 4, "RW", order) +
         Integer("OffsetY", "    <Min>0</Min>\n    <pMax>SensorHeightReg</pMax>\n") +
         IntReg("OffsetYReg", at + Block::kOffsetY, 4, "RW", order) +
         Enumeration("PixelFormat", pixelFormats) +
         IntReg("PixelFormatReg", at + Block::kPixelFormat, 4, "RW", order) +
         Enumeration("TestPattern", testPatterns) +
         IntReg("TestPatternReg", at + Block::kTestPattern, 4, "RW", order);
}

std::string AcquisitionFeatures(uint64_t at, Endianness order) {
  return Enumeration("AcquisitionMode", {{"Continuous", 0}, {"SingleFrame", 1}}) +
         IntReg("AcquisitionModeReg", at + Block::kAcquisitionMode, 4, "RW", order) +
         Command("AcquisitionStart") +
         IntReg("AcquisitionStartReg", at + Block::kAcquisitionStart, 4, "WO", order) +
         Command("AcquisitionStop") +
         IntReg("AcquisitionStopReg", at + Block::kAcquisitionStop, 4, "WO", order) +
         "  <Float Name=\"AcquisitionFrameRate\">\n    <pValue>AcquisitionFrameRateReg</pValue>\n"
         "    <Min>1</Min>\n    <Max>1000</Max>\n    <Unit>Hz</Unit>\n  </Float>\n"
         "  <FloatReg Name=\"AcquisitionFrameRateReg\">\n    <Address>" +
         Hex(at + Block::kFrameRate) +
         "</Address>\n    <Length>4</Length>\n    <AccessMode>RW</AccessMode>\n"
         "    <pPort>Device</pPort>\n    <Endianess>" +
         EndiannessText(order) + "</Endianess>\n  </FloatReg>\n";
}

}  // namespace

std::string Hex(uint64_t value) {
  char text[24];
  snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
  return text;
}

std::string IntReg(const std::string& name, uint64_t address, int length, const char* access,
                   Endianness endianness) {
  return "  <IntReg Name=\"" + name + "\">\n    <Address>" + Hex(address) +
         "</Address>\n    <Length>" + std::to_string(length) + "</Length>\n    <AccessMode>" +
         access +
         "</AccessMode>\n    <pPort>Device</pPort>\n    <Sign>Unsigned</Sign>\n"
         "    <Endianess>" +
         EndiannessText(endianness) + "</Endianess>\n  </IntReg>\n";
}

std::string StringReg(const std::string& name, uint64_t address, int length, const char* access) {
  return "  <StringReg Name=\"" + name + "\">\n    <Address>" + Hex(address) +
         "</Address>\n    <Length>" + std::to_string(length) + "</Length>\n    <AccessMode>" +
         access + "</AccessMode>\n    <pPort>Device</pPort>\n  </StringReg>\n";
}

std::string Integer(const std::string& name, const std::string& limits) {
  return "  <Integer Name=\"" + name + "\">\n    <pValue>" + name + "Reg</pValue>\n" + limits +
         "  </Integer>\n";
}

std::string Enumeration(const std::string& name, const std::vector<tsNamedValue>& entries) {
  std::string xml = "  <Enumeration Name=\"" + name + "\">\n";
  for (const tsNamedValue& entry : entries) {
    xml += "    <EnumEntry Name=\"" + std::string(entry.name) + "\">\n      <Value>" +
           Hex(entry.value) + "</Value>\n    </EnumEntry>\n";
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

std::string DescriptionStart(const tsDescriptionHeader& header) {
  return std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n") +
         "<RegisterDescription ModelName=\"" + header.model + "\" VendorName=\"" + header.vendor +
         "\" ToolTip=\"" + header.toolTip + "\" StandardNameSpace=\"" + header.standardNameSpace +
         "\""
         " SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\""
         " MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\""
         " ProductGuid=\"" +
         header.productGuid + "\" VersionGuid=\"" + header.versionGuid +
         "\""
         " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""
         " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
         " xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1"
         " http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";
}

std::string DescriptionEnd() {
  return "  <Port Name=\"Device\"/>\n</RegisterDescription>\n";
}

std::string Categories(const std::vector<std::string>& deviceControl,
                       const std::vector<std::string>& transportLayerControl) {
  return Category("Root", {"DeviceControl", "ImageFormatControl", "AcquisitionControl",
                           "TransportLayerControl"}) +
         Category("DeviceControl", deviceControl) +
         Category("ImageFormatControl", {"SensorWidth", "SensorHeight", "Width", "Height",
                                         "OffsetX", "OffsetY", "PixelFormat", "TestPattern"}) +
         Category("AcquisitionControl", {"AcquisitionMode", "AcquisitionStart", "AcquisitionStop",
                                         "AcquisitionFrameRate"}) +
         Category("TransportLayerControl", transportLayerControl);
}

std::string BlockFeatures(uint64_t features, Endianness endianness,
                          const std::vector<tsNamedValue>& testPatterns) {
  return ImageFormatFeatures(features, endianness, testPatterns) +
         AcquisitionFeatures(features, endianness) + Integer("PayloadSize", "") +
         IntReg("PayloadSizeReg", features + Block::kPayloadSize, 4, "RO", endianness);
}

}  // namespace genapixml
