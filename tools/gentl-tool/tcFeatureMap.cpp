// Feature lookup in a GenApi description: pValue links, enumeration entries, register
// addresses (Address plus literal pAddress Integers), lengths and byte order.
#include "tcFeatureMap.h"

#include <algorithm>
#include <cstring>

#include "Numbers.h"
#include "tcToolError.h"

namespace {

tcToolError FeatureError(const std::string& feature, const std::string& what) {
  return tcToolError("cannot set feature " + feature + ": " + what + ".");
}

// A number written in the description (decimal or 0x-hexadecimal).
uint64_t XmlNumber(const std::string& feature, pugi::xml_node node) {
  const std::string text = node.text().get();
  try {
    return ParseNumber(text, node.name());
  } catch (const tcToolError&) {
    throw FeatureError(feature, std::string("its ") + node.name() + " \"" + text +
                                    "\" is not a number gentl-tool understands");
  }
}

}  // namespace

tcFeatureMap::tcFeatureMap(const std::string& xml) {
  const pugi::xml_parse_result result = document_.load_buffer(xml.data(), xml.size());
  if (!result) {
    throw tcToolError(std::string("the camera's description is not readable XML (") +
                      result.description() + "); --feature needs an uncompressed description.");
  }
}

pugi::xml_node tcFeatureMap::Node(const std::string& name) const {
  return document_.find_node([&](pugi::xml_node node) {
    return strcmp(node.name(), "EnumEntry") != 0 && name == node.attribute("Name").value();
  });
}

tcFeatureMap::tsRegisterWrite tcFeatureMap::Resolve(const std::string& name,
                                                    const std::string& value) const {
  const pugi::xml_node node = Node(name);
  if (!node) throw tcToolError("the camera has no feature named \"" + name + "\".");
  const std::string type = node.name();
  if (type == "IntReg") return RegisterWrite(name, node, ParseNumber(value, name));
  if (type != "Integer" && type != "Enumeration" && type != "Boolean") {
    throw FeatureError(name, "it is a " + type +
                                 "; gentl-tool sets Integer, Enumeration, Boolean and IntReg "
                                 "features");
  }
  const std::string target = node.child_value("pValue");
  if (target.empty()) throw FeatureError(name, "it has no pValue register");
  const pugi::xml_node reg = Node(target);
  if (!reg || strcmp(reg.name(), "IntReg") != 0) {
    throw FeatureError(name, "its value " + target + " is not an IntReg");
  }
  uint64_t number = 0;
  if (type == "Enumeration") {
    number = EnumValue(name, node, value);
  } else if (type == "Boolean") {
    number = BooleanValue(name, node, value);
  } else {
    number = ParseNumber(value, name);
  }
  return RegisterWrite(name, reg, number);
}

uint64_t tcFeatureMap::EnumValue(const std::string& feature, pugi::xml_node enumeration,
                                 const std::string& entry) {
  std::string names;
  for (pugi::xml_node child : enumeration.children("EnumEntry")) {
    const std::string entryName = child.attribute("Name").value();
    if (entryName == entry) return XmlNumber(feature, child.child("Value"));
    names += (names.empty() ? "" : ", ") + entryName;
  }
  throw tcToolError("feature " + feature + " has no entry \"" + entry + "\"; its entries are " +
                    names + ".");
}

uint64_t tcFeatureMap::BooleanValue(const std::string& feature, pugi::xml_node boolean,
                                    const std::string& value) {
  const pugi::xml_node on = boolean.child("OnValue");
  const pugi::xml_node off = boolean.child("OffValue");
  if (value == "true" || value == "1") return on ? XmlNumber(feature, on) : 1;
  if (value == "false" || value == "0") return off ? XmlNumber(feature, off) : 0;
  throw UsageError("feature " + feature + " is a Boolean: its value is true or false, not \"" +
                   value + "\".");
}

uint64_t tcFeatureMap::Address(const std::string& feature, pugi::xml_node reg) const {
  uint64_t address = 0;
  for (pugi::xml_node part : reg.children("Address"))
    address += XmlNumber(feature, part);
  for (pugi::xml_node part : reg.children("pAddress")) {
    const pugi::xml_node base = Node(part.text().get());
    if (!base || !base.child("Value")) {
      throw FeatureError(feature, std::string("its register's address depends on ") +
                                      part.text().get() + ", which is not a constant");
    }
    address += XmlNumber(feature, base.child("Value"));
  }
  return address;
}

tcFeatureMap::tsRegisterWrite tcFeatureMap::RegisterWrite(const std::string& feature,
                                                          pugi::xml_node reg,
                                                          uint64_t value) const {
  const std::string access = reg.child_value("AccessMode");
  if (access == "RO") throw FeatureError(feature, "it is read-only");
  const uint64_t length = reg.child("Length") ? XmlNumber(feature, reg.child("Length")) : 4;
  if (length < 1 || length > 8) throw FeatureError(feature, "its register is not 1 to 8 bytes");
  tsRegisterWrite write{Address(feature, reg), {}, value};
  try {
    write.bytes = LittleEndianBytes(value, length);
  } catch (const tcToolError&) {
    throw FeatureError(feature, std::to_string(value) + " does not fit its " +
                                    std::to_string(length) + "-byte register");
  }
  if (std::string(reg.child_value("Endianess")) == "BigEndian") {
    std::reverse(write.bytes.begin(), write.bytes.end());
  }
  return write;
}
