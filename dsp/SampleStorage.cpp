#include "dsp/SampleStorage.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace qov {

float* allocateSamples(std::int32_t frames) {
    if (frames < 1) return nullptr;
    constexpr std::size_t boundary = 16;  // bytes
    const auto count = static_cast<std::size_t>(frames);
    // calloc leaves the pages of a large block untouched, where it aligns far enough.
    if constexpr (alignof(std::max_align_t) >= boundary)
        return static_cast<float*>(std::calloc(count, sizeof(float)));
    const std::size_t bytes = (count * sizeof(float) + boundary - 1) / boundary * boundary;
    void* const memory = std::aligned_alloc(boundary, bytes);
    return memory ? static_cast<float*>(std::memset(memory, 0, bytes)) : nullptr;
}

void freeSamples(float* samples) {
    std::free(samples);
}

}  // namespace qov
