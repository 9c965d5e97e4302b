// Logger line assembly and the ring, observed through LogRingRead and LogRingTotal.
// Runs with GENTL_DEBUG=5.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Log.h"

namespace {

constexpr const char* kName = "Test::Fill";
const size_t kPrefixLength = std::string("gentl: error [Test::Fill] ").size();

std::string RingBytes(uint64_t offset, size_t count) {
  std::string out(count, '\0');
  size_t size = count;
  LogRingRead(offset, out.data(), &size);
  out.resize(size);
  return out;
}

// Logs one line of exactly `length` bytes (newline included).
void LogLineOfLength(size_t length) {
  std::string message(length - kPrefixLength - 1, 'x');
  LogPrint(kLogError, kName, "%s", message);
}

// Appends lines until the ring's write position is `target`.
void AdvanceRingTo(uint64_t target) {
  const size_t shortest = kPrefixLength + 1;
  for (;;) {
    uint64_t position = LogRingTotal() % kLogRingSize;
    uint64_t remaining = (target + kLogRingSize - position) % kLogRingSize;
    if (remaining == 0) return;
    if (remaining > 400) {
      LogLineOfLength(200);
    } else if (remaining <= 255 && remaining >= shortest) {
      LogLineOfLength(remaining);
    } else {
      LogLineOfLength(remaining / 2);
    }
  }
}

TEST(Log, LevelIsFiveForThisProcess) {
  EXPECT_EQ(LogLevel(), 5);
}

TEST(Log, LineHasPrefixMessageAndNewline) {
  uint64_t before = LogRingTotal();
  LogPrint(kLogDebug, "GenTL::GCInitLib", "completed successfully in %lu ms", uint64_t{0});
  std::string expected = "gentl: debug [GenTL::GCInitLib] completed successfully in 0 ms\n";
  ASSERT_EQ(LogRingTotal() - before, expected.size());
  EXPECT_EQ(RingBytes(before % kLogRingSize, expected.size()), expected);
}

TEST(Log, LevelNamesAndUnknownLevel) {
  const char* names[] = {"error", "warning", "info", "debug", "verbose"};
  for (int level = 1; level <= 5; ++level) {
    uint64_t before = LogRingTotal();
    LogPrint(level, "A::B", "m");
    std::string expected = std::string("gentl: ") + names[level - 1] + " [A::B] m\n";
    EXPECT_EQ(RingBytes(before % kLogRingSize, expected.size()), expected);
  }
}

TEST(Log, LevelZeroLineIsDropped) {
  uint64_t before = LogRingTotal();
  LogPrint(0, "A::B", "dropped");
  EXPECT_EQ(LogRingTotal(), before);
}

TEST(Log, ThousandCharacterMessageIsCutTo255CharactersEndingInNewline) {
  uint64_t before = LogRingTotal();
  LogPrint(kLogError, kName, "%s", std::string(1000, 'a'));
  ASSERT_EQ(LogRingTotal() - before, 255u);
  std::string line = RingBytes(before % kLogRingSize, 255);
  if (line.size() < 255) line += RingBytes(0, 255 - line.size());
  EXPECT_EQ(line.substr(0, kPrefixLength), "gentl: error [Test::Fill] ");
  EXPECT_EQ(line.find_first_not_of('a', kPrefixLength), 254u);
  EXPECT_EQ(line.back(), '\n');
}

TEST(Log, LineAtSixteenBeforeEndWrapsToStart) {
  AdvanceRingTo(kLogRingSize - 16);
  uint64_t before = LogRingTotal();
  std::string message(60, 'w');
  LogPrint(kLogError, kName, "%s", message);
  std::string expected = "gentl: error [Test::Fill] " + message + "\n";
  EXPECT_EQ(LogRingTotal() - before, expected.size());
  EXPECT_EQ(RingBytes(kLogRingSize - 16, 100), expected.substr(0, 16));
  EXPECT_EQ(RingBytes(0, expected.size() - 16), expected.substr(16));
}

TEST(Log, RingReadSixteenBeforeEndReturnsSixteenBytes) {
  std::vector<char> buffer(100);
  size_t size = 100;
  LogRingRead(kLogRingSize - 16, buffer.data(), &size);
  EXPECT_EQ(size, 16u);
}

TEST(Log, RingReadAtOrBeyondEndCopiesNothing) {
  char buffer[8] = "keep";
  size_t size = sizeof buffer;
  LogRingRead(kLogRingSize, buffer, &size);
  EXPECT_EQ(size, 0u);
  size = sizeof buffer;
  LogRingRead(kLogRingSize + 5, buffer, &size);
  EXPECT_EQ(size, 0u);
  EXPECT_STREQ(buffer, "keep");
}

TEST(Log, ShortNameFromThisCompilersMethodSignature) {
  struct tsProbe {
    static std::string Name() {
      char name[kShortNameSize];
      ShortFunctionName(__PRETTY_FUNCTION__, name, sizeof name);
      return name;
    }
  };
  EXPECT_EQ(tsProbe::Name().substr(tsProbe::Name().rfind("::") + 2), "Name");
}

TEST(Log, ShortNameRule) {
  char name[kShortNameSize];
  ShortFunctionName("GenTL::GC_ERROR GenTL::GCInitLib()", name, sizeof name);
  EXPECT_STREQ(name, "GenTL::GCInitLib");
  ShortFunctionName(
      "virtual int32_t tcSystem::GetPortURLInfo(uint32_t, int32_t, int32_t *, void *, size_t *)",
      name, sizeof name);
  EXPECT_STREQ(name, "tcSystem::GetPortURLInfo");
  ShortFunctionName("Plain", name, sizeof name);
  EXPECT_STREQ(name, "Plain");
  ShortFunctionName("int A::B() const", name, sizeof name);
  EXPECT_STREQ(name, "A::B");
  ShortFunctionName("void A::LongName()", name, 4);
  EXPECT_STREQ(name, "A::");
}

}  // namespace
