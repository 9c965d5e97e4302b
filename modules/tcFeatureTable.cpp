// tcFeatureTable: the description of a module's features and the dispatch of its registers.
#include "modules/tcFeatureTable.h"

#include <algorithm>
#include <cstring>

using namespace GenTL;

namespace {

bool IsRegister(FeatureKind kind) {
  return kind != FeatureKind::kConstantInteger && kind != FeatureKind::kConstantString &&
         kind != FeatureKind::kConstantEnumeration;
}

bool HasIntReg(FeatureKind kind) {
  return IsRegister(kind) && kind != FeatureKind::kStringRegister;
}

bool Lists(const std::vector<const char*>& names, const char* name) {
  return std::any_of(names.begin(), names.end(),
                     [name](const char* listed) { return strcmp(listed, name) == 0; });
}

tsRegisterNode Node(const tsFeatureEntry& entry) {
  std::string name = entry.text.name;
  if (entry.kind != FeatureKind::kStringRegister) name += "Reg";
  return {name, entry.address, entry.length, entry.access, entry.invalidators, entry.noCache};
}

}  // namespace

void tcFeatureTable::Category(const tsFeatureText& text, std::vector<const char*> features) {
  categories_.push_back({text, std::move(features)});
}

void tcFeatureTable::AddToCategory(const char* category, const char* feature) {
  for (tsCategory& listing : categories_) {
    if (strcmp(listing.text.name, category) == 0) listing.features.push_back(feature);
  }
}

void tcFeatureTable::Feature(tsFeatureEntry entry) {
  features_.push_back(std::move(entry));
}

void tcFeatureTable::Range(tsRegisterRange range) {
  ranges_.push_back(std::move(range));
}

void tcFeatureTable::DescribeFeature(tcDescriptionBuilder& xml, pugi::xml_node group,
                                     const tsFeatureEntry& entry) const {
  const std::string reg = Node(entry).name;
  switch (entry.kind) {
    case FeatureKind::kConstantInteger:
      xml.ConstantInteger(group, entry.text, entry.number(), entry.unit);
      break;
    case FeatureKind::kConstantString:
      xml.ConstantString(group, entry.text, entry.string());
      break;
    case FeatureKind::kConstantEnumeration:
      xml.ConstantEnumeration(group, entry.text, entry.entries, entry.number());
      break;
    case FeatureKind::kRegisterInteger:
      xml.RegisterInteger(group, entry.text, reg.c_str(), entry.unit, entry.selected);
      break;
    case FeatureKind::kRegisterEnumeration:
      xml.RegisterEnumeration(group, entry.text, entry.entries, reg.c_str());
      break;
    case FeatureKind::kStringRegister:
      xml.StringReg(group, entry.text, Node(entry));
      break;
    case FeatureKind::kCommand:
      xml.Command(group, entry.text, reg.c_str());
      break;
  }
}

std::string tcFeatureTable::Describe(const std::string& guidSeed, const char* portNode,
                                     const char* portDisplayName,
                                     const char* portDescription) const {
  tcDescriptionBuilder xml(guidSeed, portNode);
  xml.Category(xml.Group("RootCategory"), categories_.front().text, categories_.front().features);
  pugi::xml_node subCategories = xml.Group("SubCategories");
  for (size_t i = 1; i < categories_.size(); ++i)
    xml.Category(subCategories, categories_[i].text, categories_[i].features);
  for (size_t i = 1; i < categories_.size(); ++i) {
    pugi::xml_node group;
    for (const tsFeatureEntry& entry : features_) {
      if (!Lists(categories_[i].features, entry.text.name)) continue;
      if (!group) group = xml.Group(categories_[i].text.name);
      DescribeFeature(xml, group, entry);
    }
  }
  pugi::xml_node registers = xml.Group("Registers");
  for (const tsFeatureEntry& entry : features_) {
    if (HasIntReg(entry.kind)) xml.IntReg(registers, Node(entry));
  }
  xml.Port(registers, portDisplayName, portDescription);
  return xml.Print();
}

const tsFeatureEntry* tcFeatureTable::Register(uint64_t address) const {
  for (const tsFeatureEntry& entry : features_) {
    if (IsRegister(entry.kind) && entry.address == address) return &entry;
  }
  return nullptr;
}

const tsRegisterRange* tcFeatureTable::RangeOf(uint64_t address) const {
  for (const tsRegisterRange& range : ranges_) {
    if (address >= range.address && address - range.address < range.length) return &range;
  }
  return nullptr;
}

GC_ERROR tcFeatureTable::Read(uint64_t address, void* buffer, size_t* size) const {
  const tsFeatureEntry* entry = Register(address);
  if (entry != nullptr) return entry->read ? entry->read(buffer, size) : GC_ERR_ACCESS_DENIED;
  const tsRegisterRange* range = RangeOf(address);
  if (range != nullptr && range->read) return range->read(address, buffer, size);
  return GC_ERR_ACCESS_DENIED;
}

GC_ERROR tcFeatureTable::Write(uint64_t address, const void* buffer, size_t* size) const {
  const tsFeatureEntry* entry = Register(address);
  if (entry != nullptr) return entry->write ? entry->write(buffer, size) : GC_ERR_ACCESS_DENIED;
  const tsRegisterRange* range = RangeOf(address);
  if (range != nullptr && range->write) return range->write(address, buffer, size);
  return GC_ERR_ACCESS_DENIED;
}

GC_ERROR ReadWord(uint32_t value, void* buffer, size_t* size) {
  if (*size < 4) return GC_ERR_SUCCESS;
  memcpy(buffer, &value, 4);
  *size = 4;
  return GC_ERR_SUCCESS;
}

GC_ERROR WriteWord(uint32_t* value, const void* buffer, size_t size) {
  if (size == 4) memcpy(value, buffer, 4);
  return GC_ERR_SUCCESS;
}

GC_ERROR ReadText(const std::string& text, void* buffer, size_t* size) {
  if (text.size() + 1 > *size) return GC_ERR_BUFFER_TOO_SMALL;
  memcpy(buffer, text.c_str(), text.size() + 1);
  return GC_ERR_SUCCESS;
}
