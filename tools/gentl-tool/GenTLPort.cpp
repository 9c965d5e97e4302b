// Finds and reads a port's GenApi description as a GenTL consumer does, and wraps the port's
// register access.
#include "GenTLPort.h"

#include <cctype>
#include <charconv>
#include <fstream>
#include <sstream>
#include <utility>

#include "GenTLErrors.h"
#include "ZippedDescription.h"

namespace {

constexpr uint64_t kMaxDescriptionSize = 64ULL << 20;

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

GenTL::GC_ERROR UrlFromInfo(GenTLLibrary& lib, void* port, std::string* url) {
  GenTL::INFO_DATATYPE type = 0;
  size_t size = 0;
  GenTL::GC_ERROR status =
      lib.GCGetPortURLInfo(port, 0, GenTL::URL_INFO_URL, &type, nullptr, &size);
  url->assign(size, '\0');
  if (status == GenTL::GC_ERR_SUCCESS) {
    status = lib.GCGetPortURLInfo(port, 0, GenTL::URL_INFO_URL, &type, url->data(), &size);
  }
  return status;
}

GenTL::GC_ERROR UrlFromPort(GenTLLibrary& lib, void* port, std::string* url) {
  size_t size = 0;
  GenTL::GC_ERROR status = lib.GCGetPortURL(port, nullptr, &size);
  url->assign(size, '\0');
  if (status == GenTL::GC_ERR_SUCCESS) status = lib.GCGetPortURL(port, url->data(), &size);
  return status;
}

// URL 0 of `port` through GCGetPortURLInfo, or the older GCGetPortURL when the producer lacks
// the former or does not implement it.
bool PortUrl(GenTLLibrary& lib, void* port, std::string* url, std::string* error) {
  GenTL::GC_ERROR status = GenTL::GC_ERR_NOT_IMPLEMENTED;
  if (lib.GCGetPortURLInfo != nullptr) status = UrlFromInfo(lib, port, url);
  if (status == GenTL::GC_ERR_NOT_IMPLEMENTED && lib.GCGetPortURL != nullptr) {
    status = UrlFromPort(lib, port, url);
  }
  *url = CutAtNul(*url);
  if (status == GenTL::GC_ERR_SUCCESS) return true;
  *error = "reading URL 0 of the port failed with " + ErrorName(status) + " (" +
           std::to_string(status) + ")";
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

std::string ReadPortRange(GenTLLibrary& lib, void* port, uint64_t address, uint64_t length,
                          std::string* error) {
  if (length > kMaxDescriptionSize) {
    *error = "the description's length in the port's URL, " + std::to_string(length) +
             " bytes, is more than 64 MiB";
    return "";
  }
  std::string text(length, '\0');
  size_t done = text.size();
  const GenTL::GC_ERROR status = lib.GCReadPort(port, address, text.data(), &done);
  if (status == GenTL::GC_ERR_SUCCESS && done == text.size()) return text;
  std::ostringstream what;
  what << "GCReadPort of the description (" << length << " bytes at 0x" << std::hex
       << std::uppercase << address << ") failed with "
       << (status == GenTL::GC_ERR_SUCCESS ? "a short read" : ErrorName(status));
  *error = what.str();
  return "";
}

// The description of a local: URL, or empty with *error set.
std::string ReadLocal(GenTLLibrary& lib, void* port, tsPortDescription& description,
                      std::string* error) {
  uint64_t address = 0;
  uint64_t length = 0;
  if (!ParseLocalUrl(description.url, &description.fileName, &address, &length)) {
    *error = "malformed local URL: " + description.url;
    return "";
  }
  std::string bytes = ReadPortRange(lib, port, address, length, error);
  if (EndsWithNoCase(description.fileName, ".zip") || bytes.empty()) return bytes;
  // A description stored in a fixed-size register range may be padded with NULs.
  return CutAtNul(bytes);
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

tsPortDescription FetchPortDescription(GenTLLibrary& lib, void* port, std::string* error) {
  tsPortDescription description;
  if (!PortUrl(lib, port, &description.url, error)) return description;
  std::string bytes;
  const bool local = StartsWithNoCase(description.url, "local:");
  if (!local) description.fileName = FileUrlToPath(description.url);
  if (local) {
    bytes = ReadLocal(lib, port, description, error);
  } else if (!description.fileName.empty()) {
    bytes = ReadFile(description.fileName, error);
  } else {
    *error = "unsupported URL: " + description.url;
  }
  if (bytes.empty()) {
    if (error->empty()) *error = "the description at " + description.url + " is empty";
    return description;
  }
  description.text = EndsWithNoCase(description.fileName, ".zip") ? UnzipDescription(bytes, error)
                                                                  : std::move(bytes);
  return description;
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
