// Runs GenApi descriptions in Aravis's GenApi engine (ArvGc) over any register space given as a
// pair of C++ callbacks, and reads or writes features by name.
#pragma once

#include <arv.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// Register access of one port; each callback returns false when the access fails.
struct tsPortAccess {
  std::function<bool(uint64_t address, void* buffer, size_t size)> read;
  std::function<bool(uint64_t address, const void* buffer, size_t size)> write;
};

struct tsGObjectUnref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using tcGObjectPtr = std::unique_ptr<T, tsGObjectUnref>;

// An ArvDevice whose read_memory/write_memory (and 32-bit read_register/write_register, taken
// as little-endian) go to `access`.
tcGObjectPtr<ArvDevice> NewPortDevice(tsPortAccess access);

// Builds Aravis's node map of `xml` on `device`, which must outlive it; null when Aravis cannot
// parse the text. Every Port node without a ChunkID, whatever its name, reads and writes
// through the device.
tcGObjectPtr<ArvGc> NewGenApi(ArvDevice* device, const std::string& xml);

// false: every feature access reads or writes the device; true: Aravis caches register values
// and relies on pInvalidator and Cachable to know when to read again.
void UseRegisterCache(ArvGc* gc, bool enabled);

// The XML element name of node `name` ("Integer", "IntReg", ...), empty when there is none.
std::string NodeKind(ArvGc* gc, const std::string& name);

// Feature access by name. Each returns the error text (missing node, wrong node type or
// Aravis's GError message), empty on success.
std::string GetInteger(ArvGc* gc, const std::string& name, int64_t* value);
std::string SetInteger(ArvGc* gc, const std::string& name, int64_t value);
std::string GetFloat(ArvGc* gc, const std::string& name, double* value);
std::string SetFloat(ArvGc* gc, const std::string& name, double value);
std::string GetBoolean(ArvGc* gc, const std::string& name, bool* value);
std::string GetString(ArvGc* gc, const std::string& name, std::string* value);
std::string SetString(ArvGc* gc, const std::string& name, const std::string& value);
std::string GetEnumeration(ArvGc* gc, const std::string& name, std::string* entry);
std::string SetEnumeration(ArvGc* gc, const std::string& name, const std::string& entry);
std::string ExecuteCommand(ArvGc* gc, const std::string& name);
// Reads the whole register (its Length bytes) of a Register-type node.
std::string GetRegisterBytes(ArvGc* gc, const std::string& name, std::vector<uint8_t>* bytes);
// The numeric Value of every entry of enumeration `name`, by entry name.
std::string GetEnumEntryValues(ArvGc* gc, const std::string& name,
                               std::vector<std::pair<std::string, int64_t>>* entries);
// The names of the features that category `name` lists.
std::string GetCategoryFeatures(ArvGc* gc, const std::string& name,
                                std::vector<std::string>* features);
