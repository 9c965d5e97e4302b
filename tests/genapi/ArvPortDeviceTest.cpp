// The Aravis device over tsPortAccess, and the behaviours of Aravis 0.8's GenApi engine that
// the producer's descriptions rely on: Port resolution, caching, invalidation, access modes,
// enumeration entries and converters.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ArvPortDevice.h"
#include "MemoryPort.h"

namespace {

std::string Description(const std::string& nodes) {
  return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription xmlns="http://www.genicam.org/GenApi/Version_1_1"
    ModelName="Test" VendorName="Test" ToolTip="Test" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0"
    VersionGuid="1F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0">)" +
         nodes + "</RegisterDescription>";
}

std::string IntReg(const std::string& name, const std::string& address, const std::string& port,
                   const std::string& extra = "") {
  return "<IntReg Name=\"" + name + "\"><Address>" + address +
         "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>" + port + "</pPort>" +
         extra + "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
}

// A memory port that records the address of every read and write reaching the device.
class tcRecordingPort {
 public:
  tsPortAccess Access() {
    return {[this](uint64_t address, void* buffer, size_t size) {
              reads.push_back(address);
              return memory.Read(address, buffer, size);
            },
            [this](uint64_t address, const void* buffer, size_t size) {
              writes.push_back(address);
              return memory.Write(address, buffer, size);
            }};
  }

  tcMemoryPort memory;
  std::vector<uint64_t> reads;
  std::vector<uint64_t> writes;
};

class ArvPortDeviceTest : public ::testing::Test {
 protected:
  void Load(const std::string& nodes) {
    device_ = NewPortDevice(port_.Access());
    gc_ = NewGenApi(device_.get(), Description(nodes));
    ASSERT_NE(gc_, nullptr);
  }

  int64_t Integer(const std::string& name) {
    int64_t value = 0;
    EXPECT_EQ(GetInteger(gc_.get(), name, &value), "");
    return value;
  }

  tcRecordingPort port_;
  tcGObjectPtr<ArvDevice> device_;
  tcGObjectPtr<ArvGc> gc_;
};

TEST_F(ArvPortDeviceTest, EveryPortNodeReachesTheDeviceMemory) {
  Load(IntReg("A", "0x10", "TLPort") + IntReg("B", "0x20", "InterfacePort") +
       IntReg("C", "0x30", "Device") +
       R"(<Port Name="TLPort"/><Port Name="InterfacePort"/><Port Name="Device"/>)");
  port_.memory.WriteUnsigned(0x10, 11, 4);
  port_.memory.WriteUnsigned(0x20, 22, 4);
  port_.memory.WriteUnsigned(0x30, 0x01020304, 4);
  EXPECT_EQ(Integer("A"), 11);
  EXPECT_EQ(Integer("B"), 22);
  EXPECT_EQ(Integer("C"), 0x01020304);
  EXPECT_EQ(port_.reads, (std::vector<uint64_t>{0x10, 0x20, 0x30}));
}

TEST_F(ArvPortDeviceTest, APPortThatNamesNoPortNodeFails) {
  Load(IntReg("A", "0x10", "Missing") + IntReg("B", "0x14", "A") + R"(<Port Name="Device"/>)");
  int64_t value = 0;
  EXPECT_NE(GetInteger(gc_.get(), "A", &value).find("Port not found"), std::string::npos);
  EXPECT_NE(GetInteger(gc_.get(), "B", &value).find("Port not found"), std::string::npos);
  EXPECT_TRUE(port_.reads.empty());
}

TEST_F(ArvPortDeviceTest, UnparsableTextGivesNoNodeMap) {
  device_ = NewPortDevice(port_.Access());
  ::testing::internal::CaptureStderr();  // Aravis logs the parser's complaint
  EXPECT_EQ(NewGenApi(device_.get(), "not xml"), nullptr);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("Start tag expected"), std::string::npos);
}

TEST_F(ArvPortDeviceTest, WritesReachTheDeviceMemory) {
  Load(IntReg("A", "0x40", "TLPort") + R"(<Port Name="TLPort"/>)");
  EXPECT_EQ(SetInteger(gc_.get(), "A", 0x0A0B0C0D), "");
  EXPECT_EQ(port_.writes, std::vector<uint64_t>{0x40});
  EXPECT_EQ(port_.memory.ReadUnsigned(0x40, 4), 0x0A0B0C0Du);
}

TEST_F(ArvPortDeviceTest, AFailedAccessBecomesAnAravisError) {
  tsPortAccess failing{[](uint64_t, void*, size_t) { return false; },
                       [](uint64_t, const void*, size_t) { return false; }};
  device_ = NewPortDevice(failing);
  gc_ = NewGenApi(device_.get(),
                  Description(IntReg("A", "0x10", "Device") + R"(<Port Name="Device"/>)"));
  int64_t value = 0;
  EXPECT_NE(GetInteger(gc_.get(), "A", &value).find("read of 4 bytes at 0x10 failed"),
            std::string::npos);
  EXPECT_NE(SetInteger(gc_.get(), "A", 1).find("write of 4 bytes at 0x10 failed"),
            std::string::npos);
}

TEST_F(ArvPortDeviceTest, DeviceRegistersAreLittleEndian32Bit) {
  Load(R"(<Port Name="Device"/>)");
  port_.memory.WriteUnsigned(0x100, 0x11223344, 4);
  guint32 value = 0;
  EXPECT_TRUE(arv_device_read_register(device_.get(), 0x100, &value, nullptr));
  EXPECT_EQ(value, 0x11223344u);
  EXPECT_TRUE(arv_device_write_register(device_.get(), 0x104, 0x55667788, nullptr));
  EXPECT_EQ(port_.memory.ReadUnsigned(0x104, 4), 0x55667788u);
}

TEST_F(ArvPortDeviceTest, StringsAreReadAndWrittenNulPadded) {
  Load(R"(<StringReg Name="Label"><Address>0x80</Address><Length>16</Length>
          <AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg><Port Name="Device"/>)");
  port_.memory.WriteString(0x80, "first", 16);
  std::string text;
  EXPECT_EQ(GetString(gc_.get(), "Label", &text), "");
  EXPECT_EQ(text, "first");
  EXPECT_EQ(SetString(gc_.get(), "Label", "second"), "");
  std::string stored(7, 'x');
  port_.memory.Read(0x80, stored.data(), stored.size());
  EXPECT_EQ(stored, std::string("second", 7));  // with its terminating NUL
}

TEST_F(ArvPortDeviceTest, FeatureHelpersReportMissingNodesAndWrongTypes) {
  Load(IntReg("A", "0x10", "Device") + R"(<Port Name="Device"/>)");
  double value = 0;
  EXPECT_EQ(GetFloat(gc_.get(), "Missing", &value), "no node named Missing");
  EXPECT_EQ(ExecuteCommand(gc_.get(), "A"), "A is IntReg, not ArvGcCommand");
}

TEST_F(ArvPortDeviceTest, TheRegisterCacheReadsACachableRegisterOnce) {
  Load(IntReg("A", "0x10", "Device") + R"(<Port Name="Device"/>)");
  UseRegisterCache(gc_.get(), true);
  Integer("A");
  Integer("A");
  EXPECT_EQ(port_.reads.size(), 1u);
  UseRegisterCache(gc_.get(), false);
  Integer("A");
  EXPECT_EQ(port_.reads.size(), 2u);
}

TEST_F(ArvPortDeviceTest, NoCacheRegistersAreReadEveryTime) {
  Load(IntReg("A", "0x10", "Device", "<Cachable>NoCache</Cachable>") + R"(<Port Name="Device"/>)");
  UseRegisterCache(gc_.get(), true);
  Integer("A");
  Integer("A");
  EXPECT_EQ(port_.reads.size(), 2u);
}

TEST_F(ArvPortDeviceTest, AWriteToAnInvalidatorMakesTheNextReadGoToTheDevice) {
  Load(IntReg("Selector", "0x10", "Device") +
       IntReg("Selected", "0x20", "Device", "<pInvalidator>Selector</pInvalidator>") +
       R"(<Port Name="Device"/>)");
  UseRegisterCache(gc_.get(), true);
  port_.memory.WriteUnsigned(0x20, 5, 4);
  EXPECT_EQ(Integer("Selected"), 5);
  port_.memory.WriteUnsigned(0x20, 6, 4);
  EXPECT_EQ(Integer("Selected"), 5);
  ASSERT_EQ(SetInteger(gc_.get(), "Selector", 1), "");
  EXPECT_EQ(Integer("Selected"), 6);
}

TEST_F(ArvPortDeviceTest, ReadOnlyIsEnforcedOnlyWithTheAccessCheck) {
  Load(IntReg("A", "0x10", "Device") +
       R"(<Integer Name="Locked"><ImposedAccessMode>RO</ImposedAccessMode><pValue>A</pValue>
          </Integer><Port Name="Device"/>)");
  auto* locked = ARV_GC_FEATURE_NODE(arv_gc_get_node(gc_.get(), "Locked"));
  EXPECT_EQ(arv_gc_feature_node_get_actual_access_mode(locked), ARV_GC_ACCESS_MODE_RO);
  EXPECT_EQ(SetInteger(gc_.get(), "Locked", 3), "");
  EXPECT_EQ(port_.memory.ReadUnsigned(0x10, 4), 3u);
  arv_gc_set_access_check_policy(gc_.get(), ARV_ACCESS_CHECK_POLICY_ENABLE);
  EXPECT_NE(SetInteger(gc_.get(), "Locked", 4), "");
  EXPECT_EQ(port_.memory.ReadUnsigned(0x10, 4), 3u);
}

TEST_F(ArvPortDeviceTest, EnumEntriesAreKnownByTheirNameAttributeOnly) {
  Load(IntReg("A", "0x10", "Device") + R"(
      <Enumeration Name="Prefixed">
        <EnumEntry Name="EnumEntry_Prefixed_On"><Value>1</Value></EnumEntry>
        <pValue>A</pValue>
      </Enumeration><Port Name="Device"/>)");
  port_.memory.WriteUnsigned(0x10, 1, 4);
  std::string entry;
  EXPECT_EQ(GetEnumeration(gc_.get(), "Prefixed", &entry), "");
  EXPECT_EQ(entry, "EnumEntry_Prefixed_On");
  EXPECT_NE(SetEnumeration(gc_.get(), "Prefixed", "On"), "");
}

TEST_F(ArvPortDeviceTest, AnEnumerationMayHoldAConstantValue) {
  Load(R"(<Enumeration Name="Fixed">
            <EnumEntry Name="Low"><Value>0</Value></EnumEntry>
            <EnumEntry Name="High"><Value>7</Value></EnumEntry>
            <Value>7</Value>
          </Enumeration><Port Name="Device"/>)");
  std::string entry;
  EXPECT_EQ(GetEnumeration(gc_.get(), "Fixed", &entry), "");
  EXPECT_EQ(entry, "High");
  EXPECT_EQ(SetEnumeration(gc_.get(), "Fixed", "Low"), "");
  EXPECT_EQ(GetEnumeration(gc_.get(), "Fixed", &entry), "");
  EXPECT_EQ(entry, "Low");
  EXPECT_TRUE(port_.reads.empty());
}

TEST_F(ArvPortDeviceTest, AConverterWritesThroughItsFormulaTo) {
  Load(IntReg("PeriodReg", "0x10", "Device") + R"(
      <Converter Name="Rate">
        <FormulaTo>1000000 / FROM</FormulaTo><FormulaFrom>1000000 / TO</FormulaFrom>
        <pValue>PeriodReg</pValue><Slope>Decreasing</Slope>
      </Converter><Port Name="Device"/>)");
  port_.memory.WriteUnsigned(0x10, 40000, 4);
  double rate = 0;
  EXPECT_EQ(GetFloat(gc_.get(), "Rate", &rate), "");
  EXPECT_DOUBLE_EQ(rate, 25);
  EXPECT_EQ(SetFloat(gc_.get(), "Rate", 30), "");
  EXPECT_EQ(port_.memory.ReadUnsigned(0x10, 4), 33333u);
}

}  // namespace
