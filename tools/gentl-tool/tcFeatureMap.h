// Finds features of a camera's GenApi description by name and turns "NAME=VALUE" into the
// register write that sets it (IntReg-backed Integer, Enumeration and Boolean features, and
// IntRegs themselves).
#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <string>
#include <vector>

class tcFeatureMap {
 public:
  struct tsRegisterWrite {
    uint64_t address = 0;
    std::vector<uint8_t> bytes;  // in the register's byte order
    uint64_t value = 0;
  };

  // Parses `xml`; throws a tool error when it is not XML (a zipped description, for example).
  explicit tcFeatureMap(const std::string& xml);

  // The write that sets feature `name` to `value` (a number, an enumeration entry name, or
  // true/false). Throws a tool error naming the feature when it cannot.
  tsRegisterWrite Resolve(const std::string& name, const std::string& value) const;

 private:
  pugi::xml_node Node(const std::string& name) const;
  tsRegisterWrite RegisterWrite(const std::string& feature, pugi::xml_node reg,
                                uint64_t value) const;
  uint64_t Address(const std::string& feature, pugi::xml_node reg) const;
  static uint64_t EnumValue(const std::string& feature, pugi::xml_node enumeration,
                            const std::string& entry);
  static uint64_t BooleanValue(const std::string& feature, pugi::xml_node boolean,
                               const std::string& value);

  pugi::xml_document document_;
};
