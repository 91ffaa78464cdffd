#include "dsp/DynaBuffer.h"

#include <algorithm>

#include "dsp/SampleStorage.h"

namespace qov {

DynaBuffer::~DynaBuffer() {
    DynaBuffer::release();
}

float* DynaBuffer::allocate(std::int32_t frames) {
    if (frames == size) {
        clear();
    } else if (frames < 1) {
        release();
    } else if (frames > capacity_) {
        DynaBuffer::reallocate(frames);
    } else if (frames > size) {
        size = frames;
        clear();
    }
    return data;
}

float* DynaBuffer::reallocate(std::int32_t frames) {
    if (frames == size) return data;
    release();
    data = allocateSamples(frames);
    if (data) size = capacity_ = frames;
    return data;
}

void DynaBuffer::clear() {
    if (data) std::fill_n(data, size, 0.0f);
}

void DynaBuffer::release() {
    freeSamples(data);
    data = nullptr;
    size = capacity_ = 0;
}

void DynaBuffer::reserve(std::int32_t frames) {
    if (size == 0 || frames <= capacity_) return;
    float* larger = allocateSamples(frames);
    if (!larger) return;
    std::fill_n(larger, frames, 0.0f);  // touches every page here rather than while rendering
    std::copy_n(data, size, larger);
    freeSamples(data);
    data = larger;
    capacity_ = frames;
}

}  // namespace qov
