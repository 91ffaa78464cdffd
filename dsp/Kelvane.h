#pragma once

#include <cstdint>

namespace qov {

/// Recover mono: moves both channels by the same part of their difference.
struct Kelvane {
    /// In place; nothing happens below one frame.
    void process(float* left, float* right, std::int64_t count) const;

    float fAmount =
        0;  ///< 0 leaves the signal alone; at -1 the left channel becomes the mid signal
};

}  // namespace qov
