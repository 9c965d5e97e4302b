// Definitions of the entry layer's process-wide values.
#include "api/ProducerState.h"

std::atomic<bool> Initialised{false};
std::atomic<GenTL::GC_ERROR> LastError{GenTL::GC_ERR_SUCCESS};
