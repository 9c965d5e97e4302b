// Conversions between feature values and the text on gentl-tool's command line and output.
#include "FeatureText.h"

#include <charconv>
#include <cstdio>
#include <system_error>

namespace {

bool WholeNumber(const std::string& text, size_t start, int base, uint64_t* value) {
  const char* begin = text.data() + start;
  const char* end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(begin, end, *value, base);
  return begin != end && status == std::errc() && stop == end;
}

bool ParsePlain(const std::string& text, int64_t* value) {
  const bool negative = !text.empty() && text[0] == '-';
  const bool hex = text.size() > 2 && text.compare(0, 2, "0x") == 0;
  uint64_t magnitude = 0;
  if (!WholeNumber(text, hex ? 2 : negative ? 1 : 0, hex ? 16 : 10, &magnitude)) return false;
  if (negative && magnitude > uint64_t{1} << 63) return false;
  *value = static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
  return true;
}

// `count` fields of one byte each, separated by `separator`, most significant first.
bool ParseFields(const std::string& text, char separator, int count, int base, int64_t* value) {
  uint64_t result = 0;
  size_t start = 0;
  for (int field = 0; field < count; ++field) {
    const size_t stop = field + 1 < count ? text.find(separator, start) : text.size();
    if (stop == std::string::npos || stop == start || stop - start > 3) return false;
    uint64_t part = 0;
    if (!WholeNumber(text.substr(0, stop), start, base, &part) || part > 255) return false;
    result = result << 8 | part;
    start = stop + 1;
  }
  *value = static_cast<int64_t>(result);
  return true;
}

}  // namespace

std::string FormatInteger(int64_t value, ArvGcRepresentation representation) {
  const auto bits = static_cast<uint64_t>(value);
  char text[32];
  switch (representation) {
    case ARV_GC_REPRESENTATION_HEX_NUMBER:
      snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(bits));
      break;
    case ARV_GC_REPRESENTATION_IPV4_ADDRESS:
      snprintf(text, sizeof text, "%u.%u.%u.%u", unsigned(bits >> 24 & 0xFF),
               unsigned(bits >> 16 & 0xFF), unsigned(bits >> 8 & 0xFF), unsigned(bits & 0xFF));
      break;
    case ARV_GC_REPRESENTATION_MAC_ADDRESS:
      snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", unsigned(bits >> 40 & 0xFF),
               unsigned(bits >> 32 & 0xFF), unsigned(bits >> 24 & 0xFF),
               unsigned(bits >> 16 & 0xFF), unsigned(bits >> 8 & 0xFF), unsigned(bits & 0xFF));
      break;
    default:
      snprintf(text, sizeof text, "%lld", static_cast<long long>(value));
      break;
  }
  return text;
}

bool ParseInteger(const std::string& text, ArvGcRepresentation representation, int64_t* value) {
  if (ParsePlain(text, value)) return true;
  if (representation == ARV_GC_REPRESENTATION_IPV4_ADDRESS) {
    return ParseFields(text, '.', 4, 10, value);
  }
  if (representation == ARV_GC_REPRESENTATION_MAC_ADDRESS) {
    return ParseFields(text, ':', 6, 16, value);
  }
  return false;
}

std::string FormatFloat(double value) {
  char text[64];
  const auto result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

bool ParseFloat(const std::string& text, double* value) {
  const char* end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data(), end, *value);
  return !text.empty() && status == std::errc() && stop == end;
}

std::string FormatBytes(const std::vector<uint8_t>& bytes) {
  std::string text;
  char pair[4];
  for (uint8_t byte : bytes) {
    snprintf(pair, sizeof pair, "%02x", byte);
    text += (text.empty() ? "" : ":") + std::string(pair);
  }
  return text;
}
