#include "hosts/measure/Loudness.h"

#include <algorithm>
#include <cmath>

#include <ebur128.h>

#include "hosts/measure/StereoSums.h"

namespace qov::measure {
namespace {

constexpr unsigned long stepMilliseconds = 100;
// Of blocks, in steps.
constexpr std::int64_t momentarySteps = 4;
constexpr std::int64_t shortTermHop = 10;
// Relative gates, in LU.
constexpr double integratedGate = 10;
constexpr double rangeGate = 20;

}  // namespace

// libebur128 would gate by itself, in a list that grows with the signal or in bins of 0.1 LU.
struct Loudness::Filter {
    ebur128_state* state;

    Filter(unsigned channels, int rate)
        : state(ebur128_init(channels, static_cast<unsigned long>(rate), EBUR128_MODE_M)) {
        if (state && channels == 1) ebur128_set_channel(state, 0, EBUR128_DUAL_MONO);
    }
    ~Filter() {
        if (state) ebur128_destroy(&state);
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;
};

Loudness::Loudness(int rate, unsigned channels)
    : filter_(std::make_unique<Filter>(channels, rate)),
      channels_(channels),
      stepFrames_(std::max<std::size_t>(static_cast<std::size_t>(rate) / 10, 1)),
      framesToStep_(stepFrames_) {}

Loudness::~Loudness() = default;

void Loudness::add(const float* samples, std::size_t frames) {
    if (!filter_->state) return;
    while (frames > 0) {
        const auto taken = std::min(frames, framesToStep_);
        ebur128_add_frames_float(filter_->state, samples, taken);
        samples += taken * channels_;
        frames -= taken;
        framesToStep_ -= taken;
        if (framesToStep_ == 0) endStep();
    }
}

void Loudness::endStep() {
    framesToStep_ = stepFrames_;
    double loudness = -HUGE_VAL;
    ebur128_loudness_window(filter_->state, stepMilliseconds, &loudness);
    energies_[static_cast<std::size_t>(steps_++ % shortTermSteps)] = std::pow(10, loudness / 10);
    if (steps_ >= momentarySteps) momentary_.add(lately(momentarySteps));
    if (steps_ >= shortTermSteps && (steps_ - shortTermSteps) % shortTermHop == 0)
        shortTerm_.add(lately(shortTermSteps));
}

double Loudness::lately(std::int64_t steps) const {
    double sum = 0;
    for (auto step = steps_ - steps; step < steps_; ++step)
        sum += energies_[static_cast<std::size_t>(step % shortTermSteps)];
    return decibels(sum / static_cast<double>(steps));
}

double Loudness::integrated() const {
    return steps_ >= momentarySteps ? momentary_.mean(integratedGate) : std::nan("");
}

double Loudness::range() const {
    return shortTerm_.range(rangeGate);
}

}  // namespace qov::measure
