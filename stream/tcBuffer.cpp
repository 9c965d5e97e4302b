// tcBuffer: memory ownership and the BUFFER_INFO table.
#include "stream/tcBuffer.h"

#include <cstdlib>

#include "base/Log.h"
#include "modules/InfoAnswer.h"

using namespace GenTL;

tcBuffer::tcBuffer(tcDataStream* owner, void* mem, size_t bytes, void* user, bool ownsMemory,
                   const char* type)
    : memory(mem), userPointer(user), size(bytes), stream(owner), owned(ownsMemory), tlType(type) {}

tcBuffer::~tcBuffer() {
  if (owned) free(memory);
}

namespace {

// Commands of the table that this producer does not fill, with the type they would have.
bool NotImplementedType(int32_t command, int32_t* type) {
  switch (command) {
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
    case BUFFER_INFO_DATA_SIZE:
      *type = INFO_DATATYPE_SIZET;
      return true;
    case BUFFER_INFO_CHUNKLAYOUTID:
      *type = INFO_DATATYPE_UINT64;
      return true;
    case BUFFER_INFO_FILENAME:
      *type = INFO_DATATYPE_STRING;
      return true;
    case BUFFER_INFO_PIXEL_ENDIANNESS:
      *type = INFO_DATATYPE_INT32;
      return true;
    default:
      return false;
  }
}

GC_ERROR Typed(int32_t* type, INFO_DATATYPE value, GC_ERROR result) {
  *type = value;
  return result;
}

}  // namespace

GC_ERROR tcBuffer::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* bufferSize) {
  GENTL_LOG(kLogDebug, "%s, iInfoCmd = %d", "tcBuffer", command);
  if (type == nullptr || bufferSize == nullptr) return GC_ERR_INVALID_PARAMETER;
  auto sizeT = [&](size_t v) {
    return Typed(type, INFO_DATATYPE_SIZET, CopyValue(v, buffer, bufferSize));
  };
  auto u64 = [&](uint64_t v) {
    return Typed(type, INFO_DATATYPE_UINT64, CopyValue(v, buffer, bufferSize));
  };
  auto flag = [&](bool v) {
    return Typed(type, INFO_DATATYPE_BOOL8, CopyValue(static_cast<bool8_t>(v), buffer, bufferSize));
  };
  auto pointer = [&](void* v) {
    return Typed(type, INFO_DATATYPE_PTR, CopyValue(v, buffer, bufferSize));
  };
  switch (command) {
    case BUFFER_INFO_BASE:
      return pointer(memory);
    case BUFFER_INFO_SIZE:
      return sizeT(size);
    case BUFFER_INFO_USER_PTR:
      return pointer(userPointer);
    case BUFFER_INFO_TIMESTAMP:
      return u64(timestamp);
    case BUFFER_INFO_NEW_DATA:
      return flag(newData);
    case BUFFER_INFO_IS_QUEUED:
      return flag(queued);
    case BUFFER_INFO_IS_ACQUIRING:
      return flag(acquiring);
    case BUFFER_INFO_IS_INCOMPLETE:
      return flag(incomplete);
    case BUFFER_INFO_TLTYPE:
      return Typed(type, INFO_DATATYPE_STRING, CopyText(tlType, buffer, bufferSize));
    case BUFFER_INFO_SIZE_FILLED:
      return sizeT(sizeFilled);
    case BUFFER_INFO_WIDTH:
      return sizeT(width);
    case BUFFER_INFO_HEIGHT:
      return sizeT(height);
    case BUFFER_INFO_XOFFSET:
      return sizeT(xOffset);
    case BUFFER_INFO_YOFFSET:
      return sizeT(yOffset);
    case BUFFER_INFO_XPADDING:
      return sizeT(xPadding);
    case BUFFER_INFO_YPADDING:
      return sizeT(yPadding);
    case BUFFER_INFO_FRAMEID:
      return u64(frameId);
    case BUFFER_INFO_IMAGEPRESENT:
      return flag(imagePresent);
    case BUFFER_INFO_IMAGEOFFSET:
      return sizeT(imageOffset);
    case BUFFER_INFO_PAYLOADTYPE:
      return sizeT(payloadType);
    case BUFFER_INFO_PIXELFORMAT:
      return u64(pixelFormat);
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
      return u64(pixelFormatNamespace);
    case BUFFER_INFO_TIMESTAMP_NS:
      return u64(timestampNs);
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
      return flag(dataLargerThanBuffer);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
      return flag(false);
    default:
      NotImplementedType(command, type);
      GENTL_LOG(kLogWarning, "%s, iInfoCmd = %d (Request Not Implemented)", "tcBuffer", command);
      return GC_ERR_NOT_IMPLEMENTED;
  }
}
