#include "dsp/StereoProcessor.h"

#include "dsp/plainFormulas.h"

namespace qov {

void StereoProcessor::process(float* left, float* right, std::int64_t count) const {
    if (fAdjust > 0) {
        for (std::int64_t i = 0; i < count; ++i) PlainFormulas::widen(left[i], right[i], fAdjust);
    } else if (fAdjust < 0) {
        for (std::int64_t i = 0; i < count; ++i) PlainFormulas::narrow(left[i], right[i], fAdjust);
    }
}

}  // namespace qov
