#include "dsp/DynaBuffer2.h"

#include <algorithm>

#include "dsp/SampleStorage.h"

namespace qov {

DynaBuffer2::~DynaBuffer2() {
    DynaBuffer2::release();
}

float* DynaBuffer2::getChannel(std::int32_t index) {
    return static_cast<std::uint32_t>(index) < 2 ? data[index] : nullptr;
}

void DynaBuffer2::clear() {
    for (float* channel : data)
        if (channel) std::fill_n(channel, size, 0.0f);
}

void DynaBuffer2::release() {
    for (float*& channel : data) {
        freeSamples(channel);
        channel = nullptr;
    }
    size = dataSize = 0;
}

float** DynaBuffer2::allocate(std::int32_t frames) {
    if (frames == size) return data;
    if (frames <= 0) {
        release();
    } else if (frames <= dataSize) {
        size = frames;
    } else {
        release();
        for (float*& channel : data) channel = allocateSamples(frames);
        if (data[0] && data[1])
            size = dataSize = frames;
        else
            release();
    }
    return data;
}

}  // namespace qov
