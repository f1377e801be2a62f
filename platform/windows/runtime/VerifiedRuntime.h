#pragma once

#include <cstdlib>

// What lies in this folder rests on the insides of libstdc++ and libgcc, which are of the
// compiler's release. In the sources of another one, see that
// - libsupc++/eh_globals.cc: a thread's state of exceptions is a pointer and a count, no more;
// - libsupc++/guard.cc: a guard's first byte says done, and the compiler reads no other;
// - libsupc++/eh_alloc.cc: `__gnu_cxx::__freeres` frees the emergency pool;
// - libgcc/unwind-dw2-fde.c: the 32-bit unwinder locks by plain mutexes and `pthread_once` alone.
static_assert(
    _GLIBCXX_RELEASE == 12,
    "Verify what this header lists in the sources of this release, and that ModuleLifeTest "
    "passes in both bitnesses; then allow it here.");
