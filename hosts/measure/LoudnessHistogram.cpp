#include "hosts/measure/LoudnessHistogram.h"

#include <algorithm>
#include <cmath>

#include "hosts/measure/StereoSums.h"

namespace qov::measure {
namespace {

constexpr double absoluteGate = -70;  // LUFS
constexpr double binsPerUnit = 50;
constexpr std::size_t binCount = 5'000;  // the last holds what is louder than +30 LUFS

template <class Bins>
auto sumOf(const Bins& bins) {
    typename Bins::value_type sum;
    for (const auto& bin : bins) sum.add(bin);
    return sum;
}

}  // namespace

LoudnessHistogram::LoudnessHistogram() : bins_(binCount) {}

double LoudnessHistogram::Bin::loudness() const {
    return decibels(energy / static_cast<double>(count));
}

void LoudnessHistogram::add(double loudness) {
    if (!(loudness >= absoluteGate)) return;
    const double place = (loudness - absoluteGate) * binsPerUnit;
    bins_[static_cast<std::size_t>(std::min(place, binCount - 1.0))].add(
        {1, std::pow(10, loudness / 10)});
}

std::vector<LoudnessHistogram::Bin> LoudnessHistogram::above(double gate) const {
    const double lowest = sumOf(bins_).loudness() - gate;
    std::vector<Bin> result;
    for (const auto& bin : bins_)
        if (bin.count > 0 && bin.loudness() >= lowest) result.push_back(bin);
    return result;
}

double LoudnessHistogram::mean(double gate) const {
    const auto sum = sumOf(above(gate));
    return sum.count > 0 ? sum.loudness() : -HUGE_VAL;
}

double LoudnessHistogram::range(double gate) const {
    const auto bins = above(gate);
    const auto blocks = sumOf(bins).count;
    const auto percentile = [&](double part) {
        auto rank = std::llround(static_cast<double>(blocks - 1) * part);
        for (const auto& bin : bins)
            if ((rank -= bin.count) < 0) return bin.loudness();
        return std::nan("");
    };
    return percentile(0.95) - percentile(0.10);
}

}  // namespace qov::measure
