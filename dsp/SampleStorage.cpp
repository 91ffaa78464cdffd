#include "dsp/SampleStorage.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace qov {

float* allocateSamples(std::int32_t frames) {
    if (frames < 1) return nullptr;
    // A cache line: a vector never lies across two.
    constexpr std::size_t boundary = 64;  // bytes
    const auto count = static_cast<std::size_t>(frames);
    const std::size_t bytes = (count * sizeof(float) + boundary - 1) / boundary * boundary;
    void* const memory = std::aligned_alloc(boundary, bytes);
    return memory ? static_cast<float*>(std::memset(memory, 0, bytes)) : nullptr;
}

void freeSamples(float* samples) {
    std::free(samples);
}

}  // namespace qov
