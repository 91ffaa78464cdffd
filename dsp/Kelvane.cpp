#include "dsp/Kelvane.h"

namespace qov {

void Kelvane::process(float* left, float* right, std::int64_t count) const {
    for (std::int64_t i = 0; i < count; ++i) {
        const double difference = left[i] - right[i];  // rounded to float before it widens
        const float shift = static_cast<float>(difference * 0.5 * static_cast<double>(fAmount));
        left[i] += shift;
        right[i] += shift;
    }
}

}  // namespace qov
