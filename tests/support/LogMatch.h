// Matching the producer's log lines by their exact text.
#pragma once

#include <regex>
#include <string>

// True when `text` contains a line matching `pattern` exactly (whole line, no newline).
inline bool HasLogLine(const std::string& text, const std::string& pattern) {
  std::regex line("(^|\n)" + pattern + "\n");
  return std::regex_search(text, line);
}
