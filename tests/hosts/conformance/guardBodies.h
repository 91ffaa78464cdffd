#pragma once

// The guard of an audio thread (tests/dsp/realTimeGuard.h) for programs that load plug-ins: it sees
// into their bodies, too. Include it in one source of a program, in the guard's place, and link
// that with --export-dynamic-symbol=dlopen, so that plug-ins find it.

#include <dlfcn.h>

#include "tests/dsp/realTimeGuard.h"

#ifndef QOV_SANITIZED
/// Takes the C library's name over. A body that is bound to its own libraries first would call the
/// C library's allocator and mutexes past this program's; bound in the usual order, the same file
/// calls these.
extern "C" [[gnu::visibility("default")]] void* dlopen(const char* file, int mode) {
    static const auto original =
        reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    return original(file, mode & ~RTLD_DEEPBIND);
}
#endif
