#pragma once

#include <array>
#include <cstddef>

namespace qov::measure {

/// The highest level of one channel between its samples, by interpolation at four times the sample
/// rate (ITU-R BS.1770-4, annex 2). The interpolating filter is a Lanczos kernel of eight lobes.
class TruePeak {
 public:
    /// Finite samples, in order, in pieces of any length.
    void add(const float* samples, std::size_t count);
    /// Highest magnitude, 1 for full scale, when the signal ends here.
    float finish();

 private:
    static constexpr std::size_t blockFrames = 256;
    static constexpr std::size_t taps = 16;

    /// Interpolates behind as many samples as there are lanes.
    template <std::size_t lanes>
    void scan(const float* samples);

    std::array<float, taps - 1 + blockFrames> window_{};  ///< samples of before, then new ones
    float peak_ = 0;
};

}  // namespace qov::measure
