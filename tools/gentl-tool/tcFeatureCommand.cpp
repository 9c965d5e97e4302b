// Listing, reading, writing and executing features of the module the options choose.
#include "tcFeatureCommand.h"

#include <cstdio>

#include "tcFeature.h"
#include "tcFeatureTree.h"
#include "tcFeatureWriter.h"
#include "tcProducer.h"
#include "tcSession.h"
#include "tcToolError.h"

using teLevel = tsModuleChoice::teLevel;

namespace {

// How messages name the module: "the camera", "the system module", "interface GEV", ...
std::string Owner(const tsModuleChoice& choice) {
  if (choice.level == teLevel::kRemote) return "the camera";
  if (choice.level == teLevel::kSystem) return "the system module";
  return ModuleName(choice);
}

}  // namespace

tcFeatureCommand::tcFeatureCommand(const tcArguments& arguments)
    : arguments_(arguments), command_(arguments.Command()) {
  const std::vector<std::string>& words = arguments.Positional();
  // A leading module word (lower case, unlike feature names) chooses the module; features
  // takes no other word.
  const bool named = !words.empty() && (IsModuleWord(words[0]) || command_ == "features");
  if (named) moduleWord_ = words[0];
  names_.assign(words.begin() + (named ? 1 : 0), words.end());
  if (command_ == "features") {
    arguments.Check({"--interface", "--device", "--stream", "--remote", "--all", "--feature"}, 0, 1,
                    "");
  } else {
    arguments.Check({"--interface", "--device", "--stream", "--remote", "--feature"}, 0, SIZE_MAX,
                    "");
  }
  if (command_ != "features" && names_.empty()) {
    throw UsageError("the " + command_ + " command needs " +
                     (command_ == "set" ? "NAME=VALUE" : "a feature NAME") + ".");
  }
  for (const auto& [option, value] : arguments.Options()) {
    if (option == "--feature") settings_.emplace_back(option, value);
  }
  if (command_ != "set") return;
  for (const std::string& word : names_)
    settings_.emplace_back("set", word);
}

void tcFeatureCommand::Report(const std::string& line) const {
  if (!arguments_.Has("--quiet")) printf("%s\n", line.c_str());
}

int tcFeatureCommand::Run() {
  tsModuleChoice choice = ChooseModule(arguments_, moduleWord_, teLevel::kRemote);
  tcProducer producer(arguments_.Value("--cti"));
  tcSession session(producer);
  const GenTL::PORT_HANDLE port = session.OpenPort(choice);
  const tcGenApi genapi(producer.Lib(), port, Owner(choice));
  // Every name is looked up before anything is written, so that a mistyped one changes nothing.
  for (const tcFeatureSetting& setting : settings_)
    genapi.Feature(setting.Name());
  if (command_ != "set") {
    for (const tcFeatureSetting& setting : settings_)
      Report(setting.Apply(genapi));
  }
  if (command_ == "features") List(genapi, choice);
  if (command_ == "get") Get(genapi);
  if (command_ == "set") Set(genapi);
  if (command_ == "run") Execute(genapi);
  return 0;
}

void tcFeatureCommand::List(const tcGenApi& genapi, const tsModuleChoice& choice) const {
  printf("Features of the %s (%s)\n", ModuleName(choice).c_str(), genapi.Description().url.c_str());
  fputs(tcFeatureTree(genapi, arguments_.Has("--all")).Text().c_str(), stdout);
}

void tcFeatureCommand::Get(const tcGenApi& genapi) const {
  std::vector<tcFeature> features;
  for (const std::string& name : names_) {
    features.emplace_back(genapi.Feature(name));
    features.back().CheckReadable();
  }
  for (const tcFeature& feature : features)
    printf("%s = %s\n", feature.Name().c_str(), feature.Value().c_str());
}

void tcFeatureCommand::Set(const tcGenApi& genapi) const {
  for (const tcFeatureSetting& setting : settings_)
    printf("%s\n", setting.Apply(genapi).c_str());
}

void tcFeatureCommand::Execute(const tcGenApi& genapi) const {
  std::vector<tcFeature> features;
  for (const std::string& name : names_)
    features.emplace_back(genapi.Feature(name));
  for (const tcFeature& feature : features) {
    tcFeatureWriter(feature).Execute();
    printf("Executed command %s\n", feature.Name().c_str());
  }
}
