// gentl-tool's command-line parsing, number and byte-string formats, frame lists and error
// names.
#include <gtest/gtest.h>

#include "GenTLErrors.h"
#include "Numbers.h"
#include "tcArguments.h"
#include "tcFrameSaver.h"
#include "tcRegisterCommand.h"
#include "tcToolError.h"

namespace {

using tBytes = std::vector<uint8_t>;

tcArguments Parse(std::vector<const char*> words) {
  words.insert(words.begin(), "gentl-tool");
  return tcArguments(static_cast<int>(words.size()), words.data());
}

// The exit code of the tcToolError that `action` throws, or 0.
template <typename F>
int ExitCodeOf(F action) {
  try {
    action();
  } catch (const tcToolError& error) {
    return error.ExitCode();
  }
  return 0;
}

}  // namespace

TEST(Numbers, DecimalAndHexadecimal) {
  EXPECT_EQ(ParseNumber("42", "N"), 42u);
  EXPECT_EQ(ParseNumber("0x3000", "N"), 0x3000u);
  EXPECT_EQ(ParseNumber("0XfF", "N"), 0xFFu);
  EXPECT_EQ(ParseNumber("18446744073709551615", "N"), UINT64_MAX);
  for (const char* bad : {"", "0x", "12a", "-1", " 1", "18446744073709551616", "1.5"}) {
    EXPECT_EQ(ExitCodeOf([&] { ParseNumber(bad, "N"); }), tcToolError::kUsage) << bad;
  }
}

TEST(Numbers, HexByteStrings) {
  EXPECT_EQ(ParseHexBytes("de:ad:BE:ef", "V"), (tBytes{0xDE, 0xAD, 0xBE, 0xEF}));
  EXPECT_EQ(ParseHexBytes("0x0102", "V"), (tBytes{1, 2}));
  EXPECT_EQ(ParseHexBytes("01 02", "V"), (tBytes{1, 2}));
  for (const char* bad : {"", "abc", "zz", "0:1", "1::"}) {
    EXPECT_EQ(ExitCodeOf([&] { ParseHexBytes(bad, "V"); }), tcToolError::kUsage) << bad;
  }
}

TEST(Numbers, LittleEndianAndPrinting) {
  EXPECT_EQ(LittleEndianBytes(0x1234, 2), (tBytes{0x34, 0x12}));
  EXPECT_EQ(LittleEndian({0x34, 0x12, 0, 0}), 0x1234u);
  EXPECT_EQ(ExitCodeOf([] { LittleEndianBytes(0x100, 1); }), tcToolError::kUsage);
  EXPECT_EQ(Hex(0x3a, 4), "0x003A");
  EXPECT_EQ(HexDump(0x10, {'A', 0, 'b'}),
            "0x00000010  41 00 62                                         |A.b|\n");
}

TEST(Arguments, OptionsStandAnywhere) {
  const tcArguments arguments =
      Parse({"--cti", "x.cti", "read", "0x10", "--size=8", "--remote", "-o", "f"});
  EXPECT_EQ(arguments.Command(), "read");
  EXPECT_EQ(arguments.Positional(), (std::vector<std::string>{"0x10"}));
  EXPECT_EQ(arguments.Value("--cti"), "x.cti");
  EXPECT_EQ(arguments.Number("--size", 4), 8u);
  EXPECT_TRUE(arguments.Has("--remote"));
  EXPECT_EQ(arguments.Value("-o"), "f");
  EXPECT_EQ(arguments.Value("--device", "none"), "none");
}

TEST(Arguments, RepeatedOptionsKeepTheirOrder) {
  const tcArguments arguments =
      Parse({"grab", "--set", "0x10=1", "--feature", "Width=8", "--set", "0x14=2"});
  ASSERT_EQ(arguments.Options().size(), 3u);
  EXPECT_EQ(arguments.Options()[1], (std::pair<std::string, std::string>{"--feature", "Width=8"}));
  EXPECT_EQ(arguments.Value("--set"), "0x14=2");
}

TEST(Arguments, BadCommandLinesAreUsageErrors) {
  EXPECT_EQ(ExitCodeOf([] { Parse({"list", "--nope"}); }), tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([] { Parse({"list", "--interface"}); }), tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([] { Parse({"list", "--remote=1"}); }), tcToolError::kUsage);
  const tcArguments arguments = Parse({"read", "--count", "3"});
  EXPECT_EQ(ExitCodeOf([&] { arguments.Check({"--size"}, 0, 1, "ADDRESS"); }), tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([&] { Parse({"read"}).Check({}, 1, 1, "ADDRESS"); }), tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([&] {
              Parse({"read", "1", "2"}).Check({}, 1, 1, "ADDRESS");
            }),
            tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([&] { Parse({"read", "1", "--cti", "x"}).Check({}, 1, 1, "A"); }), 0);
}

TEST(FrameSaver, ListsAndRanges) {
  EXPECT_EQ(tcFrameSaver::ParseList("0,5,10-12"), (std::set<uint64_t>{0, 5, 10, 11, 12}));
  EXPECT_EQ(tcFrameSaver::ParseList("3"), (std::set<uint64_t>{3}));
  for (const char* bad : {"", "1,", "4-2", "a", "1-"}) {
    EXPECT_EQ(ExitCodeOf([&] { tcFrameSaver::ParseList(bad); }), tcToolError::kUsage) << bad;
  }
}

TEST(FrameSaver, ChoosesFrames) {
  const tcFrameSaver every(Parse({"grab", "--save-every", "3"}));
  EXPECT_TRUE(every.Wants(0));
  EXPECT_FALSE(every.Wants(1));
  EXPECT_TRUE(every.Wants(6));
  const tcFrameSaver outOnly(Parse({"grab", "--out", "d"}));
  EXPECT_TRUE(outOnly.Wants(0));
  EXPECT_FALSE(outOnly.Wants(1));
  EXPECT_EQ(outOnly.Directory(), "d");
  const tcFrameSaver none(Parse({"grab"}));
  EXPECT_FALSE(none.Wants(0));
}

TEST(RegisterValue, NumbersAndByteStrings) {
  EXPECT_EQ(tcRegisterCommand::ValueBytes("0x1234", 0), (tBytes{0x34, 0x12, 0, 0}));
  EXPECT_EQ(tcRegisterCommand::ValueBytes("7", 1), (tBytes{7}));
  EXPECT_EQ(tcRegisterCommand::ValueBytes("1", 8), (tBytes{1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(tcRegisterCommand::ValueBytes("de:ad", 0), (tBytes{0xDE, 0xAD}));
  EXPECT_EQ(tcRegisterCommand::ValueBytes("010203", 3), (tBytes{1, 2, 3}));
  EXPECT_EQ(ExitCodeOf([] { tcRegisterCommand::ValueBytes("0x100", 1); }), tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([] { tcRegisterCommand::ValueBytes("01:02", 4); }), tcToolError::kUsage);
  EXPECT_EQ(ExitCodeOf([] { tcRegisterCommand::ValueBytes("0x4294967296", 0); }),
            tcToolError::kUsage);
}

TEST(ErrorTable, NamesAndTexts) {
  EXPECT_EQ(ErrorName(GenTL::GC_ERR_INVALID_ADDRESS), "GC_ERR_INVALID_ADDRESS");
  EXPECT_EQ(ErrorText(GenTL::GC_ERR_INVALID_ADDRESS), "Invalid address");
  EXPECT_EQ(ErrorName(GenTL::GC_ERR_ERROR), "GC_ERR_ERROR");
  EXPECT_EQ(ErrorText(GenTL::GC_ERR_ERROR), "Unknown error");
  EXPECT_EQ(ErrorName(GenTL::GC_ERR_BUSY), "GC_ERR_BUSY");
  EXPECT_EQ(ErrorName(-10005), "GC_ERR_CUSTOM_ID");
  EXPECT_EQ(ErrorName(-5), "GC_ERR_UNKNOWN");
}
