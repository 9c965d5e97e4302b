// gentl-tool grab on an emulated USB3 Vision camera: the tool runs the camera's
// AcquisitionStart, streams through the producer and saves PNG files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "ToolExpectations.h"
#include "U3vConsumer.h"
#include "tcToolRunner.h"

using ::testing::HasSubstr;

namespace {

struct tsPngSize {
  bool png = false;
  uint32_t width = 0;
  uint32_t height = 0;
};

uint32_t BigEndian32(const unsigned char* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// The signature and the image size from the IHDR chunk of the file at `path`.
tsPngSize PngSize(const std::string& path) {
  unsigned char head[24] = {};
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(head), sizeof head);
  tsPngSize size;
  size.png = file.gcount() == sizeof head && memcmp(head, "\x89PNG\r\n\x1a\n", 8) == 0 &&
             memcmp(head + 12, "IHDR", 4) == 0;
  size.width = BigEndian32(head + 16);
  size.height = BigEndian32(head + 20);
  return size;
}

// gentl-tool runs the camera's commands through Aravis on GLib, neither built with
// ThreadSanitizer, whose mutexes it then reports as misused.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define GENTL_UNDER_TSAN 1
#endif
#endif

TEST(GrabU3V, ThirtyFramesFromTheEmulatedCameraBecomePngFiles) {
#ifdef GENTL_UNDER_TSAN
  GTEST_SKIP() << "gentl-tool's GenApi engine is not instrumented";
#endif
  tcU3vCameraBench bench;
  bench.AddCamera(tsU3vCameraOptions{});
  const std::string folder = tcToolRunner::TempFolder() + "/frames";
  const tsToolRun run = tcToolRunner::Run({"grab", "--interface", "U3V", "--count", "30",
                                           "--save-every", "10", "--out", folder, "--quiet"});
  ASSERT_EQ(run.exitCode, 0) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("Grabbed 30 frames in ")) << Show(run);
  EXPECT_THAT(run.out, HasSubstr(", 0 incomplete, ")) << Show(run);
  EXPECT_THAT(run.out, HasSubstr("3 PNG files written to " + folder));
  for (const char* name : {"frame-000000.png", "frame-000010.png", "frame-000020.png"}) {
    const tsPngSize png = PngSize(folder + "/" + name);
    EXPECT_TRUE(png.png) << name;
    EXPECT_EQ(png.width, 640u) << name;
    EXPECT_EQ(png.height, 480u) << name;
  }
  EXPECT_GE(bench.Camera(0).FramesSent(), 30u);
}

}  // namespace
