// One feature of a GenApi node map as a user sees it: its type, access, value, unit, range,
// enumeration entries and the features it lists or selects, all as text.
#pragma once

#include <arv.h>

#include <string>
#include <vector>

class tcFeature {
 public:
  enum class teType {
    kCategory,
    kInteger,
    kFloat,
    kEnumeration,
    kBoolean,
    kString,
    kCommand,
    kRegister,
    kOther,  // ports, enumeration entries and other nodes that are no feature of their own
  };

  explicit tcFeature(ArvGcFeatureNode* node);

  ArvGcFeatureNode* Node() const { return node_; }
  std::string Name() const;
  teType Type() const { return type_; }
  // "Category", "Integer", "Float", "Enumeration", "Boolean", "String", "Command", "Register".
  const char* TypeName() const;
  // "a Category", "an Integer", ...
  std::string TypeWithArticle() const;

  bool Implemented() const;
  bool Available() const;
  bool Locked() const;
  bool Invisible() const;
  // "NI" (not implemented), "NA" (not available), "RO" (also when locked), "WO" or "RW";
  // empty for a category.
  std::string Access() const;
  // Implemented, available, readable and of a type that has a value.
  bool HasValue() const;
  // Throws a tool error that says why the feature has no value to read, unless HasValue().
  void CheckReadable() const;

  // The current value: a number in the feature's representation, an entry name, true or
  // false, a text, or register bytes as "de:ad:be:ef". Throws a tool error that names the
  // feature when the engine cannot read it.
  std::string Value() const;
  std::string Unit() const;
  // "1..1920", "576..9000 step 4", "0.25..4"; empty when the feature has no bounds.
  std::string Range() const;
  // The entries of an Enumeration that are available now.
  std::vector<std::string> Entries() const;
  // The features a category lists, or those a selector selects.
  std::vector<std::string> Features() const;
  // The number of bytes of a Register feature.
  uint64_t Length() const;

 private:
  static teType TypeOf(ArvGcFeatureNode* node);
  std::string IntegerRange() const;
  std::string FloatRange() const;
  std::vector<uint8_t> RegisterBytes() const;

  ArvGcFeatureNode* node_;
  teType type_;
};

// Whether `node` is a feature a user reads, writes, executes or browses.
bool IsFeature(ArvGcFeatureNode* node);

// Aravis's message without the "[Node] " prefixes it puts before it; frees `error`.
std::string TakeMessage(GError* error);
