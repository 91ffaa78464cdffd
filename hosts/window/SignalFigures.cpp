#include "hosts/window/SignalFigures.h"

#include <algorithm>

namespace qov::hosts {
namespace {

constexpr double memory = 0.4;         // seconds in which a sum falls to 1/e
constexpr double holdTime = 1;         // seconds
constexpr double peakFall = 20;        // dB a second
constexpr double correlationRise = 1;  // a second
constexpr double silenceAfter = 1;     // seconds without a block, or without sound
constexpr double quietest = 1e-6;      // sum of squares between two looks, about -94 dBFS

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
    sums_ = {};
    correlation = lowestCorrelation = sideToMid = balance = NAN;
    input.level = output.level = NAN;
}

void SignalFigures::add(const std::optional<SignalMeter::Reading>& reading, double now) {
    const double passed = now - last_;
    last_ = now;
    if (!reading) {
        if (now - lastBlock_ > silenceAfter) clear();
        return;
    }
    const double kept = std::exp(-(now - lastBlock_) / memory);
    lastBlock_ = now;
    follow(input, inputHeld_, reading->inputPeak, now, passed);
    follow(output, outputHeld_, reading->outputPeak, now, passed);
    const auto& more = reading->output;
    if (!std::isfinite(more.ll + more.rr)) return clear();
    if (more.ll + more.rr > quietest) lastSound_ = now;
    sums_ = {.ll = kept * sums_.ll + more.ll,
             .rr = kept * sums_.rr + more.rr,
             .lr = kept * sums_.lr + more.lr};
    const auto& sums = sums_;
    const bool isSilent = sums.isSilent() || now - lastSound_ > silenceAfter;
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
