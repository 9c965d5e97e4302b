// A module's port: register reads and writes, and the GenApi description its URL points to.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "GenTLPort.h"
#include "tcProducer.h"

class tcPortAccess {
 public:
  using tsDescription = tsPortDescription;

  tcPortAccess(tcProducer& producer, GenTL::PORT_HANDLE port) : producer_(producer), port_(port) {}

  std::vector<uint8_t> Read(uint64_t address, size_t size);
  void Write(uint64_t address, const std::vector<uint8_t>& bytes);

  // Follows the port's first URL (local:, file:, zipped or not); throws a tool error that
  // says why when the description cannot be fetched.
  tsDescription Description();

 private:
  tcProducer& producer_;
  GenTL::PORT_HANDLE port_;
};
