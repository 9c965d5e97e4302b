// Finds and reads a port's GenApi description as a GenTL consumer does, and wraps the port's
// register access.
#include "GenTLPort.h"

#include <cctype>
#include <charconv>
#include <fstream>
#include <sstream>

namespace {

// `lower` is lower case.
bool HasAtNoCase(const std::string& text, size_t position, const std::string& lower) {
  if (text.size() < position + lower.size()) return false;
  for (size_t i = 0; i < lower.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(text[position + i])) != lower[i]) return false;
  }
  return true;
}

bool StartsWithNoCase(const std::string& text, const std::string& lower) {
  return HasAtNoCase(text, 0, lower);
}

bool EndsWithNoCase(const std::string& text, const std::string& lower) {
  return text.size() >= lower.size() && HasAtNoCase(text, text.size() - lower.size(), lower);
}

bool ParseHex(std::string text, uint64_t* value) {
  if (StartsWithNoCase(text, "0x")) text.erase(0, 2);
  const char* end = text.data() + text.size();
  auto [stop, status] = std::from_chars(text.data(), end, *value, 16);
  return !text.empty() && status == std::errc() && stop == end;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool PercentDecode(const std::string& text, std::string* out) {
  out->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      *out += text[i];
      continue;
    }
    int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
    if (high < 0 || low < 0) return false;
    *out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return true;
}

std::string CutAtNul(std::string text) {
  return text.substr(0, text.find('\0'));
}

// URL 0 of `port` through GCGetPortURLInfo, or the older GCGetPortURL when the producer lacks it.
bool PortUrl(GenTLLibrary& lib, void* port, std::string* url, std::string* error) {
  GenTL::GC_ERROR status = GenTL::GC_ERR_NOT_IMPLEMENTED;
  size_t size = 0;
  if (lib.GCGetPortURLInfo != nullptr) {
    GenTL::INFO_DATATYPE type = 0;
    status = lib.GCGetPortURLInfo(port, 0, GenTL::URL_INFO_URL, &type, nullptr, &size);
    url->assign(size, '\0');
    if (status == GenTL::GC_ERR_SUCCESS) {
      status = lib.GCGetPortURLInfo(port, 0, GenTL::URL_INFO_URL, &type, url->data(), &size);
    }
  } else if (lib.GCGetPortURL != nullptr) {
    status = lib.GCGetPortURL(port, nullptr, &size);
    url->assign(size, '\0');
    if (status == GenTL::GC_ERR_SUCCESS) status = lib.GCGetPortURL(port, url->data(), &size);
  }
  *url = CutAtNul(*url);
  if (status == GenTL::GC_ERR_SUCCESS) return true;
  *error = "reading URL 0 of the port failed with " + std::to_string(status);
  return false;
}

std::string ReadFile(const std::string& path, std::string* error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    *error = "cannot open " + path;
    return "";
  }
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string ReadPortRange(GenTLLibrary& lib, void* port, const std::string& url,
                          std::string* error) {
  std::string file;
  uint64_t address = 0;
  uint64_t length = 0;
  if (!ParseLocalUrl(url, &file, &address, &length)) {
    *error = "malformed local URL: " + url;
    return "";
  }
  if (EndsWithNoCase(file, ".zip")) {
    *error = "zipped descriptions are not supported: " + url;
    return "";
  }
  std::string text(length, '\0');
  if (!PortAccessFor(lib, port).read(address, text.data(), text.size())) {
    *error = "GCReadPort of the description range failed: " + url;
    return "";
  }
  // A description stored in a fixed-size register range may be padded with NULs.
  return CutAtNul(text);
}

}  // namespace

bool ParseLocalUrl(const std::string& url, std::string* file, uint64_t* address, uint64_t* length) {
  if (!StartsWithNoCase(url, "local:")) return false;
  size_t start = url.find_first_not_of('/', 6);
  if (start == std::string::npos) return false;
  std::string rest = url.substr(start, url.find('?') - start);
  size_t first = rest.find(';');
  size_t second = first != std::string::npos ? rest.find(';', first + 1) : std::string::npos;
  if (first == 0 || second == std::string::npos) return false;
  *file = rest.substr(0, first);
  return ParseHex(rest.substr(first + 1, second - first - 1), address) &&
         ParseHex(rest.substr(second + 1), length);
}

std::string FileUrlToPath(const std::string& url) {
  if (!StartsWithNoCase(url, "file:///")) return "";
  std::string encoded = url.substr(7, url.find('?') - 7);
  std::string path;
  return PercentDecode(encoded, &path) ? path : "";
}

std::string FetchPortDescription(GenTLLibrary& lib, void* port, std::string* error) {
  std::string url;
  if (!PortUrl(lib, port, &url, error)) return "";
  if (StartsWithNoCase(url, "local:")) return ReadPortRange(lib, port, url, error);
  std::string path = FileUrlToPath(url);
  if (!path.empty()) return ReadFile(path, error);
  *error = "unsupported URL: " + url;
  return "";
}

tsPortAccess PortAccessFor(GenTLLibrary& lib, void* port) {
  return {[&lib, port](uint64_t address, void* buffer, size_t size) {
            size_t done = size;
            return lib.GCReadPort(port, address, buffer, &done) == GenTL::GC_ERR_SUCCESS &&
                   done == size;
          },
          [&lib, port](uint64_t address, const void* buffer, size_t size) {
            size_t done = size;
            return lib.GCWritePort(port, address, buffer, &done) == GenTL::GC_ERR_SUCCESS &&
                   done == size;
          }};
}
