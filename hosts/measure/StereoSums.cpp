#include "hosts/measure/StereoSums.h"

#include <algorithm>
#include <cmath>

namespace qov::measure {
namespace {

constexpr double silence = 1e-12;  // mean square, -120 dB

double fourMidPowers(const StereoSums& sums) {
    return std::max(0.0, sums.ll + sums.rr + 2 * sums.lr);
}

double fourSidePowers(const StereoSums& sums) {
    return std::max(0.0, sums.ll + sums.rr - 2 * sums.lr);
}

}  // namespace

double decibels(double powerRatio) {
    return 10 * std::log10(powerRatio);
}

double StereoSums::correlation() const {
    const double power = std::sqrt(ll * rr);
    if (power > 0) return std::clamp(lr / power, -1.0, 1.0);
    return ll + rr > 0 ? 0 : std::nan("");
}

double StereoSums::sideToMid() const {
    return decibels(fourSidePowers(*this) / fourMidPowers(*this));
}

double StereoSums::rightToLeft() const {
    return decibels(rr / ll);
}

double StereoSums::width() const {
    const double mid = std::sqrt(fourMidPowers(*this));
    const double side = std::sqrt(fourSidePowers(*this));
    return mid + side > 0 ? side / (mid + side) : 0;
}

double StereoSums::balance() const {
    const double left = std::sqrt(ll);
    const double right = std::sqrt(rr);
    return left + right > 0 ? (right - left) / (left + right) : 0;
}

bool StereoSums::isSilent() const {
    return ll + rr < silence;
}

}  // namespace qov::measure
