#include "hosts/measure/Loudness.h"

#include <cmath>

#include "hosts/measure/StereoSums.h"

namespace qov::measure {
namespace {

constexpr double fullScale = -0.691;  // LUFS of a K-weighted power of 1, ITU-R BS.1770-4
// Of blocks, in steps.
constexpr std::int64_t momentarySteps = 4;
constexpr std::int64_t shortTermHop = 10;
// Relative gates, in LU.
constexpr double integratedGate = 10;
constexpr double rangeGate = 20;

}  // namespace

void Loudness::add(double power) {
    powers_[static_cast<std::size_t>(steps_++ % shortTermSteps)] = power;
    if (steps_ >= momentarySteps) momentary_.add(lately(momentarySteps));
    if (steps_ >= shortTermSteps && (steps_ - shortTermSteps) % shortTermHop == 0)
        shortTerm_.add(lately(shortTermSteps));
}

double Loudness::lately(std::int64_t steps) const {
    double sum = 0;
    for (auto step = steps_ - steps; step < steps_; ++step)
        sum += powers_[static_cast<std::size_t>(step % shortTermSteps)];
    return fullScale + decibels(sum / static_cast<double>(steps));
}

double Loudness::integrated() const {
    return steps_ >= momentarySteps ? momentary_.mean(integratedGate) : std::nan("");
}

double Loudness::range() const {
    return shortTerm_.range(rangeGate);
}

}  // namespace qov::measure
