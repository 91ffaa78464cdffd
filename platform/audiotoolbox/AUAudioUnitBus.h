#pragma once

#include <cstdint>
#include <memory>

namespace platform {

class AVAudioFormat;
class NSError;

/// One input or output of an audio unit.
class AUAudioUnitBus {
 public:
    /// A bus with a format. Null for a null format, with the reason in *error unless error is null.
    static std::shared_ptr<AUAudioUnitBus> initWithFormat(std::shared_ptr<AVAudioFormat> format,
                                                          NSError* error);

    const std::shared_ptr<AVAudioFormat>& format() const { return format_; }

    /// Changes the format; takes effect when render resources are next allocated. False for a null
    /// format, with the reason in *error unless error is null.
    bool setFormat(std::shared_ptr<AVAudioFormat> format, NSError* error);

    /// The most channels that a format may have; 0 for no limit. The audio unit enforces it when it
    /// allocates render resources.
    std::uint32_t maximumChannelCount() const { return maximumChannelCount_; }
    void setMaximumChannelCount(std::uint32_t count) { maximumChannelCount_ = count; }

 private:
    AUAudioUnitBus() = default;

    std::shared_ptr<AVAudioFormat> format_;
    std::uint32_t maximumChannelCount_ = 0;
};

}  // namespace platform
