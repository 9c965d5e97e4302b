// Frame selection and PNG output of the grab command.
#include "tcFrameSaver.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "Numbers.h"
#include "tcImageConverter.h"
#include "tcPngWriter.h"
#include "tcToolError.h"

namespace {

constexpr uint64_t kMaxRange = 1000000;

}  // namespace

tcFrameSaver::tcFrameSaver(const tcArguments& arguments) {
  if (arguments.Has("--save-every") && arguments.Has("--save")) {
    throw UsageError("--save-every and --save exclude each other.");
  }
  if (arguments.Has("--save-every")) {
    every_ = arguments.Number("--save-every", 0);
    if (every_ == 0) throw UsageError("--save-every needs a number of 1 or more.");
  } else if (arguments.Has("--save")) {
    chosen_ = ParseList(arguments.Value("--save"));
  } else if (arguments.Has("--out")) {
    chosen_ = {0};
  }
  directory_ = arguments.Value("--out", ".");
  if (directory_.empty()) throw UsageError("--out needs a folder.");
}

std::set<uint64_t> tcFrameSaver::ParseList(const std::string& list) {
  std::set<uint64_t> indexes;
  size_t start = 0;
  while (start <= list.size()) {
    const size_t comma = std::min(list.find(',', start), list.size());
    const std::string item = list.substr(start, comma - start);
    const size_t dash = item.find('-');
    const uint64_t first = ParseNumber(item.substr(0, dash), "each --save item");
    const uint64_t last =
        dash == std::string::npos ? first : ParseNumber(item.substr(dash + 1), "each --save item");
    if (last < first || last - first > kMaxRange) {
      throw UsageError("--save range \"" + item + "\" must go from a lower to a higher frame.");
    }
    for (uint64_t index = first; index <= last; ++index)
      indexes.insert(index);
    start = comma + 1;
  }
  return indexes;
}

bool tcFrameSaver::Wants(uint64_t index) const {
  if (every_ != 0) return index % every_ == 0;
  return chosen_.count(index) != 0;
}

std::string tcFrameSaver::Save(uint64_t index, const tsFrame& frame) {
  if (!directoryMade_) {
    std::error_code error;
    std::filesystem::create_directories(directory_, error);
    if (error) throw tcToolError("cannot create " + directory_ + ": " + error.message() + ".");
    directoryMade_ = true;
  }
  char name[64];
  snprintf(name, sizeof name, "/frame-%06llu.png", static_cast<unsigned long long>(index));
  const std::string path = directory_ + name;
  tsImage image;
  try {
    image = tcImageConverter::Convert(frame.pixelFormat, frame.width, frame.height, frame.data,
                                      frame.filled);
  } catch (const std::invalid_argument& error) {
    throw tcToolError("cannot save frame " + std::to_string(index) + ": " + error.what() + ".");
  }
  tcPngWriter::Write(image, path);
  files_.push_back(path);
  return path;
}
