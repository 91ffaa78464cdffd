#include "dsp/Interpolator2.h"

namespace qov {

float Interpolator2::tick() {
    advance();
    return currentValue;
}

bool Interpolator2::advance() {
    if (delay >= 1) {
        --delay;
        return false;
    }
    if (increase == 0) return false;
    currentValue += increase;
    const bool isThere =
        increase > 0 ? currentValue >= destinationValue : currentValue <= destinationValue;
    if (isThere) {
        currentValue = destinationValue;
        increase = 0;
    }
    return isThere;
}

}  // namespace qov
