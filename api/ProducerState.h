// Process-wide state of the entry layer: the initialised flag, the system singleton and the
// last error.
#pragma once

#include <atomic>

#include "GenTL.h"

class tcSystem;

// Set by GCInitLib, cleared by GCCloseLib.
extern std::atomic<bool> Initialised;

// The result of the most recent framed call in any thread (the last writer wins).
extern std::atomic<GenTL::GC_ERROR> LastError;

// The one system module, created by TLOpen; its address is the TL handle. Creation and
// destruction are serialised, so two racing TLOpen calls make one system.
// GC_ERR_RESOURCE_IN_USE when the system exists.
GenTL::GC_ERROR CreateSystem(void** handle);
// Destroys the system when `handle` is it (any system when `handle` is null); false when not.
bool DestroySystem(const void* handle);
