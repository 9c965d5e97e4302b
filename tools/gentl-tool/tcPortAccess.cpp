// Port register access and description retrieval through local: and file: URLs.
#include "tcPortAccess.h"

#include <strings.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "Numbers.h"
#include "tcToolError.h"

using namespace GenTL;

namespace {

bool StartsWithNoCase(const std::string& text, const std::string& prefix) {
  if (text.size() < prefix.size()) return false;
  return strncasecmp(text.c_str(), prefix.c_str(), prefix.size()) == 0;
}

// "%20" -> " " and so on; other characters stay.
std::string PercentDecode(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() &&
        std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
      out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

// The URL without its scheme and without a "?SchemaVersion=..." query.
std::string UrlBody(const std::string& url) {
  std::string body = url.substr(url.find(':') + 1);
  return body.substr(0, body.find('?'));
}

tcToolError BadUrl(const std::string& url) {
  return tcToolError("the port's description URL \"" + url + "\" cannot be understood.");
}

}  // namespace

std::vector<uint8_t> tcPortAccess::Read(uint64_t address, size_t size) {
  std::vector<uint8_t> bytes(size);
  size_t done = size;
  const GC_ERROR code = producer_.Lib().GCReadPort(port_, address, bytes.data(), &done);
  producer_.CheckQuiet("GCReadPort(" + Hex(address) + ", " + std::to_string(size) + " bytes)",
                       code);
  bytes.resize(std::min(done, size));
  return bytes;
}

void tcPortAccess::Write(uint64_t address, const std::vector<uint8_t>& bytes) {
  size_t size = bytes.size();
  const GC_ERROR code = producer_.Lib().GCWritePort(port_, address, bytes.data(), &size);
  producer_.Check("GCWritePort(" + Hex(address) + ", " + std::to_string(bytes.size()) + " bytes)",
                  code);
}

std::string tcPortAccess::Url() {
  char url[4096] = "";
  size_t size = sizeof url;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  GenTLLibrary& lib = producer_.Lib();
  const GC_ERROR code = lib.GCGetPortURLInfo(port_, 0, URL_INFO_URL, &type, url, &size);
  if (code == GC_ERR_NOT_IMPLEMENTED) {
    size = sizeof url;
    producer_.Check("GCGetPortURL", lib.GCGetPortURL(port_, url, &size));
  } else {
    producer_.Check("GCGetPortURLInfo(URL_INFO_URL)", code);
  }
  return std::string(url, strnlen(url, sizeof url));
}

tcPortAccess::tsDescription tcPortAccess::Description() {
  const std::string url = Url();
  if (StartsWithNoCase(url, "local:")) return ReadLocal(url);
  if (StartsWithNoCase(url, "file:")) return ReadFile(url);
  throw tcToolError("the description is at \"" + url +
                    "\", which gentl-tool cannot fetch (it reads local: and file: URLs).");
}

tcPortAccess::tsDescription tcPortAccess::ReadLocal(const std::string& url) {
  // local:[///]name;address;length with address and length hexadecimal.
  std::string body = UrlBody(url);
  body.erase(0, body.find_first_not_of('/'));
  const size_t first = body.find(';');
  const size_t second = first == std::string::npos ? first : body.find(';', first + 1);
  if (second == std::string::npos) throw BadUrl(url);
  auto hex = [&](const std::string& text) {
    const bool prefixed = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    try {
      return ParseNumber(prefixed ? text : "0x" + text, "the URL's address and length");
    } catch (const tcToolError&) {
      throw BadUrl(url);
    }
  };
  const uint64_t address = hex(body.substr(first + 1, second - first - 1));
  const uint64_t length = hex(body.substr(second + 1));
  const std::vector<uint8_t> bytes = Read(address, length);
  return {url, body.substr(0, first), std::string(bytes.begin(), bytes.end())};
}

tcPortAccess::tsDescription tcPortAccess::ReadFile(const std::string& url) {
  // file:///absolute/path or file:relative/path, percent-encoded.
  std::string path = UrlBody(url);
  if (path.rfind("//", 0) == 0) path.erase(0, 2);
  path = PercentDecode(path);
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw tcToolError("cannot read the description file \"" + path + "\" that the port's URL \"" +
                      url + "\" names: " + strerror(errno) + ".");
  }
  std::ostringstream text;
  text << file.rdbuf();
  return {url, path, text.str()};
}
