// The data stream base through a test stream whose transport delivers on command: buffer
// announcement, queueing, revocation, flushing, stream information, registers and description.
#include <gtest/gtest.h>
#include <unistd.h>
#include <pugixml.hpp>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "stream/tcEvent.h"
#include "support/LogMatch.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

class DataStream : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(stream().Open(), GC_ERR_SUCCESS); }

  tcTestStream& stream() { return *device_.Stream(0); }

  void* Announce(void* user = nullptr) {
    void* handle = nullptr;
    memory_.push_back(std::make_unique<std::array<uint8_t, 64>>());
    EXPECT_EQ(stream().AnnounceBuffer(memory_.back()->data(), 64, user, &handle), GC_ERR_SUCCESS);
    return handle;
  }

  void* RegisterEvent() {
    void* event = nullptr;
    EXPECT_EQ(stream().RegisterEvent(EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    return event;
  }

  size_t SizeInfo(int command) {
    size_t value = 0;
    size_t size = sizeof value;
    int32_t type = 0;
    EXPECT_EQ(stream().GetInfo(command, &type, &value, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_SIZET);
    return value;
  }

  uint32_t Register32(uint64_t address) {
    uint32_t value = 0;
    size_t size = 4;
    EXPECT_EQ(stream().ReadPort(address, &value, &size), GC_ERR_SUCCESS);
    return value;
  }

  tcTestInterface interface_;
  tcTestDevice device_{"Cam", &interface_, {"Stream0"}};
  std::vector<std::unique_ptr<std::array<uint8_t, 64>>> memory_;
};

TEST_F(DataStream, QueueingTwiceIsBusyUntilAllDiscard) {
  void* buffer = Announce();
  EXPECT_EQ(stream().QueueBuffer(buffer), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().QueueBuffer(buffer), GC_ERR_BUSY);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 1u);
  EXPECT_EQ(stream().FlushQueue(ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(stream().QueueBuffer(buffer), GC_ERR_SUCCESS);
  int dummy = 0;
  EXPECT_EQ(stream().QueueBuffer(&dummy), GC_ERR_INVALID_HANDLE);
}

TEST_F(DataStream, InputToOutputQueuesOneEventPerBufferInInputOrder) {
  void* event = RegisterEvent();
  int users[3] = {};
  void* buffers[3] = {Announce(&users[0]), Announce(&users[1]), Announce(&users[2])};
  EXPECT_EQ(stream().QueueBuffer(buffers[2]), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().QueueBuffer(buffers[0]), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().QueueBuffer(buffers[1]), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().FlushQueue(ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 0u);
  auto* e = static_cast<tcEvent*>(event);
  for (int expected : {2, 0, 1}) {
    void* data[2] = {};
    size_t size = sizeof data;
    ASSERT_EQ(e->GetData(data, &size, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(size, 16u);
    EXPECT_EQ(data[0], buffers[expected]);
    EXPECT_EQ(data[1], &users[expected]);
  }
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
}

TEST_F(DataStream, RevokingAQueuedBufferIsBusyAndLeavesItAnnouncedAndQueued) {
  void* buffer = Announce();
  ASSERT_EQ(stream().QueueBuffer(buffer), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().RevokeBuffer(buffer, nullptr, nullptr), GC_ERR_BUSY);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_ANNOUNCED), 1u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 1u);
  bool8_t queued = false;
  size_t size = 1;
  int32_t type = 0;
  EXPECT_EQ(stream().GetBufferInfo(buffer, BUFFER_INFO_IS_QUEUED, &type, &queued, &size),
            GC_ERR_SUCCESS);
  EXPECT_TRUE(queued);
}

TEST_F(DataStream, RevokingADeliveredBufferStillWaitingIsBusy) {
  void* buffer = Announce();
  ASSERT_EQ(stream().QueueBuffer(buffer), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().Deliver(1), 1);
  EXPECT_EQ(stream().RevokeBuffer(buffer, nullptr, nullptr), GC_ERR_BUSY);
  EXPECT_EQ(stream().FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().RevokeBuffer(buffer, nullptr, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_ANNOUNCED), 0u);
}

TEST_F(DataStream, RevokeReturnsTheConsumersMemoryOnly) {
  int user = 0;
  void* announced = Announce(&user);
  void* memory = nullptr;
  void* userOut = nullptr;
  EXPECT_EQ(stream().RevokeBuffer(announced, &memory, &userOut), GC_ERR_SUCCESS);
  EXPECT_EQ(memory, memory_[0]->data());
  EXPECT_EQ(userOut, &user);
  void* allocated = nullptr;
  ASSERT_EQ(stream().AllocAndAnnounceBuffer(100, &user, &allocated), GC_ERR_SUCCESS);
  memory = userOut = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(stream().RevokeBuffer(allocated, &memory, &userOut), GC_ERR_SUCCESS);
  EXPECT_EQ(memory, reinterpret_cast<void*>(0x1));
  EXPECT_EQ(userOut, reinterpret_cast<void*>(0x1));
  EXPECT_EQ(stream().RevokeBuffer(allocated, nullptr, nullptr), GC_ERR_INVALID_HANDLE);
}

TEST_F(DataStream, BufferIdIndexEqualToAnnouncedCountIsInvalidIndex) {
  void* a = Announce();
  void* b = Announce();
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_ANNOUNCED), 2u);
  void* handle = nullptr;
  EXPECT_EQ(stream().GetBufferID(2, &handle), GC_ERR_INVALID_INDEX);
  EXPECT_EQ(stream().GetBufferID(1, &handle), GC_ERR_SUCCESS);
  EXPECT_EQ(handle, b);
  ASSERT_EQ(stream().RevokeBuffer(a, nullptr, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().GetBufferID(0, &handle), GC_ERR_SUCCESS);
  EXPECT_EQ(handle, b);
}

TEST_F(DataStream, DefinesPayloadSizeIsFalseAndChunkMaximumIsNotAvailable) {
  bool8_t defines = true;
  size_t size = 1;
  int32_t type = 0;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_DEFINES_PAYLOADSIZE, &type, &defines, &size),
            GC_ERR_SUCCESS);
  EXPECT_FALSE(defines);
  EXPECT_EQ(type, INFO_DATATYPE_BOOL8);
  type = 0;
  size = 8;
  size_t value = 0;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_NUM_CHUNKS_MAX, &type, &value, &size),
            GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(type, INFO_DATATYPE_SIZET);
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_BUF_ANNOUNCE_MIN, &type, &value, &size),
            GC_ERR_NOT_AVAILABLE);
  uint64_t before = LogRingTotal();
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_BUF_ALIGNMENT, &type, &value, &size),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_TRUE(HasLogLine(
      LogSince(before),
      R"(gentl: warning \[tcDataStream::GetInfo\] tcDataStream, iInfoCmd = 13 \(Request Not Implemented\))"));
}

TEST_F(DataStream, InformationTable) {
  stream().SetPayloadSize(1234);
  void* buffer = Announce();
  ASSERT_EQ(stream().QueueBuffer(buffer), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().Deliver(1), 1);
  char text[16];
  size_t size = sizeof text;
  int32_t type = 0;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_ID, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "Stream0");
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
  size = sizeof text;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_TLTYPE, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "Custom");
  uint64_t count = 0;
  size = 8;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_NUM_DELIVERED, &type, &count, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_NUM_STARTED, &type, &count, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_NUM_UNDERRUN, &type, &count, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_PAYLOAD_SIZE), 1234u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_AWAIT_DELIVERY), 1u);
  size = 4;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_PAYLOAD_SIZE, &type, &count, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 8u);
  size = 0;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_ID, &type, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_ID, nullptr, nullptr, &size), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_ID, &type, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(DataStream, RegisterTwiceIsInUseAndUnregisterTwiceSucceeds) {
  RegisterEvent();
  void* second = nullptr;
  EXPECT_EQ(stream().RegisterEvent(EVENT_NEW_BUFFER, &second), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(stream().UnregisterEvent(EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().UnregisterEvent(EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().RegisterEvent(EVENT_NEW_BUFFER, nullptr), GC_ERR_INVALID_PARAMETER);
  uint64_t before = LogRingTotal();
  EXPECT_EQ(stream().RegisterEvent(EVENT_ERROR, &second), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(stream().UnregisterEvent(EVENT_MODULE), GC_ERR_NOT_IMPLEMENTED);
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: warning \[tcDataStream::RegisterEvent\] tcDataStream, iEventID = 0 \(Request Not Implemented\))"));
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: warning \[tcDataStream::UnregisterEvent\] tcDataStream, iEventID = 5 \(Request Not Implemented\))"));
}

TEST_F(DataStream, AllToInputDiscardsOutputAndQueuesTheRest) {
  void* event = RegisterEvent();
  void* a = Announce();
  void* b = Announce();
  void* c = Announce();
  ASSERT_EQ(stream().QueueBuffer(a), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().Deliver(1), 1);
  ASSERT_EQ(stream().QueueBuffer(b), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().FlushQueue(ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 3u);
  size_t inQueue = 9;
  size_t size = sizeof inQueue;
  int32_t type = 0;
  EXPECT_EQ(static_cast<tcEvent*>(event)->GetInfo(EVENT_NUM_IN_QUEUE, &type, &inQueue, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(inQueue, 0u);
  ASSERT_EQ(stream().Deliver(3), 3);
  void* order[3] = {};
  for (void*& handle : order) {
    void* data[2];
    size = 16;
    ASSERT_EQ(static_cast<tcEvent*>(event)->GetData(data, &size, 0), GC_ERR_SUCCESS);
    handle = data[0];
  }
  EXPECT_EQ(order[0], b);
  EXPECT_EQ(order[1], a);
  EXPECT_EQ(order[2], c);
}

TEST_F(DataStream, UnqueuedToInputSkipsBuffersInEitherList) {
  void* a = Announce();
  void* b = Announce();
  void* c = Announce();
  ASSERT_EQ(stream().QueueBuffer(a), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().Deliver(1), 1);
  ASSERT_EQ(stream().QueueBuffer(b), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().FlushQueue(ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 2u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_AWAIT_DELIVERY), 1u);
  EXPECT_EQ(stream().QueueBuffer(c), GC_ERR_BUSY);
}

TEST_F(DataStream, UnknownFlushOperationIsNotImplemented) {
  uint64_t before = LogRingTotal();
  EXPECT_EQ(stream().FlushQueue(5), GC_ERR_NOT_IMPLEMENTED);
  std::string log = LogSince(before);
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[tcDataStream::FlushQueue\] Stream0, iOperation = 5)"));
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: warning \[tcDataStream::FlushQueue\] tcDataStream, iOperation = 5 \(Request Not Implemented\))"));
}

TEST_F(DataStream, AnnounceRefusals) {
  void* handle = nullptr;
  EXPECT_EQ(stream().AnnounceBuffer(nullptr, 8, nullptr, &handle), GC_ERR_INVALID_PARAMETER);
  uint8_t memory[8];
  EXPECT_EQ(stream().AnnounceBuffer(memory, 8, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
  stream().refuseBuffers = true;
  EXPECT_EQ(stream().AnnounceBuffer(memory, 8, nullptr, &handle), GC_ERR_RESOURCE_EXHAUSTED);
  EXPECT_EQ(stream().AllocAndAnnounceBuffer(8, nullptr, &handle), GC_ERR_RESOURCE_EXHAUSTED);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_ANNOUNCED), 0u);
}

TEST_F(DataStream, BufferInfoOfAnUnknownHandleIsInvalidHandleAndLogged) {
  int notABuffer = 0;
  int32_t type = 0;
  size_t size = 8;
  uint64_t value = 0;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(stream().GetBufferInfo(&notABuffer, BUFFER_INFO_BASE, &type, &value, &size),
            GC_ERR_INVALID_HANDLE);
  EXPECT_TRUE(
      HasLogLine(LogSince(before),
                 R"(gentl: debug \[tcDataStream::GetBufferInfo\] Stream0, hBuffer not found)"));
}

TEST_F(DataStream, QueueingWhileAcquiringCallsTheTransportHook) {
  void* a = Announce();
  void* b = Announce();
  ASSERT_EQ(stream().QueueBuffer(a), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().StartAcquisition(0, 0), GC_ERR_INVALID_PARAMETER);
  ASSERT_EQ(stream().StartAcquisition(0, GENTL_INFINITE), GC_ERR_SUCCESS);
  EXPECT_EQ(stream().StartAcquisition(0, 0), GC_ERR_RESOURCE_IN_USE);
  ASSERT_EQ(stream().QueueBuffer(b), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().queuedWhileAcquiring.size(), 1u);
  EXPECT_EQ(stream().queuedWhileAcquiring[0], b);
  EXPECT_EQ(Register32(0x10070), 1u);
  bool8_t grabbing = false;
  size_t size = 1;
  int32_t type = 0;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_IS_GRABBING, &type, &grabbing, &size), GC_ERR_SUCCESS);
  EXPECT_TRUE(grabbing);
  EXPECT_EQ(stream().StopAcquisition(0), GC_ERR_SUCCESS);
  EXPECT_EQ(Register32(0x10070), 0u);
}

TEST_F(DataStream, CloseDiscardsQueuesAndDestroysBuffers) {
  void* a = Announce();
  ASSERT_EQ(stream().QueueBuffer(a), GC_ERR_SUCCESS);
  EXPECT_TRUE(stream().IsOpen());
  EXPECT_EQ(stream().Close(), GC_ERR_SUCCESS);
  EXPECT_FALSE(stream().IsOpen());
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_ANNOUNCED), 0u);
  EXPECT_EQ(SizeInfo(STREAM_INFO_NUM_QUEUED), 0u);
}

TEST_F(DataStream, ParentIsTheDevice) {
  void* parent = nullptr;
  EXPECT_EQ(stream().GetParentDev(&parent), GC_ERR_SUCCESS);
  EXPECT_EQ(parent, &device_);
  EXPECT_EQ(stream().GetParentDev(nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(DataStream, PayloadSizeRegisterIsTheOutputCountLikeOutputBufferCount) {
  stream().SetPayloadSize(1 << 20);
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(stream().QueueBuffer(Announce()), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().Deliver(2), 2);
  EXPECT_EQ(Register32(0x10060), 2u);
  EXPECT_EQ(Register32(0x10040), 2u);
  EXPECT_EQ(Register32(0x10000), 3u);
  EXPECT_EQ(Register32(0x10030), 1u);
  uint64_t wide = 0;
  size_t size = 8;
  EXPECT_EQ(stream().ReadPort(0x10010, &wide, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(wide, 2u);
  EXPECT_EQ(stream().ReadPort(0x10050, &wide, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(wide, 2u);
  EXPECT_EQ(stream().ReadPort(0x10020, &wide, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(wide, 0u);
  size = 4;
  EXPECT_EQ(stream().ReadPort(0x10010, &wide, &size), GC_ERR_BUFFER_TOO_SMALL);
  size = 4;
  EXPECT_EQ(stream().ReadPort(0x10008, &wide, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(stream().ReadPort(0x10080, &wide, &size), GC_ERR_ACCESS_DENIED);
}

TEST_F(DataStream, EveryWriteToTheStreamPortIsAccessDenied) {
  uint32_t value = 0;
  for (uint64_t address : {0x0ULL, 0x10000ULL, 0x10040ULL, 0x10070ULL, 0x20000ULL}) {
    size_t size = 4;
    EXPECT_EQ(stream().WritePort(address, &value, &size), GC_ERR_ACCESS_DENIED) << address;
  }
}

TEST_F(DataStream, UrlPortInfoAndDescription) {
  char url[256];
  size_t size = sizeof url;
  ASSERT_EQ(stream().GetPortURL(url, &size), GC_ERR_SUCCESS);
  std::string text = stream().Description();
  char expected[128];
  snprintf(expected, sizeof expected, "local:///vantora_datastream_Stream0.xml;0;%zx", text.size());
  EXPECT_STREQ(url, expected);
  EXPECT_LT(text.size(), 0x10000u);
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(text.c_str()));
  EXPECT_STREQ(doc.select_node("//IntReg[@Name='PayloadSizeReg']").node().child_value("Address"),
               "0x10060");
  EXPECT_STREQ(
      doc.select_node("//IntReg[@Name='StreamIsGrabbingReg']").node().child_value("Cachable"),
      "NoCache");
  EXPECT_STREQ(doc.select_node("//Integer[@Name='PayloadSize']").node().child_value("Description"),
               "Size of the expected data in bytes.");
  EXPECT_STREQ(
      doc.select_node("//Integer[@Name='StreamBufferAlignment']").node().child_value("Unit"),
      "Byte");
  EXPECT_STREQ(doc.select_node("//Port[@Name='StreamPort']").node().child_value("DisplayName"),
               "Stream Port");
  int32_t type = 0;
  char name[32];
  size = sizeof name;
  EXPECT_EQ(stream().GetPortInfo(PORT_INFO_MODULE, &type, name, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "DataStream");
  size = sizeof name;
  EXPECT_EQ(stream().GetPortInfo(PORT_INFO_PORTNAME, &type, name, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "StreamPort");
}

class DumpDirectory : public ::testing::Test {
 protected:
  void SetUp() override {
    previous_ = std::filesystem::current_path();
    directory_ =
        std::filesystem::temp_directory_path() / ("gentl-dump-" + std::to_string(getpid()));
    std::filesystem::create_directories(directory_);
    std::filesystem::current_path(directory_);
  }
  void TearDown() override {
    unsetenv("GENTL_DUMP_XML_TO_FILE");
    std::filesystem::current_path(previous_);
    std::filesystem::remove_all(directory_);
  }
  std::filesystem::path previous_;
  std::filesystem::path directory_;
};

TEST_F(DumpDirectory, EmptyVariableWritesTheStreamDescription) {
  setenv("GENTL_DUMP_XML_TO_FILE", "", 1);
  tcTestInterface interface;
  tcTestDevice device("Cam", &interface, {"DumpStream"});
  char url[256];
  size_t size = sizeof url;
  ASSERT_EQ(device.Stream(0)->GetPortURL(url, &size), GC_ERR_SUCCESS);
  std::ifstream file(directory_ / "DumpStream_datastream.xml");
  ASSERT_TRUE(file.good());
  std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(content, device.Stream(0)->Description());
  device.Description();
  interface.Description();
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_),
                          std::filesystem::directory_iterator()),
            1);
}

TEST_F(DumpDirectory, AbsentVariableWritesNothing) {
  unsetenv("GENTL_DUMP_XML_TO_FILE");
  tcTestInterface interface;
  tcTestDevice device("Cam", &interface, {"DumpStream"});
  char url[256];
  size_t size = sizeof url;
  ASSERT_EQ(device.Stream(0)->GetPortURL(url, &size), GC_ERR_SUCCESS);
  EXPECT_TRUE(std::filesystem::is_empty(directory_));
}

}  // namespace
