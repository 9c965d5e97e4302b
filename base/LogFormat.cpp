// Directive-by-directive formatter: each directive is rebuilt as a standard conversion of the
// argument's real type and handed to snprintf, so widths never mismatch.
#include "base/LogFormat.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// Bounded writer that keeps counting past the end, like snprintf.
class Sink {
 public:
  Sink(char* out, size_t capacity) : out_(out), capacity_(capacity) {}

  void Put(const char* text, size_t length) {
    if (written_ + 1 < capacity_) {
      size_t room = capacity_ - 1 - written_;
      memcpy(out_ + written_, text, length < room ? length : room);
    }
    written_ += length;
  }
  size_t Finish() {
    if (capacity_ > 0) out_[written_ < capacity_ ? written_ : capacity_ - 1] = '\0';
    return written_;
  }

 private:
  char* out_;
  size_t capacity_;
  size_t written_ = 0;
};

struct Directive {
  char flags[8] = {};
  int width = -1;
  int precision = -1;
  char conversion = 0;
};

bool IsFlag(char c) {
  return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0';
}

const LogArg* NextArg(const LogArg* args, size_t count, size_t* used) {
  return *used < count ? &args[(*used)++] : nullptr;
}

int ArgAsInt(const LogArg* arg) {
  if (arg == nullptr) return 0;
  return arg->kind == LogArg::Kind::kSigned ? static_cast<int>(arg->i) : static_cast<int>(arg->u);
}

// Parses flags, width, precision and length modifiers; returns the position after the
// conversion character.
const char* ParseDirective(const char* p, Directive* d, const LogArg* args, size_t count,
                           size_t* used) {
  size_t f = 0;
  while (IsFlag(*p) && f + 1 < sizeof d->flags)
    d->flags[f++] = *p++;
  if (*p == '*') {
    d->width = ArgAsInt(NextArg(args, count, used));
    ++p;
  } else {
    for (d->width = -1; *p >= '0' && *p <= '9'; ++p)
      d->width = (d->width < 0 ? 0 : d->width * 10) + (*p - '0');
  }
  if (*p == '.') {
    ++p;
    if (*p == '*') {
      d->precision = ArgAsInt(NextArg(args, count, used));
      ++p;
    } else {
      for (d->precision = 0; *p >= '0' && *p <= '9'; ++p)
        d->precision = d->precision * 10 + (*p - '0');
    }
  }
  // Length modifiers carry no meaning here: the argument knows its own type.
  for (;;) {
    if (strncmp(p, "I64", 3) == 0 || strncmp(p, "I32", 3) == 0) {
      p += 3;
    } else if (strchr("hlLqjztIw", *p) != nullptr && *p != '\0') {
      ++p;
    } else {
      break;
    }
  }
  d->conversion = *p;
  return *p != '\0' ? p + 1 : p;
}

// Builds "%<flags><width>.<precision><length><conversion>" for snprintf.
void BuildDirectiveFormat(char* directiveFormat, size_t size, const Directive& d,
                          const char* length, char conversion) {
  char width[16] = "";
  char precision[16] = "";
  if (d.width >= 0) snprintf(width, sizeof width, "%d", d.width);
  if (d.precision >= 0) snprintf(precision, sizeof precision, ".%d", d.precision);
  snprintf(directiveFormat, size, "%%%s%s%s%s%c", d.flags, width, precision, length, conversion);
}

// Unsigned view of an integer argument in its own width (a negative int prints as 32 bits).
uint64_t UnsignedView(const LogArg& arg) {
  switch (arg.kind) {
    case LogArg::Kind::kSigned:
      return arg.width >= 8 ? static_cast<uint64_t>(arg.i)
                            : static_cast<uint64_t>(arg.i) & ((1ULL << (arg.width * 8)) - 1);
    case LogArg::Kind::kUnsigned:
      return arg.u;
    case LogArg::Kind::kDouble:
      return static_cast<uint64_t>(arg.d);
    case LogArg::Kind::kString:
      return reinterpret_cast<uintptr_t>(arg.s);
    case LogArg::Kind::kPointer:
      return reinterpret_cast<uintptr_t>(arg.p);
  }
  return 0;
}

void PutFormatted(Sink* sink, const char* directiveFormat, ...)
    __attribute__((format(printf, 2, 3)));

void PutFormatted(Sink* sink, const char* directiveFormat, ...) {
  char piece[512];
  va_list list;
  va_start(list, directiveFormat);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  int n = vsnprintf(piece, sizeof piece, directiveFormat, list);
#pragma GCC diagnostic pop
  va_end(list);
  if (n > 0) sink->Put(piece, static_cast<size_t>(n) < sizeof piece ? n : sizeof piece - 1);
}

void PutInteger(Sink* sink, const Directive& d, const LogArg& arg) {
  char directiveFormat[48];
  bool decimal = d.conversion == 'd' || d.conversion == 'i';
  // A signed conversion of an unsigned value that fits keeps its flags ("%+d").
  bool fitsSigned = arg.kind != LogArg::Kind::kUnsigned || arg.u <= INT64_MAX;
  if (decimal && fitsSigned) {
    BuildDirectiveFormat(directiveFormat, sizeof directiveFormat, d, "ll", 'd');
    PutFormatted(sink, directiveFormat,
                 arg.kind == LogArg::Kind::kSigned ? static_cast<long long>(arg.i)
                                                   : static_cast<long long>(UnsignedView(arg)));
    return;
  }
  BuildDirectiveFormat(directiveFormat, sizeof directiveFormat, d, "ll",
                       decimal ? 'u' : d.conversion);
  PutFormatted(sink, directiveFormat, static_cast<unsigned long long>(UnsignedView(arg)));
}

void PutString(Sink* sink, const Directive& d, const LogArg& arg) {
  const char* text = arg.kind == LogArg::Kind::kString && arg.s != nullptr ? arg.s : "(null)";
  char directiveFormat[48];
  BuildDirectiveFormat(directiveFormat, sizeof directiveFormat, d, "", 's');
  PutFormatted(sink, directiveFormat, text);
}

void PutDouble(Sink* sink, const Directive& d, const LogArg& arg) {
  double value = arg.kind == LogArg::Kind::kDouble   ? arg.d
                 : arg.kind == LogArg::Kind::kSigned ? static_cast<double>(arg.i)
                                                     : static_cast<double>(arg.u);
  char directiveFormat[48];
  BuildDirectiveFormat(directiveFormat, sizeof directiveFormat, d, "", d.conversion);
  PutFormatted(sink, directiveFormat, value);
}

void PutPointer(Sink* sink, const LogArg& arg) {
  PutFormatted(sink, "%016llX", static_cast<unsigned long long>(UnsignedView(arg)));
}

void PutDirective(Sink* sink, const Directive& d, const LogArg* arg) {
  if (arg == nullptr) return;  // more directives than arguments: print nothing for them
  switch (d.conversion) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      PutInteger(sink, d, *arg);
      break;
    case 'c': {
      char c = static_cast<char>(UnsignedView(*arg));
      sink->Put(&c, 1);
      break;
    }
    case 's':
    case 'S':
      PutString(sink, d, *arg);
      break;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      PutDouble(sink, d, *arg);
      break;
    case 'p':
      PutPointer(sink, *arg);
      break;
    default:
      break;
  }
}

}  // namespace

size_t FormatLogMessage(char* out, size_t capacity, const char* format, const LogArg* args,
                        size_t argCount) {
  Sink sink(out, capacity);
  size_t used = 0;
  for (const char* p = format; *p != '\0';) {
    const char* percent = strchr(p, '%');
    if (percent == nullptr) {
      sink.Put(p, strlen(p));
      break;
    }
    sink.Put(p, static_cast<size_t>(percent - p));
    if (percent[1] == '%') {
      sink.Put("%", 1);
      p = percent + 2;
      continue;
    }
    Directive d;
    p = ParseDirective(percent + 1, &d, args, argCount, &used);
    if (d.conversion == '\0') break;
    PutDirective(&sink, d, NextArg(args, argCount, &used));
  }
  return sink.Finish();
}
