#pragma once

#include <cstdint>
#include <memory>

namespace platform {

/// The standard format: 32-bit float, non-interleaved, at a rate and with a number of channels.
class AVAudioFormat {
 public:
    /// sampleRate in frames a second. Null when it is not positive and finite or there is no
    /// channel.
    static std::shared_ptr<AVAudioFormat> initStandardFormatWithSampleRate(double sampleRate,
                                                                           std::uint32_t channels);

    double sampleRate() const { return sampleRate_; }
    std::uint32_t channelCount() const { return channelCount_; }

 private:
    AVAudioFormat() = default;

    double sampleRate_ = 0;
    std::uint32_t channelCount_ = 0;
};

}  // namespace platform
