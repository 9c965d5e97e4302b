// Zipped GenApi descriptions: unpacking archives, and a test port that serves the feature test
// camera's description as a zip archive through a local: URL, run in the GenApi engine.
#include <gtest/gtest.h>
#include <zip.h>

#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "GenTLPort.h"
#include "ZippedDescription.h"
#include "tcFeature.h"
#include "tcFeatureSetting.h"
#include "tcFeatureTree.h"
#include "tcGenApi.h"
#include "tcToolError.h"
#include "tcToolRunner.h"

namespace {

using tFiles = std::vector<std::pair<std::string, std::string>>;

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// A zip archive of `files` (name, contents), written by libzip.
std::string ZipArchive(const tFiles& files) {
  const std::string path = tcToolRunner::TempFolder() + "/archive.zip";
  int error = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
  EXPECT_NE(archive, nullptr) << error;
  if (archive == nullptr) return "";
  for (const auto& [name, text] : files) {
    zip_source_t* source = zip_source_buffer(archive, text.data(), text.size(), 0);
    EXPECT_GE(zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8), 0) << name;
  }
  EXPECT_EQ(zip_close(archive), 0);
  return ReadFile(path);
}

std::string Unzip(const std::string& archive, std::string* error) {
  error->clear();
  return UnzipDescription(archive, error);
}

// A port whose URL and sparse register space the GenTL functions below serve; unwritten bytes
// read as zero.
struct tsTestPort {
  std::string url;
  std::map<uint64_t, uint8_t> memory;

  void Store(uint64_t address, const std::string& bytes) {
    for (size_t i = 0; i < bytes.size(); ++i)
      memory[address + i] = static_cast<uint8_t>(bytes[i]);
  }
  uint32_t Word(uint64_t address) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
      value = value << 8 | memory[address + i];
    return value;
  }
};

tsTestPort& PortOf(GenTL::PORT_HANDLE port) {
  return *static_cast<tsTestPort*>(port);
}

GenTL::GC_ERROR GetUrl(GenTL::PORT_HANDLE port, uint32_t index, GenTL::URL_INFO_CMD command,
                       GenTL::INFO_DATATYPE* type, void* buffer, size_t* size) {
  if (index != 0 || command != GenTL::URL_INFO_URL) return GenTL::GC_ERR_INVALID_INDEX;
  const std::string& url = PortOf(port).url;
  *type = GenTL::INFO_DATATYPE_STRING;
  if (buffer != nullptr && *size <= url.size()) return GenTL::GC_ERR_BUFFER_TOO_SMALL;
  if (buffer != nullptr) memcpy(buffer, url.c_str(), url.size() + 1);
  *size = url.size() + 1;
  return GenTL::GC_ERR_SUCCESS;
}

GenTL::GC_ERROR ReadPort(GenTL::PORT_HANDLE port, uint64_t address, void* buffer, size_t* size) {
  auto* bytes = static_cast<uint8_t*>(buffer);
  for (size_t i = 0; i < *size; ++i)
    bytes[i] = PortOf(port).memory[address + i];
  return GenTL::GC_ERR_SUCCESS;
}

GenTL::GC_ERROR WritePort(GenTL::PORT_HANDLE port, uint64_t address, const void* buffer,
                          size_t* size) {
  PortOf(port).Store(address, std::string(static_cast<const char*>(buffer), *size));
  return GenTL::GC_ERR_SUCCESS;
}

class ZippedPortTest : public ::testing::Test {
 protected:
  void SetUp() override {
    lib_.GCGetPortURLInfo = GetUrl;
    lib_.GCReadPort = ReadPort;
    lib_.GCWritePort = WritePort;
    xml_ = ReadFile(FEATURE_CAM_XML);
    ASSERT_FALSE(xml_.empty());
    const std::string archive = ZipArchive({{"FeatureCam.xml", xml_}});
    ASSERT_FALSE(archive.empty());
    port_.Store(kArchiveAddress, archive);
    archiveSize_ = archive.size();
    std::ostringstream url;
    url << "local:///FeatureCam.zip;" << std::hex << kArchiveAddress << ";" << archive.size()
        << "?SchemaVersion=1.1.0";
    port_.url = url.str();
  }

  static constexpr uint64_t kArchiveAddress = 0x100000;
  GenTLLibrary lib_;
  tsTestPort port_;
  std::string xml_;
  size_t archiveSize_ = 0;
};

}  // namespace

TEST(UnzipDescription, TheOnlyEntryWhateverItsName) {
  std::string error;
  EXPECT_EQ(Unzip(ZipArchive({{"camera.bin", "<RegisterDescription/>"}}), &error),
            "<RegisterDescription/>");
  EXPECT_EQ(error, "");
}

TEST(UnzipDescription, TheXmlFileAmongOthers) {
  std::string error;
  const std::string archive =
      ZipArchive({{"readme.txt", "not this"}, {"Camera.XML", "<a/>"}, {"other.xml", "<b/>"}});
  EXPECT_EQ(Unzip(archive, &error), "<a/>");
  EXPECT_EQ(error, "");
}

TEST(UnzipDescription, SaysWhyItCannot) {
  std::string error;
  EXPECT_EQ(Unzip(ZipArchive({{"a.txt", "a"}, {"b.txt", "b"}}), &error), "");
  EXPECT_EQ(error, "the zip archive holds no .xml file");
  EXPECT_EQ(Unzip("<RegisterDescription/>", &error), "");
  EXPECT_EQ(error, "the zip archive cannot be read: Not a zip archive");
  std::string damaged = ZipArchive({{"Camera.xml", std::string(1000, 'x')}});
  damaged.resize(damaged.size() / 2);
  EXPECT_EQ(Unzip(damaged, &error), "");
  EXPECT_EQ(error, "the zip archive cannot be read: Not a zip archive");
}

TEST_F(ZippedPortTest, TheDescriptionIsUnpackedFromThePort) {
  std::string error;
  const tsPortDescription description = FetchPortDescription(lib_, &port_, &error);
  EXPECT_EQ(error, "");
  EXPECT_EQ(description.url, port_.url);
  EXPECT_EQ(description.fileName, "FeatureCam.zip");
  EXPECT_EQ(description.text, xml_);
}

TEST_F(ZippedPortTest, AZippedFileUrlIsUnpackedToo) {
  const std::string path = tcToolRunner::TempFolder() + "/Feature Cam.zip";
  std::ofstream(path, std::ios::binary) << ZipArchive({{"FeatureCam.xml", xml_}});
  port_.url = "file://" + path.substr(0, path.rfind(' ')) + "%20Cam.zip";
  std::string error;
  const tsPortDescription description = FetchPortDescription(lib_, &port_, &error);
  EXPECT_EQ(error, "");
  EXPECT_EQ(description.fileName, path);
  EXPECT_EQ(description.text, xml_);
}

TEST_F(ZippedPortTest, ItsFeaturesWorkThroughThePort) {
  const tcGenApi genapi(lib_, &port_, "the test port");
  EXPECT_EQ(tcFeatureSetting("set", "Packed=0x9ABC1234").Apply(genapi),
            "Set feature Packed to 0x9ABC1234");
  EXPECT_EQ(port_.Word(0x300), 0x9ABC1234u);
  EXPECT_EQ(tcFeature(genapi.Feature("PackedHigh")).Value(), "2748");
  EXPECT_EQ(tcFeatureSetting("set", "PackedLow=0x56").Apply(genapi),
            "Set feature PackedLow to 0x56 (reads back 86)");
  EXPECT_EQ(port_.Word(0x300), 0x9ABC1256u);
  const std::string tree = tcFeatureTree(genapi, false).Text();
  EXPECT_NE(tree.find("\n  PackedControl\n    Packed "), std::string::npos) << tree;
}

TEST_F(ZippedPortTest, ADamagedArchiveIsOneSentence) {
  // Without its end-of-central-directory record (the last 22 bytes) nothing can be found.
  port_.Store(kArchiveAddress + archiveSize_ - 22, std::string(22, '\0'));
  try {
    tcGenApi genapi(lib_, &port_, "the test port");
    FAIL() << "no error";
  } catch (const tcToolError& error) {
    EXPECT_STREQ(error.what(),
                 "cannot fetch the GenApi description of the test port: the zip archive cannot be "
                 "read: Not a zip archive.");
  }
}
