#include "dsp/StereoProcessor.h"

#include <cmath>

namespace qov {

void StereoProcessor::process(float* left, float* right, std::int64_t count) const {
    const float a = fAdjust;
    if (a > 0) {
        for (std::int64_t i = 0; i < count; ++i) {
            const float side = (left[i] - right[i]) * 0.5f;
            left[i] = std::fma(side, a, left[i]);
            right[i] = std::fma(-side, a, right[i]);
        }
    } else if (a < 0) {
        for (std::int64_t i = 0; i < count; ++i) {
            const float fromRight = ((left[i] + right[i]) - (left[i] - right[i])) * 0.5f * -a;
            left[i] = std::fma(left[i], a + 1.0f, fromRight);
            right[i] = std::fma(right[i], a + 1.0f, fromRight);
        }
    }
}

}  // namespace qov
