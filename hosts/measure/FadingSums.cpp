#include "hosts/measure/FadingSums.h"

#include <cmath>

namespace qov::measure {
namespace {

constexpr double silenceAfter = 1;  // seconds without sound
constexpr double quietest = 1e-6;   // sum of squares between two calls, about -94 dBFS

}  // namespace

void FadingSums::add(const StereoSums& more, double seconds) {
    const double kept = std::exp(-seconds / memory_);
    sums_ = {.ll = kept * sums_.ll + more.ll,
             .rr = kept * sums_.rr + more.rr,
             .lr = kept * sums_.lr + more.lr};
    silence_ = more.ll + more.rr > quietest ? 0 : silence_ + seconds;
}

bool FadingSums::isSilent() const {
    return sums_.isSilent() || silence_ > silenceAfter;
}

}  // namespace qov::measure
