#pragma once

#include <cstdint>

namespace qov {

/// Zeroed storage of so many floats, 16-byte aligned; null when there is none to be had.
float* allocateSamples(std::int32_t frames);

/// Gives it back; null does nothing.
void freeSamples(float* samples);

}  // namespace qov
