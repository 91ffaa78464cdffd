#include "hosts/measure/StereoMeter.h"

#include <algorithm>
#include <cmath>

namespace qov::measure {
namespace {

/// Below this correlation at the strongest delay, the channels have no common sound to be late.
constexpr double leastMatch = 0.3;
/// Of a channel's power that is not its mean's: below, it is rounding.
constexpr double leastPart = 1e-9;

double level(double magnitude) {
    return 20 * std::log10(magnitude);
}

/// The power without that of the mean; 0 for a constant.
double variation(double squares, double sum, double frames) {
    const double rest = squares - sum * sum / frames;
    return rest > leastPart * squares ? rest : 0;
}

}  // namespace

StereoMeter::StereoMeter(int rate)
    : weighting_(rate),
      stepFrames_(static_cast<std::size_t>(std::max(rate / Loudness::stepsPerSecond, 1))),
      framesToStep_(stepFrames_),
      delay_(rate) {
    figures_.rate = rate;
}

void StereoMeter::add(const float* left, const float* right, std::size_t frames) {
    for (std::size_t done = 0; done < frames; done += blockFrames)
        addBlock(left + done, right + done, std::min(blockFrames, frames - done));
}

float StereoMeter::checked(float sample, std::size_t offset) {
    if (std::isfinite(sample)) return sample;
    if (figures_.invalid++ == 0)
        figures_.firstInvalid = figures_.frames + static_cast<std::int64_t>(offset);
    return 0;
}

void StereoMeter::addBlock(const float* left, const float* right, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        const float l = checked(left[i], i);
        const float r = checked(right[i], i);
        sums_.add(l, r);
        leftSum_ += l;
        rightSum_ += r;
        peak_ = std::max({peak_, std::abs(l), std::abs(r)});
        left_[i] = l;
        right_[i] = r;
    }
    figures_.frames += static_cast<std::int64_t>(frames);
    truePeaks_[0].add(left_.data(), frames);
    truePeaks_[1].add(right_.data(), frames);
    if (figures_.rate >= KWeighting::lowestRate) addLoudness(left_.data(), right_.data(), frames);
    delay_.add(left_.data(), right_.data(), frames);
}

void StereoMeter::addLoudness(const float* left, const float* right, std::size_t frames) {
    while (frames > 0) {
        const auto taken = std::min(frames, framesToStep_);
        weighting_.add(left, right, taken, step_);
        left += taken;
        right += taken;
        frames -= taken;
        framesToStep_ -= taken;
        if (framesToStep_ > 0) continue;
        const auto count = static_cast<double>(stepFrames_);
        stereo_.add((step_.ll + step_.rr) / count);
        // (L + R) / 2 on both sides; the filter is linear.
        mono_.add((step_.ll + step_.rr + 2 * step_.lr) / 2 / count);
        step_ = {};
        framesToStep_ = stepFrames_;
    }
}

Figures StereoMeter::finish() {
    auto& f = figures_;
    if (f.frames == 0) return f;
    const auto frames = static_cast<double>(f.frames);
    f.correlation = sums_.correlation();
    f.sideToMid = sums_.sideToMid();
    f.balance = sums_.rightToLeft();
    f.peak = level(double{peak_});
    f.truePeak = level(double{std::max(truePeaks_[0].finish(), truePeaks_[1].finish())});
    f.loudness = stereo_.integrated();
    f.range = stereo_.range();
    f.monoCost = f.loudness - mono_.integrated();
    f.dcLeft = leftSum_ / frames;
    f.dcRight = rightSum_ / frames;
    const double power = std::sqrt(variation(sums_.ll, leftSum_, frames)) *
                         std::sqrt(variation(sums_.rr, rightSum_, frames));
    if (power > 0) {
        const auto [late, sum] = delay_.finish(leftSum_, rightSum_);
        f.match = std::clamp(sum / power, -1.0, 1.0);
        if (std::abs(f.match) >= leastMatch) f.delay = late;
    }
    return f;
}

}  // namespace qov::measure
