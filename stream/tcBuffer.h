// One announced buffer of a data stream: its memory and the metadata of the frame the
// transport wrote into it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "GenTL.h"

class tcDataStream;

class tcBuffer {
 public:
  tcBuffer(tcDataStream* stream, void* memory, size_t size, void* userPointer, bool owned,
           const char* tlType);
  virtual ~tcBuffer();
  tcBuffer(const tcBuffer&) = delete;
  tcBuffer& operator=(const tcBuffer&) = delete;

  virtual GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size);

  // Filled by the transport before delivery; read by the consumer after it.
  void* memory;
  void* userPointer;
  size_t size;
  size_t sizeFilled = 0;
  tcDataStream* stream;
  bool newData = false;
  bool owned;
  bool queued = false;  // guarded by the stream's lock
  bool acquiring = false;
  bool incomplete = false;
  bool dataLargerThanBuffer = false;
  bool imagePresent = false;
  uint64_t timestamp = 0;
  uint64_t timestampNs = 0;
  size_t width = 0;
  size_t height = 0;
  size_t xOffset = 0;
  size_t yOffset = 0;
  size_t xPadding = 0;
  size_t yPadding = 0;
  size_t imageOffset = 0;
  uint64_t frameId = 0;
  uint64_t pixelFormat = 0;
  uint64_t pixelFormatNamespace = 0;
  size_t payloadType = 0;
  std::string tlType;
};
