// Lifetimes and races through the exported API on the simulated camera: concurrent starts and
// stops, closes racing register access and waiting consumers, calls with handles whose object
// is gone, and the image-present flag of delivered buffers.
#include <atomic>
#include <thread>
#include <vector>

#include "support/SimConsumer.h"
#include "support/WaitingThread.h"

using namespace GenTL;

namespace {

// An upper bound of the size of the producer's event object, whose members the consumer
// cannot see.
constexpr size_t kEventObjectBound = 1024;

class SimLifetime : public SimStreamConsumerTest {
 protected:
  // Runs `first` and `second` on two threads released at the same moment.
  template <typename First, typename Second>
  static void RunTogether(First&& first, Second&& second) {
    std::atomic<int> ready{0};
    auto gate = [&ready] {
      ready.fetch_add(1);
      while (ready.load() < 2) {
      }
    };
    std::thread a([&] {
      gate();
      first();
    });
    std::thread b([&] {
      gate();
      second();
    });
    a.join();
    b.join();
  }

  static void WaitUntil(const std::atomic<bool>& flag) {
    while (!flag.load())
      std::this_thread::yield();
  }
};

TEST_F(SimLifetime, TwoConcurrentStartsStartOnceAndTwoConcurrentStopsBothSucceed) {
  QueueBuffers(stream_, 2, 1920 * 1080);
  for (int round = 0; round < 100; ++round) {
    GC_ERROR first = GC_ERR_ERROR, second = GC_ERR_ERROR;
    RunTogether([&] { first = Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE); },
                [&] { second = Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE); });
    ASSERT_EQ(std::min(first, second), GC_ERR_RESOURCE_IN_USE) << "round " << round;
    ASSERT_EQ(std::max(first, second), GC_ERR_SUCCESS) << "round " << round;
    RunTogether([&] { first = Lib().DSStopAcquisition(stream_, 0); },
                [&] { second = Lib().DSStopAcquisition(stream_, 0); });
    ASSERT_EQ(first, GC_ERR_SUCCESS);
    ASSERT_EQ(second, GC_ERR_SUCCESS);
    ASSERT_FALSE(StreamInfo<bool8_t>(stream_, STREAM_INFO_IS_GRABBING));
  }
}

TEST_F(SimLifetime, StartRacingStopLeavesAStoppableStream) {
  QueueBuffers(stream_, 2, 1920 * 1080);
  for (int round = 0; round < 100; ++round) {
    GC_ERROR stopped = GC_ERR_ERROR;
    RunTogether([&] { Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE); },
                [&] { stopped = Lib().DSStopAcquisition(stream_, 0); });
    ASSERT_EQ(stopped, GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
    ASSERT_FALSE(StreamInfo<bool8_t>(stream_, STREAM_INFO_IS_GRABBING));
  }
}

TEST_F(SimLifetime, DevCloseRacingRemotePortReadsEndsTheReadsCleanly) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<bool> reading{false};
    GC_ERROR last = GC_ERR_SUCCESS;
    std::thread reader([&] {
      void* port = port_;
      while (last == GC_ERR_SUCCESS) {
        uint32_t value = 0;
        size_t size = sizeof value;
        last = Lib().GCReadPort(port, simcam::kSensorWidth, &value, &size);
        if (last == GC_ERR_SUCCESS) {
          EXPECT_EQ(value, 1920u);
        }
        reading.store(true);
      }
    });
    WaitUntil(reading);
    ASSERT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
    reader.join();
    EXPECT_EQ(last, GC_ERR_INVALID_HANDLE) << "round " << round;
    device_ = OpenDevice();
    port_ = RemotePort(device_);
  }
}

// A consumer that closes the device and then, from a destructor, the stream it had opened.
TEST_F(SimLifetime, DSCloseAfterDevCloseFailsCleanlyAndTheOtherClosesSucceed) {
  QueueBuffers(stream_, 2, 1024);
  ASSERT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSClose(stream_), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(LastErrorCode(), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, 0, 1), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().GCUnregisterEvent(stream_, EVENT_NEW_BUFFER), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().EventFlush(event_), GC_ERR_INVALID_HANDLE);
  uint32_t value = 0;
  size_t size = sizeof value;
  EXPECT_EQ(Lib().GCReadPort(port_, simcam::kSensorWidth, &value, &size), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().IFClose(interface_), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().TLClose(system_), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
}

TEST_F(SimLifetime, DevCloseWakesAConsumerWaitingForeverAndItsEventHandleGoesStale) {
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE), GC_ERR_SUCCESS);
  WaitingThread waiter([this] {
    void* data[2] = {};
    size_t size = sizeof data;
    return Lib().EventGetData(event_, data, &size, GENTL_INFINITE);
  });
  // Seen asleep on the event's semaphore (a member of the event object behind the handle).
  ASSERT_TRUE(waiter.BlockedIn(event_, kEventObjectBound));
  ASSERT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  EXPECT_EQ(waiter.Join(), GC_ERR_ABORT);
  void* data[2] = {};
  size_t size = sizeof data;
  EXPECT_EQ(Lib().EventGetData(event_, data, &size, 0), GC_ERR_INVALID_HANDLE);
}

TEST_F(SimLifetime, DSCloseWhileAcquiringStopsTheAcquisitionAndKeepsTheEvent) {
  QueueBuffers(stream_, 2, 1920 * 1080);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().DSClose(stream_), GC_ERR_SUCCESS);
  EXPECT_FALSE(StreamInfo<bool8_t>(stream_, STREAM_INFO_IS_GRABBING));
  EXPECT_EQ(StreamInfo<size_t>(stream_, STREAM_INFO_NUM_ANNOUNCED), 0u);
  // The closed stream keeps its registered event: the entries of discarded buffers end their
  // waits with an abort, then a wait times out.
  void* data[2] = {};
  size_t size = sizeof data;
  GC_ERROR result = GC_ERR_ABORT;
  while (result == GC_ERR_ABORT)
    result = Lib().EventGetData(event_, data, &size, 10);
  EXPECT_EQ(result, GC_ERR_TIMEOUT);
}

TEST_F(SimLifetime, EventGetDataAfterUnregisterIsAStaleHandle) {
  ASSERT_EQ(Lib().GCUnregisterEvent(stream_, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  void* data[2] = {};
  size_t size = sizeof data;
  EXPECT_EQ(Lib().EventGetData(event_, data, &size, 0), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().EventKill(event_), GC_ERR_INVALID_HANDLE);
}

TEST_F(SimLifetime, GCCloseLibWithEverythingOpenAndAConsumerWaiting) {
  QueueBuffers(stream_, 2, 1920 * 1080);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE), GC_ERR_SUCCESS);
  GC_ERROR result = GC_ERR_SUCCESS;
  std::atomic<bool> entering{false};
  std::thread waiter([&] {
    entering.store(true);
    // Takes every delivered buffer until the library goes away under it.
    for (;;) {
      void* data[2] = {};
      size_t size = sizeof data;
      result = Lib().EventGetData(event_, data, &size, GENTL_INFINITE);
      if (result != GC_ERR_SUCCESS) break;
      Lib().DSQueueBuffer(stream_, data[0]);
    }
  });
  WaitUntil(entering);
  ASSERT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
  waiter.join();
  EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_INVALID_HANDLE ||
              result == GC_ERR_NOT_INITIALIZED)
      << result;
}

TEST_F(SimLifetime, ForeignAndUnknownHandlesAreRefusedInEveryFamily) {
  int notAHandle = 0;
  EXPECT_EQ(Lib().DSStartAcquisition(device_, 0, 1), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DSClose(&notAHandle), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DevClose(stream_), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().IFClose(device_), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().EventKill(stream_), GC_ERR_INVALID_HANDLE);
  uint32_t count = 0;
  EXPECT_EQ(Lib().TLGetNumInterfaces(interface_, &count), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().GCGetNumPortURLs(event_, &count), GC_ERR_INVALID_HANDLE);
}

TEST_F(SimLifetime, ImagePresentIsFalseBeforeTheFirstDeliveryAndTrueAfterIt) {
  size_t payload = StreamInfo<size_t>(stream_, STREAM_INFO_PAYLOAD_SIZE);
  std::vector<void*> buffers = QueueBuffers(stream_, 1, payload);
  EXPECT_EQ(BufferInfo<bool8_t>(stream_, buffers[0], BUFFER_INFO_IMAGEPRESENT), 0);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, 1), GC_ERR_SUCCESS);
  void* buffer = NextBuffer(event_, 5000);
  ASSERT_EQ(buffer, buffers[0]);
  EXPECT_EQ(BufferInfo<bool8_t>(stream_, buffer, BUFFER_INFO_IMAGEPRESENT), 1);
  ASSERT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
}

TEST_F(SimLifetime, ABufferTooSmallForTheImageIsDeliveredWithoutAnImage) {
  std::vector<void*> buffers = QueueBuffers(stream_, 1, 16);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, 1), GC_ERR_SUCCESS);
  void* buffer = NextBuffer(event_, 5000);
  ASSERT_EQ(buffer, buffers[0]);
  EXPECT_EQ(BufferInfo<bool8_t>(stream_, buffer, BUFFER_INFO_IMAGEPRESENT), 0);
  ASSERT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
}

// Every buffer is somewhere at every stop: in the input list, in the output list or with the
// consumer; none is lost to a frame in progress.
TEST_F(SimLifetime, StopWhileFramesAreInProgressLosesNoBuffer) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 0), GC_ERR_SUCCESS);
  QueueBuffers(stream_, 4, 1920 * 1080);
  for (int round = 0; round < 50; ++round) {
    ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE), GC_ERR_SUCCESS);
    // The entries discarded by the previous round's flush end their waits with an abort.
    void* data[2] = {};
    size_t size = sizeof data;
    GC_ERROR result = GC_ERR_ABORT;
    while (result == GC_ERR_ABORT)
      result = Lib().EventGetData(event_, data, &size, 5000);
    ASSERT_EQ(result, GC_ERR_SUCCESS);
    void* taken = data[0];
    ASSERT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
    size_t queued = StreamInfo<size_t>(stream_, STREAM_INFO_NUM_QUEUED);
    size_t waiting = StreamInfo<size_t>(stream_, STREAM_INFO_NUM_AWAIT_DELIVERY);
    EXPECT_EQ(queued + waiting + 1, 4u) << "round " << round;
    ASSERT_EQ(Lib().DSQueueBuffer(stream_, taken), GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().DSFlushQueue(stream_, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
  }
}

}  // namespace
