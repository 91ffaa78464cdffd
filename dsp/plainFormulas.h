#pragma once

#include <cmath>

#include "dsp/stageFormulas.h"

namespace qov {

/// The library's own fused multiply-add: the reference for every faster one.
struct PlainArithmetic {
    static float fusedMultiplyAdd(float x, float y, float z) { return std::fma(x, y, z); }
};

/// The formulas of the stages in that arithmetic.
using PlainFormulas = StageFormulas<PlainArithmetic>;

}  // namespace qov
