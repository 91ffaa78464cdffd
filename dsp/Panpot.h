#pragma once

#include <cstdint>

#include "dsp/Interpolator2.h"

namespace qov {

/// Panorama as a balance that loses nothing: the far channel is mixed into the near one, whose gain
/// falls to 0.6 (-4.4 dB) as the far one fades. To the left, at
/// p = -1..0: L' = (1 + 0.4 p) (L - p R), R' = (1 + p) R; to the right the mirror image.
struct Panpot {
    /// In place; nothing happens below one frame.
    void process(float* left, float* right, std::int64_t count);

    std::uint64_t lUpdaterate = 16;  ///< held, never read
    Interpolator2 interp{0, 0, 0, 1024, 0};
    float fPan = 0;              ///< -1 full left, +1 full right
    std::int64_t lSmoothed = 0;  ///< non-zero: follow interp frame by frame instead of fPan
};

}  // namespace qov
