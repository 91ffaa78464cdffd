#include "dsp/Panpot.h"

#include "dsp/plainFormulas.h"

namespace qov {

void Panpot::process(float* left, float* right, std::int64_t count) {
    const auto pan = [=](std::int64_t i, float p) {
        p < 0 ? PlainFormulas::panLeft(left[i], right[i], p)
              : PlainFormulas::panRight(left[i], right[i], p);
    };
    // The kernel clears lSmoothed: this law is for a caller that sets it to ramp frame by frame.
    if (lSmoothed != 0) {
        for (std::int64_t i = 0; i < count; ++i) pan(i, interp.tick());
    } else if (fPan < 0 || fPan > 0) {
        for (std::int64_t i = 0; i < count; ++i) pan(i, fPan);
    }
}

}  // namespace qov
