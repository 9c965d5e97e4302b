// gentl-tool on emulated USB3 Vision cameras, run as a user runs it: list, info, read, write and
// the remote description. The tool is a child process; it reaches the cameras of this process's
// testbed through the umockdev preload and UMOCKDEV_DIR it inherits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ToolExpectations.h"
#include "U3vCameraXml.h"
#include "U3vConsumer.h"
#include "tcToolRunner.h"

using ::testing::HasSubstr;

namespace {

class ToolU3V : public ::testing::Test {
 public:
  void SetUp() override { bench_.AddCamera(tsU3vCameraOptions{}); }

  static tsToolRun Tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--interface", "U3V"});
    return tcToolRunner::Run(arguments);
  }

  tcU3vCameraBench bench_;
};

TEST_F(ToolU3V, ListShowsTheCamera) {
  const tsToolRun run = tcToolRunner::Run({"list", "--interface", "U3V"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Interface U3V\n"));
  EXPECT_THAT(run.out, HasSubstr("Device U3VEMU0001\n"));
  EXPECT_THAT(run.out, HasSubstr("Vendor           GenTL Project"));
  EXPECT_THAT(run.out, HasSubstr("Model            U3V-Emulator"));
  EXPECT_THAT(run.out, HasSubstr("Serial number    U3V0001"));
  EXPECT_EQ(run.err, "");
}

TEST_F(ToolU3V, InfoOfTheDeviceAndItsRemotePort) {
  tsToolRun run = Tool({"info", "--device", "U3VEMU0001"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Model                      U3V-Emulator"));
  EXPECT_THAT(run.out, HasSubstr("Serial number              U3V0001"));
  EXPECT_THAT(run.out, HasSubstr("Display name               U3V-Emulator_U3V0001"));
  run = Tool({"info", "--remote", "--port"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Remote device of U3VEMU0001"));
  EXPECT_THAT(run.out, HasSubstr("Version                    2.9.0.102"));
  EXPECT_THAT(
      run.out,
      HasSubstr(
          "URL                        local:///GenTL Project_U3V-Emulator_v1_0_0.xml;100000;"));
}

TEST_F(ToolU3V, ReadsTheModelName) {
  const tsToolRun run = Tool({"read", "0x44", "--size", "16", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out,
            "0x00000044  55 33 56 2d 45 6d 75 6c 61 74 6f 72 00 00 00 00  |U3V-Emulator....|\n");
}

TEST_F(ToolU3V, WriteReadsBackTheWidth) {
  const tsToolRun run = Tool({"write", "0x50000", "320", "--remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Wrote 4 bytes at 0x00050000 of the remote device U3VEMU0001"));
  EXPECT_THAT(run.out, HasSubstr("0x00050000: 0x00000140 (320)"));
  EXPECT_EQ(bench_.Camera(0).Register(0x50000), 320u);
}

TEST_F(ToolU3V, RefusedWriteNamesTheCallAndTheCode) {
  const tsToolRun run = Tool({"write", "0x44", "0x41", "--remote"});
  ExpectOneSentence(run);
  EXPECT_THAT(run.err, HasSubstr("GCWritePort"));
  EXPECT_THAT(run.err, HasSubstr("-1005"));
}

TEST_F(ToolU3V, RemoteDescriptionIsTheCamerasOwn) {
  const tsToolRun run = Tool({"xml", "remote"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_EQ(run.out, U3vCameraXml(tsU3vCameraOptions{}));
}

}  // namespace
