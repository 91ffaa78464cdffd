#pragma once

#include <cstdint>

namespace qov {

/// Zeroed storage for `frames` floats, aligned to a cache line; null below 1 and when memory runs
/// out.
float* allocateSamples(std::int32_t frames);

/// Frees what allocateSamples() returned; null is a no-op.
void freeSamples(float* samples);

}  // namespace qov
