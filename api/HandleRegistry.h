// Process-wide map from module object address to its kind. Module constructors enter
// themselves and destructors leave; the port-family exports validate handles against it.
#pragma once

#include <cstdint>
#include <optional>

enum class HandleKind : uint32_t {
  kPort = 0,
  kDevice = 1,
  kInterface = 2,
  kDataStream = 3,
  kSystem = 4,
};

class HandleRegistry {
 public:
  // Enters `object` with `kind`, overwriting an existing entry (a module constructor refines
  // the port constructor's entry).
  static void Enter(const void* object, HandleKind kind);
  static void Leave(const void* object);
  static std::optional<HandleKind> Find(const void* object);
};
