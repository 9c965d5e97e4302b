// Zip archives read from memory with libzip.
#include "ZippedDescription.h"

#include <strings.h>
#include <zip.h>

#include <cstdint>
#include <memory>

namespace {

constexpr uint64_t kMaxXmlSize = 64ULL << 20;

struct tsArchiveDiscard {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct tsFileClose {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using tArchive = std::unique_ptr<zip_t, tsArchiveDiscard>;
using tFile = std::unique_ptr<zip_file_t, tsFileClose>;

bool EndsWithXml(const char* name) {
  const std::string text = name != nullptr ? name : "";
  return text.size() > 4 && strcasecmp(text.c_str() + text.size() - 4, ".xml") == 0;
}

// Opens `archive` without copying it; null with *error set when libzip refuses it.
tArchive OpenArchive(const std::string& archive, std::string* error) {
  zip_error_t zipError;
  zip_error_init(&zipError);
  zip_source_t* source = zip_source_buffer_create(archive.data(), archive.size(), 0, &zipError);
  zip_t* opened = source != nullptr ? zip_open_from_source(source, ZIP_RDONLY, &zipError) : nullptr;
  if (opened == nullptr) {
    *error = std::string("the zip archive cannot be read: ") + zip_error_strerror(&zipError);
    if (source != nullptr) zip_source_free(source);
  }
  zip_error_fini(&zipError);
  return tArchive(opened);
}

// The index of the entry that holds the description, or -1.
zip_int64_t DescriptionEntry(zip_t* archive) {
  const zip_int64_t count = zip_get_num_entries(archive, 0);
  if (count == 1) return 0;
  for (zip_int64_t index = 0; index < count; ++index) {
    if (EndsWithXml(zip_get_name(archive, static_cast<zip_uint64_t>(index), 0))) return index;
  }
  return -1;
}

std::string ReadEntry(zip_t* archive, zip_uint64_t index, std::string* error) {
  zip_stat_t stat;
  zip_stat_init(&stat);
  if (zip_stat_index(archive, index, 0, &stat) != 0 || (stat.valid & ZIP_STAT_SIZE) == 0) {
    *error = std::string("the zip archive cannot be read: ") + zip_strerror(archive);
    return "";
  }
  if (stat.size > kMaxXmlSize) {
    *error = "the zipped description " + std::string(stat.name) + " is larger than 64 MiB";
    return "";
  }
  std::string text(stat.size, '\0');
  tFile file(zip_fopen_index(archive, index, 0));
  const zip_int64_t read =
      file != nullptr ? zip_fread(file.get(), text.data(), text.size()) : zip_int64_t{-1};
  if (read != static_cast<zip_int64_t>(text.size())) {
    *error = "the zipped description " + std::string(stat.name) +
             " cannot be unpacked: " + zip_strerror(archive);
    return "";
  }
  return text;
}

}  // namespace

std::string UnzipDescription(const std::string& archive, std::string* error) {
  tArchive opened = OpenArchive(archive, error);
  if (opened == nullptr) return "";
  const zip_int64_t entry = DescriptionEntry(opened.get());
  if (entry < 0) {
    *error = "the zip archive holds no .xml file";
    return "";
  }
  return ReadEntry(opened.get(), static_cast<zip_uint64_t>(entry), error);
}
