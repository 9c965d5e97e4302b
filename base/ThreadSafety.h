// Clang thread-safety annotations (checked with -Wthread-safety in the clang builds; empty for
// other compilers). Data names its mutex with GENTL_GUARDED_BY, functions state what they need.
#pragma once

#if defined(__clang__)
#define GENTL_TSA(x) __attribute__((x))
#else
#define GENTL_TSA(x)
#endif

#define GENTL_CAPABILITY(x) GENTL_TSA(capability(x))
#define GENTL_SCOPED_CAPABILITY GENTL_TSA(scoped_lockable)
#define GENTL_GUARDED_BY(x) GENTL_TSA(guarded_by(x))
#define GENTL_REQUIRES(...) GENTL_TSA(requires_capability(__VA_ARGS__))
#define GENTL_EXCLUDES(...) GENTL_TSA(locks_excluded(__VA_ARGS__))
#define GENTL_ACQUIRE(...) GENTL_TSA(acquire_capability(__VA_ARGS__))
#define GENTL_RELEASE(...) GENTL_TSA(release_capability(__VA_ARGS__))
#define GENTL_RETURN_CAPABILITY(x) GENTL_TSA(lock_returned(x))
