#include "dsp/Latency.h"

#include <algorithm>
#include <utility>

#include "dsp/relaxed.h"

namespace qov {

Latency::Latency() {
    DynaBuffer::allocate(1024);
}

std::int32_t Latency::getSize() {
    return loadRelaxed(lNewSize);
}

void Latency::setLength(std::int32_t frames) {
    storeRelaxed(lNewSize, std::max(1, frames));
}

void Latency::prepare(std::int32_t longest) {
    lastFrame_ = 0;
    reserve(longest);
}

void Latency::write(const float* samples, std::int32_t count) {
    if (!samples || lSize == 0) return;
    for (std::int32_t i = 0; i < count; ++i) {
        if (pos >= std::min(lSize, size)) wrap(lastFrame_);
        if (!data || size == 0) return;
        data[pos++] = samples[i];
        lastFrame_ = samples[i];
    }
}

void Latency::exchange(float* samples, std::int32_t count) {
    if (!samples) return;
    for (std::int32_t i = 0; i < count; ++i) {
        if (!data || size == 0) return;
        if (pos >= std::min(lSize, size)) wrap(lastFrame_);
        if (!data) return;
        std::swap(samples[i], data[pos++]);
        lastFrame_ = samples[i];
    }
}

void Latency::wrap(float precedingFrame) {
    pos = 0;
    const std::int32_t requested = loadRelaxed(lNewSize);
    if (lSize == requested) return;
    allocate(requested);
    lSize = requested;
    if (data) data[0] = precedingFrame;
}

}  // namespace qov
