// What a GenTL consumer does with a module's port: find and read its GenApi description
// through the port's URL, and give a GenApi engine register access over GCReadPort/GCWritePort.
#pragma once

#include <cstdint>
#include <string>

#include "ArvPortDevice.h"
#include "GenTLLibrary.h"

// A port's GenApi description and where it came from.
struct tsPortDescription {
  std::string url;       // URL 0 of the port, as the port gives it
  std::string fileName;  // the file name a local: URL gives, or the path of a file: URL
  std::string text;      // the description's XML, unpacked when the URL names a .zip file
};

// Splits "local:///<file>;<address>;<length>[?<query>]". The scheme is case-insensitive, the
// slashes are optional, address and length are hexadecimal with or without "0x".
bool ParseLocalUrl(const std::string& url, std::string* file, uint64_t* address, uint64_t* length);

// The path named by a "file:///<path>[?<query>]" URL with its %XX escapes decoded; empty when
// `url` is not such a URL or an escape is malformed.
std::string FileUrlToPath(const std::string& url);

// The GenApi description named by URL 0 of `port`, read from the port (local URL) or from the
// file system (file URL); a file whose name ends in .zip is unpacked. Empty text with *error
// set when it cannot be fetched.
tsPortDescription FetchPortDescription(GenTLLibrary& lib, void* port, std::string* error);

// Register access of `port` through GCReadPort/GCWritePort; an access succeeds only when the
// producer returns success and transfers every byte.
tsPortAccess PortAccessFor(GenTLLibrary& lib, void* port);
