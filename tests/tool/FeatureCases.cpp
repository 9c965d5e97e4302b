// gentl-tool features, get, set and run on the simulated camera, on every module of the
// producer, and on the feature test camera whose description covers formulas, bit fields,
// selectors, floats, locks and availability; and the camera commands and buffer sizes of grab.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "ToolExpectations.h"
#include "tcToolRunner.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

tsToolRun Tool(const std::vector<std::string>& arguments) {
  return tcToolRunner::Run(arguments);
}

// gentl-tool run on the feature test camera.
tsToolRun OnFeatureCam(const std::vector<std::string>& arguments) {
  return tcToolRunner::Run(arguments, {{"SIMCAM_XML_FILE", FEATURE_CAM_XML}});
}

// The line of a feature listing that starts with `name` after its indentation, with each run
// of spaces after the indentation made one space; empty when there is none.
std::string Row(const std::string& listing, const std::string& name) {
  std::istringstream lines(listing);
  for (std::string line; std::getline(lines, line);) {
    const size_t start = line.find_first_not_of(' ');
    if (start == std::string::npos || line.compare(start, name.size() + 1, name + " ") != 0) {
      continue;
    }
    return line.substr(0, start) +
           std::regex_replace(line.substr(start), std::regex(" +"), std::string(" "));
  }
  return "";
}

// Runs gentl-tool and expects it to succeed with exactly `out` on standard output.
void ExpectOutput(const tsToolRun& run, const std::string& out) {
  EXPECT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out, out) << Show(run);
  EXPECT_EQ(run.err, "");
}

void ExpectError(const tsToolRun& run, const std::string& message) {
  ExpectOneSentence(run);
  EXPECT_EQ(run.err, "gentl-tool: " + message + "\n");
}

}  // namespace

TEST(FeatureListing, TheCameraByCategory) {
  const tsToolRun run = Tool({"features"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, testing::StartsWith("Features of the remote device SimCam (file://"));
  EXPECT_THAT(run.out, HasSubstr("/cameras/SimCam.xml)\nRoot\n  DeviceControl\n    "));
  EXPECT_EQ(Row(run.out, "DeviceVendorName"), "    DeviceVendorName String RO Vantora");
  EXPECT_EQ(Row(run.out, "DeviceTemperature"), "    DeviceTemperature Float RO 40 C");
  EXPECT_EQ(Row(run.out, "DebugBuffer"), "    DebugBuffer Register RO (262144 bytes)");
  EXPECT_EQ(Row(run.out, "TestPattern"),
            "    TestPattern Enumeration RW HorizontalRamp (entries: Off, HorizontalRamp, "
            "VerticalRamp, DiagonalRamp, Grid, Noise, ColorBars)");
  EXPECT_EQ(Row(run.out, "RegionSelector"),
            "    RegionSelector Enumeration RW Region0 (entries: Region0, Region1, Region2, "
            "Region3, Region4, Region5, Region6, Region7; selects: RegionMode, Width, Height, "
            "OffsetX, OffsetY)");
  EXPECT_EQ(Row(run.out, "IsCameraColor"), "    IsCameraColor Boolean RW false");
  EXPECT_EQ(Row(run.out, "ExposureTime"), "    ExposureTime Float RW 10000 us (1..1e+07)");
  EXPECT_EQ(Row(run.out, "AcquisitionFramePeriod"),
            "    AcquisitionFramePeriod Integer RW 33333 us (1000..10000000)");
  EXPECT_EQ(Row(run.out, "AcquisitionStart"), "    AcquisitionStart Command RW");
  EXPECT_EQ(Row(run.out, "PayloadSize"), "    PayloadSize Integer RO 2073600");
  EXPECT_THAT(run.out, HasSubstr("\n  TransportLayerControl\n    PayloadSize "));
  EXPECT_EQ(run.err, "");
}

TEST(FeatureListing, AllAddsInvisibleFeaturesAndThoseInNoCategory) {
  const tsToolRun visible = Tool({"features", "remote"});
  ASSERT_EQ(visible.exitCode, 0) << Show(visible);
  EXPECT_EQ(Row(visible.out, "WidthMax"), "");
  EXPECT_THAT(visible.out, Not(HasSubstr("(in no category)")));
  const tsToolRun all = Tool({"features", "--all"});
  ASSERT_EQ(all.exitCode, 0) << Show(all);
  EXPECT_THAT(all.out, HasSubstr("\n(in no category)\n"));
  EXPECT_EQ(Row(all.out, "PixelFormatRegister"),
            "  PixelFormatRegister Integer RW 17301505 (0..4294967295)");
  // A constant is the engine's to change: it holds the value in the node.
  EXPECT_EQ(Row(all.out, "ImageBaseAddress"), "  ImageBaseAddress Integer RW 12288");
}

TEST(FeatureListing, EveryModuleOfTheProducer) {
  const std::vector<std::pair<std::string, std::string>> modules = {
      {"system", "TLVendorName String RO Vantora LLC"},
      {"interface", "InterfaceID String RO Simulated"},
      {"device", "DeviceID String RO SimCam"},
      {"stream", "StreamID String RO Stream0"}};
  for (const auto& [module, row] : modules) {
    SCOPED_TRACE(module);
    const tsToolRun run = Tool({"features", module});
    ASSERT_EQ(run.exitCode, 0) << Show(run);
    EXPECT_THAT(run.out, testing::ContainsRegex("^Features of the [a-z ]+[A-Za-z0-9 ]* "
                                                "\\(local:///[^)]+\\)\nRoot\n"));
    EXPECT_EQ(Row(run.out, row.substr(0, row.find(' '))), "    " + row);
    EXPECT_EQ(run.err, "");
  }
}

TEST(FeatureListing, TheModuleOptionsChooseTheModule) {
  const tsToolRun run = Tool({"features", "--stream", "Stream0"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, testing::StartsWith("Features of the data stream Stream0 (local:///"));
}

TEST(FeatureAccess, GetsFeaturesOfTheCamera) {
  ExpectOutput(Tool({"get", "DeviceModelName", "Width", "PixelFormat", "ExposureTime",
                     "IsCameraColor", "AcquisitionFrameRate"}),
               "DeviceModelName = Simulated Camera\nWidth = 1920\nPixelFormat = Mono8\n"
               "ExposureTime = 10000\nIsCameraColor = false\n"
               "AcquisitionFrameRate = 30.00030000300003\n");
}

TEST(FeatureAccess, SetsEveryTypeAndReadsItBack) {
  ExpectOutput(Tool({"set", "PixelFormat=RGB8", "Width=0x40", "ExposureTime=2500.5",
                     "IsCameraColor=true", "AcquisitionFrameRate=50", "AcquisitionStart=1"}),
               "Set feature PixelFormat to RGB8\nSet feature Width to 0x40 (reads back 64)\n"
               "Set feature ExposureTime to 2500.5\nSet feature IsCameraColor to true\n"
               "Set feature AcquisitionFrameRate to 50\nExecuted command AcquisitionStart\n");
}

TEST(FeatureAccess, FeatureOptionsComeFirst) {
  // The converter writes 1000000 / 50 microseconds, and the selector picks the region record.
  ExpectOutput(Tool({"get", "AcquisitionFramePeriod", "Width", "RegionMode", "--feature",
                     "AcquisitionFrameRate=50", "--feature", "RegionSelector=Region3", "-q"}),
               "AcquisitionFramePeriod = 20000\nWidth = 1920\nRegionMode = Off\n");
  ExpectOutput(Tool({"get", "Width", "--feature", "RegionSelector=Region1", "--feature",
                     "Width=100", "--feature", "RegionSelector=Region0"}),
               "Set feature RegionSelector to Region1\nSet feature Width to 100\n"
               "Set feature RegionSelector to Region0\nWidth = 1920\n");
}

TEST(FeatureAccess, RunsACommand) {
  ExpectOutput(Tool({"run", "AcquisitionStart", "AcquisitionStop"}),
               "Executed command AcquisitionStart\nExecuted command AcquisitionStop\n");
}

TEST(FeatureAccess, OnEveryModule) {
  ExpectOutput(Tool({"get", "system", "TLVendorName", "GenTLVersionMinor"}),
               "TLVendorName = Vantora LLC\nGenTLVersionMinor = 5\n");
  ExpectOutput(Tool({"get", "system", "InterfaceID", "--feature", "InterfaceUpdateList=1",
                     "--feature", "InterfaceSelector=1"}),
               "Executed command InterfaceUpdateList\nSet feature InterfaceSelector to 1\n"
               "InterfaceID = GEV\n");
  ExpectOutput(Tool({"set", "system", "InterfaceUpdateTimeout=250"}),
               "Set feature InterfaceUpdateTimeout to 250\n");
  ExpectOutput(Tool({"run", "system", "InterfaceUpdateList"}),
               "Executed command InterfaceUpdateList\n");
  ExpectOutput(Tool({"get", "--interface", "Simulated", "DeviceID", "--feature",
                     "DeviceUpdateList=1", "-q"}),
               "DeviceID = SimCam\n");
  ExpectOutput(Tool({"get", "device", "DeviceVendorName", "DeviceAccessStatus"}),
               "DeviceVendorName = Vantora\nDeviceAccessStatus = OpenReadWrite\n");
  ExpectOutput(Tool({"get", "--stream", "Stream0", "StreamID", "StreamBufferHandlingMode"}),
               "StreamID = Stream0\nStreamBufferHandlingMode = OldestFirst\n");
}

TEST(FeatureErrors, UnknownFeature) {
  ExpectError(Tool({"get", "Nope"}), "the camera has no feature named \"Nope\".");
  ExpectError(Tool({"set", "system", "Nope=1"}),
              "the system module has no feature named \"Nope\".");
  ExpectError(Tool({"run", "--interface", "Simulated", "Nope"}),
              "interface Simulated has no feature named \"Nope\".");
}

TEST(FeatureErrors, AMistypedNameChangesNothing) {
  const tsToolRun run = Tool({"set", "Width=64", "Nope=1"});
  ExpectError(run, "the camera has no feature named \"Nope\".");
  EXPECT_EQ(run.out, "");
}

TEST(FeatureErrors, ReadOnly) {
  ExpectError(Tool({"set", "SensorWidth=5"}), "cannot set SensorWidth: it is read-only.");
  ExpectError(Tool({"set", "system", "TLVendorName=x"}),
              "cannot set TLVendorName: it is read-only.");
}

TEST(FeatureErrors, OutOfRange) {
  ExpectError(Tool({"set", "Width=5000"}), "cannot set Width to 5000: the maximum is 1920.");
  ExpectError(Tool({"set", "AcquisitionFramePeriod=10"}),
              "cannot set AcquisitionFramePeriod to 10: the minimum is 1000.");
  ExpectError(Tool({"set", "ExposureTime=0.5"}),
              "cannot set ExposureTime to 0.5: the minimum is 1.");
}

TEST(FeatureErrors, ValuesOfTheWrongKind) {
  ExpectError(Tool({"set", "Width=wide"}),
              "cannot set Width to wide: it is an Integer, and that is not a decimal or "
              "0x-hexadecimal number.");
  ExpectError(Tool({"set", "ExposureTime=1.5x"}),
              "cannot set ExposureTime to 1.5x: it is a Float, and that is not a number.");
  ExpectError(Tool({"set", "IsCameraColor=yes"}),
              "cannot set IsCameraColor to yes: it is a Boolean, whose value is true or false.");
  ExpectError(Tool({"set", "TestPattern=Stripes"}),
              "feature TestPattern has no entry \"Stripes\"; its entries are Off, HorizontalRamp, "
              "VerticalRamp, DiagonalRamp, Grid, Noise, ColorBars.");
  ExpectError(Tool({"set", "AcquisitionStart=0"}),
              "cannot set AcquisitionStart to 0: it is a Command, executed by the value 1, true "
              "or execute.");
  ExpectError(Tool({"get", "AcquisitionStart"}),
              "AcquisitionStart is a Command, which has no value; gentl-tool run "
              "AcquisitionStart executes it.");
  ExpectError(Tool({"get", "Root"}), "Root is a Category, which has no value.");
  ExpectError(Tool({"run", "Width"}), "Width is an Integer, not a Command that can be executed.");
}

TEST(FeatureCam, SwissKnifeFollowsItsVariable) {
  ExpectOutput(OnFeatureCam({"get", "Gain", "GainDb", "--feature", "Gain=7", "-q"}),
               "Gain = 7\nGainDb = 3.5\n");
  ExpectError(OnFeatureCam({"set", "GainDb=3"}), "cannot set GainDb: it is read-only.");
}

TEST(FeatureCam, IntSwissKnifeRoundsUpToWholePackets) {
  ExpectOutput(OnFeatureCam({"get", "FrameBytes", "--feature", "PacketSize=1000", "-q"}),
               "FrameBytes = 5000\n");
  ExpectOutput(OnFeatureCam({"get", "FrameBytes", "--feature", "PacketSize=1024", "-q"}),
               "FrameBytes = 4096\n");
}

TEST(FeatureCam, ConverterWritesItsRegisterThroughItsFormula) {
  ExpectOutput(OnFeatureCam({"get", "ExposureTicks", "--feature", "ExposureTime=1234"}),
               "Set feature ExposureTime to 1234 (reads back 1230)\nExposureTicks = 123\n");
  ExpectOutput(OnFeatureCam({"get", "ExposureTime", "--feature", "ExposureTicks=50", "-q"}),
               "ExposureTime = 500\n");
}

TEST(FeatureCam, MaskedRegistersShareOneRegister) {
  ExpectOutput(OnFeatureCam({"get", "PackedLow", "PackedHigh", "PackedFlag", "--feature",
                             "Packed=0x9ABC1234", "-q"}),
               "PackedLow = 52\nPackedHigh = 2748\nPackedFlag = true\n");
  ExpectOutput(OnFeatureCam({"get", "Packed", "--feature", "PackedHigh=0xABC", "--feature",
                             "PackedFlag=true", "--feature", "PackedLow=255", "-q"}),
               "Packed = 0x8ABC00FF\n");
  ExpectError(OnFeatureCam({"set", "PackedHigh=4096"}),
              "cannot set PackedHigh to 4096: the maximum is 4095.");
}

TEST(FeatureCam, SelectorChoosesTheIndexedRegister) {
  ExpectOutput(OnFeatureCam({"get", "Gain", "GainTable", "--feature", "GainSelector=Green",
                             "--feature", "Gain=7", "--feature", "GainSelector=Blue", "--feature",
                             "Gain=0x30", "--feature", "GainSelector=Green", "-q"}),
               "Gain = 7\nGainTable = 00:00:00:00:00:00:00:00:07:00:00:00:30:00:00:00\n");
  const tsToolRun listing = OnFeatureCam({"features"});
  ASSERT_EQ(listing.exitCode, 0) << Show(listing);
  EXPECT_EQ(Row(listing.out, "GainSelector"),
            "    GainSelector Enumeration RW All (entries: All, Red, Green, Blue; selects: Gain)");
  ExpectError(OnFeatureCam({"set", "GainSelector=Purple"}),
              "feature GainSelector has no entry \"Purple\"; its entries are All, Red, Green, "
              "Blue.");
}

TEST(FeatureCam, FloatWithBounds) {
  ExpectOutput(OnFeatureCam({"set", "Gamma=1.5"}), "Set feature Gamma to 1.5\n");
  ExpectError(OnFeatureCam({"set", "Gamma=5"}), "cannot set Gamma to 5: the maximum is 4.");
  ExpectError(OnFeatureCam({"set", "Gamma=0.125"}),
              "cannot set Gamma to 0.125: the minimum is 0.25.");
}

TEST(FeatureCam, IncrementIsChecked) {
  ExpectOutput(OnFeatureCam({"set", "PacketSize=1000"}), "Set feature PacketSize to 1000\n");
  ExpectError(OnFeatureCam({"set", "PacketSize=1001"}),
              "cannot set PacketSize to 1001: it goes in steps of 4 from 576.");
}

TEST(FeatureCam, LockedFeature) {
  const tsToolRun run =
      OnFeatureCam({"set", "LockedPeriod=5", "SettingsLock=true", "LockedPeriod=6"});
  ExpectError(run, "cannot set LockedPeriod: it is locked.");
  EXPECT_EQ(run.out, "Set feature LockedPeriod to 5\nSet feature SettingsLock to true\n");
  const tsToolRun listing = OnFeatureCam({"features", "--feature", "SettingsLock=1", "-q"});
  ASSERT_EQ(listing.exitCode, 0) << Show(listing);
  EXPECT_EQ(Row(listing.out, "LockedPeriod"), "    LockedPeriod Integer RO 0 (locked)");
}

TEST(FeatureCam, FeatureThatIsNotAvailable) {
  ExpectError(OnFeatureCam({"set", "ServiceValue=3"}),
              "cannot set ServiceValue: it is not available now.");
  ExpectError(OnFeatureCam({"get", "ServiceValue"}),
              "cannot read ServiceValue: it is not available now.");
  const tsToolRun listing = OnFeatureCam({"features"});
  EXPECT_EQ(Row(listing.out, "ServiceValue"), "    ServiceValue Integer NA");
  ExpectOutput(OnFeatureCam({"set", "ServiceMode=true", "ServiceValue=3"}),
               "Set feature ServiceMode to true\nSet feature ServiceValue to 3\n");
}

TEST(FeatureCam, StringCommandAndRegister) {
  ExpectOutput(OnFeatureCam({"get", "DeviceUserID", "--feature", "DeviceUserID=left", "-q"}),
               "DeviceUserID = left\n");
  ExpectError(OnFeatureCam({"set", "DeviceUserID=abcdefghijklmnopq"}),
              "cannot set DeviceUserID to \"abcdefghijklmnopq\": it holds at most 16 characters.");
  ExpectOutput(OnFeatureCam({"get", "DeviceResetCount", "--feature", "DeviceReset=1"}),
               "Executed command DeviceReset\nDeviceResetCount = 7\n");
  ExpectOutput(OnFeatureCam({"get", "Gain", "--feature",
                             "GainTable=05:00:00:00:06:00:00:00:07:00:00:"
                             "00:08:00:00:00",
                             "--feature", "GainSelector=Blue", "-q"}),
               "Gain = 8\n");
  ExpectError(OnFeatureCam({"set", "GainTable=01:02"}),
              "cannot set GainTable to 01:02: it is a Register of 16 bytes, and that is 2 bytes.");
}

TEST(FeatureGrab, StartsAndStopsTheCameraInsideTheStreamsAcquisition) {
  const tsToolRun run = Tool({"grab", "--count", "2", "--feature", "ExposureTime=5000"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out,
              testing::ContainsRegex(
                  "^Set feature ExposureTime to 5000\nGrabbing 2 frames from SimCam with 4 "
                  "buffers of 2073600 bytes\nExecuted command AcquisitionStart\n"
                  "Executed command AcquisitionStop\nGrabbed 2 frames in "));
}

TEST(FeatureGrab, BuffersFollowThePayloadSizeFeatureWhenTheStreamHasNoAnswer) {
  // The feature test camera has no image format registers, so the stream cannot compute a
  // payload size; nor has it AcquisitionStart or AcquisitionStop.
  const tsToolRun run = OnFeatureCam({"grab", "--count", "1", "--feature", "Gain=3"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, testing::StartsWith("Set feature Gain to 3\nGrabbing 1 frame from SimCam "
                                           "with 4 buffers of 4096 bytes\nGrabbed 1 frame in "));
  EXPECT_THAT(run.out, Not(HasSubstr("Executed command")));
}

TEST(FeatureGrab, AFeatureThatCannotBeSetStopsTheGrab) {
  ExpectError(Tool({"grab", "--count", "1", "--feature", "Width=5000"}),
              "cannot set Width to 5000: the maximum is 1920.");
  ExpectError(Tool({"grab", "--count", "1", "--feature", "PayloadSize=5"}),
              "cannot set PayloadSize: it is read-only.");
}
