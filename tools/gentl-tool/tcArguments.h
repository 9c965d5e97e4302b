// The parsed command line of gentl-tool: the command word, its positional arguments and options.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class tcArguments {
 public:
  // Parses argv[1..]. Options may stand anywhere, as "--name value" or "--name=value"; the
  // first other word is the command. Throws a usage error for unknown options and options
  // without their value.
  tcArguments(int argc, const char* const* argv);

  const std::string& Command() const { return command_; }
  const std::vector<std::string>& Positional() const { return positional_; }

  bool Has(std::string_view name) const;
  // The last value given for `name`, or `fallback`.
  std::string Value(std::string_view name, const std::string& fallback = "") const;
  // A number option (decimal or 0x-hexadecimal), or `fallback` when absent.
  uint64_t Number(std::string_view name, uint64_t fallback) const;
  // Every option in command-line order, as {name, value} (value empty for flags).
  const std::vector<std::pair<std::string, std::string>>& Options() const { return options_; }

  // Throws a usage error when an option outside `allowed` was given or the number of
  // positional arguments is outside [minimum, maximum].
  void Check(std::initializer_list<std::string_view> allowed, size_t minimum, size_t maximum,
             std::string_view positionalNames) const;

 private:
  void AddOption(std::string_view word, int& index, int argc, const char* const* argv);

  std::string command_;
  std::vector<std::string> positional_;
  std::vector<std::pair<std::string, std::string>> options_;
};
