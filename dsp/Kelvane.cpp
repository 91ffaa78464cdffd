#include "dsp/Kelvane.h"

#include "dsp/plainFormulas.h"

namespace qov {

void Kelvane::process(float* left, float* right, std::int64_t count) const {
    const double part = 0.5 * static_cast<double>(fAmount);
    for (std::int64_t i = 0; i < count; ++i) PlainFormulas::recover(left[i], right[i], part);
}

}  // namespace qov
