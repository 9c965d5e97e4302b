// The camera's manifest table (which description files it holds, and where) and the local URL
// the remote port offers for the first entry.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace u3v {

inline constexpr size_t kManifestEntrySize = 64;
inline constexpr size_t kManifestCountSize = 8;
// More entries than this are not a manifest table but garbage.
inline constexpr uint64_t kManifestMaxEntries = 1024;
inline constexpr size_t kUrlLimit = 256;

// One manifest entry as this producer reads it.
struct tsManifestEntry {
  uint32_t versionMajor = 0;     // bits 31-24 of the file version
  uint32_t versionMinor = 0;     // bits 23-16
  uint32_t versionSubminor = 0;  // bits 15-0
  uint32_t schemaMajor = 0;      // byte 7 of the entry
  uint32_t schemaMinor = 0;      // byte 6 of the entry
  bool zipped = false;           // bit 16 of the schema word
  uint64_t address = 0;
  uint64_t size = 0;
  std::array<uint8_t, 20> sha1{};
};

// The first entry of a manifest table (count, then entries); false when the bytes hold none.
bool ParseFirstManifestEntry(std::span<const std::byte> table, tsManifestEntry* entry);
// "local:///<manufacturer>_<model>_v<major>_<minor>_<subminor>.<xml|zip>;<address>;<size>",
// address and size in hexadecimal, cut to 255 characters.
std::string ManifestUrl(const std::string& manufacturer, const std::string& model,
                        const tsManifestEntry& entry);

}  // namespace u3v
