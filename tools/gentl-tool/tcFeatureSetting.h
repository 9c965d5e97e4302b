// One NAME=VALUE feature setting from the command line, and applying it to a node map.
#pragma once

#include <string>

#include "tcGenApi.h"

class tcFeatureSetting {
 public:
  // Splits `text`; throws a usage error that names `option` when it is not NAME=VALUE.
  tcFeatureSetting(const std::string& option, const std::string& text);

  const std::string& Name() const { return name_; }
  const std::string& Value() const { return value_; }

  // Sets the feature (executes it when it is a Command and VALUE says so) and returns the
  // line that reports it: "Set feature Width to 64", "Set feature Gain to 0x10 (reads back
  // 16)", "Executed command DeviceReset". Throws a tool error when it cannot.
  std::string Apply(const tcGenApi& genapi) const;

 private:
  std::string name_;
  std::string value_;
};
