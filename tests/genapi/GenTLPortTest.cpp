// Port URL parsing, description fetching and port register access, against a GenTLLibrary whose
// port functions are fakes over an in-memory port.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "ArvPortDevice.h"
#include "GenTLPort.h"
#include "MemoryPort.h"

namespace {

struct tsFakePort {
  std::string url;
  tcMemoryPort memory;
  bool fail_reads = false;
  bool short_reads = false;
};

tsFakePort& FakeOf(GenTL::PORT_HANDLE port) {
  return *static_cast<tsFakePort*>(port);
}

GenTL::GC_ERROR CopyUrl(const std::string& url, void* buffer, size_t* size) {
  size_t needed = url.size() + 1;
  if (buffer != nullptr && *size < needed) return GenTL::GC_ERR_BUFFER_TOO_SMALL;
  if (buffer != nullptr) std::memcpy(buffer, url.c_str(), needed);
  *size = needed;
  return GenTL::GC_ERR_SUCCESS;
}

GenTL::GC_ERROR FakeGetPortURLInfo(GenTL::PORT_HANDLE port, uint32_t index,
                                   GenTL::URL_INFO_CMD command, GenTL::INFO_DATATYPE* type,
                                   void* buffer, size_t* size) {
  if (index != 0 || command != GenTL::URL_INFO_URL) return GenTL::GC_ERR_INVALID_INDEX;
  *type = GenTL::INFO_DATATYPE_STRING;
  return CopyUrl(FakeOf(port).url, buffer, size);
}

GenTL::GC_ERROR FakeGetPortURL(GenTL::PORT_HANDLE port, char* url, size_t* size) {
  return CopyUrl(FakeOf(port).url, url, size);
}

GenTL::GC_ERROR FakeReadPort(GenTL::PORT_HANDLE port, uint64_t address, void* buffer,
                             size_t* size) {
  tsFakePort& fake = FakeOf(port);
  if (fake.fail_reads) return GenTL::GC_ERR_IO;
  if (fake.short_reads) --*size;
  fake.memory.Read(address, buffer, *size);
  return GenTL::GC_ERR_SUCCESS;
}

GenTL::GC_ERROR FakeWritePort(GenTL::PORT_HANDLE port, uint64_t address, const void* buffer,
                              size_t* size) {
  FakeOf(port).memory.Write(address, buffer, *size);
  return GenTL::GC_ERR_SUCCESS;
}

std::string ReadTextFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class GenTLPortTest : public ::testing::Test {
 protected:
  void SetUp() override {
    lib_.GCGetPortURLInfo = FakeGetPortURLInfo;
    lib_.GCGetPortURL = FakeGetPortURL;
    lib_.GCReadPort = FakeReadPort;
    lib_.GCWritePort = FakeWritePort;
  }

  std::string Fetch() {
    error_.clear();
    return FetchPortDescription(lib_, &port_, &error_).text;
  }

  GenTLLibrary lib_;
  tsFakePort port_;
  std::string error_;
};

TEST(ParseLocalUrl, SplitsFileAddressAndLength) {
  std::string file;
  uint64_t address = 0;
  uint64_t length = 0;
  ASSERT_TRUE(ParseLocalUrl("local:///SimCam.xml;3000;1F40", &file, &address, &length));
  EXPECT_EQ(file, "SimCam.xml");
  EXPECT_EQ(address, 0x3000u);
  EXPECT_EQ(length, 0x1F40u);
  ASSERT_TRUE(
      ParseLocalUrl("Local:///TLPort.xml;0x10;0xff?SchemaVersion=1.1.0", &file, &address, &length));
  EXPECT_EQ(file, "TLPort.xml");
  EXPECT_EQ(address, 0x10u);
  EXPECT_EQ(length, 0xFFu);
  ASSERT_TRUE(ParseLocalUrl("local:Device.zip;FFFFFFFF00000000;1", &file, &address, &length));
  EXPECT_EQ(file, "Device.zip");
  EXPECT_EQ(address, 0xFFFFFFFF00000000u);
}

TEST(ParseLocalUrl, RefusesMalformedUrls) {
  std::string file;
  uint64_t address = 0;
  uint64_t length = 0;
  for (const char* url : {"local:///a.xml;10", "local:///a.xml;zz;10", "local:///;10;20",
                          "local:///", "local:///a.xml;10;20;30", "local:///a.xml;;20",
                          "file:///a.xml", "local:///a.xml;10;11112222333344445"}) {
    EXPECT_FALSE(ParseLocalUrl(url, &file, &address, &length)) << url;
  }
}

TEST(FileUrlToPath, DecodesThePath) {
  EXPECT_EQ(FileUrlToPath("file:///tmp/a%20b.xml"), "/tmp/a b.xml");
  EXPECT_EQ(FileUrlToPath("FILE:///opt/x%2Fy.xml?SchemaVersion=1.0.0"), "/opt/x/y.xml");
  EXPECT_EQ(FileUrlToPath("file:///plain.xml"), "/plain.xml");
}

TEST(FileUrlToPath, RefusesOtherUrlsAndBadEscapes) {
  EXPECT_EQ(FileUrlToPath("file:///bad%2"), "");
  EXPECT_EQ(FileUrlToPath("file:///bad%zz.xml"), "");
  EXPECT_EQ(FileUrlToPath("file://host/x.xml"), "");
  EXPECT_EQ(FileUrlToPath("local:///x.xml;1;2"), "");
}

TEST_F(GenTLPortTest, FetchesALocalDescriptionFromThePort) {
  port_.url = "local:///Device.xml;100;20?SchemaVersion=1.1.0";
  port_.memory.WriteString(0x100, "<RegisterDescription/>", 0x20);
  EXPECT_EQ(Fetch(), "<RegisterDescription/>");
  EXPECT_EQ(error_, "");
}

TEST_F(GenTLPortTest, FetchesAFileDescription) {
  std::string path = ::testing::TempDir() + "port description.xml";
  std::ofstream(path) << "<RegisterDescription/>";
  port_.url = "file://" + path.substr(0, path.rfind(' ')) + "%20description.xml";
  EXPECT_EQ(Fetch(), "<RegisterDescription/>");
  EXPECT_EQ(error_, "");
}

TEST_F(GenTLPortTest, FallsBackToGCGetPortURL) {
  lib_.GCGetPortURLInfo = nullptr;
  port_.url = "local:///Device.xml;0;4";
  port_.memory.WriteString(0, "<a/>", 4);
  EXPECT_EQ(Fetch(), "<a/>");
}

TEST_F(GenTLPortTest, ReportsWhyADescriptionCannotBeFetched) {
  port_.url = "http://example.invalid/Device.xml";
  EXPECT_EQ(Fetch(), "");
  EXPECT_EQ(error_, "unsupported URL: http://example.invalid/Device.xml");
  port_.url = "local:///Device.zip;0;10";  // ten zero bytes
  EXPECT_EQ(Fetch(), "");
  EXPECT_EQ(error_, "the zip archive cannot be read: Not a zip archive");
  port_.url = "file:///no/such/file.xml";
  EXPECT_EQ(Fetch(), "");
  EXPECT_EQ(error_, "cannot open /no/such/file.xml");
  port_.url = "local:///Device.xml;0;10";
  port_.fail_reads = true;
  EXPECT_EQ(Fetch(), "");
  EXPECT_EQ(error_, "GCReadPort of the description (16 bytes at 0x0) failed with GC_ERR_IO");
  lib_.GCGetPortURLInfo = nullptr;
  lib_.GCGetPortURL = nullptr;
  EXPECT_EQ(Fetch(), "");
  EXPECT_EQ(error_, "reading URL 0 of the port failed with GC_ERR_NOT_IMPLEMENTED (-1003)");
}

TEST_F(GenTLPortTest, PortAccessGoesThroughGCReadPortAndGCWritePort) {
  tsPortAccess access = PortAccessFor(lib_, &port_);
  const uint32_t written = 0xCAFE;
  ASSERT_TRUE(access.write(0x40, &written, sizeof written));
  uint32_t read = 0;
  ASSERT_TRUE(access.read(0x40, &read, sizeof read));
  EXPECT_EQ(read, written);
  port_.short_reads = true;
  EXPECT_FALSE(access.read(0x40, &read, sizeof read));
  port_.fail_reads = true;
  EXPECT_FALSE(access.read(0x40, &read, sizeof read));
}

// The whole consumer path: the camera description fetched through the port's URL, then run in
// Aravis with register access through the same port.
TEST_F(GenTLPortTest, ACameraDescriptionRunsOverThePort) {
  std::string xml = ReadTextFile(SIMCAM_DEFAULT_XML);
  ASSERT_FALSE(xml.empty());
  const uint64_t kDescriptionAddress = 0x10000000;
  port_.memory.Write(kDescriptionAddress, xml.data(), xml.size());
  std::ostringstream url;
  url << "local:///SimCam.xml;" << std::hex << kDescriptionAddress << ";" << xml.size();
  port_.url = url.str();
  port_.memory.WriteString(0, "Vantora", 64);
  port_.memory.WriteUnsigned(0x3050, 1280, 4);

  auto device = NewPortDevice(PortAccessFor(lib_, &port_));
  auto gc = NewGenApi(device.get(), Fetch());
  ASSERT_EQ(error_, "");
  std::string vendor;
  EXPECT_EQ(GetString(gc.get(), "DeviceVendorName", &vendor), "");
  EXPECT_EQ(vendor, "Vantora");
  int64_t width = 0;
  EXPECT_EQ(GetInteger(gc.get(), "Width", &width), "");
  EXPECT_EQ(width, 1280);
}

}  // namespace
