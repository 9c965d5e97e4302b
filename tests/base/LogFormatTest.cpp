// The log formatter renders the producer's message texts as they read on the platform they
// were written for, whatever the width of each argument.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "base/LogFormat.h"

namespace {

template <typename... Args>
std::string Format(const char* format, const Args&... args) {
  const LogArg list[] = {LogArg(args)..., LogArg(0)};
  char out[256];
  FormatLogMessage(out, sizeof out, format, list, sizeof...(Args));
  return out;
}

TEST(LogFormat, PointerAfterLiteralHexPrefixPrintsSixteenUpperCaseDigits) {
  void* p = reinterpret_cast<void*>(0xabcdef12ULL);
  EXPECT_EQ(Format("%s, this = 0x%p", "System", p), "System, this = 0x00000000ABCDEF12");
  EXPECT_EQ(Format("%p", p), "00000000ABCDEF12");
}

TEST(LogFormat, UpperHexOfPointerOrSizePrintsFullValue) {
  void* p = reinterpret_cast<void*>(0x7ffd12345678ULL);
  EXPECT_EQ(Format("%s, this = 0x%X", "GEV", p), "GEV, this = 0x7FFD12345678");
  EXPECT_EQ(Format("[0x%X, 0x%X]", uint64_t{0x1234567890ULL}, size_t{4}), "[0x1234567890, 0x4]");
}

TEST(LogFormat, SizeTypeHexDirective) {
  EXPECT_EQ(Format("local:///x.xml;%x;%Ix", 0u, size_t{0x1abcd}), "local:///x.xml;0;1abcd");
}

TEST(LogFormat, DecimalOfSizePrintsFullValue) {
  EXPECT_EQ(Format("%d", size_t{5000000000ULL}), "5000000000");
  EXPECT_EQ(Format("%d", -7), "-7");
  EXPECT_EQ(Format("%lu ms", uint64_t{12}), "12 ms");
}

TEST(LogFormat, ZeroPaddedLowerHexOfWideAddress) {
  EXPECT_EQ(Format("0x%08x", uint64_t{0x123456789ULL}), "0x123456789");
  EXPECT_EQ(Format("0x%08x", 0x1234u), "0x00001234");
  EXPECT_EQ(Format("Unknown pixel format %08x", 0x01080001u), "Unknown pixel format 01080001");
}

TEST(LogFormat, UnsignedViewOfNegativeKeepsItsOwnWidth) {
  EXPECT_EQ(Format("%u", -1), "4294967295");
  EXPECT_EQ(Format("%X", int64_t{-1}), "FFFFFFFFFFFFFFFF");
}

TEST(LogFormat, UnsignedFollowedByLiteralLetters) {
  EXPECT_EQ(Format("iTimeout: %ull ms", 0xFFFFFFFFu), "iTimeout: 4294967295ll ms");
}

TEST(LogFormat, WideStringDirectivePrintsNarrowString) {
  EXPECT_EQ(Format("Binding to address %s (%wS) (type = %d)", "10.0.0.1", "eth0", 6),
            "Binding to address 10.0.0.1 (eth0) (type = 6)");
}

TEST(LogFormat, FlagsWidthPrecisionAndFloats) {
  EXPECT_EQ(Format("Region %d %dx%d%+d%+d", 0, 0, 0, 1920, 1080), "Region 0 0x0+1920+1080");
  EXPECT_EQ(Format("Region %d %dx%d%+d%+d", 1u, 16u, 8u, 320u, 200u), "Region 1 16x8+320+200");
  EXPECT_EQ(Format("[%s, 0x%X] <= %f", "Gain", 0x100u, 1.5), "[Gain, 0x100] <= 1.500000");
  EXPECT_EQ(Format("%5s|%-3d|%.2f", "ab", 7, 2.0), "   ab|7  |2.00");
  EXPECT_EQ(Format("%02X", 0x7u), "07");
}

TEST(LogFormat, NullStringAndPercentLiteral) {
  EXPECT_EQ(Format("%s 100%%", static_cast<const char*>(nullptr)), "(null) 100%");
}

TEST(LogFormat, MissingArgumentsPrintNothing) {
  EXPECT_EQ(Format("a%db%sc"), "abc");
}

TEST(LogFormat, TruncatesAndReportsFullLength) {
  const LogArg list[] = {LogArg("abcdefghij")};
  char out[5];
  EXPECT_EQ(FormatLogMessage(out, sizeof out, "%s!", list, 1), 11u);
  EXPECT_STREQ(out, "abcd");
}

TEST(LogFormat, TrailingNewlineIsKept) {
  EXPECT_EQ(Format("pData: 0x%p, type: 0xd\n", nullptr), "pData: 0x0000000000000000, type: 0xd\n");
}

}  // namespace
