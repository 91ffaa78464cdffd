#include "hosts/measure/TruePeak.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qov::measure {
namespace {

constexpr std::size_t oversampling = 4;
constexpr float mostGain = 2.5F;        // of a kernel: the sum of its magnitudes is 2.2
constexpr std::size_t lanesAtOnce = 8;  // the filter's sums fit into SSE's registers

template <std::size_t taps>
using Kernels = std::array<std::array<float, taps>, oversampling - 1>;

double sinc(double x) {
    return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

/// One kernel for each point between two samples. Each passes a constant unchanged.
template <std::size_t taps>
Kernels<taps> makeKernels() {
    constexpr double lobes = taps / 2.0;
    Kernels<taps> kernels{};
    for (std::size_t phase = 1; phase < oversampling; ++phase) {
        std::array<double, taps> weights{};
        double sum = 0;
        for (std::size_t k = 0; k < taps; ++k) {
            const double distance =
                static_cast<double>(k) - (lobes - 1) - static_cast<double>(phase) / oversampling;
            sum += weights[k] = sinc(distance) * sinc(distance / lobes);
        }
        for (std::size_t k = 0; k < taps; ++k)
            kernels[phase - 1][k] = static_cast<float>(weights[k] / sum);
    }
    return kernels;
}

}  // namespace

template <std::size_t lanes>
void TruePeak::scan(const float* samples) {
    static const auto kernels = makeKernels<taps>();
    std::array<std::array<float, lanes>, oversampling - 1> sums{};
    for (std::size_t k = 0; k < taps; ++k)
        for (std::size_t phase = 0; phase < sums.size(); ++phase)
            for (std::size_t lane = 0; lane < lanes; ++lane)
                sums[phase][lane] += kernels[phase][k] * samples[k + lane];
    for (const auto& phase : sums)
        for (const float sum : phase) peak_ = std::max(peak_, std::abs(sum));
}

void TruePeak::add(const float* samples, std::size_t count) {
    while (count > 0) {
        const auto taken = std::min(count, blockFrames);
        std::copy_n(samples, taken, &window_[taps - 1]);
        float highest = 0;
        for (std::size_t k = 0; k < taken + taps - 1; ++k)
            highest = std::max(highest, std::abs(window_[k]));
        peak_ = std::max(peak_, highest);
        // Most blocks of most signals cannot reach the peak so far.
        if (highest * mostGain > peak_) {
            std::size_t i = 0;
            for (; i + lanesAtOnce <= taken; i += lanesAtOnce) scan<lanesAtOnce>(&window_[i]);
            for (; i < taken; ++i) scan<1>(&window_[i]);
        }
        std::copy_n(&window_[taken], taps - 1, window_.begin());
        samples += taken;
        count -= taken;
    }
}

float TruePeak::finish() {
    constexpr std::array<float, taps> silence{};
    add(silence.data(), silence.size());
    return peak_;
}

}  // namespace qov::measure
