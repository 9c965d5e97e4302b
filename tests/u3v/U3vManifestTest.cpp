// The manifest's first entry and the description URL built from it.
#include "u3v/U3vManifest.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/ByteOrder.h"

namespace {

// A table of `count` entries whose first is version 1.2.3, schema word `schema`, file at
// 0x10000 of 0x2A31 bytes, SHA-1 bytes 1..20.
std::vector<std::byte> Table(uint64_t count, uint32_t schema) {
  std::vector<std::byte> table(8 + 64 * std::max<uint64_t>(count, 1));
  std::span<std::byte> bytes(table);
  wire::StoreLe64(bytes.subspan<0, 8>(), count);
  wire::StoreLe32(bytes.subspan<8, 4>(), 0x01020003);
  wire::StoreLe32(bytes.subspan<12, 4>(), schema);
  wire::StoreLe64(bytes.subspan<16, 8>(), 0x10000);
  wire::StoreLe64(bytes.subspan<24, 8>(), 0x2A31);
  for (int i = 0; i < 20; ++i)
    table[32 + i] = static_cast<std::byte>(i + 1);
  return table;
}

TEST(U3vManifest, ParsesTheFirstEntry) {
  u3v::tsManifestEntry entry;
  ASSERT_TRUE(u3v::ParseFirstManifestEntry(Table(2, 0x01000000), &entry));
  EXPECT_EQ(entry.versionMajor, 1u);
  EXPECT_EQ(entry.versionMinor, 2u);
  EXPECT_EQ(entry.versionSubminor, 3u);
  EXPECT_EQ(entry.schemaMajor, 1u);
  EXPECT_EQ(entry.schemaMinor, 0u);
  EXPECT_FALSE(entry.zipped);
  EXPECT_EQ(entry.address, 0x10000u);
  EXPECT_EQ(entry.size, 0x2A31u);
  EXPECT_EQ(entry.sha1[0], 1u);
  EXPECT_EQ(entry.sha1[19], 20u);
}

TEST(U3vManifest, Bit16OfTheSchemaWordMeansZip) {
  u3v::tsManifestEntry entry;
  ASSERT_TRUE(u3v::ParseFirstManifestEntry(Table(1, 0x01010000), &entry));
  EXPECT_EQ(entry.schemaMinor, 1u);
  EXPECT_TRUE(entry.zipped);
  // The standard's compression bits (15-10) are not what this producer reads.
  ASSERT_TRUE(u3v::ParseFirstManifestEntry(Table(1, 0x01000400), &entry));
  EXPECT_FALSE(entry.zipped);
}

TEST(U3vManifest, NoEntryOrShortBytesGiveNothing) {
  u3v::tsManifestEntry entry;
  EXPECT_FALSE(u3v::ParseFirstManifestEntry(Table(0, 0), &entry));
  std::vector<std::byte> table = Table(1, 0);
  table.resize(8 + 43);
  EXPECT_FALSE(u3v::ParseFirstManifestEntry(table, &entry));
  table.resize(8 + 44);  // the fields used end with the hash
  EXPECT_TRUE(u3v::ParseFirstManifestEntry(table, &entry));
}

TEST(U3vManifest, UrlNamesManufacturerModelVersionTypeAddressAndSize) {
  u3v::tsManifestEntry entry;
  ASSERT_TRUE(u3v::ParseFirstManifestEntry(Table(1, 0x01000000), &entry));
  EXPECT_EQ(u3v::ManifestUrl("Vantora", "U3V-Cam", entry),
            "local:///Vantora_U3V-Cam_v1_2_3.xml;10000;2a31");
  entry.zipped = true;
  entry.address = 0xFFFFFFFF00000000;
  EXPECT_EQ(u3v::ManifestUrl("A", "B", entry), "local:///A_B_v1_2_3.zip;ffffffff00000000;2a31");
}

TEST(U3vManifest, UrlIsCutTo255Characters) {
  u3v::tsManifestEntry entry;
  std::string url = u3v::ManifestUrl(std::string(200, 'm'), std::string(200, 'n'), entry);
  EXPECT_EQ(url.size(), 255u);
  EXPECT_EQ(url.substr(0, 12), "local:///mmm");
}

}  // namespace
