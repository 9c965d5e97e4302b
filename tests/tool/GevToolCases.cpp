// gentl-tool on a GigE Vision camera: gev-camera on the network bench, listed, its remote port
// described, read, written, and its description saved. Each case runs in a network namespace of
// its own, so the GEV interface's broadcasts reach only the bench.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "ToolExpectations.h"
#include "support/FakeGvcpCamera.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"
#include "tcToolRunner.h"

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

namespace {

class GevTool : public ::testing::Test {
 protected:
  void SetUp() override {
    ENTER_PRIVATE_NETWORK_OR_SKIP();
    ASSERT_EQ(bench_.AddCamera({GEV_CAMERA_PATH, "--serial", "TOOL1"}, 1500, &link_), "");
    ASSERT_TRUE(WaitForGvcpCamera(link_.hostAddress, link_.cameraAddress));
  }

  static tsToolRun Tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--interface", "GEV"});
    return tcToolRunner::Run(arguments);
  }

  tcNetBench bench_;
  tsBenchLink link_;
};

TEST_F(GevTool, ListSearchesTheInterfaceAndShowsTheCamera) {
  const tsToolRun run = Tool({"list"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("  Interface GEV\n"
                                 "    Device GEV-Emulator:TOOL1\n"
                                 "      Vendor           GenTL Project\n"
                                 "      Model            GEV-Emulator\n"
                                 "      Serial number    TOOL1\n"
                                 "      Access status    ReadWrite\n"));
}

TEST_F(GevTool, InfoOfTheRemotePort) {
  const tsToolRun run = Tool({"info", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Remote device of GEV-Emulator:TOOL1\n"));
  EXPECT_THAT(run.out, HasSubstr("  TL type                    GEV\n"));
  EXPECT_THAT(run.out, HasSubstr("  Big endian                 true\n"));
  EXPECT_THAT(run.out, ContainsRegex("URL                        Local:gev-camera\\.xml;20000;"
                                     "[0-9a-f]+\n"));
  EXPECT_THAT(run.out, HasSubstr("  Register address           131072\n"));
}

TEST_F(GevTool, ReadAndWriteRemoteRegisters) {
  tsToolRun run = Tool({"read", "0x48", "--size", "16", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out,
            "0x00000048  47 65 6e 54 4c 20 50 72 6f 6a 65 63 74 00 00 00  |GenTL Project...|\n");
  run = Tool({"write", "0x0D08", "0x1234", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Wrote 4 bytes at 0x00000D08 of the remote device "
                                 "GEV-Emulator:TOOL1; it reads back:\n"
                                 "0x00000D08: 0x00001234 (4660)\n"));
}

TEST_F(GevTool, XmlSavesTheCameraDescription) {
  const std::string path = tcToolRunner::TempFolder() + "/camera.xml";
  const tsToolRun run = Tool({"xml", "--remote", "-o", path});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Wrote the description of the remote device GEV-Emulator:TOOL1 "
                                 "(gev-camera.xml, "));
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_THAT(text.str(), testing::StartsWith("<?xml"));
  EXPECT_THAT(text.str(), HasSubstr("ModelName=\"GEV-Emulator\""));
  EXPECT_THAT(text.str(), HasSubstr("</RegisterDescription>"));
}

}  // namespace
