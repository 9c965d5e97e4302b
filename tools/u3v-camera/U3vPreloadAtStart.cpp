// Linking this file into a program makes it re-execute itself under the umockdev preload before
// main runs, so that test binaries built on gtest_main need no main of their own.
#include "U3vPreload.h"

namespace {

__attribute__((constructor)) void ReexecuteUnderPreload() {
  EnsureUmockdevPreload();
}

}  // namespace
