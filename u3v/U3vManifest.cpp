// Manifest entry decoding and the description URL built from it.
#include "u3v/U3vManifest.h"

#include <iterator>

#include "base/LogFormat.h"
#include "base/tcWireReader.h"

namespace u3v {

bool ParseFirstManifestEntry(std::span<const std::byte> table, tsManifestEntry* entry) {
  tcWireReader reader(table);
  uint64_t count = reader.U64Le();
  uint32_t version = reader.U32Le();
  uint32_t schema = reader.U32Le();
  entry->address = reader.U64Le();
  entry->size = reader.U64Le();
  reader.Bytes(std::as_writable_bytes(std::span(entry->sha1)));
  if (reader.Failed() || count == 0) return false;
  entry->versionMajor = version >> 24;
  entry->versionMinor = (version >> 16) & 0xFF;
  entry->versionSubminor = version & 0xFFFF;
  entry->schemaMajor = schema >> 24;
  entry->schemaMinor = (schema >> 16) & 0xFF;
  entry->zipped = (schema & 0x10000) != 0;
  return true;
}

std::string ManifestUrl(const std::string& manufacturer, const std::string& model,
                        const tsManifestEntry& entry) {
  char url[kUrlLimit];
  const LogArg args[] = {manufacturer,          model,
                         entry.versionMajor,    entry.versionMinor,
                         entry.versionSubminor, entry.zipped ? "zip" : "xml",
                         entry.address,         entry.size};
  FormatLogMessage(url, sizeof url, "local:///%s_%s_v%d_%d_%d.%s;%Ix;%Ix", args, std::size(args));
  return url;
}

}  // namespace u3v
