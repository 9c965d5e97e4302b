// The accepted vendor table: built in, or replaced by GENTL_U3V_VENDOR_IDS.
#include "u3v/U3vVendorIds.h"

#include <cctype>
#include <cstdlib>
#include <iterator>
#include <string>

#include "base/Log.h"

namespace u3v {

namespace {

// A token of 1 to 4 hexadecimal digits, optionally after "0x", with blanks around it.
bool ParseToken(std::string token, uint16_t* id) {
  size_t first = token.find_first_not_of(" \t");
  size_t last = token.find_last_not_of(" \t");
  token = first == std::string::npos ? "" : token.substr(first, last - first + 1);
  if (token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X')) {
    token.erase(0, 2);
  }
  if (token.empty() || token.size() > 4) return false;
  for (char c : token) {
    if (!isxdigit(static_cast<unsigned char>(c))) return false;
  }
  *id = static_cast<uint16_t>(strtoul(token.c_str(), nullptr, 16));
  return true;
}

}  // namespace

std::vector<uint16_t> ParseVendorIds(const char* text) {
  std::vector<uint16_t> ids;
  std::string rest = text;
  for (;;) {
    size_t comma = rest.find(',');
    std::string token = rest.substr(0, comma);
    uint16_t id = 0;
    if (ParseToken(token, &id)) {
      ids.push_back(id);
    } else {
      GENTL_LOG(kLogWarning, "GENTL_U3V_VENDOR_IDS: \"%s\" is not a hexadecimal vendor ID, skipped",
                token);
    }
    if (comma == std::string::npos) break;
    rest.erase(0, comma + 1);
  }
  return ids;
}

std::vector<uint16_t> AcceptedVendorIds() {
  const char* text = getenv("GENTL_U3V_VENDOR_IDS");
  if (text == nullptr) {
    return {std::begin(U3vAcceptedVendorIds), std::end(U3vAcceptedVendorIds)};
  }
  return ParseVendorIds(text);
}

}  // namespace u3v
