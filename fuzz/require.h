#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the fuzzer's run as failed, saying what is the matter, unless it holds.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}
