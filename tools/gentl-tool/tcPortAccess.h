// A module's port: register reads and writes, and the GenApi description its URL points to.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tcProducer.h"

class tcPortAccess {
 public:
  struct tsDescription {
    std::string url;       // as the port gives it
    std::string fileName;  // the description's file name (local:) or path (file:)
    std::string text;      // the description's bytes
  };

  tcPortAccess(tcProducer& producer, GenTL::PORT_HANDLE port) : producer_(producer), port_(port) {}

  std::vector<uint8_t> Read(uint64_t address, size_t size);
  void Write(uint64_t address, const std::vector<uint8_t>& bytes);

  // The port's first description URL.
  std::string Url();
  // Follows Url(): local: reads the description from the port, file: reads the file.
  tsDescription Description();

 private:
  tsDescription ReadLocal(const std::string& url);
  static tsDescription ReadFile(const std::string& url);

  tcProducer& producer_;
  GenTL::PORT_HANDLE port_;
};
