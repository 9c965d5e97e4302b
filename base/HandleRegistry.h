// Process-wide map from module object address to its kind. Module constructors enter
// themselves; owners retire an object (Leave) before destroying it. The exported functions pin
// the object behind a handle for the duration of a call, so an object is never destroyed while
// a call on it is still running, and a call with a stale handle finds nothing.
#pragma once

#include <cstdint>
#include <optional>

enum class HandleKind : uint32_t {
  kPort = 0,
  kDevice = 1,
  kInterface = 2,
  kDataStream = 3,
  kSystem = 4,
  kEvent = 5,
};

class tcHandlePin;

class HandleRegistry {
 public:
  // Enters `object` with `kind`, overwriting an existing entry (a module constructor refines
  // the port constructor's entry).
  static void Enter(const void* object, HandleKind kind);
  // Removes `object`: later lookups and pins fail. Then waits until no other thread holds a
  // pin on it; an owner whose calls can block wakes them first (an event ends its waits).
  static void Leave(const void* object);
  static std::optional<HandleKind> Find(const void* object);
  // Pins `object` when it is registered and not leaving; an empty pin otherwise.
  static tcHandlePin Pin(const void* object);

 private:
  friend class tcHandlePin;
  static void Unpin(const void* object);
};
