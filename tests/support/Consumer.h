// Fixture for tests that use the producer exactly as a GenTL consumer does: gentl.cti loaded
// with dlopen, every function resolved with dlsym.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "GenTLLibrary.h"
#include "support/LogMatch.h"

class ConsumerTest : public ::testing::Test {
 protected:
  static GenTLLibrary& Lib() {
    static GenTLLibrary* library = [] {
      auto* lib = new GenTLLibrary;
      const char* path = getenv("GENTL_CTI");
      if (!lib->Open(path != nullptr ? path : GENTL_CTI_PATH)) {
        ADD_FAILURE() << "cannot load gentl.cti: " << lib->Error();
      }
      return lib;
    }();
    return *library;
  }

  void SetUp() override { ASSERT_NE(Lib().GCInitLib, nullptr); }
  // Leaves the library uninitialised for the next test in the same process.
  void TearDown() override { Lib().GCCloseLib(); }

  GenTL::GC_ERROR LastErrorCode() {
    GenTL::GC_ERROR code = 0;
    size_t size = 0;
    Lib().GCGetLastError(&code, nullptr, &size);
    return code;
  }
};
