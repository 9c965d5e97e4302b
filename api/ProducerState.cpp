// Definitions of the entry layer's process-wide values.
#include "api/ProducerState.h"

#include "modules/tcSystem.h"

std::atomic<bool> Initialised{false};
std::atomic<GenTL::GC_ERROR> LastError{GenTL::GC_ERR_SUCCESS};

namespace {
std::unique_ptr<tcSystem> gSystem;
}  // namespace

tcSystem* SystemSingleton() {
  return gSystem.get();
}

void CreateSystem() {
  gSystem = std::make_unique<tcSystem>();
}

void DestroySystem() {
  gSystem.reset();
}
