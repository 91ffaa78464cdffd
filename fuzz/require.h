#pragma once

#include <cstdio>
#include <cstdlib>

/// Unless it holds, prints what is wrong and ends the fuzzer's run as failed.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}
