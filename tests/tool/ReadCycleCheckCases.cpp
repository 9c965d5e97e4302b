// The read-cycle check of GenApi descriptions: on test files with and without cycles, on a
// malformed file, on every shipped camera file, and through gentl-tool check-xml.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tcReadCycleCheck.h"
#include "tcToolRunner.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

const std::string kData = GENTL_TEST_DATA_DIR;

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The error text of a check that refuses `text`, or "" when it accepts it.
std::string Refusal(const std::string& text) {
  try {
    tcReadCycleCheck check(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

std::string Show(const tsToolRun& run) {
  return "exit " + std::to_string(run.exitCode) + "\n--- stdout\n" + run.out + "--- stderr\n" +
         run.err;
}

}  // namespace

TEST(ReadCycleCheck, ReportsEachCycleAlongItsReadLinks) {
  const tcReadCycleCheck check(ReadFile(kData + "/ReadCycles.xml"));
  EXPECT_THAT(check.CyclePaths(),
              ElementsAre("Width -> WidthMax -> OffsetX -> OffsetXMax -> Width",
                          "Mode -> FastAvailable -> Mode", "Gain -> GainLocked -> Gain"));
}

TEST(ReadCycleCheck, SelectorsInvalidatorsCopiesAndCategoriesAreNoReads) {
  const tcReadCycleCheck check(ReadFile(kData + "/NoReadCycles.xml"));
  EXPECT_THAT(check.CyclePaths(), ElementsAre());
}

TEST(ReadCycleCheck, ANodeThatReadsItself) {
  const tcReadCycleCheck check(
      "<RegisterDescription><Integer Name=\"A\"><pMin>A</pMin></Integer></RegisterDescription>");
  EXPECT_THAT(check.CyclePaths(), ElementsAre("A -> A"));
}

TEST(ReadCycleCheck, AnAddressComputedInPlaceIsReadByItsRegister) {
  const tcReadCycleCheck check(
      "<RegisterDescription><IntReg Name=\"R\"><IntSwissKnife Name=\"Address\">"
      "<pVariable Name=\"V\">R</pVariable><Formula>V</Formula></IntSwissKnife>"
      "</IntReg></RegisterDescription>");
  EXPECT_THAT(check.CyclePaths(), ElementsAre("R -> Address -> R"));
}

TEST(ReadCycleCheck, AStructEntryReadsThroughItsRegister) {
  const tcReadCycleCheck check(
      "<RegisterDescription><StructReg><pAddress>Base</pAddress>"
      "<StructEntry Name=\"Bit\"><Bit>0</Bit></StructEntry></StructReg>"
      "<IntSwissKnife Name=\"Base\"><pVariable Name=\"B\">Bit</pVariable><Formula>B</Formula>"
      "</IntSwissKnife></RegisterDescription>");
  EXPECT_THAT(check.CyclePaths(), ElementsAre("Bit -> Base -> Bit"));
}

TEST(ReadCycleCheck, MalformedFileGivesThePlaceAndTheParserMessage) {
  EXPECT_EQ(Refusal(ReadFile(kData + "/Malformed.xml")),
            "line 5, column 5: Start-end tags mismatch");
}

TEST(ReadCycleCheck, WellFormedXmlWithoutRegisterDescriptionIsRefused) {
  EXPECT_EQ(Refusal("<Other/>"), "no RegisterDescription element");
}

TEST(ReadCycleCheck, EveryShippedCameraFileIsFreeOfReadCycles) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(GENTL_CAMERAS_DIR)) {
    if (entry.path().extension() != ".xml") continue;
    ++files;
    const tcReadCycleCheck check(ReadFile(entry.path()));
    EXPECT_THAT(check.CyclePaths(), ElementsAre()) << entry.path();
  }
  EXPECT_GE(files, 1);
}

TEST(ToolCheckXml, CleanFilesExitZeroWithOneLineEach) {
  const std::string camera = SIMCAM_DEFAULT_XML;
  const tsToolRun run = tcToolRunner::Run({"check-xml", camera, kData + "/NoReadCycles.xml"});
  EXPECT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out, camera + ": no read cycles\n" + kData + "/NoReadCycles.xml: no read cycles\n");
  EXPECT_EQ(run.err, "");
}

TEST(ToolCheckXml, CyclesExitOneWithEachPath) {
  const std::string file = kData + "/ReadCycles.xml";
  const tsToolRun run = tcToolRunner::Run({"check-xml", SIMCAM_DEFAULT_XML, file});
  EXPECT_EQ(run.exitCode, 1) << Show(run);
  EXPECT_EQ(run.out, std::string(SIMCAM_DEFAULT_XML) + ": no read cycles\n" + file +
                         ": read cycle Width -> WidthMax -> OffsetX -> OffsetXMax -> Width\n" +
                         file + ": read cycle Mode -> FastAvailable -> Mode\n" + file +
                         ": read cycle Gain -> GainLocked -> Gain\n");
  EXPECT_EQ(run.err, "");
}

TEST(ToolCheckXml, MalformedFileExitsTwoWithTheParseError) {
  const std::string file = kData + "/Malformed.xml";
  const tsToolRun run = tcToolRunner::Run({"check-xml", file, kData + "/ReadCycles.xml"});
  EXPECT_EQ(run.exitCode, 2) << Show(run);
  EXPECT_EQ(run.err, "gentl-tool: " + file +
                         " is not a GenApi description: line 5, column 5: Start-end tags "
                         "mismatch.\n");
  EXPECT_THAT(run.out, HasSubstr("ReadCycles.xml: read cycle Width -> WidthMax"));
}

TEST(ToolCheckXml, MissingFileExitsTwo) {
  const std::string file = kData + "/NoSuchFile.xml";
  const tsToolRun run = tcToolRunner::Run({"check-xml", file});
  EXPECT_EQ(run.exitCode, 2) << Show(run);
  EXPECT_EQ(run.err, "gentl-tool: cannot read " + file + ": No such file or directory.\n");
  EXPECT_EQ(run.out, "");
}

TEST(ToolCheckXml, WithoutFileIsAUsageError) {
  const tsToolRun run = tcToolRunner::Run({"check-xml"});
  EXPECT_EQ(run.exitCode, 2) << Show(run);
  EXPECT_EQ(run.err,
            "gentl-tool: the check-xml command needs one or more description files.\n"
            "Run gentl-tool --help for usage.\n");
}

TEST(ToolCheckXml, HelpNamesTheCommand) {
  const tsToolRun run = tcToolRunner::Run({"--help"});
  EXPECT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("  check-xml FILE...         check GenApi description files"));
}
