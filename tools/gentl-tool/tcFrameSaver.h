// Chooses the frames a grab saves (--save-every K, --save LIST, --out DIR) and writes them as
// PNG files named frame-NNNNNN.png after their index in the grab.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tcArguments.h"
#include "tsFrame.h"

class tcFrameSaver {
 public:
  // Throws a usage error for a bad selection. --out alone saves the first frame.
  explicit tcFrameSaver(const tcArguments& arguments);

  bool Wants(uint64_t index) const;
  // Converts and writes frame `index`; returns the file's path. Throws a tool error when the
  // frame cannot be converted or written.
  std::string Save(uint64_t index, const tsFrame& frame);

  const std::vector<std::string>& Files() const { return files_; }
  const std::string& Directory() const { return directory_; }

  // "0,5,10-12" -> {0, 5, 10, 11, 12}.
  static std::set<uint64_t> ParseList(const std::string& list);

 private:
  uint64_t every_ = 0;
  std::set<uint64_t> chosen_;
  std::string directory_ = ".";
  bool directoryMade_ = false;
  std::vector<std::string> files_;
};
