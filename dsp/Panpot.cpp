#include "dsp/Panpot.h"

namespace qov {

namespace {

constexpr float fallOfNearChannel = 0.4f;

void panLeft(float p, float& left, float& right) {
    left = (p * fallOfNearChannel + 1.0f) * (right * -p + left);
    right = (p + 1.0f) * right;
}

void panRight(float p, float& left, float& right) {
    right = (p * -fallOfNearChannel + 1.0f) * (left * p + right);
    left = (1.0f - p) * left;
}

}  // namespace

void Panpot::process(float* left, float* right, std::int64_t count) {
    if (lSmoothed != 0) {
        for (std::int64_t i = 0; i < count; ++i) {
            const float p = interp.tick();
            p < 0 ? panLeft(p, left[i], right[i]) : panRight(p, left[i], right[i]);
        }
    } else if (fPan < 0) {
        for (std::int64_t i = 0; i < count; ++i) panLeft(fPan, left[i], right[i]);
    } else if (fPan > 0) {
        for (std::int64_t i = 0; i < count; ++i) panRight(fPan, left[i], right[i]);
    }
}

}  // namespace qov
