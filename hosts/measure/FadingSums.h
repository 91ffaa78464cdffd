#pragma once

#include "hosts/measure/StereoSums.h"

namespace qov::measure {

/// Sums of what was heard in the last moments, for a meter. One thread.
class FadingSums {
 public:
    /// memory: seconds in which a sum falls to 1/e.
    explicit FadingSums(double memory) : memory_(memory) {}

    /// What was heard in so many seconds since the last call.
    void add(const StereoSums& more, double seconds);
    /// Leaves no sums; silence lasts as long as before.
    void clear() { sums_ = {}; }

    const StereoSums& sums() const { return sums_; }
    /// Whether nothing was heard for a second.
    bool isSilent() const;

 private:
    double memory_;
    StereoSums sums_;
    double silence_ = 0;  // seconds since the last sound
};

}  // namespace qov::measure
