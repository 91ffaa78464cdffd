#include "hosts/window/SignalFigures.h"

#include <algorithm>

namespace qov::hosts {
namespace {

constexpr double holdTime = 1;         // seconds
constexpr double peakFall = 20;        // dB a second
constexpr double correlationRise = 1;  // a second
constexpr double absentAfter = 1;      // seconds without a block

}  // namespace

void SignalFigures::follow(Peak& peak, double& heldUntil, float magnitude, double now,
                           double passed) {
    const double level = 20 * std::log10(double{magnitude});
    if (magnitude >= 1) peak.hasClipped = true;
    if (now > heldUntil) peak.level -= peakFall * passed;
    if (!(level < peak.level)) {
        peak.level = level;
        heldUntil = now + holdTime;
    }
}

void SignalFigures::clear() {
    sums_.clear();
    correlation = lowestCorrelation = sideToMid = balance = NAN;
    input.level = output.level = NAN;
}

void SignalFigures::add(const std::optional<SignalMeter::Reading>& reading, double now) {
    const double passed = now - last_;
    last_ = now;
    if (!reading) {
        if (now - lastBlock_ > absentAfter) clear();
        return;
    }
    const auto& more = reading->output;
    const bool isFinite = std::isfinite(more.ll + more.rr);
    sums_.add(isFinite ? more : measure::StereoSums{}, now - lastBlock_);
    lastBlock_ = now;
    follow(input, inputHeld_, reading->inputPeak, now, passed);
    follow(output, outputHeld_, reading->outputPeak, now, passed);
    if (!isFinite) return clear();
    const auto& sums = sums_.sums();
    const bool isSilent = sums_.isSilent();
    correlation = isSilent ? NAN : sums.correlation();
    sideToMid = isSilent ? NAN : sums.sideToMid();
    balance = isSilent ? NAN : sums.rightToLeft();
    if (now > lowestHeld_) lowestCorrelation += correlationRise * passed;
    if (!(correlation > lowestCorrelation)) {
        lowestCorrelation = correlation;
        lowestHeld_ = now + holdTime;
    }
}

}  // namespace qov::hosts
