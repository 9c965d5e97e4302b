// Delivery-to-EventGetData path of a data stream: the wake-up latency of a consumer blocked in
// EventGetData (median and 99th percentile), and how many buffers per second one consumer
// thread can cycle (take, requeue) while a producer thread delivers.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "stream/tcEvent.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

struct tsBenchStream {
  tcTestInterface interface;
  tcTestDevice device{"Cam", &interface, {"Stream0"}};
  tcEvent* event = nullptr;

  explicit tsBenchStream(int buffers) {
    stream().Open();
    void* handle = nullptr;
    stream().RegisterEvent(EVENT_NEW_BUFFER, &handle);
    event = static_cast<tcEvent*>(handle);
    for (int i = 0; i < buffers; ++i) {
      void* buffer = nullptr;
      stream().AllocAndAnnounceBuffer(64, nullptr, &buffer);
      stream().QueueBuffer(buffer);
    }
    stream().StartAcquisition(0, GENTL_INFINITE);
  }
  tcTestStream& stream() { return *device.Stream(0); }
};

double Nanoseconds(std::chrono::steady_clock::time_point from) {
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - from).count();
}

// One delivery at a time; the consumer is already waiting when it happens.
void BM_WakeUpLatency(benchmark::State& state) {
  tsBenchStream bench(2);
  std::vector<double> latencies;
  for (auto _ : state) {
    std::atomic<bool> waiting{false};
    std::chrono::steady_clock::time_point sent;
    std::thread consumer([&] {
      waiting.store(true);
      void* data[2];
      size_t size = sizeof data;
      bench.event->GetData(data, &size, GENTL_INFINITE);
      latencies.push_back(Nanoseconds(sent));
      bench.stream().QueueBuffer(data[0]);
    });
    while (!waiting.load())
      std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    sent = std::chrono::steady_clock::now();
    bench.stream().Deliver(1);
    consumer.join();
  }
  std::sort(latencies.begin(), latencies.end());
  state.counters["median_us"] = latencies[latencies.size() / 2] / 1000.0;
  state.counters["p99_us"] = latencies[latencies.size() * 99 / 100] / 1000.0;
}
BENCHMARK(BM_WakeUpLatency)->Iterations(2000)->UseRealTime();

// A producer thread delivers as fast as buffers come back; one consumer takes and requeues.
void BM_ConsumerCycle(benchmark::State& state) {
  tsBenchStream bench(16);
  std::atomic<bool> stop{false};
  std::thread producer([&] {
    while (!stop.load()) {
      if (bench.stream().Deliver(1) == 0) std::this_thread::yield();
    }
  });
  for (auto _ : state) {
    void* data[2];
    size_t size = sizeof data;
    while (bench.event->GetData(data, &size, 1000) != GC_ERR_SUCCESS)
      size = sizeof data;
    bench.stream().QueueBuffer(data[0]);
  }
  stop.store(true);
  producer.join();
  state.counters["buffers_per_s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ConsumerCycle)->UseRealTime();

}  // namespace
