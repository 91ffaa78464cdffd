#pragma once

#include <cstdint>

#include "dsp/Interpolator2.h"

namespace qov {

/// Panorama: the far channel is mixed into the near one, which falls to 0.6 at the end, and fades.
struct Panpot {
    /// In place; nothing happens below one frame.
    void process(float* left, float* right, std::int64_t count);

    std::uint64_t lUpdaterate = 16;  ///< held, never read
    Interpolator2 interp{0, 0, 0, 1024, 0};
    float fPan = 0;              ///< -1 full left, +1 full right
    std::int64_t lSmoothed = 0;  ///< non-zero: follow interp frame by frame instead of fPan
};

}  // namespace qov
