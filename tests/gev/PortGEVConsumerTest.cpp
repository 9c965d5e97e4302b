// The remote port of a GigE Vision camera through gentl.cti on the network bench: which GVCP
// commands carry an access, refused and malformed acknowledgements, every status, the URLs.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "support/GevConsumer.h"
#include "support/StderrCapture.h"

using namespace GenTL;

namespace {

const std::string kFakeId = "FakeCam:FAKE1";

class PortGEV : public GevConsumerTest {
 protected:
  // Starts `camera` (logging its commands), opens it and returns its remote port.
  void* OpenFake(tsFakeCamera camera) {
    camera.logPath = LogFile();
    StartFake(camera);
    OpenGev();
    Update();
    EXPECT_EQ(OpenDevice(kFakeId), GC_ERR_SUCCESS);
    return RemotePort();
  }

  void* OpenEmulator(std::vector<std::string> arguments) {
    StartCamera(std::move(arguments));
    OpenGev();
    Update();
    EXPECT_EQ(OpenDevice("GEV-Emulator:GEV0001"), GC_ERR_SUCCESS);
    return RemotePort();
  }

  // The commands the fake camera received since the last call.
  std::vector<std::string> NewCommands() {
    std::vector<std::string> all = tcFakeGvcpCamera::Commands(logFile_);
    std::vector<std::string> fresh(all.begin() + std::min(seen_, all.size()), all.end());
    seen_ = all.size();
    // Heartbeats may come in between, and the fixture's reads of address 0 wait for the camera
    // to start; they are not what the tests look at.
    std::erase(fresh, "0x0080 0x01 0x00000a00");
    std::erase(fresh, "0x0080 0x01 0x00000000");
    return fresh;
  }

  template <typename T>
  T UrlInfo(void* port, uint32_t index, int32_t command, GC_ERROR expected, int32_t type) {
    T value{};
    size_t size = sizeof value;
    int32_t gotType = -1;
    EXPECT_EQ(Lib().GCGetPortURLInfo(port, index, command, &gotType, &value, &size), expected)
        << "command " << command;
    EXPECT_EQ(gotType, type) << "command " << command;
    return value;
  }

  size_t seen_ = 0;
};

TEST_F(PortGEV, ConnectingReadsCapabilitiesTakesControlAndSetsTheHeartbeat) {
  tsFakeCamera camera;
  camera.registers[0x0940] = 125000000;
  OpenFake(camera);
  EXPECT_EQ(NewCommands(), (std::vector<std::string>{
                               "0x0002 0x01",                        // the update's discovery
                               "0x0080 0x01 0x00000934",             // gvcp_capability
                               "0x0082 0x01 0x00000a00 0x00000002",  // control privilege
                               "0x0082 0x01 0x00000938 0x00001770",  // heartbeat 6000 ms
                               "0x0080 0x01 0x00000940",             // frequency low word
                               "0x0080 0x01 0x0000093c",             // and high word
                           }));
}

TEST_F(PortGEV, FourByteAccessesAreRegisterCommands) {
  tsFakeCamera camera;
  camera.registers[0x1000] = 0x11223344;
  void* port = OpenFake(camera);
  NewCommands();
  EXPECT_EQ(ReadU32(port, 0x1000), htonl(0x11223344));
  EXPECT_EQ(WriteU32(port, 0x1004, htonl(0xA1B2C3D4)), GC_ERR_SUCCESS);
  EXPECT_EQ(NewCommands(), (std::vector<std::string>{"0x0080 0x01 0x00001000",
                                                     "0x0082 0x01 0x00001004 0xa1b2c3d4"}));
}

TEST_F(PortGEV, A537ByteReadIsTwoReadMems) {
  void* port = OpenFake({});
  NewCommands();
  std::vector<uint8_t> data(537, 0xEE);
  size_t size = data.size();
  ASSERT_EQ(Lib().GCReadPort(port, 0x2000, data.data(), &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 537u);
  for (size_t i = 0; i < data.size(); ++i)
    ASSERT_EQ(data[i], static_cast<uint8_t>(0x2000 + i)) << i;
  EXPECT_EQ(NewCommands(), (std::vector<std::string>{"0x0084 0x01 0x00002000 0x00000218",
                                                     "0x0084 0x01 0x00002218 0x00000004"}));
}

TEST_F(PortGEV, WriteMemSendsChunksUnpadded) {
  void* port = OpenFake({});
  NewCommands();
  std::vector<uint8_t> data(541, 0x5A);
  size_t size = data.size();
  EXPECT_EQ(Lib().GCWritePort(port, 0x3000, data.data(), &size), GC_ERR_SUCCESS);
  std::vector<std::string> commands = NewCommands();
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].substr(0, 24), "0x0086 0x01 0x00003000 0");
  EXPECT_EQ(commands[1], "0x0086 0x01 0x00003218 0x5a5a5a5a");  // 5 bytes: one whole word
}

TEST_F(PortGEV, StaleAcknowledgementsWithStatusZero) {
  tsFakeCamera camera;
  camera.script = [](const tsFakeCommand& command, uint32_t, tfFakeDatagrams* replies) {
    uint16_t stale = static_cast<uint16_t>(command.id - 1);
    if (command.code == 0x0080 && command.address == 0x5000) {
      replies->push_back(FakeAck(0, 0x0081, stale, FakeWords({0xCAFEF00D})));
      return true;
    }
    if (command.code == 0x0084 && command.address == 0x6000) {
      replies->push_back(FakeAck(0, 0x0085, stale, FakeWords({0x6000, 0x01020304, 0x05060708})));
      return true;
    }
    return false;
  };
  void* port = OpenFake(camera);
  StderrCapture capture;
  EXPECT_EQ(ReadU32(port, 0x5000), htonl(0xCAFEF00D));  // success, the value stored
  std::array<uint8_t, 8> data;
  data.fill(0xEE);
  size_t size = data.size();
  EXPECT_EQ(Lib().GCReadPort(port, 0x6000, data.data(), &size), GC_ERR_SUCCESS);
  EXPECT_EQ(data[0], 0xEE);  // the chunk is not copied
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::ReadReg\] Request/Response )"
                              R"(mismatch ([0-9]+)/([0-9]+))"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::Read\] Request/Response )"
                              R"(mismatch ([0-9]+)/([0-9]+))"));
}

TEST_F(PortGEV, ShortAndMissingAcknowledgements) {
  tsFakeCamera camera;
  camera.script = [](const tsFakeCommand& command, uint32_t, tfFakeDatagrams* replies) {
    if (command.address == 0x7000) {
      std::vector<std::byte> ack =
          FakeAck(0, command.code + 1, command.id, FakeWords({0x7000, 0, 0}));
      ack.resize(command.code == 0x0080 ? 10 : 19);
      replies->push_back(ack);
      return true;
    }
    return command.address == 0x7100;  // no answer at all
  };
  void* port = OpenFake(camera);
  StderrCapture capture;
  ReadU32(port, 0x7000, GC_ERR_IO);
  std::array<uint8_t, 8> data{};
  size_t size = data.size();
  EXPECT_EQ(Lib().GCReadPort(port, 0x7000, data.data(), &size), GC_ERR_IO);
  auto start = std::chrono::steady_clock::now();
  ReadU32(port, 0x7100, GC_ERR_IO);
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  EXPECT_GE(ms, 295.0);
  EXPECT_LT(ms, 600.0);
  EXPECT_EQ(WriteU32(port, 0x7100, 1), GC_ERR_IO);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::ReadReg\] Timeout or short read)"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::Read\] Short read\? \(19\))"));
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::ReadReg\] Select Timeout)"));
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::WriteReg\] Timeout)"));
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: warning \[tcPortGEV::ReadReg\] Addr: 0x00007100 - 4 bytes)"));
}

TEST_F(PortGEV, EveryStatusIsMapped) {
  const std::vector<std::pair<uint16_t, GC_ERROR>> table = {
      {0x0100, GC_ERR_SUCCESS},
      {0x8001, GC_ERR_NOT_IMPLEMENTED},
      {0x8002, GC_ERR_INVALID_PARAMETER},
      {0x8003, GC_ERR_INVALID_ADDRESS},
      {0x8004, GC_ERR_ACCESS_DENIED},
      {0x8005, GC_ERR_INVALID_PARAMETER},
      {0x8006, GC_ERR_ACCESS_DENIED},
      {0x8007, GC_ERR_BUSY},
      {0x800C, GC_ERR_RESOURCE_EXHAUSTED},
      {0x800D, GC_ERR_BUFFER_TOO_SMALL},
      {0x800E, GC_ERR_INVALID_VALUE},
      {0x8016, GC_ERR_TIMEOUT},
      {0x8008, GC_ERR_ERROR},
      {0x8FFF, GC_ERR_ERROR},
  };
  std::vector<std::string> arguments;
  for (size_t i = 0; i < table.size(); ++i) {
    char refusal[32];
    snprintf(refusal, sizeof refusal, "%zx:%x", 0xA000 + 0x10 * i, table[i].first);
    arguments.insert(arguments.end(), {"--refuse", refusal});
  }
  void* port = OpenEmulator(arguments);
  StderrCapture capture;
  for (size_t i = 0; i < table.size(); ++i) {
    uint32_t value = 0;
    size_t size = 4;
    EXPECT_EQ(Lib().GCReadPort(port, 0xA000 + 0x10 * i, &value, &size), table[i].second)
        << std::hex << table[i].first;
    std::array<uint8_t, 8> block{};
    size = block.size();
    EXPECT_EQ(Lib().GCReadPort(port, 0xA000 + 0x10 * i, block.data(), &size), table[i].second)
        << std::hex << table[i].first;
  }
  std::string log = capture.Text();
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: error \[tcPortGEV::ReadReg\] Request [0-9]+ failed, 0x8007)"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::Read\] Request [0-9]+ failed, 0x800D)"));
}

TEST_F(PortGEV, ManifestUrlAndVersions) {
  void* port = OpenEmulator({"--manifest"});
  uint32_t count = 0;
  EXPECT_EQ(Lib().GCGetNumPortURLs(port, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  std::string url = Url(port);
  ASSERT_EQ(url.rfind("Local:", 0), 0u) << url;
  EXPECT_EQ(UrlInfo<int32_t>(port, 0, URL_INFO_FILE_VER_MAJOR, 0, INFO_DATATYPE_INT32), 1);
  EXPECT_EQ(UrlInfo<int32_t>(port, 0, URL_INFO_FILE_VER_MINOR, 0, INFO_DATATYPE_INT32), 0);
  EXPECT_EQ(UrlInfo<int32_t>(port, 0, URL_INFO_FILE_VER_SUBMINOR, 0, INFO_DATATYPE_INT32), 0);
  EXPECT_EQ(UrlInfo<int32_t>(port, 0, URL_INFO_SCHEMA_VER_MAJOR, 0, INFO_DATATYPE_INT32), 1);
  EXPECT_EQ(UrlInfo<int32_t>(port, 0, URL_INFO_SCHEMA_VER_MINOR, 0, INFO_DATATYPE_INT32), 1);
  uint64_t address =
      UrlInfo<uint64_t>(port, 0, URL_INFO_FILE_REGISTER_ADDRESS, 0, INFO_DATATYPE_UINT64);
  uint64_t length = UrlInfo<uint64_t>(port, 0, URL_INFO_FILE_SIZE, 0, INFO_DATATYPE_UINT64);
  char expected[64];
  snprintf(expected, sizeof expected, ";%llx;%llx", static_cast<unsigned long long>(address),
           static_cast<unsigned long long>(length));
  EXPECT_EQ(url.substr(url.size() - strlen(expected)), expected);
  std::string xml(length, '\0');
  size_t size = length;
  ASSERT_EQ(Lib().GCReadPort(port, address, xml.data(), &size), GC_ERR_SUCCESS);
  EXPECT_NE(xml.find("<RegisterDescription"), std::string::npos);
  UrlInfo<uint64_t>(port, 0, URL_INFO_FILE_SHA1_HASH, GC_ERR_NOT_AVAILABLE, INFO_DATATYPE_BUFFER);
  UrlInfo<int32_t>(port, 0, URL_INFO_SCHEME, GC_ERR_NOT_AVAILABLE, INFO_DATATYPE_INT32);
  UrlInfo<int32_t>(port, 0, URL_INFO_FILENAME, GC_ERR_NOT_IMPLEMENTED, INFO_DATATYPE_STRING);
  UrlInfo<int32_t>(port, 1, URL_INFO_URL, GC_ERR_INVALID_INDEX, -1);
  UrlInfo<int32_t>(port, 0, 11, GC_ERR_NOT_IMPLEMENTED, -1);
  size = 8;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_URL, nullptr, nullptr, &size),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(PortGEV, TwoUrlsWithoutManifestAndTheirGrammar) {
  tsFakeCamera camera;
  camera.texts[0x0200] = "LOCAL:cam.xml;10000;2A";
  camera.texts[0x0400] = "local:x.xml;;5";
  void* port = OpenFake(camera);
  uint32_t count = 0;
  EXPECT_EQ(Lib().GCGetNumPortURLs(port, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(Url(port), "LOCAL:cam.xml;10000;2A");
  EXPECT_EQ(UrlInfo<uint64_t>(port, 0, URL_INFO_FILE_REGISTER_ADDRESS, 0, INFO_DATATYPE_UINT64),
            0x10000u);
  EXPECT_EQ(UrlInfo<uint64_t>(port, 0, URL_INFO_FILE_SIZE, 0, INFO_DATATYPE_UINT64), 0x2Au);
  UrlInfo<uint64_t>(port, 1, URL_INFO_FILE_REGISTER_ADDRESS, GC_ERR_NOT_AVAILABLE,
                    INFO_DATATYPE_UINT64);
  UrlInfo<int32_t>(port, 0, URL_INFO_FILE_VER_MAJOR, GC_ERR_NOT_AVAILABLE, INFO_DATATYPE_INT32);
  UrlInfo<int32_t>(port, 2, URL_INFO_URL, GC_ERR_INVALID_INDEX, -1);
  char small[4];
  size_t size = sizeof small;
  int32_t type = 0;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_URL, &type, small, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 23u);
}

TEST_F(PortGEV, ShowBsrPrintsTheBootstrapMap) {
  setenv("GENTL_SHOW_BSR", "", 1);
  StderrCapture capture;
  OpenFake({});
  unsetenv("GENTL_SHOW_BSR");
  std::string log = capture.Text();
  const std::string bsr = R"(gentl: info \[BSR\] )";
  EXPECT_TRUE(HasLogLine(log, bsr + "version = 00000000")) << log;
  EXPECT_TRUE(HasLogLine(log, bsr + "device_mode = 00000004"));
  EXPECT_TRUE(HasLogLine(log, bsr + "link_speed3 = 000007f0"));
  EXPECT_TRUE(HasLogLine(log, bsr + "message_channel_distination_addr = 00000b10"));
  EXPECT_TRUE(HasLogLine(log, bsr + "message_channel_transmittion_timeout = 00000b14"));
  EXPECT_TRUE(HasLogLine(log, bsr + "reserved37 = 00000d30"));
  size_t lines = 0;
  for (size_t at = log.find("gentl: info [BSR] "); at != std::string::npos;
       at = log.find("gentl: info [BSR] ", at + 1))
    ++lines;
  EXPECT_EQ(lines, 132u);
}

TEST_F(PortGEV, PortInformation) {
  void* port = OpenFake({});
  char text[64];
  size_t size = sizeof text;
  int32_t type = 0;
  EXPECT_EQ(Lib().GCGetPortInfo(port, PORT_INFO_ID, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "FakeCam:FAKE1");
  bool8_t flag = 0;
  size = 1;
  EXPECT_EQ(Lib().GCGetPortInfo(port, PORT_INFO_BIG_ENDIAN, &type, &flag, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(Lib().GCGetPortInfo(port, PORT_INFO_LITTLE_ENDIAN, &type, &flag, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(flag, 0);
}

}  // namespace
