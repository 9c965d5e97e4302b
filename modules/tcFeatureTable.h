// The features of one of the library's modules, declared once: they yield the module's GenApi
// description and answer the reads and writes of the virtual registers behind it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "GenTL.h"
#include "modules/tcDescriptionBuilder.h"

enum class FeatureKind {
  kConstantInteger,
  kConstantString,
  kConstantEnumeration,
  kRegisterInteger,
  kRegisterEnumeration,
  kStringRegister,
  kCommand,
};

// Register access with the caller's buffer and size, as the port's Read and Write receive them.
using tfRegisterRead = std::function<GenTL::GC_ERROR(void* buffer, size_t* size)>;
using tfRegisterWrite = std::function<GenTL::GC_ERROR(const void* buffer, size_t* size)>;

struct tsFeatureEntry {
  FeatureKind kind = FeatureKind::kConstantInteger;
  tsFeatureText text = {};
  // Constant features: the value, taken when the description is built.
  std::function<int64_t()> number = nullptr;  // integers and enumerations
  std::function<std::string()> string = nullptr;
  std::vector<tsEnumEntry> entries = {};  // enumerations
  const char* unit = nullptr;
  std::vector<const char*> selected = {};  // the features a selector selects
  // Register-backed features: a string register is the feature itself; the others point at an
  // IntReg named after the feature with "Reg" appended.
  uint64_t address = 0;
  uint32_t length = 4;
  const char* access = "RO";
  std::vector<std::string> invalidators = {};
  bool noCache = false;
  tfRegisterRead read = nullptr;    // null: reads are denied
  tfRegisterWrite write = nullptr;  // null: writes are denied
};

// Addresses served without a feature node of their own; the callbacks get the address itself.
struct tsRegisterRange {
  uint64_t address = 0;
  uint64_t length = 0;
  std::function<GenTL::GC_ERROR(uint64_t address, void* buffer, size_t* size)> read = nullptr;
  std::function<GenTL::GC_ERROR(uint64_t address, const void* buffer, size_t* size)> write =
      nullptr;
};

class tcFeatureTable {
 public:
  // A category and the names of its features and sub-categories. The first category added is
  // the root; each feature is described in the group of the category that lists it.
  void Category(const tsFeatureText& text, std::vector<const char*> features);
  void AddToCategory(const char* category, const char* feature);
  void Feature(tsFeatureEntry entry);
  void Range(tsRegisterRange range);

  // The printed description: the categories, each category's features in table order, then
  // the IntReg nodes and the module's port node.
  std::string Describe(const std::string& guidSeed, const char* portNode,
                       const char* portDisplayName, const char* portDescription) const;
  // Addresses that no register or range serves are GC_ERR_ACCESS_DENIED.
  GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size) const;
  GenTL::GC_ERROR Write(uint64_t address, const void* buffer, size_t* size) const;

 private:
  struct tsCategory {
    tsFeatureText text;
    std::vector<const char*> features;
  };

  void DescribeFeature(tcDescriptionBuilder& xml, pugi::xml_node group,
                       const tsFeatureEntry& entry) const;
  const tsFeatureEntry* Register(uint64_t address) const;
  const tsRegisterRange* RangeOf(uint64_t address) const;

  std::vector<tsCategory> categories_;
  std::vector<tsFeatureEntry> features_;
  std::vector<tsRegisterRange> ranges_;
};

// Reads of a 32-bit value: a size below 4 succeeds without writing anything.
GenTL::GC_ERROR ReadWord(uint32_t value, void* buffer, size_t* size);
// Writes of a 32-bit value: a size other than 4 is ignored and succeeds.
GenTL::GC_ERROR WriteWord(uint32_t* value, const void* buffer, size_t size);
// Reads of a NUL-terminated text: GC_ERR_BUFFER_TOO_SMALL when it does not fit; *size stays.
GenTL::GC_ERROR ReadText(const std::string& text, void* buffer, size_t* size);
