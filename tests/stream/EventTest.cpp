// The NEW_BUFFER event: waiting, time-outs, kill, flush, the size query's count, the event and
// event data information, and the export's routine time-out line.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include "GenTL.h"
#include "stream/tcEvent.h"
#include "support/LogMatch.h"
#include "support/TestModules.h"
#include "support/WaitingThread.h"

using namespace GenTL;

namespace {

class Event : public ::testing::Test {
 protected:
  void SetUp() override {
    void* handle = nullptr;
    ASSERT_EQ(stream().RegisterEvent(EVENT_NEW_BUFFER, &handle), GC_ERR_SUCCESS);
    event_ = static_cast<tcEvent*>(handle);
  }

  tcTestStream& stream() { return *device_.Stream(0); }

  // Announces, queues and delivers `count` buffers; returns their handles.
  std::vector<void*> DeliverBuffers(int count) {
    std::vector<void*> handles;
    for (int i = 0; i < count; ++i) {
      void* handle = nullptr;
      EXPECT_EQ(stream().AllocAndAnnounceBuffer(16, &users_[i], &handle), GC_ERR_SUCCESS);
      EXPECT_EQ(stream().QueueBuffer(handle), GC_ERR_SUCCESS);
      handles.push_back(handle);
    }
    EXPECT_EQ(stream().Deliver(count), count);
    return handles;
  }

  template <typename T>
  T Info(int command) {
    T value{};
    size_t size = sizeof value;
    int32_t type = 0;
    EXPECT_EQ(event_->GetInfo(command, &type, &value, &size), GC_ERR_SUCCESS);
    return value;
  }

  GC_ERROR Take(uint64_t timeout, void** handle = nullptr) {
    void* data[2] = {};
    size_t size = sizeof data;
    GC_ERROR result = event_->GetData(data, &size, timeout);
    if (handle != nullptr) *handle = data[0];
    return result;
  }

  tcTestInterface interface_;
  tcTestDevice device_{"Cam", &interface_, {"Stream0"}};
  tcEvent* event_ = nullptr;
  int users_[8] = {};
};

TEST_F(Event, ZeroTimeoutOnAnEmptyEventTimesOutAtOnce) {
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Take(0), GC_ERR_TIMEOUT);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST_F(Event, KillAbortsOneWaitAndTheNextWaitsNormally) {
  EXPECT_EQ(event_->Kill(), GC_ERR_SUCCESS);
  EXPECT_EQ(Take(0), GC_ERR_ABORT);
  EXPECT_EQ(Take(0), GC_ERR_TIMEOUT);
}

TEST_F(Event, KillWakesAWaitingThread) {
  WaitingThread waiter([this] { return Take(GENTL_INFINITE); });
  bool waiting = waiter.BlockedIn(event_, sizeof(tcEvent));
  EXPECT_EQ(event_->Kill(), GC_ERR_SUCCESS);
  EXPECT_EQ(waiter.Join(), GC_ERR_ABORT);
  EXPECT_TRUE(waiting);
}

TEST_F(Event, SizeQueryConsumesOneCount) {
  DeliverBuffers(1);
  size_t size = 0;
  EXPECT_EQ(event_->GetData(nullptr, &size, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(Take(0), GC_ERR_TIMEOUT);
  EXPECT_EQ(Info<size_t>(EVENT_NUM_IN_QUEUE), 1u);
}

TEST_F(Event, AfterFlushTwoWaitsAbortAtOnce) {
  DeliverBuffers(2);
  EXPECT_EQ(event_->Flush(), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(EVENT_NUM_IN_QUEUE), 0u);
  EXPECT_EQ(Take(0), GC_ERR_ABORT);
  EXPECT_EQ(Take(0), GC_ERR_ABORT);
  EXPECT_EQ(Take(0), GC_ERR_TIMEOUT);
}

TEST_F(Event, SizeMaxIsSixteenAndDataSizeMaxIsNotAvailable) {
  EXPECT_EQ(Info<size_t>(EVENT_SIZE_MAX), 16u);
  int32_t type = 0;
  size_t value = 0;
  size_t size = 4;
  EXPECT_EQ(event_->GetInfo(EVENT_SIZE_MAX, &type, &value, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(type, INFO_DATATYPE_SIZET);
  size = 8;
  EXPECT_EQ(event_->GetInfo(EVENT_INFO_DATA_SIZE_MAX, &type, &value, &size), GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(event_->GetInfo(9, &type, &value, &size), GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(event_->GetInfo(EVENT_SIZE_MAX, nullptr, &value, &size), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Info<int32_t>(EVENT_EVENT_TYPE), EVENT_NEW_BUFFER);
}

TEST_F(Event, FiredCountsEveryEntryIncludingFlushedOnes) {
  DeliverBuffers(3);
  EXPECT_EQ(event_->Flush(), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<uint64_t>(EVENT_NUM_FIRED), 3u);
}

TEST_F(Event, TakingAnEntryHandsOutTheBufferAndItsUserPointer) {
  std::vector<void*> handles = DeliverBuffers(2);
  void* data[2] = {};
  size_t size = 15;
  EXPECT_EQ(event_->GetData(data, &size, 0), GC_ERR_BUFFER_TOO_SMALL);
  size = 16;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(event_->GetData(data, &size, 100), GC_ERR_SUCCESS);
  EXPECT_EQ(data[0], handles[0]);
  EXPECT_EQ(data[1], &users_[0]);
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: debug \[tcEventNewBuffer::GetData\] Returning Buffer = 0x[0-9A-F]+, pUser = 0x[0-9A-F]+)"))
      << log;
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: debug \[tcEvent::GetData\] pBuffer: 0x[0-9A-F]{16}, piSize: 0x[0-9A-F]+, \*piSize = 16, iTimeout: 100 ms)"))
      << log;
  size_t awaiting = 0;
  size = sizeof awaiting;
  int32_t type = 0;
  EXPECT_EQ(stream().GetInfo(STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &awaiting, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(awaiting, 1u);
}

TEST_F(Event, QueueingLogsTheEntryWithItsFixedText) {
  uint64_t before = LogRingTotal();
  DeliverBuffers(1);
  std::string log = LogSince(before);
  EXPECT_NE(log.find("] pData: 0x"), std::string::npos);
  EXPECT_NE(log.find(", type: 0xd\n\n"), std::string::npos) << log;
}

TEST_F(Event, TimeoutAbove32BitsIsLimitedAndLoggedAsError) {
  uint64_t before = LogRingTotal();
  EXPECT_EQ(event_->Kill(), GC_ERR_SUCCESS);
  EXPECT_EQ(Take(0x100000005ULL), GC_ERR_ABORT);
  EXPECT_TRUE(HasLogLine(
      LogSince(before),
      R"(gentl: error \[tcEvent::GetData\] iTimeout cast exceeded 32bits, limiting to uint32_t::max. iTimeout: 5ll ms)"));
}

TEST_F(Event, DataInfoOffsetsStayWithinTheCallersBlock) {
  std::vector<void*> handles = DeliverBuffers(1);
  void* data[2] = {};
  size_t size = 16;
  ASSERT_EQ(event_->GetData(data, &size, 0), GC_ERR_SUCCESS);
  void* out = nullptr;
  size_t outSize = 777;
  int32_t type = 0;
  EXPECT_EQ(event_->GetDataInfo(data, 16, EVENT_DATA_ID, &type, &out, &outSize), GC_ERR_SUCCESS);
  EXPECT_EQ(out, &users_[0]);
  EXPECT_EQ(type, INFO_DATATYPE_PTR);
  EXPECT_EQ(outSize, 777u);
  EXPECT_EQ(event_->GetDataInfo(data, 16, EVENT_DATA_VALUE, &type, &out, &outSize),
            GC_ERR_INVALID_PARAMETER);
  void* wide[3] = {nullptr, nullptr, handles[0]};
  EXPECT_EQ(event_->GetDataInfo(wide, 24, EVENT_DATA_VALUE, &type, &out, &outSize), GC_ERR_SUCCESS);
  EXPECT_EQ(out, handles[0]);
  EXPECT_EQ(event_->GetDataInfo(data, 16, EVENT_DATA_NUMID, &type, &out, &outSize),
            GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(event_->GetDataInfo(data, 16, EVENT_DATA_ID, nullptr, &out, &outSize),
            GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(event_->GetDataInfo(data, 16, EVENT_DATA_ID, &type, &out, nullptr),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(Event, UnregisterWakesAWaiterWithAbort) {
  WaitingThread waiter([this] { return Take(GENTL_INFINITE); });
  // Unregistering frees the event: only a thread already waiting in it may be woken that way.
  if (!waiter.BlockedIn(event_, sizeof(tcEvent))) {
    event_->Kill();
    waiter.Join();
    FAIL() << "the waiter was not seen waiting in the event";
  }
  EXPECT_EQ(stream().UnregisterEvent(EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  EXPECT_EQ(waiter.Join(), GC_ERR_ABORT);
}

TEST_F(Event, OutputDiscardFlushesTheEventQueue) {
  DeliverBuffers(2);
  EXPECT_EQ(stream().FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(EVENT_NUM_IN_QUEUE), 0u);
  EXPECT_EQ(Take(0), GC_ERR_ABORT);
}

TEST(EventExport, TimeoutIsLoggedAtDebugLevelByTheForwardingExport) {
  ASSERT_EQ(GCInitLib(), GC_ERR_SUCCESS);
  tcTestInterface interface;
  tcTestDevice device("Cam", &interface, {"Stream0"});
  void* event = nullptr;
  ASSERT_EQ(GCRegisterEvent(device.Stream(0), EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
  void* data[2];
  size_t size = sizeof data;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(EventGetData(event, data, &size, 0), GC_ERR_TIMEOUT);
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: debug \[GenTL::EventGetData\] completed with code Timeout in [0-9]+ ms)"))
      << log;
  EXPECT_FALSE(HasLogLine(log, R"(gentl: error .*)"));
  int notAStream = 0;
  EXPECT_EQ(GCRegisterEvent(&notAStream, EVENT_NEW_BUFFER, &event), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(GCUnregisterEvent(device.Stream(0), EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  EXPECT_EQ(GCCloseLib(), GC_ERR_SUCCESS);
}

}  // namespace
