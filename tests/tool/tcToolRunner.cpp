// Process spawning with redirected output for the gentl-tool cases.
#include "tcToolRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

extern char** environ;

namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::vector<std::string> Environment(const tcToolRunner::tEnvironment& changes) {
  tcToolRunner::tEnvironment all = {{"SIMCAM_XML_FILE", SIMCAM_DEFAULT_XML},
                                    {"GENTL_CTI", std::nullopt},
                                    {"GENTL_DEBUG", std::nullopt}};
  for (const auto& [name, value] : changes)
    all[name] = value;
  std::vector<std::string> entries;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (all.count(text.substr(0, text.find('='))) == 0) entries.push_back(text);
  }
  for (const auto& [name, value] : all) {
    if (value) entries.push_back(name + "=" + *value);
  }
  return entries;
}

// Removes the folders the cases made when the test program ends.
class tcFolderCleaner {
 public:
  ~tcFolderCleaner() {
    for (const std::string& folder : folders_) {
      std::error_code ignored;
      std::filesystem::remove_all(folder, ignored);
    }
  }
  void Add(const std::string& folder) { folders_.push_back(folder); }

 private:
  std::vector<std::string> folders_;
};

tcFolderCleaner gCleaner;

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

std::string tcToolRunner::TempFolder() {
  std::string pattern = testing::TempDir() + "gentl-tool-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  gCleaner.Add(pattern);
  return pattern;
}

tsToolRun tcToolRunner::Run(const std::vector<std::string>& arguments, const tEnvironment& changes,
                            const std::string& program) {
  const std::string folder = TempFolder();
  const std::string outPath = folder + "/stdout";
  const std::string errPath = folder + "/stderr";
  std::vector<std::string> argv = {program.empty() ? GENTL_TOOL_PATH : program};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<std::string> envp = Environment(changes);
  std::vector<char*> argPointers = Pointers(argv);
  std::vector<char*> envPointers = Pointers(envp);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_t pid = 0;
  const int error =
      posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, argPointers.data(), envPointers.data());
  posix_spawn_file_actions_destroy(&actions);
  tsToolRun run;
  if (error != 0) {
    run.err = std::string("posix_spawn failed: ") + strerror(error);
    return run;
  }
  int status = 0;
  waitpid(pid, &status, 0);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  run.out = ReadAll(outPath);
  run.err = ReadAll(errPath);
  return run;
}
