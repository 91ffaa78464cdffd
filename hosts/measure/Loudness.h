#pragma once

#include <array>
#include <cstdint>

#include "hosts/measure/LoudnessHistogram.h"

namespace qov::measure {

/// Integrated loudness and loudness range by EBU R 128, in constant memory.
class Loudness {
 public:
    static constexpr int stepsPerSecond = 10;

    /// The next step of 0.1 s. power: mean square of its K-weighted channels, summed over these.
    void add(double power);
    /// LUFS; -infinity below the gate, NaN for less than 0.4 s.
    double integrated() const;
    /// LU; NaN for less than 3 s.
    double range() const;

 private:
    static constexpr std::int64_t shortTermSteps = 30;

    /// Loudness of the last steps together.
    double lately(std::int64_t steps) const;

    std::int64_t steps_ = 0;
    std::array<double, shortTermSteps> powers_{};  ///< of the last steps, in turn
    LoudnessHistogram momentary_;                  ///< 0.4 s every 0.1 s
    LoudnessHistogram shortTerm_;                  ///< 3 s every second
};

}  // namespace qov::measure
