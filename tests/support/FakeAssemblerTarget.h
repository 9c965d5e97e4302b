// A GVSP assembler target made of plain lists, with buffers of its own, for tests that feed
// crafted packets without a socket or a stream.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "gev/tcBufferGEV.h"
#include "gev/tcGvspAssemblerTarget.h"

struct tsResendCall {
  uint64_t blockId = 0;
  bool extendedIds = false;
  std::vector<uint32_t> packetIds;
};

class tcFakeAssemblerTarget : public tcGvspAssemblerTarget {
 public:
  tcFakeAssemblerTarget(int count, size_t size) {
    for (int i = 0; i < count; ++i) {
      memory_.push_back(std::vector<std::byte>(size));
      buffers.push_back(
          std::make_unique<tcBufferGEV>(nullptr, memory_.back().data(), size, nullptr, false));
      input.push_back(buffers.back().get());
    }
  }

  tcBuffer* TakeBuffer() override {
    if (input.empty()) return nullptr;
    tcBuffer* buffer = input.front();
    input.pop_front();
    return buffer;
  }
  void CompleteBuffer(tcBuffer* buffer) override { output.push_back(buffer); }
  void RequeueBuffer(tcBuffer* buffer) override { input.push_back(buffer); }
  size_t InputCount() override { return input.size(); }
  size_t OutputCount() override { return output.size(); }
  void RequestResend(uint64_t blockId, bool extendedIds,
                     std::span<const uint32_t> packetIds) override {
    resends.push_back({blockId, extendedIds, {packetIds.begin(), packetIds.end()}});
  }

  tcBufferGEV* Buffer(size_t index) { return buffers[index].get(); }

  std::vector<std::unique_ptr<tcBufferGEV>> buffers;
  std::deque<tcBuffer*> input;
  std::vector<tcBuffer*> output;
  std::vector<tsResendCall> resends;

 private:
  std::deque<std::vector<std::byte>> memory_;
};
