// Feature values as gentl-tool prints and reads them: integers in their representation
// (decimal, hexadecimal, IPv4 or MAC address), floats, and register bytes.
#pragma once

#include <arv.h>

#include <cstdint>
#include <string>
#include <vector>

// "1920", "0x12345678" (HexNumber), "192.168.0.10" (IPV4Address), "00:11:22:33:44:55"
// (MACAddress).
std::string FormatInteger(int64_t value, ArvGcRepresentation representation);

// A decimal number (with an optional minus sign) or a 0x-hexadecimal one, or the dotted or
// colon-separated form of `representation` for addresses; nothing else in `text`.
bool ParseInteger(const std::string& text, ArvGcRepresentation representation, int64_t* value);

// The shortest text that reads back as `value`: "30.00030000300003", "1230", "1e-07".
std::string FormatFloat(double value);

// A decimal or scientific number; nothing else in `text`.
bool ParseFloat(const std::string& text, double* value);

// "de:ad:be:ef".
std::string FormatBytes(const std::vector<uint8_t>& bytes);
