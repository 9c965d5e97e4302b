// Builds the GenApi 1.1 register description of one of the library's modules: categories,
// constant and register-backed features, register nodes and the module's own port node.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <pugixml.hpp>

// The texts every feature node carries; the description is also the node's tool tip.
struct tsFeatureText {
  const char* name;
  const char* displayName;
  const char* description;
  const char* visibility;  // "Beginner", "Expert", "Guru" or "Invisible"
};

struct tsEnumEntry {
  const char* name;
  const char* displayName;
  const char* toolTip;
  int64_t value;
};

// A register node: an IntReg, or the location part of a StringReg.
struct tsRegisterNode {
  std::string name;
  uint64_t address;
  uint32_t length;
  const char* accessMode;  // "RO", "RW" or "WO"
  std::vector<std::string> invalidators = {};
  bool noCache = false;
};

class tcDescriptionBuilder {
 public:
  // `guidSeed` names the module (kind and ID) and fixes its ProductGuid/VersionGuid pair.
  tcDescriptionBuilder(const std::string& guidSeed, const std::string& portNode);

  pugi::xml_node Group(const char* comment);
  void Category(pugi::xml_node group, const tsFeatureText& text,
                const std::vector<const char*>& features);
  void ConstantInteger(pugi::xml_node group, const tsFeatureText& text, int64_t value,
                       const char* unit);
  void ConstantString(pugi::xml_node group, const tsFeatureText& text, const std::string& value);
  void ConstantEnumeration(pugi::xml_node group, const tsFeatureText& text,
                           const std::vector<tsEnumEntry>& entries, int64_t value);
  void RegisterInteger(pugi::xml_node group, const tsFeatureText& text, const char* registerNode,
                       const char* unit, const std::vector<const char*>& selected);
  void RegisterEnumeration(pugi::xml_node group, const tsFeatureText& text,
                           const std::vector<tsEnumEntry>& entries, const char* registerNode);
  void Command(pugi::xml_node group, const tsFeatureText& text, const char* registerNode);
  void IntReg(pugi::xml_node group, const tsRegisterNode& node);
  // A string register that is itself a feature (its texts come from `text`).
  void StringReg(pugi::xml_node group, const tsFeatureText& text, const tsRegisterNode& node);
  void Port(pugi::xml_node group, const char* displayName, const char* description);

  // The document printed with tab indentation.
  std::string Print() const;

 private:
  pugi::xml_node Feature(pugi::xml_node group, const char* element, const tsFeatureText& text);
  void RegisterLocation(pugi::xml_node node, const tsRegisterNode& reg);

  pugi::xml_document document_;
  pugi::xml_node root_;
  std::string portNode_;
};

// The transport-type entries of TLType, InterfaceType and DeviceType, and the value of a
// GenTL TL type string among them.
const std::vector<tsEnumEntry>& TransportTypeEntries();
int64_t TransportTypeValue(const std::string& tlType);

// The DEVICE_ACCESS_STATUS entries of DeviceAccessStatus.
const std::vector<tsEnumEntry>& AccessStatusEntries();
