#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "hosts/measure/ChannelDelay.h"
#include "hosts/measure/Figures.h"
#include "hosts/measure/KWeighting.h"
#include "hosts/measure/Loudness.h"
#include "hosts/measure/StereoSums.h"
#include "hosts/measure/TruePeak.h"

namespace qov::measure {

/// Measures a stereo signal of any length as it comes, in constant memory (about 1 MB at 48 kHz).
/// Sums are of doubles. Each meter belongs to one thread at a time.
class StereoMeter {
 public:
    /// rate: frames per second, from 1 on.
    explicit StereoMeter(int rate);

    /// Frames in order, in pieces of any length. NaN and infinities count as 0 and are reported.
    void add(const float* left, const float* right, std::size_t frames);
    /// The figures when the signal ends here; the last call.
    Figures finish();

 private:
    static constexpr std::size_t blockFrames = 2048;

    /// Frames of a block, in steps of loudness.
    void addLoudness(const float* left, const float* right, std::size_t frames);
    void addBlock(const float* left, const float* right, std::size_t frames);
    /// The sample, or 0 for one that is not finite.
    float checked(float sample, std::size_t offset);

    Figures figures_;
    StereoSums sums_;
    double leftSum_ = 0, rightSum_ = 0;
    float peak_ = 0;
    std::array<TruePeak, 2> truePeaks_;
    KWeighting weighting_;
    const std::size_t stepFrames_;  ///< of the loudness
    std::size_t framesToStep_;      ///< until the next step ends
    StereoSums step_;               ///< K-weighted
    Loudness stereo_, mono_;
    ChannelDelay delay_;
    std::array<float, blockFrames> left_{}, right_{};
};

}  // namespace qov::measure
