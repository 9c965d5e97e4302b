// Compiled, never run: every exported function and its pointer type use stdcall when compiled
// for 32-bit x86 and the default calling convention elsewhere. Includes nothing but the
// public header, so that a compiler without a 32-bit C++ library can check it.
#include "GenTL.h"

#if defined(__i386__)
#define GENTL_EXPECTED_CALLTYPE __attribute__((stdcall))
#else
#define GENTL_EXPECTED_CALLTYPE
#endif

namespace GenTL {

#define GENTL_CHECK_CALLTYPE(name, params)                                             \
  static_assert(__is_same(decltype(&name), GC_ERROR(GENTL_EXPECTED_CALLTYPE*) params), \
                #name " has the wrong calling convention");                            \
  static_assert(__is_same(P##name, GC_ERROR(GENTL_EXPECTED_CALLTYPE*) params),         \
                "P" #name " has the wrong calling convention");
GENTL_FUNCTIONS(GENTL_CHECK_CALLTYPE)
#undef GENTL_CHECK_CALLTYPE

#if defined(__i386__)
// The attribute must change the type, or the assertions above would hold without it.
static_assert(!__is_same(PGCInitLib, GC_ERROR (*)()), "stdcall is not part of the type");
#endif

}  // namespace GenTL
