#pragma once

#include <cstdint>

namespace qov {

/// Stereo width by mid M = (L + R) / 2 and side S = (L - R) / 2, the sum and difference of M/S
/// stereophony, at an adjustment a. Wider: L + a S, R - a S, which is the side signal times 1 + a.
/// Narrower: (1 + a) L - a R and R.
class StereoProcessor {
 public:
    StereoProcessor() = default;
    virtual ~StereoProcessor() = default;

    /// In place; nothing happens below one frame. Narrowing moves only the left channel toward the
    /// right one, which stays as it is.
    void process(float* left, float* right, std::int64_t count) const;

    std::uint64_t lUpdaterate = 16;  ///< held, never read
    float fAdjust = 0;               ///< -1 narrowest, 0 neutral, +1 twice the side signal
};

}  // namespace qov
