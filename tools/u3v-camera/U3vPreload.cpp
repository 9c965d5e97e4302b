// Self re-exec under the umockdev preload.
#include "U3vPreload.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

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
