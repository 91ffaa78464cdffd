#include "hosts/instance/SignalMeter.h"

#include <array>
#include <cmath>

namespace qov::hosts {
namespace {

// Independent sums and peaks: a loop over so many is one that compilers put into vectors.
constexpr std::uint32_t lanes = 32;
using Lanes = std::array<float, lanes>;

/// The highest magnitude; NaN counts as nothing.
float peakOf(float before, const float* left, const float* right, std::uint32_t frames) {
    const auto higher = [](float one, float other) { return one > other ? one : other; };
    Lanes peaks{};
    const std::uint32_t whole = frames - frames % lanes;
    for (std::uint32_t i = 0; i < whole; i += lanes)
        for (std::uint32_t lane = 0; lane < lanes; ++lane)
            peaks[lane] =
                higher(higher(std::abs(left[i + lane]), std::abs(right[i + lane])), peaks[lane]);
    for (std::uint32_t i = whole; i < frames; ++i)
        peaks[0] = higher(higher(std::abs(left[i]), std::abs(right[i])), peaks[0]);
    for (const float peak : peaks) before = higher(peak, before);
    return before;
}

double sumOf(const Lanes& parts) {
    double sum = 0;
    for (const float part : parts) sum += double{part};
    return sum;
}

}  // namespace

void SignalMeter::watch(bool isWatched) {
    if (isWatched) ++lastWatch_;
    watch_.store(isWatched ? lastWatch_ : 0, std::memory_order_relaxed);
}

std::optional<SignalMeter::Reading> SignalMeter::take() {
    if (!isFull_.load(std::memory_order_acquire)) return std::nullopt;
    const auto reading = slotWatch_ == lastWatch_ ? std::optional(slot_) : std::nullopt;
    isFull_.store(false, std::memory_order_release);
    return reading;
}

void SignalMeter::addInput(const float* left, const float* right, std::uint32_t frames) {
    sum_.inputPeak = peakOf(sum_.inputPeak, left, right, frames);
}

/// At most a few thousand frames, so that sums of floats are precise enough to be shown.
void SignalMeter::addOutput(const float* left, const float* right, std::uint32_t frames) {
    sum_.outputPeak = peakOf(sum_.outputPeak, left, right, frames);
    Lanes ll{}, rr{}, lr{};
    const std::uint32_t whole = frames - frames % lanes;
    for (std::uint32_t i = 0; i < whole; i += lanes)
        for (std::uint32_t lane = 0; lane < lanes; ++lane) {
            const float l = left[i + lane], r = right[i + lane];
            ll[lane] += l * l;
            rr[lane] += r * r;
            lr[lane] += l * r;
        }
    auto& sums = sum_.output;
    sums.ll += sumOf(ll);
    sums.rr += sumOf(rr);
    sums.lr += sumOf(lr);
    for (std::uint32_t i = whole; i < frames; ++i) sums.add(double{left[i]}, double{right[i]});
}

void SignalMeter::handOver() {
    const auto watch = watch_.load(std::memory_order_relaxed);
    if (watch != sumWatch_) {  // what is left of an earlier watch
        sumWatch_ = watch;
        sum_ = {};
        return;
    }
    if (isFull_.load(std::memory_order_acquire)) return;
    slot_ = sum_;
    slotWatch_ = watch;
    sum_ = {};
    isFull_.store(true, std::memory_order_release);
}

}  // namespace qov::hosts
