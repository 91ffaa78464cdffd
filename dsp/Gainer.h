#pragma once

#include <cstdint>

#include "dsp/Interpolator2.h"

namespace qov {

/// A gain with its limits and ramp. Held state of the kernel: no stage applies it.
struct Gainer {
    Interpolator2 interp{1, 1, 0, 1024, 0};
    float fValue = 1;
    float fMax = 1;
    float fMin = 0;
    std::int64_t lSmoothed = 1;
};

}  // namespace qov
