// The buffer information table, read through the stream as DSGetBufferInfo does.
#include <gtest/gtest.h>

#include <cstring>

#include "support/LogMatch.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

class Buffer : public ::testing::Test {
 protected:
  GC_ERROR Info(void* buffer, int command, int32_t* type, void* value, size_t size) {
    return stream().GetBufferInfo(buffer, command, type, value, &size);
  }
  tcTestStream& stream() { return *device_.Stream(0); }

  tcTestInterface interface_;
  tcTestDevice device_{"Cam", &interface_, {"Stream0"}};
  uint8_t memory_[32] = {};
};

TEST_F(Buffer, BaseIsTheProducersMemoryOrTheConsumersAddress) {
  void* announced = nullptr;
  void* allocated = nullptr;
  int user = 0;
  ASSERT_EQ(stream().AnnounceBuffer(memory_, sizeof memory_, &user, &announced), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().AllocAndAnnounceBuffer(48, nullptr, &allocated), GC_ERR_SUCCESS);
  int32_t type = 0;
  void* base = nullptr;
  EXPECT_EQ(Info(announced, BUFFER_INFO_BASE, &type, &base, 8), GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_PTR);
  EXPECT_EQ(base, memory_);
  EXPECT_EQ(Info(allocated, BUFFER_INFO_BASE, &type, &base, 8), GC_ERR_SUCCESS);
  EXPECT_EQ(base, static_cast<tcBuffer*>(allocated)->memory);
  EXPECT_NE(base, nullptr);
  size_t size = 0;
  EXPECT_EQ(Info(allocated, BUFFER_INFO_SIZE, &type, &size, 8), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 48u);
  void* userOut = nullptr;
  EXPECT_EQ(Info(announced, BUFFER_INFO_USER_PTR, &type, &userOut, 8), GC_ERR_SUCCESS);
  EXPECT_EQ(userOut, &user);
}

TEST_F(Buffer, ContainsChunkDataIsFalse) {
  void* handle = nullptr;
  ASSERT_EQ(stream().AnnounceBuffer(memory_, sizeof memory_, nullptr, &handle), GC_ERR_SUCCESS);
  int32_t type = 0;
  bool8_t chunk = true;
  EXPECT_EQ(Info(handle, BUFFER_INFO_CONTAINS_CHUNKDATA, &type, &chunk, 1), GC_ERR_SUCCESS);
  EXPECT_FALSE(chunk);
  EXPECT_EQ(type, INFO_DATATYPE_BOOL8);
}

TEST_F(Buffer, DataSizeIsNotImplementedWithTypeSizeT) {
  void* handle = nullptr;
  ASSERT_EQ(stream().AnnounceBuffer(memory_, sizeof memory_, nullptr, &handle), GC_ERR_SUCCESS);
  int32_t type = 0;
  size_t value = 0;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(Info(handle, BUFFER_INFO_DATA_SIZE, &type, &value, 8), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_SIZET);
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcBuffer::GetInfo\] tcBuffer, iInfoCmd = 27)"));
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: warning \[tcBuffer::GetInfo\] tcBuffer, iInfoCmd = 27 \(Request Not Implemented\))"));
  const std::pair<int, int32_t> notImplemented[] = {
      {BUFFER_INFO_DELIVERED_IMAGEHEIGHT, INFO_DATATYPE_SIZET},
      {BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, INFO_DATATYPE_SIZET},
      {BUFFER_INFO_CHUNKLAYOUTID, INFO_DATATYPE_UINT64},
      {BUFFER_INFO_FILENAME, INFO_DATATYPE_STRING},
      {BUFFER_INFO_PIXEL_ENDIANNESS, INFO_DATATYPE_INT32}};
  for (auto [command, expected] : notImplemented) {
    EXPECT_EQ(Info(handle, command, &type, &value, 8), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(type, expected) << command;
  }
}

TEST_F(Buffer, UnknownCommandsLeaveTheTypeAsItWas) {
  void* handle = nullptr;
  ASSERT_EQ(stream().AnnounceBuffer(memory_, sizeof memory_, nullptr, &handle), GC_ERR_SUCCESS);
  for (int command : {31, -1}) {
    int32_t type = 99;
    uint64_t value = 0;
    EXPECT_EQ(Info(handle, command, &type, &value, 8), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(type, 99);
  }
}

TEST_F(Buffer, TLTypeWithSizeSixIsTooSmallAndReportsSeven) {
  void* handle = nullptr;
  ASSERT_EQ(stream().AnnounceBuffer(memory_, sizeof memory_, nullptr, &handle), GC_ERR_SUCCESS);
  int32_t type = 0;
  char text[8];
  size_t size = 6;
  EXPECT_EQ(stream().GetBufferInfo(handle, BUFFER_INFO_TLTYPE, &type, text, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 7u);
  size = 7;
  EXPECT_EQ(stream().GetBufferInfo(handle, BUFFER_INFO_TLTYPE, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "Custom");
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
  size = 0;
  EXPECT_EQ(stream().GetBufferInfo(handle, BUFFER_INFO_TLTYPE, &type, nullptr, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(stream().GetBufferInfo(handle, BUFFER_INFO_TLTYPE, nullptr, text, &size),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(Buffer, MetadataWrittenByTheTransportIsAnswered) {
  void* handle = nullptr;
  ASSERT_EQ(stream().AnnounceBuffer(memory_, sizeof memory_, nullptr, &handle), GC_ERR_SUCCESS);
  auto* buffer = static_cast<tcBuffer*>(handle);
  buffer->width = 640;
  buffer->height = 480;
  buffer->xOffset = 1;
  buffer->yOffset = 2;
  buffer->xPadding = 3;
  buffer->yPadding = 4;
  buffer->imageOffset = 5;
  buffer->payloadType = PAYLOAD_TYPE_IMAGE;
  buffer->pixelFormat = 0x01080001;
  buffer->pixelFormatNamespace = PIXELFORMAT_NAMESPACE_PFNC_32BIT;
  buffer->timestamp = 111;
  buffer->timestampNs = 222;
  buffer->imagePresent = true;
  buffer->incomplete = true;
  buffer->newData = true;
  buffer->dataLargerThanBuffer = true;
  ASSERT_EQ(stream().QueueBuffer(handle), GC_ERR_SUCCESS);
  ASSERT_EQ(stream().Deliver(1, 17), 1);
  const std::pair<int, size_t> sizes[] = {
      {BUFFER_INFO_WIDTH, 640},     {BUFFER_INFO_HEIGHT, 480},    {BUFFER_INFO_XOFFSET, 1},
      {BUFFER_INFO_YOFFSET, 2},     {BUFFER_INFO_XPADDING, 3},    {BUFFER_INFO_YPADDING, 4},
      {BUFFER_INFO_IMAGEOFFSET, 5}, {BUFFER_INFO_PAYLOADTYPE, 1}, {BUFFER_INFO_SIZE_FILLED, 17},
      {BUFFER_INFO_SIZE, 32}};
  for (auto [command, expected] : sizes) {
    int32_t type = 0;
    size_t value = 0;
    EXPECT_EQ(Info(handle, command, &type, &value, 8), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_SIZET) << command;
    EXPECT_EQ(value, expected) << command;
  }
  const std::pair<int, uint64_t> wide[] = {{BUFFER_INFO_TIMESTAMP, 111},
                                           {BUFFER_INFO_TIMESTAMP_NS, 222},
                                           {BUFFER_INFO_FRAMEID, 1},
                                           {BUFFER_INFO_PIXELFORMAT, 0x01080001},
                                           {BUFFER_INFO_PIXELFORMAT_NAMESPACE, 4}};
  for (auto [command, expected] : wide) {
    int32_t type = 0;
    uint64_t value = 0;
    EXPECT_EQ(Info(handle, command, &type, &value, 8), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_UINT64) << command;
    EXPECT_EQ(value, expected) << command;
  }
  const std::pair<int, bool> flags[] = {
      {BUFFER_INFO_IMAGEPRESENT, true}, {BUFFER_INFO_IS_INCOMPLETE, true},
      {BUFFER_INFO_NEW_DATA, true},     {BUFFER_INFO_DATA_LARGER_THAN_BUFFER, true},
      {BUFFER_INFO_IS_QUEUED, false},   {BUFFER_INFO_IS_ACQUIRING, false}};
  for (auto [command, expected] : flags) {
    int32_t type = 0;
    bool8_t value = !expected;
    EXPECT_EQ(Info(handle, command, &type, &value, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_BOOL8);
    EXPECT_EQ(value, expected) << command;
  }
  int32_t type = 0;
  uint64_t value = 0;
  size_t size = 4;
  EXPECT_EQ(stream().GetBufferInfo(handle, BUFFER_INFO_FRAMEID, &type, &value, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 8u);
}

}  // namespace
