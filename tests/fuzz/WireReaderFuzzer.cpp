// libFuzzer target: the packet reader driven by arbitrary read sequences over arbitrary bytes.
// Every read must stay inside the data, agree with a plain byte-by-byte decoding, and the
// failure flag must stay set from the first overrun on.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "base/tcWireReader.h"

namespace {

// The reference decoding: `width` bytes at `at`, most significant first when `big`.
uint64_t Decode(std::span<const uint8_t> data, size_t at, size_t width, bool big) {
  uint64_t value = 0;
  for (size_t i = 0; i < width; ++i) {
    size_t index = big ? at + i : at + width - 1 - i;
    value = value << 8 | data[index];
  }
  return value;
}

void Check(bool condition) {
  if (!condition) abort();
}

// One read chosen by `op`; `argument` sizes skips, copies and text fields.
void Step(tcWireReader& reader, std::span<const uint8_t> data, uint8_t op, size_t argument) {
  size_t before = reader.Position();
  bool failedBefore = reader.Failed();
  size_t count = 0;
  uint64_t value = 0;
  bool numeric = false;
  switch (op % 10) {
    case 0:
      value = reader.U8();
      numeric = true;
      count = 1;
      break;
    case 1:
      value = reader.U16Be();
      numeric = true;
      count = 2;
      break;
    case 2:
      value = reader.U32Be();
      numeric = true;
      count = 4;
      break;
    case 3:
      value = reader.U64Be();
      numeric = true;
      count = 8;
      break;
    case 4:
      value = reader.U16Le();
      numeric = true;
      count = 2;
      break;
    case 5:
      value = reader.U32Le();
      numeric = true;
      count = 4;
      break;
    case 6:
      value = reader.U64Le();
      numeric = true;
      count = 8;
      break;
    case 7:
      reader.Skip(argument);
      count = argument;
      break;
    case 8: {
      std::vector<std::byte> out(argument % 4096);
      reader.Bytes(out);
      count = out.size();
      break;
    }
    default: {
      count = argument % 4096;
      std::string text = reader.Text(count);
      Check(text.size() <= count);
      Check(text.find('\0') == std::string::npos);
      break;
    }
  }
  bool fits = !failedBefore && count <= data.size() - before;
  Check(reader.Failed() == !fits);
  Check(reader.Position() == (fits ? before + count : before));
  Check(reader.Position() <= data.size());
  if (numeric) {
    bool big = op % 10 >= 1 && op % 10 <= 3;
    Check(value == (fits ? Decode(data, before, count, big) : 0));
  }
}

}  // namespace

// Input: one byte with the number of reads, two bytes per read (operation, size), then the data.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
  if (size < 1) return 0;
  size_t reads = input[0] % 32;
  size_t script = 1 + 2 * reads;
  if (size < script) return 0;
  std::span<const uint8_t> data(input + script, size - script);
  tcWireReader reader{data};
  for (size_t i = 0; i < reads; ++i) {
    uint8_t op = input[1 + 2 * i];
    uint8_t sizeByte = input[2 + 2 * i];
    // Sizes from 0 to 254, and 255 for the largest size_t (a skip that must not wrap).
    size_t argument = sizeByte == 0xFF ? SIZE_MAX : sizeByte;
    Step(reader, data, op, argument);
  }
  return 0;
}
