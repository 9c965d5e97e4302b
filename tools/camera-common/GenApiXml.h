// Pieces of the GenApi descriptions the camera emulators serve: the nodes they are made of,
// the frame around them and the features of the feature register block.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tcFeatureRegisters.h"

namespace genapixml {

enum class Endianness { kBig, kLittle };

// What the RegisterDescription element says about the camera and the description.
struct tsDescriptionHeader {
  std::string model;
  std::string vendor;
  const char* toolTip;
  const char* standardNameSpace;
  const char* productGuid;
  const char* versionGuid;
};

// "0x" and upper-case hexadecimal digits.
std::string Hex(uint64_t value);

// Nodes on the Device port; an Integer, Enumeration or Command `name` reads `name`Reg.
std::string IntReg(const std::string& name, uint64_t address, int length, const char* access,
                   Endianness endianness);
std::string StringReg(const std::string& name, uint64_t address, int length, const char* access);
std::string Integer(const std::string& name, const std::string& limits);
std::string Enumeration(const std::string& name, const std::vector<tsNamedValue>& entries);
std::string Command(const std::string& name);
std::string Category(const std::string& name, const std::vector<std::string>& features);

// The XML declaration and the opening RegisterDescription element.
std::string DescriptionStart(const tsDescriptionHeader& header);
// The Device port and the closing element.
std::string DescriptionEnd();

// The Root category and its four: DeviceControl and TransportLayerControl hold the features
// given, ImageFormatControl and AcquisitionControl those of the feature register block.
std::string Categories(const std::vector<std::string>& deviceControl,
                       const std::vector<std::string>& transportLayerControl);

// The image format, acquisition and payload size features over the feature register block at
// `features`, with the test patterns offered.
std::string BlockFeatures(uint64_t features, Endianness endianness,
                          const std::vector<tsNamedValue>& testPatterns);

}  // namespace genapixml
