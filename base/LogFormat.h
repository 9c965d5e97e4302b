// Type-safe printf-style formatting of log messages. The message texts keep the printf
// directives of the platform the producer was first written for; every directive prints the
// full value of its argument in its own base and case, whatever the argument's width, and "%p"
// prints 16 upper-case hexadecimal digits. No heap allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

// One formatting argument, captured with its kind and width so that no argument is ever
// reinterpreted through a mismatched conversion.
struct LogArg {
  enum class Kind : uint8_t { kSigned, kUnsigned, kDouble, kString, kPointer };

  Kind kind;
  uint8_t width;  // bytes of the original integer type (unsigned views of negatives use it)
  union {
    int64_t i;
    uint64_t u;
    double d;
    const char* s;
    const void* p;
  };

  template <typename T>
  requires std::is_integral_v<T> LogArg(T v) : width(sizeof(T)) {
    if constexpr (std::is_signed_v<T>) {
      kind = Kind::kSigned;
      i = v;
    } else {
      kind = Kind::kUnsigned;
      u = v;
    }
  }
  template <typename T>
  requires std::is_enum_v<T> LogArg(T v) : LogArg(static_cast<std::underlying_type_t<T>>(v)) {}
  LogArg(double v) : kind(Kind::kDouble), width(8), d(v) {}
  LogArg(const char* v) : kind(Kind::kString), width(8), s(v) {}
  LogArg(char* v) : kind(Kind::kString), width(8), s(v) {}
  LogArg(const std::string& v) : kind(Kind::kString), width(8), s(v.c_str()) {}
  LogArg(std::nullptr_t) : kind(Kind::kPointer), width(8), p(nullptr) {}
  template <typename T>
  requires(!std::is_same_v<std::remove_cv_t<T>, char>) LogArg(T* v)
      : kind(Kind::kPointer), width(8), p(v) {}
};

// Formats `format` with `args` into `out` (capacity `capacity`, always NUL-terminated when
// capacity > 0). Returns the length the complete text would have, like snprintf.
size_t FormatLogMessage(char* out, size_t capacity, const char* format, const LogArg* args,
                        size_t argCount);
