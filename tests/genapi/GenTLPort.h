// What a GenTL consumer does with a module's port: find and read its GenApi description
// through the port's URL, and give a GenApi engine register access over GCReadPort/GCWritePort.
#pragma once

#include <cstdint>
#include <string>

#include "ArvPortDevice.h"
#include "GenTLLibrary.h"

// Splits "local:///<file>;<address>;<length>[?<query>]". The scheme is case-insensitive, the
// slashes are optional, address and length are hexadecimal with or without "0x".
bool ParseLocalUrl(const std::string& url, std::string* file, uint64_t* address, uint64_t* length);

// The path named by a "file:///<path>[?<query>]" URL with its %XX escapes decoded; empty when
// `url` is not such a URL or an escape is malformed.
std::string FileUrlToPath(const std::string& url);

// The GenApi description named by URL 0 of `port`, read from the port (local URL) or from the
// file system (file URL). Empty with *error set when it cannot be fetched.
std::string FetchPortDescription(GenTLLibrary& lib, void* port, std::string* error);

// Register access of `port` through GCReadPort/GCWritePort; an access succeeds only when the
// producer returns success and transfers every byte.
tsPortAccess PortAccessFor(GenTLLibrary& lib, void* port);
