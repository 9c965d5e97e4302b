// Process-wide state of the entry layer: the initialised flag and the last error.
#pragma once

#include <atomic>

#include "GenTL.h"

// Set by GCInitLib, cleared by GCCloseLib.
extern std::atomic<bool> Initialised;

// The result of the most recent framed call in any thread (the last writer wins).
extern std::atomic<GenTL::GC_ERROR> LastError;
