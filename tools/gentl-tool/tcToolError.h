// The exception every gentl-tool failure travels as: a one-sentence message and an exit code.
#pragma once

#include <stdexcept>
#include <string>

class tcToolError : public std::runtime_error {
 public:
  // Exit code 1 for failures, 2 for bad command lines.
  static constexpr int kFailure = 1;
  static constexpr int kUsage = 2;

  explicit tcToolError(const std::string& message, int exitCode = kFailure)
      : std::runtime_error(message), exitCode_(exitCode) {}

  int ExitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

// A bad command line: exits with code 2 after a hint about --help.
inline tcToolError UsageError(const std::string& message) {
  return tcToolError(message, tcToolError::kUsage);
}
