// Parsing NAME=VALUE and setting the feature through its writer.
#include "tcFeatureSetting.h"

#include "tcFeature.h"
#include "tcFeatureWriter.h"
#include "tcToolError.h"

tcFeatureSetting::tcFeatureSetting(const std::string& option, const std::string& text) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw UsageError(option + " needs NAME=VALUE, not \"" + text + "\".");
  }
  name_ = text.substr(0, equals);
  value_ = text.substr(equals + 1);
}

std::string tcFeatureSetting::Apply(const tcGenApi& genapi) const {
  const tcFeature feature(genapi.Feature(name_));
  tcFeatureWriter(feature).Set(value_);
  if (feature.Type() == tcFeature::teType::kCommand) return "Executed command " + name_;
  std::string line = "Set feature " + name_ + " to " + value_;
  if (!feature.HasValue()) return line;
  const std::string readBack = feature.Value();
  return readBack == value_ ? line : line + " (reads back " + readBack + ")";
}
