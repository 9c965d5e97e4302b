// Self re-exec under the umockdev preload.
#include "U3vPreload.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

bool UnderUmockdevPreload() {
  const char* preload = getenv("LD_PRELOAD");
  return preload && strstr(preload, kUmockdevPreload);
}

std::string PreloadWithUmockdev(const char* current) {
  if (!current || !*current) return kUmockdevPreload;
  if (strstr(current, kUmockdevPreload)) return current;
  return std::string(current) + ":" + kUmockdevPreload;
}

void EnsureUmockdevPreload(char** argv) {
  if (UnderUmockdevPreload()) return;
  setenv("LD_PRELOAD", PreloadWithUmockdev(getenv("LD_PRELOAD")).c_str(), 1);
  execv("/proc/self/exe", argv);
  perror("re-executing under the umockdev preload");
  exit(127);
}

void EnsureUmockdevPreload() {
  if (UnderUmockdevPreload()) return;
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<char*> argv;
  for (size_t at = 0; at < text.size(); at = text.find('\0', at) + 1)
    argv.push_back(text.data() + at);
  argv.push_back(nullptr);
  EnsureUmockdevPreload(argv.data());
}
