#include "dsp/CircularBuffer2.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "dsp/saturate.h"

namespace qov {

CircularBuffer2::CircularBuffer2() {
    DynaBuffer2::allocate(1024);
    resampled.allocate(1024);
}

CircularBuffer2::~CircularBuffer2() {
    resampled.release();
}

void CircularBuffer2::reset() {
    clear();
    resampled.clear();
    lastValueL = lastValueR = 0;
    pos = 0;
}

void CircularBuffer2::rewind(std::int32_t frames) {
    if (frames >= 0 && frames <= size) pos = size - frames;
}

void CircularBuffer2::write(const float* left, const float* right, std::int32_t count) {
    traverse(left && right ? count : 0, [=](std::int32_t i, float& ringLeft, float& ringRight) {
        ringLeft = left[i];
        ringRight = right[i];
    });
}

void CircularBuffer2::read(float* left, float* right, std::int32_t count) {
    traverse(left && right ? count : 0, [=](std::int32_t i, float& ringLeft, float& ringRight) {
        left[i] = ringLeft;
        right[i] = ringRight;
    });
}

void CircularBuffer2::skip(float* left, float* right, std::int32_t count) {
    if (count < 1) return;
    if (left) std::fill_n(left, count, 0.0f);
    if (right) std::fill_n(right, count, 0.0f);
    // Many skips in a row end at the type's limit, which is as much past the end as any other
    // place.
    pos += std::min(count, std::numeric_limits<std::int32_t>::max() - pos);
}

void CircularBuffer2::exchange(float* left, float* right, std::int32_t count) {
    traverse(left && right ? count : 0, [=](std::int32_t i, float& ringLeft, float& ringRight) {
        std::swap(left[i], ringLeft);
        std::swap(right[i], ringRight);
    });
}

void CircularBuffer2::accumulate(float* left, float* right, std::int32_t count) {
    traverse(left && right ? count : 0, [=](std::int32_t i, float& ringLeft, float& ringRight) {
        const float oldLeft = std::exchange(ringLeft, left[i]);
        const float oldRight = std::exchange(ringRight, right[i]);
        left[i] = oldLeft + left[i];
        right[i] = oldRight + right[i];
    });
}

void CircularBuffer2::allocateResampled(std::int32_t frames) {
    if (isResampler) resampled.allocate(frames);
}

std::int32_t CircularBuffer2::getOutputSize() {
    return isResampler ? resampled.getSize() : getSize();
}

void CircularBuffer2::notify() {
    if (onBuffer) onBuffer(callee);
}

void CircularBuffer2::resample() {
    const std::int32_t frames = resampled.size;
    if (!isResampler || frames == size || frames < 1 || !isReady()) return;
    const float ratio = static_cast<float>(size) / static_cast<float>(frames);
    for (std::int32_t i = 0; i < frames; ++i) {
        const auto nearest = saturate<std::int32_t>(ratio * static_cast<float>(i));
        const std::int32_t index = std::min(nearest, size - 1);
        lastValueL = (data[0][index] + lastValueL) * 0.5f;
        lastValueR = (data[1][index] + lastValueR) * 0.5f;
        resampled.data[0][i] = lastValueL;
        resampled.data[1][i] = lastValueR;
    }
}

void CircularBuffer2::wrap() {
    pos = 0;
    if (static_cast<float>(size) / static_cast<float>(resampled.size) != 1.0f) resample();
    notify();
}

template <class Frame>
void CircularBuffer2::traverse(std::int32_t count, Frame frame) {
    for (std::int32_t i = 0; i < count && isReady();) {
        if (pos >= size) {
            wrap();
            continue;
        }
        const std::int32_t end = i + std::min(count - i, size - pos);
        float* ringLeft = data[0] + pos - i;
        float* ringRight = data[1] + pos - i;
        pos += end - i;
        for (; i < end; ++i) frame(i, ringLeft[i], ringRight[i]);
    }
}

}  // namespace qov
