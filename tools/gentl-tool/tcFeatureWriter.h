// Writes feature values given as text and executes commands, after the checks whose failure
// a user should read as one sentence: type, implementation, availability, lock, access,
// range, increment, enumeration entry and length. The engine's own checks stay on behind
// them.
#pragma once

#include <string>

#include "tcFeature.h"

class tcFeatureWriter {
 public:
  explicit tcFeatureWriter(const tcFeature& feature) : feature_(feature) {}

  // Sets the feature to `text`; a Command is executed when `text` is 1, true or execute.
  // Throws a tool error that names the feature and says why it cannot.
  void Set(const std::string& text);
  // Executes a Command feature; throws for other types and when it cannot.
  void Execute();

 private:
  // Throws "cannot <verb> NAME: it is read-only." and the like.
  void CheckWritable(const std::string& verb) const;
  void SetInteger(const std::string& text);
  void SetFloat(const std::string& text);
  void SetEnumeration(const std::string& text);
  void SetBoolean(const std::string& text);
  void SetString(const std::string& text);
  void SetRegister(const std::string& text);
  // Throws "cannot set NAME to TEXT: <why>."
  [[noreturn]] void Refuse(const std::string& text, const std::string& why) const;
  // Throws the engine's complaint in `error`, when there is one.
  void CheckEngine(const std::string& text, GError* error) const;

  const tcFeature& feature_;
};
