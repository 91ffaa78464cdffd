#pragma once

#include <cstdint>

namespace qov {

/// Recover mono: moves both channels by the same part of their side signal S = (L - R) / 2, to
/// L + a S and R + a S at an amount a.
struct Kelvane {
    /// In place; nothing happens below one frame.
    void process(float* left, float* right, std::int64_t count) const;

    /// 0 leaves the signal alone; at -1 the left channel becomes the mid signal.
    float fAmount = 0;
};

}  // namespace qov
