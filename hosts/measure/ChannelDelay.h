#pragma once

#include <cstddef>
#include <memory>

namespace qov::measure {

/// By how much one channel comes after the other, by their cross-correlation up to 20 ms each way,
///
///     c[d] = sum over t of L[t] R[t + d],
///
/// of the whole signal less its means: summed as cross-spectra of overlapping blocks, which gives
/// the same sum as the formula. Between frames, c is the band-limited function through its values.
class ChannelDelay {
 public:
    /// The strongest delay.
    struct Result {
        double frames = 0;  ///< that the left channel comes after the right; negative: before
        double sum = 0;     ///< c there; negative where the channels are of opposite polarity
    };

    /// rate: frames per second.
    explicit ChannelDelay(int rate);
    ~ChannelDelay();
    ChannelDelay(const ChannelDelay&) = delete;
    ChannelDelay& operator=(const ChannelDelay&) = delete;

    /// Finite samples, in order, in pieces of any length.
    void add(const float* left, const float* right, std::size_t frames);
    /// The result when the signal ends here, with the sum of each channel's samples. Of a periodic
    /// signal, whose delays repeat, the shortest.
    Result finish(double leftSum, double rightSum);

 private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace qov::measure
