#pragma once

#include <cmath>
#include <optional>

#include "hosts/instance/SignalMeter.h"
#include "hosts/measure/FadingSums.h"

namespace qov::hosts {

/// The figures of a sound as a meter shows them: smoothed sums, peaks that fall slowly. A figure
/// without a value is NaN. Times are seconds of any clock. One thread.
class SignalFigures {
 public:
    /// A peak, in dBFS: it holds for a while, then falls.
    struct Peak {
        double level = NAN;
        bool hasClipped = false;  ///< at 0 dBFS or above, since it was last set false
    };

    /// What has come since the last call; null for no block. After a second without one all
    /// figures are NaN, after one of silence those of two channels.
    void add(const std::optional<SignalMeter::Reading>& reading, double now);

    double correlation = NAN;        ///< -1..1
    double lowestCorrelation = NAN;  ///< of the last second; rises slowly after that
    double sideToMid = NAN;          ///< dB
    double balance = NAN;            ///< power of right over left, dB
    Peak input, output;

 private:
    static void follow(Peak& peak, double& heldUntil, float magnitude, double now, double passed);
    void clear();

    measure::FadingSums sums_{0.4};  // seconds of memory
    double last_ = 0;                // call
    double lastBlock_ = 0;           // call that brought one
    double inputHeld_ = 0, outputHeld_ = 0, lowestHeld_ = 0;
};

}  // namespace qov::hosts
