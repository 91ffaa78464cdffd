#include "dsp/Interpolator2.h"

namespace qov {

float Interpolator2::tick() {
    if (delay >= 1) {
        --delay;
        return currentValue;
    }
    if (increase == 0) return currentValue;
    currentValue += increase;
    if ((increase > 0 && currentValue >= destinationValue) ||
        (increase < 0 && currentValue <= destinationValue)) {
        currentValue = destinationValue;
        increase = 0;
    }
    return currentValue;
}

}  // namespace qov
