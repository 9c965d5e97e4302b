// Fixtures for consumer tests that need an open system, and helpers for port access.
#pragma once

#include <cstring>
#include <string>

#include "support/Consumer.h"

class SystemConsumerTest : public ConsumerTest {
 protected:
  void SetUp() override {
    ConsumerTest::SetUp();
    ASSERT_EQ(Lib().GCInitLib(), GenTL::GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().TLOpen(&system_), GenTL::GC_ERR_SUCCESS);
  }

  void UpdateInterfaces() {
    GenTL::bool8_t changed = false;
    ASSERT_EQ(Lib().TLUpdateInterfaceList(system_, &changed, 0), GenTL::GC_ERR_SUCCESS);
  }

  void* OpenInterface(const char* id) {
    void* handle = nullptr;
    EXPECT_EQ(Lib().TLOpenInterface(system_, id, &handle), GenTL::GC_ERR_SUCCESS);
    return handle;
  }

  // The port's URL 0 text.
  std::string Url(void* port) {
    char url[512] = "";
    size_t size = sizeof url;
    EXPECT_EQ(Lib().GCGetPortURL(port, url, &size), GenTL::GC_ERR_SUCCESS);
    return url;
  }

  // Length and text of a module description, read through the URL as a consumer does.
  std::string Description(void* port) {
    std::string url = Url(port);
    size_t length = std::stoull(url.substr(url.rfind(';') + 1), nullptr, 16);
    std::string text(length, '\0');
    size_t size = length;
    EXPECT_EQ(Lib().GCReadPort(port, 0, text.data(), &size), GenTL::GC_ERR_SUCCESS);
    EXPECT_EQ(size, length);
    return text;
  }

  uint32_t ReadU32(void* port, uint64_t address, GenTL::GC_ERROR expected = 0) {
    uint32_t value = 0;
    size_t size = 4;
    EXPECT_EQ(Lib().GCReadPort(port, address, &value, &size), expected);
    return value;
  }

  GenTL::GC_ERROR WriteU32(void* port, uint64_t address, uint32_t value) {
    size_t size = 4;
    return Lib().GCWritePort(port, address, &value, &size);
  }

  std::string ReadText(void* port, uint64_t address, GenTL::GC_ERROR expected = 0) {
    char text[128] = "";
    size_t size = sizeof text;
    EXPECT_EQ(Lib().GCReadPort(port, address, text, &size), expected);
    return text;
  }

  void* system_ = nullptr;
};
