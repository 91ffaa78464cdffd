#include "dsp/SampleStorage.h"

#include <cstddef>
#include <cstdlib>

namespace qov {

static_assert(alignof(std::max_align_t) >= 16, "calloc aligns to this");

float* allocateSamples(std::int32_t frames) {
    if (frames < 1) return nullptr;
    return static_cast<float*>(std::calloc(static_cast<std::size_t>(frames), sizeof(float)));
}

void freeSamples(float* samples) {
    std::free(samples);
}

}  // namespace qov
