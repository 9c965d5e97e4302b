// Concurrency of the stream and its NEW_BUFFER event: one producer thread delivers 100,000
// buffers while two consumer threads take and requeue them and a third thread reads the
// stream's information and registers and now and then discards the output queue and puts the
// discarded buffers back. Every delivered buffer must be received or discarded, exactly once.
// Runs in its own process with logging off.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "stream/tcEvent.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

constexpr uint64_t kDeliveries = 100000;
constexpr int kBuffers = 8;

TEST(StreamConcurrency, EveryDeliveredBufferIsReceivedOrDiscardedOnce) {
  tcTestInterface interface;
  tcTestDevice device("Cam", &interface, {"Stream0"});
  tcTestStream& stream = *device.Stream(0);
  ASSERT_EQ(stream.Open(), GC_ERR_SUCCESS);
  void* eventHandle = nullptr;
  ASSERT_EQ(stream.RegisterEvent(EVENT_NEW_BUFFER, &eventHandle), GC_ERR_SUCCESS);
  auto* event = static_cast<tcEvent*>(eventHandle);
  for (int i = 0; i < kBuffers; ++i) {
    void* buffer = nullptr;
    ASSERT_EQ(stream.AllocAndAnnounceBuffer(64, nullptr, &buffer), GC_ERR_SUCCESS);
    ASSERT_EQ(stream.QueueBuffer(buffer), GC_ERR_SUCCESS);
  }
  ASSERT_EQ(stream.StartAcquisition(0, GENTL_INFINITE), GC_ERR_SUCCESS);

  std::atomic<uint64_t> delivered{0}, received{0}, discarded{0}, aborts{0};
  std::atomic<bool> producerDone{false}, failed{false};
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(3);
  auto expired = [&] { return std::chrono::steady_clock::now() > deadline; };

  // One discard before the threads start, so the discard path is always taken; the observer's
  // discards below depend on timing.
  delivered.fetch_add(stream.Deliver(4));
  {
    int32_t type = 0;
    size_t value = 0;
    size_t size = sizeof value;
    tcMutexLock lock(stream.StreamMutex());
    stream.GetInfo(STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &value, &size);
    stream.FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD);
    discarded.fetch_add(value);
  }
  stream.FlushQueue(ACQ_QUEUE_UNQUEUED_TO_INPUT);

  std::thread producer([&] {
    while (delivered.load() < kDeliveries && !expired()) {
      if (stream.Deliver(1) == 1) {
        delivered.fetch_add(1);
      } else {
        std::this_thread::yield();
      }
    }
    producerDone.store(true);
  });
  auto consume = [&] {
    for (;;) {
      if (producerDone.load() && received.load() + discarded.load() == delivered.load()) return;
      if (expired()) return;
      void* data[2] = {};
      size_t size = sizeof data;
      GC_ERROR result = event->GetData(data, &size, 5);
      if (result == GC_ERR_SUCCESS) {
        received.fetch_add(1);
        GC_ERROR requeue = stream.QueueBuffer(data[0]);
        if (requeue != GC_ERR_SUCCESS && requeue != GC_ERR_BUSY) failed.store(true);
      } else if (result == GC_ERR_ABORT) {
        aborts.fetch_add(1);
      } else if (result != GC_ERR_TIMEOUT) {
        failed.store(true);
      }
    }
  };
  std::thread consumerA(consume), consumerB(consume);
  std::thread observer([&] {
    for (uint64_t round = 0; !producerDone.load(); ++round) {
      int32_t type = 0;
      size_t value = 0;
      size_t size = sizeof value;
      stream.GetInfo(STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &value, &size);
      uint32_t count = 0;
      size = 4;
      stream.ReadPort(0x10040, &count, &size);
      size = 4;
      stream.ReadPort(0x10060, &count, &size);
      if (round % 8 == 0) {
        {
          tcMutexLock lock(stream.StreamMutex());
          size = sizeof value;
          stream.GetInfo(STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &value, &size);
          stream.FlushQueue(ACQ_QUEUE_OUTPUT_DISCARD);
          discarded.fetch_add(value);
        }
        stream.FlushQueue(ACQ_QUEUE_UNQUEUED_TO_INPUT);
      }
      std::this_thread::yield();
    }
  });
  producer.join();
  observer.join();
  consumerA.join();
  consumerB.join();
  EXPECT_FALSE(expired()) << "did not finish within the time bound";
  EXPECT_FALSE(failed.load());
  EXPECT_EQ(delivered.load(), kDeliveries);
  EXPECT_EQ(delivered.load(), received.load() + discarded.load());
  EXPECT_GT(discarded.load(), 0u);
  RecordProperty("received", std::to_string(received.load()));
  RecordProperty("discarded", std::to_string(discarded.load()));
  RecordProperty("aborts", std::to_string(aborts.load()));
  EXPECT_EQ(stream.StopAcquisition(0), GC_ERR_SUCCESS);
}

}  // namespace
