// An independent USB3 Vision client against the emulator: Aravis's arv-tool, run under the
// u3v-camera program. arv-tool also looks for GigE Vision cameras, so it runs in a network
// namespace of its own with no adapter at all.
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kNoNamespace = 77;

// Runs `arguments` in a child without network; returns its exit status, output in `*output`.
int RunIsolated(std::vector<std::string> arguments, std::string* output) {
  int pipeFds[2];
  if (pipe(pipeFds) != 0) return -1;
  pid_t child = fork();
  if (child == 0) {
    dup2(pipeFds[1], STDOUT_FILENO);
    dup2(pipeFds[1], STDERR_FILENO);
    close(pipeFds[0]);
    if (unshare(CLONE_NEWNET) != 0) _exit(kNoNamespace);
    unsetenv("LD_PRELOAD");  // u3v-camera adds the preload for its command itself
    std::vector<char*> argv;
    for (std::string& argument : arguments)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(pipeFds[1]);
  char block[4096];
  ssize_t got = 0;
  while ((got = read(pipeFds[0], block, sizeof block)) > 0)
    output->append(block, static_cast<size_t>(got));
  close(pipeFds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ArvTool() {
  for (const char* path : {"/usr/bin/arv-tool-0.8", "/usr/local/bin/arv-tool-0.8"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return "";
}

TEST(U3vClient, ArvToolFindsTheCameraAndReadsFeatures) {
  const std::string tool = ArvTool();
  if (tool.empty()) GTEST_SKIP() << "arv-tool-0.8 (aravis-tools-cli) is not installed";
  std::string output;
  int status = RunIsolated({U3V_CAMERA_PATH, "--serial", "ARV42", "--width", "1280", "--height",
                            "960", "--", tool, "control", "Width", "PixelFormat", "PayloadSize"},
                           &output);
  if (status == kNoNamespace) GTEST_SKIP() << "cannot create a network namespace";
  EXPECT_EQ(status, 0) << output;
  EXPECT_NE(output.find("GenTL Project-U3VEMU0001-ARV42 (USB3)"), std::string::npos) << output;
  EXPECT_NE(output.find("Width = 1280 min:16 max:1280 inc:4"), std::string::npos) << output;
  EXPECT_NE(output.find("PixelFormat = Mono8"), std::string::npos) << output;
  EXPECT_NE(output.find("PayloadSize = 1228800"), std::string::npos) << output;
}

TEST(U3vClient, ArvToolWritesThroughGenCp) {
  const std::string tool = ArvTool();
  if (tool.empty()) GTEST_SKIP() << "arv-tool-0.8 (aravis-tools-cli) is not installed";
  std::string output;
  int status = RunIsolated(
      {U3V_CAMERA_PATH, "--", tool, "control", "PixelFormat=RGB8", "Width=320", "PayloadSize"},
      &output);
  if (status == kNoNamespace) GTEST_SKIP() << "cannot create a network namespace";
  EXPECT_EQ(status, 0) << output;
  EXPECT_NE(output.find("PixelFormat = RGB8"), std::string::npos) << output;
  EXPECT_NE(output.find("PayloadSize = 460800"), std::string::npos) << output;  // 320 x 480 x 3
}

TEST(U3vClient, ProgramRefusesAMissingCommand) {
  std::string output;
  EXPECT_EQ(RunIsolated({U3V_CAMERA_PATH, "--width", "640"}, &output), 2);
  EXPECT_NE(output.find("Usage: u3v-camera [options] -- COMMAND"), std::string::npos);
}

TEST(U3vClient, ProgramPassesTermToTheCommandAndCleansUp) {
  std::string output;
  int status = RunIsolated({U3V_CAMERA_PATH, "--", "/bin/sh", "-c",
                            "echo $UMOCKDEV_DIR; kill -TERM $PPID; exec sleep 5"},
                           &output);
  EXPECT_EQ(status, 128 + SIGTERM) << output;
  ASSERT_FALSE(output.empty());
  output.erase(output.find('\n'));
  EXPECT_NE(access(output.c_str(), F_OK), 0) << output << " is left behind";
}

TEST(U3vClient, ProgramPassesTheCommandsExitStatus) {
  std::string output;
  EXPECT_EQ(RunIsolated({U3V_CAMERA_PATH, "--", "/bin/sh", "-c",
                         "test -n \"$UMOCKDEV_DIR\" && case $LD_PRELOAD in "
                         "*libumockdev-preload.so.0*) exit 42;; esac"},
                        &output),
            42)
      << output;
}

}  // namespace
