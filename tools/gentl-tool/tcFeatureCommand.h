// gentl-tool features, get, set and run: a module's or the camera's features through the
// GenApi engine, with --feature NAME=VALUE settings applied first.
#pragma once

#include <string>
#include <vector>

#include "tcArguments.h"
#include "tcFeatureSetting.h"
#include "tcGenApi.h"
#include "tsModuleChoice.h"

class tcFeatureCommand {
 public:
  // Throws a usage error for bad arguments before anything is loaded.
  explicit tcFeatureCommand(const tcArguments& arguments);
  int Run();

 private:
  void List(const tcGenApi& genapi, const tsModuleChoice& choice) const;
  void Get(const tcGenApi& genapi) const;
  void Set(const tcGenApi& genapi) const;
  void Execute(const tcGenApi& genapi) const;
  // Prints `line` unless --quiet.
  void Report(const std::string& line) const;

  const tcArguments& arguments_;
  const std::string& command_;
  std::string moduleWord_;                  // system, interface, ...; empty when none is given
  std::vector<std::string> names_;          // the positional words after the module word
  std::vector<tcFeatureSetting> settings_;  // --feature, then the set command's own
};
