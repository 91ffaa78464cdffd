#include "dsp/Interpolator.h"

#include <cmath>

namespace qov {

namespace {
constexpr std::int64_t rampTicks = 16;
constexpr float stepOfRamp = 1.0f / rampTicks;
constexpr float closeEnough = 1e-6f;
static_assert(closeEnough == 0x1.0c6f7ap-20f);
}  // namespace

void Interpolator::setTarget(float value) {
    if (destinationValue == value) return;
    time = rampTicks;
    destinationValue = value;
    const float difference = value - currentValue;
    if (std::fabs(difference) < closeEnough) {
        currentValue = value;
        increase = 0;
        return;
    }
    increase = difference * stepOfRamp;
}

void Interpolator::rest(float value) {
    destinationValue = currentValue = value;
    increase = 0;
    time = 512;
    delay = 0;
}

}  // namespace qov
