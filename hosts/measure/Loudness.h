#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "hosts/measure/LoudnessHistogram.h"

namespace qov::measure {

/// Integrated loudness and loudness range by EBU R 128, in constant memory; libebur128 filters and
/// integrates steps of 0.1 s.
class Loudness {
 public:
    /// rate: frames per second. channels: 2 for stereo; 1 for a signal that is played on both
    /// sides.
    Loudness(int rate, unsigned channels);
    ~Loudness();
    Loudness(const Loudness&) = delete;
    Loudness& operator=(const Loudness&) = delete;

    /// Finite samples, interleaved, in order.
    void add(const float* samples, std::size_t frames);
    /// LUFS; -infinity below the gate, NaN for less than 0.4 s and for rates that libebur128
    /// refuses.
    double integrated() const;
    /// LU; NaN for less than 3 s.
    double range() const;

 private:
    struct Filter;

    static constexpr std::int64_t shortTermSteps = 30;

    void endStep();
    /// Loudness of the last steps together.
    double lately(std::int64_t steps) const;

    std::unique_ptr<Filter> filter_;
    const unsigned channels_;
    const std::size_t stepFrames_;  ///< of 0.1 s
    std::size_t framesToStep_;      ///< until the next step ends
    std::int64_t steps_ = 0;
    std::array<double, shortTermSteps> energies_{};  ///< of the last steps, in turn
    LoudnessHistogram momentary_;                    ///< 0.4 s every 0.1 s
    LoudnessHistogram shortTerm_;                    ///< 3 s every second
};

}  // namespace qov::measure
