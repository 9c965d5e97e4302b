// The U3V remote port: GenCP reads and writes in pieces with request ids, pending
// acknowledges, status mapping, port information and the description URL from the manifest.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "U3vCameraXml.h"
#include "U3vConsumer.h"
#include "tcU3vRegisters.h"

using namespace GenTL;
using Seen = tcU3vCamera::tsCommandSeen;

namespace {

constexpr uint16_t kReadMem = 0x0800;
constexpr uint16_t kWriteMem = 0x0802;

using PortU3V = U3vConsumerTest;

// The commands the camera saw after the first `skip`.
std::vector<Seen> SeenSince(tcU3vCamera& camera, size_t skip) {
  std::vector<Seen> seen = camera.CommandsSeen();
  return std::vector<Seen>(seen.begin() + static_cast<long>(std::min(skip, seen.size())),
                           seen.end());
}

TEST_F(PortU3V, OpeningReadsResponseTimeAndTransferLengths) {
  tsU3vCameraOptions options = Camera();
  options.maxResponseTimeMs = 700;
  options.maxCommandLength = 0x400;
  options.maxAckLength = 0x300;
  StderrCapture capture;
  ASSERT_NE(OpenCamera(options), nullptr);
  std::string log = capture.Text();
  const std::string prefix = R"(gentl: info \[tcPortU3V::[A-Za-z]+\] )";
  EXPECT_TRUE(HasLogLine(log, prefix + "CmdEndPoint MaxPacketSize:  1024")) << log;
  EXPECT_TRUE(HasLogLine(log, prefix + "RSPEndPoint MaxPacketSize:  1024"));
  EXPECT_TRUE(HasLogLine(log, prefix + "ARBM: Max Device Response Time: 1000"));
  EXPECT_TRUE(HasLogLine(log, prefix + "SRBM: Max Command Transfer Length: 1024"));
  EXPECT_TRUE(HasLogLine(log, prefix + "SRBM: Max Acknowledge Transfer Length: 768"));
  std::vector<Seen> seen = Emulated().CommandsSeen();
  // The port's bootstrap reads, then the data stream's way to its streaming registers.
  ASSERT_EQ(seen.size(), 6u);
  EXPECT_EQ(seen[0].address, 0x1CCu);
  EXPECT_EQ(seen[0].requestId, 0u);
  EXPECT_EQ(seen[1].address, 0x1D8u);
  EXPECT_EQ(seen[2].address, tcU3vRegisters::kMaxCommandLength);
  EXPECT_EQ(seen[3].address, tcU3vRegisters::kMaxAckLength);
  EXPECT_EQ(seen[3].requestId, 3u);
  EXPECT_EQ(seen[4].address, 0x1D8u);
  EXPECT_EQ(seen[5].address, tcU3vRegisters::kSirmAddress);
  EXPECT_EQ(seen[5].requestId, 5u);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(PortU3V, AReadOfZeroBytesSendsNothingAndSucceeds) {
  void* port = OpenCamera();
  uint32_t commands = Emulated().CommandsReceived();
  char byte = 0;
  size_t size = 0;
  StderrCapture capture;
  EXPECT_EQ(Lib().GCReadPort(port, 0x44, &byte, &size), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(Emulated().CommandsReceived(), commands);
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[tcPortU3V::Read\] \[0x44, 0x0\] returned 0 in [0-9]+ ms)"))
      << log;
}

TEST_F(PortU3V, A1000ByteReadIsThreePiecesWithTheirOwnRequestIds) {
  void* port = OpenCamera();
  size_t before = Emulated().CommandsSeen().size();
  std::string xml = U3vCameraXml(Camera());
  ASSERT_GE(xml.size(), 1000u);
  std::string text(1000, '\0');
  size_t size = text.size();
  EXPECT_EQ(Lib().GCReadPort(port, tcU3vRegisters::kXml, text.data(), &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 1000u);
  EXPECT_EQ(text, xml.substr(0, 1000));
  std::vector<Seen> seen = SeenSince(Emulated(), before);
  ASSERT_EQ(seen.size(), 3u);
  const uint64_t base = tcU3vRegisters::kXml;
  EXPECT_EQ(seen[0].length, 492u);
  EXPECT_EQ(seen[0].address, base);
  EXPECT_EQ(seen[1].length, 492u);
  EXPECT_EQ(seen[1].address, base + 492);
  EXPECT_EQ(seen[2].length, 16u);
  EXPECT_EQ(seen[2].address, base + 984);
  // 0 to 5 went to the bootstrap reads and the stream's look-up of its registers.
  EXPECT_EQ(seen[0].requestId, 6u);
  EXPECT_EQ(seen[1].requestId, 7u);
  EXPECT_EQ(seen[2].requestId, 8u);
  for (const Seen& command : seen)
    EXPECT_EQ(command.commandId, kReadMem);
}

TEST_F(PortU3V, WritesGoInPiecesOf492) {
  void* port = OpenCamera();
  size_t before = Emulated().CommandsSeen().size();
  std::string name(64, '\0');
  name.replace(0, 5, "front");
  size_t size = name.size();
  EXPECT_EQ(Lib().GCWritePort(port, tcU3vRegisters::kUserDefinedName, name.data(), &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(size, 64u);
  EXPECT_EQ(ReadText(port, tcU3vRegisters::kUserDefinedName), "front");
  std::vector<Seen> seen = SeenSince(Emulated(), before);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].commandId, kWriteMem);
  EXPECT_EQ(seen[0].length, 64u);
  // A write larger than a piece: 492 then the rest, refused by the camera's write protection.
  std::vector<char> big(600, 1);
  size = big.size();
  before = Emulated().CommandsSeen().size();
  EXPECT_EQ(Lib().GCWritePort(port, tcU3vRegisters::kXml, big.data(), &size), GC_ERR_ACCESS_DENIED);
  seen = SeenSince(Emulated(), before);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].length, 492u);
}

TEST_F(PortU3V, AnAcknowledgeLengthOf0x10000GivesReadPieces0f0xFFEC) {
  tsU3vCameraOptions options = Camera();
  options.maxAckLength = 0x10000;
  StderrCapture capture;
  void* port = OpenCamera(options);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: info \[tcPortU3V::ReadBootstrap\] SRBM: Max Acknowledge Transfer Length: 0)"))
      << log;
  size_t before = Emulated().CommandsSeen().size();
  std::vector<char> buffer(0x10000);
  size_t size = buffer.size();
  // The camera's memory at 0 is smaller than a piece: the first piece fails.
  EXPECT_EQ(Lib().GCReadPort(port, 0, buffer.data(), &size), GC_ERR_INVALID_ADDRESS);
  std::vector<Seen> seen = SeenSince(Emulated(), before);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].length, 0xFFECu);
  EXPECT_EQ(size, 0x10000u);  // never changed
}

TEST_F(PortU3V, APendingAcknowledgeOf5000MsExtendsTheWait) {
  void* port = OpenCamera();  // response time 200 + 300 ms
  Emulated().PendNext(1, 5000, 1500);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ReadText(port, tcU3vRegisters::kModelName), "U3V-Emulator");
  auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(elapsed, std::chrono::milliseconds(1400));
  // No answer within the 5000 ms: the receive times out after them.
  Emulated().PendNext(1, 5000, 8000);
  start = std::chrono::steady_clock::now();
  ReadText(port, tcU3vRegisters::kModelName, GC_ERR_TIMEOUT);
  elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(elapsed, std::chrono::milliseconds(4900));
  EXPECT_LT(elapsed, std::chrono::milliseconds(7000));
}

TEST_F(PortU3V, PendingAcknowledgesOnAWrite) {
  void* port = OpenCamera();
  Emulated().PendNext(1, 3000, 1000);
  EXPECT_EQ(WriteU32(port, tcU3vRegisters::kWidth, 320), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(port, tcU3vRegisters::kWidth), 320u);
}

TEST_F(PortU3V, WithoutAnAnswerWithinTheResponseTimeTheReadTimesOut) {
  void* port = OpenCamera();
  Emulated().PendNext(1, 100, 5000);  // pending for 100 ms, answer much later
  ReadU32(port, tcU3vRegisters::kWidth, GC_ERR_TIMEOUT);
}

TEST_F(PortU3V, StatusesMapDifferentlyForReadsAndWrites) {
  void* port = OpenCamera();
  const uint64_t address = tcU3vRegisters::kWidth;
  const struct {
    uint16_t status;
    GC_ERROR read;
    GC_ERROR write;
  } table[] = {
      {0x8001, GC_ERR_NOT_IMPLEMENTED, GC_ERR_NOT_IMPLEMENTED},
      {0x8002, GC_ERR_IO, GC_ERR_INVALID_PARAMETER},
      {0x8003, GC_ERR_INVALID_ADDRESS, GC_ERR_INVALID_ADDRESS},
      {0x8004, GC_ERR_IO, GC_ERR_ACCESS_DENIED},
      {0x8006, GC_ERR_ACCESS_DENIED, GC_ERR_ACCESS_DENIED},
      {0x8007, GC_ERR_IO, GC_ERR_IO},
      {0x800B, GC_ERR_TIMEOUT, GC_ERR_TIMEOUT},
      {0x8FFF, GC_ERR_IO, GC_ERR_IO},
  };
  for (const auto& row : table) {
    Emulated().Refuse(address, row.status);
    ReadU32(port, address, row.read);
    EXPECT_EQ(WriteU32(port, address, 640), row.write) << std::hex << row.status;
  }
  Emulated().Refuse(address, 0);
  EXPECT_EQ(ReadU32(port, address), 640u);
}

TEST_F(PortU3V, ReadsFromSeveralThreadsAreSerialisedWithDistinctRequestIds) {
  void* port = OpenCamera();
  size_t before = Emulated().CommandsSeen().size();
  constexpr int kThreads = 4;
  constexpr int kReads = 100;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kReads; ++i) {
        uint32_t value = 0;
        size_t size = sizeof value;
        if (Lib().GCReadPort(port, tcU3vRegisters::kWidth, &value, &size) != GC_ERR_SUCCESS ||
            value != 640) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(failures.load(), 0);
  std::vector<Seen> seen = SeenSince(Emulated(), before);
  ASSERT_EQ(seen.size(), static_cast<size_t>(kThreads * kReads));
  // 0 to 5 went to the bootstrap reads and the stream's look-up of its registers.
  for (size_t i = 0; i < seen.size(); ++i)
    EXPECT_EQ(seen[i].requestId, 6 + i);
}

TEST_F(PortU3V, PortInformation) {
  void* port = OpenCamera();
  auto text = [&](PORT_INFO_CMD command) {
    char value[64] = "";
    size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(Lib().GCGetPortInfo(port, command, &type, value, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, strlen(value) + 1);
    return std::string(value);
  };
  auto flag = [&](PORT_INFO_CMD command) {
    bool8_t value = 2;
    size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(Lib().GCGetPortInfo(port, command, &type, &value, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_BOOL8);
    return static_cast<int>(value);
  };
  EXPECT_EQ(text(PORT_INFO_ID), "U3V Port");
  EXPECT_EQ(text(PORT_INFO_VENDOR), "Vantora LLC");
  EXPECT_EQ(text(PORT_INFO_MODEL), "U3V Port");
  EXPECT_EQ(text(PORT_INFO_TLTYPE), "U3V");
  EXPECT_EQ(text(PORT_INFO_MODULE), "TLDevice");
  EXPECT_EQ(text(PORT_INFO_VERSION), "2.9.0.102");
  EXPECT_EQ(text(PORT_INFO_PORTNAME), "Device");
  EXPECT_EQ(flag(PORT_INFO_LITTLE_ENDIAN), 1);
  EXPECT_EQ(flag(PORT_INFO_BIG_ENDIAN), 0);
  EXPECT_EQ(flag(PORT_INFO_ACCESS_READ), 1);
  EXPECT_EQ(flag(PORT_INFO_ACCESS_WRITE), 1);
  EXPECT_EQ(flag(PORT_INFO_ACCESS_NA), 0);
  EXPECT_EQ(flag(PORT_INFO_ACCESS_NI), 0);
  INFO_DATATYPE type = INFO_DATATYPE_STRING;
  size_t size = 8;
  char value[8];
  EXPECT_EQ(Lib().GCGetPortInfo(port, 13, &type, value, &size), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_UNKNOWN);
}

TEST_F(PortU3V, TheDescriptionUrlComesFromTheFirstManifestEntry) {
  void* port = OpenCamera();
  uint32_t count = 0;
  EXPECT_EQ(Lib().GCGetNumPortURLs(port, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  std::string xml = U3vCameraXml(Camera());
  char expected[256];
  snprintf(expected, sizeof expected, "local:///GenTL Project_U3V-Emulator_v1_0_0.xml;100000;%zx",
           xml.size());
  std::string url = Url(port);
  EXPECT_EQ(url, expected);
  uint64_t address = 0;
  size_t size = sizeof address;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &address, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);
  EXPECT_EQ(address, tcU3vRegisters::kXml);
  int32_t scheme = -1;
  size = sizeof scheme;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_SCHEME, &type, &scheme, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(scheme, 0);
  char name[64];
  size = sizeof name;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_FILENAME, &type, name, &size),
            GC_ERR_NOT_IMPLEMENTED);
  size = sizeof scheme;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 1, URL_INFO_SCHEME, &type, &scheme, &size),
            GC_ERR_INVALID_INDEX);
  // The description itself, read through the port.
  std::string text(xml.size(), '\0');
  size = text.size();
  EXPECT_EQ(Lib().GCReadPort(port, address, text.data(), &size), GC_ERR_SUCCESS);
  EXPECT_EQ(text, xml);
}

TEST_F(PortU3V, AManifestOfNoEntriesIsNoDataForEveryUrlQuery) {
  tsU3vCameraOptions options = Camera();
  options.manifestEntries = 0;
  void* port = OpenCamera(options);
  for (int32_t command = URL_INFO_URL; command <= URL_INFO_FILENAME; ++command) {
    char buffer[256];
    size_t size = sizeof buffer;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, command, &type, buffer, &size), GC_ERR_NO_DATA)
        << command;
  }
  char url[256];
  size_t size = sizeof url;
  EXPECT_EQ(Lib().GCGetPortURL(port, url, &size), GC_ERR_NO_DATA);
}

}  // namespace
