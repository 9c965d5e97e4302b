// Unpacks a GenApi description that a port serves as a zip archive.
#pragma once

#include <string>

// The XML file in zip archive `archive`: its only entry, or else its first entry whose name
// ends in .xml. Empty with *error set when the archive is damaged, holds no such file or
// unpacks to more than 64 MiB.
std::string UnzipDescription(const std::string& archive, std::string* error);
