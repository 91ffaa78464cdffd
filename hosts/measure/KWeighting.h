#pragma once

#include <array>
#include <cstddef>

#include "hosts/measure/StereoSums.h"

namespace qov::measure {

/// The K-weighting of ITU-R BS.1770-4, annex 1, for both channels of a stereo signal: a shelf for
/// the head, then a high-pass. The annex has its coefficients for 48 kHz only; those of other rates
/// come by the bilinear transform from the analogue filters behind them, as B. De Man derives them
/// ("Evaluation of Implementations of the EBU R128 Loudness Measurement", AES 145, 2018).
class KWeighting {
 public:
    /// Frames per second from which on the shelf lies below half the rate.
    static constexpr int lowestRate = 4000;

    /// rate: frames per second.
    explicit KWeighting(double rate);
    /// Adds the weighted frames of finite samples, in order, to `sums`.
    void add(const float* left, const float* right, std::size_t frames, StereoSums& sums);

 private:
    using Pair = std::array<double, 2>;  ///< left and right

    /// A filter of second order, in transposed direct form II.
    struct Section {
        double b0, b1, b2, a1, a2;
        Pair first{}, second{};

        void pass(Pair& sample) {
            for (std::size_t side = 0; side < 2; ++side) {
                const double in = sample[side];
                const double out = b0 * in + first[side];
                first[side] = b1 * in - a1 * out + second[side];
                second[side] = b2 * in - a2 * out;
                sample[side] = out;
            }
        }
    };
    static Section shelf(double rate);
    static Section highPass(double rate);

    std::array<Section, 2> sections_;
};

}  // namespace qov::measure
