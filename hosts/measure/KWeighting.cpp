#include "hosts/measure/KWeighting.h"

#include <cmath>
#include <numbers>

namespace qov::measure {
namespace {

/// A second-order filter's frequency, warped for the bilinear transform, and its damping.
struct Corner {
    Corner(double frequency, double quality, double rate)
        : k(std::tan(std::numbers::pi * frequency / rate)), damping(k / quality) {}
    double k, damping;
    double scale() const { return 1 + damping + k * k; }
    double a1() const { return 2 * (k * k - 1) / scale(); }
    double a2() const { return (1 - damping + k * k) / scale(); }
};

constexpr double inaudible = 1e-30;  // a filter's state, which would become subnormal and slow

}  // namespace

KWeighting::Section KWeighting::shelf(double rate) {
    const Corner c(1681.974450955533, 0.7071752369554196, rate);
    const double high = std::pow(10, 3.999843853973347 / 20);
    const double band = std::pow(high, 0.4996667741545416);
    return {.b0 = (high + band * c.damping + c.k * c.k) / c.scale(),
            .b1 = 2 * (c.k * c.k - high) / c.scale(),
            .b2 = (high - band * c.damping + c.k * c.k) / c.scale(),
            .a1 = c.a1(),
            .a2 = c.a2()};
}

KWeighting::Section KWeighting::highPass(double rate) {
    const Corner c(38.13547087602444, 0.5003270373238773, rate);
    return {.b0 = 1, .b1 = -2, .b2 = 1, .a1 = c.a1(), .a2 = c.a2()};
}

KWeighting::KWeighting(double rate) : sections_{shelf(rate), highPass(rate)} {}

void KWeighting::add(const float* left, const float* right, std::size_t frames, StereoSums& sums) {
    auto sections = sections_;
    auto total = sums;
    for (std::size_t i = 0; i < frames; ++i) {
        Pair sample{left[i], right[i]};
        for (auto& section : sections) section.pass(sample);
        total.add(sample[0], sample[1]);
    }
    for (auto& section : sections)
        for (auto* const state : {&section.first, &section.second})
            for (auto& value : *state)
                if (std::abs(value) < inaudible) value = 0;
    sections_ = sections;
    sums = total;
}

}  // namespace qov::measure
