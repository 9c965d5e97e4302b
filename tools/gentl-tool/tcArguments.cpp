// Command-line parsing: options with and without values, the command word, positional words.
#include "tcArguments.h"

#include <algorithm>
#include <array>

#include "Numbers.h"
#include "tcToolError.h"

namespace {

struct tsOptionDefinition {
  std::string_view name;
  bool takesValue;
};

constexpr std::array<tsOptionDefinition, 23> kOptions = {{
    {"--cti", true},        {"--interface", true}, {"--device", true},   {"--stream", true},
    {"--remote", false},    {"--port", false},     {"-o", true},         {"--output", true},
    {"--size", true},       {"--count", true},     {"--duration", true}, {"--buffers", true},
    {"--save-every", true}, {"--save", true},      {"--out", true},      {"--set", true},
    {"--feature", true},    {"--timeout", true},   {"--help", false},    {"-h", false},
    {"--quiet", false},     {"-q", false},         {"--all", false},
}};

const tsOptionDefinition* FindOption(std::string_view name) {
  for (const tsOptionDefinition& option : kOptions) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

// Words such as "-5" are values, not options.
bool IsOption(std::string_view word) {
  return word.size() > 1 && word[0] == '-' && !(word[1] >= '0' && word[1] <= '9');
}

// "-o" and "--output" are one option; "-h" is "--help"; "-q" is "--quiet".
std::string CanonicalName(std::string_view name) {
  if (name == "--output") return "-o";
  if (name == "-h") return "--help";
  if (name == "-q") return "--quiet";
  return std::string(name);
}

}  // namespace

tcArguments::tcArguments(int argc, const char* const* argv) {
  for (int index = 1; index < argc; ++index) {
    const std::string_view word = argv[index];
    if (IsOption(word)) {
      AddOption(word, index, argc, argv);
    } else if (command_.empty()) {
      command_ = word;
    } else {
      positional_.emplace_back(word);
    }
  }
}

void tcArguments::AddOption(std::string_view word, int& index, int argc, const char* const* argv) {
  const size_t equals = word.find('=');
  const std::string_view name = word.substr(0, equals);
  const tsOptionDefinition* definition = FindOption(name);
  if (definition == nullptr) throw UsageError("unknown option " + std::string(name) + ".");
  std::string value;
  if (equals != std::string_view::npos) {
    if (!definition->takesValue)
      throw UsageError("option " + std::string(name) + " takes no value.");
    value = word.substr(equals + 1);
  } else if (definition->takesValue) {
    if (index + 1 >= argc) throw UsageError("option " + std::string(name) + " needs a value.");
    value = argv[++index];
  }
  options_.emplace_back(CanonicalName(name), value);
}

bool tcArguments::Has(std::string_view name) const {
  return std::any_of(options_.begin(), options_.end(),
                     [name](const auto& option) { return option.first == name; });
}

std::string tcArguments::Value(std::string_view name, const std::string& fallback) const {
  std::string value = fallback;
  for (const auto& [optionName, optionValue] : options_) {
    if (optionName == name) value = optionValue;
  }
  return value;
}

uint64_t tcArguments::Number(std::string_view name, uint64_t fallback) const {
  if (!Has(name)) return fallback;
  return ParseNumber(Value(name), name);
}

void tcArguments::Check(std::initializer_list<std::string_view> allowed, size_t minimum,
                        size_t maximum, std::string_view positionalNames) const {
  for (const auto& option : options_) {
    const std::string& name = option.first;
    if (name == "--cti" || name == "--quiet") continue;
    if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
      throw UsageError("option " + name + " does not apply to the " + command_ + " command.");
    }
  }
  if (positional_.size() < minimum) {
    throw UsageError("the " + command_ + " command needs " + std::string(positionalNames) + ".");
  }
  if (positional_.size() > maximum) {
    throw UsageError("unexpected argument \"" + positional_[maximum] + "\" for the " + command_ +
                     " command.");
  }
}
