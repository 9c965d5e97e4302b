// gentl-tool run as a user runs it: every command with its output and exit code, and each way
// it can fail. No case here searches the GEV interface for devices (GevToolCases.cpp does, on
// the network bench).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <regex>
#include <sstream>

#include "PngFile.h"
#include "ToolExpectations.h"
#include "tcToolRunner.h"

using ::testing::HasSubstr;
using ::testing::Not;
using tEnvironment = tcToolRunner::tEnvironment;

namespace {

tsToolRun Tool(const std::vector<std::string>& arguments, const tEnvironment& changes = {}) {
  return tcToolRunner::Run(arguments, changes);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

bool Exists(const std::string& path) {
  return std::filesystem::exists(path);
}

// The number of frames a grab summary reports, or -1.
int GrabbedFrames(const std::string& out) {
  std::smatch match;
  if (!std::regex_search(out, match, std::regex("Grabbed ([0-9]+) frames? in"))) return -1;
  return std::stoi(match[1]);
}

}  // namespace

TEST(ToolHelp, PrintsUsage) {
  const tsToolRun run = Tool({"--help"});
  EXPECT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("usage: gentl-tool COMMAND"));
  EXPECT_THAT(run.out, HasSubstr("--save-every K"));
  for (const char* line :
       {"\n  features [MODULE]  ", "\n  get [MODULE] NAME...  ", "\n  set [MODULE] NAME=VALUE...\n",
        "\n  run [MODULE] NAME...  ", "\n  --all  ", "\n  --feature NAME=VALUE  "}) {
    EXPECT_THAT(run.out, HasSubstr(line));
  }
}

TEST(ToolList, ShowsTheSimulatedCameraAndSearchesNoOtherInterface) {
  const tsToolRun run = Tool({"list"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr(std::string("(") + GENTL_CTI_PATH + ")"));
  EXPECT_THAT(run.out, HasSubstr("Interface Simulated"));
  EXPECT_THAT(run.out, HasSubstr("Device SimCam"));
  EXPECT_THAT(run.out, HasSubstr("Vendor           Vantora"));
  EXPECT_THAT(run.out, HasSubstr("Model            Simulated Camera"));
  EXPECT_THAT(run.out, HasSubstr("Serial number    1001001"));
  EXPECT_THAT(run.out, HasSubstr("Access status    ReadWrite"));
  EXPECT_THAT(run.out, HasSubstr("Interface GEV\n    (not opened or searched"));
  EXPECT_THAT(run.out, HasSubstr("Interface U3V"));
  EXPECT_EQ(run.err, "");
}

TEST(ToolList, UsesTheShippedCameraFileWhenNoneIsNamed) {
  const tsToolRun run = Tool({"list"}, {{"SIMCAM_XML_FILE", std::nullopt}});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Device SimCam"));
}

TEST(ToolList, SearchesTheNamedInterfaceToo) {
  const tsToolRun run = Tool({"list", "--interface", "U3V"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Device SimCam"));
  EXPECT_THAT(run.out,
              HasSubstr("Interface U3V\n    Display name     U3V\n    TL type          U3V\n"
                        "    (no devices)"));
  EXPECT_THAT(run.out, HasSubstr("Interface GEV\n    (not opened or searched"));
}

TEST(ToolList, NamesTheInterfacesWhenOneIsUnknown) {
  const tsToolRun run = Tool({"list", "--interface", "Nope"});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("no interface \"Nope\"; the producer has: Simulated, GEV, U3V."));
}

TEST(ToolInfo, Library) {
  const tsToolRun run = Tool({"info"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Library\n"));
  EXPECT_THAT(run.out, HasSubstr("Vendor                     Vantora LLC"));
  EXPECT_THAT(run.out, HasSubstr("GenTL version major        1"));
  EXPECT_THAT(run.out, HasSubstr("GenTL version minor        5"));
  EXPECT_THAT(run.out, HasSubstr(std::string("Loaded from                ") + GENTL_CTI_PATH));
  EXPECT_THAT(run.out, Not(HasSubstr("Port name")));
}

TEST(ToolInfo, SystemPortAndItsDescriptionUrl) {
  const tsToolRun run = Tool({"info", "--port"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Port\n"));
  EXPECT_THAT(run.out, HasSubstr("Module                     System"));
  EXPECT_THAT(run.out, HasSubstr("Readable                   true"));
  EXPECT_THAT(run.out, HasSubstr("Description URL 0\n  URL                        local:///"));
}

TEST(ToolInfo, Interface) {
  const tsToolRun run = Tool({"info", "--interface", "Simulated", "--port"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Interface\n  ID                         Simulated\n"));
  EXPECT_THAT(run.out, HasSubstr("TL type                    Custom"));
  EXPECT_THAT(run.out, HasSubstr("Module                     Interface"));
}

TEST(ToolInfo, InterfaceThatAnswersOnlyItsId) {
  // Opens GEV and asks its information only; it is not searched for devices.
  const tsToolRun run = Tool({"info", "--interface", "GEV"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("ID                         GEV"));
  EXPECT_THAT(run.out, HasSubstr("Display name               (not implemented)"));
}

TEST(ToolInfo, Device) {
  const tsToolRun run = Tool({"info", "--device", "SimCam", "--port"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Model                      Simulated Camera"));
  EXPECT_THAT(run.out, HasSubstr("Serial number              1001001"));
  EXPECT_THAT(run.out, HasSubstr("Access status              1 (ReadWrite)"));
  EXPECT_THAT(run.out, HasSubstr("Port name                  DevicePort"));
  EXPECT_THAT(run.out, HasSubstr("URL                        local:///"));
}

TEST(ToolInfo, Stream) {
  const tsToolRun run = Tool({"info", "--stream", "Stream0", "--port"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("ID                         Stream0"));
  EXPECT_THAT(run.out, HasSubstr("Payload size               2073600"));
  EXPECT_THAT(run.out, HasSubstr("Is grabbing                false"));
  EXPECT_THAT(run.out, HasSubstr("Module                     DataStream"));
}

TEST(ToolInfo, RemoteDevicePort) {
  const tsToolRun run = Tool({"info", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Remote device of SimCam"));
  EXPECT_THAT(run.out, testing::ContainsRegex("Module                     [A-Za-z]+\n"));
  EXPECT_THAT(run.out, HasSubstr("URL                        file://"));
}

TEST(ToolXml, EveryModuleDescriptionIsGenApiXml) {
  const std::string folder = tcToolRunner::TempFolder();
  for (const char* module : {"system", "interface", "device", "stream"}) {
    SCOPED_TRACE(module);
    const std::string path = folder + "/" + module + ".xml";
    const tsToolRun run = Tool({"xml", module, "-o", path});
    ASSERT_EQ(run.exitCode, 0) << Show(run);
    EXPECT_THAT(run.out, HasSubstr("from local:///"));
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(path.c_str()));
    EXPECT_STREQ(document.document_element().name(), "RegisterDescription");
  }
}

TEST(ToolXml, ModuleOptionsChooseTheModule) {
  const std::string path = tcToolRunner::TempFolder() + "/stream.xml";
  const tsToolRun run = Tool({"xml", "--stream", "Stream0", "--output", path});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("description of the data stream Stream0"));
  EXPECT_TRUE(Exists(path));
}

TEST(ToolXml, RemoteDeviceDescriptionIsTheCameraFile) {
  const std::string path = tcToolRunner::TempFolder() + "/remote.xml";
  const tsToolRun run = Tool({"xml", "--remote", "-o", path});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("from file://"));
  EXPECT_EQ(ReadFile(path), ReadFile(SIMCAM_DEFAULT_XML));
}

TEST(ToolXml, PercentEncodedCameraFilePath) {
  // The remote port's file: URL percent-encodes the space and the percent sign.
  const std::string folder = tcToolRunner::TempFolder() + "/a b%c";
  std::filesystem::create_directory(folder);
  const std::string camera = folder + "/Sim Cam.xml";
  std::filesystem::copy_file(SIMCAM_DEFAULT_XML, camera);
  const std::string path = folder + "/remote.xml";
  const tsToolRun run = Tool({"xml", "remote", "-o", path}, {{"SIMCAM_XML_FILE", camera}});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("a%20b%25c/Sim%20Cam.xml"));
  EXPECT_EQ(ReadFile(path), ReadFile(SIMCAM_DEFAULT_XML));
}

TEST(ToolXml, WithoutAFileGoesToStandardOutput) {
  const tsToolRun run = Tool({"xml", "system"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, testing::StartsWith("<?xml"));
  EXPECT_THAT(run.out, HasSubstr("</RegisterDescription>"));
}

TEST(ToolRegisters, ReadsAStringRegisterAsHexDump) {
  const tsToolRun run = Tool({"read", "0x0", "--size", "16", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out,
            "0x00000000  56 61 6e 74 6f 72 61 00 00 00 00 00 00 00 00 00  |Vantora.........|\n");
}

TEST(ToolRegisters, ReadsANumber) {
  const tsToolRun run = Tool({"read", "12288", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out, "0x00003000: 0x01080001 (17301505)\n");
}

TEST(ToolRegisters, WriteReadsBackANumber) {
  const tsToolRun run = Tool({"write", "0x3010", "0x1234", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Wrote 4 bytes at 0x00003010 of the remote device SimCam"));
  EXPECT_THAT(run.out, HasSubstr("0x00003010: 0x00001234 (4660)"));
}

TEST(ToolRegisters, WriteReadsBackEightBytes) {
  const tsToolRun run = Tool({"write", "0x3028", "0x4024000000000000", "--size", "8", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("0x00003028: 0x4024000000000000"));
}

TEST(ToolRegisters, WriteReadsBackAByteString) {
  const tsToolRun run = Tool({"write", "0x3028", "00:00:00:00:00:00:14:40", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Wrote 8 bytes"));
  EXPECT_THAT(run.out, HasSubstr("0x00003028: 0x4014000000000000"));
}

TEST(ToolRegisters, WriteReadsBackOnAModulePort) {
  // A read-write register of the system module, found in its own description.
  const tsToolRun xml = Tool({"xml", "system"});
  ASSERT_EQ(xml.exitCode, 0) << Show(xml);
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(xml.out.c_str()));
  const pugi::xml_node reg = document.find_node([](pugi::xml_node node) {
    return std::string(node.name()) == "IntReg" &&
           std::string(node.child_value("AccessMode")) == "RW" &&
           std::string(node.child_value("Length")) == "4" && !node.child("pAddress");
  });
  ASSERT_TRUE(reg);
  const std::string address = reg.child_value("Address");
  const tsToolRun run = Tool({"write", address, "250"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("of the system module"));
  EXPECT_THAT(run.out, HasSubstr(": 0x000000FA (250)"));
}

TEST(ToolRegisters, FailedReadNamesTheCallAndTheCode) {
  const tsToolRun run = Tool({"read", "0x9999999", "--remote"});
  ExpectOneSentence(run);
  EXPECT_EQ(
      run.err,
      "gentl-tool: GCReadPort(0x9999999, 4 bytes) failed with GC_ERR_INVALID_ADDRESS (-1015): "
      "Invalid address.\n");
}

TEST(ToolRegisters, FailedWriteNamesTheCallAndTheCode) {
  // A region wider than the sensor is refused.
  const tsToolRun run = Tool({"write", "0x3050", "5000", "--remote"});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("GCWritePort(0x3050, 4 bytes) failed with GC_ERR_"));
  EXPECT_THAT(run.err, testing::ContainsRegex("\\(-1[0-9]{3}\\): "));
}

TEST(ToolGrab, CountSavesEveryKthFrame) {
  const std::string folder = tcToolRunner::TempFolder() + "/frames";
  const tsToolRun run =
      Tool({"grab", "--count", "5", "--save-every", "2", "--out", folder, "--set", "0x2010=10000"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(GrabbedFrames(run.out), 5) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Set register 0x2010 to 10000"));
  EXPECT_THAT(run.out, HasSubstr("(frame ID 1, 1920x1080 Mono8, 2073600 bytes)"));
  EXPECT_THAT(run.out, HasSubstr(" incomplete, "));
  EXPECT_THAT(run.out, HasSubstr(" lost"));
  EXPECT_THAT(run.out, HasSubstr("3 PNG files written to " + folder));
  EXPECT_THAT(run.out, Not(HasSubstr("\r")));
  for (const char* name : {"frame-000000.png", "frame-000002.png", "frame-000004.png"}) {
    const tsPngFile png = ReadPngFile(folder + "/" + name);
    ASSERT_TRUE(png.ok) << name;
    EXPECT_EQ(png.width, 1920u);
    EXPECT_EQ(png.height, 1080u);
    EXPECT_EQ(png.channels, 1u);
  }
  EXPECT_FALSE(Exists(folder + "/frame-000001.png"));
}

TEST(ToolGrab, SavesTheListedFrames) {
  const std::string folder = tcToolRunner::TempFolder();
  const tsToolRun run =
      Tool({"grab", "--count", "5", "--save", "1,3-4", "--out", folder, "--feature", "Width=64",
            "--feature", "Height=48", "--set", "0x2010=5000", "--buffers", "2"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_FALSE(Exists(folder + "/frame-000000.png"));
  EXPECT_TRUE(Exists(folder + "/frame-000001.png"));
  EXPECT_FALSE(Exists(folder + "/frame-000002.png"));
  EXPECT_TRUE(Exists(folder + "/frame-000003.png"));
  EXPECT_TRUE(Exists(folder + "/frame-000004.png"));
}

TEST(ToolGrab, DurationStreamsForThatLong) {
  const tsToolRun run = Tool({"grab", "--duration", "1", "--set", "0x2010=20000", "--quiet"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  // 50 frames per second for a second, with room for a loaded machine.
  const int frames = GrabbedFrames(run.out);
  EXPECT_GE(frames, 10) << Show(run);
  EXPECT_LE(frames, 60) << Show(run);
  std::smatch match;
  ASSERT_TRUE(std::regex_search(run.out, match, std::regex("frames in ([0-9.]+) s: ")))
      << Show(run);
  EXPECT_GE(std::stod(match[1]), 1.0) << Show(run);
  EXPECT_LT(std::stod(match[1]), 10.0) << Show(run);
  EXPECT_THAT(run.out, Not(HasSubstr("Set register")));
}

TEST(ToolGrab, FeaturesSetPixelFormatAndRegion) {
  const std::string folder = tcToolRunner::TempFolder();
  const tsToolRun run =
      Tool({"grab", "--count", "1", "--feature", "PixelFormat=RGB8", "--feature", "Width=64",
            "--feature", "Height=32", "--feature", "TestPattern=ColorBars", "--out", folder});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out,
              HasSubstr("Set feature PixelFormat to RGB8\nSet feature Width to 64\n"
                        "Set feature Height to 32\nSet feature TestPattern to ColorBars\n"));
  const tsPngFile png = ReadPngFile(folder + "/frame-000000.png");
  ASSERT_TRUE(png.ok);
  EXPECT_EQ(png.width, 64u);
  EXPECT_EQ(png.height, 32u);
  EXPECT_EQ(png.channels, 3u);
}

TEST(ToolGrab, EveryPixelFormatBecomesAPicture) {
  const std::string folder = tcToolRunner::TempFolder();
  const char* const formats[] = {
      "Mono8",     "Mono10",    "Mono10Packed", "Mono12",    "Mono12Packed", "Mono14",
      "Mono16",    "Mono10p",   "Mono12p",      "BayerGR8",  "BayerRG8",     "BayerGB8",
      "BayerBG8",  "BayerGR10", "BayerRG10",    "BayerGB10", "BayerBG10",    "BayerGR12",
      "BayerRG12", "BayerGB12", "BayerBG12",    "BayerGR16", "BayerRG16",    "BayerGB16",
      "BayerBG16", "RGB8",      "BGR8",         "RGBa8",     "BGRa8",        "YCbCr422_8"};
  for (const std::string format : formats) {
    SCOPED_TRACE(format);
    // An odd width and height, so that half-used groups and pairs are converted too.
    const std::string out = folder + "/" + format;
    const tsToolRun run =
        Tool({"grab", "--count", "1", "--feature", "PixelFormat=" + format, "--feature", "Width=33",
              "--feature", "Height=17", "--out", out, "--quiet"});
    ASSERT_EQ(run.exitCode, 0) << Show(run);
    const tsPngFile png = ReadPngFile(out + "/frame-000000.png");
    ASSERT_TRUE(png.ok);
    EXPECT_EQ(png.width, 33u);
    EXPECT_EQ(png.height, 17u);
    EXPECT_EQ(png.channels, format.rfind("Mono", 0) == 0 ? 1u : 3u);
    // The default horizontal ramp runs from black on the left to brighter on the right.
    const size_t last = (png.width - 1) * png.channels;
    EXPECT_LT(png.pixels[0], png.pixels[last]);
  }
}

TEST(ToolGrab, UnknownFeatureIsOneSentence) {
  const tsToolRun run = Tool({"grab", "--count", "1", "--feature", "Nope=1"});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("the camera has no feature named \"Nope\"."));
}

TEST(ToolGrab, UnknownEnumerationEntryNamesTheEntries) {
  const tsToolRun run = Tool({"grab", "--count", "1", "--feature", "TestPattern=Stripes"});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("its entries are Off, HorizontalRamp,"));
}

TEST(ToolErrors, MissingProducer) {
  const tsToolRun run = Tool({"--cti", "/nonexistent/x.cti", "list"});
  ExpectOneSentence(run);
  EXPECT_EQ(run.err,
            "gentl-tool: the GenTL producer /nonexistent/x.cti (named by --cti) does not exist.\n");
  const tsToolRun fromEnvironment = Tool({"info"}, {{"GENTL_CTI", "/nonexistent/y.cti"}});
  ExpectOneSentence(fromEnvironment);
  EXPECT_THAT(fromEnvironment.err, HasSubstr("/nonexistent/y.cti (named by GENTL_CTI)"));
}

TEST(ToolErrors, UnloadableProducer) {
  const std::string path = tcToolRunner::TempFolder() + "/x.cti";
  std::ofstream(path) << "not a shared library\n";
  const tsToolRun run = Tool({"list", "--cti", path});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("gentl-tool: cannot load the GenTL producer " + path + ": "));
}

TEST(ToolErrors, ProducerNamedByEnvironment) {
  const tsToolRun run = Tool({"info"}, {{"GENTL_CTI", GENTL_CTI_PATH}});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr(GENTL_CTI_PATH));
}

TEST(ToolErrors, MissingCameraFile) {
  for (const char* command : {"list", "grab"}) {
    SCOPED_TRACE(command);
    const tsToolRun run = Tool({command}, {{"SIMCAM_XML_FILE", "/nonexistent/camera.xml"}});
    ExpectOneSentence(run);
    EXPECT_EQ(run.err,
              "gentl-tool: the camera file \"/nonexistent/camera.xml\" named by SIMCAM_XML_FILE "
              "cannot be read: No such file or directory.\n");
  }
}

TEST(ToolErrors, UnknownDevice) {
  for (const char* command : {"info", "grab", "xml"}) {
    SCOPED_TRACE(command);
    const tsToolRun run = Tool({command, "--device", "Nope"});
    ExpectOneSentence(run);
    EXPECT_EQ(run.err,
              "gentl-tool: no device \"Nope\" on interface \"Simulated\"; it has: SimCam.\n");
  }
}

TEST(ToolErrors, UnknownStream) {
  const tsToolRun run = Tool({"info", "--stream", "Stream9"});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("no data stream \"Stream9\" on device \"SimCam\"; it has: "));
}

TEST(ToolErrors, BadArguments) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"frobnicate"},
      {"list", "--bogus"},
      {"list", "extra"},
      {"list", "--count", "3"},
      {"info", "--interface"},
      {"info", "--port=yes"},
      {"read"},
      {"read", "zz", "--remote"},
      {"read", "0", "--size", "0"},
      {"write", "0x0"},
      {"write", "0", "0x100", "--size", "1"},
      {"write", "0", "de:ad", "--size", "4"},
      {"xml", "bogus"},
      {"grab", "--count", "0"},
      {"grab", "--count", "3", "--duration", "1"},
      {"grab", "--duration", "-1"},
      {"grab", "--duration", "soon"},
      {"grab", "--save", "5-2"},
      {"grab", "--save", "1", "--save-every", "2"},
      {"grab", "--set", "0x10"},
      {"grab", "--feature", "=3"},
      {"grab", "--feature", "Width"},
      {"features", "bogus"},
      {"features", "system", "extra"},
      {"features", "--count", "1"},
      {"get"},
      {"get", "system"},
      {"get", "Width", "--all"},
      {"set"},
      {"set", "Width"},
      {"set", "Width=1", "=2"},
      {"run"},
      {"run", "--feature", "Width"},
      {"grab", "--buffers", "0"},
      {"info", "--remote", "--stream", "Stream0"},
  };
  for (const auto& arguments : cases) {
    std::string line;
    for (const std::string& word : arguments)
      line += word + " ";
    SCOPED_TRACE(line);
    const tsToolRun run = Tool(arguments);
    EXPECT_EQ(run.exitCode, 2) << Show(run);
    EXPECT_THAT(run.err, testing::StartsWith("gentl-tool: ")) << Show(run);
    EXPECT_THAT(run.err, HasSubstr("\nRun gentl-tool --help for usage.\n")) << Show(run);
    EXPECT_EQ(run.out, "");
  }
}

TEST(ToolInstall, InstalledToolFindsItsProducerAndCameraFile) {
  const std::string prefix = tcToolRunner::TempFolder() + "/prefix";
  const tsToolRun install = tcToolRunner::Run({"--install", GENTL_BUILD_DIR, "--prefix", prefix},
                                              {}, GENTL_CMAKE_COMMAND);
  ASSERT_EQ(install.exitCode, 0) << Show(install);
  const std::string producerDir = prefix + "/" GENTL_INSTALL_LIBDIR "/gentl";
  const std::string line = "export GENICAM_GENTL64_PATH=" + producerDir +
                           "${GENICAM_GENTL64_PATH:+:$GENICAM_GENTL64_PATH}";
  EXPECT_THAT(install.out + install.err, HasSubstr(line));
  EXPECT_TRUE(Exists(producerDir + "/gentl.cti"));
  const std::string dataDir = prefix + "/" GENTL_INSTALL_DATADIR "/gentl";
  EXPECT_EQ(ReadFile(dataDir + "/cameras/SimCam.xml"), ReadFile(SIMCAM_DEFAULT_XML));
  EXPECT_THAT(ReadFile(dataDir + "/gentl.sh"), HasSubstr(line + "\n"));

  const std::string tool = prefix + "/" GENTL_INSTALL_BINDIR "/gentl-tool";
  const tsToolRun list = tcToolRunner::Run({"list"}, {{"SIMCAM_XML_FILE", std::nullopt}}, tool);
  ASSERT_EQ(list.exitCode, 0) << Show(list);
  EXPECT_THAT(list.out, HasSubstr("(" + producerDir + "/gentl.cti)"));
  EXPECT_THAT(list.out, HasSubstr("Device SimCam"));
  const tsToolRun remote =
      tcToolRunner::Run({"info", "--remote"}, {{"SIMCAM_XML_FILE", std::nullopt}}, tool);
  ASSERT_EQ(remote.exitCode, 0) << Show(remote);
  EXPECT_THAT(remote.out, HasSubstr("file://" + dataDir + "/cameras/SimCam.xml"));
}
