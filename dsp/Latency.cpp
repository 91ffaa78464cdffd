#include "dsp/Latency.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "dsp/ChainLoops.h"
#include "dsp/relaxed.h"

namespace qov {

namespace {

// Shorter lines are not worth a run for each time they wrap.
constexpr std::int32_t shortestRun = 64;

void copyScaled(const float* in, float* out, std::int32_t count, float gain,
                const ChainLoops& loops) {
    if (gain != 1.0f)
        loops.scale(in, out, count, gain);
    else if (in != out)
        std::memcpy(out, in, sizeof(float) * static_cast<std::size_t>(count));
}

}  // namespace

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
    precedingFrame_ = 0;
    reserve(longest);
}

void Latency::write(const float* samples, std::int32_t count) {
    if (!samples || lSize == 0) return;
    for (std::int32_t i = 0; i < count && isReady(samples, i); ++i) data[pos++] = samples[i];
    endBlock(samples, count);
}

void Latency::exchange(float* samples, std::int32_t count) {
    if (!samples) return;
    for (std::int32_t i = 0; i < count && isReady(samples, i); ++i)
        std::swap(samples[i], data[pos++]);
    endBlock(samples, count);
}

void Latency::exchange(const float* in, float* out, std::int32_t count, float gain,
                       const ChainLoops& loops) {
    std::int32_t i = 0;
    while (i < count && isReady(out, i)) {
        std::int32_t run = std::min(count - i, end() - pos);
        if (run < count - i && run < shortestRun && pos == 0 && lSize == loadRelaxed(lNewSize)) {
            run = count - i;
            shift(in + i, out + i, run, gain, loops);
        } else {
            loops.delay(in + i, out + i, data + pos, run, gain);
            pos += run;
        }
        i += run;
    }
    if (i < count) copyScaled(in + i, out + i, count - i, gain, loops);
    endBlock(out, count);
}

// A short line, at its start, and a longer block: the output is the line's frames and then the
// block's, whose last frames stay in the line, each where frame-by-frame exchange would put it.
void Latency::shift(const float* in, float* out, std::int32_t count, float gain,
                    const ChainLoops& loops) {
    const std::int32_t length = end(), moved = count - length;
    float first[shortestRun], last[shortestRun];
    const bool isOne = length == 1;  // the length without a phase shift
    const std::int32_t turn = isOne ? 0 : moved % length;
    if (isOne) {
        first[0] = data[0];
        data[0] = gain != 1.0f ? in[moved] * gain : in[moved];
    } else {
        std::copy_n(data, length, first);
        copyScaled(in + moved, last, length, gain, loops);
        std::copy_n(last, length - turn, data + turn);
        std::copy_n(last + length - turn, turn, data);
    }
    if (gain != 1.0f) loops.scale(in, out, moved, gain);
    std::memmove(out + length, gain != 1.0f ? out : in,
                 sizeof(float) * static_cast<std::size_t>(moved));
    if (isOne)
        out[0] = first[0];
    else
        std::copy_n(first, length, out);
    pos = turn == 0 ? length : turn;
}

// Never past the storage, which is public and may have been reallocated.
std::int32_t Latency::end() const {
    return std::min(lSize, size);
}

bool Latency::isReady(const float* samples, std::int32_t i) {
    if (data && pos >= end()) wrap(i > 0 ? samples[i - 1] : precedingFrame_);
    return data != nullptr;
}

void Latency::endBlock(const float* samples, std::int32_t count) {
    if (count > 0) precedingFrame_ = samples[count - 1];
}

void Latency::wrap(float preceding) {
    pos = 0;
    const std::int32_t requested = loadRelaxed(lNewSize);
    if (lSize == requested) return;
    allocate(requested);
    lSize = requested;
    if (data) data[0] = preceding;
}

}  // namespace qov
