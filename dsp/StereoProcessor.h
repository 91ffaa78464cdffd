#pragma once

#include <cstdint>

namespace qov {

/// Stereo width by mid and side.
class StereoProcessor {
 public:
    StereoProcessor() = default;
    virtual ~StereoProcessor() = default;

    /// In place; nothing happens below one frame. Widening adds side signal to both channels.
    /// Narrowing moves only the left channel toward the right one, which stays as it is.
    void process(float* left, float* right, std::int64_t count) const;

    std::uint64_t lUpdaterate = 16;  ///< held, never read
    float fAdjust = 0;               ///< -1 narrowest, 0 neutral, +1 twice the side signal
};

}  // namespace qov
